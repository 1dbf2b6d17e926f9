// Building capture graphs: which pin, which tee, which converter, and nothing left behind.
#include "graph/builder/capture_graph_builder.h"

#include <gtest/gtest.h>

#include "graph/smart_tee.h"
#include "graph/testing/graphs.h"
#include "graph/testing/numbered_source.h"

namespace vexcap::test {
namespace capture_graph_builder_test {

const SourcePinOptions capturePin = {.category = PIN_CATEGORY_CAPTURE, .streamControl = true};
const SourcePinOptions previewPin = {.name = u"Preview", .category = PIN_CATEGORY_PREVIEW};
const SourcePinOptions stillPin = {.name = u"Still", .category = PIN_CATEGORY_STILL};

SourcePinOptions ofTypes(SourcePinOptions pin, std::vector<MediaType> types) {
    pin.types = std::move(types);
    return pin;
}

/// A source with these pins, and a builder.
struct Bench : World {
    explicit Bench(std::vector<SourcePinOptions> pins = {capturePin})
        : source(add(makeRef<NumberedSource>(
                         SourceOptions{.pins = std::move(pins), .pace = std::chrono::milliseconds(1), .live = true}),
                     u"source")) {
        builder.SetFiltergraph(&graph);
    }
    HRESULT render(const vex_guid& category, CBaseFilter& sink, CBaseFilter* intermediate = nullptr) {
        return builder.RenderStream(category, MEDIATYPE_Video, *source, intermediate, sink);
    }
    Ref<CSmartTee> tee() {
        return Ref<CSmartTee>(dynamic_cast<CSmartTee*>(graph.FindFilterByName(u"Smart Tee").get()));
    }
    CBaseFilter* behind(CBasePin& pin) {
        const Ref<CBasePin> next = pin.ConnectedTo();
        return next ? &next->Filter() : nullptr;
    }

    CCaptureGraphBuilder builder{*this};
    Ref<NumberedSource> source;
    Ref<Screen> screen = add(makeRef<Screen>(), u"screen");
    Ref<Writer> file = add(makeRef<Writer>(), u"file");
};

/// Takes one size only.
class Narrow final : public CBaseRenderer {
public:
    explicit Narrow(MediaType wanted) : CBaseRenderer(u"Input"), only(std::move(wanted)) {}
    CBaseInputPin& Input() { return static_cast<CBaseInputPin&>(*GetPin(0)); }

private:
    ~Narrow() override = default;
    HRESULT CheckMediaType(const MediaType* candidate) override {
        return *candidate == only ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT DoRenderSample(CMediaSample&) override { return S_OK; }
    const MediaType only;
};

// --- RenderStream

TEST(CaptureGraphBuilder, APreviewPinNeedsNoTee) {
    Bench bench({capturePin, previewPin});
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), S_OK);
    EXPECT_EQ(bench.behind(bench.source->Output(1)), bench.screen.get());
    EXPECT_FALSE(bench.tee());
    EXPECT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file), S_OK);
    EXPECT_EQ(bench.behind(bench.source->Output(0)), bench.file.get());
    EXPECT_FALSE(bench.tee());
}

TEST(CaptureGraphBuilder, AStillPinIsConnectedByItsCategory) {
    Bench bench({capturePin, stillPin});
    EXPECT_EQ(bench.render(PIN_CATEGORY_STILL, *bench.screen), S_OK);
    EXPECT_EQ(bench.behind(bench.source->Output(1)), bench.screen.get());
    EXPECT_FALSE(bench.source->Output(0).IsConnected());
}

TEST(CaptureGraphBuilder, ASourceWithACapturePinOnlyPreviewsThroughATee) {
    Bench bench;
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
    ASSERT_TRUE(bench.tee());
    EXPECT_EQ(bench.behind(bench.source->Output()), bench.tee().get());
    EXPECT_EQ(bench.behind(bench.tee()->Preview()), bench.screen.get());
    EXPECT_FALSE(bench.tee()->Capture().IsConnected());
    ASSERT_GE(bench.graph.Run(), 0);
    EXPECT_TRUE(eventually([&] { return bench.screen->shown.count() > 3; }));
    EXPECT_EQ(bench.graph.Stop(), S_OK);
}

TEST(CaptureGraphBuilder, TheRecordingGoesThroughTheTeeThatStands) {
    Bench bench;
    ASSERT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
    EXPECT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file), S_OK);
    EXPECT_EQ(bench.behind(bench.tee()->Capture()), bench.file.get());
    ASSERT_GE(bench.graph.Run(), 0);
    EXPECT_TRUE(eventually([&] { return bench.screen->shown.count() > 3 && bench.file->numbers().size() > 3; }));
    EXPECT_EQ(bench.graph.Stop(), S_OK);
}

