// The filter graph: building, running all filters together, events, seeking.
#include "graph/filter_graph.h"

#include <algorithm>
#include <chrono>

namespace vexcap {
namespace {

/// How long StopWhenReady waits for a sample.
constexpr std::chrono::seconds readyLimit{10};
/// How often it looks whether the stream broke.
constexpr uint32_t readyStepMs = 50;

class SystemReferenceClock final : public IReferenceClock {
public:
    int64_t GetTime() override {
        using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
        return std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
};

std::u16string numbered(std::u16string_view name, uint32_t number) {
    std::u16string result(name);
    result += u' ';
    for (const char digit : std::to_string(number)) result += char16_t(digit);
    return result;
}

CBasePin* firstPin(CBaseFilter& filter, PinDirection direction) {
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i)
        if (pin->Direction() == direction) return pin;
    return nullptr;
}

CBaseInputPin* firstInput(CBaseFilter& filter) {
    return static_cast<CBaseInputPin*>(firstPin(filter, PinDirection::Input));
}

CBaseOutputPin* firstOutput(CBaseFilter& filter) {
    return static_cast<CBaseOutputPin*>(firstPin(filter, PinDirection::Output));
}

/// A stream ends at a filter that takes one and hands none on.
bool isRenderer(CBaseFilter& filter) {
    bool takes = false, hands = false, canHand = false;
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i) {
        if (pin->Direction() == PinDirection::Input) {
            takes = takes || pin->IsConnected();
        } else {
            hands = hands || pin->IsConnected();
            canHand = true;
        }
    }
    if (!takes || hands) return false;
    if (!canHand) return true;
    // A transform that leads nowhere shows nothing, so it never tells an end.
    const auto flags = queryInterface<IAMFilterMiscFlags>(&filter);
    return flags && (flags->GetMiscFlags() & IAMFilterMiscFlags::isRenderer);
}

void appendDownstreamFirst(CBaseFilter& filter, std::vector<CBaseFilter*>& order) {
    if (std::find(order.begin(), order.end(), &filter) != order.end()) return;
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i) {
        if (pin->Direction() != PinDirection::Output) continue;
        if (const Ref<CBasePin> next = pin->ConnectedTo()) appendDownstreamFirst(next->Filter(), order);
    }
    order.push_back(&filter);
}

HRESULT disconnectBoth(CBasePin& pin) {
    const Ref<CBasePin> other = pin.ConnectedTo();
    if (!other) return S_FALSE;
    if (const HRESULT result = other->Disconnect(); result < 0) return result;
    return pin.Disconnect();
}

HRESULT disconnectAll(CBaseFilter& filter) {
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i)
        if (const HRESULT result = disconnectBoth(*pin); result < 0) return result;
    return S_OK;
}

}  // namespace

IReferenceClock& systemReferenceClock() {
    static SystemReferenceClock clock;
    return clock;
}

CFilterGraph::CFilterGraph(IGraphComponents& parts, IReferenceClock& referenceClock)
    : components(parts), clock(referenceClock) {}

CFilterGraph::~CFilterGraph() {
    SetNotifyWindow(nullptr, 0, 0);
    Stop();
    for (const Ref<CBaseFilter>& filter : Filters()) RemoveFilter(*filter);
    std::deque<Event> left;
    {
        MutexGuard guard(eventLock);
        left.swap(events);
    }
    for (const Event& event : left) FreeEventParams(event.code, event.first, event.second);
}

// Building

bool CFilterGraph::Has(const CBaseFilter& filter) const {
    return std::any_of(members.begin(), members.end(),
                       [&](const auto& member) { return member->filter.get() == &filter; });
}

HRESULT CFilterGraph::CheckBuilding(const CBasePin& pin) const {
    if (state != State_Stopped) return VFW_E_NOT_STOPPED;
    return Has(pin.Filter()) ? S_OK : VFW_E_NOT_IN_GRAPH;
}

HRESULT CFilterGraph::AddFilter(const Ref<CBaseFilter>& filter, std::u16string_view name) {
    if (!filter) return E_POINTER;
    RecursiveMutexGuard guard(lock);
    if (state != State_Stopped) return VFW_E_NOT_STOPPED;
    if (Has(*filter)) return E_INVALIDARG;
    std::u16string free(name);
    for (uint32_t number = 2; FindFilterByName(free); ++number) free = numbered(name, number);
    auto member = std::make_unique<Member>(*this, filter);
    if (const HRESULT result = filter->JoinFilterGraph(member.get(), free); result < 0) return result;
    filter->SetSyncSource(&clock);
    members.push_back(std::move(member));
    return S_OK;
}

