#include "hosts/common/controls.h"

#include <functional>

#include "hosts/common/failure.h"
#include "hosts/common/text/numbers.h"

namespace vexcap::host {

namespace {

/// A value with its unit.
using ValueText = std::string (*)(int32_t value);
std::string bits(int32_t value) { return std::to_string(value) + " bits"; }
std::string microseconds(int32_t value) { return timeWithUnit(value / 1e6); }
std::string percent(int32_t value) { return std::to_string(value) + " %"; }
std::string framesPerSecond(int32_t value) { return std::to_string(value) + " frames a second"; }

struct Control {
    uint32_t number;
    const char* name;
    ValueText text;
    std::optional<int32_t> CameraSettings::*wished;
};

constexpr int32_t mostBinning = 15;

constexpr Control depthControl = {VEX_CONTROL_BIT_DEPTH, "depth", bits, &CameraSettings::depth};
constexpr Control otherControls[] = {
    {VEX_CONTROL_EXPOSURE, "exposure", microseconds, &CameraSettings::exposure},
    {VEX_CONTROL_GAIN, "gain", percent, &CameraSettings::gain},
    {VEX_CONTROL_FRAME_RATE, "frame rate", framesPerSecond, &CameraSettings::frameRate},
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
        refuse(std::string("the ") + control.name + " of this camera goes from " + control.text(least) + " to " +
               control.text(most));
}

constexpr int32_t longestList = 64;  // values that are tried one after the other

/// "; it takes 8, 10": those of least to most that `take` can set. Empty for too many.
std::string takenOf(int32_t least, int32_t most, const std::function<bool(int32_t value)>& take) {
    std::string list;
    for (int64_t value = least; value <= most && most - int64_t(least) < longestList; ++value)
        if (take(static_cast<int32_t>(value))) list += (list.empty() ? "; it takes " : ", ") + std::to_string(value);
    return list;
}

void apply(const Session& session, const Control& control, const CameraSettings& wished) {
    const std::optional<int32_t>& value = wished.*control.wished;
    if (!value) return;
    const auto controls = controlsOf(session);
    checkRange(*controls, control, *value);
    const auto put = [&](int32_t wanted) { return controls->Put(control.number, wanted) >= 0; };
    if (put(*value)) return;
    int32_t least = 0, most = 0, usual = 0;
    controls->GetRange(control.number, &least, &most, &usual);
    refuse(std::string("this camera does not take ") + std::to_string(*value) + " as its " + control.name +
           takenOf(least, most, put));
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
    const auto bin = [&](int32_t factor) { return session.Camera().PutOption(VEX_OPTION_BINNING, factor) >= 0; };
    if (wished.binning && !bin(*wished.binning))
        refuse("this camera does not bin by " + std::to_string(*wished.binning) + takenOf(1, mostBinning, bin));
    if (wished.region) applyRegion(session, *wished.region);
    for (const Control& control : otherControls) apply(session, control, wished);
    session.WaitForFreshFrame(stop);
}

}  // namespace vexcap::host
