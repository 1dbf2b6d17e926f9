#include "tests/support/recording.h"

#include <vexcap/camera_library.h>

#include "hosts/common/engine.h"
#include "tests/support/queue_window.h"
#include "tests/support/text.h"

namespace vexcap::test {

HRESULT record(const host::Context& context, const std::string& file, int32_t seconds, int32_t frames) {
    return vexcap_start_capture_astro(context.get(), wide(file).c_str(), seconds, frames);
}

bool record(const Take& take, const std::string& file, vex_recording_counts* counts) {
    QueueWindow window;
    host::Context context(window.get(), host::Device{take.display, take.camera});
    if (context.Start() != S_OK) return false;
    if (take.region.width != 0) {
        auto* const camera = static_cast<ICamera*>(vexcap_get_interface(context.get(), nullptr));
        if (camera == nullptr || setRegion(camera, take.region) < 0) return false;
        if (!window.pumpUntilMessage(host::messageEvent, 60000)) return false;
    }
    if (record(context, file, take.seconds, take.frames) != S_OK) return false;
    const bool ended = window.pumpUntilMessage(host::messageLimit, 60000);
    if (counts != nullptr) *counts = context.Counts();
    return ended && vexcap_fcapturing(context.get()) == 0;
}

}  // namespace vexcap::test
