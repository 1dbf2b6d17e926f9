/// Types that every other header of this boundary uses: text, result codes, small geometry.
/// C11 and C++20. No header of the boundary includes more than this folder and the C library.
#ifndef VEXCAP_TYPES_H
#define VEXCAP_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
typedef char16_t vex_char;  ///< One UTF-16 unit. Broken surrogates count as U+FFFD.
#else
#include <uchar.h>
typedef char16_t vex_char;  ///< One UTF-16 unit. Broken surrogates count as U+FFFD.
#endif

#if defined(VEXCAP_BUILDING) || defined(VEXCAM_BUILDING)
#define VEXCAP_API __attribute__((visibility("default")))
#else
#define VEXCAP_API
#endif

#ifdef __cplusplus
#define VEXCAP_EXTERN_C_BEGIN extern "C" {
#define VEXCAP_EXTERN_C_END }
#else
#define VEXCAP_EXTERN_C_BEGIN
#define VEXCAP_EXTERN_C_END
#endif

/// Result of an action: negative is a failure, 0 and above a success.
typedef int32_t HRESULT;

/// Result codes as numbers: for compilers and for parsers that do not see macros.
enum {
    VEX_RESULT_OK = 0,                      ///< Done.
    VEX_RESULT_FALSE = 1,                   ///< Done, and the answer is no; or it stood already.
    VEX_RESULT_NOTIMPL = -0x7FFFBFFF,       ///< 0x80004001: This device or object does not offer it.
    VEX_RESULT_NOINTERFACE = -0x7FFFBFFE,   ///< 0x80004002: QueryInterface: no such interface here.
    VEX_RESULT_POINTER = -0x7FFFBFFD,       ///< 0x80004003: A pointer that is needed is null.
    VEX_RESULT_FAIL = -0x7FFFBFFB,          ///< 0x80004005: A step failed and no better code is at hand.
    VEX_RESULT_UNEXPECTED = -0x7FFF0001,    ///< 0x8000FFFF: The object is not in a state for this call.
    VEX_RESULT_ACCESSDENIED = -0x7FF8FFFB,  ///< 0x80070005: The system or the device refuses this user.
    VEX_RESULT_OUTOFMEMORY = -0x7FF8FFF2,   ///< 0x8007000E: An allocation failed.
    VEX_RESULT_INVALIDARG = -0x7FF8FFA9,    ///< 0x80070057: An argument is outside its range, or the source is missing.
    VEX_RESULT_FILE_NOT_FOUND = -0x7FF8FFFE,       ///< 0x80070002: No such file.
    VEX_RESULT_PATH_NOT_FOUND = -0x7FF8FFFD,       ///< 0x80070003: A directory of the path does not exist.
    VEX_RESULT_DISK_FULL = -0x7FF8FF90,            ///< 0x80070070: No space is left on the device.
    VEX_RESULT_INSUFFICIENT_BUFFER = -0x7FF8FF86,  ///< 0x8007007A: The buffer is too small; nothing was written.
    VEX_RESULT_NO_MODULE = -0x7FF8FF82,  ///< 0x8007007E: A library that this needs is missing or cannot be loaded.
    VEX_RESULT_BUSY = -0x7FF8FF56,       ///< 0x800700AA: Another program uses the device.
    VEX_RESULT_CANCELLED = -0x7FF8FB39,  ///< 0x800704C7: The user said no; no box is shown.
    VEX_RESULT_NO_ENCODER = -0x3FF2C94C  ///< 0xC00D36B4: No encoder fits the choice.
};

/// The same as values of type HRESULT. Names without VEX_ are left to another header that defined them before this one;
/// where one comes later, VEXCAP_NO_SHORT_RESULTS leaves them out here.
#define VEX_RESULT(code) ((HRESULT)(code))
#define VEX_E_FILE_NOT_FOUND VEX_RESULT(VEX_RESULT_FILE_NOT_FOUND)
#define VEX_E_PATH_NOT_FOUND VEX_RESULT(VEX_RESULT_PATH_NOT_FOUND)
#define VEX_E_DISK_FULL VEX_RESULT(VEX_RESULT_DISK_FULL)
#define VEX_E_INSUFFICIENT_BUFFER VEX_RESULT(VEX_RESULT_INSUFFICIENT_BUFFER)
#define VEX_E_NO_MODULE VEX_RESULT(VEX_RESULT_NO_MODULE)
#define VEX_E_BUSY VEX_RESULT(VEX_RESULT_BUSY)
#define VEX_E_CANCELLED VEX_RESULT(VEX_RESULT_CANCELLED)
#define VEX_E_NO_ENCODER VEX_RESULT(VEX_RESULT_NO_ENCODER)
#ifndef VEXCAP_NO_SHORT_RESULTS
#ifndef S_OK
#define S_OK VEX_RESULT(VEX_RESULT_OK)
#endif
#ifndef S_FALSE
#define S_FALSE VEX_RESULT(VEX_RESULT_FALSE)
#endif
#ifndef E_NOTIMPL
#define E_NOTIMPL VEX_RESULT(VEX_RESULT_NOTIMPL)
#endif
#ifndef E_NOINTERFACE
#define E_NOINTERFACE VEX_RESULT(VEX_RESULT_NOINTERFACE)
#endif
#ifndef E_POINTER
#define E_POINTER VEX_RESULT(VEX_RESULT_POINTER)
#endif
#ifndef E_FAIL
#define E_FAIL VEX_RESULT(VEX_RESULT_FAIL)
#endif
#ifndef E_UNEXPECTED
#define E_UNEXPECTED VEX_RESULT(VEX_RESULT_UNEXPECTED)
#endif
#ifndef E_ACCESSDENIED
#define E_ACCESSDENIED VEX_RESULT(VEX_RESULT_ACCESSDENIED)
#endif
#ifndef E_OUTOFMEMORY
#define E_OUTOFMEMORY VEX_RESULT(VEX_RESULT_OUTOFMEMORY)
#endif
#ifndef E_INVALIDARG
#define E_INVALIDARG VEX_RESULT(VEX_RESULT_INVALIDARG)
#endif
#endif

/// An interface identifier, 16 bytes; the first three fields little-endian in memory.
typedef struct vex_guid {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t data4[8];
} vex_guid;

/// A rectangle in pixels, top row 0; right and bottom lie outside it.
typedef struct vex_rect {
    int32_t left, top, right, bottom;
} vex_rect;

/// A point in pixels from the top left.
typedef struct vex_point {
    int32_t x, y;
} vex_point;

#endif