TEST(CaptureGraphBuilder, ATeeGoesInFrontOfARecordingThatStands) {
    // Also in front of a converter or of another filter on the way.
    for (const bool raw : {false, true}) {
        Bench bench({ofTypes(capturePin, {raw ? rawType() : rgb24Type(16, 8, 0), rgb24Type(8, 8, 0)})});
        const auto stamp = bench.add(makeRef<Stamp>(), u"stamp");
        ASSERT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file, stamp.get()), S_OK);
        const MediaType type = bench.source->Output().CurrentMediaType();
        EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
        ASSERT_TRUE(bench.tee());
        EXPECT_EQ(bench.behind(bench.source->Output()), bench.tee().get());
        EXPECT_EQ(bench.behind(bench.tee()->Capture()), stamp.get());
        EXPECT_EQ(bench.behind(stamp->Output()), bench.file.get());
        EXPECT_EQ(bench.source->Output().CurrentMediaType(), type);
        EXPECT_EQ(bench.behind(bench.tee()->Preview()) == bench.screen.get(), !raw);
        ASSERT_GE(bench.graph.Run(), 0);
        EXPECT_TRUE(eventually([&] { return bench.screen->shown.count() > 3 && bench.file->numbers().size() > 3; }));
        EXPECT_EQ(bench.graph.Stop(), S_OK);
        EXPECT_EQ(bench.source->lost, 0);
    }
}

TEST(CaptureGraphBuilder, EachStreamIsRenderedOnce) {
    Bench bench;
    ASSERT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
    ASSERT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file), S_OK);
    const size_t filters = bench.graph.Filters().size();
    const auto another = bench.add(makeRef<Screen>(), u"another");
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *another), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *another), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(bench.graph.Filters().size(), filters + 1);
}

TEST(CaptureGraphBuilder, ATeeGivesThePreviewATypeThatFits) {
    const MediaType first = rgb24Type(16, 8, 0), second = rgb24Type(8, 8, 0);
    Bench bench({ofTypes(capturePin, {rawType(), first, second})});
    const auto narrow = bench.add(makeRef<Narrow>(second), u"narrow");
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *narrow), VFW_S_NOPREVIEWPIN);
    EXPECT_EQ(bench.source->Output().CurrentMediaType(), second);
    EXPECT_EQ(bench.behind(bench.tee()->Preview()), narrow.get()) << "without a converter";
}

TEST(CaptureGraphBuilder, APreviewIsConvertedBehindTheTee) {
    Bench bench({ofTypes(capturePin, {rawType()})});
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
    EXPECT_EQ(bench.source->Output().CurrentMediaType(), rawType());
    EXPECT_EQ(bench.screen->Input().CurrentMediaType(), toRgb24(rawType()));
    ASSERT_GE(bench.graph.Run(), 0);
    EXPECT_TRUE(eventually([&] { return bench.screen->shown.count() > 3; }));
    EXPECT_EQ(bench.graph.Stop(), S_OK);
}

TEST(CaptureGraphBuilder, APreviewGoesThroughAnIntermediateFilterToo) {
    Bench bench;
    const auto stamp = bench.add(makeRef<Stamp>(), u"stamp");
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen, stamp.get()), VFW_S_NOPREVIEWPIN);
    EXPECT_EQ(bench.behind(bench.tee()->Preview()), stamp.get());
    EXPECT_EQ(bench.behind(stamp->Output()), bench.screen.get());
}

TEST(CaptureGraphBuilder, APreviewThatFailsLeavesNoTee) {
    Bench bench({ofTypes(capturePin, {rawType(), rgb24Type(16, 8, 0)})});
    const auto narrow = bench.add(makeRef<Narrow>(rgb24Type(99, 99, 0)), u"narrow");
    const size_t filters = bench.graph.Filters().size();
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *narrow), VFW_E_CANNOT_CONNECT);
    EXPECT_EQ(bench.graph.Filters().size(), filters);
    EXPECT_FALSE(bench.source->Output().IsConnected());

    // A recording that stood stands again, of the same type.
    ASSERT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file), S_OK);
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *narrow), VFW_E_CANNOT_CONNECT);
    EXPECT_EQ(bench.graph.Filters().size(), filters);
    EXPECT_EQ(bench.behind(bench.source->Output()), bench.file.get());
    EXPECT_EQ(bench.source->Output().CurrentMediaType(), rawType());
    // A tee that stood stays.
    ASSERT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
    ASSERT_EQ(bench.graph.Disconnect(bench.tee()->Preview()), S_OK);
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *narrow), VFW_E_CANNOT_CONNECT);
    EXPECT_TRUE(bench.tee());
    EXPECT_EQ(bench.behind(bench.tee()->Capture()), bench.file.get());
}

