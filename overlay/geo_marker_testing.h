// What a geometric marker looks like, worked out a second time: pixel by pixel for frames and surfaces, and as plain
// numbers for render targets.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "overlay/geo_marker.h"

namespace vexcap::test {

constexpr double markerPi = 3.14159265358979323846;

/// As a table of what is set, y downward, in a target of which the marker's rectangle is a part.
class ExpectedMarker {
public:
    struct Place {
        int width, height;      ///< Of the target.
        int left = 0, top = 0;  ///< Of the rectangle.
        int areaWidth, areaHeight;
        double dots = 96;
        bool frame = true;  ///< Circles are drawn; on a surface they are left out.
    };

    ExpectedMarker(const Place& where, const GeoMarker& what)
        : place(where), marker(what), table(size_t(where.width) * where.height) {
        const MarkerGeo& geo = marker.geo;
        const bool hasCross = geo.eMarkerGeo == 1 || geo.eMarkerGeo == 4 || geo.eMarkerGeo == 5;
        xOff = offset(geo.eMarkerxPos, place.areaWidth) + place.left;
        yOff = offset(geo.eMarkeryPos, place.areaHeight) + place.top;
        theta = geo.eMarkerGeoAngle * markerPi / 180000;
        if (hasCross) cross(geo.eMarkerGeox, geo.eMarkerGeoy);
        if (geo.eMarkerGeo == 2) rectangle(geo.eMarkerGeox, geo.eMarkerGeoy);
        if (geo.eMarkerGeo == 4) rectangle(geo.eMarkerGeox2, geo.eMarkerGeoy2);
        if (geo.eMarkerGeo == 3 && place.frame) circle(geo.eMarkerGeox);
        if (geo.eMarkerGeo == 5 && place.frame) circle(geo.eMarkerGeox2);
    }

    bool isSet(int x, int y) const { return table[size_t(y) * place.width + x]; }

private:
    static int T(double value) { return int(std::trunc(value + 0.5)); }
    static int part(int side, int percent) { return int(std::round(double(side) * percent / 100)); }
    static int offset(int percent, int side) {
        const int moved = part(side, percent);
        return std::abs(moved) > side / 2 ? (moved < 0 ? -1 : 1) * (side / 2) : moved;
    }
    int tick(int i) const { return int(std::round((i % 10 == 0 ? 20 : 5) * place.dots / 96)); }
    bool hasTicks() const { return (marker.geo.eMarkerGeoFlag & 1) != 0 && marker.tick > 0; }

    void set(int x, int y) {
        if (x >= 0 && y >= 0 && x < place.width && y < place.height) table[size_t(y) * place.width + x] = true;
    }
    void line(int x1, int y1, int x2, int y2) {
        const int n = std::max(std::abs(x2 - x1), std::abs(y2 - y1));
        for (int i = 0; i < n; ++i)
            set(x1 + int(std::round(double(i) * (x2 - x1) / n)), y1 + int(std::round(double(i) * (y2 - y1) / n)));
    }

    void cross(int percentX, int percentY) {
        if (percentX <= 0 || percentY <= 0) return;
        const int W = place.areaWidth, H = place.areaHeight, lenX = part(W, percentX), lenY = part(H, percentY);
        const int cx = W / 2 + xOff, cy = H / 2 + yOff;
        const double s = marker.tick;
        if (marker.geo.eMarkerGeoAngle == 0) {
            for (int k = 0; k < lenX; ++k) set((W - lenX) / 2 + xOff + k, cy);
            for (int k = 0; k < lenY; ++k) set(cx, (H - lenY) / 2 + yOff + k);
            for (int i = 1; hasTicks() && T(i * s) < lenX / 2; ++i)
                for (int k = 0; k < tick(i); ++k) set(cx + T(i * s), cy - k), set(cx - T(i * s), cy - k);
            for (int i = 1; hasTicks() && T(i * s) < lenY / 2; ++i)
                for (int k = 0; k < tick(i); ++k) set(cx + k, cy + T(i * s)), set(cx + k, cy - T(i * s));
            return;
        }
        const double c = std::cos(theta), n = std::sin(theta);
        const int r1 = lenX / 2, r2 = lenY / 2;
        line(cx + T(r1 * c), cy + T(r1 * n), cx - T(r1 * c), cy - T(r1 * n));
        line(cx + T(r2 * n), cy - T(r2 * c), cx - T(r2 * n), cy + T(r2 * c));
        for (int i = 1; hasTicks() && i * s < r2; ++i)
            for (const int side : {1, -1}) {
                const int x = cx + side * T(i * s * n), y = cy - side * T(i * s * c);
                line(x, y, x + T(tick(i) * c), y + T(tick(i) * n));
            }
        for (int i = 1; hasTicks() && i * s < r1; ++i)
            for (const int side : {1, -1}) {
                const int x = cx + side * T(i * s * c), y = cy + side * T(i * s * n);
                line(x, y, x + T(tick(i) * n), y - T(tick(i) * c));
            }
    }

