#include "overlay/geo_marker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

#include "base/mul_div.h"
#include "overlay/paint_area.h"

namespace vexcap {
namespace {

/// A point, vector or size.
template <typename Number>
struct Pair {
    Number x = 0, y = 0;
    friend Pair operator+(Pair a, Pair b) { return {a.x + b.x, a.y + b.y}; }
    friend Pair operator-(Pair a, Pair b) { return {a.x - b.x, a.y - b.y}; }
    friend bool operator==(Pair, Pair) = default;
};

/// Sides of a shape in percent of those of the target.
using Percents = Pair<int32_t>;

// Arithmetic of the targets. Whatever differs between them on purpose stands in the next few structures; MarkerShapes
// tells what they have in common.

/// Frames and surfaces: whole pixels. 64 bits hold whatever a rectangle anywhere on a surface adds up to.
struct WholePixels {
    using Number = int64_t;

    /// Truncated toward zero on either side of it: 0.7 becomes 1, but -0.7 becomes 0, and -2 becomes -1.
    static Number round(double value) { return Number(value + 0.5); }
    static Number half(Number value) { return value / 2; }
    /// 0 where the product is beyond all pixels.
    static Number length(Number side, int32_t percent) {
        return std::clamp<Number>(mulDiv(int32_t(side), percent, 100), 0, side);
    }
    static Number radius(Number side, int32_t percent) { return mulDiv(int32_t(side), percent, 100); }
    static double diagonalAngle(Percents, Pair<Number> length) {
        return std::atan2(double(length.y), double(length.x));
    }
    static Pair<Number> tickedSize(Percents, Pair<Number> length) { return length; }
};

/// Render targets: fractions of pixels, nothing is rounded.
struct Fractions {
    using Number = double;

    static Number round(double value) { return value; }
    static Number half(Number value) { return value / 2; }
    static Number length(Number side, int32_t percent) { return side * std::min(percent, 100) / 100; }
    static Number radius(Number side, int32_t percent) { return side * percent / 100; }
    // Two differences that are kept on purpose. The diagonal of a turned rectangle has the angle of its percentages,
    // which is that of its sides on square targets alone.
    static double diagonalAngle(Percents percents, Pair<Number>) {
        return std::atan2(double(percents.y), double(percents.x));
    }
    // And the ticks of a rectangle are measured on one whose sides are its percentages taken for pixels.
    static Pair<Number> tickedSize(Percents percents, Pair<Number>) {
        return {double(std::min(percents.x, 100)), double(std::min(percents.y, 100))};
    }
};

/// Lines of whole pixels. One that begins or ends beyond 32 bits has nothing on any picture, so it may be bent there.
class WholePixelLines : public WholePixels {
public:
    WholePixelLines(const Canvas& drawnOn, uint32_t lineColour) : canvas(drawnOn), colour(lineColour) {}

    void Line(Pair<Number> from, Pair<Number> to) const {
        drawLine(canvas, pixel(from.x), pixel(from.y), pixel(to.x), pixel(to.y), colour);
    }

protected:
    static int32_t pixel(Number value) {
        return int32_t(std::clamp<Number>(value, std::numeric_limits<int32_t>::min(), INT32_MAX));
    }

    const Canvas canvas;
    const uint32_t colour;
};

class FrameLines : public WholePixelLines {
public:
    using WholePixelLines::WholePixelLines;

    // Ticks in a frame have the same number of pixels whatever it is shown on.
    static Number TickLength(int32_t length) { return length; }
    // The centre's row is counted upward from the frame's last row. So it lies above the middle that all other shapes
    // have: by one row where the height is even.
    void Circle(Pair<Number> size, Pair<Number> offset, Number radius) const {
        const Number y = size.y - 1 - (half(size.y) - offset.y);
        drawCircle(canvas, pixel(half(size.x) + offset.x), pixel(y), pixel(radius), colour);
    }
};

class SurfaceLines : public WholePixelLines {
public:
    SurfaceLines(const vex_surface& surface, uint32_t lineColour)
        : WholePixelLines(canvasOf(surface), lineColour), dots(dotsPerInch(surface.dpiX)) {}

    Number TickLength(int32_t length) const { return mulDiv(length, dots, 96); }
    // The box's right and bottom lie outside of it, so the circle is 2 * radius wide, one less than in a frame.
    void Circle(Pair<Number> size, Pair<Number> offset, Number radius) const {
        const Pair<Number> centre = {half(size.x) + offset.x, half(size.y) + offset.y};
        drawEllipse(
            canvas,
            {pixel(centre.x - radius), pixel(centre.y - radius), pixel(centre.x + radius), pixel(centre.y + radius)},
            colour);
    }

private:
    const int32_t dots;
};

class TargetLines : public Fractions {
public:
    TargetLines(vex_render_target& drawnOn, uint32_t lineColour) : target(drawnOn), colour(lineColour) {
        uint32_t x = 0, y = 0;
        target.GetDpi(&x, &y);
        dots = dotsPerInch(x);
    }

