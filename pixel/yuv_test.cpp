// Colour conversion of video input: known colours, the formula at full precision, odd sizes, and agreement of levels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "pixel/kernels.h"
#include "pixel/kernels_testing.h"

namespace vexcap {
namespace yuv_test {

using Bytes = std::vector<uint8_t>;

Bytes fromYuyv(CpuLevel level, uint8_t y, uint8_t u, uint8_t v) {
    const Bytes source = {y, u, y, v};
    Bytes target(3);
    kernelsFor(level).yuyvToBgr24(target.data(), 3, source.data(), 4, 1, 1);
    return target;
}

TEST(YuvToBgr24, KnownColoursOfLimitedRange) {
    for (const CpuLevel level : levelsOfThisMachine()) {
        EXPECT_EQ(fromYuyv(level, 16, 128, 128), (Bytes{0, 0, 0}));
        EXPECT_EQ(fromYuyv(level, 235, 128, 128), (Bytes{255, 255, 255}));
        EXPECT_EQ(fromYuyv(level, 126, 128, 128), (Bytes{128, 128, 128}));
        EXPECT_EQ(fromYuyv(level, 0, 128, 128), (Bytes{0, 0, 0}));
        EXPECT_EQ(fromYuyv(level, 255, 128, 128), (Bytes{255, 255, 255}));
        EXPECT_EQ(fromYuyv(level, 82, 90, 240), (Bytes{0, 1, 255}));
        EXPECT_EQ(fromYuyv(level, 144, 54, 34), (Bytes{0, 254, 0}));
        EXPECT_EQ(fromYuyv(level, 41, 240, 110), (Bytes{255, 0, 0}));
    }
}

TEST(YuvToBgr24, EveryColourIsWithinOneOfTheExactValueAndTheSameAtEveryLevel) {
    // Rows of all values of luma, so that the faster forms take part.
    constexpr uint32_t width = 256;
    for (uint32_t u = 0; u < 256; u += 3)
        for (uint32_t v = 0; v < 256; v += 3) {
            Bytes source(width * 2);
            for (uint32_t x = 0; x < width; ++x) {
                source[2 * x] = uint8_t(x);
                source[2 * x + 1] = uint8_t(x % 2 ? v : u);
            }
            Bytes want(width * 3);
            plainKernels.yuyvToBgr24(want.data(), width * 3, source.data(), width * 2, width, 1);
            for (uint32_t x = 0; x < width; ++x) {
                const double light = (double(x) - 16) * 255 / 219;
                const double cb = (double(u) - 128) * 255 / 224, cr = (double(v) - 128) * 255 / 224;
                const double exact[] = {light + 1.772 * cb, light - 0.344136 * cb - 0.714136 * cr, light + 1.402 * cr};
                for (size_t i = 0; i < 3; ++i)
                    ASSERT_LE(std::abs(want[3 * x + i] - std::clamp(exact[i], 0.0, 255.0)), 0.6)
                        << x << ' ' << u << ' ' << v << " channel " << i;
            }
            for (const CpuLevel level : levelsOfThisMachine()) {
                Bytes got(width * 3);
                kernelsFor(level).yuyvToBgr24(got.data(), width * 3, source.data(), width * 2, width, 1);
                ASSERT_EQ(want, got) << "level " << int(level) << ", u " << u << ", v " << v;
            }
        }
}

TEST(YuyvToBgr24, TwoPixelsShareTheirColourAndTheLastOfAnOddRowHasItsOwn) {
    const Bytes source = {16, 90, 235, 240, 126, 128, 99, 128};
    for (const CpuLevel level : levelsOfThisMachine()) {
        Bytes target(9);
        kernelsFor(level).yuyvToBgr24(target.data(), 9, source.data(), 8, 3, 1);
        const Bytes dark = fromYuyv(level, 16, 90, 240), bright = fromYuyv(level, 235, 90, 240);
        EXPECT_TRUE(std::equal(dark.begin(), dark.end(), target.begin()));
        EXPECT_TRUE(std::equal(bright.begin(), bright.end(), target.begin() + 3));
        EXPECT_EQ(Bytes(target.begin() + 6, target.end()), Bytes(3, 128));
    }
}

/// A source in rows of groups of four bytes, of any width.
Bytes groups(uint32_t width, uint32_t height, uint32_t seed) {
    return hostileSamples<uint8_t>(size_t(width + 1) / 2 * 4 * height, seed);
}

TEST(UyvyToBgr24, IsYuyvWithTheBytesOfAPairExchanged) {
    for (const CpuLevel level : levelsOfThisMachine())
        for (uint32_t width = 1; width <= 100; ++width) {
            const Bytes yuyv = groups(width, 2, width);
            Bytes uyvy = yuyv;
            for (size_t i = 0; i < uyvy.size(); i += 2) std::swap(uyvy[i], uyvy[i + 1]);
            const ptrdiff_t sourceStride = ptrdiff_t(yuyv.size() / 2), targetStride = ptrdiff_t(width * 3);
            Bytes want(width * 6), got(width * 6);
            kernelsFor(level).yuyvToBgr24(want.data(), targetStride, yuyv.data(), sourceStride, width, 2);
            kernelsFor(level).uyvyToBgr24(got.data(), targetStride, uyvy.data(), sourceStride, width, 2);
            ASSERT_EQ(want, got) << width;
        }
}

TEST(Nv12ToBgr24, TwoByTwoPixelsShareAColourAlsoAtTheLastOddColumnAndRow) {
    for (const CpuLevel level : levelsOfThisMachine())
        for (const auto& [width, height] : {std::pair(1u, 1u), {3u, 3u}, {32u, 2u}, {33u, 5u}, {64u, 3u}, {99u, 7u}}) {
            const uint32_t pairs = (width + 1) / 2, pairRows = (height + 1) / 2;
            const Bytes luma = hostileSamples<uint8_t>(width * height, width);
            const Bytes colour = hostileSamples<uint8_t>(pairs * 2 * pairRows, height);
            Bytes target(width * height * 3);
            kernelsFor(level).nv12ToBgr24(target.data(), ptrdiff_t(width * 3), luma.data(), ptrdiff_t(width),
                                          colour.data(), ptrdiff_t(pairs * 2), width, height);
            for (uint32_t y = 0; y < height; ++y)
                for (uint32_t x = 0; x < width; ++x) {
                    const uint8_t* const pair = &colour[(y / 2 * pairs + x / 2) * 2];
                    const Bytes want = fromYuyv(level, luma[y * width + x], pair[0], pair[1]);
                    ASSERT_TRUE(std::equal(want.begin(), want.end(), &target[(y * width + x) * 3])) << x << ' ' << y;
                }
        }
}

/// Runs `kernel(level's kernels, target, stride of the target, width, height)` for every level and order of rows.
template <class Kernel>
void expectEveryLevelWritesTheRowsAlone(const Kernel& kernel) {
    constexpr size_t guard = 40;
    static const Bytes pool = hostileSamples<uint8_t>(16384, 6);
    for (const uint32_t height : {1u, 2u, 5u})
        for (uint32_t width = 1; width <= 100; ++width)
            for (const RowOrder order : rowOrders) {
                const TestPicture<uint8_t> before(width * 3, height, width % 4, guard, order,
                                                  pool.begin() + ptrdiff_t(width * 61));
                TestPicture<uint8_t> want = before;
                kernel(plainKernels, want.first(), want.stride(), width, height);
                ASSERT_TRUE(want.onlyRowsDiffer(before)) << "plain, " << width << " x " << height;
                for (const CpuLevel level : levelsOfThisMachine()) {
                    TestPicture<uint8_t> got = before;
                    kernel(kernelsFor(level), got.first(), got.stride(), width, height);
                    ASSERT_TRUE(want.all() == got.all())
                        << "level " << int(level) << ", " << width << " x " << height << ", order " << int(order);
                }
            }
}

TEST(YuyvToBgr24, EveryLevelAgreesWithThePlainLoopInBothOrdersOfRows) {
    expectEveryLevelWritesTheRowsAlone(
        [](const PixelKernels& pixels, uint8_t* target, ptrdiff_t stride, uint32_t width, uint32_t height) {
            const Bytes source = groups(width, height, width);
            pixels.yuyvToBgr24(target, stride, source.data(), ptrdiff_t(source.size() / height), width, height);
        });
}

TEST(UyvyToBgr24, EveryLevelAgreesWithThePlainLoopInBothOrdersOfRows) {
    expectEveryLevelWritesTheRowsAlone(
        [](const PixelKernels& pixels, uint8_t* target, ptrdiff_t stride, uint32_t width, uint32_t height) {
            const Bytes source = groups(width, height, width);
            pixels.uyvyToBgr24(target, stride, source.data(), ptrdiff_t(source.size() / height), width, height);
        });
}

TEST(Nv12ToBgr24, EveryLevelAgreesWithThePlainLoopInBothOrdersOfRows) {
    expectEveryLevelWritesTheRowsAlone(
        [](const PixelKernels& pixels, uint8_t* target, ptrdiff_t stride, uint32_t width, uint32_t height) {
            const Bytes luma = hostileSamples<uint8_t>(size_t(width) * height, width);
            const size_t pairRow = size_t(width + 1) / 2 * 2;
            const Bytes colour = hostileSamples<uint8_t>(pairRow * ((height + 1) / 2), height);
            pixels.nv12ToBgr24(target, stride, luma.data(), ptrdiff_t(width), colour.data(), ptrdiff_t(pairRow), width,
                               height);
        });
}

}  // namespace yuv_test
}  // namespace vexcap
