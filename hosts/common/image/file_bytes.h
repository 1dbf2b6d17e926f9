/// What the encoders of picture files have in common.
#pragma once

#include <cstdint>
#include <vector>

namespace vexcap::host {

using FileBytes = std::vector<uint8_t>;

/// Of PNG and TIFF files: the noise of a sensor takes eight times as long at the usual level and saves a tenth.
constexpr int compressionLevel = 2;

}  // namespace vexcap::host
