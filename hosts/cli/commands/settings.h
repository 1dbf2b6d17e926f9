/// vexcap settings.
#pragma once

#include "hosts/cli/host.h"
#include "hosts/cli/options/options.h"
#include "hosts/common/exit_code.h"

namespace vexcap::cli {

/// Returns the exit status, or throws Failure.
ExitCode manageSettings(const Options& options);

}  // namespace vexcap::cli
