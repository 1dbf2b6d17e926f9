// Texts of figures: without memory, and to the pixel what Pango draws.
#include "platform/pango/figures.h"

#include <gtest/gtest.h>

#include <random>

#include "platform/fake/allocations.h"
#include "platform/pango/pango_text.h"
#include "platform/pango/text_testing.h"

namespace vexcap::pango {
namespace figures_test {

using test::Drawing;
using test::drawn;

std::vector<std::u16string> manyTexts() {
    std::vector<std::u16string> texts = {u"2006-11-27 12:45:56",
                                         u"27/11/2006",
                                         u"-1,234.56",
                                         u"+0.5",
                                         u" ",
                                         u" 1 ",
                                         u"////",
                                         u"...",
                                         u"7",
                                         u"1:1:1:1",
                                         u"+-+-",
                                         u"  00  "};
    std::minstd_rand random(1);
    for (int i = 0; i < 30; ++i) {
        std::u16string text;
        for (auto length = 1 + random() % 30; length; --length)
            text += figureCharacters[random() % figureCharacters.size()];
        texts.push_back(text);
    }
    return texts;
}

struct FiguresTest : testing::Test {
    Line LineOf(const TextFont& font) { return {reference.context.get(), "DejaVu Sans", font}; }

    test::Reference reference;
    PangoText texts{"DejaVu Sans"};
};

TEST_F(FiguresTest, AreTheCharactersOfTimesAndNumbers) {
    for (uint32_t unit = 0; unit < 0x10000; ++unit) {
        const auto each = char16_t(unit);
        ASSERT_EQ(isFigures({&each, 1}), figureCharacters.find(each) != std::u16string_view::npos) << unit;
    }
    EXPECT_FALSE(isFigures(u"12a"));
    EXPECT_FALSE(isFigures(u"a12"));
}

TEST_F(FiguresTest, AreWhatPangoDraws) {
    for (const int32_t weight : {400, 700})
        for (const int32_t height : {2, 8, 11, 16, 31, 64}) {
            const TextFont font{height, weight};
            for (const std::u16string& text : manyTexts())
                ASSERT_EQ(inkOf(drawn(texts, font, text)), reference.Ink(font, text)) << height << ": " << toUtf8(text);
        }
}

TEST_F(FiguresTest, CoverTheAreaOfTheirLine) {
    for (const int32_t height : {5, 12, 16, 33, 64}) {
        Line line = LineOf({.height = height});
        const Figures figures(line);
        ASSERT_TRUE(figures.Usable());
        for (const std::u16string& text : manyTexts()) {
            const LineBox box = line.Box(text);
            ASSERT_EQ(figures.Box(text), box) << height << ": " << toUtf8(text);
            Drawing want(box.Size()), got(box.Size());
            EXPECT_TRUE(line.Draw(text, want.Mask(), 0, 0));
            figures.Draw(text, got.Mask(), 0, 0);
            ASSERT_EQ(got, want) << height << ": " << toUtf8(text);
        }
    }
}

TEST_F(FiguresTest, AreUsableInEverySizeThatTheyAreKeptIn) {
    for (const int32_t height : {1, 2, 3, 4, 7, 50, 128, Figures::largestHeight}) {
        Line line = LineOf({.height = height});
        EXPECT_TRUE(Figures(line).Usable()) << height;
    }
}

TEST_F(FiguresTest, AreNotUsedWherePangoMovesThemTogether) {
    // Without whole places each glyph stands where the one before really ends.
    pango_context_set_round_glyph_positions(reference.context.get(), FALSE);
    const FontOptions options(cairo_font_options_create());
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(reference.context.get(), options.get());
    Line line = LineOf({.height = 13});
    EXPECT_FALSE(Figures(line).Usable());
}

TEST_F(FiguresTest, TakeNoMemoryAfterTheFirstTime) {
    for (const TextFont font : {TextFont{12, 400}, TextFont{40, 700}, TextFont{Figures::largestHeight, 400}}) {
        texts.Measure(font, u"1");
        Drawing drawing(400, 300);
        const size_t before = allocations();
        for (const std::u16string_view text : {u"2006-11-27 12:45:56", u"3.25", u"+17", u"0123456789 .,:-/+"}) {
            const TextSize size = texts.Measure(font, text);
            texts.Draw(font, text, drawing.Mask(), 390 - size.width, 280 - size.height);
        }
        EXPECT_EQ(allocations(), before) << font.height;
        EXPECT_GT(drawing.Count(), 0u);
    }
}

TEST_F(FiguresTest, OfManyFontsTakeNoMemoryWhileTheyAreKept) {
    constexpr auto most = int32_t(PangoText::mostFonts);
    for (int32_t i = 0; i < most; ++i) texts.Measure({10 + i, 400}, u"1");
    const size_t before = allocations();
    for (int32_t i = 0; i < most; ++i) texts.Measure({10 + i, 400}, u"12:45");
    EXPECT_EQ(allocations(), before);
    // One more takes the place of the one that was not asked for the longest.
    texts.Measure({10, 400}, u"1");
    texts.Measure({10 + most, 400}, u"1");
    const size_t later = allocations();
    texts.Measure({10, 400}, u"12:45");
    EXPECT_EQ(allocations(), later);
    texts.Measure({11, 400}, u"12:45");
    EXPECT_GT(allocations(), later);
}

}  // namespace figures_test
}  // namespace vexcap::pango
