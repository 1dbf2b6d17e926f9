// A source of numbered samples.
#pragma once

#include <algorithm>
#include <atomic>
#include <cassert>
#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "graph/source.h"
#include "graph/testing/log.h"

namespace vexcap::test {

inline constexpr int64_t frameTime = 10'000;  ///< Of a numbered source: a millisecond.

/// Raw video of a layout that no renderer here takes.
inline MediaType rawType(int32_t columns = 16, int32_t rows = 8) {
    MediaType type = rgb24Type(columns, rows, frameTime);
    type.subtype = subtypeOf(0x32595559);
    return type;
}

/// The number that a source put into a sample.
inline int64_t numberOf(const CMediaSample& sample) {
    int64_t number = -1;
    std::memcpy(&number, sample.GetPointer(), sizeof number);
    return number;
}
inline void setNumber(CMediaSample& sample, int64_t number) {
    assert(sample.GetSize() >= sizeof number);
    std::memcpy(sample.GetPointer(), &number, sizeof number);
}

/// Are all samples of this pool back, with the graph stopped?
inline bool isWhole(CBaseAllocator& pool) { return pool.SetProperties(pool.GetProperties()).ok(); }

struct SourcePinOptions {
    std::u16string name = u"Capture";
    std::vector<MediaType> types = {rgb24Type(16, 8, frameTime)};
    std::optional<vex_guid> category = std::nullopt;
    uint32_t buffers = 3;
    bool streamControl = false;
    bool readOnly = false;  ///< Its samples may not be changed.
};

struct SourceOptions {
    std::vector<SourcePinOptions> pins = {{}};
    int64_t frames = -1;                ///< The stream's length; -1 for a stream without end.
    int64_t interval = frameTime;       ///< Of two frames, in 100-nanosecond units; 0 for samples without times.
    std::chrono::microseconds pace{0};  ///< Between two frames; 0 for as fast as they are taken.
    bool live = false;                  ///< Cannot be cued; loses what it gets no buffer for, and has no times.
    bool seekable = false;
};

/// Makes samples with the numbers from 0 on, then the end of the stream, on a thread for each pin. Sample i has the
/// times i * interval to (i + 1) * interval.
class NumberedSource final : public CSource {
public:
    explicit NumberedSource(SourceOptions wanted) : options(std::move(wanted)) {
        for (const SourcePinOptions& pin : options.pins) own.push_back(std::make_unique<Pin>(*this, pin));
    }
    CBaseOutputPin& Output(size_t index = 0) { return *own[index]; }
    CBaseAllocator* Pool(size_t index = 0) { return own[index]->Pool(); }
    HRESULT GetState(uint32_t milliseconds, FilterState* out) override {
        const HRESULT result = CSource::GetState(milliseconds, out);
        return result == S_OK && options.live && State() == State_Paused ? VFW_S_CANT_CUE : result;
    }

    std::atomic<int64_t> sent{0};
    std::atomic<int64_t> lost{0};
    std::atomic<int32_t> controlStarts{0};
    bool keepsTrack = true;
    Log<HRESULT> ends;                      ///< What each turn of the first pin's loop ended with.
    std::vector<const uint8_t*> handedOut;  ///< If so, the first pin's memory by frame; read it after a stop.

private:
    ~NumberedSource() override = default;

    class Pin final : public CSourceStream, public IKsPropertySet, public IMediaSeeking, public IAMStreamControl {
    public:
        Pin(NumberedSource& owner, const SourcePinOptions& wanted)
            : CSourceStream(owner, wanted.name), source(owner), options(wanted) {}
        ~Pin() override = default;
        CBaseAllocator* Pool() { return allocator.get(); }

        HRESULT QueryInterface(const vex_guid& id, void** out) override { return CBasePin::QueryInterface(id, out); }
        uint32_t AddRef() override { return CBasePin::AddRef(); }
        uint32_t Release() override { return CBasePin::Release(); }

        HRESULT GetMediaType(int32_t position, MediaType* out) override {
            if (position < 0) return E_INVALIDARG;
            if (size_t(position) >= options.types.size()) return VFW_S_NO_MORE_ITEMS;
            *out = options.types[size_t(position)];
            return S_OK;
        }
        HRESULT CheckMediaType(const MediaType* candidate) override {
            const auto& types = options.types;
            return std::find(types.begin(), types.end(), *candidate) != types.end() ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }

        HRESULT Set(const vex_guid&, uint32_t, const void*, uint32_t) override { return E_NOTIMPL; }
        HRESULT Get(const vex_guid&, uint32_t, void* data, uint32_t, uint32_t*) override {
            std::memcpy(data, &*options.category, sizeof *options.category);
            return S_OK;
        }
        HRESULT QuerySupported(const vex_guid&, uint32_t, uint32_t*) override { return S_OK; }
        HRESULT StartAt(const int64_t*) override {
            ++source.controlStarts;
            return S_OK;
        }
        HRESULT StopAt(const int64_t*) override { return S_OK; }

        HRESULT GetCapabilities(uint32_t* capabilities) override {
            *capabilities = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanGetDuration;
            return S_OK;
        }
        HRESULT GetDuration(int64_t* duration) override {
            *duration = source.options.frames * source.options.interval;
            return S_OK;
        }
        HRESULT GetCurrentPosition(int64_t*) override { return E_NOTIMPL; }
        HRESULT SetPosition(int64_t position) override {
            if (position < 0) return E_INVALIDARG;
            const bool threaded = ThreadExists();
            if (threaded) {
                DeliverBeginFlush();
                CallWorker(CMD_STOP);
                DeliverEndFlush();
            }
            first = source.options.interval ? position / source.options.interval : 0;
            return threaded ? CallWorker(CMD_PAUSE) : S_OK;
        }

    private:
        HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override {
            if (id == IKsPropertySet::iid && options.category) return Give(static_cast<IKsPropertySet*>(this), out);
            if (id == IMediaSeeking::iid && source.options.seekable)
                return Give(static_cast<IMediaSeeking*>(this), out);
            if (id == IAMStreamControl::iid && options.streamControl)
                return Give(static_cast<IAMStreamControl*>(this), out);
            return CSourceStream::NonDelegatingQueryInterface(id, out);
        }
        template <typename Interface>
        HRESULT Give(Interface* object, void** out) {
            AddRef();
            *out = object;
            return S_OK;
        }
        HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override {
            const size_t bytes = std::max<size_t>(type.sampleSize, wanted.bufferBytes);
            return pool.SetProperties({std::max(options.buffers, wanted.buffers), bytes}).code();
        }
        HRESULT DecideAllocator(CBaseInputPin& receiver) override {
            const HRESULT result = CSourceStream::DecideAllocator(receiver);
            return result < 0 || !options.readOnly ? result : receiver.NotifyAllocator(*allocator, true);
        }
        HRESULT DoBufferProcessingLoop() override {
            const HRESULT result = Loop();
            if (this == source.own[0].get()) source.ends.add(result);
            return result;
        }
        HRESULT Loop() {
            const int64_t interval = source.options.interval;
            DeliverNewSegment(first * interval);
            auto due = std::chrono::steady_clock::now();
            for (int64_t next = first;; ++next) {
                while (const auto command = CheckRequest()) {
                    if (*command != CMD_PAUSE && *command != CMD_RUN) return S_FALSE;
                    Reply(S_OK);
                }
                if (next == source.options.frames) return DeliverEndOfStream();
                if (source.options.pace.count() > 0) {
                    due += source.options.pace;
                    const auto left = due - std::chrono::steady_clock::now();
                    if (left > left.zero()) {
                        WaitForRequestOrWake(std::chrono::duration_cast<std::chrono::microseconds>(left));
                        if (CheckRequest()) {
                            --next;
                            continue;
                        }
                    }
                }
                const auto sample = GetDeliveryBuffer(source.options.live ? AM_GBF_NOWAIT : 0);
                if (sample.code() == VFW_E_TIMEOUT) {
                    ++source.lost;
                    continue;
                }
                if (!sample.ok()) return sample.code();
                if (!source.options.live && interval) {
                    const int64_t start = (next - first) * interval;
                    sample.value()->SetTime(start, start + interval);
                }
                setNumber(*sample.value(), next);
                sample.value()->GetPointer()[sample.value()->GetSize() - 1] = 0;
                ++source.sent;
                if (source.keepsTrack && this == source.own[0].get())
                    source.handedOut.push_back(sample.value()->GetPointer());
                if (const HRESULT result = Deliver(*sample.value()); result != S_OK) return result;
            }
        }

        NumberedSource& source;
        const SourcePinOptions options;
        int64_t first = 0;  // frame at which the stream begins; the worker rests while it changes
    };

    const SourceOptions options;
    std::vector<std::unique_ptr<Pin>> own;
};

}  // namespace vexcap::test