TEST(CaptureGraphBuilder, ASinkThatDoesNotFitLeavesTheIntermediateFilterFree) {
    for (const bool raw : {false, true}) {  // with a converter in front of the intermediate filter
        Bench bench({ofTypes(capturePin, {raw ? rawType() : rgb24Type(16, 8, 0)})});
        const auto recode = bench.add(makeRef<Recode>(toFile), u"recode");
        const size_t filters = bench.graph.Filters().size();
        EXPECT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.screen, recode.get()), VFW_E_CANNOT_CONNECT);
        EXPECT_FALSE(bench.source->Output().IsConnected());
        EXPECT_FALSE(recode->Input().IsConnected());
        EXPECT_FALSE(bench.screen->Input().IsConnected());
        EXPECT_EQ(bench.graph.Filters().size(), filters);
    }
}

TEST(CaptureGraphBuilder, FiltersThatLeadNowhereAreRefused) {
    Bench bench;
    const auto another = bench.add(makeRef<NumberedSource>(SourceOptions{}), u"another");
    EXPECT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *another), E_INVALIDARG) << "it takes nothing";
    EXPECT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file, bench.screen.get()), E_INVALIDARG)
        << "it hands nothing on";
    EXPECT_FALSE(bench.screen->Input().IsConnected());
    const auto stranger = makeRef<Screen>();
    EXPECT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *stranger), VFW_E_NOT_IN_GRAPH);
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *stranger), VFW_E_NOT_IN_GRAPH);
    EXPECT_FALSE(bench.tee());
}

TEST(CaptureGraphBuilder, WhatIsNotThereIsNotRendered) {
    Bench bench;
    EXPECT_EQ(bench.render(PIN_CATEGORY_STILL, *bench.screen), E_INVALIDARG);
    EXPECT_EQ(bench.builder.RenderStream(PIN_CATEGORY_CAPTURE, MEDIATYPE_Stream, *bench.source, nullptr, *bench.file),
              E_INVALIDARG);
    EXPECT_EQ(bench.builder.RenderStream(PIN_CATEGORY_PREVIEW, MEDIATYPE_Stream, *bench.source, nullptr, *bench.file),
              E_INVALIDARG);
    EXPECT_EQ(bench.builder.RenderStream(PIN_CATEGORY_PREVIEW, MEDIATYPE_Video, *bench.screen, nullptr, *bench.file),
              E_INVALIDARG);
    ASSERT_EQ(bench.builder.SetFiltergraph(nullptr), S_OK);
    EXPECT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file), E_UNEXPECTED);
    Ref<CBaseFilter> mux;
    Ref<IFileSinkFilter2> sink;
    EXPECT_EQ(bench.builder.SetOutputFileName(MEDIASUBTYPE_Avi, u"a.avi", mux, sink), E_UNEXPECTED);
}

TEST(CaptureGraphBuilder, NothingIsRenderedWhileTheGraphRuns) {
    Bench bench;
    ASSERT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file), S_OK);
    ASSERT_GE(bench.graph.Run(), 0);
    EXPECT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_E_NOT_STOPPED);
    EXPECT_EQ(bench.behind(bench.source->Output()), bench.file.get());
}

// --- finding

TEST(CaptureGraphBuilder, PinsAreFoundByDirectionCategoryAndNumber) {
    Bench bench({capturePin, previewPin, stillPin});
    ASSERT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file), S_OK);
    Ref<CBasePin> pin;
    const auto find = [&](const vex_guid* category, bool unconnected, uint32_t index) {
        return bench.builder.FindPin(*bench.source, PinDirection::Output, category, unconnected, index, pin);
    };
    EXPECT_EQ(find(&PIN_CATEGORY_STILL, false, 0), S_OK);
    EXPECT_EQ(pin->Name(), u"Still");
    EXPECT_EQ(find(&PIN_CATEGORY_STILL, false, 1), VFW_E_NOT_FOUND);
    EXPECT_FALSE(pin);
    EXPECT_EQ(find(&PIN_CATEGORY_CAPTURE, false, 0), S_OK);
    EXPECT_EQ(find(&PIN_CATEGORY_CAPTURE, true, 0), VFW_E_NOT_FOUND);
    EXPECT_EQ(find(nullptr, false, 1), S_OK);
    EXPECT_EQ(pin->Name(), u"Preview");
    EXPECT_EQ(find(nullptr, true, 1), S_OK);
    EXPECT_EQ(pin->Name(), u"Still");
    EXPECT_EQ(find(nullptr, false, 3), VFW_E_NOT_FOUND);
    EXPECT_EQ(bench.builder.FindPin(*bench.source, PinDirection::Input, nullptr, false, 0, pin), VFW_E_NOT_FOUND);
    EXPECT_EQ(bench.builder.FindPin(*bench.file, PinDirection::Input, nullptr, false, 0, pin), S_OK);
}

