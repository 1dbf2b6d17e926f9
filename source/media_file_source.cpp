#include "source/media_file_source.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "base/dib.h"
#include "graph/interfaces.h"
#include "source/commanded_stream.h"

namespace vexcap {

class CMediaFileSource::OutputPin final : public CCommandedStream, public IMediaSeeking {
public:
    OutputPin(CMediaFileSource& owner, std::unique_ptr<IMediaReader> opened)
        : CCommandedStream(owner, u"Output"), reader(std::move(opened)) {}
    ~OutputPin() override { OutputPin::Inactive(); }

    HRESULT QueryInterface(const vex_guid& id, void** out) override {
        return CCommandedStream::QueryInterface(id, out);
    }
    uint32_t AddRef() override { return CCommandedStream::AddRef(); }
    uint32_t Release() override { return CCommandedStream::Release(); }

    HRESULT GetMediaType(int32_t place, MediaType* out) override;
    HRESULT CheckMediaType(const MediaType* candidate) override;
    HRESULT Active() override;

    HRESULT GetCapabilities(uint32_t* capabilities) override;
    HRESULT GetDuration(int64_t* duration) override;
    HRESULT GetCurrentPosition(int64_t* out) override { return out ? (*out = position, S_OK) : E_POINTER; }
    HRESULT SetPosition(int64_t wanted) override;

private:
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override;
    HRESULT DoBufferProcessingLoop() override;
    Status GoTo(int64_t wanted);
    size_t Bytes() const { return dibStride(reader->Info().width, 3) * reader->Info().height; }

    // The worker's while it is in its loop, else the thread's that holds the filter's lock.
    const std::unique_ptr<IMediaReader> reader;
    int64_t segment = 0;               // where times are counted from
    bool newSegment = true;            // and is not told yet
    std::atomic<int64_t> position{0};  // of the picture handed on last, or of the seek behind it
};

HRESULT CMediaFileSource::OutputPin::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (!(id == IMediaSeeking::iid)) return CCommandedStream::NonDelegatingQueryInterface(id, out);
    *out = static_cast<IMediaSeeking*>(this);
    AddRef();
    return S_OK;
}

HRESULT CMediaFileSource::OutputPin::GetMediaType(int32_t place, MediaType* out) {
    if (place < 0) return E_INVALIDARG;
    if (place > 0) return VFW_S_NO_MORE_ITEMS;
    if (!out) return E_POINTER;
    const MediaFileInfo& info = reader->Info();
    *out = rgb24Type(int32_t(info.width), int32_t(info.height), info.interval);
    return S_OK;
}

HRESULT CMediaFileSource::OutputPin::CheckMediaType(const MediaType* candidate) {
    if (!candidate) return E_POINTER;
    vex_bitmap_header bitmap = {};
    const bool fits = candidate->major == MEDIATYPE_Video && candidate->subtype == MEDIASUBTYPE_RGB24 &&
                      candidate->GetBitmapHeader(bitmap) && bitmap.biBitCount == 24 &&
                      bitmap.biWidth == int32_t(reader->Info().width) &&
                      bitmap.biHeight == int32_t(reader->Info().height);
    return fits ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CMediaFileSource::OutputPin::DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) {
    constexpr uint32_t fewest = 3;  // one on show, one that waits, one being decoded
    const Result<AllocatorProperties> got =
        pool.SetProperties({std::max(wanted.buffers, fewest), std::max(wanted.bufferBytes, Bytes())});
    if (!got.ok()) return got.code();
    return got.value().bufferBytes < Bytes() ? E_FAIL : S_OK;
}

HRESULT CMediaFileSource::OutputPin::Active() {
    const RecursiveMutexGuard held(filter.interfaceLock);
    if (!newSegment) {  // times begin anew with each run
        if (!reader->Info().seekable) {
            segment = position;
            newSegment = true;
        } else if (const Status moved = GoTo(position); !moved.ok()) {
            return moved.code();
        }
    }
    return CCommandedStream::Active();
}

Status CMediaFileSource::OutputPin::GoTo(int64_t wanted) {
    if (const Status moved = reader->Seek(wanted); !moved.ok()) return moved;
    position = segment = wanted;
    newSegment = true;
    return S_OK;
}

HRESULT CMediaFileSource::OutputPin::DoBufferProcessingLoop() {
    if (std::exchange(newSegment, false)) DeliverNewSegment(segment);
    for (;;) {
        if (StopRequested()) return S_FALSE;
        Result<Ref<CMediaSample>> free = GetDeliveryBuffer(0);
        if (!free.ok()) return S_OK;  // the pool is closed: a stop is on its way
        const Ref<CMediaSample> sample = std::move(free).value();
        MediaTimes times;
        const Status read = reader->Read({reinterpret_cast<std::byte*>(sample->GetPointer()), Bytes()}, times);
        if (!read.ok()) {
            filter.NotifyEvent(EC_ERRORABORT, read.code(), 0);
            return S_OK;
        }
        if (read == S_FALSE) {
            DeliverEndOfStream();
            return S_OK;
        }
        sample->SetActualDataLength(Bytes()).ignore();  // fits
        sample->SetTime(std::max<int64_t>(times.start - segment, 0), std::max<int64_t>(times.stop - segment, 0));
        sample->SetSyncPoint(true);
        position = times.start;
        if (Deliver(*sample) != S_OK) return S_OK;
    }
}

HRESULT CMediaFileSource::OutputPin::GetCapabilities(uint32_t* capabilities) {
    if (!capabilities) return E_POINTER;
    const MediaFileInfo& info = reader->Info();
    *capabilities = AM_SEEKING_CanGetCurrentPos;
    if (info.duration > 0) *capabilities |= AM_SEEKING_CanGetDuration;
    if (info.seekable)
        *capabilities |= AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanSeekForwards | AM_SEEKING_CanSeekBackwards |
                         AM_SEEKING_CanGetDuration;
    return S_OK;
}

HRESULT CMediaFileSource::OutputPin::GetDuration(int64_t* duration) {
    if (!duration) return E_POINTER;
    *duration = reader->Info().duration;
    return S_OK;
}

HRESULT CMediaFileSource::OutputPin::SetPosition(int64_t wanted) {
    if (!reader->Info().seekable) return E_NOTIMPL;
    if (wanted < 0) return E_INVALIDARG;
    const RecursiveMutexGuard held(filter.interfaceLock);
    if (!ThreadExists()) return GoTo(wanted).code();
    // What waits downstream gives up, so that the worker comes out of its loop.
    DeliverBeginFlush();
    const HRESULT stopped = CallWorker(CMD_STOP);
    const HRESULT moved = stopped < 0 ? stopped : GoTo(wanted).code();
    DeliverEndFlush();
    const HRESULT started = CallWorker(CMD_RUN);
    return moved < 0 ? moved : started;
}

CMediaFileSource::CMediaFileSource(std::unique_ptr<IMediaReader> reader)
    : pin(std::make_unique<OutputPin>(*this, std::move(reader))) {}

CMediaFileSource::~CMediaFileSource() = default;

}  // namespace vexcap
