// Codecs and media files through the plug-in.
#pragma once

#include "platform/linux/plugins/plugin.h"
#include "platform/media.h"

namespace vexcap {

/// Without the plug-in there is no compressor, and all else is VEX_E_NO_MODULE. Any thread.
class MediaPlugin final : public IMedia {
public:
    /// Loader and log must outlive this, and the host the process.
    MediaPlugin(ILoader& loader, const PluginHost& host, Log& log) : installed(loader, host, log) {}
    std::vector<Compressor> Compressors() override;
    Result<std::unique_ptr<ICompressor>> OpenCompressor(std::u16string_view displayName,
                                                        const CompressorSettings& settings) override;
    Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t fourcc, uint32_t width, uint32_t height) override;
    Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view path) override;

private:
    Plugin<IMedia> installed;
};

}  // namespace vexcap
