#include "hosts/cli/report/play_text.h"

#include <gtest/gtest.h>

namespace vexcap::cli {
namespace play_text_test {

const PlayedFile file = {.path = "a.avi", .size = {640, 480}, .duration = 64.5, .seekable = true};

TEST(PlayText, TellsWhatTheFileHolds) {
    EXPECT_EQ(fileLine(file), "a.avi, 640x480, 1:04");
    EXPECT_EQ(fileJson(file),
              R"({"type":"media","file":"a.avi","width":640,"height":480,"duration":64.500,"seekable":true})");
}

TEST(PlayText, AnUnknownLengthIsNoLengthOfZero) {
    const PlayedFile endless = {.path = "b.avi", .size = {2, 2}};
    EXPECT_EQ(fileLine(endless), "b.avi, 2x2, of unknown length");
    EXPECT_EQ(fileJson(endless), R"({"type":"media","file":"b.avi","width":2,"height":2,"seekable":false})");
    EXPECT_EQ(playLine({.position = 3, .frames = 7, .framesPerSecond = 2.5}), "0:03  7 frames, 2.5 fps");
}

TEST(PlayText, TellsPositionAndFrames) {
    const PlayProgress progress = {
        .elapsed = 2, .position = 3.25, .duration = 64.5, .frames = 75, .framesPerSecond = 25};
    EXPECT_EQ(playLine(progress), "0:03 of 1:04  75 frames, 25.0 fps");
    EXPECT_EQ(playJson(progress),
              R"({"type":"play","seconds":2.000,"position":3.250,"frames":75,"framesPerSecond":25.000})");
    EXPECT_EQ(seekLine(3.5), "at 3.5 seconds");
    EXPECT_EQ(seekJson(3.25), R"({"type":"seek","position":3.250})");
}

TEST(PlayText, TellsWhetherTheEndWasReached) {
    EXPECT_EQ(endLine(file, PlayEnd::File, 100), "Played 100 frames of a.avi, to its end");
    EXPECT_EQ(endLine(file, PlayEnd::Limit, 100), "Played 100 frames of a.avi, not to its end");
    EXPECT_EQ(endJson(file, PlayEnd::Asked, 3), R"({"type":"played","file":"a.avi","end":"asked","frames":3})");
    EXPECT_NE(endJson(file, PlayEnd::File, 3).find(R"("end":"file")"), std::string::npos);
    EXPECT_NE(endJson(file, PlayEnd::Limit, 3).find(R"("end":"limit")"), std::string::npos);
}

}  // namespace play_text_test
}  // namespace vexcap::cli
