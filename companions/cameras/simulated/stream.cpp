#include "companions/cameras/simulated/stream.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <utility>

#include "companions/cameras/signals_blocked.h"
#include "companions/cameras/simulated/noise.h"

namespace vexcap::cameras {
namespace {

/// Frames that the camera's own memory holds while the host is busy. What comes beyond them is lost.
constexpr uint64_t heldFrames = 4;

/// Scene time of a frame in a stream that must not depend on the clock.
constexpr double deterministicRate = 30;

// A part of the view that the engine has not been told of.
SensorView halved(SensorView view) {
    view.width = view.width / 2 & ~1u;
    view.height = view.height / 2 & ~1u;
    return view;
}

}  // namespace

SimulatedStream::SimulatedStream(const SimulatedOptions& asked, FrameDelivery& road)
    : options(asked), delivery(road), settings(*asked.model), stills(asked.model->stillCount) {}

HRESULT SimulatedStream::Start(const StreamCallbacks& callbacks, const SimulatedSettings& now) {
    if (Running()) return E_UNEXPECTED;
    {
        MutexGuard guard(lock);
        if (state == VEX_CAMERA_STATE_REMOVED) return E_FAIL;
        settings = now;
        toldView = now.View();
        toldStill = now.StillView(now.still);
        std::ranges::fill(stills, 0);
        stillsMade = triggers = sequence = delivered = lost = 0;
        state = VEX_CAMERA_STATE_OK;
        exposing = rescheduled = stillCameLast = paused = stopping = false;
    }
    streamStart = steadyNanoseconds();
    delivery.Start(callbacks);
    const SignalsBlocked blocked;
    try {
        worker = std::thread(&SimulatedStream::Run, this);
    } catch (...) {
        delivery.Stop();
        throw;
    }
    return S_OK;
}

void SimulatedStream::Stop() {
    if (!Running()) return;
    {
        MutexGuard guard(lock);
        stopping = true;
        changed.notifyAll();
    }
    delivery.Stop();
    worker.join();
}

void SimulatedStream::Change(const SimulatedSettings& now) {
    MutexGuard guard(lock);
    if (now.triggerMode != settings.triggerMode) {
        triggers = 0;
        exposing = false;
    }
    settings = now;
    rescheduled = true;
    changed.notifyAll();
}

HRESULT SimulatedStream::Fire(uint32_t count) {
    MutexGuard guard(lock);
    if (!Running() || settings.triggerMode != 1) return E_UNEXPECTED;
    triggers += std::min(count, std::numeric_limits<uint32_t>::max() - triggers);
    changed.notifyAll();
    return S_OK;
}

HRESULT SimulatedStream::Snap(uint32_t index, uint32_t count) {
    MutexGuard guard(lock);
    if (!Running()) return E_UNEXPECTED;
    if (index >= stills.size() || count == 0) return E_INVALIDARG;
    stills[index] += std::min(count, std::numeric_limits<uint32_t>::max() - stills[index]);
    changed.notifyAll();
    return S_OK;
}

HRESULT SimulatedStream::Pause(bool hold) {
    MutexGuard guard(lock);
    if (!Running()) return E_UNEXPECTED;
    paused = hold;
    exposing = false;
    changed.notifyAll();
    return S_OK;
}

uint32_t SimulatedStream::State() const {
    MutexGuard guard(lock);
    return state;
}

uint32_t SimulatedStream::Lost() const {
    MutexGuard guard(lock);
    return lost;
}

void SimulatedStream::Run() {
    try {
        DoAll();
    } catch (const std::exception&) {
        Lose(VEX_CAMERA_STATE_FAILED);
    }
}

void SimulatedStream::DoAll() {
    const SimulatedModel& model = *options.model;
    if (!scene) scene = sceneFor(options.scene, model.width, model.height, model.mosaic);
    SimulatedSensor sensor(model, scene, options.seed);
    SimulatedSensor stillSensor(model, scene,
                                options.seed);  // has its own view, so that a still costs the stream little
    for (;;) {
        const Work work = Next();
        switch (work.task) {
            case Task::End:
                return;
            case Task::Frame:
                Expose(sensor, work, false);
                break;
            case Task::Still:
                Expose(stillSensor, work, true);
                break;
            case Task::SizeEvent:
                delivery.DeliverEvent(VEX_CAMERA_EVENT_SIZE);
                break;
            case Task::Stall:
                Tell(VEX_CAMERA_STATE_NO_FRAMES);
                delivery.DeliverEvent(VEX_CAMERA_EVENT_STATE);
                break;
            case Task::Drop:
                Lose(VEX_CAMERA_STATE_REMOVED);
                return;
        }
    }
}

void SimulatedStream::Tell(uint32_t newState) {
    MutexGuard guard(lock);
    state = newState;
}

// The event comes last: whoever answers it must find the loss.
void SimulatedStream::Lose(uint32_t newState) {
    Tell(newState);
    delivery.DeliverLoss();
    delivery.DeliverEvent(VEX_CAMERA_EVENT_STATE);
}

// Waits until there is something to do.
SimulatedStream::Work SimulatedStream::Next() {
    MutexGuard guard(lock);
    for (;;) {
        Work work{Task::End, settings};
        if (stopping) return work;
        if (TakeFault(work)) return work;
        if (state != VEX_CAMERA_STATE_OK || paused) {
            changed.wait(lock);
            continue;
        }
        if (settings.View() != toldView || settings.StillView(settings.still) != toldStill) {
            toldView = settings.View();
            toldStill = settings.StillView(settings.still);
            work.task = Task::SizeEvent;
            return work;
        }
        const uint64_t now = steadyNanoseconds();
        const uint64_t period = settings.PeriodNanoseconds();
        const bool armed = Armed(now);
        // A shorter period ends the exposure now, and none is counted as lost.
        if (std::exchange(rescheduled, false) && armed && frameStart + period < now) frameStart = now - period;
        const bool due = armed && now >= frameStart + period;
        if (TakeStill(work, due)) return work;
        if (due) {
            TakeFrame(work, now, period);
            return work;
        }
        if (armed)
            changed.waitFor(lock, std::chrono::nanoseconds(frameStart + period - now));
        else
            changed.wait(lock);
    }
}

bool SimulatedStream::TakeFault(Work& work) {
    if (state != VEX_CAMERA_STATE_OK) return false;
    if (options.dropAfter && delivered >= *options.dropAfter)
        work.task = Task::Drop;
    else if (options.stallAfter && delivered >= *options.stallAfter)
        work.task = Task::Stall;
    else
        return false;
    return true;
}

// A still goes before a frame, but never twice in a row while frames wait.
bool SimulatedStream::TakeStill(Work& work, bool frameDue) {
    if (stillCameLast && frameDue) return false;
    const auto wanted = std::ranges::find_if(stills, [](uint32_t count) { return count > 0; });
    if (wanted == stills.end()) return false;
    --*wanted;
    stillCameLast = true;
    work.task = Task::Still;
    work.stillIndex = uint32_t(wanted - stills.begin());
    work.stillNumber = stillsMade++;
    work.sequence = sequence;
    work.start = steadyNanoseconds();
    return true;
}

// Begins an exposure when the trigger mode lets it; true while one goes on.
bool SimulatedStream::Armed(uint64_t now) {
    if (exposing || settings.triggerMode == 2) return exposing;
    if (settings.triggerMode == 1) {
        if (triggers == 0) return false;
        --triggers;
    }
    frameStart = now;
    return exposing = true;
}

void SimulatedStream::TakeFrame(Work& work, uint64_t now, uint64_t period) {
    if (settings.triggerMode == 0) {
        const uint64_t behind = (now - frameStart) / period - 1;
        if (behind > heldFrames) {
            sequence += uint32_t(behind);
            lost += uint32_t(behind);
            frameStart += behind * period;
        }
    }
    work.task = Task::Frame;
    work.start = frameStart + period - uint64_t(settings.exposure) * 1000;
    work.sequence = sequence++;
    work.wrongSize = options.wrongSizeAfter && delivered >= *options.wrongSizeAfter;
    ++delivered;
    stillCameLast = false;
    frameStart += period;
    exposing = settings.triggerMode == 0;
}

void SimulatedStream::Expose(SimulatedSensor& sensor, const Work& work, bool still) {
    const SimulatedSettings& set = work.settings;
    SensorView view = still ? set.StillView(work.stillIndex) : set.View();
    if (work.wrongSize) view = halved(view);
    SensorExposure exposure;
    exposure.depth = set.depth;
    exposure.microseconds = set.exposure;
    exposure.gain = set.gain;
    exposure.balance = set.balance;
    exposure.black = set.black;
    exposure.noiseKey = stir(options.deterministic ? options.seed : options.seed ^ streamStart, work.sequence);
    if (still) exposure.noiseKey = stir(exposure.noiseKey, work.stillNumber + 1);
    exposure.seconds =
        options.deterministic ? work.sequence / deterministicRate : double(work.start - streamStart) * 1e-9;
    SensorFrame frame = sensor.Expose(view, exposure);
    frame.sequence = work.sequence;
    frame.timestamp = work.start / 100;
    delivery.Deliver(frame, still);
}

}  // namespace vexcap::cameras
