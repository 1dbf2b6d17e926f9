#include "source/src_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "base/dib.h"
#include "graph/builder/class_factory.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_camera.h"
#include "platform/fake/fake_clock.h"
#include "source/source_testing.h"

namespace vexcap {
namespace src_filter_test {

using test::SampleSink;

constexpr uint32_t width = 6, height = 4;
constexpr size_t stride = 20;  // 18 bytes, padded to four
constexpr size_t frameBytes = stride * height;

std::vector<uint8_t> frameOf(uint8_t fill) { return std::vector<uint8_t>(frameBytes, fill); }

class SrcFilter : public testing::Test {
protected:
    SrcFilter() {
        camera.width = int32_t(width);
        camera.height = int32_t(height);
        EXPECT_EQ(internal->SetCamera(&camera), S_OK);
    }
    ~SrcFilter() override {
        stop();
        test::disconnect(pin);
    }

    void connect() { ASSERT_EQ(test::outputOf(*filter).Connect(sink->Input()), S_OK); }
    void pause() {
        ASSERT_GE(sink->Pause(), 0);
        ASSERT_GE(filter->Pause(), 0);
    }
    void run() {
        pause();
        ASSERT_GE(sink->Run(0), 0);
        ASSERT_GE(filter->Run(0), 0);
    }
    void connectAndRun() {
        connect();
        run();
    }
    void stop() {
        EXPECT_EQ(sink->Stop(), S_OK);
        EXPECT_EQ(filter->Stop(), S_OK);
    }
    HRESULT push(uint8_t fill) { return internal->PushFrame(frameOf(fill).data(), width, height); }
    MediaType type() {
        MediaType made;
        EXPECT_EQ(pin.GetMediaType(0, &made), S_OK);
        return made;
    }
    VideoInfoHeader headerOf(const MediaType& of) {
        VideoInfoHeader header;
        EXPECT_EQ(of.format.size(), sizeof header);
        std::memcpy(&header, of.format.data(), sizeof header);
        return header;
    }
    MediaType typeWith(const std::function<void(VideoInfoHeader&)>& change) {
        MediaType changed = type();
        VideoInfoHeader header = headerOf(changed);
        change(header);
        std::memcpy(changed.format.data(), &header, sizeof header);
        return changed;
    }

