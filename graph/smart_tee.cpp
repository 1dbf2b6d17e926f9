// The tee: who gets the sample, and the thread that delivers the preview's copies.
#include "graph/smart_tee.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "base/mutex.h"
#include "graph/pin_category.h"
#include "graph/stream_control.h"

namespace vexcap {
namespace {

/// One copy is shown while the next one waits.
constexpr uint32_t previewBuffers = 2;

}  // namespace

class CSmartTee::InputPin final : public CBaseInputPin {
public:
    explicit InputPin(CSmartTee& owner) : CBaseInputPin(owner, u"Input"), tee(owner) {}
    ~InputPin() override = default;

    CBaseAllocator* Pool() const { return allocator.get(); }
    bool ReadOnly() const { return readOnlySamples; }

    HRESULT CheckMediaType(const MediaType* candidate) override;
    HRESULT NotifyAllocator(CBaseAllocator& chosen, bool readOnly) override;
    HRESULT Receive(CMediaSample& sample) override;
    HRESULT EndOfStream() override;
    HRESULT BeginFlush() override;
    HRESULT EndFlush() override;
    HRESULT NewSegment(int64_t start) override;

private:
    CSmartTee& tee;
};

/// What both outputs have in common: the input's type, a category, and the source's IMediaSeeking.
class CSmartTee::OutputPin : public CBaseOutputPin, public CPinCategory {
public:
    ~OutputPin() override = default;

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CBasePin::QueryInterface(id, out); }
    uint32_t AddRef() override { return CBasePin::AddRef(); }
    uint32_t Release() override { return CBasePin::Release(); }

    HRESULT GetMediaType(int32_t position, MediaType* out) override {
        if (!out) return E_POINTER;
        if (position < 0) return E_INVALIDARG;
        if (position > 0 || !tee.input->IsConnected()) return VFW_S_NO_MORE_ITEMS;
        *out = tee.input->CurrentMediaType();
        return S_OK;
    }
    HRESULT CheckMediaType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        return tee.input->IsConnected() && *candidate == tee.input->CurrentMediaType() ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }

protected:
    OutputPin(CSmartTee& owner, std::u16string_view pinName, const vex_guid& pinCategory)
        : CBaseOutputPin(owner, pinName), CPinCategory(pinCategory), tee(owner) {}

    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override {
        if (id == IMediaSeeking::iid) {  // the source's
            const Ref<CBasePin> upstream = tee.input->ConnectedTo();
            return upstream ? upstream->QueryInterface(id, out) : E_NOINTERFACE;
        }
        if (!(id == IKsPropertySet::iid)) return CBaseOutputPin::NonDelegatingQueryInterface(id, out);
        AddRef();
        *out = static_cast<IKsPropertySet*>(this);
        return S_OK;
    }
    HRESULT CheckConnect(CBasePin& other) override {
        return tee.input->IsConnected() ? CBaseOutputPin::CheckConnect(other) : E_UNEXPECTED;
    }

    CSmartTee& tee;
};

/// Hands on the samples of the input's pool.
class CSmartTee::CapturePin final : public OutputPin, public IAMStreamControl {
public:
    explicit CapturePin(CSmartTee& owner) : OutputPin(owner, u"Capture", PIN_CATEGORY_CAPTURE) {}
    ~CapturePin() override = default;

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CBasePin::QueryInterface(id, out); }
    uint32_t AddRef() override { return CBasePin::AddRef(); }
    uint32_t Release() override { return CBasePin::Release(); }
    HRESULT StartAt(const int64_t* start) override {
        control.StartAt(start);
        return S_OK;
    }
    HRESULT StopAt(const int64_t* stop) override {
        control.StopAt(stop);
        return S_OK;
    }

    /// Hands a sample on if the times let it through.
    HRESULT Pass(CMediaSample& sample) {
        int64_t start = 0, stop = 0;
        if (!sample.GetTime(start, stop).ok()) start = filter.StreamTime();
        return control.Passes(start) ? Deliver(sample) : S_OK;
    }
    /// The input's pool is another one now.
    HRESULT PoolChanged(CBaseInputPin& receiver) {
        const Ref<CBaseAllocator> pool(tee.input->Pool());
        if (!pool) return VFW_E_NO_ALLOCATOR;
        if (const HRESULT result = DecideBufferSize(*pool, receiver.GetAllocatorRequirements()); result < 0)
            return result;
        if (const HRESULT result = receiver.NotifyAllocator(*pool, tee.input->ReadOnly()); result < 0) return result;
        UseAllocator(pool);
        return S_OK;
    }

