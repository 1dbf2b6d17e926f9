// One recording of a context: its limits, its counters, its writers, and the hooks that frames come through.
#pragma once

#include <vexcap/records.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "base/lock_order.h"
#include "base/mutex.h"
#include "frame/pixel_buffer.h"
#include "platform/platform.h"
#include "recording/avi_file.h"
#include "recording/ser_writer.h"

namespace vexcap {

struct AviMuxCounts;
class CMarker;

/// Who writes the bytes of a recording.
enum CaptureMode : uint32_t { captureIdle = 0, captureGraph = 1, captureFrameSink = 2, captureNetwork = 3 };

/// What a recording is to be.
struct RecordingPlan {
    std::u16string fullPath;  ///< At most 259 characters.
    uint32_t timeLimit = 0;   ///< Seconds, 0 for none.
    uint32_t frameLimit = 0;  ///< Frames, 0 for none.
    uint32_t timeLapse = 1;   ///< Keep one frame in this many.
};

/// Host's thread, but for onRgbFrame and onRawFrame, which run on the source's. Counters and limits are atomic; the
/// writers are behind captureLock, which is the outermost lock.
class Recording {
public:
    /// Frames are taken while the context's play state is 1.
    Recording(Platform& ports, const std::atomic<uint32_t>& contextPlayState)
        : platform(ports), playState(contextPlayState) {}
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    /// What is drawn into the pictures of an AVI file; null, as it begins, for nothing. Raw frames are never drawn
    /// into. It outlives the recording.
    void PutMarker(CMarker* overlay) { marker = overlay; }
    /// Takes path and limits over and clears the counters. A writer of an earlier recording is finished first.
    void Prepare(const RecordingPlan& plan);
    /// Makes the AVI file; the code of the file system when it cannot be made.
    Status OpenAvi(uint32_t width, uint32_t height);
    /// Makes the SER file; the code of the file system when it cannot be made.
    Status OpenSer(std::u16string_view device, uint32_t fourcc, uint32_t depth, uint32_t width, uint32_t height);
    /// The start tick and the mode; from now on the accessors answer.
    void Begin(CaptureMode mode);
    /// Finishes the file: once it returned, it is whole. What went wrong then stays readable in Counts.
    void CloseFileWriters();
    /// Puts the real frame rate into an AVI file that was finished, when it was recorded for more than a second.
    void StoreRealRate();
    /// Clears mode, limits and counters; Counts keeps its answer.
    void Clear();

    /// A display picture, 24 bits a pixel, rows bottom-up and padded to four bytes.
    void onRgbFrame(const void* rgb, uint32_t width, uint32_t height) VEX_EXCLUDES(captureLock);
    /// A raw frame of the sensor, rows tight, samples of `depth` bits.
    void onRawFrame(const void* raw, uint32_t width, uint32_t height, uint32_t depth) VEX_EXCLUDES(captureLock);

    /// A frame of a camera went into a capture graph.
    void CountPushed() { ++kept; }
    /// What became of the frames of a capture graph, told before every question for Counts. `dropped`: frames that the
    /// source lost.
    void PutGraphCounts(const AviMuxCounts& counts, uint32_t dropped);

    CaptureMode captureMode() const { return mode; }
    const std::u16string& captureFile() const { return file; }
    uint32_t captureStartTick() const { return startTick; }
    uint32_t timeLimit() const { return secondsAtMost; }
    uint32_t frameLimit() const { return framesAtMost; }
    uint32_t frameCount() const { return kept; }
    uint64_t bytesWritten() const { return bytes; }
    /// True while a SER writer is open.
    bool recordsRaw() const { return serOpen; }
    /// The limit timer's question: is the time over, or (not for a capture graph) the last frame kept?
    bool LimitReached() const;
    /// False before the first recording.
    bool Counts(vex_recording_counts& counts) const;

private:
    bool LimitIsFull() const;
    /// Limits and time lapse: true when this frame is to be kept. One that time lapse leaves out is counted.
    bool IsDue();
    /// Counts the frame as kept and writes it, unless the recording ended while the frame waited for the lock: then it
    /// came too late to be offered.
    template <typename Writer>
    void Keep(Writer* writer, Bytes frame) VEX_REQUIRES(captureLock);

    /// The frame as it goes into the file: itself, or a copy with the overlay in it.
    const std::byte* WithOverlay(const void* rgb, uint32_t width, uint32_t height) VEX_REQUIRES(captureLock);

    Platform& platform;
    const std::atomic<uint32_t>& playState;
    CMarker* marker = nullptr;  ///< Set before the first recording.

    CaptureMode mode = captureIdle;
    std::u16string file;
    uint32_t startTick = 0;
    bool anyRecording = false;
    vex_recording_counts last = {};  ///< Of the recording that Clear ended.

    std::atomic<uint32_t> secondsAtMost = 0;
    std::atomic<uint32_t> framesAtMost = 0;
    std::atomic<uint32_t> timeLapse = 1;
    std::atomic<uint32_t> frameCounter = 0;  ///< For the time-lapse modulus.
    std::atomic<uint32_t> skipped = 0;       ///< Frames that time lapse left out.
    std::atomic<uint32_t> kept = 0;          ///< Frames kept; one that then fails to be written still counts.
    std::atomic<uint32_t> misfits = 0;  ///< Frames of another size or depth than the file's, or lost before a graph.
    std::atomic<uint32_t> written = 0;
    std::atomic<uint32_t> failures = 0;  ///< Frames that the disk refused.
    std::atomic<uint64_t> bytes = 0;
    std::atomic<HRESULT> lastFailure = S_OK;
    std::atomic<bool> aviOpen = false;
    std::atomic<uint32_t> aviWidth = 0;
    std::atomic<uint32_t> aviHeight = 0;
    std::atomic<bool> serOpen = false;
    std::atomic<uint32_t> serWidth = 0;
    std::atomic<uint32_t> serHeight = 0;
    std::atomic<uint32_t> serDepth = 0;

    RecursiveMutex captureLock VEX_ACQUIRED_AFTER(captureRank) VEX_ACQUIRED_BEFORE(frameRank);
    std::unique_ptr<AviFile> aviSink VEX_GUARDED_BY(captureLock);
    std::unique_ptr<SerWriter> serWriter VEX_GUARDED_BY(captureLock);
    PixelBuffer scratch VEX_GUARDED_BY(captureLock);  ///< Of one picture; made for the first one with an overlay.
};

}  // namespace vexcap
