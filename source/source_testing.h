// What tests of sources share: a sink that keeps what it gets, or holds it up.
#pragma once

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "graph/base_filter.h"
#include "graph/testing/log.h"
#include "platform/fake/allocations.h"

namespace vexcap::test {

struct Arrived {
    std::vector<uint8_t> bytes;
    int64_t start = -1, stop = -1;
    bool syncPoint = false, discontinuity = false;
};

/// Takes every type. It can be told to hold samples, so that their buffers stay in flight, to block in Receive, or to
/// refuse. Any thread.
class SampleSink final : public CBaseFilter {
public:
    SampleSink() : pin(*this) {}
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }
    CBaseInputPin& Input() { return pin; }
    HRESULT Stop() override {
        const HRESULT stopped = CBaseFilter::Stop();
        block(false);  // as a renderer does: who waits in it gives up
        return stopped;
    }

    void block(bool on) VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        blocking = on;
        changed.notifyAll();
    }
    void hold(bool on) VEX_EXCLUDES(lock) {
        std::vector<Ref<CMediaSample>> released;
        const MutexGuard held(lock);
        holding = on;
        if (!on) released.swap(inHand);
    }
    void answer(HRESULT result) VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        receiveResult = result;
    }
    /// Keeps nothing but the count, and takes nothing from the heap for a sample.
    void countOnly() VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        counting = true;
    }
    void bring(Ref<CBaseAllocator> pool) { pin.own = std::move(pool); }

    /// Waits until so many samples came in all; throws when the patience is over first.
    void waitFor(size_t count) VEX_EXCLUDES(lock) {
        const auto end = std::chrono::steady_clock::now() + patience;
        const MutexGuard held(lock);
        while (calls < count) waitUntil(end);
    }
    void waitForEnd() VEX_EXCLUDES(lock) {
        const auto end = std::chrono::steady_clock::now() + patience;
        const MutexGuard held(lock);
        while (!ended) waitUntil(end);
    }
    size_t count() VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        return calls;
    }
    /// Of the streaming thread, when the sample came that was the last.
    size_t allocationsThere() VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        return allocationsSeen;
    }
    std::vector<Arrived> arrived() VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        return kept;
    }
    std::vector<int64_t> segments() VEX_EXCLUDES(lock) {
        const MutexGuard held(lock);
        return begun;
    }

private:
    ~SampleSink() override = default;

    class Pin final : public CBaseInputPin {
    public:
        explicit Pin(SampleSink& owner) : CBaseInputPin(owner, u"In"), sink(owner) {}
        HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
        Result<Ref<CBaseAllocator>> GetAllocator() override {
            if (own) return own;
            return VFW_E_NO_ALLOCATOR;
        }
        HRESULT Receive(CMediaSample& sample) override { return sink.Receive(sample); }
        HRESULT EndOfStream() override {
            const MutexGuard held(sink.lock);
            sink.ended = true;
            sink.changed.notifyAll();
            return S_OK;
        }
        HRESULT BeginFlush() override {
            flushing = true;
            const MutexGuard held(sink.lock);
            sink.changed.notifyAll();
            return S_OK;
        }
        HRESULT NewSegment(int64_t start) override {
            const MutexGuard held(sink.lock);
            sink.begun.push_back(start);
            return S_OK;
        }
        using CBaseInputPin::CheckStreaming;
        Ref<CBaseAllocator> own;

    private:
        SampleSink& sink;
    };

    void waitUntil(std::chrono::steady_clock::time_point end) VEX_REQUIRES(lock) {
        const auto left = end - std::chrono::steady_clock::now();
        if (left <= left.zero()) throw std::runtime_error("what was waited for did not come");
        changed.waitFor(lock, left);
    }
    HRESULT Receive(CMediaSample& sample) VEX_EXCLUDES(lock) {
        if (const HRESULT result = pin.CheckStreaming(); result != S_OK) return result;
        const MutexGuard held(lock);
        ++calls;
        allocationsSeen = allocations();
        if (!counting) {
            Arrived one;
            one.bytes.assign(sample.GetPointer(), sample.GetPointer() + sample.GetActualDataLength());
            sample.GetTime(one.start, one.stop).ignore();
            one.syncPoint = sample.IsSyncPoint();
            one.discontinuity = sample.IsDiscontinuity();
            kept.push_back(std::move(one));
        }
        if (holding) inHand.emplace_back(&sample);
        changed.notifyAll();
        while (blocking && pin.CheckStreaming() == S_OK) changed.wait(lock);
        const HRESULT after = pin.CheckStreaming();
        return after == S_OK ? receiveResult : after;
    }

    Mutex lock;
    Condition changed;
    bool blocking VEX_GUARDED_BY(lock) = false;
    bool holding VEX_GUARDED_BY(lock) = false;
    bool counting VEX_GUARDED_BY(lock) = false;
    bool ended VEX_GUARDED_BY(lock) = false;
    HRESULT receiveResult VEX_GUARDED_BY(lock) = S_OK;
    size_t calls VEX_GUARDED_BY(lock) = 0;
    size_t allocationsSeen VEX_GUARDED_BY(lock) = 0;
    std::vector<Arrived> kept VEX_GUARDED_BY(lock);
    std::vector<int64_t> begun VEX_GUARDED_BY(lock);
    std::vector<Ref<CMediaSample>> inHand VEX_GUARDED_BY(lock);
    Pin pin;
};

/// The object under another of its interfaces, which it has.
template <typename Interface, typename Object>
Ref<Interface> as(Object& object) {
    return queryInterface<Interface>(&object);
}

/// Both ends: each keeps the other's filter alive.
inline void disconnect(CBaseOutputPin& pin) {
    const Ref<CBasePin> other = pin.ConnectedTo();
    if (!other) return;
    other->Disconnect();
    pin.Disconnect();
}

inline CBaseOutputPin& outputOf(CBaseFilter& filter, size_t index = 0) {
    return static_cast<CBaseOutputPin&>(*filter.GetPin(index));
}

}  // namespace vexcap::test
