// The one function of the plug-in.
#include <new>

#include "platform/linux/plugins/text_plugin.h"
#include "platform/pango/pango_text.h"

extern "C" VEXCAP_API vexcap::ITextRaster* vexcap_text(uint32_t version);

/// Null for another version than this one.
extern "C" vexcap::ITextRaster* vexcap_text(uint32_t version) {
    if (version != vexcap::textPluginVersion) return nullptr;
    // Never destroyed: a host may call in while the process ends.
    static vexcap::ITextRaster* const texts = new (std::nothrow) vexcap::pango::PangoText;
    return texts;
}
