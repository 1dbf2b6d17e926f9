/// Names that recordings get by themselves.
#pragma once

#include <functional>
#include <string>

#include "hosts/cli/options.h"

namespace vexcap::cli {

/// A path by the rules, whose folder is made where it is missing. The engine must have been started. Throws Failure:
/// exitUsage for rules that make no path, exitFailure when the folder cannot be made.
std::string autoPath(const AutoName& rules);

/// Asks for paths until one is not taken, or the same one comes twice, which is given then.
std::string firstFree(const std::function<std::string()>& ask, const std::function<bool(const std::string&)>& taken);

}  // namespace vexcap::cli
