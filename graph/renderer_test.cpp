// The renderer: when a sample is shown, what ends a wait, and what the graph hears.
#include "graph/renderer.h"

#include <gtest/gtest.h>

#include <thread>

#include "graph/testing/log.h"
#include "graph/testing/numbered_source.h"
#include "graph/testing/screen.h"
#include "graph/testing/sent_samples.h"
#include "platform/fake/allocations.h"

namespace vexcap {
namespace renderer_test {

using test::EventLog;
using test::GraphEvent;
using test::HandClock;
using test::NumberedSource;
using test::PushFilter;
using test::Screen;
using Numbers = std::vector<int64_t>;
using Events = std::vector<GraphEvent>;

struct Renderer : ::testing::Test {
    void SetUp() override {
        ASSERT_EQ(source->pin.Connect(renderer->Input()), S_OK);
        ASSERT_EQ(source->Pause(), S_OK);
        renderer->JoinFilterGraph(&events, u"renderer");
        renderer->SetSyncSource(&clock);
    }
    ~Renderer() override {
        renderer->Stop();
        for (std::thread& thread : threads) thread.join();
        source->Stop();
        source->pin.Disconnect();
        renderer->Input().Disconnect();
        renderer->JoinFilterGraph(nullptr, u"");
    }
    /// On a thread of its own, for Receive may wait.
    void push(uint32_t number, int64_t start = 0, int64_t stop = -1) {
        threads.emplace_back([this, number, start, stop] { received.add(source->pin.Push(number, start, stop)); });
    }
    GraphEvent complete() const {
        return {EC_COMPLETE, S_OK, reinterpret_cast<intptr_t>(static_cast<CBaseFilter*>(renderer.get()))};
    }
    FilterState stateOf(uint32_t milliseconds, HRESULT expected) {
        FilterState state = State_Stopped;
        EXPECT_EQ(renderer->GetState(milliseconds, &state), expected);
        return state;
    }

