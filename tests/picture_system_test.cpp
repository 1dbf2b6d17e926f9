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

TEST_F(Pictures, AGrabHasTheRoomTheNumberAndTheTimeThatAreTold) {
    ASSERT_EQ(vexcap_put_capture(context.get(), VEX_GRAB_DEEP), S_OK);
    ASSERT_TRUE(window.pumpUntil([&] { return vexcap_can_grabber(context.get(), VEX_GRAB_DEEP) == 1; }, patience));
    EXPECT_EQ(vexcap_can_grabber(context.get(), VEX_GRAB_RAW), 0);
    EXPECT_EQ(vexcap_grab_room(context.get(), VEX_GRAB_RAW, 0), 0);
    const int32_t room = vexcap_grab_room(context.get(), VEX_GRAB_DEEP, 0);
    EXPECT_EQ(uint32_t(room), format().deepBytes);
    std::vector<uint8_t> bitmap(sizeof(vex_bitmap_header) + size_t(room));
    vex_grab_info first = {}, second = {};
    first.size = second.size = sizeof first;
    EXPECT_EQ(vexcap_grab_info(context.get(), &first), 0) << "nothing was grabbed yet";
    EXPECT_EQ(vexcap_grabber(context.get(), bitmap.data(), room - 1, VEX_GRAB_DEEP, 0, 0, 0, 0, 0), 0);
    ASSERT_EQ(vexcap_grabber(context.get(), bitmap.data(), room, VEX_GRAB_DEEP, 0, 0, 0, 0, 0), 1);
    ASSERT_EQ(vexcap_grab_info(context.get(), &first), 1);
    EXPECT_EQ(first.numbered, 1u);
    EXPECT_NE(first.timestamp, 0u);
    EXPECT_LT(first.age, uint32_t(patience));
    do {
        ASSERT_TRUE(window.pumpUntilMessage(host::messageFrame, patience));
        ASSERT_EQ(vexcap_grabber(context.get(), bitmap.data(), room, VEX_GRAB_DEEP, 0, 0, 0, 0, 0), 1);
        ASSERT_EQ(vexcap_grab_info(context.get(), &second), 1);
    } while (second.number == first.number);
    EXPECT_GT(second.number, first.number);
    EXPECT_GT(second.timestamp, first.timestamp);
}

}  // namespace picture_system_test
}  // namespace vexcap::test
