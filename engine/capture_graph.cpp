// Recording on a capture graph: source, marker filter, compressor, multiplexer, file.
#include <algorithm>

#include "engine/capture_context.h"
#include "engine/state/report.h"
#include "recording/compressor_filter.h"

namespace vexcap {
namespace {

constexpr std::u16string_view sourceName = u"ZorcamSrcFilter", markerName = u"CaptureMarkerFilter";

CBaseInputPin& inputOf(CBaseFilter& filter) {
    for (size_t i = 0;; ++i) {
        CBasePin* const pin = filter.GetPin(i);
        if (pin->Direction() == PinDirection::Input) return static_cast<CBaseInputPin&>(*pin);
    }
}

}  // namespace

const Compressor* chosenCompressor(const CWizardCaptureInfo& info) {
    if (info.ports.astroMode || info.compressorIndex < 0 || size_t(info.compressorIndex) >= info.compressors.size())
        return nullptr;
    const Compressor& compressor = info.compressors[size_t(info.compressorIndex)];
    return compressor.displayName.empty() ? nullptr : &compressor;
}

Status CaptureContext::StartCaptureGraph(const CWizardCaptureInfo& info) {
    if (!HasSource())
        return state.Fail(E_FAIL, E_UNEXPECTED, u"No source is open: the preview has to be started first.");
    if (const Status s = PrepareRecording(info); !s.ok()) return s;
    StopPreview();
    Teardown();
    Status started = BuildCaptureGraph(info);
    if (started.ok()) started = RunCaptureGraph();
    if (started.ok()) return S_OK;
    state
        .Fail(
            E_FAIL, started.code(),
            textFrom(u"The recording to %s cannot begin: %s.", info.fullPath, ResultText(state.engine, started.code())))
        .ignore();
    Teardown();
    RestartPreview();
    return E_FAIL;
}

Status CaptureContext::BuildCaptureGraph(const CWizardCaptureInfo& info) {
    if (state.captureBuilt) return S_OK;
    if (state.recording.captureMode() != captureIdle || state.previewing) return E_UNEXPECTED;
    if (const Status s = state.cameraSource ? BuildCameraSource() : S_OK; !s.ok()) return s;
    MediaGraph& graph = state.graph;
    CBaseFilter* const source = state.cameraSource ? graph.srcFilter.get() : graph.sourceFilter.get();
    if (!source) return E_UNEXPECTED;
    const EngineState& engine = state.engine;

    Ref<CBaseFilter> mux;
    if (const Status s = graph.captureBuilder->SetOutputFileName(MEDIASUBTYPE_Avi, info.fullPath, mux, graph.fileSink);
        !s.ok()) {
        ReportError(engine, state.ownerWindow, engine.Text("ids_setfile"), S_OK);
        return s;
    }
    graph.aviMux = static_cast<CAviMux*>(mux.get());
    AddMarkerFilter(info);
    const HRESULT rendered = graph.captureBuilder->RenderStream(PIN_CATEGORY_CAPTURE, MEDIATYPE_Video, *source,
                                                                graph.markerFilter.get(), *graph.aviMux);
    if (rendered < 0) {
        ReportError(engine, state.ownerWindow, engine.Text("ids_rendercapture"), rendered);
        return rendered;
    }
    AddCompressor(info);
    graph.fileSink->SetMode(IFileSinkFilter2::overwrite);
    ShowCapturePreview();
    postMessage(state.previewWindow, engine.sizeMessage, uintptr_t(intptr_t(int32_t(state.width))),
                int32_t(state.height));
    HandDarkBack();
    ApplyPictureSteps();
    state.captureBuilt = true;
    return S_OK;
}

Status CaptureContext::BuildCameraSource() {
    road->TellRecordingState(false);
    MediaGraph& graph = state.graph;
    graph.Create();
    graph.srcFilter = createOwnFilter<CSrcFilter>(*state.engine.platform);
    if (!graph.srcFilter) return E_OUTOFMEMORY;
    if (const Status s = graph.srcFilter->SetCamera(static_cast<ICamera*>(road->Handle())); !s.ok()) return s;
    const HRESULT added = graph.filterGraph->AddFilter(graph.srcFilter, sourceName);
    if (added == S_OK) return S_OK;
    ReportError(state.engine, state.ownerWindow, state.engine.Text("ids_previewfail"), added);
    return added < 0 ? added : E_FAIL;
}

void CaptureContext::AddMarkerFilter(const CWizardCaptureInfo& info) {
    MediaGraph& graph = state.graph;
    graph.markerFilter = createOwnFilter<CMarkerFilter>(*state.engine.platform);
    if (!graph.markerFilter) return;
    if (graph.filterGraph->AddFilter(graph.markerFilter, markerName) < 0) {
        graph.markerFilter = nullptr;
        return;
    }
    graph.markerFilter->CopyFrom(state.marker.get());
    if (info.timeLapse) graph.markerFilter->SetFrameDivider(info.timeLapse);
}

void CaptureContext::AddCompressor(const CWizardCaptureInfo& info) {
    const Compressor* const chosen = chosenCompressor(info);
    if (!chosen) return;
    MediaGraph& graph = state.graph;
    CFilterGraph& filters = *graph.filterGraph;
    const Ref<CCompressorFilter> compressor =
        makeRef<CCompressorFilter>(state.engine.platform->media, chosen->displayName);
    if (const auto quality = queryInterface<IAMVideoCompression>(&compressor->Output()))
        quality->PutQuality(info.CaptureQuality / 100.0);
    CBaseInputPin& muxInput = inputOf(*graph.aviMux);
    const Ref<CBasePin> upstream = muxInput.ConnectedTo();
    if (!upstream || filters.AddFilter(compressor, chosen->friendlyName) < 0) return;
    auto& feeding = static_cast<CBaseOutputPin&>(*upstream);
    filters.Disconnect(muxInput);
    if (filters.ConnectDirect(feeding, compressor->Input()) >= 0 &&
        filters.ConnectDirect(compressor->Output(), muxInput) >= 0)
        return;
    // Uncompressed, as it was: a recording is worth more than its size.
    filters.RemoveFilter(*compressor);
    filters.ConnectDirect(feeding, muxInput);
}

void CaptureContext::ShowCapturePreview() {
    // The recording goes on without a preview.
    if (road->CreatePreviewSink().ok() && road->ConnectPreviewSink().ok()) return;
    ReportError(state.engine, state.ownerWindow, state.engine.Text("ids_renderpreview"), E_FAIL);
}

Status CaptureContext::RunCaptureGraph() {
    if (state.recording.captureMode() != captureIdle) return S_OK;
    StopPreview();
    if (!state.captureBuilt) return E_UNEXPECTED;
    MediaGraph& graph = state.graph;
    graph.filterGraph->SetNotifyWindow(state.previewWindow, state.engine.eventMessage, 0);
    graph.droppedFrames = nullptr;
    graph.droppedBefore = 0;
    if (const Status s = state.cameraSource ? RunCameraCapture() : RunDeviceCapture(); !s.ok()) return s;
    state.recording.Begin(captureGraph);
    state.engine.platform->log.Write(VEX_LOG_INFO, u"The recording to %s begins", state.recording.captureFile());
    StartLimitTimer();
    road->TellRecordingState(true);
    state.playState = playRunning;
    return S_OK;
}

Status CaptureContext::RunDeviceCapture() {
    MediaGraph& graph = state.graph;
    // Held back until everything runs, so that the file begins with a whole stream.
    constexpr int64_t never = IAMStreamControl::never;
    const bool held =
        graph.captureBuilder->ControlStream(PIN_CATEGORY_CAPTURE, *graph.sourceFilter, &never, nullptr) >= 0;
    if (const HRESULT hr = graph.filterGraph->Run(); hr < 0) {
        ReportError(state.engine, state.ownerWindow, state.engine.Text("ids_previewfail"), hr);
        graph.filterGraph->Stop();
        return hr;
    }
    graph.droppedFrames =
        graph.captureBuilder->FindInterface<IAMDroppedFrames>(PIN_CATEGORY_CAPTURE, *graph.sourceFilter);
    if (graph.droppedFrames) graph.droppedFrames->GetNumDropped(&graph.droppedBefore);
    constexpr int64_t now = 0;
    if (held) graph.captureBuilder->ControlStream(PIN_CATEGORY_CAPTURE, *graph.sourceFilter, &now, &never);
    return S_OK;
}

Status CaptureContext::RunCameraCapture() {
    CFilterGraph& filters = *state.graph.filterGraph;
    HRESULT hr = filters.Run();
    if (hr < 0)
        ReportError(state.engine, state.ownerWindow, state.engine.Text("ids_previewfail"), hr);
    else
        hr = road->Run().code();
    if (hr < 0) filters.Stop();
    return hr;
}

bool CaptureContext::StopCaptureGraph() {
    if (state.cameraSource) road->Halt().ignore();
    if (const HRESULT hr = state.graph.filterGraph->Stop(); hr < 0) {
        ReportError(state.engine, state.ownerWindow, state.engine.Text("ids_errorstop"), hr);
        return false;
    }
    CollectGraphCounts();
    Teardown();
    state.playState = playStopped;
    return true;
}

void CaptureContext::CollectGraphCounts() {
    MediaGraph& graph = state.graph;
    if (!graph.aviMux) return;
    uint32_t dropped = 0;
    if (graph.droppedFrames) graph.droppedFrames->GetNumDropped(&dropped);
    state.recording.PutGraphCounts(graph.aviMux->Counts(), dropped - graph.droppedBefore);
}

bool CaptureContext::RecordingCounts(vex_recording_counts& counts) {
    if (state.recording.captureMode() == captureGraph) CollectGraphCounts();
    return state.recording.Counts(counts);
}

}  // namespace vexcap