    EventLog events;
    HandClock clock;
    test::Log<HRESULT> received;
    std::vector<std::thread> threads;
    const Ref<PushFilter> source = makeRef<PushFilter>();
    const Ref<Screen> renderer = makeRef<Screen>();
};

constexpr uint32_t forever = 60'000;

TEST_F(Renderer, RefusesSamplesWhileStopped) {
    EXPECT_EQ(source->pin.Push(1), VFW_E_WRONG_STATE);
    EXPECT_EQ(source->pin.DeliverEndOfStream(), VFW_E_WRONG_STATE);
    EXPECT_EQ(renderer->shown.count(), 0u);
    EXPECT_EQ(events.count(), 0u);
}

TEST_F(Renderer, ShowsASampleWithoutTimesAtOnce) {
    renderer->Run(0);
    EXPECT_EQ(source->pin.Push(1), S_OK);
    EXPECT_EQ(source->pin.Push(2), S_OK);
    EXPECT_EQ(renderer->numbers(), (Numbers{1, 2}));
    EXPECT_EQ(renderer->first.count(), 0u);
}

TEST_F(Renderer, ShowsALateSampleAtOnce) {
    clock.now = 5000;
    renderer->Run(1000);
    EXPECT_EQ(source->pin.Push(1, 4000, 4001), S_OK);
    EXPECT_EQ(renderer->numbers(), Numbers{1});
}

TEST_F(Renderer, WithoutAClockShowsEverySampleAtOnce) {
    renderer->SetSyncSource(nullptr);
    renderer->Run(0);
    EXPECT_EQ(source->pin.Push(1, 1'000'000'000'000, 1'000'000'000'001), S_OK);
    EXPECT_EQ(renderer->numbers(), Numbers{1});
}

TEST_F(Renderer, WaitsUntilStreamTimeReachesTheStartOfTheSample) {
    clock.now = 1'000'000;
    std::atomic<int64_t> shownAt{0};
    renderer->onRender = [&](CMediaSample&) { shownAt = clock.now.load(); };
    renderer->Run(1'000'000);
    push(1, 20'000, 30'000);                                      // 2 ms from now, but the clock stands
    while (renderer->Pause() != S_OK) std::this_thread::yield();  // until it is in there
    renderer->Run(1'000'000);
    clock.now = 1'019'999;
    EXPECT_EQ(renderer->shown.count(), 0u);
    clock.now = 1'020'000;
    ASSERT_TRUE(renderer->shown.waitFor(1));
    EXPECT_EQ(shownAt, 1'020'000);
    ASSERT_TRUE(received.waitFor(1));
    EXPECT_EQ(received.all(), std::vector<HRESULT>{S_OK});
}

TEST_F(Renderer, APauseIsCompleteWithTheFirstSample) {
    EXPECT_EQ(renderer->Pause(), S_FALSE);
    EXPECT_EQ(stateOf(0, VFW_S_STATE_INTERMEDIATE), State_Paused);
    EXPECT_EQ(stateOf(5, VFW_S_STATE_INTERMEDIATE), State_Paused);
    push(7);
    EXPECT_EQ(stateOf(forever, S_OK), State_Paused);
    EXPECT_EQ(renderer->first.all(), Numbers{7});
    EXPECT_EQ(renderer->shown.count(), 0u);
    EXPECT_EQ(renderer->Pause(), S_OK) << "the sample is there";
    EXPECT_EQ(renderer->Run(0), S_OK);
    ASSERT_TRUE(renderer->shown.waitFor(1));
    EXPECT_EQ(renderer->first.all(), Numbers{7});
    EXPECT_EQ(renderer->numbers(), Numbers{7});
}

TEST_F(Renderer, GetStateAsksForAPlace) { EXPECT_EQ(renderer->GetState(0, nullptr), E_POINTER); }

TEST_F(Renderer, APauseOutOfARunWaitsForASampleUnlessOneWaits) {
    renderer->Run(0);
    EXPECT_EQ(stateOf(0, S_OK), State_Running);
    EXPECT_EQ(renderer->Pause(), S_FALSE);
    EXPECT_EQ(stateOf(0, VFW_S_STATE_INTERMEDIATE), State_Paused);
    renderer->Run(0);
    EXPECT_EQ(stateOf(0, S_OK), State_Running);
}

TEST_F(Renderer, ASampleThatWaitsForItsTimeGoesOnWaitingThroughAPause) {
    renderer->Run(0);
    clock.now = -100'000'000'000;
    push(1, 0, 1);
    while (renderer->Pause() != S_OK) std::this_thread::yield();  // until it is in there
    clock.now = 10;
    EXPECT_EQ(renderer->shown.count(), 0u);
    renderer->Run(0);
    ASSERT_TRUE(renderer->shown.waitFor(1));
}

TEST_F(Renderer, AStopEndsAWaitForTheTimeWithoutShowing) {
    renderer->Run(0);
    push(1, 1'000'000'000'000, 1'000'000'000'001);
    while (renderer->Pause() != S_OK) std::this_thread::yield();
    renderer->Run(0);
    EXPECT_EQ(renderer->Stop(), S_OK);
    ASSERT_TRUE(received.waitFor(1));
    EXPECT_EQ(received.all(), std::vector<HRESULT>{S_OK});
    EXPECT_EQ(renderer->shown.count(), 0u);
    EXPECT_EQ(stateOf(0, S_OK), State_Stopped);
}

TEST_F(Renderer, AStopEndsAPauseThatHasNoSampleYet) {
    EXPECT_EQ(renderer->Pause(), S_FALSE);
    EXPECT_EQ(renderer->Stop(), S_OK);
    EXPECT_EQ(stateOf(0, S_OK), State_Stopped);
}

TEST_F(Renderer, AStopAndANewStartDoNotBringTheOldSampleBack) {
    for (uint32_t turn = 0; turn < 20; ++turn) {
        renderer->Pause();
        push(turn);
        ASSERT_TRUE(renderer->first.waitFor(turn + 1));
        renderer->Stop();
        source->pin.Pool()->Commit().ignore();  // the renderer's stop has decommitted the pool that it shares
        renderer->Run(0);
        ASSERT_TRUE(received.waitFor(turn + 1));
        renderer->Stop();
        source->pin.Pool()->Commit().ignore();
    }
    EXPECT_EQ(renderer->shown.count(), 0u);
    EXPECT_EQ(received.all(), std::vector<HRESULT>(20, S_OK));
}

TEST_F(Renderer, ASampleThatEndsBeforeItBeginsIsDroppedAndTheStreamGoesOn) {
    renderer->Run(0);
    const Ref<CMediaSample> sample = source->pin.Make(1);
    sample->SetTime(-10, -20);
    EXPECT_EQ(source->pin.Deliver(*sample), S_OK);
    EXPECT_EQ(renderer->shown.count(), 0u);
    sample->SetTime(-20, -20);
    EXPECT_EQ(source->pin.Deliver(*sample), S_OK);
    EXPECT_EQ(renderer->numbers(), Numbers{1});
    EXPECT_EQ(events.count(), 0u);
}

TEST_F(Renderer, ASecondSampleAtTheSameTimeIsAFailure) {
    renderer->Pause();
    push(1);
    ASSERT_TRUE(renderer->first.waitFor(1));
    EXPECT_EQ(source->pin.Push(2), E_UNEXPECTED);
    EXPECT_EQ(events.count(), 0u) << "only while running";
}

TEST_F(Renderer, TheEndOfTheStreamIsToldOnceAndOnlyWhenRunning) {
    renderer->Pause();
    EXPECT_EQ(source->pin.DeliverEndOfStream(), S_OK);
    EXPECT_EQ(stateOf(0, S_OK), State_Paused) << "the end completes a pause, too";
    EXPECT_EQ(events.count(), 0u);
    renderer->Run(0);
    EXPECT_EQ(events.all(), Events{complete()});
    EXPECT_EQ(source->pin.DeliverEndOfStream(), S_OK);
    renderer->Run(0);
    EXPECT_EQ(events.count(), 1u);
    EXPECT_EQ(source->pin.Push(1), S_FALSE) << "none is wanted behind the end";
    renderer->Pause();
    renderer->Run(0);
    EXPECT_EQ(events.all(), (Events{complete(), complete()})) << "once in each run";
}

TEST_F(Renderer, TheEndOfTheStreamWaitsForTheLastSample) {
    renderer->Pause();
    push(1);
    ASSERT_TRUE(renderer->first.waitFor(1));
    EXPECT_EQ(source->pin.DeliverEndOfStream(), S_OK);
    size_t toldBefore = 99;
    renderer->onRender = [&](CMediaSample&) { toldBefore = events.count(); };
    renderer->Run(0);
    ASSERT_TRUE(events.waitFor(1));
    EXPECT_EQ(toldBefore, 0u);
    EXPECT_EQ(renderer->numbers(), Numbers{1});
    EXPECT_EQ(events.all(), Events{complete()});
}

TEST_F(Renderer, AStopForgetsTheEndOfTheStream) {
    renderer->Run(0);
    source->pin.DeliverEndOfStream();
    renderer->Stop();
    source->pin.Pool()->Commit().ignore();
    renderer->Run(0);
    EXPECT_EQ(events.count(), 1u);
    EXPECT_EQ(source->pin.Push(1), S_OK);
    EXPECT_EQ(renderer->numbers(), Numbers{1});
}

TEST_F(Renderer, AFailureWhileRunningIsToldOnceAndRefusesWhatFollows) {
    renderer->Run(0);
    renderer->renderResult = VEX_E_DISK_FULL;
    EXPECT_EQ(source->pin.Push(1), VEX_E_DISK_FULL);
    renderer->renderResult = S_OK;
    EXPECT_EQ(source->pin.Push(2), VFW_E_RUNTIME_ERROR);
    EXPECT_EQ(events.all(), (Events{{EC_ERRORABORT, VEX_E_DISK_FULL, 0}}));
    EXPECT_EQ(renderer->numbers(), Numbers{1});
    renderer->Stop();
    source->pin.Pool()->Commit().ignore();
    renderer->Run(0);
    EXPECT_EQ(source->pin.Push(3), S_OK) << "a new start";
    EXPECT_EQ(renderer->numbers(), (Numbers{1, 3}));
}

TEST_F(Renderer, AFlushEndsTheWaitAndRefusesSamplesUntilItsEnd) {
    renderer->Pause();
    push(1);
    EXPECT_EQ(stateOf(forever, S_OK), State_Paused);
    EXPECT_EQ(source->pin.DeliverBeginFlush(), S_OK);
    ASSERT_TRUE(received.waitFor(1));
    EXPECT_EQ(received.all(), std::vector<HRESULT>{S_OK});
    EXPECT_EQ(stateOf(0, VFW_S_STATE_INTERMEDIATE), State_Paused) << "the pause waits for a new sample";
    EXPECT_EQ(source->pin.Push(2), S_FALSE);
    EXPECT_EQ(source->pin.DeliverEndOfStream(), S_FALSE);
    EXPECT_EQ(source->pin.DeliverEndFlush(), S_OK);
    push(3);
    EXPECT_EQ(stateOf(forever, S_OK), State_Paused);
    renderer->Run(0);
    ASSERT_TRUE(renderer->shown.waitFor(1));
    EXPECT_EQ(renderer->numbers(), Numbers{3});
}

TEST_F(Renderer, AFlushForgetsTheEndOfTheStreamAndAFailure) {
    renderer->Run(0);
    renderer->renderResult = E_FAIL;
    EXPECT_EQ(source->pin.Push(1), E_FAIL);
    renderer->renderResult = S_OK;
    source->pin.DeliverBeginFlush();
    source->pin.DeliverEndFlush();
    EXPECT_EQ(source->pin.Push(2), S_OK);
    source->pin.DeliverEndOfStream();
    source->pin.DeliverBeginFlush();
    source->pin.DeliverEndFlush();
    EXPECT_EQ(source->pin.Push(3), S_OK);
    EXPECT_EQ(renderer->numbers(), (Numbers{1, 2, 3}));
    source->pin.DeliverEndOfStream();
    EXPECT_EQ(events.all(), (Events{{EC_ERRORABORT, E_FAIL, 0}, complete(), complete()}));
}

TEST_F(Renderer, AStopEndsAFlushThatNobodyEnded) {
    renderer->Run(0);
    source->pin.DeliverBeginFlush();
    renderer->Stop();
    source->pin.Pool()->Commit().ignore();
    renderer->Run(0);
    EXPECT_EQ(source->pin.Push(1), S_OK);
}

TEST_F(Renderer, BothLocksAreHeldWhileASampleIsShown) {
    renderer->Run(0);
    test::Log<int> order;
    std::thread stopping;
    renderer->onRender = [&](CMediaSample&) {
        std::thread other([&] {
            renderer->Stop();
            order.add(2);
        });
        stopping.swap(other);
        order.add(1);
    };
    EXPECT_EQ(source->pin.Push(1), S_OK);
    stopping.join();
    EXPECT_EQ(order.all(), (std::vector<int>{1, 2}));
    EXPECT_EQ(renderer->numbers(), Numbers{1}) << "what was begun is shown to its end";
}

TEST_F(Renderer, ShowingASampleAllocatesNothing) {
    renderer->Run(0);
    for (uint32_t i = 0; i < 3; ++i) ASSERT_EQ(source->pin.Push(i), S_OK);
    const size_t before = allocations();
    for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(source->pin.Push(i, -2, -1 + int64_t(i)), S_OK);
    EXPECT_EQ(allocations(), before);
}

TEST_F(Renderer, StopsAndStartsWhileSamplesComeLeaveNothingBehind) {
    std::atomic<bool> done{false};
    threads.emplace_back([&] {
        for (uint32_t i = 0; !done; ++i) source->pin.Push(i % 4, (i % 3) * 10'000, (i % 3) * 10'000);
    });
    for (int turn = 0; turn < 200; ++turn) {
        if (turn % 3)
            renderer->Run(clock.now);
        else
            renderer->Pause();
        clock.now += 5'000;
        if (turn % 5 == 0) {
            source->pin.DeliverBeginFlush();
            source->pin.DeliverEndFlush();
        }
        renderer->Stop();
        source->pin.Pool()->Commit().ignore();
    }
    done = true;
    renderer->Stop();
    threads.back().join();
    threads.pop_back();
    source->Stop();
    EXPECT_TRUE(source->pin.Pool()->SetProperties({1, 1}).ok()) << "no sample is out any more";
}

TEST(UnconnectedRenderer, IsReadyAtOnceAndComplete) {
    EventLog events;
    const Ref<Screen> renderer = makeRef<Screen>();
    renderer->JoinFilterGraph(&events, u"");
    EXPECT_EQ(renderer->Pause(), S_OK);
    FilterState state;
    EXPECT_EQ(renderer->GetState(0, &state), S_OK);
    EXPECT_EQ(events.count(), 0u);
    EXPECT_EQ(renderer->Run(0), S_OK);
    ASSERT_EQ(events.count(), 1u);
    EXPECT_EQ(events.all().front().code, uint32_t(EC_COMPLETE));
    EXPECT_EQ(renderer->Stop(), S_OK);
}

TEST_F(Renderer, WithoutASeekingSourceSeekingIsNotOffered) {
    const auto seeking = queryInterface<IMediaSeeking>(renderer);
    ASSERT_TRUE(seeking);
    uint32_t capabilities;
    int64_t time;
    EXPECT_EQ(seeking->GetCapabilities(&capabilities), E_NOTIMPL);
    EXPECT_EQ(seeking->GetDuration(&time), E_NOTIMPL);
    EXPECT_EQ(seeking->GetCurrentPosition(&time), E_NOTIMPL);
    EXPECT_EQ(seeking->GetCurrentPosition(nullptr), E_POINTER);
    EXPECT_EQ(seeking->SetPosition(0), E_NOTIMPL);
}

TEST(RendererSeeking, GoesUpstreamAndThePositionIsThatOfTheSampleShownLast) {
    EventLog events;
    const auto source = makeRef<NumberedSource>(test::SourceOptions{.frames = 10, .interval = 1000, .seekable = true});
    const auto renderer = makeRef<Screen>();
    ASSERT_EQ(source->Output().Connect(renderer->Input()), S_OK);
    renderer->JoinFilterGraph(&events, u"");
    const auto seeking = queryInterface<IMediaSeeking>(renderer);
    ASSERT_TRUE(seeking);
    uint32_t capabilities = 0;
    int64_t time = 0;
    EXPECT_EQ(seeking->GetCapabilities(&capabilities), S_OK);
    EXPECT_EQ(capabilities, uint32_t(AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanGetDuration));
    EXPECT_EQ(seeking->GetDuration(&time), S_OK);
    EXPECT_EQ(time, 10'000);
    EXPECT_EQ(seeking->SetPosition(4000), S_OK);
    renderer->Run(0);
    source->Run(0);
    ASSERT_TRUE(events.waitFor(1));
    EXPECT_EQ(renderer->numbers(), (Numbers{4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(seeking->GetCurrentPosition(&time), S_OK);
    EXPECT_EQ(time, 9000);
    renderer->Stop();
    source->Stop();
    source->Output().Disconnect();
    renderer->Input().Disconnect();
}

}  // namespace renderer_test
}  // namespace vexcap
