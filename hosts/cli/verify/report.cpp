#include "hosts/cli/verify/report.h"

#include <cinttypes>
#include <cstdio>
#include <utility>

namespace vexcap::cli {

std::string hexText(uint64_t number) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%" PRIX64, number);
    return text;
}

void Problems::Add(std::string text) {
    if (told.size() < mostLines)
        told.push_back(std::move(text));
    else
        ++untold;
}

void Repeated::TellTo(Problems& problems) const {
    if (count == 0) return;
    problems.Add(count == 1 ? first : first + " (and " + std::to_string(count - 1) + " more like this)");
}

}  // namespace vexcap::cli
