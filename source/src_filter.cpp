#include "source/src_filter.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/dib.h"
#include "source/camera_facts.h"

namespace vexcap {
namespace {

constexpr int64_t second = 10'000'000;  // 100-nanosecond units
constexpr int64_t millisecond = second / 1000;
constexpr uint32_t longestGap = 1500;  // milliseconds
constexpr uint32_t usualBuffers = 3;

template <typename Number>
Number fitted(int64_t value) {
    return Number(std::min<int64_t>(value, std::numeric_limits<Number>::max()));
}

/// Reads the block as FORMAT_VideoInfo has it, whatever its format type. False for one that is too short.
bool readVideoInfo(const MediaType& type, VideoInfoHeader& out) {
    if (type.format.size() < sizeof out) return false;
    std::memcpy(&out, type.format.data(), sizeof out);
    return true;
}

}  // namespace

CPushPinSrcFilter::CPushPinSrcFilter(CSrcFilter& owner, IClock& tickClock)
    : CCommandedStream(owner, u"Out"), CPinCategory(PIN_CATEGORY_CAPTURE), clock(tickClock) {}

HRESULT CPushPinSrcFilter::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (id == IAMStreamConfig::iid)
        *out = static_cast<IAMStreamConfig*>(this);
    else if (id == IKsPropertySet::iid)
        *out = static_cast<IKsPropertySet*>(this);
    else if (id == ISrcFilterInternal::iid)
        *out = static_cast<ISrcFilterInternal*>(this);
    else
        return CCommandedStream::NonDelegatingQueryInterface(id, out);
    AddRef();
    return S_OK;
}

MediaType CPushPinSrcFilter::Type() const {
    const uint32_t rate = maxFrameRate(camera);
    const int64_t bytes = int64_t(dibStride(uint32_t(width), 3)) * std::abs(int64_t(height));
    VideoInfoHeader header = {};
    header.bitRate = fitted<uint32_t>(bytes * rate * 8);
    header.averageTimePerFrame = second / rate;
    header.bitmap.biSize = sizeof header.bitmap;
    header.bitmap.biWidth = width;
    header.bitmap.biHeight = height;
    header.bitmap.biPlanes = 1;
    header.bitmap.biBitCount = 24;
    header.bitmap.biSizeImage = fitted<uint32_t>(bytes);
    MediaType made;
    made.major = MEDIATYPE_Video;
    made.subtype = MEDIASUBTYPE_RGB24;
    made.SetVideoInfo(header);
    made.sampleSize = header.bitmap.biSizeImage;
    made.fixedSize = made.sampleSize != 0;
    return made;
}

HRESULT CPushPinSrcFilter::GetMediaType(int32_t position, MediaType* out) {
    if (position < 0) return E_INVALIDARG;
    if (position > 0) return VFW_S_NO_MORE_ITEMS;
    return GetFormat(out);
}

HRESULT CPushPinSrcFilter::CheckMediaType(const MediaType* candidate) {
    if (!candidate) return E_POINTER;
    VideoInfoHeader header;
    const bool fits = candidate->major == MEDIATYPE_Video && candidate->fixedSize &&
                      candidate->subtype == MEDIASUBTYPE_RGB24 && readVideoInfo(*candidate, header) &&
                      header.bitmap.biWidth == width && header.bitmap.biHeight == height;
    return fits ? S_OK : E_INVALIDARG;
}

HRESULT CPushPinSrcFilter::SetMediaType(const MediaType* chosen) {
    if (!chosen) return E_POINTER;
    const RecursiveMutexGuard held(filter.interfaceLock);
    VideoInfoHeader header;
    if (!readVideoInfo(*chosen, header)) return E_UNEXPECTED;
    const bool fits = chosen->subtype == MEDIASUBTYPE_RGB24 && header.bitmap.biBitCount == 24 &&
                      header.bitmap.biWidth == width && header.bitmap.biHeight == height;
    return fits ? CCommandedStream::SetMediaType(chosen) : E_INVALIDARG;
}

HRESULT CPushPinSrcFilter::DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) {
    const RecursiveMutexGuard held(filter.interfaceLock);
    VideoInfoHeader header = {};
    readVideoInfo(CurrentMediaType(), header);
    AllocatorProperties asked = wanted;
    if (asked.buffers == 0) asked.buffers = usualBuffers;
    asked.bufferBytes = header.bitmap.biSizeImage;
    const Result<AllocatorProperties> got = pool.SetProperties(asked);
    if (!got.ok()) return got.code();
    return got.value().bufferBytes < asked.bufferBytes ? E_FAIL : S_OK;
}

HRESULT CPushPinSrcFilter::Active() {
    if (IsConnected() && allocator) {
        const size_t samples = allocator->GetProperties().buffers;
        const MutexGuard held(queueLock);
        queue.assign(samples, nullptr);
        oldest = queued = 0;
    }
    const HRESULT began = CCommandedStream::Active();
    if (began < 0) return began;
    const MutexGuard held(queueLock);
    openPool = allocator;
    return began;
}

