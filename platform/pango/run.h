// Pixels that stand side by side.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

#include "platform/text_raster.h"

namespace vexcap::pango {

/// Set pixels of one row, from `left` up to `right`, which lies outside.
struct Run {
    int32_t row;
    int32_t left;
    int32_t right;
};

/// Finds the runs of one row of coverages; what is covered by half or more is set.
template <typename Take>
void forEachRun(std::span<const uint8_t> coverages, int32_t row, Take take) {
    const auto isSet = [](uint8_t coverage) { return coverage >= 128; };
    const auto begin = coverages.begin(), end = coverages.end();
    for (auto left = std::find_if(begin, end, isSet); left != end;) {
        const auto right = std::find_if_not(left, end, isSet);
        take(Run{row, int32_t(left - begin), int32_t(right - begin)});
        left = std::find_if(right, end, isSet);
    }
}

/// Sets a run that lies x to the right and y below, as much of it as the mask has before the column `end`.
inline void setRun(const TextMask& mask, const Run& run, int64_t x, int64_t y, int64_t end) {
    const int64_t row = y + run.row;
    const int64_t left = std::max<int64_t>(x + run.left, 0);
    const int64_t right = std::min({x + run.right, int64_t(mask.width), end});
    if (row < 0 || row >= mask.height || left >= right) return;
    std::memset(mask.pixels + row * mask.width + left, 255, size_t(right - left));
}

}  // namespace vexcap::pango