private:
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override {
        if (!(id == IAMStreamControl::iid)) return OutputPin::NonDelegatingQueryInterface(id, out);
        AddRef();
        *out = static_cast<IAMStreamControl*>(this);
        return S_OK;
    }
    HRESULT DecideAllocator(CBaseInputPin& receiver) override { return PoolChanged(receiver); }
    /// More buffers, if the receiver needs more than upstream chose. A pool that cannot grow serves as it is.
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override {
        AllocatorProperties properties = pool.GetProperties();
        if (wanted.buffers <= properties.buffers) return S_OK;
        properties.buffers = wanted.buffers;
        pool.SetProperties(properties).status().ignore();
        return S_OK;
    }

    StreamControl control;
};

/// Copies samples into a pool of its own, and delivers the copies on a thread of its own.
class CSmartTee::PreviewPin final : public OutputPin {
public:
    explicit PreviewPin(CSmartTee& owner) : OutputPin(owner, u"Preview", PIN_CATEGORY_PREVIEW) {}
    ~PreviewPin() override { End(); }

    // Upstream's thread: these go to the preview's thread, in order.

    /// Nothing happens when none is wanted or no buffer is free.
    void QueueCopy(const CMediaSample& sample) VEX_EXCLUDES(lock);
    void QueueSegment(int64_t start) { Queue({.segment = start}); }
    void QueueEnd() { Queue(Item{}); }
    /// The receiver has not refused a sample yet.
    bool Wanted() VEX_EXCLUDES(lock) {
        MutexGuard guard(lock);
        return wanted;
    }
    void BeginFlush() VEX_EXCLUDES(lock);
    void EndFlush() VEX_EXCLUDES(lock);
    /// The input's pool is another one now.
    HRESULT PoolChanged(CBaseInputPin& receiver) {
        return DecideBufferSize(*allocator, receiver.GetAllocatorRequirements());
    }

    HRESULT Active() override;
    HRESULT Inactive() override;

private:
    /// A sample, or a segment's start, or, with neither, the stream's end.
    struct Item {
        Ref<CMediaSample> sample = nullptr;
        std::optional<int64_t> segment = std::nullopt;
    };

    HRESULT DecideAllocator(CBaseInputPin& receiver) override;
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wantedOfPool) override;
    void Queue(Item item) VEX_EXCLUDES(lock);
    std::optional<Item> Next() VEX_EXCLUDES(lock);
    void Done(HRESULT result) VEX_EXCLUDES(lock);
    void Work();
    void End() VEX_EXCLUDES(lock);

    bool left = false;  // upstream's thread: a sample was left out since the last copy

    Mutex lock;  // never held while something is delivered
    Condition changed;
    std::vector<Item> waiting VEX_GUARDED_BY(lock);  // room for the whole pool
    bool delivering VEX_GUARDED_BY(lock) = false;
    bool wanted VEX_GUARDED_BY(lock) = true;
    bool quit VEX_GUARDED_BY(lock) = false;
    std::thread worker;
};

// Input

