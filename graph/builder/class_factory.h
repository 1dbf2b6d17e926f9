// Filters are made in the process itself, by class identifier out of a table.
#pragma once

#include <span>
#include <string_view>

#include "graph/base_filter.h"

namespace vexcap {

struct FilterTemplate {
    std::u16string_view name;
    vex_guid classId;
    Ref<CBaseFilter> (*create)(void* context);
};

/// CLASS_E_CLASSNOTAVAILABLE for an identifier that the table lacks; E_OUTOFMEMORY.
Result<Ref<CBaseFilter>> createFilter(std::span<const FilterTemplate> table, const vex_guid& classId, void* context);

}  // namespace vexcap
