#include <gtest/gtest.h>

#include <set>

#include "frame/frame_render.h"
#include "frame/sink_testing.h"

namespace vexcap::test {
namespace frame_buffers_test {

constexpr uint32_t width = readyWidth, height = readyHeight;

// --- pooled

TEST(PooledSink, AFrameInABufferOfTheSinkIsShownWithoutACopy) {
    SinkRig rig(SinkMode::Pooled);
    rig.setVideoSize(width, height);
    Bytes pixels = picture(width, height, 1);
    uint8_t* const buffer = rig.deliver(pixels, width, height);
    ASSERT_NE(buffer, nullptr);
    ASSERT_EQ(imageOf(rig.sink), pixels);
    buffer[7] ^= 0xFF;  // what is shown is the source's own buffer, so this shows too
    pixels[7] ^= 0xFF;
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

TEST(PooledSink, TheShownBufferIsNeverLent) {
    SinkRig rig(SinkMode::Pooled);
    rig.setVideoSize(width, height);
    std::set<const void*> seen;
    const void* shown = nullptr;
    for (uint32_t i = 0; i < 10; ++i) {
        const void* const lent = rig.next().display;
        ASSERT_NE(lent, nullptr);
        EXPECT_NE(lent, shown);
        EXPECT_EQ(rig.next().display, lent);  // asking again changes nothing
        rig.receive(lent, width, height);
        shown = lent;
        seen.insert(lent);
    }
    EXPECT_EQ(seen.size(), 2u);
}

TEST(PooledSink, LendsNothingBeforeASizeIsKnown) {
    SinkRig rig(SinkMode::Pooled);
    EXPECT_EQ(rig.next().display, nullptr);
    rig.setVideoSize(0, 0);
    EXPECT_EQ(rig.next().display, nullptr);
}

TEST(PooledSink, OutsThatAreNotAskedForMayBeNull) {
    for (const SinkMode mode : everyMode) {
        SinkRig rig(mode);
        rig.setVideoSize(width, height);
        rig.sink.PutCapture(1);
        rig.sink.NextBuffers(nullptr, nullptr, nullptr);
        void* display = nullptr;
        rig.sink.NextBuffers(&display, nullptr, nullptr);
        EXPECT_EQ(display != nullptr, mode != SinkMode::Copying);
    }
}

TEST(PooledSink, AFrameInMemoryOfTheSourceIsCopiedAndTheShownBufferIsSpared) {
    SinkRig rig(SinkMode::Pooled);
    rig.setVideoSize(width, height);
    const Bytes first = picture(width, height, 1);
    const uint8_t* const shown = rig.deliver(first, width, height);
    FrameCalls calls;
    rig.sink.SetNotify(nullptr, 0, recordFrame, &calls);
    {
        const Bytes foreign = picture(width, height, 2);
        rig.receive(foreign.data(), width, height);
        EXPECT_EQ(calls, (FrameCalls{{foreign.data(), width, height, 0}}));  // the recording gets it as it came
    }
    EXPECT_EQ(imageOf(rig.sink), picture(width, height, 2));  // the source's memory is gone
    EXPECT_EQ(std::memcmp(shown, first.data(), first.size()), 0);
    EXPECT_EQ(rig.next().display, shown);
}

TEST(PooledSink, RoomIsMadeForTheLargestFrameAndForTurnedOnes) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.PutMaxSize(33, 21);  // turned it needs more, as its rows of 63 bytes are padded
    rig.setVideoSize(4, 4);
    for (const auto& [w, h] : {std::pair(33u, 21u), {21u, 33u}, {4u, 4u}}) {
        const Bytes pixels = picture(w, h, w);
        ASSERT_NE(rig.deliver(pixels, w, h), nullptr);
        EXPECT_EQ(imageOf(rig.sink), pixels);
    }
}

TEST(PooledSink, AVideoSizeAboveTheLargestSizeCountsTurnedToo) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.PutMaxSize(4, 4);
    rig.setVideoSize(33, 21);
    for (const auto& [w, h] : {std::pair(33u, 21u), {21u, 33u}}) {
        const Bytes pixels = picture(w, h, w);
        ASSERT_NE(rig.deliver(pixels, w, h), nullptr);
        EXPECT_EQ(imageOf(rig.sink), pixels);
    }
}

TEST(PooledSink, AFrameThatIsLargerThanItsBufferIsNotShown) {
    SinkRig rig(SinkMode::Pooled);
    rig.setVideoSize(width, height);
    rig.sink.SetNotify(rig.window.native(), frameMessage, nullptr, nullptr);
    const Bytes first = picture(width, height, 1);
    rig.deliver(first, width, height);
    rig.window.clear();
    void* const lent = rig.next().display;
    rig.receive(lent, width, height + 1);
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_EQ(rig.size(), std::pair(width, height));
    EXPECT_EQ(imageOf(rig.sink), first);
}

TEST(PooledSink, ANewVideoSizeForgetsPictureRawAndDeep) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(width, height);
    rig.sink.PutCapture(1);
    Buffers lent = rig.next();
    rig.sink.ReceiveFrame(lent.display, lent.raw, nullptr, 1, 0, width, height, 0);
    ASSERT_EQ(rig.sink.GetImage(nullptr, 0, 1), S_FALSE);
    rig.setVideoSize(width, height);
    for (const uint32_t kind : {0u, 1u, 2u}) EXPECT_EQ(rig.sink.GetImage(nullptr, 0, kind), E_POINTER);
    lent = rig.next();
    EXPECT_NE(lent.display, nullptr);
    EXPECT_EQ(lent.raw, nullptr);  // PutCapture makes it
    rig.sink.PutCapture(1);
    EXPECT_NE(rig.next().raw, nullptr);
}

