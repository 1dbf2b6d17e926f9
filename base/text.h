// UTF-16 text of the boundary, and UTF-8 text of the system.
#pragma once

#include <vexcap/types.h>

#include <concepts>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vexcap {

/// Broken sequences become U+FFFD; nothing throws but a failed allocation.
std::string toUtf8(std::u16string_view text);
std::u16string toUtf16(std::string_view text);

/// A host's text, null as empty.
std::u16string_view textOf(const vex_char* text);

/// A text in a field of fixed room: up to its terminator, or to the room when there is none.
std::u16string_view textOfField(const vex_char* field, size_t room);

/// Copies at most room - 1 units and terminates.
void copyToField(vex_char* field, size_t room, std::u16string_view text);

/// True when `path` ends in `extension` (with its point, ASCII), letters without case: ("OUT.AVI", ".avi").
bool endsWithExtension(std::u16string_view path, std::string_view extension);

/// One value of a format: an integer, a real number or a text.
using FormatArgument = std::variant<int64_t, uint64_t, double, std::u16string>;

/// Formats %s %c %d %i %u %x %X %f %% with flags '0' and '-', width, precision and the length words h, l, ll.
/// Arguments are typed, so a wrong conversion prints the value in its own way instead of reading foreign memory; a
/// conversion without an argument prints itself.
std::u16string formatText(std::u16string_view format, const std::vector<FormatArgument>& arguments);

inline FormatArgument formatArgument(std::signed_integral auto number) { return int64_t(number); }
inline FormatArgument formatArgument(std::unsigned_integral auto number) { return uint64_t(number); }
inline FormatArgument formatArgument(std::u16string_view text) { return std::u16string(text); }

/// The same with integers and texts of any type: textFrom(u"%s: %u", name, count).
template <typename... Values>
std::u16string textFrom(std::u16string_view format, const Values&... values) {
    return formatText(format, {formatArgument(values)...});
}

}  // namespace vexcap
