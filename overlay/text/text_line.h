// One line of text that changes while its place stays.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "overlay/text/text_bitmap.h"

namespace vexcap {

/// The date, or the sharpness figure. Its size is that of a pattern, so that the place of the block does not change
/// from frame to frame; the text is centred in it, and cut where it is wider. Pixels are drawn when the text has
/// changed.
class TextLine final {
public:
    static constexpr size_t capacity = 256;

    /// The text stays.
    void Reset() { bitmap.Reset(); }
    bool IsFor(const TextTarget& target) const { return bitmap.IsFor(target); }
    /// Makes room for the pattern.
    void Make(ITextRaster& texts, const TextTarget& target, const TextFont& patternFont, std::u16string_view pattern);
    bool Ready() const { return bitmap.Ready(); }
    TextSize Size() const { return bitmap.Size(); }

    /// At most `capacity` units are taken.
    void SetText(std::u16string_view text);
    std::u16string_view Text() const { return {units.data(), length}; }

    /// Draws the text if it has changed. False: there is none, or it cannot be drawn.
    bool Draw(ITextRaster& texts);
    Mask Drawn() const { return bitmap.Drawn(); }

private:
    TextBitmap bitmap;
    TextFont font;
    std::array<char16_t, capacity> units = {};
    size_t length = 0;
    bool drawn = false;
};

}  // namespace vexcap
