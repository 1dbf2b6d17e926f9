// A source's worker: the five commands, their replies, and a stop whatever the worker waits for.
#include "graph/source.h"

#include <gtest/gtest.h>

#include <string>

#include "graph/testing/log.h"
#include "graph/testing/numbered_source.h"
#include "graph/testing/screen.h"
#include "platform/fake/allocations.h"

namespace vexcap {
namespace source_test {

using test::NumberedSource;
using test::Screen;

/// A source whose worker the test commands itself.
class CommandedSource final : public CSource {
public:
    class Pin final : public CSourceStream {
    public:
        explicit Pin(CommandedSource& owner) : CSourceStream(owner, u"Output") {}
        HRESULT GetMediaType(int32_t position, MediaType* out) override {
            if (position != 0) return CSourceStream::GetMediaType(position, out);
            *out = rgb24Type(8, 4, 0);
            return S_OK;
        }
        HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
        HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties&) override {
            return pool.SetProperties({1, 100}).code();
        }
        HRESULT OnThreadCreate() override {
            calls.add("create");
            return createAnswer;
        }
        HRESULT OnThreadDestroy() override {
            calls.add("destroy");
            return S_OK;
        }
        HRESULT DoBufferProcessingLoop() override {
            calls.add("loop");
            if (endless) {
                GetRequest();
                return S_FALSE;  // the command is ThreadProc's
            }
            return S_OK;
        }
        CBaseAllocator* Pool() const { return allocator.get(); }

        test::Log<std::string> calls;
        HRESULT createAnswer = S_OK;
        bool endless = false;
    };
    Pin pin{*this};

private:
    ~CommandedSource() override { pin.Close(); }
};

using Calls = std::vector<std::string>;
using Pin = CommandedSource::Pin;

TEST(SourceStream, OnlyInitBeginsIt) {
    const auto source = makeRef<CommandedSource>();
    Pin& pin = source->pin;
    ASSERT_TRUE(pin.Create());
    for (const uint32_t command : {Pin::CMD_PAUSE, Pin::CMD_RUN, Pin::CMD_STOP, Pin::CMD_EXIT})
        EXPECT_EQ(pin.CallWorker(command), E_UNEXPECTED) << command;
    EXPECT_EQ(pin.CallWorker(99), E_UNEXPECTED);
    EXPECT_EQ(pin.calls.count(), 0u);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_INIT), S_OK);
    EXPECT_EQ(pin.calls.all(), Calls{"create"});
    EXPECT_EQ(pin.CallWorker(Pin::CMD_EXIT), S_OK);
    pin.Close();
    EXPECT_EQ(pin.calls.all(), (Calls{"create", "destroy"}));
}

TEST(SourceStream, AFailureToGetReadyIsToldAndEndsTheThread) {
    const auto source = makeRef<CommandedSource>();
    Pin& pin = source->pin;
    pin.createAnswer = E_ACCESSDENIED;
    ASSERT_TRUE(pin.Create());
    EXPECT_EQ(pin.CallWorker(Pin::CMD_INIT), E_ACCESSDENIED);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_PAUSE), E_FAIL);
    EXPECT_EQ(pin.calls.all(), (Calls{"create", "destroy"}));
}

TEST(SourceStream, PauseAndRunEnterTheLoopEachTimeAndStopDoesNot) {
    const auto source = makeRef<CommandedSource>();
    Pin& pin = source->pin;
    ASSERT_TRUE(pin.Create());
    EXPECT_EQ(pin.CallWorker(Pin::CMD_INIT), S_OK);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_PAUSE), S_OK);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_STOP), S_OK);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_RUN), S_OK);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_STOP), S_OK);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_INIT), E_NOTIMPL);
    EXPECT_EQ(pin.CallWorker(99), E_NOTIMPL);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_EXIT), S_OK);
    pin.Close();
    EXPECT_EQ(pin.calls.all(), (Calls{"create", "loop", "loop", "destroy"}));
}

