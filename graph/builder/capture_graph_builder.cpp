// The ways from a source's pin to a sink.
#include "graph/builder/capture_graph_builder.h"

#include <algorithm>

#include "graph/smart_tee.h"

namespace vexcap {
namespace {

bool hasCategory(CBasePin& pin, const vex_guid& category) {
    const auto properties = queryInterface<IKsPropertySet>(&pin);
    vex_guid told = {};
    return properties && properties->Get(AMPROPSETID_Pin, 0, &told, sizeof told, nullptr) >= 0 && told == category;
}

/// A pin that prefers no type yet could carry any.
bool hasMajorType(CBasePin& pin, const vex_guid& majorType) {
    MediaType type;
    return pin.GetMediaType(0, &type) != S_OK || type.major == majorType;
}

CBaseOutputPin* outputOf(CBaseFilter& filter, const vex_guid& category, const vex_guid& majorType) {
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i)
        if (pin->Direction() == PinDirection::Output && hasCategory(*pin, category) && hasMajorType(*pin, majorType))
            return static_cast<CBaseOutputPin*>(pin);
    return nullptr;
}

/// The tee behind a capture pin, or null.
CSmartTee* teeBehind(CBasePin& pin) {
    const Ref<CBasePin> next = pin.ConnectedTo();
    return next ? dynamic_cast<CSmartTee*>(&next->Filter()) : nullptr;
}

/// The pin at which the stream of a category leaves the source, or the tee behind it. Null without one.
CBaseOutputPin* streamPin(CBaseFilter& source, const vex_guid& category, const vex_guid& majorType) {
    CBaseOutputPin* const own = outputOf(source, category, majorType);
    if (own && !(category == PIN_CATEGORY_CAPTURE)) return own;
    if (!own && !(category == PIN_CATEGORY_PREVIEW)) return nullptr;
    CBaseOutputPin* const capture = own ? own : outputOf(source, PIN_CATEGORY_CAPTURE, majorType);
    CSmartTee* const tee = capture ? teeBehind(*capture) : nullptr;
    if (!tee) return own;
    return own ? &tee->Capture() : &tee->Preview();
}

/// At what stands behind a pin: the pin there, its filter, that filter's pins on the far side, and so on.
HRESULT findAlong(CBasePin& from, const vex_guid& iid, void** out, std::vector<CBaseFilter*>& seen) {
    const Ref<CBasePin> next = from.ConnectedTo();
    if (!next) return E_NOINTERFACE;
    if (next->QueryInterface(iid, out) >= 0) return S_OK;
    CBaseFilter& filter = next->Filter();
    if (std::find(seen.begin(), seen.end(), &filter) != seen.end()) return E_NOINTERFACE;
    seen.push_back(&filter);
    if (filter.QueryInterface(iid, out) >= 0) return S_OK;
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i) {
        if (pin->Direction() != from.Direction()) continue;
        if (pin->QueryInterface(iid, out) >= 0 || findAlong(*pin, iid, out, seen) >= 0) return S_OK;
    }
    return E_NOINTERFACE;
}

HRESULT connectTo(CFilterGraph& graph, CBaseOutputPin& output, CBaseFilter& filter, bool directly) {
    HRESULT result = E_INVALIDARG;  // a filter that takes nothing
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i) {
        if (pin->Direction() != PinDirection::Input) continue;
        CBaseInputPin& input = static_cast<CBaseInputPin&>(*pin);
        result = directly ? graph.ConnectDirect(output, input) : graph.Connect(output, input);
        if (result >= 0) break;
    }
    return result;
}

HRESULT connectThrough(CFilterGraph& graph, CBaseOutputPin& output, CBaseFilter* intermediate, CBaseFilter& sink,
                       bool directly = false) {
    if (!intermediate) return connectTo(graph, output, sink, directly);
    const std::vector<Ref<CBaseFilter>> before = graph.Filters();
    if (const HRESULT result = connectTo(graph, output, *intermediate, directly); result < 0) return result;
    HRESULT result = E_INVALIDARG;  // an intermediate filter that hands nothing on
    for (size_t i = 0; CBasePin* const pin = intermediate->GetPin(i); ++i) {
        if (pin->Direction() != PinDirection::Output) continue;
        result = connectTo(graph, static_cast<CBaseOutputPin&>(*pin), sink, directly);
        if (result >= 0) return result;
    }
    for (const Ref<CBaseFilter>& filter : graph.Filters())
        if (std::find(before.begin(), before.end(), filter) == before.end()) graph.RemoveFilter(*filter);
    graph.Disconnect(output);
    return result;
}

/// A free capture pin, a tee and the sink: with the first type of the pin that leads to the sink, without a converter
/// if there is one.
HRESULT connectByTee(CFilterGraph& graph, CBaseOutputPin& capture, CSmartTee& tee, CBaseFilter* intermediate,
                     CBaseFilter& sink) {
    HRESULT result = VFW_E_NO_ACCEPTABLE_TYPES;
    for (const bool directly : {true, false}) {
        MediaType type;
        for (int32_t i = 0; capture.GetMediaType(i, &type) == S_OK; ++i) {
            result = graph.ConnectDirect(capture, tee.Input(), &type);
            if (result < 0) continue;
            result = connectThrough(graph, tee.Preview(), intermediate, sink, directly);
            if (result >= 0) return result;
            graph.Disconnect(capture);
        }
    }
    return result;
}

