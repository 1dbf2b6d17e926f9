// Grabs and stills.
#include "engine/context_picture.h"

#include "engine/context_testing.h"
#include "engine/media_graph_testing.h"
#include "settings/marker_settings.h"

namespace vexcap {
namespace context_picture_test {

struct Grabbed {
    bool done = false;
    vex_bitmap_header header = {};
    std::vector<uint8_t> pixels;
};

Grabbed grab(CaptureContext& context, uint32_t kind = VEX_GRAB_DISPLAY, bool still = false,
             const OverlayMargins& margins = {}, int32_t capacity = 1 << 16) {
    std::vector<uint8_t> bitmap(sizeof(vex_bitmap_header) + size_t(capacity), 0xEE);
    Grabbed grabbed;
    grabbed.done = context.Picture().Grab(bitmap.data(), capacity, kind, still, margins);
    std::memcpy(&grabbed.header, bitmap.data(), sizeof grabbed.header);
    if (grabbed.done) bitmap.resize(sizeof grabbed.header + grabbed.header.biSizeImage);
    grabbed.pixels.assign(bitmap.begin() + sizeof grabbed.header, bitmap.end());
    return grabbed;
}

std::vector<uint8_t> evenly(uint8_t fill, size_t bytes) { return std::vector<uint8_t>(bytes, fill); }

constexpr MarkerGeo cross = {
    .eMarkerGeo = VEX_MARKER_CROSS, .eMarkerGeoColor = 0x030201, .eMarkerGeox = 100, .eMarkerGeoy = 100};

/// A camera of 64x48 pixels whose preview runs.
class Grab : public ContextFixture {
protected:
    Grab() { markerSettings() = MarkerSettings(); }
    ~Grab() override { markerSettings() = MarkerSettings(); }

