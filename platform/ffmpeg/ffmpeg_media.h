// Codecs and media files through FFmpeg's libraries.
#pragma once

#include <optional>

#include "base/mutex.h"
#include "platform/media.h"

namespace vexcap::ffmpeg {

/// Silences FFmpeg in this process: what it says of damaged files is of no use to a host, whose console this is.
class FfmpegMedia final : public IMedia {
public:
    /// Media files are read through `fileSystem`, which outlives this.
    explicit FfmpegMedia(IFileSystem& fileSystem);
    /// The machine is searched at the first call.
    std::vector<Compressor> Compressors() override VEX_EXCLUDES(lock);
    Result<std::unique_ptr<ICompressor>> OpenCompressor(std::u16string_view displayName,
                                                        const CompressorSettings& settings) override;
    Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t fourcc, uint32_t width, uint32_t height) override;
    Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view path) override;

private:
    IFileSystem& files;
    Mutex lock;
    std::optional<std::vector<Compressor>> found VEX_GUARDED_BY(lock);
};

}  // namespace vexcap::ffmpeg
