#include "source/video_capture_filter.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <system_error>

#include "base/dib.h"
#include "graph/pin_category.h"
#include "graph/stream_control.h"
#include "source/commanded_stream.h"

namespace vexcap {
namespace {

constexpr int64_t second = 10'000'000;  // 100-nanosecond units
constexpr int64_t millisecond = second / 1000;
constexpr int64_t usualInterval = second / 30;  // where the device does not tell it
constexpr std::chrono::milliseconds watchPeriod(250);

/// Buffers of the device: a quarter of a second of frames, as far as so much memory goes.
uint32_t deviceBuffers(const VideoMode& mode) {
    constexpr int64_t fewest = 4, most = 16, memory = 256 << 20;
    const int64_t wanted = second / 4 / (mode.interval > 0 ? mode.interval : usualInterval) + 1;
    const int64_t fitting = memory / std::max<int64_t>(mode.frameBytes, 1);
    return uint32_t(std::clamp(std::min(wanted, fitting), fewest, most));
}

int64_t steadyTime() {
    using Units = std::chrono::duration<int64_t, std::ratio<1, second>>;
    return std::chrono::duration_cast<Units>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

int32_t bitsPerSecond(uint64_t bytes, int64_t interval) {
    return interval > 0 ? int32_t(std::min<uint64_t>(bytes * 8 * second / uint64_t(interval), INT32_MAX)) : 0;
}

}  // namespace

/// What IAMVideoControl asks for goes out here.
class CVideoCaptureFilter::StillPin final : public CBaseOutputPin, public IAMStreamConfig, public CPinCategory {
public:
    explicit StillPin(CVideoCaptureFilter& owner)
        : CBaseOutputPin(owner, u"Still"), CPinCategory(PIN_CATEGORY_STILL), source(owner) {}

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CBaseOutputPin::QueryInterface(id, out); }
    uint32_t AddRef() override { return CBaseOutputPin::AddRef(); }
    uint32_t Release() override { return CBaseOutputPin::Release(); }

    HRESULT GetMediaType(int32_t position, MediaType* out) override { return source.PresentType(position, out); }
    HRESULT CheckMediaType(const MediaType* candidate) override { return source.CheckPresent(candidate); }
    HRESULT Active() override {
        wanted = false;
        const HRESULT same = source.CheckPresent(&CurrentMediaType());
        return same < 0 ? same : CBaseOutputPin::Active();
    }

    // Stills have the format that the capture pin is set to.
    HRESULT SetFormat(const MediaType* wantedType) override { return source.CheckPresent(wantedType); }
    HRESULT GetFormat(MediaType* out) override { return source.PresentType(0, out); }
    HRESULT GetNumberOfCapabilities(int32_t* count, int32_t* size) override {
        if (count) *count = 1;
        if (size) *size = sizeof(VideoStreamConfigCaps);
        return S_OK;
    }
    HRESULT GetStreamCaps(int32_t index, MediaType* out, VideoStreamConfigCaps* caps) override {
        if (index < 0) return E_INVALIDARG;
        return index == 0 ? source.GetCaps(source.mode.format, out, caps) : S_FALSE;
    }

    std::atomic<bool> wanted{false};  // asked for, and not copied yet

private:
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override {
        if (id == IAMStreamConfig::iid)
            *out = static_cast<IAMStreamConfig*>(this);
        else if (id == IKsPropertySet::iid)
            *out = static_cast<IKsPropertySet*>(this);
        else
            return CBaseOutputPin::NonDelegatingQueryInterface(id, out);
        AddRef();
        return S_OK;
    }
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& asked) override {
        return source.SetPool(pool, asked, 1);
    }

    CVideoCaptureFilter& source;
};

