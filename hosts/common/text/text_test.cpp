#include "hosts/common/text/text.h"

#include <gtest/gtest.h>

namespace vexcap::host {
namespace text_test {

TEST(Text, GoesToUtf16AndBackUnchanged) {
    const std::string text = "plain \xC3\xA9 \xE2\x82\xAC \xF0\x9F\x94\xAD";
    const std::u16string wide = toUtf16(text);
    EXPECT_EQ(wide, u"plain \u00E9 \u20AC \U0001F52D");
    EXPECT_EQ(toUtf8(wide.c_str()), text);
}

TEST(Text, BrokenUtf8IsNoticedAndReplaced) {
    for (const char* broken :
         {"\xFF", "\xC3", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\x80"}) {
        EXPECT_FALSE(isUtf8(broken)) << broken;
        EXPECT_EQ(toUtf16(broken).front(), u'\uFFFD');
    }
    EXPECT_TRUE(isUtf8("caf\xC3\xA9"));
    EXPECT_TRUE(isUtf8(""));
}

TEST(Text, ALoneSurrogateBecomesTheReplacementCharacter) {
    const vex_char high[] = {0xD83D, 'a', 0};
    const vex_char low[] = {0xDD2D, 0};
    EXPECT_EQ(toUtf8(high),
              "\xEF\xBF\xBD"
              "a");
    EXPECT_EQ(toUtf8(low), "\xEF\xBF\xBD");
    EXPECT_EQ(toUtf8(nullptr), "");
}

TEST(Text, AFileNameCannotHaveNineCharacters) {
    for (const char c : std::string("<>:\"/\\|?*")) EXPECT_FALSE(isPartOfFileName(std::string("a") + c)) << c;
    EXPECT_TRUE(isPartOfFileName("M 31 (a).x"));
    EXPECT_TRUE(isPartOfFileName(""));
}

TEST(Text, LowerCaseTouchesAsciiLettersOnly) { EXPECT_EQ(lowerCase("AbZ[\xC3\x89]9"), "abz[\xC3\x89]9"); }

TEST(Printable, LeavesNothingThatATerminalWouldObey) {
    EXPECT_EQ(printable("Camera \u00B5 1"), "Camera \u00B5 1");
    EXPECT_EQ(printable("a\x1B[31mb\nc\x7F\u009Bd\xFF"), "a\uFFFD[31mb\uFFFDc\uFFFD\uFFFDd\uFFFD");
}

TEST(Closest, IsAWordWithASlipOrTwo) {
    const std::vector<std::string> commands = {"record", "devices", "formats", "snap", "play"};
    EXPECT_EQ(closest(commands, "recrod"), "record");
    EXPECT_EQ(closest(commands, "RECORD"), "record");
    EXPECT_EQ(closest(commands, "device"), "devices");
    EXPECT_EQ(closest(commands, "snpa"), "snap");
    for (const char* other : {"help", "", "x", "sp", "recording"}) EXPECT_EQ(closest(commands, other), "") << other;
}

}  // namespace text_test
}  // namespace vexcap::host
