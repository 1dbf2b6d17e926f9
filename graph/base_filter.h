// Filters and pins: states, connection, delivery. The order of their locks: base/lock_order.h.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/lock_order.h"
#include "graph/interfaces.h"
#include "graph/sample.h"

namespace vexcap {

class CBaseFilter;
class CBaseInputPin;

enum FilterState { State_Stopped = 0, State_Paused = 1, State_Running = 2 };
enum class PinDirection { Input, Output };

/// The time that a graph runs by: a steady clock, 100-nanosecond units. Any thread.
struct IReferenceClock {
    virtual ~IReferenceClock() = default;
    virtual int64_t GetTime() = 0;
};

/// What a graph hears of its filters. Any thread, with locks of the filter held: never waits, never calls back.
struct IGraphEvents {
    virtual void Notify(uint32_t event, intptr_t first, intptr_t second) = 0;

protected:
    ~IGraphEvents() = default;
};

/// One end of a connection. It lives as long as its filter: references count there. Connecting and disconnecting are
/// the host's thread's, with the filter stopped. Two connected filters hold each other: they live until one of the two
/// ends is disconnected, which is the graph's to do before it lets go of them.
class CBasePin : public IVexUnknown {
public:
    CBasePin(const CBasePin&) = delete;
    CBasePin& operator=(const CBasePin&) = delete;

    HRESULT QueryInterface(const vex_guid& iid, void** out) override;
    uint32_t AddRef() override;
    uint32_t Release() override;

    CBaseFilter& Filter() const { return filter; }
    PinDirection Direction() const { return direction; }
    const std::u16string& Name() const { return name; }
    /// The pin at the other end, or null.
    Ref<CBasePin> ConnectedTo() const;
    bool IsConnected() const { return connected.load(std::memory_order_acquire) != nullptr; }
    /// Of the connection. Changes only while the filter is stopped.
    const MediaType& CurrentMediaType() const { return type; }

    /// Breaks this end alone; the other end needs a call of its own. S_FALSE when it is not connected,
    /// VFW_E_NOT_STOPPED unless the filter is stopped.
    HRESULT Disconnect();

    /// Preferred types in their order. S_OK, VFW_S_NO_MORE_ITEMS behind the last, E_INVALIDARG before the first,
    /// E_POINTER. The usual pin prefers none.
    virtual HRESULT GetMediaType(int32_t position, MediaType* out);
    virtual HRESULT CheckMediaType(const MediaType* candidate) = 0;
    /// Stores the type of a connection that is being made.
    virtual HRESULT SetMediaType(const MediaType* chosen);

    /// First departure from stopped, and return to it.
    virtual HRESULT Active() { return S_OK; }
    virtual HRESULT Inactive() { return S_OK; }
    virtual HRESULT Run(int64_t) { return S_OK; }

protected:
    CBasePin(CBaseFilter& owner, PinDirection way, std::u16string_view pinName);
    virtual ~CBasePin();

    virtual HRESULT NonDelegatingQueryInterface(const vex_guid& iid, void** out);
    // The steps of a connection, the host's thread's, with the interface locks of both filters held.

    /// May the two be connected at all? Takes nothing. E_INVALIDARG for two pins of one direction or of one filter.
    virtual HRESULT CheckConnect(CBasePin& other);
    /// Both ends know each other and the type. A failure undoes the connection.
    virtual HRESULT CompleteConnect(CBasePin&) { return S_OK; }
    /// Gives up what the connection, or the attempt at one, has taken.
    virtual HRESULT BreakConnect() { return S_OK; }

    CBaseFilter& filter;
    const PinDirection direction;
    const std::u16string name;
    MediaType type;

private:
    friend class CBaseOutputPin;
    HRESULT Establish(CBasePin& other, const MediaType& chosen);
    void Abandon();

    std::atomic<CBasePin*> connected{nullptr};  // each end keeps the other's filter alive
};

class CBaseInputPin : public CBasePin {
public:
    /// The pool that this pin brings along; VFW_E_NO_ALLOCATOR for none.
    virtual Result<Ref<CBaseAllocator>> GetAllocator();
    /// The pool that was agreed on. `readOnly`: its samples belong to several readers.
    virtual HRESULT NotifyAllocator(CBaseAllocator& chosen, bool readOnly);
    /// What this pin needs of a pool; zeros for no wish.
    virtual AllocatorProperties GetAllocatorRequirements() { return {}; }

    /// A sample arrives, on the upstream's thread. S_OK; S_FALSE when none is wanted any more (stopped, flushing, end
    /// of stream); else a failure.
    virtual HRESULT Receive(CMediaSample& sample) = 0;
    /// Upstream's thread: no sample comes any more.
    virtual HRESULT EndOfStream();
    /// Any thread: what waits in here gives up, and samples are refused until EndFlush.
    virtual HRESULT BeginFlush();
    virtual HRESULT EndFlush();
    /// Times of the samples to come begin at `start` of the source.
    virtual HRESULT NewSegment(int64_t start);

    HRESULT Inactive() override;

protected:
    CBaseInputPin(CBaseFilter& owner, std::u16string_view pinName);
    HRESULT BreakConnect() override;
    /// S_OK, or what Receive is to return: VFW_E_NOT_CONNECTED, VFW_E_WRONG_STATE when stopped, S_FALSE while flushing,
    /// VFW_E_RUNTIME_ERROR after TellRunTimeError.
    HRESULT CheckStreaming() const;
    /// The stream broke in this pin, with this code: tells the graph EC_ERRORABORT while the filter runs, once. Samples
    /// are refused until the next start or flush. Streaming thread.
    void TellRunTimeError(HRESULT code);

