#include "companions/i18n/catalogue.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "base/text.h"

namespace vexcap::i18n {
namespace {

// The file: this number, a revision, how many texts there are, where the table of identifiers and that of translations
// begin. An entry of a table is the length and the place of a string, behind which stands a zero.
constexpr uint32_t magic = 0x950412DE;
constexpr size_t countField = 8, idsField = 12, translationsField = 16, headerBytes = 20;
constexpr uint64_t entryBytes = 8;

/// The C library's reader trusts the places in a file and reads beyond its end where they are wrong; this one does not.
class CatalogueFile final {
public:
    explicit CatalogueFile(std::string_view file) : bytes(file) {}

    /// Translations by identifier; empty for a damaged file.
    std::unordered_map<std::string_view, std::string_view> texts() {
        if (bytes.size() < headerBytes) return {};
        highByteFirst = number(0) != magic;
        if (number(0) != magic) return {};
        const uint64_t count = number(countField), ids = number(idsField), translations = number(translationsField);
        if (std::max(ids, translations) + count * entryBytes > bytes.size()) return {};
        std::unordered_map<std::string_view, std::string_view> found;
        for (uint64_t i = 0; i < count; ++i) {
            std::string_view id, translation;
            if (!string(ids + i * entryBytes, id) || !string(translations + i * entryBytes, translation)) return {};
            found.emplace(id, translation);
        }
        return found;
    }

private:
    uint32_t number(uint64_t position) const {
        uint32_t value = 0;
        for (unsigned i = 0; i < 4; ++i)
            value |= uint32_t(uint8_t(bytes[position + i])) << 8 * (highByteFirst ? 3 - i : i);
        return value;
    }

    bool string(uint64_t entry, std::string_view& out) const {
        const uint64_t length = number(entry), begin = number(entry + 4);
        if (begin + length >= bytes.size() || bytes[begin + length] != 0) return false;
        out = bytes.substr(begin, length);
        return true;
    }

    const std::string_view bytes;
    bool highByteFirst = false;
};

/// Types of the values that formatText puts into a text, in order: "s", "u", "lld".
std::vector<std::string_view> conversionsOf(std::string_view text) {
    std::vector<std::string_view> found;
    size_t at = 0;
    const auto skip = [&](std::string_view set) { at = std::min(text.find_first_not_of(set, at), text.size()); };
    const auto skipIf = [&](char letter) { return at < text.size() && text[at] == letter && ++at; };
    while ((at = text.find('%', at)) != text.npos) {
        ++at;
        if (skipIf('%')) continue;
        skip("-0");
        skip("0123456789");
        if (skipIf('.')) skip("0123456789");
        const size_t type = at;
        if (!skipIf('h') && skipIf('l')) skipIf('l');
        if (text.find_first_of("scdiuxXf", at) == at) found.push_back(text.substr(type, ++at - type));
    }
    return found;
}

bool usable(std::string_view english, std::string_view translation, std::u16string_view decoded) {
    return !decoded.empty() && decoded.find(u'\0') == decoded.npos &&
           decoded.find(u'\uFFFD') == decoded.npos &&  // nothing that was no UTF-8
           conversionsOf(english) == conversionsOf(translation);
}

}  // namespace

Catalogue::Catalogue(std::string_view file) {
    const auto texts = CatalogueFile(file).texts();
    for (const Text& text : allTexts()) {
        const auto found = texts.find(text.id);
        if (found == texts.end()) continue;
        std::u16string decoded = toUtf16(found->second);
        if (usable(std::strchr(text.id, '\004') + 1, found->second, decoded))
            translations.emplace(&text, std::move(decoded));
    }
}

const char16_t* Catalogue::find(const Text& text) const {
    const auto found = translations.find(&text);
    if (found == translations.end()) return nullptr;
    return found->second == text.english ? text.english : found->second.c_str();
}

}  // namespace vexcap::i18n
