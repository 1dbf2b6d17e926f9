#include "platform/ffmpeg/picture.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "base/dib.h"

namespace vexcap::ffmpeg {
namespace {

// The converters work on several pixels at a time. They read, and at some widths write, up to this many bytes beyond
// the end of a row.
constexpr size_t beyondRow = 64;

// Where this divides the width they stay inside each row that they write.
constexpr uint32_t wholeSteps = 16;

const uint8_t* avBytes(const std::byte* bytes) { return reinterpret_cast<const uint8_t*>(bytes); }

/// An even number of rows, since formats with less colour than light take rows in pairs.
int rowsBeyond(size_t stride, int height) {
    const size_t rows = (beyondRow + stride - 1) / stride;
    return int(std::min(size_t(height), (rows + 1) / 2 * 2));
}

}  // namespace

uint64_t pictureBytes(uint32_t width, uint32_t height) {
    if (!width || width > INT_MAX / 3 - beyondRow) return 0;
    const uint64_t bytes = uint64_t(dibStride(width, 3)) * height;
    return bytes <= INT_MAX ? bytes : 0;
}

Result<std::unique_ptr<FrameFiller>> FrameFiller::create(uint32_t width, uint32_t height, AVPixelFormat target) {
    if (!pictureBytes(width, height)) return E_INVALIDARG;
    // The quick way takes colour from pairs of pixels. At an odd width the last pair has a pixel from outside.
    const int flags = SWS_BILINEAR | (width % 2 ? SWS_FULL_CHR_H_INP : 0);
    ScalerPtr scaler(sws_getContext(int(width), int(height), AV_PIX_FMT_BGR24, int(width), int(height), target, flags,
                                    nullptr, nullptr, nullptr));
    if (!scaler) return E_INVALIDARG;
    return std::unique_ptr<FrameFiller>(new FrameFiller(width, height, std::move(scaler)));
}

FrameFiller::FrameFiller(uint32_t width, uint32_t rows, ScalerPtr made)
    : stride(dibStride(width, 3)),
      height(int(rows)),
      topRows(rowsBeyond(stride, height)),
      top(stride * size_t(topRows) + beyondRow),
      scaler(std::move(made)) {}

Status FrameFiller::Fill(std::span<const std::byte> picture, AVFrame& frame) {
    // The top rows end the picture's memory, behind which nothing may be read. They are converted from a copy; all
    // others have at least that much of the picture behind them.
    const size_t topBytes = stride * size_t(topRows);
    std::memcpy(top.data(), picture.data() + picture.size() - topBytes, topBytes);
    if (const Status s = Convert(top.data() + topBytes - stride, 0, topRows, frame); !s.ok()) return s;
    if (topRows == height) return S_OK;
    return Convert(picture.data() + picture.size() - topBytes - stride, topRows, height - topRows, frame);
}

Status FrameFiller::Convert(const std::byte* first, int firstRow, int rows, AVFrame& frame) {
    const uint8_t* const source[] = {avBytes(first)};
    const int sourceStride[] = {-int(stride)};
    const int done = sws_scale(scaler.get(), source, sourceStride, firstRow, rows, frame.data, frame.linesize);
    return done < 0 ? statusFromAv(done) : Status(S_OK);
}

Status PictureMaker::Prepare(const Kind& next) {
    kind = {};
    const auto format = AVPixelFormat(next.format);
    scaler.reset(sws_getContext(next.width, next.height, format, int(width), int(height), AV_PIX_FMT_BGR24,
                                SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler) return E_FAIL;

    int *present = nullptr, *own = nullptr, fullRange = 0, ownRange = 0, brightness = 0, contrast = 0, saturation = 0;
    if (sws_getColorspaceDetails(scaler.get(), &present, &fullRange, &own, &ownRange, &brightness, &contrast,
                                 &saturation) >= 0) {
        // A frame that does not tell its range has the one of its format.
        if (next.range != AVCOL_RANGE_UNSPECIFIED) fullRange = next.range == AVCOL_RANGE_JPEG;
        sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(next.space), fullRange, own, ownRange, brightness,
                                 contrast, saturation);
    }

    const bool sameSize = uint32_t(next.width) == width && uint32_t(next.height) == height;
    if (sameSize && width % wholeSteps == 0) {
        roomy.reset();
    } else if (!roomy) {
        FramePtr frame(av_frame_alloc());
        if (!frame) return E_OUTOFMEMORY;
        frame->width = int(width) + int(beyondRow);
        frame->height = int(height);
        frame->format = AV_PIX_FMT_BGR24;
        if (const int failed = av_frame_get_buffer(frame.get(), 0); failed < 0) return statusFromAv(failed);
        roomy = std::move(frame);
    }
    kind = next;
    return S_OK;
}

Status PictureMaker::Make(const AVFrame& frame, std::span<std::byte> picture) {
    const size_t stride = dibStride(width, 3);
    if (picture.size() < stride * height) return E_INVALIDARG;
    // The scaler ends the process over a format that is none, and a damaged stream may bring one.
    if (!frame.data[0] || !sws_isSupportedInput(AVPixelFormat(frame.format))) return E_FAIL;
    const Kind next = {frame.width, frame.height, frame.format, frame.color_range, frame.colorspace};
    if (next != kind)
        if (const Status s = Prepare(next); !s.ok()) return s;

    std::byte* const firstRow = picture.data() + stride * (height - 1);
    uint8_t* const target[] = {roomy ? roomy->data[0] : reinterpret_cast<uint8_t*>(firstRow)};
    const int targetStride[] = {roomy ? roomy->linesize[0] : -int(stride)};
    const int done = sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, target, targetStride);
    if (done != int(height)) return done < 0 ? statusFromAv(done) : Status(E_FAIL);
    if (!roomy) return S_OK;
    for (uint32_t row = 0; row < height; ++row)
        std::memcpy(firstRow - stride * row, roomy->data[0] + ptrdiff_t(row) * roomy->linesize[0], size_t(width) * 3);
    return S_OK;
}

}  // namespace vexcap::ffmpeg
