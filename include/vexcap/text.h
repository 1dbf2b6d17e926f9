/// Text of this boundary is UTF-16; these turn it into UTF-8 and back, whatever the locale is. Any thread, before
/// vexcap_init, too.
#ifndef VEXCAP_TEXT_H
#define VEXCAP_TEXT_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

/// Writes UTF-16 text as UTF-8. What does not fit is cut off at the end, never inside a character; the result always
/// ends with a zero. Surrogates without a partner become U+FFFD.
/// @param from  Text that ends with a zero; null counts as empty.
/// @param to    The caller's; null writes nothing.
/// @param room  Bytes of `to`, with the zero; 0 writes nothing.
/// @return Bytes of the whole text without its zero, whatever fits: the text was cut where this is not below `room`.
///         0, and an empty text, when memory is short.
VEXCAP_API size_t vexcap_utf8_from_utf16(const vex_char* from, char* to, size_t room);

/// Writes UTF-8 text as UTF-16, in the same way: `room` and the result count UTF-16 units. Broken sequences become
/// U+FFFD.
VEXCAP_API size_t vexcap_utf16_from_utf8(const char* from, vex_char* to, size_t room);

VEXCAP_EXTERN_C_END
#endif
