// Whole numbers in proportion.
#pragma once

#include <cstdint>
#include <limits>

namespace vexcap {

/// number * numerator / denominator, rounded to the nearest, a half away from zero. -1 for a denominator of 0 and for
/// a result beyond 32 bits.
constexpr int32_t mulDiv(int32_t number, int32_t numerator, int32_t denominator) {
    if (denominator == 0) return -1;
    const int64_t product = int64_t(number) * numerator;
    const int64_t divisor = denominator < 0 ? -int64_t(denominator) : denominator;
    const int64_t dividend = denominator < 0 ? -product : product;
    const int64_t half = divisor / 2;
    const int64_t result = dividend < 0 ? -((half - dividend) / divisor) : (dividend + half) / divisor;
    return result > std::numeric_limits<int32_t>::max() || result < std::numeric_limits<int32_t>::min()
               ? -1
               : int32_t(result);
}

}  // namespace vexcap
