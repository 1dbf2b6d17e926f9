#include "platform/linux/settings.h"

#include <cstdlib>
#include <new>
#include <string>
#include <system_error>

#include "base/text.h"
#include "platform/linux/errno_status.h"

namespace vexcap {
namespace {

struct DirectoryKey final : ISettingsKey {};

std::string fileName(std::u16string_view name) {
    std::string utf8 = toUtf8(name);
    for (char& c : utf8)
        if (c == '/' || c == '\0') c = '_';
    if (utf8.empty() || utf8 == "." || utf8 == "..") utf8.insert(0, 1, '_');
    return utf8;
}

}  // namespace

std::filesystem::path settingsPath(const std::filesystem::path& root, std::u16string_view path) {
    std::filesystem::path result = root;
    for (size_t start = 0; start <= path.size();) {
        const size_t end = std::min(path.find(u'\\', start), path.size());
        result /= fileName(path.substr(start, end - start));
        start = end + 1;
    }
    return result;
}

Result<std::unique_ptr<ISettingsKey>> LinuxSettings::CreateKey(vex_key* root, std::u16string_view path) {
    if (!root) return E_INVALIDARG;
    std::error_code failure;
    std::filesystem::create_directories(settingsPath(root->directory, path), failure);
    if (failure) return statusFromErrno(failure.value());
    return std::unique_ptr<ISettingsKey>(std::make_unique<DirectoryKey>());
}

}  // namespace vexcap

vex_key* vex_key_directory(const char* path) {
    if (!path || !*path) return nullptr;
    try {
        return new vex_key{path};
    } catch (...) {
        return nullptr;
    }
}

vex_key* vex_key_user(void) {
    try {
        // A relative value counts as not set, as the base directory rules say.
        if (const char* const config = std::getenv("XDG_CONFIG_HOME"); config && *config == '/')
            return vex_key_directory(config);
        const char* const home = std::getenv("HOME");
        return home && *home ? vex_key_directory((std::filesystem::path(home) / ".config").c_str()) : nullptr;
    } catch (...) {
        return nullptr;
    }
}

void vex_key_free(vex_key* key) { delete key; }
