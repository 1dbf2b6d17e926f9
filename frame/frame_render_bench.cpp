// What a frame costs: a swap of pointers in the pooled mode, one memcpy in the copying mode.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <vector>

#include "base/dib.h"
#include "frame/frame_render.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_texture.h"

namespace vexcap {
namespace {

using Steady = std::chrono::steady_clock;

/// The real time, as its reading is a part of the cost.
struct SteadyClock final : IClock {
    uint64_t Milliseconds() override {
        return uint64_t(
            std::chrono::duration_cast<std::chrono::milliseconds>(Steady::now().time_since_epoch()).count());
    }
    uint64_t UtcFileTime() override { return 0; }
    uint64_t LocalFileTime() override { return 0; }
    void Sleep(uint32_t) override {}
};

double secondsOf(const auto& work) {
    const auto begin = Steady::now();
    work();
    return std::chrono::duration<double>(Steady::now() - begin).count();
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + ptrdiff_t(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void pooledFrame(benchmark::State& state) {
    SteadyClock clock;
    FakeTextures textures;
    FakeDisk disk;
    CFrameRender sink(SinkMode::Pooled, 25, 3, clock, textures, disk, false);
    const auto width = uint32_t(state.range(0)), height = uint32_t(state.range(1));
    sink.SetVideoSize(width, height, nullptr, nullptr, nullptr);
    for (auto _ : state) {
        void* display = nullptr;
        sink.NextBuffers(&display, nullptr, nullptr);
        sink.ReceiveFrame(display, nullptr, nullptr, 0, 0, width, height, 0);
    }
}
BENCHMARK(pooledFrame)->Args({640, 480})->Args({4144, 2822});

/// `ratio_to_memcpy`: time of a plain memcpy of the frame by the time of the sink. The two take turns, so that each
/// finds the other's traces in the caches.
void copiedFrame(benchmark::State& state) {
    SteadyClock clock;
    FakeTextures textures;
    FakeDisk disk;
    CFrameRender sink(SinkMode::Copying, 25, 3, clock, textures, disk, false);
    const auto width = uint32_t(state.range(0)), height = uint32_t(state.range(1));
    const size_t bytes = dibStride(width, 3) * height;
    const std::vector<uint8_t> frame(bytes, 7);
    const PixelBuffer target(bytes, PixelBuffer::Fill::Zero);
    const auto limit = [&] {
        std::memcpy(target.data(), frame.data(), bytes);
        benchmark::ClobberMemory();
    };
    const auto sinkFrame = [&] { sink.ReceiveFrame(frame.data(), nullptr, nullptr, 0, 0, width, height, 0); };
    sinkFrame();
    std::vector<double> ratios;
    for (auto _ : state) {
        const double plain = secondsOf(limit);
        const double own = secondsOf(sinkFrame);
        state.SetIterationTime(own);
        ratios.push_back(plain / own);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
    state.counters["ratio_to_memcpy"] = median(ratios);
}
BENCHMARK(copiedFrame)->Args({640, 480})->Args({1920, 1080})->Args({4144, 2822})->UseManualTime();

}  // namespace
}  // namespace vexcap
