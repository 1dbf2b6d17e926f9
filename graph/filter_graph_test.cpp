// The filter graph: building, running, events, seeking.
#include "graph/filter_graph.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "graph/testing/graphs.h"
#include "graph/testing/numbered_source.h"
#include "platform/fake/fake_window.h"

namespace vexcap::test {
namespace filter_graph_test {

constexpr auto rgb = rgb24Type;

Ref<NumberedSource> sourceOf(int64_t frames, bool seekable = false, std::chrono::microseconds pace = {}) {
    return makeRef<NumberedSource>(SourceOptions{.frames = frames, .pace = pace, .seekable = seekable});
}

using Strings = std::vector<std::string>;

/// Writes down what the graph asks of it, and answers as told.
class Step final : public CTransInPlaceFilter {
public:
    explicit Step(std::string stepName, std::shared_ptr<Strings> target = std::make_shared<Strings>())
        : name(std::move(stepName)), log(std::move(target)) {}
    HRESULT Pause() override {
        log->push_back(name + " pause");
        return pauseResult < 0 ? pauseResult : CTransInPlaceFilter::Pause();
    }
    HRESULT Run(int64_t start) override {
        log->push_back(name + " run");
        started = start;
        return runResult < 0 ? runResult : CTransInPlaceFilter::Run(start);
    }
    HRESULT Stop() override {
        log->push_back(name + " stop");
        if (!stays) CTransInPlaceFilter::Stop();
        return stopResult;
    }
    HRESULT GetState(uint32_t milliseconds, FilterState* out) override {
        const HRESULT result = CTransInPlaceFilter::GetState(milliseconds, out);
        return result == S_OK ? stateResult : result;
    }
    HRESULT pauseResult = S_OK, runResult = S_OK, stopResult = S_OK, stateResult = S_OK;
    bool stays = false;
    int64_t started = -1;

private:
    ~Step() override = default;
    using CTransInPlaceFilter::Transform;
    HRESULT CheckInputType(const MediaType*) override { return S_OK; }
    HRESULT Transform(CMediaSample&) override { return S_OK; }