HRESULT CFilterGraph::RemoveFilter(CBaseFilter& filter) {
    RecursiveMutexGuard guard(lock);
    if (state != State_Stopped) return VFW_E_NOT_STOPPED;
    const auto place = std::find_if(members.begin(), members.end(),
                                    [&](const auto& member) { return member->filter.get() == &filter; });
    if (place == members.end()) return VFW_E_NOT_IN_GRAPH;
    if (const HRESULT result = disconnectAll(filter); result < 0) return result;
    filter.SetSyncSource(nullptr);
    if (const HRESULT result = filter.JoinFilterGraph(nullptr, {}); result < 0) return result;
    members.erase(place);
    return S_OK;
}

std::vector<Ref<CBaseFilter>> CFilterGraph::Filters() const {
    RecursiveMutexGuard guard(lock);
    std::vector<Ref<CBaseFilter>> result;
    for (const auto& member : members) result.push_back(member->filter);
    return result;
}

Ref<CBaseFilter> CFilterGraph::FindFilterByName(std::u16string_view name) const {
    RecursiveMutexGuard guard(lock);
    for (const auto& member : members)
        if (member->filter->Name() == name) return member->filter;
    return nullptr;
}

HRESULT CFilterGraph::ConnectDirect(CBaseOutputPin& output, CBaseInputPin& input, const MediaType* type) {
    RecursiveMutexGuard guard(lock);
    if (const HRESULT result = CheckBuilding(output); result < 0) return result;
    if (const HRESULT result = CheckBuilding(input); result < 0) return result;
    std::vector<CBaseFilter*> behind;
    appendDownstreamFirst(input.Filter(), behind);
    if (std::find(behind.begin(), behind.end(), &output.Filter()) != behind.end()) return VFW_E_CANNOT_CONNECT;
    return output.Connect(input, type);
}

HRESULT CFilterGraph::Connect(CBaseOutputPin& output, CBaseInputPin& input) {
    RecursiveMutexGuard guard(lock);
    const HRESULT direct = ConnectDirect(output, input);
    if (direct >= 0 || direct == VFW_E_NOT_STOPPED || direct == VFW_E_NOT_IN_GRAPH) return direct;
    if (output.IsConnected() || input.IsConnected()) return VFW_E_ALREADY_CONNECTED;
    MediaType type;
    for (int32_t i = 0; output.GetMediaType(i, &type) == S_OK; ++i)
        if (ConnectByConverter(output, input, type) >= 0) return S_OK;
    return VFW_E_CANNOT_CONNECT;
}

HRESULT CFilterGraph::ConnectByConverter(CBaseOutputPin& output, CBaseInputPin& input, const MediaType& type) {
    const Ref<CBaseFilter> converter = components.Converter(type);
    if (!converter) return VFW_E_CANNOT_CONNECT;
    if (const HRESULT result = AddFilter(converter, u"Converter"); result < 0) return result;
    CBaseInputPin* const entry = firstInput(*converter);
    CBaseOutputPin* const exit = firstOutput(*converter);
    HRESULT result = entry && exit ? ConnectDirect(output, *entry, &type) : E_UNEXPECTED;
    if (result >= 0) result = ConnectDirect(*exit, input);
    if (result < 0) RemoveFilter(*converter);
    return result;
}

HRESULT CFilterGraph::Disconnect(CBasePin& pin) {
    RecursiveMutexGuard guard(lock);
    const HRESULT result = CheckBuilding(pin);
    return result < 0 ? result : disconnectBoth(pin);
}

HRESULT CFilterGraph::RenderFile(std::u16string_view path) {
    RecursiveMutexGuard guard(lock);
    if (state != State_Stopped) return VFW_E_NOT_STOPPED;
    const std::vector<Ref<CBaseFilter>> takers = Filters();
    const Result<Ref<CBaseFilter>> source = components.OpenFile(path);
    if (!source.ok()) return source.code();
    if (const HRESULT result = AddFilter(source.value(), path); result < 0) return result;
    if (CBaseOutputPin* const output = firstOutput(*source.value())) {
        for (const Ref<CBaseFilter>& taker : takers) {
            for (size_t i = 0; CBasePin* const pin = taker->GetPin(i); ++i) {
                if (pin->Direction() != PinDirection::Input || pin->IsConnected()) continue;
                if (Connect(*output, static_cast<CBaseInputPin&>(*pin)) >= 0) return S_OK;
            }
        }
    }
    RemoveFilter(*source.value());
    return VFW_E_CANNOT_RENDER;
}

