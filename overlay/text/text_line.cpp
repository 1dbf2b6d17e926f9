#include "overlay/text/text_line.h"

#include <algorithm>
#include <cstring>

namespace vexcap {

void TextLine::Make(ITextRaster& texts, const TextTarget& target, const TextFont& patternFont,
                    std::u16string_view pattern) {
    font = patternFont;
    drawn = false;
    bitmap.Make(target, measureText(texts, target, font, pattern));
}

void TextLine::SetText(std::u16string_view text) {
    text = text.substr(0, capacity);
    if (text == Text()) return;
    length = size_t(std::copy(text.begin(), text.end(), units.begin()) - units.begin());
    drawn = false;
}

bool TextLine::Draw(ITextRaster& texts) {
    if (length == 0) return false;
    if (drawn) return true;
    const TextMask mask = bitmap.Pixels();
    std::memset(mask.pixels, 0, size_t(mask.width) * size_t(mask.height));
    drawn = texts.Draw(font, Text(), mask, (mask.width - texts.Measure(font, Text()).width) / 2, 0);
    return drawn;
}

}  // namespace vexcap
