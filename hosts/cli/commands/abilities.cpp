#include "hosts/cli/commands/abilities.h"

#include "hosts/common/failure.h"
#include "hosts/common/prepare.h"

namespace vexcap::cli {

namespace {

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

}  // namespace

void checkAbilities(const Device& device, const Options& options) {
    const CameraSettings& camera = options.source.camera;
    const PictureSettings& picture = options.source.picture;
    const std::pair<const char*, bool> ofCameras[] = {
        {"--exposure", camera.exposure.has_value()}, {"--gain", camera.gain.has_value()},
        {"--depth", camera.depth.has_value()},       {"--fps", camera.frameRate.has_value()},
        {"--binning", camera.binning.has_value()},   {"--roi", camera.region.has_value()},
        {"--raw", options.grab == VEX_GRAB_RAW},     {"--deep", options.grab == VEX_GRAB_DEEP}};
    const std::pair<const char*, bool> ofVideoInputs[] = {
        {"--flip", picture.mirrored || picture.upsideDown}, {"--grey", picture.grey}, {"--negative", picture.negative}};
    if (device.IsCamera()) {
        for (const auto& [option, wished] : ofVideoInputs)
            if (wished)
                throw Failure(exitUsage, std::string(option) + " is for video input devices; " + quoted(device.name) +
                                             " is a camera");
        if (!picture.dark.empty()) checkTakesDark(device);
        return;
    }
    for (const auto& [option, wished] : ofCameras)
        if (wished)
            throw Failure(exitUsage,
                          std::string(option) + " is for cameras; " + quoted(device.name) + " is a video input device");
}

}  // namespace vexcap::cli
