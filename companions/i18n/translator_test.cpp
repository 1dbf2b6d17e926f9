#include "companions/i18n/translator.h"

#include <gtest/gtest.h>
#include <locale.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <set>
#include <thread>

#include "companions/i18n/locales_testing.h"

namespace vexcap::i18n {
namespace translator_test {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

TEST(CataloguesFor, TheLocaleGoesFromTheSpecialToTheGeneral) {
    EXPECT_EQ(cataloguesFor("de", ""), (Names{"de"}));
    EXPECT_EQ(cataloguesFor("de_AT.UTF-8", ""), (Names{"de_AT", "de"}));
    EXPECT_EQ(cataloguesFor("de_AT@euro", ""), (Names{"de_AT@euro", "de@euro", "de_AT", "de"}));
    EXPECT_EQ(cataloguesFor("sr_RS.UTF-8@latin", ""), (Names{"sr_RS@latin", "sr@latin", "sr_RS", "sr"}));
}

TEST(CataloguesFor, LanguageCountsBeforeTheLocale) {
    EXPECT_EQ(cataloguesFor("de_DE.UTF-8", "fr"), (Names{"fr"}));
    EXPECT_EQ(cataloguesFor("en_US.UTF-8", "de_AT:fr_CA:de"), (Names{"de_AT", "de", "fr_CA", "fr"}));
    EXPECT_EQ(cataloguesFor("en_US.UTF-8", "::de:"), (Names{"de"}));
    EXPECT_EQ(cataloguesFor("C.UTF-8", "de"), (Names{"de"}));
}

TEST(CataloguesFor, TheCLocaleIsEnglishWhateverLanguageSays) {
    for (const char* locale : {"C", "POSIX"}) EXPECT_EQ(cataloguesFor(locale, "de"), Names{});
    EXPECT_EQ(cataloguesFor("C.UTF-8", ""), Names{});
    EXPECT_EQ(cataloguesFor("", ""), Names{});
}

TEST(CataloguesFor, AListEndsAtEnglish) {
    EXPECT_EQ(cataloguesFor("de_DE.UTF-8", "en_US:de"), (Names{"en_US", "en"}));
    EXPECT_EQ(cataloguesFor("de_DE.UTF-8", "fr:en:de"), (Names{"fr", "en"}));
    EXPECT_EQ(cataloguesFor("de_DE.UTF-8", "fr:C:de"), (Names{"fr"}));
    EXPECT_EQ(cataloguesFor("de_DE.UTF-8", "POSIX:de"), Names{});
}

TEST(CataloguesFor, WhatIsNoNameLeadsNowhere) {
    for (const char* preferred : {"../../etc", "..", ".", "/tmp/de", "de/../fr", "@euro", "_DE", "de fr", "d\xC3\xA9"})
        EXPECT_EQ(cataloguesFor("de_DE.UTF-8", preferred), Names{}) << preferred;
    EXPECT_EQ(cataloguesFor("de_DE.UTF-8", "../x:fr"), (Names{"fr"}));
}

class TranslatorTest : public testing::Test {
protected:
    /// A catalogue for `language` with these bytes, below the test's own locale folder.
    fs::path put(const std::string& language, const std::string& bytes) {
        const fs::path file = folder.path() / language / "LC_MESSAGES/vexcap.mo";
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }
    static std::string german() {
        std::ifstream file(BUILT_LOCALES "/de/LC_MESSAGES/vexcap.mo", std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::u16string text(const char* key) { return translator.translated(*findText(key)); }

    TestLocales locales;
    const test::TempDir folder;
    Translator translator{BUILT_LOCALES};
    const Text& yes = *findText("ids_yes");
};

TEST_F(TranslatorTest, AGermanUserReadsGerman) {
    locales.choose("de_DE.UTF-8");
    EXPECT_EQ(text("ids_yes"), u"Ja");
    EXPECT_EQ(text("ids_height"), u"Höhe");
    locales.choose("de_AT");
    EXPECT_EQ(text("ids_savedlgreplace"), u"%s ist schon vorhanden. Ersetzen?");
}

TEST_F(TranslatorTest, AUserOfAnyLocaleCanChooseGerman) {
    locales.choose("en_US.UTF-8", "de");
    EXPECT_EQ(text("ids_yes"), u"Ja");
    locales.choose("C.UTF-8", "de");
    EXPECT_EQ(text("ids_yes"), u"Ja");
}

TEST_F(TranslatorTest, WithoutALanguageTextsAreEnglish) {
    for (const char* locale : {"C.UTF-8", "en_GB.UTF-8", "xx_YY.UTF-8"}) {
        locales.choose(locale);
        for (const Text& each : allTexts()) EXPECT_EQ(translator.translated(each), each.english) << locale;
    }
}

TEST_F(TranslatorTest, TheCLocaleIsEnglish) {
    ::setenv("LANGUAGE", "de", 1);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(translator.translated(yes), yes.english);
}

TEST_F(TranslatorTest, GermanIsComplete) {
    const std::string file = german();
    ASSERT_FALSE(file.empty());
    const Catalogue catalogue(file);
    for (const Text& each : allTexts())
        EXPECT_NE(catalogue.find(each), nullptr) << "missing, or its conversions differ: " << each.id;
}

// The listing of what is known about the system finds its rows by their labels.
TEST_F(TranslatorTest, NoTwoKeysHaveTheSameTextInALanguage) {
    for (const auto& language : fs::directory_iterator(BUILT_LOCALES)) {
        locales.choose("en_US.UTF-8", language.path().filename());
        std::set<std::u16string> seen;
        for (const Text& each : allTexts())
            EXPECT_TRUE(!each.key || seen.insert(translator.translated(each)).second) << language << ", " << each.key;
    }
}

TEST_F(TranslatorTest, TheSameTextIsAlwaysGivenByTheSamePointer) {
    locales.choose("de_DE.UTF-8");
    const char16_t* const first = translator.translated(yes);
    locales.choose("de_AT.UTF-8");
    for (const Text& each : allTexts()) translator.translated(each);
    EXPECT_EQ(translator.translated(yes), first);
}

TEST_F(TranslatorTest, ANewLanguageCountsFromTheNextCallOnAndOldTextsStay) {
    locales.choose("de_DE.UTF-8");
    const char16_t* const before = translator.translated(yes);
    locales.choose("en_US.UTF-8");
    EXPECT_EQ(translator.translated(yes), yes.english);
    locales.choose("en_US.UTF-8", "de");
    EXPECT_EQ(translator.translated(yes), before);
    EXPECT_EQ(std::u16string(before), u"Ja");
}

TEST_F(TranslatorTest, AThreadMayHaveALanguageOfItsOwn) {
    locales.choose("de_DE.UTF-8");
    const locale_t own = duplocale(LC_GLOBAL_LOCALE);
    ASSERT_NE(own, locale_t(0));
    locales.choose("en_US.UTF-8");
    std::thread([&] {
        uselocale(own);
        EXPECT_EQ(text("ids_yes"), u"Ja");
    }).join();
    freelocale(own);
    EXPECT_EQ(text("ids_yes"), u"Yes");
}

TEST_F(TranslatorTest, WhatALanguageLacksIsTakenFromTheNext) {
    // "Maybe" for yes, and nothing else.
    const std::string id = yes.id, translation = "Maybe";
    const auto number = [](size_t value) { return std::string{char(value), char(value >> 8), 0, 0}; };
    put("de_CH", "\xDE\x12\x04\x95" + number(0) + number(1) + number(20) + number(28) + number(id.size()) + number(36) +
                     number(translation.size()) + number(36 + id.size() + 1) + id + '\0' + translation + '\0');
    put("de", german());
    Translator own(folder.path());
    locales.choose("de_CH.UTF-8");
    EXPECT_EQ(std::u16string(own.translated(yes)), u"Maybe");
    EXPECT_EQ(std::u16string(own.translated(*findText("ids_no"))), u"Nein");
}

TEST_F(TranslatorTest, ADamagedCatalogueIsEnglish) {
    const std::string whole = german();
    put("aa", "");
    put("bb", "no catalogue");
    put("cc", whole.substr(0, whole.size() / 2));
    fs::create_directories(put("dd", "").replace_filename("elsewhere"));
    fs::remove(folder.path() / "dd/LC_MESSAGES/vexcap.mo");
    fs::create_directory(folder.path() / "dd/LC_MESSAGES/vexcap.mo");
    const fs::path pipe = put("ee", "");
    fs::remove(pipe);
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    fs::resize_file(put("ff", whole), uintmax_t(1) << 33);
    Translator own(folder.path());
    for (const char* language : {"aa", "bb", "cc", "dd", "ee", "ff", "gg"}) {
        locales.choose("en_US.UTF-8", language);
        for (const Text& each : allTexts()) ASSERT_EQ(own.translated(each), each.english) << language;
    }
}

TEST_F(TranslatorTest, WithoutAFolderTextsAreEnglish) {
    locales.choose("de_DE.UTF-8");
    for (const fs::path& missing : {fs::path(), folder.path() / "missing"}) {
        Translator own(missing);
        EXPECT_EQ(own.translated(yes), yes.english);
    }
}

TEST_F(TranslatorTest, AnyThreadMayAskWhileAnotherChangesTheLanguage) {
    locales.choose("en_US.UTF-8");
    locales.choose("de_DE.UTF-8");
    std::atomic<bool> end = false;
    std::atomic<size_t> asked = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            while (!end) {
                const std::u16string found = translator.translated(yes);
                EXPECT_TRUE(found == u"Ja" || found == u"Yes");
                ++asked;
            }
        });
    for (int i = 0; i < 200 || asked < 400; ++i) {
        std::setlocale(LC_ALL, i % 2 ? "de_DE.UTF-8" : "en_US.UTF-8");
        std::this_thread::yield();
    }
    end = true;
    for (std::thread& thread : threads) thread.join();
}

}  // namespace translator_test
}  // namespace vexcap::i18n
