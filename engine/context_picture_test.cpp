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
    EXPECT_FALSE(context->Picture().CanGrab(VEX_GRAB_DEEP));
}

TEST_F(Grab, CanBeAskedForAsItWouldSucceed) {
    for (const uint32_t bits : {8u, 12u}) {
        camera.bitDepth = bits;
        ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
        for (const uint32_t wanted : {VEX_GRAB_DISPLAY, VEX_GRAB_RAW, VEX_GRAB_DEEP}) {
            context->Picture().PutCapture(wanted);
            camera.deliver(7, 64, 48);
            camera.deliver(7, 64, 48);
            for (const uint32_t kind : {VEX_GRAB_DISPLAY, VEX_GRAB_RAW, VEX_GRAB_DEEP}) {
                const Grabbed picture = grab(*context, kind);
                EXPECT_EQ(context->Picture().CanGrab(kind), picture.done) << bits << ", " << wanted << ", " << kind;
                EXPECT_EQ(context->Picture().GrabRoom(kind, false), picture.done ? picture.header.biSizeImage : 0)
                    << bits << ", " << wanted << ", " << kind;
            }
        }
    }
}

TEST_F(Grab, IsToldItsNumberItsTimeAndItsAge) {
    vex_grab_info info = {};
    camera.deliver(7, 64, 48);
    EXPECT_FALSE(context->Picture().LastGrab(info)) << "nothing was grabbed";
    camera.sequence = 41;
    camera.timestamp = 123'456'789'012;
    camera.deliver(9, 64, 48);
    fakes.clock.advance(250);
    ASSERT_TRUE(grab(*context).done);
    camera.sequence = 42;
    camera.deliver(11, 64, 48);
    fakes.clock.advance(50);
    EXPECT_FALSE(grab(*context, VEX_GRAB_RAW).done);
    ASSERT_TRUE(context->Picture().LastGrab(info));
    EXPECT_EQ(info.size, 32u);
    EXPECT_EQ(info.still, 0u);
    EXPECT_EQ(info.age, 300u);
    EXPECT_EQ(info.numbered, 1u);
    EXPECT_EQ(info.number, 41u) << "the frame that was copied, not the last one that came";
    EXPECT_EQ(info.timestamp, 123'456'789'012u);
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

/// A camera of 64x48 pixels and 12 bits whose preview runs.
class PictureFormat : public ContextFixture {
protected:
    PictureFormat() {
        camera.rawFourcc = fourcc("RGGB");
        camera.rawDepth = 12;
        context = startedContext();
    }
    vex_picture_format format() const {
        vex_picture_format known = {};
        EXPECT_TRUE(context->Picture().Format(known));
        return known;
    }
    void cutBinAndTurn() {
        camera.roiResult = S_OK;
        camera.roiWidth = 60;
        camera.roiHeight = 40;
        camera.options = {{VEX_OPTION_BINNING, 2}, {VEX_OPTION_ROTATION, 90}};
    }
    std::unique_ptr<CaptureContext> context;
};

TEST_F(PictureFormat, OfACameraIsThatOfItsThreeKindsOfPictures) {
    const vex_picture_format known = format();
    EXPECT_EQ(known.size, 48u);
    EXPECT_EQ(known.width, 64u);
    EXPECT_EQ(known.height, 48u);
    EXPECT_EQ(known.displayBits, 24u);
    EXPECT_EQ(known.displayPitch, 192u);
    EXPECT_EQ(known.displayBytes, 192u * 48);
    EXPECT_EQ(known.rawFourcc, fourcc("RGGB"));
    EXPECT_EQ(known.rawBits, 12u);
    EXPECT_EQ(known.rawPitch, 128u);
    EXPECT_EQ(known.rawBytes, 128u * 48);
    EXPECT_EQ(known.deepBits, 12u);
    EXPECT_EQ(known.deepBytes, 384u * 48);
}

TEST_F(PictureFormat, FollowsRegionBinningAndRotation) {
    cutBinAndTurn();
    const vex_picture_format known = format();
    EXPECT_EQ(known.width, 20u);
    EXPECT_EQ(known.height, 30u);
    EXPECT_EQ(known.displayPitch, 60u);
    EXPECT_EQ(known.displayBytes, 60u * 30);
    EXPECT_EQ(known.rawPitch, 40u);
    EXPECT_EQ(known.deepBytes, 120u * 30);
    int32_t width = 0, height = 0;
    context->VideoSize(&width, &height);
    EXPECT_EQ(width, 64);
    EXPECT_EQ(height, 48);
}

TEST_F(PictureFormat, IsTheRoomThatEachGrabNeeds) {
    for (const uint32_t kind : {VEX_GRAB_DISPLAY, VEX_GRAB_RAW, VEX_GRAB_DEEP}) {
        context->Picture().PutCapture(kind);
        camera.deliver(7, 64, 48);
        const vex_picture_format known = format();
        const uint32_t bytes[] = {known.displayBytes, known.rawBytes, known.deepBytes};
        EXPECT_FALSE(grab(*context, kind, false, {}, int32_t(bytes[kind]) - 1).done) << kind;
        EXPECT_TRUE(grab(*context, kind, false, {}, int32_t(bytes[kind])).done) << kind;
    }
}

TEST_F(PictureFormat, HasNoRawAndNoDeepPictureWhereTheCameraHasNone) {
    camera.offersRaw = false;
    camera.bitDepth = 8;
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    const vex_picture_format known = format();
    EXPECT_EQ(known.displayBytes, 192u * 48);
    EXPECT_EQ(known.rawFourcc, 0u);
    EXPECT_EQ(known.rawBits, 0u);
    EXPECT_EQ(known.rawBytes, 0u);
    EXPECT_EQ(known.deepBits, 0u);
    EXPECT_EQ(known.deepBytes, 0u);
}

TEST_F(PictureFormat, IsUnknownWhereTheSourceDoesNotReportIt) {
    vex_picture_format known = {};
    camera.sizeResult = E_FAIL;
    EXPECT_FALSE(context->Picture().Format(known));
    camera.sizeResult = S_OK;
    camera.width = camera.height = INT32_MAX;
    EXPECT_FALSE(context->Picture().Format(known));
    EXPECT_FALSE(makeContext()->Picture().Format(known)) << "not started";
}

TEST_F(PictureFormat, TheSizeMessageComesWithTheFirstFrameOfAnotherSize) {
    camera.deliver(7, 64, 48);
    EXPECT_EQ(countOf(preview, sizeMessage), 1u) << "the preview was built";
    cutBinAndTurn();
    camera.deliver(7, 64, 48);
    EXPECT_EQ(countOf(preview, sizeMessage), 1u) << "this frame was on its way";
    for (int i = 0; i < 3; ++i) camera.deliver(7, 20, 30);
    ASSERT_EQ(countOf(preview, sizeMessage), 2u);
    for (const auto& message : preview.messages()) {
        if (message.message != sizeMessage) continue;
        EXPECT_EQ(message.wparam, 64u) << "as vexcap_video_size reports it";
        EXPECT_EQ(message.lparam, 48);
    }
    camera.deliver(7, 64, 48);
    EXPECT_EQ(countOf(preview, sizeMessage), 3u);
}

TEST_F(PictureFormat, ANewResolutionIsAnnouncedWithItsFirstFrame) {
    camera.width = 80;
    camera.height = 60;
    camera.deliverEvent(VEX_CAMERA_EVENT_SIZE);
    camera.deliver(7, 80, 60);
    ASSERT_EQ(countOf(preview, sizeMessage), 2u);
    uintptr_t width = 0;
    for (const auto& message : preview.messages())
        if (message.message == sizeMessage) width = message.wparam;
    EXPECT_EQ(width, 80u);
}

TEST_F(PictureFormat, StillsAndImpossibleSizesAreNotAnnounced) {
    camera.offersStill = true;
    ASSERT_TRUE(context->Start(still.native(), stillMessage, 1, 0, 0).ok());
    const size_t before = countOf(preview, sizeMessage);
    camera.deliver(7, 64, 48, 1);
    const std::vector<uint8_t> picture(64 * 48 * 3);
    for (const uint32_t side : {0u, UINT32_MAX}) {
        const vex_frame_info info = {0, side, side, 0, 0};
        camera.frameCallback(picture.data(), &info, 0, nullptr, nullptr, 0, 0, 0, camera.context);
    }
    EXPECT_EQ(countOf(preview, sizeMessage), before);
}

TEST_F(PictureFormat, AStartInARegionIsNotAnnouncedTwice) {
    cutBinAndTurn();
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    const size_t before = countOf(preview, sizeMessage);
    camera.deliver(7, 20, 30);
    EXPECT_EQ(countOf(preview, sizeMessage), before);
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

TEST_F(CameraStill, HasItsOwnRoomAndItsOwnNumber) {
    EXPECT_EQ(context->Picture().GrabRoom(VEX_GRAB_DISPLAY, true), 0u);
    camera.sequence = 5;
    camera.deliver(5, 128, 96, 1);
    camera.sequence = 6;
    camera.deliver(5, 64, 48);
    EXPECT_EQ(context->Picture().GrabRoom(VEX_GRAB_DISPLAY, true), 128u * 96 * 3);
    EXPECT_EQ(context->Picture().GrabRoom(VEX_GRAB_DISPLAY, false), 64u * 48 * 3);
    vex_grab_info info = {};
    ASSERT_TRUE(grab(*context, VEX_GRAB_DISPLAY, true).done);
    ASSERT_TRUE(context->Picture().LastGrab(info));
    EXPECT_EQ(info.still, 1u);
    EXPECT_EQ(info.number, 5u);
    ASSERT_TRUE(grab(*context).done);
    ASSERT_TRUE(context->Picture().LastGrab(info));
    EXPECT_EQ(info.still, 0u);
    EXPECT_EQ(info.number, 6u);
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

TEST_F(DeviceStill, ThePictureHasNeitherRawNorDeepSamples) {
    vex_picture_format known = {};
    ASSERT_TRUE(context->Picture().Format(known));
    EXPECT_EQ(known.width, 8u);
    EXPECT_EQ(known.height, 4u);
    EXPECT_EQ(known.displayBytes, 24u * 4);
    EXPECT_EQ(known.rawBits, 0u);
    EXPECT_EQ(known.deepBits, 0u);
    context->SetEsize(4 << 16 | 16, false);
    ASSERT_TRUE(context->Picture().Format(known));
    EXPECT_EQ(known.width, 16u);
}

TEST_F(DeviceStill, RawSamplesCannotBeHad) {
    EXPECT_EQ(context->Picture().PutCapture(VEX_GRAB_RAW), E_UNEXPECTED);
    show(10);
    EXPECT_FALSE(grab(*context, VEX_GRAB_RAW).done);
    EXPECT_EQ(grab(*context).pixels, evenly(10, 8 * 4 * 3));
}

TEST_F(DeviceStill, FramesOfADeviceHaveNoNumber) {
    show(10);
    ASSERT_TRUE(grab(*context).done);
    fakes.clock.advance(40);
    vex_grab_info info = {};
    ASSERT_TRUE(context->Picture().LastGrab(info));
    EXPECT_EQ(info.numbered, 0u);
    EXPECT_EQ(info.timestamp, 0u);
    EXPECT_EQ(info.age, 40u);
}

}  // namespace context_picture_test
}  // namespace vexcap
