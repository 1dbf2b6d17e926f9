/// The options of the commands that take one picture.
#pragma once

#include <CLI/CLI.hpp>

#include "hosts/cli/options/options.h"

namespace vexcap::cli {

void addSnap(CLI::App& command, Options& options);
void addView(CLI::App& command, Options& options);

}  // namespace vexcap::cli
