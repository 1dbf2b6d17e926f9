// Texts through the plug-in.
#pragma once

#include <atomic>

#include "platform/linux/plugins/plugin.h"
#include "platform/text_raster.h"

namespace vexcap {

/// Without the plug-in no text can be drawn. Any thread.
class TextPlugin final : public ITextRaster {
public:
    /// Loader and log must outlive this, and the host the process.
    TextPlugin(ILoader& loader, const PluginHost& host, Log& lines) : installed(loader, host, lines), log(lines) {}
    TextSize Measure(const TextFont& font, std::u16string_view text) override;
    bool Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) override;

private:
    Plugin<ITextRaster> installed;
    Log& log;
    std::atomic<bool> reported = false;  ///< That the plug-in draws nothing.
};

}  // namespace vexcap
