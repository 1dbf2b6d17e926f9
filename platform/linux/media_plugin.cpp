#include "platform/linux/media_plugin.h"

namespace vexcap {
namespace {

/// Null when the plug-in is missing or does not fit.
IMedia* loadPlugin(ILoader& loader) {
    void* const library = loader.Load(mediaPluginName);
    if (!library) return nullptr;
    const auto function = reinterpret_cast<MediaPluginFunction*>(loader.Symbol(library, "vexcap_media"));
    IMedia* const media = function ? function(mediaPluginVersion) : nullptr;
    if (!media) loader.Free(library);
    return media;
}

}  // namespace

IMedia* MediaPlugin::Loaded() {
    MutexGuard guard(lock);
    if (!tried) {
        media = loadPlugin(loader);
        tried = true;
    }
    return media;
}

std::vector<Compressor> MediaPlugin::Compressors() {
    IMedia* const plugin = Loaded();
    return plugin ? plugin->Compressors() : std::vector<Compressor>();
}

Result<std::unique_ptr<ICompressor>> MediaPlugin::OpenCompressor(std::u16string_view displayName,
                                                                 const CompressorSettings& settings) {
    IMedia* const plugin = Loaded();
    if (!plugin) return VEX_E_NO_MODULE;
    return plugin->OpenCompressor(displayName, settings);
}

Result<std::unique_ptr<IPictureDecoder>> MediaPlugin::OpenDecoder(uint32_t fourcc, uint32_t width, uint32_t height) {
    IMedia* const plugin = Loaded();
    if (!plugin) return VEX_E_NO_MODULE;
    return plugin->OpenDecoder(fourcc, width, height);
}

Result<std::unique_ptr<IMediaReader>> MediaPlugin::OpenFile(std::u16string_view path) {
    IMedia* const plugin = Loaded();
    if (!plugin) return VEX_E_NO_MODULE;
    return plugin->OpenFile(path);
}

}  // namespace vexcap
