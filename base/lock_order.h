// The order of locks. A thread takes those of the main chain from the top down and leaves out what it does not need:
//
//     graphRank      a filter graph's lock
//     interfaceRank  a filter's interfaceLock; of two filters that of the one upstream first
//     rendererRank   a renderer's rendererLock
//     captureRank    a recording's captureLock
//     frameRank      a sink's frameLock
//     markerRank     a marker's markerLock; of two that of a filter first
//     darkRank       a dark field's darkLock
//     rateRank       the lock of a frame rate
//
// The locks of queues, pools and events nest in nothing. A streaming thread takes no interfaceLock upstream of the pin
// that it is in, and a worker none of its own filter: a stop holds it while it waits for the worker. A callback gate is
// entered before any lock and left after all of them.
//
// Each lock of the chain is declared after its own rank and before the next one, which lets clang's thread-safety
// analysis report a wrong order across classes. It sees the locks of one function: those that it takes, and those that
// it requires where the same source file takes them, too. What a callback takes it does not see.
#pragma once

#include "base/mutex.h"

namespace vexcap {

/// A place in the order. Never held.
struct VEX_CAPABILITY("lock rank") LockRank {};

inline constexpr LockRank rateRank;
inline constexpr LockRank darkRank VEX_ACQUIRED_BEFORE(rateRank);
inline constexpr LockRank markerRank VEX_ACQUIRED_BEFORE(darkRank);
inline constexpr LockRank frameRank VEX_ACQUIRED_BEFORE(markerRank);
inline constexpr LockRank captureRank VEX_ACQUIRED_BEFORE(frameRank);
inline constexpr LockRank rendererRank VEX_ACQUIRED_BEFORE(captureRank);
inline constexpr LockRank interfaceRank VEX_ACQUIRED_BEFORE(rendererRank);
inline constexpr LockRank graphRank VEX_ACQUIRED_BEFORE(interfaceRank);

}  // namespace vexcap