    const std::string name;
    const std::shared_ptr<Strings> log;
};

/// Turned by hand.
class HandClock final : public IReferenceClock {
public:
    int64_t GetTime() override { return now; }
    std::atomic<int64_t> now{0};
};

/// source -> near -> far -> screen
struct Chain : World {
    explicit Chain(int64_t frames = 0) : source(sourceOf(frames)) {
        // The graph's order of joining must not be what decides.
        add(near, u"near");
        add(screen, u"screen");
        add(source, u"source");
        add(far, u"far");
        graph.ConnectDirect(source->Output(), near->Input());
        graph.ConnectDirect(near->Output(), far->Input());
        graph.ConnectDirect(far->Output(), screen->Input());
    }
    const std::shared_ptr<Strings> log = std::make_shared<Strings>();
    Ref<NumberedSource> source;
    Ref<Step> near = makeRef<Step>("near", log), far = makeRef<Step>("far", log);
    Ref<Screen> screen = makeRef<Screen>();
};

/// source -> screen
struct Player : World {
    explicit Player(int64_t frames, bool seekable = true, std::chrono::microseconds pace = {})
        : source(add(sourceOf(frames, seekable, pace), u"source")), screen(add(makeRef<Screen>(), u"screen")) {
        graph.ConnectDirect(source->Output(), screen->Input());
    }
    Ref<NumberedSource> source;
    Ref<Screen> screen;
};

// --- building

TEST(FilterGraph, ANameThatIsTakenGetsANumber) {
    World world;
    const auto first = makeRef<Screen>(), second = makeRef<Screen>(), third = makeRef<Screen>();
    EXPECT_EQ(world.graph.AddFilter(first, u"View"), S_OK);
    EXPECT_EQ(world.graph.AddFilter(second, u"View"), S_OK);
    EXPECT_EQ(world.graph.AddFilter(third, u"View"), S_OK);
    EXPECT_EQ(first->Name(), u"View");
    EXPECT_EQ(second->Name(), u"View 2");
    EXPECT_EQ(third->Name(), u"View 3");
    EXPECT_EQ(world.graph.FindFilterByName(u"View 2").get(), second.get());
    EXPECT_EQ(world.graph.FindFilterByName(u"View 4"), nullptr);
    EXPECT_EQ(world.graph.Filters().size(), 3u);
}

TEST(FilterGraph, AFilterJoinsOnceAndNoneIsNone) {
    World world;
    const auto screen = world.add(makeRef<Screen>(), u"View");
    EXPECT_EQ(world.graph.AddFilter(nullptr, u"None"), E_POINTER);
    EXPECT_EQ(world.graph.AddFilter(screen, u"Again"), E_INVALIDARG);
    EXPECT_EQ(screen->Name(), u"View");
    EXPECT_EQ(world.graph.Filters().size(), 1u);
}

TEST(FilterGraph, RemovingDisconnectsAndLetsGo) {
    Player player(1);
    EXPECT_EQ(player.graph.RemoveFilter(*player.screen), S_OK);
    EXPECT_FALSE(player.source->Output().IsConnected());
    EXPECT_FALSE(player.screen->Input().IsConnected());
    EXPECT_EQ(player.screen->NotifyEvent(EC_COMPLETE, 0, 0), VFW_E_NOT_IN_GRAPH);
    player.screen->AddRef();
    EXPECT_EQ(player.screen->Release(), 1u) << "the test holds the only reference";
    EXPECT_EQ(player.graph.RemoveFilter(*player.screen), VFW_E_NOT_IN_GRAPH);
}

TEST(FilterGraph, TheEndOfAGraphStopsAndLetsGoOfItsFilters) {
    Ref<NumberedSource> source;
    Ref<Screen> screen;
    {
        Player player(-1);
        source = player.source;
        screen = player.screen;
        ASSERT_GE(player.graph.Run(), 0);
    }
    EXPECT_TRUE(source->IsStopped());
    EXPECT_FALSE(source->Output().IsConnected());
    for (CBaseFilter* const filter :
         {static_cast<CBaseFilter*>(source.get()), static_cast<CBaseFilter*>(screen.get())}) {
        filter->AddRef();
        EXPECT_EQ(filter->Release(), 1u);
    }
}

TEST(FilterGraph, NothingIsBuiltUnlessItIsStopped) {
    for (const bool running : {false, true}) {
        Player player(-1);
        ASSERT_GE(running ? player.graph.Run() : player.graph.Pause(), 0);
        EXPECT_EQ(player.graph.AddFilter(makeRef<Screen>(), u"more"), VFW_E_NOT_STOPPED);
        EXPECT_EQ(player.graph.RemoveFilter(*player.screen), VFW_E_NOT_STOPPED);
        EXPECT_EQ(player.graph.ConnectDirect(player.source->Output(), player.screen->Input()), VFW_E_NOT_STOPPED);
        EXPECT_EQ(player.graph.Connect(player.source->Output(), player.screen->Input()), VFW_E_NOT_STOPPED);
        EXPECT_EQ(player.graph.Disconnect(player.screen->Input()), VFW_E_NOT_STOPPED);
        EXPECT_EQ(player.graph.RenderFile(u"a.avi"), VFW_E_NOT_STOPPED);
        EXPECT_TRUE(player.screen->Input().IsConnected());
    }
}

TEST(FilterGraph, PinsOfStrangersAreNotConnected) {
    World world;
    const auto source = world.add(sourceOf(1), u"source");
    const auto stranger = makeRef<Screen>();
    EXPECT_EQ(world.graph.ConnectDirect(source->Output(), stranger->Input()), VFW_E_NOT_IN_GRAPH);
    EXPECT_EQ(world.graph.Connect(source->Output(), stranger->Input()), VFW_E_NOT_IN_GRAPH);
    EXPECT_EQ(world.graph.Disconnect(stranger->Input()), VFW_E_NOT_IN_GRAPH);
    EXPECT_FALSE(source->Output().IsConnected());
}

TEST(FilterGraph, ADirectConnectionTakesTheTypeThatIsAskedFor) {
    World world;
    const MediaType small = rgb(8, 8, 0), large = rgb(32, 8, 0), other = rgb(9, 9, 0);
    const auto source =
        world.add(makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {large, small}}}}), u"source");
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    EXPECT_EQ(world.graph.ConnectDirect(source->Output(), screen->Input(), &other), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_FALSE(screen->Input().IsConnected());
    EXPECT_EQ(world.graph.ConnectDirect(source->Output(), screen->Input(), &small), S_OK);
    EXPECT_EQ(screen->Input().CurrentMediaType(), small);
    EXPECT_EQ(world.graph.ConnectDirect(source->Output(), screen->Input()), VFW_E_ALREADY_CONNECTED);
}

TEST(FilterGraph, NoConnectionLeadsInACircle) {
    Chain chain;
    ASSERT_EQ(chain.graph.Disconnect(chain.near->Input()), S_OK);
    ASSERT_EQ(chain.graph.Disconnect(chain.screen->Input()), S_OK);
    EXPECT_EQ(chain.graph.ConnectDirect(chain.far->Output(), chain.near->Input()), VFW_E_CANNOT_CONNECT);
    EXPECT_EQ(chain.graph.ConnectDirect(chain.far->Output(), chain.far->Input()), VFW_E_CANNOT_CONNECT);
    EXPECT_FALSE(chain.near->Input().IsConnected());
}

TEST(FilterGraph, DisconnectBreaksBothEnds) {
    Player player(1);
    EXPECT_EQ(player.graph.Disconnect(player.screen->Input()), S_OK);
    EXPECT_FALSE(player.source->Output().IsConnected());
    EXPECT_FALSE(player.screen->Input().IsConnected());
    EXPECT_EQ(player.graph.Disconnect(player.screen->Input()), S_FALSE);
    ASSERT_EQ(player.graph.ConnectDirect(player.source->Output(), player.screen->Input()), S_OK);
    EXPECT_EQ(player.graph.Disconnect(player.source->Output()), S_OK);
    EXPECT_FALSE(player.screen->Input().IsConnected());
}

TEST(FilterGraph, AConverterIsPutInWhereTypesDoNotFit) {
    World world;
    const auto source =
        world.add(makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {rawType()}}}, .frames = 5}), u"source");
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    ASSERT_EQ(world.graph.Connect(source->Output(), screen->Input()), S_OK);
    EXPECT_EQ(world.graph.Filters().size(), 3u);
    EXPECT_EQ(screen->Input().CurrentMediaType(), toRgb24(rawType()));
    ASSERT_GE(world.graph.Run(), 0);
    EXPECT_EQ(world.event().code, EC_COMPLETE);
    EXPECT_EQ(screen->shown.count(), 5u);
}

