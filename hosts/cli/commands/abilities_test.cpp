#include "hosts/cli/commands/abilities.h"

#include <gtest/gtest.h>

#include "hosts/common/failure.h"

namespace vexcap::cli {
namespace abilities_test {

const Device camera = {"Planet camera", "sim-planet", VEX_KIND_CAMERA};
const Device webcam = {"Webcam", "@device:v4l2:usb#1", VEX_KIND_VIDEO_INPUT};

/// Empty when the options are taken.
std::string refusal(const Device& device, const std::function<void(Options&)>& wish) {
    Options options;
    wish(options);
    try {
        checkAbilities(device, options);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, exitUsage);
        return failure.what();
    }
    return {};
}

TEST(Abilities, SettingsOfCamerasAreRefusedForVideoInputDevices) {
    const std::pair<const char*, std::function<void(Options&)>> wishes[] = {
        {"--exposure", [](Options& o) { o.source.camera.exposure = 1; }},
        {"--gain", [](Options& o) { o.source.camera.gain = 100; }},
        {"--depth", [](Options& o) { o.source.camera.depth = 8; }},
        {"--fps", [](Options& o) { o.source.camera.frameRate = 30; }},
        {"--binning", [](Options& o) { o.source.camera.binning = 2; }},
        {"--roi", [](Options& o) {
             o.source.camera.region = Region{0, 0, 64, 64};
         }}};
    for (const auto& [option, wish] : wishes) {
        EXPECT_EQ(refusal(webcam, wish), std::string(option) + " is for cameras; \"Webcam\" is a video input device");
        EXPECT_EQ(refusal(camera, wish), "");
    }
}

TEST(Abilities, SettingsOfVideoInputDevicesAreRefusedForCameras) {
    const std::pair<const char*, std::function<void(Options&)>> wishes[] = {
        {"--flip", [](Options& o) { o.source.picture.mirrored = true; }},
        {"--flip", [](Options& o) { o.source.picture.upsideDown = true; }},
        {"--grey", [](Options& o) { o.source.picture.grey = true; }},
        {"--negative", [](Options& o) { o.source.picture.negative = true; }}};
    for (const auto& [option, wish] : wishes) {
        EXPECT_EQ(refusal(camera, wish),
                  std::string(option) + " is for video input devices; \"Planet camera\" is a camera");
        EXPECT_EQ(refusal(webcam, wish), "");
    }
}

TEST(Abilities, ACameraTakesNoDarkFrame) {
    const auto wish = [](Options& o) { o.source.picture.dark = "a.bmp"; };
    EXPECT_NE(refusal(camera, wish).find("take no dark frame"), std::string::npos);
    EXPECT_EQ(refusal(webcam, wish), "");
}

TEST(Abilities, WithoutWishesNothingIsRefused) {
    EXPECT_EQ(refusal(camera, [](Options&) {}), "");
    EXPECT_EQ(refusal(webcam, [](Options&) {}), "");
}

}  // namespace abilities_test
}  // namespace vexcap::cli
