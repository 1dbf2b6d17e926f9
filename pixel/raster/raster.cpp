// Shapes with hard edges: what is visible of them is worked out first, so that nothing is paid for the rest.
#include "pixel/raster/raster.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "pixel/kernels.h"
#include "pixel/raster/raster_clip.h"

namespace vexcap {
namespace {

/// A colour as pixels have it.
struct Bytes {
    explicit Bytes(uint32_t colour) : blue(uint8_t(colour >> 16)), green(uint8_t(colour >> 8)), red(uint8_t(colour)) {}
    uint8_t blue, green, red;
};

void putPixel(uint8_t* pixel, Bytes colour) { std::memcpy(pixel, &colour, 3); }

/// The pixels of a line, counted from its start. The longer of its sides decides how many there are.
class LineSteps {
public:
    LineSteps(uint64_t longer, uint64_t shorter) : count(longer), across(shorter) {}

    /// How far a pixel lies from the start across the line's main direction: i * across / count to the nearest, a half
    /// up. What was cut off is told in 2 * count parts.
    struct Place {
        uint64_t offset, rest;
    };
    /// i is less than count.
    Place at(uint64_t i) const {
        const uint64_t product = i * across;
        const uint64_t rest = 2 * (product % count) + count;
        const bool isUp = rest >= 2 * count;
        return {product / count + (isUp ? 1 : 0), isUp ? rest - 2 * count : rest};
    }
    /// Goes to the next pixel; true if that lies further across.
    bool advance(Place& place) const {
        place.rest += 2 * across;
        const bool isFurther = place.rest >= 2 * count;
        place.rest -= isFurther ? 2 * count : 0;
        place.offset += isFurther ? 1 : 0;
        return isFurther;
    }

    /// The first pixel in first to end - 1 that lies `least` or further across; `end` if there is none.
    uint64_t firstAt(uint64_t least, uint64_t first, uint64_t end) const {
        while (first < end) {
            const uint64_t middle = first + (end - first) / 2;
            if (at(middle).offset >= least) {
                end = middle;
            } else {
                first = middle + 1;
            }
        }
        return first;
    }

private:
    uint64_t count, across;
};

/// Numbers i for which start + i or, going down, start - i lies in 0 to limit - 1; those of `within` alone.
Range visibleSteps(Range within, int64_t start, bool down, int64_t limit) {
    return down ? within.cut(start - limit + 1, start + 1) : within.cut(-start, limit - start);
}

/// floor(sqrt(value)).
uint64_t integerRoot(uint64_t value) {
    uint64_t root = std::min(uint64_t(std::sqrt(double(value))), uint64_t(UINT32_MAX));
    while (root * root > value) --root;
    while (root < UINT32_MAX && (root + 1) * (root + 1) <= value) ++root;
    return root;
}

/// An eighth of the midpoint circle: b falls as a grows from 0 until they meet.
class CircleEighth {
public:
    /// Begins at any a, as if it had come there step by step: b is the largest of which b * (b - 1) is less than
    /// radius * radius - a * a.
    CircleEighth(int64_t radius, int64_t first)
        : a(first), b(int64_t(integerRoot(4 * uint64_t(radius * radius - first * first) - 3) + 1) / 2) {
        decision = (a + 1) * (a + 1) + b * b - b - radius * radius;
    }

    bool atEnd() const { return a > b; }
    void next() {
        if (decision < 0) {
            decision += 2 * a + 3;
        } else {
            decision += 2 * (a - b) + 5;
            --b;
        }
        ++a;
    }

    int64_t a, b;

private:
    int64_t decision;
};

/// The two eighths on one side of an axis: at `centreAlong` plus or minus a along it, `plot(along, b)`.
template <class Plot>
void plotEighths(int64_t radius, int64_t centreAlong, bool down, int64_t limit, const Plot& plot) {
    // Beyond the diagonal, a * a is more than half of radius * radius.
    const auto diagonal = int64_t(integerRoot(uint64_t(radius * radius) / 2));
    const Range steps = visibleSteps({0, diagonal + 2}, centreAlong, down, limit);
    if (steps.empty()) return;
    CircleEighth eighth(radius, std::min(steps.first, diagonal));
    while (eighth.a < steps.first) eighth.next();
    for (; eighth.a < steps.end && !eighth.atEnd(); eighth.next())
        plot(down ? centreAlong - eighth.a : centreAlong + eighth.a, eighth.b);
}

/// How far the rows of an ellipse reach from its middle column. Lengths are half pixels, so that the middle of a row of
/// even width is a whole one.
class EllipseRows {
public:
    EllipseRows(int64_t width, int64_t height)
        : reach(width - 1), rise(std::max<int64_t>(height - 1, 1)), aspect(double(reach) / double(rise)) {}

    /// To the centre of the last pixel, in the row whose centre is `row` from the middle. A pixel belongs to the
    /// ellipse if half a pixel less in one direction brings it within.
    int64_t extent(int64_t row) const {
        const double across = chord(std::max<int64_t>(row - 1, 0));
        const double along = chord(row) + 1;
        const int64_t extent = std::min(int64_t(std::max(across, along)), reach);
        return extent - ((extent ^ reach) & 1);  // centres are whole pixels apart
    }

private:
    double chord(int64_t row) const {
        return aspect * std::sqrt(double(uint64_t(rise - row)) * double(uint64_t(rise + row)));
    }

