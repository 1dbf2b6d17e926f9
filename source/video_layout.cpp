#include "source/video_layout.h"

#include <algorithm>

#include "base/dib.h"

namespace vexcap {
namespace {

// A device that says more than this is not believed: its frames could not be held anyway.
constexpr uint64_t mostPixels = 1ull << 28;

constexpr VideoLayout layouts[] = {
    {fourcc("YUY2"), PixelKind::Yuyv, 16, 8, {}},
    {fourcc("UYVY"), PixelKind::Uyvy, 16, 8, {}},
    {fourcc("NV12"), PixelKind::Nv12, 12, 8, {}},
    {fourcc("MJPG"), PixelKind::Jpeg, 24, 8, {}},
    {fourcc("Y800"), PixelKind::Grey8, 8, 8, {}},
    {fourcc("Y10 "), PixelKind::Grey16, 16, 10, {}},
    {fourcc("Y12 "), PixelKind::Grey16, 16, 12, {}},
    {fourcc("Y16 "), PixelKind::Grey16, 16, 16, {}},
    {fourcc("RGGB"), PixelKind::Mosaic8, 8, 8, Mosaic::Rggb},
    {fourcc("GRBG"), PixelKind::Mosaic8, 8, 8, Mosaic::Grbg},
    {fourcc("GBRG"), PixelKind::Mosaic8, 8, 8, Mosaic::Gbrg},
    {fourcc("BGGR"), PixelKind::Mosaic8, 8, 8, Mosaic::Bggr},
    {fourcc("RG10"), PixelKind::Mosaic16, 16, 10, Mosaic::Rggb},
    {fourcc("BA10"), PixelKind::Mosaic16, 16, 10, Mosaic::Grbg},
    {fourcc("GB10"), PixelKind::Mosaic16, 16, 10, Mosaic::Gbrg},
    {fourcc("BG10"), PixelKind::Mosaic16, 16, 10, Mosaic::Bggr},
    {fourcc("RG12"), PixelKind::Mosaic16, 16, 12, Mosaic::Rggb},
    {fourcc("BA12"), PixelKind::Mosaic16, 16, 12, Mosaic::Grbg},
    {fourcc("GB12"), PixelKind::Mosaic16, 16, 12, Mosaic::Gbrg},
    {fourcc("BG12"), PixelKind::Mosaic16, 16, 12, Mosaic::Bggr},
    {fourcc("RG16"), PixelKind::Mosaic16, 16, 16, Mosaic::Rggb},
    {fourcc("GR16"), PixelKind::Mosaic16, 16, 16, Mosaic::Grbg},
    {fourcc("GB16"), PixelKind::Mosaic16, 16, 16, Mosaic::Gbrg},
    {fourcc("BYR2"), PixelKind::Mosaic16, 16, 16, Mosaic::Bggr},
    {fourcc("BGR3"), PixelKind::Bgr, 24, 8, {}},
    {fourcc("RGB3"), PixelKind::Rgb, 24, 8, {}},
};

}  // namespace

const VideoLayout* findLayout(uint32_t code) {
    const auto* found = std::find_if(std::begin(layouts), std::end(layouts),
                                     [&](const VideoLayout& layout) { return layout.fourcc == code; });
    return found == std::end(layouts) ? nullptr : found;
}

size_t VideoPicture::RowBytes() const {
    const size_t pairs = (size_t(width) + 1) / 2;
    switch (layout->kind) {
        case PixelKind::Yuyv:
        case PixelKind::Uyvy:
            return pairs * 4;
        case PixelKind::Nv12:
            return pairs * 2;
        case PixelKind::Jpeg:
            return 0;
        case PixelKind::Grey8:
        case PixelKind::Mosaic8:
            return width;
        case PixelKind::Grey16:
        case PixelKind::Mosaic16:
            return size_t(width) * 2;
        case PixelKind::Bgr:
        case PixelKind::Rgb:
            break;
    }
    return size_t(width) * 3;
}

size_t VideoPicture::Stride() const { return layout->kind == PixelKind::Bgr ? dibStride(width, 3) : RowBytes(); }

uint32_t VideoPicture::Rows() const { return layout->kind == PixelKind::Nv12 ? height + (height + 1) / 2 : height; }

std::optional<VideoPicture> videoPicture(uint32_t code, uint32_t width, uint32_t height) {
    const VideoLayout* const layout = findLayout(code);
    if (!layout || width < 1 || height < 1 || width > mostPixels || height > mostPixels / width) return std::nullopt;
    const bool mosaic = layout->kind == PixelKind::Mosaic8 || layout->kind == PixelKind::Mosaic16;
    if (mosaic && (width < 2 || height < 2)) return std::nullopt;
    return VideoPicture{layout, width, height};
}

MediaType videoType(const VideoPicture& picture, int64_t interval, uint32_t mostBytes) {
    const VideoLayout& layout = *picture.layout;
    const bool plain = layout.kind == PixelKind::Bgr;
    VideoInfoHeader header = {};
    header.averageTimePerFrame = interval;
    vex_bitmap_header& bitmap = header.bitmap;
    bitmap.biSize = sizeof bitmap;
    bitmap.biWidth = int32_t(picture.width);
    bitmap.biHeight = plain ? -int32_t(picture.height) : int32_t(picture.height);
    bitmap.biPlanes = 1;
    bitmap.biBitCount = layout.bitCount;
    bitmap.biCompression = plain ? 0 : layout.fourcc;
    bitmap.biSizeImage = layout.Compressed() ? mostBytes : uint32_t(picture.Bytes());
    if (interval > 0)
        header.bitRate =
            uint32_t(std::min<uint64_t>(bitmap.biSizeImage * 80'000'000ull / uint64_t(interval), UINT32_MAX));
    MediaType type;
    type.major = MEDIATYPE_Video;
    type.subtype = plain ? MEDIASUBTYPE_RGB24 : subtypeOf(layout.fourcc);
    type.SetVideoInfo(header);
    type.fixedSize = !layout.Compressed();
    type.sampleSize = type.fixedSize ? bitmap.biSizeImage : 0;
    return type;
}

std::optional<VideoPicture> pictureOf(const MediaType& type) {
    vex_bitmap_header bitmap = {};
    if (!(type.major == MEDIATYPE_Video) || !type.GetBitmapHeader(bitmap) || bitmap.biWidth < 1) return std::nullopt;
    if (type.subtype == MEDIASUBTYPE_RGB24) {
        if (bitmap.biHeight >= 0 || bitmap.biBitCount != 24) return std::nullopt;
        return videoPicture(fourcc("BGR3"), uint32_t(bitmap.biWidth), uint32_t(-int64_t(bitmap.biHeight)));
    }
    const bool named = type.subtype == subtypeOf(bitmap.biCompression) && bitmap.biCompression != fourcc("BGR3");
    if (!named || bitmap.biHeight < 1) return std::nullopt;
    return videoPicture(bitmap.biCompression, uint32_t(bitmap.biWidth), uint32_t(bitmap.biHeight));
}

}  // namespace vexcap
