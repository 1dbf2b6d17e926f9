// Connection step by step, states of a filter and its pins, delivery.
#include "graph/base_filter.h"

#include <gtest/gtest.h>

#include <string>

#include "graph/testing/log.h"
#include "graph/testing/numbered_source.h"
#include "graph/testing/sent_samples.h"

namespace vexcap {
namespace base_filter_test {

using test::EventLog;
using test::GraphEvent;
using test::HandClock;
using test::PushFilter;
using Calls = std::vector<std::string>;

/// A receiver that writes down what is asked of it, and refuses what it is told to.
class Sink final : public CBaseFilter {
public:
    explicit Sink(bool* deadFlag = nullptr) : pin(*this), dead(deadFlag) {}
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }

    class Pin final : public CBaseInputPin {
    public:
        explicit Pin(Sink& owner) : CBaseInputPin(owner, u"Input") {}
        HRESULT CheckMediaType(const MediaType* candidate) override {
            if (!candidate) return E_POINTER;
            vex_bitmap_header header;
            calls.push_back("check " + std::to_string(candidate->GetBitmapHeader(header) ? header.biWidth : 0));
            return !takes || *candidate == *takes ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }
        HRESULT SetMediaType(const MediaType* chosen) override {
            if (setAnswer < 0) return setAnswer;
            calls.push_back("set");
            return CBaseInputPin::SetMediaType(chosen);
        }
        Result<Ref<CBaseAllocator>> GetAllocator() override {
            if (brought) return brought;
            return CBaseInputPin::GetAllocator();
        }
        HRESULT NotifyAllocator(CBaseAllocator& chosen, bool readOnly) override {
            if (&chosen == refusedPool || refusesPools) return E_FAIL;
            calls.push_back("pool");
            return CBaseInputPin::NotifyAllocator(chosen, readOnly);
        }
        AllocatorProperties GetAllocatorRequirements() override { return wanted; }
        HRESULT Receive(CMediaSample& sample) override {
            const HRESULT result = CheckStreaming();
            if (result != S_OK) return result;
            calls.push_back("sample " + std::to_string(test::numberOf(sample)));
            return S_OK;
        }
        HRESULT EndOfStream() override {
            calls.push_back("end");
            return CBaseInputPin::EndOfStream();
        }
        HRESULT NewSegment(int64_t start) override {
            calls.push_back("segment " + std::to_string(start));
            return CBaseInputPin::NewSegment(start);
        }
        HRESULT Active() override {
            calls.push_back("active");
            return activeAnswer;
        }
        HRESULT Inactive() override {
            calls.push_back("inactive");
            return CBaseInputPin::Inactive();
        }
        HRESULT Run(int64_t start) override {
            calls.push_back("run " + std::to_string(start));
            return runAnswer;
        }
        HRESULT CheckConnect(CBasePin& other) override {
            return connectAnswer < 0 ? connectAnswer : CBaseInputPin::CheckConnect(other);
        }
        HRESULT CompleteConnect(CBasePin&) override {
            calls.push_back("complete");
            return completeAnswer;
        }
        HRESULT BreakConnect() override {
            calls.push_back("break");
            return CBaseInputPin::BreakConnect();
        }
        CBaseAllocator* Pool() const { return allocator.get(); }
        using CBaseInputPin::TellRunTimeError;

