#include "hosts/cli/report/setting_text.h"

#include <gtest/gtest.h>

#include "hosts/common/text/text.h"

namespace vexcap::cli {
namespace setting_text_test {

TEST(Setting, JsonTellsValueAndLimits) {
    EXPECT_EQ(settingJson(*parseSetting("BitRateScale").setting, {SettingValue(120u), true}),
              R"({"type":"setting","name":"BitRateScale","value":120,"standard":100,"least":25,"most":400,)"
              R"("stored":true,"for":"hosts","help":"Percent of the usual bit rate of encoders"})");
    EXPECT_EQ(settingJson(*parseSetting("eMarkerxPos").setting, {SettingValue(-7), true}),
              R"({"type":"setting","name":"eMarkerxPos","value":-7,"standard":0,"least":-50,"most":50,)"
              R"("stored":true,"for":"hosts","help":"Place of the marker, percent of the width from the centre"})");
    EXPECT_EQ(settingJson(*parseSetting("CaptureTitle").setting, {SettingValue(std::string("M \"31\"")), false}),
              R"({"type":"setting","name":"CaptureTitle","value":"M \"31\"","mostCharacters":128,"stored":false,)"
              R"("for":"hosts","help":"Title written into encoded recordings"})");
}

TEST(SettingHelp, EverySettingOfTheLibraryIsExplained) {
    for (const vex_setting& setting : allSettings())
        EXPECT_STRNE(settingHelp(setting).text, "") << toUtf8(setting.name);
    EXPECT_EQ(settingHelp(findSetting("CapturePath")).use, SettingUse::Record);
    EXPECT_EQ(settingHelp(findSetting("TimeLimit")).use, SettingUse::Hosts);
}

}  // namespace setting_text_test
}  // namespace vexcap::cli
