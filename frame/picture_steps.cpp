#include "frame/picture_steps.h"

#include "base/dib.h"

namespace vexcap {

void PictureSteps::putFlip(uint32_t value, uint32_t mask) {
    const uint32_t bit = mask & 1 ? 1 : mask & 2;
    if (value & bit) {
        flipBits.fetch_or(bit, std::memory_order_relaxed);
    } else {
        flipBits.fetch_and(~bit, std::memory_order_relaxed);
    }
}

void PictureSteps::apply(const PixelKernels& pixels, uint8_t* frame, uint32_t bytesPerPixel, uint32_t width,
                         uint32_t height) const {
    const ptrdiff_t stride = ptrdiff_t(dibStride(width, bytesPerPixel));
    if (flip() & 1) pixels.flipHorizontally(frame, stride, width, height, bytesPerPixel);
    if (flip() & 2) pixels.flipVertically(frame, stride, width, height, bytesPerPixel);
    if (chrome() != 0) pixels.toGrey(frame, stride, width, height, bytesPerPixel);
    if (negative() != 0) pixels.toNegative(frame, stride, width, height, bytesPerPixel);
}

}  // namespace vexcap
