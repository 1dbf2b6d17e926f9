#include "hosts/common/context.h"

#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

vexcap_context* openDevice(vex_window* window, const Device& device, vex_char mode) {
    const std::u16string identifier = toUtf16(device.identifier), display = toUtf16(device.name);
    const std::u16string opened = device.IsCamera() ? mode + identifier : identifier;
    const vex_device record = {opened.c_str(), display.c_str(), device.kind, 0};
    return vexcap_device(window, window, &record, nullptr, nullptr, nullptr);
}

}  // namespace

Context::Context(vex_window* window, const Device& device, vex_char mode) : context(openDevice(window, device, mode)) {}

Context::Context(vex_window* window, const MediaFile& file)
    : context(vexcap_file(window, window, toUtf16(file.path).c_str())) {}

void Context::Stop() {
    vexcap_stop(context);
    context = nullptr;
}

std::string Context::LastError() const { return lastErrorText(context); }

vex_recording_counts Context::Counts() const {
    vex_recording_counts counts = {};
    vexcap_recording(context, &counts);
    return counts;
}

}  // namespace vexcap::host
