// One line of text, laid out and drawn by Pango.
#pragma once

#include <string>
#include <string_view>

#include "platform/pango/objects.h"
#include "platform/text_raster.h"

namespace vexcap::pango {

/// What a line covers, in pixels from its origin: the top left of where its font places it. Right and bottom lie
/// outside.
struct LineBox {
    int32_t left = 0, top = 0, right = 0, bottom = 0;

    /// Makes this box cover another one, too.
    void Add(const LineBox& other);
    /// The longest side that a mask can have.
    static constexpr int32_t longest = 32767;
    TextSize Size() const;
    bool operator==(const LineBox&) const = default;
};

/// As much of a text as is drawn: 4096 units, and at large heights no more than Pango's numbers can place, which is far
/// beyond the longest mask. A pair of surrogates stays whole.
std::u16string_view cutText(std::u16string_view text, int32_t height);

/// One font's layout; it keeps the text that it was last asked for. Not thread-safe, nor are two lines of one context.
class Line final {
public:
    Line(PangoContext* context, const char* family, const TextFont& font);
    /// Texts are not empty, and as long as cutText leaves them.
    LineBox Box(std::u16string_view text);
    /// Draws with the top left of Box at x, y. False when there is no memory for it.
    bool Draw(std::u16string_view text, const TextMask& mask, int32_t x, int32_t y);

private:
    void Set(std::u16string_view text);

    const Object<PangoLayout> layout;
    std::u16string present;
    LineBox presentBox;
};

}  // namespace vexcap::pango
