// The filter graph: who is in it, who is connected to whom, and running all of them together.
#pragma once

#include <vexcap/window.h>

#include <deque>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "graph/base_filter.h"
#include "graph/interfaces.h"

namespace vexcap {

/// The filters that a graph puts in by itself. Handed in by whoever makes the graph.
struct IGraphComponents {
    /// A source for a media file, with one output pin. A failure is the file's.
    virtual Result<Ref<CBaseFilter>> OpenFile(std::u16string_view path) = 0;
    /// A filter of one input and one output that turns this type of video into RGB24; null when there is none.
    virtual Ref<CBaseFilter> Converter(const MediaType& from) = 0;
    /// A multiplexer and a file writer for this type of file, not connected yet. E_NOTIMPL for another type.
    struct Output {
        Ref<CBaseFilter> mux;
        Ref<CBaseFilter> writer;  ///< Has IFileSinkFilter2.
    };
    virtual Result<Output> OpenOutput(const vex_guid& fileType) = 0;

protected:
    ~IGraphComponents() = default;
};

/// The clock that graphs run by when nobody gives another one.
IReferenceClock& systemReferenceClock();

/// Host's thread, but for events: they come from any thread, and any may fetch them. The graph holds a reference to
/// each of its filters.
class CFilterGraph final : public IGraphEvents {
public:
    explicit CFilterGraph(IGraphComponents& components, IReferenceClock& referenceClock = systemReferenceClock());
    /// Stops, disconnects and removes everything.
    ~CFilterGraph();
    CFilterGraph(const CFilterGraph&) = delete;
    CFilterGraph& operator=(const CFilterGraph&) = delete;

    // Building

    // Only while stopped: VFW_E_NOT_STOPPED. A pin of a filter that is not in here: VFW_E_NOT_IN_GRAPH.

    /// A name that is taken gets a number behind it, which is no failure. E_POINTER; E_INVALIDARG for a filter that is
    /// in here already.
    HRESULT AddFilter(const Ref<CBaseFilter>& filter, std::u16string_view name);
    /// Disconnects it first. VFW_E_NOT_IN_GRAPH.
    HRESULT RemoveFilter(CBaseFilter& filter);
    std::vector<Ref<CBaseFilter>> Filters() const;
    Ref<CBaseFilter> FindFilterByName(std::u16string_view name) const;
    /// Without anything in between. VFW_E_CANNOT_CONNECT for a connection that would lead in a circle.
    HRESULT ConnectDirect(CBaseOutputPin& output, CBaseInputPin& input, const MediaType* type = nullptr);
    /// Directly, or with a converter in between. VFW_E_CANNOT_CONNECT, VFW_E_ALREADY_CONNECTED.
    HRESULT Connect(CBaseOutputPin& output, CBaseInputPin& input);
    /// Both ends. S_FALSE for a pin that is not connected.
    HRESULT Disconnect(CBasePin& pin);
    /// Adds a source for the file and connects it to the first filter of the graph with a free input that takes it.
    /// What was added is taken out again after a failure. VFW_E_CANNOT_RENDER when no filter takes it.
    HRESULT RenderFile(std::u16string_view path);

    // Running; a failure stops the filters that had begun

    /// From stopped through paused. Stream time goes on where a pause stopped it, and begins anew after a stop or a
    /// seek. S_FALSE when a filter is still on the way (see GetState).
    HRESULT Run();
    /// As Run. What events of the stream still wait from before a stop are thrown away on leaving it, but for
    /// EC_DEVICE_LOST.
    HRESULT Pause();
    /// All filters, also after a failure of one. While a filter would not stop, another Stop tries again.
    HRESULT Stop();
    /// Lets the paused graph show the sample at the present position, and stops. It waits for the sample until the
    /// stream breaks or ten seconds are over, which is VFW_S_STATE_INTERMEDIATE.
    HRESULT StopWhenReady();
    /// Like CBaseFilter::GetState, over all filters. VFW_S_CANT_CUE without a wait when there is a live source.
    HRESULT GetState(uint32_t milliseconds, FilterState* out);

    // Events

