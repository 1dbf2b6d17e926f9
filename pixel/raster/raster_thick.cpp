// Lines and ellipses of any thickness, row by row: in each row, the columns whose centres lie within.
#include <algorithm>
#include <cmath>
#include <utility>

#include "pixel/raster/raster.h"
#include "pixel/raster/raster_clip.h"

namespace vexcap {
namespace {

/// Numbers beyond this, and what is none, draw nothing.
constexpr float coordinateAtMost = 1e7f;

bool isSensible(float value) { return std::abs(value) <= coordinateAtMost; }

/// A strip of the plane: least <= slopeX * x + slopeY * y < limit, where x is the only unknown in a row.
struct Strip {
    double slopeX, slopeY, least, limit;

    /// Narrows the columns from `left` to `right` to what of them the strip covers in row y.
    void narrow(double y, double& left, double& right) const {
        const double low = least - slopeY * y, high = limit - slopeY * y;
        if (slopeX == 0) {
            if (!(low <= 0 && 0 < high)) right = left;
            return;
        }
        left = std::max(left, (slopeX > 0 ? low : high) / slopeX);
        right = std::min(right, (slopeX > 0 ? high : low) / slopeX);
    }
};

/// The first column or row whose centre lies at `edge` or further, and the last one that does not lie beyond it.
int64_t firstCentre(double edge) { return int64_t(std::ceil(edge - 0.5)); }
int64_t lastCentre(double edge) { return int64_t(std::floor(edge - 0.5)); }

/// Half the width of an ellipse at a distance from its middle row; less than 0 beyond it.
double halfChord(double radiusX, double radiusY, double y) {
    if (!(radiusX > 0 && radiusY > 0) || std::abs(y) > radiusY) return -1;
    return radiusX / radiusY * std::sqrt((radiusY - y) * (radiusY + y));
}

}  // namespace

void drawThickLine(const Canvas& canvas, float fromX, float fromY, float toX, float toY, float thickness,
                   uint32_t colour) {
    for (const float value : {fromX, fromY, toX, toY, thickness})
        if (!isSensible(value)) return;
    if (!isDrawable(canvas) || thickness <= 0) return;
    // The same pixels whichever end is called the start.
    if (toY < fromY || (toY == fromY && toX < fromX)) {
        std::swap(fromX, toX);
        std::swap(fromY, toY);
    }
    const double dx = double(toX) - fromX, dy = double(toY) - fromY;
    const double length = std::hypot(dx, dy);
    if (length == 0) return;
    // Both strips are told from the start.
    const double half = double(thickness) / 2 * length;
    const Strip along{dx, dy, 0, dx * dx + dy * dy}, across{-dy, dx, -half, half};

    const double reach = double(thickness) / 2;
    const Range rows = centresBetween(fromY - reach, toY + reach + 1, canvas.height);
    for (int64_t y = rows.first; y < rows.end; ++y) {
        const double row = double(y) + 0.5 - fromY;
        double left = -double(fromX), right = double(canvas.width) - fromX;
        along.narrow(row, left, right);
        across.narrow(row, left, right);
        fillSpan(canvas, y, centresBetween(left + fromX, right + fromX, canvas.width), colour);
    }
}

void drawThickEllipse(const Canvas& canvas, float centreX, float centreY, float radiusX, float radiusY, float thickness,
                      uint32_t colour) {
    for (const float value : {centreX, centreY, radiusX, radiusY, thickness})
        if (!isSensible(value)) return;
    if (!isDrawable(canvas) || radiusX < 0 || radiusY < 0 || thickness <= 0) return;
    const double half = double(thickness) / 2;
    const double middle = centreX;
    const Range rows = centresBetween(centreY - (radiusY + half), centreY + (radiusY + half) + 1, canvas.height);
    for (int64_t y = rows.first; y < rows.end; ++y) {
        const double row = double(y) + 0.5 - centreY;
        const double outer = halfChord(radiusX + half, radiusY + half, row);
        if (outer < 0) continue;
        const double inner = halfChord(radiusX - half, radiusY - half, row);
        const Range whole = {firstCentre(middle - outer), lastCentre(middle + outer) + 1};
        if (inner < 0) {
            fillSpan(canvas, y, whole, colour);
        } else {
            // What lies on the inner ellipse belongs to it.
            const int64_t leftEnd = lastCentre(middle - inner) + 1, rightBegin = firstCentre(middle + inner);
            fillSpan(canvas, y, {whole.first, std::min(leftEnd, whole.end)}, colour);
            fillSpan(canvas, y, {std::max(rightBegin, leftEnd), whole.end}, colour);
        }
    }
}

}  // namespace vexcap
