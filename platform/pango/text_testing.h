// Masks of tests, and what Pango itself draws.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "platform/pango/objects.h"
#include "platform/text_raster.h"

namespace vexcap::pango::test {

/// A mask of exactly its bytes, so that a write outside of it is found.
struct Drawing {
    Drawing(int32_t wide, int32_t high) : width(wide), height(high), pixels(size_t(wide) * size_t(high)) {}
    explicit Drawing(const TextSize& size) : Drawing(size.width, size.height) {}
    TextMask Mask() { return {pixels.data(), width, height}; }
    bool IsSet(int32_t x, int32_t y) const {
        return x >= 0 && y >= 0 && x < width && y < height && pixels[size_t(y) * size_t(width) + size_t(x)];
    }
    size_t Count() const { return pixels.size() - size_t(std::count(pixels.begin(), pixels.end(), 0)); }
    /// True when the pixels are 0 and 255 alone.
    bool IsMask() const {
        return std::all_of(pixels.begin(), pixels.end(), [](uint8_t pixel) { return pixel == 0 || pixel == 255; });
    }
    /// This drawing as a part of a larger one.
    Drawing Within(int32_t wide, int32_t high, int32_t x, int32_t y) const {
        Drawing larger(wide, high);
        for (int32_t row = std::max(0, -y); row < std::min(height, high - y); ++row)
            for (int32_t column = std::max(0, -x); column < std::min(width, wide - x); ++column)
                larger.pixels[size_t(row + y) * size_t(wide) + size_t(column + x)] =
                    pixels[size_t(row) * size_t(width) + size_t(column)];
        return larger;
    }
    bool operator==(const Drawing&) const = default;

    int32_t width;
    int32_t height;
    std::vector<uint8_t> pixels;
};

/// The whole text in the area that it measures.
inline Drawing drawn(ITextRaster& texts, const TextFont& font, std::u16string_view text) {
    Drawing result(texts.Measure(font, text));
    texts.Draw(font, text, result.Mask(), 0, 0);
    return result;
}

/// The smallest part of a drawing that has all of its pixels.
inline Drawing inkOf(const Drawing& drawing) {
    int32_t left = drawing.width, top = drawing.height, right = 0, bottom = 0;
    for (int32_t y = 0; y < drawing.height; ++y) {
        const auto row = std::span(drawing.pixels).subspan(size_t(y) * size_t(drawing.width), size_t(drawing.width));
        const auto isSet = [](uint8_t pixel) { return pixel != 0; };
        const auto first = std::find_if(row.begin(), row.end(), isSet);
        if (first == row.end()) continue;
        const auto last = std::find_if(row.rbegin(), row.rend(), isSet);
        left = std::min(left, int32_t(first - row.begin()));
        right = std::max(right, int32_t(row.rend() - last));
        top = std::min(top, y);
        bottom = y + 1;
    }
    return right ? drawing.Within(right - left, bottom - top, -left, -top) : Drawing(0, 0);
}

/// A context whose texts are of one bit a pixel.
inline Object<PangoContext> maskContext(PangoFontMap* map) {
    pango_cairo_font_map_set_resolution(PANGO_CAIRO_FONT_MAP(map), 96);
    Object<PangoContext> context(pango_font_map_create_context(map));
    const FontOptions options(cairo_font_options_create());
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_NONE);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_FULL);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_ON);
    pango_cairo_context_set_font_options(context.get(), options.get());
    return context;
}

/// What Pango itself draws.
class Reference {
public:
    /// The ink of a text that has room on all sides.
    Drawing Ink(const TextFont& font, std::u16string_view text) {
        constexpr int margin = 100;
        const Object<PangoLayout> layout(pango_layout_new(context.get()));
        const FontDescription description(pango_font_description_new());
        pango_font_description_set_family(description.get(), "DejaVu Sans");
        pango_font_description_set_weight(description.get(), PangoWeight(font.weight));
        pango_font_description_set_absolute_size(description.get(), double(font.height) * PANGO_SCALE);
        pango_layout_set_font_description(layout.get(), description.get());
        pango_layout_set_text(layout.get(), toUtf8(text).c_str(), -1);
        int width = 0, height = 0;
        pango_layout_get_pixel_size(layout.get(), &width, &height);
        Drawing result(width + 2 * margin, height + 2 * margin);
        const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A8, result.width, result.height));
        const Pen pen(cairo_create(surface.get()));
        cairo_set_antialias(pen.get(), CAIRO_ANTIALIAS_NONE);
        cairo_move_to(pen.get(), margin, margin);
        pango_cairo_show_layout(pen.get(), layout.get());
        cairo_surface_flush(surface.get());
        const uint8_t* const pixels = cairo_image_surface_get_data(surface.get());
        const ptrdiff_t stride = cairo_image_surface_get_stride(surface.get());
        for (int32_t row = 0; row < result.height; ++row)
            std::copy_n(pixels + row * stride, result.width, result.pixels.begin() + ptrdiff_t(row) * result.width);
        return inkOf(result);
    }

    const Object<PangoFontMap> map{pango_cairo_font_map_new()};
    const Object<PangoContext> context = maskContext(map.get());
};

/// A picture of it, for the message of a failure.
inline std::ostream& operator<<(std::ostream& stream, const Drawing& drawing) {
    stream << drawing.width << " x " << drawing.height << '\n';
    for (int32_t y = 0; y < std::min(drawing.height, 60); ++y, stream << '\n')
        for (int32_t x = 0; x < std::min(drawing.width, 200); ++x) stream << (drawing.IsSet(x, y) ? '#' : '.');
    return stream;
}

}  // namespace vexcap::pango::test
