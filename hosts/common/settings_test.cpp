#include "hosts/common/settings.h"

#include <gtest/gtest.h>

#include "hosts/common/failure.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {
namespace settings_test {

std::string nameOf(const SettingArgument& argument) { return toUtf8(argument.setting->name); }

/// The text of an argument that is refused.
std::string refusal(const std::string& argument) {
    try {
        parseSetting(argument);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, exitUsage);
        return failure.what();
    }
    return "not refused";
}

TEST(Setting, ANameAloneIsLeftAtItsValue) {
    EXPECT_EQ(nameOf(parseSetting("BitRateScale")), "BitRateScale");
    EXPECT_FALSE(parseSetting("BitRateScale").value);
}

TEST(Setting, LettersOfANameCountWithoutCase) { EXPECT_EQ(nameOf(parseSetting("bitratescale")), "BitRateScale"); }

TEST(Setting, TheSettingThatIsSpelledOddlyIsFoundUnderTheWordToo) {
    EXPECT_EQ(nameOf(parseSetting("FileNameFormat=4")), "FileNameFomat");
    EXPECT_EQ(nameOf(parseSetting("FileNameFomat=4")), "FileNameFomat");
}

TEST(Setting, ANumberHasItsLimits) {
    EXPECT_EQ(parseSetting("BitRateScale=25").value, SettingValue(25u));
    EXPECT_EQ(parseSetting("BitRateScale=400").value, SettingValue(400u));
    for (const char* wrong : {"24", "401", "", "x", "1e2", "100x", " 100", "-1", "4294967396", "99999999999999999999"})
        EXPECT_EQ(refusal(std::string("BitRateScale=") + wrong), "BitRateScale goes from 25 to 400") << wrong;
    EXPECT_EQ(parseSetting("LUIDLowPart=4294967295").value, SettingValue(4294967295u));
}

TEST(Setting, ANumberMayHaveASign) {
    EXPECT_EQ(parseSetting("eMarkerxPos=-50").value, SettingValue(-50));
    EXPECT_EQ(parseSetting("eMarkerxPos=50").value, SettingValue(50));
    EXPECT_NE(refusal("eMarkerxPos=-51").find("goes from -50 to 50"), std::string::npos);
    EXPECT_NE(refusal("eMarkerxPos=51").find("goes from -50 to 50"), std::string::npos);
    EXPECT_NE(refusal("BitRateScale=-1").find("goes from 25 to 400"), std::string::npos);
    EXPECT_EQ(valueText(SettingValue(-7)), "-7");
}

TEST(Setting, ATextHasItsLength) {
    EXPECT_EQ(parseSetting("CaptureTitle=a=b").value, SettingValue(std::string("a=b")));
    EXPECT_EQ(parseSetting("CaptureTitle=").value, SettingValue(std::string()));
    std::string longest;
    for (int i = 0; i < 128; ++i) longest += "\xC3\xA9";
    EXPECT_EQ(parseSetting("CaptureTitle=" + longest).value, SettingValue(longest));
    EXPECT_EQ(refusal("CaptureTitle=" + longest + "x"), "CaptureTitle takes at most 128 characters");
    EXPECT_NE(refusal("CaptureTitle=\xFF").find("UTF-8"), std::string::npos);
}

TEST(Setting, APartOfAFileNameHasNoCharactersThatAFileNameCannotHave) {
    for (const char c : std::string("<>:\"/\\|?*"))
        EXPECT_NE(refusal(std::string("FileNamePrefix=a") + c).find("cannot have any of"), std::string::npos) << c;
    EXPECT_TRUE(parseSetting("FileNamePrefix=M 31 ").value);
    EXPECT_TRUE(parseSetting("CapturePath=/a/b").value);
}

TEST(Setting, AnUnknownNameIsRefused) {
    for (const char* name : {"Nothing", "Nothing=1", "", "=1"})
        EXPECT_NE(refusal(name).find("there is no setting"), std::string::npos) << name;
}

}  // namespace settings_test
}  // namespace vexcap::host
