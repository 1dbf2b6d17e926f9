// What is asked of a camera in more than one place: the size of its frames, its frame rate.
#pragma once

#include <vexcap/camera_library.h>

#include "base/status.h"

namespace vexcap {

/// Size of the frames that the camera delivers, in pixels: after region of interest, binning and rotation. Both sides
/// are even. E_INVALIDARG for null; a camera that reports neither region nor size returns its own failure, and the size
/// is undefined then.
Status finalSize(ICamera* camera, uint32_t& width, uint32_t& height);

/// Highest frame rate of the present resolution, in frames a second. 30 where it reports none, and for a rate
/// outside 1 to 1023.
uint32_t maxFrameRate(ICamera* camera);

}  // namespace vexcap