TEST(CaptureGraphBuilder, InterfacesAreFoundAtThePinTheFilterAndOnTheWay) {
    Bench bench;
    const auto stamp = bench.add(makeRef<Stamp>(), u"stamp");
    // Nothing is connected: the source's pin.
    EXPECT_TRUE(bench.builder.FindInterface<IKsPropertySet>(PIN_CATEGORY_CAPTURE, *bench.source));
    EXPECT_FALSE(bench.builder.FindInterface<IFileSinkFilter2>(PIN_CATEGORY_CAPTURE, *bench.source));
    ASSERT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file, stamp.get()), S_OK);
    // Downstream, at the filter itself, and upstream.
    EXPECT_EQ(bench.builder.FindInterface<IFileSinkFilter2>(PIN_CATEGORY_CAPTURE, *bench.source).get(),
              static_cast<IFileSinkFilter2*>(bench.file.get()));
    EXPECT_TRUE(bench.builder.FindInterface<IFileSinkFilter2>(PIN_CATEGORY_CAPTURE, *bench.file));
    EXPECT_TRUE(bench.builder.FindInterface<IFileSinkFilter2>(PIN_CATEGORY_CAPTURE, *stamp));
    EXPECT_EQ(bench.builder.FindInterface<IKsPropertySet>(PIN_CATEGORY_CAPTURE, *bench.file),
              queryInterface<IKsPropertySet>(&bench.source->Output()));
    // With a tee on the way: still the source's pin, the recording's branch for it, and the preview's for the preview.
    ASSERT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
    EXPECT_EQ(bench.builder.FindInterface<IKsPropertySet>(PIN_CATEGORY_CAPTURE, *bench.source),
              queryInterface<IKsPropertySet>(&bench.source->Output()));
    EXPECT_TRUE(bench.builder.FindInterface<IFileSinkFilter2>(PIN_CATEGORY_CAPTURE, *bench.source));
    EXPECT_FALSE(bench.builder.FindInterface<IFileSinkFilter2>(PIN_CATEGORY_PREVIEW, *bench.source));
    EXPECT_TRUE(bench.builder.FindInterface<IMediaSeeking>(PIN_CATEGORY_PREVIEW, *bench.source)) << "the renderer's";
    EXPECT_FALSE(bench.builder.FindInterface<IAMVideoCompression>(PIN_CATEGORY_CAPTURE, *bench.source));
    EXPECT_EQ(
        bench.builder.FindInterface(PIN_CATEGORY_CAPTURE, MEDIATYPE_Video, *bench.source, IKsPropertySet::iid, nullptr),
        E_POINTER);
    void* out = &bench;
    EXPECT_EQ(
        bench.builder.FindInterface(PIN_CATEGORY_CAPTURE, MEDIATYPE_Video, *bench.source, IAMStreamConfig::iid, &out),
        E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

// --- control

TEST(CaptureGraphBuilder, WithoutATeeTheSourcesPinIsControlled) {
    Bench bench;
    const int64_t never = IAMStreamControl::never;
    EXPECT_EQ(bench.builder.ControlStream(PIN_CATEGORY_CAPTURE, *bench.source, &never, nullptr), S_OK);
    EXPECT_EQ(bench.source->controlStarts, 1);
    EXPECT_EQ(bench.builder.ControlStream(PIN_CATEGORY_CAPTURE, *bench.source, nullptr, &never), S_OK);
    EXPECT_EQ(bench.source->controlStarts, 1) << "that side was left alone";
}

TEST(CaptureGraphBuilder, WithATeeTheRecordingWaitsAndThePreviewGoesOn) {
    Bench bench;
    ASSERT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *bench.file), S_OK);
    ASSERT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
    const int64_t never = IAMStreamControl::never, now = 0;
    ASSERT_EQ(bench.builder.ControlStream(PIN_CATEGORY_CAPTURE, *bench.source, &never, nullptr), S_OK);
    EXPECT_EQ(bench.source->controlStarts, 0);
    ASSERT_GE(bench.graph.Run(), 0);
    ASSERT_TRUE(eventually([&] { return bench.screen->shown.count() > 3; }));
    EXPECT_TRUE(bench.file->numbers().empty());
    ASSERT_EQ(bench.builder.ControlStream(PIN_CATEGORY_CAPTURE, *bench.source, &now, &never), S_OK);
    EXPECT_TRUE(eventually([&] { return bench.file->numbers().size() > 3; }));
    EXPECT_EQ(bench.graph.Stop(), S_OK);
}

