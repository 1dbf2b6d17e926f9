// The road of a frame: counted, offered to the hooks, kept, told to the windows, passed on.
#include "frame/frame_render.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace vexcap {
namespace {

constexpr uint32_t hookConstant = 8;         // last argument of every hook call
constexpr uint32_t sourceBytesPerPixel = 3;  // of frames that are copied and of stack feeds

constexpr int32_t margin = 2;  // of the brightness rectangle, in pixels

bool isTexture(const void* frame) { return reinterpret_cast<uintptr_t>(frame) == 1; }

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
      mode(sinkMode),
      d2dAvailable(texturesAvailable),
      pixels(kernels()),
      clock(time),
      textures(sharedTextures),
      bytesPerPixel(pixelBytes == 4 && sinkMode != SinkMode::Copying ? 4 : 3) {}

HRESULT CFrameRender::QueryInterface(const vex_guid& iid, void** out) {
    if (!out) return E_POINTER;
    const auto asked = [&iid](const vex_guid& known) { return std::memcmp(&iid, &known, sizeof iid) == 0; };
    *out = nullptr;
    if (asked(IID_IFrameInfo) || asked(VEX_IID_UNKNOWN)) *out = static_cast<IFrameInfo*>(this);
    if (asked(IID_IDfc)) *out = static_cast<IDfc*>(this);
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
    const uint32_t bit = mask & 1 ? 1 : mask & 2;
    if (value & bit) {
        flip.fetch_or(bit, std::memory_order_relaxed);
    } else {
        flip.fetch_and(~bit, std::memory_order_relaxed);
    }
    return S_OK;
}

HRESULT CFrameRender::PutChrome(uint32_t on) {
    chrome.store(on, std::memory_order_relaxed);
    return S_OK;
}

HRESULT CFrameRender::PutNegative(uint32_t on) {
    negative.store(on, std::memory_order_relaxed);
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
                                uint32_t tag, uint32_t frameWidth, uint32_t frameHeight, uint64_t opaqueTag) {
    if (!frame) return;
    if (isTexture(frame)) return AnnounceTexture();
    const Trigger gate = trigger.load(std::memory_order_relaxed);
    if (gate.on != 0 && gate.count == 0) return;
    const bool invalidate = CountFrame(clock.Tick());

    const Incoming incoming{frame, rawFrame, deepFrame, depthFlag, tag, {frameWidth, frameHeight}, opaqueTag};
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

void CFrameRender::AnnounceTexture() {
    const RecursiveMutexGuard guard(frameLock);
    if (texture && notify.set()) notify.window->post(notify.window, notify.message, 1, 0);
}

CFrameRender::Listeners CFrameRender::CurrentListeners() {
    const RecursiveMutexGuard guard(frameLock);
    return listeners;
}

/// The hook has taken the picture; its size and its raw frame are kept for the feed and for grabs.
void CFrameRender::KeepBehindHook(const Incoming& incoming) {
    const RecursiveMutexGuard guard(frameLock);
    const auto [w, h] = incoming.size;
    const uint64_t bytes = pictureBytes(w, h, bytesPerPixel);
    const bool fits = mode == SinkMode::Pooled  ? displayPool.holds(bytes)
                      : mode == SinkMode::Owned ? ownDisplay.holds(bytes)
                                                : bytes != 0 && bytes != unholdable;
    if (fits) {
        width = w;
        height = h;
    }
    if (mode == SinkMode::Pooled) raw = rawPool.member(incoming.raw);
    rawTag = incoming.tag;
    rawDepth = DepthOf(incoming);
}

bool CFrameRender::MayBeRead(const void* frame, uint32_t frameWidth, uint32_t frameHeight) {
    const RecursiveMutexGuard guard(frameLock);
    const Size size = SizeOf({frameWidth, frameHeight});
    const uint64_t bytes = pictureBytes(size.width, size.height, bytesPerPixel);
    return bytes == 0 || frame != loan.display.data() || loan.display.holds(bytes);
}

void CFrameRender::Show(const Incoming& incoming, bool invalidate) {
    const RecursiveMutexGuard guard(frameLock);
    const Size size = SizeOf(incoming.size);
    switch (mode) {
        case SinkMode::Pooled:
            return ShowPooled(incoming, size, invalidate);
        case SinkMode::Owned:
            return ShowOwned(incoming, size, invalidate);
        case SinkMode::Copying:
            return ShowCopied(incoming, size, invalidate);
    }
}

/// A frame in one of our buffers is shown by its pointer. One in memory of the source's own, which is gone when
/// ReceiveFrame returns, is copied into the buffer that is not shown.
void CFrameRender::ShowPooled(const Incoming& incoming, Size size, bool invalidate) {
    const uint64_t bytes = pictureBytes(size.width, size.height, bytesPerPixel);
    if (!displayPool.holds(bytes)) return;
    uint8_t* shown = displayPool.member(incoming.frame);
    if (!shown) {
        shown = displayPool.other(display).data();
        std::memcpy(shown, incoming.frame, size_t(bytes));
    }
    width = size.width;
    height = size.height;
    display = shown;
    raw = rawPool.member(incoming.raw);
    deep = deepPool.member(incoming.deep);
    rawTag = incoming.tag;
    rawDepth = DepthOf(incoming);
    Publish(invalidate);
}

void CFrameRender::ShowOwned(const Incoming& incoming, Size size, bool invalidate) {
    if (!ownDisplay.holds(pictureBytes(size.width, size.height, bytesPerPixel))) return;
    width = size.width;
    height = size.height;
    display = ownDisplay.data();
    rawTag = incoming.tag;
    frameTag = incoming.frameTag;
    rawDepth = DepthOf(incoming);
    Publish(invalidate);
}

void CFrameRender::ShowCopied(const Incoming& incoming, Size size, bool invalidate) {
    const uint64_t bytes = pictureBytes(size.width, size.height, sourceBytesPerPixel);
    if (bytes == 0 || !MakeOwnDisplay(bytes)) return;
    width = size.width;
    height = size.height;
    std::memcpy(display, incoming.frame, size_t(bytes));
    Publish(invalidate);
}

CFrameRender::Size CFrameRender::SizeOf(Size told) const {
    if (told.width != 0 && told.height != 0) return told;
    return width != 0 && height != 0 ? Size{width, height} : videoSize;
}

uint32_t CFrameRender::DepthOf(const Incoming& incoming) const { return incoming.depthFlag != 0 ? sensorDepth : 8; }

void CFrameRender::StackFeed(void* sink, uint32_t frameWidth, uint32_t frameHeight, uint32_t, const uint8_t* fed) {
    if (sink && fed) static_cast<CFrameRender*>(sink)->Feed({frameWidth, frameHeight}, fed);
}

void CFrameRender::Feed(Size size, const uint8_t* fed) {
    PixelBuffer target;  // held through the callback, while the sink may make other buffers
    Listener<FrameCallback> told;
    {
        const RecursiveMutexGuard guard(frameLock);
        target = FeedTarget();
        if (!target.holds(pictureBytes(size.width, size.height, bytesPerPixel))) return;
        const size_t stride = dibStride(size.width, bytesPerPixel);
        const size_t fedStride = size_t(size.width) * sourceBytesPerPixel;
        if (bytesPerPixel == 4) {
            pixels.bgr24ToBgrx32(target.data(), ptrdiff_t(stride), fed, ptrdiff_t(fedStride), size.width, size.height);
        } else {
            for (uint32_t y = 0; y < size.height; ++y)
                std::memcpy(target.data() + y * stride, fed + y * fedStride, fedStride);
        }
        Publish(true);
        told = listeners.frame;
    }
    if (told.call) told.call(told.context, target.data(), size.width, size.height);
}

/// Where a feed is written. While a pooled sink shows nothing this is the buffer that the source is not writing into:
/// a frame has to come to show anything.
PixelBuffer CFrameRender::FeedTarget() {
    if (mode == SinkMode::Pooled) return display ? displayPool.shown(display) : displayPool.other(loan.display.data());
    if (mode == SinkMode::Owned && !display && !MakeOwnDisplay(0)) return {};
    return display ? ownDisplay : PixelBuffer();
}

void CFrameRender::Publish(bool invalidate) {
    if (!display) return;
    PostBrightness();
    if (notify.set()) notify.window->post(notify.window, notify.message, 0, 0);
    if (notify.window && invalidate) notify.window->invalidate(notify.window);
    if (sizeNotify.set())
        sizeNotify.window->post(sizeNotify.window, sizeNotify.message,
                                uintptr_t(intptr_t(int32_t(height << 16 | width))), intptr_t(frameTag));
}

void CFrameRender::PostBrightness() {
    if (!brightnessNotify.set()) return;
    const uint8_t* const picture = ReadableDisplay();
    const std::optional<vex_rect> inside = insideMargin(brightnessRect, width, height);
    if (!picture || !inside) return;
    const uint32_t columns = uint32_t(inside->right - inside->left);
    const uint32_t rows = uint32_t(inside->bottom - inside->top);
    const size_t stride = dibStride(width, bytesPerPixel);
    double sum = 0;  // of rows from the top down: the order decides the last bits, and the result is cut off
    for (uint32_t y = uint32_t(inside->top); y < uint32_t(inside->bottom); ++y)
        sum = pixels.addLuminance(sum, picture + (height - y - 1) * stride + size_t(inside->left) * bytesPerPixel,
                                  columns, bytesPerPixel);
    const double tenfold = sum / columns / rows * 10.0;
    brightnessNotify.window->post(brightnessNotify.window, brightnessNotify.message, uintptr_t(tenfold), 0);
}

}  // namespace vexcap
