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
/// What stands before the decimals in the locale of the user's environment.
const std::string& userDecimalPoint();
/// A finite number and nothing else. Decimals stand behind "." or behind `point`.
std::optional<double> parseReal(std::string_view text, std::string_view point = userDecimalPoint());
/// A time from 0 on with or without a unit, in seconds: "1.5", "90s", "500ms", "20us", "2min", "1h".
/// @param unit  Seconds that a number without a unit counts.
std::optional<double> parseTime(std::string_view text, double unit);
/// "5,-10": two whole numbers.
std::optional<std::pair<int32_t, int32_t>> parsePair(std::string_view text);

/// Up to six digits, with a point whatever the locale is, and without zeros at the end: "0.5", "1296".
std::string plainNumber(double value);
/// A time in the unit that suits it: "32 µs", "1.5 ms", "60 s". UTF-8.
std::string timeWithUnit(double seconds);
/// "0:05", "1:02:03"; less than a second counts as the second that it begins.
std::string formatTime(double seconds);
/// Three digits or so in decimal units: "999 B", "1.2 kB", "48.3 MB".
std::string formatBytes(double bytes);
/// With one decimal.
std::string formatReal(double value);

}  // namespace vexcap::host
