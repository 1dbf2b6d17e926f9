#include "platform/linux/clock.h"

#include <cerrno>
#include <ctime>

namespace vexcap {
namespace {

constexpr int64_t secondsFrom1601To1970 = 11'644'473'600;

timespec now(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return time;
}

uint64_t fileTime(time_t seconds, long nanoseconds) {
    const uint64_t milliseconds = uint64_t(seconds + secondsFrom1601To1970) * 1000 + uint64_t(nanoseconds / 1'000'000);
    return milliseconds * 10'000;
}

}  // namespace

uint64_t LinuxClock::Milliseconds() {
    const timespec time = now(CLOCK_MONOTONIC);
    return uint64_t(time.tv_sec) * 1000 + uint64_t(time.tv_nsec / 1'000'000);
}

uint64_t LinuxClock::UtcFileTime() {
    const timespec time = now(CLOCK_REALTIME);
    return fileTime(time.tv_sec, time.tv_nsec);
}

uint64_t LinuxClock::LocalFileTime() {
    const timespec time = now(CLOCK_REALTIME);
    tm local = {};
    if (!localtime_r(&time.tv_sec, &local)) return fileTime(time.tv_sec, time.tv_nsec);
    return fileTime(timegm(&local), time.tv_nsec);
}

void LinuxClock::Sleep(uint32_t milliseconds) {
    timespec left = {time_t(milliseconds / 1000), long(milliseconds % 1000) * 1'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

}  // namespace vexcap
