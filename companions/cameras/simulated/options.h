// What an identifier asks of a simulated camera: "sim-planet;seed=7;fps=30".
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "companions/cameras/simulated/model.h"

namespace vexcap::cameras {

struct SimulatedOptions {
    const SimulatedModel* model = nullptr;
    SceneName scene = SceneName::Moon;
    uint64_t seed = 1;
    bool deterministic = false;              ///< Pictures depend on seed and frame number alone.
    bool refuse = false;                     ///< The camera cannot be opened.
    std::optional<uint32_t> dropAfter;       ///< Frames until the device is gone.
    std::optional<uint32_t> stallAfter;      ///< Frames until no more come.
    std::optional<uint32_t> wrongSizeAfter;  ///< Frames until they have another size than was told.
    std::optional<uint32_t> toldDepth;       ///< What GetBitDepth says.
    uint32_t frameRate = 0;                  ///< Frame-rate control at opening; 0: no limit.
};

/// Empty when the model or an option is unknown, or a value is malformed or outside of its range.
std::optional<SimulatedOptions> parseSimulatedOptions(std::u16string_view identifier);

}  // namespace vexcap::cameras
