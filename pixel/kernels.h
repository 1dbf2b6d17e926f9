// Every loop over pixels. Each kernel has one plain meaning (kernels_plain.cpp); faster forms agree with it in every
// byte. Strides are in bytes and may be negative: the row pointer is that of row 0 of the picture as the kernel walks
// it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vexcap {

enum class CpuLevel { Plain, Avx2 };

/// Where red lies in the 2x2 mosaic, from the first row and first column that the kernel walks.
enum class Mosaic { Rggb, Grbg, Gbrg, Bggr };

/// Columns or rows that a table for stretching holds at most.
constexpr uint32_t stretchAtMost = 2048;

/// What the pixels of a stretched picture show: that of column x and row y shows pixel columns[x] of source row
/// rows[y]. Neither falls.
struct StretchIndices {
    const uint32_t* columns;
    uint32_t width;  ///< 1 to stretchAtMost.
    const uint32_t* rows;
    uint32_t height;
};

struct PixelKernels {
    /// target row y = source row (rows - 1 - y); rows of `rowBytes` without padding; no overlap.
    void (*copyRowsReversed)(uint8_t* target, const uint8_t* source, size_t rowBytes, size_t rows);
    /// target[i] = source[i] with its two bytes exchanged. May be in place.
    void (*swapBytes16)(uint16_t* target, const uint16_t* source, size_t count);
    /// target[i] = source[i] << shift (0..15), bits that leave at the top are lost. May be in place.
    void (*shiftLeft16)(uint16_t* target, const uint16_t* source, size_t count, uint32_t shift);

    /// 8-bit mosaic to blue-green-red, 3 bytes a pixel. Bilinear: a missing colour is the mean of the two or four
    /// neighbours that have it, (a + b + 1) >> 1 or (a + b + c + d + 2) >> 2; at the border the neighbour outside is
    /// the one inside at the same distance (reflection without repeating the edge). width and height at least 2.
    void (*bayer8ToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                          uint32_t width, uint32_t height, Mosaic mosaic);
    /// The same for low-aligned samples of `depth` bits (9 to 16) in 16: the mean is taken at full depth, then shifted
    /// right by depth - 8; samples above the depth's maximum give 255.
    void (*bayer16ToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                           uint32_t width, uint32_t height, Mosaic mosaic, uint32_t depth);
    /// The same to three 16-bit samples a pixel, unshifted.
    void (*bayer16ToBgr48)(uint16_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                           uint32_t width, uint32_t height, Mosaic mosaic);
    /// Grey to three equal channels.
    void (*mono8ToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                         uint32_t width, uint32_t height);
    void (*mono16ToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                          uint32_t width, uint32_t height, uint32_t depth);
    void (*mono16ToBgr48)(uint16_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                          uint32_t width, uint32_t height);
    /// Red-green-blue to blue-green-red, 3 bytes a pixel.
    void (*rgb24ToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                         uint32_t width, uint32_t height);
    /// Blue-green-red-x, 4 bytes a pixel, to 3 bytes a pixel.
    void (*bgrx32ToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                          uint32_t width, uint32_t height);
    /// Blue-green-red to 4 bytes a pixel; the fourth byte of the target is left alone.
    void (*bgr24ToBgrx32)(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                          uint32_t width, uint32_t height);

    // Colour conversion of video input: BT.601, limited range, a colour sample for the pixels that share it. Terms
    // are rounded down at 1/64, and so is their sum: the same integers at every level.

    /// Luma and colour in turn, two pixels in four bytes (Y U Y V), to blue-green-red. A row of an odd width ends with
    /// a whole group of four.
    void (*yuyvToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height);
    /// The same from U Y V Y.
    void (*uyvyToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height);
    /// A plane of luma and a plane of U V pairs, each for two by two pixels; the pairs of a last odd column and row are
    /// there.
    void (*nv12ToBgr24)(uint8_t* target, ptrdiff_t targetStride, const uint8_t* luma, ptrdiff_t lumaStride,
                        const uint8_t* colour, ptrdiff_t colourStride, uint32_t width, uint32_t height);

