#include "hosts/common/controls.h"

#include "hosts/common/failure.h"

namespace vexcap::host {

namespace {

struct Control {
    uint32_t number;
    const char* name;
    std::optional<int32_t> CameraSettings::*wished;
};

constexpr Control depthControl = {VEX_CONTROL_BIT_DEPTH, "depth", &CameraSettings::depth};
constexpr Control otherControls[] = {
    {VEX_CONTROL_EXPOSURE, "exposure", &CameraSettings::exposure},
    {VEX_CONTROL_GAIN, "gain", &CameraSettings::gain},
    {VEX_CONTROL_FRAME_RATE, "frame rate", &CameraSettings::frameRate},
};

[[noreturn]] void refuse(const std::string& what) { throw Failure(exitUsage, what); }

CameraInterface<ICameraControls> controlsOf(const Session& session) {
    auto controls = session.Query<ICameraControls>(VEX_IID_CAMERA_CONTROLS);
    if (!controls) refuse("this camera has no settings");
    return controls;
}

void checkRange(ICameraControls& controls, const Control& control, int32_t value) {
    int32_t least = 0, most = 0, usual = 0;
    if (controls.GetRange(control.number, &least, &most, &usual) < 0)
        refuse(std::string("this camera has no setting for its ") + control.name);
    if (value < least || value > most)
        refuse(std::string("the ") + control.name + " of this camera goes from " + std::to_string(least) + " to " +
               std::to_string(most));
}

void apply(const Session& session, const Control& control, const CameraSettings& wished) {
    const std::optional<int32_t>& value = wished.*control.wished;
    if (!value) return;
    const auto controls = controlsOf(session);
    checkRange(*controls, control, *value);
    if (controls->Put(control.number, *value) < 0)
        refuse(std::string("this camera does not take ") + std::to_string(*value) + " as its " + control.name);
}

void applyRegion(Session& session, const Region& region) {
    if (controlsOf(session)->PutRoi(region.x, region.y, region.width, region.height) >= 0) return;
    int32_t width = 0, height = 0;
    session.Camera().GetSize(&width, &height);
    refuse("this region does not fit into the camera's " + std::to_string(width) + "x" + std::to_string(height) +
           " pixels, or is too small");
}

}  // namespace

void applySettings(Session& session, const CameraSettings& wished, const StopRequest& stop) {
    apply(session, depthControl, wished);
    if (wished.binning && session.Camera().PutOption(VEX_OPTION_BINNING, *wished.binning) < 0)
        refuse("this camera does not bin by " + std::to_string(*wished.binning));
    if (wished.region) applyRegion(session, *wished.region);
    for (const Control& control : otherControls) apply(session, control, wished);
    session.WaitForFreshFrame(stop);
}

}  // namespace vexcap::host
