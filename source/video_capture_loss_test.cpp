// A video input device that fails, stalls, hangs or goes.
#include "source/video_capture_testing.h"

namespace vexcap::test {
namespace video_capture_loss_test {

TEST_F(VideoCapture, AFailedStartIsThePausesAndLeavesNothingBehind) {
    openAndConnect();
    script->startResult = VEX_E_BUSY;
    EXPECT_EQ(filter->Pause(), VEX_E_BUSY);
    EXPECT_TRUE(filter->IsStopped());
    EXPECT_FALSE(script->streaming());
    script->startResult = S_OK;
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
}

TEST_F(VideoCapture, ALossIsToldOnceInEveryState) {
    for (const FilterState state : {State_Stopped, State_Paused, State_Running}) {
        script = std::make_shared<FakeVideoScript>();
        script->formats = {formatOf("YUY2", 8, 4)};
        script->present = script->formats[0];
        EventLog heard;
        openAndConnect();
        ASSERT_EQ(filter->JoinFilterGraph(&heard, u"camera"), S_OK);
        if (state == State_Paused) {
            ASSERT_EQ(pause(), S_OK);
        }
        if (state == State_Running) {
            ASSERT_EQ(run(), S_OK);
        }
        script->unplug();
        std::vector<GraphEvent> expected;
        if (state == State_Running) expected.push_back(aborted(VEX_E_DEVICE_LOST));
        expected.push_back(lost());
        ASSERT_TRUE(heard.waitFor(expected.size()));
        close();
        EXPECT_EQ(heard.all(), expected);
    }
}

TEST_F(VideoCapture, ALossIsToldThoughTheDeviceHangs) {
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->hang();
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    script->unplug();
    ASSERT_TRUE(ear.waitFor(2));
    EXPECT_EQ(ear.all(), (std::vector{aborted(VEX_E_DEVICE_LOST), lost()}));
}

TEST_F(VideoCapture, AnotherGraphHearsOfTheLossToo) {
    open();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->unplug();
    ASSERT_TRUE(ear.waitFor(1));
    EventLog other;
    ASSERT_EQ(filter->JoinFilterGraph(&other, u"camera"), S_OK);
    ASSERT_TRUE(other.waitFor(1));
    EXPECT_EQ(other.all(), std::vector{lost()});
    EXPECT_EQ(ear.all(), std::vector{lost()});
    close();
}

TEST_F(VideoCapture, TheDeviceIsLookedAfterWhileTheFilterIsInAGraph) {
    open();
    EXPECT_EQ(script->checks(), 0u);
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->waitUntil([&] { return script->checks() >= 3; });
    ASSERT_EQ(filter->JoinFilterGraph(nullptr, {}), S_OK);
    const uint32_t left = script->checks();
    EXPECT_TRUE(ear.all().empty());
    close();
    EXPECT_EQ(script->checks(), left);
}

TEST_F(VideoCapture, AStallIsToldAfterFiveSecondsAndAfterTwoBehindAFrame) {
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    ASSERT_EQ(run(), S_OK);
    script->stall();
    ASSERT_TRUE(ear.waitFor(1));
    EXPECT_EQ(script->timeouts().back(), 5000u);
    stop();
    script->stall(false);
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    script->waitUntilDrained();
    script->stall();
    ASSERT_TRUE(ear.waitFor(2));
    EXPECT_EQ(ear.all(), (std::vector{aborted(VEX_E_TIMEOUT), aborted(VEX_E_TIMEOUT)}));
    EXPECT_EQ(script->timeouts().back(), 2000u);
}

TEST_F(VideoCapture, ASlowDeviceHasTenIntervals) {
    script->formats[0].minInterval = script->formats[0].maxInterval = 10'000'000;
    script->present = script->formats[0];
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->stall();
    ASSERT_EQ(run(), S_OK);
    ASSERT_TRUE(ear.waitFor(1));
    EXPECT_EQ(script->timeouts().back(), 10'000u);
}

TEST_F(VideoCapture, NoFrameWhilePausedIsNoStall) {
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->stall();
    ASSERT_EQ(pause(), S_OK);
    script->waitUntil([&] { return script->timeouts().size() >= 3; });
    EXPECT_TRUE(ear.all().empty());
    script->stall(false);
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    EXPECT_TRUE(ear.all().empty());
}

TEST_F(VideoCapture, AnyOtherFailureOfTheStreamIsToldWithItsCode) {
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    ASSERT_EQ(run(), S_OK);
    script->failNext(E_ACCESSDENIED);
    ASSERT_TRUE(ear.waitFor(1));
    stop();
    script->giveBackResult = E_FAIL;
    ASSERT_EQ(run(), S_OK);
    push(1);
    ASSERT_TRUE(ear.waitFor(2));
    stop();
    EXPECT_EQ(ear.all(), (std::vector{aborted(E_ACCESSDENIED), aborted(E_FAIL)}));
    script->giveBackResult = S_OK;
    ASSERT_EQ(run(), S_OK);  // a stop mends it
    push(2);
    sink->waitFor(1);
}

TEST_F(VideoCapture, EveryCallReturnsWhileTheDeviceHangs) {
    openAndConnect();
    script->hang();
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(pause(), S_OK);
        if (i % 2) {
            ASSERT_EQ(run(), S_OK);
        }
        if (i % 4 == 3) {
            ASSERT_EQ(pause(), S_OK);
        }
        stop();
        EXPECT_FALSE(script->streaming());
    }
}

TEST_F(VideoCapture, AStreamMayBeStoppedAtAnyMomentOfIt) {
    openAndConnect();
    connectStill();
    sink->countOnly();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->pace(std::chrono::microseconds(100));
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(run(), S_OK);
        filter->SetMode(&still(), IAMVideoControl::trigger);
        sink->waitFor(sink->count() + 1);
        if (i % 3 == 0) {
            ASSERT_EQ(pause(), S_OK);
        }
        stop();
    }
    EXPECT_TRUE(ear.all().empty());
}

TEST_F(VideoCapture, TheDeviceGetsBuffersForAQuarterOfASecondAsFarAsMemoryGoes) {
    const auto buffersFor = [&](int64_t every, uint32_t bytes) {
        script->formats[0].minInterval = every;
        script->formats[0].maxInterval = every;
        script->present = script->formats[0];
        script->bytesOf = [bytes](const VideoFormat&) { return bytes; };
        openAndConnect();
        EXPECT_EQ(pause(), S_OK);
        const uint32_t asked = script->startedBuffers();
        return asked;
    };
    EXPECT_EQ(buffersFor(333'333, 64), 8u);
    EXPECT_EQ(buffersFor(10'000'000, 64), 4u);
    EXPECT_EQ(buffersFor(10'000, 64), 16u);
    EXPECT_EQ(buffersFor(333'333, 50 << 20), 5u);
}

}  // namespace video_capture_loss_test
}  // namespace vexcap::test
