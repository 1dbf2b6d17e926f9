// The steps on a picture: what each of them means, and that every level agrees with the plain loop in every byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "pixel/kernels.h"
#include "pixel/kernels_testing.h"

namespace vexcap {
namespace steps_test {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;
constexpr uint32_t pixelSizes[] = {3, 4};
constexpr uint32_t widest = 100;
constexpr size_t guard = 40;

TEST(SubtractDark, StopsAtZero) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        Bytes frame = {10, 12, 255, 0, 7, 200};
        const Bytes dark = {12, 10, 255, 1, 7, 0};
        kernelsFor(level).subtractDark(frame.data(), 6, dark.data(), 2, 1, 3);
        EXPECT_EQ(frame, (Bytes{0, 2, 0, 0, 0, 200}));
    }
}

TEST(SubtractDark, RowsOfTheDarkPictureFollowEachOther) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        Bytes frame = {10, 10, 10, 99, 10, 10, 10, 99};
        const Bytes dark = {1, 2, 3, 4, 5, 6};
        kernelsFor(level).subtractDark(frame.data(), 4, dark.data(), 1, 2, 3);
        EXPECT_EQ(frame, (Bytes{9, 8, 7, 99, 6, 5, 4, 99}));
    }
}

TEST(SubtractDark, LeavesTheFourthByteAlone) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        Bytes frame = {10, 10, 10, 99, 10, 10, 10, 1};
        const Bytes dark = {1, 2, 3, 4, 5, 6};
        kernelsFor(level).subtractDark(frame.data(), 8, dark.data(), 2, 1, 4);
        EXPECT_EQ(frame, (Bytes{9, 8, 7, 99, 6, 5, 4, 1}));
    }
}

TEST(AddToSums, WrapsAtSixteenBits) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        Words sums = {65535, 65281, 1};
        const Bytes frame = {1, 255, 2, 77};
        for (const uint32_t bytesPerPixel : pixelSizes)
            kernelsFor(level).addToSums(sums.data(), frame.data(), 4, 1, 1, bytesPerPixel);
        EXPECT_EQ(sums, (Words{1, 255, 5}));
    }
}

TEST(DivideSums, CutsOff) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        const Words sums = {0, 2, 3, 5, 65535};
        Bytes target(5);
        kernelsFor(level).divideSums(target.data(), sums.data(), 5, 3);
        EXPECT_EQ(target, (Bytes{0, 0, 1, 1, 0x55}));
    }
}

TEST(DivideSums, IsRightForEverySum) {
    Words sums(65536);
    for (size_t i = 0; i < sums.size(); ++i) sums[i] = uint16_t(i);
    Bytes want(sums.size()), got(sums.size());
    std::vector<uint32_t> divisors = {65535, 65534, 32769, 32768, 32767, 4099, 4096};
    for (uint32_t divisor = 1; divisor <= 260; ++divisor) divisors.push_back(divisor);
    for (const uint32_t divisor : divisors) {
        for (uint32_t sum = 0; sum < sums.size(); ++sum) want[sum] = uint8_t(sum / divisor);
        for (const CpuLevel level : levelsOfThisMachine()) {
            kernelsFor(level).divideSums(got.data(), sums.data(), sums.size(), uint16_t(divisor));
            ASSERT_TRUE(want == got) << "divisor " << divisor << ", level " << int(level);
        }
    }
}

TEST(FlipHorizontally, MirrorsEachRowAndMovesThreeBytesOfAPixel) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        Bytes odd = {1, 2, 3, 4, 5, 6, 7, 8, 9, 99, 99, 99};
        kernelsFor(level).flipHorizontally(odd.data(), 12, 3, 1, 3);
        EXPECT_EQ(odd, (Bytes{7, 8, 9, 4, 5, 6, 1, 2, 3, 99, 99, 99}));
        Bytes wide = {1, 2, 3, 97, 4, 5, 6, 98};
        kernelsFor(level).flipHorizontally(wide.data(), 8, 2, 1, 4);
        EXPECT_EQ(wide, (Bytes{4, 5, 6, 97, 1, 2, 3, 98}));
    }
}

