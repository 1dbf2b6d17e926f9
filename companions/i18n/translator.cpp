#include "companions/i18n/translator.h"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace vexcap::i18n {
namespace {

constexpr uintmax_t largestFile = 16 << 20;

constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

/// A name becomes part of a path, so it must not lead anywhere.
bool isName(std::string_view name) {
    return !name.empty() && letters.find(name.front()) != letters.npos &&
           name.find_first_not_of(std::string(letters) + "0123456789_-.@") == name.npos;
}

/// Of the thread, which follows setlocale unless it has a locale of its own.
std::string messageLocale() {
    // A copy, since another thread may call setlocale at any time.
    const locale_t copy = duplocale(uselocale(locale_t(0)));
    if (!copy) return "C";
    const std::string name = nl_langinfo_l(_NL_LOCALE_NAME(LC_MESSAGES), copy);
    freelocale(copy);
    return name;
}

std::string contentOf(const std::filesystem::path& path) {
    std::error_code failure;
    // A pipe would never end.
    if (!std::filesystem::is_regular_file(path, failure)) return "";
    if (std::filesystem::file_size(path, failure) > largestFile) return "";
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::vector<std::string> cataloguesFor(std::string_view locale, std::string_view preferred) {
    std::vector<std::string> names;
    if (locale == "C" || locale == "POSIX") return names;
    std::string_view rest = preferred.empty() ? locale : preferred;
    while (!rest.empty()) {
        const std::string_view name = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(name.size() + 1, rest.size()));
        if (!isName(name)) continue;
        // language[_COUNTRY][.charset][@modifier]
        const std::string_view place = name.substr(0, name.find_first_of(".@"));
        const std::string_view modifier = name.substr(std::min(name.find('@'), name.size()));
        const std::string_view language = place.substr(0, place.find('_'));
        if (language == "C" || language == "POSIX") break;
        for (const std::string_view variant : {modifier, std::string_view()})
            for (const std::string_view part : {place, language}) {
                std::string candidate = std::string(part).append(variant);
                if (std::find(names.begin(), names.end(), candidate) == names.end())
                    names.push_back(std::move(candidate));
            }
        if (language == "en") break;
    }
    return names;
}

const char16_t* Translator::translated(const Text& text) {
    const char* const preferred = std::getenv("LANGUAGE");
    const std::vector<std::string> names = cataloguesFor(messageLocale(), preferred ? preferred : "");
    const MutexGuard guard(lock);
    for (const std::string& name : names)
        if (const char16_t* const found = Find(name).find(text)) return found;
    return text.english;
}

const Catalogue& Translator::Find(const std::string& name) {
    const auto known = catalogues.find(name);
    if (known != catalogues.end()) return known->second;
    const std::string file = folder.empty() ? "" : contentOf(folder / name / "LC_MESSAGES/vexcap.mo");
    return catalogues.emplace(name, file).first->second;
}

}  // namespace vexcap::i18n
