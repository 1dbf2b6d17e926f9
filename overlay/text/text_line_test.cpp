// Fonts, sizes, and texts that are kept as pixels.
#include "overlay/text/text_line.h"

#include <gtest/gtest.h>

#include <string>

#include "overlay/text/date_line.h"
#include "platform/fake/fake_date_text.h"
#include "platform/fake/recording_target.h"

namespace vexcap {
namespace text_line_test {

constexpr CivilTime moment = {2024, 2, 3, 4, 5, 6};

TEST(OverlayFont, EachIndexHasItsHeightAndTheOthersThatOfThree) {
    const int32_t heights[] = {12, 15, 18, 21, 24, 27, 30};
    for (int32_t index = 0; index < 7; ++index) EXPECT_EQ(overlayFontHeight(index, 480, 480), heights[index]);
    for (const int32_t index : {-1, 7, INT32_MIN, INT32_MAX}) EXPECT_EQ(overlayFontHeight(index, 480, 480), 21);
}

TEST(OverlayFont, ScalesRoundedToTheNearestAndNeverBelowTwelve) {
    EXPECT_EQ(overlayFontHeight(3, 480, 960), 42);
    EXPECT_EQ(overlayFontHeight(3, 480, 720), 32);  // 31.5
    EXPECT_EQ(overlayFontHeight(3, 480, 715), 31);  // 31.28
    EXPECT_EQ(overlayFontHeight(0, 480, 160), 12) << "not 4";
    EXPECT_EQ(overlayFontHeight(1, 480, 384), 12);
    EXPECT_EQ(overlayFontHeight(1, 480, 400), 13);
    EXPECT_EQ(overlayFontHeight(6, 1, INT32_MAX), 12) << "beyond all numbers";
}

TEST(OverlayFont, WeightsAreNormalBoldAndHeavy) {
    const TextTarget target = {.width = 100, .height = 100, .imageWidth = 100, .imageHeight = 100};
    const std::pair<int32_t, int32_t> weights[] = {{0, 400}, {1, 700}, {2, 900}, {3, 700}, {-1, 700}};
    for (const auto& [index, weight] : weights) {
        MarkerTxt txt = {};
        txt.FontWeight = index;
        EXPECT_EQ(overlayFont(txt, 100, target), (TextFont{12, weight})) << index;
    }
}

TEST(OverlayFont, AnAvailableHeightThatCannotBeIsTheWholeOne) {
    const auto available = [](int32_t top, int32_t bottom) {
        return TextTarget{.width = 10, .height = 100, .margins = {0, top, 0, bottom}}.AvailableHeight();
    };
    EXPECT_EQ(available(0, 0), 100);
    EXPECT_EQ(available(30, 20), 50);
    EXPECT_EQ(available(50, 49), 1);
    EXPECT_EQ(available(50, 50), 100);
    EXPECT_EQ(available(60, 60), 100);
    EXPECT_EQ(available(-1, 0), 100);
    EXPECT_EQ(available(-10, 30), 80);
    EXPECT_EQ(available(INT32_MAX, INT32_MAX), 100);
    EXPECT_EQ(available(INT32_MIN, INT32_MIN), 100);
}

/// Tells sizes that no text has.
struct AbsurdTarget final : vex_render_target {
    void GetDpi(uint32_t*, uint32_t*) override {}
    void DrawBitmap(const vex_picture*, const vex_rect_f*, float) override {}
    void DrawLine(vex_point_f, vex_point_f, uint32_t, float) override {}
    void DrawEllipse(vex_point_f, float, float, uint32_t, float) override {}
    void FillRectangle(const vex_rect_f*, uint32_t) override {}
    void MeasureText(const vex_text_format*, const vex_char*, uint32_t, int32_t* width, int32_t* height) override {
        *width = INT32_MAX;
        *height = INT32_MIN;
    }
    void DrawText(const vex_text_format*, const vex_char*, uint32_t, const vex_rect_f*, uint32_t) override {}
};

TEST(MeasureText, AsksTheRenderTargetWhereThereIsOneAndKeepsItsAnswerInBounds) {
    FakeTextRaster texts;
    EXPECT_EQ(measureText(texts, {}, {20, 400}, u"abc"), (TextSize{30, 20}));
    test::RecordingTarget target;
    EXPECT_EQ(measureText(texts, {.renderTarget = &target}, {20, 700}, u"abc"), (TextSize{33, 20}));
    EXPECT_EQ(texts.measured, 1u);
    AbsurdTarget absurd;
    EXPECT_EQ(measureText(texts, {.renderTarget = &absurd}, {20, 700}, u"abc"), (TextSize{1 << 28, 0}));
}

struct LineRig {
    TextTarget target = {.width = 200, .height = 100, .imageWidth = 200, .imageHeight = 100};
    FakeTextRaster texts;
    TextLine line;
    void make(std::u16string_view pattern) { line.Make(texts, target, {12, 400}, pattern); }
};

TEST(TextLine, IsForATargetWhileModeAndSizesStay) {
    LineRig rig;
    EXPECT_FALSE(rig.line.IsFor(rig.target));
    rig.make(u"abc");
    EXPECT_TRUE(rig.line.IsFor(rig.target));
    const auto changed = [&](auto change) {
        TextTarget other = rig.target;
        change(other);
        return !rig.line.IsFor(other);
    };
    test::RecordingTarget renderTarget;
    EXPECT_TRUE(changed([](TextTarget& t) { t.mode = FrameMode::Video; }));
    EXPECT_TRUE(changed([](TextTarget& t) { ++t.width; }));
    EXPECT_TRUE(changed([](TextTarget& t) { ++t.height; }));
    EXPECT_TRUE(changed([](TextTarget& t) { ++t.imageWidth; }));
    EXPECT_TRUE(changed([](TextTarget& t) { ++t.imageHeight; }));
    EXPECT_TRUE(changed([&](TextTarget& t) { t.renderTarget = &renderTarget; })) << "it has no pixels there";
    EXPECT_FALSE(changed([](TextTarget& t) { t.margins = {1, 2, 3, 4}; }));
    rig.line.Reset();
    EXPECT_FALSE(rig.line.IsFor(rig.target));
}

TEST(TextLine, IsReadyWithARoomOf32AndNoLess) {
    LineRig rig;
    rig.target.width = 18 + 32;
    rig.target.height = 12 + 32;
    rig.make(u"abc");
    EXPECT_TRUE(rig.line.Ready());
    EXPECT_EQ(rig.line.Size(), (TextSize{18, 12}));
    --rig.target.width;
    rig.make(u"abc");
    EXPECT_FALSE(rig.line.Ready());
    EXPECT_TRUE(rig.line.IsFor(rig.target)) << "it is not tried again";
    ++rig.target.width;
    --rig.target.height;
    rig.make(u"abc");
    EXPECT_FALSE(rig.line.Ready());
}

TEST(TextLine, APatternWithoutPixelsIsNotReady) {
    LineRig rig;
    rig.make(u"");
    EXPECT_FALSE(rig.line.Ready());
    test::RecordingTarget renderTarget;
    rig.target.renderTarget = &renderTarget;
    rig.make(u"");
    EXPECT_FALSE(rig.line.Ready());
}

TEST(TextLine, ATextOfMoreMemoryThanReasonableIsNotReady) {
    LineRig rig;
    rig.target.width = rig.target.height = 1 << 20;
    rig.line.Make(rig.texts, rig.target, {1 << 16, 400}, u"abc");
    EXPECT_FALSE(rig.line.Ready());
    test::RecordingTarget renderTarget;
    rig.target.renderTarget = &renderTarget;
    rig.line.Make(rig.texts, rig.target, {1 << 16, 400}, u"abc");
    EXPECT_TRUE(rig.line.Ready()) << "a size alone takes none";
}

TEST(TextLine, DrawsWhenTheTextHasChangedAndAfterAFailure) {
    LineRig rig;
    rig.make(u"abc");
    EXPECT_FALSE(rig.line.Draw(rig.texts)) << "no text";
    EXPECT_EQ(rig.texts.drawn, 0u);
    rig.line.SetText(u"ab");
    EXPECT_TRUE(rig.line.Draw(rig.texts));
    EXPECT_TRUE(rig.line.Draw(rig.texts));
    rig.line.SetText(u"ab");
    EXPECT_TRUE(rig.line.Draw(rig.texts));
    EXPECT_EQ(rig.texts.drawn, 1u);
    rig.line.SetText(u"ac");
    rig.texts.missing = true;
    EXPECT_FALSE(rig.line.Draw(rig.texts));
    rig.texts.missing = false;
    EXPECT_TRUE(rig.line.Draw(rig.texts));
    rig.make(u"abc");
    EXPECT_TRUE(rig.line.Draw(rig.texts)) << "into new pixels";
    EXPECT_EQ(rig.texts.drawn, 4u);
}

TEST(TextLine, TheTextIsCentredInItsPatternAndCutWhereItIsWider) {
    for (const std::u16string text : {u"a", u"ab", u"abcde", u"abcdefg"}) {
        LineRig rig;
        rig.make(u"####");
        rig.line.SetText(u"###");  // and nothing of an older text is left
        rig.line.Draw(rig.texts);
        rig.line.SetText(text);
        ASSERT_TRUE(rig.line.Draw(rig.texts));
        const Mask drawn = rig.line.Drawn();
        const int32_t left = (24 - 6 * int32_t(text.size())) / 2;
        for (int32_t y = 0; y < 12; ++y)
            for (int32_t x = 0; x < 24; ++x) {
                const int32_t within = x - left, cell = within / 6, column = within % 6;
                const bool set = within >= 0 && cell < int32_t(text.size()) && column >= 1 && column <= 4 && y >= 1 &&
                                 y <= 10 && FakeTextRaster::isSet(text[size_t(cell)], column, y);
                ASSERT_EQ(drawn.pixels[y * 24 + x], set ? 255 : 0) << x << ", " << y;
            }
    }
}

TEST(TextLine, TakesAsMuchOfATextAsItHolds) {
    TextLine line;
    line.SetText(std::u16string(1000, u'x'));
    EXPECT_EQ(line.Text(), std::u16string(TextLine::capacity, u'x'));
}

std::u16string dateLine(IDateText& dates, const CivilTime& when, int32_t format) {
    vex_char text[dateLineCapacity];
    return {text, writeDateLine(dates, when, format, text)};
}

TEST(DateLine, EachFormatIsFollowedByTheTimeOfDay) {
    FakeDateText dates;
    EXPECT_EQ(dateLine(dates, moment, VEX_DATE_SHORT), u"3.2.2024 04:05:06");
    EXPECT_EQ(dateLine(dates, moment, VEX_DATE_LONG), u"day 3 of month 2 in 2024 04:05:06");
    EXPECT_EQ(dateLine(dates, moment, VEX_DATE_NUMERIC), u"2024-02-03 04:05:06");
    EXPECT_EQ(dateLine(dates, {12024, 11, 27, 12, 45, 56}, VEX_DATE_NUMERIC), u"12024-11-27 12:45:56");
    EXPECT_EQ(dateLine(dates, {7, 1, 2, 0, 0, 0}, VEX_DATE_NUMERIC), u"07-01-02 00:00:00");
}

TEST(DateLine, IsEmptyWithoutAFormatAndWhereTheLocaleCannotTell) {
    FakeDateText dates;
    for (const int32_t format : {0, 4, 7, -1}) EXPECT_EQ(dateLine(dates, moment, format), u"");
    dates.missing = true;
    EXPECT_EQ(dateLine(dates, moment, VEX_DATE_SHORT), u"");
    EXPECT_EQ(dateLine(dates, moment, VEX_DATE_LONG), u"");
    EXPECT_EQ(dateLine(dates, moment, VEX_DATE_NUMERIC), u"2024-02-03 04:05:06");
}

TEST(DateLine, ADateOfTheLocaleIsCutAt127) {
    struct Endless final : IDateText {
        size_t ShortDate(const CivilTime&, std::span<vex_char> out) override {
            std::fill(out.begin(), out.end(), u'd');
            return out.size();
        }
        size_t LongDate(const CivilTime&, std::span<vex_char> out) override { return out.size() + 1000; }
    } dates;
    EXPECT_EQ(dateLine(dates, moment, VEX_DATE_SHORT), std::u16string(127, u'd') + u" 04:05:06");
    EXPECT_EQ(dateLine(dates, moment, VEX_DATE_LONG).size(), 127u + 9) << "even from one that lies";
}

}  // namespace text_line_test
}  // namespace vexcap
