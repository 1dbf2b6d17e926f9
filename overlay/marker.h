// Everything that is drawn over one picture, with its settings.
#pragma once

#include <vexcap/camera_library.h>
#include <vexcap/drawing.h>
#include <vexcap/overlay.h>

#include <cstdint>

#include "base/lock_order.h"
#include "base/mutex.h"
#include "frame/dark/dark_field.h"
#include "frame/paint_overlay.h"
#include "frame/picture_steps.h"
#include "overlay/geo_marker.h"
#include "overlay/text/text_block.h"
#include "overlay/watermark.h"
#include "pixel/kernels.h"

namespace vexcap {

/// One overlay: a context has one for preview and stills, a marker filter one for its recording.
///
/// Any thread. The marker lock is held over each setter and over a whole burn or paint, so none ever sees half of a
/// setting; the dark field lock alone is taken under it. Nothing is allocated by a burn or a paint while size and
/// settings stay.
class CMarker final : public IDfcBaseImpl, public IPaintOverlay {
public:
    /// The ports outlive it. `clarity`, the camera library's sharpness measure, may be null: the figure is 0 then.
    CMarker(const OverlayPorts& ports, vex_camera_clarity clarity);

    /// Clamped: sizes to 1 to 100, offsets to -50 to 50, the angle to 0 to 360000. Returns 1.
    int32_t SetGeo(const MarkerGeo& record) VEX_EXCLUDES(markerLock);
    MarkerGeo GetGeo() VEX_EXCLUDES(markerLock);
    /// Stored unchecked. Returns 1.
    int32_t SetTxt(const MarkerTxt& record) VEX_EXCLUDES(markerLock);
    MarkerTxt GetTxt() VEX_EXCLUDES(markerLock);
    /// The texts are copied. Equal values change nothing. Returns 1.
    int32_t SetScale(const ScaleTexts& scale) VEX_EXCLUDES(markerLock);
    /// In pixels of what is drawn on. Returns 1.
    int32_t SetTick(double spacing) VEX_EXCLUDES(markerLock);
    /// As Watermark has them; the last two return 1.
    int32_t SetWater(const WaterInfo& info) VEX_EXCLUDES(markerLock);
    int32_t SetWaterOffset(int32_t x, int32_t y) VEX_EXCLUDES(markerLock);
    int32_t SetWaterRotate(int32_t angle) VEX_EXCLUDES(markerLock);

    /// Settings, tick spacing, scale and sharpness measure of another one; not its watermark, dark field or picture
    /// steps. The source's lock is held while its records are read, and under this one's for the rest.
    void CopyFrom(CMarker& source);

    // Picture steps of BurnOverlay, as PictureSteps has them.

    void SetFlip(uint32_t value, uint32_t mask) { steps.putFlip(value, mask); }
    void SetChrome(uint32_t on) { steps.putChrome(on); }
    void SetNegative(uint32_t on) { steps.putNegative(on); }

    /// Would BurnOverlay change a picture? For a scale bar alone it asks for the power text, whether that is shown or
    /// not.
    bool HasWork(FrameMode mode) VEX_EXCLUDES(markerLock);
    bool HasWater() VEX_EXCLUDES(markerLock);
    /// Would a paint draw something?
    bool HasPaint() VEX_EXCLUDES(markerLock);

    /// Dark field, flip, grey, negative, watermark, geometric marker, text block, in this order, into a bottom-up frame
    /// at the DIB stride of `bytesPerPixel`, 3 or 4. `still` takes length and text of the scale bar for stills. A null
    /// frame and a size without pixels: nothing.
    void BurnOverlay(uint8_t* frame, int32_t width, int32_t height, bool still, const OverlayMargins& margins,
                     uint32_t bytesPerPixel) VEX_EXCLUDES(markerLock);

    // Watermark, geometric marker, text block over a picture that was painted into the rectangle. `frame` is that
    // picture, for the sharpness figure; null leaves the figure out. A rectangle with a side above 1048576 or below 1,
    // a picture and a surface without pixels: nothing.

    void DrawOverlayGdi(const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
                        const vex_surface& surface, const vex_rect& rectangle) override VEX_EXCLUDES(markerLock);
    void DrawOverlayD2d(const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
                        vex_render_target& target, const vex_rect& rectangle) override VEX_EXCLUDES(markerLock);

private:
    bool HasWorkIn(FrameMode mode) const VEX_REQUIRES(markerLock);

    const PixelKernels& kernelsOfSteps;
    RecursiveMutex markerLock VEX_ACQUIRED_AFTER(markerRank) VEX_ACQUIRED_BEFORE(darkRank);
    vex_camera_clarity clarityOf VEX_GUARDED_BY(markerLock);
    GeoMarker geoMarker VEX_GUARDED_BY(markerLock);
    TextBlock textBlock VEX_GUARDED_BY(markerLock);
    Watermark watermark VEX_GUARDED_BY(markerLock);
    PictureSteps steps;
};

}  // namespace vexcap
