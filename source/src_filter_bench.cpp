// What a camera's callback pays for PushFrame: beside the copy alone, with a sink that takes frames and one that is
// stuck.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "base/dib.h"
#include "platform/fake/fake_camera.h"
#include "platform/fake/fake_clock.h"
#include "source/source_testing.h"
#include "source/src_filter.h"

namespace vexcap {
namespace {

using test::SampleSink;

double microsecondsOf(const std::chrono::steady_clock::duration& time) {
    return std::chrono::duration<double, std::micro>(time).count();
}

double percentile(std::vector<double>& times, double part) {
    const auto place = times.begin() + ptrdiff_t(part * double(times.size() - 1));
    std::nth_element(times.begin(), place, times.end());
    return *place;
}

void copyAlone(benchmark::State& state) {
    const std::vector<uint8_t> source(dibStride(uint32_t(state.range(0)), 3) * size_t(state.range(1)), 1);
    std::vector<std::vector<uint8_t>> targets(3, std::vector<uint8_t>(source.size()));
    size_t next = 0;
    std::vector<double> times;
    for (auto _ : state) {
        const auto before = std::chrono::steady_clock::now();
        std::memcpy(targets[next++ % 3].data(), source.data(), source.size());
        times.push_back(microsecondsOf(std::chrono::steady_clock::now() - before));
    }
    state.counters["p99.9_us"] = percentile(times, 0.999);
}
BENCHMARK(copyAlone)->Args({640, 480})->Args({1920, 1080});

void pushFrame(benchmark::State& state) {
    FakeCamera camera;
    camera.width = int32_t(state.range(0));
    camera.height = int32_t(state.range(1));
    const bool stuck = state.range(2);
    FakeClock clock;
    const auto filter = makeRef<CSrcFilter>(clock);
    const auto sink = makeRef<SampleSink>();
    sink->countOnly();
    filter->SetCamera(&camera);
    test::outputOf(*filter).Connect(sink->Input());
    sink->Run(0);
    filter->Run(0);
    sink->block(stuck);
    const uint32_t width = uint32_t(camera.width), height = uint32_t(camera.height);
    const std::vector<uint8_t> source(dibStride(width, 3) * height, 1);
    std::vector<double> times;
    size_t taken = 0;
    for (auto _ : state) {
        const auto before = std::chrono::steady_clock::now();
        taken += filter->PushFrame(source.data(), width, height) == S_OK;
        times.push_back(microsecondsOf(std::chrono::steady_clock::now() - before));
    }
    state.counters["p99.9_us"] = percentile(times, 0.999);
    state.counters["taken"] = double(taken);
    sink->Stop();
    filter->Stop();
    test::disconnect(test::outputOf(*filter));
}
BENCHMARK(pushFrame)
    ->ArgNames({"width", "height", "stuck"})
    ->Args({640, 480, 0})
    ->Args({640, 480, 1})
    ->Args({1920, 1080, 0})
    ->Args({1920, 1080, 1});

}  // namespace
}  // namespace vexcap
