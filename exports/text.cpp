// The exported functions of vexcap/text.h.
#include <algorithm>

#include "base/text.h"
#include "exports/exports.h"

using namespace vexcap;

namespace {

bool continuesUtf8(char byte) { return (uint8_t(byte) & 0xC0) == 0x80; }

}  // namespace

size_t vexcap_utf8_from_utf16(const vex_char* from, char* to, size_t room) {
    if (!to) room = 0;
    if (room) *to = 0;
    return guarded<size_t>(0, [&] {
        const std::string text = toUtf8(textOf(from));
        if (room) {
            size_t kept = std::min(text.size(), room - 1);
            while (kept < text.size() && continuesUtf8(text[kept])) --kept;
            *std::copy_n(text.begin(), kept, to) = 0;
        }
        return text.size();
    });
}

size_t vexcap_utf16_from_utf8(const char* from, vex_char* to, size_t room) {
    if (!to) room = 0;
    if (room) *to = 0;
    return guarded<size_t>(0, [&] {
        const std::u16string text = toUtf16(from ? from : "");
        copyToField(to, room, text);
        return text.size();
    });
}
