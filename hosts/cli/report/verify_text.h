/// What `vexcap verify` prints.
#pragma once

#include <string>

#include "hosts/cli/host.h"
#include "hosts/cli/verify/report.h"
#include "hosts/common/exit_code.h"

namespace vexcap::cli {

ExitCode exitCodeOf(const FileReport& report);
/// Several lines with their line breaks.
std::string reportText(const std::string& file, const FileReport& report);
/// One JSON object.
std::string reportJson(const std::string& file, const FileReport& report);

/// "2026-11-21 12:34:56.789 UTC"
std::string timeText(int64_t millisecondsSince1970);

}  // namespace vexcap::cli