    Number TickLength(int32_t length) const { return mulDiv(length, dots, 96); }
    void Line(Pair<Number> from, Pair<Number> to) const { target.DrawLine(point(from), point(to), colour, 1); }
    void Circle(Pair<Number> size, Pair<Number> offset, Number radius) const {
        const Pair<Number> centre = {half(size.x) + offset.x, half(size.y) + offset.y};
        target.DrawEllipse(point(centre), float(radius), float(radius), colour, 1);
    }

private:
    static vex_point_f point(Pair<Number> from) { return {float(from.x), float(from.y)}; }

    vex_render_target& target;
    const uint32_t colour;
    int32_t dots = 96;
};

constexpr double pi = std::numbers::pi;

/// Below it a spacing counts as none: the ticks would be without number.
constexpr double smallestSpacing = 0.01;

/// The geometry. Distances along an arm or edge and lengths of ticks are turned by the marker's angle; at an angle of 0
/// that changes nothing, so that ticks of upright and of turned shapes are told together.
template <typename Target>
class MarkerShapes {
public:
    using Number = typename Target::Number;
    using Point = Pair<Number>;

    MarkerShapes(const Target& drawnOn, int32_t width, int32_t height, int64_t left, int64_t top,
                 const GeoMarker& marker)
        : target(drawnOn),
          size{Number(width), Number(height)},
          offset{Number(left + offsetOf(width, marker.geo.eMarkerxPos)),
                 Number(top + offsetOf(height, marker.geo.eMarkeryPos))},
          centre{Target::half(size.x) + offset.x, Target::half(size.y) + offset.y},
          turned(marker.geo.eMarkerGeoAngle != 0),
          angle(marker.geo.eMarkerGeoAngle * pi / 180000),
          cosine(std::cos(angle)),
          sine(std::sin(angle)),
          spacing((marker.geo.eMarkerGeoFlag & 1) && std::isfinite(marker.tick) && marker.tick >= smallestSpacing
                      ? marker.tick
                      : 0) {}

    void Draw(const MarkerGeo& geo) const {
        const Percents first = {geo.eMarkerGeox, geo.eMarkerGeoy}, second = {geo.eMarkerGeox2, geo.eMarkerGeoy2};
        switch (geo.eMarkerGeo) {
            case VEX_MARKER_CROSS:
                return Cross(first);
            case VEX_MARKER_RECTANGLE:
                return Rectangle(first);
            case VEX_MARKER_CIRCLE:
                return Circle(first.x);
            case VEX_MARKER_CROSS_RECTANGLE:
                Cross(first);
                return Rectangle(second);
            case VEX_MARKER_CROSS_CIRCLE:
                Cross(first);
                return Circle(second.x);
            default:
                return;
        }
    }

private:
    struct Corners {
        Point topLeft, topRight, bottomRight, bottomLeft;
    };

    static int32_t offsetOf(int32_t side, int32_t percent) {
        return std::clamp(mulDiv(percent, side, 100), -(side / 2), side / 2);
    }
    static bool visible(Percents percents) { return percents.x > 0 && percents.y > 0; }
    Point sides(Percents percents) const {
        return {Target::length(size.x, percents.x), Target::length(size.y, percents.y)};
    }
    /// `distance` along the horizontal arm, which is turned clockwise.
    Point Along(double distance) const { return {Target::round(distance * cosine), Target::round(distance * sine)}; }
    /// A vector of the horizontal arm as one of the vertical arm, upward.
    static Point upward(Point along) { return {along.y, -along.x}; }

    void Cross(Percents percents) const {
        if (!visible(percents)) return;
        const Point length = sides(percents);
        const Point arm = {Target::half(length.x), Target::half(length.y)};
        if (turned) {
            const Point right = Along(double(arm.x)), up = upward(Along(double(arm.y)));
            target.Line(centre + right, centre - right);
            target.Line(centre + up, centre - up);
        } else {
            const Point topLeft = UprightCorners(length).topLeft;
            target.Line({topLeft.x, centre.y}, {topLeft.x + length.x, centre.y});
            target.Line({centre.x, topLeft.y}, {centre.x, topLeft.y + length.y});
        }
        CrossTicks(arm);
    }

    /// Upward from the horizontal arm, to the right from the vertical one.
    void CrossTicks(Point arm) const {
        EachTick(arm.x, [&](Point at, Point tick) {
            target.Line(centre + at, centre + at + upward(tick));
            target.Line(centre - at, centre - at + upward(tick));
        });
        EachTick(arm.y, [&](Point at, Point tick) {
            target.Line(centre + upward(at), centre + upward(at) + tick);
            target.Line(centre - upward(at), centre - upward(at) + tick);
        });
    }

