// Small filters for the tests of the graph: they make numbered samples, change them and write down what arrives.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "base/mutex.h"
#include "graph/interfaces.h"
#include "graph/renderer.h"
#include "graph/source.h"
#include "graph/transform.h"

namespace vexcap::test {

/// Far beyond what a loaded machine needs: only a test that has failed waits so long.
inline constexpr std::chrono::seconds patience{60};

inline uint32_t numberOf(const CMediaSample& sample) {
    uint32_t number;
    std::memcpy(&number, sample.GetPointer(), sizeof number);
    return number;
}
inline void setNumber(CMediaSample& sample, uint32_t number) {
    std::memcpy(sample.GetPointer(), &number, sizeof number);
}

/// Values that come from other threads, in their order.
template <typename T>
class Log {
public:
    explicit Log(size_t room = 1000) { values.reserve(room); }
    void add(T value) VEX_EXCLUDES(lock) {
        MutexGuard held(lock);
        values.push_back(std::move(value));
        added.notifyAll();
    }
    std::vector<T> all() const VEX_EXCLUDES(lock) {
        MutexGuard held(lock);
        return values;
    }
    size_t count() const VEX_EXCLUDES(lock) {
        MutexGuard held(lock);
        return values.size();
    }
    /// False when there are still fewer after a long time.
    bool waitFor(size_t wanted) const VEX_EXCLUDES(lock) {
        const auto end = std::chrono::steady_clock::now() + patience;
        MutexGuard held(lock);
        while (values.size() < wanted) {
            const auto left = end - std::chrono::steady_clock::now();
            if (left <= left.zero()) return false;
            added.waitFor(lock, left);
        }
        return true;
    }

private:
    mutable Mutex lock;
    mutable Condition added;
    std::vector<T> values VEX_GUARDED_BY(lock);
};

/// A clock that stands until it is set.
struct HandClock final : IReferenceClock {
    int64_t GetTime() override { return now; }
    std::atomic<int64_t> now{0};
};

/// Writes the events of a filter down.
struct EventLog final : IGraphEvents {
    struct Event {
        uint32_t code;
        intptr_t first;
        intptr_t second;
        friend bool operator==(const Event&, const Event&) = default;
    };
    void Notify(uint32_t event, intptr_t first, intptr_t second) override { log.add({event, first, second}); }
    Log<Event> log;
};

/// Gives `count` samples with the numbers from 0 on, in the first four bytes, then the end of the stream. Sample i has
/// the times i * interval to (i + 1) * interval, or none when the interval is 0. It can seek: a position is the time
/// of the first sample.
class NumberedSource final : public CSource {
public:
    static constexpr uint32_t endless = std::numeric_limits<uint32_t>::max();

    explicit NumberedSource(uint32_t count, int64_t interval = 0, MediaType type = rgb24Type(8, 4, 0),
                            uint32_t buffers = 3)
        : pin(*this, count, interval, std::move(type), buffers) {}
    CBaseOutputPin& Output() { return pin; }
    /// Samples that were handed on, also those that were refused.
    uint32_t Delivered() const { return pin.delivered; }
    /// What each turn of the worker's loop ended with.
    const Log<HRESULT>& Ends() const { return pin.ends; }

private:
    class Pin final : public CSourceStream, public IMediaSeeking {
    public:
        Pin(NumberedSource& owner, uint32_t samples, int64_t time, MediaType only, uint32_t count)
            : CSourceStream(owner, u"Output"),
              total(samples),
              interval(time),
              offered(std::move(only)),
              buffers(count) {}

        HRESULT QueryInterface(const vex_guid& id, void** out) override { return CBasePin::QueryInterface(id, out); }
        uint32_t AddRef() override { return CBasePin::AddRef(); }
        uint32_t Release() override { return CBasePin::Release(); }

        HRESULT GetMediaType(int32_t position, MediaType* out) override {
            if (position != 0) return CSourceStream::GetMediaType(position, out);
            *out = offered;
            return S_OK;
        }
        HRESULT CheckMediaType(const MediaType* candidate) override {
            return *candidate == offered ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }
        HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override {
            const size_t bytes = std::max<size_t>(offered.sampleSize, wanted.bufferBytes);
            return pool.SetProperties({std::max(buffers, wanted.buffers), bytes}).code();
        }
        HRESULT DoBufferProcessingLoop() override {
            const HRESULT result = Loop();
            ends.add(result);
            return result;
        }

        HRESULT GetCapabilities(uint32_t* capabilities) override {
            *capabilities = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanGetDuration;
            return S_OK;
        }
        HRESULT GetDuration(int64_t* duration) override {
            *duration = total * interval;
            return S_OK;
        }
        HRESULT GetCurrentPosition(int64_t*) override { return E_NOTIMPL; }
        HRESULT SetPosition(int64_t position) override {
            first = uint32_t(interval ? position / interval : 0);
            return S_OK;
        }

        std::atomic<uint32_t> delivered{0};
        Log<HRESULT> ends;