TEST(FilterGraph, ATypeThatFitsGoesBeforeAConverter) {
    World world;
    const auto source =
        world.add(makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {rawType(), rgb(8, 8, 0)}}}}), u"s");
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    ASSERT_EQ(world.graph.Connect(source->Output(), screen->Input()), S_OK);
    EXPECT_EQ(world.graph.Filters().size(), 2u);
    EXPECT_EQ(screen->Input().CurrentMediaType(), rgb(8, 8, 0));
}

TEST(FilterGraph, WithoutAConverterTypesThatDoNotFitStayApart) {
    World world;
    world.converters = false;
    const auto source = world.add(makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {rawType()}}}}), u"source");
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    EXPECT_EQ(world.graph.Connect(source->Output(), screen->Input()), VFW_E_CANNOT_CONNECT);
    EXPECT_FALSE(source->Output().IsConnected());
    EXPECT_EQ(world.graph.Filters().size(), 2u);
}

TEST(FilterGraph, APinThatIsTakenGetsNoConverter) {
    World world;
    const auto source = world.add(makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {rawType()}}}}), u"source");
    const auto first = world.add(sourceOf(1), u"first");
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    ASSERT_EQ(world.graph.ConnectDirect(first->Output(), screen->Input()), S_OK);
    EXPECT_EQ(world.graph.Connect(source->Output(), screen->Input()), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(world.graph.Filters().size(), 3u);
}

/// Takes no type at all.
class Refuser final : public CBaseRenderer {
public:
    Refuser() : CBaseRenderer(u"Input") {}
    CBaseInputPin& Input() { return static_cast<CBaseInputPin&>(*GetPin(0)); }

private:
    ~Refuser() override = default;
    HRESULT CheckMediaType(const MediaType*) override { return VFW_E_TYPE_NOT_ACCEPTED; }
    HRESULT DoRenderSample(CMediaSample&) override { return S_OK; }
};

TEST(FilterGraph, AConverterWhoseOutputNobodyTakesGoesAgain) {
    World world;
    const auto source = world.add(makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {rawType()}}}}), u"source");
    const auto refuser = world.add(makeRef<Refuser>(), u"refuser");
    EXPECT_EQ(world.graph.Connect(source->Output(), refuser->Input()), VFW_E_CANNOT_CONNECT);
    EXPECT_EQ(world.graph.Filters().size(), 2u);
    EXPECT_FALSE(source->Output().IsConnected());
}

TEST(FilterGraph, ACompressorGoesBetweenTwoConnectedPinsAndOutAgain) {
    World world;
    const auto source = world.add(sourceOf(5), u"source");
    const auto mux = world.add(makeRef<Recode>(toFile), u"mux");
    const auto writer = world.add(makeRef<Writer>(), u"writer");
    ASSERT_EQ(world.graph.ConnectDirect(mux->Output(), writer->Input()), E_UNEXPECTED) << "its input comes first";
    ASSERT_EQ(world.graph.ConnectDirect(source->Output(), mux->Input()), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(mux->Output(), writer->Input()), S_OK);

    // One that the multiplexer does not take: the old connection comes back.
    const auto refused = world.add(makeRef<Recode>([](const MediaType& from) { return toFile(from); }), u"refused");
    const Ref<CBasePin> upstream = mux->Input().ConnectedTo();
    auto& output = static_cast<CBaseOutputPin&>(*upstream);
    ASSERT_EQ(world.graph.Disconnect(mux->Input()), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(output, refused->Input()), S_OK);
    ASSERT_LT(world.graph.ConnectDirect(refused->Output(), mux->Input()), 0);
    ASSERT_EQ(world.graph.RemoveFilter(*refused), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(output, mux->Input()), S_OK);

    const auto compressor = world.add(makeRef<Recode>([](const MediaType& from) { return from; }), u"compressor");
    ASSERT_EQ(world.graph.Disconnect(mux->Input()), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(output, compressor->Input()), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(compressor->Output(), mux->Input()), S_OK);
    ASSERT_GE(world.graph.Run(), 0);
    EXPECT_EQ(world.event().code, EC_COMPLETE);
    ASSERT_EQ(world.graph.Stop(), S_OK);
    EXPECT_EQ(writer->numbers(), (std::vector<int64_t>{0, 1, 2, 3, 4}));
}

TEST(FilterGraph, AFileGoesToTheFirstFilterThatTakesIt) {
    World world;
    world.file = sourceOf(3);
    const auto busy = world.add(sourceOf(1), u"busy");
    const auto taken = world.add(makeRef<Screen>(), u"taken");
    ASSERT_EQ(world.graph.ConnectDirect(busy->Output(), taken->Input()), S_OK);
    world.add(makeRef<Refuser>(), u"refuser");
    const auto first = world.add(makeRef<Screen>(), u"first"), second = world.add(makeRef<Screen>(), u"second");
    ASSERT_EQ(world.graph.RenderFile(u"/films/a.avi"), S_OK);
    EXPECT_TRUE(first->Input().IsConnected());
    EXPECT_FALSE(second->Input().IsConnected());
    EXPECT_EQ(world.graph.FindFilterByName(u"/films/a.avi").get(), world.file.get());
}

