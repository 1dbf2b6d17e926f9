// What it costs to hand a picture from filter to filter, against copying it and against a plain call.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "graph/renderer.h"
#include "graph/testing/sent_samples.h"
#include "graph/transform.h"

namespace vexcap {
namespace {

using test::PushFilter;

const MediaType picture = rgb24Type(640, 480, 333'333);

class Touch final : public CTransInPlaceFilter {
    using CTransInPlaceFilter::Transform;
    HRESULT CheckInputType(const MediaType*) override { return S_OK; }
    HRESULT Transform(CMediaSample& sample) override {
        sample.GetPointer()[0] ^= 1;
        return S_OK;
    }
};

class Look final : public CBaseRenderer {
public:
    Look() : CBaseRenderer(u"Input") {}
    CBaseInputPin& Input() { return static_cast<CBaseInputPin&>(*GetPin(0)); }
    uint64_t sum = 0;

private:
    HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
    HRESULT DoRenderSample(CMediaSample& sample) override {
        sum += sample.GetPointer()[0];
        return S_OK;
    }
};

/// A sample of the pool goes through an in-place transform into a renderer, and comes back.
void handOver(benchmark::State& state) {
    const auto source = makeRef<PushFilter>(std::vector{picture});
    const auto filter = makeRef<Touch>();
    const auto renderer = makeRef<Look>();
    if (source->pin.Connect(filter->Input()) < 0 || filter->Output().Connect(renderer->Input()) < 0 ||
        renderer->Run(0) < 0 || filter->Run(0) < 0 || source->Run(0) < 0)
        state.SkipWithError("no graph");
    for (auto _ : state) {
        const Ref<CMediaSample> sample = source->pin.GetDeliveryBuffer(AM_GBF_NOWAIT).value();
        sample->SetTime(0, 333'333);
        source->pin.Deliver(*sample);
    }
    benchmark::DoNotOptimize(renderer->sum);
    renderer->Stop();
    filter->Stop();
    source->Stop();
    source->pin.Disconnect();
    filter->Input().Disconnect();
    filter->Output().Disconnect();
    renderer->Input().Disconnect();
}
BENCHMARK(handOver);

/// The same picture copied once, which a hand-over without a pool would cost at each filter.
void copyPicture(benchmark::State& state) {
    const std::vector<uint8_t> from(picture.sampleSize);
    std::vector<uint8_t> to(picture.sampleSize);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), from.size());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(copyPicture);

/// The two steps themselves, called directly.
void plainCalls(benchmark::State& state) {
    std::vector<uint8_t> frame(picture.sampleSize);
    uint64_t sum = 0;
    void (*touch)(uint8_t*) = [](uint8_t* pixels) { pixels[0] ^= 1; };
    void (*look)(const uint8_t*, uint64_t&) = [](const uint8_t* pixels, uint64_t& into) { into += pixels[0]; };
    benchmark::DoNotOptimize(touch);
    benchmark::DoNotOptimize(look);
    for (auto _ : state) {
        touch(frame.data());
        look(frame.data(), sum);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(sum);
}
BENCHMARK(plainCalls);

}  // namespace
}  // namespace vexcap