    void rectangle(int percentX, int percentY) {
        if (percentX <= 0 || percentY <= 0) return;
        const int W = place.areaWidth, H = place.areaHeight, lenX = part(W, percentX), lenY = part(H, percentY);
        if (marker.geo.eMarkerGeoAngle == 0) {
            uprightRectangle((W - lenX) / 2 + xOff, (H - lenY) / 2 + yOff, lenX, lenY);
        } else {
            turnedRectangle(W / 2 + xOff, H / 2 + yOff, lenX, lenY);
        }
    }

    void uprightRectangle(int left, int top, int lenX, int lenY) {
        const double s = marker.tick;
        for (int k = 0; k <= lenX && lenX + lenY > 0; ++k) set(left + k, top), set(left + k, top + lenY);
        for (int k = 0; k <= lenY && lenX + lenY > 0; ++k) set(left, top + k), set(left + lenX, top + k);
        for (int i = 1; hasTicks() && T(i * s) < lenX; ++i)
            for (int k = 0; k < tick(i); ++k) set(left + T(i * s), top - k), set(left + T(i * s), top + lenY + k);
        for (int i = 1; hasTicks() && T(i * s) < lenY; ++i)
            for (int k = 0; k < tick(i); ++k) set(left - k, top + T(i * s)), set(left + lenX + k, top + T(i * s));
    }

    void turnedRectangle(int cx, int cy, int lenX, int lenY) {
        const double alpha = std::atan2(lenY, lenX), R = std::sqrt(double(lenX) * lenX + double(lenY) * lenY) / 2;
        const double phi[] = {theta + alpha, markerPi + theta - alpha, markerPi + theta + alpha,
                              2 * markerPi + theta - alpha};
        int x[4], y[4];  // A, B, C, D
        for (int i = 0; i < 4; ++i) x[i] = T(R * std::cos(phi[i])) + cx, y[i] = T(R * std::sin(phi[i])) + cy;
        enum { A, B, C, D };
        const int path[] = {A, D, C, B, A};
        for (int i = 0; i < 4; ++i) line(x[path[i]], y[path[i]], x[path[i + 1]], y[path[i + 1]]);
        const double s = marker.tick, c = std::cos(theta), n = std::sin(theta);
        for (int i = 1; hasTicks() && i * s < lenY; ++i) {
            const int dx = -T(i * s * n), dy = T(i * s * c), tx = T(tick(i) * c), ty = T(tick(i) * n);
            line(x[C] + dx, y[C] + dy, x[C] + dx - tx, y[C] + dy - ty);
            line(x[D] + dx, y[D] + dy, x[D] + dx + tx, y[D] + dy + ty);
        }
        for (int i = 1; hasTicks() && i * s < lenX; ++i) {
            const int dx = T(i * s * c), dy = T(i * s * n), tx = T(tick(i) * n), ty = -T(tick(i) * c);
            line(x[C] + dx, y[C] + dy, x[C] + dx + tx, y[C] + dy + ty);
            line(x[B] + dx, y[B] + dy, x[B] + dx - tx, y[B] + dy - ty);
        }
    }

    /// Rows are counted upward, as they lie in a frame.
    void circle(int percent) {
        const int r = part(place.areaWidth, percent), column = place.areaWidth / 2 + xOff;
        const int row = place.areaHeight / 2 - yOff;
        if (r < 1) return;
        int decision = 1 - r, east = 3, southEast = 5 - 2 * r;
        for (int a = 0, b = r; a <= b; ++a) {
            for (const int mirrorA : {a, -a})
                for (const int mirrorB : {b, -b}) {
                    set(column + mirrorA, place.height - 1 - (row + mirrorB));
                    set(column + mirrorB, place.height - 1 - (row + mirrorA));
                }
            const bool inside = decision < 0;
            decision += inside ? east : southEast;
            east += 2;
            southEast += inside ? 2 : 4;
            if (!inside) --b;
        }
    }

