#include "hosts/cli/options/options_testing.h"

namespace vexcap::cli {
namespace overlay_options_test {

using Arguments = std::vector<const char*>;

Arguments with(Arguments arguments, const Arguments& more) {
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

const Arguments snap = {"snap", "-d", "0", "-o", "a.png"};
const Arguments view = {"view", "-d", "0", "--snapshot", "a.png"};
const Arguments record = {"record", "-d", "0", "-o", "a.avi"};

Overlay drawn(const Arguments& arguments) { return parsed(with(snap, arguments)).overlay; }

std::string refused(const Arguments& arguments) { return refusal(with(snap, arguments)); }

TEST(OverlayOptions, AreThoseOfEveryCommandThatMakesPictures) {
    for (const Arguments& command : {snap, view, record}) {
        EXPECT_FALSE(parsed(command).overlay.Draws());
        EXPECT_EQ(parsed(with(command, {"--date"})).overlay.txt.Date, VEX_DATE_NUMERIC);
    }
    refusal({"watch", "-d", "0", "--date"});
}

TEST(OverlayOptions, ADateHasThreeForms) {
    EXPECT_EQ(drawn({"--date"}).txt.Date, VEX_DATE_NUMERIC);
    EXPECT_EQ(drawn({"--date", "--contrast"}).txt.Date, VEX_DATE_NUMERIC);
    EXPECT_EQ(drawn({"--date", "numeric"}).txt.Date, VEX_DATE_NUMERIC);
    EXPECT_EQ(drawn({"--date", "short"}).txt.Date, VEX_DATE_SHORT);
    EXPECT_EQ(drawn({"--date=long"}).txt.Date, VEX_DATE_LONG);
    for (const char* wrong : {"none", "iso", "LONG", "0"})
        EXPECT_NE(refused({"--date", wrong}).find("one of numeric|short|long"), std::string::npos) << wrong;
}

TEST(OverlayOptions, AScaleBarNeedsTheSizeOfAPixel) {
    const Overlay overlay = drawn({"--scale-bar", "50", "--pixel-size", "0.5"});
    EXPECT_EQ(overlay.txt.Scale, 1u);
    EXPECT_EQ(overlay.txt.ScaleWithPower, 0u);
    EXPECT_EQ(overlay.barLength, 50);
    EXPECT_EQ(overlay.pixelSize, 0.5);
    EXPECT_NE(refused({"--scale-bar", "50"}).find("requires --pixel-size"), std::string::npos);
    EXPECT_FALSE(drawn({"--pixel-size", "0.5"}).Draws());
    for (const char* wrong : {"0", "-1", "x", "nan", "inf", "", "1,5", "1e9"}) {
        EXPECT_NE(refused({"--scale-bar", wrong, "--pixel-size", "1"}).find("a number of micrometres from"),
                  std::string::npos)
            << wrong;
        refused({"--pixel-size", wrong});
    }
}

TEST(OverlayOptions, APowerTextStandsBelowABar) {
    const Overlay overlay = drawn({"--scale-bar", "50", "--pixel-size", "0.5", "--power", "40x \u00B5"});
    EXPECT_EQ(overlay.txt.ScaleWithPower, 1u);
    EXPECT_EQ(overlay.power, "40x \u00B5");
    EXPECT_NE(refused({"--power", "40x"}).find("requires --scale-bar"), std::string::npos);
    const std::string longest(100, 'x'), tooLong(101, 'x');
    EXPECT_EQ(drawn({"--scale-bar", "5", "--pixel-size", "1", "--power", longest.c_str()}).power, longest);
    for (const char* wrong : {tooLong.c_str(), "a\nb", "a\xFF"})
        EXPECT_NE(refused({"--scale-bar", "5", "--pixel-size", "1", "--power", wrong}).find("one line"),
                  std::string::npos);
}

TEST(OverlayOptions, AMarkerHasFiveShapes) {
    EXPECT_EQ(drawn({"--marker", "cross"}).geo.eMarkerGeo, VEX_MARKER_CROSS);
    EXPECT_EQ(drawn({"--marker", "rectangle"}).geo.eMarkerGeo, VEX_MARKER_RECTANGLE);
    EXPECT_EQ(drawn({"--marker", "circle", "--marker-size", "5"}).geo.eMarkerGeo, VEX_MARKER_CIRCLE);
    EXPECT_EQ(drawn({"--marker", "cross+rectangle"}).geo.eMarkerGeo, VEX_MARKER_CROSS_RECTANGLE);
    EXPECT_EQ(drawn({"--marker", "cross+circle", "--marker-size2", "5"}).geo.eMarkerGeo, VEX_MARKER_CROSS_CIRCLE);
    for (const char* wrong : {"none", "star", "", "1", "circle+cross"})
        EXPECT_NE(refused({"--marker", wrong}).find("one of cross|rectangle|circle"), std::string::npos) << wrong;
}

TEST(OverlayOptions, AMarkerIsSizedMovedAndTurned) {
    const MarkerGeo geo = drawn({"--marker", "cross+rectangle", "--marker-size", "30", "--marker-size2", "40,50",
                                 "--marker-angle", "12.345", "--marker-offset", "-10,50", "--marker-colour", "00FF80"})
                              .geo;
    EXPECT_EQ(geo.eMarkerGeox, 30);
    EXPECT_EQ(geo.eMarkerGeoy, 30);
    EXPECT_EQ(geo.eMarkerGeox2, 40);
    EXPECT_EQ(geo.eMarkerGeoy2, 50);
    EXPECT_EQ(geo.eMarkerGeoAngle, 12345);
    EXPECT_EQ(geo.eMarkerxPos, -10);
    EXPECT_EQ(geo.eMarkeryPos, 50);
    EXPECT_EQ(geo.eMarkerGeoColor, 0x80FF00u);
}

TEST(OverlayOptions, WhatAMarkerCannotHaveIsRefused) {
    const auto wrong = [](const Arguments& arguments) { return refused(with({"--marker", "cross"}, arguments)); };
    for (const char* size : {"0", "101", "5,0", "5,101", "5,", "5,5,5", "x", ""})
        EXPECT_NE(wrong({"--marker-size", size}).find("percents from 1 to 100"), std::string::npos) << size;
    for (const char* angle : {"-1", "360.1", "x", "nan"}) wrong({"--marker-angle", angle});
    for (const char* offset : {"51,0", "0,-51", "0", "a,b"}) wrong({"--marker-offset", offset});
    EXPECT_NE(wrong({"--marker-colour", "mauve"})
                  .find("mauve: a colour is RRGGBB in hexadecimal digits, or one of black, blue"),
              std::string::npos);
    EXPECT_EQ(drawn({"--marker", "cross", "--marker-angle", "360"}).geo.eMarkerGeoAngle, 360000);
    for (const char* option : {"--marker-size", "--marker-size2", "--marker-angle", "--ticks"})
        EXPECT_NE(refused({option, "5"}).find("requires --marker"), std::string::npos) << option;
    EXPECT_NE(wrong({"--marker-size2", "5"}).find("this marker has one shape"), std::string::npos);
}

TEST(OverlayOptions, ACircleNeedsItsRadius) {
    EXPECT_NE(refused({"--marker", "circle"}).find("needs --marker-size"), std::string::npos);
    EXPECT_NE(refused({"--marker", "cross+circle", "--marker-size", "9"}).find("needs --marker-size2"),
              std::string::npos);
}

TEST(OverlayOptions, TicksAreInPixelsOrMicrometres) {
    EXPECT_EQ(drawn({"--marker", "cross", "--ticks", "20"}).ticks, (Length{20, false}));
    EXPECT_EQ(drawn({"--marker", "cross", "--ticks", "50um", "--pixel-size", "0.5"}).ticks, (Length{50, true}));
    EXPECT_NE(refused({"--marker", "cross", "--ticks", "50um"}).find("need --pixel-size"), std::string::npos);
    EXPECT_NE(refused({"--marker", "circle", "--marker-size", "5", "--ticks", "5"}).find("no tick marks"),
              std::string::npos);
    for (const char* wrong : {"0", "-5", "x", "5mm", "1e7"}) refused({"--marker", "cross", "--ticks", wrong});
}

TEST(OverlayOptions, AWatermarkIsMovedTurnedAndMadeTransparent) {
    const Watermark plain = drawn({"--watermark", "logo.png"}).watermark;
    EXPECT_EQ(plain, (Watermark{.file = "logo.png"}));
    const Watermark mark =
        drawn({"--watermark", "logo.png", "--alpha", "100", "--offset", "-5,7", "--rotate", "90.5"}).watermark;
    EXPECT_EQ(mark, (Watermark{"logo.png", 100, -5, 7, 90500}));
    for (const Arguments& alone : {Arguments{"--alpha", "5"}, {"--offset", "5,5"}, {"--rotate", "5"}})
        EXPECT_NE(refused(alone).find("requires --watermark"), std::string::npos) << alone[0];
    for (const Arguments& wrong : {Arguments{"--alpha", "101"},
                                   {"--alpha", "-1"},
                                   {"--offset", "1000001,0"},
                                   {"--offset", "5"},
                                   {"--rotate", "361"}})
        refused(with({"--watermark", "logo.png"}, wrong));
    refused({"--watermark", ""});
    refused({"--watermark", "a\xFF"});
}

TEST(OverlayOptions, TextsHaveTheirLook) {
    const MarkerTxt txt = drawn({"--contrast", "--corner", "top-left", "--font-size", "6", "--font-weight", "heavy",
                                 "--plate", "white", "--bar-size", "0", "--text-colour", "green"})
                              .txt;
    EXPECT_EQ(txt.Contrast, 1u);
    EXPECT_EQ(txt.MarkerPos, VEX_CORNER_TOP_LEFT);
    EXPECT_EQ(txt.FontSize, 6);
    EXPECT_EQ(txt.FontWeight, 2);
    EXPECT_EQ(txt.eBackground, 2);
    EXPECT_EQ(txt.ScaleSize, 0);
    for (const uint32_t colour : {txt.ScaleColor, txt.DateColor, txt.ContrastColor}) EXPECT_EQ(colour, 0x00FF00u);
    EXPECT_EQ(drawn({"--corner", "top-right"}).txt.MarkerPos, VEX_CORNER_TOP_RIGHT);
    EXPECT_EQ(drawn({"--corner", "bottom-left"}).txt.MarkerPos, VEX_CORNER_BOTTOM_LEFT);
    EXPECT_EQ(drawn({"--corner", "bottom-right"}).txt.MarkerPos, VEX_CORNER_BOTTOM_RIGHT);
    EXPECT_EQ(drawn({"--plate", "black"}).txt.eBackground, 1);
    EXPECT_EQ(drawn({"--plate", "none"}).txt.eBackground, 0);
    EXPECT_EQ(drawn({"--font-weight", "normal"}).txt.FontWeight, 0);
    for (const Arguments& wrong : {Arguments{"--corner", "none"},
                                   {"--corner", "left"},
                                   {"--font-size", "7"},
                                   {"--font-size", "-1"},
                                   {"--font-weight", "light"},
                                   {"--plate", "red"},
                                   {"--bar-size", "7"},
                                   {"--text-colour", "12"}})
        refused(wrong);
}

TEST(OverlayOptions, OnlyAviRecordingsHaveAnOverlay) {
    for (const Arguments& drawing :
         {Arguments{"--date"}, {"--contrast"}, {"--marker", "cross"}, {"--font-size", "3"}}) {
        const std::string text = refusal(with({"record", "-d", "0", "-o", "a.ser"}, drawing));
        EXPECT_NE(text.find(drawing[0]), std::string::npos) << text;
        EXPECT_NE(text.find("raw frames of a SER file"), std::string::npos) << text;
    }
    refusal({"record", "-d", "0", "--auto-name=ser", "--date"});
    EXPECT_EQ(parsed({"record", "-d", "0", "--auto-name", "--date"}).autoName.extension, ".avi");
    EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser", "--pixel-size", "0.5"}).overlay.pixelSize, 0.5);
}

TEST(OverlayOptions, ACompressedRecordingHasNoWatermarkAndAllTheRest) {
    EXPECT_NE(refusal(with(record, {"--codec", "x", "--watermark", "a.png"})).find("no watermark"), std::string::npos);
    EXPECT_TRUE(parsed(with(record, {"--codec", "x", "--marker", "cross", "--date"})).overlay.Draws());
    EXPECT_EQ(parsed(with(record, {"--watermark", "a.png"})).overlay.watermark.file, "a.png");
}

}  // namespace overlay_options_test
}  // namespace vexcap::cli
