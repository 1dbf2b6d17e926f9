/// Whether a recording may be made where the user wants it.
#pragma once

#include <string>

namespace vexcap::cli {

/// Throws Failure: exitUsage for a file that exists while `overwrite` is not set, exitFailure for a directory that is
/// not there or does not take a file. Nothing is made or changed.
void checkOutputFile(const std::string& path, bool overwrite);

}  // namespace vexcap::cli
