// Texts in the language of the user.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/mutex.h"
#include "companions/i18n/catalogue.h"
#include "companions/i18n/texts.h"

namespace vexcap::i18n {

/// The names of the catalogues that a user wants, the best one first: "de_AT", "de". English needs none, and what
/// stands behind it in a list is not wanted.
/// @param locale     Name of the locale for messages: "de_AT.UTF-8".
/// @param preferred  The environment variable LANGUAGE: names like that with colons between them, or empty. It counts
///                   before the locale, unless that is "C".
std::vector<std::string> cataloguesFor(std::string_view locale, std::string_view preferred);

/// Any thread.
class Translator final {
public:
    /// @param localeFolder  Holds LANGUAGE/LC_MESSAGES/vexcap.mo, each of which is read when it is first wanted. An
    ///                      empty path: there are none.
    explicit Translator(std::filesystem::path localeFolder) : folder(std::move(localeFolder)) {}

    /// In the language of the calling thread as it is now, or in English. Good as long as the translator.
    const char16_t* translated(const Text& text) VEX_EXCLUDES(lock);

private:
    const Catalogue& Find(const std::string& name) VEX_REQUIRES(lock);

    const std::filesystem::path folder;
    Mutex lock;
    std::map<std::string, const Catalogue> catalogues VEX_GUARDED_BY(lock);  // none is ever taken out
};

}  // namespace vexcap::i18n