TEST(FilterGraph, AFileIsConvertedWhereNobodyTakesItAsItIs) {
    World world;
    world.file = makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {rawType()}}}, .frames = 3});
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    ASSERT_EQ(world.graph.RenderFile(u"a.avi"), S_OK);
    EXPECT_EQ(screen->Input().CurrentMediaType(), toRgb24(rawType()));
    EXPECT_EQ(world.graph.Filters().size(), 3u);
}

TEST(FilterGraph, AFileThatIsNotShownLeavesNothing) {
    World world;
    EXPECT_EQ(world.graph.RenderFile(u"gone.avi"), VEX_E_FILE_NOT_FOUND);
    const auto refuser = world.add(makeRef<Refuser>(), u"refuser");
    world.file = makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {rawType()}}}});
    EXPECT_EQ(world.graph.RenderFile(u"a.avi"), VFW_E_CANNOT_RENDER);
    EXPECT_EQ(world.graph.Filters(), std::vector<Ref<CBaseFilter>>{refuser});
    world.file = makeRef<Refuser>();  // a source without an output
    EXPECT_EQ(world.graph.RenderFile(u"a.avi"), VFW_E_CANNOT_RENDER);
    EXPECT_EQ(world.graph.Filters(), std::vector<Ref<CBaseFilter>>{refuser});
}

// --- running

TEST(FilterGraph, ReceiversChangeTheirStateBeforeWhoFeedsThem) {
    Chain chain;
    ASSERT_GE(chain.graph.Run(), 0);
    ASSERT_GE(chain.graph.Pause(), 0);
    ASSERT_EQ(chain.graph.Stop(), S_OK);
    EXPECT_EQ(*chain.log, (Strings{"far pause", "near pause", "far run", "near run", "far pause", "near pause",
                                   "far stop", "near stop"}));
}

TEST(FilterGraph, AStateThatStandsIsLeftAlone) {
    Chain chain;
    EXPECT_EQ(chain.graph.Stop(), S_OK);
    EXPECT_TRUE(chain.log->empty());
    ASSERT_GE(chain.graph.Run(), 0);
    chain.log->clear();
    EXPECT_EQ(chain.graph.Run(), S_OK);
    EXPECT_TRUE(chain.log->empty());
    ASSERT_GE(chain.graph.Pause(), 0);
    chain.log->clear();
    EXPECT_EQ(chain.graph.Pause(), S_OK);
    EXPECT_TRUE(chain.log->empty());
}

TEST(FilterGraph, AFailureToPauseStopsWhatHadBegun) {
    for (const bool run : {false, true}) {
        Chain chain;
        chain.near->pauseResult = E_ACCESSDENIED;
        EXPECT_EQ(run ? chain.graph.Run() : chain.graph.Pause(), E_ACCESSDENIED);
        for (const Ref<CBaseFilter>& filter : chain.graph.Filters()) EXPECT_TRUE(filter->IsStopped());
        FilterState state = State_Running;
        EXPECT_EQ(chain.graph.GetState(0, &state), S_OK);
        EXPECT_EQ(state, State_Stopped);
        // And it can begin again.
        chain.near->pauseResult = S_OK;
        EXPECT_GE(chain.graph.Run(), 0);
        EXPECT_EQ(chain.screen->State(), State_Running);
    }
}

TEST(FilterGraph, AFailureToRunStopsAll) {
    Chain chain(-1);
    chain.near->runResult = E_OUTOFMEMORY;
    EXPECT_EQ(chain.graph.Run(), E_OUTOFMEMORY);
    for (const Ref<CBaseFilter>& filter : chain.graph.Filters()) EXPECT_TRUE(filter->IsStopped());
    EXPECT_TRUE(isWhole(*chain.source->Pool()));
}

TEST(FilterGraph, AFailureToStopIsToldAndTheOthersStop) {
    Chain chain(-1);
    ASSERT_GE(chain.graph.Run(), 0);
    chain.far->stopResult = VEX_E_DISK_FULL;
    EXPECT_EQ(chain.graph.Stop(), VEX_E_DISK_FULL);
    for (const Ref<CBaseFilter>& filter : chain.graph.Filters()) EXPECT_TRUE(filter->IsStopped());
    EXPECT_EQ(chain.graph.Stop(), S_OK) << "it is stopped all the same";
    EXPECT_EQ(chain.graph.RemoveFilter(*chain.far), S_OK);
}

TEST(FilterGraph, AFilterThatWouldNotStopIsAskedAgain) {
    Chain chain;
    ASSERT_GE(chain.graph.Run(), 0);
    chain.far->stopResult = E_FAIL;
    chain.far->stays = true;
    EXPECT_EQ(chain.graph.Stop(), E_FAIL);
    EXPECT_EQ(chain.graph.RemoveFilter(*chain.far), VFW_E_NOT_STOPPED);
    chain.far->stopResult = S_OK;
    chain.far->stays = false;
    EXPECT_EQ(chain.graph.Stop(), S_OK);
    EXPECT_EQ(chain.graph.RemoveFilter(*chain.far), S_OK);
}