// Running

std::vector<Ref<CBaseFilter>> CFilterGraph::DownstreamFirst() const {
    std::vector<CBaseFilter*> order;
    for (const auto& member : members) appendDownstreamFirst(*member->filter, order);
    std::vector<Ref<CBaseFilter>> result;
    for (CBaseFilter* const filter : order)
        if (Has(*filter)) result.emplace_back(filter);
    return result;
}

std::vector<Ref<CBaseFilter>> CFilterGraph::Renderers() const {
    std::vector<Ref<CBaseFilter>> result = Filters();
    std::erase_if(result, [](const Ref<CBaseFilter>& filter) { return !isRenderer(*filter); });
    return result;
}

// Receivers come first: they are ready before a source gives a sample, and a sample that waits in a receiver goes on
// before the source is asked to change, which waits for its thread.
HRESULT CFilterGraph::Enter(FilterState next) {
    HRESULT all = S_OK;
    for (const Ref<CBaseFilter>& filter : DownstreamFirst()) {
        const HRESULT result = next == State_Running ? filter->Run(startTime) : filter->Pause();
        if (result < 0) {
            state = next;  // or Stop takes the graph for one that never began
            Stop();
            return result;
        }
        if (result != S_OK) all = S_FALSE;
    }
    state = next;
    return all;
}

HRESULT CFilterGraph::Pause() {
    RecursiveMutexGuard guard(lock);
    if (state == State_Paused) return S_OK;
    if (state == State_Running)
        pausedAt = clock.GetTime() - startTime;
    else
        BeginStream({EC_COMPLETE, EC_ERRORABORT, EC_VIDEO_SIZE_CHANGED});
    return Enter(State_Paused);
}

HRESULT CFilterGraph::Run() {
    RecursiveMutexGuard guard(lock);
    if (state == State_Running) return S_OK;
    if (const HRESULT result = Pause(); result < 0) return result;
    startTime = clock.GetTime() - pausedAt;
    return Enter(State_Running);
}

HRESULT CFilterGraph::Stop() {
    RecursiveMutexGuard guard(lock);
    if (state == State_Stopped) return S_OK;
    HRESULT first = S_OK;
    bool stopped = true;
    for (const Ref<CBaseFilter>& filter : DownstreamFirst()) {
        const HRESULT result = filter->Stop();
        if (result < 0 && first >= 0) first = result;
        stopped = stopped && filter->IsStopped();
    }
    pausedAt = 0;
    if (stopped) state = State_Stopped;
    return first;
}

HRESULT CFilterGraph::StopWhenReady() {
    RecursiveMutexGuard guard(lock);
    HRESULT result = Pause();
    if (result < 0) return result;
    const auto deadline = std::chrono::steady_clock::now() + readyLimit;
    FilterState ignored;
    do {
        result = GetState(readyStepMs, &ignored);
    } while (result == VFW_S_STATE_INTERMEDIATE && !StreamBroken() && std::chrono::steady_clock::now() < deadline);
    const HRESULT stopped = Stop();
    if (stopped < 0) return stopped;
    return result < 0 || result == VFW_S_STATE_INTERMEDIATE ? result : S_OK;
}

HRESULT CFilterGraph::GetState(uint32_t milliseconds, FilterState* out) {
    if (!out) return E_POINTER;
    std::vector<Ref<CBaseFilter>> order;
    {
        RecursiveMutexGuard guard(lock);
        *out = state;
        order = DownstreamFirst();
    }
    // At first without a wait: what a live source holds back while paused is waited for in vain downstream.
    FilterState ignored;
    HRESULT all = S_OK;
    for (const Ref<CBaseFilter>& filter : order) {
        const HRESULT result = filter->GetState(0, &ignored);
        if (result < 0) return result;
        if (result == VFW_S_CANT_CUE || all == S_OK) all = result;
    }
    if (all != VFW_S_STATE_INTERMEDIATE) return all;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (const Ref<CBaseFilter>& filter : order) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        const HRESULT result = filter->GetState(uint32_t(std::max<int64_t>(left.count(), 0)), &ignored);
        if (result != S_OK) return result;
    }
    return S_OK;
}

// Events

void CFilterGraph::Member::Notify(uint32_t event, intptr_t first, intptr_t second) {
    MutexGuard guard(graph.eventLock);
    if (event == EC_COMPLETE) {
        const bool known = std::erase(graph.playing, filter.get()) > 0;
        if (!known || !graph.playing.empty()) return;
    }
    graph.Queue(event, first, second);
}

