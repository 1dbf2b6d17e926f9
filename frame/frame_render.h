// The frame sink: the last stop of every live frame.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "base/mutex.h"
#include "frame/dark_field.h"
#include "frame/frame_info.h"
#include "frame/frame_rate.h"
#include "frame/pixel_buffer.h"
#include "pixel/kernels.h"
#include "platform/clock.h"
#include "platform/shared_texture.h"

namespace vexcap {

/// Who owns the memory of the picture.
enum class SinkMode : uint32_t {
    Pooled = 0,  ///< The source writes into two buffers of the sink in turn; a frame is a swap of pointers.
    Owned = 1,   ///< The source writes into the one buffer of the sink.
    Copying = 2  ///< The source has memory of its own, and each frame is copied. Always 3 bytes a pixel.
};

/// Takes frames from a source, counts them, keeps the last one for painting and grabbing, tells the host's windows and
/// passes each frame on to the recording. Rows are bottom-up at the DIB stride, blue first.
///
/// Allocates at the first frame, at a new size and in PutCapture; a frame after that allocates nothing. Where memory
/// is short there is no picture, while frames still reach the recording. Sizes that come with a frame are not
/// trusted: what does not fit the buffer is not shown.
///
/// One source calls ReceiveFrame and NextBuffers, one frame at a time; everything else may come from any thread.
class CFrameRender : public IFrameInfo, public IDfcImpl, public CFrameRate {
public:
    /// `targetRate`: repaints a second at most, 0 for no limit. `bytesPerPixel`: 3 or 4. The ports outlive the sink.
    /// `files` keeps dark frames. `d2dAvailable`: there are textures that are shared with the camera library.
    CFrameRender(SinkMode mode, uint32_t targetRate, uint32_t bytesPerPixel, IClock& clock, ISharedTextures& textures,
                 IFileSystem& files, bool d2dAvailable);
    virtual ~CFrameRender() = default;
    CFrameRender(const CFrameRender&) = delete;
    CFrameRender& operator=(const CFrameRender&) = delete;

    // --- IFrameInfo

    /// Knows IFrameInfo, IDfc and IVexUnknown. The sink's life belongs to its owner: the counts are always 2.
    HRESULT QueryInterface(const vex_guid& iid, void** out) override;
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 2; }
    HRESULT SetNotify(vex_window* window, uint32_t message, FrameCallback callback, void* context) override;
    HRESULT GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) override;
    HRESULT GetVideoSize(uint32_t* outWidth, uint32_t* outHeight) override;
    HRESULT GetImage(void* bitmap, int32_t capacity, uint32_t kind) override;
    int32_t GetPixels(const vex_point* points, uint32_t count, uint16_t* values, uint32_t* maximum) override;
    HRESULT DrawGdi(const vex_surface& surface, const vex_rect& rectangle, uint32_t pictureWidth,
                    uint32_t pictureHeight, IPaintOverlay* overlay) override VEX_EXCLUDES(frameLock);
    HRESULT SetSizeNotify(vex_window* window, uint32_t message) override;
    HRESULT SetBrightnessNotify(const vex_rect* rectangle, vex_window* window, uint32_t message) override;
    HRESULT PutFlip(uint32_t value, uint32_t mask) override;
    HRESULT PutChrome(uint32_t on) override;
    HRESULT PutNegative(uint32_t on) override;
    HRESULT PutTrigger(uint8_t on, uint32_t count) override;
    HRESULT PutCapture(uint32_t kind) override;
    HRESULT PutThrottleOff(bool off) override;
    HRESULT SetLiveStack(FrameHook hook, void* context, StackFeedEntry* feed) override;
    HRESULT DrawD2d(vex_render_target& target, const vex_rect& rectangle, uint32_t pictureWidth, uint32_t pictureHeight,
                    IPaintOverlay* overlay) override VEX_EXCLUDES(frameLock);
    HRESULT InitD2d(void* device, void* context, void* renderTarget) override;
    HRESULT Reset() override;
    HRESULT SetStitched(FrameHook hook, void* context) override;

    // --- for its owner

    /// A frame came. `frame` is the picture, or the value 1, which says that the shared texture has a new one; null is
    /// no frame. `raw` and `deep` may be null. A size of 0, 0 stands for the stored one. Source thread.
    void ReceiveFrame(const void* frame, const void* raw, const void* deep, uint32_t depthFlag, uint32_t tag,
                      uint32_t frameWidth, uint32_t frameHeight, uint64_t frameTag) VEX_EXCLUDES(frameLock);
    /// False when a source claims a size that the buffer it was lent does not hold: whoever reads the frame by this
    /// size would read beyond. Memory of the source's own is the source's word. Source thread.
    bool MayBeRead(const void* frame, uint32_t frameWidth, uint32_t frameHeight) VEX_EXCLUDES(frameLock);
    /// Where a source writes its next frame. Null outs are not asked for; null answers mean that this picture is not
    /// wanted. What it gives stays good to the next call. Source thread.
    void NextBuffers(void** outDisplay, void** outRaw, void** outDeep) VEX_EXCLUDES(frameLock);
    /// The way back from a live-stack hook, see StackFeedEntry.
    static void StackFeed(void* sink, uint32_t frameWidth, uint32_t frameHeight, uint32_t ignored,
                          const uint8_t* pixels);
    /// Size of the frames to come. A new one discards the dark field. A pooled sink forgets its picture and its raw and
    /// deep buffers, and makes a shared texture when a device is given.
    void SetVideoSize(uint32_t frameWidth, uint32_t frameHeight, void* device, void* context, void* renderTarget)
        VEX_EXCLUDES(frameLock);
    /// Largest frame of the device; 0, 0 when unknown. Told before SetVideoSize.
    void PutMaxSize(uint32_t largestWidth, uint32_t largestHeight) VEX_EXCLUDES(frameLock);
    /// Bits of a sample of the device. Raises what is stored, and never lowers it.
    void RaiseSensorDepth(uint32_t bits) VEX_EXCLUDES(frameLock);
    /// True when the picture lives in a shared texture.
    bool GpuPath() VEX_EXCLUDES(frameLock);
    /// What a camera library is offered; three nulls without a shared texture.
    vex_texture_target TextureTarget() VEX_EXCLUDES(frameLock);

    uint8_t TriggerOn() const { return uint8_t(trigger.load(std::memory_order_relaxed).on); }
    uint32_t TriggerCount() const { return trigger.load(std::memory_order_relaxed).count; }
    uint32_t Flip() const { return flip.load(std::memory_order_relaxed); }
    uint32_t Chrome() const { return chrome.load(std::memory_order_relaxed); }
    uint32_t Negative() const { return negative.load(std::memory_order_relaxed); }

