// A source, a host and a change of size at once. The thread sanitizer looks for races, the test for torn pictures.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "frame/frame_render.h"
#include "frame/sink_testing.h"

namespace vexcap::test {
namespace frame_threads_test {

constexpr uint32_t width = 61, height = 40;
constexpr uint32_t bytes = 184 * height;
constexpr int leastFrames = 400, mostFrames = 100'000;
constexpr int leastGrabs = 20;

bool uniform(const uint8_t* pixels, size_t count) {
    return std::all_of(pixels, pixels + count, [&](uint8_t each) { return each == pixels[0]; });
}

/// Reads what a recording would read.
void expectWhole(void* torn, const void* frame, uint32_t, uint32_t) {
    if (!uniform(static_cast<const uint8_t*>(frame), bytes)) ++*static_cast<std::atomic<int>*>(torn);
}

/// Lets a source deliver frames of one value each, while other threads do all that a host may do.
void runTogether(SinkMode mode) {
    SinkRig rig(mode, 25);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(width, height);
    std::atomic<int> torn = 0;
    std::atomic<bool> over = false;
    std::atomic<int> grabbed = 0;
    rig.sink.SetNotify(rig.window.native(), frameMessage, expectWhole, &torn);

    std::thread source([&] {
        Bytes own(bytes);
        for (int i = 0; i < leastFrames || (grabbed < leastGrabs && i < mostFrames); ++i) {
            const Buffers lent = rig.next();
            uint8_t* const frame = lent.display && i % 3 ? static_cast<uint8_t*>(lent.display) : own.data();
            std::memset(frame, i, bytes);
            if (lent.raw) std::memset(lent.raw, i, width * height * 2);
            if (lent.deep) std::memset(lent.deep, i, dibStride(width, 6) * height);
            rig.sink.ReceiveFrame(frame, lent.raw, lent.deep, 1, 0, width, height, 0);
            rig.clock.advance(7);
        }
        over = true;
    });
    std::thread grabber([&] {
        Bytes bitmap(40 + dibStride(width, 6) * height);
        const vex_point points[] = {{0, 0}, {60, 39}};
        uint16_t values[6];
        for (uint32_t kind = 0; !over; kind = (kind + 1) % 3) {
            if (rig.sink.GetImage(bitmap.data(), int32_t(bitmap.size() - 40), kind) == S_OK) {
                vex_bitmap_header header;
                std::memcpy(&header, bitmap.data(), sizeof header);
                if (!uniform(&bitmap[40], header.biSizeImage)) ++torn;
                ++grabbed;
            }
            rig.sink.GetPixels(points, 2, values, nullptr);
            uint32_t a, b, c;
            rig.sink.GetFrameRate(&a, &b, &c);
        }
    });
    std::thread owner([&] {
        for (uint32_t i = 0; !over; ++i) {
            rig.sink.PutCapture(i % 3);
            rig.sink.PutTrigger(i & 1, 1);
            rig.sink.PutThrottleOff(i & 1);
            rig.sink.PutFlip(i, 1);
            if (i % 4 == 0) rig.setVideoSize(width, height);
            if (i % 16 == 0) rig.sink.InitD2d(nullptr, nullptr, nullptr);
            if (i % 5 == 0) rig.sink.Reset();
            const vex_rect rectangle = {0, 0, 9, 9};
            rig.sink.SetBrightnessNotify(&rectangle, rig.window.native(), brightnessMessage);
            rig.sink.SetNotify(rig.window.native(), frameMessage, i & 1 ? expectWhole : nullptr, &torn);
            std::this_thread::yield();
        }
    });
    source.join();
    grabber.join();
    owner.join();
    EXPECT_EQ(torn, 0);
    EXPECT_GE(grabbed, leastGrabs);
    EXPECT_FALSE(rig.window.messages().empty());
}

TEST(FrameThreads, APooledSinkShowsWholeFramesWhileItsBuffersAreMadeAnew) { runTogether(SinkMode::Pooled); }

TEST(FrameThreads, ACopyingSinkShowsWholeFrames) { runTogether(SinkMode::Copying); }

/// Another thread asks the sink while its caller waits for it: under the frame lock this would never end.
void askFromElsewhere(CFrameRender& sink) {
    std::thread([&] { sink.GetVideoSize(nullptr, nullptr); }).join();
}

void askingHook(void* sink, const void*, uint32_t, uint32_t, uint32_t) {
    askFromElsewhere(*static_cast<CFrameRender*>(sink));
}

TEST(FrameThreads, CallbacksAndHooksRunWithoutTheFrameLock) {
    SinkRig rig(SinkMode::Copying);
    rig.setVideoSize(width, height);
    int called = 0;
    struct Context {
        CFrameRender& sink;
        int& called;
    } context{rig.sink, called};
    rig.sink.SetNotify(
        nullptr, 0,
        [](void* given, const void*, uint32_t, uint32_t) {
            askFromElsewhere(static_cast<Context*>(given)->sink);
            ++static_cast<Context*>(given)->called;
        },
        &context);
    rig.sink.SetStitched(askingHook, &rig.sink);
    const Bytes pixels(bytes, 1);
    rig.receive(pixels.data(), width, height);
    StackFeedEntry feed{};
    rig.sink.SetLiveStack(askingHook, &rig.sink, &feed);
    rig.receive(pixels.data(), width, height);
    feed.feed(feed.sink, width, height, 0, pixels.data());
    EXPECT_EQ(called, 2);
}

}  // namespace frame_threads_test
}  // namespace vexcap::test