TEST(FilterGraph, StreamTimeGoesOnWhereAPauseStoppedIt) {
    HandClock clock;
    World world;
    CFilterGraph graph(world, clock);
    const auto step = makeRef<Step>("step");
    ASSERT_EQ(graph.AddFilter(step, u"step"), S_OK);

    clock.now = 1000;
    ASSERT_EQ(graph.Run(), S_OK);
    EXPECT_EQ(step->started, 1000);
    clock.now = 1500;
    EXPECT_EQ(step->StreamTime(), 500) << "it runs by the graph's clock";
    ASSERT_EQ(graph.Pause(), S_OK);
    clock.now = 1900;
    ASSERT_EQ(graph.Run(), S_OK);
    EXPECT_EQ(step->started, 1400);
    clock.now = 2000;
    EXPECT_EQ(step->StreamTime(), 600);
    ASSERT_EQ(graph.Pause(), S_OK);
    ASSERT_EQ(graph.Stop(), S_OK);
    clock.now = 5000;
    ASSERT_EQ(graph.Run(), S_OK);
    EXPECT_EQ(step->started, 5000) << "a stop ends the stream time";
}

TEST(FilterGraph, AFilterThatLeftHasNoClock) {
    HandClock clock;
    World world;
    CFilterGraph graph(world, clock);
    const auto step = makeRef<Step>("step");
    ASSERT_EQ(graph.AddFilter(step, u"step"), S_OK);
    ASSERT_EQ(graph.RemoveFilter(*step), S_OK);
    ASSERT_EQ(step->Run(0), S_OK);
    clock.now = 1000;
    EXPECT_EQ(step->StreamTime(), 0);
    step->Stop();
}

TEST(FilterGraph, TheSystemClockGoesForward) {
    const int64_t before = systemReferenceClock().GetTime();
    EXPECT_TRUE(eventually([&] { return systemReferenceClock().GetTime() > before; }));
}

