// What holds for every text, whatever its script: sizes, places, limits, threads.
#include "platform/pango/pango_text.h"

#include <gtest/gtest.h>

#include <climits>

#include "platform/pango/text_testing.h"

namespace vexcap::pango {
namespace pango_text_test {

using test::Drawing;
using test::drawn;

struct PangoTextTest : testing::Test {
    PangoText texts{"DejaVu Sans"};
    const TextFont font{.height = 16};
    const std::u16string text = u"Planet";
};

TEST_F(PangoTextTest, ALineIsAsHighAsItsFontAndAsWideAsItsText) {
    EXPECT_EQ(texts.Measure(font, u"2006-11-27 12:45:56"), (TextSize{167, 19}));
    EXPECT_EQ(texts.Measure(font, u"x").height, 19);
    EXPECT_EQ(texts.Measure(font, u"xx").width, 2 * texts.Measure(font, u"x").width);
}

TEST_F(PangoTextTest, TheSameFontsGiveTheSamePixelsEverywhere) {
    EXPECT_EQ(drawn(texts, font, u"2006-11-27 12:45:56").Count(), 371u);
    const Drawing letter = drawn(texts, {.height = 10}, u"L");
    Drawing want(5, 7);
    for (int32_t y = 0; y < 7; ++y) want.pixels[size_t(y) * 5] = 255;
    for (int32_t x = 0; x < 5; ++x) want.pixels[size_t(x) + 6 * 5] = 255;
    EXPECT_EQ(inkOf(letter), want);
}

TEST_F(PangoTextTest, AnEmptyTextIsNothing) {
    EXPECT_EQ(texts.Measure(font, u""), TextSize());
    EXPECT_EQ(texts.Measure(font, {}), TextSize());
    Drawing drawing(20, 20);
    EXPECT_FALSE(texts.Draw(font, u"", drawing.Mask(), 0, 0));
    EXPECT_EQ(drawing.Count(), 0u);
}

TEST_F(PangoTextTest, BlanksHaveASizeAndNoPixels) {
    const Drawing blanks = drawn(texts, font, u"   ");
    EXPECT_EQ(blanks.width, 3 * texts.Measure(font, u" ").width);
    EXPECT_EQ(blanks.height, 19);
    EXPECT_EQ(blanks.Count(), 0u);
}

TEST_F(PangoTextTest, AHeavierWeightHasMorePixels) {
    const Drawing regular = drawn(texts, {.height = 24, .weight = 400}, text);
    const Drawing bold = drawn(texts, {.height = 24, .weight = 700}, text);
    EXPECT_GT(bold.Count(), regular.Count());
    EXPECT_GE(drawn(texts, {.height = 24, .weight = 900}, text).Count(), bold.Count());
}

TEST_F(PangoTextTest, WhatIsThereStays) {
    const Drawing alone = drawn(texts, font, text).Within(100, 40, 10, 9);
    Drawing drawing(100, 40);
    for (size_t i = 0; i < drawing.pixels.size(); i += 7) drawing.pixels[i] = 3;
    Drawing want = drawing;
    for (size_t i = 0; i < want.pixels.size(); ++i)
        if (alone.pixels[i]) want.pixels[i] = 255;
    EXPECT_TRUE(texts.Draw(font, text, drawing.Mask(), 10, 9));
    EXPECT_EQ(drawing, want);
}

TEST_F(PangoTextTest, WhatLiesOutsideIsCutOffAtEverySide) {
    for (const std::u16string_view each : {std::u16string_view(text), std::u16string_view(u"12:45")}) {
        const Drawing whole = drawn(texts, font, each);
        for (int32_t x = -whole.width - 1; x <= 31; x += 3)
            for (int32_t y = -whole.height - 1; y <= 14; y += 2) {
                Drawing drawing(30, 13);
                EXPECT_TRUE(texts.Draw(font, each, drawing.Mask(), x, y));
                ASSERT_EQ(drawing, whole.Within(30, 13, x, y)) << x << ", " << y;
            }
    }
}

TEST_F(PangoTextTest, PlacesFarAwayAndMasksWithoutPixelsAreNothing) {
    for (const std::u16string_view each : {std::u16string_view(text), std::u16string_view(u"12:45")}) {
        Drawing drawing(30, 13);
        for (const int32_t far : {INT_MIN, INT_MIN + 1, -100'000, 100'000, INT_MAX}) {
            EXPECT_TRUE(texts.Draw(font, each, drawing.Mask(), far, 0));
            EXPECT_TRUE(texts.Draw(font, each, drawing.Mask(), 0, far));
            EXPECT_TRUE(texts.Draw(font, each, drawing.Mask(), far, far));
        }
        EXPECT_EQ(drawing.Count(), 0u);
        EXPECT_TRUE(texts.Draw(font, each, {}, 0, 0));
        EXPECT_TRUE(texts.Draw(font, each, {nullptr, 0, 5}, 0, 0));
    }
}

TEST_F(PangoTextTest, LineBreaksAndOtherControlsAreBlanks) {
    const Drawing want = drawn(texts, font, u"one two");
    for (const std::u16string_view each :
         {u"one\ntwo", u"one\rtwo", u"one\ttwo", u"one\vtwo", u"one\ftwo", u"one\u001Btwo", u"one\u007Ftwo",
          u"one\u0085two", u"one\u2028two", u"one\u2029two"})
        EXPECT_EQ(drawn(texts, font, each), want) << toUtf8(each);
    EXPECT_EQ(drawn(texts, font, u"\r\n"), drawn(texts, font, u"  "));
}

TEST_F(PangoTextTest, ANullIsABlankAndNotTheEnd) {
    EXPECT_EQ(drawn(texts, font, std::u16string_view(u"one\0two", 7)), drawn(texts, font, u"one two"));
    EXPECT_EQ(drawn(texts, font, std::u16string_view(u"\0", 1)), drawn(texts, font, u" "));
}

TEST_F(PangoTextTest, ABrokenPairOfSurrogatesIsAReplacementCharacter) {
    const Drawing want = drawn(texts, font, u"a\uFFFDb");
    for (const char16_t half : {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDFFF'})
        EXPECT_EQ(drawn(texts, font, std::u16string{u'a', half, u'b'}), want) << int(half);
    EXPECT_EQ(drawn(texts, font, std::u16string{u'a', 0xD83D}), drawn(texts, font, u"a\uFFFD"));
    EXPECT_NE(drawn(texts, font, u"a\U0001F600b"), want);
}

TEST_F(PangoTextTest, MarkupIsText) {
    EXPECT_EQ(inkOf(drawn(texts, font, u"<b>&amp;")), test::Reference().Ink(font, u"<b>&amp;"));
}

TEST_F(PangoTextTest, ALongTextEndsAfter4096Units) {
    const TextFont small{.height = 8};
    const TextSize most = texts.Measure(small, std::u16string(4096, u'i'));
    EXPECT_EQ(texts.Measure(small, std::u16string(4095, u'i')).width, most.width - most.width / 4096);
    EXPECT_EQ(texts.Measure(small, std::u16string(1'000'000, u'i')), most);
    EXPECT_EQ(drawn(texts, small, std::u16string(1'000'000, u'i')), drawn(texts, small, std::u16string(4096, u'i')));
    // The same for those that are drawn without Pango.
    EXPECT_EQ(texts.Measure(small, std::u16string(1'000'000, u'.')), texts.Measure(small, std::u16string(4096, u'.')));
}

TEST_F(PangoTextTest, ALongTextDoesNotEndInHalfAPair) {
    const TextFont small{.height = 8};
    const std::u16string blanks(4095, u' ');
    EXPECT_EQ(texts.Measure(small, blanks + u"\U0001F600"), texts.Measure(small, blanks));
    EXPECT_EQ(drawn(texts, small, blanks + u"\U0001F600").Count(), 0u);
    EXPECT_GT(drawn(texts, small, blanks.substr(1) + u"\U0001F600").Count(), 0u);
}

TEST_F(PangoTextTest, AWideTextIsCutAt32767Pixels) {
    for (const TextFont& each : {TextFont{.height = 16}, TextFont{.height = 200}, TextFont{.height = 4096}})
        for (const char16_t unit : {u'W', u'0'}) {
            const std::u16string wide(4096, unit);
            EXPECT_EQ(texts.Measure(each, wide).width, 32767) << each.height;
            Drawing drawing(33000, 4);
            EXPECT_TRUE(texts.Draw(each, wide, drawing.Mask(), 0, -each.height / 2));
            EXPECT_GT(drawing.Count(), 0u) << each.height;
            for (int32_t y = 0; y < 4; ++y)
                for (int32_t x = 32767; x < 33000; ++x) ASSERT_FALSE(drawing.IsSet(x, y)) << x;
        }
}

TEST_F(PangoTextTest, HeightsAndWeightsThatNoFontHasAreBroughtWithinItsRange) {
    for (const int32_t none : {0, -1, -16, INT_MIN})
        EXPECT_EQ(texts.Measure({.height = none}, text), texts.Measure({.height = 1}, text)) << none;
    for (const int32_t high : {4097, 1 << 20, INT_MAX})
        EXPECT_EQ(texts.Measure({.height = high}, u"a"), texts.Measure({.height = 4096}, u"a")) << high;
    EXPECT_GT(texts.Measure({.height = 4096}, u"a").height, 4096);
    for (const int32_t weight : {INT_MIN, 0, INT_MAX})
        EXPECT_GT(drawn(texts, {.height = 16, .weight = weight}, text).Count(), 0u) << weight;
}

TEST_F(PangoTextTest, EveryHeightHasPixels) {
    for (int32_t height = 5; height < 100; height += 3) {
        const Drawing drawing = drawn(texts, {.height = height}, text);
        EXPECT_GT(drawing.Count(), size_t(height)) << height;
        EXPECT_TRUE(drawing.IsMask()) << height;
    }
}

TEST_F(PangoTextTest, MoreFontsThanAreKeptDrawAsEver) {
    std::vector<Drawing> letters, figures;
    for (int32_t height = 8; height < 8 + 2 * int32_t(PangoText::mostFonts); ++height) {
        letters.push_back(drawn(texts, {.height = height}, u"a1"));
        figures.push_back(drawn(texts, {.height = height}, u"11"));
    }
    for (int32_t height = 8; height < 8 + 2 * int32_t(PangoText::mostFonts); ++height) {
        EXPECT_EQ(drawn(texts, {.height = height}, u"a1"), letters[size_t(height - 8)]) << height;
        EXPECT_EQ(drawn(texts, {.height = height}, u"11"), figures[size_t(height - 8)]) << height;
    }
}

TEST_F(PangoTextTest, AFamilyThatNobodyHasIsTheDefaultOne) {
    PangoText unknown("No Such Family Anywhere"), standard;
    EXPECT_EQ(drawn(unknown, font, text), drawn(standard, font, text));
    EXPECT_EQ(drawn(standard, font, text), drawn(texts, font, text));
}

TEST_F(PangoTextTest, AnyThreadMayAsk) {
    const std::vector<std::u16string> many = {u"Saturn", u"12:45:56", u"\u571F\u661F", u"\u0632\u062D\u0644"};
    std::vector<Drawing> want;
    for (const std::u16string& each : many) want.push_back(drawn(texts, font, each));
    PangoText shared("DejaVu Sans");
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (size_t i = 0; i < 40; ++i) {
                const size_t which = (i + thread) % many.size();
                EXPECT_EQ(drawn(shared, font, many[which]), want[which]);
                EXPECT_FALSE(drawn(shared, {.height = int32_t(10 + i % 20)}, many[which]).pixels.empty());
            }
        });
    for (std::thread& thread : threads) thread.join();
}

}  // namespace pango_text_test
}  // namespace vexcap::pango