/// The stream of the device.
class CVideoCaptureFilter::CapturePin final : public CCommandedStream,
                                              public IAMStreamConfig,
                                              public IAMStreamControl,
                                              public IAMDroppedFrames,
                                              public CPinCategory {
public:
    explicit CapturePin(CVideoCaptureFilter& owner)
        : CCommandedStream(owner, u"Capture"), CPinCategory(PIN_CATEGORY_CAPTURE), source(owner) {}
    ~CapturePin() override { CapturePin::Inactive(); }

    HRESULT QueryInterface(const vex_guid& id, void** out) override {
        return CCommandedStream::QueryInterface(id, out);
    }
    uint32_t AddRef() override { return CCommandedStream::AddRef(); }
    uint32_t Release() override { return CCommandedStream::Release(); }

    HRESULT GetMediaType(int32_t position, MediaType* out) override { return source.PresentType(position, out); }
    HRESULT CheckMediaType(const MediaType* candidate) override { return source.CheckPresent(candidate); }
    HRESULT Active() override;
    HRESULT Inactive() override;

    HRESULT SetFormat(const MediaType* wanted) override;
    HRESULT GetFormat(MediaType* out) override { return source.PresentType(0, out); }
    HRESULT GetNumberOfCapabilities(int32_t* count, int32_t* size) override {
        if (count) *count = int32_t(source.formats.size());
        if (size) *size = sizeof(VideoStreamConfigCaps);
        return S_OK;
    }
    HRESULT GetStreamCaps(int32_t index, MediaType* out, VideoStreamConfigCaps* caps) override {
        if (index < 0) return E_INVALIDARG;
        return size_t(index) < source.formats.size() ? source.GetCaps(source.formats[size_t(index)], out, caps)
                                                     : S_FALSE;
    }
    HRESULT StartAt(const int64_t* start) override { return control.StartAt(start), S_OK; }
    HRESULT StopAt(const int64_t* stop) override { return control.StopAt(stop), S_OK; }
    HRESULT GetNumDropped(uint32_t* count) override { return count ? (*count = dropped, S_OK) : E_POINTER; }
    HRESULT GetNumNotDropped(uint32_t* count) override { return count ? (*count = notDropped, S_OK) : E_POINTER; }

private:
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& asked) override {
        constexpr uint32_t fewest = 4;
        return source.SetPool(pool, asked, fewest);
    }
    HRESULT DoBufferProcessingLoop() override;
    void TakeFrame(const VideoFrame& frame, Ref<CMediaSample>& sample, Ref<CMediaSample>& stillSample);
    HRESULT Broken(HRESULT code);

    CVideoCaptureFilter& source;
    StreamControl control;
    std::atomic<uint32_t> dropped{0};
    std::atomic<uint32_t> notDropped{0};
    std::atomic<bool> ending{false};  // a stop is on its way

    // The streaming thread's, and set before it begins.
    bool hadFrame = false;     // in this stream
    bool hasPrevious = false;  // the frame before belongs to this run
    uint32_t previous = 0;     // its sequence
    bool gap = true;           // something is missing before the next sample
};

HRESULT CVideoCaptureFilter::CapturePin::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (id == IAMStreamConfig::iid)
        *out = static_cast<IAMStreamConfig*>(this);
    else if (id == IAMStreamControl::iid)
        *out = static_cast<IAMStreamControl*>(this);
    else if (id == IAMDroppedFrames::iid)
        *out = static_cast<IAMDroppedFrames*>(this);
    else if (id == IKsPropertySet::iid)
        *out = static_cast<IKsPropertySet*>(this);
    else
        return CCommandedStream::NonDelegatingQueryInterface(id, out);
    AddRef();
    return S_OK;
}

HRESULT CVideoCaptureFilter::CapturePin::SetFormat(const MediaType* wanted) {
    if (!wanted) return E_POINTER;
    const RecursiveMutexGuard held(filter.interfaceLock);
    if (IsConnected() && !filter.IsStopped()) return VFW_E_NOT_STOPPED;
    const std::optional<VideoPicture> asked = pictureOf(*wanted);
    if (!asked) return E_INVALIDARG;
    const uint32_t width = asked->width, height = asked->height;
    for (VideoFormat format : source.formats) {
        const bool offered = format.fourcc == asked->layout->fourcc && width >= format.minWidth &&
                             width <= format.maxWidth && height >= format.minHeight && height <= format.maxHeight;
        if (!offered) continue;
        format.width = width;
        format.height = height;
        return source.SetFormat(format, wanted->AverageTimePerFrame()).code();
    }
    return E_INVALIDARG;
}

