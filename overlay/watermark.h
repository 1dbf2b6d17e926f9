// The watermark: one picture, turned once, and laid over every frame and paint.
#pragma once

#include <vexcap/drawing.h>
#include <vexcap/overlay.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "overlay/paint_area.h"
#include "overlay/rotate_dib.h"
#include "pixel/raster/raster.h"

namespace vexcap {

/// Guarded by its owner. Allocates when a watermark is set and at the first frame and paint after it was set or turned.
class Watermark final {
public:
    /// Copies the picture, or takes the watermark away. 0, with the old one kept: not 24 bits a pixel, a size without
    /// pixels or beyond reason, no memory; else 1. What was turned before is kept: SetRotate drops it.
    int32_t Set(const WaterInfo& info);
    /// Pixels of the picture from its top left, y downward.
    void SetOffset(int32_t newX, int32_t newY);
    /// Thousandths of a degree; kept as the remainder of 360000, with its sign. Drops what was turned.
    void SetRotate(int32_t newAngle);

    bool Present() const { return !dib.empty(); }

    /// Blends it into a frame, by the transparency of its record, which may be above 100.
    void Burn(const Canvas& frame);
    /// Blends it over a surface. Place and size are those of the picture in proportion to the rectangle's size; the
    /// rectangle's left and top are not added.
    void Paint(const vex_surface& surface, const vex_rect& rectangle, int32_t imageWidth, int32_t imageHeight);
    /// The same on a render target, where the rectangle's left and top are added, and a transparency of 0 is invisible
    /// and one of 100 hides the picture. The target is given pixels that are 3 bytes apart as if they were 4: it shows
    /// three quarters of the picture's width with colours mixed up, from the picture's last row down; at other than
    /// right angles rows run into each other, too.
    void Paint(vex_render_target& target, const vex_rect& rectangle, int32_t imageWidth, int32_t imageHeight);

private:
    /// The picture as it was turned. Turning is tried once: what failed stays invisible until the next angle.
    struct Turned {
        bool tried = false;
        vex_bitmap_header header = {};
        std::unique_ptr<uint8_t, void (*)(void*)> pixels{nullptr, &std::free};
    };

    /// Turns it when it was not tried yet. False without pixels.
    bool Ready(Turned& turned, uint32_t bytesPerPixel) const;
    /// Where it goes in a rectangle of that size, from the rectangle's top left.
    Box Placed(const Turned& turned, const PaintArea& area, int32_t imageWidth, int32_t imageHeight) const;

    std::vector<Dib> dib;  ///< The owned copy; empty: no watermark.
    uint8_t alpha = 0;
    int32_t x = 0, y = 0;
    int32_t angle = 0;
    Turned shared;     ///< For frames and surfaces, which both take 3 bytes a pixel.
    Turned forTarget;  ///< At the stride of 4 bytes a pixel.
};

}  // namespace vexcap
