/// One JSON object on one line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vexcap::cli {

/// `text` between quotes; control characters, quotes and backslashes escaped, broken UTF-8 replaced by U+FFFD.
std::string jsonString(std::string_view text);

/// Members stand in the order in which they were added. Names are taken as they are.
class JsonObject final {
public:
    JsonObject& Text(std::string_view name, std::string_view value) { return Raw(name, jsonString(value)); }
    JsonObject& Integer(std::string_view name, int64_t value) { return Raw(name, std::to_string(value)); }
    /// With three decimals; a number that is not finite becomes null.
    JsonObject& Real(std::string_view name, double value);
    JsonObject& Flag(std::string_view name, bool value) { return Raw(name, value ? "true" : "false"); }
    /// A value that is JSON already.
    JsonObject& Raw(std::string_view name, std::string_view json);
    /// Without a line break.
    std::string Line() const { return "{" + members + "}"; }

private:
    std::string members;
};

}  // namespace vexcap::cli
