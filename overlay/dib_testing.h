// Pictures of 24 bits with their header, for tests.
#pragma once

#include <vexcap/records.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace vexcap::test {

using Bytes = std::vector<uint8_t>;

/// Bytes of a row, padded to four.
inline size_t strideOf(int32_t width, uint32_t bytesPerPixel) { return (size_t(width) * bytesPerPixel + 3) / 4 * 4; }

inline void setSize(Bytes& dib, int32_t width, int32_t height) {
    std::memcpy(dib.data() + 4, &width, 4);
    std::memcpy(dib.data() + 8, &height, 4);
}

/// A picture whose bytes, those of the padding too, are at least `least` and tell their place.
inline Bytes makeDib(int32_t width, int32_t height, uint32_t least = 1) {
    vex_bitmap_header header = {};
    header.biSize = sizeof header;
    header.biPlanes = 1;
    header.biBitCount = 24;
    Bytes dib(sizeof header + strideOf(width, 3) * size_t(height));
    std::memcpy(dib.data(), &header, sizeof header);
    setSize(dib, width, height);
    uint32_t state = uint32_t(width) * 31 + uint32_t(height);
    for (size_t i = sizeof header; i < dib.size(); ++i)
        dib[i] = uint8_t(least + ((state = state * 1664525u + 1013904223u) >> 24) % (256 - least));
    return dib;
}

inline int32_t widthOf(const Bytes& dib) {
    int32_t width;
    std::memcpy(&width, dib.data() + 4, 4);
    return width;
}
inline int32_t heightOf(const Bytes& dib) {
    int32_t height;
    std::memcpy(&height, dib.data() + 8, 4);
    return height;
}
/// Rows are counted from the first in memory.
inline const uint8_t* pixelOf(const Bytes& dib, int32_t row, int32_t column) {
    return dib.data() + 40 + size_t(row) * strideOf(widthOf(dib), 3) + size_t(column) * 3;
}

}  // namespace vexcap::test