    private:
        HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override {
            if (!(id == IMediaSeeking::iid)) return CSourceStream::NonDelegatingQueryInterface(id, out);
            AddRef();
            *out = static_cast<IMediaSeeking*>(this);
            return S_OK;
        }
        HRESULT OnThreadCreate() override {
            next = first;
            return S_OK;
        }
        HRESULT Loop() {
            DeliverNewSegment(first * interval);
            for (;;) {
                if (const std::optional<uint32_t> command = CheckRequest()) {
                    if (*command == CMD_STOP) return S_FALSE;
                    Reply(*command == CMD_PAUSE || *command == CMD_RUN ? S_OK : E_UNEXPECTED);
                    continue;
                }
                if (next == total) return DeliverEndOfStream();
                const Result<Ref<CMediaSample>> buffer = GetDeliveryBuffer(0);
                if (!buffer.ok()) return buffer.code();
                CMediaSample& sample = *buffer.value();
                setNumber(sample, next);
                if (interval) sample.SetTime((next - first) * interval, (next - first + 1) * interval);
                sample.SetSyncPoint(true);
                ++next;
                ++delivered;
                if (const HRESULT result = Deliver(sample); result != S_OK) return result;
            }
        }

        const uint32_t total;
        const int64_t interval;
        const MediaType offered;
        const uint32_t buffers;
        std::atomic<uint32_t> first{0};
        uint32_t next = 0;
    };
    Pin pin;
};

/// Hands on what the test gives it.
class PushFilter final : public CBaseFilter {
public:
    explicit PushFilter(std::vector<MediaType> types = {rgb24Type(8, 4, 0)}, uint32_t buffers = 3)
        : pin(*this, std::move(types), buffers) {}
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }

    class Pin final : public CBaseOutputPin {
    public:
        Pin(PushFilter& owner, std::vector<MediaType> list, uint32_t count)
            : CBaseOutputPin(owner, u"Output"), types(std::move(list)), buffers(count) {}
        HRESULT GetMediaType(int32_t position, MediaType* out) override {
            if (position < 0 || size_t(position) >= types.size()) return CBaseOutputPin::GetMediaType(position, out);
            *out = types[size_t(position)];
            return S_OK;
        }
        HRESULT CheckMediaType(const MediaType* candidate) override {
            return std::find(types.begin(), types.end(), *candidate) != types.end() ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }
        HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override {
            const size_t bytes = std::max<size_t>(CurrentMediaType().sampleSize, wanted.bufferBytes);
            return pool.SetProperties({std::max(buffers, wanted.buffers), bytes}).code();
        }
        HRESULT DecideAllocator(CBaseInputPin& receiver) override {
            if (!readOnly) return CBaseOutputPin::DecideAllocator(receiver);
            const Ref<CBaseAllocator> pool = InitAllocator();
            if (const HRESULT result = DecideBufferSize(*pool, {}); result < 0) return result;
            if (const HRESULT result = receiver.NotifyAllocator(*pool, true); result < 0) return result;
            UseAllocator(pool);
            return S_OK;
        }
        CBaseAllocator* Pool() const { return allocator.get(); }
        /// A sample with this number, and with these times if `stop` is not negative.
        Ref<CMediaSample> Make(uint32_t number, int64_t start = 0, int64_t stop = -1) {
            const Result<Ref<CMediaSample>> buffer = GetDeliveryBuffer(0);
            if (!buffer.ok()) return nullptr;
            setNumber(*buffer.value(), number);
            if (stop >= 0) buffer.value()->SetTime(start, stop);
            return buffer.value();
        }
        /// Makes a sample and hands it on.
        HRESULT Push(uint32_t number, int64_t start = 0, int64_t stop = -1) {
            const Ref<CMediaSample> sample = Make(number, start, stop);
            return sample ? Deliver(*sample) : VFW_E_NOT_COMMITTED;
        }

        bool readOnly = false;  ///< Its samples belong to others, too.
        const std::vector<MediaType> types;
        const uint32_t buffers;
    };
    Pin pin;
};

/// Adds `added` to the number of each sample, in place.
class AddInPlace final : public CTransInPlaceFilter {
public:
    explicit AddInPlace(uint32_t number) : added(number) {}
    /// What Transform gives; asked for each sample.
    std::function<HRESULT(uint32_t number)> answer = [](uint32_t) { return S_OK; };

private:
    HRESULT CheckInputType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    using CTransInPlaceFilter::Transform;
    HRESULT Transform(CMediaSample& sample) override {
        const HRESULT result = answer(numberOf(sample));
        setNumber(sample, numberOf(sample) + added);
        return result;
    }
    const uint32_t added;
};

/// Shows samples by writing their numbers down.
class RecordingRenderer final : public CBaseRenderer {
public:
    RecordingRenderer() : CBaseRenderer(u"Input") {}
    CBaseInputPin& Input() { return static_cast<CBaseInputPin&>(*GetPin(0)); }

    Log<uint32_t> shown;
    Log<uint32_t> first;           ///< Came while paused.
    Log<const uint8_t*> pointers;  ///< Where the samples that were shown stood.
    std::atomic<HRESULT> answer{S_OK};
    /// Runs within DoRenderSample.
    std::function<void(CMediaSample&)> onRender = [](CMediaSample&) {};

private:
    HRESULT CheckMediaType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT DoRenderSample(CMediaSample& sample) override {
        onRender(sample);
        pointers.add(sample.GetPointer());
        shown.add(numberOf(sample));
        return answer;
    }
    bool OnReceiveFirstSample(CMediaSample& sample) override {
        first.add(numberOf(sample));
        return false;
    }
};

}  // namespace vexcap::test
