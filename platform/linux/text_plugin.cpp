#include "platform/linux/text_plugin.h"

namespace vexcap {
namespace {

/// Null when the plug-in is missing or does not fit.
ITextRaster* loadPlugin(ILoader& loader) {
    void* const library = loader.Load(textPluginName);
    if (!library) return nullptr;
    const auto function = reinterpret_cast<TextPluginFunction*>(loader.Symbol(library, "vexcap_text"));
    ITextRaster* const texts = function ? function(textPluginVersion) : nullptr;
    if (!texts) loader.Free(library);
    return texts;
}

}  // namespace

ITextRaster* TextPlugin::Loaded() {
    MutexGuard guard(lock);
    if (!tried) {
        texts = loadPlugin(loader);
        tried = true;
    }
    return texts;
}

TextSize TextPlugin::Measure(const TextFont& font, std::u16string_view text) {
    ITextRaster* const plugin = Loaded();
    return plugin ? plugin->Measure(font, text) : TextSize();
}

bool TextPlugin::Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) {
    ITextRaster* const plugin = Loaded();
    return plugin && plugin->Draw(font, text, mask, x, y);
}

}  // namespace vexcap
