#include "companions/cameras/genicam/camera.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <numeric>

namespace vexcap::cameras {
namespace {

constexpr int32_t binningBits = 0xF;
constexpr int32_t mostTriggers = 10'000;

HRESULT tell(int32_t* width, int32_t* height, const Resolution& size) {
    if (!width || !height) return E_POINTER;
    *width = int32_t(size.width);
    *height = int32_t(size.height);
    return S_OK;
}

}  // namespace

Result<ICamera*> GenicamCamera::create(GObjectPtr<ArvCamera> opened, std::chrono::milliseconds patience) {
    auto made = GenicamDevice::create(std::move(opened));
    if (!made.ok()) return made.status();
    return new GenicamCamera(std::move(made).value(), patience);
}

GenicamCamera::GenicamCamera(std::unique_ptr<GenicamDevice> opened, std::chrono::milliseconds patience)
    : resolutions(opened->Resolutions()),
      largestDepth(opened->Formats().back().depth),
      device(std::move(opened)),
      stream(std::make_unique<GenicamStream>(*device, deviceLock, delivery, patience)) {}

GenicamCamera::~GenicamCamera() = default;

bool GenicamCamera::Gone() const { return device->Removed(); }

int32_t GenicamCamera::Binning() const { return int32_t(device->Present().binning); }

Status GenicamCamera::PutBinning(int32_t value) {
    if (!device->CanBin() && (value & binningBits) > 1) return E_NOTIMPL;
    Readout wanted = device->Present();
    wanted.binning = uint32_t(value & binningBits);
    return PutReadout(wanted);
}

int32_t GenicamCamera::GetResolutionCount() { return int32_t(resolutions.size()); }

HRESULT GenicamCamera::GetResolution(uint32_t index, int32_t* width, int32_t* height) {
    return index < resolutions.size() ? tell(width, height, resolutions[index]) : E_INVALIDARG;
}

uint32_t GenicamCamera::GetBitDepth() { return largestDepth; }

HRESULT GenicamCamera::GetRoi(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) {
    if (!width || !height) return E_POINTER;
    if (!device) return E_UNEXPECTED;
    MutexGuard guard(deviceLock);
    const uint32_t factor = device->Present().binning;
    if (x) *x = device->Across().offset * factor;
    if (y) *y = device->Down().offset * factor;
    *width = device->Across().size * factor;
    *height = device->Down().size * factor;
    return S_OK;
}

HRESULT GenicamCamera::StartPull(uint32_t, uint32_t, vex_camera_frame_callback frame, vex_camera_buffer_callback buffer,
                                 void* context, vex_camera_event_callback event, void* eventContext, uint32_t, uint32_t,
                                 const vex_texture_target*, uint32_t) {
    if (const Status s = Usable(); !s.ok()) return s.code();
    if (!frame) return E_POINTER;
    if (streaming) return E_UNEXPECTED;
    delivery.Start({frame, buffer, context, event, eventContext});
    const Status s = stream->Start();
    if (!s.ok()) delivery.Stop();
    streaming = s.ok();
    return s.code();
}

HRESULT GenicamCamera::Stop() {
    if (!streaming) return S_OK;
    delivery.Stop();  // first, so that no callback comes while the camera takes its time
    stream->Halt();
    streaming = false;
    return S_OK;
}

void GenicamCamera::Close() {
    Stop();
    stream.reset();
    device.reset();
    Release();
}

HRESULT GenicamCamera::Pause(uint32_t pause) {
    if (const Status s = Usable(); !s.ok()) return s.code();
    return streaming ? stream->Pause(pause != 0).code() : E_UNEXPECTED;
}

HRESULT GenicamCamera::GetState(uint32_t* state) {
    if (!state) return E_POINTER;
    if (!stream) return E_UNEXPECTED;
    *state = stream->State();
    return S_OK;
}

HRESULT GenicamCamera::GetLostFrames(uint32_t* lost) {
    if (!lost) return E_POINTER;
    if (!stream) return E_UNEXPECTED;
    *lost = stream->LostFrames();
    return S_OK;
}

// A camera tells its limit for what it is set to at present; smaller resolutions are not slower.
HRESULT GenicamCamera::GetMaxFrameRate(uint32_t index, uint32_t* rate) {
    if (!rate) return E_POINTER;
    if (const Status s = Usable(); !s.ok()) return s.code();
    if (index >= resolutions.size()) return E_INVALIDARG;
    MutexGuard guard(deviceLock);
    const auto highest = device->Controls().MaxFrameRate();
    if (!highest.ok()) return highest.code();
    *rate = uint32_t(std::clamp(std::floor(highest.value()), 0.0, double(std::numeric_limits<int32_t>::max())));
    return S_OK;
}

HRESULT GenicamCamera::SetPreviewIndex(uint32_t index) {
    if (const Status s = Usable(); !s.ok()) return s.code();
    if (streaming) return E_UNEXPECTED;
    if (index >= resolutions.size()) return E_INVALIDARG;
    Readout wanted;
    wanted.resolution = index;
    wanted.binning = device->Present().binning;
    return PutReadout(wanted).code();
}

HRESULT GenicamCamera::GetRawFormat(uint32_t* fourcc, uint32_t* depth) {
    if (!fourcc || !depth) return E_POINTER;
    if (!device) return E_UNEXPECTED;
    MutexGuard guard(deviceLock);
    const SensorFormat& format = device->Format();
    *fourcc = format.colour ? bottomUpFourcc(format.mosaic, device->Down().size) : 0;
    *depth = format.depth;
    return S_OK;
}

HRESULT GenicamCamera::GetRange(uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* defaultValue) {
    if (!minimum || !maximum || !defaultValue) return E_POINTER;
    if (const Status s = Usable(); !s.ok()) return s.code();
    MutexGuard guard(deviceLock);
    ControlRange range;
    if (control == VEX_CONTROL_BIT_DEPTH) {
        range = {int32_t(device->Formats().front().depth), int32_t(largestDepth), int32_t(largestDepth)};
    } else if (control == VEX_CONTROL_FIRE) {
        if (!device->Controls().CanFire()) return E_NOTIMPL;
        range = {1, mostTriggers, 1};
    } else {
        const auto read = device->Controls().Range(control);
        if (!read.ok()) return read.code();
        range = read.value();
    }
    *minimum = range.minimum;
    *maximum = range.maximum;
    *defaultValue = range.defaultValue;
    return S_OK;
}

HRESULT GenicamCamera::Get(uint32_t control, int32_t* value) {
    if (!value) return E_POINTER;
    if (const Status s = Usable(); !s.ok()) return s.code();
    MutexGuard guard(deviceLock);
    if (control == VEX_CONTROL_BIT_DEPTH) {
        *value = int32_t(device->Format().depth);
        return S_OK;
    }
    return device->Controls().Get(control, *value).code();
}

HRESULT GenicamCamera::Put(uint32_t control, int32_t value) {
    if (const Status s = Usable(); !s.ok()) return s.code();
    switch (control) {
        case VEX_CONTROL_BIT_DEPTH:
            return PutDepth(value).code();
        case VEX_CONTROL_TRIGGER_MODE:
            return PutTriggerMode(value).code();
        case VEX_CONTROL_FIRE:
            if (!device->Controls().CanFire()) return E_NOTIMPL;
            if (value < 1 || value > mostTriggers) return E_INVALIDARG;
            if (!streaming || device->Controls().TriggerMode() != 1) return E_UNEXPECTED;
            return stream->Fire(uint32_t(value)).code();
        default:
            break;
    }
    MutexGuard guard(deviceLock);
    const Status s = device->Controls().Put(control, value);
    if (streaming) stream->ReadRhythm();
    return s.code();
}

HRESULT GenicamCamera::GetControlStep(uint32_t control, int32_t* step) {
    if (!step) return E_POINTER;
    int32_t minimum = 0, maximum = 0, defaultValue = 0;
    if (const HRESULT known = GetRange(control, &minimum, &maximum, &defaultValue); known < 0) return known;
    MutexGuard guard(deviceLock);
    *step = 1;
    if (control == VEX_CONTROL_BIT_DEPTH) {
        uint32_t common = 0;
        for (const SensorFormat& format : device->Formats())
            common = std::gcd(common, format.depth - device->Formats().front().depth);
        *step = int32_t(std::max(common, 1u));
    } else if (control != VEX_CONTROL_FIRE) {
        *step = device->Controls().Step(control);
    }
    return S_OK;
}

HRESULT GenicamCamera::GetRegionStep(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) {
    if (!x || !y || !width || !height) return E_POINTER;
    if (const Status s = Usable(); !s.ok()) return s.code();
    MutexGuard guard(deviceLock);
    const uint32_t factor = device->Present().binning;
    *x = offsetStepOf(device->AcrossLimits()) * factor;
    *y = offsetStepOf(device->DownLimits()) * factor;
    *width = sizeStepOf(device->AcrossLimits()) * factor;
    *height = sizeStepOf(device->DownLimits()) * factor;
    return S_OK;
}

Status GenicamCamera::PutDepth(int32_t depth) {
    const auto& formats = device->Formats();
    const auto wanted = std::ranges::find(formats, uint32_t(depth), &SensorFormat::depth);
    if (wanted == formats.end()) return E_INVALIDARG;
    return BetweenFrames([&] {
        MutexGuard guard(deviceLock);
        return device->SetFormat(*wanted);
    });
}

Status GenicamCamera::PutTriggerMode(int32_t mode) {
    {
        MutexGuard guard(deviceLock);
        const auto range = device->Controls().Range(VEX_CONTROL_TRIGGER_MODE);
        if (!range.ok()) return range.status();
        if (mode < range.value().minimum || mode > range.value().maximum) return E_INVALIDARG;
        if (mode == device->Controls().TriggerMode()) return S_OK;
    }
    return BetweenFrames([&] {
        MutexGuard guard(deviceLock);
        return device->Controls().Put(VEX_CONTROL_TRIGGER_MODE, mode);
    });
}

HRESULT GenicamCamera::PutRoi(uint32_t x, uint32_t y, uint32_t width, uint32_t height) {
    if (const Status s = Usable(); !s.ok()) return s.code();
    const bool whole = width == 0 && height == 0;
    if (!whole && (width == 0 || height == 0)) return E_INVALIDARG;
    Readout wanted = device->Present();
    wanted.across = whole ? AxisSpan{} : AxisSpan{x, width};
    wanted.down = whole ? AxisSpan{} : AxisSpan{y, height};
    return PutReadout(wanted).code();
}

Status GenicamCamera::PutReadout(const Readout& wanted) {
    // What cannot be is refused before a running stream is held for it.
    const Resolution& whole = resolutions[wanted.resolution];
    if (wanted.binning == 0 || !fitAxis({1, whole.width, 1, 1}, whole.width, 1, wanted.across) ||
        !fitAxis({1, whole.height, 1, 1}, whole.height, 1, wanted.down))
        return E_INVALIDARG;
    const Status s = BetweenFrames([&] {
        MutexGuard guard(deviceLock);
        return device->SetReadout(wanted);
    });
    resolution = device->Present().resolution;
    return s;
}

template <typename Change>
Status GenicamCamera::BetweenFrames(Change change) {
    if (!streaming) return change();
    const AxisSpan across = device->Across();
    const AxisSpan down = device->Down();
    stream->Halt();
    const Status changed = change();
    const bool sizeChanged = device->Across() != across || device->Down() != down;
    const Status resumed = stream->Resume(sizeChanged);
    return changed.ok() ? resumed : changed;
}

}  // namespace vexcap::cameras
