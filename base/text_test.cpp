#include "base/text.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>
#include <filesystem>
#include <limits>

namespace vexcap {
namespace text_test {

using namespace std::string_literals;
using Arguments = std::vector<FormatArgument>;

std::string formatted(std::u16string_view format, const Arguments& arguments = {}) {
    return toUtf8(formatText(format, arguments));
}

TEST(Utf8, EveryLengthGoesThereAndBack) {
    const std::u16string text = u"A\u00E9\u20AC\U0001F52D!";
    const std::string bytes = "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x94\xAD!";
    EXPECT_EQ(toUtf8(text), bytes);
    EXPECT_EQ(toUtf16(bytes), text);
}

TEST(Utf8, EveryCodePointGoesThereAndBack) {
    for (char32_t point = 0; point <= 0x10FFFF; ++point) {
        if (point >= 0xD800 && point <= 0xDFFF) continue;
        std::u16string text;
        if (point < 0x10000) {
            text = char16_t(point);
        } else {
            text = char16_t(0xD7C0 + (point >> 10));
            text += char16_t(0xDC00 + (point & 0x3FF));
        }
        ASSERT_EQ(toUtf16(toUtf8(text)), text) << "U+" << std::hex << uint32_t(point);
    }
}

TEST(Utf8, BrokenSurrogatesBecomeTheReplacementCharacter) {
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(toUtf8(u"a\xD800"s), "a" + mark);
    EXPECT_EQ(toUtf8(u"a\xD800z"s), "a" + mark + "z");
    EXPECT_EQ(toUtf8(u"a\xDC00z"s), "a" + mark + "z");
    EXPECT_EQ(toUtf8(u"\xDC00\xD800"s), mark + mark);
    EXPECT_EQ(toUtf8(u"\xD800\xD83D\xDD2D"s), mark + "\xF0\x9F\x94\xAD");
}

TEST(Utf8, BrokenSequencesBecomeTheReplacementCharacter) {
    EXPECT_EQ(toUtf16("a\x80z"), u"a\uFFFDz");                  // a following byte alone
    EXPECT_EQ(toUtf16("a\xC3"), u"a\uFFFD");                    // cut short
    EXPECT_EQ(toUtf16("\xE2\x82z"), u"\uFFFDz");                // broken in the middle
    EXPECT_EQ(toUtf16("\xE2\xC3\xA9"), u"\uFFFD\u00E9");        // the next one is whole
    EXPECT_EQ(toUtf16("\xC0\x80"), u"\uFFFD\uFFFD");            // overlong
    EXPECT_EQ(toUtf16("\xE0\x80\x80"), u"\uFFFD\uFFFD\uFFFD");  // overlong
    EXPECT_EQ(toUtf16("\xF0\x80\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(toUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");            // a surrogate
    EXPECT_EQ(toUtf16("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");  // above U+10FFFF
    EXPECT_EQ(toUtf16("\xFF\xF5"), u"\uFFFD\uFFFD");
}

TEST(Text, AHostsTextMayBeNull) {
    EXPECT_EQ(textOf(nullptr), u"");
    EXPECT_EQ(textOf(u"M 31"), u"M 31");
}

TEST(Text, AFieldWithoutATerminatorIsReadToItsRoom) {
    const vex_char full[3] = {u'a', u'b', u'c'};
    EXPECT_EQ(textOfField(full, 3), u"abc");
    EXPECT_EQ(textOfField(full, 0), u"");
    EXPECT_EQ(textOfField(u"ab", 3), u"ab");
    EXPECT_EQ(textOfField(nullptr, 3), u"");
}

TEST(Text, AFieldTakesOneUnitLessThanItsRoomAndATerminator) {
    vex_char field[5] = {u'#', u'#', u'#', u'#', u'#'};
    copyToField(field, 4, u"abcdef");
    EXPECT_EQ(std::u16string(field, 5), u"abc\0#"s);
    copyToField(field, 4, u"x");
    EXPECT_EQ(std::u16string_view(field), u"x");
    copyToField(field, 1, u"abc");
    EXPECT_EQ(field[0], 0);
    field[0] = u'#';
    copyToField(field, 0, u"abc");
    EXPECT_EQ(field[0], u'#');
}

TEST(Text, AFieldNeverEndsInHalfOfAPair) {
    vex_char field[4];
    copyToField(field, 4, u"ab\U0001F52D");
    EXPECT_EQ(std::u16string_view(field), u"ab");
    copyToField(field, 4, u"a\U0001F52D");
    EXPECT_EQ(std::u16string_view(field), u"a\U0001F52D");
}

TEST(Text, ExtensionsAreComparedWithoutCase) {
    EXPECT_TRUE(endsWithExtension(u"out.avi", ".avi"));
    EXPECT_TRUE(endsWithExtension(u"OUT.AVI", ".avi"));
    EXPECT_TRUE(endsWithExtension(u"out.Avi", ".AVI"));
    EXPECT_TRUE(endsWithExtension(u".avi", ".avi"));
    EXPECT_FALSE(endsWithExtension(u"out.avi2", ".avi"));
    EXPECT_FALSE(endsWithExtension(u"outavi", ".avi"));
    EXPECT_FALSE(endsWithExtension(u"vi", ".avi"));
    EXPECT_FALSE(endsWithExtension(u"", ".avi"));
    EXPECT_FALSE(endsWithExtension(u"out.av\u0131", ".avi"));
}

TEST(Format, EveryConversionPrintsItsValue) {
    const struct {
        std::u16string_view format;
        FormatArgument argument;
        std::string_view expected;
    } table[] = {
        {u"%s", u"M 31"s, "M 31"},
        {u"%6s|", u"abc"s, "   abc|"},
        {u"%-6s|", u"abc"s, "abc   |"},
        {u"%.2s|", u"abc"s, "ab|"},
        {u"%c", int64_t('x'), "x"},
        {u"%3c|", int64_t('x'), "  x|"},
        {u"%c", uint64_t(0x20AC), "\xE2\x82\xAC"},
        {u"%c", int64_t(0x10000), "\xEF\xBF\xBD"},
        {u"%d", int64_t(-42), "-42"},
        {u"%i", int64_t(42), "42"},
        {u"%d", int64_t(0), "0"},
        {u"%5d|", int64_t(-42), "  -42|"},
        {u"%-5d|", int64_t(-42), "-42  |"},
        {u"%05d", int64_t(-42), "-0042"},
        {u"%-05d|", int64_t(42), "42   |"},
        {u"%.4d", int64_t(-42), "-0042"},
        {u"%06.4d|", int64_t(42), "  0042|"},
        {u"%.0d|", int64_t(0), "|"},
        {u"%04d", int64_t(2026), "2026"},
        {u"%02d", int64_t(123), "123"},
        {u"%u", uint64_t(4000000000), "4000000000"},
        {u"%hu", uint64_t(65535), "65535"},
        {u"%hu", int64_t(-1), "65535"},
        {u"%u", int64_t(-1), "4294967295"},
        {u"%llu", int64_t(-1), "18446744073709551615"},
        {u"%llu", std::numeric_limits<uint64_t>::max(), "18446744073709551615"},
        {u"%lld", std::numeric_limits<int64_t>::min(), "-9223372036854775808"},
        {u"%ld", int64_t(-7), "-7"},
        {u"%u", int64_t(-5000000000), "18446744068709551616"},
        {u"%x", uint64_t(0xBEEF), "beef"},
        {u"%X", uint64_t(0xBEEF), "BEEF"},
        {u"%08x", uint64_t(0x80004005), "80004005"},
        {u"%08x", int64_t(int32_t(0x80004005)), "80004005"},
        {u"%08x", uint64_t(1), "00000001"},
        {u"0x%0lX", uint64_t(0x8007001F), "0x8007001F"},
        {u"%f", 1.5, "1.500000"},
        {u"%.1f", 24.96, "25.0"},
        {u"%.0f", 2.5, "2"},
        {u"%7.2f|", -3.14159, "  -3.14|"},
        {u"%07.2f", -3.14159, "-003.14"},
        {u"%-7.2f|", 3.14159, "3.14   |"},
        {u"%06f", std::numeric_limits<double>::infinity(), "   inf"},
        {u"%06f", -std::numeric_limits<double>::infinity(), "  -inf"},
    };
    for (const auto& row : table) EXPECT_EQ(formatted(row.format, {row.argument}), row.expected) << toUtf8(row.format);
}

TEST(Format, AWrongConversionPrintsTheValueInItsOwnWay) {
    EXPECT_EQ(formatted(u"%s", {int64_t(-5)}), "-5");
    EXPECT_EQ(formatted(u"%s", {uint64_t(5)}), "5");
    EXPECT_EQ(formatted(u"%s", {1.5}), "1.500000");
    EXPECT_EQ(formatted(u"%d", {u"text"s}), "text");
    EXPECT_EQ(formatted(u"%.1d", {u"text"s}), "text");
    EXPECT_EQ(formatted(u"%f", {u"text"s}), "text");
    EXPECT_EQ(formatted(u"%d", {1.5}), "1.500000");
    EXPECT_EQ(formatted(u"%f", {int64_t(-5)}), "-5");
    EXPECT_EQ(formatted(u"%c", {u"text"s}), "text");
    EXPECT_EQ(formatted(u"%d", {std::numeric_limits<uint64_t>::max()}), "18446744073709551615");
}

TEST(Format, AConversionWithoutAnArgumentPrintsItself) {
    EXPECT_EQ(formatted(u"%s and %-5.3lld|%", {u"one"s}), "one and %-5.3lld|%");
    EXPECT_EQ(formatted(u"%s"), "%s");
    EXPECT_EQ(formatted(u"%"), "%");
    EXPECT_EQ(formatted(u"100%"), "100%");
}

TEST(Format, APercentSignIsWrittenTwice) {
    EXPECT_EQ(formatted(u"%d%% of %s", {int64_t(50), u"it"s}), "50% of it");
    EXPECT_EQ(formatted(u"%%s", {u"x"s}), "%s");
    EXPECT_EQ(formatted(u"%%%d", {int64_t(1)}), "%1");
}

TEST(Format, WhatIsNoConversionIsPlainText) {
    EXPECT_EQ(formatted(u"%n%d", {int64_t(7)}), "%n7");
    EXPECT_EQ(formatted(u"%*d%d", {int64_t(7)}), "%*d7");
    EXPECT_EQ(formatted(u"%1$s", {u"x"s}), "%1$s");
    EXPECT_EQ(formatted(u"%5", {int64_t(7)}), "%5");
    EXPECT_EQ(formatted(u"%.", {int64_t(7)}), "%.");
    EXPECT_EQ(formatted(u"%ll", {int64_t(7)}), "%ll");
}

TEST(Format, ArgumentsThatNobodyAsksForAreLeftOut) {
    EXPECT_EQ(formatted(u"%d", {int64_t(1), int64_t(2)}), "1");
    EXPECT_EQ(formatted(u"", {int64_t(1)}), "");
}

TEST(Format, WidthAndPrecisionAreBounded) {
    EXPECT_EQ(formatted(u"%999999999999999999999d", {int64_t(7)}).size(), 512u);
    EXPECT_EQ(formatted(u"%-4294967297s", {u"x"s}).size(), 512u);
    EXPECT_EQ(formatted(u"%.99999999d", {int64_t(7)}).size(), 512u);
    EXPECT_EQ(formatted(u"%.99999999f", {1.0}).size(), 2 + 512u);
    EXPECT_EQ(formatted(u"%.512f", {-std::numeric_limits<double>::max()}).size(), 1 + 309 + 1 + 512u);
}

/// Makes a locale whose decimal point is a comma and uses it for numbers. No machine has to have it installed.
bool useCommaLocale(const std::string& directory) {
    const std::string make =
        "localedef --no-archive --quiet -i de_DE -f UTF-8 '" + directory + "/de_DE.UTF-8' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0 || ::setenv("LOCPATH", directory.c_str(), 1) != 0) return false;
    const bool used = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    ::unsetenv("LOCPATH");
    return used;
}

TEST(Format, TheDecimalPointIsTheLocales) {
    std::string directory = testing::TempDir() + "vexcap-locale-XXXXXX";
    ASSERT_NE(::mkdtemp(directory.data()), nullptr);
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    EXPECT_TRUE(useCommaLocale(directory)) << "the package locales is missing";
    const std::string text = formatted(u"%.1f", {1.5});
    std::setlocale(LC_NUMERIC, before.c_str());
    std::filesystem::remove_all(directory);
    EXPECT_EQ(text, "1,5");
}

}  // namespace text_test
}  // namespace vexcap
