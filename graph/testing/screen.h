// The end of a stream of numbered samples: a renderer that counts, and a writer that does.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "graph/renderer.h"
#include "graph/testing/log.h"
#include "graph/testing/numbered_source.h"

namespace vexcap::test {

/// What a renderer saw of a sample.
struct Seen {
    int64_t number;
    const uint8_t* memory;
    bool timed;
    bool discontinuity;
    uint8_t lastByte;
};

/// Shows samples by writing down what it saw of them.
class Screen final : public CBaseRenderer {
public:
    explicit Screen(bool everyType = false) : CBaseRenderer(u"Input"), takesAll(everyType) {}
    CBaseInputPin& Input() { return static_cast<CBaseInputPin&>(*GetPin(0)); }
    /// Of the samples that were shown.
    std::vector<int64_t> numbers() const {
        std::vector<int64_t> numbers;
        for (const Seen& one : shown.all()) numbers.push_back(one.number);
        return numbers;
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

    Log<Seen> shown;
    Log<int64_t> first;                                                  ///< Numbers of samples that came while paused.
    std::function<void(CMediaSample&)> onRender = [](CMediaSample&) {};  ///< Runs before a sample is shown.
    std::atomic<HRESULT> renderResult{S_OK};
    std::atomic<HRESULT> pauseResult{S_OK};

    HRESULT Pause() override { return pauseResult < 0 ? pauseResult.load() : CBaseRenderer::Pause(); }

private:
    ~Screen() override = default;
    HRESULT CheckMediaType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        return takesAll || candidate->subtype == MEDIASUBTYPE_RGB24 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    bool OnReceiveFirstSample(CMediaSample& sample) override {
        const std::lock_guard guard(lock);
        latest = numberOf(sample);
        first.add(latest);
        return false;
    }
    HRESULT DoRenderSample(CMediaSample& sample) override {
        onRender(sample);
        std::unique_lock guard(lock);
        held = true;
        gate.wait(guard, [&] { return !gateShut; });
        held = false;
        int64_t start = 0, stop = 0;
        latest = numberOf(sample);
        shown.add({latest, sample.GetPointer(), sample.GetTime(start, stop).ok(), sample.IsDiscontinuity(),
                   sample.GetPointer()[sample.GetActualDataLength() - 1]});
        return renderResult;
    }

    const bool takesAll;
    std::mutex lock;
    std::condition_variable gate;
    int64_t latest = -1;
    bool gateShut = false;
    bool held = false;
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

}  // namespace vexcap::test