TEST(FlipVertically, ExchangesRowsAndLeavesTheirPadding) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        Bytes odd = {1, 2, 3, 91, 4, 5, 6, 92, 7, 8, 9, 93};
        kernelsFor(level).flipVertically(odd.data(), 4, 1, 3, 3);
        EXPECT_EQ(odd, (Bytes{7, 8, 9, 91, 4, 5, 6, 92, 1, 2, 3, 93}));
        Bytes wide = {1, 2, 3, 97, 4, 5, 6, 98};
        kernelsFor(level).flipVertically(wide.data(), 4, 1, 2, 4);
        EXPECT_EQ(wide, (Bytes{4, 5, 6, 98, 1, 2, 3, 97}));
    }
}

/// What grey means, from the weights themselves.
uint8_t grey(uint8_t blue, uint8_t green, uint8_t red) {
    return uint8_t((uint32_t(blue * 14.592) + uint32_t(green * 75.136) + uint32_t(red * 38.272)) >> 7);
}

TEST(ToGrey, IsTheThreeTablesForEveryValueOfEveryChannel) {
    // Every pair of values of two channels, with the third at a few places, in rows of 256 pixels.
    for (const uint32_t bytesPerPixel : pixelSizes)
        for (const uint8_t third : Bytes{0, 85, 255})
            for (uint32_t outer = 0; outer < 256; ++outer)
                for (uint32_t order = 0; order < 3; ++order) {
                    Bytes row(256 * bytesPerPixel, 77);
                    for (uint32_t inner = 0; inner < 256; ++inner) {
                        uint8_t* const pixel = &row[inner * bytesPerPixel];
                        pixel[order] = uint8_t(inner);
                        pixel[(order + 1) % 3] = uint8_t(outer);
                        pixel[(order + 2) % 3] = third;
                    }
                    Bytes want = row;
                    for (uint8_t* pixel = want.data(); pixel < want.data() + want.size(); pixel += bytesPerPixel)
                        pixel[0] = pixel[1] = pixel[2] = grey(pixel[0], pixel[1], pixel[2]);
                    for (const CpuLevel level : levelsOfThisMachine()) {
                        Bytes got = row;
                        kernelsFor(level).toGrey(got.data(), ptrdiff_t(got.size()), 256, 1, bytesPerPixel);
                        ASSERT_TRUE(want == got) << "channel " << order << ", " << outer << ", level " << int(level);
                    }
                }
}

TEST(ToGrey, WhiteIsNotQuiteWhite) {
    Bytes pixel = {255, 255, 255};
    plainKernels.toGrey(pixel.data(), 3, 1, 1, 3);
    EXPECT_EQ(pixel, Bytes(3, 254));
}

TEST(ToNegative, ComplementsThreeBytesOfAPixel) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        Bytes frame = {0, 1, 255, 50};
        kernelsFor(level).toNegative(frame.data(), 4, 1, 1, 4);
        EXPECT_EQ(frame, (Bytes{255, 254, 0, 50}));
        kernelsFor(level).toNegative(frame.data(), 4, 1, 1, 3);
        EXPECT_EQ(frame, (Bytes{0, 1, 255, 50}));
    }
}

/// Runs `step(level's kernels, frame, stride, width, height, bytesPerPixel)` for every width up to 100, rows with and
/// without padding, both orders of rows, and compares all bytes, also those around the rows.
template <class Step>
void expectEveryLevelAgreesInPlace(const Step& step) {
    static const Bytes pool = hostileSamples<uint8_t>(16384, 3);
    for (const uint32_t bytesPerPixel : pixelSizes)
        for (const uint32_t height : {1u, 2u, 3u, 4u})
            for (uint32_t width = 1; width <= widest; ++width)
                for (const size_t padding : {size_t(0), size_t(width % 4 + 1)})
                    for (const RowOrder order : rowOrders) {
                        const TestPicture<uint8_t> before(width * bytesPerPixel, height, padding, guard, order,
                                                          pool.begin() + ptrdiff_t(width * 61 + height * 997));
                        TestPicture<uint8_t> want = before;
                        step(plainKernels, want.first(), want.stride(), width, height, bytesPerPixel);
                        ASSERT_TRUE(want.onlyRowsDiffer(before)) << "plain, " << width << " x " << height;
                        for (const CpuLevel level : levelsOfThisMachine()) {
                            TestPicture<uint8_t> got = before;
                            step(kernelsFor(level), got.first(), got.stride(), width, height, bytesPerPixel);
                            ASSERT_TRUE(want.all() == got.all())
                                << "level " << int(level) << ", " << width << " x " << height << ", " << bytesPerPixel
                                << " bytes, padding " << padding << ", order " << int(order);
                        }
                    }
}

