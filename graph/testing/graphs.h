// Graphs for tests, with and without filters that they may put in by themselves.
#pragma once

#include <string_view>
#include <vector>

#include "graph/filter_graph.h"
#include "graph/testing/screen.h"
#include "graph/testing/transforms.h"

namespace vexcap::test {

/// A graph that nothing is put into but by the test.
struct BareGraph final : IGraphComponents {
    Result<Ref<CBaseFilter>> OpenFile(std::u16string_view) override { return E_NOTIMPL; }
    Ref<CBaseFilter> Converter(const MediaType&) override { return nullptr; }
    Result<Output> OpenOutput(const vex_guid&) override { return E_NOTIMPL; }

    /// The codes of the events of a kind that wait, in their order; others are dropped.
    std::vector<HRESULT> events(uint32_t kind) {
        std::vector<HRESULT> codes;
        uint32_t event = 0;
        intptr_t first = 0, second = 0;
        while (graph.GetEvent(&event, &first, &second, 0) == S_OK) {
            if (event == kind) codes.push_back(HRESULT(first));
            graph.FreeEventParams(event, first, second);
        }
        return codes;
    }

    CFilterGraph graph{*this};
};

/// A graph, and what it may put in by itself.
struct World : IGraphComponents {
    virtual ~World() = default;
    Result<Ref<CBaseFilter>> OpenFile(std::u16string_view) override {
        if (!file) return VEX_E_FILE_NOT_FOUND;
        return file;
    }
    Ref<CBaseFilter> Converter(const MediaType& from) override {
        if (!converters || from.subtype == MEDIASUBTYPE_RGB24) return nullptr;
        return makeRef<Recode>(toRgb24);
    }
    Result<Output> OpenOutput(const vex_guid& fileType) override {
        if (!(fileType == MEDIASUBTYPE_Avi)) return E_NOTIMPL;
        return Output{mux, writer};
    }

    /// Adds a filter and gives it back.
    template <typename Filter>
    Ref<Filter> add(const Ref<Filter>& filter, std::u16string_view name) {
        graph.AddFilter(filter, name);
        return filter;
    }
    /// The oldest event; code 0 when none came in time.
    GraphEvent event(uint32_t milliseconds = 30'000) {
        GraphEvent event = {};
        graph.GetEvent(&event.code, &event.first, &event.second, milliseconds);
        return event;
    }

    Ref<CBaseFilter> file;
    bool converters = true;
    Ref<CBaseFilter> mux = makeRef<Mux>();
    Ref<CBaseFilter> writer = makeRef<Writer>();
    CFilterGraph graph{*this};
};

}  // namespace vexcap::test
