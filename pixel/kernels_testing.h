// What the tests of the kernels share: pictures with guards around them, and the comparison of levels.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "pixel/kernels.h"

namespace vexcap {

inline std::vector<CpuLevel> levelsOfThisMachine() {
    std::vector<CpuLevel> levels = {CpuLevel::Plain};
    if (bestCpuLevel() == CpuLevel::Avx2) levels.push_back(CpuLevel::Avx2);
    return levels;
}

/// Samples of a fixed seed, among them many at both ends, next to each other, and far above what a depth allows.
template <class Sample>
std::vector<Sample> hostileSamples(size_t count, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<Sample> samples(count);
    for (Sample& sample : samples) {
        const uint32_t bits = uint32_t(random());
        switch (bits >> 30) {
            case 0:
                sample = Sample(bits % 4);
                break;
            case 1:
                sample = Sample(-Sample(bits % 4));
                break;
            case 2:  // around a depth's maximum
                sample = Sample((1u << (9 + bits % 8)) - 2 + (bits >> 8) % 4);
                break;
            default:
                sample = Sample(bits);
                break;
        }
    }
    return samples;
}

enum class RowOrder { TopDown, BottomUp };
constexpr RowOrder rowOrders[] = {RowOrder::TopDown, RowOrder::BottomUp};

/// A picture whose rows are `padding` samples apart, in memory that ends with the last sample, so that the address
/// sanitizer sees every access outside; `guard` more samples lie on both sides of a target.
template <class Sample>
class TestPicture {
public:
    TestPicture(size_t rowSamples, uint32_t rowCount, size_t paddingSamples, size_t guardSamples, RowOrder rowOrder,
                typename std::vector<Sample>::const_iterator from)
        : samplesInRow(rowSamples),
          rows(rowCount),
          pitch(rowSamples + paddingSamples),
          guard(guardSamples),
          order(rowOrder),
          memory(from, from + ptrdiff_t(2 * guard + pitch * rows - paddingSamples)) {}

    /// Row 0 as a kernel walks the picture.
    Sample* first() { return memory.data() + guard + (order == RowOrder::TopDown ? 0 : pitch * (rows - 1)); }
    ptrdiff_t stride() const {
        const ptrdiff_t bytes = ptrdiff_t(pitch * sizeof(Sample));
        return order == RowOrder::TopDown ? bytes : -bytes;
    }

    const std::vector<Sample>& all() const { return memory; }

    /// True if nothing but the rows' own samples differs from `before`.
    bool onlyRowsDiffer(const TestPicture& before) const {
        for (size_t i = 0; i < memory.size(); ++i) {
            const bool inRow = i >= guard && i < memory.size() - guard && (i - guard) % pitch < samplesInRow;
            if (!inRow && memory[i] != before.memory[i]) return false;
        }
        return true;
    }

private:
    size_t samplesInRow;
    uint32_t rows;
    size_t pitch, guard;
    RowOrder order;
    std::vector<Sample> memory;
};

/// Runs `kernel(level's kernels, target, targetStride, source, sourceStride, width, height)` for every level, both row
/// orders of both pictures, and the given sizes, and compares all bytes, also those around the rows.
template <class Target, class Sample, class Kernel>
void expectEveryLevelAgrees(size_t targetSamples, size_t sourceSamples, uint32_t widthAtLeast,
                            const std::vector<uint32_t>& heights, const Kernel& kernel) {
    constexpr uint32_t widthAtMost = 100;
    constexpr size_t guard = 40, poolSize = 16384, longestPicture = 8192;
    static const std::vector<Target> targetPool = hostileSamples<Target>(poolSize, 1);
    static const std::vector<Sample> sourcePool = hostileSamples<Sample>(poolSize, 2);

    for (const uint32_t height : heights)
        for (uint32_t width = widthAtLeast; width <= widthAtMost; ++width)
            for (const RowOrder targetOrder : rowOrders)
                for (const RowOrder sourceOrder : rowOrders) {
                    const size_t padding = width % 5;
                    const ptrdiff_t from = ptrdiff_t((width * 61 + height * 997) % (poolSize - longestPicture));
                    TestPicture<Sample> source(width * sourceSamples, height, padding, 0, sourceOrder,
                                               sourcePool.begin() + from);
                    const TestPicture<Target> before(width * targetSamples, height, padding, guard, targetOrder,
                                                     targetPool.begin() + from);
                    TestPicture<Target> want = before;
                    kernel(plainKernels, want.first(), want.stride(), source.first(), source.stride(), width, height);
                    ASSERT_TRUE(want.onlyRowsDiffer(before)) << "plain, " << width << " x " << height;
                    for (const CpuLevel level : levelsOfThisMachine()) {
                        TestPicture<Target> got = before;
                        kernel(kernelsFor(level), got.first(), got.stride(), source.first(), source.stride(), width,
                               height);
                        ASSERT_TRUE(want.all() == got.all())
                            << "level " << int(level) << ", " << width << " x " << height << ", target "
                            << int(targetOrder) << ", source " << int(sourceOrder);
                    }
                }
}

}  // namespace vexcap
