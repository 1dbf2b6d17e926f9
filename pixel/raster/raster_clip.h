// What is visible of things that are drawn.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "pixel/kernels.h"
#include "pixel/raster/raster.h"

namespace vexcap {

inline bool isDrawable(const Canvas& canvas) { return canvas.top && canvas.width > 0 && canvas.height > 0; }
inline bool isDrawable(const Picture& picture) { return picture.top && picture.width > 0 && picture.height > 0; }

/// A pixel that lies on the canvas.
inline uint8_t* pixelAt(const Canvas& canvas, int64_t x, int64_t y) {
    return canvas.Row(int32_t(y)) + x * canvas.bytesPerPixel;
}

/// Columns, rows or steps; `end` lies outside.
struct Range {
    int64_t first, end;

    bool empty() const { return first >= end; }
    int64_t size() const { return end - first; }
    /// What of it lies in least to limit - 1.
    Range cut(int64_t least, int64_t limit) const { return {std::max(first, least), std::min(end, limit)}; }
};

/// The columns or rows whose centres lie at `least` or further, up to `limit`, in 0 to size - 1.
inline Range centresBetween(double least, double limit, int32_t size) {
    const auto clamped = [size](double edge) { return int64_t(std::clamp(std::ceil(edge - 0.5), 0.0, double(size))); };
    return {clamped(least), clamped(limit)};
}

/// Fills what is visible of the columns in a row.
inline void fillSpan(const Canvas& canvas, int64_t y, Range columns, uint32_t colour) {
    const Range visible = columns.cut(0, canvas.width);
    if (y < 0 || y >= canvas.height || visible.empty()) return;
    kernels().fillRow(pixelAt(canvas, visible.first, y), size_t(visible.size()), canvas.bytesPerPixel, colour);
}

}  // namespace vexcap
