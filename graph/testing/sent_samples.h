// Sources without a thread: the test hands each sample on.
#pragma once

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "graph/base_filter.h"
#include "graph/testing/numbered_source.h"

namespace vexcap::test {

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
        Ref<CMediaSample> Make(int64_t number, int64_t start = 0, int64_t stop = -1) {
            const Result<Ref<CMediaSample>> buffer = GetDeliveryBuffer(0);
            if (!buffer.ok()) return nullptr;
            setNumber(*buffer.value(), number);
            if (stop >= 0) buffer.value()->SetTime(start, stop);
            return buffer.value();
        }
        /// Makes a sample and hands it on.
        HRESULT Push(int64_t number, int64_t start = 0, int64_t stop = -1) {
            const Ref<CMediaSample> sample = Make(number, start, stop);
            return sample ? Deliver(*sample) : VFW_E_NOT_COMMITTED;
        }

        bool readOnly = false;  ///< Its samples belong to others, too.
        const std::vector<MediaType> types;
        const uint32_t buffers;
    };
    Pin pin;
};

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

}  // namespace vexcap::test
