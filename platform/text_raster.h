// Port: texts as pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/plugin_abi.h"

namespace vexcap {

/// How a text looks. The family is the system's own for user interfaces.
struct TextFont {
    int32_t height = 12;   ///< Pixels, 1 to 4096.
    int32_t weight = 400;  ///< 400, 700 or 900.
    bool operator==(const TextFont&) const = default;
};

struct TextSize {
    int32_t width = 0;
    int32_t height = 0;
    bool operator==(const TextSize&) const = default;
};

/// Bytes that say which pixels a text covers: 255 for one that it does, 0 for all others. Top row first, rows `width`
/// bytes long.
struct TextMask {
    uint8_t* pixels = nullptr;
    int32_t width = 0;
    int32_t height = 0;
};

/// Any thread.
struct ITextRaster {
    static constexpr PluginAbi plugin = {"vexcap-text", "vexcap_text", 1};
    virtual ~ITextRaster() = default;
    /// Size of one line: its width as it is drawn, its height from the font's ascent to its descent; more where a
    /// character stands out. Line breaks and other controls are drawn as blanks. The text ends after 4096 units at
    /// most, and neither side is longer than 32767. 0, 0 for an empty text, and where the text cannot be drawn.
    virtual TextSize Measure(const TextFont& font, std::u16string_view text) = 0;
    /// Sets what one line of text covers, the top left of its measured area at x, y of the mask; the rest of the mask
    /// stays. What lies outside the mask is cut off. False, with nothing set, where the text cannot be drawn.
    virtual bool Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) = 0;
};

}  // namespace vexcap
