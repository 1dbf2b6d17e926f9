#include "platform/linux/settings/settings_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <span>
#include <thread>

#include "platform/linux/errno_status.h"
#include "platform/linux/file.h"
#include "platform/linux/folders.h"
#include "platform/linux/unique_fd.h"

namespace vexcap {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr size_t largestFile = 1 << 20;
constexpr int mostKeptAside = 99;
constexpr int mostLinks = 40;
constexpr auto patience = std::chrono::seconds(2);
/// Short against the time that a writer holds the lock: one that writes again and again leaves only such gaps.
constexpr auto betweenAttempts = std::chrono::microseconds(200);

Status lastError() { return statusFromErrno(errno); }

fs::path beside(const fs::path& file, std::string_view before, std::string_view after) {
    return file.parent_path() / (std::string(before) + file.filename().native() + std::string(after));
}

/// The file that `path` means: itself, or what a link of this name leads to, there or not.
Result<fs::path> behindLinks(fs::path path) {
    for (int links = 0; links < mostLinks; ++links) {
        std::error_code noLink;
        const fs::path target = fs::read_symlink(path, noLink);
        if (noLink) return path;
        path = path.parent_path() / target;
    }
    return statusFromErrno(ELOOP);
}

/// The writers' turn. Given back by hand, since a child process that was made meanwhile has the descriptor, too.
struct Turn {
    explicit Turn(UniqueFd locked) : lock(std::move(locked)) {}
    Turn(Turn&&) = default;
    ~Turn() { ::flock(lock.get(), LOCK_UN); }
    UniqueFd lock;
};

Result<Turn> takeTurn(const fs::path& lockFile) {
    for (const auto deadline = Clock::now() + patience;;) {
        // Opened each time: somebody may have removed the file that we waited for.
        UniqueFd fd(::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600));
        if (!fd) return lastError();
        if (::flock(fd.get(), LOCK_EX | LOCK_NB) == 0) return Turn(std::move(fd));
        if (errno != EWOULDBLOCK && errno != EINTR) return lastError();
        if (Clock::now() >= deadline) return VEX_E_BUSY;
        std::this_thread::sleep_for(betweenAttempts);
    }
}

struct Content {
    std::optional<struct stat> about;  ///< Nothing when there is no file.
    std::optional<std::string> text;   ///< Nothing when it is no file of settings.
};

Result<Content> contentOf(const fs::path& path) {
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd && errno == ENOENT) return Content{{}, std::string(newSettings)};
    struct stat about = {};
    if (!fd || ::fstat(fd.get(), &about) != 0) return lastError();
    if (S_ISDIR(about.st_mode)) return Content{about, {}};
    if (!S_ISREG(about.st_mode)) return E_ACCESSDENIED;
    if (size_t(about.st_size) > largestFile) return Content{about, {}};
    std::string text(size_t(about.st_size), '\0');
    const auto count =
        LinuxFile(std::move(fd), LinuxFile::Access::Read).ReadAt(0, std::as_writable_bytes(std::span(text)));
    if (!count.ok()) return count.status();
    text.resize(count.value());
    return Content{about, std::move(text)};
}

/// A new file of this name with this text, down on the disk, for those who may read the old one.
Status makeFile(const fs::path& path, const std::string& text, const std::optional<struct stat>& old) {
    UniqueFd made(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!made) return lastError();
    const int fd = made.get();
    LinuxFile file(std::move(made), LinuxFile::Access::Write);
    if (const Status s = file.WriteAt(0, std::as_bytes(std::span(text))); !s.ok()) return s;
    if (old && S_ISREG(old->st_mode)) {
        // Another's file stays his where the system lets us, as it does the administrator.
        [[maybe_unused]] const int kept = ::fchown(fd, old->st_uid, old->st_gid);
        if (::fchmod(fd, old->st_mode & 0777) != 0) return lastError();
    }
    while (::fsync(fd) != 0)
        if (errno != EINTR) return lastError();
    return S_OK;
}

/// Gives what is damaged a name that nothing has.
Status keepAside(const fs::path& file) {
    for (int i = 1; i <= mostKeptAside; ++i) {
        const fs::path aside = beside(file, "", i == 1 ? ".damaged" : ".damaged-" + std::to_string(i));
        struct stat other = {};
        if (::lstat(aside.c_str(), &other) == 0) continue;
        if (errno != ENOENT) return lastError();
        return ::rename(file.c_str(), aside.c_str()) == 0 ? Status(S_OK) : lastError();
    }
    return statusFromErrno(EEXIST);
}

}  // namespace

SettingsStore::SettingsStore(fs::path path) : file(std::move(path)) {}

std::string SettingsStore::Read() const {
    auto content = contentOf(file);
    return content.ok() ? std::move(content.value().text).value_or("") : "";
}

std::string SettingsStore::Problem() const {
    const auto content = contentOf(file);
    std::string reason;
    if (!content.ok())
        reason = std::strerror(errnoFromStatus(content.code()));
    else if (content.value().text)
        reason = damageOf(*content.value().text);
    else
        reason = S_ISDIR(content.value().about->st_mode) ? "it is a directory" : "it is larger than 1 MiB";
    return reason.empty() ? "" : file.native() + ": " + reason;
}

Status SettingsStore::Write(std::string_view name, const SettingValue& value) const {
    if (const Status s = makeFolders(file.parent_path(), 0700); !s.ok()) return s;
    const auto target = behindLinks(file);
    if (!target.ok()) return target.status();
    const fs::path& path = target.value();
    const auto turn = takeTurn(beside(path, ".", ".lock"));
    if (!turn.ok()) return turn.status();

    const auto content = contentOf(path);
    if (!content.ok()) return content.status();
    const auto& [about, present] = content.value();
    // What somebody guards against changes, and a directory of another name, are not for us to replace.
    if (about && ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return lastError();
    if (about && S_ISDIR(about->st_mode) && path != file) return statusFromErrno(EISDIR);

    auto changed = present ? withValue(*present, name, value) : std::nullopt;
    const bool damaged = !changed;
    if (damaged) changed = withValue(newSettings, name, value);
    if (changed == present) return S_OK;
    if (changed->size() > largestFile) return E_INVALIDARG;

    const fs::path made = beside(path, ".", ".new");
    ::unlink(made.c_str());  // a writer that was killed left it
    Status s = makeFile(made, *changed, about);
    if (s.ok() && damaged) s = keepAside(path);
    if (s.ok() && ::rename(made.c_str(), path.c_str()) != 0) s = lastError();
    if (!s.ok()) {
        ::unlink(made.c_str());
        return s;
    }
    // The new name has to outlive a power cut, too. Not every file system offers that, and the value is in place.
    const UniqueFd directory(::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory) ::fsync(directory.get());
    return S_OK;
}

}  // namespace vexcap
