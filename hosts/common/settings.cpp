#include "hosts/common/settings.h"

#include <algorithm>
#include <charconv>

#include "hosts/common/failure.h"
#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

constexpr size_t textRoom = 260;  // UTF-16 units that the library writes

int64_t readNumber(const vex_setting& setting, std::string_view text) {
    int64_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || end != text.data() + text.size() || number < numberOf(setting, setting.least) ||
        number > numberOf(setting, setting.most))
        throw Failure(exitUsage, toUtf8(setting.name) + " goes from " + limitsText(setting));
    return number;
}

std::string readText(const vex_setting& setting, std::string_view text) {
    const std::string name = toUtf8(setting.name);
    if (!isUtf8(text)) throw Failure(exitUsage, "the text for " + name + " is not valid UTF-8");
    if (toUtf16(text).size() > setting.most) throw Failure(exitUsage, name + " takes " + limitsText(setting));
    // The only one that is a part of a file name.
    if (name == "FileNamePrefix" && !isPartOfFileName(text))
        throw Failure(exitUsage, name + " cannot have any of " + std::string(forbiddenInFileNames));
    return std::string(text);
}

}  // namespace

std::span<const vex_setting> allSettings() {
    uint32_t count = 0;
    const vex_setting* const first = vexcap_settings(&count);
    return {first, count};
}

bool isText(const vex_setting& setting) { return setting.kind == VEX_SETTING_TEXT; }

int64_t numberOf(const vex_setting& setting, uint32_t bits) {
    return setting.kind == VEX_SETTING_SIGNED ? int64_t(static_cast<int32_t>(bits)) : int64_t(bits);
}

Remembered remembered(const vex_setting& setting) {
    uint32_t number = 0;
    vex_char text[textRoom] = {};
    const bool stored = vexcap_get_setting(setting.name, &number, text) == S_OK;
    return {isText(setting) ? SettingValue(toUtf8(text)) : SettingValue(numberOf(setting, number)), stored};
}

const vex_setting& findSetting(std::string_view name) {
    // How the word is spelled, and how the setting is.
    const std::string wanted = lowerCase(name) == "filenameformat" ? "filenamefomat" : lowerCase(name);
    for (const vex_setting& setting : allSettings())
        if (lowerCase(toUtf8(setting.name)) == wanted) return setting;
    std::vector<std::string> names;
    for (const vex_setting& setting : allSettings()) names.push_back(toUtf8(setting.name));
    const std::string meant = closest(names, name);
    throw Failure(exitUsage,
                  "there is no setting " + std::string(name) +
                      (meant.empty() ? "; \"vexcap settings\" lists them" : "; did you mean " + meant + "?"));
}

void storeSetting(const vex_setting& setting, const SettingValue& value) {
    const int64_t* const number = std::get_if<int64_t>(&value);
    const std::u16string text = number ? std::u16string() : toUtf16(std::get<std::string>(value));
    const HRESULT result = vexcap_put_setting(setting.name, number ? static_cast<uint32_t>(*number) : 0, text.c_str());
    if (result == E_UNEXPECTED)
        throw Failure(exitFailure, "settings cannot be kept here; --settings names a directory");
    if (result < 0) throw Failure(exitFailure, "cannot store " + toUtf8(setting.name) + ": " + resultText(result));
}

std::vector<StoredSetting> storedSettings() {
    std::vector<StoredSetting> stored;
    for (const vex_setting& setting : allSettings())
        if (Remembered now = remembered(setting); now.stored) stored.push_back({&setting, std::move(now.value)});
    return stored;
}

SettingArgument parseSetting(std::string_view argument) {
    const size_t sign = argument.find('=');
    SettingArgument parsed = {&findSetting(argument.substr(0, sign)), {}};
    if (sign == argument.npos) return parsed;
    const std::string_view value = argument.substr(sign + 1);
    if (isText(*parsed.setting))
        parsed.value = readText(*parsed.setting, value);
    else
        parsed.value = readNumber(*parsed.setting, value);
    return parsed;
}

SettingValue standardValue(const vex_setting& setting) {
    return isText(setting) ? SettingValue(std::string()) : SettingValue(numberOf(setting, setting.standard));
}

std::string limitsText(const vex_setting& setting) {
    if (isText(setting)) return "at most " + std::to_string(setting.most) + " characters";
    return std::to_string(numberOf(setting, setting.least)) + " to " + std::to_string(numberOf(setting, setting.most));
}

std::string valueText(const SettingValue& value) {
    const int64_t* const number = std::get_if<int64_t>(&value);
    return number ? std::to_string(*number) : std::get<std::string>(value);
}

}  // namespace vexcap::host