    void Rectangle(Percents percents) const {
        if (!visible(percents)) return;
        const Point length = sides(percents);
        const Corners corners = turned ? TurnedCorners(percents, length) : UprightCorners(length);
        target.Line(corners.bottomRight, corners.topRight);
        target.Line(corners.topRight, corners.topLeft);
        target.Line(corners.topLeft, corners.bottomLeft);
        target.Line(corners.bottomLeft, corners.bottomRight);
        const Point ticked = Target::tickedSize(percents, length);
        RectangleTicks(turned ? corners : UprightCorners(ticked), ticked);
    }

    /// Outward on all four edges, from the left and the top one on.
    void RectangleTicks(const Corners& corners, Point length) const {
        EachTick(length.x, [&](Point at, Point tick) {
            target.Line(corners.topLeft + at, corners.topLeft + at + upward(tick));
            target.Line(corners.bottomLeft + at, corners.bottomLeft + at - upward(tick));
        });
        EachTick(length.y, [&](Point at, Point tick) {
            target.Line(corners.topLeft - upward(at), corners.topLeft - upward(at) - tick);
            target.Line(corners.topRight - upward(at), corners.topRight - upward(at) + tick);
        });
    }

    Corners UprightCorners(Point length) const {
        const Number left = Target::half(size.x - length.x) + offset.x,
                     top = Target::half(size.y - length.y) + offset.y;
        const Number right = left + length.x, bottom = top + length.y;
        return {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
    }

    Corners TurnedCorners(Percents percents, Point length) const {
        const double diagonal = Target::diagonalAngle(percents, length);
        const double x = double(length.x), y = double(length.y);
        const double radius = std::sqrt(x * x + y * y) / 2;
        const auto corner = [&](double at) {
            return centre + Point{Target::round(radius * std::cos(at)), Target::round(radius * std::sin(at))};
        };
        return {corner(pi + angle + diagonal), corner(2 * pi + angle - diagonal), corner(angle + diagonal),
                corner(pi + angle - diagonal)};
    }

    /// Calls `draw` with place and vector of each tick below `end`, along the horizontal arm. The distance is rounded
    /// before it is turned only where there is nothing to turn, so that the last tick may be lost to it. Of ticks that
    /// follow each other on one pixel the first is drawn: with the closest spacing there are a hundred.
    template <typename DrawTick>
    void EachTick(Number end, DrawTick drawTick) const {
        if (spacing == 0) return;
        struct Length {
            Point tick;
            std::optional<Point> last = {};
        };
        Length shorter = {Along(double(target.TickLength(5)))}, longer = {Along(double(target.TickLength(20)))};
        for (int64_t number = 1;; ++number) {
            const double exact = double(number) * spacing;
            if (!(exact < double(end))) return;  // before it is rounded: it may be beyond all whole numbers
            const double distance = turned ? exact : double(Target::round(exact));
            if (!(distance < double(end))) return;
            Length& length = number % 10 == 0 ? longer : shorter;
            const Point at = Along(distance);
            if (length.last != at) drawTick(at, length.tick);
            length.last = at;
        }
    }

    /// The radius follows the width alone, and the angle changes nothing.
    void Circle(int32_t percent) const {
        const Number radius = Target::radius(size.x, percent);
        if (radius >= 1) target.Circle(size, offset, radius);
    }

    const Target& target;
    const Point size;
    const Point offset;  ///< From the target's top left, where the marker is not moved.
    const Point centre;
    const bool turned;
    const double angle;  ///< Radians.
    const double cosine, sine;
    const double spacing;
};

template <typename Target>
void draw(const Target& target, int32_t width, int32_t height, int64_t left, int64_t top, const GeoMarker& marker) {
    MarkerShapes<Target>(target, width, height, left, top, marker).Draw(marker.geo);
}
template <typename Target>
void draw(const Target& target, const PaintArea& area, const GeoMarker& marker) {
    draw(target, int32_t(area.width), int32_t(area.height), area.left, area.top, marker);
}

}  // namespace

void burnGeoMarker(const Canvas& frame, const GeoMarker& marker) {
    if (frame.width < 1 || frame.height < 1) return;
    draw(FrameLines(frame, marker.geo.eMarkerGeoColor), frame.width, frame.height, 0, 0, marker);
}

void paintGeoMarker(const vex_surface& surface, const vex_rect& rectangle, const GeoMarker& marker) {
    const PaintArea area(rectangle);
    if (!area.Paintable()) return;
    draw(SurfaceLines(surface, marker.geo.eMarkerGeoColor), area, marker);
}

void paintGeoMarker(vex_render_target& target, const vex_rect& rectangle, const GeoMarker& marker) {
    const PaintArea area(rectangle);
    if (!area.Paintable()) return;
    draw(TargetLines(target, marker.geo.eMarkerGeoColor), area, marker);
}

}  // namespace vexcap
