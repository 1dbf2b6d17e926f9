// The frame that the steps are measured on, in place, and their limits.
#pragma once

#include "pixel/kernels_bench.h"

namespace vexcap {

/// Among them rows that a vector does not fill, and rows with padding.
constexpr PictureSize stepSizes[] = {{1920, 1080}, {1917, 1080}, {1918, 1080}, {4144, 2822}};

/// Bytes of a row at 3 bytes a pixel, padded to four. The frame is at benchTarget().
constexpr size_t stepStride(PictureSize size) { return (size_t(size.width) * 3 + 3) / 4 * 4; }

/// Copies a frame.
std::function<void()> copyOfFrame(PictureSize size);
/// Reads as many bytes as a frame has from two places and writes them to one of these.
std::function<void()> readReadWrite(PictureSize size);

}  // namespace vexcap