/// Puts a tee behind the capture pin, in front of what is connected to it, and connects the tee's preview.
HRESULT renderByNewTee(CFilterGraph& graph, CBaseOutputPin& capture, CBaseFilter* intermediate, CBaseFilter& sink) {
    const auto tee = makeRef<CSmartTee>();
    HRESULT result = graph.AddFilter(tee, u"Smart Tee");
    if (result < 0) return result;
    const Ref<CBasePin> next = capture.ConnectedTo();
    if (!next) {
        result = connectByTee(graph, capture, *tee, intermediate, sink);
        if (result < 0) graph.RemoveFilter(*tee);
        return result;
    }
    CBaseInputPin& receiver = static_cast<CBaseInputPin&>(*next);
    const MediaType type = capture.CurrentMediaType();
    result = graph.Disconnect(capture);
    if (result >= 0) result = graph.ConnectDirect(capture, tee->Input(), &type);
    if (result >= 0) result = graph.ConnectDirect(tee->Capture(), receiver, &type);
    if (result >= 0) result = connectThrough(graph, tee->Preview(), intermediate, sink);
    if (result >= 0) return result;
    graph.RemoveFilter(*tee);
    graph.ConnectDirect(capture, receiver, &type);
    return result;
}

}  // namespace

HRESULT CCaptureGraphBuilder::SetFiltergraph(CFilterGraph* filterGraph) {
    graph = filterGraph;
    return S_OK;
}

HRESULT CCaptureGraphBuilder::RenderStream(const vex_guid& category, const vex_guid& majorType, CBaseFilter& source,
                                           CBaseFilter* intermediate, CBaseFilter& sink) {
    if (!graph) return E_UNEXPECTED;
    if (CBaseOutputPin* const pin = streamPin(source, category, majorType)) {
        const HRESULT result = connectThrough(*graph, *pin, intermediate, sink);
        const bool ofTee = category == PIN_CATEGORY_PREVIEW && &pin->Filter() != &source;
        return result >= 0 && ofTee ? VFW_S_NOPREVIEWPIN : result;
    }
    if (!(category == PIN_CATEGORY_PREVIEW)) return E_INVALIDARG;
    CBaseOutputPin* const capture = outputOf(source, PIN_CATEGORY_CAPTURE, majorType);
    if (!capture) return E_INVALIDARG;
    const HRESULT result = renderByNewTee(*graph, *capture, intermediate, sink);
    return result < 0 ? result : VFW_S_NOPREVIEWPIN;
}

HRESULT CCaptureGraphBuilder::FindInterface(const vex_guid& category, const vex_guid& majorType, CBaseFilter& filter,
                                            const vex_guid& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    // The source's own pin goes before the tee's: its formats are what the device can be set to.
    CBaseOutputPin* const own = outputOf(filter, category, majorType);
    if (own && own->QueryInterface(iid, out) >= 0) return S_OK;
    if (filter.QueryInterface(iid, out) >= 0) return S_OK;
    CBaseOutputPin* const stream = streamPin(filter, category, majorType);
    if (stream && stream->QueryInterface(iid, out) >= 0) return S_OK;
    std::vector<CBaseFilter*> seen = {&filter};
    if (stream && findAlong(*stream, iid, out, seen) >= 0) return S_OK;
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i) {
        if (stream && pin->Direction() == PinDirection::Output) continue;  // another stream's
        if (findAlong(*pin, iid, out, seen) >= 0) return S_OK;
    }
    return E_NOINTERFACE;
}

HRESULT CCaptureGraphBuilder::FindPin(CBaseFilter& filter, PinDirection direction, const vex_guid* category,
                                      bool unconnected, uint32_t index, Ref<CBasePin>& out) {
    out = nullptr;
    for (size_t i = 0; CBasePin* const pin = filter.GetPin(i); ++i) {
        if (pin->Direction() != direction || (category && !hasCategory(*pin, *category))) continue;
        if (unconnected && pin->IsConnected()) continue;
        if (index-- > 0) continue;
        out = Ref<CBasePin>(pin);
        return S_OK;
    }
    return VFW_E_NOT_FOUND;
}

HRESULT CCaptureGraphBuilder::ControlStream(const vex_guid& category, CBaseFilter& source, const int64_t* start,
                                            const int64_t* stop) {
    const auto control = queryInterface<IAMStreamControl>(streamPin(source, category, MEDIATYPE_Video));
    if (!control) return E_NOINTERFACE;
    if (start)
        if (const HRESULT result = control->StartAt(start); result < 0) return result;
    return stop ? control->StopAt(stop) : S_OK;
}

HRESULT CCaptureGraphBuilder::SetOutputFileName(const vex_guid& fileType, std::u16string_view path,
                                                Ref<CBaseFilter>& mux, Ref<IFileSinkFilter2>& sink) {
    mux = nullptr;
    sink = nullptr;
    if (!graph) return E_UNEXPECTED;
    if (path.empty()) return E_INVALIDARG;
    const Result<IGraphComponents::Output> made = components.OpenOutput(fileType);
    if (!made.ok()) return made.code();
    const Ref<CBaseFilter> newMux = made.value().mux, writer = made.value().writer;
    Ref<IFileSinkFilter2> newSink = queryInterface<IFileSinkFilter2>(writer);
    HRESULT result = newSink ? newSink->SetFileName(path) : E_NOINTERFACE;
    if (result >= 0) result = graph->AddFilter(newMux, u"Mux");
    if (result < 0) return result;
    result = graph->AddFilter(writer, u"File Writer");
    if (result >= 0) {
        Ref<CBasePin> output;
        result = FindPin(*newMux, PinDirection::Output, nullptr, true, 0, output);
        if (result >= 0) result = connectTo(*graph, static_cast<CBaseOutputPin&>(*output), *writer, true);
        if (result < 0) graph->RemoveFilter(*writer);
    }
    if (result < 0) {
        graph->RemoveFilter(*newMux);
        return result;
    }
    mux = newMux;
    sink = newSink;
    return result;
}

}  // namespace vexcap