TEST(SourceStream, AStopThatTheLoopLeavesBehindIsAnsweredOnce) {
    const auto source = makeRef<CommandedSource>();
    Pin& pin = source->pin;
    pin.endless = true;
    ASSERT_TRUE(pin.Create());
    EXPECT_EQ(pin.CallWorker(Pin::CMD_INIT), S_OK);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_RUN), S_OK);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_STOP), S_OK);
    EXPECT_EQ(pin.CallWorker(Pin::CMD_EXIT), S_OK);
    pin.Close();
    EXPECT_EQ(pin.calls.all(), (Calls{"create", "loop", "destroy"}));
}

TEST(SourceStream, AnUnconnectedPinHasNoThread) {
    const auto source = makeRef<CommandedSource>();
    EXPECT_EQ(source->pin.Active(), S_OK);
    EXPECT_FALSE(source->pin.ThreadExists());
    EXPECT_EQ(source->pin.Inactive(), S_OK);
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_FALSE(source->pin.ThreadExists());
    EXPECT_EQ(source->Stop(), S_OK);
}

struct ConnectedSource : ::testing::Test {
    ~ConnectedSource() override {
        renderer->Stop();
        source->Stop();
        source->pin.Disconnect();
        renderer->Input().Disconnect();
    }
    void SetUp() override { ASSERT_EQ(source->pin.Connect(renderer->Input()), S_OK); }
    const Ref<CommandedSource> source = makeRef<CommandedSource>();
    const Ref<Screen> renderer = makeRef<Screen>();
};

TEST_F(ConnectedSource, APauseCommitsThePoolAndStartsTheLoopAndAStopUndoesBoth) {
    Pin& pin = source->pin;
    pin.endless = true;
    for (int turn = 0; turn < 2; ++turn) {
        ASSERT_EQ(source->Pause(), S_OK);
        EXPECT_EQ(source->State(), State_Paused);
        EXPECT_TRUE(pin.ThreadExists());
        EXPECT_TRUE(pin.Pool()->GetBuffer(AM_GBF_NOWAIT).ok());
        ASSERT_EQ(source->Stop(), S_OK);
        EXPECT_FALSE(pin.ThreadExists());
        EXPECT_EQ(pin.Pool()->GetBuffer(AM_GBF_NOWAIT).code(), VFW_E_NOT_COMMITTED);
    }
    EXPECT_EQ(pin.calls.all(), (Calls{"create", "loop", "destroy", "create", "loop", "destroy"}));
}

TEST_F(ConnectedSource, AStartThatFailsLeavesTheFilterStoppedAndStartsLater) {
    Pin& pin = source->pin;
    pin.createAnswer = VEX_E_BUSY;
    EXPECT_EQ(source->Run(0), VEX_E_BUSY);
    EXPECT_TRUE(source->IsStopped());
    EXPECT_FALSE(pin.ThreadExists());
    EXPECT_EQ(pin.Pool()->GetBuffer(AM_GBF_NOWAIT).code(), VFW_E_NOT_COMMITTED);
    pin.createAnswer = S_OK;
    EXPECT_EQ(source->Run(0), S_OK);
    EXPECT_EQ(source->Stop(), S_OK);
}

struct NumberedStream : ::testing::Test {
    ~NumberedStream() override {
        renderer->Stop();
        source->Stop();
        source->Output().Disconnect();
        renderer->Input().Disconnect();
    }
    /// -1: a stream without end.
    void make(int64_t count, uint32_t buffers = 3) {
        source = makeRef<NumberedSource>(
            test::SourceOptions{.pins = {{.buffers = buffers}}, .frames = count, .interval = 0});
        source->keepsTrack = false;
        ASSERT_EQ(source->Output().Connect(renderer->Input()), S_OK);
    }
    Ref<NumberedSource> source;
    const Ref<Screen> renderer = makeRef<Screen>();
};

