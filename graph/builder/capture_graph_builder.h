// Building capture graphs: from a source's pin of a category to a sink.
#pragma once

#include "graph/filter_graph.h"

namespace vexcap {

/// Host's thread, with the graph stopped, but for ControlStream. The graph outlives it or is set anew.
class CCaptureGraphBuilder final {
public:
    explicit CCaptureGraphBuilder(IGraphComponents& parts) : components(parts) {}

    HRESULT SetFiltergraph(CFilterGraph* filterGraph);

    /// Connects the source's pin of this category to `sink`, through `intermediate` where there is one, and with
    /// converters where they are needed. A source without a preview pin of its own gets a tee named "Smart Tee" behind
    /// its capture pin, in front of what is connected there: VFW_S_NOPREVIEWPIN tells so. The capture category goes
    /// through a tee that stands. All three filters are in the graph already. E_INVALIDARG without a pin of the
    /// category (and of the major type), E_UNEXPECTED without a graph, or the connection's failure: what was begun is
    /// undone then.
    HRESULT RenderStream(const vex_guid& category, const vex_guid& majorType, CBaseFilter& source,
                         CBaseFilter* intermediate, CBaseFilter& sink);

    /// The interface at the pin of this category, at its filter, or at what stands downstream of the pin or upstream of
    /// the filter, in this order. A filter without such a pin is searched in all directions. E_NOINTERFACE.
    HRESULT FindInterface(const vex_guid& category, const vex_guid& majorType, CBaseFilter& filter, const vex_guid& iid,
                          void** out);
    template <typename Interface>
    Ref<Interface> FindInterface(const vex_guid& category, CBaseFilter& filter) {
        void* out = nullptr;
        FindInterface(category, MEDIATYPE_Video, filter, Interface::iid, &out);
        return Ref<Interface>::adopt(static_cast<Interface*>(out));
    }

    /// The filter's pin of a direction and category, counted from 0; null for the category takes any. VFW_E_NOT_FOUND.
    HRESULT FindPin(CBaseFilter& filter, PinDirection direction, const vex_guid* category, bool unconnected,
                    uint32_t index, Ref<CBasePin>& out);

    /// Start and stop of the stream of a category, see IAMStreamControl; a null time leaves that side alone. The tee's
    /// pin where the source goes through one, so that the preview goes on. E_NOINTERFACE where the pin cannot.
    HRESULT ControlStream(const vex_guid& category, CBaseFilter& source, const int64_t* start, const int64_t* stop);

    /// Adds a multiplexer "Mux" and a "File Writer", connected with each other, for a file of this type. After a
    /// failure neither is in the graph, and both out parameters are null. E_INVALIDARG for an empty path.
    HRESULT SetOutputFileName(const vex_guid& fileType, std::u16string_view path, Ref<CBaseFilter>& mux,
                              Ref<IFileSinkFilter2>& sink);

private:
    IGraphComponents& components;
    CFilterGraph* graph = nullptr;
};

}  // namespace vexcap
