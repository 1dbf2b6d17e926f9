#include "companions/cameras/simulated/model.h"

namespace vexcap::cameras {
namespace {

constexpr uint32_t wholeOnly[] = {1};
constexpr uint32_t wholeHalfQuarter[] = {1, 2, 4};
constexpr uint32_t depths8to12[] = {8, 12};
constexpr uint32_t depths8to14[] = {8, 12, 14};

constexpr SimulatedModel models[] = {
    {u"sim-planet", u"Simulated planetary camera", 1936, 1096, std::nullopt, depths8to12, 8, wholeOnly, 0, 170, 5'000,
     60'000'000, 12'000, 1.5f, SceneName::Moon},
    {u"sim-deepsky", u"Simulated deep-sky camera", 4144, 2822, Mosaic::Rggb, depths8to14, 14, wholeOnly, 0, 20, 100'000,
     1'000'000'000, 50'000, 2.5f, SceneName::Hubble},
    {u"sim-microscope", u"Simulated microscope camera", 2592, 1944, Mosaic::Grbg, depths8to12, 8, wholeHalfQuarter, 3,
     30, 20'000, 15'000'000, 9'000, 4.0f, SceneName::Ihc},
    {u"sim-fast", u"Simulated fast camera", 640, 480, std::nullopt, depths8to12, 8, wholeOnly, 0, 500, 1'000, 1'000'000,
     20'000, 6.0f, SceneName::Cell},
};

}  // namespace

std::span<const SimulatedModel> simulatedModels() { return models; }

uint32_t readoutMicroseconds(const SimulatedModel& model, uint32_t depth, uint32_t factor, uint32_t rows) {
    const uint64_t rowsASecond = uint64_t(model.fastestRate) * shrunkSide(model.height, factor) * factor;
    const uint64_t cycles = depth > 8 ? 2 : 1;
    return uint32_t(1'000'000 * cycles * rows / rowsASecond);
}

}  // namespace vexcap::cameras
