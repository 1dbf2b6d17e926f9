// How the pictures of video devices lie in memory, and the media types that tell of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "graph/media_type.h"
#include "pixel/kernels.h"

namespace vexcap {

enum class PixelKind { Yuyv, Uyvy, Nv12, Jpeg, Grey8, Grey16, Mosaic8, Mosaic16, Bgr, Rgb };

/// One of the layouts of VideoFormat.
struct VideoLayout {
    uint32_t fourcc;
    PixelKind kind;
    uint16_t bitCount;  ///< Mean bits of a pixel in memory; 24 for compressed pictures.
    uint32_t depth;     ///< Bits of a sample that count; 8 where a sample is a byte.
    Mosaic mosaic;      ///< Of the mosaics alone.

    bool Compressed() const { return kind == PixelKind::Jpeg; }
};

/// Null for a code that is none of them.
const VideoLayout* findLayout(uint32_t fourcc);

/// A picture as it flows through a graph: rows from the first to the last without padding, but blue-green-red ones at
/// the DIB stride; behind the luma rows of NV12 the rows of its colour.
struct VideoPicture {
    const VideoLayout* layout = nullptr;
    uint32_t width = 0;   ///< Pixels.
    uint32_t height = 0;  ///< Pixels.

    /// Bytes that a row fills, from its first pixel to its last; 0 for compressed pictures.
    size_t RowBytes() const;
    /// Bytes from row to row; 0 for compressed pictures.
    size_t Stride() const;
    /// Rows of memory: those of the picture, and of the colour behind them.
    uint32_t Rows() const;
    /// 0 for compressed pictures.
    size_t Bytes() const { return Stride() * Rows(); }
};

/// The picture of a layout and size. None for an unknown layout, a side of 0, a mosaic of less than two by two pixels,
/// and a size that no frame could have.
std::optional<VideoPicture> videoPicture(uint32_t fourcc, uint32_t width, uint32_t height);

/// Its media type: the layout's code as subtype and biCompression; blue-green-red is MEDIASUBTYPE_RGB24 with a negative
/// height, since its first row comes first. `interval` in 100-nanosecond units, 0 when unknown. `mostBytes`: of a
/// compressed picture.
MediaType videoType(const VideoPicture& picture, int64_t interval, uint32_t mostBytes);

/// The picture that a type tells of. None for a type that videoType does not make.
std::optional<VideoPicture> pictureOf(const MediaType& type);

}  // namespace vexcap
