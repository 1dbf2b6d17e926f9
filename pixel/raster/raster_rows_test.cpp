// The rows that drawing is made of: every level agrees with the plain loop in every byte, and with what is meant.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "pixel/kernels.h"
#include "pixel/kernels_testing.h"
#include "pixel/raster/raster_testing.h"

namespace vexcap {
namespace raster_rows_test {

using Bytes = std::vector<uint8_t>;
constexpr size_t guard = 40, widest = 100;

/// Runs `draw(level's kernels, row, pixels, bytesPerPixel)` for every width up to 100, at four places of a vector, and
/// compares all bytes.
template <class Draw>
void expectEveryLevelDrawsAlike(const Draw& draw) {
    for (const uint32_t bytesPerPixel : pixelSizes)
        for (size_t pixels = 0; pixels <= widest; ++pixels)
            for (size_t shift = 0; shift < 4; ++shift) {
                const size_t begin = guard + shift, bytes = pixels * bytesPerPixel;
                const Bytes before = hostileSamples<uint8_t>(begin + bytes + guard, uint32_t(pixels));
                Bytes want = before;
                draw(plainKernels, want.data() + begin, pixels, bytesPerPixel);
                ASSERT_TRUE(std::equal(want.begin(), want.begin() + ptrdiff_t(begin), before.begin()));
                ASSERT_TRUE(std::equal(want.end() - guard, want.end(), before.end() - guard));
                for (size_t i = 3; bytesPerPixel == 4 && i < bytes; i += 4)
                    ASSERT_EQ(want[begin + i], before[begin + i]) << "fourth byte " << i;
                for (const CpuLevel level : levelsOfThisMachine()) {
                    Bytes got = before;
                    draw(kernelsFor(level), got.data() + begin, pixels, bytesPerPixel);
                    ASSERT_TRUE(want == got) << "level " << int(level) << ", " << pixels << " pixels of "
                                             << bytesPerPixel << " bytes, shift " << shift;
                }
            }
}

TEST(FillRow, EveryLevelAgreesWithThePlainLoop) {
    expectEveryLevelDrawsAlike([](const PixelKernels& kernel, uint8_t* row, size_t pixels, uint32_t bytesPerPixel) {
        kernel.fillRow(row, pixels, bytesPerPixel, 0xFF123456);
    });
}

TEST(PaintRow, EveryLevelAgreesWithThePlainLoop) {
    for (const uint32_t seed : {1u, 2u})
        expectEveryLevelDrawsAlike(
            [=](const PixelKernels& kernel, uint8_t* row, size_t pixels, uint32_t bytesPerPixel) {
                Bytes mask = hostileSamples<uint8_t>(pixels, seed);  // ends with its last pixel
                for (size_t i = 0; i < pixels; ++i)
                    if (i / 16 % 3 == seed % 3) mask[i] = 0;
                kernel.paintRow(row, mask.data(), pixels, bytesPerPixel, 0xFF123456);
            });
}

TEST(BlendRow, EveryLevelAgreesWithThePlainLoop) {
    for (const uint8_t alpha : Bytes{0, 1, 37, 99, 100, 101, 199, 200, 255})
        expectEveryLevelDrawsAlike(
            [=](const PixelKernels& kernel, uint8_t* row, size_t pixels, uint32_t bytesPerPixel) {
                const Bytes picture = hostileSamples<uint8_t>(pixels * 3, 7);  // ends with its last pixel
                kernel.blendRow(row, picture.data(), pixels, bytesPerPixel, alpha);
            });
}

TEST(BlendRow, IsItsFormulaForAllBytesAndShares) {
    // Every byte over every other, in pixels of three.
    Bytes there(65538), picture(65538), want(65538);
    for (size_t i = 0; i < there.size(); ++i) {
        there[i] = uint8_t(i);
        picture[i] = uint8_t(i >> 8);
    }
    Bytes wide(there.size() / 3 * 4);
    for (int alpha = 0; alpha <= 255; ++alpha) {
        for (size_t i = 0; i < want.size(); ++i)
            want[i] = uint8_t(picture[i] + (int(there[i]) - int(picture[i])) * alpha / 100);
        for (const CpuLevel level : levelsOfThisMachine()) {
            Bytes got = there;
            kernelsFor(level).blendRow(got.data(), picture.data(), got.size() / 3, 3, uint8_t(alpha));
            ASSERT_TRUE(got == want) << "alpha " << alpha << ", level " << int(level);
        }
        if (alpha % 20 != 0) continue;
        kernels().bgr24ToBgrx32(wide.data(), 0, there.data(), 0, uint32_t(there.size() / 3), 1);
        kernels().blendRow(wide.data(), picture.data(), there.size() / 3, 4, uint8_t(alpha));
        Bytes got(there.size());
        kernels().bgrx32ToBgr24(got.data(), 0, wide.data(), 0, uint32_t(there.size() / 3), 1);
        ASSERT_TRUE(got == want) << "alpha " << alpha << ", 4 bytes";
    }
}

/// What target pixels first to first + count - 1 of `target` show of `source` pixels.
std::vector<uint32_t> nearest(uint32_t first, uint32_t count, uint32_t source, uint32_t target) {
    std::vector<uint32_t> indices;
    for (uint64_t i = first; i < uint64_t(first) + count; ++i) indices.push_back(uint32_t(i * source / target));
    return indices;
}

TEST(Stretch, EveryLevelAgreesWithThePlainLoop) {
    const Bytes pool = hostileSamples<uint8_t>(200000, 9);
    for (const uint32_t sourceBytes : pixelSizes)
        for (const uint32_t targetBytes : pixelSizes)
            for (const uint32_t sourceWidth : {1u, 2u, 5u, 6u, 7u, 16u, 33u, 71u, 150u, 321u, 640u})
                for (uint32_t width = 1; width <= widest; width += width < 40 ? 1 : 7)
                    for (const RowOrder order : rowOrders) {
                        // The picture is cut on the left in every third case.
                        const uint32_t whole = width % 3 == 0 ? width + 5 : width;
                        const uint32_t sourceHeight = 5, height = width % 2 ? 3 : 12;
                        const auto columns = nearest(whole - width, width, sourceWidth, whole);
                        const auto rows = nearest(0, height, sourceHeight, height);
                        TestPicture<uint8_t> source(size_t(sourceWidth) * sourceBytes, sourceHeight, width % 4, 0,
                                                    order, pool.begin());
                        const TestPicture<uint8_t> before(size_t(width) * targetBytes, height, width % 5, guard, order,
                                                          pool.begin() + 50000);
                        const StretchIndices indices{columns.data(), width, rows.data(), height};
                        TestPicture<uint8_t> want = before;
                        plainKernels.stretch(want.first(), want.stride(), targetBytes, source.first(), source.stride(),
                                             sourceBytes, indices);
                        ASSERT_TRUE(want.onlyRowsDiffer(before));
                        for (const CpuLevel level : levelsOfThisMachine()) {
                            TestPicture<uint8_t> got = before;
                            kernelsFor(level).stretch(got.first(), got.stride(), targetBytes, source.first(),
                                                      source.stride(), sourceBytes, indices);
                            ASSERT_TRUE(want.all() == got.all())
                                << "level " << int(level) << ", " << sourceWidth << " of " << sourceBytes << " to "
                                << width << " of " << targetBytes;
                        }
                    }
}

}  // namespace raster_rows_test
}  // namespace vexcap
