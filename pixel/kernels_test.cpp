#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "pixel/kernels.h"
#include "pixel/kernels_testing.h"

namespace vexcap {
namespace kernels_test {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;
const std::vector<uint32_t> heights = {1, 2, 3};
constexpr size_t guardSamples = 40;

TEST(KernelsFor, ThePlainLevelIsAlwaysThereAndTheBestIsTheDefault) {
    EXPECT_EQ(&kernelsFor(CpuLevel::Plain), &plainKernels);
    EXPECT_EQ(&kernels(), &kernelsFor(bestCpuLevel()));
    EXPECT_EQ(&kernelsFor(CpuLevel::Avx2) == &plainKernels, bestCpuLevel() == CpuLevel::Plain);
}

TEST(CopyRowsReversed, TheLastRowComesFirst) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        const Bytes source = {1, 2, 3, 4, 5, 6};
        Bytes target(8, 9);
        kernelsFor(level).copyRowsReversed(target.data() + 1, source.data(), 2, 3);
        EXPECT_EQ(target, (Bytes{9, 5, 6, 3, 4, 1, 2, 9}));
    }
}

TEST(SwapBytes16, ThePlainLoopExchangesTheTwoBytes) {
    const Words source = {0x1234, 0x00FF, 0xFF00, 0};
    Words target(4);
    plainKernels.swapBytes16(target.data(), source.data(), 4);
    EXPECT_EQ(target, (Words{0x3412, 0xFF00, 0x00FF, 0}));
}

TEST(ShiftLeft16, ThePlainLoopLosesWhatLeavesAtTheTop) {
    const Words source = {0x0FFF, 0x1001, 0x8000, 1};
    Words target(4);
    plainKernels.shiftLeft16(target.data(), source.data(), 4, 4);
    EXPECT_EQ(target, (Words{0xFFF0, 0x0010, 0, 16}));
    plainKernels.shiftLeft16(target.data(), source.data(), 4, 0);
    EXPECT_EQ(target, source);
    plainKernels.shiftLeft16(target.data(), source.data(), 4, 15);
    EXPECT_EQ(target, (Words{0x8000, 0x8000, 0, 0x8000}));
}

TEST(Narrow16To8, ThePlainLoopKeepsTheLowBits) {
    const Words source = {0x1234, 0x00FF, 0xFF00, 0x0100};
    Bytes target(4);
    plainKernels.narrow16To8(target.data(), source.data(), 4);
    EXPECT_EQ(target, (Bytes{0x34, 0xFF, 0, 0}));
}

TEST(Mono8ToBgr24, ThePlainLoopWritesGreyThreeTimesAndLeavesThePadding) {
    const Bytes source = {7, 8, 99, 9, 10, 99};
    Bytes target(2 * 8, 1);
    plainKernels.mono8ToBgr24(target.data(), 8, source.data(), 3, 2, 2);
    EXPECT_EQ(target, (Bytes{7, 7, 7, 8, 8, 8, 1, 1, 9, 9, 9, 10, 10, 10, 1, 1}));
}

TEST(Mono16ToBgr24, ThePlainLoopShiftsToEightBitsAndStopsAtTheBrightest) {
    for (uint32_t depth = 9; depth <= 16; ++depth) {
        const uint32_t step = 1u << (depth - 8);
        const Words source = {0, uint16_t(step - 1), uint16_t(step), uint16_t(255 * step), 65535};
        Bytes target(15);
        plainKernels.mono16ToBgr24(target.data(), 15, source.data(), 10, 5, 1, depth);
        EXPECT_EQ(target, (Bytes{0, 0, 0, 0, 0, 0, 1, 1, 1, 255, 255, 255, 255, 255, 255}));
    }
    const Words above = {4095, 4096};
    Bytes target(6);
    plainKernels.mono16ToBgr24(target.data(), 6, above.data(), 4, 2, 1, 12);
    EXPECT_EQ(target, Bytes(6, 255));
}

TEST(Mono16ToBgr48, ThePlainLoopWritesGreyThreeTimesUnshifted) {
    const Words source = {0x1234, 0xFFFF};
    Words target(6);
    plainKernels.mono16ToBgr48(target.data(), 12, source.data(), 4, 2, 1);
    EXPECT_EQ(target, (Words{0x1234, 0x1234, 0x1234, 0xFFFF, 0xFFFF, 0xFFFF}));
}

