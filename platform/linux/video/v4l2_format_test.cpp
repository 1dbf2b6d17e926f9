#include "platform/linux/video/v4l2_format.h"

#include <gtest/gtest.h>

#include <set>

#include "base/dib.h"

namespace vexcap {
namespace v4l2_format_test {

v4l2_pix_format told(uint32_t pixelFormat, uint32_t width, uint32_t height, uint32_t stride, uint32_t bytes) {
    v4l2_pix_format format = {};
    format.pixelformat = pixelFormat;
    format.width = width;
    format.height = height;
    format.bytesperline = stride;
    format.sizeimage = bytes;
    format.field = V4L2_FIELD_NONE;
    return format;
}

TEST(V4l2Format, EveryLayoutOfThePortHasItsNameInTheSystem) {
    struct {
        const char (&name)[5];
        uint32_t pixelFormat;
        uint32_t rowBytes;  // of 10 pixels
    } const rows[] = {
        {"YUY2", V4L2_PIX_FMT_YUYV, 20},    {"UYVY", V4L2_PIX_FMT_UYVY, 20},    {"NV12", V4L2_PIX_FMT_NV12, 10},
        {"MJPG", V4L2_PIX_FMT_MJPEG, 0},    {"Y800", V4L2_PIX_FMT_GREY, 10},    {"Y10 ", V4L2_PIX_FMT_Y10, 20},
        {"Y12 ", V4L2_PIX_FMT_Y12, 20},     {"Y16 ", V4L2_PIX_FMT_Y16, 20},     {"RGGB", V4L2_PIX_FMT_SRGGB8, 10},
        {"GRBG", V4L2_PIX_FMT_SGRBG8, 10},  {"GBRG", V4L2_PIX_FMT_SGBRG8, 10},  {"BGGR", V4L2_PIX_FMT_SBGGR8, 10},
        {"RG10", V4L2_PIX_FMT_SRGGB10, 20}, {"BA10", V4L2_PIX_FMT_SGRBG10, 20}, {"GB10", V4L2_PIX_FMT_SGBRG10, 20},
        {"BG10", V4L2_PIX_FMT_SBGGR10, 20}, {"RG12", V4L2_PIX_FMT_SRGGB12, 20}, {"BA12", V4L2_PIX_FMT_SGRBG12, 20},
        {"GB12", V4L2_PIX_FMT_SGBRG12, 20}, {"BG12", V4L2_PIX_FMT_SBGGR12, 20}, {"RG16", V4L2_PIX_FMT_SRGGB16, 20},
        {"GR16", V4L2_PIX_FMT_SGRBG16, 20}, {"GB16", V4L2_PIX_FMT_SGBRG16, 20}, {"BYR2", V4L2_PIX_FMT_SBGGR16, 20},
        {"BGR3", V4L2_PIX_FMT_BGR24, 30},   {"RGB3", V4L2_PIX_FMT_RGB24, 30},
    };
    std::set<uint32_t> seen;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const V4l2Layout* const layout = v4l2LayoutOf(row.pixelFormat);
        ASSERT_TRUE(layout);
        EXPECT_EQ(layout->fourcc, fourcc(row.name));
        EXPECT_EQ(v4l2LayoutOfFourcc(fourcc(row.name)), layout);
        EXPECT_TRUE(seen.insert(layout->fourcc).second);
        // Without a stride of its own rows lie close together.
        const auto shape = v4l2FrameShape(told(row.pixelFormat, 10, 4, 0, 1000));
        ASSERT_TRUE(shape.ok());
        EXPECT_EQ(shape.value().stride, row.rowBytes);
        EXPECT_EQ(shape.value().frameBytes, 1000u);
        const uint32_t planes = row.pixelFormat == V4L2_PIX_FMT_NV12 ? 6 : 4;
        EXPECT_EQ(shape.value().wholeBytes, row.rowBytes ? row.rowBytes * planes : 1);
    }
    EXPECT_EQ(v4l2LayoutOf(V4L2_PIX_FMT_Y16_BE), nullptr);
    EXPECT_EQ(v4l2LayoutOf(V4L2_PIX_FMT_H264), nullptr);
    EXPECT_EQ(v4l2LayoutOfFourcc(0), nullptr);
}

TEST(V4l2Format, NumbersThatCannotBeAreRefused) {
    struct {
        const char* what;
        v4l2_pix_format format;
        HRESULT code;
    } const rows[] = {
        {"padded rows", told(V4L2_PIX_FMT_GREY, 10, 4, 16, 64), S_OK},
        {"a last row without its padding", told(V4L2_PIX_FMT_GREY, 10, 4, 16, 58), S_OK},
        {"a byte too few", told(V4L2_PIX_FMT_GREY, 10, 4, 16, 57), E_FAIL},
        {"rows that overlap", told(V4L2_PIX_FMT_GREY, 10, 4, 9, 1000), E_FAIL},
        {"rows longer than the frame", told(V4L2_PIX_FMT_GREY, 10, 1, 101, 100), E_FAIL},
        {"no width", told(V4L2_PIX_FMT_GREY, 0, 4, 16, 64), E_FAIL},
        {"no height", told(V4L2_PIX_FMT_GREY, 10, 0, 16, 64), E_FAIL},
        {"no bytes", told(V4L2_PIX_FMT_GREY, 10, 4, 16, 0), E_FAIL},
        {"no bytes of a compressed picture", told(V4L2_PIX_FMT_MJPEG, 10, 4, 0, 0), E_FAIL},
        {"more pixels than bytes exist", told(V4L2_PIX_FMT_BGR24, UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX),
         E_FAIL},
        {"more rows than bytes exist", told(V4L2_PIX_FMT_NV12, 2, UINT32_MAX, 2, UINT32_MAX), E_FAIL},
        {"half a pair of pixels", told(V4L2_PIX_FMT_YUYV, 3, 1, 6, 100), E_FAIL},
        {"a whole pair of pixels", told(V4L2_PIX_FMT_YUYV, 3, 1, 8, 8), S_OK},
        {"an odd height's last row of colours", told(V4L2_PIX_FMT_NV12, 4, 3, 4, 20), S_OK},
        {"one of them too few", told(V4L2_PIX_FMT_NV12, 4, 3, 4, 19), E_FAIL},
        {"another layout", told(V4L2_PIX_FMT_H264, 10, 4, 0, 1000), E_NOTIMPL},
    };
    for (const auto& row : rows) EXPECT_EQ(v4l2FrameShape(row.format).code(), row.code) << row.what;

    v4l2_pix_format halves = told(V4L2_PIX_FMT_GREY, 10, 4, 16, 64);
    for (const uint32_t field : {V4L2_FIELD_ALTERNATE, V4L2_FIELD_SEQ_TB, V4L2_FIELD_SEQ_BT}) {
        halves.field = field;
        EXPECT_EQ(v4l2FrameShape(halves).code(), E_NOTIMPL);
    }
    halves.field = V4L2_FIELD_INTERLACED;
    EXPECT_EQ(v4l2FrameShape(halves).code(), S_OK);
}

TEST(V4l2Format, IntervalsAreRoundedAndNonsenseIsNoTime) {
    EXPECT_EQ(v4l2Interval({1, 30}), 333'333);
    EXPECT_EQ(v4l2Interval({1, 60}), 166'667);
    EXPECT_EQ(v4l2Interval({1001, 30'000}), 333'667);
    EXPECT_EQ(v4l2Interval({2, 1}), 20'000'000);
    EXPECT_EQ(v4l2Interval({UINT32_MAX, 1}), 42'949'672'950'000'000);
    EXPECT_EQ(v4l2Interval({0, 30}), 0);
    EXPECT_EQ(v4l2Interval({1, 0}), 0);
    EXPECT_EQ(v4l2Interval({1, UINT32_MAX}), 0);
}

}  // namespace v4l2_format_test
}  // namespace vexcap
