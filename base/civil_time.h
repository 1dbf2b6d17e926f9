// A moment as people write it.
#pragma once

#include <chrono>
#include <cstdint>

namespace vexcap {

/// In the calendar of all the world; months and days count from 1.
struct CivilTime {
    int32_t year;
    uint32_t month;
    uint32_t day;
    uint32_t hour;
    uint32_t minute;
    uint32_t second;
};

/// `fileTime` counts 100-nanosecond units since the year 1601, as IClock tells it.
constexpr CivilTime civilTime(uint64_t fileTime) {
    using namespace std::chrono;
    constexpr sys_days epoch = year(1601) / January / 1;
    const sys_seconds moment = epoch + seconds(int64_t(fileTime / 10'000'000));
    const sys_days day = floor<days>(moment);
    const year_month_day date = day;
    const hh_mm_ss time(moment - day);
    return {int(date.year()),
            unsigned(date.month()),
            unsigned(date.day()),
            uint32_t(time.hours().count()),
            uint32_t(time.minutes().count()),
            uint32_t(time.seconds().count())};
}

}  // namespace vexcap
