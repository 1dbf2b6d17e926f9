// How many frames a second each simulated camera can make, without its pace and without the engine behind it.
#include <benchmark/benchmark.h>

#include "companions/cameras/simulated/model.h"
#include "companions/cameras/simulated/scene.h"
#include "companions/cameras/simulated/sensor.h"
#include "companions/cameras/simulated/settings.h"

namespace vexcap::cameras {
namespace {

void produce(benchmark::State& state) {
    const SimulatedModel& model = simulatedModels()[size_t(state.range(0))];
    SimulatedSensor sensor(model, sceneFor(model.scene, model.width, model.height, model.mosaic), 1);
    const SensorView view = SimulatedSettings(model).View();
    SensorExposure exposure;
    exposure.depth = uint32_t(state.range(1));
    exposure.microseconds = model.exposure;
    for (auto _ : state) {
        ++exposure.noiseKey;
        exposure.seconds += 0.01;
        benchmark::DoNotOptimize(sensor.Expose(view, exposure).samples);
    }
    state.counters["frames"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    state.SetLabel(std::string(model.identifier.begin(), model.identifier.end()));
}
BENCHMARK(produce)
    ->Unit(benchmark::kMillisecond)
    ->ArgNames({"model", "depth"})
    ->Args({0, 8})
    ->Args({0, 12})
    ->Args({1, 8})
    ->Args({1, 12})
    ->Args({2, 8})
    ->Args({2, 12})
    ->Args({3, 8});

void buildScene(benchmark::State& state) {
    const SimulatedModel& model = simulatedModels()[size_t(state.range(0))];
    for (auto _ : state)
        benchmark::DoNotOptimize(sceneFor(model.scene, model.width, model.height, model.mosaic)->light.size());
    state.SetLabel(std::string(model.identifier.begin(), model.identifier.end()));
}
BENCHMARK(buildScene)->Unit(benchmark::kMillisecond)->DenseRange(0, 3);

}  // namespace
}  // namespace vexcap::cameras
