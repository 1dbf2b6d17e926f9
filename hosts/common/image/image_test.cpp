#include "hosts/common/image/image.h"

#include <gtest/gtest.h>
#include <vexcap/vexcap.h>

#include <cstring>

namespace vexcap::host {
namespace image_test {

using Bytes = std::vector<uint8_t>;

/// What vexcap_grabber writes.
Bytes grabbed(int32_t width, int32_t height, uint16_t bits, uint32_t fourcc, const Bytes& pixels) {
    vex_bitmap_header header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bits;
    header.biCompression = fourcc;
    Bytes bitmap(sizeof header);
    std::memcpy(bitmap.data(), &header, sizeof header);
    bitmap.insert(bitmap.end(), pixels.begin(), pixels.end());
    return bitmap;
}

constexpr uint32_t rggb = 0x42474752;

TEST(Image, TheDisplayPictureIsTurnedToTopRowFirstAndRedFirst) {
    // Two pixels a row, two bytes of padding; the lower row first.
    const Bytes bitmap = grabbed(2, 2, 24, 0, {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0});
    const Image image = imageFromGrab(bitmap.data(), VEX_GRAB_DISPLAY, 12);
    EXPECT_EQ(image.size, (Size{2, 2}));
    EXPECT_EQ(image.channels, 3u);
    EXPECT_EQ(image.depth, 8u);
    EXPECT_EQ(image.mosaic, "");
    EXPECT_EQ(image.samples, (Bytes{9, 8, 7, 12, 11, 10, 3, 2, 1, 6, 5, 4}));
}

TEST(Image, RawSamplesHaveNoPaddingAndKeepTheirOrder) {
    const Bytes bitmap = grabbed(3, 2, 8, 0, {1, 2, 3, 4, 5, 6});
    const Image image = imageFromGrab(bitmap.data(), VEX_GRAB_RAW, 8);
    EXPECT_EQ(image.channels, 1u);
    EXPECT_EQ(image.depth, 8u);
    EXPECT_EQ(image.samples, (Bytes{4, 5, 6, 1, 2, 3}));
}

TEST(Image, WideRawSamplesStayUnshifted) {
    const Bytes bitmap = grabbed(1, 2, 14, rggb, {0x34, 0x02, 0xFF, 0x0F});
    const Image image = imageFromGrab(bitmap.data(), VEX_GRAB_RAW, 12);
    EXPECT_EQ(image.depth, 12u);
    EXPECT_EQ(image.samples, (Bytes{0xFF, 0x0F, 0x34, 0x02}));
}

TEST(Image, TheHeaderTellsTheDepthWhereTheDeviceDoesNot) {
    const Bytes raw = grabbed(1, 1, 14, 0, {1, 2});
    EXPECT_EQ(imageFromGrab(raw.data(), VEX_GRAB_RAW, 0).depth, 14u);
    const Bytes deep = grabbed(1, 1, 36, 0, {1, 2, 3, 4, 5, 6, 0, 0});
    EXPECT_EQ(imageFromGrab(deep.data(), VEX_GRAB_DEEP, 0).depth, 12u);
}

TEST(Image, ADepthThatDoesNotSuitTheHeaderChangesNoSampleSize) {
    const Bytes wide = grabbed(1, 1, 12, 0, {1, 2});
    EXPECT_EQ(imageFromGrab(wide.data(), VEX_GRAB_RAW, 8).samples, (Bytes{1, 2}));
    const Bytes narrow = grabbed(2, 1, 8, 0, {1, 2});
    EXPECT_EQ(imageFromGrab(narrow.data(), VEX_GRAB_RAW, 12).samples, (Bytes{1, 2}));
    EXPECT_EQ(imageFromGrab(wide.data(), VEX_GRAB_RAW, 99).depth, 16u);
}

TEST(Image, DeepPicturesHaveThreeWideSamplesAPixel) {
    const Bytes bitmap = grabbed(1, 2, 36, 0, {1, 0, 2, 0, 3, 0, 0, 0, 4, 5, 6, 7, 8, 9, 0, 0});
    const Image image = imageFromGrab(bitmap.data(), VEX_GRAB_DEEP, 12);
    EXPECT_EQ(image.channels, 3u);
    EXPECT_EQ(image.BitsPerPixel(), 36u);
    EXPECT_EQ(image.samples, (Bytes{8, 9, 6, 7, 4, 5, 3, 0, 2, 0, 1, 0}));
}

TEST(Image, AHeaderWithoutPixelsGivesAnEmptyPicture) {
    for (const int32_t side : {0, -1, INT32_MIN}) {
        const Bytes bitmap = grabbed(side, side, 24, 0, {});
        EXPECT_TRUE(imageFromGrab(bitmap.data(), VEX_GRAB_DISPLAY, 0).samples.empty());
    }
}

TEST(Image, AMosaicIsNamedFromTheTopRow) {
    EXPECT_EQ(mosaicFromTop(0, 4), "");
    EXPECT_EQ(mosaicFromTop(rggb, 4), "GBRG");
    EXPECT_EQ(mosaicFromTop(rggb, 3), "RGGB");
}

TEST(Image, ASurfaceGivesItsColoursAndNotItsFourthByte) {
    Bytes pixels = {1, 2, 3, 99, 4, 5, 6, 99, 0, 0, 0, 0, 7, 8, 9, 99, 10, 11, 12, 99, 0, 0, 0, 0};
    vex_surface surface = {.pixels = pixels.data(), .width = 2, .height = 2, .stride = 12, .dpiX = 0, .dpiY = 0};
    EXPECT_EQ(imageFromSurface(surface).samples, (Bytes{3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10}));
    surface.pixels += 12;
    surface.stride = -12;
    EXPECT_EQ(imageFromSurface(surface).samples, (Bytes{9, 8, 7, 12, 11, 10, 3, 2, 1, 6, 5, 4}));
}

TEST(Image, ABitmapIsWhatAGrabIs) {
    const Bytes bitmap =
        grabbed(3, 2, 24, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0, 10, 11, 12, 13, 14, 15, 16, 17, 18, 0, 0, 0});
    Bytes made = bitmapOf(imageFromGrab(bitmap.data(), VEX_GRAB_DISPLAY, 0));
    vex_bitmap_header header;
    std::memcpy(&header, made.data(), sizeof header);
    EXPECT_EQ(header.biSizeImage, 24u);
    header.biSizeImage = 0;
    std::memcpy(made.data(), &header, sizeof header);
    EXPECT_EQ(made, bitmap);
}

}  // namespace image_test
}  // namespace vexcap::host
