// Compiled by tests, and linked into nothing: the order of locks holds across classes that know nothing of each other.
// VEX_HELD and VEX_TAKEN name two of them to lock in the wrong order, which must be an error.
#include "base/lock_order.h"

namespace vexcap {

struct Graph {
    RecursiveMutex graphLock VEX_ACQUIRED_AFTER(graphRank) VEX_ACQUIRED_BEFORE(interfaceRank);
} graph;
struct Filter {
    RecursiveMutex interfaceLock VEX_ACQUIRED_AFTER(interfaceRank) VEX_ACQUIRED_BEFORE(rendererRank);
} filter;
struct Renderer {
    RecursiveMutex rendererLock VEX_ACQUIRED_AFTER(rendererRank) VEX_ACQUIRED_BEFORE(captureRank);
} renderer;
struct Capture {
    RecursiveMutex captureLock VEX_ACQUIRED_AFTER(captureRank) VEX_ACQUIRED_BEFORE(frameRank);
} capture;
struct Frame {
    RecursiveMutex frameLock VEX_ACQUIRED_AFTER(frameRank) VEX_ACQUIRED_BEFORE(markerRank);
} frame;
struct Marker {
    RecursiveMutex markerLock VEX_ACQUIRED_AFTER(markerRank) VEX_ACQUIRED_BEFORE(darkRank);
} marker;
struct Dark {
    RecursiveMutex darkLock VEX_ACQUIRED_AFTER(darkRank) VEX_ACQUIRED_BEFORE(rateRank);
} dark;
struct Rate {
    Mutex rateLock VEX_ACQUIRED_AFTER(rateRank);
} rate;

void inOrder() {
    const RecursiveMutexGuard first(graph.graphLock), second(filter.interfaceLock), third(renderer.rendererLock),
        fourth(capture.captureLock), fifth(frame.frameLock), sixth(marker.markerLock), seventh(dark.darkLock);
    const MutexGuard eighth(rate.rateLock);
}

#ifdef VEX_HELD
void inTheWrongOrder() {
    const Guard held(VEX_HELD);
    const Guard taken(VEX_TAKEN);
}
#endif

}  // namespace vexcap
