/// A picture in memory, as picture files have it.
#pragma once

#include <vexcap/drawing.h>
#include <vexcap/records.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hosts/common/size.h"

namespace vexcap::host {

/// Rows from the top without padding; a pixel is one sample, or red, green, blue.
struct Image {
    Size size;
    uint32_t channels = 3;
    uint32_t depth = 8;  ///< Bits of a sample, 1 to 16. More than 8 take two bytes, low byte first, unshifted.
    std::string mosaic;  ///< Colours of the sensor from the top row on, as "GRBG"; empty for none.
    std::vector<uint8_t> samples;

    uint32_t BitsPerPixel() const { return channels * depth; }
    uint32_t SampleBytes() const { return depth > 8 ? 2 : 1; }
    size_t RowBytes() const { return size_t(size.width) * channels * SampleBytes(); }
    std::span<const uint8_t> Row(uint32_t y) const { return std::span(samples).subspan(y * RowBytes(), RowBytes()); }
};

/// The picture that vexcap_grabber copied; an empty one for a header without pixels.
/// @param bitmap  The header with its pixels behind it.
/// @param kind    VEX_GRAB_...
/// @param depth   Bits of a raw or deep sample; 0 where the header alone tells them.
Image imageFromGrab(const uint8_t* bitmap, uint32_t kind, uint32_t depth);

/// What was painted on a surface.
Image imageFromSurface(const vex_surface& surface);

/// A bitmap of 24 bits a pixel as vex_bitmap_header tells it, pixels behind it, from a picture of three channels and 8
/// bits.
std::vector<uint8_t> bitmapOf(const Image& image);

/// The names of a mosaic's colours from the row above, which is the first one of the picture turned upside down.
std::string mosaicFromTop(uint32_t fourcc, uint32_t height);

}  // namespace vexcap::host
