// What an overlay costs: date, scale bar, cross with ticks and a watermark of 400x300 into a frame of 1920x1080, with
// real texts, against memcpy of the bytes that they touch.
#include "tests/overlay_bench.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>

#include "base/dib.h"
#include "overlay/marker.h"
#include "platform/linux/clock.h"
#include "platform/linux/date_text.h"
#include "platform/linux/file.h"
#include "platform/pango/pango_text.h"

namespace vexcap::bench {
namespace {

constexpr uint32_t width = 1920, height = 1080, waterWidth = 400, waterHeight = 300;
constexpr size_t frameBytes = dibStride(width, 3) * height;

/// Noise of a fixed seed.
std::vector<uint8_t> noise(size_t bytes) {
    std::vector<uint8_t> made(bytes);
    uint32_t state = 1;
    for (uint8_t& each : made) each = uint8_t((state = state * 1664525u + 1013904223u) >> 24);
    return made;
}

struct Ports {
    pango::PangoText texts;
    LinuxDateText dates;
    LinuxClock clock;
    LinuxFileSystem files;
};

/// Which parts are on.
enum Parts : uint32_t { date = 1, bar = 2, cross = 4, water = 8, all = 15 };

constexpr size_t memoryLine = 64;

/// Bytes of a frame that lie side by side.
struct Run {
    size_t begin, end;
};

class Overlay {
public:
    explicit Overlay(uint32_t parts) : marker({ports.texts, ports.dates, ports.clock, ports.files}, nullptr) {
        MarkerTxt txt = {.MarkerPos = VEX_CORNER_BOTTOM_RIGHT, .FontSize = 3, .FontWeight = 1, .ScaleSize = 3};
        txt.Date = parts & date ? VEX_DATE_NUMERIC : VEX_DATE_NONE;
        txt.Scale = parts & bar;
        txt.DateColor = txt.ScaleColor = 0x00FFFF;
        marker.SetTxt(txt);
        marker.SetScale({.videoLength = 300, .videoText = u"100 µm", .powerText = u""});
        if (parts & cross)
            marker.SetGeo({.eMarkerGeo = VEX_MARKER_CROSS,
                           .eMarkerGeoColor = 0x0000FF,
                           .eMarkerGeoFlag = 1,
                           .eMarkerGeox = 100,
                           .eMarkerGeoy = 100});
        marker.SetTick(25);
        if (!(parts & water)) return;
        const vex_bitmap_header header = {
            .biSize = 40, .biWidth = waterWidth, .biHeight = waterHeight, .biPlanes = 1, .biBitCount = 24};
        std::vector<uint8_t> dib = noise(sizeof header + dibStride(waterWidth, 3) * waterHeight);
        std::memcpy(dib.data(), &header, sizeof header);
        marker.SetWater({35, dib.data()});
        marker.SetWaterOffset(100, 100);
    }
    void Burn(uint8_t* frame) { marker.BurnOverlay(frame, width, height, false, {}, 3); }

    /// What it changes in a black frame or in a white one, in the lines of memory that processors write.
    std::vector<Run> Touched() {
        std::vector<uint8_t> black(frameBytes), white(frameBytes, 255);
        Burn(black.data());
        Burn(white.data());
        std::vector<Run> runs;
        for (size_t line = 0; line < frameBytes; line += memoryLine) {
            const size_t end = std::min(line + memoryLine, frameBytes);
            const auto isChanged = [&](const std::vector<uint8_t>& frame, uint8_t before) {
                return std::any_of(frame.begin() + ptrdiff_t(line), frame.begin() + ptrdiff_t(end),
                                   [before](uint8_t byte) { return byte != before; });
            };
            if (!isChanged(black, 0) && !isChanged(white, 255)) continue;
            if (!runs.empty() && runs.back().end == line) {
                runs.back().end = end;
            } else {
                runs.push_back({line, end});
            }
        }
        return runs;
    }

private:
    Ports ports;
    CMarker marker;
};

double secondsOf(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + ptrdiff_t(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// "ratio" is memcpy of what is touched, from frame to frame, / the work; "memcpys" its inverse: how many such copies
/// the work costs.
void against(benchmark::State& state, const std::vector<Run>& touched, const std::function<void()>& work) {
    constexpr int round = 8;  // one copy is too short to be measured alone
    const std::vector<uint8_t> from = noise(frameBytes);
    std::vector<uint8_t> to(frameBytes);
    const auto copy = [&] {
        for (int i = 0; i < round; ++i) {
            for (const Run& run : touched) std::memcpy(&to[run.begin], &from[run.begin], run.end - run.begin);
            benchmark::ClobberMemory();
        }
    };
    std::vector<double> ratios;
    work();
    for (auto _ : state) {
        const double before = secondsOf(copy);
        const double took = secondsOf([&] {
            for (int i = 0; i < round; ++i) work();
        });
        ratios.push_back((before + secondsOf(copy)) / 2 / took);
        state.SetIterationTime(took / round);
    }
    const double ratio = median(ratios);
    state.counters["ratio"] = ratio;
    state.counters["memcpys"] = 1 / ratio;
    size_t bytes = 0;
    for (const Run& run : touched) bytes += run.end - run.begin;
    state.counters["bytes"] = double(bytes);
}

void burn(benchmark::State& state, uint32_t parts) {
    Overlay overlay(parts);
    std::vector<uint8_t> frame = noise(frameBytes);
    against(state, overlay.Touched(), [&] { overlay.Burn(frame.data()); });
}

BENCHMARK_CAPTURE(burn, date, date)->UseManualTime();
BENCHMARK_CAPTURE(burn, scale_bar, bar)->UseManualTime();
BENCHMARK_CAPTURE(burn, cross_with_ticks, cross)->UseManualTime();
BENCHMARK_CAPTURE(burn, watermark, water)->UseManualTime();
BENCHMARK_CAPTURE(burn, all, all)->UseManualTime();

#ifdef VEXCAP_BENCH_LIBAVFILTER
/// The same work with filters of somebody else in place of ours; they bring their own frame.
void libavfilter(benchmark::State& state) {
    const std::unique_ptr<Peer> filters = makePeer(width, height, waterWidth, waterHeight);
    if (!filters) return state.SkipWithError("its filters are not there");
    Overlay overlay(all);
    against(state, overlay.Touched(), [&] { filters->Run(); });
}
BENCHMARK(libavfilter)->UseManualTime();
#endif

/// What every frame pays where nothing is set.
void nothingSet(benchmark::State& state) {
    Overlay overlay(0);
    std::vector<uint8_t> frame(frameBytes);
    for (auto _ : state) overlay.Burn(frame.data());
}
BENCHMARK(nothingSet);

}  // namespace
}  // namespace vexcap::bench