TEST(PooledSink, ALentBufferOutlivesANewVideoSize) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(width, height);
    FrameCalls calls;
    rig.sink.SetNotify(nullptr, 0, recordFrame, &calls);
    for (const uint32_t kind : {1u, 2u}) {
        rig.sink.PutCapture(kind);
        const Buffers lent = rig.next();
        rig.setVideoSize(width * 2, height * 2);
        rig.setVideoSize(width * 2, height * 2);
        rig.sink.InitD2d(nullptr, nullptr, nullptr);
        const Bytes pixels = picture(width, height, kind);  // the source is still at work
        std::memcpy(lent.display, pixels.data(), pixels.size());
        std::memset(kind == 1 ? lent.raw : lent.deep, 0x55, width * height * 2);
        rig.sink.ReceiveFrame(lent.display, lent.raw, lent.deep, 1, 0, width, height, 0);
        EXPECT_EQ(imageOf(rig.sink), pixels);
        EXPECT_EQ(rig.sink.GetImage(nullptr, 0, 1), E_POINTER);  // its raw frame is of another pool
        EXPECT_EQ(std::memcmp(calls.back().frame, pixels.data(), pixels.size()), 0);
    }
}

TEST(PooledSink, AResetForgetsSizePictureRawAndDeep) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(width, height);
    rig.sink.PutCapture(1);
    Buffers lent = rig.next();
    rig.sink.ReceiveFrame(lent.display, lent.raw, nullptr, 1, fourcc("GBRG"), width, height, 0);
    EXPECT_EQ(rig.sink.Reset(), S_OK);
    EXPECT_EQ(rig.size(), std::pair(0u, 0u));
    for (const uint32_t kind : {0u, 1u, 2u}) EXPECT_EQ(rig.sink.GetImage(nullptr, 0, kind), E_POINTER);
    const Bytes pixels = picture(width, height, 2);
    EXPECT_NE(rig.deliver(pixels, width, height), nullptr);  // and goes on
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

TEST(PooledSink, RawAndDeepFramesAreLentOnlyWhenTheyAreWanted) {
    struct {
        uint32_t kind;
        bool raw, deep;
    } const table[] = {{0, false, false}, {1, true, false}, {2, false, true}, {3, false, false}};
    for (const auto& row : table) {
        SinkRig rig(SinkMode::Pooled);
        rig.sink.RaiseSensorDepth(12);
        rig.setVideoSize(width, height);
        EXPECT_EQ(rig.sink.PutCapture(row.kind), S_OK);
        const Buffers lent = rig.next();
        EXPECT_NE(lent.display, nullptr);
        EXPECT_EQ(lent.raw != nullptr, row.raw);
        EXPECT_EQ(lent.deep != nullptr, row.deep);
    }
}

TEST(PooledSink, RawAndDeepBuffersAreLentInTurn) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(width, height);
    for (const uint32_t kind : {1u, 2u}) {
        rig.sink.PutCapture(kind);
        const Buffers first = rig.next();
        rig.sink.ReceiveFrame(first.display, first.raw, first.deep, 1, 0, width, height, 0);
        const Buffers second = rig.next();
        rig.sink.ReceiveFrame(second.display, second.raw, second.deep, 1, 0, width, height, 0);
        const Buffers third = rig.next();
        void* const lent[] = {kind == 1 ? first.raw : first.deep, kind == 1 ? second.raw : second.deep,
                              kind == 1 ? third.raw : third.deep};
        EXPECT_NE(lent[0], lent[1]);
        EXPECT_EQ(lent[0], lent[2]);
    }
}

