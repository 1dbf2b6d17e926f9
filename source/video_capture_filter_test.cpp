#include "source/video_capture_filter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "base/dib.h"
#include "graph/filter_graph.h"
#include "platform/fake/fake_video_devices.h"
#include "source/source_testing.h"

namespace vexcap {
namespace video_capture_filter_test {

using test::Arrived;
using test::EventLog;
using test::GraphEvent;
using test::SampleSink;

constexpr int64_t interval = 400'000;

VideoFormat formatOf(const char (&code)[5], uint32_t width, uint32_t height) {
    return {fourcc(code), width, height, width, height, width, height, interval, 10 * interval};
}

int64_t now() { return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(100); }

class VideoCapture : public testing::Test {
protected:
    VideoCapture() {
        script->formats = {formatOf("YUY2", 8, 4), formatOf("MJPG", 16, 8), formatOf("BGR3", 6, 4),
                           formatOf("NV12", 8, 4)};
        script->present = script->formats[0];
    }
    ~VideoCapture() override { close(); }
    void close() {
        if (!filter) return;
        stop();
        EXPECT_EQ(filter->JoinFilterGraph(nullptr, {}), S_OK);
        test::disconnect(capture());
        test::disconnect(still());
        filter = nullptr;
    }
    void open() {
        close();
        auto made = CVideoCaptureFilter::create(std::make_unique<FakeVideoDevice>(script));
        ASSERT_TRUE(made.ok()) << std::hex << made.code();
        filter = std::move(made).value();
    }
    void openAndConnect() {
        open();
        ASSERT_EQ(capture().Connect(sink->Input()), S_OK);
    }
    void connectStill() { ASSERT_EQ(still().Connect(stillSink->Input()), S_OK); }
    HRESULT pause() {
        for (CBaseFilter* one : all())
            if (const HRESULT result = one->Pause(); result < 0) return result;
        return S_OK;
    }
    HRESULT run() {
        start = now();
        return run(start);
    }
    HRESULT run(int64_t from) {
        for (CBaseFilter* one : all())
            if (const HRESULT result = one->Run(from); result < 0) return result;
        return S_OK;
    }
    void stop() {
        for (CBaseFilter* one : all()) EXPECT_GE(one->Stop(), 0);
    }
    std::vector<CBaseFilter*> all() { return {sink.get(), stillSink.get(), filter.get()}; }
    CBaseOutputPin& capture() { return test::outputOf(*filter, 0); }
    CBaseOutputPin& still() { return test::outputOf(*filter, 1); }
    uint32_t dropped() {
        uint32_t count = 0;
        EXPECT_EQ(test::as<IAMDroppedFrames>(capture())->GetNumDropped(&count), S_OK);
        return count;
    }
    uint32_t notDropped() {
        uint32_t count = 0;
        EXPECT_EQ(test::as<IAMDroppedFrames>(capture())->GetNumNotDropped(&count), S_OK);
        return count;
    }
    /// A frame of this moment.
    void push(uint8_t fill, uint32_t lostBefore = 0) {
        script->push({.fill = fill, .lostBefore = lostBefore, .time = now()});
    }
    GraphEvent lost() {
        return {EC_DEVICE_LOST, reinterpret_cast<intptr_t>(static_cast<CBaseFilter*>(filter.get())), 0};
    }
    static GraphEvent aborted(HRESULT code) { return {EC_ERRORABORT, code, 0}; }

