#include "hosts/cli/report/format_text.h"

#include <gtest/gtest.h>

namespace vexcap::cli {
namespace format_text_test {

TEST(FormatText, TellsWhatIsKnown) {
    const Format webcam = {.layout = "MJPG", .size = {640, 480}, .least = {}, .most = {}, .slowest = 5, .fastest = 30};
    EXPECT_EQ(formatJson(3, webcam), R"({"type":"format","index":3,"layout":"MJPG","width":640,"height":480,)"
                                     R"("slowestFramesPerSecond":5.000,"fastestFramesPerSecond":30.000})");
    const Format withoutRate = {.layout = "RGB24", .size = {320, 240}, .least = {}, .most = {}};
    EXPECT_EQ(formatJson(0, withoutRate), R"({"type":"format","index":0,"layout":"RGB24","width":320,"height":240})");
    const Format ofCamera = {.layout = {}, .size = {1936, 1096}, .least = {}, .most = {}};
    EXPECT_EQ(formatJson(0, ofCamera), R"({"type":"format","index":0,"width":1936,"height":1096})");
}

TEST(FormatText, TellsARangeOfSizes) {
    const Format format = {.layout = "YUY2", .size = {640, 480}, .least = {48, 32}, .most = {1920, 1080}};
    EXPECT_NE(formatJson(10, format).find(R"("leastWidth":48,"leastHeight":32,"mostWidth":1920,"mostHeight":1080)"),
              std::string::npos);
}

}  // namespace format_text_test
}  // namespace vexcap::cli
