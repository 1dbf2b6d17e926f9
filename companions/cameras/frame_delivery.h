// The road from a sensor frame to the engine's callbacks, the same for every provider.
#pragma once

#include <vexcap/camera_library.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/mutex.h"
#include "pixel/kernels.h"

namespace vexcap::cameras {

/// One exposure as the sensor gave it. `samples` points to the first row in memory; rows run from the top to the bottom
/// when `topDown` is set. Samples of more than 8 bits are 16-bit, low-aligned.
struct SensorFrame {
    const void* samples = nullptr;
    size_t rowBytes = 0;
    bool topDown = false;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t depth = 8;
    bool colour = false;           ///< false: mono.
    Mosaic mosaic = Mosaic::Rggb;  ///< Of the picture's top left corner.
    uint32_t sequence = 0;
    uint64_t timestamp = 0;
};

/// Callbacks of one stream, as StartPull was given them.
struct StreamCallbacks {
    vex_camera_frame_callback frame = nullptr;
    vex_camera_buffer_callback buffer = nullptr;
    void* context = nullptr;
    vex_camera_event_callback event = nullptr;
    void* eventContext = nullptr;
};

/// FourCC of a mosaic named from the first row in memory, for a picture whose top left corner is `topLeft` and whose
/// rows lie bottom-up in memory.
uint32_t bottomUpFourcc(Mosaic topLeft, uint32_t height);

/// Nanoseconds of a steady clock.
uint64_t steadyNanoseconds();

/// Delivers sensor frames: raw callback for each, display frame at the option's rate, deep and raw pictures into the
/// engine's buffers. Deliver is called by one thread at a time; the setters by the host's thread at any time, but never
/// from inside a callback. No lock is held while a callback runs.
/// Allocates only when a frame is larger than every frame before it; a frame that finds no memory is lost.
class FrameDelivery {
public:
    /// `now` is the clock by which display frames are spaced and frames are counted.
    explicit FrameDelivery(uint64_t (*now)() = steadyNanoseconds);
    FrameDelivery(const FrameDelivery&) = delete;
    FrameDelivery& operator=(const FrameDelivery&) = delete;

    /// A new stream: counters at zero.
    void Start(const StreamCallbacks& callbacks) VEX_EXCLUDES(gateLock, rateLock);
    /// Once it returned, no callback runs or comes.
    void Stop() VEX_EXCLUDES(gateLock, rateLock);
    /// Once it returned, the callback registered before neither runs nor comes. Holds over streams.
    void SetRawCallback(vex_camera_raw_callback callback, void* context) VEX_EXCLUDES(gateLock);
    /// Display frames a second at most; 0: no limit.
    void SetFrameRate(int32_t rate);
    int32_t FrameRate() const;
    /// True: every sensor frame becomes a display frame.
    void SetDeliverAll(bool on);
    /// Raw callback, then, when one is due, the display frame. `still` frames are always due and have no raw callback.
    void Deliver(const SensorFrame& frame, bool still = false) VEX_EXCLUDES(gateLock, rateLock);
    /// Tells the engine that the stream is lost. It is told once, and no frame comes after it until the next Start.
    void DeliverLoss() VEX_EXCLUDES(gateLock);
    /// Any thread of the camera's own; waits while a frame is delivered.
    void DeliverEvent(uint32_t event) VEX_EXCLUDES(gateLock);
    /// Frames and milliseconds of the last two seconds or so; sensor frames since Start. Null outs are not asked for.
    void GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) const VEX_EXCLUDES(rateLock);

private:
    struct Callbacks {
        StreamCallbacks stream;
        vex_camera_raw_callback raw = nullptr;
        void* rawContext = nullptr;
    };
    static constexpr size_t stretchParts = 4;  // of half a second each
    static constexpr uint64_t partNanoseconds = 500'000'000;

    enum class Kind { Frame, Loss, Event };
    // False when the stream takes nothing of this kind; else Leave must follow.
    bool Enter(Callbacks& current, Kind kind) VEX_EXCLUDES(gateLock);
    void Leave() VEX_EXCLUDES(gateLock);
    void WaitForCallbacks() VEX_REQUIRES(gateLock);  // between ++setters and --setters
    void CountFrame(uint64_t time) VEX_EXCLUDES(rateLock);
    void MoveStretch(uint64_t time) const VEX_REQUIRES(rateLock);
    bool DisplayDue(uint64_t time);
    const uint8_t* TightBottomUp(const SensorFrame& frame, void* target);
    void DeliverDisplay(const Callbacks& current, const SensorFrame& frame, const vex_frame_info& info,
                        const uint8_t* raw, bool still);

    uint64_t (*const clock)();

    // The gate: callbacks run outside of the lock, `delivering` tells that one does, and waiting setters go first.
    mutable Mutex gateLock;
    Condition gateChanged VEX_GUARDED_BY(gateLock);
    Callbacks callbacks VEX_GUARDED_BY(gateLock);
    bool streaming VEX_GUARDED_BY(gateLock) = false;
    bool lost VEX_GUARDED_BY(gateLock) = false;
    bool delivering VEX_GUARDED_BY(gateLock) = false;
    uint32_t setters VEX_GUARDED_BY(gateLock) = 0;

    mutable Mutex rateLock;
    mutable std::array<uint32_t, stretchParts> parts VEX_GUARDED_BY(rateLock) = {};  // newest first
    mutable uint64_t newestPart VEX_GUARDED_BY(rateLock) = 0;                        // start of parts[0]
    uint64_t streamStart VEX_GUARDED_BY(rateLock) = 0;
    uint32_t totalFrames VEX_GUARDED_BY(rateLock) = 0;

    std::atomic<int32_t> frameRate{0};
    std::atomic<bool> deliverAll{false};
    std::atomic<bool> scheduleReset{true};  // the next display frame is due at once

    // Of the delivering thread alone.
    uint64_t nextDisplay = 0;
    std::vector<uint8_t> rawBuffer;
    std::vector<uint8_t> displayBuffer;
};

}  // namespace vexcap::cameras
