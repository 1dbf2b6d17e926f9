#include "platform/ffmpeg/picture.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "platform/ffmpeg/media_testing.h"

namespace vexcap::ffmpeg {
namespace picture_test {

using test::Picture;

/// Bytes that end right before memory that nobody may touch, or begin right behind it.
class GuardedBytes {
public:
    GuardedBytes(size_t size, bool atEnd) {
        const size_t page = size_t(::sysconf(_SC_PAGESIZE)), room = (size + page - 1) / page * page;
        length = room + 2 * page;
        base = static_cast<std::byte*>(
            ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        ::mprotect(base, page, PROT_NONE);
        ::mprotect(base + page + room, page, PROT_NONE);
        bytes = {atEnd ? base + page + room - size : base + page, size};
    }
    ~GuardedBytes() { ::munmap(base, length); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;
    std::span<std::byte> bytes;

private:
    std::byte* base;
    size_t length;
};

FramePtr makeFrame(uint32_t width, uint32_t height, AVPixelFormat format) {
    FramePtr frame(av_frame_alloc());
    frame->width = int(width);
    frame->height = int(height);
    frame->format = format;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

/// Sets all bytes of one plane, with its padding.
void fillPlane(AVFrame& frame, int plane, int value) {
    const bool fewer = plane && (frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P);
    const int rows = fewer ? (frame.height + 1) / 2 : frame.height;
    std::memset(frame.data[plane], value, size_t(frame.linesize[plane]) * size_t(rows));
}

constexpr AVPixelFormat encoderFormats[] = {AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P, AV_PIX_FMT_GBRP, AV_PIX_FMT_BGR0,
                                            AV_PIX_FMT_RGB24};
constexpr uint32_t heights[] = {1, 2, 3, 8, 23};

TEST(FrameFiller, ReadsNoByteOutsideThePicture) {
    for (const AVPixelFormat format : encoderFormats)
        for (uint32_t width = 1; width <= 70; ++width)
            for (const uint32_t height : heights)
                for (const bool atEnd : {false, true}) {
                    const GuardedBytes picture(pictureBytes(width, height), atEnd);
                    const FramePtr frame = makeFrame(width, height, format);
                    auto filler = FrameFiller::create(width, height, format);
                    ASSERT_TRUE(filler.ok());
                    ASSERT_TRUE(filler.value()->Fill(picture.bytes, *frame).ok()) << width << "x" << height;
                }
}

TEST(FrameFiller, TheCopiedRowsAreConvertedLikeTheOthers) {
    for (const AVPixelFormat format : encoderFormats)
        for (const uint32_t width : {2u, 7u, 16u, 130u})
            for (const uint32_t height : heights) {
                const Picture picture = test::movingPicture(width, height, 3);
                // The reference converts a copy with room around it in one go.
                std::vector<std::byte> roomy = picture.bytes;
                roomy.resize(roomy.size() + 256);
                const uint8_t* const rows[] = {reinterpret_cast<const uint8_t*>(roomy.data()) +
                                               picture.stride * (height - 1)};
                const int stride[] = {-int(picture.stride)};
                const FramePtr want = makeFrame(width, height, format), got = makeFrame(width, height, format);
                const int flags = SWS_BILINEAR | (width % 2 ? SWS_FULL_CHR_H_INP : 0);
                const ScalerPtr scaler(sws_getContext(int(width), int(height), AV_PIX_FMT_BGR24, int(width),
                                                      int(height), format, flags, nullptr, nullptr, nullptr));
                ASSERT_EQ(sws_scale(scaler.get(), rows, stride, 0, int(height), want->data, want->linesize),
                          int(height));
                auto filler = FrameFiller::create(width, height, format);
                ASSERT_TRUE(filler.value()->Fill(picture.bytes, *got).ok());
                // Of the two last rows of each piece that way makes the colour otherwise, a little.
                const int tolerance = format == AV_PIX_FMT_YUV420P ? 6 : 0;
                for (int plane = 0; plane < 3 && want->data[plane]; ++plane) {
                    const bool fewer = plane && (format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P);
                    const uint32_t w = fewer ? (width + 1) / 2 : width, h = fewer ? (height + 1) / 2 : height;
                    const uint32_t row = w * (format == AV_PIX_FMT_BGR0 ? 4 : format == AV_PIX_FMT_RGB24 ? 3 : 1);
                    for (uint32_t y = 0; y < h; ++y)
                        for (uint32_t i = 0; i < row; ++i)
                            ASSERT_NEAR(got->data[plane][ptrdiff_t(y) * got->linesize[plane] + i],
                                        want->data[plane][ptrdiff_t(y) * want->linesize[plane] + i], tolerance)
                                << "format " << format << ", " << width << "x" << height << ", row " << y;
                }
            }
}

TEST(FrameFiller, RefusesWhatIsNoPicture) {
    EXPECT_EQ(FrameFiller::create(0, 4, AV_PIX_FMT_BGR0).code(), E_INVALIDARG);
    EXPECT_EQ(FrameFiller::create(4, 0, AV_PIX_FMT_BGR0).code(), E_INVALIDARG);
    EXPECT_EQ(FrameFiller::create(30000, 30000, AV_PIX_FMT_BGR0).code(), E_INVALIDARG);
    EXPECT_EQ(FrameFiller::create(0xFFFFFFFF, 0xFFFFFFFF, AV_PIX_FMT_BGR0).code(), E_INVALIDARG);
}

int greyAt(uint32_t x, uint32_t y) { return int((x * 5 + y * 9) % 200) + 20; }

/// A frame without colour whose light is greyAt.
FramePtr greyFrame(uint32_t width, uint32_t height, AVPixelFormat format) {
    FramePtr frame = makeFrame(width, height, format);
    for (int plane = 0; plane < 3 && frame->data[plane]; ++plane) fillPlane(*frame, plane, 128);
    const bool planar = format == AV_PIX_FMT_GBRP;
    const uint32_t step = format == AV_PIX_FMT_BGR0 ? 4 : format == AV_PIX_FMT_BGR24 ? 3 : 1;
    for (int plane = 0; plane < (planar ? 3 : 1); ++plane)
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t i = 0; i < width * step; ++i)
                frame->data[plane][ptrdiff_t(y) * frame->linesize[plane] + i] = uint8_t(greyAt(i / step, y));
    return frame;
}

TEST(PictureMaker, WritesEveryPixelAndNoByteOutsideThePicture) {
    for (const AVPixelFormat format : {AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_GRAY8,
                                       AV_PIX_FMT_GBRP, AV_PIX_FMT_BGR0, AV_PIX_FMT_BGR24})
        for (uint32_t width = 1; width <= 70; ++width)
            for (const uint32_t height : heights)
                for (const bool atEnd : {false, true}) {
                    const GuardedBytes picture(pictureBytes(width, height), atEnd);
                    PictureMaker maker(width, height);
                    ASSERT_TRUE(maker.Make(*greyFrame(width, height, format), picture.bytes).ok());
                    Picture got(width, height);
                    got.bytes.assign(picture.bytes.begin(), picture.bytes.end());
                    for (uint32_t y = 0; y < height; ++y)
                        for (uint32_t x = 0; x < width; ++x)
                            for (int channel = 0; channel < 3; ++channel)
                                ASSERT_NEAR(int(got.at(x, y)[channel]), greyAt(x, y), 3)
                                    << "format " << format << ", " << width << "x" << height << " at " << x << "," << y;
                }
}

int levelOf(AVPixelFormat format, AVColorRange range, int luma) {
    const FramePtr frame = makeFrame(32, 8, format);
    for (int plane = 0; plane < 3 && frame->data[plane]; ++plane) fillPlane(*frame, plane, plane ? 128 : luma);
    frame->color_range = range;
    Picture picture(32, 8);
    PictureMaker maker(32, 8);
    EXPECT_TRUE(maker.Make(*frame, picture.bytes).ok());
    return int(*picture.at(7, 3));
}

TEST(PictureMaker, TakesTheRangeThatTheFrameTells) {
    EXPECT_NEAR(levelOf(AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, 16), 0, 2);
    EXPECT_NEAR(levelOf(AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, 235), 255, 2);
    EXPECT_NEAR(levelOf(AV_PIX_FMT_YUV420P, AVCOL_RANGE_JPEG, 16), 16, 2);
    EXPECT_NEAR(levelOf(AV_PIX_FMT_YUVJ422P, AVCOL_RANGE_MPEG, 235), 255, 2);
}

TEST(PictureMaker, AFrameThatDoesNotTellItsRangeHasTheOneOfItsFormat) {
    EXPECT_NEAR(levelOf(AV_PIX_FMT_YUV420P, AVCOL_RANGE_UNSPECIFIED, 16), 0, 2);
    EXPECT_NEAR(levelOf(AV_PIX_FMT_YUVJ420P, AVCOL_RANGE_UNSPECIFIED, 16), 16, 2);
    EXPECT_NEAR(levelOf(AV_PIX_FMT_GRAY8, AVCOL_RANGE_UNSPECIFIED, 16), 16, 2);
}

TEST(PictureMaker, TakesTheColoursThatTheFrameTells) {
    int green[2] = {};
    const AVColorSpace spaces[] = {AVCOL_SPC_BT709, AVCOL_SPC_SMPTE170M};
    for (int i = 0; i < 2; ++i) {
        const FramePtr frame = makeFrame(32, 8, AV_PIX_FMT_YUV444P);
        fillPlane(*frame, 0, 100);
        fillPlane(*frame, 1, 128);
        fillPlane(*frame, 2, 200);
        frame->colorspace = spaces[i];
        Picture picture(32, 8);
        PictureMaker maker(32, 8);
        ASSERT_TRUE(maker.Make(*frame, picture.bytes).ok());
        green[i] = int(picture.at(3, 3)[1]);
    }
    EXPECT_NEAR(green[0], 98 - 38, 3);  // 1.164 * (100 - 16) - 0.533 * (200 - 128)
    EXPECT_NEAR(green[1], 98 - 59, 3);  // with 0.813
}

TEST(PictureMaker, ScalesAFrameOfAnotherSizeAndGoesBack) {
    PictureMaker maker(48, 20);
    Picture picture(48, 20);
    const FramePtr large = makeFrame(96, 40, AV_PIX_FMT_GRAY8);
    fillPlane(*large, 0, 77);
    ASSERT_TRUE(maker.Make(*large, picture.bytes).ok());
    EXPECT_EQ(int(*picture.at(0, 0)), 77);
    EXPECT_EQ(int(*picture.at(47, 19)), 77);
    ASSERT_TRUE(maker.Make(*greyFrame(48, 20, AV_PIX_FMT_GRAY8), picture.bytes).ok());
    EXPECT_EQ(int(*picture.at(5, 7)), greyAt(5, 7));
}

TEST(PictureMaker, AFormatThatCannotBeConvertedIsAFailureAndTheNextFrameIsMade) {
    PictureMaker maker(32, 8);
    Picture picture(32, 8);
    const FramePtr strange = greyFrame(32, 8, AV_PIX_FMT_GRAY8);
    for (const int format : {int(AV_PIX_FMT_VAAPI), int(AV_PIX_FMT_NONE), 12345}) {
        strange->format = format;
        EXPECT_EQ(maker.Make(*strange, picture.bytes).code(), E_FAIL);
    }
    EXPECT_EQ(maker.Make(*FramePtr(av_frame_alloc()), picture.bytes).code(), E_FAIL);
    EXPECT_TRUE(maker.Make(*greyFrame(32, 8, AV_PIX_FMT_GRAY8), picture.bytes).ok());
}

}  // namespace picture_test
}  // namespace vexcap::ffmpeg
