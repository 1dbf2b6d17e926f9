#include "platform/fake/fake_disk.h"

#include <gtest/gtest.h>

#include "platform/fake/file_testing.h"

namespace vexcap::test {
namespace fake_disk_test {

using Kind = DiskOperation::Kind;

struct FakeHarness {
    IFileSystem& files() { return disk; }
    std::u16string path(std::u16string_view name) const { return std::u16string(name); }
    FakeDisk disk;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Fake, FileContract, FakeHarness);

std::string textOn(const FakeDisk& disk, std::u16string_view path) {
    const auto bytes = disk.bytes(path);
    return {bytes.begin(), bytes.end()};
}

TEST(FakeDisk, FailsTheWriteThatItWasToldAndNoOther) {
    FakeDisk disk;
    disk.failWrite(1, E_FAIL, 2);
    auto file = std::move(disk.Create(u"a")).value();
    EXPECT_TRUE(file->WriteAt(0, bytesOf("123")).ok());
    const Bytes pieces[] = {bytesOf("4"), bytesOf("56")};
    EXPECT_EQ(file->WriteGathered(3, pieces), E_FAIL);
    EXPECT_EQ(textOn(disk, u"a"), "12345");
    EXPECT_TRUE(file->WriteAt(3, bytesOf("xyz")).ok());
    EXPECT_EQ(textOn(disk, u"a"), "123xyz");
}

TEST(FakeDisk, FillsUp) {
    FakeDisk disk;
    disk.setCapacity(10);
    disk.put(u"other", {1, 2, 3, 4});
    auto file = std::move(disk.Create(u"a")).value();
    EXPECT_TRUE(file->WriteAt(0, bytesOf("abcd")).ok());
    EXPECT_EQ(file->Reserve(4, 3), VEX_E_DISK_FULL);
    EXPECT_EQ(file->WriteAt(4, bytesOf("efg")), VEX_E_DISK_FULL);
    EXPECT_EQ(textOn(disk, u"a"), "abcdef");
    EXPECT_EQ(file->Resize(7), VEX_E_DISK_FULL);
    EXPECT_TRUE(disk.Remove(u"other").ok());
    EXPECT_TRUE(file->WriteAt(4, bytesOf("efg")).ok());
    EXPECT_EQ(textOn(disk, u"a"), "abcdefg");
}

TEST(FakeDisk, ReservedSpaceIsTakenUntilTheFileIsResized) {
    FakeDisk disk;
    disk.setCapacity(100);
    auto file = std::move(disk.Create(u"a")).value();
    EXPECT_TRUE(file->Reserve(0, 90).ok());
    EXPECT_EQ(disk.reservedBehind(u"a"), 90u);
    auto other = std::move(disk.Create(u"b")).value();
    EXPECT_EQ(other->WriteAt(0, bytesOf("more than ten")), VEX_E_DISK_FULL);
    EXPECT_TRUE(file->Resize(0).ok());
    EXPECT_EQ(disk.reservedBehind(u"a"), 0u);
    EXPECT_TRUE(other->WriteAt(0, bytesOf("more than ten")).ok());
}

TEST(FakeDisk, RefusesAKindOfOperationUntilToldOtherwise) {
    FakeDisk disk;
    auto file = std::move(disk.Create(u"a")).value();
    disk.fail(Kind::Reserve, E_NOTIMPL);
    EXPECT_EQ(file->Reserve(0, 10), E_NOTIMPL);
    EXPECT_EQ(file->Reserve(0, 10), E_NOTIMPL);
    EXPECT_EQ(disk.count(Kind::Reserve), 2u);
    disk.fail(Kind::Reserve, S_OK);
    EXPECT_TRUE(file->Reserve(0, 10).ok());

    disk.fail(Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(disk.Create(u"b").code(), E_ACCESSDENIED);
    EXPECT_FALSE(disk.exists(u"b"));
}

TEST(FakeDisk, RemembersWhatItWasAsked) {
    FakeDisk disk;
    {
        auto file = std::move(disk.Create(u"a")).value();
        file->WriteAt(7, bytesOf("abc")).ignore();
        file->Resize(5).ignore();
    }
    disk.Remove(u"b").ignore();
    const auto operations = disk.operations();
    ASSERT_EQ(operations.size(), 5u);
    EXPECT_EQ(operations[0].kind, Kind::Create);
    EXPECT_EQ(operations[1].kind, Kind::Write);
    EXPECT_EQ(operations[1].position, 7u);
    EXPECT_EQ(operations[1].size, 3u);
    EXPECT_EQ(operations[1].pieces, 1u);
    EXPECT_EQ(operations[2].kind, Kind::Resize);
    EXPECT_EQ(operations[2].size, 5u);
    EXPECT_EQ(operations[3].kind, Kind::Close);
    EXPECT_EQ(operations[4].kind, Kind::Remove);
    EXPECT_EQ(operations[4].result, VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(operations[4].path, u"b");
}

TEST(FakeDisk, ItsFilesOutliveIt) {
    std::unique_ptr<IFile> file;
    {
        FakeDisk disk;
        file = std::move(disk.Create(u"a")).value();
    }
    EXPECT_TRUE(file->WriteAt(0, bytesOf("abc")).ok());
    EXPECT_EQ(file->Size().value(), 3u);
}

}  // namespace fake_disk_test
}  // namespace vexcap::test
