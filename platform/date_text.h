// Port: dates in the words of the user's locale.
#pragma once

#include <vexcap/types.h>

#include <cstddef>
#include <span>

#include "base/civil_time.h"

namespace vexcap {

/// Any thread. Allocates nothing.
struct IDateText {
    virtual ~IDateText() = default;
    /// Write a date without its time of day and give the length in UTF-16 units, without a terminator: as much as fits.
    /// 0 where the locale cannot tell.
    virtual size_t ShortDate(const CivilTime& date, std::span<vex_char> out) = 0;
    virtual size_t LongDate(const CivilTime& date, std::span<vex_char> out) = 0;
};

}  // namespace vexcap
