#include "hosts/cli/report/setting_text.h"

#include "hosts/cli/report/json.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

std::string settingJson(const vex_setting& setting, const Remembered& remembered) {
    JsonObject object;
    object.Text("type", "setting").Text("name", toUtf8(setting.name));
    if (isText(setting))
        object.Text("value", valueText(remembered.value)).Integer("mostCharacters", setting.most);
    else
        object.Integer("value", std::get<int64_t>(remembered.value))
            .Integer("standard", numberOf(setting, setting.standard))
            .Integer("least", numberOf(setting, setting.least))
            .Integer("most", numberOf(setting, setting.most));
    return object.Flag("stored", remembered.stored).Line();
}

}  // namespace vexcap::cli
