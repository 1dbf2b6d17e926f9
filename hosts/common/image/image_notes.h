/// What is told about a picture inside its file.
#pragma once

#include <time.h>

#include <cstdint>
#include <optional>
#include <string>

namespace vexcap::host {

struct ImageNotes {
    timespec taken = {};               ///< Of the system's clock.
    std::string device;                ///< What a user sees of it, UTF-8; empty when unknown.
    std::optional<uint32_t> exposure;  ///< Microseconds.
    std::optional<int32_t> gain;       ///< Percent.
    std::optional<double> pixelSize;   ///< Micrometres that a pixel shows.
};

/// "2026-11-21T19:03:05.123+01:00", in local time.
std::string timeText(const timespec& taken);
/// "0.005 s".
std::string exposureText(uint32_t microseconds);

}  // namespace vexcap::host
