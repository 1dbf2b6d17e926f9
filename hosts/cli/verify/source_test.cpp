#include "hosts/cli/verify/source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "hosts/cli/verify/byte_reader.h"
#include "hosts/cli/verify/files_testing.h"
#include "hosts/cli/verify/verify.h"
#include "hosts/common/failure.h"

namespace vexcap::cli {
namespace source_test {

namespace fs = std::filesystem;

class FileSourceTest : public testing::Test {
protected:
    FileSourceTest() {
        std::string pattern = (fs::temp_directory_path() / "vexcap-cli-XXXXXX").string();
        directory = mkdtemp(pattern.data());
    }
    ~FileSourceTest() override { fs::remove_all(directory); }
    std::string Path(const char* name) const { return (directory / name).string(); }
    std::string Refusal(const char* name) const {
        try {
            FileSource source(Path(name));
        } catch (const host::Failure& failure) {
            EXPECT_EQ(failure.code, host::exitFailure);
            return failure.what();
        }
        return {};
    }
    fs::path directory;
};

TEST_F(FileSourceTest, ReadsWhatIsThereAndNoMore) {
    std::ofstream(Path("a")) << "0123456789";
    FileSource source(Path("a"));
    EXPECT_EQ(source.Size(), 10u);
    uint8_t bytes[6] = {};
    EXPECT_EQ(source.ReadAt(7, bytes), 3u);
    EXPECT_EQ(bytes[2], '9');
    EXPECT_EQ(source.ReadAt(10, bytes), 0u);
}

TEST_F(FileSourceTest, WhatIsNoFileIsRefusedWithoutWaiting) {
    EXPECT_NE(Refusal("missing").find("missing: No such file"), std::string::npos);
    fs::create_directory(directory / "folder");
    EXPECT_NE(Refusal("folder").find("is not a file"), std::string::npos);
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    EXPECT_NE(Refusal("pipe").find("is not a file"), std::string::npos);
}

TEST_F(FileSourceTest, AFileBeyondFourGibibytesIsReadAtItsHeadersOnly) {
    // Frames of 1 GiB that are holes: were they read, this test would not end in its time.
    constexpr uint64_t frameBytes = uint64_t{1} << 30;
    constexpr uint32_t frames = 100;
    const std::vector<uint8_t> header =
        test::makeSer({.width = 1u << 15, .height = 1u << 15, .frames = 0, .frameBytes = 0});
    const int file = open(Path("large").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(write(file, header.data(), header.size()), static_cast<ssize_t>(header.size()));
    const uint8_t count[4] = {frames, 0, 0, 0};
    ASSERT_EQ(pwrite(file, count, 4, test::serFramesAt), 4);
    const bool largeEnough = ftruncate(file, static_cast<off_t>(header.size() + frames * frameBytes)) == 0;
    close(file);
    if (!largeEnough) GTEST_SKIP() << "no file of 100 GiB can be made here";
    FileSource source(Path("large"));
    const auto report = verifyRecording(source);
    ASSERT_TRUE(report);
    EXPECT_TRUE(report->Whole());
    EXPECT_EQ(report->frames, frames);
}

/// Counts what is asked of it.
struct CountingSource final : Source {
    explicit CountingSource(Source& under) : inner(under) {}
    uint64_t Size() const override { return inner.Size(); }
    size_t ReadAt(uint64_t position, std::span<uint8_t> bytes) override {
        ++reads;
        return inner.ReadAt(position, bytes);
    }
    Source& inner;
    int reads = 0;
};

TEST(ByteReaderTest, NeighboursCostOneReadAndPiecesOverTheEdgeAreWhole) {
    std::vector<uint8_t> content(10'000);
    for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<uint8_t>(i * 7);
    MemorySource memory(content);
    CountingSource source(memory);
    ByteReader reader(source);
    for (uint64_t i = 0; i + 8 <= 4096; ++i) ASSERT_EQ(reader.Record<8>(i)->front(), content[i]);
    EXPECT_EQ(source.reads, 1);
    const auto over = reader.Record<5000>(3000);
    ASSERT_TRUE(over);
    EXPECT_TRUE(std::equal(over->begin(), over->end(), content.begin() + 3000));
    EXPECT_TRUE(reader.Record<1>(9999));
    EXPECT_FALSE(reader.Record<2>(9999));
    EXPECT_FALSE(reader.Record<8>(~uint64_t{0} - 3));
}

TEST(ByteReaderTest, AFileThatBecameShorterEndsThere) {
    struct Shrunk final : Source {
        uint64_t Size() const override { return 100; }
        size_t ReadAt(uint64_t position, std::span<uint8_t> bytes) override {
            return position < 10 ? std::min<size_t>(bytes.size(), 10 - static_cast<size_t>(position)) : 0;
        }
    } source;
    ByteReader reader(source);
    EXPECT_TRUE(reader.Record<10>(0));
    EXPECT_FALSE(reader.Record<11>(0));
    EXPECT_FALSE(reader.Record<1>(50));
}

TEST(ByteReaderTest, NumbersAreLittleEndian) {
    const std::vector<uint8_t> bytes = {1, 2, 3, 4, 5, 6, 7, 0x88, 9};
    EXPECT_EQ(le16(bytes, 1), 0x0302u);
    EXPECT_EQ(le32(bytes, 0), 0x04030201u);
    EXPECT_EQ(le64(bytes, 0), 0x8807060504030201u);
}

}  // namespace source_test
}  // namespace vexcap::cli
