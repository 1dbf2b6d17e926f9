#include "platform/linux/folders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include "base/text.h"
#include "platform/linux/errno_status.h"
#include "platform/linux/file.h"

namespace vexcap {
namespace {

namespace fs = std::filesystem;

constexpr size_t largestUserEntry = 1 << 20;
constexpr size_t largestDirectoryList = 1 << 16;

std::optional<fs::path> homeFolder() {
    if (auto home = environmentFolder("HOME")) return home;
    passwd entry = {};
    passwd* found = nullptr;
    for (std::vector<char> texts(1024); texts.size() <= largestUserEntry; texts.resize(texts.size() * 2)) {
        const int failure = ::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found);
        if (failure == ERANGE || failure == EINTR) continue;
        return found && entry.pw_dir && *entry.pw_dir == '/' ? std::optional<fs::path>(entry.pw_dir) : std::nullopt;
    }
    return {};
}

/// Takes `start` and the blanks behind it from the front of `line`.
bool take(std::string_view& line, std::string_view start) {
    if (!line.starts_with(start)) return false;
    line.remove_prefix(start.size());
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return true;
}

/// The folder of a line XDG_DOCUMENTS_DIR="...", which begins with / or with $HOME.
std::optional<fs::path> documentsIn(std::string_view line, const std::optional<fs::path>& home) {
    take(line, "");
    if (!take(line, "XDG_DOCUMENTS_DIR") || !take(line, "=") || !line.starts_with('"')) return {};
    line.remove_prefix(1);
    std::string path;
    if (line.starts_with("$HOME/") || line.starts_with("$HOME\"")) {
        if (!home) return {};
        path = home->native();
        line.remove_prefix(5);
    } else if (!line.starts_with('/')) {
        return {};
    }
    for (; !line.empty(); line.remove_prefix(1)) {
        if (line.front() == '"') return path.erase(path.find_last_not_of('/') + 1).empty() ? "/" : path;
        if (line.front() == '\\' && line.size() > 1) line.remove_prefix(1);
        path += line.front();
    }
    return {};
}

std::string contentOf(const fs::path& path) {
    const auto file = LinuxFileSystem().Open(toUtf16(path.native()));
    if (!file.ok()) return {};
    std::string text(largestDirectoryList, '\0');
    const auto count = file.value()->ReadAt(0, std::as_writable_bytes(std::span(text)));
    text.resize(count.ok() ? count.value() : 0);
    return text;
}

/// The documents folder that the user chose; the last line of it counts.
std::optional<fs::path> chosenDocuments(const std::optional<fs::path>& home) {
    auto configuration = environmentFolder("XDG_CONFIG_HOME");
    if (!configuration && home) configuration = *home / ".config";
    if (!configuration) return {};
    std::optional<fs::path> documents;
    const std::string text = contentOf(*configuration / "user-dirs.dirs");
    for (std::string_view rest = text; !rest.empty();) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        if (auto folder = documentsIn(rest.substr(0, end), home)) documents = std::move(folder);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return documents;
}

/// A path of the system as text. One that is not UTF-8 fails, since its text would lead elsewhere.
Result<std::u16string> textOf(const fs::path& path) {
    std::u16string text = toUtf16(path.native());
    if (toUtf8(text) != path.native()) return VEX_E_PATH_NOT_FOUND;
    return text;
}

bool isFolder(const char* path) {
    struct stat about = {};
    return ::stat(path, &about) == 0 && S_ISDIR(about.st_mode);
}

bool hasZero(std::u16string_view path) { return path.find(u'\0') != path.npos; }

}  // namespace

std::optional<fs::path> environmentFolder(const char* variable) {
    const char* const value = std::getenv(variable);
    return value && *value == '/' ? std::optional<fs::path>(value) : std::nullopt;
}

Status makeFolders(const fs::path& path, mode_t mode) {
    const std::string& name = path.native();
    if (name.empty()) return VEX_E_PATH_NOT_FOUND;
    if (name.size() >= PATH_MAX) return statusFromErrno(ENAMETOOLONG);
    for (size_t end = 0; end < name.size();) {
        end = std::min(name.find('/', end + 1), name.size());
        const std::string folder = name.substr(0, end);
        if (::mkdir(folder.c_str(), mode) == 0) continue;
        // Whatever it failed with: there may be a folder that we could not have made.
        const int failure = errno;
        if (!isFolder(folder.c_str())) return failure == ENOENT ? VEX_E_PATH_NOT_FOUND : statusFromErrno(failure);
    }
    return S_OK;
}

Result<std::u16string> LinuxFolders::Documents() {
    const auto home = homeFolder();
    auto folder = chosenDocuments(home);
    if (!folder && home) folder = *home / "Documents";
    if (!folder) return VEX_E_PATH_NOT_FOUND;
    auto path = textOf(*folder);
    if (!path.ok()) return path;
    if (const Status s = Create(path.value()); !s.ok()) return s;
    return path;
}

Result<std::u16string> LinuxFolders::Current() {
    std::error_code failure;
    const fs::path path = fs::current_path(failure);
    if (failure) return statusFromErrno(failure.value());
    return textOf(path);
}

bool LinuxFolders::IsFolder(std::u16string_view path) { return !hasZero(path) && isFolder(toUtf8(path).c_str()); }

bool LinuxFolders::Exists(std::u16string_view path) {
    struct stat about = {};
    return !hasZero(path) && ::lstat(toUtf8(path).c_str(), &about) == 0;
}

Status LinuxFolders::Create(std::u16string_view path) {
    if (hasZero(path)) return E_INVALIDARG;
    return makeFolders(toUtf8(path), 0755);
}

}  // namespace vexcap
