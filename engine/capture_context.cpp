#include "engine/capture_context.h"

#include "base/text.h"
#include "engine/camera_road.h"
#include "engine/state/report.h"
#include "wizard/name_dialogs.h"
#include "wizard/naming.h"

namespace vexcap {
namespace {

constexpr uint32_t limitTimerPeriod = 33;  // milliseconds
constexpr size_t longestPath = 259;        // what the fields for paths hold

/// Cameras of the network library have names that begin so, in whatever list they stand.
bool namesNetworkCamera(std::u16string_view name) { return name.starts_with(u"tk"); }

/// Tells the user why a recording did not start. A user who said no knows it.
Status reported(EngineState& engine, vex_window* owner, Status started) {
    if (started.code() == VEX_E_NO_ENCODER)
        ReportError(engine, owner, engine.Text("ids_recordfail2"), S_OK);
    else if (!started.ok() && started.code() != VEX_E_CANCELLED)
        ReportError(engine, owner, engine.Text("ids_recordfail1"), started.code());
    return started;
}

}  // namespace

std::unique_ptr<CaptureContext> CaptureContext::Create(EngineState& engine, vex_window* owner, vex_window* preview,
                                                       const vex_device* device, void* d3dDevice, void* d3dContext,
                                                       void* renderTarget) {
    if (!device || !device->name || !device->display) return nullptr;
    const uint32_t kind = device->kind;
    if (kind != VEX_KIND_CAMERA && kind != VEX_KIND_NETWORK_LIST && kind != VEX_KIND_NETWORK_CAMERA) return nullptr;
    std::unique_ptr<CaptureContext> context(new CaptureContext(engine, *device));
    ContextState& state = context->state;
    state.ownerWindow = owner;
    state.previewWindow = preview;
    state.networkSource = kind == VEX_KIND_NETWORK_CAMERA || namesNetworkCamera(state.deviceName);
    state.cameraSource = !state.networkSource;
    if (state.cameraSource) {
        state.d3dDevice = d3dDevice;
        state.d3dContext = d3dContext;
        state.renderTarget = renderTarget;
        context->road = std::make_unique<CameraRoad>(state);
    }
    return context;
}

CaptureContext::CaptureContext(EngineState& engine, const vex_device& device) : state(engine) {
    state.kind = device.kind;
    state.deviceName = textOf(device.name);
    state.displayName = textOf(device.display);
}

CaptureContext::~CaptureContext() {
    // The timer's id is this object, so it goes first. Then the source, so that no callback comes while the rest falls.
    KillLimitTimer();
    rawGate.Close();
    if (road) road->CloseSource();
    state.recording.CloseFileWriters();
    StopPreview();
    EndRecording();
    Teardown();
}

Status CaptureContext::Start(vex_window* still, uint32_t stillMessage, uint32_t stillWanted,
                             uint32_t stillFollowsPreview, uint32_t retryStart) {
    state.stillWindow = still;
    state.stillMessage = stillMessage;
    state.stillWanted = stillWanted;
    state.stillFollowsPreview = stillFollowsPreview;
    state.retryStart = retryStart;
    state.width = state.height = state.stillWidth = state.stillHeight = 0;
    if (state.previewing && !StopPreview()) return E_FAIL;
    if (state.previewBuilt) Teardown();
    if (!road) return E_FAIL;
    rawGate.Close();
    if (const Status s = road->OpenSource(); !s.ok()) return s;
    if (const Status s = BuildPreview(); !s.ok()) return s;
    state.startTick = state.engine.platform->clock.Tick();
    return Run().ok() ? S_OK : E_FAIL;
}

HRESULT CaptureContext::BuildPreview() {
    if (state.previewBuilt) return S_FALSE;
    if (state.recording.captureMode() != captureIdle || state.previewing) return E_FAIL;
    if (const Status s = road->CreatePreviewSink(); !s.ok()) return s.code();
    if (!road->ConnectPreviewSink().ok()) {
        Teardown();
        return E_FAIL;
    }
    postMessage(state.previewWindow, state.engine.sizeMessage, uintptr_t(intptr_t(int32_t(state.width))),
                int32_t(state.height));
    road->BuildStillPath();
    state.previewBuilt = true;
    return S_OK;
}

Status CaptureContext::Run() {
    if (state.previewing) return S_OK;
    if (const Status s = road->Run(); !s.ok()) return s;
    state.previewing = true;
    state.playState = playRunning;
    return S_OK;
}

bool CaptureContext::StopPreview() {
    if (!state.previewing || !road->Halt().ok()) return false;
    state.previewing = false;
    state.playState = playStopped;
    return true;
}

void CaptureContext::Teardown() {
    state.previewSink.reset();
    state.stillSink.reset();
    state.previewBuilt = false;
}

void CaptureContext::Notify() {
    if (!road || !road->SourceFailed()) return;
    StopPreview();
    ReportError(state.engine, state.ownerWindow, state.engine.Text(road->FailureKey()), S_OK);
}

bool CaptureContext::UsesTexture() const {
    return state.previewSink ? state.previewSink->GpuPath() : state.engine.d2dAvailable;
}

void CaptureContext::VideoSize(int32_t* width, int32_t* height) const {
    if (width) *width = int32_t(state.width);
    if (height) *height = int32_t(state.height);
}

Status CaptureContext::FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total) {
    return road ? road->FrameRate(frames, milliseconds, total) : E_UNEXPECTED;
}

