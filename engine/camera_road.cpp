#include "engine/camera_road.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "base/ref.h"
#include "base/text.h"
#include "engine/state/report.h"

namespace vexcap {
namespace {

// A camera that says more than this is not believed: its buffers could not be had anyway.
constexpr uint64_t mostPixels = 1ull << 28;

constexpr bool plausible(int64_t width, int64_t height) {
    return width >= 1 && height >= 1 && uint64_t(width) <= mostPixels &&
           uint64_t(height) <= mostPixels / uint64_t(width);
}

constexpr uint64_t packedSize(uint32_t width, uint32_t height) { return uint64_t(width) << 32 | height; }

struct RateStep {
    uint64_t pixels;  ///< From this many on.
    uint32_t rate;
};
constexpr RateStep astroRates[] = {
    {18095808, 5}, {16295888, 6}, {13459456, 7}, {12000000, 8}, {9841664, 9},
    {8479744, 10}, {4920320, 12}, {3141632, 20}, {0, 25},
};
constexpr RateStep microscopeRates[] = {{15200000, 15}, {12000000, 25}, {4920320, 35}, {0, 50}};

template <size_t count>
uint32_t rateFrom(const RateStep (&steps)[count], uint64_t pixels) {
    return std::find_if(std::begin(steps), std::end(steps), [&](const RateStep& s) { return pixels >= s.pixels; })
        ->rate;
}

int32_t readCapabilities(int32_t count, std::vector<vex_capability>& out,
                         const std::function<void(uint32_t index, int32_t* width, int32_t* height)>& read) {
    constexpr int32_t mostSizes = 4096;  // a count beyond this is nonsense, and no reason to fill the memory
    if (count > mostSizes) return 0;
    if (count > 0) {
        out.assign(size_t(count), vex_capability{});
        for (uint32_t i = 0; i < uint32_t(count); ++i) read(i, &out[i].header.biWidth, &out[i].header.biHeight);
    }
    return count;
}

/// Why Open returned null, as far as the library says.
HRESULT openFailure(const CameraLibrary& library) {
    const HRESULT why = library.OpenStatus ? library.OpenStatus() : E_FAIL;
    return why < 0 ? why : E_FAIL;
}

}  // namespace

uint32_t baseFrameRate(uint64_t pixels, bool astroMode) {
    return astroMode ? rateFrom(astroRates, pixels) : rateFrom(microscopeRates, pixels);
}

uint32_t frameRateValue(uint32_t base, uint32_t percent, uint32_t cap) {
    uint32_t value = percent * base / 100;
    if (cap) value = std::min(cap, value);
    return std::max(value, 2u);
}

Status CameraRoad::OpenSource() {
    CloseSource();
    const vex_camera_open open = state.engine.camera.Open;
    if (!open) return state.Fail(E_FAIL, VEX_E_NO_MODULE, u"There is no camera library that opens cameras.");
    camera = open(state.deviceName.c_str());
    if (!camera) {
        const HRESULT why = openFailure(state.engine.camera);
        return state.Fail(
            E_FAIL, why,
            textFrom(u"The camera library does not open %s: %s.", state.displayName, ResultText(state.engine, why)));
    }
    state.bitDepth = camera->GetBitDepth();
    if (state.bitDepth >= 8) return S_OK;
    return state.Fail(E_FAIL, E_UNEXPECTED,
                      textFrom(u"%s reports a depth of %u bits; 8 are the least.", state.displayName, state.bitDepth));
}

void CameraRoad::PutOption(uint32_t number, int32_t value) {
    const HRESULT result = camera->PutOption(number, value);
    if (result >= 0) return;
    Log& log = state.engine.platform->log;
    // A camera without this option is no cause for concern.
    const uint32_t level = result == E_NOTIMPL ? VEX_LOG_DEBUG : VEX_LOG_WARNING;
    if (log.Wants(level))
        log.Write(level, u"%s refuses option %u = %d: %s", state.displayName, number, value,
                  ResultText(state.engine, result));
}

void CameraRoad::CloseSource() {
    gate.Close();
    if (!camera) return;
    camera->Close();
    camera = nullptr;
}

Status CameraRoad::CreatePreviewSink() {
    const EngineState& engine = state.engine;
    if (!camera) return E_INVALIDARG;
    int32_t width = 0, height = 0;
    const bool known = camera->GetSize(&width, &height) >= 0 && plausible(width, height);
    const uint64_t pixels = known ? uint64_t(width) * uint64_t(height) : 0;
    state.rateOption =
        frameRateValue(baseFrameRate(pixels, engine.astroMode), engine.frameRatePercent, engine.frameRateCap);
    PutOption(VEX_OPTION_FRAME_RATE, int32_t(state.rateOption));
    state.previewSink = std::make_unique<CFrameRender>(SinkMode::Pooled, state.rateOption, ContextState::bytesPerPixel,
                                                       engine.platform->clock, engine.platform->textures,
                                                       engine.platform->files, engine.d2dAvailable);
    state.previewSink->PutThrottleOff(1);
    return S_OK;
}

Status CameraRoad::ConnectPreviewSink() {
    if (!state.previewSink) return E_FAIL;
    int32_t sourceWidth = 0, sourceHeight = 0;
    if (const Status s = camera->GetSize(&sourceWidth, &sourceHeight); !s.ok()) return s;
    if (!plausible(sourceWidth, sourceHeight))
        return state.Fail(
            E_FAIL, E_UNEXPECTED,
            textFrom(u"%s reports a size of %d x %d pixels.", state.displayName, sourceWidth, sourceHeight));
    CFrameRender& sink = *state.previewSink;
    sink.PutMaxSize(uint32_t(sourceWidth), uint32_t(sourceHeight));
    sink.RaiseSensorDepth(state.bitDepth);
    uint32_t width = 0, height = 0;
    if (!FinalSize(width, height).ok() || !plausible(width, height)) {
        width = uint32_t(sourceWidth);
        height = uint32_t(sourceHeight);
    }
    sink.SetVideoSize(width, height, state.d3dDevice, state.d3dContext, state.renderTarget);
    frameSize = packedSize(width, height);
    sink.SetNotify(state.previewWindow, state.engine.frameMessage, OnRgbFrame, &state.recording);
    state.width = uint32_t(sourceWidth);
    state.height = uint32_t(sourceHeight);
    return S_OK;
}

Status CameraRoad::FinalSize(uint32_t& width, uint32_t& height) { return finalSize(camera, width, height); }

void CameraRoad::BuildStillPath() {
    BuildStillSink();
    PutCapture(state.captureKind).ignore();
}

void CameraRoad::BuildStillSink() {
    const auto still = queryInterface<ICameraStill>(camera, VEX_IID_CAMERA_STILL);
    if (!still || still->GetStillCount() <= 0) return;
    uint32_t width = 0, height = 0;
    if (still->GetStillSize(&width, &height) < 0 || !plausible(width, height)) return;
    state.stillWidth = width;
    state.stillHeight = height;
    if (!state.stillSink) {
        const Platform& platform = *state.engine.platform;
        state.stillSink = std::make_unique<CFrameRender>(SinkMode::Owned, 0, ContextState::bytesPerPixel,
                                                         platform.clock, platform.textures, platform.files, false);
        state.stillSink->SetSizeNotify(state.stillWindow, state.stillMessage);
        int32_t largestWidth = 0, largestHeight = 0;
        if (still->GetStillResolution(0, &largestWidth, &largestHeight) >= 0 && plausible(largestWidth, largestHeight))
            state.stillSink->PutMaxSize(uint32_t(largestWidth), uint32_t(largestHeight));
        state.previewSink->RaiseSensorDepth(state.bitDepth);
    }
    state.stillSink->RaiseSensorDepth(state.bitDepth);
    state.stillSink->SetVideoSize(width, height, nullptr, nullptr, nullptr);
}

Status CameraRoad::PutCapture(uint32_t kind) {
    if (!camera) return E_UNEXPECTED;
    state.captureKind = kind;
    const HRESULT result = state.previewSink ? state.previewSink->PutCapture(kind) : E_UNEXPECTED;
    if (state.stillSink) state.stillSink->PutCapture(kind);
    return result;
}

uint32_t CameraRoad::StillCount() {
    const auto still = queryInterface<ICameraStill>(camera, VEX_IID_CAMERA_STILL);
    return still ? uint32_t(std::max(still->GetStillCount(), 0)) : 0;
}

Status CameraRoad::TakeStill(void* value) {
    constexpr uint32_t sizeThatIsSet = 0xFFFFFFFF;
    return camera ? camera->Snap(sizeThatIsSet, 1, value) : E_UNEXPECTED;
}

Status CameraRoad::Run() {
    if (!camera) return E_INVALIDARG;
    state.streamLost = 0;
    CFrameRender* const sink = state.previewSink.get();
    const vex_texture_target texture = sink ? sink->TextureTarget() : vex_texture_target{};
    const vex_texture_target* const offered = texture.texture ? &texture : nullptr;
    void* const token = gate.Open(this);
    if (!token) return E_OUTOFMEMORY;
    const Status started = camera->StartPull(0, 0, OnFrame, OnBuffers, token, OnEvent, token, 0, 0, offered, 1);
    if (!started.ok()) {
        gate.Close();
        return started;
    }
    if (offered && !camera->TextureAccepted()) {
        sink->InitD2d(nullptr, nullptr, nullptr);
        state.d3dDevice = state.d3dContext = state.renderTarget = nullptr;
    }
    camera->Pause(0);
    return S_OK;
}

Status CameraRoad::Halt() {
    if (camera) camera->Stop();
    gate.Close();
    return S_OK;
}

bool CameraRoad::SourceRemoved() {
    const auto status = queryInterface<ICameraStatus>(camera, VEX_IID_CAMERA_STATUS);
    uint32_t told = VEX_CAMERA_STATE_OK;
    return status && status->GetState(&told) >= 0 && told == VEX_CAMERA_STATE_REMOVED;
}

bool CameraRoad::ChangeState(uint32_t from, uint32_t to) {
    if (!camera) return false;
    if (to == playStopped) return Halt().ok();
    if (to == playRunning && from == playStopped) return Run().ok();
    const bool pause = to == playPaused && from == playRunning;
    const bool goOn = to == playRunning && from == playPaused;
    // A telescope camera goes on delivering: only what is recorded stands still.
    if ((pause || goOn) && !state.engine.astroMode) camera->Pause(pause);
    return pause || goOn;
}

void CameraRoad::SetSize(uint32_t size, bool still) {
    if (!still) {
        const auto preview = queryInterface<ICameraPreviewSize>(camera, VEX_IID_CAMERA_PREVIEW_SIZE);
        if (preview) preview->SetPreviewIndex(size);
        return;
    }
    const auto stills = queryInterface<ICameraStill>(camera, VEX_IID_CAMERA_STILL);
    if (!stills) return;
    stills->SetStillIndex(size);
    uint32_t width = 0, height = 0;
    if (!state.stillSink || stills->GetStillSize(&width, &height) < 0 || !plausible(width, height)) return;
    state.stillWidth = width;
    state.stillHeight = height;
    state.stillSink->SetVideoSize(width, height, nullptr, nullptr, nullptr);
}

uint32_t CameraRoad::LargestFrameRate() {
    const uint32_t rate = maxFrameRate(camera);
    uint32_t exposure = 0;
    const bool exposes = camera && camera->GetExposureTime(&exposure) >= 0 && exposure;
    return exposes ? std::clamp(1'000'000 / exposure, 1u, rate) : rate;
}

Status CameraRoad::FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total) {
    return camera ? camera->GetFrameRate(&frames, &milliseconds, &total) : E_UNEXPECTED;
}

