#include "tests/camera_contract/subject.h"

#include <dlfcn.h>

#include <algorithm>

#include "tests/support/text.h"

namespace vexcap::contract {

Subject& subject() {
    static Subject only;
    return only;
}

std::string Subject::load() {
    library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return ::dlerror();
    enumerate = reinterpret_cast<vex_camera_enum>(symbol("EnumV2"));
    open = reinterpret_cast<vex_camera_open>(symbol("Open"));
    openStatus = reinterpret_cast<vex_camera_open_status>(symbol("OpenStatus"));
    watch = reinterpret_cast<vex_camera_watch>(symbol("Watch"));
    clarity = reinterpret_cast<vex_camera_clarity>(symbol("calc_ClarityFactor"));
    initOcl = reinterpret_cast<vex_camera_init_ocl>(symbol("InitOcl"));
    return {};
}

void* Subject::symbol(const char* name) const { return ::dlsym(library, nameOf(name).c_str()); }

std::vector<std::string> listedNames() {
    std::vector<std::string> names;
    if (subject().enumerate == nullptr) return names;
    vex_camera_entry entries[VEX_CAMERA_ENTRIES] = {};
    const uint32_t count = std::min<uint32_t>(subject().enumerate(entries), VEX_CAMERA_ENTRIES);
    for (uint32_t i = 0; i < count; ++i) {
        const std::u16string field(entries[i].identifier, 64);
        names.push_back(test::narrow(field.c_str()));
    }
    return names;
}

Camera::Camera(const std::string& identifier) {
    for (const char mode : {char(VEX_OPEN_ASTRO), char(VEX_OPEN_GAINS), char(VEX_OPEN_TEMPTINT)})
        if (camera == nullptr) camera = subject().open(test::wide(mode + identifier).c_str());
}

Camera::Camera(const std::string& identifier, char mode)
    : camera(subject().open(test::wide(mode + identifier).c_str())) {}

void Camera::close() {
    if (camera != nullptr) std::exchange(camera, nullptr)->Close();
}

Size frameSize(ICamera* camera) {
    uint32_t roiWidth = 0, roiHeight = 0;
    int32_t width = 0, height = 0;
    Size size;
    if (camera->GetRoi(nullptr, nullptr, &roiWidth, &roiHeight) >= 0 && roiWidth >= 1 && roiHeight >= 1)
        size = {roiWidth, roiHeight};
    else if (camera->GetSize(&width, &height) >= 0)
        size = {width, height};
    int32_t binning = 0, rotation = 0;
    const int32_t factor = camera->GetOption(VEX_OPTION_BINNING, &binning) >= 0 ? std::max(1, binning & 15) : 1;
    size = {size.width / factor / 2 * 2, size.height / factor / 2 * 2};
    if (camera->GetOption(VEX_OPTION_ROTATION, &rotation) >= 0 && (rotation == 90 || rotation == 270))
        std::swap(size.width, size.height);
    return size;
}

void quicken(ICamera* camera) {
    const Held<ICameraControls> controls(camera, VEX_IID_CAMERA_CONTROLS);
    int32_t minimum = 0, maximum = 0, standard = 0;
    if (!controls || controls->GetRange(VEX_CONTROL_EXPOSURE, &minimum, &maximum, &standard) < 0) return;
    controls->Put(VEX_CONTROL_EXPOSURE, std::clamp(2000, minimum, maximum));
}

}  // namespace vexcap::contract
