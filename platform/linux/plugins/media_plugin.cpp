#include "platform/linux/plugins/media_plugin.h"

namespace vexcap {

std::vector<Compressor> MediaPlugin::Compressors() {
    IMedia* const media = installed.Loaded();
    return media ? media->Compressors() : std::vector<Compressor>();
}

Result<std::unique_ptr<ICompressor>> MediaPlugin::OpenCompressor(std::u16string_view displayName,
                                                                 const CompressorSettings& settings) {
    IMedia* const media = installed.Loaded();
    if (!media) return VEX_E_NO_MODULE;
    return media->OpenCompressor(displayName, settings);
}

Result<std::unique_ptr<IPictureDecoder>> MediaPlugin::OpenDecoder(uint32_t fourcc, uint32_t width, uint32_t height) {
    IMedia* const media = installed.Loaded();
    if (!media) return VEX_E_NO_MODULE;
    return media->OpenDecoder(fourcc, width, height);
}

Result<std::unique_ptr<IMediaReader>> MediaPlugin::OpenFile(std::u16string_view path) {
    IMedia* const media = installed.Loaded();
    if (!media) return VEX_E_NO_MODULE;
    return media->OpenFile(path);
}

}  // namespace vexcap
