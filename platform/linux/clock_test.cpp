#include "platform/linux/clock.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>

namespace vexcap {
namespace clock_test {

constexpr uint64_t ticksPerSecond = 10'000'000;

TEST(LinuxClock, TheTickIsTheLowHalfOfTheMilliseconds) {
    LinuxClock clock;
    const uint64_t before = clock.Milliseconds();
    const uint32_t tick = clock.Tick();
    const uint64_t after = clock.Milliseconds();
    EXPECT_LE(tick - uint32_t(before), uint32_t(after - before));
}

TEST(LinuxClock, SleepTakesAtLeastItsTime) {
    LinuxClock clock;
    const uint64_t before = clock.Milliseconds();
    clock.Sleep(20);
    EXPECT_GE(clock.Milliseconds() - before, 19u);
}

TEST(LinuxClock, UniversalTimeCountsFrom1601ToTheMillisecond) {
    LinuxClock clock;
    const time_t now = std::time(nullptr);
    const uint64_t fileTime = clock.UtcFileTime();
    EXPECT_EQ(fileTime % 10'000, 0u);
    const int64_t seconds = int64_t(fileTime / ticksPerSecond) - 11'644'473'600;
    EXPECT_LE(now, seconds);
    EXPECT_LE(seconds, now + 5);
}

TEST(LinuxClock, LocalTimeIsAheadByTheZonesOffset) {
    LinuxClock clock;
    setenv("TZ", "XYZ-3:30", 1);  // three and a half hours east
    tzset();
    const int64_t offset = int64_t(clock.LocalFileTime() - clock.UtcFileTime()) / int64_t(ticksPerSecond);
    EXPECT_GE(offset, 3 * 3600 + 1800 - 1);
    EXPECT_LE(offset, 3 * 3600 + 1800);
    unsetenv("TZ");
    tzset();
}

}  // namespace clock_test
}  // namespace vexcap
