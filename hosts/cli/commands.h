/// The commands of the program. Each one gives the exit status, or throws Failure.
#pragma once

#include "hosts/cli/options.h"
#include "hosts/cli/signals.h"

namespace vexcap::cli {

ExitCode listCodecs(const Options& options);
ExitCode listDevices(const Options& options);
ExitCode listFormats(const Options& options);
ExitCode manageSettings(const Options& options);
ExitCode verifyFiles(const Options& options);
ExitCode manageDark(const Options& options, const Signals& signals);
ExitCode play(const Options& options, const Signals& signals);
ExitCode record(const Options& options, const Signals& signals);
ExitCode snap(const Options& options, const Signals& signals);
ExitCode view(const Options& options, const Signals& signals);
ExitCode watch(const Options& options, const Signals& signals);

}  // namespace vexcap::cli
