// The real pictures that simulated cameras look at.
#pragma once

#include <cstdint>
#include <vector>

namespace vexcap::cameras {

/// What a camera looks at, named by its picture.
enum class SceneName { Cell, Hubble, Ihc, Moon };

/// Top row first, no padding.
struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 0;  ///< 1: grey. 3: red, green, blue.
    std::vector<uint8_t> samples;
};

/// Decodes a picture that is built into the library. Throws std::runtime_error when a decoder refuses it.
Picture loadPicture(SceneName name);

}  // namespace vexcap::cameras
