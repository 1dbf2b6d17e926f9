// The steps on a picture: dark frame, flips, grey, negative.
#include <algorithm>
#include <array>

#include "pixel/kernels_levels.h"
#include "pixel/picture_row.h"

namespace vexcap {
namespace {

/// Calls `pixel(pixel of the frame)` for every one of a picture.
template <class Pixel>
void everyPixelOf(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel,
                  const Pixel& pixel) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* at = pictureRow(frame, stride, y);
        for (uint32_t x = 0; x < width; ++x, at += bytesPerPixel) pixel(at);
    }
}

/// floor(value * thousandths / 1000) for every byte.
constexpr std::array<uint16_t, 256> weighted(uint32_t thousandths) {
    std::array<uint16_t, 256> table{};
    for (uint32_t value = 0; value < table.size(); ++value) table[value] = uint16_t(value * thousandths / 1000);
    return table;
}
// Shares of the luminance, 128-fold.
constexpr std::array<uint16_t, 256> blueShare = weighted(14592);
constexpr std::array<uint16_t, 256> greenShare = weighted(75136);
constexpr std::array<uint16_t, 256> redShare = weighted(38272);

}  // namespace

void subtractDarkPlain(uint8_t* frame, ptrdiff_t stride, const uint8_t* dark, uint32_t width, uint32_t height,
                       uint32_t bytesPerPixel) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* pixel = pictureRow(frame, stride, y);
        for (uint32_t x = 0; x < width; ++x, pixel += bytesPerPixel, dark += 3)
            for (int i = 0; i < 3; ++i) pixel[i] = uint8_t(std::max(pixel[i] - dark[i], 0));
    }
}

void addToSumsPlain(uint16_t* sums, const uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height,
                    uint32_t bytesPerPixel) {
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* pixel = pictureRow(frame, stride, y);
        for (uint32_t x = 0; x < width; ++x, pixel += bytesPerPixel, sums += 3)
            for (int i = 0; i < 3; ++i) sums[i] = uint16_t(sums[i] + pixel[i]);
    }
}

void divideSumsPlain(uint8_t* target, const uint16_t* sums, size_t count, uint16_t divisor) {
    for (size_t i = 0; i < count; ++i) target[i] = uint8_t(sums[i] / divisor);
}

void flipHorizontallyPlain(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* left = pictureRow(frame, stride, y);
        uint8_t* right = left + size_t(width) * bytesPerPixel;
        for (uint32_t x = 0; x < width / 2; ++x, left += bytesPerPixel) {
            right -= bytesPerPixel;
            std::swap_ranges(left, left + 3, right);
        }
    }
}

void flipVerticallyPlain(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    for (uint32_t y = 0; y < height / 2; ++y) {
        uint8_t* const row = pictureRow(frame, stride, y);
        std::swap_ranges(row, row + size_t(width) * bytesPerPixel, pictureRow(frame, stride, height - 1 - y));
    }
}

void toGreyPlain(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    everyPixelOf(frame, stride, width, height, bytesPerPixel, [](uint8_t* pixel) {
        pixel[0] = pixel[1] = pixel[2] =
            uint8_t((blueShare[pixel[0]] + greenShare[pixel[1]] + redShare[pixel[2]]) >> 7);
    });
}

void toNegativePlain(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    everyPixelOf(frame, stride, width, height, bytesPerPixel, [](uint8_t* pixel) {
        for (int i = 0; i < 3; ++i) pixel[i] = uint8_t(~pixel[i]);
    });
}

}  // namespace vexcap
