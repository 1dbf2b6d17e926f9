// Plain ASCII text of the tests as the UTF-16 of the boundary.
#pragma once

#include <vexcap/types.h>

#include <string>
#include <string_view>

namespace vexcap::test {

inline std::u16string wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

/// Units beyond ASCII become '?'.
inline std::string narrow(const vex_char* text) {
    std::string out;
    for (; text != nullptr && *text != 0; ++text) out += *text < 128 ? char(*text) : '?';
    return out;
}

}  // namespace vexcap::test
