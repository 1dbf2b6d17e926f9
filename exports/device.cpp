// The exported functions for devices, compressors and formats.
#include <algorithm>
#include <vector>

#include "engine/device_catalogue.h"
#include "exports/exports.h"

using namespace vexcap;

namespace {

using CapabilityQuery = int32_t (CaptureContext::*)(std::vector<vex_capability>& out);

int32_t capabilities(vexcap_context* context, vex_capability** out, CapabilityQuery query) {
    if (out) *out = nullptr;
    if (!context || !out) return 0;
    return guarded<int32_t>(0, [&] {
        std::vector<vex_capability> found;
        const int32_t count = (contextOf(context)->*query)(found);
        if (!found.empty()) {
            *out = new vex_capability[found.size()];
            std::copy(found.begin(), found.end(), *out);
        }
        return count;
    });
}

}  // namespace

vex_device* vexcap_enum_device(const vex_char* filter) {
    return guarded<vex_device*>(nullptr, [&] { return enumDevices(engineState(), filter); });
}

vex_device* vexcap_enum_codec(void) {
    return guarded<vex_device*>(nullptr, [] { return enumCodecs(engineState()); });
}

void vexcap_free_dsvi(vex_device* devices) { freeDevices(devices); }

int32_t vexcap_get_capability(vexcap_context* context, vex_capability** out) {
    return capabilities(context, out, &CaptureContext::Capabilities);
}

int32_t vexcap_get_stillimage_capability(vexcap_context* context, vex_capability** out) {
    return capabilities(context, out, &CaptureContext::StillCapabilities);
}

void vexcap_free_capability(vex_capability* capabilities) { delete[] capabilities; }

void vexcap_set_esize(vexcap_context* context, uint32_t size, uint32_t still) {
    act(context, [&](CaptureContext& c) { c.SetEsize(size, still); });
}

HRESULT vexcap_put_format(vexcap_context* context, uint32_t index) {
    if (!context) return E_INVALIDARG;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] { return contextOf(context)->PutFormat(index).code(); });
}
