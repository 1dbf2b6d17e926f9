// What an identifier asks of a simulated camera: "sim-planet;seed=7;fps=30".
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/status.h"
#include "companions/cameras/simulated/model.h"

namespace vexcap::cameras {

struct SimulatedOptions {
    const SimulatedModel* model = nullptr;
    SceneName scene = SceneName::Moon;
    uint64_t seed = 1;
    bool deterministic = false;              ///< Pictures depend on seed and frame number alone.
    bool refuse = false;                     ///< The camera cannot be opened: it is broken.
    bool busy = false;                       ///< The camera cannot be opened: somebody else has it.
    std::optional<uint32_t> dropAfter;       ///< Frames until the device is gone.
    std::optional<uint32_t> stallAfter;      ///< Frames until no more come.
    std::optional<uint32_t> wrongSizeAfter;  ///< Frames until they have another size than was told.
    std::optional<uint32_t> toldDepth;       ///< What GetBitDepth says.
    uint32_t frameRate = 0;                  ///< Frame-rate control at opening; 0: no limit.
};

/// VEX_E_FILE_NOT_FOUND when the model is unknown; E_INVALIDARG when an option is, or a value is malformed or outside
/// of its range.
Result<SimulatedOptions> parseSimulatedOptions(std::u16string_view identifier);

}  // namespace vexcap::cameras
