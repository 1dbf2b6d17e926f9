// Settings as the text of a TOML file: a value is found by its name, and changed where it stands.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace vexcap {

/// A number, or a text in UTF-8.
using SettingValue = std::variant<uint32_t, std::string>;

/// What a file begins as.
inline constexpr std::string_view newSettings = "# Settings of vexcap. They may be edited here; comments are kept.\n";

/// ASCII letters in lower case, everything else as it is.
char lowered(char letter);
/// Equal but for the case of ASCII letters.
bool sameName(std::string_view a, std::string_view b);

/// The value of this name outside of all tables; the first one where names differ in case only. Anything else than an
/// integer from -2147483648 to 4294967295, or than a text, is none; a negative number gives its 32 bits. A damaged
/// file has no values: one that is not TOML, or whose tables and arrays nest deeper than anybody writes.
std::optional<uint32_t> findNumber(std::string_view file, std::string_view name);
std::optional<std::string> findText(std::string_view file, std::string_view name);

/// What is wrong with a damaged file, empty for another one.
std::string damageOf(std::string_view file);

/// The file with this value: it takes the place of the one that the functions above find, whatever it is, or comes
/// after the last one outside of all tables. Everything else stays as it is, comments and layout too. Nothing when the
/// file is damaged.
std::optional<std::string> withValue(std::string_view file, std::string_view name, const SettingValue& value);

}  // namespace vexcap
