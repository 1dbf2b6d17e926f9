#include "engine/graph_road.h"

#include <algorithm>

#include "engine/state/report.h"
#include "source/video_capture_filter.h"

namespace vexcap {
namespace {

void takeRgbFrame(void* recording, const void* frame, uint32_t width, uint32_t height) {
    static_cast<Recording*>(recording)->onRgbFrame(frame, width, height);
}

}  // namespace

// --- What both have in common ---------------------------------------------------------------------------------------

Ref<CVexcapRender> GraphRoad::AddRenderer(std::u16string_view name) {
    Ref<CVexcapRender> renderer = createOwnFilter<CVexcapRender>(*state.engine.platform);
    if (!renderer || state.graph.filterGraph->AddFilter(renderer, name) < 0) return nullptr;
    return renderer;
}

Status GraphRoad::Failed(const char* key, HRESULT code) {
    ReportError(state.engine, state.ownerWindow, state.engine.Text(key), code);
    state.graph.Release();
    return state.Fail(code, code,
                      textFrom(u"%s cannot be opened: %s.", state.displayName, ResultText(state.engine, code)));
}

Status GraphRoad::ConnectPreviewSink() {
    CFrameRender* const sink = state.graph.previewRender.get();
    if (!sink) return E_FAIL;
    sink->SetNotify(state.previewWindow, state.engine.frameMessage, takeRgbFrame, &state.recording);
    uint32_t width = 0, height = 0;
    sink->GetVideoSize(&width, &height);
    state.width = width;
    state.height = height;
    if (!width || !height) return E_FAIL;
    state.graph.filterGraph->SetNotifyWindow(state.previewWindow, state.engine.eventMessage, 0);
    return S_OK;
}

Status GraphRoad::Run() {
    CFilterGraph* const graph = state.graph.filterGraph.get();
    if (!graph) return S_OK;  // nothing to run
    if (!state.previewBuilt) return E_FAIL;
    HRESULT result = S_OK;
    for (;;) {
        result = graph->Run();
        if (result >= 0) return S_OK;
        graph->Stop();
        state.playState = playStopped;
        PauseBeforeRetry();
        if (!MayRetryStart()) break;
    }
    ReportError(state.engine, state.ownerWindow, state.engine.Text(StartFailureKey()), result);
    return result;
}

Status GraphRoad::Halt() {
    if (!state.graph.filterGraph) return S_OK;
    const HRESULT result = state.graph.filterGraph->Stop();
    if (result < 0) ReportError(state.engine, state.ownerWindow, state.engine.Text("ids_stoppreviewfail"), result);
    return result;
}

bool GraphRoad::ChangeState(uint32_t from, uint32_t to) {
    CFilterGraph* const graph = state.graph.filterGraph.get();
    if (!graph) return false;
    if (to == playStopped) return graph->Stop() >= 0;
    if (to == playPaused && from == playRunning) return graph->Pause() >= 0;
    if (to == playRunning && (from == playPaused || from == playStopped)) return graph->Run() >= 0;
    return false;
}

Status GraphRoad::FinalSize(uint32_t& width, uint32_t& height) {
    width = state.width;
    height = state.height;
    return width && height ? S_OK : E_FAIL;
}

Status GraphRoad::RawFormat(uint32_t& fourcc, uint32_t& depth) {
    fourcc = 0;
    depth = 8;
    return S_OK;
}

Status GraphRoad::FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total) {
    CFrameRender* const sink = state.graph.previewRender.get();
    return sink ? sink->GetFrameRate(&frames, &milliseconds, &total) : E_UNEXPECTED;
}

// --- Video input devices --------------------------------------------------------------------------------------------

Status DeviceRoad::OpenSource() {
    MediaGraph& graph = state.graph;
    graph.Create();
    auto device = state.engine.platform->videoDevices.Open(state.deviceName);
    auto filter = device.ok() ? CVideoCaptureFilter::create(std::move(device).value()) : device.status();
    if (!filter.ok()) return Failed(filter.code() == VEX_E_NO_MODULE ? "ids_noax" : "ids_nosource", filter.code());
    graph.sourceFilter = filter.value();
    if (const HRESULT hr = graph.filterGraph->AddFilter(graph.sourceFilter, state.displayName); hr != S_OK)
        return Failed("ids_previewfail", hr);
    graph.streamConfig =
        graph.captureBuilder->FindInterface<IAMStreamConfig>(PIN_CATEGORY_CAPTURE, *graph.sourceFilter);
    if (!graph.streamConfig)
        ReportError(state.engine, state.ownerWindow, state.engine.Text("ids_previewfail"), E_NOINTERFACE);
    if (state.stillWindow && state.stillMessage && state.stillWanted)
        graph.videoControl = queryInterface<IAMVideoControl>(graph.sourceFilter);
    return S_OK;
}

Status DeviceRoad::CreatePreviewSink() {
    if (!state.graph.filterGraph) return E_UNEXPECTED;
    state.graph.previewRender = AddRenderer(u"VexcapRender");
    return state.graph.previewRender ? S_OK : E_FAIL;
}

Status DeviceRoad::ConnectPreviewSink() {
    MediaGraph& graph = state.graph;
    if (!graph.sourceFilter) return E_INVALIDARG;
    const HRESULT hr = graph.captureBuilder->RenderStream(PIN_CATEGORY_PREVIEW, MEDIATYPE_Video, *graph.sourceFilter,
                                                          nullptr, *graph.previewRender);
    if (hr != S_OK && hr != VFW_S_NOPREVIEWPIN) {
        ReportError(state.engine, state.ownerWindow, state.engine.Text("ids_previewfail"), hr);
        return hr < 0 ? hr : E_FAIL;
    }
    return GraphRoad::ConnectPreviewSink();
}

