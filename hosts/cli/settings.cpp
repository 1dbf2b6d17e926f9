#include "hosts/cli/settings.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <span>

#include "hosts/cli/commands.h"
#include "hosts/cli/failure.h"
#include "hosts/cli/json.h"
#include "hosts/cli/result_text.h"
#include "hosts/cli/session.h"
#include "hosts/cli/text.h"

namespace vexcap::cli {

namespace {

constexpr size_t textRoom = 260;  // UTF-16 units that the library writes

std::span<const vex_setting> allSettings() {
    uint32_t count = 0;
    const vex_setting* const first = vexcap_settings(&count);
    return {first, count};
}

bool isText(const vex_setting& setting) { return setting.kind == VEX_SETTING_TEXT; }

uint32_t parseNumber(const vex_setting& setting, std::string_view text) {
    uint32_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || end != text.data() + text.size() || number < setting.least || number > setting.most)
        throw Failure(exitUsage, toUtf8(setting.name) + " goes from " + limitsText(setting));
    return number;
}

std::string parseText(const vex_setting& setting, std::string_view text) {
    const std::string name = toUtf8(setting.name);
    if (!isUtf8(text)) throw Failure(exitUsage, "the text for " + name + " is not valid UTF-8");
    if (toUtf16(text).size() > setting.most) throw Failure(exitUsage, name + " takes " + limitsText(setting));
    // The only one that is a part of a file name.
    if (name == "FileNamePrefix" && !isPartOfFileName(text))
        throw Failure(exitUsage, name + " cannot have any of " + std::string(forbiddenInFileNames));
    return std::string(text);
}

struct Remembered {
    SettingValue value;
    bool stored = false;  ///< Not the standard value.
};

Remembered read(const vex_setting& setting) {
    uint32_t number = 0;
    vex_char text[textRoom] = {};
    const bool stored = vexcap_get_setting(setting.name, &number, text) == S_OK;
    return {isText(setting) ? SettingValue(toUtf8(text)) : SettingValue(number), stored};
}

void listAll() {
    struct Line {
        std::string name, value, limits;
    };
    std::vector<Line> lines;
    size_t nameWidth = 0, valueWidth = 0;
    for (const vex_setting& setting : allSettings()) {
        const Remembered remembered = read(setting);
        const std::string quote = isText(setting) ? "\"" : "";
        Line line = {toUtf8(setting.name), quote + valueText(remembered.value) + quote, limitsText(setting)};
        if (!remembered.stored) line.value += " (standard)";
        nameWidth = std::max(nameWidth, line.name.size());
        valueWidth = std::max(valueWidth, std::min<size_t>(line.value.size(), 30));
        lines.push_back(line);
    }
    for (const Line& line : lines)
        std::printf("%-*s  %-*s  %s\n", static_cast<int>(nameWidth), line.name.c_str(), static_cast<int>(valueWidth),
                    line.value.c_str(), line.limits.c_str());
}

void print(const vex_setting& setting, bool json) {
    const Remembered remembered = read(setting);
    const std::string text =
        json ? settingJson(setting, remembered.value, remembered.stored) : valueText(remembered.value);
    std::printf("%s\n", text.c_str());
}

}  // namespace

const vex_setting& findSetting(std::string_view name) {
    // How the word is spelled, and how the setting is.
    const std::string wanted = lowerCase(name) == "filenameformat" ? "filenamefomat" : lowerCase(name);
    for (const vex_setting& setting : allSettings())
        if (lowerCase(toUtf8(setting.name)) == wanted) return setting;
    throw Failure(exitUsage, "there is no setting " + std::string(name) + "; \"vexcap settings\" lists them");
}

void storeSetting(const vex_setting& setting, const SettingValue& value) {
    const uint32_t* const number = std::get_if<uint32_t>(&value);
    const std::u16string text = number ? std::u16string() : toUtf16(std::get<std::string>(value));
    const HRESULT result = vexcap_put_setting(setting.name, number ? *number : 0, text.c_str());
    if (result == E_UNEXPECTED)
        throw Failure(exitFailure, "settings cannot be kept here; --settings names a directory");
    if (result < 0) throw Failure(exitFailure, "cannot store " + toUtf8(setting.name) + ": " + resultText(result));
}

std::vector<StoredSetting> storedSettings() {
    std::vector<StoredSetting> stored;
    for (const vex_setting& setting : allSettings())
        if (Remembered remembered = read(setting); remembered.stored)
            stored.push_back({&setting, std::move(remembered.value)});
    return stored;
}

SettingArgument parseSetting(std::string_view argument) {
    const size_t sign = argument.find('=');
    SettingArgument parsed = {&findSetting(argument.substr(0, sign)), {}};
    if (sign == argument.npos) return parsed;
    const std::string_view value = argument.substr(sign + 1);
    if (isText(*parsed.setting))
        parsed.value = parseText(*parsed.setting, value);
    else
        parsed.value = parseNumber(*parsed.setting, value);
    return parsed;
}

std::string limitsText(const vex_setting& setting) {
    if (isText(setting)) return "at most " + std::to_string(setting.most) + " characters";
    return std::to_string(setting.least) + " to " + std::to_string(setting.most);
}

std::string valueText(const SettingValue& value) {
    const uint32_t* const number = std::get_if<uint32_t>(&value);
    return number ? std::to_string(*number) : std::get<std::string>(value);
}

std::string settingJson(const vex_setting& setting, const SettingValue& value, bool stored) {
    JsonObject object;
    object.Text("type", "setting").Text("name", toUtf8(setting.name));
    if (isText(setting))
        object.Text("value", valueText(value)).Integer("mostCharacters", setting.most);
    else
        object.Integer("value", std::get<uint32_t>(value))
            .Integer("standard", setting.standard)
            .Integer("least", setting.least)
            .Integer("most", setting.most);
    return object.Flag("stored", stored).Line();
}

ExitCode manageSettings(const Options& options) {
    // All are looked at before the first one is stored.
    std::vector<SettingArgument> wished;
    for (const std::string& argument : options.settings) wished.push_back(parseSetting(argument));

    Options withoutCameras = options;
    withoutCameras.library.clear();
    const Engine engine(withoutCameras, Mode::Pictures);
    for (const SettingArgument& argument : wished)
        if (argument.value) storeSetting(*argument.setting, *argument.value);
    for (const SettingArgument& argument : wished)
        if (options.json || !argument.value) print(*argument.setting, options.json);
    if (wished.empty() && !options.json) listAll();
    if (wished.empty() && options.json)
        for (const vex_setting& setting : allSettings()) print(setting, true);
    return exitDone;
}

}  // namespace vexcap::cli
