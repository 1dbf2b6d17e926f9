/// vexcap watch.
#pragma once

#include "hosts/cli/host.h"
#include "hosts/cli/options/options.h"
#include "hosts/cli/signals.h"
#include "hosts/common/exit_code.h"

namespace vexcap::cli {

/// Returns the exit status, or throws Failure.
ExitCode watch(const Options& options, const Signals& signals);

}  // namespace vexcap::cli
