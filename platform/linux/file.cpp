#include "platform/linux/file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "base/text.h"
#include "platform/linux/errno_status.h"

namespace vexcap {
namespace {

constexpr uint64_t positionLimit = INT64_MAX;
static_assert(sizeof(off_t) == 8);

/// Another process may remove or replace the file between our open and our lock. More often than this in a row means
/// that somebody else keeps making recordings of this name.
constexpr int openAttempts = 8;

Status lastError() { return statusFromErrno(errno); }

bool outOfRange(uint64_t position, uint64_t length) {
    return position > positionLimit || length > positionLimit - position;
}

/// True when the process may not let a file grow to hold a byte at `position`. Asked before each step that grows a
/// file, since the system would send SIGXFSZ, which ends the host.
bool beyondSizeLimit(uint64_t position) {
    rlimit limit = {};
    return ::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY && position >= limit.rlim_cur;
}

bool isInMemory(int fd) {
    struct statfs about = {};
    if (::fstatfs(fd, &about) != 0) return false;
    return about.f_type == TMPFS_MAGIC || about.f_type == RAMFS_MAGIC || about.f_type == HUGETLBFS_MAGIC;
}

Result<std::string> systemPath(std::u16string_view path) {
    if (path.find(u'\0') != path.npos) return E_INVALIDARG;
    return toUtf8(path);
}

int openRetrying(const char* path, int flags) {
    for (;;) {
        // O_NONBLOCK keeps a named pipe from stopping the caller until its other end appears.
        const int fd = ::open(path, flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0644);
        if (fd >= 0 || errno != EINTR) return fd;
    }
}

Result<struct stat> regularFile(int fd) {
    struct stat about = {};
    if (::fstat(fd, &about) != 0) return lastError();
    if (!S_ISREG(about.st_mode)) return E_ACCESSDENIED;
    return about;
}

Status lockForWriting(int fd) {
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0)
        if (errno != EINTR) return lastError();
    return S_OK;
}

Status cutTo(int fd, uint64_t size) {
    while (::ftruncate(fd, off_t(size)) != 0)
        if (errno != EINTR) return lastError();
    return S_OK;
}

/// A regular file of this name, locked for its writer.
Result<UniqueFd> openForWriting(std::u16string_view path, int creation) {
    const auto name = systemPath(path);
    if (!name.ok()) return name.status();
    for (int attempt = 0; attempt < openAttempts; ++attempt) {
        UniqueFd fd(openRetrying(name.value().c_str(), O_RDWR | creation));
        if (!fd) return lastError();
        const auto opened = regularFile(fd.get());
        if (!opened.ok()) return opened.status();
        if (const Status s = lockForWriting(fd.get()); !s.ok()) return s;
        // Its last writer may have removed it meanwhile: what we hold would then be a file without a name.
        struct stat named = {};
        if (::stat(name.value().c_str(), &named) == 0 && named.st_ino == opened.value().st_ino &&
            named.st_dev == opened.value().st_dev)
            return fd;
    }
    return VEX_E_BUSY;
}

}  // namespace

LinuxFile::LinuxFile(UniqueFd file, Access access)
    : fd(std::move(file)), mode(access), inMemory(access == Access::Write && isInMemory(fd.get())) {}

Status LinuxFile::CheckChange(uint64_t position, uint64_t length) const {
    if (mode != Access::Write) return E_ACCESSDENIED;
    return outOfRange(position, length) ? E_INVALIDARG : S_OK;
}

Status LinuxFile::WriteAt(uint64_t position, Bytes bytes) {
    if (const Status s = CheckChange(position, bytes.size()); !s.ok()) return s;
    while (!bytes.empty()) {
        if (beyondSizeLimit(position)) return VEX_E_DISK_FULL;
        const ssize_t n = ::pwrite(fd.get(), bytes.data(), bytes.size(), off_t(position));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return statusFromErrno(n < 0 ? errno : ENOSPC);
        bytes = bytes.subspan(size_t(n));
        position += uint64_t(n);
    }
    return S_OK;
}