int32_t CameraRoad::Capabilities(std::vector<vex_capability>& out) {
    if (!camera) return 0;
    return readCapabilities(camera->GetResolutionCount(), out, [this](uint32_t i, int32_t* width, int32_t* height) {
        camera->GetResolution(i, width, height);
    });
}

int32_t CameraRoad::StillCapabilities(std::vector<vex_capability>& out) {
    const auto still = queryInterface<ICameraStill>(camera, VEX_IID_CAMERA_STILL);
    if (!still) return 0;
    return readCapabilities(still->GetStillCount(), out, [&](uint32_t i, int32_t* width, int32_t* height) {
        still->GetStillResolution(i, width, height);
    });
}

Status CameraRoad::RawFormat(uint32_t& fourcc, uint32_t& depth) {
    const auto raw = queryInterface<ICameraRaw>(camera, VEX_IID_CAMERA_RAW);
    return raw ? raw->GetRawFormat(&fourcc, &depth) : E_NOINTERFACE;
}

Status CameraRoad::StartRawFrames(void* token) {
    const auto raw = queryInterface<ICameraRaw>(camera, VEX_IID_CAMERA_RAW);
    return raw ? raw->SetRawCallback(OnRawFrame, token) : E_NOINTERFACE;
}

void CameraRoad::StopRawFrames() {
    const auto raw = queryInterface<ICameraRaw>(camera, VEX_IID_CAMERA_RAW);
    if (raw) raw->SetRawCallback(nullptr, nullptr);
}

