#include "tests/support/recording.h"

namespace vexcap::test {

bool record(const Take& take, const std::string& file, vex_recording_counts* counts) {
    QueueWindow window;
    Context context(window.get(), take.camera, take.display);
    if (context.start() != S_OK) return false;
    if (take.region.width != 0) {
        auto* const camera = static_cast<ICamera*>(vexcap_get_interface(context.get(), nullptr));
        if (camera == nullptr || setRegion(camera, take.region) < 0) return false;
        if (!window.pumpUntilMessage(eventMessage, 60000)) return false;
    }
    if (context.record(file, take.seconds, take.frames) != S_OK) return false;
    const bool ended = window.pumpUntilMessage(limitMessage, 60000);
    if (counts != nullptr) *counts = context.counts();
    return ended && vexcap_fcapturing(context.get()) == 0;
}

}  // namespace vexcap::test
