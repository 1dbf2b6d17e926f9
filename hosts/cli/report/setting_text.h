/// What settings are for, and a setting as JSON.
#pragma once

#include <string>

#include "hosts/cli/host.h"
#include "hosts/common/settings.h"

namespace vexcap::cli {

/// Whom a setting is for.
enum class SettingUse {
    Record,  ///< vexcap record follows it.
    Hosts    ///< Hosts with windows follow it; vexcap keeps it for them.
};
struct SettingHelp {
    SettingUse use = SettingUse::Hosts;
    const char* text = "";  ///< A sentence without its full stop.
};
/// Empty for a setting that this program does not know.
SettingHelp settingHelp(const vex_setting& setting);

/// One JSON object.
std::string settingJson(const vex_setting& setting, const Remembered& remembered);

}  // namespace vexcap::cli