Status LinuxFile::WriteGathered(uint64_t position, std::span<const Bytes> pieces) {
    uint64_t total = 0;
    for (const Bytes piece : pieces) total += piece.size();
    if (const Status s = CheckChange(position, total); !s.ok()) return s;

    iovec batch[IOV_MAX];
    size_t done = 0;  // bytes of the first piece that are written already
    for (;;) {
        while (!pieces.empty() && done >= pieces.front().size()) {
            done -= pieces.front().size();
            pieces = pieces.subspan(1);
        }
        if (pieces.empty()) return S_OK;

        const size_t count = std::min<size_t>(pieces.size(), IOV_MAX);
        for (size_t i = 0; i < count; ++i) batch[i] = {const_cast<std::byte*>(pieces[i].data()), pieces[i].size()};
        batch[0] = {const_cast<std::byte*>(pieces[0].data()) + done, pieces[0].size() - done};

        if (beyondSizeLimit(position)) return VEX_E_DISK_FULL;
        const ssize_t n = ::pwritev(fd.get(), batch, int(count), off_t(position));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return statusFromErrno(n < 0 ? errno : ENOSPC);
        done += size_t(n);
        position += uint64_t(n);
    }
}

Result<size_t> LinuxFile::ReadAt(uint64_t position, std::span<std::byte> bytes) {
    if (outOfRange(position, bytes.size())) return E_INVALIDARG;
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::pread(fd.get(), bytes.data() + done, bytes.size() - done, off_t(position + done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return lastError();
        if (n == 0) break;
        done += size_t(n);
    }
    return done;
}

Status LinuxFile::Reserve(uint64_t position, uint64_t length) {
    if (const Status s = CheckChange(position, length); !s.ok()) return s;
    if (!length) return E_INVALIDARG;
    // There it would fill the pages with zeros, which the write then does once more.
    if (inMemory) return E_NOTIMPL;
    if (beyondSizeLimit(position + length - 1)) return VEX_E_DISK_FULL;
    while (::fallocate(fd.get(), FALLOC_FL_KEEP_SIZE, off_t(position), off_t(length)) != 0)
        if (errno != EINTR) return lastError();
    return S_OK;
}

Status LinuxFile::Resize(uint64_t size) {
    if (const Status s = CheckChange(size, 0); !s.ok()) return s;
    if (size && beyondSizeLimit(size - 1)) {
        const auto present = Size();
        if (!present.ok()) return present.status();
        if (size > present.value()) return VEX_E_DISK_FULL;
    }
    return cutTo(fd.get(), size);
}

Result<uint64_t> LinuxFile::Size() {
    struct stat about = {};
    if (::fstat(fd.get(), &about) != 0) return lastError();
    return uint64_t(about.st_size);
}

Result<std::unique_ptr<IFile>> LinuxFileSystem::Create(std::u16string_view path) {
    auto opened = openForWriting(path, O_CREAT);
    if (!opened.ok()) return opened.code() == VEX_E_FILE_NOT_FOUND ? VEX_E_PATH_NOT_FOUND : opened.code();
    // Locked first and emptied then, so that the file of a running recording is left as it is.
    if (const Status s = cutTo(opened.value().get(), 0); !s.ok()) return s;
    return std::unique_ptr<IFile>(std::make_unique<LinuxFile>(std::move(opened).value(), LinuxFile::Access::Write));
}

Result<std::unique_ptr<IFile>> LinuxFileSystem::Update(std::u16string_view path) {
    auto opened = openForWriting(path, 0);
    if (!opened.ok()) return opened.status();
    return std::unique_ptr<IFile>(std::make_unique<LinuxFile>(std::move(opened).value(), LinuxFile::Access::Write));
}

Result<std::unique_ptr<IFile>> LinuxFileSystem::Open(std::u16string_view path) {
    const auto name = systemPath(path);
    if (!name.ok()) return name.status();
    UniqueFd fd(openRetrying(name.value().c_str(), O_RDONLY));
    if (!fd) return lastError();
    if (const auto opened = regularFile(fd.get()); !opened.ok()) return opened.status();
    return std::unique_ptr<IFile>(std::make_unique<LinuxFile>(std::move(fd), LinuxFile::Access::Read));
}

Status LinuxFileSystem::Remove(std::u16string_view path) {
    const auto name = systemPath(path);
    if (!name.ok()) return name.status();
    return ::unlink(name.value().c_str()) == 0 ? Status(S_OK) : lastError();
}

}  // namespace vexcap
