// The media graph of a context: its source, its preview and its recording.
#pragma once

#include <memory>

#include "engine/graph_components.h"
#include "frame/vexcap_render.h"
#include "graph/builder/capture_graph_builder.h"
#include "overlay/marker_filter.h"
#include "recording/avi_mux.h"
#include "source/src_filter.h"

namespace vexcap {

/// Plain parts, put together by the graph road and by recordings on a capture graph. Host's thread; `srcFilter` is also
/// read by the camera's thread, between the start and the end of a stream.
struct MediaGraph {
    explicit MediaGraph(Platform& platform) : components(platform) {}

    GraphComponents components;
    std::unique_ptr<CFilterGraph> filterGraph;
    std::unique_ptr<CCaptureGraphBuilder> captureBuilder;

    Ref<CBaseFilter> sourceFilter;  ///< A video input device.
    Ref<CSrcFilter> srcFilter;      ///< Where a camera's frames are pushed into the graph.
    Ref<IAMStreamConfig> streamConfig;
    Ref<IAMVideoControl> videoControl;
    Ref<CBasePin> stillPin;
    Ref<IAMStreamConfig> stillConfig;

    Ref<CVexcapRender> previewRender;
    Ref<CVexcapRender> stillRender;

    Ref<CMarkerFilter> markerFilter;
    Ref<CAviMux> aviMux;
    Ref<IFileSinkFilter2> fileSink;
    Ref<IAMDroppedFrames> droppedFrames;
    uint32_t droppedBefore = 0;  ///< Counts at the recording's begin.

    /// Makes graph and builder where they are missing.
    void Create();
    /// Takes out everything but the sources, and lets it go. The graph is stopped. A file's source and renderer stay.
    void Teardown();
    /// Lets the whole graph go, sources and all.
    void Release();
};

/// Sets a pin to a size that it offers in its present layout. S_FALSE when it has that size already, or when the pin
/// sets no size; E_INVALIDARG when it is not offered.
Status setStreamSize(IAMStreamConfig& config, uint32_t width, uint32_t height);

/// The formats of a pin, as records for the host; the count, negative when the pin could not tell. The list is empty
/// for a source of the library's own, and where the capabilities are of another kind.
int32_t walkFormats(IAMStreamConfig& config, std::vector<vex_capability>& out);

}  // namespace vexcap
