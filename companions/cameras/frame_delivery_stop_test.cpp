// The end of a stream while its callbacks run.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "companions/cameras/frame_delivery.h"

namespace vexcap::cameras {
namespace frame_delivery_stop_test {

// An engine whose callbacks take their time, and that sees whether one runs when it must not.
struct SlowEngine {
    std::atomic<bool> inside{false};
    std::atomic<bool> stopped{false};
    std::atomic<uint32_t> calls{0};
    std::atomic<uint32_t> late{0};

    void Stay() {
        if (stopped) ++late;
        inside = true;
        ++calls;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        if (stopped) ++late;
        inside = false;
    }
    static void Frame(const void*, const vex_frame_info*, uint32_t, const void*, const void*, uint32_t, uint32_t,
                      uint64_t, void* context) {
        static_cast<SlowEngine*>(context)->Stay();
    }
    static void Raw(const void*, const vex_frame_info*, uint32_t, uint32_t, void* context) {
        static_cast<SlowEngine*>(context)->Stay();
    }
    static void Event(uint32_t, void* context) { static_cast<SlowEngine*>(context)->Stay(); }
};

TEST(FrameDelivery, StopAndSetRawCallbackWaitForARunningCallback) {
    for (int round = 0; round < 20; ++round) {
        const std::array<uint8_t, 16> samples{};
        const SensorFrame picture{.samples = samples.data(), .rowBytes = 4, .width = 4, .height = 4};
        SlowEngine display;
        SlowEngine raw;
        FrameDelivery delivery;
        delivery.SetRawCallback(SlowEngine::Raw, &raw);
        delivery.Start({SlowEngine::Frame, nullptr, &display, SlowEngine::Event, &display});
        std::atomic<bool> over{false};
        std::thread frames([&] {
            while (!over) delivery.Deliver(picture);
        });
        std::thread events([&] {
            while (!over) delivery.DeliverEvent(1);
        });
        while (raw.calls < 1 || display.calls < 1) std::this_thread::yield();
        delivery.SetRawCallback(nullptr, nullptr);
        raw.stopped = true;
        EXPECT_FALSE(raw.inside);
        delivery.Stop();
        display.stopped = true;
        EXPECT_FALSE(display.inside);
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        over = true;
        frames.join();
        events.join();
        EXPECT_EQ(raw.late, 0u);
        EXPECT_EQ(display.late, 0u);
    }
}

}  // namespace frame_delivery_stop_test
}  // namespace vexcap::cameras
