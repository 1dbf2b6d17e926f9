// Layout of pictures in memory, told once.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vexcap {

/// Bytes of one row of `width` pixels at `bytesPerPixel`, padded to four: the stride of every picture of this library.
constexpr size_t dibStride(uint32_t width, uint32_t bytesPerPixel) {
    return ((uint64_t(bytesPerPixel) * width * 8 + 31) >> 3) & 0x1FFFFFFC;
}

constexpr uint32_t fourcc(const char (&name)[5]) {
    return uint32_t(uint8_t(name[0])) | uint32_t(uint8_t(name[1])) << 8 | uint32_t(uint8_t(name[2])) << 16 |
           uint32_t(uint8_t(name[3])) << 24;
}

}  // namespace vexcap
