#include "hosts/cli/report/verify_text.h"

#include <gtest/gtest.h>

namespace vexcap::cli {
namespace verify_text_test {

FileReport ser() {
    FileReport report;
    report.container = FileReport::Container::Ser;
    report.bytes = 36'864'178;
    report.width = 640;
    report.height = 480;
    report.bits = 12;
    report.pixels = "Bayer RGGB";
    report.frames = 60;
    report.start = 1'795'264'496'789;
    return report;
}

FileReport avi() {
    FileReport report = ser();
    report.container = FileReport::Container::Avi;
    report.bits = 24;
    report.pixels = "BGR24";
    report.start.reset();
    report.framesPerSecond = 30;
    report.seconds = 2;
    report.segments = 1;
    report.otherStreams = {"audio", "text"};
    return report;
}

TEST(VerifyText, TellsWhatIsInAWholeFile) {
    EXPECT_EQ(reportText("a.ser", ser()),
              "a.ser\n"
              "  kind      SER\n"
              "  picture   640x480, 12 bits, Bayer RGGB\n"
              "  frames    60\n"
              "  start     2026-11-21 12:34:56.789 UTC\n"
              "  size      36864178 bytes, 36.9 MB\n"
              "  whole\n");
    EXPECT_EQ(reportText("a.avi", avi()),
              "a.avi\n"
              "  kind      AVI\n"
              "  picture   640x480, 24 bits a pixel, BGR24\n"
              "  frames    60\n"
              "  rate      30.0 frames a second\n"
              "  duration  2.0 s\n"
              "  segments  1\n"
              "  also      audio, text\n"
              "  size      36864178 bytes, 36.9 MB\n"
              "  whole\n");
    EXPECT_EQ(exitCodeOf(ser()), 0);
}

TEST(VerifyText, EachProblemHasItsLine) {
    FileReport report = ser();
    report.problems.Add("one");
    report.problems.Add("two");
    const std::string text = reportText("a.ser", report);
    EXPECT_TRUE(text.ends_with("36.9 MB\n  damaged   one\n  damaged   two\n")) << text;
    EXPECT_EQ(text.find("whole"), std::string::npos);
    EXPECT_EQ(exitCodeOf(report), 7);
}

TEST(VerifyText, ProblemsWithoutALineOfTheirOwnAreCounted) {
    FileReport report = ser();
    for (size_t i = 0; i < Problems::mostLines + 3; ++i) report.problems.Add("one");
    EXPECT_TRUE(reportText("a.ser", report).ends_with("  damaged   one\n  damaged   3 further problems\n"));
}

TEST(VerifyText, WhatIsNotKnownIsNotTold) {
    FileReport report;
    report.bytes = 200;
    report.problems.Add("its header is empty");
    EXPECT_EQ(reportText("a.ser", report),
              "a.ser\n"
              "  kind      SER\n"
              "  size      200 bytes, 200 B\n"
              "  damaged   its header is empty\n");
    EXPECT_EQ(reportJson("a.ser", report),
              R"({"type":"file","file":"a.ser","container":"ser","bytes":200,"whole":false,)"
              R"("problems":["its header is empty"],"exit":7})");
}

TEST(VerifyText, JsonTellsTheSame) {
    EXPECT_EQ(reportJson("a.avi", avi()),
              R"({"type":"file","file":"a.avi","container":"avi","width":640,"height":480,"depth":24,)"
              R"("pixels":"BGR24","frames":60,"framesPerSecond":30.000,"seconds":2.000,"segments":1,)"
              R"("otherStreams":["audio","text"],"bytes":36864178,"whole":true,"problems":[],"exit":0})");
    FileReport report = ser();
    report.problems.Add("a \"b\"");
    report.problems.Add("c");
    EXPECT_EQ(reportJson("a.ser", report),
              R"({"type":"file","file":"a.ser","container":"ser","width":640,"height":480,"depth":12,)"
              R"("pixels":"Bayer RGGB","frames":60,"start":"2026-11-21 12:34:56.789 UTC","bytes":36864178,)"
              R"("whole":false,"problems":["a \"b\"","c"],"exit":7})");
}

TEST(VerifyText, ATimeBefore1970IsOne) {
    EXPECT_EQ(timeText(0), "1970-01-01 00:00:00.000 UTC");
    EXPECT_EQ(timeText(-1), "1969-12-31 23:59:59.999 UTC");
    EXPECT_EQ(timeText(-62'135'596'800'000), "0001-01-01 00:00:00.000 UTC");
}

}  // namespace verify_text_test
}  // namespace vexcap::cli
