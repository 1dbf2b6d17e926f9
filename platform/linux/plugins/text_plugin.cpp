#include "platform/linux/plugins/text_plugin.h"

namespace vexcap {

TextSize TextPlugin::Measure(const TextFont& font, std::u16string_view text) {
    ITextRaster* const texts = installed.Loaded();
    if (!texts) return {};
    const TextSize size = texts->Measure(font, text);
    if (size == TextSize() && !text.empty() && !reported.exchange(true))
        log.Write(VEX_LOG_WARNING, u"Texts cannot be drawn: no font is installed");
    return size;
}

bool TextPlugin::Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) {
    ITextRaster* const texts = installed.Loaded();
    return texts && texts->Draw(font, text, mask, x, y);
}

}  // namespace vexcap
