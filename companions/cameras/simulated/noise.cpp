#include "companions/cameras/simulated/noise.h"

#include <cmath>
#include <numbers>
#include <vector>

namespace vexcap::cameras {

std::span<const float> noiseTable() {
    static const std::vector<float> table = [] {
        std::vector<float> made(noisePlaces + longestNoiseRow);
        for (size_t i = 0; i < made.size(); i += 2) {
            const double radius = std::sqrt(-2 * std::log(1 - stirUnit(0, i)));
            const double angle = 2 * std::numbers::pi * stirUnit(1, i);
            made[i] = float(radius * std::cos(angle));
            made[i + 1] = float(radius * std::sin(angle));
        }
        return made;
    }();
    return table;
}

}  // namespace vexcap::cameras
