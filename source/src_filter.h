// The live source that is fed by a camera's callback.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "graph/pin_category.h"
#include "platform/clock.h"
#include "source/commanded_stream.h"

namespace vexcap {

/// How frames get into a source filter.
struct ISrcFilterInternal : IVexUnknown {
    static constexpr vex_guid iid = {0xF64C1D94, 0x0DDC, 0x4856, {0xA7, 0x0E, 0x38, 0x71, 0xDE, 0x1E, 0x71, 0x92}};
    /// Host's thread, before frames flow. The camera is read at once, and again whenever the media type is asked for:
    /// it stays open as long as that. Times are counted from here. E_UNEXPECTED for null, or the failure of the
    /// camera's size.
    virtual HRESULT SetCamera(ICamera* camera) = 0;
    /// A frame: 3 bytes a pixel, blue first, rows at the DIB stride. It is copied; the call never waits. One thread at
    /// a time. S_FALSE for a frame of another size, and while the filter does not run; E_NOINTERFACE without a pool;
    /// VFW_E_TIMEOUT when all buffers are in flight. A frame that is refused is lost, and counted nowhere.
    virtual HRESULT PushFrame(const void* pixels, uint32_t frameWidth, uint32_t frameHeight) = 0;

protected:
    ~ISrcFilterInternal() = default;
};

class CSrcFilter;

/// The pin "Out". One media type: RGB24, bottom-up, in the camera's size. PushFrame copies a frame into a sample, and
/// the worker hands the samples on in their order; a sample that waits is counted as in flight. When the receiver gives
/// anything but S_OK the worker rests until the filter was stopped. Numbers of bits a second that do not fit their
/// field are the largest that do.
class CPushPinSrcFilter final : public CCommandedStream,
                                public IAMStreamConfig,
                                public CPinCategory,
                                public ISrcFilterInternal {
public:
    CPushPinSrcFilter(CSrcFilter& owner, IClock& tickClock);
    ~CPushPinSrcFilter() override { CPushPinSrcFilter::Inactive(); }

    HRESULT QueryInterface(const vex_guid& id, void** out) override {
        return CCommandedStream::QueryInterface(id, out);
    }
    uint32_t AddRef() override { return CCommandedStream::AddRef(); }
    uint32_t Release() override { return CCommandedStream::Release(); }

    HRESULT GetMediaType(int32_t position, MediaType* out) override;
    /// Fixed size, RGB24, the camera's size; the format type is not looked at. E_INVALIDARG for another one.
    HRESULT CheckMediaType(const MediaType* candidate) override;
    HRESULT SetMediaType(const MediaType* chosen) override;
    HRESULT Active() override;
    /// Lets go of what waits, first of all, and ends the worker.
    HRESULT Inactive() override;

    /// Changes nothing: there is one format.
    HRESULT SetFormat(const MediaType* wanted) override;
    HRESULT GetFormat(MediaType* out) override;
    /// A count of 0, though index 0 of GetStreamCaps answers.
    HRESULT GetNumberOfCapabilities(int32_t* count, int32_t* size) override;
    /// The smallest interval is a second and the largest one the frame's: they stand that way round on purpose.
    HRESULT GetStreamCaps(int32_t index, MediaType* out, VideoStreamConfigCaps* caps) override;

    HRESULT SetCamera(ICamera* source) override;
    HRESULT PushFrame(const void* pixels, uint32_t frameWidth, uint32_t frameHeight) override;

private:
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override;
    HRESULT DoBufferProcessingLoop() override;
    MediaType Type() const;
    Ref<CMediaSample> TakeOldest() VEX_EXCLUDES(queueLock);

    IClock& clock;
    std::atomic<int64_t> streamTime{0};  // of the next frame, 100-nanosecond units; goes on over all runs
    std::atomic<uint32_t> lastTick{0};
    ICamera* camera = nullptr;  // the host's thread alone
    std::atomic<int32_t> width{0};
    std::atomic<int32_t> height{0};

    Mutex queueLock;  // nests in nothing; never held over a copy or a delivery
    std::vector<Ref<CMediaSample>> queue VEX_GUARDED_BY(queueLock);  // a ring with room for all samples of the pool
    size_t oldest VEX_GUARDED_BY(queueLock) = 0;
    size_t queued VEX_GUARDED_BY(queueLock) = 0;
    Ref<CBaseAllocator> openPool VEX_GUARDED_BY(queueLock);  // while frames are taken
};

/// Frames go in by ISrcFilterInternal and come out of one pin. A live source: it gives nothing while paused, and its
/// times are the gaps between the calls of PushFrame, a gap of more than 1.5 s counting as 1.5 s.
class CSrcFilter final : public CSource, public IAMFilterMiscFlags, public ISrcFilterInternal {
public:
    static constexpr vex_guid classId = {0x4D2B6508, 0xCD94, 0x4652, {0x87, 0xB7, 0xDD, 0x77, 0x16, 0x8C, 0xDC, 0xAF}};
    static constexpr std::u16string_view className = u"VexcapSrcFilter";

    explicit CSrcFilter(IClock& tickClock);

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CSource::QueryInterface(id, out); }
    uint32_t AddRef() override { return CSource::AddRef(); }
    uint32_t Release() override { return CSource::Release(); }

    HRESULT GetState(uint32_t milliseconds, FilterState* out) override;
    uint32_t GetMiscFlags() override { return isSource; }
    HRESULT SetCamera(ICamera* camera) override { return pin->SetCamera(camera); }
    HRESULT PushFrame(const void* pixels, uint32_t frameWidth, uint32_t frameHeight) override {
        return pin->PushFrame(pixels, frameWidth, frameHeight);
    }

private:
    ~CSrcFilter() override = default;
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;

    const std::unique_ptr<CPushPinSrcFilter> pin;
};

}  // namespace vexcap
