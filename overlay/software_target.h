// A render target that paints on memory with the processor.
#pragma once

#include <vexcap/drawing.h>

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/text_raster.h"

namespace vexcap {

/// Hard edges, without smoothing. What it is given is clipped to the surface, whose pixels outlive it, as does the
/// port. Numbers that are not finite draw nothing. One thread at a time.
class SoftwareTarget final : public vex_render_target {
public:
    SoftwareTarget(const vex_surface& memory, ITextRaster& textRaster) : surface(memory), texts(textRaster) {}

    void GetDpi(uint32_t* x, uint32_t* y) override;
    /// A picture in a texture is not drawn.
    void DrawBitmap(const vex_picture* picture, const vex_rect_f* target, float opacity) override;
    void DrawLine(vex_point_f from, vex_point_f to, uint32_t colour, float width) override;
    void DrawEllipse(vex_point_f centre, float radiusX, float radiusY, uint32_t colour, float width) override;
    void FillRectangle(const vex_rect_f* rectangle, uint32_t colour) override;
    void MeasureText(const vex_text_format* format, const vex_char* text, uint32_t length, int32_t* width,
                     int32_t* height) override;
    void DrawText(const vex_text_format* format, const vex_char* text, uint32_t length, const vex_rect_f* rectangle,
                  uint32_t colour) override;

private:
    /// One line of a size, its top left at a pixel.
    void PaintText(const TextFont& font, std::u16string_view line, TextSize size, int32_t left, int32_t top,
                   uint32_t colour);

    const vex_surface surface;
    ITextRaster& texts;
    std::vector<uint8_t> scratch;  ///< The mask of a text: never made smaller, so that the same texts allocate once.
};

}  // namespace vexcap
