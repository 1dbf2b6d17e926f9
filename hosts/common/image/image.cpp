#include "hosts/common/image/image.h"

#include <vexcap/vexcap.h>

#include <algorithm>
#include <cstring>

namespace vexcap::host {

namespace {

size_t paddedRow(size_t bytes) { return (bytes + 3) / 4 * 4; }

/// Exchanges the first and the third sample of each pixel while it copies.
template <typename Sample>
void copyTurned(uint8_t* to, const uint8_t* from, uint32_t width, size_t pixelBytes) {
    constexpr size_t sample = sizeof(Sample);
    for (uint32_t x = 0; x < width; ++x, to += 3 * sample, from += pixelBytes) {
        std::memcpy(to, from + 2 * sample, sample);
        std::memcpy(to + sample, from + sample, sample);
        std::memcpy(to + 2 * sample, from, sample);
    }
}

Image emptyImage(int32_t width, int32_t height, uint32_t channels, uint32_t depth) {
    Image image;
    if (width <= 0 || height <= 0) return image;
    image.size = {static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
    image.channels = channels;
    image.depth = depth;
    image.samples.resize(image.RowBytes() * image.size.height);
    return image;
}

}  // namespace

std::string mosaicFromTop(uint32_t fourcc, uint32_t height) {
    if (!fourcc) return {};
    std::string names;
    for (int shift = 0; shift < 32; shift += 8) names.push_back(static_cast<char>(fourcc >> shift));
    // The name begins with the lowest row; over an even height the top row is one of the other kind.
    return height % 2 ? names : names.substr(2) + names.substr(0, 2);
}

Image imageFromGrab(const uint8_t* bitmap, uint32_t kind, uint32_t depth) {
    vex_bitmap_header header;
    std::memcpy(&header, bitmap, sizeof header);
    const bool raw = kind == VEX_GRAB_RAW, deep = kind == VEX_GRAB_DEEP;
    const uint32_t told = raw ? header.biBitCount : deep ? header.biBitCount / 3u : 8u;
    // The header tells how wide samples are, and the depth how much of them is used.
    const bool wide = deep || (raw && told > 8);
    Image image =
        emptyImage(header.biWidth, header.biHeight, raw ? 1 : 3, wide ? std::clamp(depth ? depth : told, 9u, 16u) : 8);
    if (raw) image.mosaic = mosaicFromTop(header.biCompression, image.size.height);
    const size_t row = raw ? image.RowBytes() : paddedRow(image.RowBytes());
    for (uint32_t y = 0; y < image.size.height; ++y) {
        const uint8_t* const from = bitmap + sizeof header + (image.size.height - 1 - y) * row;
        uint8_t* const to = image.samples.data() + y * image.RowBytes();
        if (raw) {
            std::memcpy(to, from, row);
        } else if (deep) {
            copyTurned<uint16_t>(to, from, image.size.width, 6);
        } else {
            copyTurned<uint8_t>(to, from, image.size.width, 3);
        }
    }
    return image;
}

Image imageFromSurface(const vex_surface& surface) {
    Image image = emptyImage(surface.width, surface.height, 3, 8);
    for (uint32_t y = 0; y < image.size.height; ++y)
        copyTurned<uint8_t>(image.samples.data() + y * image.RowBytes(),
                            surface.pixels + static_cast<ptrdiff_t>(y) * surface.stride, image.size.width, 4);
    return image;
}

std::vector<uint8_t> bitmapOf(const Image& image) {
    const size_t row = paddedRow(image.RowBytes());
    vex_bitmap_header header = {};
    header.biSize = sizeof header;
    header.biWidth = static_cast<int32_t>(image.size.width);
    header.biHeight = static_cast<int32_t>(image.size.height);
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biSizeImage = static_cast<uint32_t>(row * image.size.height);
    std::vector<uint8_t> bitmap(sizeof header + row * image.size.height);
    std::memcpy(bitmap.data(), &header, sizeof header);
    for (uint32_t y = 0; y < image.size.height; ++y)
        copyTurned<uint8_t>(bitmap.data() + sizeof header + (image.size.height - 1 - y) * row, image.Row(y).data(),
                            image.size.width, 3);
    return bitmap;
}

}  // namespace vexcap::host
