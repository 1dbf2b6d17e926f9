// Pictures of this library (3 bytes a pixel, blue first, rows bottom-up at the DIB stride) to and from frames of
// FFmpeg.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/ffmpeg/av.h"

namespace vexcap::ffmpeg {

/// Bytes of a picture. 0 for what is none: a side of 0, a picture of 2 GiB and more.
uint64_t pictureBytes(uint32_t width, uint32_t height);

/// Fills frames for an encoder. Reads the picture where it lies, but for its last bytes in memory. One thread at a
/// time.
class FrameFiller final {
public:
    /// E_INVALIDARG when there is no way from a picture of this size to `target`.
    static Result<std::unique_ptr<FrameFiller>> create(uint32_t width, uint32_t height, AVPixelFormat target);
    /// `frame` has its buffers, of the size and format told at creation.
    Status Fill(std::span<const std::byte> picture, AVFrame& frame);

private:
    FrameFiller(uint32_t width, uint32_t height, ScalerPtr made);
    Status Convert(const std::byte* lastByteRow, int firstRow, int rows, AVFrame& frame);

    const size_t stride;
    const int height;
    const int topRows;           // of the picture, which lie last in memory
    std::vector<std::byte> top;  // those rows, with room behind them
    const ScalerPtr scaler;
};

/// Makes pictures of one size from decoded frames of any size and format. One thread at a time.
class PictureMaker final {
public:
    PictureMaker(uint32_t pictureWidth, uint32_t pictureHeight) : width(pictureWidth), height(pictureHeight) {}
    /// A frame of another size is scaled. E_FAIL for a format that cannot be converted; `picture` has room for one.
    Status Make(const AVFrame& frame, std::span<std::byte> picture);

private:
    /// What decides how a frame is converted.
    struct Kind {
        int width = 0, height = 0, format = AV_PIX_FMT_NONE;
        AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
        AVColorSpace space = AVCOL_SPC_UNSPECIFIED;
        bool operator==(const Kind&) const = default;
    };
    Status Prepare(const Kind& next);

    const uint32_t width;
    const uint32_t height;
    Kind kind;
    ScalerPtr scaler;
    FramePtr roomy;  // where a conversion may write beyond its rows; null when it goes straight into the picture
};

}  // namespace vexcap::ffmpeg
