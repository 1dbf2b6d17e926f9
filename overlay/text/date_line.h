// The date as it stands in the picture.
#pragma once

#include <vexcap/types.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/date_text.h"

namespace vexcap {

/// Units of the longest date with its time of day.
inline constexpr size_t dateLineCapacity = 256;

/// Writes date and time of day in the format of a `MarkerTxt.Date` and gives the length: 0 for no format, and where the
/// locale cannot tell.
size_t writeDateLine(IDateText& dates, const CivilTime& moment, int32_t format,
                     std::span<vex_char, dateLineCapacity> out);

}  // namespace vexcap