    int64_t reach, rise;
    double aspect;
};

}  // namespace

void drawLine(const Canvas& canvas, int32_t fromX, int32_t fromY, int32_t toX, int32_t toY, uint32_t colour) {
    if (!isDrawable(canvas)) return;
    const int64_t dx = int64_t(toX) - fromX, dy = int64_t(toY) - fromY;
    if (dy == 0)
        return fillSpan(canvas, fromY, dx < 0 ? Range{toX + int64_t(1), fromX + int64_t(1)} : Range{fromX, toX},
                        colour);
    const int64_t sizeX = std::abs(dx), sizeY = std::abs(dy);
    const bool flat = sizeX >= sizeY;
    const int64_t count = std::max(sizeX, sizeY);
    const LineSteps steps{uint64_t(count), uint64_t(std::min(sizeX, sizeY))};

    Range visible = flat ? visibleSteps({0, count}, fromX, dx < 0, canvas.width)
                         : visibleSteps({0, count}, fromY, dy < 0, canvas.height);
    const Range offsets = flat ? visibleSteps({0, count + 1}, fromY, dy < 0, canvas.height)
                               : visibleSteps({0, count + 1}, fromX, dx < 0, canvas.width);
    if (visible.empty() || offsets.empty()) return;
    visible.first = int64_t(steps.firstAt(uint64_t(offsets.first), uint64_t(visible.first), uint64_t(visible.end)));
    visible.end = int64_t(steps.firstAt(uint64_t(offsets.end), uint64_t(visible.first), uint64_t(visible.end)));
    if (visible.empty()) return;

    LineSteps::Place place = steps.at(uint64_t(visible.first));
    const auto across = int64_t(place.offset);
    const int64_t x = flat ? visible.first : across, y = flat ? across : visible.first;
    const ptrdiff_t stepX = dx < 0 ? -ptrdiff_t(canvas.bytesPerPixel) : ptrdiff_t(canvas.bytesPerPixel);
    const ptrdiff_t stepY = dy < 0 ? -canvas.stride : canvas.stride;
    ptrdiff_t at = pixelAt(canvas, fromX + (dx < 0 ? -x : x), fromY + (dy < 0 ? -y : y)) - canvas.top;
    const Bytes bytes(colour);
    for (int64_t i = visible.first; i < visible.end; ++i) {
        putPixel(canvas.top + at, bytes);
        at += (flat ? stepX : stepY) + (steps.advance(place) ? (flat ? stepY : stepX) : 0);
    }
}

void fillBox(const Canvas& canvas, const Box& box, uint32_t colour) {
    if (!isDrawable(canvas)) return;
    const Range rows = Range{box.top, box.bottom}.cut(0, canvas.height);
    for (int64_t y = rows.first; y < rows.end; ++y) fillSpan(canvas, y, {box.left, box.right}, colour);
}

void drawCircle(const Canvas& canvas, int32_t centreX, int32_t centreY, int32_t radius, uint32_t colour) {
    if (!isDrawable(canvas) || radius < 1) return;
    for (const bool down : {false, true}) {
        plotEighths(radius, centreX, down, canvas.width, [&](int64_t x, int64_t b) {
            for (const int64_t y : {centreY - b, centreY + b})
                if (y >= 0 && y < canvas.height) putPixel(pixelAt(canvas, x, y), Bytes(colour));
        });
        plotEighths(radius, centreY, down, canvas.height, [&](int64_t y, int64_t b) {
            for (const int64_t x : {centreX - b, centreX + b})
                if (x >= 0 && x < canvas.width) putPixel(pixelAt(canvas, x, y), Bytes(colour));
        });
    }
}

void drawEllipse(const Canvas& canvas, const Box& box, uint32_t colour) {
    const int64_t width = int64_t(box.right) - box.left, height = int64_t(box.bottom) - box.top;
    if (!isDrawable(canvas) || width < 1 || height < 1) return;
    const EllipseRows ellipse(width, height);
    // Twice the middle column, so that it is whole.
    const int64_t middle = int64_t(box.left) + box.right - 1;
    const Range rows = Range{box.top, box.bottom}.cut(0, canvas.height);
    for (int64_t y = rows.first; y < rows.end; ++y) {
        const int64_t row = std::abs(2 * (y - box.top) - (height - 1));
        const int64_t outer = ellipse.extent(row);
        const int64_t left = (middle - outer) / 2, right = (middle + outer) / 2;
        if (row == height - 1) {
            fillSpan(canvas, y, {left, right + 1}, colour);
            continue;
        }
        // The outline is what the next row towards the end does not reach, at least one pixel.
        const int64_t inner = std::min(ellipse.extent(row + 2) + 2, outer);
        fillSpan(canvas, y, {left, (middle - inner) / 2 + 1}, colour);
        fillSpan(canvas, y, {(middle + inner) / 2, right + 1}, colour);
    }
}

void paintMask(const Canvas& canvas, const Mask& mask, int32_t x, int32_t y, uint32_t colour) {
    if (!isDrawable(canvas) || !mask.pixels || mask.width <= 0 || mask.height <= 0) return;
    const Range columns = Range{x, int64_t(x) + mask.width}.cut(0, canvas.width);
    const Range rows = Range{y, int64_t(y) + mask.height}.cut(0, canvas.height);
    if (columns.empty()) return;
    const PixelKernels& pixels = kernels();
    for (int64_t row = rows.first; row < rows.end; ++row)
        pixels.paintRow(pixelAt(canvas, columns.first, row),
                        mask.pixels + (row - y) * ptrdiff_t(mask.width) + (columns.first - x), size_t(columns.size()),
                        canvas.bytesPerPixel, colour);
}

}  // namespace vexcap
