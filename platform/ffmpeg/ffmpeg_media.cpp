#include "platform/ffmpeg/ffmpeg_media.h"

#include <cstdarg>

#include "platform/ffmpeg/av.h"
#include "platform/ffmpeg/compressor.h"
#include "platform/ffmpeg/media_file.h"
#include "platform/ffmpeg/picture_decoder.h"

namespace vexcap::ffmpeg {

FfmpegMedia::FfmpegMedia(IFileSystem& fileSystem) : files(fileSystem) {
    av_log_set_callback([](void*, int, const char*, va_list) {});
}

std::vector<Compressor> FfmpegMedia::Compressors() {
    MutexGuard guard(lock);
    if (!found) found = findCompressors();
    return *found;
}

Result<std::unique_ptr<ICompressor>> FfmpegMedia::OpenCompressor(std::u16string_view displayName,
                                                                 const CompressorSettings& settings) {
    return openCompressor(displayName, settings);
}

Result<std::unique_ptr<IPictureDecoder>> FfmpegMedia::OpenDecoder(uint32_t fourcc, uint32_t width, uint32_t height) {
    return openPictureDecoder(fourcc, width, height);
}

Result<std::unique_ptr<IMediaReader>> FfmpegMedia::OpenFile(std::u16string_view path) {
    auto file = files.Open(path);
    if (!file.ok()) return file.status();
    return openMediaFile(std::move(file).value());
}

}  // namespace vexcap::ffmpeg
