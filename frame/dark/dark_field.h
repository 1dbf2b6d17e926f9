// Dark field correction: a frame taken without light is subtracted from those that follow, and what glows in it is
// mended from its neighbours.
#pragma once

#include <vexcap/camera_library.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "base/lock_order.h"
#include "base/mutex.h"
#include "pixel/hot_pixels.h"
#include "pixel/kernels.h"

namespace vexcap {

struct IFileSystem;

/// Hears how a capture goes on, on the thread that delivers frames, with the dark field's lock held: it must not call
/// back into the same object.
/// Progress: (context, frames so far, frames wanted, null, 0, 0).
/// Completion: (context, width, height, dark frame, width, height). The dark frame has three bytes a pixel, blue first,
/// rows bottom-up without padding; it stays the property of the object and is good until the callback returns.
using DarkFieldCallback = void (*)(void* context, uint32_t a, uint32_t b, const uint8_t* dark, uint32_t c, uint32_t d);

/// {D6A10F20-1587-4C36-A146-7F0FE6FD5E75}
inline constexpr vex_guid IID_IDfc = {0xD6A10F20, 0x1587, 0x4C36, {0xA1, 0x46, 0x7F, 0x0F, 0xE6, 0xFD, 0x5E, 0x75}};

/// The dark field of a sink or filter. All operations may be called on any thread.
struct IDfc : IVexUnknown {
    /// 1 while frames are to be corrected, else 0.
    virtual int32_t IsDfc() = 0;
    /// 1 when there is a dark frame, else 0.
    virtual int32_t HasDfc() = 0;
    /// Makes a dark frame of the mean of the next `count` frames; of one frame when `count` is 0. Sums have 16 bits, so
    /// more than 257 bright frames wrap. A capture that is running ends first, with the frames that it has, and tells
    /// the new callback. Until the new dark frame is complete the old one stays in force. 1 when it has begun; 0
    /// before any size is known and where memory is short.
    virtual int32_t Capture(uint32_t count, DarkFieldCallback callback, void* context) = 0;
    /// Non-zero corrects the frames to come.
    virtual HRESULT Enable(uint32_t on) = 0;
    /// Takes over a dark frame made elsewhere: `width` * `height` pixels of three bytes, rows bottom-up without
    /// padding. A null frame and a side below 1 leave none, and the size as it was. A capture of another size ends
    /// without a word.
    virtual HRESULT SetDark(std::unique_ptr<uint8_t[]> frame, int32_t width, int32_t height) = 0;
    /// Hands the dark frame over, null when there is none, and keeps none. The sizes may be null. E_POINTER without a
    /// place for the frame: nothing changes then.
    virtual HRESULT TakeDark(std::unique_ptr<uint8_t[]>* frame, int32_t* width, int32_t* height) = 0;
    /// Writes the dark frame to a bitmap file. E_UNEXPECTED without one, E_FAIL when the file could not be written.
    virtual HRESULT Export(const vex_char* path) = 0;
    /// Reads the dark frame from a file that Export wrote, or any uncompressed bottom-up bitmap of 24 bits whose pixels
    /// follow a header of 54 bytes. E_FAIL for other files, E_INVALIDARG for one of another size than the frames have.
    /// The present dark frame stays where it fails.
    virtual HRESULT Import(const vex_char* path) = 0;

protected:
    ~IDfc() = default;
};

/// What a dark field does. Idle without a dark frame, idle with one, or capturing.
///
/// Frames come from one thread; all else may come from any. A frame that finds nothing to do takes no lock. Under
/// the lock nothing else is locked but what the callback locks.
class IDfcBaseImpl {
public:
    /// `files` outlives this object.
    explicit IDfcBaseImpl(IFileSystem& files);
    IDfcBaseImpl(const IDfcBaseImpl&) = delete;
    IDfcBaseImpl& operator=(const IDfcBaseImpl&) = delete;

    // The operations of IDfc.

    int32_t IsDfc() const { return enabled.load(std::memory_order_relaxed) != 0; }
    int32_t HasDfc() const { return hasDark.load(std::memory_order_relaxed); }
    int32_t Capture(uint32_t frames, DarkFieldCallback told, void* toldContext) VEX_EXCLUDES(darkLock);
    HRESULT Enable(uint32_t on);
    HRESULT SetDark(std::unique_ptr<uint8_t[]> frame, int32_t frameWidth, int32_t frameHeight) VEX_EXCLUDES(darkLock);
    HRESULT TakeDark(std::unique_ptr<uint8_t[]>* frame, int32_t* frameWidth, int32_t* frameHeight)
        VEX_EXCLUDES(darkLock);
    HRESULT Export(const vex_char* path) VEX_EXCLUDES(darkLock);
    HRESULT Import(const vex_char* path) VEX_EXCLUDES(darkLock);

