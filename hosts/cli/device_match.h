/// Which camera a user means.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vexcap::cli {

struct Device {
    std::string name;        ///< What a user sees.
    std::string identifier;  ///< What opens it, without the open-mode character.
    bool operator==(const Device&) const = default;
};

/// The camera that `wanted` names. The first of these rules that fits decides:
/// - a decimal number is an index of the list;
/// - a whole identifier, or a whole name without regard to case of ASCII letters;
/// - the beginning of one name only, then a part of one name only, without regard to case.
/// What fits no rule is taken for the identifier of a camera that is not listed, and gives that with its own name.
/// Throws Failure: exitNoDevice for an empty text or an index behind the list, exitUsage for a text that fits several.
Device matchDevice(const std::vector<Device>& devices, std::string_view wanted);

}  // namespace vexcap::cli
