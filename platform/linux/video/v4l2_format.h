// Layouts of frames as V4L2 names them, and as the port does.
#pragma once

#include <linux/videodev2.h>

#include <cstdint>

#include "platform/video_devices.h"

namespace vexcap {

struct V4l2Layout {
    uint32_t pixelFormat;  ///< V4L2's name of it.
    uint32_t fourcc;       ///< VideoFormat's name of it.
    uint32_t bits;         ///< Of a pixel in a row of the picture's first plane; 0 for compressed pictures.
    bool pairs;            ///< Two pixels of a row share their colour: a row ends with a whole pair.
    bool halfPlane;        ///< A plane of half the height and the same row length lies behind the first.
};

/// Null for a layout that the port does not know.
const V4l2Layout* v4l2LayoutOf(uint32_t pixelFormat);
const V4l2Layout* v4l2LayoutOfFourcc(uint32_t fourcc);

/// What a device told of the frames that it sends, once it made sense.
struct V4l2FrameShape {
    const V4l2Layout* layout = nullptr;
    uint32_t width = 0, height = 0;  ///< Pixels.
    uint32_t stride = 0;             ///< Bytes from row to row; 0 for compressed pictures.
    uint32_t frameBytes = 0;         ///< Room that a frame wants.
    uint32_t wholeBytes = 0;         ///< Bytes of a whole picture, 1 for compressed ones: fewer are a damaged frame.
};

/// E_NOTIMPL for a layout that the port does not know, and for pictures that come as two halves; E_FAIL for numbers
/// that cannot be, such as rows that overlap or a frame without room for its last row.
Result<V4l2FrameShape> v4l2FrameShape(const v4l2_pix_format& told);

/// In 100-nanosecond units; 0 for a fraction that is no time.
int64_t v4l2Interval(const v4l2_fract& seconds);

}  // namespace vexcap
