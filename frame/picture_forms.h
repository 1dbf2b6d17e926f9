// The forms in which a sink keeps its pictures. A new form is a class here that has the operations of PictureForm, and
// a name in the variant of PictureStore.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "frame/pixel_buffer.h"
#include "platform/shared_texture.h"

namespace vexcap {

/// A size in pixels.
struct PictureSize {
    uint32_t width = 0;
    uint32_t height = 0;
    bool empty() const { return width == 0 || height == 0; }
    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

/// What a frame consists of, by the numbers that IFrameInfo uses.
enum class PictureKind : uint32_t {
    Display = 0,  ///< 3 or 4 bytes a pixel, blue first.
    Raw = 1,      ///< One sample a pixel, of 1 or 2 bytes, rows without padding.
    Deep = 2      ///< Three samples of 16 bits a pixel.
};
inline constexpr uint32_t deepBytesPerPixel = 6;
inline constexpr uint32_t memoryBytesPerPixel =
    3;  // of what a source writes into the pool, and of frames that are copied
inline constexpr uint32_t textureBytesPerPixel = 4;

/// Bytes of a raw sample of so many bits.
constexpr uint32_t rawSampleBytes(uint32_t depth) { return depth < 9 ? 1 : 2; }

/// The sizes that buffers are made by.
struct PictureSizes {
    PictureSize present;         ///< Of the present picture, or of the first one to come.
    PictureSize largest;         ///< Of the device's frames; empty when unknown.
    uint32_t bytesPerPixel = 3;  ///< Of the display picture: 3 or 4.
    uint32_t sensorDepth = 8;    ///< Bits of a raw sample.

    uint64_t displayBytes() const { return largestBytes(bytesPerPixel); }
    /// Room for frames that are turned by 90 degrees, too.
    uint64_t turnedDisplayBytes() const;
    uint64_t rawBytes() const;
    uint64_t deepBytes() const { return largestBytes(deepBytesPerPixel); }

private:
    uint64_t largestBytes(uint32_t pixelBytes) const;
};

/// Where a frame comes from, as far as its source reports it.
struct FrameStamp {
    uint32_t tick = 0;       ///< At which the sink got it.
    bool numbered = false;   ///< The source numbers its frames.
    uint64_t number = 0;     ///< Of the sensor's frame since the start of the stream.
    uint64_t timestamp = 0;  ///< Start of the exposure, 100-nanosecond units of the source's steady clock; 0: unknown.
};

/// One frame as its source hands it over. The pointers are good during the call.
struct SourceFrame {
    const void* display;
    const void* raw;  ///< May be null, as may `deep`.
    const void* deep;
    bool fullDepth;    ///< The samples have the depth of the sensor, else 8 bits.
    uint32_t rawTag;   ///< Format of the raw picture.
    PictureSize size;  ///< An empty one stands for the size that is stored.
    uint64_t frameTag;
    FrameStamp stamp = {};
};

/// What a source was lent for its next frame. The buffers live on here when the store makes others.
struct PictureLoan {
    PixelBuffer display, raw, deep;
};

/// What is kept of one kind of picture. Without a picture `pixels` is null.
struct PictureView {
    const uint8_t* pixels = nullptr;
    uint64_t capacity = 0;  ///< Bytes that the memory has room for.
};

/// Two buffers in turn: the source fills one while readers see the other.
class PooledPlane final {
public:
    /// Makes both anew, and forgets what was shown.
    void make(uint64_t bytes, PixelBuffer::Fill fill) noexcept {
        shown = nullptr;
        pool.allocate(bytes, fill);
    }
    void free() noexcept {
        shown = nullptr;
        pool.free();
    }
    void forget() { shown = nullptr; }
    bool holds(uint64_t bytes) const { return pool.holds(bytes); }
    /// Shows one of the two buffers. Pixels elsewhere leave nothing shown.
    void show(const void* pixels) { shown = pool.member(pixels); }
    /// Shows one of the two buffers, or a copy of pixels elsewhere in the one that was not shown. Both hold `bytes`.
    void showOrCopy(const void* pixels, uint64_t bytes) {
        uint8_t* taken = pool.member(pixels);
        if (!taken) {
            taken = next().data();
            std::memcpy(taken, pixels, size_t(bytes));
        }
        shown = taken;
    }
    /// The buffer that is not shown.
    const PixelBuffer& next() const { return pool.other(shown); }
    /// The buffer that is shown; while there is none, the one that `lent` is not.
    const PixelBuffer& present(const PixelBuffer& lent) const {
        return shown ? pool.shown(shown) : pool.other(lent.data());
    }
    PictureView view() const { return {shown, pool.capacity()}; }

private:
    BufferPair pool;
    uint8_t* shown = nullptr;  // borrowed from the pool
};

/// One buffer, which is written and read.
class SinglePlane final {
public:
    /// Shows the buffer, and makes it first where it does not hold `need` bytes: with room for `wanted` bytes where
    /// memory suffices. False without room.
    bool show(uint64_t need, uint64_t wanted);
    void forget() { shown = false; }
    bool holds(uint64_t bytes) const { return buffer.holds(bytes); }
    /// The buffer when it is shown, else an empty one.
    PixelBuffer present() const { return shown ? buffer : PixelBuffer(); }
    /// The buffer's memory, shown or not; null without a buffer.
    uint8_t* data() const { return buffer.data(); }
    PictureView view() const { return {shown ? buffer.data() : nullptr, buffer.capacity()}; }

private:
    PixelBuffer buffer;
    bool shown = false;
};

/// Raw and deep pictures of a pooled sink.
class PooledSamples final {
public:
    /// Makes the buffers of a kind where they do not hold a frame.
    void make(PictureKind kind, const PictureSizes& sizes);
    void free() noexcept;
    void forget();
    /// What is too small for a frame is not lent: the source would write past it.
    void lend(PictureLoan& loan, const PictureSizes& sizes, bool raw, bool deep) const {
        if (raw || loan.raw.data()) loan.raw = lent(rawPlane, raw ? sizes.rawBytes() : 0);
        if (deep || loan.deep.data()) loan.deep = lent(deepPlane, deep ? sizes.deepBytes() : 0);
    }
    void take(const SourceFrame& frame) {
        rawPlane.show(frame.raw);
        deepPlane.show(frame.deep);
    }
    void takeRaw(const SourceFrame& frame) { rawPlane.show(frame.raw); }
    PictureView view(PictureKind kind) const { return kind == PictureKind::Raw ? rawPlane.view() : deepPlane.view(); }

private:
    static PixelBuffer lent(const PooledPlane& plane, uint64_t need) {
        return plane.holds(need) ? plane.next() : PixelBuffer();
    }

