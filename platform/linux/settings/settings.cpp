#include "platform/linux/settings/settings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <string>
#include <system_error>

#include "base/mutex.h"
#include "base/text.h"
#include "platform/linux/errno_status.h"
#include "platform/linux/folders.h"
#include "platform/linux/settings/settings_store.h"

namespace vexcap {
namespace {

namespace fs = std::filesystem;

class StoreKey final : public ISettingsKey {
public:
    StoreKey(fs::path rootDirectory, std::u16string_view node) : root(std::move(rootDirectory)), path(node) {}

    std::optional<uint32_t> ReadNumber(std::u16string_view name) override {
        return findNumber(Store().Read(), toUtf8(name));
    }
    std::optional<std::u16string> ReadText(std::u16string_view name) override {
        const auto text = findText(Store().Read(), toUtf8(name));
        return text ? std::optional(toUtf16(*text)) : std::nullopt;
    }
    Status WriteNumber(std::u16string_view name, uint32_t value) override { return Store().Write(toUtf8(name), value); }
    Status WriteText(std::u16string_view name, std::u16string_view value) override {
        return Store().Write(toUtf8(name), toUtf8(value));
    }
    std::u16string Problem() override { return toUtf16(Store().Problem()); }

private:
    /// While the folder is missing the file is looked for anew each time: another key or program, which may spell the
    /// path differently, makes it meanwhile.
    SettingsStore Store() VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        if (!settled) {
            file = settingsPath(root, path);
            std::error_code missing;
            settled = fs::is_directory(file.parent_path(), missing);
        }
        return SettingsStore(file);
    }

    const fs::path root;
    const std::u16string path;
    Mutex lock;
    fs::path file VEX_GUARDED_BY(lock);
    bool settled VEX_GUARDED_BY(lock) = false;
};

/// Whether files can be made in `folder`, or it can be made where it is missing.
Status writable(fs::path folder) {
    struct stat about = {};
    while (::stat(folder.c_str(), &about) != 0) {
        if (errno != ENOENT || !folder.has_relative_path()) return statusFromErrno(errno);
        folder = folder.parent_path();
    }
    if (!S_ISDIR(about.st_mode)) return statusFromErrno(ENOTDIR);
    return ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? Status(S_OK) : statusFromErrno(errno);
}

std::string fileName(std::u16string_view name) {
    std::string utf8 = toUtf8(name);
    for (char& c : utf8)
        if (c == '/' || c == '\0') c = '_';
    if (utf8.empty() || utf8 == "." || utf8 == "..") utf8.insert(0, 1, '_');
    return utf8;
}

enum class Kind { Folder, Any };

/// What the directory has under this name, in whatever case; of several the first by their bytes, so that every
/// program takes the same. `name` as it is when there is none.
std::string presentName(const fs::path& directory, const std::string& name, Kind kind) {
    std::string present;
    std::error_code failure;
    for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end; entry.increment(failure)) {
        std::string other = entry->path().filename().native();
        std::error_code unknown;
        if (!sameName(other, name) || (kind == Kind::Folder && !entry->is_directory(unknown))) continue;
        if (present.empty() || other < present) present = std::move(other);
    }
    return present.empty() ? name : present;
}

}  // namespace

fs::path settingsPath(const fs::path& root, std::u16string_view path) {
    fs::path result = root;
    for (;;) {
        const size_t end = path.find(u'\\');
        std::string name = fileName(path.substr(0, end));
        if (end == path.npos) {
            // The file is made later, by the first write: until then nothing shows how another program spells it.
            std::transform(name.begin(), name.end(), name.begin(), lowered);
            return result / presentName(result, name + ".toml", Kind::Any);
        }
        result /= presentName(result, name, Kind::Folder);
        path.remove_prefix(end + 1);
    }
}

Result<std::unique_ptr<ISettingsKey>> LinuxSettings::CreateKey(vex_key* root, std::u16string_view path) {
    if (!root) return E_INVALIDARG;
    // Where it is now: the host may change its current directory.
    std::error_code failure;
    const fs::path directory = fs::absolute(root->directory, failure);
    if (failure) return statusFromErrno(failure.value());
    if (const Status s = writable(settingsPath(directory, path).parent_path()); !s.ok()) return s;
    return std::unique_ptr<ISettingsKey>(std::make_unique<StoreKey>(directory, path));
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
        if (auto configuration = vexcap::environmentFolder("XDG_CONFIG_HOME"))
            return new vex_key{*std::move(configuration)};
        const auto home = vexcap::environmentFolder("HOME");
        return home ? new vex_key{*home / ".config"} : nullptr;
    } catch (...) {
        return nullptr;
    }
}

void vex_key_free(vex_key* key) { delete key; }
