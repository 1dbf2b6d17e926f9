/// Gives a session the overlay.
#pragma once

#include "hosts/common/overlay.h"
#include "hosts/common/session.h"

namespace vexcap::host {

/// Sets what is drawn over the session's pictures from now on. Throws Failure: exitUsage for a scale bar without room,
/// exitFailure for a watermark that cannot be read, exitNoMedia for texts that cannot be drawn here.
/// @param picture  Size of the picture that is drawn over.
/// @param scale    What is drawn on is so many times as wide as the picture.
void applyOverlay(const Session& session, const Overlay& overlay, const Size& picture, double scale = 1);

}  // namespace vexcap::host
