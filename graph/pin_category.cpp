#include "graph/pin_category.h"

#include <cstring>

#include "graph/codes.h"

namespace vexcap {
namespace {

HRESULT checkProperty(const vex_guid& set, uint32_t id) {
    constexpr uint32_t categoryId = 0;
    if (!(set == AMPROPSETID_Pin)) return E_PROP_SET_UNSUPPORTED;
    return id == categoryId ? S_OK : E_PROP_ID_UNSUPPORTED;
}

}  // namespace

HRESULT CPinCategory::Set(const vex_guid&, uint32_t, const void*, uint32_t) { return E_NOTIMPL; }

HRESULT CPinCategory::Get(const vex_guid& set, uint32_t id, void* data, uint32_t room, uint32_t* returned) {
    if (const HRESULT known = checkProperty(set, id); known != S_OK) return known;
    if (!data && !returned) return E_POINTER;
    if (returned) *returned = sizeof category;
    if (!data) return S_OK;
    if (room < sizeof category) return E_UNEXPECTED;
    std::memcpy(data, &category, sizeof category);
    return S_OK;
}

HRESULT CPinCategory::QuerySupported(const vex_guid& set, uint32_t id, uint32_t* support) {
    constexpr uint32_t canGet = 1;
    if (const HRESULT known = checkProperty(set, id); known != S_OK) return known;
    if (support) *support = canGet;
    return S_OK;
}

}  // namespace vexcap
