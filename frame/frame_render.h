// The frame sink: the last stop of every live frame.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/lock_order.h"
#include "base/mutex.h"
#include "frame/dark/dark_field.h"
#include "frame/frame_info.h"
#include "frame/frame_rate.h"
#include "frame/picture_steps.h"
#include "frame/picture_store.h"
#include "pixel/kernels.h"
#include "platform/clock.h"
#include "platform/shared_texture.h"

namespace vexcap {

/// Takes frames from a source, counts them, keeps the last one for painting and grabbing in a PictureStore, posts to
/// the host's windows and passes each frame on to the recording, also where memory is too short for a picture. Rows are
/// bottom-up at the DIB stride, blue first.
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

    // IFrameInfo

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

    // For its owner

    /// A frame came. `frame` is the picture, or the value of isTexture(); null is no frame. `raw` and `deep` may be
    /// null. A size of 0, 0 stands for the stored one. The sink sets the stamp's tick. Source thread.
    void ReceiveFrame(const void* frame, const void* raw, const void* deep, uint32_t depthFlag, uint32_t tag,
                      uint32_t frameWidth, uint32_t frameHeight, uint64_t frameTag, FrameStamp stamp = {})
        VEX_EXCLUDES(frameLock);
    /// Bytes that GetImage would write behind the header now; 0 where there is no such picture.
    uint64_t ImageBytes(uint32_t kind) VEX_EXCLUDES(frameLock);
    /// GetImage, and the stamp of the picture that it wrote.
    HRESULT GrabImage(void* bitmap, int32_t capacity, uint32_t kind, FrameStamp& stamp) VEX_EXCLUDES(frameLock);
    /// See PictureStore::mayBeRead. Source thread.
    bool MayBeRead(const void* frame, uint32_t frameWidth, uint32_t frameHeight) VEX_EXCLUDES(frameLock);
    /// See PictureStore::lend. Source thread.
    void NextBuffers(void** outDisplay, void** outRaw, void** outDeep) VEX_EXCLUDES(frameLock);
    /// The way back from a live-stack hook, see StackFeedEntry.
    static void StackFeed(void* sink, uint32_t frameWidth, uint32_t frameHeight, uint32_t ignored,
                          const uint8_t* pixels);
    /// Size of the frames to come. A new one discards the dark field. A pooled sink forgets its picture and its raw and
    /// deep buffers, and makes a shared texture when a device is given.
    void SetVideoSize(uint32_t frameWidth, uint32_t frameHeight, void* device, void* context, void* renderTarget)
        VEX_EXCLUDES(frameLock);
    /// Largest frame of the device; 0, 0 when unknown. Called before SetVideoSize.
    void PutMaxSize(uint32_t largestWidth, uint32_t largestHeight) VEX_EXCLUDES(frameLock);
    /// Bits of a sample of the device. Raises what is stored, and never lowers it.
    void RaiseSensorDepth(uint32_t bits) VEX_EXCLUDES(frameLock);
    /// True when the picture lives in a shared texture.
    bool GpuPath() VEX_EXCLUDES(frameLock);
    /// What a camera library is offered; three nulls without a shared texture.
    vex_texture_target TextureTarget() VEX_EXCLUDES(frameLock);

    uint8_t TriggerOn() const { return uint8_t(trigger.load(std::memory_order_relaxed).on); }
    uint32_t TriggerCount() const { return trigger.load(std::memory_order_relaxed).count; }
    const PictureSteps& Steps() const { return steps; }

protected:
    /// Of the last SetVideoSize, whatever became of the picture.
    PictureSize LastVideoSize() VEX_EXCLUDES(frameLock);

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

    void AnnounceTexture(const FrameStamp& stamp) VEX_EXCLUDES(frameLock);
    void KeepBehindHook(const SourceFrame& frame) VEX_EXCLUDES(frameLock);
    void Show(const SourceFrame& frame, bool invalidate) VEX_EXCLUDES(frameLock);
    void Feed(PictureSize size, const uint8_t* fed) VEX_EXCLUDES(frameLock);
    /// Posts to the windows that there is a new picture.
    void Publish(bool invalidate) VEX_REQUIRES(frameLock);
    void PostBrightness() VEX_REQUIRES(frameLock);
    Listeners CurrentListeners() VEX_EXCLUDES(frameLock);
    void PrepareSurface(void* graphicsDevice, void* graphicsContext, void* renderTarget) VEX_EXCLUDES(frameLock);

    const bool usesTextures;
    const PixelKernels& pixels;
    IClock& clock;
    ISharedTextures& textures;

    PictureSteps steps;
    std::atomic<Trigger> trigger{};

    // Recursive: a window may ask the sink from inside of a post.
    RecursiveMutex frameLock VEX_ACQUIRED_AFTER(frameRank) VEX_ACQUIRED_BEFORE(markerRank);
    PictureStore pictures VEX_GUARDED_BY(frameLock);
    Target notify VEX_GUARDED_BY(frameLock);
    Target sizeNotify VEX_GUARDED_BY(frameLock);
    Target brightnessNotify VEX_GUARDED_BY(frameLock);
    vex_rect brightnessRect VEX_GUARDED_BY(frameLock) = {};
    Listeners listeners VEX_GUARDED_BY(frameLock);
};

}  // namespace vexcap
