#include <gtest/gtest.h>

#include <string>

#include "frame/frame_render.h"
#include "frame/sink_testing.h"

namespace vexcap::test {
namespace frame_hooks_test {

constexpr uint32_t width = readyWidth, height = readyHeight;

TEST(FrameHooks, TheStitchHookSeesTheFrameAndTheDisplayGoesOn) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        FrameCalls hooked;
        rig.sink.SetStitched(recordHook, &hooked);
        const Bytes pixels = picture(width, height, 1);
        const void* const frame = rig.show(pixels);
        EXPECT_EQ(hooked, (FrameCalls{{frame, width, height, 8}}));
        EXPECT_EQ(imageOf(rig.sink), pixels);
        EXPECT_EQ(rig.calls.size(), 1u);
        rig.sink.SetStitched(nullptr, nullptr);
        rig.show(pixels);
        EXPECT_EQ(hooked.size(), 1u);
    }
}

TEST(FrameHooks, TheStackHookTakesTheFrameAwayUntilItIsFed) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        rig.show(picture(width, height, 1));  // there is a picture already
        rig.window.clear();
        rig.calls.clear();
        FrameCalls hooked;
        StackFeedEntry feed{};
        EXPECT_EQ(rig.sink.SetLiveStack(recordHook, &hooked, &feed), S_OK);
        ASSERT_NE(feed.feed, nullptr);
        const void* const frame = rig.show(picture(width, height, 2));
        EXPECT_EQ(hooked, (FrameCalls{{frame, width, height, 8}}));
        EXPECT_EQ(rig.totalFrames(), 2u);
        EXPECT_TRUE(rig.messages().empty());
        EXPECT_EQ(rig.window.invalidations(), 0u);
        EXPECT_TRUE(rig.calls.empty());

        const Bytes stacked = picture(width, height, 3);  // 60 bytes a row: no padding
        feed.feed(feed.sink, width, height, 0, stacked.data());
        EXPECT_EQ(rig.messages(), (Messages{{frameMessage, 0, 0}}));
        EXPECT_EQ(rig.window.invalidations(), 1u);
        ASSERT_EQ(rig.calls.size(), 1u);
        EXPECT_EQ(rig.calls[0].width, width);
        EXPECT_EQ(rig.calls[0].height, height);
        EXPECT_EQ(imageOf(rig.sink), stacked);
    }
}

TEST(FrameHooks, BothHooksAreCalledTheStitchHookFirst) {
    ReadyRig rig(SinkMode::Copying);
    std::string order;
    rig.sink.SetStitched(
        [](void* c, const void*, uint32_t, uint32_t, uint32_t) { *static_cast<std::string*>(c) += "t"; }, &order);
    rig.sink.SetLiveStack(
        [](void* c, const void*, uint32_t, uint32_t, uint32_t) { *static_cast<std::string*>(c) += "k"; }, &order,
        nullptr);
    rig.show(picture(width, height, 1));
    EXPECT_EQ(order, "tk");
}

TEST(FrameHooks, BehindTheStackHookTheSizeAndTheRawFrameAreKept) {
    ReadyRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    rig.sink.PutCapture(1);
    rig.sink.SetLiveStack(recordHook, &rig.calls, nullptr);
    const Buffers buffers = rig.next();
    ASSERT_NE(buffers.raw, nullptr);
    const Bytes samples = pattern(16 * 8 * 2, 3);
    std::memcpy(buffers.raw, samples.data(), samples.size());
    rig.sink.ReceiveFrame(buffers.display, buffers.raw, nullptr, 1, fourcc("RGGB"), 16, 8, 0);
    EXPECT_EQ(rig.size(), std::pair(16u, 8u));
    const Grab raw = grab(rig.sink, 1, int32_t(samples.size()));
    EXPECT_EQ(raw.result, S_OK);
    EXPECT_EQ(raw.pixels, samples);
    EXPECT_EQ(raw.header.biCompression, fourcc("RGGB"));
    EXPECT_EQ(raw.header.biBitCount, 12);
    rig.sink.ReceiveFrame(buffers.display, nullptr, nullptr, 0, 0, 0, 0, 0);
    EXPECT_EQ(rig.size(), std::pair(16u, 8u));
    EXPECT_EQ(rig.sink.GetImage(nullptr, 0, 1), E_POINTER);
}

TEST(FrameHooks, AHostileSizeBehindTheStackHookIsNotKept) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        const Bytes pixels = picture(width, height, 1);
        rig.show(pixels);
        rig.sink.SetLiveStack(recordHook, &rig.calls, nullptr);
        rig.receive(pixels.data(), UINT32_MAX, UINT32_MAX);
        EXPECT_EQ(rig.size(), std::pair(width, height));
        EXPECT_EQ(imageOf(rig.sink), pixels);
    }
}