void CameraRoad::TellRecordingState(bool recording) {
    if (camera) PutOption(VEX_OPTION_RECORDING, recording ? 0 : 1);
}

void CameraRoad::RefreshSinkOptions() {
    CFrameRender* const sink = state.previewSink.get();
    if (!state.engine.astroMode || !camera || !sink) return;
    uint32_t value = state.rateOption;
    if (state.recording.captureMode() != captureIdle) {
        if (!state.recording.recordsRaw()) {
            camera->Trigger(1);
            sink->PutThrottleOff(0);
            return;
        }
        // Raw frames are written whatever the display shows: half its rate leaves the processor to them.
        value >>= 1;
    } else if (sink->TriggerOn()) {
        camera->Trigger(1);
        const uint32_t count = sink->TriggerCount();
        sink->PutThrottleOff(count != 2 && count != 3);
        return;
    }
    PutOption(VEX_OPTION_FRAME_RATE, int32_t(value));
    camera->Trigger(0);
    sink->PutThrottleOff(1);
}

void CameraRoad::OnFrame(const void* frame, const vex_frame_info* info, uint32_t still, const void* raw,
                         const void* deep, uint32_t depthFlag, uint32_t tag, uint64_t frameTag, void* token) {
    const CallbackGate::Visit visit(token);
    CameraRoad* const road = visit.target<CameraRoad>();
    if (!road) return;
    if (!frame || !info) {
        road->state.streamLost = 1;
        return;
    }
    CFrameRender* const sink = (still ? road->state.stillSink : road->state.previewSink).get();
    if (!sink) return;
    sink->ReceiveFrame(frame, raw, deep, depthFlag, tag, info->width, info->height, frameTag,
                       {.numbered = true, .number = info->sequence, .timestamp = info->timestamp});
    if (!still) road->AnnounceSize(info->width, info->height);
    if (still || !road->state.graph.srcFilter || isTexture(frame) || !sink->MayBeRead(frame, info->width, info->height))
        return;
    road->state.graph.srcFilter->PushFrame(frame, info->width, info->height);
    road->state.recording.CountPushed();
}

