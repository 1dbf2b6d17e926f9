// What the tests of drawing share: a canvas with guards around it, and the comparison of a canvas with a part of a
// larger one.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "pixel/kernels_testing.h"
#include "pixel/raster/raster.h"

namespace vexcap {

/// A canvas whose every byte is known; rows are padded, and guards lie before and behind.
class Paper {
public:
    /// The pixels are those of endless paper from `originX`, `originY` on.
    Paper(int32_t width, int32_t height, uint32_t bytesPerPixel, RowOrder order = RowOrder::TopDown,
          int32_t originX = 0, int32_t originY = 0)
        : pitch(size_t(width) * bytesPerPixel + 5), memory(2 * guard + pitch * size_t(height), 0xA5) {
        uint8_t* const first = memory.data() + guard;
        const bool down = order == RowOrder::TopDown;
        drawn = {down ? first : first + pitch * size_t(height - 1), down ? ptrdiff_t(pitch) : -ptrdiff_t(pitch), width,
                 height, bytesPerPixel};
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                for (uint32_t c = 0; c < bytesPerPixel; ++c) at(x, y)[c] = ground(originX + x, originY + y, c);
        fresh = memory;
    }
    Paper(const Paper&) = delete;

    const Canvas& canvas() const { return drawn; }
    uint8_t* at(int32_t x, int32_t y) const { return drawn.Row(y) + size_t(x) * drawn.bytesPerPixel; }
    /// 0x00BBGGRR.
    uint32_t colour(int32_t x, int32_t y) const {
        const uint8_t* const pixel = at(x, y);
        return uint32_t(pixel[0]) << 16 | uint32_t(pixel[1]) << 8 | pixel[2];
    }

    bool isFresh() const { return memory == fresh; }
    /// True if nothing was written but the colour bytes of pixels.
    bool onlyColoursDiffer() const {
        std::vector<uint8_t> restored = memory;
        for (int32_t y = 0; y < drawn.height; ++y)
            for (int32_t x = 0; x < drawn.width; ++x) {
                const size_t i = size_t(at(x, y) - memory.data());
                for (size_t c = 0; c < 3; ++c) restored[i + c] = fresh[i + c];
            }
        return restored == fresh;
    }

    /// The paper's own bytes. None is the byte of a colour that tests draw with.
    static uint8_t ground(int32_t x, int32_t y, uint32_t channel) {
        return uint8_t((uint32_t(x) * 7 + uint32_t(y) * 13 + channel * 31) % 199);
    }

private:
    static constexpr size_t guard = 64;
    size_t pitch;
    std::vector<uint8_t> memory, fresh;
    Canvas drawn;
};

constexpr uint32_t ink = 0x00F0E0D0;
constexpr uint32_t pixelSizes[] = {3, 4};

/// True if both show the same colours.
inline bool sameColours(const Paper& first, const Paper& second) {
    for (int32_t y = 0; y < first.canvas().height; ++y)
        for (int32_t x = 0; x < first.canvas().width; ++x)
            if (first.colour(x, y) != second.colour(x, y)) return false;
    return true;
}

/// Calls `draw(canvas, dx, dy)`, which draws things moved by dx and dy, on canvases of many sizes and on a larger one
/// of which they are a part, and compares. What is drawn should reach `margin` beyond them at most on some side.
template <class Draw>
void expectClippedAlike(const Draw& draw, int32_t margin = 40) {
    for (const uint32_t bytesPerPixel : pixelSizes)
        for (const RowOrder order : rowOrders)
            for (int32_t width = 1; width <= 70; ++width) {
                const int32_t height = 1 + width * 7 % 23;
                const Paper whole(width + 2 * margin, height + 2 * margin, bytesPerPixel, RowOrder::TopDown, -margin,
                                  -margin);
                draw(whole.canvas(), margin, margin);
                const Paper part(width, height, bytesPerPixel, order);
                draw(part.canvas(), 0, 0);
                ASSERT_TRUE(part.onlyColoursDiffer()) << width << " x " << height << ", " << bytesPerPixel;
                for (int32_t y = 0; y < height; ++y)
                    for (int32_t x = 0; x < width; ++x)
                        if (part.colour(x, y) != whole.colour(x + margin, y + margin))
                            FAIL() << "at " << x << ", " << y << " of " << width << " x " << height;
            }
}

/// Coordinates that a host may give by mistake.
constexpr int32_t hostileCoordinates[] = {INT32_MIN, INT32_MIN + 1, -70000, -1, 0, 3, 70000, INT32_MAX - 1, INT32_MAX};

}  // namespace vexcap