    std::shared_ptr<FakeVideoScript> script = std::make_shared<FakeVideoScript>();
    EventLog ear;
    Ref<SampleSink> sink = makeRef<SampleSink>();
    Ref<SampleSink> stillSink = makeRef<SampleSink>();
    Ref<CVideoCaptureFilter> filter;
    int64_t start = 0;
};

// --- formats

TEST_F(VideoCapture, OpensWithTheDevicesOwnModeAtTheShortestInterval) {
    script->present = script->formats[3];
    open();
    ASSERT_EQ(script->modesSet().size(), 1u);
    EXPECT_EQ(script->modesSet()[0].first.fourcc, fourcc("NV12"));
    EXPECT_EQ(script->modesSet()[0].second, 0);
    MediaType type;
    ASSERT_EQ(capture().GetMediaType(0, &type), S_OK);
    EXPECT_TRUE(type.subtype == subtypeOf(fourcc("NV12")));
    EXPECT_EQ(type.AverageTimePerFrame(), interval);
    EXPECT_EQ(capture().GetMediaType(1, &type), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(capture().GetMediaType(-1, &type), E_INVALIDARG);
    EXPECT_EQ(capture().GetMediaType(0, nullptr), E_POINTER);
}

TEST_F(VideoCapture, OpensWithTheFirstFormatWhereTheModeIsNotKnown) {
    script->present = formatOf("H264", 8, 4);
    open();
    EXPECT_EQ(script->modesSet().at(0).first.fourcc, fourcc("YUY2"));
    script->present.reset();
    open();
    EXPECT_EQ(script->modesSet().at(1).first.fourcc, fourcc("YUY2"));
}

TEST_F(VideoCapture, ADeviceInUseTellsSoWhenItIsOpened) {
    script->setModeResult = VEX_E_BUSY;
    EXPECT_EQ(CVideoCaptureFilter::create(std::make_unique<FakeVideoDevice>(script)).code(), VEX_E_BUSY);
    script->setModeResult = S_OK;
    script->present.reset();
    script->formats.clear();
    EXPECT_EQ(CVideoCaptureFilter::create(std::make_unique<FakeVideoDevice>(script)).code(), E_FAIL);
}

TEST_F(VideoCapture, CapabilitiesAreTheDevicesFormats) {
    script->formats[1].minWidth = 4;
    script->formats[1].maxHeight = 600;
    script->formats.push_back(formatOf("H264", 8, 4));  // not known: left out
    open();
    const auto config = test::as<IAMStreamConfig>(capture());
    int32_t count = 0, size = 0;
    EXPECT_EQ(config->GetNumberOfCapabilities(&count, &size), S_OK);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(size, 128);
    EXPECT_EQ(config->GetNumberOfCapabilities(nullptr, nullptr), S_OK);
    MediaType type;
    VideoStreamConfigCaps caps;
    EXPECT_EQ(config->GetStreamCaps(-1, &type, &caps), E_INVALIDARG);
    EXPECT_EQ(config->GetStreamCaps(4, &type, &caps), S_FALSE);
    EXPECT_EQ(config->GetStreamCaps(0, nullptr, nullptr), S_OK);
    ASSERT_EQ(config->GetStreamCaps(1, &type, &caps), S_OK);
    EXPECT_TRUE(type.subtype == subtypeOf(fourcc("MJPG")));
    EXPECT_TRUE(caps.guid == FORMAT_VideoInfo);
    EXPECT_EQ(caps.inputSize[0], 16);
    EXPECT_EQ(caps.inputSize[1], 8);
    EXPECT_EQ(caps.minOutputSize[0], 4);
    EXPECT_EQ(caps.minOutputSize[1], 8);
    EXPECT_EQ(caps.maxOutputSize[0], 16);
    EXPECT_EQ(caps.maxOutputSize[1], 600);
    EXPECT_EQ(caps.minFrameInterval, interval);
    EXPECT_EQ(caps.maxFrameInterval, 10 * interval);
    ASSERT_EQ(config->GetStreamCaps(0, &type, &caps), S_OK);
    EXPECT_EQ(caps.maxBitsPerSecond, 8 * 2 * 4 * 8 * 25);
    EXPECT_EQ(caps.minBitsPerSecond, 8 * 2 * 4 * 8 * 25 / 10);
    ASSERT_EQ(config->GetStreamCaps(2, &type, &caps), S_OK);
    vex_bitmap_header bitmap = {};
    ASSERT_TRUE(type.GetBitmapHeader(bitmap));
    EXPECT_TRUE(type.subtype == MEDIASUBTYPE_RGB24);
    EXPECT_EQ(bitmap.biHeight, -4);  // the first row comes first
}

TEST_F(VideoCapture, SetFormatSetsTheDevice) {
    open();
    const auto config = test::as<IAMStreamConfig>(capture());
    MediaType type;
    ASSERT_EQ(config->GetStreamCaps(1, &type, nullptr), S_OK);
    EXPECT_EQ(config->SetFormat(&type), S_OK);
    EXPECT_EQ(script->modesSet().at(1).first.fourcc, fourcc("MJPG"));
    EXPECT_EQ(script->modesSet().at(1).second, interval);
    ASSERT_EQ(config->GetFormat(&type), S_OK);
    EXPECT_TRUE(type.subtype == subtypeOf(fourcc("MJPG")));
    EXPECT_EQ(capture().CheckMediaType(&type), S_OK);
}

TEST_F(VideoCapture, SetFormatRefusesWhatTheDeviceDoesNotOffer) {
    open();
    const auto config = test::as<IAMStreamConfig>(capture());
    EXPECT_EQ(config->SetFormat(nullptr), E_POINTER);
    EXPECT_EQ(config->GetFormat(nullptr), E_POINTER);
    const MediaType large = videoType(*videoPicture(fourcc("YUY2"), 80, 4), interval, 0);
    const MediaType other = videoType(*videoPicture(fourcc("Y800"), 8, 4), interval, 0);
    const MediaType none;
    for (const MediaType* refused : {&large, &other, &none}) EXPECT_EQ(config->SetFormat(refused), E_INVALIDARG);
    script->setModeResult = VEX_E_BUSY;
    MediaType fine;
    ASSERT_EQ(config->GetStreamCaps(3, &fine, nullptr), S_OK);
    EXPECT_EQ(config->SetFormat(&fine), VEX_E_BUSY);
    MediaType now;
    ASSERT_EQ(config->GetFormat(&now), S_OK);
    EXPECT_TRUE(now.subtype == subtypeOf(fourcc("YUY2")));  // as before
}

TEST_F(VideoCapture, ASizeWithinTheRangeIsAskedOfTheDevice) {
    script->formats[0].maxWidth = 800;
    open();
    const MediaType wide = videoType(*videoPicture(fourcc("YUY2"), 200, 4), interval, 0);
    EXPECT_EQ(test::as<IAMStreamConfig>(capture())->SetFormat(&wide), S_OK);
    EXPECT_EQ(script->modesSet().back().first.width, 200u);
    EXPECT_EQ(capture().CheckMediaType(&wide), S_OK);
}

TEST_F(VideoCapture, SetFormatWaitsForAStopAndWhatIsConnectedForANewConnection) {
    openAndConnect();
    const auto config = test::as<IAMStreamConfig>(capture());
    MediaType other;
    ASSERT_EQ(config->GetStreamCaps(3, &other, nullptr), S_OK);
    ASSERT_EQ(run(), S_OK);
    EXPECT_EQ(config->SetFormat(&other), VFW_E_NOT_STOPPED);
    stop();
    EXPECT_EQ(config->SetFormat(&other), S_OK);
    EXPECT_EQ(filter->Pause(), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_FALSE(script->streaming());
    test::disconnect(capture());
    EXPECT_EQ(capture().Connect(sink->Input()), S_OK);
    EXPECT_EQ(run(), S_OK);
}

TEST_F(VideoCapture, ThePinsTellTheirCategoriesAndInterfaces) {
    open();
    vex_guid category = {};
    EXPECT_EQ(test::as<IKsPropertySet>(capture())->Get(AMPROPSETID_Pin, 0, &category, 16, nullptr), S_OK);
    EXPECT_TRUE(category == PIN_CATEGORY_CAPTURE);
    EXPECT_EQ(test::as<IKsPropertySet>(still())->Get(AMPROPSETID_Pin, 0, &category, 16, nullptr), S_OK);
    EXPECT_TRUE(category == PIN_CATEGORY_STILL);
    EXPECT_EQ(capture().Name(), u"Capture");
    EXPECT_EQ(still().Name(), u"Still");
    EXPECT_EQ(filter->GetPinCount(), 2u);
    EXPECT_EQ(filter->GetPin(2), nullptr);
    EXPECT_TRUE(queryInterface<IAMStreamControl>(&capture()));
    EXPECT_FALSE(queryInterface<IAMDroppedFrames>(&still()));
    EXPECT_EQ(test::as<IAMFilterMiscFlags>(*filter)->GetMiscFlags(), 2u);
    EXPECT_TRUE(queryInterface<IAMVideoControl>(filter));
    EXPECT_EQ(test::as<IAMDroppedFrames>(capture())->GetNumDropped(nullptr), E_POINTER);
    EXPECT_EQ(test::as<IAMDroppedFrames>(capture())->GetNumNotDropped(nullptr), E_POINTER);
}

// --- frames

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

// --- stills

TEST_F(VideoCapture, AStillIsACopyOfTheNextFrameAndNothingElseFlowsThere) {
    openAndConnect();
    connectStill();
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    ASSERT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    push(2);
    sink->waitFor(2);
    stillSink->waitFor(1);
    push(3);
    sink->waitFor(3);
    script->waitUntilDrained();
    EXPECT_EQ(stillSink->count(), 1u);
    EXPECT_EQ(stillSink->arrived()[0].bytes, sink->arrived()[1].bytes);
    EXPECT_EQ(stillSink->arrived()[0].start, sink->arrived()[1].start);
}

TEST_F(VideoCapture, AStillWaitsForAFrameThatIsWholeAndForARoomOfItsOwn) {
    openAndConnect();
    connectStill();
    stillSink->hold(true);
    ASSERT_EQ(run(), S_OK);
    ASSERT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    script->push({.fill = 1, .time = now(), .damaged = true});
    push(2);
    stillSink->waitFor(1);
    EXPECT_EQ(stillSink->arrived()[0].bytes[0], 2);
    ASSERT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    push(3);
    sink->waitFor(2);
    script->waitUntilDrained();
    EXPECT_EQ(stillSink->count(), 1u);  // the one buffer is out
    stillSink->hold(false);
    push(4);
    stillSink->waitFor(2);
    EXPECT_EQ(stillSink->arrived()[1].bytes[0], 4);
}

TEST_F(VideoCapture, AStillThatNobodyTakesIsNoMatterOfTheStream) {
    openAndConnect();
    connectStill();
    stillSink->answer(E_FAIL);
    ASSERT_EQ(run(), S_OK);
    ASSERT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    push(1);
    push(2);
    sink->waitFor(2);
    EXPECT_EQ(stillSink->count(), 1u);
}

TEST_F(VideoCapture, OnlyTheStillPinOfARunningFilterIsTriggered) {
    openAndConnect();
    EXPECT_EQ(filter->SetMode(&capture(), IAMVideoControl::trigger), E_INVALIDARG);
    EXPECT_EQ(filter->SetMode(nullptr, IAMVideoControl::trigger), E_INVALIDARG);
    EXPECT_EQ(filter->SetMode(&still(), 0), E_INVALIDARG);
    EXPECT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), VFW_E_NOT_CONNECTED);
    connectStill();
    EXPECT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), VFW_E_WRONG_STATE);
    ASSERT_EQ(run(), S_OK);
    EXPECT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    stop();
    ASSERT_EQ(run(), S_OK);  // what was asked for in the last run is forgotten
    push(1);
    sink->waitFor(1);
    script->waitUntilDrained();
    EXPECT_EQ(stillSink->count(), 0u);
}

