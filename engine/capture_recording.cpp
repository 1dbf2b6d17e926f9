// Recordings of a context: how they start, what limits them, how they end.
#include <algorithm>
#include <utility>

#include "base/text.h"
#include "dialogs/name_dialogs.h"
#include "dialogs/replace_question.h"
#include "engine/capture_context.h"
#include "engine/state/report.h"
#include "settings/naming.h"

namespace vexcap {
namespace {

constexpr uint32_t limitTimerPeriod = 33;  // milliseconds
constexpr size_t longestPath = 259;        // what the fields for paths hold

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