HRESULT CVideoCaptureFilter::CapturePin::Active() {
    if (const HRESULT same = source.CheckPresent(&CurrentMediaType()); same < 0) return same;
    dropped = notDropped = 0;
    ending = hadFrame = hasPrevious = false;
    gap = true;
    if (const Status started = source.device->Start(deviceBuffers(source.mode)); !started.ok()) return started.code();
    const HRESULT began = CCommandedStream::Active();
    if (began < 0) {
        CCommandedStream::Inactive();
        source.device->Stop();
    }
    return began;
}

HRESULT CVideoCaptureFilter::CapturePin::Inactive() {
    if (!ThreadExists()) return S_OK;
    ending = true;
    source.device->Interrupt();
    const HRESULT left = CCommandedStream::Inactive();
    source.device->Stop();
    return left;
}

HRESULT CVideoCaptureFilter::CapturePin::DoBufferProcessingLoop() {
    const int64_t interval = source.mode.interval;
    const uint32_t patience = uint32_t(std::clamp<int64_t>(10 * interval / millisecond, 2000, INT32_MAX));
    const uint32_t patienceAtFirst = std::max(patience, 5000u);
    Ref<CMediaSample> sample, stillSample;
    for (;;) {
        if (StopRequested()) return S_FALSE;
        if (ending) {  // the interruption may have come before the command
            WaitForRequestOrWake();
            continue;
        }
        const bool ran = filter.State() == State_Running;  // a wait that began in a pause is none of the run's
        const Result<VideoFrame> next = source.device->Next(hadFrame ? patience : patienceAtFirst);
        if (next.code() == VEX_E_INTERRUPTED) continue;
        if (next.code() == VEX_E_TIMEOUT && !(ran && filter.State() == State_Running)) continue;
        if (!next.ok()) return Broken(next.code());
        hadFrame = true;
        TakeFrame(next.value(), sample, stillSample);
        if (const Status back = source.device->GiveBack(next.value().index); !back.ok()) return Broken(back.code());
        HRESULT delivered = S_OK;
        if (sample) {
            ++notDropped;
            delivered = Deliver(*sample);
            sample = nullptr;
        }
        if (stillSample) {
            source.still->Deliver(*stillSample);  // what becomes of a still is no matter of the stream
            stillSample = nullptr;
        }
        if (delivered != S_OK) return S_OK;
    }
}

void CVideoCaptureFilter::CapturePin::TakeFrame(const VideoFrame& frame, Ref<CMediaSample>& sample,
                                                Ref<CMediaSample>& stillSample) {
    const bool running = filter.State() == State_Running;
    const int64_t start = frame.time - source.runStart;
    if (!running || start < 0 || frame.time < source.runBegan) {  // taken before this run, in a pause for instance
        hasPrevious = false;
        gap = true;
        return;
    }
    if (hasPrevious && frame.sequence != previous + 1) {
        const uint32_t missing = frame.sequence - previous - 1;
        if (missing <= INT32_MAX) dropped += missing;  // else the device began to count anew
        gap = true;
    }
    hasPrevious = true;
    previous = frame.sequence;
    if (frame.damaged || !source.IsWhole(frame)) {
        ++dropped;
        gap = true;
        return;
    }
    const int64_t stop = start + (source.mode.interval > 0 ? source.mode.interval : usualInterval);
    const auto copyInto = [&](CBaseOutputPin& pin) -> Ref<CMediaSample> {
        Result<Ref<CMediaSample>> free = pin.GetDeliveryBuffer(AM_GBF_NOWAIT);
        if (!free.ok() || !source.CopyFrame(frame, *free.value())) return nullptr;
        free.value()->SetTime(start, stop);
        free.value()->SetSyncPoint(true);
        return std::move(free).value();
    };
    if (source.still->wanted) {
        stillSample = copyInto(*source.still);
        if (stillSample) source.still->wanted = false;  // else the next frame is tried
    }
    if (!control.Passes(start)) {
        gap = true;
        return;
    }
    sample = copyInto(*this);
    if (!sample) {
        ++dropped;
        gap = true;
        return;
    }
    sample->SetDiscontinuity(gap);
    gap = false;
}

HRESULT CVideoCaptureFilter::CapturePin::Broken(HRESULT code) {
    if (code == VEX_E_DEVICE_LOST)
        source.TellLost();
    else
        filter.NotifyEvent(EC_ERRORABORT, code, 0);
    return S_OK;
}

