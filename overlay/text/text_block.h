// The block of texts in one corner of the picture: scale bar, date, sharpness figure.
#pragma once

#include <vexcap/camera_library.h>
#include <vexcap/drawing.h>
#include <vexcap/overlay.h>

#include <cstdint>

#include "overlay/text/block_layout.h"
#include "overlay/text/scale_bar.h"
#include "overlay/text/text_line.h"
#include "pixel/raster/raster.h"
#include "platform/clock.h"
#include "platform/date_text.h"
#include "platform/file.h"
#include "platform/text_raster.h"

namespace vexcap {

/// What an overlay needs of the system. They outlive it.
struct OverlayPorts {
    ITextRaster& texts;
    IDateText& dates;
    IClock& clock;
    IFileSystem& files;  ///< Keeps dark frames.
};

/// Guarded by its owner. Allocates when a setting or the target changes.
///
/// An item shows when it is switched on and there is room for it; the others show without it. A target's height, and
/// that of its picture, scale the texts.
class TextBlock final {
public:
    explicit TextBlock(const OverlayPorts& overlayPorts) : ports(overlayPorts) {}

    const MarkerTxt& Txt() const { return txt; }
    /// As it comes. What it leaves unchanged stays drawn.
    void SetTxt(const MarkerTxt& record);
    ScaleBar& Scale() { return scaleBar; }
    const ScaleBar& Scale() const { return scaleBar; }

    /// Measures the sharpness of the picture that is to be drawn on, if the figure is on. A null picture, and one of
    /// fewer than three rows, leave the figure out; without a measure it is 0.
    void PrepareFigure(vex_camera_clarity clarity, const uint8_t* frame, uint32_t bytesPerPixel,
                       const TextTarget& target);

    // With the figure of the last PrepareFigure, which was for the same target.

    /// The lowest row of the frame gets no text.
    void Burn(const Canvas& frame, const TextTarget& target);
    /// An item that would begin above the second row of the surface, or left of its second column, is left out.
    void Paint(const Canvas& surface, int64_t left, int64_t top, const TextTarget& target);
    void PaintOnRenderTarget(int64_t left, int64_t top, const TextTarget& target);

private:
    bool Compose(const TextTarget& target, TextBlockLayout& layout);
    void PrepareDate(const TextTarget& target);
    bool ShowsLine(TextLine& line, const TextTarget& target);
    template <typename Function>
    void ForEachItem(const TextBlockLayout& layout, Function paint) const;
    bool HasPlate() const;
    uint32_t PlateColour() const;
    void PaintLine(const TextTarget& target, const TextLine& line, const vex_rect_f& place, int32_t denominator,
                   uint32_t colour) const;

    const OverlayPorts ports;
    MarkerTxt txt = {};
    ScaleBar scaleBar;
    TextLine date;
    uint64_t dateSecond = 0;  // of the text, with its format
    int32_t dateFormat = VEX_DATE_NONE;
    TextLine figure;
};

}  // namespace vexcap
