// The exported functions of vexcap/report.h and vexcap/version.h.
#include "engine/state/report.h"

#include "base/text.h"
#include "exports/exports.h"

using namespace vexcap;

namespace {

/// Hands a text out, cut to its room; the length of the whole.
uint32_t copyOut(std::u16string_view text, vex_char* buffer, uint32_t room) {
    if (buffer && room) copyToField(buffer, room, text);
    return uint32_t(text.size());
}

}  // namespace

uint32_t vexcap_version(void) { return VEXCAP_VERSION_NUMBER; }

uint32_t vexcap_result_text(HRESULT code, vex_char* buffer, uint32_t room) {
    copyOut({}, buffer, room);
    return guarded<uint32_t>(0, [&] { return copyOut(ResultText(engineState(), code), buffer, room); });
}
