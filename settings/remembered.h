// Single settings by name, as the boundary reads and writes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "settings/marker_settings.h"
#include "settings/setting.h"

namespace vexcap {

/// What vexcap_get_setting returns.
struct SettingValue {
    uint32_t number = 0;  ///< The number, or the length of a text.
    std::u16string text;  ///< The text, or the number in digits.
    bool stored = false;  ///< Not the standard value.
};

/// Nothing for a name that is none. `recordings` is the key of recordings, null where settings cannot be kept.
std::optional<SettingValue> getSetting(ISettingsKey* recordings, const MarkerSettings& overlay,
                                       std::u16string_view name);

/// As vexcap_put_setting.
Status putSetting(ISettingsKey* recordings, MarkerSettings& overlay, std::u16string_view name, uint32_t number,
                  std::u16string_view text);

}  // namespace vexcap