Status startCaptureMicro(EngineState& engine, CaptureContext& context, bool skipMediaFoundation, bool quick,
                         uint8_t* promptFlag) {
    return reported(engine, context.ownerWindow(), context.StartCaptureMicro(skipMediaFoundation, quick, promptFlag));
}

Status startCaptureAstro(EngineState& engine, CaptureContext* context, std::u16string_view path, int32_t seconds,
                         int32_t frames) {
    return reported(engine, context ? context->ownerWindow() : nullptr,
                    context ? context->StartCaptureAstro(path, seconds, frames) : E_FAIL);
}

Result<WizardSource> CaptureContext::RecordingSource(bool skipMediaFoundation) {
    if (!road || !HasSource()) return E_FAIL;
    WizardSource source = {.parentWindow = state.ownerWindow,
                           .frameRate = road->LargestFrameRate(),
                           .isCamera = state.cameraSource,
                           .skipMediaFoundation = skipMediaFoundation};
    uint32_t format = 0;
    if (const Status s = road->FinalSize(source.width, source.height); !s.ok()) return s;
    if (const Status s = road->RawFormat(format, source.bitDepth); !s.ok()) return s;
    return source;
}

Status CaptureContext::StartCaptureMicro(bool skipMediaFoundation, bool quick, uint8_t* promptFlag) {
    const Result<WizardSource> source = RecordingSource(skipMediaFoundation);
    if (!source.ok()) return source.status();
    EngineState& engine = state.engine;
    CWizardCaptureInfo info(engine, source.value());
    info.timeLapse = state.timeLapse;
    // The wizard has no window here, which counts as cancelled.
    if (!quick) return VEX_E_CANCELLED;
    if (promptFlag && *promptFlag) {
        CQuickRenameDlg dialog(info, *promptFlag);
        if (!engine.platform->dialogs.Show(state.ownerWindow, dialog)) return VEX_E_CANCELLED;
    }
    if (!combinePath(info)) return E_FAIL;
    // Where nothing writes WMV, AVI takes its place.
    if (!info.encoderKind && !engine.libraries.WMCreateProfileManager) info.aviOutput = true;
    normaliseExtension(info);
    resolveGpu(info);
    // From here on the settings are kept, also when the user does not want to replace a file.
    info.commit = true;
    if (!confirmReplace(engine, info.fullPath, state.ownerWindow)) return VEX_E_CANCELLED;
    return StartFrameSink(info);
}

