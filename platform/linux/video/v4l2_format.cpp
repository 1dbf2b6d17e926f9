#include "platform/linux/video/v4l2_format.h"

#include <algorithm>
#include <iterator>

#include "base/dib.h"

namespace vexcap {
namespace {

constexpr V4l2Layout layouts[] = {
    {V4L2_PIX_FMT_YUYV, fourcc("YUY2"), 16, true, false},     {V4L2_PIX_FMT_UYVY, fourcc("UYVY"), 16, true, false},
    {V4L2_PIX_FMT_NV12, fourcc("NV12"), 8, true, true},       {V4L2_PIX_FMT_MJPEG, fourcc("MJPG"), 0, false, false},
    {V4L2_PIX_FMT_GREY, fourcc("Y800"), 8, false, false},     {V4L2_PIX_FMT_Y10, fourcc("Y10 "), 16, false, false},
    {V4L2_PIX_FMT_Y12, fourcc("Y12 "), 16, false, false},     {V4L2_PIX_FMT_Y16, fourcc("Y16 "), 16, false, false},
    {V4L2_PIX_FMT_SRGGB8, fourcc("RGGB"), 8, false, false},   {V4L2_PIX_FMT_SGRBG8, fourcc("GRBG"), 8, false, false},
    {V4L2_PIX_FMT_SGBRG8, fourcc("GBRG"), 8, false, false},   {V4L2_PIX_FMT_SBGGR8, fourcc("BGGR"), 8, false, false},
    {V4L2_PIX_FMT_SRGGB10, fourcc("RG10"), 16, false, false}, {V4L2_PIX_FMT_SGRBG10, fourcc("BA10"), 16, false, false},
    {V4L2_PIX_FMT_SGBRG10, fourcc("GB10"), 16, false, false}, {V4L2_PIX_FMT_SBGGR10, fourcc("BG10"), 16, false, false},
    {V4L2_PIX_FMT_SRGGB12, fourcc("RG12"), 16, false, false}, {V4L2_PIX_FMT_SGRBG12, fourcc("BA12"), 16, false, false},
    {V4L2_PIX_FMT_SGBRG12, fourcc("GB12"), 16, false, false}, {V4L2_PIX_FMT_SBGGR12, fourcc("BG12"), 16, false, false},
    {V4L2_PIX_FMT_SRGGB16, fourcc("RG16"), 16, false, false}, {V4L2_PIX_FMT_SGRBG16, fourcc("GR16"), 16, false, false},
    {V4L2_PIX_FMT_SGBRG16, fourcc("GB16"), 16, false, false}, {V4L2_PIX_FMT_SBGGR16, fourcc("BYR2"), 16, false, false},
    {V4L2_PIX_FMT_BGR24, fourcc("BGR3"), 24, false, false},   {V4L2_PIX_FMT_RGB24, fourcc("RGB3"), 24, false, false},
};

const V4l2Layout* find(uint32_t V4l2Layout::*name, uint32_t wanted) {
    const auto found = std::ranges::find(layouts, wanted, name);
    return found == std::end(layouts) ? nullptr : found;
}

}  // namespace

const V4l2Layout* v4l2LayoutOf(uint32_t pixelFormat) { return find(&V4l2Layout::pixelFormat, pixelFormat); }

const V4l2Layout* v4l2LayoutOfFourcc(uint32_t fourcc) { return find(&V4l2Layout::fourcc, fourcc); }

Result<V4l2FrameShape> v4l2FrameShape(const v4l2_pix_format& told) {
    const V4l2Layout* const layout = v4l2LayoutOf(told.pixelformat);
    if (!layout) return E_NOTIMPL;
    if (told.field == V4L2_FIELD_ALTERNATE || told.field == V4L2_FIELD_SEQ_TB || told.field == V4L2_FIELD_SEQ_BT)
        return E_NOTIMPL;
    if (!told.width || !told.height || !told.sizeimage) return E_FAIL;
    V4l2FrameShape shape = {layout, told.width, told.height, 0, told.sizeimage, 1};
    if (!layout->bits) return shape;

    const uint64_t pixels = uint64_t(told.width) + (layout->pairs && told.width % 2);
    const uint64_t rowBytes = pixels * layout->bits / 8;
    // Some drivers leave it out where rows lie close together.
    const uint64_t stride = told.bytesperline ? told.bytesperline : rowBytes;
    const uint64_t rows = told.height + (layout->halfPlane ? (uint64_t(told.height) + 1) / 2 : 0);
    if (stride < rowBytes || stride > told.sizeimage || rows > told.sizeimage) return E_FAIL;
    const uint64_t wholeBytes = stride * (rows - 1) + rowBytes;
    if (wholeBytes > told.sizeimage) return E_FAIL;
    shape.stride = uint32_t(stride);
    shape.wholeBytes = uint32_t(wholeBytes);
    return shape;
}

int64_t v4l2Interval(const v4l2_fract& seconds) {
    if (!seconds.denominator) return 0;
    return (int64_t(seconds.numerator) * 10'000'000 + seconds.denominator / 2) / seconds.denominator;
}

}  // namespace vexcap
