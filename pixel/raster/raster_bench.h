// What drawing is measured on.
#pragma once

#include "pixel/kernels_bench.h"

namespace vexcap {

/// Pictures, bottom-up, that are stretched to a view, top-down, of 4 bytes a pixel.
constexpr PictureSize stretchedSizes[] = {{1920, 1080}, {4144, 2822}, {640, 480}};
constexpr PictureSize viewSize = {1280, 720};
constexpr size_t viewBytes = size_t(viewSize.width) * viewSize.height * 4;

/// A frame that is drawn on.
constexpr PictureSize overlaidSize = {1920, 1080};
/// A picture that is blended over it, and where: its left and its top.
constexpr PictureSize blendedSize = {400, 300};
constexpr size_t blendedPixels = size_t(blendedSize.width) * blendedSize.height;
constexpr int32_t blendedAt = 100;

/// A line of text: about a third of its pixels are set, in runs. It is put at the top left.
constexpr PictureSize maskSize = {320, 30};
constexpr size_t maskPixels = size_t(maskSize.width) * maskSize.height;
const uint8_t* benchMask();

/// Registers a cross of two lines over the whole frame, and its diagonals, drawn by `line(fromX, fromY, toX, toY)`. The
/// limit is a copy of the cache lines that are touched.
void registerLineBench(const char* form, uint32_t bytesPerPixel, const std::function<void(int, int, int, int)>& line);

}  // namespace vexcap
