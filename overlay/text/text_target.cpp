#include "overlay/text/text_target.h"

#include <algorithm>

#include "base/mul_div.h"

namespace vexcap {
namespace {

constexpr int32_t largestText = 1 << 28;  // sums of some of these stay within 32 bits

}  // namespace

int32_t TextTarget::AvailableHeight() const {
    const int64_t available = int64_t(height) - margins.top - margins.bottom;
    return available > height || available < 1 ? height : int32_t(available);
}

int32_t overlayFontHeight(int32_t index, int32_t denominator, int32_t availableHeight) {
    constexpr int32_t smallest = 12, usual = 21;
    constexpr int32_t heights[] = {smallest, 15, 18, usual, 24, 27, 30};
    const int32_t base = index >= 0 && index < int32_t(std::size(heights)) ? heights[index] : usual;
    return std::max(mulDiv(base, availableHeight, denominator), smallest);
}

TextFont overlayFont(const MarkerTxt& txt, int32_t denominator, const TextTarget& target) {
    const int32_t weight = txt.FontWeight == 0 ? 400 : txt.FontWeight == 2 ? 900 : 700;
    return {overlayFontHeight(txt.FontSize, denominator, target.AvailableHeight()), weight};
}

TextSize measureText(ITextRaster& texts, const TextTarget& target, const TextFont& font, std::u16string_view text) {
    TextSize size;
    if (target.renderTarget) {
        const vex_text_format format = textFormat(font, 0);
        target.renderTarget->MeasureText(&format, text.data(), uint32_t(text.size()), &size.width, &size.height);
    } else {
        size = texts.Measure(font, text);
    }
    return {std::clamp(size.width, 0, largestText), std::clamp(size.height, 0, largestText)};
}

vex_text_format textFormat(const TextFont& font, uint32_t flags) { return {float(font.height), font.weight, flags}; }

}  // namespace vexcap
