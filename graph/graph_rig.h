// What tests of whole graphs share: sources with threads, renderers, transforms, writers that count and log.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "graph/filter_graph.h"
#include "graph/renderer.h"
#include "graph/source.h"
#include "graph/transform.h"

namespace vexcap::graph_rig {

inline constexpr int64_t frameTime = 10'000;  ///< Of every source here: a millisecond.

/// Raw video of a layout that no renderer here takes.
inline MediaType rawType(int32_t width = 16, int32_t height = 8) {
    MediaType type = rgb24Type(width, height, frameTime);
    type.subtype = subtypeOf(0x32595559);
    return type;
}

/// Waits until a test's condition holds; false after half a minute, which no healthy run needs.
template <typename Condition>
bool eventually(const Condition& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// The number that a source put into a sample.
inline int64_t numberOf(const CMediaSample& sample) {
    int64_t number = -1;
    std::memcpy(&number, sample.GetPointer(), sizeof number);
    return number;
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
    std::chrono::microseconds pace{0};  ///< Between two frames; 0 for as fast as they are taken.
    bool live = false;                  ///< Cannot be cued; loses what it gets no buffer for, and has no times.
    bool seekable = false;
};

class Source final : public CSource {
public:
    explicit Source(SourceOptions wanted) : options(std::move(wanted)) {
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
    std::vector<const uint8_t*> handedOut;  ///< If so, the first pin's memory by frame; read it after a stop.

private:
    ~Source() override = default;

    class Pin final : public CSourceStream, public IKsPropertySet, public IMediaSeeking, public IAMStreamControl {
    public:
        Pin(Source& owner, const SourcePinOptions& wanted)
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
            *duration = source.options.frames * frameTime;
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
            first = position / frameTime;
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
            return pool.SetProperties({std::max(options.buffers, wanted.buffers), type.sampleSize}).code();
        }
        HRESULT DecideAllocator(CBaseInputPin& receiver) override {
            const HRESULT result = CSourceStream::DecideAllocator(receiver);
            return result < 0 || !options.readOnly ? result : receiver.NotifyAllocator(*allocator, true);
        }
        HRESULT DoBufferProcessingLoop() override {
            DeliverNewSegment(first * frameTime);
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
                if (!sample.ok()) return S_OK;
                if (!source.options.live) {
                    const int64_t start = (next - first) * frameTime;
                    sample.value()->SetTime(start, start + frameTime);
                }
                std::memcpy(sample.value()->GetPointer(), &next, sizeof next);
                sample.value()->GetPointer()[sample.value()->GetSize() - 1] = 0;
                ++source.sent;
                if (source.keepsTrack && this == source.own[0].get())
                    source.handedOut.push_back(sample.value()->GetPointer());
                if (Deliver(*sample.value()) != S_OK) return S_OK;
            }
        }

        Source& source;
        const SourcePinOptions options;
        int64_t first = 0;  // frame at which the stream begins; the worker rests while it changes
    };

    const SourceOptions options;
    std::vector<std::unique_ptr<Pin>> own;
};

/// What a renderer saw of a sample.
struct Seen {
    int64_t number;
    const uint8_t* memory;
    bool timed;
    bool discontinuity;
    uint8_t lastByte;
};

class Screen final : public CBaseRenderer {
public:
    explicit Screen(bool everyType = false) : CBaseRenderer(u"Input"), takesAll(everyType) {}
    CBaseInputPin& Input() { return static_cast<CBaseInputPin&>(*GetPin(0)); }
    std::vector<Seen> seen() {
        const std::lock_guard guard(lock);
        return shown;
    }
    size_t count() {
        const std::lock_guard guard(lock);
        return shown.size();
    }
    /// Of the last sample shown or held while paused, -1 before.
    int64_t newest() {
        const std::lock_guard guard(lock);
        return latest;
    }
    /// The next samples wait in here until it is opened again.
    void shut(bool on) {
        const std::lock_guard guard(lock);
        gateShut = on;
        gate.notify_all();
    }
    bool holdsOne() {
        const std::lock_guard guard(lock);
        return held;
    }

    std::atomic<HRESULT> renderResult{S_OK};
    std::atomic<HRESULT> pauseResult{S_OK};

