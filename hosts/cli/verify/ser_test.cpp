#include "hosts/cli/verify/ser.h"

#include <gtest/gtest.h>

#include "hosts/cli/verify/files_testing.h"
#include "hosts/cli/verify/verify.h"

namespace vexcap::cli {
namespace ser_test {

using namespace test;
using Lines = std::vector<std::string>;

FileReport verify(const FileBytes& bytes) {
    MemorySource source(bytes);
    const auto report = verifyRecording(source);
    EXPECT_TRUE(report);
    return report.value_or(FileReport{});
}

Lines problems(const FileBytes& bytes) { return verify(bytes).problems.Lines(); }

TEST(Ser, AWholeFileTellsWhatIsInIt) {
    const FileBytes bytes = makeSer({.colour = 8, .depth = 12, .frames = 3, .frameBytes = 16});
    const FileReport report = verify(bytes);
    EXPECT_TRUE(report.Whole()) << report.problems.Lines().front();
    EXPECT_EQ(report.container, FileReport::Container::Ser);
    EXPECT_EQ(report.bytes, 178u + 48);
    EXPECT_EQ(report.width, 4u);
    EXPECT_EQ(report.height, 2u);
    EXPECT_EQ(report.bits, 12u);
    EXPECT_EQ(report.pixels, "Bayer RGGB");
    EXPECT_EQ(report.frames, 3u);
    EXPECT_EQ(report.start, 1'795'264'496'789);
    EXPECT_FALSE(report.framesPerSecond || report.seconds);
}

TEST(Ser, EveryKindOfPixelsHasItsNameAndSize) {
    const std::pair<uint32_t, const char*> kinds[] = {{0, "mono"},        {8, "Bayer RGGB"},  {9, "Bayer GRBG"},
                                                      {10, "Bayer GBRG"}, {11, "Bayer BGGR"}, {16, "Bayer CYYM"},
                                                      {17, "Bayer YCMY"}, {18, "Bayer YMCY"}, {19, "Bayer MYYC"},
                                                      {100, "RGB"},       {101, "BGR"}};
    for (const auto& [number, name] : kinds) {
        const uint32_t planes = number >= 100 ? 3 : 1;
        for (const uint32_t depth : {1u, 8u, 9u, 16u}) {
            const FileReport report =
                verify(makeSer({.colour = number, .depth = depth, .frameBytes = 8 * planes * (depth <= 8 ? 1 : 2)}));
            EXPECT_TRUE(report.Whole()) << number << ", " << depth;
            EXPECT_EQ(report.pixels, name);
        }
    }
}

TEST(Ser, TheListOfTimesTellsTheFrameRate) {
    const FileReport report = verify(makeSer({.times = true}));
    EXPECT_TRUE(report.Whole());
    EXPECT_DOUBLE_EQ(report.framesPerSecond.value(), 10);
    EXPECT_DOUBLE_EQ(report.seconds.value(), 0.3);
    EXPECT_FALSE(verify(makeSer({.frames = 1, .times = true})).framesPerSecond);
}

TEST(Ser, TheKindOfATimeIsNoPartOfIt) {
    FileBytes bytes = makeSer({});
    put(bytes, 170, serStart | uint64_t{1} << 62);
    EXPECT_EQ(verify(bytes).start, 1'795'264'496'789);
    put(bytes, 170, uint64_t{0});
    EXPECT_FALSE(verify(bytes).start);
}

TEST(Ser, AHeaderOfZerosIsARecordingThatWasNotClosed) {
    FileBytes bytes = makeSer({});
    std::fill_n(bytes.begin(), serHeaderBytes, 0);
    EXPECT_EQ(problems(bytes),
              Lines{"the recording was not closed: its header is empty, and 24 bytes of frames lie behind it"});
}

TEST(Ser, AFileThatEndsWithinItsHeaderIsCutShort) {
    FileBytes bytes = makeSer({});
    bytes.resize(177);
    EXPECT_EQ(problems(bytes), Lines{"the file ends within its header: it has 177 of 178 bytes"});
    bytes.resize(14);
    EXPECT_EQ(problems(bytes).size(), 1u);
}

TEST(Ser, MissingFramesAreCounted) {
    FileBytes bytes = makeSer({.frames = 120});
    bytes.resize(bytes.size() - 9);
    const FileReport report = verify(bytes);
    EXPECT_EQ(report.problems.Lines(), Lines{"the header promises 120 frames, the file holds 118"});
    EXPECT_EQ(report.frames, 118u);
    put(bytes, serFramesAt, uint32_t{0xFFFFFFFF});
    EXPECT_EQ(problems(bytes), Lines{"the header promises 4294967295 frames, the file holds 118"});
}

TEST(Ser, FramesThatTheHeaderDoesNotPromiseAreFound) {
    FileBytes bytes = makeSer({.frames = 7});
    put(bytes, serFramesAt, uint32_t{5});
    EXPECT_EQ(problems(bytes), Lines{"the header promises 5 frames, the file holds 7"});
    put(bytes, serFramesAt, uint32_t{0});
    bytes.push_back(1);
    EXPECT_EQ(problems(bytes), Lines{"the header promises 0 frames, the file holds 7"});
}

TEST(Ser, ACutListOfTimesIsTold) {
    FileBytes bytes = makeSer({.times = true});
    bytes.resize(bytes.size() - 1);
    EXPECT_EQ(problems(bytes), Lines{"the list of times behind the frames is cut short: it has 23 of 24 bytes"});
}

TEST(Ser, BytesBehindTheFramesThatAreNoTimesAreTold) {
    FileBytes bytes = makeSer({.times = true});
    bytes.resize(bytes.size() + 3);
    EXPECT_EQ(problems(bytes), Lines{"27 bytes behind the last frame belong to nothing"});
}

TEST(Ser, AHeaderThatTellsNoPictureIsTold) {
    FileBytes bytes = makeSer({});
    put(bytes, serWidthAt, uint32_t{0});
    EXPECT_EQ(problems(bytes), Lines{"the header tells a picture of 0x2 pixels"});
    bytes = makeSer({.depth = 17});
    EXPECT_EQ(problems(bytes), Lines{"the header tells samples of 17 bits; 1 to 16 can be"});
    EXPECT_EQ(problems(makeSer({.depth = 0})).size(), 1u);
    EXPECT_EQ(problems(makeSer({.colour = 12})), Lines{"the header tells pixels of the unknown kind 12"});
}

TEST(Ser, GiganticNumbersDoNotWrapRound) {
    FileBytes bytes = makeSer({.colour = 100, .depth = 16});
    put(bytes, serWidthAt, uint32_t{0xFFFFFFFF});
    put(bytes, serWidthAt + 4, uint32_t{0xFFFFFFFF});
    put(bytes, serFramesAt, uint32_t{0xFFFFFFFF});
    EXPECT_EQ(problems(bytes), Lines{"the header promises 4294967295 frames, the file holds 0"});
}

TEST(Ser, AFileWithoutFramesIsWhole) {
    const FileReport report = verify(makeSer({.frames = 0}));
    EXPECT_TRUE(report.Whole());
    EXPECT_EQ(report.frames, 0u);
}

TEST(Recording, AnotherFileIsNone) {
    for (const FileBytes& bytes : {FileBytes{}, FileBytes(177), FileBytes{'L', 'U', 'C', 'A', 'M'},
                                   FileBytes{'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'A', 'V', 'E'},
                                   FileBytes{'R', 'I', 'F', 'F', 4, 0, 0, 0, 'A', 'V', 'I'}, FileBytes(1000, 'x')}) {
        MemorySource source(bytes);
        EXPECT_FALSE(verifyRecording(source));
    }
}

}  // namespace ser_test
}  // namespace vexcap::cli
