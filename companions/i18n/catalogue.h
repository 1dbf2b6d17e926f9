// The texts of one language.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "companions/i18n/texts.h"

namespace vexcap::i18n {

/// Translations from a file as msgfmt writes it. Only those are kept that can stand for the English text.
class Catalogue final {
public:
    /// @param file  The bytes of the file. It may be anything; of a damaged one no text is used.
    explicit Catalogue(std::string_view file);

    /// Null where the language has no usable text; the English text itself where both are the same.
    const char16_t* find(const Text& text) const;

private:
    std::unordered_map<const Text*, std::u16string> translations;
};

}  // namespace vexcap::i18n
