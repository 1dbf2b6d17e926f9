// Codecs and media files of the plug-in that lies beside the library.
#pragma once

#include <string_view>

#include "platform/linux/plugins/plugin.h"
#include "platform/media.h"

namespace vexcap {

inline constexpr std::u16string_view mediaPluginName = u"libvexcap-media.so.1";

/// Of what platform/media.h tells: it counts up when that changes.
inline constexpr uint32_t mediaPluginVersion = 1;

/// The plug-in's one export, `vexcap_media`.
using MediaPluginFunction = Plugin<IMedia>::Function;

/// Where the plug-in is missing or of another version there is no compressor, and all else is VEX_E_NO_MODULE. Any
/// thread.
class MediaPlugin final : public IMedia {
public:
    /// The loader must outlive this.
    explicit MediaPlugin(ILoader& loader) : plugin(loader, mediaPluginName, "vexcap_media", mediaPluginVersion) {}
    std::vector<Compressor> Compressors() override;
    Result<std::unique_ptr<ICompressor>> OpenCompressor(std::u16string_view displayName,
                                                        const CompressorSettings& settings) override;
    Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t fourcc, uint32_t width, uint32_t height) override;
    Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view path) override;

private:
    Plugin<IMedia> plugin;
};

}  // namespace vexcap