void CameraRoad::OnBuffers(uint32_t still, void** display, void** raw, void** deep, void* token) {
    for (void** out : {display, raw, deep})
        if (out) *out = nullptr;
    const CallbackGate::Visit visit(token);
    CameraRoad* const road = visit.target<CameraRoad>();
    if (!road) return;
    CFrameRender* const sink = (still ? road->state.stillSink : road->state.previewSink).get();
    if (!sink) return;
    sink->NextBuffers(display, raw, deep);
}

void CameraRoad::OnEvent(uint32_t event, void* token) {
    const CallbackGate::Visit visit(token);
    CameraRoad* const road = visit.target<CameraRoad>();
    if (!road) return;
    if (event == VEX_CAMERA_EVENT_SIZE) road->TakeNewSize();
    postMessage(road->state.previewWindow, road->state.engine.eventMessage, event, 0);
}

void CameraRoad::AnnounceSize(uint32_t width, uint32_t height) {
    const uint64_t size = packedSize(width, height);
    if (size == frameSize || !plausible(width, height)) return;
    frameSize = size;
    postMessage(state.previewWindow, state.engine.sizeMessage, uintptr_t(intptr_t(int32_t(state.width))),
                int32_t(state.height));
}

void CameraRoad::TakeNewSize() {
    if (CFrameRender* const sink = state.previewSink.get()) {
        int32_t width = int32_t(state.width), height = int32_t(state.height);
        camera->GetSize(&width, &height);
        const bool changed = uint32_t(width) != state.width || uint32_t(height) != state.height;
        if (changed && plausible(width, height)) {
            sink->Reset();
            state.width = uint32_t(width);
            state.height = uint32_t(height);
            sink->PutMaxSize(uint32_t(width), uint32_t(height));
            sink->SetVideoSize(uint32_t(width), uint32_t(height), nullptr, nullptr, nullptr);
            sink->PutCapture(state.captureKind);  // the buffers for it had the old size
        }
    }
    const auto still = queryInterface<ICameraStill>(camera, VEX_IID_CAMERA_STILL);
    uint32_t width = 0, height = 0;
    if (still && still->GetStillCount() > 0 && still->GetStillSize(&width, &height) >= 0) {
        state.stillWidth = width;
        state.stillHeight = height;
    }
}

void CameraRoad::OnRgbFrame(void* recording, const void* frame, uint32_t width, uint32_t height) {
    static_cast<Recording*>(recording)->onRgbFrame(frame, width, height);
}

void CameraRoad::OnRawFrame(const void* raw, const vex_frame_info* info, uint32_t, uint32_t depth, void* token) {
    const CallbackGate::Visit visit(token);
    Recording* const recording = visit.target<Recording>();
    if (recording && raw && info) recording->onRawFrame(raw, info->width, info->height, depth);
}

}  // namespace vexcap
