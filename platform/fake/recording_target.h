// A render target that writes down what it is given.
#pragma once

#include <vexcap/drawing.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/fake/fake_text_raster.h"

namespace vexcap::test {

/// One call. Members that the call does not have are as they are here.
struct TargetCall {
    enum class Kind { Bitmap, Line, Ellipse, Rectangle, Text };

    Kind kind = Kind::Line;
    /// A line's ends, an ellipse's centre and radii, or left, top, right, bottom.
    float a = 0, b = 0, c = 0, d = 0;
    uint32_t colour = 0;
    float width = 0;            ///< Of a line or outline.
    float opacity = 0;          ///< Of a picture.
    vex_picture picture = {};   ///< Its pixels may be gone.
    std::vector<uint8_t> rows;  ///< The picture's rows, top row first, without what lies between them.
    vex_text_format format = {};
    std::u16string text;
};

/// Texts are measured as FakeTextRaster does.
class RecordingTarget final : public vex_render_target {
public:
    using Kind = TargetCall::Kind;

    explicit RecordingTarget(uint32_t dots = 96) : dpi(dots) {}

    void GetDpi(uint32_t* x, uint32_t* y) override { *x = *y = dpi; }
    void DrawBitmap(const vex_picture* picture, const vex_rect_f* target, float opacity) override {
        TargetCall& call = Add(Kind::Bitmap, *target);
        call.opacity = opacity;
        call.picture = *picture;
        const size_t row = size_t(picture->width) * picture->bytesPerPixel;
        for (ptrdiff_t y = 0; picture->pixels && y < picture->height; ++y) {
            const uint8_t* const first = picture->pixels + y * picture->stride;
            call.rows.insert(call.rows.end(), first, first + row);
        }
    }
    void DrawLine(vex_point_f from, vex_point_f to, uint32_t colour, float width) override {
        TargetCall& call = Add(Kind::Line, {from.x, from.y, to.x, to.y});
        call.colour = colour;
        call.width = width;
    }
    void DrawEllipse(vex_point_f centre, float radiusX, float radiusY, uint32_t colour, float width) override {
        TargetCall& call = Add(Kind::Ellipse, {centre.x, centre.y, radiusX, radiusY});
        call.colour = colour;
        call.width = width;
    }
    void FillRectangle(const vex_rect_f* rectangle, uint32_t colour) override {
        Add(Kind::Rectangle, *rectangle).colour = colour;
    }
    void MeasureText(const vex_text_format* format, const vex_char* text, uint32_t length, int32_t* width,
                     int32_t* height) override {
        const TextSize size = raster.Measure({int32_t(format->height), format->weight}, {text, length});
        *width = size.width;
        *height = size.height;
    }
    void DrawText(const vex_text_format* format, const vex_char* text, uint32_t length, const vex_rect_f* rectangle,
                  uint32_t colour) override {
        TargetCall& call = Add(Kind::Text, *rectangle);
        call.colour = colour;
        call.format = *format;
        call.text.assign(text, length);
    }

    /// The calls of one kind, in their order.
    std::vector<TargetCall> Of(Kind kind) const {
        std::vector<TargetCall> found;
        for (const TargetCall& call : calls)
            if (call.kind == kind) found.push_back(call);
        return found;
    }

    std::vector<TargetCall> calls;
    uint32_t dpi;
    FakeTextRaster raster;

private:
    TargetCall& Add(TargetCall::Kind kind, const vex_rect_f& at) {
        TargetCall& call = calls.emplace_back();
        call.kind = kind;
        call.a = at.left;
        call.b = at.top;
        call.c = at.right;
        call.d = at.bottom;
        return call;
    }
};

}  // namespace vexcap::test
