#include "platform/pango/line.h"

#include <algorithm>
#include <span>

#include "base/text.h"
#include "platform/pango/run.h"

namespace vexcap::pango {
namespace {

constexpr size_t longestText = 4096;

// Pango counts 1024ths of a pixel in an int, so the widest that it can place is 2^21 pixels. No glyph of a usual font
// is wider than 16 times its height.
constexpr size_t widestPlace = (1 << 21) / 16;

constexpr bool isHigh(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool isLow(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

/// Line breaks and tabs among them, and the separators of lines and paragraphs.
constexpr bool isControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
}

/// The nearest whole pixels that contain it.
LineBox pixelsOf(PangoRectangle rectangle) {
    pango_extents_to_pixels(&rectangle, nullptr);
    return {rectangle.x, rectangle.y, rectangle.x + rectangle.width, rectangle.y + rectangle.height};
}

}  // namespace

void LineBox::Add(const LineBox& other) {
    left = std::min(left, other.left);
    top = std::min(top, other.top);
    right = std::max(right, other.right);
    bottom = std::max(bottom, other.bottom);
}

TextSize LineBox::Size() const { return {std::min(right - left, longest), std::min(bottom - top, longest)}; }

std::u16string_view cutText(std::u16string_view text, int32_t height) {
    const size_t most = std::min(longestText, widestPlace / size_t(height));
    if (text.size() <= most) return text;
    return text.substr(0, isHigh(text[most - 1]) && isLow(text[most]) ? most - 1 : most);
}

Line::Line(PangoContext* context, const char* family, const TextFont& font) : layout(pango_layout_new(context)) {
    const FontDescription description(pango_font_description_new());
    pango_font_description_set_family(description.get(), family);
    pango_font_description_set_weight(description.get(), PangoWeight(font.weight));
    pango_font_description_set_absolute_size(description.get(), double(font.height) * PANGO_SCALE);
    pango_layout_set_font_description(layout.get(), description.get());
    pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
}

void Line::Set(std::u16string_view text) {
    if (text == present) return;
    present.clear();
    std::u16string printable(text);
    std::replace_if(printable.begin(), printable.end(), isControl, u' ');
    const std::string utf8 = toUtf8(printable);
    pango_layout_set_text(layout.get(), utf8.data(), int(utf8.size()));
    PangoRectangle ink, logical;
    pango_layout_get_extents(layout.get(), &ink, &logical);
    presentBox = pixelsOf(logical);
    if (ink.width > 0 && ink.height > 0) presentBox.Add(pixelsOf(ink));
    present = text;
}

LineBox Line::Box(std::u16string_view text) {
    Set(text);
    return presentBox;
}

bool Line::Draw(std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) {
    const LineBox box = Box(text);
    const TextSize size = box.Size();
    // The part of the box that the mask has, from the top left of the box.
    const int64_t left = std::max<int64_t>(-int64_t(x), 0),
                  right = std::min<int64_t>(size.width, int64_t(mask.width) - x);
    const int64_t top = std::max<int64_t>(-int64_t(y), 0),
                  bottom = std::min<int64_t>(size.height, int64_t(mask.height) - y);
    if (left >= right || top >= bottom) return true;
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A8, int(right - left), int(bottom - top)));
    const Pen pen(cairo_create(surface.get()));
    cairo_set_antialias(pen.get(), CAIRO_ANTIALIAS_NONE);
    cairo_move_to(pen.get(), -double(box.left) - double(left), -double(box.top) - double(top));
    pango_cairo_show_layout(pen.get(), layout.get());
    cairo_surface_flush(surface.get());
    if (cairo_status(pen.get()) != CAIRO_STATUS_SUCCESS) return false;
    const uint8_t* const pixels = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    for (int32_t row = 0; row < bottom - top; ++row)
        forEachRun(std::span(pixels + ptrdiff_t(row) * stride, size_t(right - left)), row,
                   [&](const Run& run) { setRun(mask, run, x + left, y + top, mask.width); });
    return true;
}

}  // namespace vexcap::pango
