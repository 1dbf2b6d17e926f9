#include "recording/recording.h"

#include <cstring>

#include "base/text.h"
#include "overlay/marker.h"
#include "recording/avi_mux.h"

namespace vexcap {

Recording::~Recording() { CloseFileWriters(); }

void Recording::Prepare(const RecordingPlan& plan) {
    CloseFileWriters();
    secondsAtMost = plan.timeLimit;
    framesAtMost = plan.frameLimit;
    timeLapse = plan.timeLapse ? plan.timeLapse : 1;
    file = plan.fullPath;
    frameCounter = skipped = kept = misfits = written = failures = 0;
    bytes = 0;
    lastFailure = S_OK;
}

Status Recording::OpenAvi(uint32_t width, uint32_t height) {
    auto writer = AviFile::create(platform.files, file, {.width = width, .height = height});
    if (!writer.ok()) return writer.status();
    aviWidth = width;
    aviHeight = height;
    RecursiveMutexGuard guard(captureLock);
    aviSink = std::move(writer).value();
    aviOpen = true;
    return S_OK;
}

Status Recording::OpenSer(std::u16string_view device, uint32_t fourcc, uint32_t depth, uint32_t width,
                          uint32_t height) {
    auto writer = SerWriter::create(
        platform.files, platform.clock, file,
        {.device = std::u16string(device), .fourcc = fourcc, .bitDepth = depth, .width = width, .height = height});
    if (!writer.ok()) return writer.status();
    serWidth = width;
    serHeight = height;
    serDepth = depth;
    RecursiveMutexGuard guard(captureLock);
    serWriter = std::move(writer).value();
    serOpen = true;
    return S_OK;
}

void Recording::Begin(CaptureMode newMode) {
    startTick = platform.clock.Tick();
    mode = newMode;
    anyRecording = true;
}

void Recording::CloseFileWriters() {
    const auto finish = [this](auto& writer, std::atomic<bool>& open) {
        if (!writer) return;
        if (const Status s = writer->close(); !s.ok()) lastFailure = s.code();
        writer.reset();
        open = false;
    };
    RecursiveMutexGuard guard(captureLock);
    finish(serWriter, serOpen);
    finish(aviSink, aviOpen);
    scratch = {};
}

void Recording::StoreRealRate() {
    constexpr uint32_t shortest = 1000;  // milliseconds; below it the rate would be guesswork
    if (!kept || !startTick || !endsWithExtension(file, ".avi")) return;
    const uint32_t elapsed = platform.clock.Tick() - startTick;
    if (elapsed <= shortest) return;
    if (const Status s = storeRealRate(platform.files, file, elapsed); !s.ok()) lastFailure = s.code();
}

void Recording::Clear() {
    Counts(last);
    mode = captureIdle;
    file.clear();
    startTick = 0;
    secondsAtMost = framesAtMost = frameCounter = skipped = kept = misfits = written = failures = 0;
    bytes = 0;
}

void Recording::PutGraphCounts(const AviMuxCounts& counts, uint32_t dropped) {
    written = counts.written;
    failures = counts.failures;
    misfits = dropped;
    bytes = counts.bytes;
    lastFailure = counts.lastFailure;
}

bool Recording::LimitIsFull() const {
    const uint32_t limit = framesAtMost;
    return limit && kept >= limit;
}

bool Recording::IsDue() {
    if (LimitIsFull()) return false;
    if (frameCounter++ % timeLapse == 0) return true;
    ++skipped;
    return false;
}

template <typename Writer>
void Recording::Keep(Writer* writer, Bytes frame) {
    if (!writer || LimitIsFull()) return;
    ++kept;
    const Result<size_t> size = writer->writeFrame(frame);
    if (size.ok()) {
        ++written;
        bytes += size.value();
    } else {
        ++failures;
        lastFailure = size.code();
    }
}

void Recording::onRgbFrame(const void* rgb, uint32_t width, uint32_t height) {
    if (!aviOpen || playState != 1) return;
    if (width != aviWidth || height != aviHeight) {
        // A size change while recording: the file has one size, and reading this frame with it would overrun.
        ++misfits;
        return;
    }
    if (!IsDue()) return;
    RecursiveMutexGuard guard(captureLock);
    Keep(aviSink.get(), {WithOverlay(rgb, width, height), size_t(aviFrameBytes(width, height))});
}

const std::byte* Recording::WithOverlay(const void* rgb, uint32_t width, uint32_t height) {
    const auto* const frame = static_cast<const std::byte*>(rgb);
    if (!aviSink || !marker || !marker->HasWork(FrameMode::Video)) return frame;
    const uint64_t needed = aviFrameBytes(width, height);
    if (!scratch.holds(needed)) scratch = PixelBuffer(needed, PixelBuffer::Fill::None);
    uint8_t* const copy = scratch.data();
    if (!copy) return frame;  // a picture without overlay is worth more than none
    std::memcpy(copy, frame, needed);
    marker->BurnOverlay(copy, int32_t(width), int32_t(height), false, {}, 3);
    return reinterpret_cast<const std::byte*>(copy);
}

void Recording::onRawFrame(const void* raw, uint32_t width, uint32_t height, uint32_t depth) {
    if (!serOpen || playState != 1) return;
    const size_t frameBytes = size_t(width) * height * (depth > 8 ? 2 : 1);
    if (width != serWidth || height != serHeight || depth != serDepth || !frameBytes) {
        ++misfits;  // as above
        return;
    }
    if (!IsDue()) return;
    RecursiveMutexGuard guard(captureLock);
    Keep(serWriter.get(), {static_cast<const std::byte*>(raw), frameBytes});
}

bool Recording::LimitReached() const {
    const uint32_t seconds = secondsAtMost;
    const bool timeUp = seconds && (platform.clock.Tick() - startTick) / 1000 >= seconds;
    return timeUp || (mode > captureGraph && LimitIsFull());
}

bool Recording::Counts(vex_recording_counts& counts) const {
    if (mode == captureIdle) {
        counts = last;
        return anyRecording;
    }
    counts = {};
    // Frames come meanwhile: what adds up is read once, and what follows from another number before that one.
    const uint32_t unfit = misfits, refused = failures;
    counts.written = written;
    counts.kept = mode == captureGraph ? counts.written + refused : uint32_t(kept);
    counts.offered = counts.kept + skipped + unfit;
    counts.lost = refused + unfit;
    counts.bytes = bytes;
    counts.lastFailure = lastFailure;
    counts.elapsed = platform.clock.Tick() - startTick;
    return true;
}

}  // namespace vexcap