TEST_F(VideoCapture, TheStillPinHasTheFormatOfTheCapturePinAlone) {
    open();
    const auto config = test::as<IAMStreamConfig>(still());
    int32_t count = 0;
    EXPECT_EQ(config->GetNumberOfCapabilities(&count, nullptr), S_OK);
    EXPECT_EQ(count, 1);
    MediaType type, captures;
    EXPECT_EQ(config->GetStreamCaps(0, &type, nullptr), S_OK);
    EXPECT_EQ(config->GetStreamCaps(1, &type, nullptr), S_FALSE);
    EXPECT_EQ(config->GetStreamCaps(-1, &type, nullptr), E_INVALIDARG);
    EXPECT_EQ(config->SetFormat(&type), S_OK);
    EXPECT_EQ(config->GetFormat(&type), S_OK);
    EXPECT_EQ(test::as<IAMStreamConfig>(capture())->GetFormat(&captures), S_OK);
    EXPECT_TRUE(type == captures);
    const MediaType other = videoType(*videoPicture(fourcc("NV12"), 8, 4), interval, 0);
    EXPECT_EQ(config->SetFormat(&other), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(config->SetFormat(nullptr), E_POINTER);
}

// --- failures

TEST_F(VideoCapture, AFailedStartIsThePausesAndLeavesNothingBehind) {
    openAndConnect();
    script->startResult = VEX_E_BUSY;
    EXPECT_EQ(filter->Pause(), VEX_E_BUSY);
    EXPECT_TRUE(filter->IsStopped());
    EXPECT_FALSE(script->streaming());
    script->startResult = S_OK;
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
}

TEST_F(VideoCapture, ALossIsToldOnceInEveryState) {
    for (const FilterState state : {State_Stopped, State_Paused, State_Running}) {
        script = std::make_shared<FakeVideoScript>();
        script->formats = {formatOf("YUY2", 8, 4)};
        script->present = script->formats[0];
        EventLog heard;
        openAndConnect();
        ASSERT_EQ(filter->JoinFilterGraph(&heard, u"camera"), S_OK);
        if (state == State_Paused) {
            ASSERT_EQ(pause(), S_OK);
        }
        if (state == State_Running) {
            ASSERT_EQ(run(), S_OK);
        }
        script->unplug();
        std::vector<GraphEvent> expected;
        if (state == State_Running) expected.push_back(aborted(VEX_E_DEVICE_LOST));
        expected.push_back(lost());
        ASSERT_TRUE(heard.waitFor(expected.size()));
        close();
        EXPECT_EQ(heard.all(), expected);
    }
}

TEST_F(VideoCapture, ALossIsToldThoughTheDeviceHangs) {
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->hang();
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    script->unplug();
    ASSERT_TRUE(ear.waitFor(2));
    EXPECT_EQ(ear.all(), (std::vector{aborted(VEX_E_DEVICE_LOST), lost()}));
}

TEST_F(VideoCapture, AnotherGraphHearsOfTheLossToo) {
    open();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->unplug();
    ASSERT_TRUE(ear.waitFor(1));
    EventLog other;
    ASSERT_EQ(filter->JoinFilterGraph(&other, u"camera"), S_OK);
    ASSERT_TRUE(other.waitFor(1));
    EXPECT_EQ(other.all(), std::vector{lost()});
    EXPECT_EQ(ear.all(), std::vector{lost()});
    close();
}

TEST_F(VideoCapture, TheDeviceIsLookedAfterWhileTheFilterIsInAGraph) {
    open();
    EXPECT_EQ(script->checks(), 0u);
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->waitUntil([&] { return script->checks() >= 3; });
    ASSERT_EQ(filter->JoinFilterGraph(nullptr, {}), S_OK);
    const uint32_t left = script->checks();
    EXPECT_TRUE(ear.all().empty());
    close();
    EXPECT_EQ(script->checks(), left);
}

TEST_F(VideoCapture, AStallIsToldAfterFiveSecondsAndAfterTwoBehindAFrame) {
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    ASSERT_EQ(run(), S_OK);
    script->stall();
    ASSERT_TRUE(ear.waitFor(1));
    EXPECT_EQ(script->timeouts().back(), 5000u);
    stop();
    script->stall(false);
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    script->waitUntilDrained();
    script->stall();
    ASSERT_TRUE(ear.waitFor(2));
    EXPECT_EQ(ear.all(), (std::vector{aborted(VEX_E_TIMEOUT), aborted(VEX_E_TIMEOUT)}));
    EXPECT_EQ(script->timeouts().back(), 2000u);
}

TEST_F(VideoCapture, ASlowDeviceHasTenIntervals) {
    script->formats[0].minInterval = script->formats[0].maxInterval = 10'000'000;
    script->present = script->formats[0];
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->stall();
    ASSERT_EQ(run(), S_OK);
    ASSERT_TRUE(ear.waitFor(1));
    EXPECT_EQ(script->timeouts().back(), 10'000u);
}

TEST_F(VideoCapture, NoFrameWhilePausedIsNoStall) {
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->stall();
    ASSERT_EQ(pause(), S_OK);
    script->waitUntil([&] { return script->timeouts().size() >= 3; });
    EXPECT_TRUE(ear.all().empty());
    script->stall(false);
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    EXPECT_TRUE(ear.all().empty());
}

TEST_F(VideoCapture, AnyOtherFailureOfTheStreamIsToldWithItsCode) {
    openAndConnect();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    ASSERT_EQ(run(), S_OK);
    script->failNext(E_ACCESSDENIED);
    ASSERT_TRUE(ear.waitFor(1));
    stop();
    script->giveBackResult = E_FAIL;
    ASSERT_EQ(run(), S_OK);
    push(1);
    ASSERT_TRUE(ear.waitFor(2));
    stop();
    EXPECT_EQ(ear.all(), (std::vector{aborted(E_ACCESSDENIED), aborted(E_FAIL)}));
    script->giveBackResult = S_OK;
    ASSERT_EQ(run(), S_OK);  // a stop mends it
    push(2);
    sink->waitFor(1);
}

TEST_F(VideoCapture, EveryCallReturnsWhileTheDeviceHangs) {
    openAndConnect();
    script->hang();
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(pause(), S_OK);
        if (i % 2) {
            ASSERT_EQ(run(), S_OK);
        }
        if (i % 4 == 3) {
            ASSERT_EQ(pause(), S_OK);
        }
        stop();
        EXPECT_FALSE(script->streaming());
    }
}

TEST_F(VideoCapture, AStreamMayBeStoppedAtAnyMomentOfIt) {
    openAndConnect();
    connectStill();
    sink->countOnly();
    ASSERT_EQ(filter->JoinFilterGraph(&ear, u"camera"), S_OK);
    script->pace(std::chrono::microseconds(100));
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(run(), S_OK);
        filter->SetMode(&still(), IAMVideoControl::trigger);
        sink->waitFor(sink->count() + 1);
        if (i % 3 == 0) {
            ASSERT_EQ(pause(), S_OK);
        }
        stop();
    }
    EXPECT_TRUE(ear.all().empty());
}

TEST_F(VideoCapture, TheDeviceGetsBuffersForAQuarterOfASecondAsFarAsMemoryGoes) {
    const auto buffersFor = [&](int64_t every, uint32_t bytes) {
        script->formats[0].minInterval = every;
        script->formats[0].maxInterval = every;
        script->present = script->formats[0];
        script->bytesOf = [bytes](const VideoFormat&) { return bytes; };
        openAndConnect();
        EXPECT_EQ(pause(), S_OK);
        const uint32_t asked = script->startedBuffers();
        return asked;
    };
    EXPECT_EQ(buffersFor(333'333, 64), 8u);
    EXPECT_EQ(buffersFor(10'000'000, 64), 4u);
    EXPECT_EQ(buffersFor(10'000, 64), 16u);
    EXPECT_EQ(buffersFor(333'333, 50 << 20), 5u);
}

}  // namespace video_capture_filter_test
}  // namespace vexcap
