// A kind of cameras behind the camera library.
#pragma once

#include <vexcap/camera_library.h>

#include <string_view>
#include <vector>

#include "base/status.h"

namespace vexcap::cameras {

struct ICameraProvider {
    virtual ~ICameraProvider() = default;
    /// Adds what can be opened now, at most VEX_CAMERA_ENTRIES in all. One thread at a time, here and in Open.
    virtual void List(std::vector<vex_camera_entry>& entries) = 0;
    /// Opens a camera of this provider by its identifier. VEX_E_FILE_NOT_FOUND when it is not there, or another
    /// provider's; other failures as the contract names them.
    virtual Result<ICamera*> Open(std::u16string_view identifier) = 0;
};

/// Cameras made of arithmetic and real pictures.
ICameraProvider& simulatedProvider();
/// GigE Vision and USB3 Vision cameras.
ICameraProvider& genicamProvider();

}  // namespace vexcap::cameras
