// The functions that the camera library exports.
#include <vexcap/camera_library.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <new>
#include <vector>

#include "base/mutex.h"
#include "base/text.h"
#include "companions/cameras/clarity.h"
#include "companions/cameras/list_watch.h"
#include "companions/cameras/provider.h"

using namespace vexcap;
using namespace vexcap::cameras;

namespace {

// In the order of the list: real cameras stand above the simulated ones.
template <typename Visitor>
void forEachProvider(Visitor visit) {
    for (ICameraProvider* const provider : {&genicamProvider(), &simulatedProvider()}) visit(*provider);
}

// The host's thread and that of the watch list cameras.
Mutex listLock;
constexpr std::chrono::milliseconds watchInterval{2000};

std::vector<vex_camera_entry> listCameras() {
    MutexGuard guard(listLock);
    std::vector<vex_camera_entry> found;
    forEachProvider([&](ICameraProvider& provider) { provider.List(found); });
    return found;
}

std::vector<std::u16string> listIdentifiers() {
    std::vector<std::u16string> identifiers;
    for (const vex_camera_entry& entry : listCameras())
        identifiers.emplace_back(textOfField(entry.identifier, std::size(entry.identifier)));
    return identifiers;
}

// Of the thread's last Open.
thread_local HRESULT openStatus = VEX_E_FILE_NOT_FOUND;

Result<ICamera*> open(std::u16string_view name) {
    if (name.empty()) return E_INVALIDARG;
    if (name[0] == VEX_OPEN_ASTRO || name[0] == VEX_OPEN_GAINS || name[0] == VEX_OPEN_TEMPTINT) name.remove_prefix(1);
    Result<ICamera*> opened = VEX_E_FILE_NOT_FOUND;
    MutexGuard guard(listLock);
    forEachProvider([&](ICameraProvider& provider) {
        if (opened.status() == Status(VEX_E_FILE_NOT_FOUND)) opened = provider.Open(name);
    });
    return opened;
}

}  // namespace

VEXCAP_EXTERN_C_BEGIN

VEXCAP_API uint32_t Vexcam_EnumV2(vex_camera_entry entries[VEX_CAMERA_ENTRIES]) {
    if (!entries) return 0;
    try {
        const std::vector<vex_camera_entry> found = listCameras();
        const size_t count = std::min(found.size(), size_t(VEX_CAMERA_ENTRIES));
        std::copy_n(found.begin(), count, entries);
        return uint32_t(count);
    } catch (...) {
        return 0;
    }
}

VEXCAP_API ICamera* Vexcam_Open(const vex_char* name) {
    try {
        const Result<ICamera*> opened = open(textOf(name));
        openStatus = opened.code();
        return opened.ok() ? opened.value() : nullptr;
    } catch (const std::bad_alloc&) {
        openStatus = E_OUTOFMEMORY;
    } catch (...) {
        openStatus = E_FAIL;
    }
    return nullptr;
}

VEXCAP_API HRESULT Vexcam_OpenStatus(void) { return openStatus; }

VEXCAP_API HRESULT Vexcam_Watch(vex_camera_list_callback callback, void* context) {
    static ListWatch watch(listIdentifiers, watchInterval);
    return watch.Set(callback, context);
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
