// Texts drawn by the plug-in that lies beside the library.
#pragma once

#include <vexcap/types.h>

#include <string_view>

#include "base/mutex.h"
#include "platform/loader.h"
#include "platform/text_raster.h"

namespace vexcap {

inline constexpr std::u16string_view textPluginName = u"libvexcap-text.so.1";

/// Of what platform/text_raster.h tells: it counts up when that changes.
inline constexpr uint32_t textPluginVersion = 1;

/// The plug-in's one export, `vexcap_text`. Null for another version than its own; what it gives lives as long as the
/// process.
using TextPluginFunction = ITextRaster*(uint32_t version);

/// Loads the plug-in when it is first needed, once; it stays loaded. Where it is missing or of another version no text
/// can be drawn. Any thread.
class TextPlugin final : public ITextRaster {
public:
    /// The loader must outlive this.
    explicit TextPlugin(ILoader& systemLoader) : loader(systemLoader) {}
    TextSize Measure(const TextFont& font, std::u16string_view text) override;
    bool Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) override;

private:
    ITextRaster* Loaded() VEX_EXCLUDES(lock);

    ILoader& loader;
    Mutex lock;
    bool tried VEX_GUARDED_BY(lock) = false;
    ITextRaster* texts VEX_GUARDED_BY(lock) = nullptr;
};

}  // namespace vexcap
