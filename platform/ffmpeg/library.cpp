// The one function of the plug-in.
#include <new>

#include "platform/ffmpeg/ffmpeg_media.h"
#include "platform/linux/plugins/media_plugin.h"

extern "C" VEXCAP_API vexcap::IMedia* vexcap_media(uint32_t version);

/// Null for another version than this one.
extern "C" vexcap::IMedia* vexcap_media(uint32_t version) {
    if (version != vexcap::mediaPluginVersion) return nullptr;
    // Never destroyed: a host may call in while the process ends.
    static vexcap::IMedia* const media = new (std::nothrow) vexcap::ffmpeg::FfmpegMedia;
    return media;
}
