#include <gtest/gtest.h>

#include "frame/frame_render.h"
#include "frame/sink_testing.h"

namespace vexcap::test {
namespace frame_buffers_own_test {

constexpr uint32_t width = readyWidth, height = readyHeight;

// --- owned

TEST(OwnedSink, LendsOneZeroedBufferAndShowsIt) {
    SinkRig rig(SinkMode::Owned);
    rig.sink.PutMaxSize(33, 21);
    rig.setVideoSize(width, height);
    void* const lent = rig.next().display;
    ASSERT_NE(lent, nullptr);
    EXPECT_EQ(rig.next().display, lent);
    EXPECT_EQ(Bytes(static_cast<uint8_t*>(lent), static_cast<uint8_t*>(lent) + dibStride(33, 3) * 21),
              Bytes(dibStride(33, 3) * 21));
    const Bytes pixels = picture(width, height, 1);
    EXPECT_EQ(rig.deliver(pixels, width, height), lent);
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

TEST(OwnedSink, AFrameWithoutABufferIsIgnoredButPassedOn) {
    SinkRig rig(SinkMode::Owned);
    rig.setVideoSize(width, height);
    FrameCalls calls;
    rig.sink.SetNotify(rig.window.native(), frameMessage, recordFrame, &calls);
    const Bytes pixels = picture(8, 4, 1);
    rig.receive(pixels.data(), 8, 4);
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_EQ(rig.size(), std::pair(width, height));
    EXPECT_EQ(calls.size(), 1u);
}

TEST(OwnedSink, AFrameThatIsLargerThanTheBufferIsIgnored) {
    SinkRig rig(SinkMode::Owned);
    rig.setVideoSize(width, height);
    FrameCalls calls;
    rig.sink.SetNotify(rig.window.native(), frameMessage, recordFrame, &calls);
    void* const lent = rig.next().display;
    rig.receive(lent, width, height + 1);
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_EQ(rig.size(), std::pair(width, height));
    EXPECT_TRUE(calls.empty());
}

TEST(OwnedSink, TheBufferGrowsWithTheVideoSizeBeforeTheNextFrame) {
    SinkRig rig(SinkMode::Owned);
    rig.setVideoSize(8, 4);
    rig.deliver(picture(8, 4, 1), 8, 4);
    rig.setVideoSize(width, height);
    EXPECT_EQ(grab(rig.sink, 0, 4096).result, E_FAIL);  // no picture of that size yet
    const Bytes pixels = picture(width, height, 2);
    ASSERT_NE(rig.deliver(pixels, width, height), nullptr);
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

TEST(OwnedSink, FourBytesAPixelAreKept) {
    SinkRig rig(SinkMode::Owned, 0, 4);
    rig.setVideoSize(width, height);
    void* const lent = rig.next().display;
    ASSERT_NE(lent, nullptr);
    std::memset(lent, 0x55, width * 4 * height);  // the sanitizer sees a byte too much
}

TEST(OwnedSink, RawAndDeepBuffersAreReadableAtOnceAndZero) {
    SinkRig rig(SinkMode::Owned);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(width, height);
    rig.sink.PutCapture(1);
    void* const raw = rig.next().raw;
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(rig.next().raw, raw);
    EXPECT_EQ(imageOf(rig.sink, 1), Bytes(width * height));  // 8 bits until a frame tells its depth
    rig.sink.PutCapture(2);
    void* const deep = rig.next().deep;
    ASSERT_NE(deep, nullptr);
    EXPECT_EQ(rig.next().deep, deep);
    EXPECT_EQ(imageOf(rig.sink, 2), Bytes(dibStride(width, 6) * height));
    rig.setVideoSize(width * 3, height);  // larger than they are
    Bytes bitmap(4096);
    for (const uint32_t kind : {1u, 2u}) EXPECT_EQ(rig.sink.GetImage(bitmap.data(), 4000, kind), E_FAIL);
}

// --- copying

TEST(CopyingSink, LendsNothing) {
    SinkRig rig(SinkMode::Copying);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(width, height);
    for (const uint32_t kind : {0u, 1u, 2u}) {
        rig.sink.PutCapture(kind);
        const Buffers lent = rig.next();
        EXPECT_EQ(lent.display, nullptr);
        EXPECT_EQ(lent.raw, nullptr);
        EXPECT_EQ(lent.deep, nullptr);
    }
}

TEST(CopyingSink, RowsHaveThreeBytesAPixelWhateverItWasMadeWith) {
    SinkRig rig(SinkMode::Copying, 0, 4);
    const Bytes pixels = picture(width, height, 1);  // exactly this much may be read
    rig.receive(pixels.data(), width, height);
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

/// Where a copying sink keeps its picture: the feed hands it to the frame callback.
const void* displayOf(SinkRig& rig) {
    FrameCalls calls;
    rig.sink.SetNotify(nullptr, 0, recordFrame, &calls);
    const uint8_t pixel[3] = {};
    CFrameRender::StackFeed(&rig.sink, 1, 1, 0, pixel);
    rig.sink.SetNotify(nullptr, 0, nullptr, nullptr);
    return calls.empty() ? nullptr : calls[0].frame;
}

TEST(CopyingSink, TheBufferGrowsWithTheFramesAndItsRoomIsRemembered) {
    SinkRig rig(SinkMode::Copying);
    const Bytes small = picture(8, 4, 1), large = picture(width, height, 2);
    rig.receive(small.data(), 8, 4);
    const void* const first = displayOf(rig);
    rig.receive(large.data(), width, height);
    EXPECT_EQ(imageOf(rig.sink), large);
    const void* const second = displayOf(rig);
    EXPECT_NE(second, first);
    rig.receive(small.data(), 8, 4);
    EXPECT_EQ(imageOf(rig.sink), small);
    rig.receive(large.data(), width, height);
    EXPECT_EQ(imageOf(rig.sink), large);
    EXPECT_EQ(displayOf(rig), second);
}

TEST(CopyingSink, TheFirstBufferHoldsTheLargestSizeTold) {
    for (const bool byMaximum : {false, true}) {
        SinkRig rig(SinkMode::Copying);
        rig.setVideoSize(4, 4);
        if (byMaximum) {
            rig.sink.PutMaxSize(width, height);
        } else {
            rig.setVideoSize(width, height);
        }
        const Bytes small = picture(4, 4, 1), large = picture(width, height, 2);
        rig.receive(small.data(), 4, 4);
        const void* const first = displayOf(rig);
        rig.receive(large.data(), width, height);
        EXPECT_EQ(displayOf(rig), first);
    }
}

TEST(CopyingSink, AnAbsurdSizeThatWasToldKeepsNoFrameAway) {
    SinkRig rig(SinkMode::Copying);
    rig.sink.PutMaxSize(UINT32_MAX, UINT32_MAX);
    rig.setVideoSize(UINT32_MAX, UINT32_MAX);
    const Bytes pixels = picture(width, height, 1);
    rig.receive(pixels.data(), width, height);
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

}  // namespace frame_buffers_own_test
}  // namespace vexcap::test
