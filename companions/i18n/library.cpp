// The three functions that the string library exports.
#include <dlfcn.h>
#include <stdlib.h>
#include <vexcap/string_library.h>

#include <filesystem>
#include <system_error>
#include <type_traits>

#include "companions/i18n/translator.h"

using namespace vexcap::i18n;

namespace {

/// The one that the user chose, else share/locale beside the folder of this library or up to two above:
/// PREFIX/share/locale for PREFIX/lib/vexcap and for PREFIX/lib/ARCHITECTURE/vexcap, wherever PREFIX lies.
std::filesystem::path localeFolder() {
    std::error_code failure;
    const char* const chosen = secure_getenv("VEXCAP_LOCALE_DIR");
    if (chosen && *chosen) return std::filesystem::absolute(chosen, failure);
    static const char anchor = 0;
    Dl_info self = {};
    if (!dladdr(&anchor, &self)) return {};
    const std::filesystem::path library = std::filesystem::canonical(self.dli_fname, failure).parent_path();
    if (failure) return {};
    std::filesystem::path prefix = library;
    for (int above = 0; above < 3; ++above) {
        prefix = prefix.parent_path();
        if (std::filesystem::is_directory(prefix / "share/locale", failure)) return prefix / "share/locale";
    }
    return {};
}

// Made when the library is loaded, while a relative path to it still holds, and never taken down: texts stay good to
// the end of the process.
Translator& translator = *new Translator(localeFolder());

const vex_char* translated(const Text* text) {
    if (!text) return nullptr;
    try {
        return translator.translated(*text);
    } catch (...) {
        return text->english;
    }
}

}  // namespace

VEXCAP_EXTERN_C_BEGIN

VEXCAP_API const vex_char* i18n_string(const char* key) { return translated(findText(key)); }

VEXCAP_API const vex_char* en_string(const char* key) {
    const Text* const text = findText(key);
    return text ? text->english : nullptr;
}

VEXCAP_API const vex_char* i18n_dialog(const char* dialog, uint32_t control) {
    return translated(findText(dialog, control));
}

VEXCAP_EXTERN_C_END

static_assert(std::is_same_v<decltype(&i18n_string), vex_i18n_string>);
static_assert(std::is_same_v<decltype(&en_string), vex_en_string>);
static_assert(std::is_same_v<decltype(&i18n_dialog), vex_i18n_dialog>);