        Calls calls;
        const MediaType* takes = nullptr;  // null: all
        Ref<CBaseAllocator> brought;
        CBaseAllocator* refusedPool = nullptr;
        bool refusesPools = false;
        AllocatorProperties wanted;
        HRESULT setAnswer = S_OK, connectAnswer = S_OK, completeAnswer = S_OK, activeAnswer = S_OK, runAnswer = S_OK;
    };
    Pin pin;
    using CBaseFilter::TimeUntil;

private:
    ~Sink() override {
        if (dead) *dead = true;
    }
    bool* dead;
};

struct Pins : ::testing::Test {
    ~Pins() override {
        sink->Stop();
        source->Stop();
        source->pin.Disconnect();
        sink->pin.Disconnect();
    }
    void connect() {
        ASSERT_EQ(source->pin.Connect(sink->pin), S_OK);
        sink->pin.calls.clear();
    }
    void expectUntouched() {
        EXPECT_FALSE(source->pin.IsConnected());
        EXPECT_FALSE(sink->pin.IsConnected());
        EXPECT_FALSE(source->pin.ConnectedTo());
        EXPECT_EQ(source->pin.CurrentMediaType(), MediaType{});
        EXPECT_EQ(sink->pin.CurrentMediaType(), MediaType{});
        EXPECT_EQ(source->pin.Pool(), nullptr);
        EXPECT_EQ(sink->pin.Pool(), nullptr);
        EXPECT_EQ(source->AddRef(), 2u);
        EXPECT_EQ(sink->AddRef(), 2u);
        source->Release();
        sink->Release();
    }
    const std::vector<MediaType> types = {rgb24Type(8, 4, 0), rgb24Type(16, 4, 0), rgb24Type(32, 4, 0)};
    const Ref<PushFilter> source = makeRef<PushFilter>(types);
    const Ref<Sink> sink = makeRef<Sink>();
};

TEST_F(Pins, KnowTheirFilterDirectionAndName) {
    EXPECT_EQ(&source->pin.Filter(), source.get());
    EXPECT_EQ(source->pin.Direction(), PinDirection::Output);
    EXPECT_EQ(sink->pin.Direction(), PinDirection::Input);
    EXPECT_EQ(source->pin.Name(), u"Output");
}

TEST_F(Pins, CountTheirReferencesAtTheFilter) {
    EXPECT_EQ(source->pin.AddRef(), 2u);
    EXPECT_EQ(source->AddRef(), 3u);
    EXPECT_EQ(source->pin.Release(), 2u);
    EXPECT_EQ(source->Release(), 1u);
}

TEST_F(Pins, AnswerForTheirIdentityAlone) {
    void* out = &out;
    EXPECT_EQ(source->pin.QueryInterface(IMediaSeeking::iid, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(source->pin.QueryInterface(VEX_IID_UNKNOWN, nullptr), E_POINTER);
    EXPECT_EQ(source->pin.QueryInterface(VEX_IID_UNKNOWN, &out), S_OK);
    EXPECT_EQ(out, static_cast<IVexUnknown*>(&source->pin));
    EXPECT_EQ(static_cast<IVexUnknown*>(out)->Release(), 1u);
}

TEST_F(Pins, PreferNoTypeByThemselves) {
    MediaType type;
    EXPECT_EQ(sink->pin.GetMediaType(-1, &type), E_INVALIDARG);
    EXPECT_EQ(sink->pin.GetMediaType(0, &type), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(sink->pin.GetMediaType(0, nullptr), E_POINTER);
    EXPECT_EQ(sink->pin.SetMediaType(nullptr), E_POINTER);
}

TEST_F(Pins, AgreeOnTheFirstTypeInTheOrderOfTheOutputThatTheInputTakes) {
    sink->pin.takes = &types[1];
    ASSERT_EQ(source->pin.Connect(sink->pin), S_OK);
    EXPECT_EQ(sink->pin.calls, (Calls{"check 8", "check 16", "set", "complete", "pool"}));
    EXPECT_EQ(source->pin.CurrentMediaType(), types[1]);
    EXPECT_EQ(sink->pin.CurrentMediaType(), types[1]);
    EXPECT_EQ(source->pin.ConnectedTo().get(), &sink->pin);
    EXPECT_EQ(sink->pin.ConnectedTo().get(), &source->pin);
    EXPECT_EQ(source->pin.Receiver(), &sink->pin);
    EXPECT_EQ(source->pin.Pool(), sink->pin.Pool());
    EXPECT_EQ(source->pin.Pool()->GetProperties().buffers, 3u);
    EXPECT_EQ(source->pin.Pool()->GetProperties().bufferBytes, types[1].sampleSize);
}

TEST_F(Pins, AChosenTypeLimitsTheChoice) {
    EXPECT_EQ(source->pin.Connect(sink->pin, &types[2]), S_OK);
    EXPECT_EQ(sink->pin.calls, (Calls{"check 32", "set", "complete", "pool"}));
    EXPECT_EQ(source->pin.CurrentMediaType(), types[2]);
}

TEST_F(Pins, AChosenTypeThatOneSideRefusesIsNoConnection) {
    const MediaType other = rgb24Type(64, 4, 0);
    EXPECT_EQ(source->pin.Connect(sink->pin, &other), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(sink->pin.calls, Calls{}) << "the output refuses it first";
    sink->pin.takes = &types[0];
    EXPECT_EQ(source->pin.Connect(sink->pin, &types[1]), VFW_E_NO_ACCEPTABLE_TYPES);
    expectUntouched();
}

TEST_F(Pins, WithoutACommonTypeNothingIsLeftBehind) {
    const MediaType other = rgb24Type(64, 4, 0);
    sink->pin.takes = &other;
    EXPECT_EQ(source->pin.Connect(sink->pin), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(sink->pin.calls, (Calls{"check 8", "check 16", "check 32"}));
    expectUntouched();
}

TEST_F(Pins, EachStepThatFailsUndoesTheConnection) {
    const auto fails = [&](HRESULT expected) {
        EXPECT_EQ(source->pin.Connect(sink->pin), expected);
        expectUntouched();
    };
    sink->pin.connectAnswer = VEX_E_BUSY;
    fails(VEX_E_BUSY);
    sink->pin.connectAnswer = S_OK;
    sink->pin.setAnswer = E_ACCESSDENIED;
    fails(E_ACCESSDENIED);
    sink->pin.setAnswer = S_OK;
    sink->pin.completeAnswer = E_OUTOFMEMORY;
    fails(E_OUTOFMEMORY);
    sink->pin.completeAnswer = S_OK;
    sink->pin.refusesPools = true;
    fails(E_FAIL);
    EXPECT_EQ(sink->pin.calls.back(), "break");
    sink->pin.refusesPools = false;
    EXPECT_EQ(source->pin.Connect(sink->pin), S_OK);
}

TEST_F(Pins, TheInputsPoolIsTakenWhenItHasOne) {
    sink->pin.brought = makeRef<CMemAllocator>();
    sink->pin.wanted = {7, 5000};
    connect();
    EXPECT_EQ(source->pin.Pool(), sink->pin.brought.get());
    EXPECT_EQ(sink->pin.Pool(), sink->pin.brought.get());
    EXPECT_EQ(sink->pin.brought->GetProperties().buffers, 7u);
    EXPECT_EQ(sink->pin.brought->GetProperties().bufferBytes, 5000u);
}

TEST_F(Pins, TheOutputMakesAPoolWhenTheInputsIsNotFit) {
    sink->pin.brought = makeRef<CMemAllocator>();
    ASSERT_TRUE(sink->pin.brought->SetProperties({1, 1}).ok());
    ASSERT_TRUE(sink->pin.brought->Commit().ok());  // cannot be set any more
    connect();
    EXPECT_NE(source->pin.Pool(), sink->pin.brought.get());
    EXPECT_EQ(source->pin.Pool(), sink->pin.Pool());
}

TEST_F(Pins, TheOutputMakesAPoolWhenTheInputGoesBackOnItsOwn) {
    sink->pin.brought = makeRef<CMemAllocator>();
    sink->pin.refusedPool = sink->pin.brought.get();
    connect();
    EXPECT_NE(source->pin.Pool(), sink->pin.brought.get());
    EXPECT_EQ(source->pin.Pool(), sink->pin.Pool());
}

TEST_F(Pins, ASecondConnectionIsRefused) {
    connect();
    const auto other = makeRef<Sink>();
    EXPECT_EQ(source->pin.Connect(other->pin), VFW_E_ALREADY_CONNECTED);
    const auto another = makeRef<PushFilter>();
    EXPECT_EQ(another->pin.Connect(sink->pin), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(source->pin.ConnectedTo().get(), &sink->pin);
}

TEST_F(Pins, ConnectionsChangeOnlyWhileStopped) {
    sink->Pause();
    EXPECT_EQ(source->pin.Connect(sink->pin), VFW_E_NOT_STOPPED);
    sink->Stop();
    source->Pause();
    EXPECT_EQ(source->pin.Connect(sink->pin), VFW_E_NOT_STOPPED);
    source->Stop();
    connect();
    source->Pause();
    EXPECT_EQ(source->pin.Disconnect(), VFW_E_NOT_STOPPED);
    EXPECT_TRUE(source->pin.IsConnected());
}

TEST_F(Pins, DisconnectBreaksOneEnd) {
    connect();
    EXPECT_EQ(source->pin.Disconnect(), S_OK);
    EXPECT_EQ(source->pin.Disconnect(), S_FALSE);
    EXPECT_FALSE(source->pin.IsConnected());
    EXPECT_TRUE(sink->pin.IsConnected());
    EXPECT_EQ(sink->pin.Disconnect(), S_OK);
    EXPECT_EQ(sink->pin.calls, Calls{"break"});
    expectUntouched();
}

TEST_F(Pins, EachEndKeepsTheOthersFilterAlive) {
    bool dead = false;
    {
        const auto other = makeRef<Sink>(&dead);
        ASSERT_EQ(source->pin.Connect(other->pin), S_OK);
    }
    EXPECT_FALSE(dead);
    EXPECT_EQ(source->AddRef(), 3u);
    source->Release();
    EXPECT_EQ(source->pin.Disconnect(), S_OK);
    EXPECT_TRUE(dead) << "the last reference to it was this end's";
    EXPECT_EQ(source->AddRef(), 2u) << "and it has given its own back";
    source->Release();
}

TEST_F(Pins, AFilterThatDisconnectsItselfAwayDoesSoToTheEnd) {
    bool dead = false;
    auto* const lonely = new Sink(&dead);
    ASSERT_EQ(source->pin.Connect(lonely->pin), S_OK);
    EXPECT_EQ(source->pin.Disconnect(), S_OK);
    EXPECT_EQ(lonely->pin.Disconnect(), S_OK);
    EXPECT_FALSE(dead);
    EXPECT_EQ(lonely->Release(), 0u);
    EXPECT_TRUE(dead);
}

TEST_F(Pins, DeliveryWithoutAReceiverHasItsCode) {
    const auto pool = makeRef<CMemAllocator>();
    ASSERT_TRUE(pool->SetProperties({1, 4}).ok() && pool->Commit().ok());
    EXPECT_EQ(source->pin.Deliver(*pool->GetBuffer(0).value()), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(source->pin.DeliverEndOfStream(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(source->pin.DeliverBeginFlush(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(source->pin.DeliverEndFlush(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(source->pin.DeliverNewSegment(0), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(source->pin.GetDeliveryBuffer(0).code(), VFW_E_NO_ALLOCATOR);
    EXPECT_EQ(source->pin.Active(), VFW_E_NO_ALLOCATOR);
    EXPECT_EQ(source->pin.Inactive(), VFW_E_NO_ALLOCATOR);
    EXPECT_EQ(sink->pin.Inactive(), VFW_E_NO_ALLOCATOR);
}

TEST_F(Pins, DeliveryBuffersComeOfThePoolAndNoWaitMeansNone) {
    connect();
    EXPECT_EQ(source->pin.GetDeliveryBuffer(AM_GBF_NOWAIT).code(), VFW_E_NOT_COMMITTED);
    source->Pause();
    std::vector<Ref<CMediaSample>> all;
    for (int i = 0; i < 3; ++i) all.push_back(source->pin.GetDeliveryBuffer(AM_GBF_NOWAIT).value());
    EXPECT_EQ(source->pin.GetDeliveryBuffer(AM_GBF_NOWAIT).code(), VFW_E_TIMEOUT);
}

TEST_F(Pins, SamplesAreTakenInEachStateButStopped) {
    connect();
    source->Pause();
    EXPECT_EQ(source->pin.Push(1), VFW_E_WRONG_STATE);
    sink->Pause();
    EXPECT_EQ(source->pin.Push(2), S_OK);
    sink->Run(0);
    EXPECT_EQ(source->pin.Push(3), S_OK);
    source->pin.DeliverBeginFlush();
    EXPECT_EQ(source->pin.Push(4), S_FALSE);
    source->pin.DeliverEndFlush();
    EXPECT_EQ(source->pin.Push(5), S_OK);
    source->pin.DeliverNewSegment(77);
    source->pin.DeliverEndOfStream();
    EXPECT_EQ(sink->pin.calls, (Calls{"active", "sample 2", "run 0", "sample 3", "sample 5", "segment 77", "end"}));
}

TEST_F(Pins, ARunTimeErrorIsToldOnceWhileRunningAndRefusesSamplesUntilTheNextStart) {
    EventLog events;
    sink->JoinFilterGraph(&events, u"");
    connect();
    source->Pause();
    sink->Pause();
    sink->pin.TellRunTimeError(E_FAIL);
    EXPECT_EQ(events.count(), 0u);
    EXPECT_EQ(source->pin.Push(1), S_OK);
    sink->Run(0);
    sink->pin.TellRunTimeError(E_ACCESSDENIED);
    sink->pin.TellRunTimeError(E_FAIL);
    EXPECT_EQ(events.all(), (std::vector<GraphEvent>{{EC_ERRORABORT, E_ACCESSDENIED, 0}}));
    EXPECT_EQ(source->pin.Push(2), VFW_E_RUNTIME_ERROR);
    source->pin.DeliverBeginFlush();
    source->pin.DeliverEndFlush();
    EXPECT_EQ(source->pin.Push(3), S_OK);
    sink->pin.TellRunTimeError(E_FAIL);
    sink->Stop();
    source->Pause();
    source->pin.Pool()->Commit().ignore();
    sink->Pause();
    EXPECT_EQ(source->pin.Push(4), S_OK);
}

TEST_F(Pins, StatesTakeConnectedPinsAlong) {
    connect();
    EXPECT_EQ(sink->State(), State_Stopped);
    EXPECT_EQ(sink->Stop(), S_OK);
    EXPECT_EQ(sink->Pause(), S_OK);
    EXPECT_EQ(sink->State(), State_Paused);
    EXPECT_EQ(sink->Pause(), S_OK);
    EXPECT_EQ(sink->Run(5), S_OK);
    EXPECT_EQ(sink->State(), State_Running);
    EXPECT_EQ(sink->Run(6), S_OK);
    EXPECT_EQ(sink->Pause(), S_OK);
    EXPECT_EQ(sink->Run(7), S_OK);
    EXPECT_EQ(sink->Stop(), S_OK);
    EXPECT_EQ(sink->Run(8), S_OK);
    EXPECT_EQ(sink->pin.calls, (Calls{"active", "run 5", "run 7", "inactive", "active", "run 8"}));
}

TEST_F(Pins, APinThatIsNotConnectedTakesNoPartInAState) {
    EXPECT_EQ(sink->Run(0), S_OK);
    EXPECT_EQ(sink->Stop(), S_OK);
    EXPECT_EQ(sink->pin.calls, Calls{});
}

TEST_F(Pins, AFailedStartLeavesTheFilterStopped) {
    connect();
    sink->pin.activeAnswer = E_OUTOFMEMORY;
    EXPECT_EQ(sink->Run(0), E_OUTOFMEMORY);
    EXPECT_TRUE(sink->IsStopped());
    EXPECT_EQ(sink->pin.calls, (Calls{"active", "inactive"}));
}

TEST_F(Pins, AFailedRunLeavesTheFilterPaused) {
    connect();
    sink->pin.runAnswer = E_FAIL;
    EXPECT_EQ(sink->Run(0), E_FAIL);
    EXPECT_EQ(sink->State(), State_Paused);
}

TEST_F(Pins, AStartCommitsThePoolAndAStopDecommitsIt) {
    connect();
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_TRUE(source->pin.Pool()->GetBuffer(AM_GBF_NOWAIT).ok());
    EXPECT_EQ(source->Stop(), S_OK);
    EXPECT_EQ(source->pin.Pool()->GetBuffer(AM_GBF_NOWAIT).code(), VFW_E_NOT_COMMITTED);
}

TEST_F(Pins, ADisconnectedPoolOutlivesItsPinsWhileASampleIsOut) {
    connect();
    source->Pause();
    sink->Pause();
    const Ref<CMediaSample> kept = source->pin.Make(9);
    sink->Stop();
    source->Stop();
    EXPECT_EQ(source->pin.Disconnect(), S_OK);
    EXPECT_EQ(sink->pin.Disconnect(), S_OK);
    EXPECT_EQ(test::numberOf(*kept), 9u);
}

TEST_F(Pins, AStateIsAskedForWithAPlace) {
    FilterState state = State_Running;
    EXPECT_EQ(sink->GetState(0, nullptr), E_POINTER);
    EXPECT_EQ(sink->GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Stopped);
}

TEST_F(Pins, StreamTimeCountsFromTheStartOfTheRun) {
    HandClock clock;
    clock.now = 1000;
    EXPECT_EQ(sink->StreamTime(), 0);
    sink->SetSyncSource(&clock);
    EXPECT_EQ(sink->StreamTime(), 0);
    sink->Run(900);
    EXPECT_EQ(sink->StreamTime(), 100);
    EXPECT_EQ(sink->TimeUntil(150), 50);
    EXPECT_EQ(sink->TimeUntil(100), 0);
    EXPECT_EQ(sink->TimeUntil(-5), 0);
    clock.now = 800;
    EXPECT_EQ(sink->StreamTime(), -100);
    sink->Pause();
    EXPECT_EQ(sink->StreamTime(), 0);
    sink->Run(800);
    sink->SetSyncSource(nullptr);
    EXPECT_EQ(sink->StreamTime(), 0);
    EXPECT_EQ(sink->TimeUntil(1'000'000), 0);
    sink->Stop();
}

TEST_F(Pins, EventsGoToTheGraphThatTheFilterIsIn) {
    EventLog events;
    EXPECT_EQ(sink->NotifyEvent(EC_COMPLETE, 1, 2), VFW_E_NOT_IN_GRAPH);
    sink->JoinFilterGraph(&events, u"name");
    EXPECT_EQ(sink->Name(), u"name");
    EXPECT_EQ(sink->NotifyEvent(EC_COMPLETE, 1, 2), S_OK);
    sink->JoinFilterGraph(nullptr, u"");
    EXPECT_EQ(sink->NotifyEvent(EC_COMPLETE, 3, 4), VFW_E_NOT_IN_GRAPH);
    EXPECT_EQ(events.all(), (std::vector<GraphEvent>{{EC_COMPLETE, 1, 2}}));
}

}  // namespace base_filter_test
}  // namespace vexcap
