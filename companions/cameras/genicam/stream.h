// Frames of a GenICam camera on their way: buffers, the thread that empties them, losses, software triggers.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "base/mutex.h"
#include "base/status.h"
#include "companions/cameras/frame_delivery.h"
#include "companions/cameras/genicam/arv.h"
#include "companions/cameras/genicam/device.h"
#include "companions/cameras/genicam/frame_ids.h"

namespace vexcap::cameras {

/// The camera between StartPull and Stop. Its thread delivers frames, events and the loss of the stream; all operations
/// are the host thread's, and none may be called from a callback.
/// A change of the camera's settings holds the stream between Halt and Resume: the counters go on over it.
class GenicamStream final {
public:
    /// `device` and `lock`, which guards it, outlive the stream; so does `delivery`.
    /// A frame that stays away for `patience` longer than exposure and rate explain is missing.
    GenicamStream(GenicamDevice& streamed, Mutex& lock, FrameDelivery& target, std::chrono::milliseconds patience);
    ~GenicamStream();
    GenicamStream(const GenicamStream&) = delete;
    GenicamStream& operator=(const GenicamStream&) = delete;

    /// Begins the stream. After a failure nothing runs.
    Status Start() VEX_EXCLUDES(deviceLock);
    /// Ends acquisition and thread. What is on its way is dropped and not counted as lost.
    void Halt() VEX_EXCLUDES(deviceLock);
    /// Goes on after Halt. `sizeChanged`: a size event comes before the first frame.
    /// After a failure the host is told that the stream is lost.
    Status Resume(bool sizeChanged) VEX_EXCLUDES(deviceLock);
    /// True: the camera stops to acquire.
    Status Pause(bool on) VEX_EXCLUDES(deviceLock);
    /// Asks for that many frames; each trigger waits for the frame of the one before, since a camera may ignore one
    /// that comes too early.
    Status Fire(uint32_t count) VEX_EXCLUDES(deviceLock);
    /// Exposure or rate were changed. Under the lock of the device.
    void ReadRhythm();

    /// VEX_CAMERA_STATE_... Any thread.
    uint32_t State() const { return device.Removed() ? uint32_t(VEX_CAMERA_STATE_REMOVED) : state.load(); }
    /// Any thread.
    uint32_t LostFrames() const { return lost; }

private:
    using Clock = std::chrono::steady_clock;

    struct Triggers {
        uint32_t wanted = 0;    // not yet fired
        bool awaiting = false;  // one was fired and its frame did not come yet
        Clock::time_point fired;
    };

    Status Begin() VEX_EXCLUDES(deviceLock);
    Status CreateStream() VEX_REQUIRES(deviceLock);
    Status MakeBuffers();
    void StartThread(bool sizeChanged, bool broken);
    void Run(bool sizeChanged, bool broken);
    void Take(ArvBuffer* buffer);
    bool ReadFrame(ArvBuffer* buffer, SensorFrame& frame) const;
    void Quiet();
    void SetState(uint32_t told);
    void TellLoss();
    Status FireNext() VEX_EXCLUDES(deviceLock, triggerLock);

    GenicamDevice& device;
    Mutex& deviceLock;
    FrameDelivery& delivery;
    const std::chrono::milliseconds basePatience;

    GObjectPtr<ArvStream> stream;
    std::unique_ptr<uint8_t[]> memory;  // of all buffers; outlives the stream object
    size_t memoryBytes = 0;
    std::thread thread;
    std::atomic<bool> stopping{false};
    std::atomic<bool> paused{false};
    std::atomic<uint32_t> state{VEX_CAMERA_STATE_OK};
    std::atomic<uint32_t> lost{0};
    std::atomic<std::chrono::milliseconds> patience;  // so long may a frame stay away

    // Set while no thread runs, then constant.
    SensorFrame expected;
    uint32_t expectedCode = 0;
    size_t payload = 0;  // bytes of a buffer
    bool freeRunning = true;

    // The thread's own while it runs.
    FrameIds ids;
    Clock::time_point lastFrame;

    Mutex triggerLock;
    Triggers triggers VEX_GUARDED_BY(triggerLock);
};

}  // namespace vexcap::cameras
