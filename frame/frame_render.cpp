// The road of a frame: counted, offered to the hooks, kept, posted to the windows, passed on.
#include "frame/frame_render.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "base/guid.h"

namespace vexcap {
namespace {

constexpr uint32_t hookConstant = 8;  // last argument of every hook call
constexpr uint32_t feedBytesPerPixel = 3;

constexpr int32_t margin = 2;  // of the brightness rectangle, in pixels

/// The part of `rectangle` that the brightness is taken from: sides put in order, a margin of two pixels kept. Nothing
/// for a picture without an inside and for a rectangle that is left without a pixel.
std::optional<vex_rect> insideMargin(vex_rect rectangle, uint32_t width, uint32_t height) {
    if (width < 2 * margin + 1 || height < 2 * margin + 1) return std::nullopt;
    const auto clampPair = [](int32_t& low, int32_t& high, uint32_t side) {
        if (low > high) std::swap(low, high);
        low = std::clamp(low, margin, int32_t(side) - margin);
        high = std::clamp(high, margin, int32_t(side) - margin);
        return low < high;
    };
    const bool wide = clampPair(rectangle.left, rectangle.right, width);
    const bool high = clampPair(rectangle.top, rectangle.bottom, height);
    return wide && high ? std::optional(rectangle) : std::nullopt;
}

}  // namespace

CFrameRender::CFrameRender(SinkMode sinkMode, uint32_t rate, uint32_t pixelBytes, IClock& time,
                           ISharedTextures& sharedTextures, IFileSystem& fileSystem, bool texturesAvailable)
    : IDfcImpl(fileSystem),
      CFrameRate(rate),
      usesTextures(texturesAvailable && sinkMode == SinkMode::Pooled),
      pixels(kernels()),
      clock(time),
      textures(sharedTextures),
      pictures(sinkMode, pixelBytes) {}

HRESULT CFrameRender::QueryInterface(const vex_guid& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IID_IFrameInfo || iid == VEX_IID_UNKNOWN) *out = static_cast<IFrameInfo*>(this);
    if (iid == IID_IDfc) *out = static_cast<IDfc*>(this);
    return *out ? S_OK : E_NOINTERFACE;
}

HRESULT CFrameRender::SetNotify(vex_window* window, uint32_t message, FrameCallback callback, void* callbackContext) {
    const RecursiveMutexGuard guard(frameLock);
    notify = {window, message};
    listeners.frame = {callback, callbackContext};
    return S_OK;
}

HRESULT CFrameRender::SetSizeNotify(vex_window* window, uint32_t message) {
    const RecursiveMutexGuard guard(frameLock);
    sizeNotify = {window, message};
    return S_OK;
}

HRESULT CFrameRender::SetBrightnessNotify(const vex_rect* rectangle, vex_window* window, uint32_t message) {
    const RecursiveMutexGuard guard(frameLock);
    brightnessRect = rectangle ? *rectangle : vex_rect{};
    brightnessNotify = {window, message};
    return S_OK;
}

HRESULT CFrameRender::SetLiveStack(FrameHook hook, void* hookContext, StackFeedEntry* feed) {
    const RecursiveMutexGuard guard(frameLock);
    listeners.stack = {hook, hookContext};
    if (feed) *feed = {&CFrameRender::StackFeed, this};
    return S_OK;
}

HRESULT CFrameRender::SetStitched(FrameHook hook, void* hookContext) {
    const RecursiveMutexGuard guard(frameLock);
    listeners.stitch = {hook, hookContext};
    return S_OK;
}

HRESULT CFrameRender::GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* outTotal) {
    if (!frames || !milliseconds) return E_POINTER;
    uint32_t all = 0;
    CFrameRate::GetFrameRate(clock.Tick(), *frames, *milliseconds, all);
    if (outTotal) *outTotal = all;
    return S_OK;
}

HRESULT CFrameRender::PutFlip(uint32_t value, uint32_t mask) {
    steps.putFlip(value, mask);
    return S_OK;
}

HRESULT CFrameRender::PutChrome(uint32_t on) {
    steps.putChrome(on);
    return S_OK;
}

HRESULT CFrameRender::PutNegative(uint32_t on) {
    steps.putNegative(on);
    return S_OK;
}

HRESULT CFrameRender::PutTrigger(uint8_t on, uint32_t count) {
    const Trigger stored = trigger.load(std::memory_order_relaxed);
    if (count == 1 && stored.count == 1 && stored.on == on) return S_OK;
    trigger.store({on, count}, std::memory_order_relaxed);
    CFrameRate::Reset();
    return S_OK;
}

HRESULT CFrameRender::PutThrottleOff(bool off) {
    CFrameRate::PutThrottleOff(off);
    return S_OK;
}

