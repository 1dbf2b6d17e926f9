#include "recording/recording.h"

namespace vexcap {

Recording::~Recording() { CloseFileWriters(); }

void Recording::Prepare(const RecordingPlan& plan) {
    CloseFileWriters();
    secondsAtMost = plan.timeLimit;
    framesAtMost = plan.frameLimit;
    timeLapse = plan.timeLapse ? plan.timeLapse : 1;
    file = plan.fullPath;
    frameCounter = kept = misfits = written = failures = 0;
    bytes = 0;
    lastFailure = S_OK;
}

Status Recording::OpenSer(std::u16string_view device, uint32_t fourcc, uint32_t depth, uint32_t width,
                          uint32_t height) {
    auto writer = SerWriter::create(
        platform.files, platform.clock, file,
        {.device = std::u16string(device), .fourcc = fourcc, .bitDepth = depth, .width = width, .height = height});
    if (!writer.ok()) return E_FAIL;
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
    RecursiveMutexGuard guard(captureLock);
    if (!serWriter) return;
    if (const Status s = serWriter->close(); !s.ok()) lastFailure = s.code();
    serWriter.reset();
    serOpen = false;
}

void Recording::Clear() {
    Counts(last);
    mode = captureIdle;
    file.clear();
    startTick = 0;
    secondsAtMost = framesAtMost = frameCounter = kept = misfits = written = failures = 0;
    bytes = 0;
}

bool Recording::Keep() {
    const uint32_t limit = framesAtMost;
    if (limit && kept >= limit) return false;
    if (frameCounter++ % timeLapse) return false;
    ++kept;
    return true;
}

void Recording::onRawFrame(const void* raw, uint32_t width, uint32_t height, uint32_t depth) {
    if (!serOpen || playState != 1) return;
    const size_t frameBytes = size_t(width) * height * (depth > 8 ? 2 : 1);
    if (width != serWidth || height != serHeight || depth != serDepth || !frameBytes) {
        // A size change while recording: the file has one size, and reading this frame with it would overrun.
        ++misfits;
        return;
    }
    if (!Keep()) return;
    RecursiveMutexGuard guard(captureLock);
    if (!serWriter) return;
    const Result<size_t> size = serWriter->writeFrame({static_cast<const std::byte*>(raw), frameBytes});
    if (size.ok()) {
        ++written;
        bytes += size.value();
    } else {
        ++failures;
        lastFailure = size.code();
    }
}

bool Recording::LimitReached() const {
    const uint32_t seconds = secondsAtMost, frames = framesAtMost;
    const bool timeUp = seconds && (platform.clock.Tick() - startTick) / 1000 >= seconds;
    return timeUp || (mode > captureGraph && frames && kept >= frames);
}

bool Recording::Counts(vex_recording_counts& counts) const {
    if (mode == captureIdle) {
        counts = last;
        return anyRecording;
    }
    counts = {};
    counts.kept = kept;
    counts.written = written;
    counts.offered = frameCounter + misfits;
    counts.lost = failures + misfits;
    counts.bytes = bytes;
    counts.lastFailure = lastFailure;
    counts.elapsed = platform.clock.Tick() - startTick;
    return true;
}

}  // namespace vexcap
