#include "platform/linux/settings/settings_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vexcap {
namespace settings_text_test {

std::string repeated(std::string_view text, size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (size_t i = 0; i < count; ++i) all += text;
    return all;
}

/// Not TOML, or not any that is taken.
std::vector<std::string> damagedFiles() {
    const size_t many = 100'000;
    return {
        "a",
        "a =",
        "a = ",
        "= 1",
        "a = 1 b = 2",
        "a = 1\na = 2",
        "a = 1\n\"a\" = 2",
        "[a",
        "[&",
        "[[[a]]]",
        "[[=",
        "[]",
        "a = [1, 2",
        "a = {b = 1",
        "a = \"x",
        "a = 'x",
        "a = \"\"\"x",
        "a = \"\\q\"",
        "a = \"\\",
        "a = 1 # \x01",
        "a = 99999999999999999999",
        "a = 0x",
        "a = \"x\ny\"",
        "a = 1\r",
        "\xFF\xFE\x61\x00",
        "a = \"\xFF\"",
        "a = \"\xC0\x80\"",
        "a = \"\xED\xA0\x80\"",
        "a = \"\xE2\x82",
        std::string("a = 1\0", 6),
        std::string(4096, '\0'),
        "a = " + repeated("[", 40) + repeated("]", 40),
        "a = " + repeated("{b = ", 40) + "1" + repeated("}", 40),
        "a = " + repeated("[", many),
        "a = " + repeated("{b = ", many),
        "a = " + repeated("[{b = ", many),
        repeated("a.", many) + "a = 1",
        repeated("a.", many) + "a",
        repeated("\"a\" . ", many) + "a = 1",
        "[" + repeated("a.", many) + "a]",
        "[[" + repeated("a.", many) + "a]]",
        "b = {" + repeated("a.", many) + "a = 1}",
        "b = [{" + repeated("a.", many) + "a = 1}]",
        "b = \"\n" + repeated("a.", many) + "a = 1",
        "\u00C4 = 1",
        "a = 1\u00A0",
        "a = \u2028 1",
        "[\uFE7F]",
        "a = 0\"\uFE7F\"",
        "a = \"\"\"\\\u00E4\"\"\"",
        "a = 0\x01='\u00FA'",
        repeated("\"", many),
        repeated("'''", many),
    };
}

/// Files with values that are none of ours, and with layout worth keeping.
const std::vector<std::string> foreignFiles = {
    "",
    "\n\n",
    "# nothing\n",
    "\xEF\xBB\xBF",
    "\xEF\xBB\xBF"
    "x = 1\n",
    "x = 1.5\ny = [1, 2.5, \"three\", [4], {f.g = 5}]\nz = 1979-05-27 07:32:00.5Z\nw = true\nv = nan\nu = -inf\n",
    "t.u.v = 1\nt.u.w = 2\n",
    "x = 9223372036854775807\ny = [-9223372036854775808, inf]\n",
    "[table]\na = 1\nB = 2\n  [table.inner]\n  a = 3\n[[list]]\na = 1\n[[list]]\n",
    "# first\n\n  x=1# behind\n\ty\t=\t'2'\t# behind\n\n# last",
    "x = 1\r\ny = 2\r\n\r\n[t]\r\n",
    "x = \"\"\"\na = 1 # \\\"\"\"\n\"\"\"\"\"\ny = '''\n[a]\n'''''\nz = \"# = [\"\n'b = 1' = \"a = \\\"\\\\\"\n",
    "x = [ # one\n  \"]\", # \"two\n  [ 'a = 1' ],\n]\ny = {a = 1, b = {c = \"}\"}}\n",
};

TEST(SettingsText, IntegersOf32BitsAreNumbers) {
    const struct {
        const char* value;
        std::optional<uint32_t> number;
    } cases[] = {
        {"0", 0},
        {"-0", 0},
        {"+7", 7},
        {"36_000", 36000},
        {"0xFFFF_FFFF", 0xFFFFFFFFu},
        {"0o17", 15},
        {"0b101", 5},
        {"4294967295", 4294967295u},
        {"4294967296", {}},
        {"-1", 0xFFFFFFFFu},
        {"-2147483648", 0x80000000u},
        {"-2147483649", {}},
        {"9223372036854775807", {}},
        {"-9223372036854775808", {}},
        {"1.0", {}},
        {"true", {}},
        {"\"1\"", {}},
        {"[1]", {}},
        {"{a = 1}", {}},
        {"1979-05-27", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(findNumber("a = " + std::string(c.value), "a"), c.number) << c.value;
}

TEST(SettingsText, EveryKindOfStringIsAText) {
    const struct {
        const char* value;
        const char* text;
    } cases[] = {
        {"\"\"", ""},
        {"''", ""},
        {"\"a\\tb\\u00e4\\U0001F52D\"", "a\tb\u00E4\U0001F52D"},
        {"'a\\tb'", "a\\tb"},
        {"\"\"\"\none\ntwo\"\"\"", "one\ntwo"},
        {"\"\"\"one \\\n   two\"\"\"", "one two"},
        {"\"\"\"\\\n\u00E4\\\n\uFE7F\"\"\"", "\u00E4\uFE7F"},
        {"'''one''two'''''", "one''two''"},
    };
    for (const auto& c : cases) EXPECT_EQ(findText("a = " + std::string(c.value), "a"), c.text) << c.value;
    for (const char* const other : {"1", "1.5", "true", "[\"a\"]", "{a = \"a\"}", "07:32:00"})
        EXPECT_EQ(findText("a = " + std::string(other), "a"), std::nullopt) << other;
    EXPECT_EQ(findText("a = \"\\u0000\"", "a"), std::string(1, '\0'));
}

TEST(SettingsText, ValuesOfTablesAreOthers) {
    for (const char* const file : {"[t]\na = 1", "t.a = 1", "t = {a = 1}", "[[t]]\na = 1", "[t]\n[t.a]\n"}) {
        EXPECT_EQ(findNumber(file, "a"), std::nullopt) << file;
        EXPECT_EQ(findNumber(file, "t.a"), std::nullopt) << file;
        const auto changed = withValue(file, "a", 5u);
        ASSERT_TRUE(changed) << file;
        EXPECT_EQ(findNumber(*changed, "a"), 5u) << file;
    }
}

TEST(SettingsText, OfNamesThatDifferInCaseTheFirstInTheFileCounts) {
    const std::string file = "b = 1\nB = 2\nA = 3\na = 4\n";
    for (const char* const name : {"a", "A"}) {
        EXPECT_EQ(findNumber(file, name), 3u);
        EXPECT_EQ(withValue(file, name, 5u), "b = 1\nB = 2\nA = 5\na = 4\n");
    }
    EXPECT_EQ(findNumber(file, "B"), 1u);
    EXPECT_EQ(findNumber("\"\u00C4\" = 1", "\u00C4"), 1u);
    EXPECT_EQ(findNumber("\"\u00C4\" = 1", "\u00E4"), std::nullopt);
}

TEST(SettingsText, AValueIsChangedWhereItStands) {
    const struct {
        const char* before;
        SettingValue value;
        const char* after;
    } cases[] = {
        {"a = 1\n", 2u, "a = 2\n"},
        {"a = 1", 2u, "a = 2"},
        {"a=1#c", 2u, "a=2#c"},
        {"\xEF\xBB\xBF"
         "a = 1",
         2u,
         "\xEF\xBB\xBF"
         "a = 2"},
        {"x = 1\r\na = 1  \r\n\r\ny = 2", 2u, "x = 1\r\na = 2  \r\n\r\ny = 2"},
        {"# a = 0\n  \t a\t=  '''\n#\n'''  # why\n[t]", 2u, "# a = 0\n  \t a\t=  2  # why\n[t]"},
        {"\"\\u0041\" = \"# \\\" =\" # why", 2u, "\"\\u0041\" = 2 # why"},
        {"'A' = '\\'\n", std::string("\"'\n"), "'A' = \"\\\"'\\n\"\n"},
        {"a = [ # one\n 1, # ]\n]# two\nb = 1", 2u, "a = 2# two\nb = 1"},
        {"a = { b = '}', c = {} }\nb = 1", 2u, "a = 2\nb = 1"},
        {"a = \"\"\"\"\"x\"\"\"\"\"#\nb = 1", 2u, "a = 2#\nb = 1"},
        {"a = \"\"\"\\\"\"\"\"#\nb = 1", 2u, "a = 2#\nb = 1"},
        {"a = ''\nb = ''''''\n", 2u, "a = 2\nb = ''''''\n"},
        {"a = 1979-05-27 07:32:00 # b\n", 2u, "a = 2 # b\n"},
        {"x = '= a = 1'\nA = -1.5e+7\n", std::string("x"), "x = '= a = 1'\nA = \"x\"\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(withValue(c.before, "a", c.value), c.after) << c.before;
}

TEST(SettingsText, ANewValueComesBehindTheOthersAndBeforeTheTables) {
    const struct {
        const char* before;
        const char* after;
    } cases[] = {
        {"", "a = 2\n"},
        {"# c", "# c\na = 2\n"},
        {"# c\n\n", "# c\n\na = 2\n"},
        {"x = 1", "x = 1\na = 2\n"},
        {"x = 1\n# c\n\n[t]\ny = 1\n", "x = 1\na = 2\n# c\n\n[t]\ny = 1\n"},
        {"x.a = [\n1] # c\n[[t]]", "x.a = [\n1] # c\na = 2\n[[t]]"},
        {" [t]\n", "a = 2\n [t]\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(withValue(c.before, "a", 2u), c.after) << c.before;
}

TEST(SettingsText, AValueTakesThePlaceOfAWholeTable) {
    const struct {
        const char* before;
        const char* after;
    } cases[] = {
        {"[a]\nx = 1\n# c\n[b]\na = 1\n", "# c\nA = 2\n[b]\na = 1\n"},
        {"x = 1\na.b = 1\ny = 1\na.c = [\n1]\n", "x = 1\ny = 1\nA = 2\n"},
        {"x = 1\n[a.b]\nc = 1\n[b]\n[a]\n[b.a]\n[a.d] # c", "x = 1\nA = 2\n[b]\n[b.a]\n"},
        {"[[a]]\n[[a.b]]\nc = 1\n[[a]]\n[t]\n", "A = 2\n[t]\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(withValue(c.before, "A", 2u), c.after) << c.before;
}

TEST(SettingsText, NamesAreQuotedWhereTheyHaveTo) {
    EXPECT_EQ(withValue("", "Time-Limit_2", 1u), "Time-Limit_2 = 1\n");
    EXPECT_EQ(withValue("", "", 1u), "\"\" = 1\n");
    EXPECT_EQ(withValue("", "a.b", 1u), "\"a.b\" = 1\n");
    EXPECT_EQ(withValue("", "\u00E4", 1u), "\"\u00E4\" = 1\n");
    EXPECT_EQ(withValue("", "a\"\n", 1u), "\"a\\\"\\n\" = 1\n");
}

TEST(SettingsText, WhatIsNotOursSurvivesEveryChange) {
    for (const std::string& file : foreignFiles) {
        const auto added = withValue(file, "a", 1u);
        ASSERT_TRUE(added) << file;
        const auto changed = withValue(*added, "A", std::string("\n\"#"));
        ASSERT_TRUE(changed) << file;
        EXPECT_EQ(findText(*changed, "a"), "\n\"#");
        // What was there is there, in its order: the new line alone goes again.
        std::string rest = *changed;
        const std::string line = "a = \"\\n\\\"#\"\n";
        const size_t place = rest.find(line);
        ASSERT_NE(place, rest.npos) << file;
        rest.erase(place, line.size());
        EXPECT_TRUE(rest == file || rest == file + "\n") << rest;
        EXPECT_EQ(withValue(*changed, "a", std::string("\n\"#")), changed);
    }
}

TEST(SettingsText, ADamagedFileHasNoValuesAndTakesNone) {
    for (const std::string& file : damagedFiles()) {
        const std::string text = "x = 1\n" + file;
        EXPECT_EQ(findNumber(text, "x"), std::nullopt) << file.substr(0, 100);
        EXPECT_EQ(findText(text, "x"), std::nullopt) << file.substr(0, 100);
        EXPECT_EQ(withValue(text, "x", 2u), std::nullopt) << file.substr(0, 100);
    }
}

TEST(SettingsText, TheDeepestFileThatIsTakenIsTakenDownAgain) {
    const std::string key = repeated("a.", 31) + "a";
    const auto nested = [&](size_t depth) {
        return "[" + key + "]\n" + key + " = " + repeated("{" + key + " = ", depth) + "1" + repeated("}", depth);
    };
    EXPECT_EQ(withValue(nested(31), "x", 1u), "x = 1\n" + nested(31));
    EXPECT_EQ(withValue(nested(31), "a", 1u), "a = 1\n");
    EXPECT_EQ(withValue(nested(32), "x", 1u), std::nullopt);
    EXPECT_EQ(withValue("a." + key + " = 1", "x", 1u), std::nullopt);
}

TEST(SettingsText, ManyDotsAreNoDamageOutsideOfKeys) {
    const std::string dots(1000, '.');
    const std::string file =
        "a = \"" + dots + "\" # " + dots + "\n'" + dots + "' = [" + repeated("1.5, ", 1000) + "2.5]\n# " + dots;
    EXPECT_EQ(findText(file, "a"), dots);
    EXPECT_TRUE(withValue(file, "a", 1u));
    EXPECT_TRUE(withValue(file, dots, 1u));
}

TEST(SettingsText, ANewFileIsSettings) {
    EXPECT_EQ(withValue(newSettings, "a", 1u), std::string(newSettings) + "a = 1\n");
}

}  // namespace settings_text_test
}  // namespace vexcap
