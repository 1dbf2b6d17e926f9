/// UTF-8 of the terminal and the file system, UTF-16 of the library.
#pragma once

#include <vexcap/types.h>

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

/// ASCII letters in lower case, everything else as it is.
std::string lowerCase(std::string_view text);

}  // namespace vexcap::host
