#include "platform/fake/fake_camera.h"

#include <algorithm>
#include <cstring>

#include "base/guid.h"

namespace vexcap {

void FakeCamera::deliver(uint8_t fill, uint32_t frameWidth, uint32_t frameHeight, uint32_t still) {
    void *display = nullptr, *raw = nullptr, *deep = nullptr;
    bufferCallback(still, &display, &raw, &deep, context);
    const size_t pixels = size_t(frameWidth) * frameHeight;
    if (display) std::memset(display, fill, pixels * 3);
    if (raw) std::memset(raw, fill, pixels * (bitDepth > 8 ? 2 : 1));
    if (deep) std::memset(deep, fill, pixels * 6);
    const vex_frame_info info = {sequence, frameWidth, frameHeight, 0, timestamp};
    frameCallback(display, &info, still, raw, deep, bitDepth > 8, rawFourcc, 7, context);
}

void FakeCamera::deliverLoss() { frameCallback(nullptr, nullptr, 0, nullptr, nullptr, 0, 0, 0, context); }

void FakeCamera::deliverRaw(const void* samples, uint32_t frameWidth, uint32_t frameHeight, uint32_t depth) {
    const vex_frame_info info = {0, frameWidth, frameHeight, 0, 0};
    if (lastRawCallback) lastRawCallback(samples, &info, rawFourcc, depth, rawContext);
}

HRESULT FakeCamera::QueryInterface(const vex_guid& iid, void** out) {
    *out = nullptr;
    if (iid == VEX_IID_CAMERA_STATUS && offersStatus) *out = static_cast<ICameraStatus*>(this);
    if (iid == VEX_IID_CAMERA_STILL && offersStill) *out = static_cast<ICameraStill*>(this);
    if (iid == VEX_IID_CAMERA_PREVIEW_SIZE) *out = static_cast<ICameraPreviewSize*>(this);
    if (iid == VEX_IID_CAMERA_RAW && offersRaw) *out = static_cast<ICameraRaw*>(this);
    if (!*out) return E_NOINTERFACE;
    ++references;
    return S_OK;
}

HRESULT FakeCamera::GetSize(int32_t* w, int32_t* h) {
    *w = width;
    *h = height;
    return sizeResult;
}

HRESULT FakeCamera::GetExposureTime(uint32_t* microseconds) {
    return *microseconds = exposure, exposure ? S_OK : E_NOTIMPL;
}

HRESULT FakeCamera::GetResolution(uint32_t index, int32_t* w, int32_t* h) {
    *w = width >> index;
    *h = height >> index;
    return S_OK;
}

HRESULT FakeCamera::GetRoi(uint32_t*, uint32_t*, uint32_t* w, uint32_t* h) {
    *w = roiWidth;
    *h = roiHeight;
    return roiResult;
}

HRESULT FakeCamera::GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) {
    *frames = rateFrames;
    *milliseconds = rateMilliseconds;
    *total = rateTotal;
    return rateResult;
}

HRESULT FakeCamera::PutOption(uint32_t number, int32_t value) {
    log("PutOption(" + std::to_string(number) + "," + std::to_string(value) + ")");
    return optionResult;
}

HRESULT FakeCamera::GetOption(uint32_t number, int32_t* value) {
    const auto found = options.find(number);
    if (found == options.end()) return E_NOTIMPL;
    *value = found->second;
    return S_OK;
}

HRESULT FakeCamera::StartPull(uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame,
                              vex_camera_buffer_callback buffer, void* callbackContext, vex_camera_event_callback event,
                              void* callbackEventContext, uint32_t zero2, uint32_t zero3,
                              const vex_texture_target* target, uint32_t one) {
    log(zero0 || zero1 || zero2 || zero3 || one != 1 ? "StartPull with wrong constants" : "StartPull");
    frameCallback = frame;
    bufferCallback = buffer;
    eventCallback = event;
    context = callbackContext;
    eventContext = callbackEventContext;
    textureOffered = target;
    if (target) texture = *target;
    streaming = startResult >= 0;
    return startResult;
}

HRESULT FakeCamera::Stop() {
    streaming = false;
    return log("Stop");
}

void FakeCamera::Close() {
    log("Close");
    closed = true;
    streaming = false;
    --references;
}

HRESULT FakeCamera::Snap(uint32_t index, uint32_t count, void* value) {
    snapValue = value;
    log("Snap(" + std::to_string(index) + "," + std::to_string(count) + ")");
    return snapResult;
}

HRESULT FakeCamera::Pause(uint32_t pause) { return log("Pause(" + std::to_string(pause) + ")"); }

HRESULT FakeCamera::Trigger(uint32_t on) { return log("Trigger(" + std::to_string(on) + ")"); }

HRESULT FakeCamera::GetMaxFrameRate(uint32_t index, uint32_t* rate) {
    const auto found = largestRates.find(index);
    if (found == largestRates.end()) return E_NOTIMPL;
    return *rate = found->second, S_OK;
}

HRESULT FakeCamera::GetStillSize(uint32_t* w, uint32_t* h) {
    *w = stillWidth;
    *h = stillHeight;
    return S_OK;
}

HRESULT FakeCamera::SetStillIndex(uint32_t index) { return log("SetStillIndex(" + std::to_string(index) + ")"); }

HRESULT FakeCamera::GetStillResolution(uint32_t index, int32_t* w, int32_t* h) {
    *w = int32_t(stillWidth >> index);
    *h = int32_t(stillHeight >> index);
    return S_OK;
}

HRESULT FakeCamera::GetRawFormat(uint32_t* fourcc, uint32_t* depth) {
    *fourcc = rawFourcc;
    *depth = rawDepth;
    return rawFormatResult;
}

HRESULT FakeCamera::SetRawCallback(vex_camera_raw_callback callback, void* callbackContext) {
    rawCallback = callback;
    if (callback) {
        lastRawCallback = callback;
        rawContext = callbackContext;
    }
    return log(callback ? "SetRawCallback" : "SetRawCallback(null)");
}

bool FakeCamera::wasCalled(const std::string& call) const {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

HRESULT FakeCamera::log(std::string call) {
    calls.push_back(std::move(call));
    return S_OK;
}

uint32_t FakeCameraLibrary::EnumV2(vex_camera_entry* out) {
    const size_t room = std::min<size_t>(current->entries.size(), VEX_CAMERA_ENTRIES);
    std::copy_n(current->entries.begin(), room, out);
    return current->countAnswer == UINT32_MAX ? uint32_t(room) : current->countAnswer;
}

ICamera* FakeCameraLibrary::Open(const vex_char* name) {
    current->opened.emplace_back(name);
    if (current->refuses) return nullptr;
    current->camera.closed = false;
    current->camera.references = 1;
    return &current->camera;
}

double FakeCameraLibrary::calc_ClarityFactor(const void* picture, uint32_t, uint32_t, uint32_t) {
    return *static_cast<const uint8_t*>(picture);
}

int32_t FakeCameraLibrary::InitOcl() {
    ++current->initOclCalls;
    return current->initOclAnswer;
}

}  // namespace vexcap
