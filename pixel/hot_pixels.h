// Pixels of a sensor that glow in the dark: found in a dark frame, mended in the frames to come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexcap {

/// Column and row, in the buffer's own order of rows.
struct HotPixel {
    uint16_t x, y;
    friend bool operator==(const HotPixel&, const HotPixel&) = default;
};

/// Appends the hot pixels of a dark frame of 3 bytes a pixel without row padding, row by row: those whose luminance is
/// more than 16 above the mean. The outer edge is never listed, a frame with a mean above 64 has none, and neither
/// has what lies beyond column or row 65535. Where memory ends the list stays as it was. width and height at least 1.
void listHotPixels(std::vector<HotPixel>& list, const uint8_t* dark, uint32_t width, uint32_t height);

/// Each of the three channels of a listed pixel becomes a quarter of the sum of its four neighbours, rounded down. In
/// the order of the list: what was mended feeds what comes later. Pixels that are not inside the frame's outer edge
/// are left out.
void mendHotPixels(std::span<const HotPixel> list, uint8_t* frame, size_t stride, uint32_t width, uint32_t height,
                   uint32_t bytesPerPixel);

}  // namespace vexcap