TEST(StackFeed, WritesTightRowsAtTheStrideOfTheSize) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        const uint32_t w = 5, h = 3;  // 15 bytes a row, at a stride of 16
        rig.show(Bytes(dibStride(w, 3) * h, 0xCC), w, h);
        StackFeedEntry feed{};
        rig.sink.SetLiveStack(recordHook, &rig.calls, &feed);
        const Bytes fed = pattern(w * 3 * h, 4);
        feed.feed(feed.sink, w, h, 0, fed.data());
        Bytes expected(dibStride(w, 3) * h, 0xCC);
        for (uint32_t y = 0; y < h; ++y) std::memcpy(&expected[y * 16], &fed[y * 15], 15);
        EXPECT_EQ(imageOf(rig.sink), expected);
    }
}

TEST(StackFeed, LeavesTheFourthByteOfAPixelAlone) {
    ReadyRig rig(SinkMode::Owned, 0, 4);
    const void* const frame = rig.show(Bytes(dibStride(width, 4) * height, 0xCC));
    StackFeedEntry feed{};
    rig.sink.SetLiveStack(nullptr, nullptr, &feed);
    const Bytes fed = pattern(width * 3 * height, 4);
    feed.feed(feed.sink, width, height, 0, fed.data());
    const auto* const cells = static_cast<const uint8_t*>(frame);
    for (size_t i = 0; i < width * height; ++i) {
        ASSERT_EQ(std::memcmp(cells + i * 4, &fed[i * 3], 3), 0);
        ASSERT_EQ(cells[i * 4 + 3], 0xCC);
    }
}

TEST(StackFeed, DoesNotStoreItsSize) {
    ReadyRig rig(SinkMode::Copying);
    rig.show(picture(width, height, 1));
    StackFeedEntry feed{};
    rig.sink.SetLiveStack(nullptr, nullptr, &feed);
    const Bytes fed = pattern(8 * 4 * 3, 4);
    feed.feed(feed.sink, 8, 4, 0, fed.data());
    EXPECT_EQ(rig.size(), std::pair(width, height));
}

TEST(StackFeed, StaysInvisibleOnAPooledSinkThatShowsNothingAndSparesTheBufferOfTheSource) {
    ReadyRig rig(SinkMode::Pooled);
    StackFeedEntry feed{};
    rig.sink.SetLiveStack(nullptr, nullptr, &feed);
    void* const lent = rig.next().display;
    const Bytes fed = picture(width, height, 4);
    feed.feed(feed.sink, width, height, 0, fed.data());
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_TRUE(imageOf(rig.sink).empty());
    ASSERT_EQ(rig.calls.size(), 1u);  // the recording gets it
    EXPECT_EQ(std::memcmp(rig.calls[0].frame, fed.data(), fed.size()), 0);
    EXPECT_NE(rig.calls[0].frame, lent);
}

TEST(StackFeed, MakesTheBufferOfAnOwnedSink) {
    ReadyRig rig(SinkMode::Owned);
    StackFeedEntry feed{};
    rig.sink.SetLiveStack(nullptr, nullptr, &feed);
    const Bytes fed = picture(width, height, 4);
    feed.feed(feed.sink, width, height, 0, fed.data());
    EXPECT_EQ(imageOf(rig.sink), fed);
    EXPECT_EQ(rig.messages().size(), 1u);
}

TEST(StackFeed, GivesUpOnACopyingSinkThatShowsNothing) {
    ReadyRig rig(SinkMode::Copying);
    StackFeedEntry feed{};
    rig.sink.SetLiveStack(nullptr, nullptr, &feed);
    const Bytes fed = picture(width, height, 4);
    feed.feed(feed.sink, width, height, 0, fed.data());
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_TRUE(rig.calls.empty());
}

TEST(StackFeed, RefusesWhatDoesNotFitAndNullPointers) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        const Bytes pixels = picture(width, height, 1);
        rig.show(pixels);
        rig.calls.clear();
        StackFeedEntry feed{};
        rig.sink.SetLiveStack(nullptr, nullptr, &feed);
        feed.feed(feed.sink, width * 2, height, 0, pixels.data());
        feed.feed(feed.sink, width, height * 2, 0, pixels.data());
        feed.feed(feed.sink, UINT32_MAX, UINT32_MAX, 0, pixels.data());
        feed.feed(feed.sink, 0x10000000, 1, 0, pixels.data());
        feed.feed(feed.sink, 0, 0, 0, pixels.data());
        feed.feed(feed.sink, width, height, 0, nullptr);
        feed.feed(nullptr, width, height, 0, pixels.data());
        EXPECT_TRUE(rig.calls.empty());
        EXPECT_EQ(imageOf(rig.sink), pixels);
    }
}

TEST(StackFeed, GoesNowhereWhileThePictureIsATexture) {
    SinkRig rig(SinkMode::Pooled, 0, 3, true);
    int device = 0;
    rig.sink.SetVideoSize(width, height, &device, nullptr, nullptr);
    FrameCalls calls;
    rig.sink.SetNotify(rig.window.native(), frameMessage, recordFrame, &calls);
    const Bytes fed = picture(width, height, 4);
    CFrameRender::StackFeed(&rig.sink, width, height, 0, fed.data());
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(rig.messages().empty());
}

}  // namespace frame_hooks_test
}  // namespace vexcap::test
