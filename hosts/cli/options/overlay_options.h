/// The options of what is drawn over pictures.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

#include "hosts/cli/host.h"
#include "hosts/common/overlay.h"

namespace vexcap::cli {

/// What is drawn over the picture.
void addOverlay(CLI::App& command, Overlay& overlay);
/// Checks what addOverlay filled, and makes what belongs together; throws CLI::ValidationError. Called when the whole
/// command line was read.
void finishOverlay(const CLI::App& command, Overlay& overlay);
/// Name of the first option of addOverlay that was given; empty for none.
std::string overlayOptionOf(const CLI::App& command);

}  // namespace vexcap::cli
