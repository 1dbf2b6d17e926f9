#include "hosts/common/overlay.h"

#include <gtest/gtest.h>

#include "hosts/common/failure.h"
#include "hosts/common/text/numbers.h"

namespace vexcap::host {
namespace overlay_test {

Overlay barOf(double micrometres, double pixelSize) {
    Overlay overlay;
    overlay.txt.Scale = 1;
    overlay.barLength = micrometres;
    overlay.pixelSize = pixelSize;
    return overlay;
}

/// The text of a refusal; empty for a bar that fits.
std::string refusalOf(const Overlay& overlay, const Size& picture) {
    try {
        checkFits(overlay, picture);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, exitUsage);
        return failure.what();
    }
    return {};
}

TEST(Overlay, BeginsWithTheLibrarysStandardValuesAndDrawsNothing) {
    const Overlay overlay;
    EXPECT_FALSE(overlay.Draws());
    EXPECT_EQ(overlay.geo.eMarkerGeo, VEX_MARKER_NONE);
    EXPECT_EQ(overlay.geo.eMarkerGeoColor, 0x0000FFu);
    EXPECT_EQ(overlay.geo.eMarkerGeoFlag, 1u);
    for (const int32_t side :
         {overlay.geo.eMarkerGeox, overlay.geo.eMarkerGeoy, overlay.geo.eMarkerGeox2, overlay.geo.eMarkerGeoy2})
        EXPECT_EQ(side, 100);
    EXPECT_EQ(overlay.txt.MarkerPos, VEX_CORNER_BOTTOM_RIGHT);
    EXPECT_EQ(overlay.txt.FontSize, 3);
    EXPECT_EQ(overlay.txt.FontWeight, 1);
    EXPECT_EQ(overlay.txt.ScaleSize, 3);
    EXPECT_EQ(overlay.txt.ScaleColor, 0x00FFFFu);
    EXPECT_EQ(overlay.txt.DateColor, 0x00FFFFu);
    EXPECT_EQ(overlay.txt.ContrastColor, 0xFF0000u);
}

TEST(Overlay, EachOfItsPartsAloneIsDrawn) {
    Overlay date, bar, contrast, marker, watermark, size;
    date.txt.Date = VEX_DATE_SHORT;
    bar.txt.Scale = 1;
    contrast.txt.Contrast = 1;
    marker.geo.eMarkerGeo = VEX_MARKER_CIRCLE;
    watermark.watermark.file = "a.png";
    size.pixelSize = 0.5;
    for (const Overlay& overlay : {date, bar, contrast, marker, watermark}) EXPECT_TRUE(overlay.Draws());
    EXPECT_FALSE(size.Draws());
}

TEST(Overlay, ABarIsItsLengthInPixels) {
    EXPECT_DOUBLE_EQ(barOf(50, 0.5).BarPixels(), 100);
    EXPECT_DOUBLE_EQ(barOf(1, 0.8).BarPixels(), 1.25);
    EXPECT_EQ(Overlay().BarPixels(), 0);
}

TEST(Overlay, ABarNeedsRoomBesideIt) {
    EXPECT_EQ(refusalOf(barOf(304, 0.5), {640, 480}), "");
    EXPECT_EQ(refusalOf(barOf(305, 0.5), {640, 480}),
              "a scale bar of 305 \u00B5m has no room in a picture that is 640 pixels wide, which shows 320 \u00B5m");
    EXPECT_NE(refusalOf(barOf(1e7, 0.5), {640, 480}).find("a scale bar of 10000 mm has no room"), std::string::npos);
    EXPECT_NE(refusalOf(barOf(0.4, 0.5), {640, 480}).find("shorter than a pixel"), std::string::npos);
    EXPECT_EQ(refusalOf(barOf(0.5, 0.5), {640, 480}), "");
    EXPECT_EQ(refusalOf(Overlay(), {640, 480}), "");
    EXPECT_NE(refusalOf(barOf(1e8, 0.001), {0, 0}), "");
}

TEST(Overlay, TicksInMicrometresGrowWithWhatIsDrawnOnAndThoseInPixelsDoNot) {
    Overlay overlay;
    EXPECT_EQ(overlay.TickPixels(), 0);
    overlay.ticks = {20, false};
    EXPECT_EQ(overlay.TickPixels(), 20);
    EXPECT_EQ(overlay.TickPixels(0.5), 20);
    overlay.pixelSize = 0.25;
    overlay.ticks = {20, true};
    EXPECT_DOUBLE_EQ(overlay.TickPixels(), 80);
    EXPECT_DOUBLE_EQ(overlay.TickPixels(0.5), 40);
}

TEST(Colour, IsSixHexadecimalDigitsOrAName) {
    EXPECT_EQ(parseColour("123456"), 0x563412u);
    EXPECT_EQ(parseColour("#FFa500"), parseColour("orange"));
    EXPECT_EQ(parseColour("Red"), 0x0000FFu);
    EXPECT_EQ(parseColour("blue"), 0xFF0000u);
    EXPECT_EQ(parseColour("000000"), parseColour("black"));
    for (const char* wrong : {"", "#", "12345", "1234567", "12345g", "##123456", "-12345", "+12345", "0x1234", "pink"})
        EXPECT_FALSE(parseColour(wrong)) << wrong;
    EXPECT_NE(colourNames().find("black, blue"), std::string::npos);
}

TEST(Length, IsInPixelsUnlessItsUnitIsNamed) {
    EXPECT_EQ(parseLength("12.5"), (Length{12.5, false}));
    EXPECT_EQ(parseLength("12px"), (Length{12, false}));
    for (const char* unit : {"50um", "50\u00B5m", "50\u03BCm"})
        EXPECT_EQ(parseLength(unit), (Length{50, true})) << unit;
    for (const char* wrong : {"", "um", "px", "0", "-5", "5mm", "5 um", "nan", "inf", "1e999", "5,5", "5umpx"})
        EXPECT_FALSE(parseLength(wrong)) << wrong;
}

TEST(BarText, HasTheUnitThatSuitsIt) {
    EXPECT_EQ(barText(100), "100 \u00B5m");
    EXPECT_EQ(barText(1), "1 \u00B5m");
    EXPECT_EQ(barText(33.3), "33.3 \u00B5m");
    EXPECT_EQ(barText(999), "999 \u00B5m");
    EXPECT_EQ(barText(1000), "1 mm");
    EXPECT_EQ(barText(1500), "1.5 mm");
    EXPECT_EQ(barText(1e8), "100000 mm");
    EXPECT_EQ(barText(0.25), "250 nm");
    EXPECT_EQ(barText(0.07), "70 nm");
    EXPECT_EQ(barText(0.001), "1 nm");
}

TEST(Overlay, ACircleOutsideOfThePictureIsRefused) {
    Overlay circle;
    circle.geo.eMarkerGeo = VEX_MARKER_CIRCLE;
    circle.geo.eMarkerGeox = 62;  // 396.8 pixels, where the corners are 400 away
    EXPECT_EQ(refusalOf(circle, {640, 480}), "");
    circle.geo.eMarkerGeox = 63;
    EXPECT_NE(refusalOf(circle, {640, 480}).find("the circle has no room"), std::string::npos);
    circle.geo.eMarkerxPos = 20;  // the corners on the left are farther away now
    EXPECT_EQ(refusalOf(circle, {640, 480}), "");
    circle.geo.eMarkerGeo = VEX_MARKER_CROSS;
    circle.geo.eMarkerGeox = 100;
    EXPECT_EQ(refusalOf(circle, {640, 480}), "");
}

TEST(Overlay, TextsThatAreLargerThanThePictureAreTold) {
    Overlay overlay;
    EXPECT_EQ(textsWithoutRoom(overlay, {8, 8}), "");
    overlay.txt.Date = VEX_DATE_NUMERIC;
    EXPECT_EQ(textsWithoutRoom(overlay, {640, 480}), "");
    EXPECT_NE(textsWithoutRoom(overlay, {160, 120}).find("160x120"), std::string::npos);
    overlay.txt.FontSize = 0;
    EXPECT_EQ(textsWithoutRoom(overlay, {160, 120}), "");
    EXPECT_NE(textsWithoutRoom(overlay, {160, 10}), "");
}

}  // namespace overlay_test
}  // namespace vexcap::host
