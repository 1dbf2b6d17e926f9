#include "hosts/cli/verify/avi.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>

#include "hosts/cli/verify/files_testing.h"
#include "hosts/cli/verify/riff.h"
#include "hosts/cli/verify/verify.h"

namespace vexcap::cli {
namespace avi_test {

using namespace test;
using Lines = std::vector<std::string>;

FileReport verify(const FileBytes& bytes) {
    MemorySource source(bytes);
    const auto report = verifyRecording(source);
    EXPECT_TRUE(report);
    return report.value_or(FileReport{});
}

Lines problems(const FileBytes& bytes) { return verify(bytes).problems.Lines(); }

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

const AviLayout openDml = {.framesOfSegments = {3, 2, 4}, .openDml = true};

// Offsets in chunks, their name and size included.
constexpr size_t avihFlagsAt = 8 + 12, avihFramesAt = 8 + 16, strhLengthAt = 8 + 32, dmlhFramesAt = 8,
                 indxCountAt = 8 + 4, indxFirstAt = 8 + 24, ixCountAt = 8 + 4, ixFirstAt = 8 + 24, sizeAt = 4;

TEST(Avi, AWholeFileTellsWhatIsInIt) {
    const FileReport report = verify(makeAvi({}));
    EXPECT_TRUE(report.Whole()) << joined(report.problems.Lines());
    EXPECT_EQ(report.container, FileReport::Container::Avi);
    EXPECT_EQ(report.width, 4u);
    EXPECT_EQ(report.height, 2u);
    EXPECT_EQ(report.bits, 24u);
    EXPECT_EQ(report.pixels, "BGR24");
    EXPECT_EQ(report.frames, 3u);
    EXPECT_DOUBLE_EQ(report.framesPerSecond.value(), 25);
    EXPECT_DOUBLE_EQ(report.seconds.value(), 0.12);
    EXPECT_EQ(report.segments, 1u);
    EXPECT_TRUE(report.otherStreams.empty());
    EXPECT_FALSE(report.start);
}

TEST(Avi, EveryWayToBuildAWholeFileIsWhole) {
    for (const std::vector<unsigned>& segments : {std::vector<unsigned>{3}, {3, 2, 4}, {0}, {1, 0, 1}})
        for (int bits = 0; bits < 64; ++bits) {
            const FileBytes bytes = makeAvi({.framesOfSegments = segments,
                                             .openDml = bool(bits & 1) || segments.size() > 1,
                                             .firstIndex = bool(bits & 2),
                                             .fromFileStart = bool(bits & 4),
                                             .records = bool(bits & 8),
                                             .audio = bool(bits & 16),
                                             .strangeChunks = bool(bits & 32)});
            const FileReport report = verify(bytes);
            EXPECT_TRUE(report.Whole()) << bits << ": " << joined(report.problems.Lines());
            EXPECT_EQ(report.segments, segments.size());
            EXPECT_EQ(report.frames, std::accumulate(segments.begin(), segments.end(), 0u)) << bits;
            EXPECT_EQ(report.otherStreams, (bits & 24) ? Lines{"audio"} : Lines{}) << bits;
        }
}

TEST(Avi, CountsOfTheFirstSegmentAloneAreRightToo) {
    AviMaker maker(openDml);
    maker.Make();
    for (const uint32_t count : {3u, 4u, 9u}) {
        put(maker.bytes, maker.at["avih"] + avihFramesAt, count);
        EXPECT_TRUE(problems(maker.bytes).empty()) << joined(problems(maker.bytes));
    }
    put(maker.bytes, maker.at["avih"] + avihFramesAt, uint32_t{10});
    EXPECT_EQ(problems(maker.bytes), Lines{"the header (avih) promises 10 frames, the file holds 9"});
    put(maker.bytes, maker.at["avih"] + avihFramesAt, uint32_t{3});
    put(maker.bytes, maker.at["strh"] + strhLengthAt, uint32_t{3});
    EXPECT_TRUE(problems(maker.bytes).empty()) << joined(problems(maker.bytes));
    put(maker.bytes, maker.at["dmlh"] + dmlhFramesAt, uint32_t{3});
    EXPECT_EQ(problems(maker.bytes), Lines{"the header (dmlh) promises 3 frames, the file holds 9"});
}

TEST(Avi, TheMainCountIsThatOfTheLongestStream) {
    AviMaker maker({.framesOfSegments = {2}, .audio = true});
    maker.Make();
    // The second stream becomes one of pictures: four frames in all, two of each.
    put(maker.bytes, maker.at["strh1"] + 8, fourcc("vids"));
    put(maker.bytes, maker.at["avih"] + avihFramesAt, uint32_t{3});
    EXPECT_NE(joined(problems(maker.bytes)).find("the header (avih) promises 3 frames of stream 0, the file holds 2"),
              std::string::npos)
        << joined(problems(maker.bytes));
    for (const char* chunk : {"frame0", "frame1"}) maker.bytes[maker.at[chunk] + 1] = '1';
    put(maker.bytes, maker.at["avih"] + avihFramesAt, uint32_t{2});
    EXPECT_EQ(joined(problems(maker.bytes)).find("avih"), std::string::npos) << joined(problems(maker.bytes));
}

TEST(Avi, CompressedFramesHaveAnySizeAndOddOnesAPadByte) {
    const FileReport report = verify(makeAvi({.compression = "MJPG", .frameBytes = 101, .openDml = true}));
    EXPECT_TRUE(report.Whole()) << joined(report.problems.Lines());
    EXPECT_EQ(report.pixels, "MJPG");
}

TEST(Avi, UncompressedFramesHaveTheSizeOfThePicture) {
    struct Case {
        uint32_t width;
        int32_t height;
        uint16_t bits;
        std::string compression;
        uint32_t right;
        const char* pixels;
    };
    const std::string none(4, '\0');
    const Case cases[] = {
        {5, 3, 24, none, 48, "BGR24"},  {5, -3, 24, none, 48, "BGR24"},        {5, 3, 8, none, 24, "palette"},
        {5, 3, 16, none, 36, "RGB"},    {5, 3, 32, none, 60, "BGR32"},         {6, 3, 16, "YUY2", 36, "YUY2"},
        {6, 4, 12, "I420", 36, "I420"}, {6, 4, 12, "NV12", 36, "NV12"},        {8, 3, 8, "Y800", 24, "Y800"},
        {6, 3, 16, "UYVY", 36, "UYVY"}, {5, 3, 32, {3, 0, 0, 0}, 60, "BGR32"},
    };
    for (const Case& c : cases) {
        const FileReport report = verify(makeAvi({.width = c.width,
                                                  .height = c.height,
                                                  .bits = c.bits,
                                                  .compression = c.compression,
                                                  .frameBytes = c.right}));
        EXPECT_TRUE(report.Whole()) << c.compression << joined(report.problems.Lines());
        EXPECT_EQ(report.pixels, c.pixels);
        EXPECT_EQ(report.height, static_cast<uint32_t>(std::abs(c.height)));
        const Lines wrong = problems(makeAvi({.width = c.width,
                                              .height = c.height,
                                              .bits = c.bits,
                                              .compression = c.compression,
                                              .frameBytes = c.right - 2}));
        ASSERT_EQ(wrong.size(), 1u) << c.compression << joined(wrong);
        EXPECT_NE(wrong[0].find(std::to_string(c.right - 2) + " bytes, but a picture of this size and kind takes " +
                                std::to_string(c.right) + " (and 2 more like this)"),
                  std::string::npos)
            << wrong[0];
    }
}

TEST(Avi, AFrameOfNoBytesRepeatsTheOneBeforeIt) {
    EXPECT_TRUE(problems(makeAvi({.frameBytes = 0, .openDml = true})).empty());
}

TEST(Avi, TheFrameOfTheWrongSizeIsNamed) {
    AviMaker maker({.bits = 24});
    maker.Make();
    put(maker.bytes, maker.at["frame1"] + sizeAt, uint32_t{23});
    put(maker.bytes, maker.at["idx1"] + 8 + 16 + 12, uint32_t{23});
    EXPECT_EQ(problems(maker.bytes), Lines{"frame 2 at " + hexText(maker.at["frame1"]) +
                                           " has 23 bytes, but a picture of this size and kind takes 24"});
}

TEST(Avi, APromiseThatIsNotKeptIsToldWithThePlaceItStandsAt) {
    AviMaker maker({});
    maker.Make();
    put(maker.bytes, maker.at["avih"] + avihFramesAt, uint32_t{120});
    EXPECT_EQ(problems(maker.bytes), Lines{"the header (avih) promises 120 frames, the file holds 3"});
    put(maker.bytes, maker.at["strh"] + strhLengthAt, uint32_t{120});
    EXPECT_EQ(problems(maker.bytes), Lines{"the header (avih, strh) promises 120 frames, the file holds 3"});
    put(maker.bytes, maker.at["avih"] + avihFramesAt, uint32_t{0});
    put(maker.bytes, maker.at["strh"] + strhLengthAt, uint32_t{2});
    EXPECT_EQ(problems(maker.bytes), (Lines{"the header (avih) promises 0 frames, the file holds 3",
                                            "the header (strh) promises 2 frames, the file holds 3"}));
}

TEST(Avi, AFileCutAnywhereIsNotWhole) {
    for (const AviLayout& layout : {AviLayout{}, openDml, AviLayout{.records = true, .strangeChunks = true}}) {
        const FileBytes whole = makeAvi(layout);
        for (size_t size = 12; size < whole.size(); ++size) {
            const FileBytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
            const FileReport report = verify(cut);
            // Where a segment ends nothing but the counts tell that there was another one.
            EXPECT_FALSE(report.Whole()) << size << " of " << whole.size();
        }
    }
}

TEST(Avi, AFileCutShortTellsWhereAndHowManyFramesAreLeft) {
    AviMaker maker({.framesOfSegments = {120}});
    maker.Make();
    const size_t riffEnd = maker.bytes.size();
    maker.bytes.resize(maker.at["frame118"] + 10);
    const FileReport report = verify(maker.bytes);
    EXPECT_EQ(report.frames, 118u);
    EXPECT_EQ(report.problems.Lines(),
              (Lines{"the chunk 00dc at " + hexText(maker.at["frame118"]) + " ends beyond the file",
                     "RIFF segment 1 ends beyond the file: at " + hexText(riffEnd) + ", but the file ends at " +
                         hexText(maker.bytes.size()),
                     "the header (avih, strh) promises 120 frames, the file holds 118", "the index is missing"}));
}

TEST(Avi, TheSegmentThatIsCutIsNamed) {
    AviMaker maker(openDml);
    maker.Make();
    maker.bytes.resize(maker.at["ix1"]);
    const Lines told = problems(maker.bytes);
    EXPECT_NE(joined(told).find("RIFF segment 2 ends beyond the file"), std::string::npos) << joined(told);
    EXPECT_NE(joined(told).find("the header (avih, strh, dmlh) promises 9 frames, the file holds 5"), std::string::npos)
        << joined(told);
    EXPECT_NE(joined(told).find("part 2 of the index at " + hexText(maker.at["indx"]) + " should lie at " +
                                hexText(maker.at["ix1"]) + ", where no index begins (and 1 more like this)"),
              std::string::npos)
        << joined(told);
}

/// As a file is before it is closed: the largest sizes, no counts and no index.
FileBytes unclosed(AviMaker& maker, uint32_t size) {
    maker.Make();
    maker.bytes.resize(maker.at["idx1"]);
    put(maker.bytes, maker.at["riff0"] + sizeAt, size);
    put(maker.bytes, maker.at["movi0"] + sizeAt, size);
    put(maker.bytes, maker.at["avih"] + avihFramesAt, uint32_t{0});
    put(maker.bytes, maker.at["strh"] + strhLengthAt, uint32_t{0});
    return maker.bytes;
}

TEST(Avi, ARecordingThatWasNotClosedTellsTheFramesThatCanBeFound) {
    for (const uint32_t size : {0xFEFFF003u, 0xFFFFFFFFu, 0u}) {
        AviMaker maker({.framesOfSegments = {7}, .audio = true});
        FileBytes bytes = unclosed(maker, size);
        EXPECT_EQ(problems(bytes), Lines{"the recording was not closed: 7 whole frames can be found"}) << size;
        EXPECT_FALSE(verify(bytes).framesPerSecond);
        bytes.resize(maker.at["frame6"] + 20);
        EXPECT_EQ(problems(bytes),
                  Lines{"the recording was not closed: 6 whole frames can be found, and the last 20 bytes hold none"});
        EXPECT_EQ(verify(bytes).frames, 6u);
        bytes.resize(maker.at["movi0"] + 12);
        EXPECT_EQ(problems(bytes), Lines{"the recording was not closed: 0 whole frames can be found"});
    }
}

TEST(Avi, ARecordingThatWasNotClosedMayBeLongerThanItsLargestSize) {
    AviMaker maker({.framesOfSegments = {7}});
    maker.Make();
    EXPECT_EQ(problems(unclosed(maker, static_cast<uint32_t>(maker.at["frame3"]))),
              Lines{"the recording was not closed: 7 whole frames can be found"});
}

TEST(Avi, ARecordingThatWasNotClosedIsFollowedIntoItsLaterSegments) {
    AviMaker maker({.framesOfSegments = {3, 2, 2}, .openDml = true});
    FileBytes bytes = maker.Make();
    put(bytes, maker.at["riff0"] + sizeAt, uint32_t{0xFEFFF003});
    put(bytes, maker.at["movi0"] + sizeAt, uint32_t{0xFEFFF003});
    for (const char* riff : {"riff1", "riff2"}) put(bytes, maker.at[riff] + sizeAt, uint32_t{16});
    for (const char* movi : {"movi1", "movi2"}) put(bytes, maker.at[movi] + sizeAt, uint32_t{0});
    for (const size_t count :
         {maker.at["avih"] + avihFramesAt, maker.at["strh"] + strhLengthAt, maker.at["dmlh"] + dmlhFramesAt})
        put(bytes, count, uint32_t{0});
    const FileReport report = verify(bytes);
    EXPECT_EQ(report.problems.Lines(), Lines{"the recording was not closed: 7 whole frames can be found"});
    EXPECT_EQ(report.segments, 3u);
    // Space that was taken ahead and never written is no frame.
    bytes.resize(bytes.size() + 5000);
    EXPECT_EQ(problems(bytes),
              Lines{"the recording was not closed: 7 whole frames can be found, and the last 5000 bytes hold none"});
}

TEST(Avi, ASegmentWithoutASizeIsTold) {
    AviMaker maker({});
    maker.Make();
    put(maker.bytes, maker.at["riff0"] + sizeAt, uint32_t{0});
    EXPECT_EQ(problems(maker.bytes), Lines{"RIFF segment 1 has no size"});
}

TEST(Avi, AWrongIndexEntryIsNamed) {
    AviMaker maker({.framesOfSegments = {50}});
    maker.Make();
    const size_t entry = maker.at["idx1"] + 8 + 36 * 16;
    put(maker.bytes, entry + 8, uint32_t{1000});
    const std::string tail = ", where no frame of 24 bytes begins";
    EXPECT_EQ(problems(maker.bytes),
              Lines{"entry 37 of idx1 points at " + hexText(maker.at["movi0"] + 8 + 1000) + tail});
    put(maker.bytes, entry + 16 + 12, uint32_t{23});
    EXPECT_EQ(problems(maker.bytes), Lines{"entry 37 of idx1 points at " + hexText(maker.at["movi0"] + 8 + 1000) +
                                           tail + " (and 1 more like this)"});
}

TEST(Avi, AWrongFirstEntryDoesNotMakeTheOthersWrong) {
    AviMaker maker({.framesOfSegments = {5}, .fromFileStart = true});
    maker.Make();
    put(maker.bytes, maker.at["idx1"] + 8 + 8, uint32_t{3});
    EXPECT_EQ(problems(maker.bytes), Lines{"entry 1 of idx1 points at 0x3, where no frame of 24 bytes begins"});
}

TEST(Avi, AnIndexThatMissesFramesIsTold) {
    AviMaker maker({.framesOfSegments = {5}});
    maker.Make();
    put(maker.bytes, maker.at["idx1"] + sizeAt, uint32_t{4 * 16});
    put(maker.bytes, maker.at["riff0"] + sizeAt, static_cast<uint32_t>(maker.bytes.size() - 8 - 16));
    maker.bytes.resize(maker.bytes.size() - 16);
    EXPECT_EQ(problems(maker.bytes), Lines{"idx1 lists 4 frames, the first segment holds 5"});
}

TEST(Avi, AnIndexThatMissesOtherChunksIsTold) {
    AviMaker maker({.framesOfSegments = {2}, .audio = true});
    maker.Make();
    put(maker.bytes, maker.at["idx1"] + 8 + 3 * 16, fourcc("JUNK"));
    EXPECT_NE(joined(problems(maker.bytes)).find("idx1 lists 1 chunks of stream 1, the first segment holds 2"),
              std::string::npos)
        << joined(problems(maker.bytes));
}

TEST(Avi, AnIndexThatIsPromisedAndMissingIsTold) {
    AviMaker maker({.firstIndex = false});
    maker.Make();
    EXPECT_TRUE(problems(maker.bytes).empty());
    put(maker.bytes, maker.at["avih"] + avihFlagsAt, uint32_t{0x10});
    EXPECT_EQ(problems(maker.bytes), Lines{"the index is missing"});
}

TEST(Avi, AWrongOpenDmlEntryIsNamed) {
    AviMaker maker(openDml);
    maker.Make();
    put(maker.bytes, maker.at["ix1"] + ixFirstAt + 8, uint32_t{1});
    EXPECT_EQ(problems(maker.bytes), Lines{"entry 2 of the index at " + hexText(maker.at["ix1"]) + " points at " +
                                           hexText(maker.at["riff1"] + 1 - 8) + ", where no frame of 24 bytes begins"});
}

TEST(Avi, TheMarkOfAFrameThatNeedsOthersIsNoPartOfItsSize) {
    AviMaker maker(openDml);
    maker.Make();
    put(maker.bytes, maker.at["ix1"] + ixFirstAt + 12, uint32_t{24u | 0x80000000u});
    EXPECT_TRUE(problems(maker.bytes).empty()) << joined(problems(maker.bytes));
}

TEST(Avi, AnOpenDmlIndexThatMissesFramesIsTold) {
    AviMaker maker(openDml);
    maker.Make();
    put(maker.bytes, maker.at["ix2"] + ixCountAt, uint32_t{3});
    EXPECT_EQ(problems(maker.bytes), Lines{"the OpenDML index lists 8 frames, the file holds 9"});
    put(maker.bytes, maker.at["ix2"] + ixCountAt, uint32_t{5});
    EXPECT_EQ(problems(maker.bytes),
              Lines{"the index at " + hexText(maker.at["ix2"]) + " promises 5 entries and has room for 4"});
}

TEST(Avi, AnOpenDmlPartThatIsNotThereIsTold) {
    AviMaker maker(openDml);
    maker.Make();
    put(maker.bytes, maker.at["indx"] + indxFirstAt + 16, uint64_t{0x123456789ABCDEF0});
    EXPECT_EQ(problems(maker.bytes), (Lines{"part 2 of the index at " + hexText(maker.at["indx"]) +
                                                " should lie at 0x123456789ABCDEF0, where no index begins",
                                            "the OpenDML index lists 7 frames, the file holds 9"}));
    // The same part twice.
    put(maker.bytes, maker.at["indx"] + indxFirstAt + 16, uint64_t{maker.at["ix0"]});
    EXPECT_EQ(problems(maker.bytes).size(), 2u);
    maker.Make();
    put(maker.bytes, maker.at["indx"] + indxCountAt, uint32_t{0xFFFFFFFF});
    EXPECT_EQ(problems(maker.bytes),
              Lines{"the index at " + hexText(maker.at["indx"]) + " promises 4294967295 parts and has room for 3"});
}

TEST(Avi, AnOpenDmlIndexWithoutAReadableHeaderIsTold) {
    AviMaker maker(openDml);
    maker.Make();
    maker.bytes[maker.at["indx"] + 8 + 3] = 0x80;
    EXPECT_EQ(problems(maker.bytes), (Lines{"the index at " + hexText(maker.at["indx"]) + " is of the unknown kind 128",
                                            "the OpenDML index lists 0 frames, the file holds 9"}));
    maker.Make();
    put(maker.bytes, maker.at["ix1"] + 8, uint16_t{1});
    EXPECT_EQ(problems(maker.bytes),
              (Lines{"the index at " + hexText(maker.at["ix1"]) + " has no header that can be read",
                     "the OpenDML index lists 7 frames, the file holds 9"}));
}

TEST(Avi, AnIndexOfChunksMayStandInTheHeader) {
    AviMaker maker({.openDml = true});
    maker.Make();
    // The part of the only segment, put where the index of parts was.
    const size_t indx = maker.at["indx"], part = maker.at["ix0"];
    const FileBytes entries(maker.bytes.begin() + static_cast<ptrdiff_t>(part) + 8,
                            maker.bytes.begin() + static_cast<ptrdiff_t>(part) + 8 + 24 + 16);
    std::copy(entries.begin(), entries.end(), maker.bytes.begin() + static_cast<ptrdiff_t>(indx) + 8);
    put(maker.bytes, indx + indxCountAt, uint32_t{2});
    EXPECT_EQ(problems(maker.bytes), Lines{"the OpenDML index lists 2 frames, the file holds 3"});
}

TEST(Avi, AnIndexWithBothFieldsOfAPictureIsRead) {
    AviMaker maker({.framesOfSegments = {3}, .openDml = true});
    maker.Make();
    // Three numbers an entry: the room of three entries holds two.
    const size_t part = maker.at["ix0"];
    const auto frame = [&](const char* name) { return static_cast<uint32_t>(maker.at[name] + 8 - maker.at["riff0"]); };
    put(maker.bytes, part + 8, uint16_t{3});
    maker.bytes[part + 8 + 2] = 1;
    put(maker.bytes, part + ixCountAt, uint32_t{2});
    const uint32_t numbers[] = {frame("frame0"), 24, 12, frame("frame1"), 24, 12};
    for (size_t i = 0; i < std::size(numbers); ++i) put(maker.bytes, part + ixFirstAt + 4 * i, numbers[i]);
    EXPECT_EQ(problems(maker.bytes), Lines{"the OpenDML index lists 2 frames, the file holds 3"});
}

TEST(Avi, AChunkThatEndsBeyondItsListIsTold) {
    AviMaker maker({});
    maker.Make();
    put(maker.bytes, maker.at["frame2"] + sizeAt, uint32_t{26});
    EXPECT_EQ(problems(maker.bytes).front(),
              "the chunk 00dc at " + hexText(maker.at["frame2"]) + " ends beyond the list that it lies in");
    maker.Make();
    put(maker.bytes, maker.at["strf"] + sizeAt, uint32_t{4000});
    EXPECT_EQ(problems(maker.bytes).front(),
              "the chunk strf at " + hexText(maker.at["strf"]) + " ends beyond the list that it lies in");
    maker.Make();
    put(maker.bytes, maker.at["idx1"] + sizeAt, uint32_t{3 * 16 + 1});
    EXPECT_EQ(problems(maker.bytes).front(),
              "the chunk idx1 at " + hexText(maker.at["idx1"]) + " ends beyond RIFF segment 1");
}

TEST(Avi, WhatIsNoChunkIsTold) {
    AviMaker maker({});
    maker.Make();
    put(maker.bytes, maker.at["frame1"], uint32_t{0x07070707});
    EXPECT_EQ(problems(maker.bytes).front(), "at " + hexText(maker.at["frame1"]) + " no chunk begins");
    maker.Make();
    put(maker.bytes, maker.at["idx1"], uint32_t{0});
    EXPECT_EQ(problems(maker.bytes).front(), "at " + hexText(maker.at["idx1"]) + " no chunk begins");
}

TEST(Avi, BytesBehindTheLastSegmentAreTold) {
    FileBytes bytes = makeAvi({});
    const size_t end = bytes.size();
    bytes.insert(bytes.end(), {'J', 'U', 'N', 'K', 2, 0, 0, 0, 1, 2});
    EXPECT_TRUE(problems(bytes).empty());
    bytes.insert(bytes.end(), 5, 0);
    EXPECT_EQ(problems(bytes), Lines{"the last 5 bytes, from " + hexText(end + 10) + " on, lie in no RIFF segment"});
}

TEST(Avi, AStreamThatTheHeaderDoesNotHaveIsTold) {
    AviMaker maker({.firstIndex = false});
    maker.Make();
    maker.bytes[maker.at["frame1"] + 1] = '5';
    EXPECT_EQ(problems(maker.bytes), (Lines{"the chunk 05dc at " + hexText(maker.at["frame1"]) +
                                                " belongs to a stream that the header does not have",
                                            "the header (avih, strh) promises 3 frames, the file holds 2"}));
}

TEST(Avi, AHeaderThatIsMissingIsTold) {
    AviMaker maker({});
    maker.Make();
    put(maker.bytes, maker.at["avih"], fourcc("JUNK"));
    EXPECT_EQ(problems(maker.bytes), Lines{"there is no header that can be read"});
    maker.Make();
    put(maker.bytes, maker.at["strf"], fourcc("JUNK"));
    EXPECT_EQ(problems(maker.bytes), Lines{"the header does not tell the format of the pictures"});
    maker.Make();
    put(maker.bytes, maker.at["movi0"] + 8, fourcc("none"));
    EXPECT_EQ(problems(maker.bytes).front(), "there is no list of frames");
}

TEST(Avi, ARateThatIsNoneIsNotTold) {
    AviMaker maker({});
    maker.Make();
    put(maker.bytes, maker.at["strh"] + 8 + 20, uint32_t{0});
    EXPECT_FALSE(verify(maker.bytes).framesPerSecond || verify(maker.bytes).seconds);
}

TEST(Avi, ThousandsOfProblemsTakeFewLines) {
    // Segments that each end with a chunk too long for it.
    FileBytes bytes = makeAvi({.firstIndex = false});
    for (int i = 0; i < 2000; ++i)
        bytes.insert(bytes.end(),
                     {'R', 'I', 'F', 'F', 12, 0, 0, 0, 'A', 'V', 'I', 'X', 'J', 'U', 'N', 'K', 9, 0, 0, 0});
    const FileReport report = verify(bytes);
    EXPECT_EQ(report.segments, 2001u);
    EXPECT_EQ(report.problems.Lines().size(), Problems::mostLines);
    EXPECT_EQ(report.problems.Lines().size() + report.problems.Untold(), 2000u);
}

}  // namespace avi_test
}  // namespace vexcap::cli
