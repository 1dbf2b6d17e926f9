// Beginning and ending a pin's stream while the graph runs.
#include "graph/stream_control.h"

namespace vexcap {

void StreamControl::StartAt(const int64_t* start) {
    MutexGuard held(lock);
    startTime = start ? *start : always;
    stoppedNow = false;
}

void StreamControl::StopAt(const int64_t* stop) {
    MutexGuard held(lock);
    if (stop)
        stopTime = *stop;
    else
        stoppedNow = true;
}

bool StreamControl::Passes(int64_t time) {
    MutexGuard held(lock);
    return !stoppedNow && time >= startTime && time < stopTime;
}

}  // namespace vexcap
