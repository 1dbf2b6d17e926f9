// What a host may do to the picture of a graph.
#pragma once

#include <atomic>
#include <cstdint>

#include "pixel/kernels.h"

namespace vexcap {

/// Flip, grey and negative. Each value is read and written on any thread; a change holds from the next frame on.
class PictureSteps final {
public:
    /// Bit 0 mirrors left and right, bit 1 top and bottom. Mask bit 0 takes bit 0 of `value`, else mask bit 1 takes
    /// bit 1: one bit in one call.
    void putFlip(uint32_t value, uint32_t mask);
    /// Non-zero makes grey.
    void putChrome(uint32_t on) { chromeOn.store(on, std::memory_order_relaxed); }
    /// Non-zero makes the negative.
    void putNegative(uint32_t on) { negativeOn.store(on, std::memory_order_relaxed); }
    uint32_t flip() const { return flipBits.load(std::memory_order_relaxed); }
    uint32_t chrome() const { return chromeOn.load(std::memory_order_relaxed); }
    uint32_t negative() const { return negativeOn.load(std::memory_order_relaxed); }
    /// True when a frame would be changed.
    bool any() const { return flip() != 0 || chrome() != 0 || negative() != 0; }
    /// Flips, greys and complements a frame in place, in this order. Rows are at the DIB stride of `bytesPerPixel`, 3
    /// or 4; a fourth byte moves up and down with its row and is left alone otherwise. Never allocates.
    void apply(const PixelKernels& pixels, uint8_t* frame, uint32_t bytesPerPixel, uint32_t width,
               uint32_t height) const;

private:
    std::atomic<uint32_t> flipBits{0};
    std::atomic<uint32_t> chromeOn{0};
    std::atomic<uint32_t> negativeOn{0};
};

}  // namespace vexcap
