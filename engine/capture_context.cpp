#include "engine/capture_context.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "base/text.h"
#include "dialogs/name_dialogs.h"
#include "dialogs/replace_question.h"
#include "engine/camera_road.h"
#include "engine/graph_road.h"
#include "engine/state/report.h"
#include "settings/naming.h"

namespace vexcap {
namespace {

constexpr uint32_t limitTimerPeriod = 33;  // milliseconds
constexpr size_t longestPath = 259;        // what the fields for paths hold

/// Cameras of the network library have names that begin so, in whatever list they stand.
bool namesNetworkCamera(std::u16string_view name) { return name.starts_with(u"tk"); }

/// Null where memory is short: the recording is then not corrected.
std::unique_ptr<uint8_t[]> copyOfDark(const uint8_t* dark, uint32_t width, uint32_t height) {
    const size_t bytes = size_t(width) * height * ContextState::bytesPerPixel;
    std::unique_ptr<uint8_t[]> copy(new (std::nothrow) uint8_t[bytes]);
    if (copy) std::memcpy(copy.get(), dark, bytes);
    return copy;
}

/// What a host that names a file asks for.
void describe(CWizardCaptureInfo& info, std::u16string_view path, int32_t seconds, int32_t frames) {
    info.fullPath = path;
    info.encoderKind = 0;
    info.aviOutput = endsWithExtension(path, ".avi");
    info.serOutput = !info.aviOutput;
    info.UseTimeLimit = seconds > 0;
    info.TimeLimit = uint32_t(seconds);
    info.useFrameLimit = frames > 0;
    info.frameLimit = uint32_t(frames);
}

Status takesSize(Platform& platform, const Compressor& compressor, const WizardSource& source) {
    const CompressorSettings settings = {
        .width = source.width, .height = source.height, .interval = 10'000'000 / std::max(source.frameRate, 1u)};
    return platform.media.OpenCompressor(compressor.displayName, settings).status();
}

/// Why a file cannot be made.
std::u16string fileProblem(const EngineState& engine, std::u16string_view path, HRESULT code) {
    const size_t end = path.rfind(u'/');
    const std::u16string_view folder = end == path.npos ? u"." : path.substr(0, std::max<size_t>(end, 1));
    if (code == VEX_E_FILE_NOT_FOUND || code == VEX_E_PATH_NOT_FOUND)
        return textFrom(u"%s cannot be made: there is no folder %s.", path, folder);
    if (code == E_ACCESSDENIED && !engine.platform->folders.Exists(path))
        return textFrom(u"%s cannot be made: no permission to write in the folder %s.", path, folder);
    if (code == VEX_E_BUSY) return textFrom(u"%s cannot be replaced: another program has it open.", path);
    return textFrom(u"%s cannot be made: %s.", path, ResultText(engine, code));
}

/// Tells the user why a recording did not start. A user who said no knows it.
Status reported(EngineState& engine, CaptureContext* context, Status started) {
    vex_window* const owner = context ? context->ownerWindow() : nullptr;
    if (context && !started.ok()) context->KeepFailure(u"The recording cannot begin: %s.", started);
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

Status startCaptureMicro(EngineState& engine, CaptureContext& context, bool skipMediaFoundation, bool quick,
                         uint8_t* promptFlag) {
    context.ForgetFailure();
    return reported(engine, &context, context.StartCaptureMicro(skipMediaFoundation, quick, promptFlag));
}

Status startCaptureAstro(EngineState& engine, CaptureContext* context, std::u16string_view path, int32_t seconds,
                         int32_t frames) {
    if (!context) return reported(engine, nullptr, E_FAIL);
    context->ForgetFailure();
    return reported(engine, context, context->StartCaptureAstro(path, seconds, frames));
}

Status startCaptureAvi(EngineState& engine, CaptureContext* context, std::u16string_view path,
                       std::u16string_view codec, int32_t seconds) {
    if (!context) return reported(engine, nullptr, E_FAIL);
    context->ForgetFailure();
    return reported(engine, context, context->StartCaptureAvi(path, codec, seconds));
}

Result<WizardSource> CaptureContext::RecordingSource(bool skipMediaFoundation, bool hostNamesFile) {
    if (!road || !HasSource())
        return state.Fail(E_FAIL, E_UNEXPECTED, u"No source is open: the preview has to be started first.");
    WizardSource source = {.parentWindow = state.ownerWindow,
                           .frameRate = road->LargestFrameRate(),
                           .isCamera = state.cameraSource,
                           .skipMediaFoundation = skipMediaFoundation,
                           .hostNamesFile = hostNamesFile};
    uint32_t format = 0;
    if (const Status s = road->FinalSize(source.width, source.height); !s.ok()) {
        KeepFailure(u"The source does not report the size of its frames: %s.", s);
        return s;
    }
    if (const Status s = road->RawFormat(format, source.bitDepth); !s.ok()) {
        KeepFailure(u"The source does not report the format of its raw frames: %s.", s);
        return s;
    }
    return source;
}

Status CaptureContext::StartCaptureMicro(bool skipMediaFoundation, bool quick, uint8_t* promptFlag) {
    const Result<WizardSource> source = RecordingSource(skipMediaFoundation, false);
    if (!source.ok()) return source.status();
    EngineState& engine = state.engine;
    CWizardCaptureInfo info(engine.Settings(), source.value());
    info.timeLapse = state.timeLapse;
    // The wizard has no window here, which counts as cancelled.
    if (!quick) return VEX_E_CANCELLED;
    if (promptFlag && *promptFlag) {
        CQuickRenameDlg dialog(engine, info, *promptFlag);
        if (!engine.platform->dialogs.Show(state.ownerWindow, dialog)) return VEX_E_CANCELLED;
    }
    if (!combinePath(info)) return state.Fail(E_FAIL, E_INVALIDARG, u"The path of the file is too long.");
    // Where nothing writes WMV, AVI takes its place.
    if (!info.encoderKind && !engine.libraries.MayWriteWmv()) info.aviOutput = true;
    normaliseExtension(info);
    resolveGpu(info);
    // From here on the settings are kept, also when the user does not want to replace a file.
    info.commit = true;
    if (!confirmReplace(engine, info.fullPath, state.ownerWindow)) return VEX_E_CANCELLED;
    info.loadCompressors();
    return Dispatch(info);
}

Status CaptureContext::StartCaptureAstro(std::u16string_view path, int32_t seconds, int32_t frames) {
    const Result<WizardSource> source = RecordingSource(false, true);
    if (!source.ok()) return source.status();
    CWizardCaptureInfo info(state.engine.Settings(), source.value());
    describe(info, path, seconds, frames);
    info.timeLapse = state.timeLapse;
    // A video input device has no frames for a SER file, and its AVI files come through a graph.
    if (state.cameraSource) return StartFrameSink(info);
    if (info.aviOutput) return StartCaptureGraph(info);
    return state.Fail(E_FAIL, E_NOTIMPL, u"SER files hold raw frames, which only cameras of a camera library have.");
}

Status CaptureContext::StartCaptureAvi(std::u16string_view path, std::u16string_view codec, int32_t seconds) {
    const Result<WizardSource> source = RecordingSource(false, true);
    if (!source.ok()) return source.status();
    CWizardCaptureInfo info(state.engine.Settings(), source.value());
    describe(info, path, seconds, 0);
    info.aviOutput = true;
    info.serOutput = false;
    info.timeLapse = state.timeLapse;
    info.loadCompressors();
    const auto named = [codec](const Compressor& c) { return c.displayName == codec || c.friendlyName == codec; };
    const auto found = std::ranges::find_if(info.compressors, named);
    if (!codec.empty() && found == info.compressors.end()) {
        const bool none = info.compressors.empty();
        return state.Fail(E_INVALIDARG, none ? VEX_E_NO_MODULE : E_INVALIDARG,
                          none ? std::u16string(u"There is no compressor: the plug-in for codecs cannot be loaded.")
                               : textFrom(u"There is no compressor %s.", codec));
    }
    info.compressorIndex = codec.empty() ? -1 : int32_t(found - info.compressors.begin());
    // Who names a compressor does not want a file without one.
    if (const Status s = codec.empty() ? S_OK : takesSize(*state.engine.platform, *found, source.value()); !s.ok())
        return state.Fail(E_INVALIDARG, s.code(),
                          textFrom(u"The compressor %s does not take pictures of %u x %u: %s.", codec,
                                   source.value().width, source.value().height, ResultText(state.engine, s.code())));
    return Dispatch(info);
}

Status CaptureContext::Dispatch(const CWizardCaptureInfo& info) {
    if (!info.aviOutput) return StartFrameSink(info);
    return state.cameraSource && !chosenCompressor(info) ? StartFrameSink(info) : StartCaptureGraph(info);
}

Status CaptureContext::PrepareRecording(const CWizardCaptureInfo& info) {
    if (info.fullPath.empty() || info.fullPath.size() > longestPath)
        return state.Fail(
            E_FAIL, E_INVALIDARG,
            textFrom(u"A path has 1 to %u characters, and this one %u.", longestPath, info.fullPath.size()));
    EndRecording();
    state.recording.Prepare({.fullPath = info.fullPath,
                             .timeLimit = info.UseTimeLimit ? info.TimeLimit : 0,
                             .frameLimit = info.useFrameLimit ? info.frameLimit : 0,
                             .timeLapse = info.timeLapse});
    return S_OK;
}

Status CaptureContext::StartFrameSink(const CWizardCaptureInfo& info) {
    if (!info.aviOutput && !info.serOutput)
        return state.Fail(VEX_E_NO_ENCODER, VEX_E_NO_ENCODER, u"Nothing here encodes the format that is chosen.");
    if (const Status s = PrepareRecording(info); !s.ok()) return s;
    return info.aviOutput ? StartAvi() : StartSer();
}

Status CaptureContext::FileFailed(Status cause) {
    return state.Fail(E_FAIL, cause.code(), fileProblem(state.engine, state.recording.captureFile(), cause.code()));
}

Status CaptureContext::StartAvi() {
    uint32_t width = 0, height = 0;
    if (const Status s = road->FinalSize(width, height); !s.ok() || !width || !height) return s;
    if (const Status s = state.recording.OpenAvi(width, height); !s.ok()) return FileFailed(s);
    BeginLimits(captureFrameSink);
    return S_OK;
}

Status CaptureContext::StartSer() {
    uint32_t width = 0, height = 0, format = 0, depth = 0;
    if (const Status s = road->FinalSize(width, height); !s.ok() || !width || !height) return s;
    if (const Status s = road->RawFormat(format, depth); !s.ok() || !depth) return s;
    if (const Status s = state.recording.OpenSer(state.displayName, format, depth, width, height); !s.ok())
        return FileFailed(s);
    if (void* const token = state.engine.astroMode ? rawGate.Open(&state.recording) : nullptr) {
        if (const Status s = road->StartRawFrames(token); !s.ok()) {
            KeepFailure(u"The camera hands out no raw frames: %s.", s);
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
    state.engine.platform->log.Write(VEX_LOG_INFO, u"The recording to %s begins", state.recording.captureFile());
    StartLimitTimer();
    // A broadcast that ended leaves 3 behind while the preview runs; a pause stays.
    if (state.playState == playStopped && state.previewing) state.playState = playRunning;
    road->TellRecordingState(true);
    road->RefreshSinkOptions();
}

void CaptureContext::StartLimitTimer() {
    vex_window* const owner = state.ownerWindow;
    if (!owner || (!state.recording.timeLimit() && !state.recording.frameLimit())) return;
    owner->set_timer(owner, reinterpret_cast<uintptr_t>(this), limitTimerPeriod, OnLimitTimer);
    limitTimer = true;
}

bool CaptureContext::EndRecording() {
    const CaptureMode mode = state.recording.captureMode();
    if (mode == captureIdle) return false;
    // The camera may be waiting for captureLock in its callback, so it is told without holding it.
    if (road) road->StopRawFrames();
    rawGate.Close();
    state.recording.CloseFileWriters();
    if (mode == captureGraph && !StopCaptureGraph()) return false;
    KillLimitTimer();
    state.recording.StoreRealRate();
    LogEndOfRecording();
    state.recording.Clear();
    if (road) road->RefreshSinkOptions();
    return true;
}

void CaptureContext::LogEndOfRecording() {
    Log& log = state.engine.platform->log;
    vex_recording_counts counts = {};
    if (!log.Wants(VEX_LOG_INFO) || !state.recording.Counts(counts)) return;
    log.Write(VEX_LOG_INFO, u"The recording to %s ended: %u frames written, %u lost", state.recording.captureFile(),
              counts.written, counts.lost);
}

void CaptureContext::StopCapture() {
    const CaptureMode mode = state.recording.captureMode();
    if (!EndRecording() || !road) return;
    road->TellRecordingState(false);
    // A recording on a capture graph had taken the preview away.
    if (mode == captureGraph) RestartPreview();
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
    const CaptureMode mode = state.recording.captureMode();
    EndRecording();
    postMessage(state.previewWindow, state.engine.limitMessage, 1, 0);
    if (mode == captureGraph) RestartPreview();
    checkingLimits = false;
}

}  // namespace vexcap