protected:
    struct Size {
        uint32_t width = 0;
        uint32_t height = 0;
    };
    /// As SetVideoSize was told it last, whatever became of the picture.
    Size LastVideoSize() VEX_EXCLUDES(frameLock);

private:
    struct alignas(8) Trigger {  // aligned, so that both change in one instruction
        uint32_t on = 0;
        uint32_t count = 0;
    };
    template <typename Function>
    struct Listener {
        Function call = nullptr;
        void* context = nullptr;
    };
    struct Listeners {
        Listener<FrameHook> stitch;
        Listener<FrameHook> stack;
        Listener<FrameCallback> frame;
    };
    struct Target {
        vex_window* window = nullptr;
        uint32_t message = 0;
        bool set() const { return window && message != 0; }
    };
    /// What ReceiveFrame was given.
    struct Incoming {
        const void* frame;
        const void* raw;
        const void* deep;
        uint32_t depthFlag;
        uint32_t tag;
        Size size;
        uint64_t frameTag;
    };
    /// What the source may be writing into. It lives on here when the sink makes other buffers.
    struct Loan {
        PixelBuffer display, raw, deep;
    };

    // frame_render.cpp
    void AnnounceTexture() VEX_EXCLUDES(frameLock);
    void KeepBehindHook(const Incoming& incoming) VEX_EXCLUDES(frameLock);
    void Show(const Incoming& incoming, bool invalidate) VEX_EXCLUDES(frameLock);
    void ShowPooled(const Incoming& incoming, Size size, bool invalidate) VEX_REQUIRES(frameLock);
    void ShowOwned(const Incoming& incoming, Size size, bool invalidate) VEX_REQUIRES(frameLock);
    void ShowCopied(const Incoming& incoming, Size size, bool invalidate) VEX_REQUIRES(frameLock);
    void Feed(Size size, const uint8_t* pixels) VEX_EXCLUDES(frameLock);
    PixelBuffer FeedTarget() VEX_REQUIRES(frameLock);
    void Publish(bool invalidate) VEX_REQUIRES(frameLock);
    void PostBrightness() VEX_REQUIRES(frameLock);
    Size SizeOf(Size told) const VEX_REQUIRES(frameLock);
    uint32_t DepthOf(const Incoming& incoming) const VEX_REQUIRES(frameLock);
    Listeners CurrentListeners() VEX_EXCLUDES(frameLock);

    // frame_buffers.cpp
    void PrepareSurface(void* graphicsDevice, void* graphicsContext, void* renderTarget) VEX_EXCLUDES(frameLock);
    bool MakeOwnDisplay(uint64_t least) VEX_REQUIRES(frameLock);
    PixelBuffer NextBuffer(BufferPair& pool, PixelBuffer& own, const uint8_t*& current, uint64_t need)
        VEX_REQUIRES(frameLock);
    uint64_t LargestFrame(uint32_t pixelBytes) const VEX_REQUIRES(frameLock);
    uint64_t PoolNeed() const VEX_REQUIRES(frameLock);
    uint64_t RawNeed() const VEX_REQUIRES(frameLock);
    uint64_t DeepNeed() const VEX_REQUIRES(frameLock);

    // frame_grab.cpp, frame_paint.cpp
    const uint8_t* ReadableDisplay() const VEX_REQUIRES(frameLock);
    const uint8_t* ReadableRaw() const VEX_REQUIRES(frameLock);
    const uint8_t* ReadableDeep() const VEX_REQUIRES(frameLock);
    HRESULT CanGrab(uint32_t kind) const VEX_REQUIRES(frameLock);
    HRESULT GrabDisplay(uint8_t* bitmap, int64_t capacity) const VEX_REQUIRES(frameLock);
    HRESULT GrabRaw(uint8_t* bitmap, int64_t capacity) const VEX_REQUIRES(frameLock);
    HRESULT GrabDeep(uint8_t* bitmap, int64_t capacity) const VEX_REQUIRES(frameLock);
    HRESULT ReadBackImage(uint8_t* bitmap, int64_t capacity) VEX_REQUIRES(frameLock);
    int32_t ReadBackPixels(const vex_point* points, uint32_t count, uint16_t* values) VEX_REQUIRES(frameLock);

    const SinkMode mode;
    const bool d2dAvailable;
    const PixelKernels& pixels;
    IClock& clock;
    ISharedTextures& textures;

    std::atomic<uint32_t> chrome{0};
    std::atomic<uint32_t> negative{0};
    std::atomic<uint32_t> flip{0};
    std::atomic<Trigger> trigger{};

    RecursiveMutex frameLock;  // recursive: a window may ask the sink from inside of a post
    uint32_t bytesPerPixel VEX_GUARDED_BY(frameLock);
    BufferPair displayPool VEX_GUARDED_BY(frameLock);  // the pools serve the pooled mode
    BufferPair rawPool VEX_GUARDED_BY(frameLock);
    BufferPair deepPool VEX_GUARDED_BY(frameLock);
    PixelBuffer ownDisplay VEX_GUARDED_BY(frameLock);  // these serve the other two
    PixelBuffer ownRaw VEX_GUARDED_BY(frameLock);
    PixelBuffer ownDeep VEX_GUARDED_BY(frameLock);
    Loan loan VEX_GUARDED_BY(frameLock);
    uint32_t sensorDepth VEX_GUARDED_BY(frameLock) = 8;
    uint32_t rawTag VEX_GUARDED_BY(frameLock) = 0;
    Target notify VEX_GUARDED_BY(frameLock);
    Target sizeNotify VEX_GUARDED_BY(frameLock);
    Target brightnessNotify VEX_GUARDED_BY(frameLock);
    vex_rect brightnessRect VEX_GUARDED_BY(frameLock) = {};
    uint32_t maxWidth VEX_GUARDED_BY(frameLock) = 0;
    uint32_t maxHeight VEX_GUARDED_BY(frameLock) = 0;
    uint32_t width VEX_GUARDED_BY(frameLock) = 0;
    uint32_t height VEX_GUARDED_BY(frameLock) = 0;
    Size videoSize VEX_GUARDED_BY(frameLock);  // of the last SetVideoSize: heals a size that was forgotten
    uint32_t captureKind VEX_GUARDED_BY(frameLock) = 0;
    Listeners listeners VEX_GUARDED_BY(frameLock);
    uint8_t* display VEX_GUARDED_BY(frameLock) = nullptr;  // borrowed from displayPool or ownDisplay; what readers see
    const uint8_t* deep VEX_GUARDED_BY(frameLock) = nullptr;  // borrowed from deepPool or ownDeep
    const uint8_t* raw VEX_GUARDED_BY(frameLock) = nullptr;   // borrowed from rawPool or ownRaw
    uint32_t rawDepth VEX_GUARDED_BY(frameLock) = 8;
    uint64_t frameTag VEX_GUARDED_BY(frameLock) = 0;
    void* device VEX_GUARDED_BY(frameLock) = nullptr;
    void* context VEX_GUARDED_BY(frameLock) = nullptr;
    std::unique_ptr<ISharedTexture> texture VEX_GUARDED_BY(frameLock);  // the picture lives in it when there is one
};

}  // namespace vexcap
