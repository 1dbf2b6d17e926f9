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

#define VEX_RESULT(code) ((HRESULT)(code))
#define S_OK VEX_RESULT(0)                            ///< Done.
#define S_FALSE VEX_RESULT(1)                         ///< Done, and the answer is no; or it stood already.
#define E_NOTIMPL VEX_RESULT(0x80004001u)             ///< This device or object does not offer it.
#define E_NOINTERFACE VEX_RESULT(0x80004002u)         ///< QueryInterface: no such interface here.
#define E_POINTER VEX_RESULT(0x80004003u)             ///< A pointer that is needed is null.
#define E_FAIL VEX_RESULT(0x80004005u)                ///< A step failed and no better code is at hand.
#define E_UNEXPECTED VEX_RESULT(0x8000FFFFu)          ///< The object is not in a state for this call.
#define E_ACCESSDENIED VEX_RESULT(0x80070005u)        ///< The system or the device refuses this user.
#define E_OUTOFMEMORY VEX_RESULT(0x8007000Eu)         ///< An allocation failed.
#define E_INVALIDARG VEX_RESULT(0x80070057u)          ///< An argument is outside its range, or the source is missing.
#define VEX_E_FILE_NOT_FOUND VEX_RESULT(0x80070002u)  ///< No such file.
#define VEX_E_PATH_NOT_FOUND VEX_RESULT(0x80070003u)  ///< A directory of the path does not exist.
#define VEX_E_DISK_FULL VEX_RESULT(0x80070070u)       ///< No space is left on the device.
#define VEX_E_NO_MODULE VEX_RESULT(0x8007007Eu)       ///< A library that this needs is missing or cannot be loaded.
#define VEX_E_INSUFFICIENT_BUFFER VEX_RESULT(0x8007007Au)  ///< The caller's buffer is too small; nothing was written.
#define VEX_E_BUSY VEX_RESULT(0x800700AAu)                 ///< Another program uses the device.
#define VEX_E_CANCELLED VEX_RESULT(0x800704C7u)            ///< The user said no. Shown to nobody.
#define VEX_E_NO_ENCODER VEX_RESULT(0xC00D36B4u)           ///< No encoder fits the choice.

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
