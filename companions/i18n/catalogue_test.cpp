#include "companions/i18n/catalogue.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "base/text.h"

namespace vexcap::i18n {
namespace catalogue_test {

using namespace std::string_literals;

using Translations = std::map<std::string, std::string>;

/// A file as msgfmt writes it: the header, the two tables, the strings.
std::string fileOf(const Translations& translations, bool highByteFirst = false) {
    std::string head, tables, strings;
    const auto put = [&](std::string& out, size_t value) {
        for (unsigned i = 0; i < 4; ++i) out += char(value >> 8 * (highByteFirst ? 3 - i : i));
    };
    const size_t tableBytes = translations.size() * 8;
    for (const size_t number : {size_t(0x950412DE), size_t(0), translations.size(), size_t(20), 20 + tableBytes})
        put(head, number);
    const auto add = [&](const std::string& text) {
        put(tables, text.size());
        put(tables, 20 + 2 * tableBytes + strings.size());
        strings += text + '\0';
    };
    for (const auto& [id, translation] : translations) add(id);
    for (const auto& [id, translation] : translations) add(translation);
    return head + tables + strings;
}

std::string idOf(const char* key) { return findText(key)->id; }

/// What a catalogue with this one translation gives for the key.
const char16_t* foundFor(const char* key, const std::string& translation) {
    static std::vector<Catalogue> kept;
    kept.reserve(1000);  // what they give stays where it is
    kept.emplace_back(fileOf({{idOf(key), translation}}));
    return kept.back().find(*findText(key));
}

TEST(Catalogue, TextsAreFoundByTheirContextAndTheEnglishText) {
    const Catalogue catalogue(fileOf({{"", "Content-Type: text/plain; charset=UTF-8\n"},
                                      {"ids_yes\004Yes", "Ja"},
                                      {"ids_no\004Nay", "Nein"},
                                      {"Error", "Fehler"},
                                      {"IDD_AUTO\004Prefix:", "Präfix:"}}));
    EXPECT_EQ(std::u16string(catalogue.find(*findText("ids_yes"))), u"Ja");
    EXPECT_EQ(std::u16string(catalogue.find(*findText("IDD_AUTO", 102))), u"Präfix:");
    EXPECT_EQ(catalogue.find(*findText("ids_no")), nullptr) << "the English text has changed since";
    EXPECT_EQ(catalogue.find(*findText("ids_error")), nullptr) << "a text of something else";
}

TEST(Catalogue, EitherByteOrderIsRead) {
    for (const bool highByteFirst : {false, true}) {
        const Catalogue catalogue(fileOf({{idOf("ids_year"), "Année"}, {idOf("ids_day"), "Jour"}}, highByteFirst));
        EXPECT_EQ(std::u16string(catalogue.find(*findText("ids_year"))), u"Année");
        EXPECT_EQ(std::u16string(catalogue.find(*findText("ids_day"))), u"Jour");
    }
}

TEST(Catalogue, ATextThatIsTheSameIsTheEnglishOne) {
    EXPECT_EQ(foundFor("ids_gamma", "Gamma"), findText("ids_gamma")->english);
}

TEST(Catalogue, AnEmptyTextIsNone) {
    EXPECT_EQ(foundFor("ids_yes", ""), nullptr);
    EXPECT_EQ(foundFor("ids_yes", "\0Ja"s), nullptr);
}

TEST(Catalogue, ATextThatIsCutIsNone) { EXPECT_EQ(foundFor("ids_yes", "Ja\0wohl"s), nullptr); }

TEST(Catalogue, ATextThatIsNoUtf8IsNone) {
    EXPECT_EQ(foundFor("ids_height", "H\xF6he"), nullptr);
    EXPECT_EQ(std::u16string(foundFor("ids_height", "H\xC3\xB6he")), u"Höhe");
    EXPECT_EQ(std::u16string(foundFor("ids_height", "\xF0\x9F\x94\xAD")), u"\U0001F52D");
}

TEST(Catalogue, ATextWithOtherConversionsThanTheEnglishOneIsNone) {
    const struct {
        const char* key;  // "%s ...", "... %u ... %u ...", and without any
        std::string translation;
        bool usable;
    } table[] = {
        {"ids_savedlgreplace", "%s ersetzen?", true},
        {"ids_savedlgreplace", "Ersetzen: %s", true},
        {"ids_savedlgreplace", "%-5.3s ersetzen?", true},
        {"ids_savedlgreplace", "%s zu 100%% ersetzen?", true},
        {"ids_savedlgreplace", "%s zu 100 % ersetzen?", true},
        {"ids_savedlgreplace", "Ersetzen?", false},
        {"ids_savedlgreplace", "%s und %s ersetzen?", false},
        {"ids_savedlgreplace", "%d ersetzen?", false},
        {"ids_savedlgreplace", "%1$s ersetzen?", false},
        {"ids_savedlgreplace", "%%s ersetzen?", false},
        {"ids_savedlgreplace", "% ersetzen?", false},
        {"ids_savedlgreplace", "ersetzen %", false},
        {"ids_savedlgreplace", "ersetzen %5.3l", false},
        {"ids_stepqualityminmax", "%u bis %u", true},
        {"ids_stepqualityminmax", "%02u bis %02u", true},
        {"ids_stepqualityminmax", "%u bis %s", false},
        {"ids_stepqualityminmax", "%u bis %d", false},
        {"ids_stepqualityminmax", "%u bis %hu", false},
        {"ids_stepqualityminmax", "%u bis %lu", false},
        {"ids_stepqualityminmax", "%u bis %llu", false},
        {"ids_stepqualityminmax", "bis %u", false},
        {"ids_yes", "Ja, zu 100%", true},
        {"ids_yes", "Ja %s", false},
        {"ids_yes", "%lld", false},
    };
    for (const auto& row : table)
        EXPECT_EQ(foundFor(row.key, row.translation) != nullptr, row.usable) << row.translation;
}

/// Every text that it gives, so that a bad pointer would be met.
size_t unitsIn(const Catalogue& catalogue) {
    size_t units = 0;
    for (const Text& text : allTexts())
        if (const char16_t* const found = catalogue.find(text)) units += std::u16string_view(found).size();
    return units;
}

Translations everything() {
    Translations translations;
    for (const Text& text : allTexts()) translations[text.id] = toUtf8(text.english);
    return translations;
}

TEST(Catalogue, AFileThatIsCutHasNoTexts) {
    const std::string whole = fileOf(everything());
    ASSERT_GT(unitsIn(Catalogue(whole)), 2000u);
    for (size_t length = 0; length < whole.size(); length += length < 100 ? 1 : 37)
        ASSERT_EQ(unitsIn(Catalogue(whole.substr(0, length))), 0u) << length << " bytes";
    EXPECT_EQ(unitsIn(Catalogue(std::string_view(whole).substr(0, whole.size() - 1))), 0u);
}

TEST(Catalogue, ADamagedByteIsSurvived) {
    const std::string whole = fileOf({{idOf("ids_yes"), "Ja"}, {idOf("ids_savedlgreplace"), "%s ersetzen?"}});
    for (size_t position = 0; position < whole.size(); ++position)
        for (const unsigned bits : {1, 2, 4, 8, 16, 32, 64, 128, 255}) {
            std::string damaged = whole;
            damaged[position] = char(uint8_t(damaged[position]) ^ bits);
            ASSERT_LT(unitsIn(Catalogue(damaged)), whole.size());
        }
}

TEST(Catalogue, NumbersThatPointBeyondTheFileAreNotFollowed) {
    const std::string whole = fileOf({{idOf("ids_yes"), "Ja"}});
    for (const size_t field : {8, 12, 16, 20, 24, 28, 32})
        for (const uint32_t value : {0xFFFFFFFFu, 0xFFFFFFF8u, 0x80000000u, 0x20000000u, uint32_t(whole.size())}) {
            std::string damaged = whole;
            for (unsigned i = 0; i < 4; ++i) damaged[field + i] = char(value >> 8 * i);
            EXPECT_EQ(unitsIn(Catalogue(damaged)), 0u) << field << ": " << value;
        }
}

}  // namespace catalogue_test
}  // namespace vexcap::i18n