    const Place place;
    const GeoMarker marker;
    std::vector<bool> table;
    int xOff = 0, yOff = 0;
    double theta = 0;
};

/// A line of a render target.
struct ExpectedLine {
    double x1, y1, x2, y2;
};

/// The lines of a marker on a render target, in any order.
class ExpectedLines {
public:
    ExpectedLines(double areaLeft, double areaTop, double areaWidth, double areaHeight, double tickScale,
                  const GeoMarker& what)
        : W(areaWidth), H(areaHeight), scale(tickScale), marker(what) {
        const MarkerGeo& geo = marker.geo;
        theta = geo.eMarkerGeoAngle * markerPi / 180000;
        xOff = std::clamp(std::round(geo.eMarkerxPos * W / 100), -std::floor(W / 2), std::floor(W / 2)) + areaLeft;
        yOff = std::clamp(std::round(geo.eMarkeryPos * H / 100), -std::floor(H / 2), std::floor(H / 2)) + areaTop;
        cx = W * 0.5 + xOff;
        cy = H * 0.5 + yOff;
        if (geo.eMarkerGeo == 1 || geo.eMarkerGeo == 4 || geo.eMarkerGeo == 5) cross(geo.eMarkerGeox, geo.eMarkerGeoy);
        if (geo.eMarkerGeo == 2) rectangle(geo.eMarkerGeox, geo.eMarkerGeoy);
        if (geo.eMarkerGeo == 4) rectangle(geo.eMarkerGeox2, geo.eMarkerGeoy2);
    }

    std::vector<ExpectedLine> lines;
    double cx = 0, cy = 0;

private:
    double tick(int i) const { return (i % 10 == 0 ? 20 : 5) * scale; }
    double spacing() const { return (marker.geo.eMarkerGeoFlag & 1) && marker.tick > 0 ? marker.tick : 1e9; }
    void vector(double x, double y, double dx, double dy) { lines.push_back({x, y, x + dx, y + dy}); }

    void cross(double percentX, double percentY) {
        const double lenX = W * percentX / 100, lenY = H * percentY / 100, s = spacing();
        if (theta == 0) {
            vector((W - lenX) / 2 + xOff, cy, lenX, 0);
            vector(cx, (H - lenY) / 2 + yOff, 0, lenY);
        } else {
            vector(cx + lenX / 2 * std::cos(theta), cy + lenX / 2 * std::sin(theta), -lenX * std::cos(theta),
                   -lenX * std::sin(theta));
            vector(cx + lenY / 2 * std::sin(theta), cy - lenY / 2 * std::cos(theta), -lenY * std::sin(theta),
                   lenY * std::cos(theta));
        }
        for (int i = 1; i * s < lenX / 2; ++i)
            for (const double d : {i * s, -i * s})
                vector(cx + d * std::cos(theta), cy + d * std::sin(theta), tick(i) * std::sin(theta),
                       -tick(i) * std::cos(theta));
        for (int i = 1; i * s < lenY / 2; ++i)
            for (const double d : {i * s, -i * s})
                vector(cx - d * std::sin(theta), cy + d * std::cos(theta), tick(i) * std::cos(theta),
                       tick(i) * std::sin(theta));
    }

    void rectangle(double percentX, double percentY) {
        const double lenX = W * percentX / 100, lenY = H * percentY / 100;
        // Corners A, B, C, D: bottom right, bottom left, top left, top right.
        double x[4], y[4];
        const double alpha = std::atan2(percentY, percentX), R = std::sqrt(lenX * lenX + lenY * lenY) / 2;
        const double phi[] = {theta + alpha, markerPi + theta - alpha, markerPi + theta + alpha,
                              2 * markerPi + theta - alpha};
        for (int i = 0; i < 4; ++i) {
            const bool right = i == 0 || i == 3, bottom = i < 2;
            x[i] = theta == 0 ? (W - lenX) / 2 + xOff + (right ? lenX : 0) : R * std::cos(phi[i]) + cx;
            y[i] = theta == 0 ? (H - lenY) / 2 + yOff + (bottom ? lenY : 0) : R * std::sin(phi[i]) + cy;
        }
        for (const int i : {0, 3, 2, 1}) lines.push_back({x[i], y[i], x[(i + 3) % 4], y[(i + 3) % 4]});
        if (theta == 0)
            for (int i = 0; i < 4; ++i) {
                x[i] = (W - percentX) / 2 + xOff + (i == 0 || i == 3 ? percentX : 0);
                y[i] = (H - percentY) / 2 + yOff + (i < 2 ? percentY : 0);
            }
        rectangleTicks(x, y, percentX, percentY);
    }

    void rectangleTicks(const double* x, const double* y, double endX, double endY) {
        const double s = spacing(), c = std::cos(theta), n = std::sin(theta);
        for (int i = 1; i * s < endY; ++i) {
            vector(x[2] - i * s * n, y[2] + i * s * c, -tick(i) * c, -tick(i) * n);
            vector(x[3] - i * s * n, y[3] + i * s * c, tick(i) * c, tick(i) * n);
        }
        for (int i = 1; i * s < endX; ++i) {
            vector(x[2] + i * s * c, y[2] + i * s * n, tick(i) * n, -tick(i) * c);
            vector(x[1] + i * s * c, y[1] + i * s * n, -tick(i) * n, tick(i) * c);
        }
    }

    const double W, H, scale;
    const GeoMarker marker;
    double theta = 0, xOff = 0, yOff = 0;
};

}  // namespace vexcap::test
