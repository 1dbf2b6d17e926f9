// Transforms: types and pools through a filter in the middle, samples that are changed, dropped or broken.
#include "graph/transform.h"

#include <gtest/gtest.h>

#include <thread>

#include "graph/testing/log.h"
#include "graph/testing/numbered_source.h"
#include "graph/testing/screen.h"
#include "graph/testing/sent_samples.h"
#include "graph/testing/transforms.h"
#include "platform/fake/allocations.h"

namespace vexcap {
namespace transform_test {

using test::AddInPlace;
using test::EventLog;
using test::GraphEvent;
using test::NumberedSource;
using test::PushFilter;
using test::Screen;
using Numbers = std::vector<int64_t>;
using Events = std::vector<GraphEvent>;

/// Makes a picture of twice the width; the number in it is negated.
class Widen final : public CTransformFilter {
public:
    test::Log<int> calls;  // 1: start, 2: a sample, 3: stop
    HRESULT startAnswer = S_OK;
    std::atomic<HRESULT> answer{S_OK};
    std::function<void()> onTransform = [] {};

private:
    static MediaType Wide(const MediaType& in) {
        vex_bitmap_header header = {};
        in.GetBitmapHeader(header);
        return rgb24Type(header.biWidth * 2, header.biHeight, 0);
    }
    HRESULT CheckInputType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        return candidate->subtype == MEDIASUBTYPE_RGB24 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT CheckTransform(const MediaType& in, const MediaType& out) override {
        return out == Wide(in) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT GetMediaType(int32_t position, MediaType* out) override {
        if (position > 0) return VFW_S_NO_MORE_ITEMS;
        *out = Wide(input->CurrentMediaType());
        return S_OK;
    }
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties&) override {
        return pool.SetProperties({1, output->CurrentMediaType().sampleSize}).code();
    }
    HRESULT StartStreaming() override {
        calls.add(1);
        return startAnswer;
    }
    HRESULT StopStreaming() override {
        calls.add(3);
        return S_OK;
    }
    HRESULT Transform(CMediaSample& in, CMediaSample& out) override {
        calls.add(2);
        onTransform();
        test::setNumber(out, ~test::numberOf(in));
        return answer;
    }
};

/// source -> filter -> renderer, run by the test.
template <typename Filter>
struct Chain {
    explicit Chain(Ref<Filter> middle) : filter(std::move(middle)) {
        filter->JoinFilterGraph(&events, u"");
        renderer->JoinFilterGraph(&renderEvents, u"");
    }
    ~Chain() {
        stop();
        for (std::thread& thread : threads) thread.join();
        disconnect();
        filter->JoinFilterGraph(nullptr, u"");
        renderer->JoinFilterGraph(nullptr, u"");
    }
    void connect() {
        ASSERT_EQ(source->pin.Connect(filter->Input()), S_OK);
        ASSERT_EQ(filter->Output().Connect(renderer->Input()), S_OK);
    }
    void disconnect() {
        source->pin.Disconnect();
        filter->Input().Disconnect();
        filter->Output().Disconnect();
        renderer->Input().Disconnect();
    }
    void run() {
        ASSERT_GE(renderer->Run(0), 0);
        ASSERT_EQ(filter->Run(0), S_OK);
        ASSERT_EQ(source->Run(0), S_OK);
    }
    void pause() {
        ASSERT_GE(renderer->Pause(), 0);
        ASSERT_EQ(filter->Pause(), S_OK);
        ASSERT_EQ(source->Pause(), S_OK);
    }
    void stop() {
        renderer->Stop();
        filter->Stop();
        source->Stop();
    }
    void push(uint32_t number) {
        threads.emplace_back([this, number] { received.add(source->pin.Push(number)); });
    }
    EventLog events, renderEvents;
    test::Log<HRESULT> received;
    std::vector<std::thread> threads;
    const Ref<PushFilter> source = makeRef<PushFilter>();
    const Ref<Filter> filter;
    const Ref<Screen> renderer = makeRef<Screen>();
};

struct Transform : ::testing::Test, Chain<Widen> {
    Transform() : Chain<Widen>(makeRef<Widen>()) {}
};
struct InPlace : ::testing::Test, Chain<AddInPlace> {
    InPlace() : Chain<AddInPlace>(makeRef<AddInPlace>(100u)) {}
};

TEST_F(Transform, HasOneInputAndOneOutput) {
    EXPECT_EQ(filter->GetPinCount(), 2u);
    EXPECT_EQ(filter->GetPin(0), &filter->Input());
    EXPECT_EQ(filter->GetPin(1), &filter->Output());
    EXPECT_EQ(filter->GetPin(2), nullptr);
    EXPECT_EQ(filter->Input().Direction(), PinDirection::Input);
    EXPECT_EQ(filter->Output().Direction(), PinDirection::Output);
}

TEST_F(Transform, TheOutputWaitsForTheInput) {
    MediaType type;
    EXPECT_EQ(filter->Output().GetMediaType(0, &type), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(filter->Output().GetMediaType(-1, &type), E_INVALIDARG);
    EXPECT_EQ(filter->Output().GetMediaType(0, nullptr), E_POINTER);
    EXPECT_EQ(filter->Output().CheckMediaType(&type), E_UNEXPECTED);
    EXPECT_EQ(filter->Output().CheckMediaType(nullptr), E_POINTER);
    EXPECT_EQ(filter->Output().Connect(renderer->Input()), E_UNEXPECTED);
    connect();
    EXPECT_EQ(filter->Output().GetMediaType(0, &type), S_OK);
    EXPECT_EQ(type, rgb24Type(16, 4, 0));
    EXPECT_EQ(filter->Output().GetMediaType(1, &type), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(renderer->Input().CurrentMediaType(), rgb24Type(16, 4, 0));
}

TEST_F(Transform, AnInputThatIsConnectedAnewMustFitTheOutput) {
    connect();
    source->pin.Disconnect();
    filter->Input().Disconnect();
    const auto narrow = makeRef<PushFilter>(std::vector{rgb24Type(4, 4, 0)});
    EXPECT_EQ(narrow->pin.Connect(filter->Input()), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(source->pin.Connect(filter->Input()), S_OK);
}

TEST_F(Transform, MakesASampleOfEachSampleWithItsTimesAndFlags) {
    connect();
    run();
    bool syncPoint = false, discontinuity = true;
    int64_t start = 0, stop = 0;
    renderer->onRender = [&](CMediaSample& sample) {
        EXPECT_TRUE(sample.GetTime(start, stop).ok());
        EXPECT_EQ(sample.GetSize(), 48u * 4u);
        syncPoint = sample.IsSyncPoint();
        discontinuity = sample.IsDiscontinuity();
    };
    {
        const Ref<CMediaSample> sample = source->pin.Make(5, -20, -10);
        sample->SetTime(-20, -10);
        sample->SetSyncPoint(true);
        EXPECT_EQ(source->pin.Deliver(*sample), S_OK);
    }
    EXPECT_EQ(renderer->numbers(), Numbers{~5});
    EXPECT_EQ(start, -20);
    EXPECT_EQ(stop, -10);
    EXPECT_TRUE(syncPoint);
    EXPECT_FALSE(discontinuity);
    renderer->onRender = [&](CMediaSample& sample) {
        EXPECT_EQ(sample.GetTime(start, stop).code(), VFW_E_SAMPLE_TIME_NOT_SET);
        syncPoint = sample.IsSyncPoint();
        discontinuity = sample.IsDiscontinuity();
    };
    const Ref<CMediaSample> sample = source->pin.Make(6);
    sample->SetDiscontinuity(true);
    EXPECT_EQ(source->pin.Deliver(*sample), S_OK);
    EXPECT_FALSE(syncPoint);
    EXPECT_TRUE(discontinuity);
}

TEST_F(Transform, ADroppedSampleIsNoEndOfTheStream) {
    connect();
    run();
    filter->answer = S_FALSE;
    EXPECT_EQ(source->pin.Push(1), S_OK);
    filter->answer = S_OK;
    EXPECT_EQ(source->pin.Push(2), S_OK);
    EXPECT_EQ(renderer->numbers(), Numbers{~2});
    EXPECT_EQ(events.count(), 0u);
}

TEST_F(Transform, AFailureIsToldOnceWhileRunningAndRefusesWhatFollows) {
    connect();
    run();
    filter->answer = E_OUTOFMEMORY;
    EXPECT_EQ(source->pin.Push(1), E_OUTOFMEMORY);
    EXPECT_EQ(source->pin.Push(2), VFW_E_RUNTIME_ERROR);
    EXPECT_EQ(events.all(), (Events{{EC_ERRORABORT, E_OUTOFMEMORY, 0}}));
    filter->answer = S_OK;
    stop();
    run();
    EXPECT_EQ(source->pin.Push(3), S_OK);
    EXPECT_EQ(renderer->numbers(), Numbers{~3});
}

TEST_F(Transform, AFailureDownstreamIsToldThereAlone) {
    connect();
    run();
    renderer->renderResult = E_FAIL;
    EXPECT_EQ(source->pin.Push(1), E_FAIL);
    EXPECT_EQ(events.count(), 0u);
    EXPECT_EQ(renderEvents.all(), (Events{{EC_ERRORABORT, E_FAIL, 0}}));
}

TEST_F(Transform, StreamingBeginsAndEndsOnceAroundTheSamples) {
    connect();
    pause();
    filter->Pause();
    renderer->Run(0);
    filter->Run(0);
    EXPECT_EQ(source->pin.Push(1), S_OK);
    stop();
    stop();
    EXPECT_EQ(filter->calls.all(), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(source->pin.Push(2), VFW_E_NOT_COMMITTED);
}

TEST_F(Transform, AStreamThatCannotBeginLeavesTheFilterStopped) {
    connect();
    filter->startAnswer = VEX_E_NO_ENCODER;
    EXPECT_EQ(filter->Pause(), VEX_E_NO_ENCODER);
    EXPECT_TRUE(filter->IsStopped());
    EXPECT_EQ(filter->calls.all(), std::vector<int>{1});
    filter->startAnswer = S_OK;
    run();
    EXPECT_EQ(source->pin.Push(1), S_OK);
}

TEST_F(Transform, WithoutAReceiverThereIsNoStream) {
    ASSERT_EQ(source->pin.Connect(filter->Input()), S_OK);
    EXPECT_EQ(filter->Run(0), S_OK);
    EXPECT_EQ(source->Run(0), S_OK);
    EXPECT_EQ(source->pin.Push(1), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(filter->calls.count(), 0u);
}

TEST_F(Transform, EndFlushAndSegmentGoThrough) {
    connect();
    pause();
    EXPECT_EQ(source->pin.DeliverNewSegment(500), S_OK);
    EXPECT_EQ(source->pin.DeliverBeginFlush(), S_OK);
    EXPECT_EQ(source->pin.Push(1), S_FALSE);
    EXPECT_EQ(source->pin.DeliverEndOfStream(), S_FALSE);
    EXPECT_EQ(source->pin.DeliverEndFlush(), S_OK);
    renderer->Run(0);
    filter->Run(0);
    EXPECT_EQ(source->pin.Push(2), S_OK);
    EXPECT_EQ(source->pin.DeliverEndOfStream(), S_OK);
    EXPECT_EQ(renderEvents.count(), 1u);
    EXPECT_EQ(source->pin.Push(3), S_FALSE);
    EXPECT_EQ(renderer->numbers(), Numbers{~2});
}

TEST_F(Transform, AStopComesThroughWhileASampleWaitsDownstream) {
    connect();
    pause();
    push(1);
    ASSERT_TRUE(renderer->first.waitFor(1));
    EXPECT_EQ(filter->Stop(), S_OK) << "though the renderer holds the sample";
    EXPECT_EQ(filter->calls.all(), (std::vector<int>{1, 2, 3}));
    renderer->Stop();
    ASSERT_TRUE(received.waitFor(1));
}

TEST_F(Transform, AStopComesThroughWhileTheFilterWaitsForABuffer) {
    connect();
    run();
    test::Log<Ref<CMediaSample>> kept;  // the only one
    renderer->onRender = [&](CMediaSample& sample) { kept.add(Ref<CMediaSample>(&sample)); };
    EXPECT_EQ(source->pin.Push(1), S_OK);
    push(2);
    EXPECT_EQ(filter->Stop(), S_OK);
    ASSERT_TRUE(received.waitFor(1));
    EXPECT_LT(received.all().front(), 0);
    EXPECT_EQ(events.count(), 0u) << "a stop is no failure";
}

TEST_F(Transform, AStopWaitsForTheSampleThatIsBeingMade) {
    connect();
    run();
    test::Log<int> order;
    std::thread stopping;
    filter->onTransform = [&] {
        std::thread other([&] {
            filter->Stop();
            order.add(2);
        });
        stopping.swap(other);
        while (!filter->IsStopped()) std::this_thread::yield();
        order.add(1);
    };
    source->pin.Push(1);
    stopping.join();
    EXPECT_EQ(order.all(), (std::vector<int>{1, 2}));
    EXPECT_EQ(filter->calls.all(), (std::vector<int>{1, 2, 3}));
}

TEST_F(InPlace, InputAndOutputShareOnePoolAndTheSampleStaysWhereItIs) {
    connect();
    EXPECT_EQ(renderer->Input().CurrentMediaType(), source->pin.CurrentMediaType());
    run();
    const uint8_t* memory;
    {
        const Ref<CMediaSample> sample = source->pin.Make(5);
        memory = sample->GetPointer();
        EXPECT_EQ(source->pin.Deliver(*sample), S_OK);
    }
    EXPECT_EQ(renderer->numbers(), Numbers{105});
    EXPECT_EQ(renderer->shown.all().front().memory, memory);
}

TEST_F(InPlace, SamplesOfOthersAreCopiedIntoAPoolOfItsOwn) {
    source->pin.readOnly = true;
    connect();
    run();
    const Ref<CMediaSample> sample = source->pin.Make(5);
    sample->SetTime(-2, -1);
    sample->SetSyncPoint(true);
    ASSERT_TRUE(sample->SetActualDataLength(50).ok());
    sample->GetPointer()[49] = 77;
    size_t length = 0;
    uint8_t last = 0;
    int64_t start = 0, stop = 0;
    bool syncPoint = false;
    renderer->onRender = [&](CMediaSample& shown) {
        length = shown.GetActualDataLength();
        last = shown.GetPointer()[49];
        EXPECT_TRUE(shown.GetTime(start, stop).ok());
        syncPoint = shown.IsSyncPoint();
    };
    EXPECT_EQ(source->pin.Deliver(*sample), S_OK);
    EXPECT_EQ(test::numberOf(*sample), 5u) << "upstream's sample is untouched";
    EXPECT_EQ(renderer->numbers(), Numbers{105});
    EXPECT_NE(renderer->shown.all().front().memory, sample->GetPointer());
    EXPECT_EQ(length, 50u);
    EXPECT_EQ(last, 77);
    EXPECT_EQ(start, -2);
    EXPECT_EQ(stop, -1);
    EXPECT_TRUE(syncPoint);
}

TEST_F(InPlace, ADroppedSampleComesBackToThePoolAndTheStreamGoesOn) {
    filter->answer = [](uint32_t number) { return number % 3 ? S_FALSE : S_OK; };
    connect();
    run();
    for (uint32_t i = 0; i < 7; ++i) EXPECT_EQ(source->pin.Push(i), S_OK);
    EXPECT_EQ(renderer->numbers(), (Numbers{100, 103, 106}));
}

TEST_F(InPlace, AFailureIsToldOnceWhileRunning) {
    filter->answer = [](uint32_t) { return E_POINTER; };
    connect();
    run();
    EXPECT_EQ(source->pin.Push(1), E_POINTER);
    EXPECT_EQ(source->pin.Push(2), VFW_E_RUNTIME_ERROR);
    EXPECT_EQ(events.all(), (Events{{EC_ERRORABORT, E_POINTER, 0}}));
}

TEST_F(InPlace, TakesOnlyTheTypeOfTheInputFurther) {
    ASSERT_EQ(source->pin.Connect(filter->Input()), S_OK);
    const MediaType other = rgb24Type(16, 4, 0);
    EXPECT_EQ(filter->Output().CheckMediaType(&other), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(filter->Output().CheckMediaType(&source->pin.CurrentMediaType()), S_OK);
}

TEST_F(InPlace, AnInputThatIsConnectedAnewSharesTheNewPool) {
    connect();
    source->pin.Disconnect();
    filter->Input().Disconnect();
    const auto other = makeRef<PushFilter>(std::vector{rgb24Type(8, 4, 0)}, 5u);
    ASSERT_EQ(other->pin.Connect(filter->Input()), S_OK);
    renderer->Run(0);
    filter->Run(0);
    other->Run(0);
    const uint8_t* memory;
    {
        const Ref<CMediaSample> sample = other->pin.Make(1);
        memory = sample->GetPointer();
        EXPECT_EQ(other->pin.Deliver(*sample), S_OK);
    }
    EXPECT_EQ(renderer->shown.all().front().memory, memory);
    stop();
    other->Stop();
    other->pin.Disconnect();
}

TEST_F(InPlace, AChainOfThemSharesOnePoolToo) {
    const auto second = makeRef<AddInPlace>(1000u);
    ASSERT_EQ(source->pin.Connect(filter->Input()), S_OK);
    ASSERT_EQ(filter->Output().Connect(second->Input()), S_OK);
    ASSERT_EQ(second->Output().Connect(renderer->Input()), S_OK);
    renderer->Run(0);
    second->Run(0);
    filter->Run(0);
    source->Run(0);
    const uint8_t* memory;
    {
        const Ref<CMediaSample> sample = source->pin.Make(1);
        memory = sample->GetPointer();
        EXPECT_EQ(source->pin.Deliver(*sample), S_OK);
    }
    EXPECT_EQ(renderer->numbers(), Numbers{1101});
    EXPECT_EQ(renderer->shown.all().front().memory, memory);
    renderer->Stop();
    second->Stop();
    second->Input().Disconnect();
    second->Output().Disconnect();
}

TEST_F(InPlace, TheWayOfASampleAllocatesNothing) {
    connect();
    run();
    for (uint32_t i = 0; i < 3; ++i) ASSERT_EQ(source->pin.Push(i), S_OK);
    const size_t before = allocations();
    for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(source->pin.Push(i), S_OK);
    EXPECT_EQ(allocations(), before);
}

TEST_F(Transform, TheWayOfASampleAllocatesNothing) {
    connect();
    run();
    for (uint32_t i = 0; i < 3; ++i) ASSERT_EQ(source->pin.Push(i), S_OK);
    const size_t before = allocations();
    for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(source->pin.Push(i), S_OK);
    EXPECT_EQ(allocations(), before);
}

TEST(TransformSeeking, GoesThroughToTheSource) {
    const auto source = makeRef<NumberedSource>(test::SourceOptions{.frames = 10, .interval = 1000, .seekable = true});
    const auto filter = makeRef<AddInPlace>(1u);
    const auto renderer = makeRef<Screen>();
    EXPECT_FALSE(queryInterface<IMediaSeeking>(&filter->Output()));
    ASSERT_EQ(source->Output().Connect(filter->Input()), S_OK);
    ASSERT_EQ(filter->Output().Connect(renderer->Input()), S_OK);
    int64_t duration = 0;
    EXPECT_EQ(queryInterface<IMediaSeeking>(renderer)->GetDuration(&duration), S_OK);
    EXPECT_EQ(duration, 10'000);
    source->Output().Disconnect();
    filter->Input().Disconnect();
    filter->Output().Disconnect();
    renderer->Input().Disconnect();
}

TEST(TransformStream, ASourceThroughAFilterStartsAndStopsManyTimes) {
    const auto source = makeRef<NumberedSource>(test::SourceOptions{.interval = 0});
    const auto filter = makeRef<AddInPlace>(1u);
    const auto renderer = makeRef<Screen>();
    ASSERT_EQ(source->Output().Connect(filter->Input()), S_OK);
    ASSERT_EQ(filter->Output().Connect(renderer->Input()), S_OK);
    EventLog events;
    filter->JoinFilterGraph(&events, u"");
    renderer->JoinFilterGraph(&events, u"");
    for (int turn = 0; turn < 60; ++turn) {
        const bool runs = turn % 2 == 0;
        ASSERT_GE(runs ? renderer->Run(0) : renderer->Pause(), 0);
        ASSERT_EQ(runs ? filter->Run(0) : filter->Pause(), S_OK);
        ASSERT_EQ(runs ? source->Run(0) : source->Pause(), S_OK);
        ASSERT_EQ(renderer->Stop(), S_OK);
        ASSERT_EQ(filter->Stop(), S_OK);
        ASSERT_EQ(source->Stop(), S_OK);
    }
    EXPECT_EQ(events.count(), 0u) << "no stop looks like a failure";
    filter->JoinFilterGraph(nullptr, u"");
    renderer->JoinFilterGraph(nullptr, u"");
    source->Output().Disconnect();
    filter->Input().Disconnect();
    filter->Output().Disconnect();
    renderer->Input().Disconnect();
}

}  // namespace transform_test
}  // namespace vexcap
