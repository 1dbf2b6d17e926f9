#include "settings/setting.h"

#include <algorithm>

namespace vexcap {
namespace {

bool equalWithoutCase(std::u16string_view a, std::u16string_view b) {
    const auto lowered = [](char16_t unit) { return unit >= u'A' && unit <= u'Z' ? char16_t(unit + 32) : unit; };
    return std::ranges::equal(a, b, {}, lowered, lowered);
}

void assign(bool* target, bool value) {
    if (target) *target = value;
}

}  // namespace

std::span<const vex_setting> allSettings() { return setting::table; }

const vex_setting* findSetting(std::u16string_view name) {
    for (const vex_setting& entry : setting::table)
        if (equalWithoutCase(name, entry.name)) return &entry;
    return nullptr;
}

bool isOverlaySetting(const vex_setting& setting) { return &setting >= &setting::eMarkerGeo; }

bool isText(const vex_setting& setting) { return setting.kind == VEX_SETTING_TEXT; }

bool isWithinLimits(const vex_setting& setting, uint32_t value) {
    if (setting.kind == VEX_SETTING_SIGNED)
        return int32_t(value) >= int32_t(setting.least) && int32_t(value) <= int32_t(setting.most);
    return value >= setting.least && value <= setting.most;
}

uint32_t withinLimits(const vex_setting& setting, uint32_t value) {
    if (setting.kind == VEX_SETTING_BIT) return value & 1;
    if (isWithinLimits(setting, value)) return value;
    if (setting.kind == VEX_SETTING_CHOICE) return setting.standard;
    if (setting.kind == VEX_SETTING_NUMBER) return value < setting.least ? setting.least : setting.most;
    if (int32_t(value) < int32_t(setting.least)) return setting.least;
    // A form of dates that is not known is the short one.
    return &setting == &setting::Date ? uint32_t(VEX_DATE_SHORT) : setting.most;
}

uint32_t readNumber(ISettingsKey* key, const vex_setting& setting, bool* stored) {
    const std::optional<uint32_t> found = key ? key->ReadNumber(setting.name) : std::nullopt;
    assign(stored, found && (setting.kind != VEX_SETTING_CHOICE || isWithinLimits(setting, *found)));
    return found ? withinLimits(setting, *found) : setting.standard;
}

std::u16string readText(ISettingsKey* key, const vex_setting& setting, bool* stored) {
    std::optional<std::u16string> found = key ? key->ReadText(setting.name) : std::nullopt;
    const bool usable = found && found->size() <= setting.most;
    assign(stored, usable);
    return usable ? *std::move(found) : std::u16string();
}

Status writeNumber(ISettingsKey* key, const vex_setting& setting, uint32_t value) {
    return key ? key->WriteNumber(setting.name, withinLimits(setting, value)) : E_UNEXPECTED;
}

Status writeText(ISettingsKey* key, const vex_setting& setting, std::u16string_view value) {
    return key ? key->WriteText(setting.name, value) : E_UNEXPECTED;
}

}  // namespace vexcap