    static constexpr size_t bytes = 64 * 48 * 3;
    std::unique_ptr<CaptureContext> context = startedContext();
};

TEST_F(Grab, GivesThePresentPicture) {
    EXPECT_FALSE(grab(*context).done);
    camera.deliver(7, 64, 48);
    camera.deliver(9, 64, 48);
    const Grabbed picture = grab(*context);
    ASSERT_TRUE(picture.done);
    EXPECT_EQ(picture.header.biWidth, 64);
    EXPECT_EQ(picture.header.biHeight, 48);
    EXPECT_EQ(picture.header.biBitCount, 24);
    EXPECT_EQ(picture.pixels, evenly(9, bytes));
}

TEST_F(Grab, WithTooLittleRoomWritesNothing) {
    camera.deliver(7, 64, 48);
    const Grabbed picture = grab(*context, VEX_GRAB_DISPLAY, false, {}, int32_t(bytes) - 1);
    EXPECT_FALSE(picture.done);
    EXPECT_EQ(picture.pixels, evenly(0xEE, bytes - 1));
}

TEST_F(Grab, CanBeAskedForWithoutABitmap) {
    EXPECT_FALSE(context->Picture().CanGrab(VEX_GRAB_DISPLAY));
    camera.deliver(7, 64, 48);
    EXPECT_TRUE(context->Picture().CanGrab(VEX_GRAB_DISPLAY));
    EXPECT_FALSE(context->Picture().CanGrab(VEX_GRAB_RAW));
}

TEST_F(Grab, GetsTheOverlayAndThePreviewDoesNot) {
    context->Overlay().SetGeo(cross);
    camera.deliver(7, 64, 48);
    const Grabbed picture = grab(*context);
    // Row 24 from the top is row 23 of the buffer; column 32 stands up.
    EXPECT_EQ(std::vector<uint8_t>(picture.pixels.begin() + 23 * 192, picture.pixels.begin() + 23 * 192 + 3),
              (std::vector<uint8_t>{3, 2, 1}));
    EXPECT_EQ(std::vector<uint8_t>(picture.pixels.begin() + 96, picture.pixels.begin() + 99),
              (std::vector<uint8_t>{3, 2, 1}));
    EXPECT_EQ(picture.pixels[0], 7);
    std::vector<uint16_t> rgb(3);
    const vex_point centre = {32, 24};
    EXPECT_EQ(context->Picture().GetPixels(&centre, 1, rgb.data(), nullptr), 1);
    EXPECT_EQ(rgb, (std::vector<uint16_t>{7, 7, 7}));
}

TEST_F(Grab, GoesBackCleanWithoutCaptureAfter) {
    markerSettings().SetCaptureAfter(0);
    context->Overlay().SetGeo(cross);
    camera.deliver(7, 64, 48);
    EXPECT_EQ(grab(*context).pixels, evenly(7, bytes));
}

TEST_F(Grab, OfRawSamplesHasNoOverlay) {
    EXPECT_EQ(context->Picture().PutCapture(VEX_GRAB_RAW), S_OK);
    context->Overlay().SetGeo(cross);
    camera.deliver(7, 64, 48);
    const Grabbed picture = grab(*context, VEX_GRAB_RAW);
    ASSERT_TRUE(picture.done);
    EXPECT_EQ(picture.header.biBitCount, 12);
    EXPECT_EQ(picture.pixels, evenly(7, 64 * 48 * 2));
}

TEST_F(Grab, OfDeepPicturesHasNoOverlay) {
    EXPECT_EQ(context->Picture().PutCapture(VEX_GRAB_DEEP), S_OK);
    context->Overlay().SetGeo(cross);
    camera.deliver(7, 64, 48);
    const Grabbed picture = grab(*context, VEX_GRAB_DEEP);
    ASSERT_TRUE(picture.done);
    EXPECT_EQ(picture.header.biBitCount, 36);
    EXPECT_EQ(picture.pixels, evenly(7, 64 * 48 * 6));
}

TEST_F(Grab, RawSamplesStayWantedOverANewStart) {
    EXPECT_EQ(context->Picture().PutCapture(VEX_GRAB_RAW), S_OK);
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    camera.deliver(7, 64, 48);
    EXPECT_TRUE(grab(*context, VEX_GRAB_RAW).done);
}

TEST_F(Grab, RawSamplesStayWantedOverANewSize) {
    EXPECT_EQ(context->Picture().PutCapture(VEX_GRAB_RAW), S_OK);
    camera.width = 80;
    camera.height = 60;
    camera.deliverEvent(VEX_CAMERA_EVENT_SIZE);
    camera.deliver(7, 80, 60);
    EXPECT_EQ(grab(*context, VEX_GRAB_RAW).pixels, evenly(7, 80 * 60 * 2));
}

TEST_F(Grab, PointsOutsideAreLeftOut) {
    camera.deliver(7, 64, 48);
    const vex_point points[] = {{-1, 0}, {63, 47}, {64, 0}};
    std::vector<uint16_t> rgb(9, 99);
    uint32_t maximum = 0;
    EXPECT_EQ(context->Picture().GetPixels(points, 3, rgb.data(), &maximum), 1);
    EXPECT_EQ(rgb, (std::vector<uint16_t>{7, 7, 7, 99, 99, 99, 99, 99, 99}));
    EXPECT_EQ(maximum, 255u);
}

TEST_F(Grab, TheBrightnessOfARectangleIsPosted) {
    const vex_rect rectangle = {10, 10, 20, 20};
    context->Picture().SetBrightnessNotify(&rectangle, owner.native(), 0x500);
    camera.deliver(100, 64, 48);
    ASSERT_EQ(countOf(owner, 0x500), 1u);
    EXPECT_EQ(owner.messages().front().wparam / 10, 100u);
}

using GrabWithoutASource = ContextFixture;

TEST_F(GrabWithoutASource, IsNotDone) {
    init();
    const auto context = makeContext();
    EXPECT_FALSE(grab(*context).done);
    EXPECT_FALSE(grab(*context, VEX_GRAB_DISPLAY, true).done);
    EXPECT_FALSE(context->Picture().CanGrab(VEX_GRAB_DISPLAY));
    EXPECT_EQ(context->Picture().GetPixels(nullptr, 0, nullptr, nullptr), E_UNEXPECTED);
    EXPECT_EQ(context->Picture().PutCapture(VEX_GRAB_RAW), E_UNEXPECTED);
    EXPECT_EQ(context->Picture().StillCount(), 0u);
    EXPECT_FALSE(context->Picture().CanTakeStill());
}

/// A camera with stills of 128x96 pixels.
class CameraStill : public ContextFixture {
protected:
    CameraStill() {
        markerSettings() = MarkerSettings();
        camera.offersStill = true;
        init();
        context = makeContext();
        EXPECT_TRUE(context->Start(still.native(), stillMessage, 1, 0, 0).ok());
    }
    std::unique_ptr<CaptureContext> context;
};

TEST_F(CameraStill, CountsTheSizes) {
    EXPECT_EQ(context->Picture().StillCount(), 2u);
    camera.stillCount = -1;
    EXPECT_EQ(context->Picture().StillCount(), 0u);
    EXPECT_FALSE(context->Picture().CanTakeStill());
}

TEST_F(CameraStill, IsAskedOfTheCameraAndComesByMessage) {
    int token = 0;
    EXPECT_TRUE(context->Picture().TakeStill(&token));
    EXPECT_TRUE(camera.wasCalled("Snap(4294967295,1)"));
    EXPECT_EQ(camera.snapValue, &token);
    EXPECT_FALSE(grab(*context, VEX_GRAB_DISPLAY, true).done);
    camera.deliver(5, 128, 96, 1);
    ASSERT_EQ(countOf(still, stillMessage), 1u);
    EXPECT_EQ(still.messages().front().wparam, uintptr_t(96 << 16 | 128));
    const Grabbed picture = grab(*context, VEX_GRAB_DISPLAY, true);
    EXPECT_EQ(picture.header.biWidth, 128);
    EXPECT_EQ(picture.pixels, evenly(5, 128 * 96 * 3));
    EXPECT_FALSE(grab(*context).done);
}

TEST_F(CameraStill, HasTheScaleBarOfStills) {
    context->Overlay().SetTxt({.MarkerPos = VEX_CORNER_TOP_LEFT, .Scale = 1, .ScaleColor = 0xFFFFFF});
    context->Overlay().SetScale({.videoLength = 0, .stillLength = 40, .stillText = u"", .powerText = u""});
    camera.deliver(5, 64, 48);
    camera.deliver(5, 128, 96, 1);
    EXPECT_EQ(grab(*context).pixels, evenly(5, 64 * 48 * 3));
    EXPECT_NE(grab(*context, VEX_GRAB_DISPLAY, true).pixels, evenly(5, 128 * 96 * 3));
}

TEST_F(CameraStill, IsRefusedWhilePausedOrStopped) {
    for (const uint32_t playState : {playPaused, playStopped}) {
        context->SetPlayState(playState);
        EXPECT_FALSE(context->Picture().TakeStill(nullptr)) << playState;
    }
    EXPECT_FALSE(camera.wasCalled("Snap(4294967295,1)"));
    context->SetPlayState(playRunning);
    EXPECT_TRUE(context->Picture().TakeStill(nullptr));
}

TEST_F(CameraStill, IsRefusedForAnEntryOfTheNetworkList) {
    context = makeContext(u"$camera", VEX_KIND_NETWORK_LIST);
    ASSERT_TRUE(context->Start(still.native(), stillMessage, 1, 0, 0).ok());
    EXPECT_EQ(context->Picture().StillCount(), 2u);
    EXPECT_FALSE(context->Picture().CanTakeStill());
}

TEST_F(CameraStill, TheCamerasRefusalIsTold) {
    camera.snapResult = E_FAIL;
    EXPECT_FALSE(context->Picture().TakeStill(nullptr));
}

TEST_F(CameraStill, AnotherSizeDoesNotStopTheStream) {
    camera.calls.clear();
    context->SetEsize(1, true);
    EXPECT_EQ(camera.calls, std::vector<std::string>{"SetStillIndex(1)"});
    EXPECT_TRUE(context->Previewing());
}

TEST_F(CameraStill, SizesCanBeAskedForOneByOneOrNotAtAll) {
    int32_t width = 0, height = 0;
    context->StillSize(&width, nullptr);
    context->StillSize(nullptr, &height);
    context->StillSize(nullptr, nullptr);
    EXPECT_EQ(width, 128);
    EXPECT_EQ(height, 96);
}

class DeviceStill : public DeviceFixture {
protected:
    DeviceStill() {
        make();
        EXPECT_EQ(context->Start(still.native(), stillMessage, 1, 0, 0).code(), S_OK);
    }
};

TEST_F(DeviceStill, IsTheFrameBehindTheTrigger) {
    EXPECT_EQ(context->Picture().StillCount(), 1u);
    show(10);
    EXPECT_EQ(countOf(still, stillMessage), 0u);
    ASSERT_TRUE(context->Picture().TakeStill(nullptr));
    show(20);
    ASSERT_TRUE(eventually([&] { return countOf(still, stillMessage) == 1; }));
    show(30);
    EXPECT_EQ(grab(*context, VEX_GRAB_DISPLAY, true).pixels, evenly(20, 8 * 4 * 3));
}

TEST_F(DeviceStill, IsRefusedWhilePaused) {
    show(10);
    context->SetPlayState(playPaused);
    EXPECT_FALSE(context->Picture().CanTakeStill());
    EXPECT_FALSE(context->Picture().TakeStill(nullptr));
}

TEST_F(DeviceStill, IsRefusedWhereNoneWereWanted) {
    ASSERT_EQ(context->Start(still.native(), stillMessage, 0, 0, 0).code(), S_OK);
    EXPECT_EQ(context->Picture().StillCount(), 0u);
    EXPECT_FALSE(context->Picture().TakeStill(nullptr));
}

TEST_F(DeviceStill, RawSamplesCannotBeHad) {
    EXPECT_EQ(context->Picture().PutCapture(VEX_GRAB_RAW), E_UNEXPECTED);
    show(10);
    EXPECT_FALSE(grab(*context, VEX_GRAB_RAW).done);
    EXPECT_EQ(grab(*context).pixels, evenly(10, 8 * 4 * 3));
}

}  // namespace context_picture_test
}  // namespace vexcap
