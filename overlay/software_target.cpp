#include "overlay/software_target.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string_view>

#include "overlay/paint_area.h"

namespace vexcap {
namespace {

template <typename... Numbers>
bool finite(Numbers... numbers) {
    return (std::isfinite(numbers) && ...);
}
bool finite(const vex_rect_f& rectangle) {
    return finite(rectangle.left, rectangle.top, rectangle.right, rectangle.bottom);
}

/// The whole number at or below it; what is beyond all surfaces stays there.
int32_t whole(double value) { return int32_t(std::clamp(std::floor(value), -double(1 << 30), double(1 << 30))); }

/// The first pixel whose centre is not before `edge`.
int32_t firstPixel(float edge) { return whole(std::ceil(double(edge) - 0.5)); }

/// False where no text looks like this.
bool fontOf(const vex_text_format* format, TextFont& font) {
    constexpr float tallest = 1 << 20;
    if (!format || !(format->height > 0 && format->height <= tallest)) return false;
    font = {std::max(whole(double(format->height) + 0.5), 1), format->weight};
    return true;
}

}  // namespace

void SoftwareTarget::GetDpi(uint32_t* x, uint32_t* y) {
    if (x) *x = surface.dpiX ? surface.dpiX : 96;
    if (y) *y = surface.dpiY ? surface.dpiY : 96;
}

void SoftwareTarget::DrawBitmap(const vex_picture* picture, const vex_rect_f* target, float opacity) {
    if (!picture || (picture->bytesPerPixel != 3 && picture->bytesPerPixel != 4)) return;
    if (!target || !finite(*target) || !finite(opacity)) return;
    stretchLinear(canvasOf(surface), target->left, target->top, target->right, target->bottom,
                  {picture->pixels, picture->stride, picture->width, picture->height, picture->bytesPerPixel}, opacity);
}

void SoftwareTarget::DrawLine(vex_point_f from, vex_point_f to, uint32_t colour, float width) {
    if (!finite(from.x, from.y, to.x, to.y, width)) return;
    drawThickLine(canvasOf(surface), from.x, from.y, to.x, to.y, width, colour);
}

void SoftwareTarget::DrawEllipse(vex_point_f centre, float radiusX, float radiusY, uint32_t colour, float width) {
    if (!finite(centre.x, centre.y, radiusX, radiusY, width)) return;
    drawThickEllipse(canvasOf(surface), centre.x, centre.y, radiusX, radiusY, width, colour);
}

void SoftwareTarget::FillRectangle(const vex_rect_f* rectangle, uint32_t colour) {
    if (!rectangle || !finite(*rectangle)) return;
    fillBox(canvasOf(surface),
            {firstPixel(rectangle->left), firstPixel(rectangle->top), firstPixel(rectangle->right),
             firstPixel(rectangle->bottom)},
            colour);
}

void SoftwareTarget::MeasureText(const vex_text_format* format, const vex_char* text, uint32_t length, int32_t* width,
                                 int32_t* height) {
    TextFont font;
    TextSize size;
    if (text && fontOf(format, font)) size = texts.Measure(font, {text, length});
    if (width) *width = size.width;
    if (height) *height = size.height;
}

void SoftwareTarget::DrawText(const vex_text_format* format, const vex_char* text, uint32_t length,
                              const vex_rect_f* rectangle, uint32_t colour) {
    TextFont font;
    if (!text || !rectangle || !finite(*rectangle) || !fontOf(format, font)) return;
    const std::u16string_view line(text, length);
    const TextSize size = texts.Measure(font, line);
    double left = rectangle->left, top = rectangle->top;
    if (format->flags & VEX_TEXT_CENTRE) left = (left + rectangle->right - size.width) / 2;
    if (format->flags & VEX_TEXT_MIDDLE) top = (top + rectangle->bottom - size.height) / 2;
    PaintText(font, line, size, whole(left + 0.5), whole(top + 0.5), colour);
}

void SoftwareTarget::PaintText(const TextFont& font, std::u16string_view line, TextSize size, int32_t left, int32_t top,
                               uint32_t colour) {
    // No more of the mask is made than the surface can show: a text may be of any length.
    const int32_t maskLeft = std::max(left, 0), maskTop = std::max(top, 0);
    const int64_t maskWidth = std::min<int64_t>(int64_t(left) + size.width, surface.width) - maskLeft;
    const int64_t maskHeight = std::min<int64_t>(int64_t(top) + size.height, surface.height) - maskTop;
    if (maskWidth < 1 || maskHeight < 1) return;
    const size_t bytes = size_t(maskWidth) * size_t(maskHeight);
    try {
        if (scratch.size() < bytes) scratch.resize(bytes);
    } catch (const std::bad_alloc&) {
        return;
    }
    std::fill_n(scratch.begin(), bytes, uint8_t(0));
    const TextMask mask = {scratch.data(), int32_t(maskWidth), int32_t(maskHeight)};
    if (!texts.Draw(font, line, mask, left - maskLeft, top - maskTop)) return;
    paintMask(canvasOf(surface), {mask.pixels, mask.width, mask.height}, maskLeft, maskTop, colour);
}

}  // namespace vexcap
