// The one function of the plug-in.
#include "platform/ffmpeg/ffmpeg_media.h"

extern "C" VEXCAP_API vexcap::IMedia* vexcap_media(uint32_t version, const vexcap::PluginHost& host);

extern "C" vexcap::IMedia* vexcap_media(uint32_t version, const vexcap::PluginHost& host) {
    return vexcap::pluginObject<vexcap::IMedia, vexcap::ffmpeg::FfmpegMedia>(version, host.files);
}
