// Memory of pictures: how much one needs, a buffer, and the pair of buffers that a source fills in turn.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "base/dib.h"

namespace vexcap {

/// Largest picture that is kept, in bytes: the capacity of a host's buffer is a signed 32-bit number.
inline constexpr uint64_t maxPictureBytes = INT32_MAX;

/// Longest row that dibStride can tell, in bytes.
inline constexpr uint64_t maxRowBytes = 0x1FFFFFFC;

/// What a picture needs that is larger than maxPictureBytes. No buffer holds it.
inline constexpr uint64_t unholdable = UINT64_MAX;

/// Bytes of a picture whose rows have the DIB stride; 0 without a pixel, `unholdable` for sizes beyond all limits.
constexpr uint64_t pictureBytes(uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    if (uint64_t(width) * bytesPerPixel > maxRowBytes) return height == 0 ? 0 : unholdable;
    const uint64_t bytes = uint64_t(dibStride(width, bytesPerPixel)) * height;
    return bytes > maxPictureBytes ? unholdable : bytes;
}

/// Bytes of a picture whose rows follow each other without padding, one sample a pixel of 1 or 2 bytes.
constexpr uint64_t packedBytes(uint32_t width, uint32_t height, uint32_t bytesPerSample) {
    const uint64_t samples = uint64_t(width) * height;
    return samples > maxPictureBytes / bytesPerSample ? unholdable : samples * bytesPerSample;
}

/// Memory of one picture, aligned to 64 bytes. Copies share it, and the last of them frees it: so a buffer that was
/// handed out lives on when its owner replaces it.
class PixelBuffer final {
public:
    enum class Fill { None, Zero };

    /// Holds nothing.
    PixelBuffer() = default;
    /// Holds nothing for 0 bytes, for more than maxPictureBytes and when memory is short.
    PixelBuffer(uint64_t bytes, Fill fill) noexcept;
    /// Null when it holds nothing.
    uint8_t* data() const { return pixels.get(); }
    /// True when a picture of that many bytes fits. A picture of no bytes fits nowhere.
    bool holds(uint64_t bytes) const { return bytes != 0 && bytes <= room; }
    /// Bytes that it was made for; 0 when it holds nothing.
    uint64_t capacity() const { return room; }

private:
    std::shared_ptr<uint8_t> pixels;
    uint64_t room = 0;
};

/// Two buffers of one size: a source fills one while the other is shown. There are both or none.
class BufferPair final {
public:
    /// Replaces both. When memory is short there are none.
    void allocate(uint64_t bytes, PixelBuffer::Fill fill) noexcept;
    void free() noexcept { members = {}; }
    bool holds(uint64_t bytes) const { return members[0].holds(bytes); }
    uint64_t capacity() const { return members[0].capacity(); }
    /// The memory that begins at `pixels`, null when it is no member's.
    uint8_t* member(const void* pixels) const {
        if (!pixels) return nullptr;
        if (pixels == members[0].data()) return members[0].data();
        return pixels == members[1].data() ? members[1].data() : nullptr;
    }
    /// The buffer that is not `shown`; the first one when `shown` is neither.
    const PixelBuffer& other(const uint8_t* shown) const {
        return members[shown && shown == members[0].data() ? 1 : 0];
    }
    /// The buffer that is `shown`, which must be a member.
    const PixelBuffer& shown(const uint8_t* pixels) const { return members[pixels == members[0].data() ? 0 : 1]; }

private:
    std::array<PixelBuffer, 2> members;
};

}  // namespace vexcap
