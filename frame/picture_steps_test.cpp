#include "frame/picture_steps.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/dib.h"

namespace vexcap {
namespace picture_steps_test {

using Pixels = std::vector<uint8_t>;

constexpr uint32_t width = 5, height = 4;

/// Rows at the DIB stride, every byte another one.
Pixels picture(uint32_t bytesPerPixel) {
    Pixels made(dibStride(width, bytesPerPixel) * height);
    for (size_t i = 0; i < made.size(); ++i) made[i] = uint8_t(3 * i + 1);
    return made;
}

/// What the steps mean, pixel by pixel: `want` begins as the picture, so that what no step writes stays.
Pixels expected(const Pixels& before, uint32_t bytesPerPixel, uint32_t flip, bool chrome, bool negative) {
    const size_t stride = dibStride(width, bytesPerPixel);
    Pixels want = before;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t fromRow = flip & 2 ? height - 1 - y : y;
            const uint8_t* const from = &before[fromRow * stride + (flip & 1 ? width - 1 - x : x) * bytesPerPixel];
            uint8_t* const to = &want[y * stride + x * bytesPerPixel];
            const uint32_t grey =
                (uint32_t(from[0] * 14.592) + uint32_t(from[1] * 75.136) + uint32_t(from[2] * 38.272)) >> 7;
            for (int i = 0; i < 3; ++i) {
                to[i] = chrome ? uint8_t(grey) : from[i];
                if (negative) to[i] = uint8_t(255 - to[i]);
            }
            if (bytesPerPixel == 4) to[3] = before[fromRow * stride + x * 4 + 3];
        }
    return want;
}

TEST(PictureSteps, EveryCombinationComesInTheOrderFlipGreyNegative) {
    for (const uint32_t bytesPerPixel : {3u, 4u})
        for (uint32_t flip = 0; flip < 4; ++flip)
            for (const uint32_t chrome : {0u, 1u})
                for (const uint32_t negative : {0u, 1u}) {
                    const Pixels before = picture(bytesPerPixel);
                    Pixels frame = before;
                    PictureSteps steps;
                    steps.putFlip(flip, 1);
                    steps.putFlip(flip, 2);
                    steps.putChrome(chrome);
                    steps.putNegative(negative);
                    EXPECT_EQ(steps.any(), flip || chrome || negative);
                    steps.apply(kernels(), frame.data(), bytesPerPixel, width, height);
                    EXPECT_EQ(frame, expected(before, bytesPerPixel, flip, chrome, negative))
                        << "flip " << flip << ", grey " << chrome << ", negative " << negative;
                }
}

TEST(PictureSteps, AnyValueButZeroIsOnAndIsKeptAsItCame) {
    const Pixels before = picture(3);
    Pixels frame = before;
    PictureSteps steps;
    steps.putChrome(0x80000000);
    steps.putNegative(0x100);
    EXPECT_EQ(steps.chrome(), 0x80000000u);
    EXPECT_EQ(steps.negative(), 0x100u);
    steps.apply(kernels(), frame.data(), 3, width, height);
    EXPECT_EQ(frame, expected(before, 3, 0, true, true));
}

}  // namespace picture_steps_test
}  // namespace vexcap