    /// Posts `message` (wparam 0, lparam) for each event that comes, and once when one waits now. Null ends it: no
    /// message comes once it returned.
    void SetNotifyWindow(vex_window* window, uint32_t message, intptr_t lparam);
    /// The oldest event; waits for one at most `milliseconds`. VFW_E_TIMEOUT, E_POINTER. EC_COMPLETE comes once after
    /// leaving the stopped state or a seek, when all filters told it at which a connected stream ends. The pointer in
    /// an event's parameter stays good until FreeEventParams.
    HRESULT GetEvent(uint32_t* event, intptr_t* first, intptr_t* second, uint32_t milliseconds);
    HRESULT FreeEventParams(uint32_t event, intptr_t first, intptr_t second);
    /// An event of no filter in particular; filters have a way of their own. The filter in EC_DEVICE_LOST is kept
    /// alive.
    void Notify(uint32_t event, intptr_t first, intptr_t second) override;

    // Seeking, by the first renderer that can. E_NOTIMPL without one

    HRESULT GetCapabilities(uint32_t* capabilities);
    HRESULT GetDuration(int64_t* duration);
    HRESULT GetCurrentPosition(int64_t* position);
    /// In any state; a paused graph shows the new place.
    HRESULT SetPosition(int64_t position);

private:
    struct Event {
        uint32_t code;
        intptr_t first;
        intptr_t second;
    };
    /// Tells the graph which of its filters an event comes from.
    struct Member final : IGraphEvents {
        Member(CFilterGraph& owner, const Ref<CBaseFilter>& member) : graph(owner), filter(member) {}
        void Notify(uint32_t event, intptr_t first, intptr_t second) override;

        CFilterGraph& graph;
        const Ref<CBaseFilter> filter;
    };

    bool Has(const CBaseFilter& filter) const VEX_REQUIRES(lock);
    HRESULT CheckBuilding(const CBasePin& pin) const VEX_REQUIRES(lock);
    HRESULT ConnectByConverter(CBaseOutputPin& output, CBaseInputPin& input, const MediaType& type) VEX_REQUIRES(lock);
    std::vector<Ref<CBaseFilter>> DownstreamFirst() const VEX_REQUIRES(lock);
    std::vector<Ref<CBaseFilter>> Renderers() const VEX_REQUIRES(lock);
    /// Brings all filters into a state; a failure stops them.
    HRESULT Enter(FilterState next) VEX_REQUIRES(lock);
    Ref<IMediaSeeking> Seeking() const;
    /// The stream begins: nobody has told its end. Waiting events of the codes in `stale` go.
    void BeginStream(std::initializer_list<uint32_t> stale) VEX_REQUIRES(lock);
    void Queue(uint32_t event, intptr_t first, intptr_t second) VEX_REQUIRES(eventLock);
    bool StreamBroken();

    IGraphComponents& components;
    IReferenceClock& clock;
    mutable RecursiveMutex lock VEX_ACQUIRED_AFTER(graphRank) VEX_ACQUIRED_BEFORE(interfaceRank);
    std::vector<std::unique_ptr<Member>> members VEX_GUARDED_BY(lock);
    FilterState state VEX_GUARDED_BY(lock) = State_Stopped;
    int64_t pausedAt VEX_GUARDED_BY(lock) = 0;  // stream time at which a pause began
    int64_t startTime VEX_GUARDED_BY(lock) = 0;

    Mutex eventLock;  // nests in nothing
    Condition eventCame;
    std::deque<Event> events VEX_GUARDED_BY(eventLock);
    std::vector<const CBaseFilter*> playing VEX_GUARDED_BY(eventLock);  // renderers that have not told EC_COMPLETE
    bool broken VEX_GUARDED_BY(eventLock) = false;                      // EC_ERRORABORT came since the stream began
    vex_window* notifyWindow VEX_GUARDED_BY(eventLock) = nullptr;
    uint32_t notifyMessage VEX_GUARDED_BY(eventLock) = 0;
    intptr_t notifyParameter VEX_GUARDED_BY(eventLock) = 0;
};

}  // namespace vexcap
