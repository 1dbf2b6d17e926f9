// What a host may do to the picture of a graph.
#pragma once

#include <cstdint>

#include "pixel/kernels.h"

namespace vexcap {

/// Flips, greys and complements a frame in place, in this order. Rows are at the DIB stride of `bytesPerPixel`, 3 or 4;
/// a fourth byte moves up and down with its row and is left alone otherwise. Bit 0 of `flip` mirrors left and right,
/// bit 1 top and bottom; `chrome` and `negative` are on when they are not 0. Never allocates.
void applyPictureSteps(const PixelKernels& pixels, uint8_t* frame, uint32_t bytesPerPixel, uint32_t width,
                       uint32_t height, uint32_t flip, uint32_t chrome, uint32_t negative);

}  // namespace vexcap