    Ref<CBaseAllocator> allocator;
    bool readOnlySamples = false;
    std::atomic<bool> flushing{false};
    std::atomic<bool> runTimeError{false};
};

class CBaseOutputPin : public CBasePin {
public:
    /// Agrees with `receiver` on a type, in the order of GetMediaType, and on a pool. Host's thread. `only` limits the
    /// choice to one type; null tries all. VFW_E_NO_ACCEPTABLE_TYPES, VFW_E_ALREADY_CONNECTED, VFW_E_NOT_STOPPED, what
    /// CheckConnect says, or the failure of the first type that both sides take (a pool's, for one) when no later type
    /// does better. After a failure both ends are as before.
    HRESULT Connect(CBaseInputPin& receiver, const MediaType* only = nullptr);

    CBaseInputPin* Receiver() const;

    /// A free sample, see CBaseAllocator::GetBuffer. Any thread, in any state. VFW_E_NO_ALLOCATOR without a pool.
    Result<Ref<CMediaSample>> GetDeliveryBuffer(uint32_t flags);
    /// Hands a sample on. VFW_E_NOT_CONNECTED without a receiver.
    virtual HRESULT Deliver(CMediaSample& sample);
    virtual HRESULT DeliverEndOfStream();
    virtual HRESULT DeliverBeginFlush();
    virtual HRESULT DeliverEndFlush();
    virtual HRESULT DeliverNewSegment(int64_t start);

    HRESULT Active() override;
    HRESULT Inactive() override;

protected:
    CBaseOutputPin(CBaseFilter& owner, std::u16string_view pinName);
    HRESULT CompleteConnect(CBasePin& other) override;
    HRESULT BreakConnect() override;
    /// Takes the receiver's pool when it has one and DecideBufferSize accepts it, else makes its own.
    virtual HRESULT DecideAllocator(CBaseInputPin& receiver);
    /// Sets count and size of the buffers on the pool, and checks what it got.
    virtual HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) = 0;
    /// A pool of its own; null when there is no memory.
    virtual Ref<CBaseAllocator> InitAllocator();
    /// Sets `allocator`, which others may be taking samples of at this moment.
    void UseAllocator(Ref<CBaseAllocator> chosen) VEX_EXCLUDES(allocatorLock);

    Ref<CBaseAllocator> allocator;  // the host's thread changes it, by UseAllocator

private:
    HRESULT TryType(CBaseInputPin& receiver, const MediaType& candidate);

    Mutex allocatorLock;  // nests in nothing
};

/// A filter: pins, a state, a clock. Stop, Pause and Run are the graph's.
class CBaseFilter : public CUnknown {
public:
    virtual size_t GetPinCount() = 0;
    /// Null behind the last.
    virtual CBasePin* GetPin(size_t index) = 0;

    /// Stopped from the first moment on, for whoever asks; then each connected pin's Inactive. Gives the first failure
    /// and is stopped all the same.
    virtual HRESULT Stop();
    /// When stopped: each connected pin's Active, then paused. A failure leaves it stopped.
    virtual HRESULT Pause();
    /// `start`: the clock's time at which stream time is 0. Goes through Pause when stopped.
    virtual HRESULT Run(int64_t start);
    /// Waits for a change that is under way, at most `milliseconds`. VFW_S_STATE_INTERMEDIATE while it lasts,
    /// VFW_S_CANT_CUE for a paused live source; E_POINTER.
    virtual HRESULT GetState(uint32_t milliseconds, FilterState* out);

    /// The graph that this filter is in; null takes it out, and no event comes afterwards. Host's thread.
    virtual HRESULT JoinFilterGraph(IGraphEvents* events, std::u16string_view nameInGraph) VEX_EXCLUDES(graphLock);
    /// Null for none; the old one isn't used afterwards.
    void SetSyncSource(IReferenceClock* newClock) VEX_EXCLUDES(clockLock);
    std::u16string Name() VEX_EXCLUDES(graphLock);

    FilterState State() const { return state.load(std::memory_order_acquire); }
    bool IsStopped() const { return State() == State_Stopped; }
    /// Time since the run began, 100-nanosecond units, below 0 before `start`; 0 without a clock or when not running.
    /// Any thread.
    int64_t StreamTime() VEX_EXCLUDES(clockLock);
    /// Tells the graph. Any thread. VFW_E_NOT_IN_GRAPH.
    HRESULT NotifyEvent(uint32_t event, intptr_t first, intptr_t second) VEX_EXCLUDES(graphLock);

    /// Guards state and connections of the filter and its pins.
    RecursiveMutex interfaceLock VEX_ACQUIRED_AFTER(interfaceRank) VEX_ACQUIRED_BEFORE(rendererRank);

protected:
    CBaseFilter() = default;

    /// 100-nanosecond units from now to this stream time of the present run, or of the last one; 0 when it has passed,
    /// and without a clock to wait by.
    int64_t TimeUntil(int64_t streamTime) VEX_EXCLUDES(clockLock);

    std::atomic<FilterState> state{State_Stopped};  // changes under interfaceLock

private:
    Mutex clockLock;  // nests in nothing: streaming threads ask for the time while a stop waits for them
    IReferenceClock* clock VEX_GUARDED_BY(clockLock) = nullptr;
    int64_t startTime VEX_GUARDED_BY(clockLock) = 0;

    Mutex graphLock;  // nests in nothing: events come from threads that hold any lock
    IGraphEvents* graph VEX_GUARDED_BY(graphLock) = nullptr;
    std::u16string name VEX_GUARDED_BY(graphLock);
};

}  // namespace vexcap
