/// A setting as JSON.
#pragma once

#include <string>

#include "hosts/cli/host.h"
#include "hosts/common/settings.h"

namespace vexcap::cli {

/// One JSON object.
std::string settingJson(const vex_setting& setting, const Remembered& remembered);

}  // namespace vexcap::cli