Result<Ref<CVideoCaptureFilter>> CVideoCaptureFilter::create(std::unique_ptr<IVideoDevice> device) {
    auto made = Ref<CVideoCaptureFilter>::adopt(new CVideoCaptureFilter(std::move(device)));
    Status set = E_FAIL;
    if (const Result<VideoMode> present = made->device->Mode(); present.ok()) {
        const VideoFormat& format = present.value().format;
        if (videoPicture(format.fourcc, format.width, format.height)) set = made->SetFormat(format, 0);
    }
    if (!set.ok() && !made->formats.empty()) set = made->SetFormat(made->formats.front(), 0);
    if (!set.ok()) return set;
    return made;
}

CVideoCaptureFilter::CVideoCaptureFilter(std::unique_ptr<IVideoDevice> opened)
    : device(std::move(opened)), formats(device->Formats()) {
    std::erase_if(formats, [](const VideoFormat& f) { return !videoPicture(f.fourcc, f.width, f.height); });
    capture = std::make_unique<CapturePin>(*this);
    still = std::make_unique<StillPin>(*this);
}

CVideoCaptureFilter::~CVideoCaptureFilter() { EndWatch(); }

HRESULT CVideoCaptureFilter::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (id == IAMFilterMiscFlags::iid) return give(static_cast<IAMFilterMiscFlags*>(this), out);
    if (id == IAMVideoControl::iid) return give(static_cast<IAMVideoControl*>(this), out);
    return CSource::NonDelegatingQueryInterface(id, out);
}

CBasePin* CVideoCaptureFilter::GetPin(size_t index) {
    if (index == 0) return capture.get();
    return index == 1 ? still.get() : nullptr;
}

Status CVideoCaptureFilter::SetFormat(const VideoFormat& format, int64_t interval) {
    const Result<VideoMode> set = device->SetMode(format, interval);
    if (!set.ok()) return set.status();
    const VideoFormat& now = set.value().format;
    const std::optional<VideoPicture> known = videoPicture(now.fourcc, now.width, now.height);
    if (!known) return E_FAIL;
    mode = set.value();
    picture = *known;
    deviceStride = picture.layout->Compressed() ? 0 : std::max<size_t>(mode.stride, picture.RowBytes());
    return S_OK;
}

HRESULT CVideoCaptureFilter::PresentType(int32_t position, MediaType* out) const {
    if (position < 0) return E_INVALIDARG;
    if (position > 0) return VFW_S_NO_MORE_ITEMS;
    if (!out) return E_POINTER;
    *out = Type();
    return S_OK;
}