TEST(FilterGraph, TheStateIsCompleteWhenEveryFilterIs) {
    Player player(3, false, std::chrono::hours(1));  // whose first frame does not come
    EXPECT_EQ(player.graph.Pause(), S_FALSE) << "on the way";
    FilterState state = State_Stopped;
    EXPECT_EQ(player.graph.GetState(1, &state), VFW_S_STATE_INTERMEDIATE);
    EXPECT_EQ(state, State_Paused);
    EXPECT_EQ(player.graph.Stop(), S_OK);
    EXPECT_EQ(player.graph.GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Stopped);

    Player quick(3);
    ASSERT_GE(quick.graph.Pause(), 0);
    EXPECT_EQ(quick.graph.GetState(30'000, &state), S_OK) << "the frame is there";
    EXPECT_EQ(state, State_Paused);
    EXPECT_EQ(quick.screen->newest(), 0);
    ASSERT_GE(quick.graph.Run(), 0);
    EXPECT_EQ(quick.graph.GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Running);
    EXPECT_EQ(quick.graph.GetState(0, nullptr), E_POINTER);
}

TEST(FilterGraph, APausedLiveSourceIsNotWaitedFor) {
    World world;
    const auto source =
        world.add(makeRef<NumberedSource>(SourceOptions{.pace = std::chrono::hours(1), .live = true}), u"source");
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    ASSERT_EQ(world.graph.ConnectDirect(source->Output(), screen->Input()), S_OK);
    ASSERT_GE(world.graph.Pause(), 0);
    FilterState state = State_Stopped;
    EXPECT_EQ(world.graph.GetState(0xFFFFFFFF, &state), VFW_S_CANT_CUE);
    EXPECT_EQ(state, State_Paused);
    EXPECT_EQ(world.graph.StopWhenReady(), S_OK);
    EXPECT_TRUE(source->IsStopped());
}

TEST(FilterGraph, AFilterThatCannotTellItsStateFailsTheGraphs) {
    Chain chain;
    ASSERT_GE(chain.graph.Pause(), 0);
    chain.near->stateResult = E_FAIL;
    FilterState state;
    EXPECT_EQ(chain.graph.GetState(0, &state), E_FAIL);
}

// --- events

TEST(FilterGraph, TheEndIsToldOnceWhenAllRenderersToldIt) {
    World world;
    const auto source = world.add(makeRef<NumberedSource>(SourceOptions{
                                      .pins = {{.name = u"One"}, {.name = u"Two"}, {.name = u"Three"}}, .frames = 3}),
                                  u"source");
    const auto one = world.add(makeRef<Screen>(), u"one");
    const auto writer = world.add(makeRef<Writer>(), u"two");
    const auto blind = world.add(makeRef<Stamp>(), u"a transform that leads nowhere");
    world.add(makeRef<Screen>(), u"one that is not connected tells its end as well");
    ASSERT_EQ(world.graph.ConnectDirect(source->Output(0), one->Input()), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(source->Output(1), writer->Input()), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(source->Output(2), blind->Input()), S_OK);
    one->shut(true);
    ASSERT_GE(world.graph.Run(), 0);
    ASSERT_TRUE(eventually([&] { return writer->ended.load() && one->holdsOne(); }));
    EXPECT_EQ(world.event(0).code, 0u) << "one renderer still shows";
    one->shut(false);
    EXPECT_EQ(world.event().code, EC_COMPLETE);
    EXPECT_EQ(one->shown.count(), 3u);
    // A renderer tells it in each run; the graph once.
    ASSERT_GE(world.graph.Pause(), 0);
    ASSERT_GE(world.graph.Run(), 0);
    EXPECT_EQ(world.event(0).code, 0u);
    ASSERT_EQ(world.graph.Stop(), S_OK);
    ASSERT_GE(world.graph.Run(), 0);
    EXPECT_EQ(world.event().code, EC_COMPLETE) << "after a stop the stream is another one";
}

TEST(FilterGraph, AMultiplexersEndIsNotItsWriters) {
    World world;
    const auto source = world.add(sourceOf(0, false, std::chrono::hours(1)), u"source");
    const auto step = world.add(makeRef<Step>("step"), u"step");
    const auto writer = world.add(makeRef<Writer>(), u"writer");
    ASSERT_EQ(world.graph.ConnectDirect(source->Output(), step->Input()), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(step->Output(), writer->Input()), S_OK);
    step->NotifyEvent(EC_COMPLETE, S_OK, 0);
    writer->NotifyEvent(EC_COMPLETE, S_OK, 0);
    EXPECT_EQ(world.event(0).code, 0u) << "no stream began";
    ASSERT_GE(world.graph.Run(), 0);
    EXPECT_EQ(world.event().code, EC_COMPLETE);
    step->NotifyEvent(EC_COMPLETE, S_OK, 0);
    EXPECT_EQ(world.event(0).code, 0u);
}

TEST(FilterGraph, AFailureWhileShowingIsToldWithItsCode) {
    Player player(3);
    player.screen->renderResult = E_OUTOFMEMORY;
    ASSERT_GE(player.graph.Run(), 0);
    const GraphEvent event = player.event();
    EXPECT_EQ(event.code, EC_ERRORABORT);
    EXPECT_EQ(HRESULT(event.first), E_OUTOFMEMORY);
}

TEST(FilterGraph, ANewRunForgetsWhatAnOlderOneTold) {
    Player player(-1);
    player.screen->NotifyEvent(EC_ERRORABORT, E_FAIL, 0);
    player.screen->NotifyEvent(EC_VIDEO_SIZE_CHANGED, 640 | 480 << 16, 0);
    player.source->NotifyEvent(EC_DEVICE_LOST, reinterpret_cast<intptr_t>(player.source.get()), 0);
    ASSERT_GE(player.graph.Run(), 0);
    const GraphEvent event = player.event(0);
    EXPECT_EQ(event.code, EC_DEVICE_LOST) << "a device that went is gone in every run";
    EXPECT_EQ(player.graph.FreeEventParams(event.code, event.first, event.second), S_OK);
    EXPECT_EQ(player.event(0).code, 0u);
    // What a pause tells is the run's.
    ASSERT_GE(player.graph.Pause(), 0);
    player.screen->NotifyEvent(EC_ERRORABORT, E_FAIL, 0);
    ASSERT_GE(player.graph.Run(), 0);
    EXPECT_EQ(player.event(0).code, EC_ERRORABORT);
}

TEST(FilterGraph, EventsComeInTheirOrderWithTheirParameters) {
    World world;
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    screen->NotifyEvent(EC_VIDEO_SIZE_CHANGED, 640 | 480 << 16, 7);
    world.graph.Notify(EC_ERRORABORT, E_FAIL, 0);
    EXPECT_EQ(world.event(0), (GraphEvent{EC_VIDEO_SIZE_CHANGED, 640 | 480 << 16, 7}));
    EXPECT_EQ(world.event(0), (GraphEvent{EC_ERRORABORT, E_FAIL, 0}));

    uint32_t code = 0;
    intptr_t first = 0, second = 0;
    EXPECT_EQ(world.graph.GetEvent(&code, &first, &second, 0), VFW_E_TIMEOUT);
    EXPECT_EQ(world.graph.GetEvent(&code, &first, &second, 5), VFW_E_TIMEOUT);
    EXPECT_EQ(world.graph.GetEvent(nullptr, &first, &second, 0), E_POINTER);
    EXPECT_EQ(world.graph.GetEvent(&code, nullptr, &second, 0), E_POINTER);
    EXPECT_EQ(world.graph.GetEvent(&code, &first, nullptr, 0), E_POINTER);
}

TEST(FilterGraph, AnEventEndsTheWaitForIt) {
    World world;
    std::thread teller([&] { world.graph.Notify(EC_ERRORABORT, E_FAIL, 0); });
    EXPECT_EQ(world.event(0xFFFFFFFF).code, EC_ERRORABORT);
    teller.join();
}

TEST(FilterGraph, TheWindowIsToldOfEachEvent) {
    FakeWindow window;
    World world;
    world.graph.Notify(EC_VIDEO_SIZE_CHANGED, 1, 0);
    world.graph.SetNotifyWindow(window.native(), 0x500, 42);
    ASSERT_EQ(window.messages().size(), 1u) << "of the one that waits";
    world.graph.Notify(EC_VIDEO_SIZE_CHANGED, 2, 0);
    ASSERT_EQ(window.messages().size(), 2u);
    for (const vex_message& message : window.messages()) {
        EXPECT_EQ(message.message, 0x500u);
        EXPECT_EQ(message.wparam, 0u);
        EXPECT_EQ(message.lparam, 42);
    }
    world.graph.SetNotifyWindow(nullptr, 0, 0);
    world.graph.Notify(EC_VIDEO_SIZE_CHANGED, 3, 0);
    EXPECT_EQ(window.messages().size(), 2u);
    EXPECT_EQ(world.event(0).first, 1);
    EXPECT_EQ(world.event(0).first, 2);
    EXPECT_EQ(world.event(0).first, 3);
    world.graph.SetNotifyWindow(window.native(), 0x500, 42);
    EXPECT_EQ(window.messages().size(), 2u) << "nothing waits";
}

uint32_t references(CBaseFilter& filter) {
    filter.AddRef();
    return filter.Release();
}

TEST(FilterGraph, ALostDevicesFilterLivesUntilTheEventIsFreed) {
    World world;
    auto source = world.add(sourceOf(1), u"source");
    CBaseFilter& filter = *source;
    source->NotifyEvent(EC_DEVICE_LOST, reinterpret_cast<intptr_t>(&filter), 0);
    ASSERT_EQ(world.graph.RemoveFilter(filter), S_OK);
    EXPECT_EQ(references(filter), 2u);
    const GraphEvent event = world.event(0);
    ASSERT_EQ(event.code, EC_DEVICE_LOST);
    EXPECT_EQ(references(filter), 2u) << "until it is freed";
    EXPECT_EQ(reinterpret_cast<IVexUnknown*>(event.first), static_cast<IVexUnknown*>(&filter));
    EXPECT_EQ(world.graph.FreeEventParams(event.code, event.first, event.second), S_OK);
    EXPECT_EQ(references(filter), 1u);
    EXPECT_EQ(world.graph.FreeEventParams(EC_COMPLETE, 0, 0), S_OK);
    EXPECT_EQ(world.graph.FreeEventParams(EC_DEVICE_LOST, 0, 0), S_OK);
}

TEST(FilterGraph, ALostDeviceThatNobodyAskedForIsLetGo) {
    auto source = sourceOf(1);
    {
        World world;
        world.add(source, u"source");
        source->NotifyEvent(EC_DEVICE_LOST, reinterpret_cast<intptr_t>(static_cast<CBaseFilter*>(source.get())), 0);
        EXPECT_EQ(references(*source), 3u);
    }
    EXPECT_EQ(references(*source), 1u);
}

// --- seeking

TEST(FilterGraph, SeekingIsTheFirstRenderersThatCan) {
    Player player(100);
    uint32_t capabilities = 0;
    int64_t duration = 0, position = -1;
    EXPECT_EQ(player.graph.GetCapabilities(&capabilities), S_OK);
    EXPECT_EQ(capabilities, uint32_t(AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanGetDuration));
    EXPECT_EQ(player.graph.GetDuration(&duration), S_OK);
    EXPECT_EQ(duration, 100 * frameTime);
    EXPECT_EQ(player.graph.GetCurrentPosition(&position), S_OK);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(player.graph.GetCapabilities(nullptr), E_POINTER);
    EXPECT_EQ(player.graph.GetDuration(nullptr), E_POINTER);
    EXPECT_EQ(player.graph.GetCurrentPosition(nullptr), E_POINTER);
    EXPECT_EQ(player.graph.SetPosition(-1), E_INVALIDARG);
}

TEST(FilterGraph, ALiveGraphHasNoPosition) {
    Player player(-1, false);
    uint32_t capabilities = 0;
    int64_t value = 0;
    EXPECT_EQ(player.graph.GetCapabilities(&capabilities), E_NOTIMPL);
    EXPECT_EQ(player.graph.GetDuration(&value), E_NOTIMPL);
    EXPECT_EQ(player.graph.GetCurrentPosition(&value), E_NOTIMPL);
    ASSERT_GE(player.graph.Run(), 0);
    EXPECT_EQ(player.graph.SetPosition(0), E_NOTIMPL);
    EXPECT_EQ(player.screen->State(), State_Running);
}

TEST(FilterGraph, ASeekWhileStoppedIsShownByStopWhenReady) {
    Player player(100);
    EXPECT_EQ(player.graph.SetPosition(40 * frameTime), S_OK);
    EXPECT_EQ(player.screen->newest(), -1);
    EXPECT_EQ(player.graph.StopWhenReady(), S_OK);
    EXPECT_EQ(player.screen->newest(), 40);
    EXPECT_TRUE(player.screen->IsStopped());
    EXPECT_TRUE(isWhole(*player.source->Pool()));
    EXPECT_EQ(player.graph.SetPosition(7 * frameTime), S_OK);
    EXPECT_EQ(player.graph.StopWhenReady(), S_OK);
    EXPECT_EQ(player.screen->newest(), 7);
    EXPECT_EQ(player.graph.SetPosition(100 * frameTime), S_OK) << "behind the last frame";
    EXPECT_EQ(player.graph.StopWhenReady(), S_OK);
    EXPECT_EQ(player.screen->newest(), 7);
}

TEST(FilterGraph, ASeekWhilePausedShowsTheNewPlace) {
    Player player(100);
    ASSERT_GE(player.graph.Pause(), 0);
    for (const int64_t frame : {40, 7, 99, 0}) {
        ASSERT_EQ(player.graph.SetPosition(frame * frameTime), S_OK);
        FilterState state = State_Stopped;
        ASSERT_EQ(player.graph.GetState(30'000, &state), S_OK);
        EXPECT_EQ(state, State_Paused);
        EXPECT_EQ(player.screen->newest(), frame);
        EXPECT_EQ(player.screen->shown.count(), 0u);
    }
    ASSERT_GE(player.graph.Run(), 0);
    EXPECT_EQ(player.event().code, EC_COMPLETE);
    EXPECT_EQ(player.screen->shown.count(), 100u);
}

TEST(FilterGraph, ASeekWhileRunningGoesOnFromTheNewPlace) {
    HandClock clock;
    World world;
    CFilterGraph graph(world, clock);
    const auto source = sourceOf(1000, true);
    const auto screen = makeRef<Screen>();
    ASSERT_EQ(graph.AddFilter(source, u"source"), S_OK);
    ASSERT_EQ(graph.AddFilter(screen, u"screen"), S_OK);
    ASSERT_EQ(graph.ConnectDirect(source->Output(), screen->Input()), S_OK);
    ASSERT_GE(graph.Run(), 0);
    ASSERT_TRUE(eventually([&] { return screen->newest() == 0; }));
    ASSERT_EQ(graph.SetPosition(500 * frameTime), S_OK);
    // Its times begin at 0: the first one is due at once, the second one when its time comes.
    ASSERT_TRUE(eventually([&] { return screen->newest() == 500; }));
    EXPECT_EQ(screen->State(), State_Running);
    int64_t position = 0;
    EXPECT_TRUE(eventually([&] { return graph.GetCurrentPosition(&position) == S_OK && position == 500 * frameTime; }));
    EXPECT_EQ(screen->newest(), 500);
    EXPECT_EQ(graph.SetPosition(-5), E_INVALIDARG);
    EXPECT_EQ(screen->State(), State_Running) << "a place that is none changes nothing";
    EXPECT_EQ(graph.Stop(), S_OK);
}

TEST(FilterGraph, ASeekMakesAnEndThatWaitsUntrue) {
    FakeWindow window;
    Player player(3);
    ASSERT_GE(player.graph.Run(), 0);
    ASSERT_EQ(player.event().code, EC_COMPLETE);
    ASSERT_EQ(player.graph.SetPosition(0), S_OK);
    EXPECT_EQ(player.event().code, EC_COMPLETE) << "of the second showing";
    EXPECT_EQ(player.screen->shown.count(), 6u);

    player.graph.SetNotifyWindow(window.native(), 1, 0);
    ASSERT_EQ(player.graph.SetPosition(0), S_OK);
    ASSERT_TRUE(eventually([&] { return window.messages().size() == 1; })) << "the end came and waits";
    ASSERT_GE(player.graph.Pause(), 0);
    ASSERT_EQ(player.graph.SetPosition(0), S_OK);
    EXPECT_EQ(player.event(0).code, 0u);
}

TEST(FilterGraph, StopWhenReadyEndsWithTheStream) {
    Player player(3, true, std::chrono::hours(1));  // whose first frame does not come
    std::thread breaker([&] {
        while (player.source->IsStopped()) std::this_thread::yield();
        player.source->NotifyEvent(EC_ERRORABORT, E_FAIL, 0);
    });
    EXPECT_EQ(player.graph.StopWhenReady(), VFW_S_STATE_INTERMEDIATE);
    breaker.join();
    EXPECT_TRUE(player.source->IsStopped());
    player.screen->pauseResult = E_FAIL;
    EXPECT_EQ(player.graph.StopWhenReady(), E_FAIL);
}

// --- all together

TEST(FilterGraph, AThousandFramesOf640x480GoThroughWithoutALossOrACopy) {
    constexpr int64_t frames = 1000;
    World world;
    const auto source = world.add(makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {rgb(640, 480, frameTime)}}},
                                                                        .frames = frames,
                                                                        .pace = std::chrono::milliseconds(1),
                                                                        .live = true}),
                                  u"source");
    const auto stamp = world.add(makeRef<Stamp>(), u"stamp");
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    ASSERT_EQ(world.graph.ConnectDirect(source->Output(), stamp->Input()), S_OK);
    ASSERT_EQ(world.graph.ConnectDirect(stamp->Output(), screen->Input()), S_OK);
    const auto begun = std::chrono::steady_clock::now();
    ASSERT_GE(world.graph.Run(), 0);
    ASSERT_EQ(world.event(120'000).code, EC_COMPLETE);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begun;
    RecordProperty("frames_per_second", int(double(frames) / took.count()));
    ASSERT_EQ(world.graph.Stop(), S_OK);
    EXPECT_EQ(source->lost, 0);
    const std::vector<Seen> seen = screen->shown.all();
    ASSERT_EQ(seen.size(), size_t(frames));
    for (size_t i = 0; i < seen.size(); ++i) {
        ASSERT_EQ(seen[i].number, int64_t(i));
        ASSERT_EQ(seen[i].memory, source->handedOut[i]) << "the source's own memory";
        ASSERT_EQ(seen[i].lastByte, Stamp::mark);
    }
    EXPECT_TRUE(isWhole(*source->Pool()));
}

}  // namespace filter_graph_test
}  // namespace vexcap::test
