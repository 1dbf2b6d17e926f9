#include "frame/picture_steps.h"

#include "base/dib.h"

namespace vexcap {

void applyPictureSteps(const PixelKernels& pixels, uint8_t* frame, uint32_t bytesPerPixel, uint32_t width,
                       uint32_t height, uint32_t flip, uint32_t chrome, uint32_t negative) {
    const ptrdiff_t stride = ptrdiff_t(dibStride(width, bytesPerPixel));
    if (flip & 1) pixels.flipHorizontally(frame, stride, width, height, bytesPerPixel);
    if (flip & 2) pixels.flipVertically(frame, stride, width, height, bytesPerPixel);
    if (chrome != 0) pixels.toGrey(frame, stride, width, height, bytesPerPixel);
    if (negative != 0) pixels.toNegative(frame, stride, width, height, bytesPerPixel);
}

}  // namespace vexcap
