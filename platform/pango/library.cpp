// The one function of the plug-in.
#include <vexcap/types.h>

#include "platform/pango/pango_text.h"

extern "C" VEXCAP_API vexcap::ITextRaster* vexcap_text(uint32_t version, const vexcap::PluginHost& host);

extern "C" vexcap::ITextRaster* vexcap_text(uint32_t version, const vexcap::PluginHost&) {
    return vexcap::pluginObject<vexcap::ITextRaster, vexcap::pango::PangoText>(version);
}
