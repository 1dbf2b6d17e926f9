// What every settings store of this library promises, as tests. A harness has `ISettings& settings()` and
// `vex_key* root()`, a place where nothing is stored yet.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/settings.h"

namespace vexcap::test {

/// Names that a file format could take for something else.
inline const std::vector<std::u16string> awkwardNames = {
    u"",
    u" ",
    u"a.b",
    u"[a]",
    u"a = 1",
    u"#a",
    u"a\nb",
    u"\"a\"",
    u"'a'",
    u"\\",
    u"\u00E4\u20AC\U0001F52D",
    u"\uFEFF",
    u"a b\t",
    u"-",
    u"1",
    u"true",
    u"inf",
    std::u16string(u"a\0b", 3),
};

/// Texts that a file format could lose something of.
inline const std::vector<std::u16string> awkwardTexts = {
    u"",
    u" \t two  words\t ",
    u"C:\\new\\table \\u0041",
    u"\"quoted\" 'quoted' \"\"\" '''",
    u"one\ntwo\r\nthree\rfour\n",
    u"\n",
    u"# = [ ] { } ,",
    u"\u0001\b\f\u001B\u001F\u007F\u0080\u0085\u009F\u00A0\u2028\u2029",
    u"\uFEFF\uFFFD\uFFFF\u00E4\u20AC\U0001F52D\U0010FFFF",
    std::u16string(u"\0a\0", 3),
    std::u16string(100'000, u'x'),
    u"42",
};

template <typename Harness>
class SettingsContract : public testing::Test {
protected:
    std::unique_ptr<ISettingsKey> open(std::u16string_view path = u"SOFTWARE\\Firm\\Product\\vexcap") {
        auto opened = harness.settings().CreateKey(harness.root(), path);
        EXPECT_TRUE(opened.ok()) << std::hex << opened.code();
        return opened.ok() ? std::move(opened).value() : nullptr;
    }

    Harness harness;
};

TYPED_TEST_SUITE_P(SettingsContract);

TYPED_TEST_P(SettingsContract, ANullRootFails) {
    EXPECT_EQ(this->harness.settings().CreateKey(nullptr, u"a").code(), E_INVALIDARG);
}

TYPED_TEST_P(SettingsContract, NothingIsThereAtFirst) {
    const auto key = this->open();
    EXPECT_EQ(key->ReadNumber(u"TimeLimit"), std::nullopt);
    EXPECT_EQ(key->ReadText(u"TimeLimit"), std::nullopt);
}

TYPED_TEST_P(SettingsContract, NumbersAreReadBack) {
    const auto key = this->open();
    for (const uint32_t number : {0u, 1u, 36000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        ASSERT_TRUE(key->WriteNumber(u"TimeLimit", number).ok());
        EXPECT_EQ(key->ReadNumber(u"TimeLimit"), number);
    }
}

TYPED_TEST_P(SettingsContract, TextsAreReadBackUnitByUnit) {
    const auto key = this->open();
    for (const std::u16string& text : awkwardTexts) {
        ASSERT_TRUE(key->WriteText(u"CaptureTitle", text).ok());
        EXPECT_EQ(key->ReadText(u"CaptureTitle"), text);
    }
}

TYPED_TEST_P(SettingsContract, ABrokenSurrogateIsKeptAsTheReplacementCharacter) {
    const auto key = this->open();
    ASSERT_TRUE(key->WriteText(u"CaptureTitle", u"a\xD800z\xDC00").ok());
    EXPECT_EQ(key->ReadText(u"CaptureTitle"), u"a\uFFFDz\uFFFD");
}

TYPED_TEST_P(SettingsContract, AnyTextIsAName) {
    const auto key = this->open();
    for (uint32_t i = 0; i < awkwardNames.size(); ++i) ASSERT_TRUE(key->WriteNumber(awkwardNames[i], i).ok()) << i;
    for (uint32_t i = 0; i < awkwardNames.size(); ++i) EXPECT_EQ(key->ReadNumber(awkwardNames[i]), i);
}

TYPED_TEST_P(SettingsContract, NamesCompareWithoutCase) {
    const auto key = this->open();
    ASSERT_TRUE(key->WriteNumber(u"TimeLimit", 1).ok());
    EXPECT_EQ(key->ReadNumber(u"TIMELIMIT"), 1u);
    ASSERT_TRUE(key->WriteNumber(u"timelimit", 2).ok());
    EXPECT_EQ(key->ReadNumber(u"TimeLimit"), 2u);
    EXPECT_EQ(key->ReadNumber(u"TimeLimi"), std::nullopt);
    EXPECT_EQ(key->ReadNumber(u"TimeLimit "), std::nullopt);
}

TYPED_TEST_P(SettingsContract, AValueOfTheOtherTypeIsMissing) {
    const auto key = this->open();
    ASSERT_TRUE(key->WriteText(u"a", u"7").ok());
    EXPECT_EQ(key->ReadNumber(u"a"), std::nullopt);
    ASSERT_TRUE(key->WriteNumber(u"a", 7).ok());
    EXPECT_EQ(key->ReadText(u"a"), std::nullopt);
    EXPECT_EQ(key->ReadNumber(u"a"), 7u);
}

TYPED_TEST_P(SettingsContract, AWriteLeavesEveryOtherValue) {
    const auto key = this->open();
    for (size_t i = 0; i < awkwardTexts.size(); ++i)
        ASSERT_TRUE(key->WriteText(u"text" + std::u16string(i, u'+'), awkwardTexts[i]).ok());
    for (uint32_t i = 0; i < 20; ++i) ASSERT_TRUE(key->WriteNumber(u"number" + std::u16string(i, u'+'), i).ok());
    ASSERT_TRUE(key->WriteNumber(u"number+++", 77).ok());
    for (size_t i = 0; i < awkwardTexts.size(); ++i)
        EXPECT_EQ(key->ReadText(u"text" + std::u16string(i, u'+')), awkwardTexts[i]);
    for (uint32_t i = 0; i < 20; ++i) EXPECT_EQ(key->ReadNumber(u"number" + std::u16string(i, u'+')), i == 3 ? 77u : i);
}

TYPED_TEST_P(SettingsContract, ANodeIsTheSameHoweverItsPathIsSpelled) {
    const auto key = this->open();
    const auto other = this->open(u"software\\FIRM\\product\\VEXCAP");
    ASSERT_TRUE(key->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(other->ReadNumber(u"a"), 1u);
    ASSERT_TRUE(other->WriteNumber(u"a", 2).ok());
    EXPECT_EQ(key->ReadNumber(u"a"), 2u);
}

TYPED_TEST_P(SettingsContract, ValuesOutliveTheirKey) {
    ASSERT_TRUE(this->open()->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(this->open()->ReadNumber(u"a"), 1u);
}

REGISTER_TYPED_TEST_SUITE_P(SettingsContract, ANullRootFails, NothingIsThereAtFirst, NumbersAreReadBack,
                            TextsAreReadBackUnitByUnit, ABrokenSurrogateIsKeptAsTheReplacementCharacter, AnyTextIsAName,
                            NamesCompareWithoutCase, AValueOfTheOtherTypeIsMissing, AWriteLeavesEveryOtherValue,
                            ANodeIsTheSameHoweverItsPathIsSpelled, ValuesOutliveTheirKey);

}  // namespace vexcap::test
