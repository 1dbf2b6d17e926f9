/// UTF-8 of the terminal and the file system, UTF-16 of the library.
#pragma once

#include <vexcap/types.h>

#include <span>
#include <string>
#include <string_view>

namespace vexcap::host {

/// One code point of `text` from `position` on, which moves behind it. A broken sequence gives U+FFFD and moves by one
/// byte. `position` must be inside.
char32_t nextCodePoint(std::string_view text, size_t& position);

/// False for a text with a broken sequence, which would change on its way through UTF-16.
bool isUtf8(std::string_view text);

/// Broken sequences become U+FFFD.
std::u16string toUtf16(std::string_view text);
/// Broken surrogates become U+FFFD; a null text is empty.
std::string toUtf8(const vex_char* text);

constexpr std::string_view forbiddenInFileNames = "< > : \" / \\ | ? *";
/// True for a text with none of them.
bool isPartOfFileName(std::string_view text);

/// With spaces behind it, at least so many bytes long.
std::string padded(std::string text, size_t width);

/// For a terminal: control characters, among them those that begin escape sequences, and broken sequences become
/// U+FFFD.
std::string printable(std::string_view text);

/// The one of `known` that a user most likely meant by `typed`: no more than two letters differ, are missing or change
/// places. Empty when none is that near. Letters count without case.
std::string closest(std::span<const std::string> known, std::string_view typed);

/// ASCII letters in lower case, everything else as it is.
std::string lowerCase(std::string_view text);

}  // namespace vexcap::host
