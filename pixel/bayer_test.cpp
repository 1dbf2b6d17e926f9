#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "pixel/kernels.h"
#include "pixel/kernels_testing.h"

namespace vexcap {
namespace bayer_test {

constexpr Mosaic mosaics[] = {Mosaic::Rggb, Mosaic::Grbg, Mosaic::Gbrg, Mosaic::Bggr};
const std::vector<uint32_t> heights = {2, 3, 5, 6};

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

Bytes toBgr24(const Bytes& source, uint32_t width, uint32_t height, Mosaic mosaic) {
    Bytes target(source.size() * 3);
    plainKernels.bayer8ToBgr24(target.data(), width * 3, source.data(), width, width, height, mosaic);
    return target;
}

Bytes toBgr24(const Words& source, uint32_t width, uint32_t height, Mosaic mosaic, uint32_t depth) {
    Bytes target(source.size() * 3);
    plainKernels.bayer16ToBgr24(target.data(), width * 3, source.data(), width * 2, width, height, mosaic, depth);
    return target;
}

Words toBgr48(const Words& source, uint32_t width, uint32_t height, Mosaic mosaic) {
    Words target(source.size() * 3);
    plainKernels.bayer16ToBgr48(target.data(), width * 6, source.data(), width * 2, width, height, mosaic);
    return target;
}

// What a mosaic means, told another way: of the three by three pixels around a pixel, mirrored at the border, those
// that have the colour; their rounded mean, unless the pixel itself has it.
uint32_t colourAt(const Words& source, uint32_t width, uint32_t height, Mosaic mosaic, uint32_t x, uint32_t y,
                  char colour) {
    const std::string pattern = std::array{"RGGB", "GRBG", "GBRG", "BGGR"}[size_t(mosaic)];
    const auto mirrored = [](int at, uint32_t size) {
        return uint32_t(at < 0 ? -at : at >= int(size) ? 2 * int(size) - 2 - at : at);
    };
    uint32_t sum = 0, count = 0;
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            const uint32_t column = mirrored(int(x) + dx, width), row = mirrored(int(y) + dy, height);
            if (pattern[row % 2 * 2 + column % 2] != colour) continue;
            const uint32_t sample = source[size_t(row) * width + column];
            if (dx == 0 && dy == 0) return sample;
            sum += sample;
            ++count;
        }
    return (sum + count / 2) / count;
}

TEST(Bayer8ToBgr24, TwoByTwoIsWorkedByHand) {
    const Bytes source = {10, 20,                 // red   green
                          41, 80};                // green blue
    const Bytes want = {80, 31, 10, 80, 20, 10,   // (20 + 20 + 41 + 41 + 2) / 4 = 31 at red
                        80, 41, 10, 80, 31, 10};  // and at blue
    EXPECT_EQ(toBgr24(source, 2, 2, Mosaic::Rggb), want);
}

TEST(Bayer8ToBgr24, TheMiddleOfThreeByThreeIsWorkedByHand) {
    const Bytes source = {1,  2,   4,   //
                          8,  16,  32,  //
                          64, 127, 255};
    const auto middle = [&](Mosaic mosaic) {
        const Bytes target = toBgr24(source, 3, 3, mosaic);
        return Bytes(target.begin() + 12, target.begin() + 15);
    };
    const uint8_t cross = (2 + 8 + 32 + 127 + 2) / 4, corners = (1 + 4 + 64 + 255 + 2) / 4;
    const uint8_t along = (8 + 32 + 1) / 2, across = (2 + 127 + 1) / 2;
    EXPECT_EQ(middle(Mosaic::Rggb), (Bytes{16, cross, corners}));
    EXPECT_EQ(middle(Mosaic::Bggr), (Bytes{corners, cross, 16}));
    EXPECT_EQ(middle(Mosaic::Grbg), (Bytes{along, 16, across}));
    EXPECT_EQ(middle(Mosaic::Gbrg), (Bytes{across, 16, along}));
}

TEST(Bayer8ToBgr24, AHalfIsRoundedUpOnceAndNotTwice) {
    // Two steps that round up would give 1 in the first case and 2 in the second.
    const Bytes one = {0, 1, 0,  //
                       0, 9, 0,  //
                       0, 0, 0};
    EXPECT_EQ(toBgr24(one, 3, 3, Mosaic::Rggb)[13], 0);  // (1 + 0 + 0 + 0 + 2) / 4
    const Bytes two = {0, 1, 0,                          //
                       1, 9, 0,                          //
                       0, 0, 0};
    EXPECT_EQ(toBgr24(two, 3, 3, Mosaic::Rggb)[13], 1);  // (1 + 1 + 0 + 0 + 2) / 4
    const Bytes five = {0, 2, 0,                         //
                        2, 9, 1,                         //
                        0, 0, 0};
    EXPECT_EQ(toBgr24(five, 3, 3, Mosaic::Rggb)[13], 1);  // (2 + 2 + 1 + 0 + 2) / 4
}

TEST(Bayer8ToBgr24, TheBorderMirrorsWithoutRepeatingTheEdge) {
    const Bytes source = {10, 60, 20, 70,   //
                          80, 30, 90, 40,   //
                          50, 10, 60, 20};  // red green, green blue
    const Bytes target = toBgr24(source, 4, 3, Mosaic::Rggb);
    EXPECT_EQ((Bytes{target[0], target[1], target[2]}), (Bytes{30, 70, 10}));  // green (60 + 60 + 80 + 80) / 4
    const size_t topRight = 3 * 3, bottomRight = (2 * 4 + 3) * 3;
    EXPECT_EQ((Bytes{target[topRight], target[topRight + 1], target[topRight + 2]}), (Bytes{40, 70, 20}));
    EXPECT_EQ((Bytes{target[bottomRight], target[bottomRight + 1], target[bottomRight + 2]}), (Bytes{40, 20, 60}));
}

TEST(Bayer8ToBgr24, ABottomUpTargetHoldsTheSameRowsInTheOtherOrder) {
    const Bytes source = hostileSamples<uint8_t>(6 * 4, 3);
    const Bytes topDown = toBgr24(source, 6, 4, Mosaic::Gbrg);
    Bytes bottomUp(topDown.size());
    plainKernels.bayer8ToBgr24(bottomUp.data() + 3 * 18, -18, source.data(), 6, 6, 4, Mosaic::Gbrg);
    for (size_t y = 0; y < 4; ++y)
        EXPECT_TRUE(std::equal(topDown.begin() + ptrdiff_t(18 * y), topDown.begin() + ptrdiff_t(18 * y + 18),
                               bottomUp.begin() + ptrdiff_t(18 * (3 - y))));
}

TEST(BayerKernels, ThePlainLoopsGiveEveryColourItsNeighboursMean) {
    for (const Mosaic mosaic : mosaics)
        for (uint32_t height = 2; height <= 5; ++height)
            for (uint32_t width = 2; width <= 9; ++width) {
                const Words words = hostileSamples<uint16_t>(size_t(width) * height, width * 10 + height);
                Words low(words.size());
                for (size_t i = 0; i < words.size(); ++i) low[i] = words[i] & 0xFF;
                const Words bgr48 = toBgr48(words, width, height, mosaic);
                const Bytes bgr24 = toBgr24(Bytes(low.begin(), low.end()), width, height, mosaic);
                std::vector<Bytes> deep;
                for (uint32_t depth = 9; depth <= 16; ++depth)
                    deep.push_back(toBgr24(words, width, height, mosaic, depth));
                for (uint32_t y = 0; y < height; ++y)
                    for (uint32_t x = 0; x < width; ++x)
                        for (size_t channel = 0; channel < 3; ++channel) {
                            const size_t at = (size_t(y) * width + x) * 3 + channel;
                            const uint32_t want = colourAt(words, width, height, mosaic, x, y, "BGR"[channel]);
                            ASSERT_EQ(bgr48[at], want);
                            ASSERT_EQ(bgr24[at], colourAt(low, width, height, mosaic, x, y, "BGR"[channel]));
                            for (uint32_t depth = 9; depth <= 16; ++depth)
                                ASSERT_EQ(deep[depth - 9][at], std::min(want >> (depth - 8), 255u));
                        }
            }
}

TEST(Bayer16ToBgr24, TheMeanIsTakenAtFullDepth) {
    const Words source = {0, 0, 30,  //
                          0, 0, 0,   //
                          0, 0, 0};
    // Red between 0 and 30 is 15, which is 0 in 8 bits; 0 and 1 would have given 1.
    EXPECT_EQ(toBgr24(source, 3, 3, Mosaic::Rggb, 12)[5], 0);
    EXPECT_EQ(toBgr24(source, 3, 3, Mosaic::Rggb, 11)[5], 1);
}

TEST(Bayer16ToBgr24, ASampleAboveItsDepthGivesTheBrightestByte) {
    for (uint32_t depth = 9; depth <= 16; ++depth) {
        const uint32_t maximum = (1u << depth) - 1;
        for (const uint32_t sample : {maximum, std::min(maximum + 1, 65535u), 65535u})
            EXPECT_EQ(toBgr24(Words(4, uint16_t(sample)), 2, 2, Mosaic::Bggr, depth), Bytes(12, 255));
        const uint32_t step = 1u << (depth - 8);
        EXPECT_EQ(toBgr24(Words(4, uint16_t(maximum - step)), 2, 2, Mosaic::Bggr, depth), Bytes(12, 254));
    }
}

TEST(Bayer8ToBgr24, EveryLevelAgreesWithThePlainLoop) {
    for (const Mosaic mosaic : mosaics)
        expectEveryLevelAgrees<uint8_t, uint8_t>(
            3, 1, 2, heights,
            [mosaic](const PixelKernels& pixels, uint8_t* target, ptrdiff_t targetStride, const uint8_t* source,
                     ptrdiff_t sourceStride, uint32_t width, uint32_t height) {
                pixels.bayer8ToBgr24(target, targetStride, source, sourceStride, width, height, mosaic);
            });
}

TEST(Bayer16ToBgr24, EveryLevelAgreesWithThePlainLoopAtEveryDepth) {
    for (const Mosaic mosaic : mosaics)
        for (uint32_t depth = 9; depth <= 16; ++depth)
            expectEveryLevelAgrees<uint8_t, uint16_t>(
                3, 1, 2, heights,
                [mosaic, depth](const PixelKernels& pixels, uint8_t* target, ptrdiff_t targetStride,
                                const uint16_t* source, ptrdiff_t sourceStride, uint32_t width, uint32_t height) {
                    pixels.bayer16ToBgr24(target, targetStride, source, sourceStride, width, height, mosaic, depth);
                });
}

TEST(Bayer16ToBgr48, EveryLevelAgreesWithThePlainLoop) {
    for (const Mosaic mosaic : mosaics)
        expectEveryLevelAgrees<uint16_t, uint16_t>(
            3, 1, 2, heights,
            [mosaic](const PixelKernels& pixels, uint16_t* target, ptrdiff_t targetStride, const uint16_t* source,
                     ptrdiff_t sourceStride, uint32_t width, uint32_t height) {
                pixels.bayer16ToBgr48(target, targetStride, source, sourceStride, width, height, mosaic);
            });
}

}  // namespace bayer_test
}  // namespace vexcap
