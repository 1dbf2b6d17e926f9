#include "hosts/common/text/numbers.h"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace vexcap::host {

namespace {

/// With a point in every locale.
std::string decimals(double value, int count) {
    char digits[400];  // room for the largest double
    return {digits, std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, count).ptr};
}

}  // namespace

std::optional<uint32_t> parseNumber(std::string_view digits) {
    uint32_t number = 0;
    const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (failure != std::errc() || end != digits.data() + digits.size()) return {};
    return number;
}

const std::string& userDecimalPoint() {
    static const std::string point = [] {
        const locale_t user = newlocale(LC_NUMERIC_MASK, "", locale_t{});
        if (!user) return std::string(".");  // the environment names a locale that is not installed
        std::string found = nl_langinfo_l(RADIXCHAR, user);
        freelocale(user);
        return found;
    }();
    return point;
}

std::optional<double> parseReal(std::string_view text, std::string_view point) {
    const size_t place = point.empty() || text.find('.') != text.npos ? text.npos : text.find(point);
    std::string plain(text.substr(0, place));
    if (place != text.npos) {
        plain += '.';
        plain += text.substr(place + point.size());
    }
    double value = 0;
    const char* const last = plain.data() + plain.size();
    const auto [end, failure] = std::from_chars(plain.data(), last, value);
    if (failure != std::errc() || end != last || !std::isfinite(value)) return {};
    return value;
}

std::optional<double> parseTime(std::string_view text, double unit) {
    // "ms" and "us" end in "s", too: the longer ones come first.
    constexpr std::pair<std::string_view, double> units[] = {
        {"min", 60}, {"ms", 1e-3}, {"us", 1e-6}, {"\u00B5s", 1e-6}, {"\u03BCs", 1e-6}, {"s", 1}, {"h", 3600}};
    for (const auto& [name, seconds] : units) {
        if (!text.ends_with(name)) continue;
        text.remove_suffix(name.size());
        if (text.ends_with(' ')) text.remove_suffix(1);
        unit = seconds;
        break;
    }
    const auto number = parseReal(text);
    if (!number || *number < 0) return {};
    return *number * unit;
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

std::string timeWithUnit(double seconds) {
    if (seconds >= 1 || seconds <= 0) return plainNumber(seconds) + " s";
    return seconds >= 1e-3 ? plainNumber(seconds * 1e3) + " ms" : plainNumber(seconds * 1e6) + " \u00B5s";
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
    return decimals(bytes, unit ? 1 : 0) + " " + units[unit];
}

std::string formatReal(double value) { return decimals(value, 1); }

}  // namespace vexcap::host
