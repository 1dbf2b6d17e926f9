// The thread of a simulated camera: it exposes frames at a steady pace and hands them to the delivery.
#pragma once

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "base/mutex.h"
#include "companions/cameras/frame_delivery.h"
#include "companions/cameras/simulated/options.h"
#include "companions/cameras/simulated/settings.h"

namespace vexcap::cameras {

/// Operations come from the host's thread, one at a time; State and Lost from any.
class SimulatedStream {
public:
    SimulatedStream(const SimulatedOptions& asked, FrameDelivery& road);
    SimulatedStream(const SimulatedStream&) = delete;
    SimulatedStream& operator=(const SimulatedStream&) = delete;
    ~SimulatedStream() { Stop(); }

    /// E_UNEXPECTED when a stream runs, E_FAIL when the device is gone. Throws when no thread can be had.
    HRESULT Start(const StreamCallbacks& callbacks, const SimulatedSettings& now) VEX_EXCLUDES(lock);
    /// No callback runs or comes once it returned.
    void Stop() VEX_EXCLUDES(lock);
    bool Running() const { return worker.joinable(); }
    /// New settings, from the next frame on.
    void Change(const SimulatedSettings& now) VEX_EXCLUDES(lock);
    /// The following three: E_UNEXPECTED without a stream.
    HRESULT Fire(uint32_t count) VEX_EXCLUDES(lock);
    HRESULT Snap(uint32_t index, uint32_t count) VEX_EXCLUDES(lock);
    HRESULT Pause(bool hold) VEX_EXCLUDES(lock);

    uint32_t State() const VEX_EXCLUDES(lock);
    uint32_t Lost() const VEX_EXCLUDES(lock);

private:
    enum class Task { End, Frame, Still, SizeEvent, Stall, Drop };
    struct Work {
        Task task;
        SimulatedSettings settings;
        uint64_t start = 0;  // of the exposure, nanoseconds
        uint32_t sequence = 0;
        uint32_t stillIndex = 0;
        uint32_t stillNumber = 0;
        bool wrongSize = false;
    };

    void Run() VEX_EXCLUDES(lock);
    void DoAll() VEX_EXCLUDES(lock);
    Work Next() VEX_EXCLUDES(lock);
    bool TakeFault(Work& work) VEX_REQUIRES(lock);
    bool TakeStill(Work& work, bool frameDue) VEX_REQUIRES(lock);
    bool Armed(uint64_t now) VEX_REQUIRES(lock);
    void TakeFrame(Work& work, uint64_t now, uint64_t period) VEX_REQUIRES(lock);
    void Tell(uint32_t newState) VEX_EXCLUDES(lock);
    void Lose(uint32_t newState) VEX_EXCLUDES(lock);
    void Expose(SimulatedSensor& sensor, const Work& work, bool still);

    const SimulatedOptions options;
    FrameDelivery& delivery;
    std::thread worker;
    uint64_t streamStart = 0;            // nanoseconds; written before the worker starts
    std::shared_ptr<const Scene> scene;  // the worker's; kept for the next stream

    mutable Mutex lock;
    Condition changed VEX_GUARDED_BY(lock);
    SimulatedSettings settings VEX_GUARDED_BY(lock);
    SensorView toldView VEX_GUARDED_BY(lock);  // what the last size event told of
    SensorView toldStill VEX_GUARDED_BY(lock);
    std::vector<uint32_t> stills VEX_GUARDED_BY(lock);  // wanted, by still resolution
    uint32_t stillsMade VEX_GUARDED_BY(lock) = 0;
    uint32_t triggers VEX_GUARDED_BY(lock) = 0;
    uint32_t sequence VEX_GUARDED_BY(lock) = 0;  // of the next frame
    uint32_t delivered VEX_GUARDED_BY(lock) = 0;
    uint32_t lost VEX_GUARDED_BY(lock) = 0;
    uint32_t state VEX_GUARDED_BY(lock) = VEX_CAMERA_STATE_OK;
    uint64_t frameStart VEX_GUARDED_BY(lock) = 0;  // of the frame being exposed, when `exposing`
    bool exposing VEX_GUARDED_BY(lock) = false;
    bool rescheduled VEX_GUARDED_BY(lock) = false;  // a change of settings may have shortened the period
    bool stillCameLast VEX_GUARDED_BY(lock) = false;
    bool paused VEX_GUARDED_BY(lock) = false;
    bool stopping VEX_GUARDED_BY(lock) = false;
};

}  // namespace vexcap::cameras
