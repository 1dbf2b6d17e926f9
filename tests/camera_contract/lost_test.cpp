// A device that goes away.
#include "tests/camera_contract/fixture.h"

#include <chrono>

namespace vexcap::contract {
namespace lost_test {

class LostDevice : public CameraTest {
public:
    using CameraTest::nameOf;
};
// The command line may name none.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LostDevice);
INSTANTIATE_TEST_SUITE_P(Each, LostDevice, testing::ValuesIn(subject().lostNames), &LostDevice::nameOf);

CAMERA_CHECK(LostDevice, IsToldByTheStateThenANullFrameThenTheEvent,
             "The loss of a stream is reported in this order: the state, a null frame, the state event. Nothing comes "
             "after them.") {
    const Held<ICameraStatus> status(camera.get(), VEX_IID_CAMERA_STATUS);
    ASSERT_TRUE(bool(status));
    Stream stream(camera.get());
    stream.watchRaw();
    std::atomic<uint32_t> stateAtLoss{99};
    std::atomic<bool> told{false};
    stream.onLost = [&] {
        uint32_t state = 99;
        status->GetState(&state);
        stateAtLoss = state;
    };
    stream.onEvent = [&](uint32_t event) {
        if (event == VEX_CAMERA_EVENT_STATE) told = true;
    };
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitFor([&] { return told.load(); }));
    EXPECT_TRUE(stateAtLoss == VEX_CAMERA_STATE_FAILED || stateAtLoss == VEX_CAMERA_STATE_REMOVED) << stateAtLoss;
    const std::string order = stream.order();
    ASSERT_NE(order.find('n'), std::string::npos);
    EXPECT_EQ(order.find('e', order.find('n')), order.find('n') + 1) << "the event follows the null frame";
    const size_t calls = stream.calls();
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(stream.calls(), calls) << "nothing comes from a lost device";
    EXPECT_GE(stream.stop(), 0);
    uint32_t state = 0;
    EXPECT_GE(status->GetState(&state), 0);
    EXPECT_EQ(state, stateAtLoss.load());
}

CAMERA_CHECK(LostDevice, CanBeClosedAtOnce,
             "Close ends the stream, so that no callback runs or comes any more once it returned") {
    Stream stream(camera.get());
    std::atomic<bool> lost{false};
    stream.onLost = [&] { lost = true; };
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitFor([&] { return lost.load(); }));
    stream.abandon();
    camera.close();
    EXPECT_FALSE(stream.running());
}

}  // namespace lost_test
}  // namespace vexcap::contract