TEST(PooledSink, ForeignRawAndDeepFramesAreNotKept) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(width, height);
    rig.sink.PutCapture(1);
    rig.sink.PutCapture(2);
    const Bytes foreign = pattern(width * height * 6, 1);
    rig.sink.ReceiveFrame(rig.next().display, foreign.data(), foreign.data(), 1, 0, width, height, 0);
    EXPECT_EQ(rig.sink.GetImage(nullptr, 0, 1), E_POINTER);
    Bytes bitmap(1 << 16);
    EXPECT_EQ(rig.sink.GetImage(bitmap.data(), 1 << 15, 1), E_FAIL);
    EXPECT_EQ(rig.sink.GetImage(bitmap.data(), 1 << 15, 2), E_FAIL);
}

TEST(PooledSink, ARawBufferThatIsTooSmallForTheDepthIsNotLentUntilItIsMadeAnew) {
    SinkRig rig(SinkMode::Pooled);
    rig.setVideoSize(width, height);
    rig.sink.PutCapture(1);  // one byte a sample
    EXPECT_NE(rig.next().raw, nullptr);
    rig.sink.RaiseSensorDepth(12);  // two bytes by now
    EXPECT_EQ(rig.next().raw, nullptr);
    rig.sink.PutCapture(1);
    const Buffers lent = rig.next();
    ASSERT_NE(lent.raw, nullptr);
    std::memset(lent.raw, 0x55, width * height * 2);  // the sanitizer sees a byte too much
}

TEST(PooledSink, ARawOrDeepPoolThatIsMadeAnewForgetsItsFrame) {
    for (const uint32_t kind : {1u, 2u}) {
        SinkRig rig(SinkMode::Pooled);
        rig.sink.RaiseSensorDepth(12);
        rig.setVideoSize(width, height);
        rig.sink.PutCapture(kind);
        const Buffers lent = rig.next();
        rig.sink.ReceiveFrame(lent.display, lent.raw, lent.deep, 1, 0, width, height, 0);
        EXPECT_EQ(rig.sink.PutCapture(kind), S_OK);  // large enough: the frame stays
        Bytes bitmap(40 + dibStride(width, 6) * height);
        EXPECT_EQ(rig.sink.GetImage(bitmap.data(), int32_t(bitmap.size() - 40), kind), S_OK);
        rig.sink.PutMaxSize(width * 2, height);
        rig.sink.PutCapture(kind);
        EXPECT_EQ(rig.sink.GetImage(bitmap.data(), int32_t(bitmap.size() - 40), kind), E_FAIL);
    }
}

// --- capture kinds and depth

TEST(PutCapture, DeepFramesOfAnEightBitDeviceAreRefusedAndNothingIsStored) {
    for (const SinkMode mode : everyMode) {
        SinkRig rig(mode);
        rig.setVideoSize(width, height);
        EXPECT_EQ(rig.sink.PutCapture(1), S_OK);
        EXPECT_EQ(rig.sink.PutCapture(2), E_NOTIMPL);
        EXPECT_EQ(rig.next().raw != nullptr, mode != SinkMode::Copying);  // kind 1 still stands
        rig.sink.RaiseSensorDepth(9);
        EXPECT_EQ(rig.sink.PutCapture(2), S_OK);
    }
}

TEST(PutCapture, TheDepthIsRaisedAndNeverLowered) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    rig.sink.RaiseSensorDepth(8);
    rig.sink.RaiseSensorDepth(0);
    EXPECT_EQ(rig.sink.PutCapture(2), S_OK);
}

TEST(PutCapture, WithoutAKnownSizeNothingIsLent) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    EXPECT_EQ(rig.sink.PutCapture(1), S_OK);
    EXPECT_EQ(rig.next().raw, nullptr);
    EXPECT_EQ(rig.sink.PutCapture(2), S_OK);
    EXPECT_EQ(rig.next().deep, nullptr);
}

TEST(PutCapture, BuffersHoldTheLargestFrame) {
    for (const SinkMode mode : {SinkMode::Pooled, SinkMode::Owned}) {
        SinkRig rig(mode);
        rig.sink.RaiseSensorDepth(12);
        rig.sink.PutMaxSize(41, 31);
        rig.setVideoSize(4, 4);
        rig.sink.PutCapture(1);
        Buffers lent = rig.next();
        ASSERT_NE(lent.raw, nullptr);
        std::memset(lent.raw, 1, 41 * 31 * 2);
        rig.sink.PutCapture(2);
        lent = rig.next();
        ASSERT_NE(lent.deep, nullptr);
        std::memset(lent.deep, 1, dibStride(41, 6) * 31);
    }
}

