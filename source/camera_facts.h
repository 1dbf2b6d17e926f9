// What is asked of a camera in more than one place: the size of its frames, its frame rate, its further interfaces.
#pragma once

#include <vexcap/camera_library.h>

#include "base/status.h"

namespace vexcap {

/// A reference to one of a camera's interfaces; false where the camera lacks it or is null.
template <typename Interface>
class CameraInterface {
public:
    CameraInterface(ICamera* camera, const vex_guid& iid) {
        void* out = nullptr;
        if (camera && camera->QueryInterface(iid, &out) >= 0) held = static_cast<Interface*>(out);
    }
    ~CameraInterface() {
        if (held) held->Release();
    }
    CameraInterface(const CameraInterface&) = delete;
    CameraInterface& operator=(const CameraInterface&) = delete;
    explicit operator bool() const { return held; }
    Interface* operator->() const { return held; }

private:
    Interface* held = nullptr;
};

/// Size of the frames that the camera delivers, in pixels: after region of interest, binning and rotation. Both sides
/// are even. E_INVALIDARG for null; a camera that tells neither region nor size gives its own failure, and the size is
/// undefined then.
Status finalSize(ICamera* camera, uint32_t& width, uint32_t& height);

/// Highest frame rate of the present resolution, in frames a second. 30 where nobody tells it, and for a rate outside
/// 1 to 1023.
uint32_t maxFrameRate(ICamera* camera);

}  // namespace vexcap