void CFilterGraph::Notify(uint32_t event, intptr_t first, intptr_t second) {
    MutexGuard guard(eventLock);
    Queue(event, first, second);
}

void CFilterGraph::Queue(uint32_t event, intptr_t first, intptr_t second) {
    if (event == EC_DEVICE_LOST && first) reinterpret_cast<IVexUnknown*>(first)->AddRef();
    if (event == EC_ERRORABORT) broken = true;
    events.push_back({event, first, second});
    eventCame.notifyAll();
    // Under the lock, so that a window that was taken away gets nothing any more.
    if (notifyWindow) notifyWindow->post(notifyWindow, notifyMessage, 0, notifyParameter);
}

void CFilterGraph::BeginStream(std::initializer_list<uint32_t> stale) {
    const std::vector<Ref<CBaseFilter>> renderers = Renderers();
    MutexGuard guard(eventLock);
    playing.clear();
    for (const Ref<CBaseFilter>& renderer : renderers) playing.push_back(renderer.get());
    broken = false;
    std::erase_if(events,
                  [&](const Event& event) { return std::find(stale.begin(), stale.end(), event.code) != stale.end(); });
}

bool CFilterGraph::StreamBroken() {
    MutexGuard guard(eventLock);
    return broken;
}

void CFilterGraph::SetNotifyWindow(vex_window* window, uint32_t message, intptr_t lparam) {
    MutexGuard guard(eventLock);
    notifyWindow = window;
    notifyMessage = message;
    notifyParameter = lparam;
    if (window && !events.empty()) window->post(window, message, 0, lparam);
}

HRESULT CFilterGraph::GetEvent(uint32_t* event, intptr_t* first, intptr_t* second, uint32_t milliseconds) {
    if (!event || !first || !second) return E_POINTER;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    MutexGuard guard(eventLock);
    while (events.empty()) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= left.zero()) return VFW_E_TIMEOUT;
        eventCame.waitFor(eventLock, left);
    }
    *event = events.front().code;
    *first = events.front().first;
    *second = events.front().second;
    events.pop_front();
    return S_OK;
}

HRESULT CFilterGraph::FreeEventParams(uint32_t event, intptr_t first, intptr_t) {
    if (event == EC_DEVICE_LOST && first) reinterpret_cast<IVexUnknown*>(first)->Release();
    return S_OK;
}

// Seeking

Ref<IMediaSeeking> CFilterGraph::Seeking() const {
    RecursiveMutexGuard guard(lock);
    for (const Ref<CBaseFilter>& renderer : Renderers()) {
        auto seeking = queryInterface<IMediaSeeking>(renderer);
        uint32_t capabilities = 0;
        if (seeking && seeking->GetCapabilities(&capabilities) >= 0) return seeking;
    }
    return nullptr;
}

HRESULT CFilterGraph::GetCapabilities(uint32_t* capabilities) {
    if (!capabilities) return E_POINTER;
    const Ref<IMediaSeeking> seeking = Seeking();
    return seeking ? seeking->GetCapabilities(capabilities) : E_NOTIMPL;
}

HRESULT CFilterGraph::GetDuration(int64_t* duration) {
    if (!duration) return E_POINTER;
    const Ref<IMediaSeeking> seeking = Seeking();
    return seeking ? seeking->GetDuration(duration) : E_NOTIMPL;
}

HRESULT CFilterGraph::GetCurrentPosition(int64_t* position) {
    if (!position) return E_POINTER;
    const Ref<IMediaSeeking> seeking = Seeking();
    return seeking ? seeking->GetCurrentPosition(position) : E_NOTIMPL;
}

HRESULT CFilterGraph::SetPosition(int64_t position) {
    RecursiveMutexGuard guard(lock);
    const Ref<IMediaSeeking> seeking = Seeking();
    if (!seeking) return E_NOTIMPL;
    // The times of the new place begin at 0, so no renderer may run by the old start meanwhile.
    const bool runs = state == State_Running;
    if (runs)
        if (const HRESULT result = Pause(); result < 0) return result;
    const HRESULT result = seeking->SetPosition(position);
    if (result >= 0) {
        pausedAt = 0;
        BeginStream({EC_COMPLETE});
    }
    if (runs)
        if (const HRESULT ran = Run(); ran < 0) return ran;
    return result;
}

}  // namespace vexcap