TEST(CaptureGraphBuilder, AStreamThatCannotBeControlledSaysSo) {
    Bench bench({{.category = PIN_CATEGORY_CAPTURE}});
    const int64_t now = 0;
    EXPECT_EQ(bench.builder.ControlStream(PIN_CATEGORY_CAPTURE, *bench.source, &now, nullptr), E_NOINTERFACE);
    EXPECT_EQ(bench.builder.ControlStream(PIN_CATEGORY_STILL, *bench.source, &now, nullptr), E_NOINTERFACE);
    EXPECT_EQ(bench.builder.ControlStream(PIN_CATEGORY_PREVIEW, *bench.source, &now, nullptr), E_NOINTERFACE);
}

// --- output

TEST(CaptureGraphBuilder, AnOutputIsAMultiplexerAndAWriter) {
    Bench bench;
    Ref<CBaseFilter> mux;
    Ref<IFileSinkFilter2> sink;
    ASSERT_EQ(bench.builder.SetOutputFileName(MEDIASUBTYPE_Avi, u"/films/a.avi", mux, sink), S_OK);
    EXPECT_EQ(mux.get(), bench.mux.get());
    std::u16string path;
    EXPECT_EQ(sink->GetCurFile(&path), S_OK);
    EXPECT_EQ(path, u"/films/a.avi");
    EXPECT_EQ(bench.graph.FindFilterByName(u"Mux").get(), bench.mux.get());
    EXPECT_EQ(bench.graph.FindFilterByName(u"File Writer").get(), bench.writer.get());
    // A whole recording: through a filter to the multiplexer, and a preview beside it.
    const auto stamp = bench.add(makeRef<Stamp>(), u"stamp");
    ASSERT_EQ(bench.render(PIN_CATEGORY_CAPTURE, *mux, stamp.get()), S_OK);
    ASSERT_EQ(bench.render(PIN_CATEGORY_PREVIEW, *bench.screen), VFW_S_NOPREVIEWPIN);
    ASSERT_GE(bench.graph.Run(), 0);
    auto& writer = static_cast<Writer&>(*bench.writer);
    EXPECT_TRUE(eventually([&] { return bench.screen->shown.count() > 3 && writer.numbers().size() > 3; }));
    EXPECT_EQ(bench.graph.Stop(), S_OK);
    EXPECT_EQ(bench.source->lost, 0);
}

TEST(CaptureGraphBuilder, AnOutputThatFailsLeavesNothing) {
    Ref<CBaseFilter> mux;
    Ref<IFileSinkFilter2> sink;
    const auto failure = [&](Bench& bench, const vex_guid& type, std::u16string_view path) {
        const size_t filters = bench.graph.Filters().size();
        const HRESULT result = bench.builder.SetOutputFileName(type, path, mux, sink);
        EXPECT_EQ(bench.graph.Filters().size(), filters);
        EXPECT_FALSE(mux);
        EXPECT_FALSE(sink);
        return result;
    };
    Bench bench;
    EXPECT_EQ(failure(bench, MEDIASUBTYPE_RGB24, u"a.avi"), E_NOTIMPL);
    EXPECT_EQ(failure(bench, MEDIASUBTYPE_Avi, u""), E_INVALIDARG);
    const auto writer = makeRef<Writer>();
    writer->nameResult = VEX_E_PATH_NOT_FOUND;
    bench.writer = writer;
    EXPECT_EQ(failure(bench, MEDIASUBTYPE_Avi, u"/gone/a.avi"), VEX_E_PATH_NOT_FOUND);
    bench.writer = makeRef<Screen>();
    EXPECT_EQ(failure(bench, MEDIASUBTYPE_Avi, u"a.avi"), E_NOINTERFACE);
    bench.writer = makeRef<Writer>();
    bench.mux = makeRef<Screen>();  // without an output
    EXPECT_EQ(failure(bench, MEDIASUBTYPE_Avi, u"a.avi"), VFW_E_NOT_FOUND);
    bench.mux = makeRef<Recode>(toFile);  // whose output cannot be connected yet
    EXPECT_EQ(failure(bench, MEDIASUBTYPE_Avi, u"a.avi"), E_UNEXPECTED);
}

}  // namespace capture_graph_builder_test
}  // namespace vexcap::test
