#include "platform/linux/platform.h"

#include <gtest/gtest.h>

namespace vexcap {
namespace platform_test {

TEST(LinuxPlatform, IsOneSetPerProcess) { EXPECT_EQ(&linuxPlatform(), &linuxPlatform()); }

TEST(LinuxPlatform, TellsItsMemoryAndVersion) {
    ISystemInfo& system = linuxPlatform().system;
    EXPECT_GE(system.TotalMemory(), uint64_t(64) << 20);
    EXPECT_LT(system.TotalMemory(), uint64_t(1) << 50);
    EXPECT_EQ(system.Version().major, 10u);
    EXPECT_EQ(system.Version().minor, 0u);
}

TEST(LinuxPlatform, SharesNoTextures) {
    ISharedTextures& textures = linuxPlatform().textures;
    EXPECT_FALSE(textures.Available());
    EXPECT_EQ(textures.Create(nullptr, nullptr, nullptr, 640, 480), nullptr);
}

TEST(LinuxPlatform, TellsDates) {
    vex_char text[64];
    EXPECT_GT(linuxPlatform().dates.ShortDate({2006, 11, 27, 0, 0, 0}, text), 0u);
}

}  // namespace platform_test
}  // namespace vexcap
