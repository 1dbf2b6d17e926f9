#include "platform/linux/plugins/text_plugin.h"

namespace vexcap {

TextSize TextPlugin::Measure(const TextFont& font, std::u16string_view text) {
    ITextRaster* const texts = installed.Loaded();
    return texts ? texts->Measure(font, text) : TextSize();
}

bool TextPlugin::Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) {
    ITextRaster* const texts = installed.Loaded();
    return texts && texts->Draw(font, text, mask, x, y);
}

}  // namespace vexcap
