/// The version of what is loaded.
#pragma once

#include <string>

namespace vexcap::host {

/// "vexcap 1.0.0".
std::string softwareText();
/// Several lines without a final line break: the program, and the libraries that it runs with.
std::string versionText();

}  // namespace vexcap::host