void CFrameRender::ReceiveFrame(const void* frame, const void* rawFrame, const void* deepFrame, uint32_t depthFlag,
                                uint32_t tag, uint32_t frameWidth, uint32_t frameHeight, uint64_t opaqueTag,
                                FrameStamp stamp) {
    if (!frame) return;
    stamp.tick = clock.Tick();
    if (isTexture(frame)) return AnnounceTexture(stamp);
    const Trigger gate = trigger.load(std::memory_order_relaxed);
    if (gate.on != 0 && gate.count == 0) return;
    const bool invalidate = CountFrame(stamp.tick);

    const SourceFrame incoming{frame,     rawFrame, deepFrame, depthFlag != 0, tag, {frameWidth, frameHeight},
                               opaqueTag, stamp};
    const Listeners told = CurrentListeners();
    if (told.stitch.call) told.stitch.call(told.stitch.context, frame, frameWidth, frameHeight, hookConstant);
    if (told.stack.call) {
        told.stack.call(told.stack.context, frame, frameWidth, frameHeight, hookConstant);
        return KeepBehindHook(incoming);
    }
    Show(incoming, invalidate);
    if (told.frame.call && MayBeRead(frame, frameWidth, frameHeight))
        told.frame.call(told.frame.context, frame, frameWidth, frameHeight);
}

void CFrameRender::AnnounceTexture(const FrameStamp& stamp) {
    const RecursiveMutexGuard guard(frameLock);
    pictures.takeTexture(stamp);
    if (pictures.texture() && notify.set()) notify.window->post(notify.window, notify.message, 1, 0);
}

CFrameRender::Listeners CFrameRender::CurrentListeners() {
    const RecursiveMutexGuard guard(frameLock);
    return listeners;
}

/// The hook has taken the picture; its size and its raw frame are kept for the feed and for grabs.
void CFrameRender::KeepBehindHook(const SourceFrame& frame) {
    const RecursiveMutexGuard guard(frameLock);
    pictures.takeBehindHook(frame);
}

void CFrameRender::Show(const SourceFrame& frame, bool invalidate) {
    const RecursiveMutexGuard guard(frameLock);
    if (pictures.take(frame)) Publish(invalidate);
}

void CFrameRender::StackFeed(void* sink, uint32_t frameWidth, uint32_t frameHeight, uint32_t, const uint8_t* fed) {
    if (sink && fed) static_cast<CFrameRender*>(sink)->Feed({frameWidth, frameHeight}, fed);
}

void CFrameRender::Feed(PictureSize size, const uint8_t* fed) {
    PixelBuffer target;  // held through the callback, while the sink may make other buffers
    Listener<FrameCallback> told;
    {
        const RecursiveMutexGuard guard(frameLock);
        target = pictures.feedTarget();
        const uint32_t pixelBytes = pictures.bytesPerPixel();
        if (!target.holds(pictureBytes(size.width, size.height, pixelBytes))) return;
        const size_t stride = dibStride(size.width, pixelBytes);
        const size_t fedStride = size_t(size.width) * feedBytesPerPixel;
        if (pixelBytes == 4) {
            pixels.bgr24ToBgrx32(target.data(), ptrdiff_t(stride), fed, ptrdiff_t(fedStride), size.width, size.height);
        } else {
            for (uint32_t y = 0; y < size.height; ++y)
                std::memcpy(target.data() + y * stride, fed + y * fedStride, fedStride);
        }
        if (pictures.shows()) Publish(true);
        told = listeners.frame;
    }
    if (told.call) told.call(told.context, target.data(), size.width, size.height);
}

void CFrameRender::Publish(bool invalidate) {
    PostBrightness();
    if (notify.set()) notify.window->post(notify.window, notify.message, 0, 0);
    if (notify.window && invalidate) notify.window->invalidate(notify.window);
    if (sizeNotify.set()) {
        const auto [width, height] = pictures.size();
        sizeNotify.window->post(sizeNotify.window, sizeNotify.message,
                                uintptr_t(intptr_t(int32_t(height << 16 | width))), intptr_t(pictures.frameTag()));
    }
}

void CFrameRender::PostBrightness() {
    if (!brightnessNotify.set()) return;
    const uint8_t* const picture = pictures.readableDisplay();
    const auto [width, height] = pictures.size();
    const std::optional<vex_rect> inside = insideMargin(brightnessRect, width, height);
    if (!picture || !inside) return;
    const uint32_t pixelBytes = pictures.bytesPerPixel();
    const uint32_t columns = uint32_t(inside->right - inside->left);
    const uint32_t rows = uint32_t(inside->bottom - inside->top);
    const size_t stride = dibStride(width, pixelBytes);
    double sum = 0;  // of rows from the top down: the order decides the last bits, and the result is cut off
    for (uint32_t y = uint32_t(inside->top); y < uint32_t(inside->bottom); ++y)
        sum = pixels.addLuminance(sum, picture + (height - y - 1) * stride + size_t(inside->left) * pixelBytes, columns,
                                  pixelBytes);
    const double tenfold = sum / columns / rows * 10.0;
    brightnessNotify.window->post(brightnessNotify.window, brightnessNotify.message, uintptr_t(tenfold), 0);
}

}  // namespace vexcap
