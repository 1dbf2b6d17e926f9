// Pictures on pictures: blended, stretched.
#include <algorithm>
#include <array>
#include <cmath>

#include "pixel/kernels.h"
#include "pixel/raster/raster.h"
#include "pixel/raster/raster_clip.h"

namespace vexcap {
namespace {

/// Numbers in a table on the stack, filled anew for every part of a picture.
using Indices = std::array<uint32_t, stretchAtMost>;

/// to[i] = floor((first + i) * source / target) for `count` entries.
void fillIndices(uint32_t* to, uint32_t count, uint64_t first, uint64_t source, uint64_t target) {
    uint64_t whole = first * source / target, rest = first * source % target;
    for (uint32_t i = 0; i < count; ++i) {
        to[i] = uint32_t(whole);
        whole += source / target;
        rest += source % target;
        if (rest >= target) {
            rest -= target;
            ++whole;
        }
    }
}

/// Calls `part(its first byte on the canvas, what its columns and rows show)` for the parts of what is visible of the
/// box.
template <class Part>
void stretchInParts(const Canvas& canvas, const Box& box, const Picture& picture, const Part& part) {
    if (!isDrawable(canvas) || !isDrawable(picture)) return;
    const int64_t width = int64_t(box.right) - box.left, height = int64_t(box.bottom) - box.top;
    const Range columns = Range{box.left, box.right}.cut(0, canvas.width);
    const Range rows = Range{box.top, box.bottom}.cut(0, canvas.height);
    Indices columnIndices, rowIndices;
    for (int64_t x = columns.first; x < columns.end; x += stretchAtMost) {
        const auto partWidth = uint32_t(std::min<int64_t>(columns.end - x, stretchAtMost));
        fillIndices(columnIndices.data(), partWidth, uint64_t(x - box.left), uint64_t(picture.width), uint64_t(width));
        for (int64_t y = rows.first; y < rows.end; y += stretchAtMost) {
            const auto partHeight = uint32_t(std::min<int64_t>(rows.end - y, stretchAtMost));
            fillIndices(rowIndices.data(), partHeight, uint64_t(y - box.top), uint64_t(picture.height),
                        uint64_t(height));
            part(pixelAt(canvas, x, y), StretchIndices{columnIndices.data(), partWidth, rowIndices.data(), partHeight});
        }
    }
}

// Linear filtering, in 256ths

struct LinearPlace {
    size_t first, second;  ///< Two pixels side by side, or the one at the edge twice.
    uint32_t share;        ///< Of the second one, 0 to 256.
};
using LinearPlaces = std::array<LinearPlace, stretchAtMost / 2>;

/// Where the centre of target pixel `at` lies in `size` pixels that are spread from `least` to `limit`.
LinearPlace linearPlace(int64_t at, double least, double limit, int32_t size) {
    const double place = (double(at) + 0.5 - least) / (limit - least) * size - 0.5;
    const double clamped = std::clamp(place, 0.0, double(size - 1));
    const auto first = size_t(clamped);
    return {first, std::min(first + 1, size_t(size) - 1), uint32_t((clamped - double(first)) * 256 + 0.5)};
}

uint32_t between(uint32_t first, uint32_t second, uint32_t share) { return first * (256 - share) + second * share; }

/// A row of linearly filtered pixels, mixed with what is there. The columns' places are bytes.
void drawLinearRow(uint8_t* to, uint32_t bytesPerPixel, const Picture& picture, const LinearPlace& row,
                   const LinearPlace* columns, int64_t count, uint32_t opacity) {
    const uint8_t* const upper = picture.Row(int32_t(row.first));
    const uint8_t* const lower = picture.Row(int32_t(row.second));
    for (int64_t i = 0; i < count; ++i, to += bytesPerPixel)
        for (size_t c = 0; c < 3; ++c) {
            const size_t first = columns[i].first + c, second = columns[i].second + c;
            const uint32_t above = between(upper[first], upper[second], columns[i].share);
            const uint32_t below = between(lower[first], lower[second], columns[i].share);
            const uint32_t value = (between(above, below, row.share) + (1 << 15)) >> 16;
            to[c] = uint8_t((between(to[c], value, opacity) + (1 << 7)) >> 8);
        }
}

}  // namespace

void blendPicture(const Canvas& canvas, const Picture& picture, int32_t x, int32_t y, uint32_t alpha) {
    if (!isDrawable(canvas) || !isDrawable(picture)) return;
    const Range columns = Range{x, int64_t(x) + picture.width}.cut(0, canvas.width);
    const Range rows = Range{y, int64_t(y) + picture.height}.cut(0, canvas.height);
    if (columns.empty()) return;
    const PixelKernels& pixels = kernels();
    for (int64_t row = rows.first; row < rows.end; ++row)
        pixels.blendRow(pixelAt(canvas, columns.first, row), picture.Row(int32_t(row - y)) + 3 * (columns.first - x),
                        size_t(columns.size()), canvas.bytesPerPixel, uint8_t(std::min(alpha, 255u)));
}

void stretchPicture(const Canvas& canvas, const Box& box, const Picture& picture) {
    stretchInParts(canvas, box, picture, [&](uint8_t* target, const StretchIndices& indices) {
        kernels().stretch(target, canvas.stride, canvas.bytesPerPixel, picture.top, picture.stride,
                          picture.bytesPerPixel, indices);
    });
}

void stretchBlended(const Canvas& canvas, const Box& box, const Picture& picture, uint8_t weight) {
    stretchInParts(canvas, box, picture, [&](uint8_t* target, const StretchIndices& indices) {
        for (uint32_t y = 0; y < indices.height; ++y) {
            uint8_t* to = target + y * canvas.stride;
            const uint8_t* const row = picture.Row(int32_t(indices.rows[y]));
            for (uint32_t x = 0; x < indices.width; ++x, to += canvas.bytesPerPixel) {
                const uint8_t* const from = row + size_t(indices.columns[x]) * picture.bytesPerPixel;
                for (int i = 0; i < 3; ++i) to[i] = uint8_t((from[i] * weight + to[i] * (255 - weight) + 127) / 255);
            }
        }
    });
}

void stretchLinear(const Canvas& canvas, float left, float top, float right, float bottom, const Picture& picture,
                   float opacity) {
    for (const float value : {left, top, right, bottom, opacity})
        if (!std::isfinite(value)) return;
    if (!isDrawable(canvas) || !isDrawable(picture) || left >= right || top >= bottom) return;
    const auto share = uint32_t(std::clamp(opacity, 0.0f, 1.0f) * 256 + 0.5f);
    const Range columns = centresBetween(left, right, canvas.width);
    const Range rows = centresBetween(top, bottom, canvas.height);
    LinearPlaces places;
    for (int64_t x = columns.first; x < columns.end; x += places.size()) {
        const int64_t count = std::min<int64_t>(columns.end - x, places.size());
        for (int64_t i = 0; i < count; ++i) {
            LinearPlace& place = places[size_t(i)];
            place = linearPlace(x + i, left, right, picture.width);
            place.first *= picture.bytesPerPixel;
            place.second *= picture.bytesPerPixel;
        }
        for (int64_t y = rows.first; y < rows.end; ++y)
            drawLinearRow(pixelAt(canvas, x, y), canvas.bytesPerPixel, picture,
                          linearPlace(y, top, bottom, picture.height), places.data(), count, share);
    }
}

}  // namespace vexcap
