// What tests of filters share: a source that is told each sample, a sink that keeps what it gets, a graph's ear.
#pragma once

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "graph/base_filter.h"
#include "graph/filter_graph.h"

namespace vexcap::test {

using Times = std::optional<std::pair<int64_t, int64_t>>;  ///< Start and stop.

/// Samples are sent by whoever calls send, on the caller's thread. It runs with its graph, but has no thread of its
/// own.
class SentStream final : public CBaseFilter {
public:
    explicit SentStream(MediaType offered, uint32_t poolBuffers = 2) : pin(*this, std::move(offered), poolBuffers) {}
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }
    CBaseOutputPin& Output() { return pin; }

    /// What Receive downstream gave; the code of a sample that could not be had.
    HRESULT send(std::span<const std::byte> bytes, const Times& times = {}, bool syncPoint = true) {
        const auto made = pin.GetDeliveryBuffer(0);
        if (!made.ok()) return made.code();
        CMediaSample& sample = *made.value();
        if (const Status s = sample.SetActualDataLength(bytes.size()); !s.ok()) return s.code();
        std::ranges::copy(bytes, reinterpret_cast<std::byte*>(sample.GetPointer()));
        if (times) sample.SetTime(times->first, times->second);
        sample.SetSyncPoint(syncPoint);
        return pin.Deliver(sample);
    }
    HRESULT end() { return pin.DeliverEndOfStream(); }

private:
    ~SentStream() override = default;

    class Pin final : public CBaseOutputPin {
    public:
        Pin(CBaseFilter& owner, MediaType offered, uint32_t poolBuffers)
            : CBaseOutputPin(owner, u"Out"), only(std::move(offered)), buffers(poolBuffers) {}
        HRESULT GetMediaType(int32_t position, MediaType* out) override {
            if (position != 0) return VFW_S_NO_MORE_ITEMS;
            *out = only;
            return S_OK;
        }
        HRESULT CheckMediaType(const MediaType* candidate) override {
            return candidate && *candidate == only ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }

    private:
        HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties&) override {
            return pool.SetProperties({buffers, std::max<size_t>(only.sampleSize, 1 << 12)}).code();
        }
        const MediaType only;
        const uint32_t buffers;
    };
    Pin pin;
};

/// A sample as it came.
struct KeptSample {
    std::vector<std::byte> bytes;
    Times times;
    bool syncPoint = false;
};

/// Takes every type, and keeps what comes.
class KeptStream final : public CBaseFilter {
public:
    KeptStream() : pin(*this) {}
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }
    CBaseInputPin& Input() { return pin; }
    std::vector<KeptSample> samples() {
        const MutexGuard guard(lock);
        return kept;
    }
    bool ended() {
        const MutexGuard guard(lock);
        return endCame;
    }

private:
    ~KeptStream() override = default;

    class Pin final : public CBaseInputPin {
    public:
        explicit Pin(KeptStream& owner) : CBaseInputPin(owner, u"In"), keeper(owner) {}
        HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
        HRESULT Receive(CMediaSample& sample) override {
            if (const HRESULT result = CheckStreaming(); result != S_OK) return result;
            KeptSample one;
            const auto* const data = reinterpret_cast<const std::byte*>(sample.GetPointer());
            one.bytes.assign(data, data + sample.GetActualDataLength());
            int64_t start = 0, stop = 0;
            if (sample.GetTime(start, stop).ok()) one.times = std::pair(start, stop);
            one.syncPoint = sample.IsSyncPoint();
            const MutexGuard guard(keeper.lock);
            keeper.kept.push_back(std::move(one));
            return S_OK;
        }
        HRESULT EndOfStream() override {
            {
                const MutexGuard guard(keeper.lock);
                keeper.endCame = true;
            }
            return filter.NotifyEvent(EC_COMPLETE, S_OK, 0);
        }

    private:
        KeptStream& keeper;
    };

    Mutex lock;
    std::vector<KeptSample> kept VEX_GUARDED_BY(lock);
    bool endCame VEX_GUARDED_BY(lock) = false;
    Pin pin;
};

/// A graph that nothing is put into but by the test.
struct BareGraph final : IGraphComponents {
    Result<Ref<CBaseFilter>> OpenFile(std::u16string_view) override { return E_NOTIMPL; }
    Ref<CBaseFilter> Converter(const MediaType&) override { return nullptr; }
    Result<Output> OpenOutput(const vex_guid&) override { return E_NOTIMPL; }

    /// The codes of the events of a kind that wait, in their order; others are dropped.
    std::vector<HRESULT> events(uint32_t kind) {
        std::vector<HRESULT> codes;
        uint32_t event = 0;
        intptr_t first = 0, second = 0;
        while (graph.GetEvent(&event, &first, &second, 0) == S_OK) {
            if (event == kind) codes.push_back(HRESULT(first));
            graph.FreeEventParams(event, first, second);
        }
        return codes;
    }

    CFilterGraph graph{*this};
};

}  // namespace vexcap::test
