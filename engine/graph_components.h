// The filters that this library's graphs are made of.
#pragma once

#include "graph/builder/class_factory.h"
#include "graph/filter_graph.h"
#include "overlay/text/text_block.h"
#include "platform/platform.h"

namespace vexcap {

/// The library's own filters by class identifier: CVexcapRender, CSrcFilter, CMarkerFilter. Their context is the
/// Platform.
std::span<const FilterTemplate> ownFilters();

/// What an overlay needs of the platform.
OverlayPorts overlayPorts(const Platform& platform);

/// One of them, or null.
template <typename Filter>
Ref<Filter> createOwnFilter(Platform& platform) {
    const auto made = createFilter(ownFilters(), Filter::classId, &platform);
    return made.ok() ? Ref<Filter>(static_cast<Filter*>(made.value().get())) : nullptr;
}

/// What a graph puts in by itself, over the ports.
class GraphComponents final : public IGraphComponents {
public:
    explicit GraphComponents(Platform& ports) : platform(ports) {}
    Result<Ref<CBaseFilter>> OpenFile(std::u16string_view path) override;
    Ref<CBaseFilter> Converter(const MediaType& from) override;
    Result<Output> OpenOutput(const vex_guid& fileType) override;

private:
    Platform& platform;
};

}  // namespace vexcap
