// The overlay as a host sets it on a context.
#include "engine/context_overlay.h"

#include "engine/context_testing.h"
#include "engine/media_graph_testing.h"

namespace vexcap {
namespace context_overlay_test {

/// A DIB of 24 bits, all of whose bytes are `fill`.
std::vector<uint8_t> dibOf(int32_t width, int32_t height, uint8_t fill, uint16_t bits = 24) {
    const vex_bitmap_header header = {
        .biSize = 40, .biWidth = width, .biHeight = height, .biPlanes = 1, .biBitCount = bits};
    std::vector<uint8_t> dib(sizeof header + dibStride(uint32_t(width), 3) * size_t(height), fill);
    std::memcpy(dib.data(), &header, sizeof header);
    return dib;
}

/// The settings of the process begin anew with each test.
class SettingsOfTheProcess {
protected:
    SettingsOfTheProcess() { markerSettings() = MarkerSettings(); }
    ~SettingsOfTheProcess() { markerSettings() = MarkerSettings(); }
};

class OverlayOfCamera : private SettingsOfTheProcess, public ContextFixture {
protected:
    std::unique_ptr<CaptureContext> context;
    ContextOverlay overlay() { return context->Overlay(); }
    MarkerGeo geo() {
        MarkerGeo out = {};
        EXPECT_TRUE(overlay().GetGeo(out));
        return out;
    }
};

TEST_F(OverlayOfCamera, ANewContextStartsFromWhatTheProcessRemembers) {
    markerSettings().SetGeo({.eMarkerGeo = VEX_MARKER_CIRCLE, .eMarkerGeox = 0, .eMarkerxPos = 99});
    markerSettings().SetTxt({.MarkerPos = 9, .Date = VEX_DATE_NUMERIC});
    context = startedContext();
    EXPECT_EQ(geo().eMarkerGeo, VEX_MARKER_CIRCLE);
    EXPECT_EQ(geo().eMarkerGeox, 1);
    EXPECT_EQ(geo().eMarkerxPos, 50);
    EXPECT_TRUE(overlay().PaintsSomething());
    EXPECT_EQ(markerSettings().Geo().eMarkerGeox, 0);
}

TEST_F(OverlayOfCamera, SettingAContextLeavesTheProcessAlone) {
    context = startedContext();
    EXPECT_EQ(overlay().SetGeo({.eMarkerGeo = VEX_MARKER_CROSS}), 1);
    EXPECT_EQ(overlay().SetTxt({.Date = VEX_DATE_SHORT}), 1);
    EXPECT_EQ(markerSettings().Geo().eMarkerGeo, VEX_MARKER_NONE);
    EXPECT_EQ(markerSettings().Txt().Date, VEX_DATE_NONE);
}

TEST_F(OverlayOfCamera, AMarkerCanBeMovedOnceThereIsOneAndTheSourceIsShown) {
    init();
    context = makeContext();
    overlay().SetGeo({.eMarkerGeo = VEX_MARKER_CROSS});
    EXPECT_FALSE(overlay().CanMoveGeo());
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    EXPECT_TRUE(overlay().CanMoveGeo());
    overlay().SetGeo({});
    EXPECT_FALSE(overlay().CanMoveGeo());
}

TEST_F(OverlayOfCamera, MovingWithoutAStyleGives0AndChangesNothing) {
    context = startedContext();
    overlay().SetGeo({.eMarkerGeo = VEX_MARKER_NONE, .eMarkerxPos = 3});
    EXPECT_EQ(overlay().MoveGeo(5, 5), 0u);
    EXPECT_EQ(geo().eMarkerxPos, 3);
}

TEST_F(OverlayOfCamera, MovingPastTheLimitGivesTheUnclampedPositionWhileTheStoredOneStops) {
    context = startedContext();
    overlay().SetGeo({.eMarkerGeo = VEX_MARKER_CROSS, .eMarkerxPos = 40, .eMarkeryPos = -7});
    EXPECT_EQ(overlay().MoveGeo(30, 2), packed(70, -5));
    EXPECT_EQ(geo().eMarkerxPos, 50);
    EXPECT_EQ(geo().eMarkeryPos, -5);
    EXPECT_EQ(overlay().MoveGeo(0, 0), packed(50, -5));
}

TEST_F(OverlayOfCamera, WildMovesWrapInsteadOfOverflowing) {
    context = startedContext();
    overlay().SetGeo({.eMarkerGeo = VEX_MARKER_CROSS, .eMarkerxPos = 50, .eMarkeryPos = -50});
    EXPECT_EQ(overlay().MoveGeo(INT32_MAX, INT32_MIN), packed(INT32_MIN + 49, INT32_MAX - 49));
    EXPECT_EQ(geo().eMarkerxPos, -50);
    EXPECT_EQ(geo().eMarkeryPos, 50);
}

TEST_F(OverlayOfCamera, AMoveOfTheProcessIsToldAndNotStored) {
    MarkerGeo record = {.eMarkerGeo = VEX_MARKER_CROSS, .eMarkerxPos = 1};
    EXPECT_EQ(moveGeo(record, 2, -4), packed(3, -4));
    record = {.eMarkerGeo = VEX_MARKER_NONE, .eMarkerxPos = 1};
    EXPECT_EQ(moveGeo(record, 2, -4), 0u);
}

class WatermarkOfCamera : public OverlayOfCamera {
protected:
    WatermarkOfCamera() {
        context = startedContext();
        overlay().SetWater({0, dib.data()});
    }
    std::vector<uint8_t> dib = dibOf(4, 2, 200);
};

TEST_F(WatermarkOfCamera, CanBeMovedWhileThePreviewRuns) {
    EXPECT_TRUE(overlay().CanMoveWater());
    EXPECT_TRUE(overlay().PaintsSomething());
    overlay().SetWater({0, nullptr});
    EXPECT_FALSE(overlay().CanMoveWater());
    EXPECT_FALSE(overlay().PaintsSomething());
}

TEST_F(WatermarkOfCamera, MovesByTheOffsetOfTheProcess) {
    EXPECT_EQ(overlay().MoveWater(0, 0), 0u);
    EXPECT_EQ(overlay().MoveWater(5, -6), packed(5, -6));
    EXPECT_EQ(overlay().MoveWater(1, 1), packed(6, -5));
    EXPECT_EQ(overlay().MoveWater(0, 0), packed(6, -5));
    EXPECT_EQ(markerSettings().waterOffsetX, 6);
    EXPECT_EQ(overlay().MoveWater(INT32_MAX, INT32_MIN), packed(INT32_MIN + 5, INT32_MAX - 4));
}

TEST_F(WatermarkOfCamera, TurnsByTheRemainderOfAWholeTurn) {
    EXPECT_EQ(overlay().RotateWater(359'000), 359'000);
    EXPECT_EQ(overlay().RotateWater(2'000), 1'000);
    EXPECT_EQ(overlay().RotateWater(-2'000), -1'000);
    EXPECT_EQ(overlay().RotateWater(0), -1'000);
    EXPECT_EQ(markerSettings().waterRotate, -1'000);
    EXPECT_EQ(overlay().RotateWater(INT32_MIN), int32_t((INT64_C(-1'000) + INT32_MIN) % 360'000));
}

TEST_F(WatermarkOfCamera, ANewOneBeginsAtTheTopLeftAndNotTurned) {
    overlay().MoveWater(5, 6);
    overlay().RotateWater(90'000);
    overlay().SetWater({0, dib.data()});
    EXPECT_EQ(overlay().MoveWater(0, 0), 0u);
    EXPECT_EQ(overlay().RotateWater(0), 0);
}

TEST_F(WatermarkOfCamera, OneOf8BitsLeavesTheOldOne) {
    const std::vector<uint8_t> other = dibOf(4, 2, 9, 8);
    overlay().SetWater({0, other.data()});
    EXPECT_TRUE(overlay().CanMoveWater());
}

TEST_F(WatermarkOfCamera, WithoutOneNothingMovesOrTurns) {
    overlay().MoveWater(5, 6);
    overlay().SetWater({0, nullptr});
    EXPECT_EQ(overlay().MoveWater(1, 1), 0u);
    EXPECT_EQ(overlay().RotateWater(1'000), 0);
    EXPECT_EQ(markerSettings().waterRotate, 0);
}

TEST_F(OverlayOfCamera, AFileHasNoOverlay) {
    arguments.astroMode = 0;
    init();
    context = CaptureContext::CreateForFile(engine, nullptr, nullptr, u"a.avi");
    MarkerGeo out = {};
    EXPECT_FALSE(overlay().GetGeo(out));
    EXPECT_EQ(overlay().SetGeo({.eMarkerGeo = 1}), 0);
    EXPECT_EQ(overlay().SetTxt({}), 0);
    overlay().SetScale({});
    overlay().SetTick(3);
    overlay().SetWater({});
    EXPECT_FALSE(overlay().CanMoveGeo());
    EXPECT_EQ(overlay().MoveGeo(1, 1), 0u);
    EXPECT_EQ(overlay().MoveWater(1, 1), 0u);
    EXPECT_EQ(overlay().RotateWater(1), 0);
    EXPECT_FALSE(overlay().PaintsSomething());
}

/// A recording through a graph, whose frames are grey of one value.
class OverlayOfGraph : private SettingsOfTheProcess, public DeviceFixture {
protected:
    OverlayOfGraph() { EXPECT_EQ(start(), S_OK); }
    /// Records a grey frame and gives the bytes of it in the file.
    std::vector<uint8_t> recorded(uint8_t fill) {
        vex_recording_counts counts = {};
        context->RecordingCounts(counts);
        push({.fill = fill});
        EXPECT_TRUE(eventually([this, before = counts.written, &counts] {
            context->RecordingCounts(counts);
            return counts.written > before;
        }));
        context->StopCapture();
        const std::vector<uint8_t> bytes = fakes.files.bytes(u"a.avi");
        const test::AviFrame frame = fileAt(u"a.avi").frames().back();
        return {bytes.begin() + ptrdiff_t(frame.position), bytes.begin() + ptrdiff_t(frame.position + frame.size)};
    }
    HRESULT record() { return startCaptureAvi(engine, context.get(), u"a.avi", u"", 0).code(); }
    static constexpr MarkerGeo cross = {
        .eMarkerGeo = VEX_MARKER_CROSS, .eMarkerGeoColor = 0x0000FF, .eMarkerGeox = 100, .eMarkerGeoy = 100};
};

TEST_F(OverlayOfGraph, ARecordingTakesTheOverlayOfTheContextAlong) {
    context->Overlay().SetGeo(cross);
    ASSERT_EQ(record(), S_OK);
    const std::vector<uint8_t> frame = recorded(50);
    // 8x4 pixels: the horizontal line is row 2 from the top, which is row 1 of the file.
    const std::vector<uint8_t> red = {0, 0, 255}, plain = {50, 50, 50};
    EXPECT_EQ(std::vector<uint8_t>(frame.begin() + 24, frame.begin() + 27), red);
    EXPECT_EQ(std::vector<uint8_t>(frame.begin(), frame.begin() + 3), plain);
}

TEST_F(OverlayOfGraph, WhatIsSetDuringARecordingReachesItAndAnswersWithTheFiltersWord) {
    ASSERT_EQ(record(), S_OK);
    EXPECT_EQ(context->Overlay().SetGeo(cross), 0);
    EXPECT_EQ(context->Overlay().SetTxt({}), 0);
    const std::vector<uint8_t> frame = recorded(50);
    EXPECT_EQ(frame.at(24 + 2), 255);
}

TEST_F(OverlayOfGraph, AWatermarkIsNotInTheRecording) {
    const std::vector<uint8_t> dib = dibOf(8, 4, 200);
    context->Overlay().SetWater({0, dib.data()});
    ASSERT_EQ(record(), S_OK);
    context->Overlay().SetWater({0, dib.data()});
    context->Overlay().MoveWater(1, 0);
    context->Overlay().RotateWater(1'000);
    EXPECT_EQ(recorded(50), std::vector<uint8_t>(24 * 4, 50));
}

TEST_F(OverlayOfGraph, TheEndOfARecordingStoresTheSettingsOfTheProcess) {
    ASSERT_EQ(markerSettings().Init(fakes.settings, fakes.settings.root(), u"Company", u"Product").code(), S_OK);
    auto key = fakes.settings.CreateKey(fakes.settings.root(), u"SOFTWARE\\Company\\Product\\marker").value();
    EXPECT_FALSE(key->ReadNumber(u"MarkerPos"));
    ASSERT_EQ(record(), S_OK);
    context->StopCapture();
    EXPECT_EQ(key->ReadNumber(u"MarkerPos"), 4u);
}

}  // namespace context_overlay_test
}  // namespace vexcap
