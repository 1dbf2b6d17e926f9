// The buffers of a sink: made by size, lent to the source, taken back.
#include <algorithm>
#include <utility>

#include "frame/frame_render.h"

namespace vexcap {
namespace {

constexpr uint32_t memoryBytesPerPixel = 3;
constexpr uint32_t textureBytesPerPixel = 4;
constexpr uint32_t deepBytesPerPixel = 6;

}  // namespace

HRESULT CFrameRender::GetVideoSize(uint32_t* outWidth, uint32_t* outHeight) {
    const RecursiveMutexGuard guard(frameLock);
    if (outWidth) *outWidth = width;
    if (outHeight) *outHeight = height;
    return S_OK;
}

void CFrameRender::PutMaxSize(uint32_t largestWidth, uint32_t largestHeight) {
    const RecursiveMutexGuard guard(frameLock);
    maxWidth = largestWidth;
    maxHeight = largestHeight;
}

void CFrameRender::RaiseSensorDepth(uint32_t bits) {
    const RecursiveMutexGuard guard(frameLock);
    sensorDepth = std::max(sensorDepth, bits);
}

bool CFrameRender::GpuPath() {
    const RecursiveMutexGuard guard(frameLock);
    return texture != nullptr;
}

vex_texture_target CFrameRender::TextureTarget() {
    const RecursiveMutexGuard guard(frameLock);
    if (!texture) return {};
    return {device, context, texture->Handle()};
}

CFrameRender::Size CFrameRender::LastVideoSize() {
    const RecursiveMutexGuard guard(frameLock);
    return videoSize;
}

void CFrameRender::SetVideoSize(uint32_t frameWidth, uint32_t frameHeight, void* graphicsDevice, void* graphicsContext,
                                void* renderTarget) {
    SetDarkSize(frameWidth, frameHeight);
    {
        const RecursiveMutexGuard guard(frameLock);
        videoSize = {frameWidth, frameHeight};
        width = frameWidth;
        height = frameHeight;
    }
    PrepareSurface(graphicsDevice, graphicsContext, renderTarget);
}

HRESULT CFrameRender::InitD2d(void* graphicsDevice, void* graphicsContext, void* renderTarget) {
    {
        const RecursiveMutexGuard guard(frameLock);
        device = nullptr;
        context = nullptr;
        texture.reset();
    }
    PrepareSurface(graphicsDevice, graphicsContext, renderTarget);
    return S_OK;
}

/// Brings the picture of a pooled sink into a texture where that can be had, else into memory.
void CFrameRender::PrepareSurface(void* graphicsDevice, void* graphicsContext, void* renderTarget) {
    if (mode != SinkMode::Pooled) return;
    const bool wanted = d2dAvailable && graphicsDevice;
    std::unique_ptr<ISharedTexture> made;
    if (wanted) {  // not under the lock: making a texture takes its time
        uint32_t w = 0, h = 0;
        GetVideoSize(&w, &h);
        made = textures.Create(graphicsDevice, graphicsContext, renderTarget, w, h);
    }
    const RecursiveMutexGuard guard(frameLock);
    if (wanted) {
        texture = std::move(made);
        device = texture ? graphicsDevice : nullptr;
        context = texture ? graphicsContext : nullptr;
    }
    bytesPerPixel = texture ? textureBytesPerPixel : memoryBytesPerPixel;
    display = nullptr;
    displayPool.free();
    if (texture) return;
    raw = nullptr;
    deep = nullptr;
    rawPool.free();
    deepPool.free();
    displayPool.allocate(PoolNeed(), PixelBuffer::Fill::Zero);
}

HRESULT CFrameRender::PutCapture(uint32_t kind) {
    const RecursiveMutexGuard guard(frameLock);
    if (kind == 2 && sensorDepth < 9) return E_NOTIMPL;
    captureKind = kind;
    if (mode != SinkMode::Pooled) return S_OK;
    if (kind == 1 && !rawPool.holds(RawNeed())) {
        raw = nullptr;
        rawPool.allocate(RawNeed(), PixelBuffer::Fill::None);
    }
    if (kind == 2 && !deepPool.holds(DeepNeed())) {
        deep = nullptr;
        deepPool.allocate(DeepNeed(), PixelBuffer::Fill::None);
    }
    return S_OK;
}

HRESULT CFrameRender::Reset() {
    if (mode != SinkMode::Pooled) return S_OK;
    const RecursiveMutexGuard guard(frameLock);
    width = 0;
    height = 0;
    display = nullptr;
    deep = nullptr;
    raw = nullptr;
    rawTag = 0;
    rawDepth = 0;
    return S_OK;
}

void CFrameRender::NextBuffers(void** outDisplay, void** outRaw, void** outDeep) {
    const RecursiveMutexGuard guard(frameLock);
    Loan next;
    if (mode == SinkMode::Pooled) next.display = displayPool.other(display);
    if (mode == SinkMode::Owned && MakeOwnDisplay(0)) next.display = ownDisplay;
    if (outRaw && captureKind == 1) next.raw = NextBuffer(rawPool, ownRaw, raw, RawNeed());
    if (outDeep && captureKind == 2) next.deep = NextBuffer(deepPool, ownDeep, deep, DeepNeed());
    if (outDisplay) *outDisplay = next.display.data();
    if (outRaw) *outRaw = next.raw.data();
    if (outDeep) *outDeep = next.deep.data();
    loan = std::move(next);
}

/// The raw or deep buffer that comes next. What is too small for a frame is not lent: the source would write past it.
PixelBuffer CFrameRender::NextBuffer(BufferPair& pool, PixelBuffer& own, const uint8_t*& current, uint64_t need) {
    if (mode == SinkMode::Pooled) return pool.holds(need) ? pool.other(current) : PixelBuffer();
    if (mode == SinkMode::Copying) return {};
    if (!own.holds(need)) {
        const PixelBuffer made(need, PixelBuffer::Fill::Zero);
        if (!made.data()) return {};
        own = made;
    }
    current = own.data();
    return own;
}

/// Shows the one buffer, and makes it first where the present one does not hold `least` bytes; 0 stands for the largest
/// frame that was told. A new one has room for that frame, too, where memory suffices. False without room.
bool CFrameRender::MakeOwnDisplay(uint64_t least) {
    const uint64_t told = LargestFrame(bytesPerPixel);
    const uint64_t need = least != 0 ? least : told;
    if (!ownDisplay.holds(need)) {
        PixelBuffer made(std::max(told, need), PixelBuffer::Fill::Zero);
        if (!made.data()) made = PixelBuffer(need, PixelBuffer::Fill::Zero);
        if (!made.data()) return false;
        ownDisplay = made;
    }
    display = ownDisplay.data();
    return true;
}

uint64_t CFrameRender::LargestFrame(uint32_t pixelBytes) const {
    return std::max(pictureBytes(maxWidth, maxHeight, pixelBytes), pictureBytes(width, height, pixelBytes));
}

/// Room for frames that are turned by 90 degrees, too.
uint64_t CFrameRender::PoolNeed() const {
    return std::max({LargestFrame(bytesPerPixel), pictureBytes(maxHeight, maxWidth, bytesPerPixel),
                     pictureBytes(height, width, bytesPerPixel)});
}

uint64_t CFrameRender::RawNeed() const {
    const uint32_t sampleBytes = sensorDepth < 9 ? 1 : 2;
    return std::max(packedBytes(maxWidth, maxHeight, sampleBytes), packedBytes(width, height, sampleBytes));
}

uint64_t CFrameRender::DeepNeed() const { return LargestFrame(deepBytesPerPixel); }

}  // namespace vexcap
