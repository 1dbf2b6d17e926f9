#include "hosts/common/files/temporary_settings.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace vexcap::host {
namespace temporary_settings_test {

namespace fs = std::filesystem;

TEST(TemporarySettings, TheDirectoryIsItsOwnersAloneAndGoesWithAllThatIsInIt) {
    std::string directory;
    {
        TemporarySettings settings;
        EXPECT_EQ(settings.Directory(), "");
        settings.Make();
        directory = settings.Directory();
        EXPECT_EQ(fs::status(directory).permissions(), fs::perms::owner_all);
        fs::create_directories(fs::path(directory) / "a/b");
        std::ofstream(fs::path(directory) / "a/b/c") << "x";
    }
    EXPECT_FALSE(directory.empty());
    EXPECT_FALSE(fs::exists(directory));
}

TEST(TemporarySettings, OneThatWasNeverMadeLeavesEverythingAlone) {
    const TemporarySettings settings;
    EXPECT_TRUE(settings.Directory().empty());
}

}  // namespace temporary_settings_test
}  // namespace vexcap::host
