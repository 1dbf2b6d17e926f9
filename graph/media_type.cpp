// What flows through a connection.
#include "graph/media_type.h"

#include <algorithm>
#include <cstring>

#include "base/dib.h"

namespace vexcap {
namespace {

/// Where the bitmap header stands in the format block of a video type; 0 for a type without one, and for a block that
/// ends before its end.
size_t bitmapOffset(const MediaType& type) {
    size_t offset = 0;
    if (type.formatType == FORMAT_VideoInfo || type.formatType == FORMAT_MPEGVideo) offset = 48;
    if (type.formatType == FORMAT_VideoInfo2 || type.formatType == FORMAT_MPEG2Video) offset = 72;
    return type.format.size() >= offset + sizeof(vex_bitmap_header) ? offset : 0;
}

uint32_t saturated(uint64_t value) { return uint32_t(std::min<uint64_t>(value, UINT32_MAX)); }

}  // namespace

bool operator==(const MediaType& a, const MediaType& b) {
    return a.major == b.major && a.subtype == b.subtype && a.formatType == b.formatType && a.fixedSize == b.fixedSize &&
           (!a.fixedSize || a.sampleSize == b.sampleSize) && a.format == b.format;
}

void MediaType::SetVideoInfo(const VideoInfoHeader& header, std::span<const std::byte> extra) {
    formatType = FORMAT_VideoInfo;
    format.resize(sizeof header + extra.size());
    std::memcpy(format.data(), &header, sizeof header);
    std::copy_n(reinterpret_cast<const uint8_t*>(extra.data()), extra.size(), format.begin() + sizeof header);
}

bool MediaType::GetBitmapHeader(vex_bitmap_header& out) const {
    const size_t offset = bitmapOffset(*this);
    if (offset == 0) return false;
    std::memcpy(&out, format.data() + offset, sizeof out);
    return true;
}

int64_t MediaType::AverageTimePerFrame() const {
    if (bitmapOffset(*this) == 0) return 0;
    int64_t time;  // stands at the same place in all of these blocks
    std::memcpy(&time, format.data() + offsetof(VideoInfoHeader, averageTimePerFrame), sizeof time);
    return time;
}

std::span<const std::byte> MediaType::ExtraData() const {
    if (formatType != FORMAT_VideoInfo || format.size() <= sizeof(VideoInfoHeader)) return {};
    return std::as_bytes(std::span(format).subspan(sizeof(VideoInfoHeader)));
}

MediaType rgb24Type(int32_t width, int32_t height, int64_t interval) {
    const uint64_t rows = uint64_t(height < 0 ? -int64_t(height) : int64_t(height));
    const uint32_t bytes = width > 0 ? saturated(dibStride(uint32_t(width), 3) * rows) : 0;
    VideoInfoHeader header;
    header.bitRate = saturated(uint64_t(bytes) * rateOfInterval(interval) * 8);
    header.averageTimePerFrame = interval;
    header.bitmap.biSize = sizeof header.bitmap;
    header.bitmap.biWidth = width;
    header.bitmap.biHeight = height;
    header.bitmap.biPlanes = 1;
    header.bitmap.biBitCount = 24;
    header.bitmap.biSizeImage = bytes;

    MediaType type;
    type.major = MEDIATYPE_Video;
    type.subtype = MEDIASUBTYPE_RGB24;
    type.fixedSize = bytes != 0;
    type.sampleSize = bytes;
    type.SetVideoInfo(header);
    return type;
}

}  // namespace vexcap
