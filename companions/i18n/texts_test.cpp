#include "companions/i18n/texts.h"

#include <gtest/gtest.h>
#include <vexcap/string_library.h>

#include <cstring>
#include <set>
#include <string>
#include <utility>

#include "base/text.h"

namespace vexcap::i18n {
namespace texts_test {

TEST(Texts, EachIsOfAKeyOrOfADialog) {
    ASSERT_FALSE(allTexts().empty());
    for (const Text& text : allTexts()) {
        ASSERT_NE(text.key == nullptr, text.dialog == nullptr) << text.id;
        if (text.key) {
            EXPECT_TRUE(std::string(text.key).starts_with("ids_")) << text.id;
            EXPECT_EQ(findText(text.key), &text) << "twice: " << text.id;
        } else {
            EXPECT_TRUE(std::string(text.dialog).starts_with("IDD_")) << text.id;
            EXPECT_EQ(findText(text.dialog, text.control), &text) << "twice: " << text.id;
        }
    }
}

TEST(Texts, EachIsValidAndNotEmpty) {
    for (const Text& text : allTexts()) {
        const std::u16string_view english = text.english;
        EXPECT_FALSE(english.empty()) << text.id;
        EXPECT_EQ(english.find(u'\uFFFD'), english.npos) << text.id;
        EXPECT_NE(english.front(), u' ') << text.id;
        EXPECT_NE(english.back(), u' ') << text.id;
    }
}

TEST(Texts, TheIdentifierIsTheContextAndTheEnglishText) {
    for (const Text& text : allTexts())
        EXPECT_EQ(toUtf16(text.id), toUtf16(text.key ? text.key : text.dialog) + u'\004' + text.english);
}

TEST(Texts, EachIdentifierIsOfOneText) {
    std::set<std::string> seen;
    for (const Text& text : allTexts()) EXPECT_TRUE(seen.insert(text.id).second) << text.id;
}

// The listing of what is known about the system finds its rows by their labels.
TEST(Texts, NoTwoKeysHaveTheSame) {
    std::set<std::u16string_view> seen;
    for (const Text& text : allTexts()) EXPECT_TRUE(!text.key || seen.insert(text.english).second) << text.id;
}

TEST(Texts, NoKeysTextEndsInAColon) {
    for (const Text& text : allTexts()) EXPECT_TRUE(text.dialog || !std::u16string_view(text.english).ends_with(u':'));
}

TEST(Texts, EveryDialogHasATitleAndItsButtons) {
    std::set<std::string> dialogs;
    for (const Text& text : allTexts())
        if (text.dialog) dialogs.insert(text.dialog);
    EXPECT_GE(dialogs.size(), 3u);
    for (const std::string& dialog : dialogs)
        for (const uint32_t control : {VEX_DIALOG_TITLE, VEX_DIALOG_OK, VEX_DIALOG_CANCEL})
            EXPECT_NE(findText(dialog.c_str(), control), nullptr) << dialog << ", " << control;
}

TEST(Texts, WhatIsNotInTheTableHasNone) {
    EXPECT_EQ(findText(nullptr), nullptr);
    EXPECT_EQ(findText(nullptr, 0), nullptr);
    for (const char* key :
         {"", "ids_", "ids_yes ", " ids_yes", "IDS_YES", "ids_ye", "ids_yess", "IDD_AUTO", "\xFF\x01"})
        EXPECT_EQ(findText(key), nullptr) << key;
    EXPECT_EQ(findText(std::string(1 << 20, 'i').c_str()), nullptr);
    EXPECT_EQ(findText("ids_yes", 0), nullptr);
    EXPECT_EQ(findText("IDD_AUTO", 4000000000), nullptr);
    EXPECT_EQ(findText("IDD_AUTO", VEX_RECORD_BASE), nullptr);
    EXPECT_EQ(findText("IDD_NOBODY", 0), nullptr);
}

}  // namespace texts_test
}  // namespace vexcap::i18n
