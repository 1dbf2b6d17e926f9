// The text block in frames, byte by byte.
#include "overlay/text/text_block.h"

#include <gtest/gtest.h>

#include <limits>

#include "overlay/text/text_testing.h"

namespace vexcap {
namespace text_block_test {

using test::Clarity;
using test::expectOn;
using test::Frame;
using test::MarkerRig;
using test::TextScene;

constexpr std::u16string_view datePattern = u"27.11.2006 12:45:56", dateNow = u"1.1.2024 00:01:40";
constexpr uint64_t fileTimePerSecond = 10'000'000;

/// A frame of its size with what is chosen: bit 0 the scale bar, bit 1 the date, bit 2 the figure.
TextScene sceneOf(uint32_t items, int32_t width = 320, int32_t height = 200) {
    TextScene scene;
    scene.width = scene.imageWidth = width;
    scene.height = scene.imageHeight = height;
    if (items & 1) {
        scene.txt.Scale = 1;
        scene.txt.ScaleColor = 0x0A0B0C;
        scene.bar = 60;
        scene.scaleText = u"10 mm";
    }
    if (items & 2) {
        scene.txt.Date = VEX_DATE_SHORT;
        scene.txt.DateColor = 0x112233;
        scene.datePattern = datePattern;
        scene.date = dateNow;
    }
    if (items & 4) {
        scene.txt.Contrast = 1;
        scene.txt.ContrastColor = 0xF0E0D0;
        scene.figure = u"12.3";
    }
    return scene;
}

void apply(MarkerRig& rig, const TextScene& scene) {
    Clarity::value = 12.34;
    rig.marker.SetTxt(scene.txt);
    rig.marker.SetScale(
        {scene.bar, scene.scaleText.c_str(), uint32_t(scene.bar), scene.scaleText.c_str(), scene.powerText.c_str()});
}

/// Burns the scene and compares the whole frame.
void expectBurnt(MarkerRig& rig, const TextScene& scene, uint32_t bytesPerPixel = 3, bool still = false) {
    apply(rig, scene);
    Frame expected(scene.width, scene.height, bytesPerPixel);
    expectOn(expected, scene);
    Frame got = burnt(rig.marker, Frame(scene.width, scene.height, bytesPerPixel), still, scene.margins);
    EXPECT_SAME_FRAME(got, expected);
}

TEST(TextBlock, EveryCombinationInEveryCornerWithMarginsAndPlates) {
    for (uint32_t items = 1; items < 8; ++items)
        for (int32_t corner = 1; corner <= 4; ++corner)
            for (const OverlayMargins& margins : {OverlayMargins{}, OverlayMargins{7, 30, 11, 20}}) {
                SCOPED_TRACE(testing::Message() << items << " at " << corner << ", " << margins.top);
                MarkerRig rig;
                TextScene scene = sceneOf(items);
                scene.txt.MarkerPos = corner;
                scene.txt.eBackground = int32_t(items + uint32_t(corner)) % 4;  // 3 is none
                scene.txt.FontWeight = corner % 3;
                scene.margins = margins;
                expectBurnt(rig, scene, 3 + uint32_t(corner) % 2, margins.top != 0);
            }
}

TEST(TextBlock, APowerTextStandsBelowTheBar) {
    MarkerRig rig;
    TextScene scene = sceneOf(3);
    scene.powerText = u"40x";
    expectBurnt(rig, scene);
    scene.txt.ScaleWithPower = 1;
    expectBurnt(rig, scene);
    scene.powerText = u"a power that is wider than all else";
    scene.txt.FontSize = 0;
    expectBurnt(rig, scene);
}

TEST(TextBlock, EveryFontAndThicknessOfTheTables) {
    for (int32_t index = -1; index <= 7; ++index) {
        MarkerRig rig;
        TextScene scene = sceneOf(7, 400, 300);
        scene.txt.FontSize = index;
        scene.txt.ScaleSize = 6 - index;
        expectBurnt(rig, scene);
    }
}

TEST(TextBlock, TheScaleBarIsOnTopAtTheTopLeftAndTheNarrowerIsCentred) {
    MarkerRig rig;
    TextScene scene = sceneOf(3);
    scene.txt.MarkerPos = VEX_CORNER_TOP_LEFT;
    const auto block = test::expectedBlock(scene);
    EXPECT_EQ(block.scale->y + block.scale->height, 200 - 16);
    EXPECT_EQ(block.date->y + block.date->height, block.scale->y);
    EXPECT_EQ(block.date->x, 16);
    EXPECT_EQ(block.scale->x, 16 + (190 - block.scale->width) / 2);
    expectBurnt(rig, scene);
}

TEST(TextBlock, WhatHasNoRoomIsLeftOutAndTheOthersStay) {
    for (const auto& [width, height] :
         {std::pair{222, 100}, std::pair{221, 100}, std::pair{102, 100}, std::pair{101, 90}, std::pair{400, 53},
          std::pair{400, 52}, std::pair{400, 65}, std::pair{20, 20}}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        MarkerRig rig;
        const TextScene scene = sceneOf(7, width, height);
        expectBurnt(rig, scene);
    }
    EXPECT_TRUE(test::expectedBlock(sceneOf(7, 222, 100)).date);
    EXPECT_FALSE(test::expectedBlock(sceneOf(7, 221, 100)).date);
    EXPECT_TRUE(test::expectedBlock(sceneOf(7, 221, 100)).scale);
    EXPECT_TRUE(test::expectedBlock(sceneOf(7, 102, 100)).figure);
    EXPECT_FALSE(test::expectedBlock(sceneOf(7, 101, 100)).figure);
    EXPECT_FALSE(test::expectedBlock(sceneOf(7, 400, 52)).figure);
}

TEST(TextBlock, ABarBelowOnePixelIsLeftOutAndTheDateStays) {
    MarkerRig rig;
    TextScene scene = sceneOf(3);
    scene.bar = 0.4;
    expectBurnt(rig, scene);
    EXPECT_TRUE(test::expectedBlock(scene).date);
}

TEST(TextBlock, TheLowestRowOfAFrameIsNeverWrittenByTexts) {
    for (const int32_t background : {0, 1, 2})
        for (const int32_t bottom : {-16, -20}) {
            MarkerRig rig;
            TextScene scene = sceneOf(7);
            scene.txt.eBackground = background;
            scene.margins.bottom = bottom;
            expectBurnt(rig, scene);
            Frame frame = burnt(rig.marker, Frame(320, 200), false, scene.margins);
            for (int32_t x = 0; x < 320 && background == 0; ++x) ASSERT_EQ(*frame.at(x, 0), 40);
        }
}

TEST(TextBlock, WhatReachesBeyondTheFrameIsCutOff) {
    for (int32_t corner = 1; corner <= 4; ++corner)
        for (const OverlayMargins& margins : {OverlayMargins{-60, -25, -60, -25}, OverlayMargins{310, 190, 310, 190},
                                              OverlayMargins{INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX},
                                              OverlayMargins{INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN}}) {
            MarkerRig rig;
            TextScene scene = sceneOf(7);
            scene.txt.MarkerPos = corner;
            scene.txt.eBackground = 2;
            scene.margins = margins;
            if (std::abs(int64_t(margins.left)) < 1000) {
                expectBurnt(rig, scene);
            } else {
                apply(rig, scene);
                Frame frame = burnt(rig.marker, Frame(320, 200), false, margins);
                EXPECT_EQ(frame, Frame(320, 200));
            }
        }
}

TEST(TextBlock, NoKnownCornerDrawsNothing) {
    MarkerRig rig;
    for (const int32_t corner : {0, 5, 9, -1}) {
        TextScene scene = sceneOf(7);
        scene.txt.MarkerPos = corner;
        expectBurnt(rig, scene);
    }
}

TEST(TextBlock, ADateWiderThanItsPatternIsCutAndStaysCentred) {
    MarkerRig rig;
    TextScene scene = sceneOf(2);
    const uint64_t farAway = uint64_t(std::chrono::sys_days(std::chrono::year(12024) / 11 / 27).time_since_epoch() /
                                          std::chrono::seconds(1) +
                                      11'644'473'600) *
                             fileTimePerSecond;
    rig.clock.setWallTime(farAway, farAway);
    scene.date = u"27.11.12024 00:00:00";
    expectBurnt(rig, scene);
}

TEST(TextBlock, EachDateFormatHasItsPatternAndAnUnknownOneShowsNothing) {
    MarkerRig rig;
    TextScene scene = sceneOf(2, 500, 200);
    scene.txt.Date = VEX_DATE_LONG;
    scene.datePattern = u"day 27 of month 11 in 2006 12:45:56";
    scene.date = u"day 1 of month 1 in 2024 00:01:40";
    expectBurnt(rig, scene);
    scene.txt.Date = VEX_DATE_NUMERIC;
    scene.datePattern = u"2006-11-27 12:45:56";
    scene.date = u"2024-01-01 00:01:40";
    expectBurnt(rig, scene);
    for (const int32_t unknown : {4, 7, -1}) {
        scene.txt.Date = unknown;
        scene.datePattern = scene.date = u"";
        expectBurnt(rig, scene);
    }
}

TEST(TextBlock, TheDateGoesWithTheClockAndIsDrawnOnceASecond) {
    MarkerRig rig;
    TextScene scene = sceneOf(2);
    expectBurnt(rig, scene);
    rig.texts.forget();
    rig.clock.advance(999);
    expectBurnt(rig, scene);
    EXPECT_TRUE(rig.texts.drawn.empty());
    rig.clock.advance(1);
    scene.date = u"1.1.2024 00:01:41";
    expectBurnt(rig, scene);
    EXPECT_EQ(rig.texts.drawn, (std::vector<std::u16string>{scene.date}));
    EXPECT_EQ(rig.texts.measured, (std::vector<std::u16string>{scene.date})) << "the pattern stays";
}

TEST(TextBlock, AnEmptyDateLeavesThatOfTheLastFrame) {
    MarkerRig rig;
    const TextScene scene = sceneOf(2);
    expectBurnt(rig, scene);
    rig.dates.missing = true;
    rig.clock.advance(5000);
    expectBurnt(rig, scene);
}

TEST(TextBlock, WithoutALocaleThereIsNoDateUntilTheTargetChanges) {
    MarkerRig rig;
    rig.dates.missing = true;
    TextScene nothing = sceneOf(2);
    nothing.date = u"";
    expectBurnt(rig, nothing);
    rig.dates.missing = false;
    expectBurnt(rig, nothing);
    expectBurnt(rig, sceneOf(2, 321, 200));
}

TEST(TextBlock, WithoutAFontOnlyTheBarIsSeenUntilTheTargetChanges) {
    MarkerRig rig;
    rig.texts.fake.missing = true;
    TextScene bare = sceneOf(1);
    bare.scaleText = u"";
    apply(rig, sceneOf(7));
    Frame got = burnt(rig.marker, Frame(320, 200)), expected(320, 200);
    expectOn(expected, bare);
    EXPECT_SAME_FRAME(got, expected);
    rig.texts.fake.missing = false;
    got = burnt(rig.marker, Frame(320, 200));
    EXPECT_SAME_FRAME(got, expected);
    expectBurnt(rig, sceneOf(7, 320, 201));
}

TEST(TextBlock, TheFigureIsMeasuredInEachFrameAndDrawnWhenItChanges) {
    MarkerRig rig;
    TextScene scene = sceneOf(4);
    expectBurnt(rig, scene);
    EXPECT_EQ(Clarity::calls, 1);
    EXPECT_EQ(Clarity::last.bits, 24u);
    EXPECT_EQ(Clarity::last.width, 320u);
    EXPECT_EQ(Clarity::last.height, 200u);
    expectBurnt(rig, scene, 4);
    EXPECT_EQ(Clarity::calls, 2);
    EXPECT_EQ(Clarity::last.bits, 32u);
    EXPECT_EQ(rig.texts.drawn, (std::vector<std::u16string>{u"12.3"}));
    Clarity::value = 12.4;
    burnt(rig.marker, Frame(320, 200));
    EXPECT_EQ(rig.texts.drawn.back(), u"12.4");
    EXPECT_EQ(rig.texts.measured.front(), u"9999.99");
}

TEST(TextBlock, FiguresOfAnyValueAreWrittenInAtMost31Units) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, std::u16string> figures[] = {{0.04, u"0.0"},
                                                         {-0.06, u"-0.1"},
                                                         {123456.75, u"123456.8"},
                                                         {infinity, u"inf"},
                                                         {1e30, u"10000000000000000199884624838656"}};
    for (const auto& [value, text] : figures) {
        MarkerRig rig;
        TextScene scene = sceneOf(4);
        apply(rig, scene);
        Clarity::value = value;
        Frame got = burnt(rig.marker, Frame(320, 200)), expected(320, 200);
        scene.figure = text.substr(0, 31);
        expectOn(expected, scene);
        EXPECT_SAME_FRAME(got, expected);
    }
}

TEST(TextBlock, WithoutAMeasureTheFigureIsNothing) {
    MarkerRig rig;
    CMarker marker(rig.ports(), nullptr);
    TextScene scene = sceneOf(4);
    marker.SetTxt(scene.txt);
    scene.figure = u"0.0";
    Frame got = burnt(marker, Frame(320, 200)), expected(320, 200);
    expectOn(expected, scene);
    EXPECT_SAME_FRAME(got, expected);
}

TEST(TextBlock, ATextOfAnyLengthIsOnlyTooWide) {
    MarkerRig rig;
    TextScene scene = sceneOf(3);
    scene.scaleText = std::u16string(1'000'000, u'm');
    expectBurnt(rig, scene);
    EXPECT_TRUE(rig.texts.drawn.size() == 1 && rig.texts.drawn[0] == scene.date);
}

/// What is measured anew after the record was changed: "s", "d", "f" for scale bar, date, figure.
std::string rebuiltBy(const std::function<void(MarkerTxt&)>& change) {
    MarkerRig rig;
    TextScene scene = sceneOf(7);
    scene.powerText = u"40x";
    apply(rig, scene);
    burnt(rig.marker, Frame(320, 200));
    rig.texts.forget();
    MarkerTxt txt = scene.txt;
    change(txt);
    rig.marker.SetTxt(txt);
    burnt(rig.marker, Frame(320, 200));
    // Whatever the change switched off would be made anew when it comes back.
    rig.marker.SetTxt(scene.txt);
    burnt(rig.marker, Frame(320, 200));
    const auto measured = [&](std::u16string_view text) {
        return std::count(rig.texts.measured.begin(), rig.texts.measured.end(), text) != 0;
    };
    return std::string(measured(u"10 mm") ? "s" : "") + (measured(datePattern) ? "d" : "") +
           (measured(u"9999.99") ? "f" : "");
}

TEST(TextBlock, EachFieldDropsWhatDependsOnIt) {
    EXPECT_EQ(rebuiltBy([](MarkerTxt&) {}), "");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.MarkerPos = 1; }), "sf");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.FontSize = 2; }), "sdf");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.FontWeight = 1; }), "sdf");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.eBackground = 1; }), "s");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.ScaleSize = 1; }), "s");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.Scale = 0; }), "s");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.Scale = 2; }), "") << "the truth of it stays";
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.ScaleWithPower = 1; }), "s");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.ScaleColor = 1; }), "s");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.Date = 3; }), "d");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.DateColor = 1; }), "d");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.Contrast = 0; }), "f");
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.Contrast = 7; }), "") << "the truth of it stays";
    EXPECT_EQ(rebuiltBy([](MarkerTxt& t) { t.ContrastColor = 1; }), "f");
}

TEST(TextBlock, ATextThatIsOnAgainTellsTheTimeOfThen) {
    MarkerRig rig;
    TextScene scene = sceneOf(2);
    expectBurnt(rig, scene);
    rig.marker.SetTxt(test::plainTxt());
    rig.clock.advance(3000);
    burnt(rig.marker, Frame(320, 200));
    scene.date = u"1.1.2024 00:01:43";
    expectBurnt(rig, scene);
}

TEST(TextBlock, MarginsScaleTheTextsThatAreMadeWithThem) {
    MarkerRig rig;
    TextScene scene = sceneOf(7, 640, 480);
    scene.txt.FontSize = 6;
    scene.margins = {0, 120, 0, 120};
    EXPECT_EQ(test::expectedFont(scene).height, 15);
    expectBurnt(rig, scene);
}

}  // namespace text_block_test
}  // namespace vexcap
