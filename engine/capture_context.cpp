#include "engine/capture_context.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "base/text.h"
#include "engine/camera_road.h"
#include "engine/graph_road.h"
#include "engine/state/report.h"

namespace vexcap {
namespace {

/// Cameras of the network library have names that begin so, in whatever list they stand.
bool namesNetworkCamera(std::u16string_view name) { return name.starts_with(u"tk"); }

/// Null where memory is short: the recording is then not corrected.
std::unique_ptr<uint8_t[]> copyOfDark(const uint8_t* dark, uint32_t width, uint32_t height) {
    const size_t bytes = size_t(width) * height * ContextState::bytesPerPixel;
    std::unique_ptr<uint8_t[]> copy(new (std::nothrow) uint8_t[bytes]);
    if (copy) std::memcpy(copy.get(), dark, bytes);
    return copy;
}

}  // namespace

std::unique_ptr<CaptureContext> CaptureContext::Create(EngineState& engine, vex_window* owner, vex_window* preview,
                                                       const vex_device* device, void* d3dDevice, void* d3dContext,
                                                       void* renderTarget) {
    Log& log = engine.platform->log;
    engine.failure = {};
    if (!device || !device->name || !device->display) {
        engine.failure.Keep(log, E_INVALIDARG, u"The device's record has no name.");
        return nullptr;
    }
    const uint32_t kind = device->kind;
    const std::u16string_view name = textOf(device->name);
    const bool direct = kind == VEX_KIND_CAMERA || kind == VEX_KIND_NETWORK_LIST || kind == VEX_KIND_NETWORK_CAMERA;
    if (!direct && (kind != VEX_KIND_VIDEO_INPUT || !engine.platform->videoDevices.Parse(name))) {
        engine.failure.Keep(log, E_INVALIDARG, textFrom(u"Nothing here opens %s, a device of kind %u.", name, kind));
        return nullptr;
    }
    std::unique_ptr<CaptureContext> context(new CaptureContext(engine, kind, name, textOf(device->display)));
    ContextState& state = context->state;
    state.ownerWindow = owner;
    state.previewWindow = preview;
    context->MakeMarker();
    if (!direct) {
        context->road = std::make_unique<DeviceRoad>(state);
        return context;
    }
    state.networkSource = kind == VEX_KIND_NETWORK_CAMERA || namesNetworkCamera(name);
    state.cameraSource = !state.networkSource;
    if (state.cameraSource) {
        state.d3dDevice = d3dDevice;
        state.d3dContext = d3dContext;
        state.renderTarget = renderTarget;
        context->road = std::make_unique<CameraRoad>(state);
    }
    return context;
}

std::unique_ptr<CaptureContext> CaptureContext::CreateForFile(EngineState& engine, vex_window* owner,
                                                              vex_window* preview, std::u16string_view path) {
    engine.failure = {};
    if (path.empty()) {
        engine.failure.Keep(engine.platform->log, E_INVALIDARG, u"The file's path is empty.");
        return nullptr;
    }
    std::unique_ptr<CaptureContext> context(new CaptureContext(engine, VEX_KIND_FILE, path, path));
    ContextState& state = context->state;
    state.ownerWindow = owner;
    state.previewWindow = preview;
    state.fileSource = true;
    context->road = std::make_unique<FileRoad>(state);
    return context;
}

CaptureContext::CaptureContext(EngineState& engine, uint32_t kind, std::u16string_view name,
                               std::u16string_view display)
    : state(engine) {
    state.kind = kind;
    state.deviceName = name;
    state.displayName = display;
}

void CaptureContext::MakeMarker() {
    const Platform& platform = *state.engine.platform;
    state.marker = std::make_unique<CMarker>(overlayPorts(platform), state.engine.camera.calc_ClarityFactor);
    state.marker->SetGeo(markerSettings().Geo());
    state.marker->SetTxt(markerSettings().Txt());
    state.recording.PutMarker(state.marker.get());
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
    state.graph.Release();
}

Status CaptureContext::Start(vex_window* still, uint32_t stillMessage, uint32_t stillWanted,
                             uint32_t stillFollowsPreview, uint32_t retryStart) {
    ForgetFailure();
    const Status started = StartPreview(still, stillMessage, stillWanted, stillFollowsPreview, retryStart);
    if (!started.ok()) KeepFailure(u"The preview cannot start: %s.", started);
    return started;
}

void CaptureContext::KeepFailure(std::u16string_view sentence, Status cause) {
    if (state.failure.code != S_OK) return;
    state.Fail(cause.code(), cause.code(), textFrom(sentence, ResultText(state.engine, cause.code()))).ignore();
}

Status CaptureContext::StartPreview(vex_window* still, uint32_t stillMessage, uint32_t stillWanted,
                                    uint32_t stillFollowsPreview, uint32_t retryStart) {
    // A recording holds the preview and the source; its frames are worth more than a new start.
    if (state.recording.captureMode() != captureIdle)
        return state.Fail(E_FAIL, E_UNEXPECTED, u"A recording is open: it has to be stopped first.");
    state.stillWindow = still;
    state.stillMessage = stillMessage;
    state.stillWanted = stillWanted;
    state.stillFollowsPreview = stillFollowsPreview;
    state.retryStart = retryStart;
    state.width = state.height = state.stillWidth = state.stillHeight = 0;
    if (state.previewing && !StopPreview())
        return state.Fail(E_FAIL, E_FAIL, u"The preview that runs cannot be stopped.");
    if (state.previewBuilt) Teardown();
    state.graph.Release();
    if (!road)
        return state.Fail(E_FAIL, E_NOTIMPL,
                          textFrom(u"No library here opens the network camera %s.", state.displayName));
    rawGate.Close();
    if (const Status s = road->OpenSource(); !s.ok()) return s;
    if (const Status s = BuildPreview(); !s.ok()) return s;
    state.startTick = state.engine.platform->clock.Tick();
    if (const Status s = Run(); !s.ok())
        return state.Fail(
            E_FAIL, s.code(),
            textFrom(u"%s does not begin to deliver: %s.", state.displayName, ResultText(state.engine, s.code())));
    return S_OK;
}

HRESULT CaptureContext::BuildPreview() {
    if (state.previewBuilt) return S_FALSE;
    if (state.recording.captureMode() != captureIdle || state.previewing)
        return state.Fail(E_FAIL, E_UNEXPECTED, u"A recording is open: it has to be stopped first.").code();
    if (const Status s = road->CreatePreviewSink(); !s.ok()) return s.code();
    if (const Status s = road->ConnectPreviewSink(); !s.ok()) {
        Teardown();
        return state
            .Fail(E_FAIL, s.code(),
                  textFrom(u"The pictures of %s cannot be shown: %s.", state.displayName,
                           ResultText(state.engine, s.code())))
            .code();
    }
    postMessage(state.previewWindow, state.engine.sizeMessage, uintptr_t(intptr_t(int32_t(state.width))),
                int32_t(state.height));
    road->BuildStillPath();
    HandDarkBack();
    ApplyPictureSteps();
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
    StashDark();
    state.previewSink.reset();
    state.stillSink.reset();
    state.graph.Teardown();
    if (state.cameraSource) state.graph.Release();
    state.previewBuilt = state.captureBuilt = false;
}

bool CaptureContext::RestartPreview() { return BuildPreview() >= 0 && Run().ok(); }

void CaptureContext::SetEsize(uint32_t size, bool still) {
    // A recording has one size, and its file is worth more than a wish.
    if (!HasSource() || state.recording.captureMode() != captureIdle || road->SizeIsSet(size)) return;
    if (!state.cameraSource && !state.graph.sourceFilter) return;  // the frames of a file have one size
    if (state.cameraSource && still) return road->SetSize(size, true);
    StopPreview();
    if (state.previewBuilt) Teardown();
    road->SetSize(size, still);
    RestartPreview();
}

Status CaptureContext::PutFormat(uint32_t index) {
    const Ref<IAMStreamConfig> config = state.graph.streamConfig;
    MediaType wanted, before;
    if (!config || index > INT32_MAX || config->GetStreamCaps(int32_t(index), &wanted, nullptr) != S_OK ||
        config->GetFormat(&before) < 0)
        return E_INVALIDARG;
    if (state.recording.captureMode() != captureIdle) return E_FAIL;
    StopPreview();
    if (state.previewBuilt) Teardown();
    const Status set = config->SetFormat(&wanted);
    if (RestartPreview() && set.ok()) return S_OK;
    // Back to what worked.
    StopPreview();
    if (state.previewBuilt) Teardown();
    config->SetFormat(&before);
    RestartPreview();
    return set.ok() ? E_FAIL : set;
}

void CaptureContext::PutFlip(uint32_t value, uint32_t mask) {
    if (!HasPictureSteps()) return;
    state.steps.putFlip(value, mask);
    ApplyPictureSteps();
}

void CaptureContext::PutChrome(uint32_t on) {
    if (!HasPictureSteps()) return;
    state.steps.putChrome(on);
    ApplyPictureSteps();
}

void CaptureContext::PutNegative(uint32_t on) {
    if (!HasPictureSteps()) return;
    state.steps.putNegative(on);
    ApplyPictureSteps();
}

void CaptureContext::ApplyPictureSteps() {
    if (!HasPictureSteps()) return;
    const auto apply = [this](auto* target) {
        if (!target) return;
        target->PutNegative(state.steps.negative());
        target->PutChrome(state.steps.chrome());
        target->PutFlip(state.steps.flip(), 1);
        target->PutFlip(state.steps.flip(), 2);
    };
    apply(state.graph.previewRender.get());
    apply(state.graph.stillRender.get());
    if (CMarkerFilter* const filter = state.graph.markerFilter.get()) {
        filter->SetNegative(state.steps.negative());
        filter->SetChrome(state.steps.chrome());
        filter->SetFlip(state.steps.flip(), 1);
        filter->SetFlip(state.steps.flip(), 2);
    }
}

void CaptureContext::SetPlayState(uint32_t to) {
    if (road && road->ChangeState(state.playState, to)) state.playState = to;
}

void CaptureContext::SetPosition(int64_t position) const {
    if (road) road->SetPosition(position);
}

void CaptureContext::Notify() {
    SourceNews news;
    if (state.cameraSource && state.streamLost) {
        news.failed = true;
        StopPreview();
    } else if (!DrainEvents(news)) {
        return;
    }
    if (news.stopPreview) StopPreview();
    if (!news.failed || state.fileSource) return;
    if (road->MayRetryStart()) {
        road->PauseBeforeRetry();
        Run().ignore();
        return;
    }
    ReportLoss(news);
}

bool CaptureContext::DrainEvents(SourceNews& news) {
    CFilterGraph* const graph = state.graph.filterGraph.get();
    if (!graph) return false;
    uint32_t event = 0;
    intptr_t first = 0, second = 0;
    while (graph->GetEvent(&event, &first, &second, 0) == S_OK) {
        const IVexUnknown* const source = state.graph.sourceFilter.get();
        const bool lostDevice =
            event == EC_DEVICE_LOST && second == 0 && source && reinterpret_cast<IVexUnknown*>(first) == source;
        graph->FreeEventParams(event, first, second);
        if (event == EC_COMPLETE && state.fileSource) {
            // The end of the file: stopped, at its beginning, and ready to be played again.
            graph->Stop();
            state.playState = playStopped;
            SetPosition(0);
            news.failed = false;
            return true;
        }
        if (event == EC_ERRORABORT && !state.fileSource) {
            EndRecording();
            news.failed = news.stopPreview = true;
            news.code = HRESULT(first);
        } else if (event == EC_VIDEO_SIZE_CHANGED && !state.cameraSource) {
            postMessage(state.previewWindow, state.engine.sizeMessage, uintptr_t(first) & 0xFFFF,
                        intptr_t(uintptr_t(first) >> 16 & 0xFFFF));
        } else if (lostDevice) {
            EndRecording();
            news.removed = news.stopPreview = true;
            return true;
        }
        // The recording's end may have taken the graph away.
        if (state.graph.filterGraph.get() != graph) break;
    }
    return true;
}

void CaptureContext::ReportLoss(const SourceNews& news) {
    const EngineState& engine = state.engine;
    const bool pulledOut = state.cameraSource && road->SourceRemoved();
    if (pulledOut) return ReportError(engine, state.ownerWindow, engine.Text("ids_surpriseremoval"), S_OK);
    if (news.removed) return ReportError(engine, state.ownerWindow, engine.Text("ids_devicelost"), S_OK);
    ReportError(engine, state.ownerWindow, engine.Text("ids_captureerror"), news.code);
}

// --- Dark field -----------------------------------------------------------------------------------------------------

IDfc* CaptureContext::FindDfc() const {
    return state.cameraSource ? nullptr : static_cast<IDfc*>(state.graph.previewRender.get());
}

void CaptureContext::EnableDfc(uint32_t on) {
    IDfc* const target = FindDfc();
    if (!target) return;
    target->Enable(on);
    if (CMarkerFilter* const filter = state.graph.markerFilter.get()) filter->Enable(on);
}

HRESULT CaptureContext::CaptureDfc(uint32_t count) {
    IDfc* const target = FindDfc();
    return target ? target->Capture(count, OnDarkField, this) : E_INVALIDARG;
}

void CaptureContext::OnDarkField(void* context, uint32_t a, uint32_t b, const uint8_t* dark, uint32_t, uint32_t) {
    const ContextState& state = static_cast<CaptureContext*>(context)->state;
    if (!dark) return postMessage(state.ownerWindow, state.engine.dfcMessage, a, intptr_t(b));
    if (CMarkerFilter* const filter = state.graph.markerFilter.get())
        filter->SetDark(copyOfDark(dark, a, b), int32_t(a), int32_t(b));
    postMessage(state.ownerWindow, state.engine.dfcMessage, 0, 0);
}

void CaptureContext::StashDark() {
    CVexcapRender* const sink = state.graph.previewRender.get();
    if (!sink) return;
    state.savedDark.on = sink->IsDfc();
    sink->TakeDark(&state.savedDark.pixels, &state.savedDark.width, &state.savedDark.height);
}

void CaptureContext::HandDarkBack() {
    SavedDark saved = std::exchange(state.savedDark, {});
    CVexcapRender* const sink = state.graph.previewRender.get();
    // A picture of another size has no use for it, and must be free for a dark field of its own.
    if (!sink || !saved.pixels || uint32_t(saved.width) != state.width || uint32_t(saved.height) != state.height)
        return;
    if (CMarkerFilter* const filter = state.graph.markerFilter.get()) {
        filter->SetDark(copyOfDark(saved.pixels.get(), uint32_t(saved.width), uint32_t(saved.height)), saved.width,
                        saved.height);
        filter->Enable(saved.on);
    }
    sink->SetDark(std::move(saved.pixels), saved.width, saved.height);
    sink->Enable(saved.on);
}

bool CaptureContext::UsesTexture() const {
    return state.previewSink ? state.previewSink->GpuPath() : state.engine.d2dAvailable;
}

void CaptureContext::VideoSize(int32_t* width, int32_t* height) const {
    if (width) *width = int32_t(state.width);
    if (height) *height = int32_t(state.height);
}

void CaptureContext::StillSize(int32_t* width, int32_t* height) const {
    if (width) *width = int32_t(state.stillWidth);
    if (height) *height = int32_t(state.stillHeight);
}

Status CaptureContext::FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total) {
    return road ? road->FrameRate(frames, milliseconds, total) : E_UNEXPECTED;
}

}  // namespace vexcap
