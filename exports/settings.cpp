// The exported functions of vexcap/settings.h.
#include "base/text.h"
#include "exports/exports.h"
#include "settings/naming.h"
#include "settings/remembered.h"

using namespace vexcap;

namespace {

constexpr size_t settingRoom = 260;

}  // namespace

const vex_setting* vexcap_settings(uint32_t* count) {
    const std::span<const vex_setting> all = allSettings();
    if (count) *count = uint32_t(all.size());
    return all.data();
}

HRESULT vexcap_get_setting(const vex_char* name, uint32_t* number, vex_char* text) {
    return guarded<HRESULT>(E_OUTOFMEMORY, [&]() -> HRESULT {
        const auto value = getSetting(engineState().rootKey.get(), markerSettings(), textOf(name));
        if (!value) return E_INVALIDARG;
        if (number) *number = value->number;
        if (text) copyToField(text, settingRoom, value->text);
        return value->stored ? S_OK : S_FALSE;
    });
}

HRESULT vexcap_put_setting(const vex_char* name, uint32_t number, const vex_char* text) {
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] {
        return putSetting(engineState().rootKey.get(), markerSettings(), textOf(name), number, textOf(text)).code();
    });
}

HRESULT vexcap_auto_path(const vex_name_rules* rules, const vex_char* extension, vex_char* path) {
    if (!path) return E_INVALIDARG;
    *path = 0;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] {
        constexpr vex_name_rules asRemembered = {nullptr, nullptr, VEX_NAME_AS_REMEMBERED, VEX_FOLDERS_AS_REMEMBERED};
        const auto made = autoPath(engineState().Settings(), rules ? *rules : asRemembered, textOf(extension));
        if (made.ok()) copyToField(path, pathRoom, made.value());
        return made.code();
    });
}
