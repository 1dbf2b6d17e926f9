// What is painted over a picture, as the frame sink sees it.
#pragma once

#include <vexcap/drawing.h>

#include <cstdint>

#include "pixel/raster/raster.h"

namespace vexcap {

/// A surface as something to draw on.
inline Canvas canvasOf(const vex_surface& surface) {
    return {surface.pixels, surface.stride, surface.width, surface.height, 4};
}

/// Called by a paint with the frame lock held. `frame` is the picture that was painted into the rectangle, bottom-up at
/// the DIB stride, or null when it lives in a texture; the image sizes are those of the picture.
struct IPaintOverlay {
    virtual void DrawOverlayGdi(const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
                                const vex_surface& surface, const vex_rect& rectangle) = 0;
    virtual void DrawOverlayD2d(const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
                                vex_render_target& target, const vex_rect& rectangle) = 0;

protected:
    ~IPaintOverlay() = default;
};

}  // namespace vexcap