    PooledPlane rawPlane, deepPlane;
};

/// The source writes into two buffers of each kind in turn; a frame is a swap of pointers.
class PooledPictures final {
public:
    static constexpr bool resets = true;
    static constexpr bool keepsFrameTag = false;

    PooledPictures() = default;
    explicit PooledPictures(PooledSamples kept) : samples(std::move(kept)) {}

    void lend(PictureLoan& loan, const PictureSizes& sizes, bool raw, bool deep) {
        loan.display = display.next();
        samples.lend(loan, sizes, raw, deep);
    }
    /// A frame in one of the two buffers is shown by its pointer. One in memory of the source's own, which is gone when
    /// the call returns, is copied.
    bool take(const SourceFrame& frame, uint64_t bytes, const PictureSizes&) {
        if (!display.holds(bytes)) return false;
        display.showOrCopy(frame.display, bytes);
        samples.take(frame);
        return true;
    }
    bool takeBehindHook(const SourceFrame& frame, uint64_t bytes) {
        samples.takeRaw(frame);
        return display.holds(bytes);
    }
    PixelBuffer feedTarget(const PictureSizes&, const PixelBuffer& lent) { return display.present(lent); }
    void make(PictureKind kind, const PictureSizes& sizes) { samples.make(kind, sizes); }
    void resize(PictureSizes& sizes);
    void forgetDisplay() { display.forget(); }
    void forget() {
        display.forget();
        samples.forget();
    }
    PictureView view(PictureKind kind) const {
        return kind == PictureKind::Display ? display.view() : samples.view(kind);
    }
    ISharedTexture* texture() const { return nullptr; }
    /// The raw and deep pictures, for a form that replaces this one.
    PooledSamples takeSamples() { return std::move(samples); }

private:
    PooledPlane display;
    PooledSamples samples;
};

/// The source writes into the one buffer of each kind. The frame's tag is the host's, who asked for this picture.
class OwnedPictures final {
public:
    static constexpr bool resets = false;
    static constexpr bool keepsFrameTag = true;

    void lend(PictureLoan& loan, const PictureSizes& sizes, bool raw, bool deep);
    bool take(const SourceFrame&, uint64_t bytes, const PictureSizes&) {
        return display.holds(bytes) && display.show(bytes, bytes);
    }
    bool takeBehindHook(const SourceFrame&, uint64_t bytes) { return display.holds(bytes); }
    PixelBuffer feedTarget(const PictureSizes& sizes, const PixelBuffer&);
    void make(PictureKind, const PictureSizes&) {}  // made when they are lent
    void resize(PictureSizes&) {}
    void forgetDisplay() { display.forget(); }
    void forget() { display.forget(); }
    PictureView view(PictureKind kind) const {
        return (kind == PictureKind::Display ? display : kind == PictureKind::Raw ? rawPlane : deepPlane).view();
    }
    ISharedTexture* texture() const { return nullptr; }

private:
    SinglePlane display, rawPlane, deepPlane;
};

/// The source has memory of its own, and each frame is copied. Display pictures alone.
class CopiedPicture final {
public:
    static constexpr bool resets = false;
    static constexpr bool keepsFrameTag = false;

