// The controls of a V4L2 device: brightness, gain and whatever else a driver lists.
#pragma once

#include <vector>

#include "platform/linux/video/v4l2_calls.h"
#include "platform/video_devices.h"

namespace vexcap {

/// Those that hold a number and can be read.
std::vector<VideoControl> v4l2Controls(const V4l2Node& node);
/// E_INVALIDARG for a value out of range.
Status v4l2GetControl(const V4l2Node& node, uint32_t id, int32_t& value);
Status v4l2PutControl(const V4l2Node& node, uint32_t id, int32_t value);

}  // namespace vexcap