    // For the owner. Frames are bottom-up at the DIB stride, blue first, with 3 or 4 bytes a pixel.

    /// Size of the frames to come. Another one than before ends the capture without a word, drops the dark frame and
    /// disables the correction. What was hot stays listed.
    void SetDarkSize(uint32_t frameWidth, uint32_t frameHeight) VEX_EXCLUDES(darkLock);
    /// Offers a frame to the capture. S_FALSE: none is running, or the frame has another size. Allocates nothing but at
    /// the end of a capture.
    HRESULT Accumulate(const uint8_t* frame, uint32_t bytesPerPixel, uint32_t frameWidth, uint32_t frameHeight)
        VEX_EXCLUDES(darkLock);
    /// Corrects a frame in place. Nothing happens to one of another size. Allocates nothing.
    void Apply(uint8_t* frame, uint32_t bytesPerPixel, uint32_t frameWidth, uint32_t frameHeight)
        VEX_EXCLUDES(darkLock);

protected:
    ~IDfcBaseImpl() = default;

private:
    struct State {
        uint32_t target = 0;                      // frames that the capture wants
        uint16_t count = 0;                       // frames summed so far
        std::unique_ptr<uint16_t[]> accumulator;  // three sums a pixel, packed; there while a capture runs
        std::unique_ptr<uint8_t[]> dark;          // three bytes a pixel, packed
        DarkFieldCallback callback = nullptr;
        void* context = nullptr;
        int32_t width = 0;  // of both, and of the frames that are taken
        int32_t height = 0;
        std::vector<HotPixel> hotPixels;  // of all dark frames so far
    };

    void Finish() VEX_REQUIRES(darkLock);
    void AdoptDark(std::unique_ptr<uint8_t[]> frame) VEX_REQUIRES(darkLock);
    void SetAccumulator(std::unique_ptr<uint16_t[]> sums) VEX_REQUIRES(darkLock);
    void ListHotPixels() VEX_REQUIRES(darkLock);
    bool HasSize(uint32_t frameWidth, uint32_t frameHeight) const VEX_REQUIRES(darkLock);

    IFileSystem& darkFiles;
    const PixelKernels& darkKernels;
    std::atomic<uint32_t> enabled{0};
    // Whether the pointers are set: an idle frame asks these and takes no lock.
    std::atomic<bool> hasDark{false};
    std::atomic<bool> capturing{false};
    // Recursive: a callback that does call back finds it held, and not stuck.
    RecursiveMutex darkLock VEX_ACQUIRED_AFTER(darkRank) VEX_ACQUIRED_BEFORE(rateRank);
    State darkField VEX_GUARDED_BY(darkLock);
};

/// A dark field that answers as an interface; whoever derives from it answers for its life.
class IDfcImpl : public IDfc, public IDfcBaseImpl {
public:
    using IDfcBaseImpl::IDfcBaseImpl;

    int32_t IsDfc() override { return IDfcBaseImpl::IsDfc(); }
    int32_t HasDfc() override { return IDfcBaseImpl::HasDfc(); }
    int32_t Capture(uint32_t count, DarkFieldCallback callback, void* context) override {
        return IDfcBaseImpl::Capture(count, callback, context);
    }
    HRESULT Enable(uint32_t on) override { return IDfcBaseImpl::Enable(on); }
    HRESULT SetDark(std::unique_ptr<uint8_t[]> frame, int32_t width, int32_t height) override {
        return IDfcBaseImpl::SetDark(std::move(frame), width, height);
    }
    HRESULT TakeDark(std::unique_ptr<uint8_t[]>* frame, int32_t* width, int32_t* height) override {
        return IDfcBaseImpl::TakeDark(frame, width, height);
    }
    HRESULT Export(const vex_char* path) override { return IDfcBaseImpl::Export(path); }
    HRESULT Import(const vex_char* path) override { return IDfcBaseImpl::Import(path); }

protected:
    ~IDfcImpl() = default;
};

}  // namespace vexcap
