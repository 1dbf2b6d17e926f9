// Recordings through the whole library, as a host makes them.
#pragma once

#include <string>

#include "hosts/common/context.h"
#include "tests/support/camera.h"

namespace vexcap::test {

/// What to record. The engine runs with the camera library that knows `camera`.
struct Take {
    std::string camera;   ///< Identifier.
    std::string display;  ///< What stands in the file as instrument.
    Region region = {};   ///< Set once the preview runs.
    int32_t seconds = 0;
    int32_t frames = 0;
};

/// Begins a recording of every sensor frame, by vexcap_start_capture_astro.
HRESULT record(const host::Context& context, const std::string& file, int32_t seconds = 0, int32_t frames = 0);

/// Records to `file` and waits for the limit message, for a minute at most. False when a step failed.
/// `counts` tells what became of the frames.
bool record(const Take& take, const std::string& file, vex_recording_counts* counts = nullptr);

}  // namespace vexcap::test
