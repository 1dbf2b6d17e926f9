// Filters are made in the process itself, by class identifier out of a table.
#include "graph/builder/class_factory.h"

#include <new>

namespace vexcap {

Result<Ref<CBaseFilter>> createFilter(std::span<const FilterTemplate> table, const vex_guid& classId, void* context) {
    for (const FilterTemplate& entry : table) {
        if (!(entry.classId == classId)) continue;
        try {
            Ref<CBaseFilter> made = entry.create(context);
            if (made) return made;
        } catch (const std::bad_alloc&) {
            // told below
        }
        return E_OUTOFMEMORY;
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace vexcap
