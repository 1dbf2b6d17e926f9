#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "companions/cameras/simulated/probe_testing.h"

namespace vexcap::cameras {
namespace simulated_fault_test {

uint32_t stateOf(Probe& probe) {
    uint32_t state = 99;
    EXPECT_EQ(probe.Status().GetState(&state), S_OK);
    return state;
}

// Long enough for many more frames of the fast camera.
void waitForSilence() { std::this_thread::sleep_for(std::chrono::milliseconds(60)); }

TEST(SimulatedFault, ALostDeviceSendsItsFramesAnEventOneEmptyFrameAndNothingMore) {
    Probe probe(u"sim-fast;drop-after=5");
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(6));
    waitForSilence();
    EXPECT_EQ(stateOf(probe), uint32_t(VEX_CAMERA_STATE_REMOVED));
    EXPECT_EQ(probe.camera->Stop(), S_OK);
    EXPECT_EQ(probe.raws.size(), 5u);
    ASSERT_EQ(probe.frames.size(), 6u);
    for (size_t i = 0; i < 5; ++i) EXPECT_FALSE(probe.frames[i].lost);
    EXPECT_TRUE(probe.frames[5].lost);
    EXPECT_EQ(probe.events, std::vector<uint32_t>{VEX_CAMERA_EVENT_STATE});
    EXPECT_EQ(probe.Start(), E_FAIL) << "the device does not come back";
    EXPECT_EQ(stateOf(probe), uint32_t(VEX_CAMERA_STATE_REMOVED));
}

TEST(SimulatedFault, ADeviceCanBeLostBeforeItsFirstFrame) {
    Probe probe(u"sim-fast;drop-after=0");
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(1));
    probe.camera->Stop();
    EXPECT_TRUE(probe.raws.empty());
    EXPECT_TRUE(probe.frames[0].lost);
}

TEST(SimulatedFault, AStalledStreamStaysOpenAndCanBeStartedAnew) {
    Probe probe(u"sim-fast;stall-after=4");
    for (int round = 0; round < 2; ++round) {
        probe.Forget();
        ASSERT_EQ(probe.Start(), S_OK);
        ASSERT_TRUE(probe.Wait([](const Probe& p) { return !p.events.empty(); }));
        waitForSilence();
        EXPECT_EQ(stateOf(probe), uint32_t(VEX_CAMERA_STATE_NO_FRAMES));
        EXPECT_EQ(probe.camera->Stop(), S_OK);
        EXPECT_EQ(probe.raws.size(), 4u);
        ASSERT_EQ(probe.frames.size(), 4u);
        EXPECT_FALSE(probe.frames[3].lost);
        EXPECT_EQ(probe.events, std::vector<uint32_t>{VEX_CAMERA_EVENT_STATE});
    }
}

TEST(SimulatedFault, FramesOfAnotherSizeComeWithoutAWord) {
    Probe probe(u"sim-fast;wrong-size-after=3");
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(5));
    probe.camera->Stop();
    EXPECT_TRUE(probe.events.empty());
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(probe.frames[i].info.width, i < 3 ? 640u : 320u);
        EXPECT_EQ(probe.frames[i].info.height, i < 3 ? 480u : 240u);
    }
    int32_t width = 0, height = 0;
    EXPECT_EQ(probe.camera->GetSize(&width, &height), S_OK);
    EXPECT_EQ(width, 640);
    EXPECT_EQ(height, 480);
}

TEST(SimulatedFault, ACameraCanRefuseToOpen) {
    EXPECT_EQ(simulatedProvider().Open(u"sim-fast;refuse").code(), E_FAIL);
    EXPECT_EQ(simulatedProvider().Open(u"sim-fast;busy").code(), VEX_E_BUSY);
    EXPECT_EQ(simulatedProvider().Open(u"sim-fast;bogus").code(), E_INVALIDARG);
    EXPECT_EQ(simulatedProvider().Open(u"another").code(), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(simulatedProvider().Open({}).code(), VEX_E_FILE_NOT_FOUND);
}

TEST(SimulatedFault, ACameraCanTellAnImpossibleDepth) {
    Probe probe(u"sim-fast;depth=7");
    EXPECT_EQ(probe.camera->GetBitDepth(), 7u);
}

size_t threadCount() {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) ++count;
    return count;
}

TEST(SimulatedFault, RoundsOfOpeningAndClosingLeaveNoThread) {
    Probe keeper(u"sim-fast");  // keeps the scene, and runs once so that every helper thread of the run time exists
    ASSERT_EQ(keeper.Start(), S_OK);
    ASSERT_TRUE(keeper.WaitForFrames(1));
    keeper.camera->Stop();
    const size_t before = threadCount();
    for (int round = 0; round < 200; ++round) {
        Probe probe(round % 7 == 0 ? u"sim-fast;drop-after=1" : u"sim-fast");
        ASSERT_EQ(probe.Start(), S_OK);
        EXPECT_TRUE(round % 3 != 0 || probe.WaitForFrames(1));
        EXPECT_TRUE(round % 2 != 0 || probe.camera->Stop() == S_OK);
    }
    // A joined thread may still be listed for a moment.
    for (int wait = 0; wait < 6000 && threadCount() != before; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(threadCount(), before);
}

TEST(SimulatedFault, NothingComesOnceStopReturned) {
    Probe probe(u"sim-fast");
    for (int round = 0; round < 30; ++round) {
        ASSERT_EQ(probe.Start(), S_OK);
        std::this_thread::sleep_for(std::chrono::microseconds(round * 300));
        ASSERT_EQ(probe.camera->Stop(), S_OK);
        const size_t frames = probe.frames.size();  // no lock: nobody writes any more
        const size_t raws = probe.raws.size();
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        ASSERT_EQ(probe.frames.size(), frames);
        ASSERT_EQ(probe.raws.size(), raws);
    }
}

TEST(SimulatedFault, StopEndsALongExposureAtOnce) {
    Probe probe(u"sim-deepsky;scene=cell");
    ASSERT_EQ(probe.Controls().Put(VEX_CONTROL_EXPOSURE, 600'000'000), S_OK);
    ASSERT_EQ(probe.Start(), S_OK);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(probe.camera->Stop(), S_OK);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(8));
    EXPECT_TRUE(probe.frames.empty());
}

}  // namespace simulated_fault_test
}  // namespace vexcap::cameras
