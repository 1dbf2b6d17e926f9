/// Formats that a device offers, and which one a user means.
#pragma once

#include <vexcap/records.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/common/size.h"

namespace vexcap::host {

struct Format {
    std::string layout;  ///< Code of a frame's layout, "MJPG" or "RGB24"; empty for a camera's.
    Size size;
    Size least, most;    ///< Sizes of this layout that the device offers; zeros, or the same, where there is one.
    double slowest = 0;  ///< Frames a second, 0 when unknown.
    double fastest = 0;  ///< Frames a second, 0 when unknown.
    bool HasSizeRange() const { return most.width && least != most; }
};

/// @param camera  The record is a camera's, of which only the size counts.
Format formatOf(const vex_capability& capability, bool camera);

/// " 0  MJPG   640x480      5.0 to 30.0 fps", without a line break.
std::string formatLine(size_t index, const Format& format);

/// What a user wants: an index, or a size with or without a layout.
struct FormatChoice {
    std::optional<uint32_t> index;
    std::string layout;
    Size size;
    bool operator==(const FormatChoice&) const = default;
};

/// "3", "640x480", "MJPG:640x480"; nothing for another text.
std::optional<FormatChoice> parseFormatChoice(const std::string& text);

/// Place of the first format that fits; letters of a layout count without case. Throws Failure exitUsage with the list
/// when none does.
uint32_t matchFormat(const std::vector<Format>& formats, const FormatChoice& choice);

}  // namespace vexcap::host
