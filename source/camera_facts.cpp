#include "source/camera_facts.h"

#include <algorithm>

#include "base/ref.h"

namespace vexcap {

Status finalSize(ICamera* camera, uint32_t& width, uint32_t& height) {
    if (!camera) return E_INVALIDARG;
    if (camera->GetRoi(nullptr, nullptr, &width, &height) < 0 || width < 1 || height < 1) {
        int32_t fullWidth = 0, fullHeight = 0;
        if (const Status s = camera->GetSize(&fullWidth, &fullHeight); !s.ok()) return s;
        width = uint32_t(std::max(fullWidth, 0));
        height = uint32_t(std::max(fullHeight, 0));
    }
    int32_t binning = 0;
    const bool binned = camera->GetOption(VEX_OPTION_BINNING, &binning) >= 0;
    const uint32_t factor = binned ? std::max(uint32_t(binning) & 15u, 1u) : 1u;
    width = width / factor & ~1u;
    height = height / factor & ~1u;
    int32_t rotation = 0;
    if (camera->GetOption(VEX_OPTION_ROTATION, &rotation) >= 0 && (rotation == 90 || rotation == 270))
        std::swap(width, height);
    return S_OK;
}

uint32_t maxFrameRate(ICamera* camera) {
    constexpr uint32_t usual = 30, most = 1023;
    const auto status = queryInterface<ICameraStatus>(camera, VEX_IID_CAMERA_STATUS);
    uint32_t index = 0, rate = 0;
    if (!status || camera->GetEsize(&index) < 0 || status->GetMaxFrameRate(index, &rate) < 0) return usual;
    return rate < 1 || rate > most ? usual : rate;
}

}  // namespace vexcap
