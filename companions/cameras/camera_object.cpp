#include "companions/cameras/camera_object.h"

#include <algorithm>

#include "base/guid.h"

namespace vexcap::cameras {

HRESULT CameraObject::QueryInterface(const vex_guid& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == VEX_IID_UNKNOWN)
        *out = static_cast<ICamera*>(this);
    else if (iid == VEX_IID_CAMERA_STATUS)
        *out = static_cast<ICameraStatus*>(this);
    else if (iid == VEX_IID_CAMERA_STILL && HasStills())
        *out = static_cast<ICameraStill*>(this);
    else if (iid == VEX_IID_CAMERA_PREVIEW_SIZE)
        *out = static_cast<ICameraPreviewSize*>(this);
    else if (iid == VEX_IID_CAMERA_RAW)
        *out = static_cast<ICameraRaw*>(this);
    else if (iid == VEX_IID_CAMERA_CONTROLS)
        *out = static_cast<ICameraControls*>(this);
    else if (iid == VEX_IID_CAMERA_STEPS)
        *out = static_cast<ICameraSteps*>(this);
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

uint32_t CameraObject::AddRef() { return ++references; }

uint32_t CameraObject::Release() {
    const uint32_t left = --references;
    if (left == 0) delete this;
    return left;
}

Status CameraObject::Usable() const {
    if (Closed()) return E_UNEXPECTED;
    return Gone() ? E_FAIL : S_OK;
}

HRESULT CameraObject::GetSize(int32_t* width, int32_t* height) {
    return GetResolution(ResolutionIndex(), width, height);
}

HRESULT CameraObject::GetEsize(uint32_t* index) {
    if (!index) return E_POINTER;
    *index = ResolutionIndex();
    return S_OK;
}

// A camera may have a control for some of the colours alone: the others are as the sensor has them.
HRESULT CameraObject::GetWhiteBalanceGains(int32_t* gains) {
    if (!gains) return E_POINTER;
    constexpr int32_t none = 100;
    int32_t read[3] = {none, none, none};
    bool any = false;
    for (uint32_t colour = 0; colour < 3; ++colour) {
        const HRESULT result = Get(VEX_CONTROL_BALANCE_RED + colour, &read[colour]);
        if (result < 0 && result != E_NOTIMPL) return result;
        any = any || result >= 0;
    }
    if (!any) return E_NOTIMPL;
    std::copy_n(read, 3, gains);
    return S_OK;
}

HRESULT CameraObject::GetTempTint(int32_t*, int32_t*) { return E_NOTIMPL; }

HRESULT CameraObject::GetExposureTime(uint32_t* microseconds) {
    if (!microseconds) return E_POINTER;
    int32_t value = 0;
    const HRESULT result = Get(VEX_CONTROL_EXPOSURE, &value);
    if (result >= 0) *microseconds = uint32_t(std::max(value, 0));
    return result;
}

HRESULT CameraObject::GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) {
    delivery.GetFrameRate(frames, milliseconds, total);
    return S_OK;
}

HRESULT CameraObject::PutOption(uint32_t number, int32_t value) {
    if (const Status s = Usable(); !s.ok()) return s.code();
    switch (number) {
        case VEX_OPTION_RECORDING:
            recording = value;
            return S_OK;
        case VEX_OPTION_FRAME_RATE:
            if (value < 0) return E_INVALIDARG;
            delivery.SetFrameRate(value);
            return S_OK;
        case VEX_OPTION_BINNING:
            return PutBinning(value).code();
        case VEX_OPTION_ROTATION:
            return PutRotation(value).code();
        default:
            return E_NOTIMPL;
    }
}

HRESULT CameraObject::GetOption(uint32_t number, int32_t* value) {
    if (!value) return E_POINTER;
    if (Closed()) return E_UNEXPECTED;
    switch (number) {
        case VEX_OPTION_RECORDING:
            *value = recording;
            return S_OK;
        case VEX_OPTION_FRAME_RATE:
            *value = delivery.FrameRate();
            return S_OK;
        case VEX_OPTION_BINNING:
            *value = Binning();
            return S_OK;
        case VEX_OPTION_ROTATION:
            *value = Rotation();
            return S_OK;
        default:
            return E_NOTIMPL;
    }
}

HRESULT CameraObject::Snap(uint32_t, uint32_t, void*) { return E_NOTIMPL; }

HRESULT CameraObject::Trigger(uint32_t on) {
    delivery.SetDeliverAll(on != 0);
    return S_OK;
}

uint32_t CameraObject::TextureAccepted() { return 0; }
HRESULT CameraObject::PipelineOcl(void*, void*, void*) { return E_NOTIMPL; }

HRESULT CameraObject::GetStillSize(uint32_t*, uint32_t*) { return E_NOTIMPL; }
HRESULT CameraObject::SetStillIndex(uint32_t) { return E_NOTIMPL; }
int32_t CameraObject::GetStillCount() { return 0; }
HRESULT CameraObject::GetStillResolution(uint32_t, int32_t*, int32_t*) { return E_NOTIMPL; }

HRESULT CameraObject::GetPreviewIndex(uint32_t* index) { return GetEsize(index); }
HRESULT CameraObject::GetPreviewSize(int32_t* width, int32_t* height) { return GetSize(width, height); }

HRESULT CameraObject::SetRawCallback(vex_camera_raw_callback callback, void* context) {
    delivery.SetRawCallback(callback, context);
    return S_OK;
}

}  // namespace vexcap::cameras
