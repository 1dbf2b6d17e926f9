#include "hosts/cli/report/summary.h"

#include <gtest/gtest.h>

namespace vexcap::cli {
namespace summary_test {

RecordingResult good() {
    RecordingResult result;
    result.file = "planet.ser";
    result.counts = {.offered = 600,
                     .kept = 600,
                     .written = 600,
                     .lost = 0,
                     .bytes = 600'000'000,
                     .lastFailure = S_OK,
                     .elapsed = 10'000,
                     .reserved = 0};
    result.width = 1000;
    result.height = 1000;
    result.depth = 8;
    return result;
}

TEST(Summary, EveryEndHasItsExitCode) {
    RecordingResult result = good();
    EXPECT_EQ(exitCodeOf(result), 0);
    result.ending = Ending::Asked;
    EXPECT_EQ(exitCodeOf(result), 0);
    result.counts.lost = 1;
    EXPECT_EQ(exitCodeOf(result), 6);
    result.counts.lost = 0;
    result.cameraLost = 1;
    EXPECT_EQ(exitCodeOf(result), 6);
    result.ending = Ending::DeviceLost;
    EXPECT_EQ(exitCodeOf(result), 4);
    result.ending = Ending::Stalled;
    EXPECT_EQ(exitCodeOf(result), 4);
    result.ending = Ending::DiskFull;
    EXPECT_EQ(exitCodeOf(result), 5);
}

TEST(Summary, ARecordingWithoutAFrameFailed) {
    RecordingResult result = good();
    result.counts = {};
    result.ending = Ending::Asked;
    EXPECT_EQ(exitCodeOf(result), 1);
    EXPECT_EQ(summaryText(result), "No frame was recorded, so there is no file planet.ser.\n");
}

TEST(Summary, TellsAllNumbersAndHowToOpenTheFile) {
    EXPECT_EQ(summaryText(good()),
              "Recorded planet.ser\n"
              "  picture  1000x1000, 8 bits\n"
              "  frames   600 offered, 600 kept, 600 written, 0 lost; the camera lost 0\n"
              "  time     10.0 s, 60.0 frames a second\n"
              "  size     600.0 MB, 60.0 MB/s\n"
              "  open     siril planet.ser, ser-player planet.ser or ffprobe planet.ser\n");
}

TEST(Summary, AnAviFileHasPixelsAndItsOwnPlayers) {
    RecordingResult result = good();
    result.file = "planet.AVI";
    result.depth = 24;
    const std::string text = summaryText(result);
    EXPECT_NE(text.find("  picture  1000x1000, 24 bits a pixel\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  open     siril planet.AVI, vlc planet.AVI or ffprobe planet.AVI\n"), std::string::npos)
        << text;
    EXPECT_NE(summaryJson(result).find(R"("container":"avi","end":"limit","width":1000,"height":1000,"depth":24,)"),
              std::string::npos)
        << summaryJson(result);
    result.counts = {};
    EXPECT_EQ(summaryText(result), "No frame was recorded; planet.AVI is empty.\n");
}

TEST(Summary, ACompressorIsTold) {
    RecordingResult result = good();
    result.file = "planet.avi";
    result.depth = 24;
    result.codec = "MJPEG Compressor";
    EXPECT_NE(summaryText(result).find("  picture  1000x1000, MJPEG Compressor\n"), std::string::npos)
        << summaryText(result);
    EXPECT_NE(summaryJson(result).find(R"("container":"avi","codec":"MJPEG Compressor","end":"limit",)"),
              std::string::npos)
        << summaryJson(result);
}

TEST(Summary, LossesAreTold) {
    RecordingResult result = good();
    result.counts.lost = 3;
    result.cameraLost = 2;
    result.ending = Ending::DiskFull;
    const std::string text = summaryText(result);
    EXPECT_TRUE(text.starts_with("The disk is full")) << text;
    EXPECT_NE(text.find("3 frames are not in the file"), std::string::npos) << text;
    EXPECT_NE(text.find("2 frames were lost before"), std::string::npos) << text;
}

TEST(Summary, AFileNameIsQuotedForTheShell) {
    RecordingResult result = good();
    result.file = "it's here.ser";
    EXPECT_NE(summaryText(result).find("siril 'it'\\''s here.ser',"), std::string::npos) << summaryText(result);
}

TEST(Summary, JsonHasTheSameNumbers) {
    RecordingResult result = good();
    result.ending = Ending::Stalled;
    EXPECT_EQ(
        summaryJson(result),
        R"({"type":"recording","file":"planet.ser","container":"ser","end":"stalled","width":1000,"height":1000,"depth":8,)"
        R"("offered":600,"kept":600,"written":600,"lost":0,"cameraLost":0,"bytes":600000000,"seconds":10.000,)"
        R"("framesPerSecond":60.000,"exit":4})");
}

}  // namespace summary_test
}  // namespace vexcap::cli
