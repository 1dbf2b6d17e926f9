// Regions of a sensor: what the host asks for, in pixels of a resolution, and what the camera can do.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <optional>

namespace vexcap::cameras {

/// What a camera allows along one side, in pixels after binning.
struct AxisLimits {
    uint32_t minimum = 1;
    uint32_t maximum = 1;
    uint32_t sizeStep = 1;
    uint32_t offsetStep = 1;
};

/// A stretch of one side.
struct AxisSpan {
    uint32_t offset = 0;
    uint32_t size = 0;
    friend bool operator==(const AxisSpan&, const AxisSpan&) = default;
};

/// Steps in which the two go, even, so that a mosaic keeps its corner.
inline uint32_t sizeStepOf(const AxisLimits& limits) { return std::lcm(limits.sizeStep, 2u); }
inline uint32_t offsetStepOf(const AxisLimits& limits) { return std::lcm(limits.offsetStep, 2u); }

/// The stretch that the camera is set to for `asked`, in pixels after binning. `asked` and `whole`, the length of the
/// side, are in pixels of the resolution, which are `factor` times smaller; a size of 0 is the whole side.
/// Sizes and offsets come out in these steps: a finer one is cut to the step below. Nothing when an asked number is
/// odd, or when the stretch does not fit or is too small.
inline std::optional<AxisSpan> fitAxis(const AxisLimits& limits, uint32_t whole, uint32_t factor, AxisSpan asked) {
    if (asked.size == 0) asked = {0, whole};
    if (asked.offset % 2 != 0 || asked.size % 2 != 0) return std::nullopt;
    if (uint64_t(asked.offset) + asked.size > whole) return std::nullopt;
    const uint32_t sizeStep = sizeStepOf(limits);
    const uint32_t offsetStep = offsetStepOf(limits);
    const uint32_t offset = asked.offset / factor / offsetStep * offsetStep;
    if (offset >= limits.maximum) return std::nullopt;
    const uint32_t size = std::min(asked.size / factor, limits.maximum - offset) / sizeStep * sizeStep;
    if (size < limits.minimum || size < 2) return std::nullopt;
    return AxisSpan{offset, size};
}

}  // namespace vexcap::cameras
