// Streams of a GenICam camera: pauses, losses, ends.
#include <csignal>
#include <filesystem>

#include "companions/cameras/genicam/fake_camera_testing.h"

namespace vexcap::cameras {
namespace genicam_stream_test {

TEST_F(GenicamCameraTest, PauseHoldsTheStreamAndItGoesOnWithoutAGap) {
    open();
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    EXPECT_EQ(camera->Pause(1), E_UNEXPECTED) << "nothing to hold";
    start();
    ASSERT_TRUE(host.waitForRaw(3));
    ASSERT_EQ(camera->Pause(1), S_OK);
    // One frame may be on its way to the host; then there is silence.
    size_t held = 0, before = 0;
    do {
        before = held;
        std::this_thread::sleep_for(200ms);
        held = host.rawCount();
    } while (held != before && held < 100);
    ASSERT_EQ(held, before);
    ASSERT_EQ(camera->Pause(0), S_OK);
    ASSERT_TRUE(host.waitForRaw(held + 3));
    camera->Stop();
    const auto sequences = host.sequences();
    for (size_t i = 0; i < sequences.size(); ++i) EXPECT_EQ(sequences[i], i);
    EXPECT_EQ(lost(), 0u);
}

TEST_F(GenicamCameraTest, AFrameOfAnotherSizeIsDroppedAndCounted) {
    for (const gint64 width : {gint64(8), gint64(64)}) {
        host.forget();
        open();
        ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
        start();
        ASSERT_TRUE(host.waitForRaw(2));
        ArvError error;
        arv_camera_set_integer(inside.get(), "Width", width, error.out());
        ASSERT_TRUE(host.waitFor(20s, [&] { return lost() >= 3; })) << width;
        arv_camera_set_integer(inside.get(), "Width", 16, error.out());
        const size_t before = host.rawCount();
        ASSERT_TRUE(host.waitForRaw(before + 2));
        EXPECT_EQ(host.lastRaw().info.width, 16u);
        camera->Stop();
        EXPECT_EQ(host.lastRaw().info.sequence + 1, lost() + host.rawCount()) << "lost frames have their numbers";
        close();
    }
}

TEST_F(GenicamCameraTest, AFormatThatWasNotAskedForIsDroppedAndCounted) {
    open();
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_BIT_DEPTH, 8), S_OK);
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    start();
    ASSERT_TRUE(host.waitForRaw(2));
    ArvError error;
    arv_camera_set_pixel_format(inside.get(), ARV_PIXEL_FORMAT_BAYER_RG_8, error.out());
    ASSERT_TRUE(host.waitFor(20s, [&] { return lost() >= 3; }));
}

TEST_F(GenicamCameraTest, ALostCameraIsToldOnceAndEveryCallReturns) {
    open();
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    start();
    ASSERT_TRUE(host.waitForRaw(2));
    for (int i = 0; i < 2; ++i) g_signal_emit_by_name(arv_camera_get_device(inside.get()), "control-lost");
    EXPECT_EQ(state(), uint32_t(VEX_CAMERA_STATE_REMOVED));
    ASSERT_TRUE(host.waitFor(20s, [&] { return !host.events().empty(); }));
    EXPECT_EQ(host.lossCount(), 1u);
    EXPECT_EQ(host.events(), std::vector<uint32_t>{VEX_CAMERA_EVENT_STATE});
    EXPECT_EQ(host.story(), "fLE");
    int32_t value = 0;
    EXPECT_EQ((*controls)->Get(VEX_CONTROL_EXPOSURE, &value), E_FAIL);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_EXPOSURE, 100), E_FAIL);
    EXPECT_EQ((*controls)->PutRoi(0, 0, 0, 0), E_FAIL);
    EXPECT_EQ(camera->Pause(1), E_FAIL);
    EXPECT_EQ(camera->GetSize(&value, &value), S_OK);
    EXPECT_EQ(camera->Stop(), S_OK);
    EXPECT_EQ(host.start(camera), E_FAIL);
    EXPECT_EQ(host.lossCount(), 1u);
}

