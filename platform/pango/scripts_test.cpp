// What people write in, and that the area which is measured has all of it.
#include <gtest/gtest.h>

#include "platform/pango/pango_text.h"
#include "platform/pango/text_testing.h"

namespace vexcap::pango {
namespace scripts_test {

using test::Drawing;
using test::drawn;

struct Script {
    const char* name;
    std::u16string_view text;
};

constexpr Script scripts[] = {
    {"Latin", u"Jupiter fjord \u00C5\u00C9\u0128\u1EA4 Q\u00E7\u0179"},
    {"Greek", u"\u0396\u03B5\u03CD\u03C2 \u1F8F"},
    {"Cyrillic", u"\u042E\u043F\u0438\u0442\u0435\u0440 \u0429\u0451\u0439"},
    {"Chinese", u"\u6728\u661F\u89C2\u6D4B"},
    {"Japanese", u"\u6F22\u5B57\u304B\u306A\u30AB\u30CA"},
    {"Arabic", u"\u0627\u0644\u0645\u0634\u062A\u0631\u064A"},
    {"ArabicWithVowels", u"\u0627\u064E\u0644\u0652\u0645\u064F\u0634\u0652\u062A\u064E\u0631\u0650\u064A"},
    {"Hebrew", u"\u05E6\u05B6\u05D3\u05B6\u05E7"},
    {"Thai", u"\u0E14\u0E32\u0E27\u0E1E\u0E24\u0E2B\u0E31\u0E2A\u0E1A\u0E14\u0E35"},
    {"Devanagari", u"\u092C\u0943\u0939\u0938\u094D\u092A\u0924\u093F"},
    {"CombiningMarks", u"a\u0301 o\u0308\u0304 E\u0302\u0301\u0300"},
    {"StackOfMarks", u"x\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301"},
    {"MarkAlone", u"\u0301"},
    {"Emoji", u"\U0001F52D\u2604\uFE0F\U0001F44D\U0001F3FD"},
    {"Symbols", u"\u2643 5\u00B5m \u00B130\u00B0 \u2211\u222B\u2588"},
    {"Mixed", u"Jupiter \u6728\u661F \u0627\u0644\u0645\u0634\u062A\u0631\u064A 12:45"},
    {"Overrides", u"\u202Eabc\u202C \u2067def\u2069 \u200F1"},
    {"Figures", u"2006-11-27 12:45:56 +3.5"},
};

class EveryScript : public testing::TestWithParam<Script> {
protected:
    PangoText texts{"DejaVu Sans"};
    test::Reference reference;
};

TEST_P(EveryScript, AllThatPangoDrawsLiesInTheMeasuredArea) {
    const std::u16string_view text = GetParam().text;
    for (const int32_t weight : {400, 700, 900})
        for (const int32_t height : {6, 9, 12, 16, 23, 48, 70}) {
            const TextFont font{height, weight};
            const Drawing drawing = drawn(texts, font, text);
            ASSERT_GT(drawing.Count(), 0u) << height;
            ASSERT_TRUE(drawing.IsMask()) << height;
            ASSERT_EQ(inkOf(drawing), reference.Ink(font, text)) << height;
        }
}

TEST_P(EveryScript, NothingIsDrawnBesideTheMeasuredArea) {
    const std::u16string_view text = GetParam().text;
    const TextFont font{.height = 20};
    const Drawing whole = drawn(texts, font, text);
    Drawing larger(whole.width + 60, whole.height + 60);
    EXPECT_TRUE(texts.Draw(font, text, larger.Mask(), 30, 30));
    EXPECT_EQ(larger, whole.Within(larger.width, larger.height, 30, 30));
}

INSTANTIATE_TEST_SUITE_P(Scripts, EveryScript, testing::ValuesIn(scripts),
                         [](const auto& script) { return script.param.name; });

struct ShapingTest : testing::Test {
    Drawing Ink(std::u16string_view text) { return inkOf(drawn(texts, font, text)); }
    int32_t Width(std::u16string_view text) { return texts.Measure(font, text).width; }

    PangoText texts{"DejaVu Sans"};
    const TextFont font{.height = 40};
};

TEST_F(ShapingTest, ArabicLettersJoin) {
    // Each letter by itself: a joiner that is none keeps them apart.
    EXPECT_NE(Ink(u"\u0634\u062A\u0631"), Ink(u"\u0634\u200C\u062A\u200C\u0631"));
    EXPECT_LT(Width(u"\u0634\u062A\u0631"), Width(u"\u0634\u200C\u062A\u200C\u0631"));
    // Lam and alef are one shape.
    EXPECT_EQ(Ink(u"\u0644\u0627"), Ink(u"\uFEFB"));
    // Beginning, middle and end of a word.
    EXPECT_EQ(Ink(u"\u0628\u0628\u0628"), Ink(u"\uFE91\uFE92\uFE90"));
}

TEST_F(ShapingTest, ArabicAndHebrewRunFromRightToLeft) {
    // U+202D forces the order of memory to run from left to right.
    EXPECT_EQ(Ink(u"\u05D0\u05D1\u05D2"), Ink(u"\u202D\u05D2\u05D1\u05D0\u202C"));
    EXPECT_EQ(Ink(u"\uFEFB\u0632"), Ink(u"\u202D\u0632\uFEFB\u202C"));
}

TEST_F(ShapingTest, TheFirstLetterTellsTheDirectionOfTheLine) {
    EXPECT_EQ(Ink(u"abc \u05D0\u05D1"), Ink(u"\u202Dabc \u05D1\u05D0\u202C"));
    EXPECT_EQ(Ink(u"\u05D0\u05D1 abc"), Ink(u"\u202Dabc \u05D1\u05D0\u202C"));
    EXPECT_EQ(Ink(u"\u05D0\u05D1 12"), Ink(u"\u202D12 \u05D1\u05D0\u202C"));
}

TEST_F(ShapingTest, MarksStandOverTheirLetter) {
    EXPECT_EQ(Ink(u"a\u0301"), Ink(u"\u00E1"));
    EXPECT_EQ(Width(u"a\u0301"), Width(u"a"));
    EXPECT_GT(Ink(u"a\u0301").height, Ink(u"a").height);
}

TEST_F(ShapingTest, ChineseAndJapaneseComeFromAFontThatHasThem) {
    // A character that no font has is a box with its number, and every such box is as wide as the others.
    const int32_t box = Width(u"\U0001F52D");
    for (const std::u16string_view each : {u"\u6F22", u"\u5B57", u"\u304B", u"\u306A", u"\u89C2"}) {
        EXPECT_NE(Width(each), box) << toUtf8(each);
        EXPECT_EQ(Width(each), Width(u"\u6F22")) << toUtf8(each);
    }
    EXPECT_NE(Ink(u"\u6F22"), Ink(u"\u5B57"));
}

}  // namespace scripts_test
}  // namespace vexcap::pango
