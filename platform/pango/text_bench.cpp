// What a text costs: figures, which are composed, and all else, which Pango draws.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "platform/pango/pango_text.h"

namespace vexcap::pango {
namespace {

using Steady = std::chrono::steady_clock;

/// Draws texts in turn, so that no answer is that of the last call. `ratio_to_memcpy`: time of a memcpy of the mask by
/// the time of measuring and drawing.
void drawTexts(benchmark::State& state, const std::vector<std::u16string>& texts) {
    PangoText raster;
    const TextFont font{.height = int32_t(state.range(0))};
    const TextSize size = raster.Measure(font, texts[0]);
    std::vector<uint8_t> mask(size_t(size.width) * size_t(size.height)), copy(mask.size());
    double drawing = 0, copying = 0;
    size_t turn = 0;
    for (auto _ : state) {
        const std::u16string& text = texts[turn++ % texts.size()];
        const auto begin = Steady::now();
        benchmark::DoNotOptimize(raster.Measure(font, text));
        raster.Draw(font, text, {mask.data(), size.width, size.height}, 0, 0);
        benchmark::ClobberMemory();
        const auto middle = Steady::now();
        std::memcpy(copy.data(), mask.data(), mask.size());
        benchmark::ClobberMemory();
        drawing += std::chrono::duration<double>(middle - begin).count();
        copying += std::chrono::duration<double>(Steady::now() - middle).count();
    }
    state.counters["ratio_to_memcpy"] = copying / drawing;
}

void figures(benchmark::State& state) { drawTexts(state, {u"2006-11-27 12:45:56", u"2006-11-27 12:45:57"}); }
BENCHMARK(figures)->Arg(16)->Arg(48)->Arg(160);

void pangoTexts(benchmark::State& state) { drawTexts(state, {u"Jupiter, 12:45:56 h", u"Jupiter, 12:45:57 h"}); }
BENCHMARK(pangoTexts)->Arg(16)->Arg(48)->Arg(160);

/// The first text of figures in a font.
void newFont(benchmark::State& state) {
    PangoText raster;
    const auto height = int32_t(state.range(0));
    raster.Measure({.height = height + 100}, u"a");
    int32_t weight = 100;
    for (auto _ : state) {
        weight = weight % 1000 + 1;
        benchmark::DoNotOptimize(raster.Measure({height, weight}, u"1"));
    }
}
BENCHMARK(newFont)->Arg(16)->Arg(48)->Arg(256);

}  // namespace
}  // namespace vexcap::pango
