/// What the library has to say to users and to support: result codes in words, why a start failed, boxes, and a log.
///
/// Every text is UTF-16. The words here are English, or the system's own for its errors; the texts of boxes are those
/// of the string library (vexcap/string_library.h).
#ifndef VEXCAP_REPORT_H
#define VEXCAP_REPORT_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

/// What a result code means, in words without a full stop: u"Permission denied". A code of the system (0x8007....) has
/// the words of the system in the language of the process, any other one those of this library. Any thread, any time.
/// @param buffer  Becomes the text, cut to `room` and terminated; may be null.
/// @param room    Characters that fit into it, its terminator included.
/// @return The length of the whole text without its terminator, never 0 but without memory.
VEXCAP_API uint32_t vexcap_result_text(HRESULT code, vex_char* buffer, uint32_t room);

VEXCAP_EXTERN_C_END
#endif
