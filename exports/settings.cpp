// The exported functions of vexcap/settings.h.
#include "base/text.h"
#include "exports/exports.h"
#include "settings/naming.h"
#include "settings/setting.h"

using namespace vexcap;

namespace {

constexpr size_t settingRoom = 260;

bool isText(const vex_setting& setting) { return setting.kind == VEX_SETTING_TEXT; }

bool fits(const vex_setting& setting, uint32_t number, std::u16string_view text) {
    if (isText(setting))
        return text.size() <= setting.most && (&setting != &setting::FileNamePrefix || !hasForbiddenCharacter(text));
    return number >= setting.least && number <= setting.most;
}

}  // namespace

const vex_setting* vexcap_settings(uint32_t* count) {
    const std::span<const vex_setting> all = allSettings();
    if (count) *count = uint32_t(all.size());
    return all.data();
}

HRESULT vexcap_get_setting(const vex_char* name, uint32_t* number, vex_char* text) {
    return guarded<HRESULT>(E_OUTOFMEMORY, [&]() -> HRESULT {
        const vex_setting* const setting = findSetting(textOf(name));
        if (!setting) return E_INVALIDARG;
        ISettingsKey* const key = engineState().rootKey.get();
        bool stored = false;
        std::u16string value;
        uint32_t size = 0;
        if (isText(*setting)) {
            value = readText(key, *setting, &stored);
            size = uint32_t(value.size());
        } else {
            size = readNumber(key, *setting, &stored);
            value = formatText(u"%u", {uint64_t(size)});
        }
        if (number) *number = size;
        if (text) copyToField(text, settingRoom, value);
        return stored ? S_OK : S_FALSE;
    });
}

HRESULT vexcap_put_setting(const vex_char* name, uint32_t number, const vex_char* text) {
    return guarded<HRESULT>(E_OUTOFMEMORY, [&]() -> HRESULT {
        const vex_setting* const setting = findSetting(textOf(name));
        if (!setting || !fits(*setting, number, textOf(text))) return E_INVALIDARG;
        ISettingsKey* const key = engineState().rootKey.get();
        return (isText(*setting) ? writeText(key, *setting, textOf(text)) : writeNumber(key, *setting, number)).code();
    });
}

HRESULT vexcap_auto_path(const vex_name_rules* rules, const vex_char* extension, vex_char* path) {
    if (!path) return E_INVALIDARG;
    *path = 0;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] {
        constexpr vex_name_rules asRemembered = {nullptr, nullptr, VEX_NAME_AS_REMEMBERED, VEX_FOLDERS_AS_REMEMBERED};
        const auto made = autoPath(engineState(), rules ? *rules : asRemembered, textOf(extension));
        if (made.ok()) copyToField(path, pathRoom, made.value());
        return made.code();
    });
}
