// Turning a video device's pictures into those of the graph.
#pragma once

#include "graph/base_filter.h"
#include "platform/media.h"

namespace vexcap {

/// A filter of one input and one output that turns pictures of a device into RGB24, rows bottom-up: every layout of
/// VideoFormat, as VideoPicture lies in memory, the device's own row padding being gone. Samples of 10 to 16 bits keep
/// their upper eight. A sample that is shorter than a picture, or that cannot be decoded, is dropped, and the next one
/// has the mark of a discontinuity. Without a decoder for compressed pictures the filter refuses to pause, with the
/// code of IMedia::OpenDecoder.
/// Null for a type that it does not know, RGB24 with its rows bottom-up among them. `media` outlives the filter.
Ref<CBaseFilter> makeVideoConverter(IMedia& media, const MediaType& from);

}  // namespace vexcap
