// Frames of a video input device.
#include "source/video_capture_testing.h"

namespace vexcap::test {
namespace video_capture_frames_test {

TEST_F(VideoCapture, FramesComeWithTheirTimesWhileItRuns) {
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    std::vector<int64_t> times;
    for (uint8_t i = 1; i <= 3; ++i) {
        times.push_back(now());
        script->push({.fill = i, .time = times.back()});
        sink->waitFor(i);
    }
    const auto arrived = sink->arrived();
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(arrived[i].bytes, std::vector<uint8_t>(8 * 2 * 4, uint8_t(i + 1)));
        EXPECT_EQ(arrived[i].start, times[i] - start);
        EXPECT_EQ(arrived[i].stop, times[i] - start + interval);
        EXPECT_TRUE(arrived[i].syncPoint);
        EXPECT_EQ(arrived[i].discontinuity, i == 0);
    }
    EXPECT_EQ(notDropped(), 3u);
    EXPECT_EQ(dropped(), 0u);
}

TEST_F(VideoCapture, NothingComesWhilePausedAndNothingOfItCounts) {
    openAndConnect();
    ASSERT_EQ(pause(), S_OK);
    FilterState state = State_Stopped;
    EXPECT_EQ(filter->GetState(0, &state), VFW_S_CANT_CUE);
    EXPECT_EQ(state, State_Paused);
    EXPECT_EQ(filter->GetState(0, nullptr), E_POINTER);
    push(1);
    push(2, 5);
    script->waitUntilDrained();
    ASSERT_EQ(run(), S_OK);
    EXPECT_EQ(filter->GetState(0, &state), S_OK);
    push(3, 5);
    sink->waitFor(1);
    EXPECT_EQ(sink->arrived()[0].bytes[0], 3);
    EXPECT_EQ(dropped(), 0u);
}

TEST_F(VideoCapture, AFrameThatWasTakenBeforeTheRunBelongsToNoRun) {
    openAndConnect();
    const int64_t before = now();
    ASSERT_EQ(run(before - 10'000'000), S_OK);  // a run that goes on after a pause
    script->push({.fill = 1, .time = before});
    push(2);
    sink->waitFor(1);
    EXPECT_EQ(sink->arrived()[0].bytes[0], 2);
    EXPECT_GE(sink->arrived()[0].start, 10'000'000);
}

TEST_F(VideoCapture, PaddingOfTheDeviceStaysInItsMemory) {
    script->strideOf = [](const VideoFormat& f) { return f.width * 2 + 6; };
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    std::vector<uint8_t> memory, expected;
    for (uint32_t y = 0; y < 4; ++y) {
        memory.insert(memory.end(), 16, uint8_t(y + 1));
        expected.insert(expected.end(), 16, uint8_t(y + 1));
        if (y < 3) memory.insert(memory.end(), 6, 0xEE);  // a device may leave out the last row's
    }
    script->push({.content = memory, .time = now()});
    sink->waitFor(1);
    EXPECT_EQ(sink->arrived()[0].bytes, expected);
}

TEST_F(VideoCapture, BlueGreenRedGetsTheDibStride) {
    script->present = script->formats[2];
    script->strideOf = [](const VideoFormat& f) { return f.width * 3; };
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    std::vector<uint8_t> memory;
    for (uint8_t y = 0; y < 4; ++y) memory.insert(memory.end(), 18, uint8_t(y + 1));
    script->push({.content = memory, .time = now()});
    sink->waitFor(1);
    const auto bytes = sink->arrived()[0].bytes;
    ASSERT_EQ(bytes.size(), 20u * 4);
    for (size_t y = 0; y < 4; ++y)
        for (size_t x = 0; x < 18; ++x) EXPECT_EQ(bytes[y * 20 + x], y + 1);
}

TEST_F(VideoCapture, TheColourRowsOfNv12ComeAlong) {
    script->present = script->formats[3];
    script->strideOf = [](const VideoFormat& f) { return f.width + 4; };
    script->bytesOf = [](const VideoFormat& f) { return (f.width + 4) * f.height * 3 / 2; };
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    std::vector<uint8_t> memory(12 * 6, 0xEE);
    for (size_t y = 0; y < 6; ++y) std::fill_n(memory.begin() + ptrdiff_t(y) * 12, 8, uint8_t(y));
    script->push({.content = memory, .time = now()});
    sink->waitFor(1);
    std::vector<uint8_t> expected;
    for (uint8_t y = 0; y < 6; ++y) expected.insert(expected.end(), 8, y);
    EXPECT_EQ(sink->arrived()[0].bytes, expected);
}

TEST_F(VideoCapture, CompressedFramesKeepTheirLength) {
    script->present = script->formats[1];
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    script->push({.content = {1, 2, 3, 4, 5}, .time = now()});
    script->push({.fill = 9, .bytes = 0, .time = now()});  // an empty one is none
    script->push({.content = {6}, .time = now()});
    sink->waitFor(2);
    EXPECT_EQ(sink->arrived()[0].bytes, (std::vector<uint8_t>{1, 2, 3, 4, 5}));
    EXPECT_EQ(sink->arrived()[1].bytes, (std::vector<uint8_t>{6}));
    EXPECT_EQ(dropped(), 1u);
}

TEST_F(VideoCapture, GapsInTheSequenceAreCountedOverItsWrap) {
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    uint32_t sent = 0;
    for (const uint32_t missing : {0u, 0u, 7u, 0u, 30u, 0u}) {  // the number passes 2 to the 32nd on the way
        push(1, missing);
        sink->waitFor(++sent);
    }
    EXPECT_EQ(dropped(), 37u);
    EXPECT_EQ(notDropped(), 6u);
    const auto arrived = sink->arrived();
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(arrived[i].discontinuity, i == 0 || i == 2 || i == 4) << i;
}

TEST_F(VideoCapture, ASequenceThatBeginsAnewIsNoLoss) {
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    push(2, UINT32_MAX - 3);  // backwards
    sink->waitFor(2);
    EXPECT_EQ(dropped(), 0u);
    EXPECT_TRUE(sink->arrived()[1].discontinuity);
}

TEST_F(VideoCapture, DamagedAndShortFramesAreDroppedAndCounted) {
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    script->push({.fill = 1, .time = now(), .damaged = true});
    script->push({.fill = 2, .bytes = 8 * 2 * 4 - 1, .time = now()});
    push(3);
    sink->waitFor(1);
    EXPECT_EQ(sink->arrived()[0].bytes[0], 3);
    EXPECT_EQ(dropped(), 2u);
    EXPECT_EQ(notDropped(), 1u);
}

TEST_F(VideoCapture, AFrameForWhichDownstreamLeftNoSampleIsCounted) {
    openAndConnect();
    sink->hold(true);
    ASSERT_EQ(run(), S_OK);
    for (uint8_t i = 1; i <= 4; ++i) push(i);
    sink->waitFor(4);
    push(5);
    script->waitUntilDrained();
    EXPECT_EQ(dropped(), 1u);
    sink->hold(false);
    push(6);
    sink->waitFor(5);
    const Arrived last = sink->arrived()[4];
    EXPECT_EQ(last.bytes[0], 6);
    EXPECT_TRUE(last.discontinuity);
}

TEST_F(VideoCapture, ASampleThatIsHeldIsNeverOverwritten) {
    open();
    class Holder final : public CBaseFilter {
    public:
        size_t GetPinCount() override { return 1; }
        CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }
        struct Pin final : CBaseInputPin {
            explicit Pin(CBaseFilter& owner) : CBaseInputPin(owner, u"In") {}
            HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
            AllocatorProperties GetAllocatorRequirements() override { return {64, 0}; }
            HRESULT Receive(CMediaSample& sample) override {
                const MutexGuard guard(lock);
                held.emplace_back(&sample);
                came.notifyAll();
                return S_OK;
            }
            void waitFor(size_t count) {
                const MutexGuard guard(lock);
                while (held.size() < count) came.wait(lock);
            }
            Mutex lock;
            Condition came;
            std::vector<Ref<CMediaSample>> held VEX_GUARDED_BY(lock);
        } pin{*this};
    };
    const auto holder = makeRef<Holder>();
    ASSERT_EQ(capture().Connect(holder->pin), S_OK);
    ASSERT_EQ(holder->Run(0), S_OK);
    ASSERT_EQ(run(), S_OK);
    for (uint8_t i = 0; i < 50; ++i) {  // far more than the device has buffers
        push(i);
        holder->pin.waitFor(i + 1u);
    }
    {
        const MutexGuard guard(holder->pin.lock);
        for (uint8_t i = 0; i < 50; ++i)
            EXPECT_EQ(std::count(holder->pin.held[i]->GetPointer(), holder->pin.held[i]->GetPointer() + 64, i), 64);
        holder->pin.held.clear();
    }
    holder->Stop();
    filter->Stop();
}

