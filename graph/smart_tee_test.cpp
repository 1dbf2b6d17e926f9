// The tee: who gets the sample itself, who a copy, and that the preview holds nothing up.
#include "graph/smart_tee.h"

#include <gtest/gtest.h>

#include "graph/testing/graphs.h"
#include "graph/testing/numbered_source.h"
#include "platform/fake/allocations.h"

namespace vexcap::test {
namespace smart_tee_test {

/// source -> tee, with nothing behind it yet
struct Tee : World {
    explicit Tee(SourceOptions options = {})
        : source(add(makeRef<NumberedSource>(std::move(options)), u"source")), tee(add(makeRef<CSmartTee>(), u"tee")) {
        graph.ConnectDirect(source->Output(), tee->Input());
    }
    /// -> writer
    Ref<Writer> record() {
        const auto made = add(makeRef<Writer>(), u"writer");
        EXPECT_EQ(graph.ConnectDirect(tee->Capture(), made->Input()), S_OK);
        return made;
    }
    Ref<Screen> show() {
        const auto made = add(makeRef<Screen>(), u"screen");
        EXPECT_EQ(graph.ConnectDirect(tee->Preview(), made->Input()), S_OK);
        return made;
    }
    Ref<NumberedSource> source;
    Ref<CSmartTee> tee;
};

std::vector<int64_t> upTo(int64_t count) {
    std::vector<int64_t> numbers;
    for (int64_t i = 0; i < count; ++i) numbers.push_back(i);
    return numbers;
}

TEST(SmartTee, ItsOutputsComeAfterItsInputAndHaveItsType) {
    World world;
    const auto tee = world.add(makeRef<CSmartTee>(), u"tee");
    EXPECT_EQ(tee->GetPinCount(), 3u);
    EXPECT_EQ(tee->GetPin(0)->Name(), u"Input");
    EXPECT_EQ(tee->GetPin(1)->Name(), u"Capture");
    EXPECT_EQ(tee->GetPin(2)->Name(), u"Preview");
    EXPECT_EQ(tee->GetPin(3), nullptr);
    EXPECT_EQ(tee->GetPin(1)->Direction(), PinDirection::Output);

    const auto writer = world.add(makeRef<Writer>(), u"writer");
    MediaType type;
    EXPECT_EQ(tee->Capture().GetMediaType(0, &type), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(world.graph.ConnectDirect(tee->Capture(), writer->Input()), E_UNEXPECTED);

    const MediaType small = rgb24Type(8, 8, 0), large = rgb24Type(16, 8, 0);
    const auto source =
        world.add(makeRef<NumberedSource>(SourceOptions{.pins = {{.types = {large, small}}}}), u"source");
    ASSERT_EQ(world.graph.ConnectDirect(source->Output(), tee->Input(), &small), S_OK);
    for (CBaseOutputPin* const pin : {&tee->Capture(), &tee->Preview()}) {
        EXPECT_EQ(pin->GetMediaType(0, &type), S_OK);
        EXPECT_EQ(type, small);
        EXPECT_EQ(pin->GetMediaType(1, &type), VFW_S_NO_MORE_ITEMS);
        EXPECT_EQ(pin->GetMediaType(-1, &type), E_INVALIDARG);
        EXPECT_EQ(pin->GetMediaType(0, nullptr), E_POINTER);
        EXPECT_EQ(pin->CheckMediaType(&large), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_EQ(pin->CheckMediaType(nullptr), E_POINTER);
    }
    ASSERT_EQ(world.graph.ConnectDirect(tee->Capture(), writer->Input()), S_OK);

    // An input that is connected anew keeps to what stands behind.
    ASSERT_EQ(world.graph.Disconnect(tee->Input()), S_OK);
    EXPECT_EQ(world.graph.ConnectDirect(source->Output(), tee->Input(), &large), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(world.graph.ConnectDirect(source->Output(), tee->Input()), S_OK);
    EXPECT_EQ(tee->Input().CurrentMediaType(), small);
    EXPECT_EQ(tee->Input().CheckMediaType(nullptr), E_POINTER);
}

TEST(SmartTee, ItsOutputsTellTheirCategory) {
    const auto tee = makeRef<CSmartTee>();
    const std::pair<CBaseOutputPin*, vex_guid> pins[] = {{&tee->Capture(), PIN_CATEGORY_CAPTURE},
                                                         {&tee->Preview(), PIN_CATEGORY_PREVIEW}};
    for (const auto& [pin, category] : pins) {
        const auto properties = queryInterface<IKsPropertySet>(pin);
        ASSERT_TRUE(properties);
        vex_guid told = {};
        uint32_t returned = 0, support = 0;
        EXPECT_EQ(properties->Get(AMPROPSETID_Pin, 0, &told, sizeof told, &returned), S_OK);
        EXPECT_EQ(told, category);
        EXPECT_EQ(returned, sizeof told);
        EXPECT_EQ(properties->Get(AMPROPSETID_Pin, 0, nullptr, 0, &returned), S_OK);
        EXPECT_EQ(properties->Get(AMPROPSETID_Pin, 0, &told, sizeof told, nullptr), S_OK);
        EXPECT_EQ(properties->Get(AMPROPSETID_Pin, 0, nullptr, 0, nullptr), E_POINTER);
        EXPECT_EQ(properties->Get(AMPROPSETID_Pin, 0, &told, sizeof told - 1, &returned), E_UNEXPECTED);
        EXPECT_EQ(properties->Get(AMPROPSETID_Pin, 1, &told, sizeof told, nullptr), E_PROP_ID_UNSUPPORTED);
        EXPECT_EQ(properties->Get(MEDIATYPE_Video, 0, &told, sizeof told, nullptr), E_PROP_SET_UNSUPPORTED);
        EXPECT_EQ(properties->QuerySupported(AMPROPSETID_Pin, 0, &support), S_OK);
        EXPECT_EQ(support, 1u);
        EXPECT_EQ(properties->QuerySupported(AMPROPSETID_Pin, 1, &support), E_PROP_ID_UNSUPPORTED);
        EXPECT_EQ(properties->QuerySupported(MEDIATYPE_Video, 0, &support), E_PROP_SET_UNSUPPORTED);
        EXPECT_EQ(properties->Set(AMPROPSETID_Pin, 0, &told, sizeof told), E_NOTIMPL);
    }
    EXPECT_TRUE(queryInterface<IAMStreamControl>(&tee->Capture()));
    EXPECT_FALSE(queryInterface<IAMStreamControl>(&tee->Preview()));
    EXPECT_FALSE(queryInterface<IMediaSeeking>(&tee->Preview()));
}

TEST(SmartTee, OneReaderGetsTheSamplesThemselves) {
    for (const bool capture : {false, true}) {
        Tee tee({.frames = 20});
        const auto screen = tee.add(makeRef<Screen>(), u"screen");
        CBaseOutputPin& output = capture ? tee.tee->Capture() : tee.tee->Preview();
        ASSERT_EQ(tee.graph.ConnectDirect(output, screen->Input()), S_OK);
        ASSERT_GE(tee.graph.Run(), 0);
        ASSERT_EQ(tee.event().code, EC_COMPLETE);
        ASSERT_EQ(tee.graph.Stop(), S_OK);
        const std::vector<Seen> seen = screen->shown.all();
        ASSERT_EQ(seen.size(), 20u);
        for (size_t i = 0; i < seen.size(); ++i) {
            EXPECT_EQ(seen[i].number, int64_t(i));
            EXPECT_EQ(seen[i].memory, tee.source->handedOut[i]);
            EXPECT_TRUE(seen[i].timed);
        }
        EXPECT_TRUE(isWhole(*tee.source->Pool()));
    }
}

TEST(SmartTee, WithNoReaderTheStreamEnds) {
    Tee tee({.frames = 20});
    ASSERT_GE(tee.graph.Run(), 0);
    EXPECT_TRUE(eventually([&] { return tee.source->sent == 1; }));
    EXPECT_EQ(tee.graph.Stop(), S_OK);
}

TEST(SmartTee, TwoReadersGetTheSampleAndACopyWithoutTimes) {
    Tee tee({.frames = 50, .pace = std::chrono::milliseconds(1)});
    const auto stamp = tee.add(makeRef<Stamp>(), u"changes in place");
    const auto record = tee.add(makeRef<Screen>(), u"record");
    ASSERT_EQ(tee.graph.ConnectDirect(tee.tee->Capture(), stamp->Input()), S_OK);
    ASSERT_EQ(tee.graph.ConnectDirect(stamp->Output(), record->Input()), S_OK);
    const auto preview = tee.show();
    ASSERT_GE(tee.graph.Run(), 0);
    ASSERT_EQ(tee.event().code, EC_COMPLETE);
    ASSERT_EQ(tee.graph.Stop(), S_OK);

    const std::vector<Seen> recorded = record->shown.all();
    ASSERT_EQ(recorded.size(), 50u);
    for (size_t i = 0; i < recorded.size(); ++i) {
        EXPECT_EQ(recorded[i].number, int64_t(i));
        EXPECT_EQ(recorded[i].memory, tee.source->handedOut[i]) << "no copy";
        EXPECT_TRUE(recorded[i].timed);
        EXPECT_EQ(recorded[i].lastByte, Stamp::mark);
    }
    const std::vector<Seen> shown = preview->shown.all();
    ASSERT_FALSE(shown.empty());
    int64_t before = -1;
    for (const Seen& one : shown) {
        EXPECT_GT(one.number, before);
        EXPECT_EQ(one.discontinuity, one.number != before + 1) << "what was left out is told";
        EXPECT_NE(one.lastByte, Stamp::mark) << "what the recording draws is not the preview's";
        EXPECT_FALSE(one.timed);
        for (const uint8_t* const memory : tee.source->handedOut) ASSERT_NE(one.memory, memory);
        before = one.number;
    }
    EXPECT_TRUE(isWhole(*tee.source->Pool()));
}

TEST(SmartTee, APreviewThatStandsStillHoldsNoCaptureUp) {
    Tee tee({.frames = 500, .live = true});
    const auto writer = tee.record();
    const auto screen = tee.show();
    screen->shut(true);
    ASSERT_GE(tee.graph.Run(), 0);
    ASSERT_TRUE(eventually([&] { return writer->ended.load(); }));
    EXPECT_EQ(writer->numbers(), upTo(500));
    EXPECT_EQ(tee.source->lost, 0);
    EXPECT_EQ(screen->shown.count(), 0u);
    EXPECT_EQ(tee.event(0).code, 0u) << "the preview's end comes behind its samples";
    screen->shut(false);
    EXPECT_EQ(tee.event().code, EC_COMPLETE);
    EXPECT_LE(screen->shown.count(), 2u);
    EXPECT_EQ(tee.graph.Stop(), S_OK);
    EXPECT_TRUE(isWhole(*tee.source->Pool()));
}

TEST(SmartTee, APausedPreviewHoldsNoCaptureUp) {
    Tee tee({.frames = 100, .live = true});
    const auto writer = tee.record();
    const auto screen = tee.show();
    ASSERT_GE(tee.graph.Pause(), 0);
    ASSERT_TRUE(eventually([&] { return writer->ended.load(); }));
    EXPECT_EQ(writer->numbers(), upTo(100));
    EXPECT_TRUE(eventually([&] { return screen->newest() == 0; })) << "the first one is shown while paused";
    EXPECT_EQ(screen->shown.count(), 0u);
    EXPECT_EQ(tee.graph.Stop(), S_OK);
    EXPECT_TRUE(isWhole(*tee.source->Pool()));
}

TEST(SmartTee, APreviewThatFailsOrEndsLeavesTheRecordingAlone) {
    Tee tee({.frames = 200});
    const auto writer = tee.record();
    const auto screen = tee.show();
    screen->renderResult = E_OUTOFMEMORY;
    ASSERT_GE(tee.graph.Run(), 0);
    ASSERT_TRUE(eventually([&] { return writer->ended.load(); }));
    EXPECT_EQ(writer->numbers(), upTo(200));
    EXPECT_EQ(tee.event().code, EC_ERRORABORT) << "which the preview tells itself";
    EXPECT_EQ(screen->shown.count(), 1u);
    ASSERT_EQ(tee.graph.Stop(), S_OK);
    // The next run is another chance.
    screen->renderResult = S_OK;
    ASSERT_GE(tee.graph.Run(), 0);
    EXPECT_EQ(tee.event().code, EC_COMPLETE);
    EXPECT_GT(screen->shown.count(), 1u);
}

TEST(SmartTee, ARecordingThatFailsEndsTheStream) {
    Tee tee({.frames = -1});
    const auto writer = tee.record();
    tee.show();
    writer->writeResult = VEX_E_DISK_FULL;
    ASSERT_GE(tee.graph.Run(), 0);
    EXPECT_TRUE(eventually([&] { return writer->numbers().size() == 1; }));
    EXPECT_EQ(tee.graph.Stop(), S_OK);
    EXPECT_EQ(tee.source->sent, 1);
}

TEST(SmartTee, ARecordingThatWantsNoMoreLeavesThePreviewOn) {
    Tee tee({.frames = -1, .pace = std::chrono::milliseconds(1)});
    const auto writer = tee.record();
    const auto screen = tee.show();
    writer->writeResult = S_FALSE;
    ASSERT_GE(tee.graph.Run(), 0);
    EXPECT_TRUE(eventually([&] { return screen->shown.count() > 5; }));
    EXPECT_EQ(tee.graph.Stop(), S_OK);
}

TEST(SmartTee, WhatTheCapturePinHoldsBackIsShownAllTheSame) {
    Tee tee({.frames = -1, .pace = std::chrono::milliseconds(1)});
    const auto writer = tee.record();
    const auto screen = tee.show();
    const auto control = queryInterface<IAMStreamControl>(&tee.tee->Capture());
    const int64_t never = IAMStreamControl::never, now = 0;
    ASSERT_EQ(control->StartAt(&never), S_OK);
    ASSERT_GE(tee.graph.Run(), 0);
    ASSERT_TRUE(eventually([&] { return screen->shown.count() > 5; }));
    EXPECT_TRUE(writer->numbers().empty());
    ASSERT_EQ(control->StartAt(&now), S_OK);
    ASSERT_EQ(control->StopAt(&never), S_OK);
    ASSERT_TRUE(eventually([&] { return writer->numbers().size() > 5; }));
    ASSERT_EQ(control->StopAt(nullptr), S_OK);
    // One that was under way may still come; then none.
    const int64_t mark = tee.source->sent;
    ASSERT_TRUE(eventually([&] { return tee.source->sent > mark + 1; }));
    const size_t written = writer->numbers().size(), shown = screen->shown.count();
    ASSERT_TRUE(eventually([&] { return screen->shown.count() > shown + 5; }));
    EXPECT_EQ(writer->numbers().size(), written);
    EXPECT_EQ(tee.graph.Stop(), S_OK);
}

TEST(SmartTee, ASeekReachesBothReaders) {
    Tee tee({.frames = 1000, .seekable = true});
    const auto record = tee.add(makeRef<Screen>(), u"record");
    ASSERT_EQ(tee.graph.ConnectDirect(tee.tee->Capture(), record->Input()), S_OK);
    const auto preview = tee.show();
    ASSERT_GE(tee.graph.Pause(), 0);
    FilterState state = State_Stopped;
    for (const int64_t frame : {500, 20, 990}) {
        ASSERT_EQ(tee.graph.SetPosition(frame * frameTime), S_OK);
        ASSERT_EQ(tee.graph.GetState(30'000, &state), S_OK);
        EXPECT_EQ(record->newest(), frame);
        EXPECT_EQ(preview->newest(), frame);
    }
    ASSERT_GE(tee.graph.Run(), 0);
    ASSERT_EQ(tee.event().code, EC_COMPLETE);
    EXPECT_EQ(record->shown.count(), 10u);
    ASSERT_EQ(tee.graph.SetPosition(995 * frameTime), S_OK);
    ASSERT_EQ(tee.event().code, EC_COMPLETE);
    EXPECT_EQ(record->shown.count(), 15u);
    EXPECT_EQ(tee.graph.Stop(), S_OK);
    EXPECT_TRUE(isWhole(*tee.source->Pool()));
}

TEST(SmartTee, SamplesThatOthersReadAreCopiedForThePreview) {
    Tee tee({.pins = {{.readOnly = true}}, .frames = 3});
    const auto screen = tee.show();
    ASSERT_GE(tee.graph.Run(), 0);
    ASSERT_TRUE(eventually([&] { return screen->shown.count() > 0; }));
    EXPECT_EQ(tee.event().code, EC_COMPLETE);
    ASSERT_EQ(tee.graph.Stop(), S_OK);
    for (const Seen& one : screen->shown.all())
        for (const uint8_t* const memory : tee.source->handedOut) EXPECT_NE(one.memory, memory);
}

TEST(SmartTee, TheCaptureSidesWishForBuffersReachesTheSourcesPool) {
    Tee tee;
    const auto writer = tee.add(makeRef<Writer>(), u"writer");
    writer->wanted = {.buffers = 12, .bufferBytes = 0};
    ASSERT_EQ(tee.graph.ConnectDirect(tee.tee->Capture(), writer->Input()), S_OK);
    EXPECT_EQ(tee.source->Pool()->GetProperties().buffers, 12u);
    // And the pool of a source that is connected anew.
    ASSERT_EQ(tee.graph.Disconnect(tee.tee->Input()), S_OK);
    ASSERT_EQ(tee.graph.ConnectDirect(tee.source->Output(), tee.tee->Input()), S_OK);
    EXPECT_EQ(tee.source->Pool()->GetProperties().buffers, 12u);
}

TEST(SmartTee, NoFrameAsksForMemory) {
    // Counted on the source's thread, between two frames of the capture side, and on the preview's thread.
    class Counting final : public CBaseRenderer {
    public:
        Counting() : CBaseRenderer(u"Input") {}
        CBaseInputPin& Input() { return static_cast<CBaseInputPin&>(*GetPin(0)); }
        std::atomic<size_t> shown{0};
        std::atomic<size_t> counted{0};  // allocations since the third sample

    private:
        ~Counting() override = default;
        HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
        HRESULT DoRenderSample(CMediaSample&) override {
            if (++shown == 3) first = allocations();
            if (shown > 3) counted = allocations() - first;
            return S_OK;
        }
        size_t first = 0;
    };
    Tee tee({.frames = -1, .live = true});
    tee.source->keepsTrack = false;
    const auto record = tee.add(makeRef<Counting>(), u"record"), preview = tee.add(makeRef<Counting>(), u"preview");
    ASSERT_EQ(tee.graph.ConnectDirect(tee.tee->Capture(), record->Input()), S_OK);
    ASSERT_EQ(tee.graph.ConnectDirect(tee.tee->Preview(), preview->Input()), S_OK);
    ASSERT_GE(tee.graph.Run(), 0);
    ASSERT_TRUE(eventually([&] { return record->shown > 100 && preview->shown > 100; }));
    ASSERT_EQ(tee.graph.Stop(), S_OK);
    EXPECT_EQ(record->counted, 0u);
    EXPECT_EQ(preview->counted, 0u);
}

}  // namespace smart_tee_test
}  // namespace vexcap::test