    HRESULT Pause() override { return pauseResult < 0 ? pauseResult.load() : CBaseRenderer::Pause(); }

private:
    ~Screen() override = default;
    HRESULT CheckMediaType(const MediaType* candidate) override {
        return takesAll || candidate->subtype == MEDIASUBTYPE_RGB24 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    bool OnReceiveFirstSample(CMediaSample& sample) override {
        const std::lock_guard guard(lock);
        latest = numberOf(sample);
        return false;
    }
    HRESULT DoRenderSample(CMediaSample& sample) override {
        std::unique_lock guard(lock);
        held = true;
        gate.wait(guard, [&] { return !gateShut; });
        held = false;
        int64_t start = 0, stop = 0;
        latest = numberOf(sample);
        shown.push_back({latest, sample.GetPointer(), sample.GetTime(start, stop).ok(), sample.IsDiscontinuity(),
                         sample.GetPointer()[sample.GetActualDataLength() - 1]});
        return renderResult;
    }

    const bool takesAll;
    std::mutex lock;
    std::condition_variable gate;
    std::vector<Seen> shown;
    int64_t latest = -1;
    bool gateShut = false;
    bool held = false;
};

/// Sets the last byte of each sample, where it lies.
class Stamp final : public CTransInPlaceFilter {
public:
    static constexpr uint8_t mark = 0x5A;

private:
    ~Stamp() override = default;
    using CTransInPlaceFilter::Transform;
    HRESULT CheckInputType(const MediaType* candidate) override {
        return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT Transform(CMediaSample& sample) override {
        sample.GetPointer()[sample.GetActualDataLength() - 1] = mark;
        return S_OK;
    }
};

/// Copies samples of any video into another type.
class Recode final : public CTransformFilter {
public:
    explicit Recode(std::function<MediaType(const MediaType&)> rule) : target(std::move(rule)) {}

private:
    ~Recode() override = default;
    HRESULT CheckInputType(const MediaType* candidate) override {
        return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT CheckTransform(const MediaType& in, const MediaType& out) override {
        return out == target(in) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT GetMediaType(int32_t position, MediaType* out) override {
        if (position > 0) return VFW_S_NO_MORE_ITEMS;
        *out = target(input->CurrentMediaType());
        return S_OK;
    }
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override {
        return pool.SetProperties({std::max(2u, wanted.buffers), input->CurrentMediaType().sampleSize}).code();
    }
    HRESULT Transform(CMediaSample& in, CMediaSample& out) override {
        std::memcpy(out.GetPointer(), in.GetPointer(), in.GetActualDataLength());
        return out.SetActualDataLength(in.GetActualDataLength()).code();
    }

    const std::function<MediaType(const MediaType&)> target;
};

inline MediaType toRgb24(const MediaType& from) {
    vex_bitmap_header header;
    from.GetBitmapHeader(header);
    return rgb24Type(header.biWidth, header.biHeight, from.AverageTimePerFrame());
}

inline MediaType toFile(const MediaType& from) {
    MediaType type = from;
    type.major = MEDIATYPE_Stream;
    type.subtype = MEDIASUBTYPE_Avi;
    return type;
}

/// Takes video, and hands it on as a file's bytes; its output may be connected first.
class Mux final : public CBaseFilter {
public:
    Mux() : input(*this), output(*this) {}
    size_t GetPinCount() override { return 2; }
    CBasePin* GetPin(size_t index) override {
        if (index == 0) return &input;
        return index == 1 ? &output : nullptr;
    }

private:
    ~Mux() override = default;

    class Output final : public CBaseOutputPin {
    public:
        explicit Output(Mux& owner) : CBaseOutputPin(owner, u"Output") {}
        HRESULT GetMediaType(int32_t position, MediaType* out) override {
            if (position > 0) return VFW_S_NO_MORE_ITEMS;
            *out = toFile({});
            return S_OK;
        }
        HRESULT CheckMediaType(const MediaType* candidate) override {
            return candidate->major == MEDIATYPE_Stream ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }

    private:
        HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties&) override {
            return pool.SetProperties({2, sizeof(int64_t)}).code();
        }
    };
    class Input final : public CBaseInputPin {
    public:
        explicit Input(Mux& owner) : CBaseInputPin(owner, u"Input"), mux(owner) {}
        HRESULT CheckMediaType(const MediaType* candidate) override {
            return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }
        HRESULT Receive(CMediaSample& sample) override {
            if (const HRESULT result = CheckStreaming(); result != S_OK) return result;
            const auto made = mux.output.GetDeliveryBuffer(0);
            if (!made.ok()) return made.code();
            std::memcpy(made.value()->GetPointer(), sample.GetPointer(), sizeof(int64_t));
            return mux.output.Deliver(*made.value());
        }
        HRESULT EndOfStream() override {
            filter.NotifyEvent(EC_COMPLETE, S_OK, 0);  // which is not the file's
            return mux.output.DeliverEndOfStream();
        }

    private:
        Mux& mux;
    };

    Input input;
    Output output;
};

/// Ends a stream without being a CBaseRenderer, and tells its end as soon as it comes.
class Writer final : public CBaseFilter, public IFileSinkFilter2 {
public:
    Writer() : pin(*this) {}
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }
    CBaseInputPin& Input() { return pin; }
    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CUnknown::QueryInterface(id, out); }
    uint32_t AddRef() override { return CUnknown::AddRef(); }
    uint32_t Release() override { return CUnknown::Release(); }
    HRESULT SetFileName(std::u16string_view file) override {
        path = file;
        return nameResult;
    }
    HRESULT GetCurFile(std::u16string* file) override {
        *file = path;
        return S_OK;
    }
    HRESULT SetMode(uint32_t) override { return S_OK; }
    HRESULT GetMode(uint32_t*) override { return E_NOTIMPL; }

