// The values that recordings are remembered by: names, standards, limits.
#pragma once

#include <vexcap/settings.h>

#include <span>
#include <string>
#include <string_view>

#include "platform/settings.h"

namespace vexcap {

/// All settings, as vexcap_settings gives them.
std::span<const vex_setting> allSettings();
/// The setting of this name, letters without case; null when there is none.
const vex_setting* findSetting(std::u16string_view name);

/// The value that is used: what is stored if it is usable, within its limits, else the standard. A null key has
/// nothing stored. `stored` becomes true when the value comes from the key; may be null.
uint32_t readNumber(ISettingsKey* key, const vex_setting& setting, bool* stored = nullptr);
std::u16string readText(ISettingsKey* key, const vex_setting& setting, bool* stored = nullptr);

/// Store a value; a number as readNumber would give it. E_UNEXPECTED without a key.
Status writeNumber(ISettingsKey* key, const vex_setting& setting, uint32_t value);
Status writeText(ISettingsKey* key, const vex_setting& setting, std::u16string_view value);

/// `value`, or what takes its place where it is outside of the limits.
uint32_t withinLimits(const vex_setting& setting, uint32_t value);

/// The settings by name, members of allSettings().
namespace setting {
extern const vex_setting &VideoCaptureAVI, &VideoCaptureH264, &AviCodec;
extern const vex_setting &BitRateScale, &SecPerKey, &SecPerKeyBroadcast, &CaptureQuality, &Hardware, &LUIDLowPart,
    &LUIDHighPart;
extern const vex_setting &UseTimeLimit, &TimeLimit;
extern const vex_setting &CaptureTitle, &CaptureAuthor, &CaptureCopyright, &CaptureDescription;
extern const vex_setting &FileNameFomat, &FileNamePrefix, &DirSub, &CapturePath;
extern const vex_setting& BroadcastPort;
}  // namespace setting

}  // namespace vexcap
