// What a host is told of the pictures of a context, through the shared library.
#include <gtest/gtest.h>
#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <vector>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "tests/support/camera.h"
#include "tests/support/queue_window.h"

namespace vexcap::test {
namespace picture_system_test {

constexpr int patience = 60'000;  // milliseconds

/// The simulated deep-sky camera, 14 bits, with its preview running.
class Pictures : public testing::Test {
protected:
    Pictures() { EXPECT_EQ(context.Start(), S_OK); }

    ICamera* camera() const { return static_cast<ICamera*>(vexcap_get_interface(context.get(), nullptr)); }
    vex_picture_format format() const {
        vex_picture_format known = {};
        known.size = sizeof known;
        EXPECT_EQ(vexcap_picture_size(context.get(), &known), 1);
        return known;
    }

    const host::Engine engine{{.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Raw};
    QueueWindow window;
    host::Context context{window.get(), {"Simulated deep-sky camera", "sim-deepsky;seed=9;deterministic"}};
};

TEST_F(Pictures, TheirFormatAndTheSizeMessageFollowTheRegion) {
    ASSERT_TRUE(window.pumpUntilMessage(host::messageFrame, patience));
    int32_t width = 0, height = 0;
    EXPECT_EQ(vexcap_video_size(context.get(), &width, &height), 1);
    EXPECT_EQ(format().width, uint32_t(width));
    EXPECT_EQ(format().rawBits, 14u);
    EXPECT_EQ(format().deepBits, 14u);
    window.forget();

    ASSERT_EQ(setRegion(camera(), {200, 100, 320, 240}), S_OK);
    ASSERT_TRUE(window.pumpUntilMessage(host::messageSize, patience));
    EXPECT_EQ(format().width, 320u);
    EXPECT_EQ(format().height, 240u);
    std::vector<uint8_t> bitmap(sizeof(vex_bitmap_header) + format().displayBytes);
    EXPECT_EQ(
        vexcap_grabber(context.get(), bitmap.data(), int32_t(format().displayBytes), VEX_GRAB_DISPLAY, 0, 0, 0, 0, 0),
        1)
        << "the message comes when such a frame is there";
    int32_t sensorWidth = 0, sensorHeight = 0;
    EXPECT_EQ(vexcap_video_size(context.get(), &sensorWidth, &sensorHeight), 1);
    EXPECT_EQ(sensorWidth, width) << "the whole picture";
    EXPECT_EQ(sensorHeight, height);
}

}  // namespace picture_system_test
}  // namespace vexcap::test
