#include "settings/remembered.h"

#include "base/text.h"
#include "settings/naming.h"

namespace vexcap {
namespace {

std::u16string digits(const vex_setting& setting, uint32_t number) {
    if (setting.kind == VEX_SETTING_SIGNED) return formatText(u"%d", {int64_t(int32_t(number))});
    return formatText(u"%u", {uint64_t(number)});
}

bool fits(const vex_setting& setting, std::u16string_view text) {
    return text.size() <= setting.most && (&setting != &setting::FileNamePrefix || !hasForbiddenCharacter(text));
}

}  // namespace

std::optional<SettingValue> getSetting(ISettingsKey* recordings, const MarkerSettings& overlay,
                                       std::u16string_view name) {
    const vex_setting* const setting = findSetting(name);
    if (!setting) return {};
    SettingValue value;
    if (isText(*setting)) {
        value.text = readText(recordings, *setting, &value.stored);
        value.number = uint32_t(value.text.size());
    } else {
        value.number = isOverlaySetting(*setting) ? overlay.Number(*setting, value.stored)
                                                  : readNumber(recordings, *setting, &value.stored);
        value.text = digits(*setting, value.number);
    }
    return value;
}

Status putSetting(ISettingsKey* recordings, MarkerSettings& overlay, std::u16string_view name, uint32_t number,
                  std::u16string_view text) {
    const vex_setting* const setting = findSetting(name);
    if (!setting) return E_INVALIDARG;
    if (isText(*setting)) return fits(*setting, text) ? writeText(recordings, *setting, text) : E_INVALIDARG;
    if (!isWithinLimits(*setting, number)) return E_INVALIDARG;
    return isOverlaySetting(*setting) ? overlay.PutNumber(*setting, number) : writeNumber(recordings, *setting, number);
}

}  // namespace vexcap
