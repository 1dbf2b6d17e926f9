#include "frame/frame_rate.h"

#include <bit>

namespace vexcap {
namespace {

constexpr uint32_t sampleSpacing = 3000;  // milliseconds
constexpr uint32_t slotMilliseconds = 10;
constexpr uint32_t historySlots = 64;

/// The n lowest bits, n modulo 64: a count below zero or above 63 wraps.
constexpr uint64_t mask(uint32_t n) { return (1ull << (n & 63)) - 1; }

}  // namespace

CFrameRate::CFrameRate(uint32_t rate) : targetRate(rate), period(rate == 0 ? 0 : 100 / rate) {}

bool CFrameRate::CountFrame(uint32_t tick) {
    const MutexGuard guard(rateLock);
    AddFrame(tick);
    return MayRepaint(tick);
}

void CFrameRate::AddFrame(uint32_t tick) {
    if (firstTick == 0) firstTick = tick;
    ++total;
    if (sampleCount == 0 || tick - Newest().tick > sampleSpacing) AddSample(tick);
}

void CFrameRate::AddSample(uint32_t tick) {
    samples[tail] = {tick, total};
    tail = (tail + 1) % sampleRoom;
    if (sampleCount < sampleRoom) {
        ++sampleCount;
    } else {
        head = (head + 1) % sampleRoom;
    }
}

const CFrameRate::Sample& CFrameRate::Newest() const { return samples[(tail + sampleRoom - 1) % sampleRoom]; }

bool CFrameRate::MayRepaint(uint32_t tick) {
    if (throttleOff || targetRate == 0) return true;
    const uint32_t slot = tick / slotMilliseconds;
    const uint32_t passed = slot - lastSlot;
    lastSlot = slot;
    if (passed >= historySlots) {
        history = 1;
        return true;
    }
    history <<= passed;
    if ((history & mask(period)) == 0) {
        history |= 1;
        return true;
    }
    if ((history & mask(period - 1)) != 0) return false;
    // The last repaint is one slot short of a period ago. Frames jitter by a slot, so this one passes, unless that
    // made two repaints too many within about two periods.
    if (std::popcount(history & mask(200 / targetRate - 3)) != 1) return false;
    history |= 1;
    return true;
}

void CFrameRate::GetFrameRate(uint32_t now, uint32_t& frames, uint32_t& milliseconds, uint32_t& totalFrames) {
    const MutexGuard guard(rateLock);
    totalFrames = total;
    if (sampleCount > 1) {
        frames = Newest().total - samples[head].total;
        milliseconds = Newest().tick - samples[head].tick;
    } else {
        frames = total;
        milliseconds = now - firstTick;
    }
}

void CFrameRate::Reset() {
    const MutexGuard guard(rateLock);
    firstTick = 0;
    total = 0;
    head = tail;
    sampleCount = 0;
}

void CFrameRate::PutThrottleOff(bool off) {
    const MutexGuard guard(rateLock);
    throttleOff = off;
}

}  // namespace vexcap