// --- every mode

// A size that goes beyond the sink's own buffer would have the recording read beyond it. Memory of the source's own is
// its word.
TEST(FrameBuffers, FramesOfHostileSizesAreNotShownAndPassedOnOnlyInTheSourcesOwnMemory) {
    const std::pair<uint32_t, uint32_t> hostile[] = {{UINT32_MAX, UINT32_MAX}, {UINT32_MAX, 1}, {0x10000000, 4},
                                                     {0x15555556, 3},          {0x80000000, 2}, {0x10000, 0x10000}};
    for (const SinkMode mode : everyMode) {
        SinkRig rig(mode);
        rig.setVideoSize(width, height);
        FrameCalls calls;
        const Bytes pixels = picture(width, height, 1);
        if (!rig.deliver(pixels, width, height)) rig.receive(pixels.data(), width, height);
        rig.sink.SetNotify(rig.window.native(), frameMessage, recordFrame, &calls);
        for (const auto& [w, h] : hostile) {
            const Buffers lent = rig.next();
            if (lent.display) rig.receive(lent.display, w, h);
            rig.receive(pixels.data(), w, h);
        }
        EXPECT_EQ(calls.size(), 6u);
        for (const FrameCall& call : calls) EXPECT_EQ(call.frame, pixels.data());
        EXPECT_TRUE(rig.messages().empty());
        EXPECT_EQ(rig.size(), std::pair(width, height));
        EXPECT_EQ(imageOf(rig.sink), pixels);
    }
}

TEST(FrameBuffers, HostileVideoSizesGiveNoBuffer) {
    for (const SinkMode mode : everyMode)
        for (const auto& [w, h] : {std::pair(UINT32_MAX, UINT32_MAX), {0x10000000u, 4u}, {1u, UINT32_MAX}}) {
            SinkRig rig(mode);
            rig.sink.RaiseSensorDepth(16);
            rig.setVideoSize(w, h);
            rig.sink.PutCapture(1);
            EXPECT_EQ(rig.next().display, nullptr);
            rig.sink.PutCapture(2);
            EXPECT_EQ(rig.next().deep, nullptr);
            EXPECT_EQ(grab(rig.sink, 0, 100).result, E_FAIL);
        }
}

TEST(FrameBuffers, AResetOfAnOwnedOrCopyingSinkLeavesThePictureInPlace) {
    for (const SinkMode mode : {SinkMode::Owned, SinkMode::Copying}) {
        SinkRig rig(mode);
        rig.setVideoSize(width, height);
        const Bytes pixels = picture(width, height, 1);
        if (!rig.deliver(pixels, width, height)) rig.receive(pixels.data(), width, height);
        EXPECT_EQ(rig.sink.Reset(), S_OK);
        EXPECT_EQ(rig.size(), std::pair(width, height));
        EXPECT_EQ(imageOf(rig.sink), pixels);
    }
}

TEST(FrameBuffers, AVideoSizeAboveTheBufferHidesThePictureUntilAFrameComes) {
    for (const SinkMode mode : {SinkMode::Owned, SinkMode::Copying}) {
        SinkRig rig(mode);
        rig.setVideoSize(8, 4);
        const Bytes small = picture(8, 4, 1);
        if (!rig.deliver(small, 8, 4)) rig.receive(small.data(), 8, 4);
        rig.setVideoSize(1000, 1000);
        Bytes bitmap(40 + 3'000'000);
        EXPECT_EQ(rig.sink.GetImage(nullptr, 0, 0), E_POINTER);
        EXPECT_EQ(rig.sink.GetImage(bitmap.data(), 3'000'000, 0), E_FAIL);
        const vex_point corner = {0, 0};
        uint16_t values[3];
        EXPECT_EQ(rig.sink.GetPixels(&corner, 1, values, nullptr), 0);
        rig.setVideoSize(8, 4);
        EXPECT_EQ(imageOf(rig.sink), small);
    }
}

TEST(FrameBuffers, EitherSideOfTheVideoSizeMayBeLeftOut) {
    SinkRig rig(SinkMode::Copying);
    rig.setVideoSize(width, height);
    uint32_t side = 0;
    EXPECT_EQ(rig.sink.GetVideoSize(&side, nullptr), S_OK);
    EXPECT_EQ(side, width);
    EXPECT_EQ(rig.sink.GetVideoSize(nullptr, &side), S_OK);
    EXPECT_EQ(side, height);
    EXPECT_EQ(rig.sink.GetVideoSize(nullptr, nullptr), S_OK);
}

}  // namespace frame_buffers_test
}  // namespace vexcap::test
