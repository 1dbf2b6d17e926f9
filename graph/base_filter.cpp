// Filters and pins: states, connection, delivery.
#include "graph/base_filter.h"

#include <new>

namespace vexcap {

CBasePin::CBasePin(CBaseFilter& owner, PinDirection way, std::u16string_view pinName)
    : filter(owner), direction(way), name(pinName) {}

CBasePin::~CBasePin() { Abandon(); }  // the other end may have been disconnected alone

HRESULT CBasePin::QueryInterface(const vex_guid& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return NonDelegatingQueryInterface(iid, out);
}

HRESULT CBasePin::NonDelegatingQueryInterface(const vex_guid& iid, void** out) {
    if (!(iid == VEX_IID_UNKNOWN)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<IVexUnknown*>(this);
    return S_OK;
}

uint32_t CBasePin::AddRef() { return filter.AddRef(); }
uint32_t CBasePin::Release() { return filter.Release(); }

Ref<CBasePin> CBasePin::ConnectedTo() const { return connected.load(std::memory_order_acquire); }

HRESULT CBasePin::Disconnect() {
    const Ref<CBasePin> alive(this);  // the other end's reference to this filter may be the last one
    RecursiveMutexGuard held(filter.interfaceLock);
    if (!IsConnected()) return S_FALSE;
    if (!filter.IsStopped()) return VFW_E_NOT_STOPPED;
    const HRESULT result = BreakConnect();
    if (result < 0) return result;
    Abandon();
    return S_OK;
}

HRESULT CBasePin::GetMediaType(int32_t position, MediaType* out) {
    if (!out) return E_POINTER;
    return position < 0 ? E_INVALIDARG : VFW_S_NO_MORE_ITEMS;
}

HRESULT CBasePin::SetMediaType(const MediaType* chosen) {
    if (!chosen) return E_POINTER;
    type = *chosen;
    return S_OK;
}

HRESULT CBasePin::CheckConnect(CBasePin& other) {
    return other.direction == direction || &other.filter == &filter ? E_INVALIDARG : S_OK;
}

HRESULT CBasePin::Establish(CBasePin& other, const MediaType& chosen) {
    const HRESULT result = SetMediaType(&chosen);
    if (result < 0) return result;
    other.AddRef();
    connected.store(&other, std::memory_order_release);
    return S_OK;
}

void CBasePin::Abandon() {
    CBasePin* const other = connected.exchange(nullptr, std::memory_order_acq_rel);
    type = {};
    if (other) other->Release();
}

CBaseInputPin::CBaseInputPin(CBaseFilter& owner, std::u16string_view pinName)
    : CBasePin(owner, PinDirection::Input, pinName) {}

Result<Ref<CBaseAllocator>> CBaseInputPin::GetAllocator() { return VFW_E_NO_ALLOCATOR; }

HRESULT CBaseInputPin::NotifyAllocator(CBaseAllocator& chosen, bool readOnly) {
    allocator = Ref<CBaseAllocator>(&chosen);
    readOnlySamples = readOnly;
    return S_OK;
}

HRESULT CBaseInputPin::EndOfStream() { return S_OK; }

HRESULT CBaseInputPin::BeginFlush() {
    flushing = true;
    return S_OK;
}

HRESULT CBaseInputPin::EndFlush() {
    flushing = false;
    runTimeError = false;
    return S_OK;
}

HRESULT CBaseInputPin::NewSegment(int64_t) { return S_OK; }

HRESULT CBaseInputPin::Inactive() {
    flushing = false;
    runTimeError = false;
    if (!allocator) return VFW_E_NO_ALLOCATOR;
    allocator->Decommit();
    return S_OK;
}

HRESULT CBaseInputPin::BreakConnect() {
    allocator = nullptr;
    readOnlySamples = false;
    return S_OK;
}

HRESULT CBaseInputPin::CheckStreaming() const {
    if (!IsConnected()) return VFW_E_NOT_CONNECTED;
    if (filter.IsStopped()) return VFW_E_WRONG_STATE;
    if (flushing) return S_FALSE;
    return runTimeError ? VFW_E_RUNTIME_ERROR : S_OK;
}

void CBaseInputPin::TellRunTimeError(HRESULT code) {
    if (filter.State() != State_Running || flushing || runTimeError.exchange(true)) return;
    filter.NotifyEvent(EC_ERRORABORT, code, 0);
}

CBaseOutputPin::CBaseOutputPin(CBaseFilter& owner, std::u16string_view pinName)
    : CBasePin(owner, PinDirection::Output, pinName) {}

HRESULT CBaseOutputPin::Connect(CBaseInputPin& receiver, const MediaType* only) {
    RecursiveMutexGuard held(filter.interfaceLock);
    RecursiveMutexGuard heldThere(receiver.Filter().interfaceLock);
    if (IsConnected() || receiver.IsConnected()) return VFW_E_ALREADY_CONNECTED;
    if (!filter.IsStopped() || !receiver.Filter().IsStopped()) return VFW_E_NOT_STOPPED;
    CBasePin& other = receiver;
    if (const HRESULT result = CheckConnect(other); result < 0) return result;
    if (const HRESULT result = other.CheckConnect(*this); result < 0) return result;
    if (only) return TryType(receiver, *only);

    HRESULT failure = VFW_E_NO_ACCEPTABLE_TYPES;
    MediaType candidate;
    for (int32_t position = 0; GetMediaType(position, &candidate) == S_OK; ++position) {
        const HRESULT result = TryType(receiver, candidate);
        if (result >= 0) return S_OK;
        if (failure == VFW_E_NO_ACCEPTABLE_TYPES) failure = result;
    }
    return failure;
}

HRESULT CBaseOutputPin::TryType(CBaseInputPin& receiver, const MediaType& candidate) {
    if (CheckMediaType(&candidate) != S_OK || receiver.CheckMediaType(&candidate) != S_OK)
        return VFW_E_NO_ACCEPTABLE_TYPES;
    CBasePin& other = receiver;
    HRESULT result = Establish(other, candidate);
    if (result >= 0) result = other.Establish(*this, candidate);
    // The receiver first: when the pool is agreed on, its side of the connection stands.
    if (result >= 0) result = other.CompleteConnect(*this);
    if (result >= 0) result = CompleteConnect(other);
    if (result >= 0) return S_OK;
    BreakConnect();
    other.BreakConnect();
    Abandon();
    other.Abandon();
    return result;
}

CBaseInputPin* CBaseOutputPin::Receiver() const {
    return static_cast<CBaseInputPin*>(connected.load(std::memory_order_acquire));
}

HRESULT CBaseOutputPin::CompleteConnect(CBasePin& other) { return DecideAllocator(static_cast<CBaseInputPin&>(other)); }

HRESULT CBaseOutputPin::BreakConnect() {
    UseAllocator(nullptr);
    return S_OK;
}

HRESULT CBaseOutputPin::DecideAllocator(CBaseInputPin& receiver) {
    const AllocatorProperties wanted = receiver.GetAllocatorRequirements();
    if (const Result<Ref<CBaseAllocator>> brought = receiver.GetAllocator(); brought.ok()) {
        CBaseAllocator& pool = *brought.value();
        if (DecideBufferSize(pool, wanted) >= 0 && receiver.NotifyAllocator(pool, false) >= 0) {
            UseAllocator(brought.value());
            return S_OK;
        }
    }
    Ref<CBaseAllocator> own = InitAllocator();
    if (!own) return E_OUTOFMEMORY;
    if (const HRESULT result = DecideBufferSize(*own, wanted); result < 0) return result;
    if (const HRESULT result = receiver.NotifyAllocator(*own, false); result < 0) return result;
    UseAllocator(std::move(own));
    return S_OK;
}

Ref<CBaseAllocator> CBaseOutputPin::InitAllocator() {
    return Ref<CBaseAllocator>::adopt(new (std::nothrow) CMemAllocator);
}

void CBaseOutputPin::UseAllocator(Ref<CBaseAllocator> chosen) {
    MutexGuard held(allocatorLock);
    std::swap(allocator, chosen);  // the old one is released outside the lock
}

Result<Ref<CMediaSample>> CBaseOutputPin::GetDeliveryBuffer(uint32_t flags) {
    Ref<CBaseAllocator> pool;
    {
        MutexGuard held(allocatorLock);
        pool = allocator;
    }
    if (!pool) return VFW_E_NO_ALLOCATOR;
    return pool->GetBuffer(flags);
}

HRESULT CBaseOutputPin::Deliver(CMediaSample& sample) {
    CBaseInputPin* const receiver = Receiver();
    return receiver ? receiver->Receive(sample) : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverEndOfStream() {
    CBaseInputPin* const receiver = Receiver();
    return receiver ? receiver->EndOfStream() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverBeginFlush() {
    CBaseInputPin* const receiver = Receiver();
    return receiver ? receiver->BeginFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverEndFlush() {
    CBaseInputPin* const receiver = Receiver();
    return receiver ? receiver->EndFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverNewSegment(int64_t start) {
    CBaseInputPin* const receiver = Receiver();
    return receiver ? receiver->NewSegment(start) : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::Active() { return allocator ? allocator->Commit().code() : VFW_E_NO_ALLOCATOR; }

HRESULT CBaseOutputPin::Inactive() {
    if (!allocator) return VFW_E_NO_ALLOCATOR;
    allocator->Decommit();
    return S_OK;
}

HRESULT CBaseFilter::Stop() {
    RecursiveMutexGuard held(interfaceLock);
    if (IsStopped()) return S_OK;
    state = State_Stopped;  // first: what comes from now on is refused, and no failure of it is the stream's
    HRESULT result = S_OK;
    for (size_t i = 0; CBasePin* const pin = GetPin(i); ++i) {
        if (!pin->IsConnected()) continue;
        if (const HRESULT failure = pin->Inactive(); failure < 0 && result >= 0) result = failure;
    }
    return result;
}

HRESULT CBaseFilter::Pause() {
    RecursiveMutexGuard held(interfaceLock);
    if (IsStopped()) {
        for (size_t i = 0; CBasePin* const pin = GetPin(i); ++i) {
            if (!pin->IsConnected()) continue;
            const HRESULT failure = pin->Active();
            if (failure >= 0) continue;
            for (size_t begun = 0; begun <= i; ++begun)
                if (CBasePin* const undone = GetPin(begun); undone->IsConnected()) undone->Inactive();
            return failure;
        }
    }
    state = State_Paused;
    return S_OK;
}

HRESULT CBaseFilter::Run(int64_t start) {
    RecursiveMutexGuard held(interfaceLock);
    {
        MutexGuard heldClock(clockLock);
        startTime = start;
    }
    if (IsStopped())
        if (const HRESULT result = Pause(); result < 0) return result;
    if (State() != State_Running) {
        for (size_t i = 0; CBasePin* const pin = GetPin(i); ++i) {
            if (!pin->IsConnected()) continue;
            if (const HRESULT result = pin->Run(start); result < 0) return result;
        }
    }
    state = State_Running;
    return S_OK;
}

HRESULT CBaseFilter::GetState(uint32_t, FilterState* out) {
    if (!out) return E_POINTER;
    *out = State();
    return S_OK;
}

HRESULT CBaseFilter::JoinFilterGraph(IGraphEvents* events, std::u16string_view nameInGraph) {
    MutexGuard held(graphLock);
    graph = events;
    name = nameInGraph;
    return S_OK;
}

void CBaseFilter::SetSyncSource(IReferenceClock* newClock) {
    MutexGuard held(clockLock);
    clock = newClock;
}

std::u16string CBaseFilter::Name() {
    MutexGuard held(graphLock);
    return name;
}

int64_t CBaseFilter::StreamTime() {
    MutexGuard held(clockLock);
    return clock && State() == State_Running ? clock->GetTime() - startTime : 0;
}

int64_t CBaseFilter::TimeUntil(int64_t streamTime) {
    MutexGuard held(clockLock);
    if (!clock) return 0;
    const int64_t now = clock->GetTime() - startTime;
    return streamTime > now ? streamTime - now : 0;
}

HRESULT CBaseFilter::NotifyEvent(uint32_t event, intptr_t first, intptr_t second) {
    MutexGuard held(graphLock);
    if (!graph) return VFW_E_NOT_IN_GRAPH;
    graph->Notify(event, first, second);
    return S_OK;
}

}  // namespace vexcap
