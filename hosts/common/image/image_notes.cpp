#include "hosts/common/image/image_notes.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace vexcap::host {

std::string timeText(const timespec& taken) {
    tm local = {};
    localtime_r(&taken.tv_sec, &local);
    char day[64], rest[64];
    strftime(day, sizeof day, "%Y-%m-%dT%H:%M:%S", &local);
    const long minutes = std::labs(local.tm_gmtoff) / 60;
    std::snprintf(rest, sizeof rest, ".%03ld%c%02ld:%02ld", taken.tv_nsec / 1'000'000, local.tm_gmtoff < 0 ? '-' : '+',
                  minutes / 60, minutes % 60);
    return std::string(day) + rest;
}

std::string exposureText(uint32_t microseconds) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, microseconds / 1e6, std::chars_format::fixed, 6).ptr;
    std::string text(digits, end);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text + " s";
}

}  // namespace vexcap::host
