// Events of the media graph, and the result codes that it uses.
#pragma once

#include <cstdint>

#include "base/codes.h"

namespace vexcap {

/// Events, as CFilterGraph::GetEvent gives them.
enum : uint32_t {
    EC_COMPLETE = 1,             ///< All that was to be shown is shown.
    EC_ERRORABORT = 3,           ///< The stream broke; first parameter: the code.
    EC_VIDEO_SIZE_CHANGED = 10,  ///< First parameter: width, and height in the next 16 bits.
    EC_DEVICE_LOST = 31          ///< First parameter: the source filter; second: 0 removal, 1 arrival.
};

}  // namespace vexcap
