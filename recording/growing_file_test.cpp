#include "recording/growing_file.h"

#include <gtest/gtest.h>

#include <string_view>

#include "platform/fake/fake_disk.h"

namespace vexcap {
namespace growing_file_test {

using Kind = DiskOperation::Kind;
constexpr uint64_t ahead = GrowingFile::reservedAhead;

Bytes bytesOf(std::string_view text) { return std::as_bytes(std::span(text.data(), text.size())); }

struct GrowingFileTest : testing::Test {
    std::unique_ptr<GrowingFile> create(uint64_t start = 0) {
        return std::make_unique<GrowingFile>(std::move(disk.Create(u"a")).value(), start);
    }
    std::string content() const {
        const auto bytes = disk.bytes(u"a");
        return {bytes.begin(), bytes.end()};
    }
    std::vector<DiskOperation> reserves() const {
        auto all = disk.operations();
        std::erase_if(all, [](const DiskOperation& o) { return o.kind != Kind::Reserve; });
        return all;
    }

    FakeDisk disk;
};

TEST_F(GrowingFileTest, AppendsOneBehindAnother) {
    auto file = create();
    const Bytes pieces[] = {bytesOf("c"), bytesOf("de")};
    ASSERT_TRUE(file->append(bytesOf("ab")).ok());
    ASSERT_TRUE(file->append(pieces).ok());
    ASSERT_TRUE(file->append(bytesOf("f")).ok());
    EXPECT_EQ(file->end(), 6u);
    ASSERT_TRUE(file->close().ok());
    EXPECT_EQ(content(), "abcdef");
}

TEST_F(GrowingFileTest, TheHeaderIsWrittenOverLater) {
    auto file = create(4);
    ASSERT_TRUE(file->append(bytesOf("body")).ok());
    EXPECT_EQ(content(), std::string("\0\0\0\0body", 8));
    ASSERT_TRUE(file->writeAt(0, bytesOf("HEAD")).ok());
    ASSERT_TRUE(file->writeAt(6, bytesOf("DY")).ok());
    EXPECT_EQ(file->end(), 8u);
    EXPECT_EQ(content(), "HEADboDY");
}

TEST_F(GrowingFileTest, NothingIsWrittenOverTheEnd) {
    auto file = create(4);
    EXPECT_EQ(file->writeAt(0, bytesOf("HEADx")), E_INVALIDARG);
    EXPECT_EQ(file->writeAt(5, {}), E_INVALIDARG);
    EXPECT_EQ(file->writeAt(UINT64_MAX, bytesOf("x")), E_INVALIDARG);
    EXPECT_EQ(disk.count(Kind::Write), 0u);
}

TEST_F(GrowingFileTest, SpaceIsReservedAheadAndOnlyWhenItIsUsedUp) {
    auto file = create(178);
    const std::vector<std::byte> frame(ahead / 4);
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(file->append(frame).ok());
    ASSERT_EQ(reserves().size(), 1u);
    EXPECT_EQ(reserves()[0].position, 178u);
    EXPECT_EQ(reserves()[0].size, ahead);

    ASSERT_TRUE(file->append(bytesOf("x")).ok());
    ASSERT_EQ(reserves().size(), 2u);
    EXPECT_EQ(reserves()[1].position, 178 + ahead);
    EXPECT_EQ(reserves()[1].size, ahead);
}

TEST_F(GrowingFileTest, AnAppendLargerThanTheStepIsReservedWhole) {
    auto file = create();
    const std::vector<std::byte> frame(ahead + ahead / 2);
    ASSERT_TRUE(file->append(frame).ok());
    ASSERT_TRUE(file->append(bytesOf("x")).ok());
    ASSERT_TRUE(file->append(frame).ok());
    ASSERT_EQ(reserves().size(), 3u);
    EXPECT_EQ(reserves()[0].size, frame.size());
    EXPECT_EQ(reserves()[1].size, ahead);
    EXPECT_EQ(reserves()[2].position, frame.size() + ahead);
    EXPECT_EQ(reserves()[2].size, ahead);
}

TEST_F(GrowingFileTest, ARefusalToReserveIsTakenForGood) {
    for (const HRESULT refusal : {E_NOTIMPL, VEX_E_DISK_FULL, E_FAIL}) {
        disk.fail(Kind::Reserve, refusal);
        const size_t before = reserves().size();
        auto file = create();
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(file->append(bytesOf("abc")).ok());
        EXPECT_EQ(reserves().size(), before + 1);
        EXPECT_TRUE(file->close().ok());
        EXPECT_EQ(content(), "abcabcabc");
    }
}

TEST_F(GrowingFileTest, ARefusalLaterKeepsWhatWasReserved) {
    auto file = create();
    ASSERT_TRUE(file->append(bytesOf("x")).ok());
    disk.fail(Kind::Reserve, VEX_E_DISK_FULL);
    const std::vector<std::byte> frame(ahead);
    ASSERT_TRUE(file->append(frame).ok());
    ASSERT_TRUE(file->append(frame).ok());
    EXPECT_EQ(file->end(), 1 + 2 * ahead);
    EXPECT_EQ(reserves().size(), 2u);
}

TEST_F(GrowingFileTest, AFailedAppendLeavesTheEndWhereItWas) {
    for (size_t kept = 0; kept <= 3; ++kept) {
        auto file = create();
        ASSERT_TRUE(file->append(bytesOf("abc")).ok());
        disk.failWrite(disk.count(Kind::Write), VEX_E_DISK_FULL, kept);
        EXPECT_EQ(file->append(bytesOf("XYZ")), VEX_E_DISK_FULL);
        EXPECT_EQ(file->end(), 3u);
        ASSERT_TRUE(file->append(bytesOf("de")).ok());
        ASSERT_TRUE(file->close().ok());
        EXPECT_EQ(content(), "abcde");
    }
}

TEST_F(GrowingFileTest, CloseGivesTheSpaceBehindTheEndBack) {
    auto file = create();
    ASSERT_TRUE(file->append(bytesOf("abc")).ok());
    EXPECT_EQ(disk.reservedBehind(u"a"), ahead - 3);
    ASSERT_TRUE(file->close().ok());
    EXPECT_EQ(disk.reservedBehind(u"a"), 0u);
    EXPECT_EQ(content(), "abc");
}

TEST_F(GrowingFileTest, AFailedCloseIsToldOnceAndTheFileIsFree) {
    auto file = create();
    ASSERT_TRUE(file->append(bytesOf("abc")).ok());
    disk.fail(Kind::Resize, E_FAIL);
    EXPECT_EQ(file->close(), E_FAIL);
    EXPECT_EQ(file->close(), S_OK);
    EXPECT_TRUE(disk.Create(u"a").ok());
}

TEST_F(GrowingFileTest, AClosedFileTakesNothing) {
    auto file = create();
    ASSERT_TRUE(file->append(bytesOf("abc")).ok());
    ASSERT_TRUE(file->close().ok());
    EXPECT_EQ(file->append(bytesOf("d")), E_UNEXPECTED);
    EXPECT_EQ(file->writeAt(0, bytesOf("d")), E_UNEXPECTED);
    EXPECT_EQ(file->end(), 3u);
    EXPECT_EQ(content(), "abc");
}

TEST_F(GrowingFileTest, ItsEndClosesIt) {
    ASSERT_TRUE(create()->append(bytesOf("abc")).ok());
    EXPECT_EQ(disk.reservedBehind(u"a"), 0u);
    EXPECT_EQ(disk.count(Kind::Close), 1u);
}

}  // namespace growing_file_test
}  // namespace vexcap
