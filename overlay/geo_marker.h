// The geometric marker: cross, rectangle and circle, with tick marks, moved and turned.
//
// Its geometry is told once and painted in three ways: into a frame, on a surface in memory and on a render target. It
// works in the target's own pixels, y downward: percentages are of the target's sides, while the tick spacing is in
// pixels.
#pragma once

#include <vexcap/drawing.h>
#include <vexcap/overlay.h>

#include "pixel/raster/raster.h"

namespace vexcap {

/// What is drawn: the record, and the spacing of ticks in pixels of the target, 0 for none.
struct GeoMarker {
    MarkerGeo geo = {};
    double tick = 0;
};

/// Into a frame. Ticks are 5 and 20 pixels long.
void burnGeoMarker(const Canvas& frame, const GeoMarker& marker);

/// Into a rectangle of a surface; the dots an inch of the surface make ticks longer. Sides of the rectangle are at most
/// 1048576.
void paintGeoMarker(const vex_surface& surface, const vex_rect& rectangle, const GeoMarker& marker);

/// Into a rectangle of a render target, without rounding.
void paintGeoMarker(vex_render_target& target, const vex_rect& rectangle, const GeoMarker& marker);

}  // namespace vexcap
