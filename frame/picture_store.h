// What a frame sink keeps of its frames.
#pragma once

#include <vexcap/camera_library.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <variant>

#include "frame/picture_forms.h"

namespace vexcap {

/// Who owns the memory of the picture.
enum class SinkMode : uint32_t {
    Pooled = 0,  ///< The source writes into two buffers of the sink in turn; a frame is a swap of pointers.
    Owned = 1,   ///< The source writes into the one buffer of the sink.
    Copying = 2  ///< The source has memory of its own, and each frame is copied. Always 3 bytes a pixel.
};

/// True for the frame value 1, which says that the shared texture has a new picture.
inline bool isTexture(const void* frame) { return reinterpret_cast<uintptr_t>(frame) == 1; }

/// The present picture of a sink as display, raw and deep picture: where a source writes the next one, what a frame
/// replaces, and what readers may see. The pictures are kept in one of the forms of picture_forms.h, which the mode
/// decides; a pooled store changes between memory and a shared texture. Rows are bottom-up at the DIB stride.
///
/// Allocates at the first frame, at a new size and in want(); a frame after that allocates nothing. Where memory is
/// short there is no picture. Sizes that come with a frame are not trusted: what does not fit the buffer is not taken.
///
/// Not thread-safe: the sink calls it under its frame lock.
class PictureStore final {
public:
    /// `bytesPerPixel` of the display picture: 3 or 4.
    PictureStore(SinkMode mode, uint32_t bytesPerPixel);

    // Sizes

    /// Size of the frames to come. The buffers are made by resize().
    void putSize(PictureSize size);
    /// Largest frame of the device; empty when unknown.
    void putLargest(PictureSize size) { sizes.largest = size; }
    /// Bits of a sample of the device. Raises what is stored, and never lowers it.
    void raiseSensorDepth(uint32_t bits);
    uint32_t sensorDepth() const { return sizes.sensorDepth; }
    /// Of the present picture; empty when it was forgotten.
    PictureSize size() const { return sizes.present; }
    /// Of the last putSize(), whatever became of the picture.
    PictureSize announcedSize() const { return announced; }
    uint32_t bytesPerPixel() const { return sizes.bytesPerPixel; }

    // Memory

    /// Brings a pooled picture into a texture, or back into memory without one. Then resize() is due. Other modes stay
    /// in memory.
    void useTexture(std::unique_ptr<ISharedTexture> texture, void* device, void* context);
    /// Makes the display buffers of a pooled store for the sizes as they are, and forgets its raw and deep pictures.
    /// One in a texture stays as it is.
    void resize();
    /// Raw or deep pictures are wanted besides the display picture; makes the buffers of a pooled store at need.
    void want(uint32_t kind);

    // The road of a frame

    /// Where a source writes its next frame. Null outs are not asked for; null answers mean that this picture is not
    /// wanted or that memory is short. The memory stays good until the next call.
    void lend(void** outDisplay, void** outRaw, void** outDeep);
    /// False when a source claims a size that the buffer it was lent does not hold: a reader that trusts the size would
    /// read beyond. The size of memory of the source's own is the source's word.
    bool mayBeRead(const void* frame, PictureSize frameSize) const;
    /// Takes a frame as the present picture. False where it has no size or no room: nothing changes then.
    bool take(const SourceFrame& frame);
    /// A new picture is in the texture.
    void takeTexture(const FrameStamp& stamp) { tags.stamp = stamp; }
    /// Takes what a hook leaves of a frame: its size where that fits, and its raw picture.
    void takeBehindHook(const SourceFrame& frame);
    /// Where the result of a hook is written, an empty buffer for nowhere. While a pooled store shows nothing this is
    /// the buffer that the source is not writing into: a frame has to come to show anything.
    PixelBuffer feedTarget();

    // Forgetting

    void forgetSize() { sizes.present = {}; }
    /// Size and display picture, until the next frame.
    void forgetDisplay();
    /// All of the present picture in pooled stores and textures; nothing happens to others.
    void reset();

    // Readers

    /// True while there is a display picture in memory.
    bool shows() const { return display() != nullptr; }
    /// The display picture in memory. Null also where the present size, which putSize changes at any time, is larger
    /// than the buffer; so are raw and deep picture.
    const uint8_t* readableDisplay() const;
    const uint8_t* readableRaw() const;
    const uint8_t* readableDeep() const;
    /// Bits of a sample, and the format, of the present raw picture.
    uint32_t rawDepth() const { return tags.rawDepth; }
    uint32_t rawTag() const { return tags.raw; }
    /// The host's own number of the present picture; 0 for previews.
    uint64_t frameTag() const { return tags.frame; }
    /// Of the frame that was taken last.
    const FrameStamp& stamp() const { return tags.stamp; }
    /// Where the display picture lives in a texture, else null.
    ISharedTexture* texture() const;
    /// What a camera library is offered; three nulls without a texture.
    const vex_texture_target& textureTarget() const { return offered; }

private:
    struct Tags {
        uint32_t raw = 0;
        uint32_t rawDepth = 8;
        uint64_t frame = 0;
        FrameStamp stamp;
    };

    /// Calls `work` with the form by its type.
    template <typename Work>
    decltype(auto) withForm(Work work) {
        return std::visit(work, form);
    }
    template <typename Work>
    decltype(auto) withForm(Work work) const {
        return std::visit(work, form);
    }
    const uint8_t* display() const;
    const uint8_t* readable(PictureKind kind, uint64_t bytes) const;
    PictureSize sizeOf(PictureSize told) const;
    void keepTags(const SourceFrame& frame);

    std::variant<PooledPictures, OwnedPictures, CopiedPicture, TexturePicture> form;
    PictureSizes sizes;
    PictureSize announced;  // of the last putSize: heals a size that was forgotten
    PictureLoan loan;       // what the source may be writing into
    Tags tags;
    vex_texture_target offered = {};
    uint32_t wantedKind = 0;
};

}  // namespace vexcap
