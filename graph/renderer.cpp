// Renderers: filters that show samples at their time.
#include "graph/renderer.h"

#include <algorithm>
#include <chrono>

namespace vexcap {
namespace {

using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
constexpr std::chrono::milliseconds waitLimit{10'000};  // of one wait; it is repeated

}  // namespace

CRendererInputPin::CRendererInputPin(CBaseRenderer& owner, std::u16string_view pinName)
    : CBaseInputPin(owner, pinName), renderer(owner) {}

HRESULT CRendererInputPin::CheckMediaType(const MediaType* candidate) { return renderer.CheckMediaType(candidate); }

HRESULT CRendererInputPin::SetMediaType(const MediaType* chosen) {
    if (const HRESULT result = CBaseInputPin::SetMediaType(chosen); result < 0) return result;
    return renderer.SetMediaType(chosen);
}

HRESULT CRendererInputPin::Receive(CMediaSample& sample) {
    const HRESULT result = renderer.Receive(sample);
    if (result < 0 && result != VFW_E_WRONG_STATE) {
        RecursiveMutexGuard held(filter.interfaceLock);  // a stop or a flush is over or has not begun
        TellRunTimeError(result);
    }
    return result;
}

HRESULT CRendererInputPin::EndOfStream() { return renderer.EndOfStream(); }
HRESULT CRendererInputPin::BeginFlush() { return renderer.BeginFlush(); }

HRESULT CRendererInputPin::EndFlush() {
    RecursiveMutexGuard held(filter.interfaceLock);
    return CBaseInputPin::EndFlush();
}

HRESULT CRendererInputPin::NewSegment(int64_t start) { return renderer.NewSegment(start); }

CBaseRenderer::CBaseRenderer(std::u16string_view pinName) : pin(*this, pinName) {}

HRESULT CBaseRenderer::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (id == IMediaSeeking::iid) return give(static_cast<IMediaSeeking*>(this), out);
    return CBaseFilter::NonDelegatingQueryInterface(id, out);
}

// States

HRESULT CBaseRenderer::Stop() {
    RecursiveMutexGuard held(interfaceLock);  // no sample is being shown any more
    const HRESULT result = CBaseFilter::Stop();
    EndStretch();
    SetReady(true);
    return result;
}

HRESULT CBaseRenderer::Pause() {
    RecursiveMutexGuard held(interfaceLock);
    if (const HRESULT result = CBaseFilter::Pause(); result < 0) return result;
    RecursiveMutexGuard heldRenderer(rendererLock);
    endDelivered = false;
    const bool ready = !pin.IsConnected() || endOfStream || pending;
    MutexGuard heldSignal(signalLock);
    running = false;
    stateReady = ready;
    return ready ? S_OK : S_FALSE;
}

HRESULT CBaseRenderer::Run(int64_t start) {
    RecursiveMutexGuard held(interfaceLock);
    if (State() == State_Running) return S_OK;
    if (const HRESULT result = CBaseFilter::Run(start); result < 0) return result;
    RecursiveMutexGuard heldRenderer(rendererLock);
    {
        MutexGuard heldSignal(signalLock);
        running = true;
        stateReady = true;
        signal.notifyAll();
    }
    if (!pin.IsConnected()) endOfStream = true;
    if (!pending) SendEndOfStream();
    return S_OK;
}

HRESULT CBaseRenderer::GetState(uint32_t milliseconds, FilterState* out) {
    if (!out) return E_POINTER;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    MutexGuard held(signalLock);
    while (!stateReady) {
        const auto left = end - std::chrono::steady_clock::now();
        if (left <= left.zero()) break;
        signal.waitFor(signalLock, left);
    }
    *out = State();
    return stateReady ? S_OK : VFW_S_STATE_INTERMEDIATE;
}

void CBaseRenderer::EndStretch() {
    Ref<CMediaSample> dropped;
    RecursiveMutexGuard heldRenderer(rendererLock);
    std::swap(dropped, pending);
    endOfStream = false;
    endDelivered = false;
    MutexGuard held(signalLock);
    ++stretches;
    running = State() == State_Running;
    signal.notifyAll();
}

bool CBaseRenderer::IsOver(uint64_t stretch) {
    MutexGuard held(signalLock);
    return stretch != stretches;
}

void CBaseRenderer::SetReady(bool ready) {
    MutexGuard held(signalLock);
    stateReady = ready;
    signal.notifyAll();
}

// Samples

HRESULT CBaseRenderer::Receive(CMediaSample& sample) {
    uint64_t stretch = 0;
    const HRESULT prepared = PrepareReceive(sample, stretch);
    if (prepared == VFW_E_SAMPLE_REJECTED) return S_OK;  // this one is dropped, the stream goes on
    if (prepared != S_OK) return prepared;

    bool shown = false;
    {
        RecursiveMutexGuard held(interfaceLock);
        if (State() == State_Paused && !IsOver(stretch)) {
            RecursiveMutexGuard heldRenderer(rendererLock);
            shown = OnReceiveFirstSample(sample);
            SetReady(true);
        }
    }

    if (!WaitForRenderTime(sample, stretch)) return S_OK;

    RecursiveMutexGuard held(interfaceLock);
    if (IsStopped() || IsOver(stretch)) return S_OK;  // whoever ended the stretch has dropped the pending sample
    RecursiveMutexGuard heldRenderer(rendererLock);
    OnRenderStart(sample);
    const HRESULT result = shown ? S_OK : DoRenderSample(sample);
    OnRenderEnd(sample);
    int64_t start = 0, stop = 0;
    if (sample.GetTime(start, stop).ok()) shownUntil = start;
    pending = nullptr;
    SendEndOfStream();
    return result;
}

HRESULT CBaseRenderer::PrepareReceive(CMediaSample& sample, uint64_t& stretch) {
    RecursiveMutexGuard held(interfaceLock);
    if (const HRESULT result = pin.CheckStreaming(); result != S_OK) return result;
    RecursiveMutexGuard heldRenderer(rendererLock);
    if (endOfStream) return S_FALSE;
    if (pending) return E_UNEXPECTED;  // two threads deliver at once
    int64_t start = 0, stop = 0;
    if (sample.GetTime(start, stop).ok() && stop < start) return VFW_E_SAMPLE_REJECTED;
    pending = Ref<CMediaSample>(&sample);
    MutexGuard heldSignal(signalLock);
    stretch = stretches;
    return S_OK;
}

bool CBaseRenderer::WaitForRenderTime(const CMediaSample& sample, uint64_t stretch) {
    int64_t start = 0, stop = 0;
    const bool timed = sample.GetTime(start, stop).ok();
    MutexGuard held(signalLock);
    while (stretch == stretches) {
        Ticks limit = waitLimit;
        if (running) {
            const Ticks left(timed ? TimeUntil(start) : 0);
            if (left == left.zero()) return true;
            limit = std::min(limit, left);
        }
        signal.waitFor(signalLock, limit);
    }
    return false;
}

HRESULT CBaseRenderer::EndOfStream() {
    RecursiveMutexGuard held(interfaceLock);
    if (const HRESULT result = pin.CheckStreaming(); result != S_OK) return result;
    RecursiveMutexGuard heldRenderer(rendererLock);
    endOfStream = true;
    if (pending) return S_OK;  // told when that one is shown
    SetReady(true);
    SendEndOfStream();
    return S_OK;
}

void CBaseRenderer::SendEndOfStream() {
    if (!endOfStream || endDelivered || State() != State_Running) return;
    endDelivered = true;
    NotifyEvent(EC_COMPLETE, S_OK, reinterpret_cast<intptr_t>(static_cast<CBaseFilter*>(this)));
}

HRESULT CBaseRenderer::BeginFlush() {
    RecursiveMutexGuard held(interfaceLock);
    if (const HRESULT result = pin.CBaseInputPin::BeginFlush(); result < 0) return result;
    EndStretch();
    if (State() == State_Paused) SetReady(false);
    return S_OK;
}

HRESULT CBaseRenderer::NewSegment(int64_t start) {
    segmentStart = start;
    shownUntil = 0;
    return S_OK;
}

// Seeking

Ref<IMediaSeeking> CBaseRenderer::Upstream() const { return queryInterface<IMediaSeeking>(pin.ConnectedTo()); }

HRESULT CBaseRenderer::GetCapabilities(uint32_t* capabilities) {
    const Ref<IMediaSeeking> upstream = Upstream();
    return upstream ? upstream->GetCapabilities(capabilities) : E_NOTIMPL;
}

HRESULT CBaseRenderer::GetDuration(int64_t* duration) {
    const Ref<IMediaSeeking> upstream = Upstream();
    return upstream ? upstream->GetDuration(duration) : E_NOTIMPL;
}

HRESULT CBaseRenderer::GetCurrentPosition(int64_t* position) {
    if (!position) return E_POINTER;
    if (!Upstream()) return E_NOTIMPL;
    *position = segmentStart + shownUntil;
    return S_OK;
}

HRESULT CBaseRenderer::SetPosition(int64_t position) {
    const Ref<IMediaSeeking> upstream = Upstream();
    return upstream ? upstream->SetPosition(position) : E_NOTIMPL;
}

}  // namespace vexcap
