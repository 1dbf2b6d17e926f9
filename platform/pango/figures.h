// Texts of figures, such as a time of day, which are asked for with each frame: drawn without Pango, and without
// memory.
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "platform/pango/line.h"
#include "platform/pango/run.h"

namespace vexcap::pango {

inline constexpr std::u16string_view figureCharacters = u"0123456789 .,:-/+";

/// True for a text of these characters alone.
bool isFigures(std::u16string_view text);

/// The figures of one font. Not thread-safe.
class Figures final {
public:
    /// The largest font whose figures are kept.
    static constexpr int32_t largestHeight = 256;

    explicit Figures(Line& line);
    /// Whether figures side by side are what Pango draws. They are not in a font that moves them closer together, or
    /// draws them otherwise beside others; nothing below may be called then.
    bool Usable() const { return usable; }
    /// These take texts of figures alone.
    LineBox Box(std::u16string_view text) const;
    void Draw(std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) const;

private:
    struct Figure {
        int32_t advance = 0;
        LineBox box;
        std::vector<Run> runs;  ///< From the line's origin.
    };
    static Figure Drawn(Line& line, std::u16string_view character);
    const Figure& Of(char16_t unit) const;
    bool AgreeWith(Line& line) const;

    std::array<Figure, figureCharacters.size()> figures;
    bool usable = false;
};

}  // namespace vexcap::pango
