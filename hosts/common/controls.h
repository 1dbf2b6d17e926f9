/// Settings of a camera.
#pragma once

#include "hosts/common/session.h"
#include "hosts/common/source_settings.h"

namespace vexcap::host {

/// Sets what is wished for, and returns when frames have it. The camera is started again when it changes its depth only
/// between two streams. Failure exitUsage for what the camera does not have or does not allow.
void applySettings(Session& session, const CameraSettings& wished, const StopRequest& stop);

}  // namespace vexcap::host
