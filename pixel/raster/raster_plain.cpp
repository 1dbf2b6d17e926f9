// Drawing, row by row.
#include <cstring>

#include "pixel/kernels_levels.h"
#include "pixel/picture_row.h"

namespace vexcap {

void fillRowPlain(uint8_t* row, size_t pixels, uint32_t bytesPerPixel, uint32_t colour) {
    for (size_t i = 0; i < pixels; ++i, row += bytesPerPixel) {
        row[0] = uint8_t(colour >> 16);
        row[1] = uint8_t(colour >> 8);
        row[2] = uint8_t(colour);
    }
}

void paintRowPlain(uint8_t* row, const uint8_t* mask, size_t pixels, uint32_t bytesPerPixel, uint32_t colour) {
    for (size_t i = 0; i < pixels; ++i)
        if (mask[i] >= 128) fillRowPlain(row + i * bytesPerPixel, 1, bytesPerPixel, colour);
}

void blendRowPlain(uint8_t* row, const uint8_t* picture, size_t pixels, uint32_t bytesPerPixel, uint8_t alpha) {
    for (size_t i = 0; i < pixels; ++i, row += bytesPerPixel, picture += 3)
        for (int c = 0; c < 3; ++c) row[c] = uint8_t(picture[c] + (row[c] - picture[c]) * alpha / 100);
}

void stretchPlain(uint8_t* target, ptrdiff_t targetStride, uint32_t targetBytesPerPixel, const uint8_t* source,
                  ptrdiff_t sourceStride, uint32_t sourceBytesPerPixel, const StretchIndices& indices) {
    for (uint32_t y = 0; y < indices.height; ++y) {
        const uint8_t* const from = pictureRow(source, sourceStride, indices.rows[y]);
        uint8_t* to = pictureRow(target, targetStride, y);
        for (uint32_t x = 0; x < indices.width; ++x, to += targetBytesPerPixel)
            std::memcpy(to, from + size_t(indices.columns[x]) * sourceBytesPerPixel, 3);
    }
}

}  // namespace vexcap
