#include "hosts/common/text/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace vexcap::host {

std::optional<uint32_t> parseNumber(std::string_view digits) {
    uint32_t number = 0;
    const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (failure != std::errc() || end != digits.data() + digits.size()) return {};
    return number;
}

std::optional<double> parseReal(std::string_view text) {
    double value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return {};
    return value;
}

std::optional<std::pair<int32_t, int32_t>> parsePair(std::string_view text) {
    std::pair<int32_t, int32_t> both;
    const char* const last = text.data() + text.size();
    const auto [comma, first] = std::from_chars(text.data(), last, both.first);
    if (first != std::errc() || comma == last || *comma != ',') return {};
    const auto [end, second] = std::from_chars(comma + 1, last, both.second);
    if (second != std::errc() || end != last) return {};
    return both;
}

std::string plainNumber(double value) {
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6).ptr};
}

std::string formatTime(double seconds) {
    const long whole = std::lround(std::floor(std::clamp(seconds, 0.0, 1e9)));
    char text[40];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

std::string formatBytes(double bytes) {
    static constexpr const char* units[] = {"B", "kB", "MB", "GB", "TB"};
    size_t unit = 0;
    // What would be rounded to 1000.0 belongs to the next unit.
    while (bytes >= (unit ? 999.95 : 999.5) && unit + 1 < std::size(units)) bytes /= 1000, ++unit;
    char text[40];
    std::snprintf(text, sizeof text, unit ? "%.1f %s" : "%.0f %s", bytes, units[unit]);
    return text;
}

std::string formatReal(double value) {
    char text[400];  // Room for the largest double.
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

}  // namespace vexcap::host