HRESULT CSmartTee::InputPin::CheckMediaType(const MediaType* candidate) {
    if (!candidate) return E_POINTER;
    const OutputPin* const outputs[] = {tee.capture.get(), tee.preview.get()};
    const bool fits = std::all_of(std::begin(outputs), std::end(outputs), [&](const OutputPin* pin) {
        return !pin->IsConnected() || pin->CurrentMediaType() == *candidate;
    });
    return fits ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

// An input that is connected anew has new samples for what stands behind.
HRESULT CSmartTee::InputPin::NotifyAllocator(CBaseAllocator& chosen, bool readOnly) {
    if (const HRESULT result = CBaseInputPin::NotifyAllocator(chosen, readOnly); result < 0) return result;
    if (CBaseInputPin* const receiver = tee.capture->Receiver())
        if (const HRESULT result = tee.capture->PoolChanged(*receiver); result < 0) return result;
    CBaseInputPin* const receiver = tee.preview->Receiver();
    return receiver ? tee.preview->PoolChanged(*receiver) : S_OK;
}

HRESULT CSmartTee::InputPin::Receive(CMediaSample& sample) {
    if (const HRESULT result = CheckStreaming(); result != S_OK) return result;
    if (!tee.Copies()) return tee.preview->IsConnected() ? tee.preview->Deliver(sample) : tee.capture->Pass(sample);
    // The copy goes first: the capture side may draw into the sample, or keep it waiting while paused.
    tee.preview->QueueCopy(sample);
    const HRESULT result = tee.capture->IsConnected() ? tee.capture->Pass(sample) : S_FALSE;
    return result == S_FALSE && tee.preview->Wanted() ? S_OK : result;
}

HRESULT CSmartTee::InputPin::EndOfStream() {
    if (const HRESULT result = CheckStreaming(); result != S_OK) return result;
    const HRESULT result = tee.capture->IsConnected() ? tee.capture->DeliverEndOfStream() : S_OK;
    if (tee.Copies())
        tee.preview->QueueEnd();
    else if (tee.preview->IsConnected())
        return tee.preview->DeliverEndOfStream();
    return result;
}

HRESULT CSmartTee::InputPin::BeginFlush() {
    const HRESULT result = CBaseInputPin::BeginFlush();
    if (tee.capture->IsConnected()) tee.capture->DeliverBeginFlush();
    if (tee.preview->IsConnected()) tee.preview->BeginFlush();
    return result;
}

HRESULT CSmartTee::InputPin::EndFlush() {
    if (tee.capture->IsConnected()) tee.capture->DeliverEndFlush();
    if (tee.preview->IsConnected()) tee.preview->EndFlush();
    return CBaseInputPin::EndFlush();
}

HRESULT CSmartTee::InputPin::NewSegment(int64_t start) {
    if (const HRESULT result = CBaseInputPin::NewSegment(start); result < 0) return result;
    const HRESULT result = tee.capture->IsConnected() ? tee.capture->DeliverNewSegment(start) : S_OK;
    if (tee.Copies())
        tee.preview->QueueSegment(start);
    else if (tee.preview->IsConnected())
        return tee.preview->DeliverNewSegment(start);
    return result;
}

// Preview

void CSmartTee::PreviewPin::QueueCopy(const CMediaSample& sample) {
    if (!Wanted()) return;
    const size_t bytes = sample.GetActualDataLength();
    Result<Ref<CMediaSample>> copy = GetDeliveryBuffer(AM_GBF_NOWAIT);
    if (!copy.ok() || !copy.value()->SetActualDataLength(bytes).ok()) {
        left = true;
        return;
    }
    CMediaSample& target = *copy.value();
    std::memcpy(target.GetPointer(), sample.GetPointer(), bytes);
    target.SetSyncPoint(sample.IsSyncPoint());
    target.SetDiscontinuity(sample.IsDiscontinuity() || left);
    left = false;
    Queue({.sample = std::move(copy).value()});
}

void CSmartTee::PreviewPin::Queue(Item item) {
    MutexGuard guard(lock);
    waiting.push_back(std::move(item));
    changed.notifyAll();
}

std::optional<CSmartTee::PreviewPin::Item> CSmartTee::PreviewPin::Next() {
    MutexGuard guard(lock);
    while (!quit && waiting.empty()) changed.wait(lock);
    if (quit) return std::nullopt;
    Item item = std::move(waiting.front());
    waiting.erase(waiting.begin());
    delivering = true;
    return item;
}

void CSmartTee::PreviewPin::Done(HRESULT result) {
    MutexGuard guard(lock);
    delivering = false;
    if (result != S_OK) wanted = false;
    changed.notifyAll();
}

void CSmartTee::PreviewPin::Work() {
    while (std::optional<Item> item = Next()) {
        HRESULT result = S_OK;
        if (item->sample)
            result = Deliver(*item->sample);
        else if (item->segment)
            DeliverNewSegment(*item->segment);
        else
            DeliverEndOfStream();
        item.reset();  // back in its pool before a flush may think that all is over
        Done(result);
    }
}

void CSmartTee::PreviewPin::BeginFlush() {
    DeliverBeginFlush();
    MutexGuard guard(lock);
    waiting.clear();
}

void CSmartTee::PreviewPin::EndFlush() {
    {
        MutexGuard guard(lock);
        waiting.clear();
        while (delivering) changed.wait(lock);
        wanted = true;
    }
    DeliverEndFlush();
}

HRESULT CSmartTee::PreviewPin::Active() {
    if (!IsConnected()) return S_OK;
    if (const HRESULT result = OutputPin::Active(); result < 0) return result;
    left = false;
    {
        MutexGuard guard(lock);
        waiting.reserve(allocator->GetProperties().buffers + 4);  // samples, and a segment or an end between them
        wanted = true;
        quit = false;
    }
    if (!tee.Copies()) return S_OK;
    try {
        worker = std::thread([this] { Work(); });
    } catch (const std::system_error&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT CSmartTee::PreviewPin::Inactive() {
    End();
    return IsConnected() ? OutputPin::Inactive() : S_OK;
}

void CSmartTee::PreviewPin::End() {
    {
        MutexGuard guard(lock);
        quit = true;
        changed.notifyAll();
    }
    if (worker.joinable()) worker.join();
    MutexGuard guard(lock);
    waiting.clear();
}

HRESULT CSmartTee::PreviewPin::DecideAllocator(CBaseInputPin& receiver) {
    const Ref<CBaseAllocator> pool = InitAllocator();
    if (!pool) return E_OUTOFMEMORY;
    if (const HRESULT result = DecideBufferSize(*pool, receiver.GetAllocatorRequirements()); result < 0) return result;
    if (const HRESULT result = receiver.NotifyAllocator(*pool, false); result < 0) return result;
    UseAllocator(pool);
    return S_OK;
}

HRESULT CSmartTee::PreviewPin::DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wantedOfPool) {
    CBaseAllocator* const source = tee.input->Pool();
    if (!source) return VFW_E_NO_ALLOCATOR;
    AllocatorProperties properties = source->GetProperties();
    properties.buffers = std::max(previewBuffers, wantedOfPool.buffers);
    return pool.SetProperties(properties).code();
}

// Filter

CSmartTee::CSmartTee()
    : input(std::make_unique<InputPin>(*this)),
      capture(std::make_unique<CapturePin>(*this)),
      preview(std::make_unique<PreviewPin>(*this)) {}

CSmartTee::~CSmartTee() = default;

CBasePin* CSmartTee::GetPin(size_t index) {
    switch (index) {
        case 0:
            return input.get();
        case 1:
            return capture.get();
        case 2:
            return preview.get();
        default:
            return nullptr;
    }
}

CBaseInputPin& CSmartTee::Input() { return *input; }
CBaseOutputPin& CSmartTee::Capture() { return *capture; }
CBaseOutputPin& CSmartTee::Preview() { return *preview; }

bool CSmartTee::Copies() const {
    // Samples that upstream shares with others may not be changed in place.
    return preview->IsConnected() && (capture->IsConnected() || input->ReadOnly());
}

}  // namespace vexcap
