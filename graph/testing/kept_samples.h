// The end of a stream of any kind: it keeps what comes.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "base/mutex.h"
#include "graph/base_filter.h"
#include "graph/testing/sent_samples.h"

namespace vexcap::test {

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

}  // namespace vexcap::test