    // Steps on a picture of 3 or 4 bytes a pixel, blue first, in place. The fourth byte of a pixel and the bytes
    // between two rows are left alone.

    /// Each channel becomes max(0, channel - dark). The dark picture has 3 bytes a pixel and no row padding.
    void (*subtractDark)(uint8_t* frame, ptrdiff_t stride, const uint8_t* dark, uint32_t width, uint32_t height,
                         uint32_t bytesPerPixel);
    /// Adds each channel to its sum, which wraps at 16 bits. The sums are three a pixel, without row padding.
    void (*addToSums)(uint16_t* sums, const uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height,
                      uint32_t bytesPerPixel);
    /// target[i] = the low 8 bits of sums[i] / divisor, rounded down. divisor is not 0.
    void (*divideSums)(uint8_t* target, const uint16_t* sums, size_t count, uint16_t divisor);
    /// Pixel x takes the place of pixel width - 1 - x in every row.
    void (*flipHorizontally)(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
    /// Row y takes the place of row height - 1 - y, with the fourth byte of its pixels.
    void (*flipVertically)(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
    /// The three channels become (floor(blue * 14.592) + floor(green * 75.136) + floor(red * 38.272)) >> 7.
    void (*toGrey)(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
    /// Each channel becomes 255 - channel.
    void (*toNegative)(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);

    // Drawing on pixels of 3 or 4 bytes, blue first. The fourth byte is left alone. Colours are 0x00BBGGRR.

    /// Each pixel becomes the colour.
    void (*fillRow)(uint8_t* row, size_t pixels, uint32_t bytesPerPixel, uint32_t colour);
    /// Each pixel whose mask, a byte a pixel, is 128 or more becomes the colour.
    void (*paintRow)(uint8_t* row, const uint8_t* mask, size_t pixels, uint32_t bytesPerPixel, uint32_t colour);
    /// Each channel becomes the low 8 bits of picture + (channel - picture) * alpha / 100, the division truncating
    /// toward zero. The picture has 3 bytes a pixel.
    void (*blendRow)(uint8_t* row, const uint8_t* picture, size_t pixels, uint32_t bytesPerPixel, uint8_t alpha);
    /// The nearest pixel of a picture of 3 or 4 bytes a pixel for every one of the target.
    void (*stretch)(uint8_t* target, ptrdiff_t targetStride, uint32_t targetBytesPerPixel, const uint8_t* source,
                    ptrdiff_t sourceStride, uint32_t sourceBytesPerPixel, const StretchIndices& indices);

    /// Sum over a row's pixels, left to right, of 0.587 * green + 0.299 * red + 0.114 * blue, added to `sum` pixel by
    /// pixel in double precision: the order is part of the meaning, since the result is truncated later.
    double (*addLuminance)(double sum, const uint8_t* row, uint32_t pixels, uint32_t bytesPerPixel);

    /// One row of a simulated sensor. Of each pixel: signal = light * exposure (electrons); value = black + gain *
    /// (signal + noise * sqrt(signal + readVariance)), rounded to nearest (a half to even), clamped to 0..maximum,
    /// which is whole and at most 65535. What is not a number gives 0. Every level rounds every step alike. light is
    /// relative (1.0 = full well at exposure 1), noise is unit normal; all arrays have `count` entries.
    void (*exposeRow)(uint16_t* target, const float* light, const float* noise, size_t count, float exposure,
                      float readVariance, float gain, float black, float maximum);
    /// The low 8 bits of 16-bit samples.
    void (*narrow16To8)(uint8_t* target, const uint16_t* source, size_t count);
};

/// Plain loops: what every kernel means.
extern const PixelKernels plainKernels;

/// The best level that this processor has. Asked once, when a sink, writer or camera is made.
CpuLevel bestCpuLevel();

/// A level that this processor lacks gives the plain one.
const PixelKernels& kernelsFor(CpuLevel level);
inline const PixelKernels& kernels() { return kernelsFor(bestCpuLevel()); }

}  // namespace vexcap