void DeviceRoad::BuildStillPath() {
    MediaGraph& graph = state.graph;
    if (!graph.videoControl) return;
    if (!graph.stillPin)
        graph.captureBuilder->FindPin(*graph.sourceFilter, PinDirection::Output, &PIN_CATEGORY_STILL, false, 0,
                                      graph.stillPin);
    if (graph.stillPin) graph.stillConfig = queryInterface<IAMStreamConfig>(graph.stillPin);
    if (graph.stillConfig && BuildStillGraph()) return;
    if (graph.stillRender) graph.filterGraph->RemoveFilter(*graph.stillRender);
    graph.stillRender = nullptr;
    graph.videoControl = nullptr;
    graph.stillPin = nullptr;
    graph.stillConfig = nullptr;
    state.stillWidth = state.stillHeight = 0;
}

bool DeviceRoad::BuildStillGraph() {
    MediaGraph& graph = state.graph;
    graph.stillRender = AddRenderer(u"StillRender");
    if (!graph.stillRender) return false;
    graph.stillRender->SetSizeNotify(state.stillWindow, state.stillMessage);
    MediaType type;
    vex_bitmap_header header = {};
    if (state.stillFollowsPreview && graph.streamConfig && graph.streamConfig->GetFormat(&type) >= 0 &&
        type.GetBitmapHeader(header))
        setStreamSize(*graph.stillConfig, uint32_t(header.biWidth), uint32_t(std::abs(header.biHeight))).ignore();
    if (graph.captureBuilder->RenderStream(PIN_CATEGORY_STILL, MEDIATYPE_Video, *graph.sourceFilter, nullptr,
                                           *graph.stillRender) < 0)
        return false;
    if (graph.stillConfig->GetFormat(&type) < 0 || !type.GetBitmapHeader(header)) return false;
    state.stillWidth = uint32_t(std::max(header.biWidth, 0));
    state.stillHeight = uint32_t(std::abs(header.biHeight));
    return state.stillWidth >= 1 && state.stillHeight >= 1;
}

uint32_t DeviceRoad::LargestFrameRate() {
    MediaType type;
    const bool known = state.graph.streamConfig && state.graph.streamConfig->GetFormat(&type) >= 0;
    return std::max(rateOfInterval(known ? type.AverageTimePerFrame() : 0), 1u);
}

int32_t DeviceRoad::Capabilities(std::vector<vex_capability>& out) {
    return state.graph.streamConfig ? walkFormats(*state.graph.streamConfig, out) : 0;
}

int32_t DeviceRoad::StillCapabilities(std::vector<vex_capability>& out) {
    return state.graph.stillConfig ? walkFormats(*state.graph.stillConfig, out) : 0;
}

uint32_t DeviceRoad::StillCount() {
    const MediaGraph& graph = state.graph;
    const bool path = graph.sourceFilter && graph.videoControl && graph.stillPin && graph.stillRender;
    return path && state.stillWidth >= 1 && state.stillHeight >= 1;
}

Status DeviceRoad::TakeStill(void*) {
    const MediaGraph& graph = state.graph;
    return graph.videoControl ? graph.videoControl->SetMode(graph.stillPin.get(), IAMVideoControl::trigger)
                              : E_UNEXPECTED;
}

bool DeviceRoad::SizeIsSet(uint32_t size) {
    MediaType type;
    vex_bitmap_header header = {};
    return state.graph.streamConfig && state.graph.streamConfig->GetFormat(&type) >= 0 &&
           type.GetBitmapHeader(header) && header.biWidth == int32_t(size & 0xFFFF) &&
           std::abs(int64_t(header.biHeight)) == int64_t(size >> 16);
}

void DeviceRoad::SetSize(uint32_t size, bool still) {
    const MediaGraph& graph = state.graph;
    const bool stillPin = still && !state.stillFollowsPreview && graph.stillConfig;
    if (IAMStreamConfig* const config = (stillPin ? graph.stillConfig : graph.streamConfig).get())
        setStreamSize(*config, size & 0xFFFF, size >> 16).ignore();
}

// --- Media files ----------------------------------------------------------------------------------------------------

Status FileRoad::OpenSource() {
    MediaGraph& graph = state.graph;
    graph.Create();
    graph.previewRender = AddRenderer(u"VexcapRender");
    const HRESULT hr = graph.previewRender ? graph.filterGraph->RenderFile(state.deviceName) : E_FAIL;
    if (hr >= 0) return hr;
    graph.Release();
    return state.Fail(hr, hr, textFrom(u"%s cannot be played: %s.", state.deviceName, ResultText(state.engine, hr)));
}

Status FileRoad::ConnectPreviewSink() {
    if (const Status s = GraphRoad::ConnectPreviewSink(); !s.ok()) return s;
    CFilterGraph& graph = *state.graph.filterGraph;
    graph.GetCapabilities(&state.seekCaps);
    graph.GetDuration(&state.duration);
    return S_OK;
}

void FileRoad::SetPosition(int64_t position) {
    CFilterGraph* const graph = state.graph.filterGraph.get();
    if (graph && graph->SetPosition(position) >= 0 && state.playState == playStopped) graph->StopWhenReady();
}

int64_t FileRoad::Position() {
    int64_t position = -1;
    CFilterGraph* const graph = state.graph.filterGraph.get();
    return graph && graph->GetCurrentPosition(&position) >= 0 ? position : -1;
}

}  // namespace vexcap
