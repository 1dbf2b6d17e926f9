// Compiled by a test, and linked into nothing: the order of locks holds across classes that know nothing of each other,
// and each pair in the wrong order is an error. VEX_HELD and VEX_TAKEN name the pair.
#include "base/lock_order.h"

namespace vexcap {

struct Graph {
    RecursiveMutex lock VEX_ACQUIRED_AFTER(graphRank) VEX_ACQUIRED_BEFORE(interfaceRank);
} graph;
struct Filter {
    RecursiveMutex lock VEX_ACQUIRED_AFTER(interfaceRank) VEX_ACQUIRED_BEFORE(rendererRank);
} filter;
struct Renderer {
    RecursiveMutex lock VEX_ACQUIRED_AFTER(rendererRank) VEX_ACQUIRED_BEFORE(captureRank);
} renderer;
struct Capture {
    RecursiveMutex lock VEX_ACQUIRED_AFTER(captureRank) VEX_ACQUIRED_BEFORE(frameRank);
} capture;
struct Frame {
    RecursiveMutex lock VEX_ACQUIRED_AFTER(frameRank) VEX_ACQUIRED_BEFORE(markerRank);
} frame;
struct Marker {
    RecursiveMutex lock VEX_ACQUIRED_AFTER(markerRank) VEX_ACQUIRED_BEFORE(darkRank);
} marker;
struct Dark {
    RecursiveMutex lock VEX_ACQUIRED_AFTER(darkRank) VEX_ACQUIRED_BEFORE(rateRank);
} dark;
struct Rate {
    Mutex lock VEX_ACQUIRED_AFTER(rateRank);
} rate;

void inOrder() {
    const RecursiveMutexGuard first(graph.lock), second(filter.lock), third(renderer.lock), fourth(capture.lock),
        fifth(frame.lock), sixth(marker.lock), seventh(dark.lock);
    const MutexGuard eighth(rate.lock);
}

#ifdef VEX_HELD
void inTheWrongOrder() {
    const Guard outer(VEX_HELD.lock);
    const Guard inner(VEX_TAKEN.lock);
}
#endif

}  // namespace vexcap