TEST(Rgb24ToBgr24, ThePlainLoopExchangesRedAndBlue) {
    const Bytes source = {1, 2, 3, 4, 5, 6};
    Bytes target(6);
    plainKernels.rgb24ToBgr24(target.data(), 6, source.data(), 6, 2, 1);
    EXPECT_EQ(target, (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST(Bgrx32ToBgr24, ThePlainLoopDropsTheFourthByte) {
    const Bytes source = {1, 2, 3, 99, 4, 5, 6, 99};
    Bytes target(6);
    plainKernels.bgrx32ToBgr24(target.data(), 6, source.data(), 8, 2, 1);
    EXPECT_EQ(target, (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(Bgr24ToBgrx32, ThePlainLoopLeavesTheFourthByteAlone) {
    const Bytes source = {1, 2, 3, 4, 5, 6};
    Bytes target(8, 77);
    plainKernels.bgr24ToBgrx32(target.data(), 8, source.data(), 6, 2, 1);
    EXPECT_EQ(target, (Bytes{1, 2, 3, 77, 4, 5, 6, 77}));
}

TEST(AddLuminance, EachColourHasItsWeight) {
    for (const CpuLevel level : levelsOfThisMachine())
        for (const uint32_t bytesPerPixel : {3u, 4u}) {
            const auto of = [&](uint8_t blue, uint8_t green, uint8_t red) {
                const Bytes pixel = {blue, green, red, 255};
                return kernelsFor(level).addLuminance(0.0, pixel.data(), 1, bytesPerPixel);
            };
            for (unsigned value = 0; value < 256; ++value) {
                EXPECT_EQ(of(uint8_t(value), 0, 0), 0.114 * value);
                EXPECT_EQ(of(0, uint8_t(value), 0), 0.587 * value);
                EXPECT_EQ(of(0, 0, uint8_t(value)), 0.299 * value);
            }
        }
}

TEST(AddLuminance, PixelsAreAddedOneByOneToTheSumThatIsGiven) {
    // Next to such a sum each pixel is lost, all of them together would not be.
    const double large = 1e16;
    const Bytes ones(3 * 100, 1);
    const Bytes whole(3 * 100, 255);
    for (const CpuLevel level : levelsOfThisMachine()) {
        EXPECT_EQ(kernelsFor(level).addLuminance(large, ones.data(), 100, 3), large);
        EXPECT_EQ(kernelsFor(level).addLuminance(7.5, ones.data(), 0, 3), 7.5);
        EXPECT_NEAR(kernelsFor(level).addLuminance(0, whole.data(), 100, 3), 25500.0, 1e-6);
    }
}

TEST(AddLuminance, TheSumGoesFromLeftToRightGreenThenRedThenBlue) {
    std::array<double, 256> green{}, red{}, blue{};
    for (size_t i = 0; i < 256; ++i) {
        green[i] = 0.587 * double(i);
        red[i] = 0.299 * double(i);
        blue[i] = 0.114 * double(i);
    }
    for (const uint32_t bytesPerPixel : {3u, 4u})
        for (uint32_t pixels = 0; pixels <= 100; ++pixels) {
            const Bytes row = hostileSamples<uint8_t>(pixels * bytesPerPixel, pixels);
            double want = 0.1;
            for (size_t x = 0; x < pixels; ++x) {
                const uint8_t* pixel = row.data() + x * bytesPerPixel;
                want += green[pixel[1]] + red[pixel[2]] + blue[pixel[0]];
            }
            for (const CpuLevel level : levelsOfThisMachine())
                ASSERT_EQ(kernelsFor(level).addLuminance(0.1, row.data(), pixels, bytesPerPixel), want);
        }
}

TEST(ExposeRow, ThePlainLoopFollowsTheFormula) {
    const auto one = [](float light, float noise, float exposure, float readVariance, float gain, float black) {
        uint16_t value = 0;
        plainKernels.exposeRow(&value, &light, &noise, 1, exposure, readVariance, gain, black, 4095);
        return value;
    };
    EXPECT_EQ(one(0.5f, 0, 1000, 0, 2, 16), 1016);                             // 16 + 2 * 500
    EXPECT_EQ(one(1, 2, 100, 44, 1, 0), 124);                                  // 100 + 2 * sqrt(144)
    EXPECT_EQ(one(1, -2, 100, 44, 0.5f, 10), 48);                              // 10 + (100 - 24) / 2
    EXPECT_EQ(one(1, 0, 2.5f, 0, 1, 0), 2);                                    // half way goes to the even one
    EXPECT_EQ(one(1, 0, 3.5f, 0, 1, 0), 4);                                    //
    EXPECT_EQ(one(1, 0, 5000, 0, 1, 0), 4095);                                 // above
    EXPECT_EQ(one(0, -3, 1, 4, 1, 1), 0);                                      // below
    EXPECT_EQ(one(-1, 1, 1, 0, 1, 100), 0);                                    // the root of a negative number
    EXPECT_EQ(one(std::numeric_limits<float>::infinity(), 0, 1, 0, 1, 0), 0);  // infinity times no noise
    EXPECT_EQ(one(std::numeric_limits<float>::infinity(), 1, 1, 0, 1, 0), 4095);
}

TEST(ExposeRow, EveryLevelAgreesWithThePlainLoopInEveryBit) {
    std::mt19937 random(5);
    std::normal_distribution<float> normal;
    constexpr size_t longest = 100;
    for (size_t count = 0; count <= longest; ++count)
        for (int turn = 0; turn < 20; ++turn) {
            std::vector<float> light(count), noise(count);
            for (float& value : light) value = std::abs(normal(random));
            for (float& value : noise) value = normal(random);
            if (count > 0 && turn % 4 == 0) {
                const float strange[] = {std::numeric_limits<float>::quiet_NaN(), 1e38f, -1e38f, -0.0f,
                                         std::numeric_limits<float>::infinity(),  1e-42f};
                light[size_t(random()) % count] = strange[size_t(random()) % 6];
                noise[size_t(random()) % count] = strange[size_t(random()) % 6];
            }
            const float exposure = 3000 * std::abs(normal(random)), gain = std::abs(normal(random));
            const Words before = hostileSamples<uint16_t>(count + 2 * guardSamples, uint32_t(turn));
            Words want = before;
            plainKernels.exposeRow(want.data() + guardSamples, light.data(), noise.data(), count, exposure, 3.7f, gain,
                                   12.3f, 4095);
            for (size_t i = 0; i < guardSamples; ++i) ASSERT_EQ(want[i], before[i]);
            for (size_t i = count + guardSamples; i < want.size(); ++i) ASSERT_EQ(want[i], before[i]);
            for (const CpuLevel level : levelsOfThisMachine()) {
                Words got = before;
                kernelsFor(level).exposeRow(got.data() + guardSamples, light.data(), noise.data(), count, exposure,
                                            3.7f, gain, 12.3f, 4095);
                ASSERT_EQ(want, got) << "level " << int(level) << ", count " << count;
            }
        }
}

TEST(ExposeRow, EveryLevelRoundsEachStepAlike) {
    // Noise that nearly cancels the signal and a large gain lift the last bit of every step into the result.
    std::mt19937 random(6);
    std::uniform_real_distribution<float> electrons(10, 1000);
    constexpr size_t count = 10000;
    constexpr float readVariance = 3.7f, gain = 1e5f, black = 30000;
    std::vector<float> light(count), noise(count);
    for (size_t i = 0; i < count; ++i) {
        light[i] = electrons(random);
        noise[i] = -light[i] / std::sqrt(light[i] + readVariance);
    }
    Words want(count), got(count);
    plainKernels.exposeRow(want.data(), light.data(), noise.data(), count, 1, readVariance, gain, black, 65535);
    EXPECT_GT(std::count_if(want.begin(), want.end(), [](uint16_t value) { return value != uint16_t(black); }), 100);
    for (const CpuLevel level : levelsOfThisMachine()) {
        kernelsFor(level).exposeRow(got.data(), light.data(), noise.data(), count, 1, readVariance, gain, black, 65535);
        EXPECT_EQ(want, got) << "level " << int(level);
    }
}

// `kernel(kernels, target, source, count)`, on arrays of every length up to 100, also in place if it may be.
template <class Target, class Kernel>
void expectEveryLevelAgreesOnArrays(bool inPlace, const Kernel& kernel) {
    for (size_t count = 0; count <= 100; ++count) {
        const Words source = hostileSamples<uint16_t>(count, uint32_t(count));
        const auto before = hostileSamples<Target>(count + 2 * guardSamples, 1);
        auto want = before;
        kernel(plainKernels, want.data() + guardSamples, source.data(), count);
        for (size_t i = 0; i < guardSamples; ++i) ASSERT_EQ(want[i], before[i]);
        for (size_t i = count + guardSamples; i < want.size(); ++i) ASSERT_EQ(want[i], before[i]);
        for (const CpuLevel level : levelsOfThisMachine()) {
            auto got = before;
            kernel(kernelsFor(level), got.data() + guardSamples, source.data(), count);
            ASSERT_EQ(want, got) << "level " << int(level) << ", count " << count;
            if constexpr (sizeof(Target) == sizeof(uint16_t)) {
                if (!inPlace) continue;
                got = before;
                std::copy(source.begin(), source.end(), got.begin() + guardSamples);
                kernel(kernelsFor(level), got.data() + guardSamples, got.data() + guardSamples, count);
                ASSERT_EQ(want, got) << "in place, level " << int(level) << ", count " << count;
            }
        }
    }
}

TEST(SwapBytes16, EveryLevelAgreesWithThePlainLoopAlsoInPlace) {
    expectEveryLevelAgreesOnArrays<uint16_t>(
        true, [](const PixelKernels& pixels, uint16_t* target, const uint16_t* source, size_t count) {
            pixels.swapBytes16(target, source, count);
        });
}

TEST(ShiftLeft16, EveryLevelAgreesWithThePlainLoopAlsoInPlace) {
    for (uint32_t shift = 0; shift <= 15; ++shift)
        expectEveryLevelAgreesOnArrays<uint16_t>(
            true, [shift](const PixelKernels& pixels, uint16_t* target, const uint16_t* source, size_t count) {
                pixels.shiftLeft16(target, source, count, shift);
            });
}

TEST(Narrow16To8, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgreesOnArrays<uint8_t>(
        false, [](const PixelKernels& pixels, uint8_t* target, const uint16_t* source, size_t count) {
            pixels.narrow16To8(target, source, count);
        });
}

TEST(Mono8ToBgr24, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgrees<uint8_t, uint8_t>(
        3, 1, 1, heights, [](const PixelKernels& pixels, auto... arguments) { pixels.mono8ToBgr24(arguments...); });
}

TEST(Mono16ToBgr24, EveryLevelAgreesWithThePlainLoopAtEveryDepth) {
    for (uint32_t depth = 9; depth <= 16; ++depth)
        expectEveryLevelAgrees<uint8_t, uint16_t>(
            3, 1, 1, heights,
            [depth](const PixelKernels& pixels, auto... arguments) { pixels.mono16ToBgr24(arguments..., depth); });
}

TEST(Mono16ToBgr48, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgrees<uint16_t, uint16_t>(
        3, 1, 1, heights, [](const PixelKernels& pixels, auto... arguments) { pixels.mono16ToBgr48(arguments...); });
}

TEST(Rgb24ToBgr24, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgrees<uint8_t, uint8_t>(
        3, 3, 1, heights, [](const PixelKernels& pixels, auto... arguments) { pixels.rgb24ToBgr24(arguments...); });
}

TEST(Bgrx32ToBgr24, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgrees<uint8_t, uint8_t>(
        3, 4, 1, heights, [](const PixelKernels& pixels, auto... arguments) { pixels.bgrx32ToBgr24(arguments...); });
}

TEST(Bgr24ToBgrx32, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelAgrees<uint8_t, uint8_t>(
        4, 3, 1, heights, [](const PixelKernels& pixels, auto... arguments) { pixels.bgr24ToBgrx32(arguments...); });
}

}  // namespace kernels_test
}  // namespace vexcap