TEST_F(VideoCapture, TheCountsBeginAnewWithEachStart) {
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    push(1);
    push(2, 3);
    sink->waitFor(2);
    EXPECT_EQ(dropped(), 3u);
    stop();
    EXPECT_EQ(dropped(), 3u);
    ASSERT_EQ(run(), S_OK);
    EXPECT_EQ(dropped(), 0u);
    EXPECT_EQ(notDropped(), 0u);
    push(4);
    sink->waitFor(3);
    EXPECT_TRUE(sink->arrived()[2].discontinuity);
}

TEST_F(VideoCapture, StreamControlLetsNothingThroughOutsideItsTimes) {
    openAndConnect();
    const auto control = test::as<IAMStreamControl>(capture());
    const int64_t from = 20'000'000, until = 40'000'000;
    ASSERT_EQ(control->StartAt(&from), S_OK);
    ASSERT_EQ(control->StopAt(&until), S_OK);
    ASSERT_EQ(run(), S_OK);
    for (const int64_t second : {1, 2, 3, 4, 5})
        script->push({.fill = uint8_t(second), .time = start + second * 10'000'000});
    script->waitUntilDrained();
    ASSERT_EQ(sink->count(), 2u);
    EXPECT_EQ(sink->arrived()[0].bytes[0], 2);
    EXPECT_EQ(sink->arrived()[1].bytes[0], 3);
    EXPECT_EQ(dropped(), 0u);
    EXPECT_EQ(notDropped(), 2u);
}

TEST_F(VideoCapture, AFrameTakesNothingFromTheHeap) {
    openAndConnect();
    sink->countOnly();
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    const size_t before = sink->allocationsThere();
    script->pace(std::chrono::microseconds(200));
    sink->waitFor(500);
    script->pace(std::chrono::microseconds(0));
    EXPECT_EQ(sink->allocationsThere(), before);
}

TEST_F(VideoCapture, AReceiverThatRefusesEndsTheStreamUntilAStop) {
    openAndConnect();
    ASSERT_EQ(run(), S_OK);
    sink->answer(E_FAIL);
    push(1);
    sink->waitFor(1);
    sink->answer(S_OK);
    stop();
    EXPECT_FALSE(script->streaming());
    ASSERT_EQ(run(), S_OK);
    push(2);
    sink->waitFor(2);
}

}  // namespace video_capture_frames_test
}  // namespace vexcap::test
