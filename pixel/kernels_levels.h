// What the levels of the kernels share among themselves; callers include kernels.h.
#pragma once

#include "pixel/kernels.h"

namespace vexcap {

/// Linked, and callable, only where kernelsFor() hands it out.
extern const PixelKernels avx2Kernels;

// Plain forms that every level uses, since a faster one gains nothing.

/// memcpy a row is already at the speed of memory.
void copyRowsReversedPlain(uint8_t* target, const uint8_t* source, size_t rowBytes, size_t rows);
/// The additions must follow one another, so a pixel takes the time of one addition whatever feeds it.
double addLuminancePlain(double sum, const uint8_t* row, uint32_t pixels, uint32_t bytesPerPixel);

// Mosaics have a file of their own at the AVX2 level.

void bayer8ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                       uint32_t width, uint32_t height, Mosaic mosaic);
void bayer16ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height, Mosaic mosaic, uint32_t depth);
void bayer16ToBgr48Avx2(uint16_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height, Mosaic mosaic);

// Colour conversion of video input has files of its own, and so have the steps on a picture and drawing.

void yuyvToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                      uint32_t width, uint32_t height);
void uyvyToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                      uint32_t width, uint32_t height);
void nv12ToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* luma, ptrdiff_t lumaStride,
                      const uint8_t* colour, ptrdiff_t colourStride, uint32_t width, uint32_t height);

void subtractDarkPlain(uint8_t* frame, ptrdiff_t stride, const uint8_t* dark, uint32_t width, uint32_t height,
                       uint32_t bytesPerPixel);
void addToSumsPlain(uint16_t* sums, const uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height,
                    uint32_t bytesPerPixel);
void divideSumsPlain(uint8_t* target, const uint16_t* sums, size_t count, uint16_t divisor);
void flipHorizontallyPlain(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
void flipVerticallyPlain(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
void toGreyPlain(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
void toNegativePlain(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);

void fillRowPlain(uint8_t* row, size_t pixels, uint32_t bytesPerPixel, uint32_t colour);
void paintRowPlain(uint8_t* row, const uint8_t* mask, size_t pixels, uint32_t bytesPerPixel, uint32_t colour);
void blendRowPlain(uint8_t* row, const uint8_t* picture, size_t pixels, uint32_t bytesPerPixel, uint8_t alpha);
void stretchPlain(uint8_t* target, ptrdiff_t targetStride, uint32_t targetBytesPerPixel, const uint8_t* source,
                  ptrdiff_t sourceStride, uint32_t sourceBytesPerPixel, const StretchIndices& indices);

void yuyvToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                     uint32_t width, uint32_t height);
void uyvyToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                     uint32_t width, uint32_t height);
void nv12ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* luma, ptrdiff_t lumaStride,
                     const uint8_t* colour, ptrdiff_t colourStride, uint32_t width, uint32_t height);

void subtractDarkAvx2(uint8_t* frame, ptrdiff_t stride, const uint8_t* dark, uint32_t width, uint32_t height,
                      uint32_t bytesPerPixel);
void addToSumsAvx2(uint16_t* sums, const uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height,
                   uint32_t bytesPerPixel);
void divideSumsAvx2(uint8_t* target, const uint16_t* sums, size_t count, uint16_t divisor);
void flipHorizontallyAvx2(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
void flipVerticallyAvx2(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
void toGreyAvx2(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);
void toNegativeAvx2(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel);

void fillRowAvx2(uint8_t* row, size_t pixels, uint32_t bytesPerPixel, uint32_t colour);
void paintRowAvx2(uint8_t* row, const uint8_t* mask, size_t pixels, uint32_t bytesPerPixel, uint32_t colour);
void blendRowAvx2(uint8_t* row, const uint8_t* picture, size_t pixels, uint32_t bytesPerPixel, uint8_t alpha);
void stretchAvx2(uint8_t* target, ptrdiff_t targetStride, uint32_t targetBytesPerPixel, const uint8_t* source,
                 ptrdiff_t sourceStride, uint32_t sourceBytesPerPixel, const StretchIndices& indices);

}  // namespace vexcap
