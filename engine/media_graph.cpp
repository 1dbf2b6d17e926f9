#include "engine/media_graph.h"

namespace vexcap {
namespace {

constexpr int32_t capabilityBytes = sizeof(VideoStreamConfigCaps);

}  // namespace

void MediaGraph::Create() {
    if (!captureBuilder) captureBuilder = std::make_unique<CCaptureGraphBuilder>(components);
    if (!filterGraph) filterGraph = std::make_unique<CFilterGraph>(components);
    captureBuilder->SetFiltergraph(filterGraph.get());
}

void MediaGraph::Teardown() {
    previewRender = nullptr;
    stillRender = nullptr;
    aviMux = nullptr;
    droppedFrames = nullptr;
    fileSink = nullptr;
    markerFilter = nullptr;
    // Also what was never connected, since a build failed before.
    const Ref<CBaseFilter> pushed = srcFilter;
    if (!filterGraph || !(sourceFilter || pushed)) return;
    for (const Ref<CBaseFilter>& filter : filterGraph->Filters())
        if (!(filter == sourceFilter) && !(filter == pushed)) filterGraph->RemoveFilter(*filter);
}

void MediaGraph::Release() {
    Teardown();
    streamConfig = nullptr;
    videoControl = nullptr;
    stillPin = nullptr;
    stillConfig = nullptr;
    captureBuilder.reset();
    filterGraph.reset();
    sourceFilter = nullptr;
    srcFilter = nullptr;
}

Status setStreamSize(IAMStreamConfig& config, uint32_t width, uint32_t height) {
    MediaType current;
    vex_bitmap_header present = {};
    if (const HRESULT hr = config.GetFormat(&current); hr < 0) return hr;
    if (!current.GetBitmapHeader(present)) return E_UNEXPECTED;
    const auto sizeFits = [&](const vex_bitmap_header& header) {
        return header.biWidth == int32_t(width) && std::abs(int64_t(header.biHeight)) == height;
    };
    if (sizeFits(present)) return S_FALSE;
    int32_t count = 0, bytes = 0;
    if (const HRESULT hr = config.GetNumberOfCapabilities(&count, &bytes); hr < 0) return hr;
    if (count < 2 || bytes != capabilityBytes) return S_FALSE;
    for (int32_t i = 0; i < count; ++i) {
        MediaType type;
        vex_bitmap_header header = {};
        if (config.GetStreamCaps(i, &type, nullptr) != S_OK || !type.GetBitmapHeader(header)) continue;
        if (sizeFits(header) && header.biCompression == present.biCompression) return config.SetFormat(&type);
    }
    return E_INVALIDARG;
}

int32_t walkFormats(IAMStreamConfig& config, std::vector<vex_capability>& out) {
    int32_t count = 0, bytes = 0;
    if (config.GetNumberOfCapabilities(&count, &bytes) < 0) return 0;
    if (count < 1 || bytes != capabilityBytes) return count;
    constexpr int32_t mostFormats = 4096;  // a count beyond this is nonsense, and no reason to fill the memory
    if (count > mostFormats) return 0;
    out.assign(size_t(count), vex_capability{});
    for (int32_t i = 0; i < count; ++i) {
        MediaType type;
        VideoStreamConfigCaps caps;
        if (config.GetStreamCaps(i, &type, &caps) != S_OK) continue;
        vex_capability& told = out[size_t(i)];
        if (!type.GetBitmapHeader(told.header)) {
            out.clear();
            return 0;
        }
        for (int side = 0; side < 2; ++side) {
            told.inputSize[side] = caps.inputSize[side];
            told.minOutputSize[side] = caps.minOutputSize[side];
            told.maxOutputSize[side] = caps.maxOutputSize[side];
        }
        told.minFrameInterval = caps.minFrameInterval;
        told.maxFrameInterval = caps.maxFrameInterval;
    }
    return count;
}

}  // namespace vexcap
