/// What the library remembers, as a user reads and writes it.
#pragma once

#include <vexcap/settings.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vexcap::host {

/// A number, with its sign, or a text in UTF-8.
using SettingValue = std::variant<int64_t, std::string>;

/// "NAME" or "NAME=VALUE".
struct SettingArgument {
    const vex_setting* setting = nullptr;
    std::optional<SettingValue> value;  ///< One that the setting can have.
};

/// Letters of the name count without case, and FileNameFormat is understood, too. Throws Failure exitUsage for an
/// unknown name and for a value that the setting cannot have.
SettingArgument parseSetting(std::string_view argument);

/// All that the library remembers, in its order.
std::span<const vex_setting> allSettings();
bool isText(const vex_setting& setting);
/// What the 32 bits of a number of this setting mean.
int64_t numberOf(const vex_setting& setting, uint32_t bits);

struct Remembered {
    SettingValue value;
    bool stored = false;  ///< Not the standard value.
};
/// Of the running engine.
Remembered remembered(const vex_setting& setting);

/// A setting whose value is stored.
struct StoredSetting {
    const vex_setting* setting = nullptr;
    SettingValue value;
};
/// What the running engine has stored; without what has its standard value.
std::vector<StoredSetting> storedSettings();
/// Stores a value in the settings of the running engine. Throws Failure exitFailure when it cannot be kept.
void storeSetting(const vex_setting& setting, const SettingValue& value);
/// The setting of this name, as for parseSetting.
const vex_setting& findSetting(std::string_view name);

/// What a setting has when nothing is stored.
SettingValue standardValue(const vex_setting& setting);

/// "25 to 400", "at most 128 characters".
std::string limitsText(const vex_setting& setting);
/// The value as it is typed.
std::string valueText(const SettingValue& value);

}  // namespace vexcap::host
