// Renderers: filters that show samples at their time.
#pragma once

#include "graph/base_filter.h"

namespace vexcap {

class CBaseRenderer;

/// The input pin of a renderer: everything goes to the filter.
class CRendererInputPin final : public CBaseInputPin {
public:
    CRendererInputPin(CBaseRenderer& owner, std::u16string_view pinName);
    HRESULT CheckMediaType(const MediaType* candidate) override;
    HRESULT SetMediaType(const MediaType* chosen) override;
    /// Tells the graph of a failure while the filter runs: EC_ERRORABORT, once.
    HRESULT Receive(CMediaSample& sample) override;
    HRESULT EndOfStream() override;
    HRESULT BeginFlush() override;
    HRESULT EndFlush() override;
    HRESULT NewSegment(int64_t start) override;

private:
    friend class CBaseRenderer;
    CBaseRenderer& renderer;
};

/// One input pin; shows one sample at a time. A pause is complete when a sample is there, or the stream's end; a run
/// shows each sample at its start time, and at once one that has no times, and all of them where there is no clock.
/// EC_COMPLETE comes once in each run, when all is shown; the second parameter is the filter. A renderer that isn't
/// connected tells it as soon as it runs. Seeking is passed upstream.
class CBaseRenderer : public CBaseFilter, public IMediaSeeking {
public:
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }

    HRESULT Stop() override;
    /// S_FALSE while the first sample isn't there yet.
    HRESULT Pause() override;
    HRESULT Run(int64_t start) override;
    HRESULT GetState(uint32_t milliseconds, FilterState* out) override;

    // IMediaSeeking, passed upstream. E_NOTIMPL where nobody there can seek. The position is that of the last sample
    // shown.
    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CUnknown::QueryInterface(id, out); }
    uint32_t AddRef() override { return CUnknown::AddRef(); }
    uint32_t Release() override { return CUnknown::Release(); }
    HRESULT GetCapabilities(uint32_t* capabilities) override;
    HRESULT GetDuration(int64_t* duration) override;
    HRESULT GetCurrentPosition(int64_t* position) override;
    HRESULT SetPosition(int64_t position) override;

protected:
    explicit CBaseRenderer(std::u16string_view pinName);
    ~CBaseRenderer() override = default;
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;

    virtual HRESULT CheckMediaType(const MediaType* candidate) = 0;
    virtual HRESULT SetMediaType(const MediaType*) { return S_OK; }
    /// Shows a sample; both locks are held. A failure is Receive's.
    virtual HRESULT DoRenderSample(CMediaSample& sample) = 0;
    // With both locks held, too.
    /// The first sample of a pause; both locks are held. True when it was shown: it is not rendered again by the run.
    virtual bool OnReceiveFirstSample(CMediaSample&) { return false; }
    virtual void OnRenderStart(CMediaSample&) {}
    virtual void OnRenderEnd(CMediaSample&) {}

private:
    friend class CRendererInputPin;
    HRESULT Receive(CMediaSample& sample) VEX_EXCLUDES(rendererLock);
    /// Makes the sample the pending one, and gives the stretch of time that it belongs to.
    HRESULT PrepareReceive(CMediaSample& sample, uint64_t& stretch) VEX_EXCLUDES(rendererLock);
    /// False when the stretch is over.
    bool WaitForRenderTime(const CMediaSample& sample, uint64_t stretch) VEX_EXCLUDES(rendererLock, signalLock);
    HRESULT EndOfStream() VEX_EXCLUDES(rendererLock);
    HRESULT BeginFlush() VEX_EXCLUDES(rendererLock);
    HRESULT NewSegment(int64_t start);
    void EndStretch() VEX_EXCLUDES(rendererLock, signalLock);
    bool IsOver(uint64_t stretch) VEX_EXCLUDES(signalLock);
    void SetReady(bool ready) VEX_EXCLUDES(signalLock);
    void SendEndOfStream() VEX_REQUIRES(rendererLock);
    Ref<IMediaSeeking> Upstream() const;

    RecursiveMutex rendererLock VEX_ACQUIRED_AFTER(rendererRank) VEX_ACQUIRED_BEFORE(captureRank);
    CRendererInputPin pin;
    Ref<CMediaSample> pending VEX_GUARDED_BY(rendererLock);
    bool endOfStream VEX_GUARDED_BY(rendererLock) = false;
    bool endDelivered VEX_GUARDED_BY(rendererLock) = false;

    // What the streaming thread and the graph's thread tell each other. Who waits for it holds no other lock.
    Mutex signalLock VEX_ACQUIRED_AFTER(rendererLock);
    Condition signal;
    uint64_t stretches VEX_GUARDED_BY(signalLock) = 0;  // each stop and each flush ends one, and with it every wait
    bool running VEX_GUARDED_BY(signalLock) = false;    // samples may be shown
    bool stateReady VEX_GUARDED_BY(signalLock) = true;  // the change of state is complete

    std::atomic<int64_t> segmentStart{0};
    std::atomic<int64_t> shownUntil{0};  // start time of the last sample shown, within its segment
};

}  // namespace vexcap
