#include "companions/cameras/simulated/camera.h"

#include <new>

namespace vexcap::cameras {
namespace {

constexpr uint32_t stillIndexAsSet = 0xFFFFFFFF;

}  // namespace

Result<ICamera*> SimulatedCamera::Open(const SimulatedOptions& options) {
    if (options.refuse) return E_FAIL;
    if (options.busy) return VEX_E_BUSY;
    return new SimulatedCamera(options);
}

SimulatedCamera::SimulatedCamera(const SimulatedOptions& asked)
    : options(asked), stream(options, delivery), settings(*asked.model) {
    settings.frameRate = asked.frameRate;
}

SimulatedSettings SimulatedCamera::Settings() const {
    MutexGuard guard(lock);
    return settings;
}

// Applies a setter to the settings, and tells the stream when it agreed.
template <typename Setter>
HRESULT SimulatedCamera::Change(Setter setter) {
    MutexGuard guard(lock);
    const HRESULT result = setter(settings);
    if (result >= 0) stream.Change(settings);
    return result;
}

int32_t SimulatedCamera::GetResolutionCount() { return int32_t(options.model->resolutions.size()); }

HRESULT SimulatedCamera::GetResolution(uint32_t index, int32_t* width, int32_t* height) {
    if (!width || !height) return E_POINTER;
    if (index >= options.model->resolutions.size()) return E_INVALIDARG;
    const SimulatedSettings now = Settings();
    *width = int32_t(now.Width(index));
    *height = int32_t(now.Height(index));
    return S_OK;
}

HRESULT SimulatedCamera::GetTempTint(int32_t* temperature, int32_t* tint) {
    if (!temperature || !tint) return E_POINTER;
    if (!options.model->mosaic) return E_NOTIMPL;
    *temperature = 6500;  // daylight, to which the pictures were balanced
    *tint = 1000;
    return S_OK;
}

uint32_t SimulatedCamera::GetBitDepth() { return options.toldDepth.value_or(options.model->depths.back()); }

HRESULT SimulatedCamera::GetRoi(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) {
    if (!width || !height) return E_POINTER;
    const SimulatedSettings::Region roi = Settings().roi;
    if (x) *x = roi.x;
    if (y) *y = roi.y;
    *width = roi.width;
    *height = roi.height;
    return S_OK;
}

Status SimulatedCamera::PutBinning(int32_t value) {
    return Change([&](SimulatedSettings& now) { return now.PutBinning(value); });
}

Status SimulatedCamera::PutRotation(int32_t degrees) {
    return Change([&](SimulatedSettings& now) { return now.PutRotation(degrees); });
}

HRESULT SimulatedCamera::StartPull(uint32_t, uint32_t, vex_camera_frame_callback frame,
                                   vex_camera_buffer_callback buffer, void* context, vex_camera_event_callback event,
                                   void* eventContext, uint32_t, uint32_t, const vex_texture_target*, uint32_t) {
    if (!frame) return E_POINTER;
    try {
        return stream.Start({frame, buffer, context, event, eventContext}, Settings());
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

HRESULT SimulatedCamera::Stop() {
    stream.Stop();
    return S_OK;
}

void SimulatedCamera::Close() {
    stream.Stop();
    delivery.SetRawCallback(nullptr, nullptr);
    Release();
}

HRESULT SimulatedCamera::Snap(uint32_t index, uint32_t count, void*) {
    if (options.model->stillCount == 0) return E_NOTIMPL;
    return stream.Snap(index == stillIndexAsSet ? Settings().still : index, count);
}

HRESULT SimulatedCamera::Pause(uint32_t pause) { return stream.Pause(pause != 0); }

HRESULT SimulatedCamera::GetState(uint32_t* state) {
    if (!state) return E_POINTER;
    *state = stream.State();
    return S_OK;
}

HRESULT SimulatedCamera::GetLostFrames(uint32_t* lost) {
    if (!lost) return E_POINTER;
    *lost = stream.Lost();
    return S_OK;
}

HRESULT SimulatedCamera::GetMaxFrameRate(uint32_t index, uint32_t* rate) {
    if (!rate) return E_POINTER;
    const SimulatedModel& model = *options.model;
    if (index >= model.resolutions.size()) return E_INVALIDARG;
    const SimulatedSettings now = Settings();
    *rate = 1'000'000 / readoutMicroseconds(model, now.depth, model.resolutions[index], now.Height(index));
    return S_OK;
}

HRESULT SimulatedCamera::GetStillSize(uint32_t* width, uint32_t* height) {
    if (!width || !height) return E_POINTER;
    const SimulatedSettings now = Settings();
    const SensorView view = now.StillView(now.still);
    *width = view.OutWidth();
    *height = view.OutHeight();
    return S_OK;
}

HRESULT SimulatedCamera::SetStillIndex(uint32_t index) {
    return Change([&](SimulatedSettings& now) { return now.PutStill(index); });
}

int32_t SimulatedCamera::GetStillCount() { return int32_t(options.model->stillCount); }

HRESULT SimulatedCamera::GetStillResolution(uint32_t index, int32_t* width, int32_t* height) {
    return index < options.model->stillCount ? GetResolution(index, width, height) : E_INVALIDARG;
}

HRESULT SimulatedCamera::SetPreviewIndex(uint32_t index) {
    if (stream.Running()) return E_UNEXPECTED;
    return Change([&](SimulatedSettings& now) { return now.PutResolution(index); });
}

HRESULT SimulatedCamera::GetRawFormat(uint32_t* fourcc, uint32_t* depth) {
    if (!fourcc || !depth) return E_POINTER;
    const SimulatedSettings now = Settings();
    const SensorView view = now.View();
    const auto& mosaic = options.model->mosaic;
    *fourcc = mosaic ? bottomUpFourcc(view.Turned(*mosaic), view.OutHeight()) : 0;
    *depth = now.depth;
    return S_OK;
}

HRESULT SimulatedCamera::GetRange(uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* defaultValue) {
    return Settings().Range(control, minimum, maximum, defaultValue);
}

HRESULT SimulatedCamera::Get(uint32_t control, int32_t* value) { return Settings().Get(control, value); }

HRESULT SimulatedCamera::Put(uint32_t control, int32_t value) {
    const HRESULT result = Change([&](SimulatedSettings& now) { return now.Put(control, value); });
    return result >= 0 && control == VEX_CONTROL_FIRE ? stream.Fire(uint32_t(value)) : result;
}

HRESULT SimulatedCamera::PutRoi(uint32_t x, uint32_t y, uint32_t width, uint32_t height) {
    return Change([&](SimulatedSettings& now) { return now.PutRoi(x, y, width, height); });
}

HRESULT SimulatedCamera::GetControlStep(uint32_t control, int32_t* step) {
    return step ? Settings().Step(control, *step) : E_POINTER;
}

HRESULT SimulatedCamera::GetRegionStep(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) {
    if (!x || !y || !width || !height) return E_POINTER;
    *x = *y = *width = *height = regionStep;
    return S_OK;
}

}  // namespace vexcap::cameras
