#include "frame/pixel_buffer.h"

#include <cstring>
#include <new>

namespace vexcap {
namespace {

constexpr std::align_val_t alignment{64};  // a cache line, and the widest vector

struct FreePixels {
    void operator()(uint8_t* pixels) const { ::operator delete(pixels, alignment); }
};

}  // namespace

PixelBuffer::PixelBuffer(uint64_t bytes, Fill fill) noexcept {
    if (bytes == 0 || bytes > maxPictureBytes) return;
    auto* const memory = static_cast<uint8_t*>(::operator new(size_t(bytes), alignment, std::nothrow));
    if (!memory) return;
    if (fill == Fill::Zero) std::memset(memory, 0, size_t(bytes));
    try {
        pixels.reset(memory, FreePixels{});
    } catch (const std::bad_alloc&) {
        return;  // no room for the count; reset has freed the memory
    }
    room = bytes;
}

void BufferPair::allocate(uint64_t bytes, PixelBuffer::Fill fill) noexcept {
    free();
    members = {PixelBuffer(bytes, fill), PixelBuffer(bytes, fill)};
    if (!members[0].data() || !members[1].data()) free();
}

}  // namespace vexcap
