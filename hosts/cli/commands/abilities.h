/// Whether a device can do what a command line asks for.
#pragma once

#include "hosts/cli/host.h"
#include "hosts/cli/options/options.h"
#include "hosts/common/device_match.h"

namespace vexcap::cli {

/// Throws Failure exitUsage when the options want of a camera what only a video input device can do, or the reverse.
void checkAbilities(const Device& device, const Options& options);

}  // namespace vexcap::cli