Status CaptureContext::StartCaptureAstro(std::u16string_view path, int32_t seconds, int32_t frames) {
    const Result<WizardSource> source = RecordingSource(false);
    if (!source.ok()) return source.status();
    CWizardCaptureInfo info(state.engine, source.value());
    info.fullPath = path;
    info.encoderKind = 0;
    info.aviOutput = endsWithExtension(path, ".avi");
    info.serOutput = !info.aviOutput;
    info.UseTimeLimit = seconds > 0;
    info.TimeLimit = uint32_t(seconds);
    info.useFrameLimit = frames > 0;
    info.frameLimit = uint32_t(frames);
    info.timeLapse = state.timeLapse;
    return StartFrameSink(info);
}

Status CaptureContext::StartFrameSink(const CWizardCaptureInfo& info) {
    // A path that does not fit would name another file than the host meant.
    if (info.fullPath.empty() || info.fullPath.size() > longestPath) return E_FAIL;
    if (!info.aviOutput && !info.serOutput) return VEX_E_NO_ENCODER;
    EndRecording();
    state.recording.Prepare({.fullPath = info.fullPath,
                             .timeLimit = info.UseTimeLimit ? info.TimeLimit : 0,
                             .frameLimit = info.useFrameLimit ? info.frameLimit : 0,
                             .timeLapse = info.timeLapse});
    return info.aviOutput ? StartAvi() : StartSer();
}

Status CaptureContext::StartAvi() {
    uint32_t width = 0, height = 0;
    if (const Status s = road->FinalSize(width, height); !s.ok() || !width || !height) return s;
    if (const Status s = state.recording.OpenAvi(width, height); !s.ok()) return s;
    BeginLimits(captureFrameSink);
    return S_OK;
}

Status CaptureContext::StartSer() {
    uint32_t width = 0, height = 0, format = 0, depth = 0;
    if (const Status s = road->FinalSize(width, height); !s.ok() || !width || !height) return s;
    if (const Status s = road->RawFormat(format, depth); !s.ok() || !depth) return s;
    if (const Status s = state.recording.OpenSer(state.displayName, format, depth, width, height); !s.ok()) return s;
    if (void* const token = state.engine.astroMode ? rawGate.Open(&state.recording) : nullptr) {
        if (const Status s = road->StartRawFrames(token); !s.ok()) {
            rawGate.Close();
            state.recording.CloseFileWriters();
            return s;
        }
    }
    BeginLimits(captureFrameSink);
    return S_OK;
}

void CaptureContext::BeginLimits(CaptureMode mode) {
    state.recording.Begin(mode);
    vex_window* const owner = state.ownerWindow;
    if (owner && (state.recording.timeLimit() || state.recording.frameLimit())) {
        owner->set_timer(owner, reinterpret_cast<uintptr_t>(this), limitTimerPeriod, OnLimitTimer);
        limitTimer = true;
    }
    // A broadcast that ended leaves 3 behind while the preview runs; a pause stays.
    if (state.playState == playStopped && state.previewing) state.playState = playRunning;
    road->TellRecordingState(true);
    road->RefreshSinkOptions();
}

bool CaptureContext::EndRecording() {
    if (state.recording.captureMode() == captureIdle) return false;
    // The camera may be waiting for captureLock in its callback, so it is told without holding it.
    if (road) road->StopRawFrames();
    rawGate.Close();
    state.recording.CloseFileWriters();
    KillLimitTimer();
    state.recording.StoreRealRate();
    state.recording.Clear();
    if (road) road->RefreshSinkOptions();
    return true;
}

void CaptureContext::StopCapture() {
    if (EndRecording() && road) road->TellRecordingState(false);
}

void CaptureContext::KillLimitTimer() {
    if (!limitTimer) return;
    state.ownerWindow->kill_timer(state.ownerWindow, reinterpret_cast<uintptr_t>(this));
    limitTimer = false;
}

void CaptureContext::OnLimitTimer(vex_window*, uintptr_t id) { reinterpret_cast<CaptureContext*>(id)->CheckLimits(); }

void CaptureContext::CheckLimits() {
    // A box that is open in here lets the timer fire again.
    if (checkingLimits || !state.recording.LimitReached()) return;
    checkingLimits = true;
    EndRecording();
    postMessage(state.previewWindow, state.engine.limitMessage, 1, 0);
    checkingLimits = false;
}

}  // namespace vexcap
