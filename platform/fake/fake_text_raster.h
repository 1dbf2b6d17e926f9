// Texts as blocks whose pixels are easily told.
#pragma once

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "platform/text_raster.h"

namespace vexcap {

/// Every UTF-16 unit is a cell of half the font's height in width, and of the font's height; its pixels are set in a
/// pattern of its code, a border of one pixel around it left clear. A weight above 400 makes the cell one pixel wider.
/// Any thread, but for the members.
class FakeTextRaster final : public ITextRaster {
public:
    TextSize Measure(const TextFont& font, std::u16string_view text) override {
        ++measured;
        if (missing || text.empty()) return {};
        return {cellWidth(font) * int32_t(text.size()), font.height};
    }
    bool Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) override {
        ++drawn;
        if (missing || text.empty()) return false;
        for (size_t i = 0; i < text.size(); ++i)
            for (int32_t row = 1; row < font.height - 1; ++row)
                for (int32_t column = 1; column < cellWidth(font) - 1; ++column)
                    if (isSet(text[i], column, row)) set(mask, x + int32_t(i) * cellWidth(font) + column, y + row);
        return true;
    }

    static int32_t cellWidth(const TextFont& font) { return font.height / 2 + (font.weight > 400); }
    /// A blank has no pixels.
    static bool isSet(char16_t unit, int32_t column, int32_t row) {
        return unit != u' ' && (uint32_t(column) * 3 + uint32_t(row) * 5 + unit) % 4 != 0;
    }

    std::atomic<bool> missing = false;  ///< No font.
    std::atomic<uint32_t> measured = 0;
    std::atomic<uint32_t> drawn = 0;

private:
    static void set(const TextMask& mask, int32_t x, int32_t y) {
        if (x >= 0 && y >= 0 && x < mask.width && y < mask.height) mask.pixels[size_t(y) * mask.width + x] = 255;
    }
};

}  // namespace vexcap