    std::vector<int64_t> numbers() {
        const std::lock_guard guard(lock);
        return written;
    }
    HRESULT nameResult = S_OK;
    AllocatorProperties wanted;
    std::atomic<HRESULT> writeResult{S_OK};
    std::atomic<bool> ended{false};

private:
    ~Writer() override = default;
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override {
        if (id == IFileSinkFilter2::iid) return give(static_cast<IFileSinkFilter2*>(this), out);
        return CBaseFilter::NonDelegatingQueryInterface(id, out);
    }

    class Pin final : public CBaseInputPin {
    public:
        explicit Pin(Writer& owner) : CBaseInputPin(owner, u"Input"), writer(owner) {}
        HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
        AllocatorProperties GetAllocatorRequirements() override { return writer.wanted; }
        HRESULT Receive(CMediaSample& sample) override {
            if (const HRESULT result = CheckStreaming(); result != S_OK) return result;
            const std::lock_guard guard(writer.lock);
            writer.written.push_back(numberOf(sample));
            return writer.writeResult;
        }
        HRESULT EndOfStream() override {
            writer.ended = true;
            return filter.NotifyEvent(EC_COMPLETE, S_OK, 0);
        }

    private:
        Writer& writer;
    };

    Pin pin;
    std::mutex lock;
    std::vector<int64_t> written;
    std::u16string path;
};

/// A graph, and what it may put in by itself.
struct World : IGraphComponents {
    virtual ~World() = default;
    Result<Ref<CBaseFilter>> OpenFile(std::u16string_view) override {
        if (!file) return VEX_E_FILE_NOT_FOUND;
        return file;
    }
    Ref<CBaseFilter> Converter(const MediaType& from) override {
        if (!converters || from.subtype == MEDIASUBTYPE_RGB24) return nullptr;
        return makeRef<Recode>(toRgb24);
    }
    Result<Output> OpenOutput(const vex_guid& fileType) override {
        if (!(fileType == MEDIASUBTYPE_Avi)) return E_NOTIMPL;
        return Output{mux, writer};
    }

    /// Adds a filter and gives it back.
    template <typename Filter>
    Ref<Filter> add(const Ref<Filter>& filter, std::u16string_view name) {
        graph.AddFilter(filter, name);
        return filter;
    }
    struct Event {
        uint32_t code;
        intptr_t first, second;
        friend bool operator==(const Event&, const Event&) = default;
    };
    /// The oldest event; code 0 when none came in time.
    Event event(uint32_t milliseconds = 30'000) {
        Event event = {};
        graph.GetEvent(&event.code, &event.first, &event.second, milliseconds);
        return event;
    }

    Ref<CBaseFilter> file;
    bool converters = true;
    Ref<CBaseFilter> mux = makeRef<Mux>();
    Ref<CBaseFilter> writer = makeRef<Writer>();
    CFilterGraph graph{*this};
};

}  // namespace vexcap::graph_rig
