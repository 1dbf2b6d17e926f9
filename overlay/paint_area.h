// What a host hands in for a paint, checked.
#pragma once

#include <vexcap/drawing.h>

#include <cstdint>

#include "frame/paint_overlay.h"

namespace vexcap {

/// Where a paint goes, in pixels of its target. Only one with an inside, and with sides of at most 1048576, is painted
/// in.
struct PaintArea {
    explicit PaintArea(const vex_rect& rectangle)
        : left(rectangle.left),
          top(rectangle.top),
          width(int64_t(rectangle.right) - rectangle.left),
          height(int64_t(rectangle.bottom) - rectangle.top) {}

    bool Paintable() const { return width >= 1 && height >= 1 && width <= largestSide && height <= largestSide; }

    static constexpr int64_t largestSide = 1 << 20;

    int64_t left, top;
    int64_t width, height;
};

/// Dots an inch as mulDiv takes them: 96 where nothing is known.
inline int32_t dotsPerInch(uint32_t told) {
    if (told == 0) return 96;
    return told > INT32_MAX ? INT32_MAX : int32_t(told);
}

}  // namespace vexcap