TEST_F(NumberedStream, EverySampleArrivesInOrderAndOnce) {
    make(500);
    ASSERT_EQ(renderer->Run(0), S_OK);
    ASSERT_EQ(source->Run(0), S_OK);
    ASSERT_TRUE(renderer->shown.waitFor(500));
    ASSERT_TRUE(source->ends.waitFor(1));
    const std::vector<int64_t> shown = renderer->numbers();
    ASSERT_EQ(shown.size(), 500u);
    for (int64_t i = 0; i < 500; ++i) ASSERT_EQ(shown[size_t(i)], i);
}

TEST_F(NumberedStream, AStopComesThroughWhileTheWorkerWaitsForABuffer) {
    make(-1, 1);
    ASSERT_EQ(renderer->Run(0), S_OK);
    // The only buffer is kept, so that the worker waits for it.
    test::Log<Ref<CMediaSample>> kept;
    renderer->onRender = [&](CMediaSample& sample) { kept.add(Ref<CMediaSample>(&sample)); };
    ASSERT_EQ(source->Run(0), S_OK);
    ASSERT_TRUE(kept.waitFor(1));
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(kept.count(), 1u);
    // The stop may have come before the wait, too.
    ASSERT_EQ(source->ends.count(), 1u);
    EXPECT_TRUE(source->ends.all().front() == VFW_E_NOT_COMMITTED || source->ends.all().front() == S_FALSE);
    EXPECT_EQ(test::numberOf(*kept.all().front()), 0u) << "a sample outlives the stop";
}

TEST_F(NumberedStream, AStopOfTheReceiverFirstEndsTheLoopAndTheSourceStops) {
    make(-1);
    ASSERT_EQ(renderer->Pause(), S_FALSE);  // holds the first sample
    ASSERT_EQ(source->Pause(), S_OK);
    ASSERT_TRUE(renderer->first.waitFor(1));
    EXPECT_EQ(renderer->Stop(), S_OK);
    ASSERT_TRUE(source->ends.waitFor(1));
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(renderer->shown.count(), 0u);
}

TEST_F(NumberedStream, StartsAndStopsManyTimes) {
    make(-1);
    for (int turn = 0; turn < 50; ++turn) {
        ASSERT_GE(renderer->Run(0), 0);
        ASSERT_EQ(source->Run(0), S_OK);
        if (turn % 2) {
            ASSERT_EQ(renderer->Stop(), S_OK);
            ASSERT_EQ(source->Stop(), S_OK);
        } else {
            ASSERT_EQ(source->Stop(), S_OK);
            ASSERT_EQ(renderer->Stop(), S_OK);
        }
    }
}

TEST_F(NumberedStream, TheWayOfASampleAllocatesNothing) {
    make(-1);
    // The worker runs all of it: GetBuffer, Deliver, Receive and Release. The first sample may allocate.
    size_t before = 0;
    std::atomic<size_t> most{0};
    renderer->onRender = [&](CMediaSample& sample) {
        const int64_t number = test::numberOf(sample);
        if (number == 1) before = allocations();
        if (number > 1 && number < 200) most = std::max<size_t>(most, allocations() - before);
    };
    ASSERT_EQ(renderer->Run(0), S_OK);
    ASSERT_EQ(source->Run(0), S_OK);
    ASSERT_TRUE(renderer->shown.waitFor(200));
    renderer->Stop();
    source->Stop();
    EXPECT_EQ(most, 0u);
}

TEST(Source, ListsItsPins) {
    const auto source = makeRef<NumberedSource>(test::SourceOptions{});
    EXPECT_EQ(source->GetPinCount(), 1u);
    EXPECT_EQ(source->GetPin(0), &source->Output());
    EXPECT_EQ(source->GetPin(1), nullptr);
}

}  // namespace source_test
}  // namespace vexcap
