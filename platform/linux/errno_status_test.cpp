#include "platform/linux/errno_status.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vexcap {
namespace errno_status_test {

TEST(ErrnoStatus, EveryNumberHasItsCode) {
    const struct {
        int number;
        HRESULT code;
    } table[] = {
        {ENOENT, VEX_E_FILE_NOT_FOUND},
        {ENOTDIR, VEX_E_PATH_NOT_FOUND},
        {EMFILE, VEX_RESULT(0x80070004u)},
        {ENFILE, VEX_RESULT(0x80070004u)},
        {EACCES, E_ACCESSDENIED},
        {EPERM, E_ACCESSDENIED},
        {EROFS, E_ACCESSDENIED},
        {EISDIR, E_ACCESSDENIED},
        {ENOMEM, E_OUTOFMEMORY},
        {ENODEV, VEX_RESULT(0x80070014u)},
        {ENXIO, VEX_RESULT(0x80070014u)},
        {EEXIST, VEX_RESULT(0x80070050u)},
        {EINVAL, E_INVALIDARG},
        {ENOSPC, VEX_E_DISK_FULL},
        {EDQUOT, VEX_E_DISK_FULL},
        {EFBIG, VEX_E_DISK_FULL},
        {EBUSY, VEX_E_BUSY},
        {EAGAIN, VEX_E_BUSY},
        {ETXTBSY, VEX_E_BUSY},
        {ENAMETOOLONG, VEX_RESULT(0x800700CEu)},
        {EIO, VEX_RESULT(0x8007045Du)},
        {ETIMEDOUT, VEX_RESULT(0x800705B4u)},
        {ENOSYS, E_NOTIMPL},
        {EOPNOTSUPP, E_NOTIMPL},
        {EPIPE, E_FAIL},
        {0, E_FAIL},
        {99999, E_FAIL},
    };
    for (const auto& row : table) EXPECT_EQ(statusFromErrno(row.number), row.code) << row.number;
}

TEST(ErrnoStatus, NoNumberIsASuccess) {
    for (int number = 0; number < 200; ++number) EXPECT_FALSE(statusFromErrno(number).ok()) << number;
}

TEST(ErrnoStatus, ACodeStandsForItsMainNumber) {
    EXPECT_EQ(errnoFromStatus(VEX_E_DISK_FULL), ENOSPC);
    EXPECT_EQ(errnoFromStatus(E_ACCESSDENIED), EACCES);
    EXPECT_EQ(errnoFromStatus(VEX_RESULT(0x8007045Du)), EIO);
    EXPECT_EQ(errnoFromStatus(VEX_RESULT(0x8007FFFFu)), 0);
    EXPECT_EQ(errnoFromStatus(E_FAIL), 0);
    EXPECT_EQ(errnoFromStatus(S_OK), 0);
}

}  // namespace errno_status_test
}  // namespace vexcap
