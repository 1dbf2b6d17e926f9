#include "hosts/cli/report/progress.h"

#include <gtest/gtest.h>

namespace vexcap::cli {
namespace progress_test {

Progress halfway() {
    return {.elapsed = 5,
            .frames = 300,
            .bytes = 237'000'000,
            .framesPerSecond = 60,
            .bytesPerSecond = 47.4e6,
            .timeLimit = 10};
}

TEST(Progress, TheLimitThatEndsFirstTellsTheShareAndTheTime) {
    Progress progress = halfway();
    EXPECT_DOUBLE_EQ(doneShare(progress).value(), 0.5);
    EXPECT_DOUBLE_EQ(secondsLeft(progress).value(), 5);
    progress.frameLimit = 400;
    EXPECT_DOUBLE_EQ(doneShare(progress).value(), 0.75);
    EXPECT_NEAR(secondsLeft(progress).value(), 100 / 60.0, 1e-9);
}

TEST(Progress, WithoutALimitNothingIsLeftToTell) {
    Progress progress = halfway();
    progress.timeLimit = 0;
    EXPECT_FALSE(doneShare(progress));
    EXPECT_FALSE(secondsLeft(progress));
    EXPECT_EQ(terminalLine(progress, 79, false), "300 frames  60.0 fps  47.4 MB/s  237.0 MB  0:05");
}

TEST(Progress, AFrameLimitWithoutARateHasNoTimeLeft) {
    EXPECT_FALSE(secondsLeft({.elapsed = 1, .frameLimit = 10}));
    EXPECT_DOUBLE_EQ(doneShare({.elapsed = 1, .frameLimit = 10}).value(), 0);
}

TEST(Progress, BehindTheLimitTheBarIsFull) {
    Progress progress = halfway();
    progress.elapsed = 12;
    EXPECT_DOUBLE_EQ(doneShare(progress).value(), 1);
    EXPECT_DOUBLE_EQ(secondsLeft(progress).value(), 0);
    EXPECT_NE(terminalLine(progress, 79, false).find("=]  100%"), std::string::npos);
}

TEST(Progress, ATerminalLineHasABarAndAllNumbers) {
    EXPECT_EQ(terminalLine(halfway(), 79, false),
              "[=========>        ]  50%  300 frames  60.0 fps  47.4 MB/s  237.0 MB  0:05 left");
}

TEST(Progress, ALineIsNeverWiderThanTheTerminal) {
    Progress progress = halfway();
    progress.lost = 7;
    for (int columns = 0; columns <= 200; ++columns)
        EXPECT_LE(static_cast<int>(terminalLine(progress, columns, false).size()), columns);
    EXPECT_EQ(terminalLine(progress, 30, false), "300 frames  7 lost  0:05 left");
    EXPECT_EQ(terminalLine(progress, 20, false), "300 frames  7 lost");
    EXPECT_EQ(terminalLine(progress, 4, false), "300 ");
    EXPECT_EQ(terminalLine(progress, 200, false).find(']'), 31u);
}

TEST(Progress, ColourAddsNothingButColour) {
    Progress progress = halfway();
    progress.lost = 7;
    std::string line = terminalLine(progress, 100, true);
    EXPECT_NE(line.find("\033[31m7 lost\033[0m"), std::string::npos) << line;
    for (size_t start = line.find('\033'); start != std::string::npos; start = line.find('\033'))
        line.erase(start, line.find('m', start) + 1 - start);
    EXPECT_EQ(line, terminalLine(progress, 100, false));
}

TEST(Progress, APlainLineTellsEverything) {
    EXPECT_EQ(plainLine(halfway()), "0:05  300 frames, 60.0 fps, 47.4 MB/s, 237.0 MB, 0 lost, 0:05 left");
}

TEST(Progress, JsonTellsTheTimeLeftOnlyWhereItIsKnown) {
    Progress progress = halfway();
    EXPECT_EQ(jsonLine(progress), R"({"type":"progress","seconds":5.000,"frames":300,"lost":0,"bytes":237000000,)"
                                  R"("framesPerSecond":60.000,"bytesPerSecond":47400000.000,"secondsLeft":5.000})");
    progress.timeLimit = 0;
    EXPECT_EQ(jsonLine(progress).find("secondsLeft"), std::string::npos);
}

TEST(RateMeter, MeasuresTheLastTwoSeconds) {
    RateMeter meter;
    Progress progress;
    meter.Measure(progress);
    EXPECT_EQ(progress.framesPerSecond, 0);
    for (int i = 1; i <= 40; ++i) {
        progress.elapsed = i * 0.1;
        progress.frames += i <= 20 ? 10 : 1;
        progress.bytes = uint64_t{progress.frames} * 1000;
        meter.Measure(progress);
    }
    EXPECT_NEAR(progress.framesPerSecond, 10, 0.01);
    EXPECT_NEAR(progress.bytesPerSecond, 10'000, 10);
}

}  // namespace progress_test
}  // namespace vexcap::cli
