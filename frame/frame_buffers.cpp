// Sizes and buffers of a sink, all kept by its store.
#include <utility>

#include "frame/frame_render.h"
#include "frame/picture_grab.h"

namespace vexcap {

HRESULT CFrameRender::GetVideoSize(uint32_t* outWidth, uint32_t* outHeight) {
    const RecursiveMutexGuard guard(frameLock);
    const auto [width, height] = pictures.size();
    if (outWidth) *outWidth = width;
    if (outHeight) *outHeight = height;
    return S_OK;
}

void CFrameRender::PutMaxSize(uint32_t largestWidth, uint32_t largestHeight) {
    const RecursiveMutexGuard guard(frameLock);
    pictures.putLargest({largestWidth, largestHeight});
}

void CFrameRender::RaiseSensorDepth(uint32_t bits) {
    const RecursiveMutexGuard guard(frameLock);
    pictures.raiseSensorDepth(bits);
}

bool CFrameRender::GpuPath() {
    const RecursiveMutexGuard guard(frameLock);
    return pictures.texture() != nullptr;
}

vex_texture_target CFrameRender::TextureTarget() {
    const RecursiveMutexGuard guard(frameLock);
    return pictures.textureTarget();
}

PictureSize CFrameRender::LastVideoSize() {
    const RecursiveMutexGuard guard(frameLock);
    return pictures.announcedSize();
}

void CFrameRender::SetVideoSize(uint32_t frameWidth, uint32_t frameHeight, void* device, void* context,
                                void* renderTarget) {
    SetDarkSize(frameWidth, frameHeight);
    {
        const RecursiveMutexGuard guard(frameLock);
        pictures.putSize({frameWidth, frameHeight});
    }
    PrepareSurface(device, context, renderTarget);
}

HRESULT CFrameRender::InitD2d(void* device, void* context, void* renderTarget) {
    {
        const RecursiveMutexGuard guard(frameLock);
        pictures.useTexture(nullptr, nullptr, nullptr);
    }
    PrepareSurface(device, context, renderTarget);
    return S_OK;
}

/// Brings the picture of a pooled sink into a texture where that can be had, else into memory.
void CFrameRender::PrepareSurface(void* device, void* context, void* renderTarget) {
    const bool wanted = usesTextures && device;
    std::unique_ptr<ISharedTexture> made;
    if (wanted) {  // not under the lock: making a texture takes its time
        uint32_t width = 0, height = 0;
        GetVideoSize(&width, &height);
        made = textures.Create(device, context, renderTarget, width, height);
    }
    const RecursiveMutexGuard guard(frameLock);
    if (wanted) pictures.useTexture(std::move(made), device, context);
    pictures.resize();
}

HRESULT CFrameRender::PutCapture(uint32_t kind) {
    const RecursiveMutexGuard guard(frameLock);
    if (kind == uint32_t(PictureKind::Deep) && pictures.sensorDepth() < 9) return E_NOTIMPL;
    pictures.want(kind);
    return S_OK;
}

HRESULT CFrameRender::Reset() {
    const RecursiveMutexGuard guard(frameLock);
    pictures.reset();
    return S_OK;
}

void CFrameRender::NextBuffers(void** outDisplay, void** outRaw, void** outDeep) {
    const RecursiveMutexGuard guard(frameLock);
    pictures.lend(outDisplay, outRaw, outDeep);
}

bool CFrameRender::MayBeRead(const void* frame, uint32_t frameWidth, uint32_t frameHeight) {
    const RecursiveMutexGuard guard(frameLock);
    return pictures.mayBeRead(frame, {frameWidth, frameHeight});
}

HRESULT CFrameRender::GetImage(void* bitmap, int32_t capacity, uint32_t kind) {
    const RecursiveMutexGuard guard(frameLock);
    return grabImage(pictures, pixels, bitmap, capacity, kind);
}

uint64_t CFrameRender::ImageBytes(uint32_t kind) {
    const RecursiveMutexGuard guard(frameLock);
    return grabBytes(pictures, kind);
}

HRESULT CFrameRender::GrabImage(void* bitmap, int32_t capacity, uint32_t kind, FrameStamp& stamp) {
    const RecursiveMutexGuard guard(frameLock);
    const HRESULT result = grabImage(pictures, pixels, bitmap, capacity, kind);
    if (result >= 0) stamp = pictures.stamp();
    return result;
}

int32_t CFrameRender::GetPixels(const vex_point* points, uint32_t count, uint16_t* values, uint32_t* maximum) {
    if (!points || !values) return 0;
    const RecursiveMutexGuard guard(frameLock);
    return grabPixels(pictures, points, count, values, maximum);
}

}  // namespace vexcap
