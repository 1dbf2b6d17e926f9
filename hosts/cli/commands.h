/// The commands of the program. Each one gives the exit status, or throws Failure.
#pragma once

#include "hosts/cli/options.h"
#include "hosts/cli/signals.h"

namespace vexcap::cli {

ExitCode listDevices(const Options& options);
ExitCode manageSettings(const Options& options);
ExitCode verifyFiles(const Options& options);
ExitCode record(const Options& options, const Signals& signals);
ExitCode watch(const Options& options, const Signals& signals);

}  // namespace vexcap::cli
