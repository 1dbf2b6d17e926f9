#include "hosts/common/formats.h"

#include <gtest/gtest.h>

#include "hosts/common/failure.h"

namespace vexcap::host {
namespace formats_test {

constexpr uint32_t fourcc(const char (&code)[5]) {
    return uint32_t(code[0]) | uint32_t(code[1]) << 8 | uint32_t(code[2]) << 16 | uint32_t(code[3]) << 24;
}

vex_capability capability(uint32_t code, int32_t width, int32_t height) {
    vex_capability record = {};
    record.header.biSize = 40;
    record.header.biWidth = width;
    record.header.biHeight = height;
    record.header.biCompression = code;
    record.minOutputSize[0] = record.maxOutputSize[0] = width;
    record.minOutputSize[1] = record.maxOutputSize[1] = height;
    record.minFrameInterval = 333'333;
    record.maxFrameInterval = 2'000'000;
    return record;
}

const std::vector<Format> webcam = {formatOf(capability(fourcc("YUY2"), 640, 480), false),
                                    formatOf(capability(fourcc("MJPG"), 640, 480), false),
                                    formatOf(capability(fourcc("MJPG"), 1280, 720), false)};

uint32_t matched(const std::string& text) { return matchFormat(webcam, parseFormatChoice(text).value()); }

TEST(Format, TellsLayoutSizeAndRates) {
    EXPECT_EQ(formatLine(3, webcam[1]), " 3  MJPG   640x480      5.0 to 30.0 fps");
}

TEST(Format, ASingleRateIsToldOnce) {
    vex_capability record = capability(0, 320, 240);
    record.maxFrameInterval = record.minFrameInterval = 400'000;
    EXPECT_EQ(formatLine(0, formatOf(record, false)), " 0  RGB24  320x240      25.0 fps");
}

TEST(Format, AnUnknownRateIsNotTold) {
    vex_capability record = capability(0, 320, 240);
    record.minFrameInterval = record.maxFrameInterval = 0;
    EXPECT_EQ(formatLine(0, formatOf(record, false)), " 0  RGB24  320x240");
    record.minFrameInterval = -1;
    EXPECT_EQ(formatLine(0, formatOf(record, false)), " 0  RGB24  320x240");
}

TEST(Format, ARangeOfSizesIsTold) {
    vex_capability record = capability(fourcc("YUY2"), 640, 480);
    record.minOutputSize[0] = 48;
    record.minOutputSize[1] = 32;
    record.maxOutputSize[0] = 1920;
    record.maxOutputSize[1] = 1080;
    EXPECT_EQ(formatLine(10, formatOf(record, false)), "10  YUY2   640x480      5.0 to 30.0 fps  (48x32 to 1920x1080)");
}

TEST(Format, OfACameraOnlyTheSizeCounts) {
    const Format format = formatOf(capability(0, 1936, 1096), true);
    EXPECT_EQ(formatLine(0, format), " 0         1936x1096");
}

TEST(Format, ALayoutThatIsNoTextIsANumber) {
    const auto layout = [](uint32_t code) { return formatOf(capability(code, 2, 2), false).layout; };
    EXPECT_EQ(layout(fourcc("Y16 ")), "Y16");
    EXPECT_EQ(layout(0x01020304), "0x01020304");
    EXPECT_EQ(layout(0x20202020), "0x20202020");
    EXPECT_EQ(layout(0xFF595559), "0xFF595559");
}

TEST(Format, NegativeSidesCountAsNone) {
    const Format format = formatOf(capability(0, -640, -480), false);
    EXPECT_EQ(format.size, (Size{0, 0}));
    EXPECT_FALSE(format.HasSizeRange());
}

TEST(FormatChoice, IsAnIndexOrASizeWithOrWithoutALayout) {
    EXPECT_EQ(parseFormatChoice("2")->index, 2u);
    EXPECT_EQ(parseFormatChoice("1280x720")->size, (Size{1280, 720}));
    EXPECT_EQ(parseFormatChoice("1280x720")->layout, "");
    EXPECT_EQ(parseFormatChoice("YUY2:2x4"), (FormatChoice{.index = {}, .layout = "YUY2", .size = {2, 4}}));
    for (const char* wrong : {"", "x", "640x", "x480", "640x480x", "640X480", "-1", "1.5", "0x480", "640x0", ":640x480",
                              "MJPG", "MJPG:", "MJPG:2", "MJPG:640x480 ", "99999999999", "640x99999999999"})
        EXPECT_FALSE(parseFormatChoice(wrong)) << wrong;
}

TEST(FormatChoice, TakesTheFirstThatFits) {
    EXPECT_EQ(matched("1"), 1u);
    EXPECT_EQ(matched("640x480"), 0u);
    EXPECT_EQ(matched("1280x720"), 2u);
    EXPECT_EQ(matched("mjpg:640x480"), 1u);
}

TEST(FormatChoice, OneThatIsNotOfferedIsRefusedWithTheList) {
    for (const char* wrong : {"3", "800x600", "YUY2:1280x720", "NV12:640x480"}) {
        try {
            matched(wrong);
            FAIL() << wrong;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code, exitUsage);
            EXPECT_NE(std::string(failure.what()).find("\n 2  MJPG   1280x720"), std::string::npos) << failure.what();
        }
    }
}

}  // namespace formats_test
}  // namespace vexcap::host
