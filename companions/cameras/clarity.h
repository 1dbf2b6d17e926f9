// How sharp a picture is.
#pragma once

#include <cstdint>

namespace vexcap::cameras {

/// Mean squared difference of neighbouring luminances, in squared grey levels; larger is sharper. Rows run bottom-up
/// and are padded to 4 bytes. 0 for null, sides below 2 and other depths than 24 and 32 bits.
double clarityFactor(const void* frame, uint32_t bitsPerPixel, uint32_t width, uint32_t height);

}  // namespace vexcap::cameras
