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

uint32_t vexcap_last_error(vexcap_context* context, HRESULT* code, vex_char* buffer, uint32_t room) {
    const Failure& failure = context ? contextOf(context)->LastFailure() : engineState().failure;
    if (code) *code = failure.code;
    return copyOut(failure.text, buffer, room);
}

void vexcap_message_hook(vex_message_hook hook, void* context) {
    engineState().platform->messageBox.SetHook(hook, context);
}

void vexcap_log_hook(vex_log_hook hook, void* context, uint32_t level) {
    engineState().platform->log.SetHook(hook, context, level);
}
