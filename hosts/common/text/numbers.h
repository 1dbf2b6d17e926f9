/// Numbers as texts, the same in every locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vexcap::host {

/// A whole decimal number; nothing for another text.
std::optional<uint32_t> parseNumber(std::string_view digits);
/// A finite number with a point, whatever the locale is; nothing else in the text.
std::optional<double> parseReal(std::string_view text);
/// "5,-10": two whole numbers.
std::optional<std::pair<int32_t, int32_t>> parsePair(std::string_view text);

/// Up to six digits, with a point whatever the locale is, and without zeros at the end: "0.5", "1296".
std::string plainNumber(double value);
/// "0:05", "1:02:03"; less than a second counts as the second that it begins.
std::string formatTime(double seconds);
/// Three digits or so in decimal units: "999 B", "1.2 kB", "48.3 MB".
std::string formatBytes(double bytes);
/// With one decimal.
std::string formatReal(double value);

}  // namespace vexcap::host
