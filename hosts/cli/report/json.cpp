#include "hosts/cli/report/json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "hosts/cli/host.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    for (size_t position = 0; position < text.size();) {
        const size_t start = position;
        const char32_t point = nextCodePoint(text, position);
        const bool broken = point == 0xFFFD && position - start == 1;
        if (point == '"' || point == '\\') {
            out.push_back('\\');
            out.push_back(static_cast<char>(point));
        } else if (point < 0x20 || point == 0x7F || broken) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(point));
            out += escaped;
        } else {
            out += text.substr(start, position - start);
        }
    }
    return out + "\"";
}

JsonObject& JsonObject::Real(std::string_view name, double value) {
    if (!std::isfinite(value)) return Raw(name, "null");
    char digits[400];  // Room for the largest double.
    // Whatever the user's locale writes for a decimal point.
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 3).ptr;
    return Raw(name, {digits, end});
}

JsonObject& JsonObject::Raw(std::string_view name, std::string_view json) {
    if (!members.empty()) members += ",";
    members.append("\"").append(name).append("\":").append(json);
    return *this;
}

}  // namespace vexcap::cli
