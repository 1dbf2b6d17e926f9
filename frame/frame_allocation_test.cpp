// Counts what the frame path takes from the heap.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "frame/frame_render.h"
#include "frame/sink_testing.h"
#include "platform/fake/allocations.h"

namespace vexcap::test {
namespace frame_allocation_test {

constexpr uint32_t width = 64, height = 48;

/// Allocations while `work` runs.
template <typename Work>
size_t allocationsOf(Work work) {
    const size_t before = allocations();
    work();
    return allocations() - before;
}

/// A window that keeps nothing, so that it allocates nothing itself.
struct CountingWindow {
    static void post(vex_window* window, uint32_t, uintptr_t, intptr_t) {
        ++static_cast<CountingWindow*>(window->user)->posts;
    }
    static void invalidate(vex_window* window) { ++static_cast<CountingWindow*>(window->user)->repaints; }
    int posts = 0, repaints = 0;
    vex_window window = {&post, &invalidate, nullptr, nullptr, this};
};

const void* volatile escaped;  // keeps the compiler from leaving an allocation out

TEST(FrameAllocations, TheCountSeesEveryKindOfAllocation) {
    EXPECT_EQ(allocationsOf([] {}), 0u);
    EXPECT_EQ(allocationsOf([] { escaped = std::make_unique<int>(1).get(); }), 1u);
    EXPECT_EQ(allocationsOf([] { escaped = std::unique_ptr<void, void (*)(void*)>(std::malloc(1), std::free).get(); }),
              1u);
    // A buffer is its pixels and the count of its copies.
    EXPECT_EQ(allocationsOf([] { escaped = PixelBuffer(100, PixelBuffer::Fill::None).data(); }), 2u);
}

TEST(FrameAllocations, AThousandFramesTakeNothingFromTheHeapInAnyMode) {
    for (const SinkMode mode : {SinkMode::Pooled, SinkMode::Owned, SinkMode::Copying}) {
        SinkRig rig(mode, 25);
        rig.sink.RaiseSensorDepth(12);
        rig.setVideoSize(width, height);
        rig.sink.PutCapture(1);
        CountingWindow host;
        int calls = 0, hooked = 0;
        rig.sink.SetNotify(
            &host.window, frameMessage,
            [](void* context, const void*, uint32_t, uint32_t) { ++*static_cast<int*>(context); }, &calls);
        rig.sink.SetStitched(
            [](void* context, const void*, uint32_t, uint32_t, uint32_t) { ++*static_cast<int*>(context); }, &hooked);
        rig.sink.SetSizeNotify(&host.window, sizeMessage);
        const vex_rect rectangle = {4, 4, 12, 12};
        rig.sink.SetBrightnessNotify(&rectangle, &host.window, brightnessMessage);
        const Bytes own = picture(width, height, 1);
        const auto frame = [&] {
            const Buffers lent = rig.next();
            const void* const pixels = lent.display ? lent.display : own.data();
            rig.sink.ReceiveFrame(pixels, lent.raw, nullptr, 1, 0, width, height, 0);
            rig.clock.advance(7);
        };
        frame();  // buffers are made at the first one
        EXPECT_EQ(allocationsOf([&] {
                      for (int i = 0; i < 1000; ++i) frame();
                  }),
                  0u);
        EXPECT_EQ(calls, 1001);
        EXPECT_EQ(hooked, 1001);
        EXPECT_EQ(host.posts, 3 * 1001);
        EXPECT_GT(host.repaints, 100);
    }
}

TEST(FrameAllocations, FramesInMemoryOfTheSourceTakeNothingFromTheHeapEither) {
    SinkRig rig(SinkMode::Pooled);
    rig.setVideoSize(width, height);
    const Bytes own = picture(width, height, 1);
    EXPECT_EQ(allocationsOf([&] {
                  for (int i = 0; i < 1000; ++i) rig.receive(own.data(), width, height);
              }),
              0u);
    EXPECT_EQ(imageOf(rig.sink), own);
}

TEST(FrameAllocations, AStackFeedTakesNothingFromTheHeap) {
    for (const SinkMode mode : {SinkMode::Pooled, SinkMode::Owned, SinkMode::Copying}) {
        SinkRig rig(mode);
        rig.setVideoSize(width, height);
        const Bytes own = picture(width, height, 1);
        if (!rig.deliver(own, width, height)) rig.receive(own.data(), width, height);
        EXPECT_EQ(allocationsOf([&] {
                      for (int i = 0; i < 100; ++i) CFrameRender::StackFeed(&rig.sink, width, height, 0, own.data());
                  }),
                  0u);
    }
}

}  // namespace frame_allocation_test
}  // namespace vexcap::test
