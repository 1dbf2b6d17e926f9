// The exported functions for play state and position.
#include "exports/exports.h"

using namespace vexcap;

uint32_t vexcap_get_state(vexcap_context* context) { return context ? contextOf(context)->PlayState() : 0; }

void vexcap_set_state(vexcap_context* context, uint32_t state) {
    act(context, [&](CaptureContext& c) { c.SetPlayState(state); });
}

int32_t vexcap_get_seek(vexcap_context* context, int64_t* duration, uint32_t* caps) {
    if (!context) return 0;
    if (duration) *duration = contextOf(context)->Duration();
    if (caps) *caps = contextOf(context)->SeekCaps();
    return 1;
}

void vexcap_set_pos(vexcap_context* context, int64_t position) {
    act(context, [&](CaptureContext& c) { c.SetPosition(position); });
}

int64_t vexcap_get_pos(vexcap_context* context) {
    if (!context) return -1;
    return guarded<int64_t>(-1, [&] { return contextOf(context)->Position(); });
}