TEST(SubtractDark, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgreesInPlace([](const PixelKernels& pixels, uint8_t* frame, ptrdiff_t stride, uint32_t width,
                                     uint32_t height, uint32_t bytesPerPixel) {
        const Bytes dark = hostileSamples<uint8_t>(size_t(width) * height * 3, 4);  // ends with its last pixel
        pixels.subtractDark(frame, stride, dark.data(), width, height, bytesPerPixel);
    });
}

TEST(FlipHorizontally, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgreesInPlace(
        [](const PixelKernels& pixels, auto... arguments) { pixels.flipHorizontally(arguments...); });
}

TEST(FlipVertically, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgreesInPlace(
        [](const PixelKernels& pixels, auto... arguments) { pixels.flipVertically(arguments...); });
}

TEST(ToGrey, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgreesInPlace([](const PixelKernels& pixels, auto... arguments) { pixels.toGrey(arguments...); });
}

TEST(ToNegative, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgreesInPlace(
        [](const PixelKernels& pixels, auto... arguments) { pixels.toNegative(arguments...); });
}

TEST(Flips, TwiceIsTheSamePicture) {
    for (const CpuLevel level : levelsOfThisMachine())
        for (uint32_t width = 1; width <= widest; ++width) {
            const Bytes before = hostileSamples<uint8_t>(width * 3 * 5, width);
            for (const auto flip : {&PixelKernels::flipHorizontally, &PixelKernels::flipVertically}) {
                Bytes frame = before;
                for (int i = 0; i < 2; ++i) (kernelsFor(level).*flip)(frame.data(), ptrdiff_t(width * 3), width, 5, 3);
                ASSERT_EQ(frame, before);
            }
        }
}

TEST(AddToSums, EveryLevelAgreesWithThePlainLoop) {
    static const Bytes pool = hostileSamples<uint8_t>(16384, 5);
    for (const uint32_t bytesPerPixel : pixelSizes)
        for (const uint32_t height : {1u, 3u})
            for (uint32_t width = 1; width <= widest; ++width)
                for (const size_t padding : {size_t(0), size_t(width % 4 + 1)})
                    for (const RowOrder order : rowOrders) {
                        TestPicture<uint8_t> frame(width * bytesPerPixel, height, padding, 0, order,
                                                   pool.begin() + ptrdiff_t(width));
                        const size_t count = size_t(width) * height * 3;
                        const Words before = hostileSamples<uint16_t>(count + 2 * guard, width);
                        Words want = before;
                        plainKernels.addToSums(want.data() + guard, frame.first(), frame.stride(), width, height,
                                               bytesPerPixel);
                        ASSERT_TRUE(std::equal(want.begin(), want.begin() + guard, before.begin()));
                        ASSERT_TRUE(std::equal(want.end() - guard, want.end(), before.end() - guard));
                        for (const CpuLevel level : levelsOfThisMachine()) {
                            Words got = before;
                            kernelsFor(level).addToSums(got.data() + guard, frame.first(), frame.stride(), width,
                                                        height, bytesPerPixel);
                            ASSERT_EQ(want, got) << "level " << int(level) << ", " << width << " x " << height;
                        }
                    }
}

TEST(DivideSums, EveryLevelAgreesWithThePlainLoopAtEveryLength) {
    for (size_t count = 0; count <= widest; ++count) {
        const Words sums = hostileSamples<uint16_t>(count, uint32_t(count));
        const Bytes before = hostileSamples<uint8_t>(count + 2 * guard, 1);
        Bytes want = before;
        for (size_t i = 0; i < count; ++i) want[guard + i] = uint8_t(sums[i] / 7);
        for (const CpuLevel level : levelsOfThisMachine()) {
            Bytes got = before;
            kernelsFor(level).divideSums(got.data() + guard, sums.data(), count, 7);
            ASSERT_EQ(want, got) << "level " << int(level) << ", count " << count;
        }
    }
}

}  // namespace steps_test
}  // namespace vexcap
