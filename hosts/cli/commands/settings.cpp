#include "hosts/cli/commands/settings.h"

#include <algorithm>

#include "hosts/cli/report/output.h"
#include "hosts/cli/report/setting_text.h"
#include "hosts/common/engine.h"
#include "hosts/common/settings.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

namespace {

void listAll() {
    struct Line {
        std::string name, value, limits;
        SettingHelp help;
    };
    std::vector<Line> lines;
    size_t nameWidth = 0, valueWidth = 0;
    for (const vex_setting& setting : allSettings()) {
        const Remembered now = remembered(setting);
        const std::string quote = isText(setting) ? "\"" : "";
        Line line = {toUtf8(setting.name), quote + valueText(now.value) + quote, limitsText(setting),
                     settingHelp(setting)};
        if (!now.stored) line.value += " (standard)";
        nameWidth = std::max(nameWidth, line.name.size());
        valueWidth = std::max(valueWidth, std::min<size_t>(line.value.size(), 30));
        lines.push_back(line);
    }
    for (const SettingUse use : {SettingUse::Record, SettingUse::Hosts}) {
        printLine(use == SettingUse::Record ? "Followed by vexcap record:"
                                            : "For hosts with windows; vexcap keeps them, and does not follow them:");
        for (const Line& line : lines) {
            if (line.help.use != use) continue;
            printLine("  " + padded(line.name, nameWidth) + "  " + padded(line.value, valueWidth) + "  " + line.limits);
            printLine("      " + std::string(line.help.text));
        }
    }
}

void print(const vex_setting& setting, bool json) {
    const Remembered now = remembered(setting);
    printLine(json ? settingJson(setting, now) : valueText(now.value));
}

}  // namespace

ExitCode manageSettings(const Options& options) {
    // All are looked at before the first one is stored.
    std::vector<SettingArgument> wished;
    for (const std::string& argument : options.settings) wished.push_back(parseSetting(argument));
    for (const std::string& name : options.defaults) {
        const vex_setting& setting = findSetting(name);
        wished.push_back({&setting, standardValue(setting)});
    }

    EngineConfig withoutCameras = options.engine;
    withoutCameras.library.clear();
    const Engine engine(withoutCameras, Mode::Pictures);
    engine.OpenOverlaySettings();
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