TEST_F(GenicamCameraTest, AStreamWithoutFramesIsToldAndGoesBackWhenTheyCome) {
    open(ARV_PIXEL_FORMAT_MONO_8, 100ms);
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_EXPOSURE, 1000), S_OK);
    start();
    ASSERT_TRUE(host.waitForRaw(2));
    pattern.holdMilliseconds = 1000;
    ASSERT_TRUE(host.waitFor(20s, [&] { return state() == VEX_CAMERA_STATE_NO_FRAMES; }));
    pattern.holdMilliseconds = 0;
    ASSERT_TRUE(host.waitFor(20s, [&] { return state() == VEX_CAMERA_STATE_OK; }));
    ASSERT_TRUE(host.waitFor(20s, [&] { return host.events().size() >= 2; }));
    EXPECT_EQ(host.lossCount(), 0u);
}

TEST_F(GenicamCameraTest, AStreamIsStartedOnceAndEndsForGood) {
    open();
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    EXPECT_EQ(camera->Stop(), S_OK) << "without a stream";
    EXPECT_EQ(camera->StartPull(0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0, nullptr, 1), E_POINTER);
    start();
    EXPECT_EQ(host.start(camera), E_UNEXPECTED);
    ASSERT_TRUE(host.waitForRaw(1));
    camera->Stop();
    const size_t raws = host.rawCount();
    const size_t displays = host.displayCount();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(host.rawCount(), raws);
    EXPECT_EQ(host.displayCount(), displays);
    ASSERT_EQ(host.start(camera, raw->get()), S_OK);
    ASSERT_TRUE(host.waitForRaw(raws + 1));
    EXPECT_EQ(host.sequences()[raws], 0u) << "a new stream counts from 0";
}

size_t entriesOf(const char* directory) {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) ++count;
    return count;
}

TEST_F(GenicamCameraTest, FiftyReopeningsLeaveNoThreadAndNoFile) {
    size_t threads = 0;
    size_t files = 0;
    for (int i = 0; i < 50; ++i) {
        host.forget();
        open();
        ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
        ASSERT_EQ((*controls)->Put(VEX_CONTROL_FRAME_RATE, 1000), S_OK);
        ASSERT_EQ(host.start(camera, raw->get()), S_OK);
        ASSERT_TRUE(host.waitForRaw(1));
        close();
        if (i == 0) {
            threads = entriesOf("/proc/self/task");
            files = entriesOf("/proc/self/fd");
        }
    }
    EXPECT_EQ(entriesOf("/proc/self/task"), threads);
    EXPECT_EQ(entriesOf("/proc/self/fd"), files);
}

TEST_F(GenicamCameraTest, ItsThreadsTakeNoSignals) {
    open();
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    start();
    struct Masks {
        std::atomic<bool> seen{false};
        std::atomic<bool> blocked{true};
    } masks;
    ASSERT_EQ((*raw)->SetRawCallback(
                  [](const void*, const vex_frame_info*, uint32_t, uint32_t, void* context) {
                      sigset_t mask;
                      pthread_sigmask(SIG_SETMASK, nullptr, &mask);
                      auto& told = *static_cast<Masks*>(context);
                      for (const int number : {SIGINT, SIGTERM, SIGALRM, SIGUSR1, SIGCHLD})
                          if (sigismember(&mask, number) != 1) told.blocked = false;
                      told.seen = true;
                  },
                  &masks),
              S_OK);
    ASSERT_TRUE(host.waitFor(20s, [&] { return masks.seen.load(); }));
    ASSERT_EQ((*raw)->SetRawCallback(nullptr, nullptr), S_OK);
    EXPECT_TRUE(masks.blocked);
}

}  // namespace genicam_stream_test
}  // namespace vexcap::cameras