    FakeCamera camera;
    FakeClock clock;
    Ref<CSrcFilter> filter = makeRef<CSrcFilter>(clock);
    Ref<SampleSink> sink = makeRef<SampleSink>();
    CBaseOutputPin& pin = test::outputOf(*filter);
    Ref<ISrcFilterInternal> internal = test::as<ISrcFilterInternal>(*filter);
};

TEST_F(SrcFilter, IsMadeByItsClassIdentifier) {
    const FilterTemplate table[] = {
        {CSrcFilter::className, CSrcFilter::classId, [](void* tickClock) -> Ref<CBaseFilter> {
             return Ref<CBaseFilter>(makeRef<CSrcFilter>(*static_cast<IClock*>(tickClock)));
         }}};
    const vex_guid told = {0x4D2B6508, 0xCD94, 0x4652, {0x87, 0xB7, 0xDD, 0x77, 0x16, 0x8C, 0xDC, 0xAF}};
    const auto made = createFilter(table, told, static_cast<IClock*>(&clock));
    ASSERT_TRUE(made.ok());
    EXPECT_TRUE(queryInterface<ISrcFilterInternal>(made.value()));
}

TEST_F(SrcFilter, AnswersItsInterfacesAndNoOther) {
    const vex_guid told = {0xF64C1D94, 0x0DDC, 0x4856, {0xA7, 0x0E, 0x38, 0x71, 0xDE, 0x1E, 0x71, 0x92}};
    EXPECT_TRUE(ISrcFilterInternal::iid == told);
    EXPECT_EQ(test::as<IAMFilterMiscFlags>(*filter)->GetMiscFlags(), 2u);
    EXPECT_FALSE(queryInterface<IAMStreamConfig>(filter));
    EXPECT_TRUE(queryInterface<IAMStreamConfig>(&pin));
    EXPECT_TRUE(queryInterface<IKsPropertySet>(&pin));
    EXPECT_TRUE(queryInterface<ISrcFilterInternal>(&pin));
    EXPECT_FALSE(queryInterface<IAMDroppedFrames>(&pin));
    EXPECT_EQ(filter->GetPinCount(), 1u);
    EXPECT_EQ(pin.Name(), u"Out");
    EXPECT_EQ(filter->QueryInterface(IAMStreamConfig::iid, nullptr), E_POINTER);
}

TEST_F(SrcFilter, ANullCameraIsRefused) { EXPECT_EQ(internal->SetCamera(nullptr), E_UNEXPECTED); }

TEST_F(SrcFilter, ACameraWithoutASizeIsAFailure) {
    camera.sizeResult = E_ACCESSDENIED;
    EXPECT_EQ(internal->SetCamera(&camera), E_ACCESSDENIED);
}

TEST_F(SrcFilter, TheSizeIsThatBehindBinningAndIsEven) {
    camera.width = 130;
    camera.height = 98;
    camera.options[VEX_OPTION_BINNING] = 2;
    ASSERT_EQ(internal->SetCamera(&camera), S_OK);
    EXPECT_EQ(headerOf(type()).bitmap.biWidth, 64);
    EXPECT_EQ(headerOf(type()).bitmap.biHeight, 48);
}

TEST_F(SrcFilter, TheOneMediaTypeIsToldFieldByField) {
    camera.largestRates = {{0, 25}};
    const MediaType made = type();
    EXPECT_TRUE(made.major == MEDIATYPE_Video);
    EXPECT_TRUE(made.subtype == MEDIASUBTYPE_RGB24);
    EXPECT_TRUE(made.formatType == FORMAT_VideoInfo);
    EXPECT_TRUE(made.fixedSize);
    EXPECT_EQ(made.sampleSize, frameBytes);
    const VideoInfoHeader header = headerOf(made);
    for (const vex_rect& rect : {header.source, header.target})
        EXPECT_TRUE(rect.left == 0 && rect.top == 0 && rect.right == 0 && rect.bottom == 0);
    EXPECT_EQ(header.bitRate, frameBytes * 25 * 8);
    EXPECT_EQ(header.bitErrorRate, 0u);
    EXPECT_EQ(header.averageTimePerFrame, 400'000);
    EXPECT_EQ(header.bitmap.biSize, 40u);
    EXPECT_EQ(header.bitmap.biWidth, int32_t(width));
    EXPECT_EQ(header.bitmap.biHeight, int32_t(height));
    EXPECT_EQ(header.bitmap.biPlanes, 1);
    EXPECT_EQ(header.bitmap.biBitCount, 24);
    EXPECT_EQ(header.bitmap.biCompression, 0u);
    EXPECT_EQ(header.bitmap.biSizeImage, frameBytes);
}

TEST_F(SrcFilter, ThereIsNoTypeBeforeAndBehindTheOne) {
    MediaType out;
    EXPECT_EQ(pin.GetMediaType(-1, &out), E_INVALIDARG);
    EXPECT_EQ(pin.GetMediaType(1, &out), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(pin.GetMediaType(0, nullptr), E_POINTER);
}

TEST_F(SrcFilter, WithoutACameraTheSizeIsEmptyAndTheSamplesAreOfNoFixedSize) {
    const auto bare = makeRef<CSrcFilter>(clock);
    MediaType made;
    ASSERT_EQ(bare->GetPin(0)->GetMediaType(0, &made), S_OK);
    EXPECT_EQ(made.sampleSize, 0u);
    EXPECT_FALSE(made.fixedSize);
    EXPECT_EQ(made.AverageTimePerFrame(), 10'000'000 / 30);
}

TEST_F(SrcFilter, ARateOf0Or2000Gives30) {
    for (const uint32_t told : {0u, 2000u}) {
        camera.largestRates = {{0, told}};
        EXPECT_EQ(headerOf(type()).averageTimePerFrame, 10'000'000 / 30);
        EXPECT_EQ(headerOf(type()).bitRate, frameBytes * 30 * 8);
    }
}

TEST_F(SrcFilter, BitRatesBeyondTheirFieldsAreTheLargestThatFit) {
    camera.width = 8000;
    camera.height = 6000;
    camera.largestRates = {{0, 1000}};
    ASSERT_EQ(internal->SetCamera(&camera), S_OK);
    EXPECT_EQ(headerOf(type()).bitRate, UINT32_MAX);
    VideoStreamConfigCaps caps;
    ASSERT_EQ(test::as<IAMStreamConfig>(pin)->GetStreamCaps(0, nullptr, &caps), S_OK);
    EXPECT_EQ(caps.minBitsPerSecond, 8000 * 6000 * 24);
    EXPECT_EQ(caps.maxBitsPerSecond, INT32_MAX);
}

TEST_F(SrcFilter, CheckMediaTypeTestsEachPart) {
    EXPECT_EQ(pin.CheckMediaType(nullptr), E_POINTER);
    EXPECT_EQ(pin.CheckMediaType(&static_cast<const MediaType&>(type())), S_OK);
    const auto check = [&](const std::function<void(MediaType&)>& change) {
        MediaType changed = type();
        change(changed);
        return pin.CheckMediaType(&changed);
    };
    EXPECT_EQ(check([](MediaType& t) { t.major = MEDIATYPE_Stream; }), E_INVALIDARG);
    EXPECT_EQ(check([](MediaType& t) { t.subtype = MEDIASUBTYPE_Avi; }), E_INVALIDARG);
    EXPECT_EQ(check([](MediaType& t) { t.fixedSize = false; }), E_INVALIDARG);
    EXPECT_EQ(check([](MediaType& t) { t.format.clear(); }), E_INVALIDARG);
    EXPECT_EQ(check([](MediaType& t) { t.format.resize(87); }), E_INVALIDARG);
    EXPECT_EQ(check([](MediaType& t) { t.formatType = FORMAT_VideoInfo2; }), S_OK);  // is not looked at
    const MediaType wide = typeWith([](VideoInfoHeader& h) { h.bitmap.biWidth = 8; });
    const MediaType topDown = typeWith([](VideoInfoHeader& h) { h.bitmap.biHeight = -4; });
    const MediaType deep = typeWith([](VideoInfoHeader& h) { h.bitmap.biBitCount = 32; });
    EXPECT_EQ(pin.CheckMediaType(&wide), E_INVALIDARG);
    EXPECT_EQ(pin.CheckMediaType(&topDown), E_INVALIDARG);
    EXPECT_EQ(pin.CheckMediaType(&deep), S_OK);
}

TEST_F(SrcFilter, SetMediaTypeTestsEachPart) {
    MediaType changed = type();
    EXPECT_EQ(pin.SetMediaType(nullptr), E_POINTER);
    EXPECT_EQ(pin.SetMediaType(&changed), S_OK);
    EXPECT_TRUE(pin.CurrentMediaType() == changed);
    const MediaType wide = typeWith([](VideoInfoHeader& h) { h.bitmap.biWidth = 8; });
    const MediaType high = typeWith([](VideoInfoHeader& h) { h.bitmap.biHeight = 8; });
    const MediaType deep = typeWith([](VideoInfoHeader& h) { h.bitmap.biBitCount = 32; });
    for (const MediaType* refused : {&wide, &high, &deep}) EXPECT_EQ(pin.SetMediaType(refused), E_INVALIDARG);
    changed.subtype = MEDIASUBTYPE_Avi;
    EXPECT_EQ(pin.SetMediaType(&changed), E_INVALIDARG);
    changed.format.clear();
    EXPECT_EQ(pin.SetMediaType(&changed), E_UNEXPECTED);
    EXPECT_TRUE(pin.CurrentMediaType() == type());
}

TEST_F(SrcFilter, SetFormatWithAProperTypeChangesNothing) {
    const auto config = test::as<IAMStreamConfig>(pin);
    EXPECT_EQ(config->SetFormat(nullptr), E_POINTER);
    const MediaType slow = typeWith([](VideoInfoHeader& h) { h.averageTimePerFrame = 10'000'000; });
    EXPECT_EQ(config->SetFormat(&slow), S_OK);
    MediaType now;
    EXPECT_EQ(config->GetFormat(&now), S_OK);
    EXPECT_EQ(now.AverageTimePerFrame(), 10'000'000 / 30);
    const MediaType wide = typeWith([](VideoInfoHeader& h) { h.bitmap.biWidth = 8; });
    EXPECT_EQ(config->SetFormat(&wide), E_INVALIDARG);
    EXPECT_EQ(config->GetFormat(nullptr), E_POINTER);
}

TEST_F(SrcFilter, ACapabilityAnswersAtIndex0ThoughTheCountIs0) {
    const auto config = test::as<IAMStreamConfig>(pin);
    int32_t count = -1, size = -1;
    EXPECT_EQ(config->GetNumberOfCapabilities(&count, &size), S_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(size, 128);
    EXPECT_EQ(config->GetNumberOfCapabilities(nullptr, nullptr), S_OK);
    MediaType out;
    EXPECT_EQ(config->GetStreamCaps(-1, &out, nullptr), E_INVALIDARG);
    EXPECT_EQ(config->GetStreamCaps(1, &out, nullptr), S_FALSE);
    EXPECT_EQ(config->GetStreamCaps(0, nullptr, nullptr), S_OK);
    camera.largestRates = {{0, 50}};
    VideoStreamConfigCaps caps;
    std::memset(static_cast<void*>(&caps), 0xEE, sizeof caps);
    EXPECT_EQ(config->GetStreamCaps(0, &out, &caps), S_OK);
    EXPECT_TRUE(out == type());
    VideoStreamConfigCaps expected;
    std::memset(static_cast<void*>(&expected), 0, sizeof expected);
    expected.guid = FORMAT_VideoInfo;
    for (auto* side :
         {expected.inputSize, expected.minCroppingSize, expected.maxCroppingSize, expected.minOutputSize}) {
        side[0] = width;
        side[1] = height;
    }
    expected.minFrameInterval = 10'000'000;
    expected.maxFrameInterval = 200'000;
    expected.minBitsPerSecond = frameBytes * 8;
    expected.maxBitsPerSecond = frameBytes * 50 * 8;
    EXPECT_EQ(std::memcmp(&caps, &expected, sizeof caps), 0);
}

TEST_F(SrcFilter, ThePinTellsItsCategory) {
    const auto property = test::as<IKsPropertySet>(pin);
    vex_guid category = {};
    uint32_t returned = 0;
    EXPECT_EQ(property->Get(AMPROPSETID_Pin, 0, &category, 16, &returned), S_OK);
    EXPECT_TRUE(category == PIN_CATEGORY_CAPTURE);
    EXPECT_EQ(returned, 16u);
    EXPECT_EQ(property->Get(AMPROPSETID_Pin, 0, &category, 16, nullptr), S_OK);
    EXPECT_EQ(property->Get(AMPROPSETID_Pin, 0, &category, 15, &returned), E_UNEXPECTED);
    EXPECT_EQ(property->Get(AMPROPSETID_Pin, 0, nullptr, 0, &returned), S_OK);
    EXPECT_EQ(property->Get(AMPROPSETID_Pin, 0, nullptr, 0, nullptr), E_POINTER);
    EXPECT_EQ(property->Get(MEDIATYPE_Video, 0, &category, 16, nullptr), HRESULT(0x80070492));
    EXPECT_EQ(property->Get(AMPROPSETID_Pin, 1, &category, 16, nullptr), HRESULT(0x80070490));
    uint32_t support = 0;
    EXPECT_EQ(property->QuerySupported(AMPROPSETID_Pin, 0, &support), S_OK);
    EXPECT_EQ(support, 1u);
    EXPECT_EQ(property->QuerySupported(MEDIATYPE_Video, 0, &support), HRESULT(0x80070492));
    EXPECT_EQ(property->QuerySupported(AMPROPSETID_Pin, 1, &support), HRESULT(0x80070490));
    EXPECT_EQ(property->Set(AMPROPSETID_Pin, 0, &category, 16), E_NOTIMPL);
}

TEST_F(SrcFilter, GetStateWhilePausedGivesCantCue) {
    FilterState state = State_Running;
    EXPECT_EQ(filter->GetState(0, nullptr), E_POINTER);
    EXPECT_EQ(filter->GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Stopped);
    connect();
    pause();
    EXPECT_EQ(filter->GetState(0, &state), VFW_S_CANT_CUE);
    EXPECT_EQ(state, State_Paused);
    run();
    EXPECT_EQ(filter->GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Running);
}

TEST_F(SrcFilter, FramesComeOutAsTheyWentIn) {
    connectAndRun();
    for (uint8_t i = 1; i <= 3; ++i) {
        clock.advance(40);
        ASSERT_EQ(push(i), S_OK);
        sink->waitFor(i);
    }
    const auto arrived = sink->arrived();
    for (uint8_t i = 1; i <= 3; ++i) {
        EXPECT_EQ(arrived[i - 1u].bytes, frameOf(i));
        EXPECT_EQ(arrived[i - 1u].start, (i - 1) * 400'000);
        EXPECT_EQ(arrived[i - 1u].stop, i * 400'000);
        EXPECT_TRUE(arrived[i - 1u].syncPoint);
    }
}

TEST_F(SrcFilter, AFrameOfAnotherSizeIsNotDelivered) {
    connectAndRun();
    const auto pixels = std::vector<uint8_t>(4 * frameBytes);
    EXPECT_EQ(internal->PushFrame(pixels.data(), width + 2, height), S_FALSE);
    EXPECT_EQ(internal->PushFrame(pixels.data(), width, height + 2), S_FALSE);
    EXPECT_EQ(internal->PushFrame(pixels.data(), 0, 0), S_FALSE);
    EXPECT_EQ(internal->PushFrame(nullptr, width, height), E_POINTER);
    EXPECT_EQ(push(1), S_OK);
    sink->waitFor(1);
    EXPECT_EQ(sink->arrived()[0].start, 0);  // what was refused left the time alone
}

TEST_F(SrcFilter, OnlyARunningFilterTakesFrames) {
    connect();
    EXPECT_EQ(push(1), S_FALSE);
    pause();
    EXPECT_EQ(push(2), S_FALSE);
    run();
    EXPECT_EQ(push(3), S_OK);
    sink->waitFor(1);
    pause();
    EXPECT_EQ(push(4), S_FALSE);
    stop();
    EXPECT_EQ(push(5), S_FALSE);
    EXPECT_EQ(sink->arrived()[0].bytes, frameOf(3));
    EXPECT_EQ(sink->count(), 1u);
}

TEST_F(SrcFilter, WithoutAPoolThereIsNoInterface) {
    ASSERT_EQ(filter->Run(0), S_OK);
    EXPECT_EQ(push(1), E_NOINTERFACE);
}

TEST_F(SrcFilter, TheFirstFrameLastsFromSetCameraAtMostOneAndAHalfSeconds) {
    clock.advance(300);
    connectAndRun();
    ASSERT_EQ(push(1), S_OK);
    sink->waitFor(1);
    EXPECT_EQ(sink->arrived()[0].start, 0);
    EXPECT_EQ(sink->arrived()[0].stop, 3'000'000);
    clock.advance(1501);
    ASSERT_EQ(push(2), S_OK);
    sink->waitFor(2);
    EXPECT_EQ(sink->arrived()[1].start, 3'000'000);
    EXPECT_EQ(sink->arrived()[1].stop, 18'000'000);
}

TEST_F(SrcFilter, TwoFramesInTheSameMillisecondGetAnEmptyRange) {
    connectAndRun();
    clock.advance(10);
    ASSERT_EQ(push(1), S_OK);
    ASSERT_EQ(push(2), S_OK);
    sink->waitFor(2);
    EXPECT_EQ(sink->arrived()[1].start, 100'000);
    EXPECT_EQ(sink->arrived()[1].stop, 100'000);
}

TEST_F(SrcFilter, TheTickMayWrap) {
    clock.setMilliseconds(0xFFFFFFFF0ull);
    ASSERT_EQ(internal->SetCamera(&camera), S_OK);
    connectAndRun();
    clock.advance(32);
    ASSERT_EQ(push(1), S_OK);
    sink->waitFor(1);
    EXPECT_EQ(sink->arrived()[0].stop, 320'000);
}

TEST_F(SrcFilter, TimesGoOnOverAStop) {
    connectAndRun();
    clock.advance(10);
    ASSERT_EQ(push(1), S_OK);
    sink->waitFor(1);
    stop();
    run();
    clock.advance(20);
    ASSERT_EQ(push(2), S_OK);
    sink->waitFor(2);
    EXPECT_EQ(sink->arrived()[1].start, 100'000);
    EXPECT_EQ(sink->arrived()[1].stop, 300'000);
}

TEST_F(SrcFilter, WithAllThreeBuffersInFlightTheNextPushFailsAtOnce) {
    connectAndRun();
    sink->hold(true);
    for (uint8_t i = 1; i <= 3; ++i) ASSERT_EQ(push(i), S_OK);
    sink->waitFor(3);
    EXPECT_EQ(push(4), VFW_E_TIMEOUT);
    sink->hold(false);
    EXPECT_EQ(push(5), S_OK);
    sink->waitFor(4);
    EXPECT_EQ(sink->arrived()[3].bytes, frameOf(5));
}

TEST_F(SrcFilter, FramesWaitInTheQueueWhileDownstreamIsStuckAndKeepTheirOrder) {
    connectAndRun();
    sink->block(true);
    for (uint8_t i = 1; i <= 3; ++i) ASSERT_EQ(push(i), S_OK);
    EXPECT_EQ(push(4), VFW_E_TIMEOUT);
    sink->block(false);
    sink->waitFor(3);
    for (uint8_t i = 1; i <= 3; ++i) EXPECT_EQ(sink->arrived()[i - 1u].bytes, frameOf(i));
}

TEST_F(SrcFilter, AReceiverThatRefusesEndsTheDeliveryUntilTheFilterWasStopped) {
    connectAndRun();
    sink->answer(E_FAIL);
    ASSERT_EQ(push(1), S_OK);
    sink->waitFor(1);
    sink->answer(S_OK);
    while (push(2) == S_OK) {
    }  // the queue fills up, and nobody takes from it
    EXPECT_EQ(push(2), VFW_E_TIMEOUT);
    EXPECT_EQ(sink->count(), 1u);
    stop();
    run();
    ASSERT_EQ(push(3), S_OK);
    sink->waitFor(2);
    EXPECT_EQ(sink->arrived()[1].bytes, frameOf(3));  // what waited in the queue is gone
}

TEST_F(SrcFilter, AStopLetsGoOfWhatWaits) {
    connectAndRun();
    sink->block(true);
    for (uint8_t i = 1; i <= 3; ++i) ASSERT_EQ(push(i), S_OK);
    sink->waitFor(1);
    stop();
    run();
    for (uint8_t i = 4; i <= 6; ++i) ASSERT_EQ(push(i), S_OK);  // all three are there again
    sink->waitFor(4);
    EXPECT_EQ(sink->arrived()[1].bytes, frameOf(4));
}

TEST_F(SrcFilter, ASampleThatIsSmallerThanAFrameGetsAsMuchAsItHolds) {
    connectAndRun();
    camera.height = 2 * int32_t(height);
    ASSERT_EQ(internal->SetCamera(&camera), S_OK);  // the pool is still that of the smaller frames
    const std::vector<uint8_t> large(2 * frameBytes, 7);
    ASSERT_EQ(internal->PushFrame(large.data(), width, 2 * height), S_OK);
    sink->waitFor(1);
    const std::vector<uint8_t> arrived = sink->arrived()[0].bytes;
    EXPECT_GE(arrived.size(), frameBytes);
    EXPECT_LT(arrived.size(), large.size());
    EXPECT_EQ(std::count(arrived.begin(), arrived.end(), 7), ptrdiff_t(arrived.size()));
}

TEST_F(SrcFilter, ThePoolHasAsManyBuffersAsDownstreamAskedFor) {
    const auto pool = makeRef<CMemAllocator>();
    sink->bring(Ref<CBaseAllocator>(pool));
    connect();
    EXPECT_EQ(pool->GetProperties().buffers, 3u);
    EXPECT_GE(pool->GetProperties().bufferBytes, frameBytes);
}

TEST_F(SrcFilter, InactiveOnAPinThatIsNotConnectedIsFine) { EXPECT_EQ(pin.Inactive(), S_OK); }

TEST_F(SrcFilter, AnyCommandButStopIsAnsweredWhileItRuns) {
    connectAndRun();
    auto& stream = dynamic_cast<CSourceStream&>(pin);
    EXPECT_EQ(stream.CallWorker(CSourceStream::CMD_PAUSE), S_OK);
    EXPECT_EQ(stream.CallWorker(CSourceStream::CMD_RUN), S_OK);
    EXPECT_EQ(stream.CallWorker(CSourceStream::CMD_INIT), E_UNEXPECTED);
    EXPECT_EQ(stream.CallWorker(CSourceStream::CMD_EXIT), E_UNEXPECTED);
    EXPECT_EQ(push(1), S_OK);
    sink->waitFor(1);
}

TEST_F(SrcFilter, AFrameTakesNothingFromTheHeap) {
    sink->countOnly();
    connectAndRun();
    const auto pixels = frameOf(1);
    ASSERT_EQ(push(1), S_OK);
    sink->waitFor(1);
    const size_t before = allocations(), there = sink->allocationsThere();
    for (size_t i = 2; i < 1000; ++i) {
        while (internal->PushFrame(pixels.data(), width, height) != S_OK) std::this_thread::yield();
    }
    EXPECT_EQ(allocations(), before);
    sink->waitFor(999);
    EXPECT_EQ(sink->allocationsThere(), there);
}

// How long it takes is for the benchmark to say: here a call that waited for the sink would never return.
TEST_F(SrcFilter, PushFrameReturnsWhileDownstreamIsStuckForGood) {
    connectAndRun();
    sink->block(true);
    int taken = 0, refused = 0;
    for (int i = 0; i < 10'000; ++i) {
        const HRESULT result = push(uint8_t(i));
        taken += result == S_OK;
        refused += result == VFW_E_TIMEOUT;
    }
    EXPECT_EQ(taken, 3);
    EXPECT_EQ(refused, 9'997);
}

TEST_F(SrcFilter, FramesMayComeWhileTheGraphStartsStopsAndIsRebuilt) {
    std::atomic<bool> done{false};
    std::thread cameraThread([&] {
        const auto pixels = frameOf(1);
        while (!done) {
            internal->PushFrame(pixels.data(), width, height);
            std::this_thread::yield();
        }
    });
    sink->countOnly();
    for (int i = 0; i < 50; ++i) {
        connect();
        run();
        sink->waitFor(sink->count() + 1);
        stop();
        test::disconnect(pin);
    }
    done = true;
    cameraThread.join();
}

}  // namespace src_filter_test
}  // namespace vexcap
