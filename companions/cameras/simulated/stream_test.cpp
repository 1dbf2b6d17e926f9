// The pace of a simulated camera: triggers, pauses, limits, frames that are lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include <unistd.h>

#include "companions/cameras/simulated/probe_testing.h"

namespace vexcap::cameras {
namespace simulated_stream_test {

TEST(SimulatedStream, ASoftwareTriggerGivesExactlyItsFrames) {
    Probe probe(u"sim-fast");
    ICameraControls& controls = probe.Controls();
    EXPECT_EQ(controls.Put(VEX_CONTROL_FIRE, 1), E_UNEXPECTED) << "nothing streams";
    ASSERT_EQ(controls.Put(VEX_CONTROL_TRIGGER_MODE, 1), S_OK);
    ASSERT_EQ(probe.Start(), S_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    ASSERT_EQ(controls.Put(VEX_CONTROL_FIRE, 1), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(1));
    ASSERT_EQ(controls.Put(VEX_CONTROL_FIRE, 3), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(4));
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    ASSERT_EQ(controls.Put(VEX_CONTROL_TRIGGER_MODE, 2), S_OK);
    EXPECT_EQ(controls.Put(VEX_CONTROL_FIRE, 1), E_UNEXPECTED) << "the line triggers, and nobody pulls it";
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    probe.camera->Stop();
    EXPECT_EQ(probe.raws.size(), 4u);
    EXPECT_EQ(probe.raws.back().info.sequence, 3u);
    uint32_t lost = 9;
    EXPECT_EQ(probe.Status().GetLostFrames(&lost), S_OK);
    EXPECT_EQ(lost, 0u);
}

TEST(SimulatedStream, APausedStreamHoldsAndGoesOnWithoutLoss) {
    Probe probe(u"sim-fast;fps=100");
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(2));
    ASSERT_EQ(probe.camera->Pause(1), S_OK);
    // One may be under way; then there is silence, ten frames long.
    size_t held = 0, before = 0;
    do {
        before = held;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ASSERT_TRUE(probe.Wait([&](const Probe& p) { return (held = p.raws.size()) > 0; }));
    } while (held != before && held < 100);
    ASSERT_EQ(held, before);
    ASSERT_EQ(probe.camera->Pause(0), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(held + 2));
    probe.camera->Stop();
    EXPECT_EQ(probe.raws[held].info.sequence, probe.raws[held - 1].info.sequence + 1);
}

TEST(SimulatedStream, TheFrameRateOptionThinsDisplayFramesAndNoRawOnes) {
    Probe probe(u"sim-fast;fps=200");
    ASSERT_EQ(probe.camera->PutOption(VEX_OPTION_FRAME_RATE, 20), S_OK);
    ASSERT_EQ(probe.Start(), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(3));
    uint32_t frames = 0, milliseconds = 0, total = 0;
    EXPECT_EQ(probe.camera->GetFrameRate(&frames, &milliseconds, &total), S_OK);
    EXPECT_GE(total, 10u);
    EXPECT_LE(frames, total);
    ASSERT_EQ(probe.camera->Trigger(1), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(20));
    ASSERT_EQ(probe.camera->Trigger(0), S_OK);
    probe.camera->Stop();
    // A machine that is busy loses frames on top.
    EXPECT_GE(probe.frames[2].info.sequence, 15u) << "every tenth, until all are asked for";
    const auto next = [](const auto& a, const auto& b) { return b.info.sequence == a.info.sequence + 1; };
    EXPECT_NE(std::adjacent_find(probe.frames.begin() + 3, probe.frames.end(), next), probe.frames.end());
}

TEST(SimulatedStream, FramesThatComeTooLateAreCountedAsLost) {
    Probe probe(u"sim-fast");
    ASSERT_EQ(probe.Raw().SetRawCallback([](const void*, const vex_frame_info*, uint32_t, uint32_t,
                                            void*) { std::this_thread::sleep_for(std::chrono::milliseconds(25)); },
                                         nullptr),
              S_OK);
    ASSERT_EQ(probe.Start(false), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(4));
    probe.camera->Stop();
    uint32_t lost = 0;
    ASSERT_EQ(probe.Status().GetLostFrames(&lost), S_OK);
    const size_t gaps = probe.frames.back().info.sequence - (probe.frames.size() - 1);
    EXPECT_GE(gaps, 10u);
    EXPECT_LE(gaps, lost) << "those of the frame that Stop waited for come on top";
}

TEST(SimulatedStream, AShorterExposureEndsALongOneAndLosesNothing) {
    Probe probe(u"sim-deepsky;scene=cell");
    ASSERT_EQ(probe.Controls().Put(VEX_CONTROL_EXPOSURE, 600'000'000), S_OK);
    ASSERT_EQ(probe.Start(), S_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_EQ(probe.Controls().Put(VEX_CONTROL_EXPOSURE, 10'000), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(1)) << "long before the long one would end";
    probe.camera->Stop();
    EXPECT_EQ(probe.raws[0].info.sequence, 0u);
}

TEST(SimulatedStream, SignalsAreNotForItsThread) {
    static std::atomic<bool> mainSaw;
    static std::thread::id mainThread;
    mainThread = std::this_thread::get_id();
    mainSaw = false;
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) { mainSaw = std::this_thread::get_id() == mainThread; };
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    static std::atomic<bool> blocked;
    blocked = false;
    Probe probe(u"sim-fast");
    ASSERT_EQ(probe.Raw().SetRawCallback(
                  [](const void*, const vex_frame_info*, uint32_t, uint32_t, void*) {
                      sigset_t set;
                      pthread_sigmask(SIG_SETMASK, nullptr, &set);
                      blocked = sigismember(&set, SIGUSR1) == 1 && sigismember(&set, SIGTERM) == 1;
                  },
                  nullptr),
              S_OK);
    ASSERT_EQ(probe.Start(false), S_OK);
    ASSERT_TRUE(probe.WaitForFrames(1));
    EXPECT_TRUE(blocked);
    ASSERT_EQ(kill(getpid(), SIGUSR1), 0);
    for (int wait = 0; wait < 60'000 && !mainSaw; ++wait) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(mainSaw) << "and the host's own thread still takes them";
    probe.camera->Stop();
    sigaction(SIGUSR1, &before, nullptr);
}

}  // namespace simulated_stream_test
}  // namespace vexcap::cameras