    void lend(PictureLoan&, const PictureSizes&, bool, bool) {}
    bool take(const SourceFrame& frame, uint64_t bytes, const PictureSizes& sizes);
    bool takeBehindHook(const SourceFrame&, uint64_t bytes) { return bytes != 0 && bytes != unholdable; }
    PixelBuffer feedTarget(const PictureSizes&, const PixelBuffer&) { return display.present(); }
    void make(PictureKind, const PictureSizes&) {}
    void resize(PictureSizes&) {}
    void forgetDisplay() { display.forget(); }
    void forget() { display.forget(); }
    PictureView view(PictureKind kind) const { return kind == PictureKind::Display ? display.view() : PictureView(); }
    ISharedTexture* texture() const { return nullptr; }

private:
    SinglePlane display;
};

/// The source writes into a texture that it shares with the host's render target, and its raw and deep pictures into
/// memory. A display picture in memory is not shown.
class TexturePicture final {
public:
    static constexpr bool resets = true;
    static constexpr bool keepsFrameTag = false;

    TexturePicture(std::unique_ptr<ISharedTexture> made, PooledSamples kept)
        : shared(std::move(made)), samples(std::move(kept)) {}

    void lend(PictureLoan& loan, const PictureSizes& sizes, bool raw, bool deep) {
        loan.display = {};
        samples.lend(loan, sizes, raw, deep);
    }
    bool take(const SourceFrame&, uint64_t, const PictureSizes&) { return false; }
    bool takeBehindHook(const SourceFrame& frame, uint64_t) {
        samples.takeRaw(frame);
        return false;
    }
    PixelBuffer feedTarget(const PictureSizes&, const PixelBuffer&) { return {}; }
    void make(PictureKind kind, const PictureSizes& sizes) { samples.make(kind, sizes); }
    void resize(PictureSizes& sizes) { sizes.bytesPerPixel = textureBytesPerPixel; }
    void forgetDisplay() {}
    void forget() { samples.forget(); }
    PictureView view(PictureKind kind) const {
        return kind == PictureKind::Display ? PictureView() : samples.view(kind);
    }
    ISharedTexture* texture() const { return shared.get(); }
    PooledSamples takeSamples() { return std::move(samples); }

private:
    std::unique_ptr<ISharedTexture> shared;
    PooledSamples samples;
};

/// What every form can do. They are called by their type, not through a table: the calls lie on the road of a frame.
template <typename Form>
concept PictureForm = requires(Form form, const Form kept, const SourceFrame& frame, const PictureSizes& sizes,
                               PictureSizes& changed, PictureLoan& loan, const PixelBuffer& lent, uint64_t bytes,
                               PictureKind kind) {
    /// True: IFrameInfo::Reset forgets the picture.
    { Form::resets } -> std::convertible_to<bool>;
    /// True: the tag of a frame goes to the host with its size.
    { Form::keepsFrameTag } -> std::convertible_to<bool>;
    /// Writes to `loan` where the next frame goes; raw and deep only where they are asked for. May make the buffers.
    form.lend(loan, sizes, true, true);
    /// Shows a frame whose display picture has so many bytes. False where it has no room: nothing changes then.
    { form.take(frame, bytes, sizes) } -> std::same_as<bool>;
    /// Keeps the raw picture of a frame whose display picture a hook has taken. False where that would have no room.
    { form.takeBehindHook(frame, bytes) } -> std::same_as<bool>;
    /// Where the result of a hook is written, given what the source is writing into; an empty buffer for nowhere.
    { form.feedTarget(sizes, lent) } -> std::same_as<PixelBuffer>;
    /// Makes the buffers of raw or deep pictures at need.
    form.make(kind, sizes);
    /// Makes the display buffers for the sizes, and says how many bytes their pixels have.
    form.resize(changed);
    form.forgetDisplay();
    form.forget();
    { kept.view(kind) } -> std::same_as<PictureView>;
    /// Where the display picture lives in a texture, else null.
    { kept.texture() } -> std::same_as<ISharedTexture*>;
};
static_assert(PictureForm<PooledPictures> && PictureForm<OwnedPictures> && PictureForm<CopiedPicture> &&
              PictureForm<TexturePicture>);

}  // namespace vexcap
