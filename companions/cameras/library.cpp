// The four functions that the camera library exports.
#include <vexcap/camera_library.h>

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "companions/cameras/clarity.h"
#include "companions/cameras/provider.h"

using namespace vexcap;
using namespace vexcap::cameras;

namespace {

// In the order of the list: real cameras stand above the simulated ones.
template <typename Visitor>
void forEachProvider(Visitor visit) {
    for (ICameraProvider* const provider : {&genicamProvider(), &simulatedProvider()}) visit(*provider);
}

}  // namespace

VEXCAP_EXTERN_C_BEGIN

VEXCAP_API uint32_t Vexcam_EnumV2(vex_camera_entry entries[VEX_CAMERA_ENTRIES]) {
    if (!entries) return 0;
    try {
        std::vector<vex_camera_entry> found;
        forEachProvider([&](ICameraProvider& provider) { provider.List(found); });
        const size_t count = std::min(found.size(), size_t(VEX_CAMERA_ENTRIES));
        std::copy_n(found.begin(), count, entries);
        return uint32_t(count);
    } catch (...) {
        return 0;
    }
}

VEXCAP_API ICamera* Vexcam_Open(const vex_char* name) {
    try {
        std::u16string_view identifier = textOf(name);
        if (identifier.empty()) return nullptr;
        if (identifier[0] == VEX_OPEN_ASTRO || identifier[0] == VEX_OPEN_GAINS || identifier[0] == VEX_OPEN_TEMPTINT)
            identifier.remove_prefix(1);
        ICamera* camera = nullptr;
        forEachProvider([&](ICameraProvider& provider) {
            if (!camera) camera = provider.Open(identifier);
        });
        return camera;
    } catch (...) {
        return nullptr;
    }
}

VEXCAP_API double Vexcam_calc_ClarityFactor(const void* frame, uint32_t bitsPerPixel, uint32_t width, uint32_t height) {
    try {
        return clarityFactor(frame, bitsPerPixel, width, height);
    } catch (...) {
        return 0;
    }
}

VEXCAP_API int32_t Vexcam_InitOcl(void) { return E_NOTIMPL; }

VEXCAP_EXTERN_C_END