HRESULT CPushPinSrcFilter::Inactive() {
    std::vector<Ref<CMediaSample>> waiting;  // let go of without the lock
    Ref<CBaseAllocator> pool;
    {
        const MutexGuard held(queueLock);
        waiting.swap(queue);
        std::swap(pool, openPool);  // a frame that is being copied finds no place any more
        oldest = queued = 0;
    }
    waiting.clear();
    const RecursiveMutexGuard held(filter.interfaceLock);
    if (!IsConnected()) return S_OK;
    if (!allocator) return VFW_E_NO_ALLOCATOR;
    allocator->Decommit();
    if (!ThreadExists()) return S_OK;
    if (const HRESULT stopped = CallWorker(CMD_STOP); stopped < 0) return stopped;
    CallWorker(CMD_EXIT);
    Close();
    return S_OK;
}

HRESULT CPushPinSrcFilter::DoBufferProcessingLoop() {
    for (;;) {
        if (StopRequested()) return S_FALSE;
        const Ref<CMediaSample> sample = TakeOldest();
        if (!sample)
            WaitForRequestOrWake();
        else if (Deliver(*sample) != S_OK)
            return S_OK;
    }
}

Ref<CMediaSample> CPushPinSrcFilter::TakeOldest() {
    const MutexGuard held(queueLock);
    if (queued == 0) return nullptr;
    Ref<CMediaSample> sample = std::move(queue[oldest]);
    oldest = (oldest + 1) % queue.size();
    --queued;
    return sample;
}

HRESULT CPushPinSrcFilter::SetFormat(const MediaType* wanted) { return CheckMediaType(wanted); }

HRESULT CPushPinSrcFilter::GetFormat(MediaType* out) {
    if (!out) return E_POINTER;
    *out = Type();
    return S_OK;
}

HRESULT CPushPinSrcFilter::GetNumberOfCapabilities(int32_t* count, int32_t* size) {
    if (count) *count = 0;
    if (size) *size = sizeof(VideoStreamConfigCaps);
    return S_OK;
}

HRESULT CPushPinSrcFilter::GetStreamCaps(int32_t index, MediaType* out, VideoStreamConfigCaps* caps) {
    if (index < 0) return E_INVALIDARG;
    if (index > 0) return S_FALSE;
    const MediaType only = Type();
    if (out) *out = only;
    if (caps) {
        std::memset(static_cast<void*>(caps), 0, sizeof *caps);  // the bytes between two fields, too
        caps->guid = only.formatType;
        for (auto* side : {caps->inputSize, caps->minCroppingSize, caps->maxCroppingSize, caps->minOutputSize}) {
            side[0] = width;
            side[1] = height;
        }
        const int64_t rate = maxFrameRate(camera), bits = int64_t(only.sampleSize) * 8;
        caps->minFrameInterval = second;
        caps->maxFrameInterval = second / rate;
        caps->minBitsPerSecond = fitted<int32_t>(bits);
        caps->maxBitsPerSecond = fitted<int32_t>(bits * rate);
    }
    return S_OK;
}

HRESULT CPushPinSrcFilter::SetCamera(ICamera* source) {
    if (!source) return E_UNEXPECTED;
    camera = source;
    lastTick = clock.Tick();
    uint32_t newWidth = 0, newHeight = 0;
    if (const Status known = finalSize(source, newWidth, newHeight); !known.ok()) return known.code();
    width = int32_t(newWidth);
    height = int32_t(newHeight);
    return S_OK;
}

HRESULT CPushPinSrcFilter::PushFrame(const void* pixels, uint32_t frameWidth, uint32_t frameHeight) {
    if (frameWidth != uint32_t(width) || frameHeight != uint32_t(height) || filter.State() != State_Running)
        return S_FALSE;
    if (!pixels) return E_POINTER;
    Ref<CBaseAllocator> pool;
    {
        const MutexGuard held(queueLock);
        pool = openPool;
    }
    if (!pool) return E_NOINTERFACE;
    Result<Ref<CMediaSample>> free = pool->GetBuffer(AM_GBF_NOWAIT);
    if (!free.ok()) return free.code();
    Ref<CMediaSample> sample = std::move(free).value();
    // A pool that was agreed on for a smaller camera gets as much as it holds.
    const size_t bytes = std::min(dibStride(frameWidth, 3) * frameHeight, sample->GetSize());
    std::memcpy(sample->GetPointer(), pixels, bytes);
    sample->SetActualDataLength(bytes).ignore();  // fits

    const uint32_t now = clock.Tick();
    const uint32_t gap = std::min(now - lastTick, longestGap);
    const int64_t start = streamTime;
    streamTime = start + gap * millisecond;
    lastTick = now;
    sample->SetTime(start, streamTime);
    sample->SetSyncPoint(true);
    {
        const MutexGuard held(queueLock);
        if (pool != openPool) return S_FALSE;  // stopped since the copy began
        assert(queued < queue.size());         // all samples are the pool's, which has no more
        queue[(oldest + queued) % queue.size()] = std::move(sample);
        ++queued;
    }
    Wake();
    return S_OK;
}

CSrcFilter::CSrcFilter(IClock& tickClock) : pin(std::make_unique<CPushPinSrcFilter>(*this, tickClock)) {}

HRESULT CSrcFilter::GetState(uint32_t, FilterState* out) {
    if (!out) return E_POINTER;
    *out = State();
    return *out == State_Paused ? VFW_S_CANT_CUE : S_OK;
}

HRESULT CSrcFilter::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (id == IAMFilterMiscFlags::iid) return give(static_cast<IAMFilterMiscFlags*>(this), out);
    if (id == ISrcFilterInternal::iid) return give(static_cast<ISrcFilterInternal*>(this), out);
    return CSource::NonDelegatingQueryInterface(id, out);
}

}  // namespace vexcap
