// A clock that is turned by hand.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/clock.h"

namespace vexcap {

/// Stands still until it is advanced; universal and local time go along with it. Any thread.
class FakeClock final : public IClock {
public:
    uint64_t Milliseconds() override { return now; }
    uint64_t UtcFileTime() override { return utcAtZero + now * fileTimePerMillisecond; }
    uint64_t LocalFileTime() override { return localAtZero + now * fileTimePerMillisecond; }
    /// Whoever sleeps turns the clock.
    void Sleep(uint32_t milliseconds) override { advance(milliseconds); }

    void advance(uint64_t milliseconds) { now += milliseconds; }
    void setMilliseconds(uint64_t milliseconds) { now = milliseconds; }
    /// What the wall clock shows now, in 100-nanosecond units since the year 1601.
    void setWallTime(uint64_t utc, uint64_t local) {
        utcAtZero = utc - now * fileTimePerMillisecond;
        localAtZero = local - now * fileTimePerMillisecond;
    }

private:
    static constexpr uint64_t fileTimePerMillisecond = 10'000;
    static constexpr uint64_t startOf2024 = 133'485'408'000'000'000;  // midnight of the first of January

    std::atomic<uint64_t> now = 100'000;
    std::atomic<uint64_t> utcAtZero = startOf2024;
    std::atomic<uint64_t> localAtZero = startOf2024;
};

}  // namespace vexcap
