// Frame statistics of a sink, and the throttle of its repaints.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/lock_order.h"
#include "base/mutex.h"

namespace vexcap {

/// Counts frames, keeps samples of the last half minute, and decides which frames may repaint the window, so that a
/// camera that is faster than the window costs no paints while every frame is counted. Reads no clock: every tick is
/// handed in, in milliseconds, and wraps at 32 bits. Any thread.
class CFrameRate {
public:
    /// `targetRate`: repaints a second, 0 for no limit.
    explicit CFrameRate(uint32_t targetRate);
    /// Counts a frame that came at `tick`. True when it may repaint the window.
    bool CountFrame(uint32_t tick) VEX_EXCLUDES(rateLock);
    /// Frames and milliseconds between the oldest and the newest sample; with less than two samples all frames since
    /// the first one, up to `now`. `total` are the frames since the last reset.
    void GetFrameRate(uint32_t now, uint32_t& frames, uint32_t& milliseconds, uint32_t& total) VEX_EXCLUDES(rateLock);
    /// Begins the statistics anew. The memory of repaints stays.
    void Reset() VEX_EXCLUDES(rateLock);
    /// True: every frame may repaint, and none is noted as a repaint.
    void PutThrottleOff(bool off) VEX_EXCLUDES(rateLock);

private:
    /// Total of frames at a tick.
    struct Sample {
        uint32_t tick;
        uint32_t total;
    };
    static constexpr size_t sampleRoom = 10;

    void AddFrame(uint32_t tick) VEX_REQUIRES(rateLock);
    void AddSample(uint32_t tick) VEX_REQUIRES(rateLock);
    const Sample& Newest() const VEX_REQUIRES(rateLock);
    bool MayRepaint(uint32_t tick) VEX_REQUIRES(rateLock);

    const uint32_t targetRate;
    const uint32_t period;                        // least spacing of repaints in slots of 10 ms, 0 for none
    Mutex rateLock VEX_ACQUIRED_AFTER(rateRank);  // nothing is locked under it
    bool throttleOff VEX_GUARDED_BY(rateLock) = false;
    uint32_t lastSlot VEX_GUARDED_BY(rateLock) = 0;
    uint64_t history VEX_GUARDED_BY(rateLock) = 0;    // bit n: a repaint n slots before lastSlot
    uint32_t firstTick VEX_GUARDED_BY(rateLock) = 0;  // 0: no frame yet
    uint32_t total VEX_GUARDED_BY(rateLock) = 0;
    std::array<Sample, sampleRoom> samples VEX_GUARDED_BY(rateLock) = {};  // ring; more than 3 s between two entries
    size_t head VEX_GUARDED_BY(rateLock) = 0;                              // the oldest entry
    size_t tail VEX_GUARDED_BY(rateLock) = 0;                              // where the next one goes
    size_t sampleCount VEX_GUARDED_BY(rateLock) = 0;
};

}  // namespace vexcap
