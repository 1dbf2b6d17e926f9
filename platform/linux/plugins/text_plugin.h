// Texts drawn by the plug-in that lies beside the library.
#pragma once

#include <vexcap/types.h>

#include <string_view>

#include "platform/linux/plugins/plugin.h"
#include "platform/text_raster.h"

namespace vexcap {

inline constexpr std::u16string_view textPluginName = u"libvexcap-text.so.1";

/// Of what platform/text_raster.h tells: it counts up when that changes.
inline constexpr uint32_t textPluginVersion = 1;

/// The plug-in's one export, `vexcap_text`.
using TextPluginFunction = Plugin<ITextRaster>::Function;

/// Where the plug-in is missing or of another version no text can be drawn. Any thread.
class TextPlugin final : public ITextRaster {
public:
    /// The loader must outlive this.
    explicit TextPlugin(ILoader& loader) : plugin(loader, textPluginName, "vexcap_text", textPluginVersion) {}
    TextSize Measure(const TextFont& font, std::u16string_view text) override;
    bool Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) override;

private:
    Plugin<ITextRaster> plugin;
};

}  // namespace vexcap