HRESULT CVideoCaptureFilter::CheckPresent(const MediaType* candidate) const {
    if (!candidate) return E_POINTER;
    const std::optional<VideoPicture> other = pictureOf(*candidate);
    const bool same =
        other && other->layout == picture.layout && other->width == picture.width && other->height == picture.height;
    return same ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CVideoCaptureFilter::GetCaps(const VideoFormat& format, MediaType* type, VideoStreamConfigCaps* caps) const {
    const std::optional<VideoPicture> offered = videoPicture(format.fourcc, format.width, format.height);
    if (!offered) return E_UNEXPECTED;
    // How long a compressed frame gets is told once the format is set: never longer than the picture itself.
    const size_t bytes = offered->layout->Compressed() ? dibStride(format.width, 3) * format.height : offered->Bytes();
    if (type) *type = videoType(*offered, format.minInterval, uint32_t(bytes));
    if (caps) {
        *caps = {};
        caps->guid = FORMAT_VideoInfo;
        const auto put = [](int32_t(&side)[2], uint32_t width, uint32_t height) {
            side[0] = int32_t(width);
            side[1] = int32_t(height);
        };
        put(caps->inputSize, format.width, format.height);
        put(caps->minCroppingSize, format.width, format.height);
        put(caps->maxCroppingSize, format.width, format.height);
        put(caps->minOutputSize, format.minWidth, format.minHeight);
        put(caps->maxOutputSize, format.maxWidth, format.maxHeight);
        caps->minFrameInterval = format.minInterval;
        caps->maxFrameInterval = format.maxInterval;
        caps->minBitsPerSecond = bitsPerSecond(bytes, format.maxInterval);
        caps->maxBitsPerSecond = bitsPerSecond(bytes, format.minInterval);
    }
    return S_OK;
}

HRESULT CVideoCaptureFilter::SetPool(CBaseAllocator& pool, AllocatorProperties wanted, uint32_t fewest) const {
    const size_t bytes = picture.layout->Compressed() ? mode.frameBytes : picture.Bytes();
    wanted.buffers = std::max(wanted.buffers, fewest);
    wanted.bufferBytes = std::max(wanted.bufferBytes, bytes);
    const Result<AllocatorProperties> got = pool.SetProperties(wanted);
    if (!got.ok()) return got.code();
    return got.value().bufferBytes < bytes ? E_FAIL : S_OK;
}

bool CVideoCaptureFilter::IsWhole(const VideoFrame& frame) const {
    if (picture.layout->Compressed()) return frame.bytes > 0;
    return frame.bytes >= deviceStride * (picture.Rows() - 1) + picture.RowBytes();
}

bool CVideoCaptureFilter::CopyFrame(const VideoFrame& frame, CMediaSample& sample) const {
    const size_t bytes = picture.layout->Compressed() ? frame.bytes : picture.Bytes();
    if (!sample.SetActualDataLength(bytes).ok()) return false;
    uint8_t* const target = sample.GetPointer();
    if (deviceStride == picture.RowBytes() && deviceStride == picture.Stride()) {
        std::memcpy(target, frame.data, bytes);  // no padding on either side; neither have compressed frames
    } else {
        for (size_t y = 0; y < picture.Rows(); ++y)
            std::memcpy(target + y * picture.Stride(), frame.data + y * deviceStride, picture.RowBytes());
    }
    return true;
}

HRESULT CVideoCaptureFilter::Run(int64_t start) {
    if (State() != State_Running) runBegan = steadyTime();
    runStart = start;
    return CSource::Run(start);
}

HRESULT CVideoCaptureFilter::GetState(uint32_t, FilterState* out) {
    if (!out) return E_POINTER;
    *out = State();
    return *out == State_Paused ? VFW_S_CANT_CUE : S_OK;
}

HRESULT CVideoCaptureFilter::SetMode(CBasePin* pin, uint32_t asked) {
    if (pin != still.get() || asked != trigger) return E_INVALIDARG;
    if (!still->IsConnected() || !capture->IsConnected()) return VFW_E_NOT_CONNECTED;
    if (State() != State_Running) return VFW_E_WRONG_STATE;
    still->wanted = true;
    return S_OK;
}

HRESULT CVideoCaptureFilter::JoinFilterGraph(IGraphEvents* events, std::u16string_view nameInGraph) {
    EndWatch();
    if (const HRESULT joined = CSource::JoinFilterGraph(events, nameInGraph); joined < 0 || !events) return joined;
    lossTold = false;
    try {
        watcher = std::thread([this] { Watch(); });
    } catch (const std::system_error&) {
        CSource::JoinFilterGraph(nullptr, {});
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void CVideoCaptureFilter::TellLost() {
    if (lossTold.exchange(true)) return;
    if (State() == State_Running) NotifyEvent(EC_ERRORABORT, VEX_E_DEVICE_LOST, 0);
    NotifyEvent(EC_DEVICE_LOST, reinterpret_cast<intptr_t>(static_cast<CBaseFilter*>(this)), 0);
}

void CVideoCaptureFilter::Watch() {
    do {
        if (device->Check() == VEX_E_DEVICE_LOST) return TellLost();
    } while (!WatchEnded());
}

bool CVideoCaptureFilter::WatchEnded() {
    const MutexGuard held(watchLock);
    if (!watchEnds) watchChanged.waitFor(watchLock, watchPeriod);
    return watchEnds;
}

void CVideoCaptureFilter::EndWatch() {
    {
        const MutexGuard held(watchLock);
        watchEnds = true;
        watchChanged.notifyAll();
    }
    if (watcher.joinable()) watcher.join();
    const MutexGuard held(watchLock);
    watchEnds = false;
}

}  // namespace vexcap
