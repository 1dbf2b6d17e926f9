#include "platform/linux/settings.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

namespace vexcap {
namespace {

namespace fs = std::filesystem;

class SettingsTest : public testing::Test {
protected:
    SettingsTest() {
        std::string name = (fs::temp_directory_path() / "vexcap-settings-XXXXXX").string();
        directory = mkdtemp(name.data());
    }
    ~SettingsTest() override { fs::remove_all(directory); }
    fs::path directory;
};

TEST_F(SettingsTest, AKeyIsADirectoryWithAllThatLeadsToIt) {
    vex_key* const root = vex_key_directory((directory / "new").c_str());
    LinuxSettings settings;
    EXPECT_TRUE(settings.CreateKey(root, u"SOFTWARE\\Firm\\Prög\\vexcap").ok());
    EXPECT_TRUE(fs::is_directory(directory / "new/SOFTWARE/Firm/Prög/vexcap"));
    EXPECT_TRUE(settings.CreateKey(root, u"SOFTWARE\\Firm\\Prög\\vexcap").ok());
    vex_key_free(root);
}

TEST_F(SettingsTest, ANullRootFails) { EXPECT_EQ(LinuxSettings().CreateKey(nullptr, u"a").code(), E_INVALIDARG); }

TEST_F(SettingsTest, APlaceThatCannotBeADirectoryFails) {
    vex_key* const root = vex_key_directory("/dev/null");
    EXPECT_FALSE(LinuxSettings().CreateKey(root, u"a").ok());
    vex_key_free(root);
}

TEST(SettingsPath, NoNameLeadsOutOfTheRoot) {
    EXPECT_EQ(settingsPath("/r", u"a\\b"), "/r/a/b");
    EXPECT_EQ(settingsPath("/r", u"..\\..\\x"), "/r/_../_../x");
    EXPECT_EQ(settingsPath("/r", u"../x\\."), "/r/.._x/_.");
    EXPECT_EQ(settingsPath("/r", u"a\\\\b"), "/r/a/_/b");
    EXPECT_EQ(settingsPath("/r", std::u16string_view(u"a\0b", 3)), "/r/a_b");
    EXPECT_EQ(settingsPath("/r", u"/etc"), "/r/_etc");
    EXPECT_EQ(settingsPath("/r", u""), "/r/_");
}

TEST(VexKeyDirectory, NeedsAPath) {
    EXPECT_EQ(vex_key_directory(nullptr), nullptr);
    EXPECT_EQ(vex_key_directory(""), nullptr);
    vex_key_free(nullptr);
}

TEST(VexKeyUser, FollowsTheBaseDirectoryRules) {
    const auto keyOf = [](const char* config, const char* home) {
        config ? setenv("XDG_CONFIG_HOME", config, 1) : unsetenv("XDG_CONFIG_HOME");
        home ? setenv("HOME", home, 1) : unsetenv("HOME");
        vex_key* const key = vex_key_user();
        const fs::path directory = key ? key->directory : fs::path("none");
        vex_key_free(key);
        return directory;
    };
    EXPECT_EQ(keyOf("/config", "/home/a"), "/config");
    EXPECT_EQ(keyOf(nullptr, "/home/a"), "/home/a/.config");
    EXPECT_EQ(keyOf("relative", "/home/a"), "/home/a/.config");
    EXPECT_EQ(keyOf("", nullptr), "none");
}

}  // namespace
}  // namespace vexcap
