#include "platform/linux/errno_status.h"

#include <cerrno>

namespace vexcap {
namespace {

// Codes of the system family that nobody compares with, but whose texts tell a user what happened.
constexpr HRESULT tooManyOpenFiles = VEX_RESULT(0x80070004u);
constexpr HRESULT noSuchDevice = VEX_RESULT(0x80070014u);
constexpr HRESULT fileExists = VEX_RESULT(0x80070050u);
constexpr HRESULT nameTooLong = VEX_RESULT(0x800700CEu);
constexpr HRESULT deviceError = VEX_RESULT(0x8007045Du);
constexpr HRESULT timedOut = VEX_RESULT(0x800705B4u);

struct Pair {
    int number;
    HRESULT code;
};

/// The first number of a code is the one that the code stands for.
constexpr Pair pairs[] = {
    {ENOENT, VEX_E_FILE_NOT_FOUND},
    {ENOTDIR, VEX_E_PATH_NOT_FOUND},
    {EMFILE, tooManyOpenFiles},
    {ENFILE, tooManyOpenFiles},
    {EACCES, E_ACCESSDENIED},
    {EPERM, E_ACCESSDENIED},
    {EROFS, E_ACCESSDENIED},
    {EISDIR, E_ACCESSDENIED},
    {ENOMEM, E_OUTOFMEMORY},
    {ENODEV, noSuchDevice},
    {ENXIO, noSuchDevice},
    {EEXIST, fileExists},
    {EINVAL, E_INVALIDARG},
    {ENOSPC, VEX_E_DISK_FULL},
    {EDQUOT, VEX_E_DISK_FULL},
    {EFBIG, VEX_E_DISK_FULL},  // a limit of the file's size: for a recording the same as a full disk
    {EBUSY, VEX_E_BUSY},
    {EWOULDBLOCK, VEX_E_BUSY},
    {ETXTBSY, VEX_E_BUSY},
    {ENAMETOOLONG, nameTooLong},
    {EIO, deviceError},
    {ETIMEDOUT, timedOut},
    {ENOSYS, E_NOTIMPL},
    {EOPNOTSUPP, E_NOTIMPL},
};

}  // namespace

Status statusFromErrno(int number) {
    for (const Pair& pair : pairs)
        if (pair.number == number) return pair.code;
    return E_FAIL;
}

int errnoFromStatus(HRESULT code) {
    for (const Pair& pair : pairs)
        if (pair.code == code) return pair.number;
    return 0;
}

}  // namespace vexcap
