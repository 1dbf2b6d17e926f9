#include "companions/cameras/frame_delivery.h"

#include <chrono>
#include <cstring>
#include <new>

#include "base/dib.h"

namespace vexcap::cameras {
namespace {

constexpr uint64_t second = 1'000'000'000;

size_t sampleBytes(const SensorFrame& frame) { return frame.depth > 8 ? 2 : 1; }

// A mosaic needs two rows and two columns before a colour can be told.
bool isMosaic(const SensorFrame& frame) { return frame.colour && frame.width >= 2 && frame.height >= 2; }

// Room that only grows; false when there is none to be had.
bool grow(std::vector<uint8_t>& buffer, size_t bytes) {
    if (buffer.size() >= bytes) return true;
    try {
        buffer.resize(bytes);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Both pictures are walked from the top row to the bottom row.
struct Walk {
    const uint8_t* source;
    ptrdiff_t sourceStride;
    ptrdiff_t lastRow;  // of the target, in rows
};

Walk walkOf(const SensorFrame& frame) {
    const ptrdiff_t last = ptrdiff_t(frame.height) - 1;
    const ptrdiff_t stride = ptrdiff_t(frame.rowBytes);
    const auto* const samples = static_cast<const uint8_t*>(frame.samples);
    return frame.topDown ? Walk{samples, stride, last} : Walk{samples + last * stride, -stride, last};
}

void convertTo24(uint8_t* target, const SensorFrame& frame) {
    const PixelKernels& run = kernels();
    const Walk walk = walkOf(frame);
    const ptrdiff_t stride = ptrdiff_t(dibStride(frame.width, 3));
    uint8_t* const top = target + walk.lastRow * stride;
    if (frame.depth > 8) {
        const auto* const source = reinterpret_cast<const uint16_t*>(walk.source);
        if (isMosaic(frame))
            run.bayer16ToBgr24(top, -stride, source, walk.sourceStride, frame.width, frame.height, frame.mosaic,
                               frame.depth);
        else
            run.mono16ToBgr24(top, -stride, source, walk.sourceStride, frame.width, frame.height, frame.depth);
    } else if (isMosaic(frame)) {
        run.bayer8ToBgr24(top, -stride, walk.source, walk.sourceStride, frame.width, frame.height, frame.mosaic);
    } else {
        run.mono8ToBgr24(top, -stride, walk.source, walk.sourceStride, frame.width, frame.height);
    }
}

void convertTo48(void* target, const SensorFrame& frame) {
    const PixelKernels& run = kernels();
    const Walk walk = walkOf(frame);
    const ptrdiff_t stride = ptrdiff_t(dibStride(frame.width, 6));
    auto* const top = reinterpret_cast<uint16_t*>(static_cast<uint8_t*>(target) + walk.lastRow * stride);
    const auto* const source = reinterpret_cast<const uint16_t*>(walk.source);
    if (isMosaic(frame))
        run.bayer16ToBgr48(top, -stride, source, walk.sourceStride, frame.width, frame.height, frame.mosaic);
    else
        run.mono16ToBgr48(top, -stride, source, walk.sourceStride, frame.width, frame.height);
}

}  // namespace

uint32_t bottomUpFourcc(Mosaic topLeft, uint32_t height) {
    // The first row in memory is the picture's last one; with an even height it is of the other kind than the top row.
    const bool otherRow = height % 2 == 0;
    switch (topLeft) {
        case Mosaic::Rggb:
            return otherRow ? fourcc("GBRG") : fourcc("RGGB");
        case Mosaic::Grbg:
            return otherRow ? fourcc("BGGR") : fourcc("GRBG");
        case Mosaic::Gbrg:
            return otherRow ? fourcc("RGGB") : fourcc("GBRG");
        case Mosaic::Bggr:
            return otherRow ? fourcc("GRBG") : fourcc("BGGR");
    }
    return 0;
}

uint64_t steadyNanoseconds() {
    return uint64_t(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count());
}

FrameDelivery::FrameDelivery(uint64_t (*now)()) : clock(now) {}

void FrameDelivery::Start(const StreamCallbacks& given) {
    const uint64_t time = clock();
    {
        MutexGuard guard(rateLock);
        parts = {};
        newestPart = streamStart = time;
        totalFrames = 0;
    }
    scheduleReset = true;
    MutexGuard guard(gateLock);
    ++setters;
    WaitForCallbacks();
    callbacks.stream = given;
    streaming = true;
    lost = false;
    --setters;
    gateChanged.notifyAll();
}

void FrameDelivery::Stop() {
    MutexGuard guard(gateLock);
    ++setters;
    WaitForCallbacks();
    callbacks.stream = {};
    streaming = false;
    --setters;
    gateChanged.notifyAll();
}

void FrameDelivery::SetRawCallback(vex_camera_raw_callback callback, void* context) {
    MutexGuard guard(gateLock);
    ++setters;
    WaitForCallbacks();
    callbacks.raw = callback;
    callbacks.rawContext = context;
    --setters;
    gateChanged.notifyAll();
}

void FrameDelivery::SetFrameRate(int32_t rate) {
    if (frameRate.exchange(rate > 0 ? rate : 0) != rate) scheduleReset = true;
}

int32_t FrameDelivery::FrameRate() const { return frameRate; }

void FrameDelivery::SetDeliverAll(bool on) {
    if (deliverAll.exchange(on) != on) scheduleReset = true;
}

void FrameDelivery::WaitForCallbacks() {
    while (delivering) gateChanged.wait(gateLock);
}

bool FrameDelivery::Enter(Callbacks& current, Kind kind) {
    MutexGuard guard(gateLock);
    while (delivering || setters > 0) gateChanged.wait(gateLock);
    if (!streaming || (lost && kind != Kind::Event)) return false;
    lost = lost || kind == Kind::Loss;
    delivering = true;
    current = callbacks;
    return true;
}

void FrameDelivery::Leave() {
    MutexGuard guard(gateLock);
    delivering = false;
    gateChanged.notifyAll();
}

void FrameDelivery::Deliver(const SensorFrame& frame, bool still) {
    Callbacks current;
    if (!frame.samples || frame.width == 0 || frame.height == 0 || !Enter(current, Kind::Frame)) return;
    const uint64_t time = clock();
    const vex_frame_info info{frame.sequence, frame.width, frame.height, 0, frame.timestamp};
    const uint8_t* raw = nullptr;
    if (!still) {
        CountFrame(time);
        if (current.raw && (raw = TightBottomUp(frame, nullptr)))
            current.raw(raw, &info, frame.colour ? bottomUpFourcc(frame.mosaic, frame.height) : 0, frame.depth,
                        current.rawContext);
    }
    if (current.stream.frame && (still || DisplayDue(time))) DeliverDisplay(current, frame, info, raw, still);
    Leave();
}

void FrameDelivery::DeliverDisplay(const Callbacks& current, const SensorFrame& frame, const vex_frame_info& info,
                                   const uint8_t* raw, bool still) {
    void* display = nullptr;
    void* rawRoom = nullptr;
    void* deepRoom = nullptr;
    if (current.stream.buffer)
        current.stream.buffer(still ? 1 : 0, &display, &rawRoom, &deepRoom, current.stream.context);
    if (!display) {
        if (!grow(displayBuffer, dibStride(frame.width, 3) * frame.height)) return;
        display = displayBuffer.data();
    }
    convertTo24(static_cast<uint8_t*>(display), frame);
    if (rawRoom) {
        if (raw)
            std::memcpy(rawRoom, raw, size_t(frame.width) * sampleBytes(frame) * frame.height);
        else
            TightBottomUp(frame, rawRoom);
    }
    // Samples of 8 bits have no more to tell than the display picture.
    if (frame.depth <= 8) deepRoom = nullptr;
    if (deepRoom) convertTo48(deepRoom, frame);
    current.stream.frame(display, &info, still ? 1 : 0, rawRoom, deepRoom, frame.depth > 8 ? 1 : 0,
                         frame.colour ? bottomUpFourcc(frame.mosaic, frame.height) : 0, 0, current.stream.context);
}

// The samples bottom-up and without row padding: in `target` when it is given, else where they are or in the own
// buffer. Null when memory is short.
const uint8_t* FrameDelivery::TightBottomUp(const SensorFrame& frame, void* target) {
    const size_t rowBytes = size_t(frame.width) * sampleBytes(frame);
    const auto* const samples = static_cast<const uint8_t*>(frame.samples);
    const bool tight = frame.rowBytes == rowBytes;
    if (tight && !frame.topDown && !target) return samples;
    if (!target) {
        if (!grow(rawBuffer, rowBytes * frame.height)) return nullptr;
        target = rawBuffer.data();
    }
    auto* const rows = static_cast<uint8_t*>(target);
    if (tight && frame.topDown) {
        kernels().copyRowsReversed(rows, samples, rowBytes, frame.height);
    } else if (tight) {
        std::memcpy(rows, samples, rowBytes * frame.height);
    } else {
        for (size_t row = 0; row < frame.height; ++row) {
            const size_t from = frame.topDown ? frame.height - 1 - row : row;
            std::memcpy(rows + row * rowBytes, samples + from * frame.rowBytes, rowBytes);
        }
    }
    return rows;
}

// Due times lie on a grid of exact periods, so that the mean rate holds whatever the sensor's own rhythm is. A frame
// may come a little before its time, else a sensor of the same rate would lose every other frame to its jitter.
bool FrameDelivery::DisplayDue(uint64_t time) {
    const int32_t rate = frameRate;
    if (rate <= 0 || deliverAll) return true;
    const uint64_t period = second / uint64_t(rate);
    if (scheduleReset.exchange(false)) nextDisplay = time;
    if (time + period / 4 < nextDisplay) return false;
    nextDisplay += period;
    if (nextDisplay < time) nextDisplay = time + period;  // frames stayed away: no burst makes up for them
    return true;
}

void FrameDelivery::DeliverLoss() {
    Callbacks current;
    if (!Enter(current, Kind::Loss)) return;
    if (current.stream.frame)
        current.stream.frame(nullptr, nullptr, 0, nullptr, nullptr, 0, 0, 0, current.stream.context);
    Leave();
}

void FrameDelivery::DeliverEvent(uint32_t event) {
    Callbacks current;
    if (!Enter(current, Kind::Event)) return;
    if (current.stream.event) current.stream.event(event, current.stream.eventContext);
    Leave();
}

void FrameDelivery::MoveStretch(uint64_t time) const {
    if (time < newestPart) return;
    uint64_t steps = (time - newestPart) / partNanoseconds;
    newestPart += steps * partNanoseconds;
    if (steps > stretchParts) steps = stretchParts;
    for (size_t part = stretchParts; part-- > 0;) parts[part] = part >= steps ? parts[part - steps] : 0;
}

void FrameDelivery::CountFrame(uint64_t time) {
    MutexGuard guard(rateLock);
    MoveStretch(time);
    ++parts[0];
    ++totalFrames;
}

void FrameDelivery::GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) const {
    MutexGuard guard(rateLock);
    const uint64_t time = clock();
    MoveStretch(time);
    uint32_t sum = 0;
    for (const uint32_t count : parts) sum += count;
    const uint64_t earlier = partNanoseconds * (stretchParts - 1);
    const uint64_t start = newestPart - streamStart > earlier ? newestPart - earlier : streamStart;
    if (frames) *frames = sum;
    if (milliseconds) *milliseconds = time > start ? uint32_t((time - start) / 1'000'000) : 0;
    if (total) *total = totalFrames;
}

}  // namespace vexcap::cameras
