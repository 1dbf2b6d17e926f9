// Video input devices and media files as sources of a context.
#include "engine/graph_road.h"

#include "base/text.h"
#include "engine/media_graph_testing.h"
#include "recording/file_writer.h"

namespace vexcap {
namespace graph_road_test {

using Pixel = std::vector<uint16_t>;

class VideoInput : public DeviceFixture {};

TEST_F(VideoInput, ItsFramesAreShownAndToldToTheHost) {
    ASSERT_EQ(start(), S_OK);
    EXPECT_TRUE(context->HasSource());
    EXPECT_TRUE(context->Previewing());
    EXPECT_EQ(context->PlayState(), playRunning);
    ASSERT_EQ(countOf(preview, sizeMessage), 1u);
    EXPECT_EQ(preview.messages().front().wparam, 8u);
    EXPECT_EQ(preview.messages().front().lparam, 4);
    int32_t width = 0, height = 0;
    context->VideoSize(&width, &height);
    EXPECT_EQ(width, 8);
    EXPECT_EQ(height, 4);
    show(77);
    EXPECT_EQ(pixel(3, 2), (Pixel{77, 77, 77}));
    uint32_t frames = 0, milliseconds = 0, total = 0;
    ASSERT_TRUE(context->FrameRate(frames, milliseconds, total).ok());
    EXPECT_EQ(total, 1u);
}

TEST_F(VideoInput, ItsFirstRowIsTheTopOfThePicture) {
    ASSERT_EQ(start(), S_OK);
    FakeVideoFrame frame;
    frame.content.assign(32, 10);
    std::fill_n(frame.content.begin(), 8, uint8_t(200));
    push(frame);
    ASSERT_TRUE(eventually([&] { return countOf(preview, frameMessage) == 1; }));
    EXPECT_EQ(pixel(0, 0), (Pixel{200, 200, 200}));
    EXPECT_EQ(pixel(0, 3), (Pixel{10, 10, 10}));
}

TEST_F(VideoInput, ANameThatNoDeviceCouldHaveGivesNoContext) {
    const vex_device device = {u"webcam", u"A webcam", VEX_KIND_VIDEO_INPUT, 0};
    EXPECT_EQ(CaptureContext::Create(engine, nullptr, nullptr, &device, nullptr, nullptr, nullptr), nullptr);
}

TEST_F(VideoInput, ASourceThatCannotBeBoundShowsWhy) {
    const struct {
        HRESULT code;
        std::u16string key;
    } table[] = {
        {VEX_E_BUSY, u"ids_nosource"}, {VEX_E_FILE_NOT_FOUND, u"ids_nosource"}, {VEX_E_NO_MODULE, u"ids_noax"}};
    for (const auto& line : table) {
        fakes.messageBox.shown.clear();
        fakes.videoDevices.openResult = line.code;
        EXPECT_EQ(start(), line.code);
        ASSERT_EQ(boxes().size(), 1u);
        EXPECT_TRUE(boxes()[0].starts_with(line.key)) << toUtf8(boxes()[0]);
        EXPECT_NE(boxes()[0].find(u"hr = 0x"), std::u16string::npos);
        EXPECT_FALSE(context->HasSource());
        EXPECT_FALSE(context->Previewing());
    }
    fakes.videoDevices.openResult = S_OK;
    EXPECT_EQ(start(), S_OK) << "the device is there now";
}

TEST_F(VideoInput, ADeviceThatWillNotStreamShowsItOnce) {
    script->startResult = VEX_E_BUSY;
    EXPECT_EQ(start(), E_FAIL);
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_TRUE(boxes()[0].starts_with(u"ids_previewfail")) << toUtf8(boxes()[0]);
    EXPECT_FALSE(context->Previewing());
}

TEST_F(VideoInput, ARetriedStartGoesOnForEightSecondsAndThenShowsOneBox) {
    script->startResult = VEX_E_BUSY;
    const uint64_t before = fakes.clock.Milliseconds();
    EXPECT_EQ(start(1), E_FAIL);
    EXPECT_EQ(boxes().size(), 1u);
    EXPECT_GE(fakes.clock.Milliseconds() - before, 8000u);
    EXPECT_LE(fakes.clock.Milliseconds() - before, 8020u);
}

TEST_F(VideoInput, ASecondStartEndsTheOldGraphFirst) {
    ASSERT_EQ(start(), S_OK);
    show(1);
    ASSERT_EQ(start(), S_OK);
    EXPECT_TRUE(context->Previewing());
    show(2);
    EXPECT_EQ(pixel(0, 0), (Pixel{2, 2, 2}));
    EXPECT_TRUE(boxes().empty());
}

TEST_F(VideoInput, ItsFormatsAreTold) {
    ASSERT_EQ(start(), S_OK);
    std::vector<vex_capability> told;
    ASSERT_EQ(context->Capabilities(told), 3);
    ASSERT_EQ(told.size(), 3u);
    EXPECT_EQ(told[1].header.biWidth, 16);
    EXPECT_EQ(told[1].header.biCompression, grey);
    EXPECT_EQ(told[1].maxOutputSize[0], 16);
    EXPECT_EQ(told[1].minFrameInterval, 100'000);
    EXPECT_EQ(told[1].maxFrameInterval, 2'000'000);
    EXPECT_EQ(told[2].header.biCompression, mosaic);
}

TEST_F(VideoInput, ASizeThatIsSetAlreadyDoesNotTouchTheGraph) {
    ASSERT_EQ(start(), S_OK);
    preview.clear();
    context->SetEsize(4u << 16 | 8u, false);
    EXPECT_EQ(countOf(preview, sizeMessage), 0u);
    EXPECT_TRUE(script->streaming());
}

TEST_F(VideoInput, ANewSizeBuildsThePreviewAnew) {
    ASSERT_EQ(start(), S_OK);
    preview.clear();
    context->SetEsize(4u << 16 | 16u, false);
    ASSERT_EQ(countOf(preview, sizeMessage), 1u);
    EXPECT_EQ(preview.messages().front().wparam, 16u);
    EXPECT_TRUE(context->Previewing());
    show(5);
    EXPECT_EQ(pixel(15, 3), (Pixel{5, 5, 5}));
}

TEST_F(VideoInput, ASizeThatIsNotOfferedLeavesThePreviewAsItWas) {
    ASSERT_EQ(start(), S_OK);
    context->SetEsize(99u << 16 | 99u, false);
    EXPECT_TRUE(context->Previewing());
    show(5);
    EXPECT_EQ(pixel(7, 3), (Pixel{5, 5, 5}));
}

TEST_F(VideoInput, AFormatOfAnotherLayoutCanBeChosen) {
    ASSERT_EQ(start(), S_OK);
    EXPECT_EQ(context->PutFormat(2).code(), S_OK);
    EXPECT_EQ(script->modesSet().back().first.fourcc, mosaic);
    show(60);
    EXPECT_EQ(pixel(4, 2), (Pixel{60, 60, 60}));
    EXPECT_EQ(context->PutFormat(3).code(), E_INVALIDARG);
    EXPECT_TRUE(context->Previewing());
}

TEST_F(VideoInput, AFormatThatTheDeviceRefusesGivesWayToTheOldOne) {
    ASSERT_EQ(start(), S_OK);
    script->setModeResult = VEX_E_BUSY;
    EXPECT_EQ(context->PutFormat(1).code(), VEX_E_BUSY);
    EXPECT_TRUE(context->Previewing());
    show(9);
    EXPECT_EQ(pixel(7, 0), (Pixel{9, 9, 9}));
}

TEST_F(VideoInput, FlipGreyAndNegativeChangeThePictureAndOutliveAFormat) {
    ASSERT_EQ(start(), S_OK);
    context->PutNegative(1);
    context->PutFlip(3, 3);
    EXPECT_EQ(context->Flip(), 1u) << "one bit in one call";
    context->PutFlip(2, 2);
    EXPECT_EQ(context->Flip(), 3u);
    context->PutFlip(0, 1);
    EXPECT_EQ(context->Flip(), 2u);
    context->PutChrome(1);
    EXPECT_EQ(context->Chrome(), 1u);
    EXPECT_EQ(context->Negative(), 1u);
    show(55);
    EXPECT_EQ(pixel(0, 0), (Pixel{201, 201, 201})) << "grey of 55 is 54";
    ASSERT_EQ(context->PutFormat(1).code(), S_OK);
    FakeVideoFrame frame;
    frame.content.assign(64, 255);
    std::fill_n(frame.content.begin(), 16, uint8_t(155));
    push(frame);
    const size_t before = countOf(preview, frameMessage);
    ASSERT_TRUE(eventually([&] { return countOf(preview, frameMessage) >= before; }));
    ASSERT_TRUE(eventually([&] { return pixel(0, 3) == Pixel{101, 101, 101}; })) << "the first row is at the bottom";
}

TEST_F(VideoInput, ACameraHasNoneOfThem) {
    context.reset();
    arguments.astroMode = 1;
    const auto cameraContext = startedContext();
    cameraContext->PutFlip(3, 1);
    cameraContext->PutChrome(1);
    cameraContext->PutNegative(1);
    EXPECT_EQ(cameraContext->Flip(), 0u);
    EXPECT_EQ(cameraContext->Chrome(), 0u);
    EXPECT_EQ(cameraContext->Negative(), 0u);
    EXPECT_EQ(cameraContext->FindDfc(), nullptr);
    EXPECT_EQ(cameraContext->CaptureDfc(1), E_INVALIDARG);
    EXPECT_EQ(cameraContext->PutFormat(0).code(), E_INVALIDARG);
    EXPECT_EQ(cameraContext->Position(), -1);
}

TEST_F(VideoInput, PauseHoldsThePictureAndStopEndsTheStream) {
    ASSERT_EQ(start(), S_OK);
    context->SetPlayState(playPaused);
    EXPECT_EQ(context->PlayState(), playPaused);
    context->SetPlayState(playRunning);
    EXPECT_EQ(context->PlayState(), playRunning);
    show(3);
    context->SetPlayState(playStopped);
    EXPECT_EQ(context->PlayState(), playStopped);
    EXPECT_FALSE(script->streaming());
    context->SetPlayState(playPaused);
    EXPECT_EQ(context->PlayState(), playStopped) << "what is stopped does not pause";
    context->SetPlayState(playRunning);
    EXPECT_EQ(context->PlayState(), playRunning);
    show(4);
    EXPECT_EQ(context->Position(), -1) << "a live source has no position";
}

// --- Events

TEST_F(VideoInput, NotifyWithNothingPendingDoesNothing) {
    ASSERT_EQ(start(), S_OK);
    context->Notify();
    EXPECT_TRUE(context->Previewing());
    EXPECT_TRUE(boxes().empty());
}

TEST_F(VideoInput, ABrokenStreamStopsThePreviewAndTellsItsCode) {
    ASSERT_EQ(start(), S_OK);
    script->failNext(VEX_E_BUSY);
    ASSERT_TRUE(lostPreview());
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_TRUE(boxes()[0].starts_with(u"ids_captureerror")) << toUtf8(boxes()[0]);
    EXPECT_NE(boxes()[0].find(u"hr = 0x800700aa"), std::u16string::npos) << toUtf8(boxes()[0]);
    EXPECT_EQ(context->PlayState(), playStopped);
}

TEST_F(VideoInput, AnUnpluggedDeviceIsToldAndCanBeStartedAnew) {
    ASSERT_EQ(start(), S_OK);
    script->unplug();
    ASSERT_TRUE(lostPreview());
    ASSERT_TRUE(eventually([&] {
        context->Notify();
        return !boxes().empty();
    }));
    // The loss is told as an error, then as a removal: the two may come in one look or in two.
    EXPECT_TRUE(boxes()[0].starts_with(u"ids_devicelost") || boxes()[0].starts_with(u"ids_captureerror"));
    script = &fakes.videoDevices.add(deviceName, u"A webcam");
    script->formats = {format(grey, 8, 4)};
    script->present = script->formats[0];
    script->strideOf = [](const VideoFormat& f) { return f.width; };
    ASSERT_EQ(start(), S_OK);
    show(8);
}

TEST_F(VideoInput, ADeviceThatGoesWhileStoppedEndsAllWithoutAWord) {
    ASSERT_EQ(start(), S_OK);
    context->SetPlayState(playStopped);
    preview.clear();
    script->unplug();
    ASSERT_TRUE(eventually([&] { return countOf(preview, eventMessage) > 0; }));
    context->Notify();
    EXPECT_FALSE(context->Previewing());
    EXPECT_TRUE(boxes().empty());
}

TEST_F(VideoInput, AFailureIsRetriedInSilenceWhereTheHostWantsIt) {
    ASSERT_EQ(start(1), S_OK);
    script->failNext(E_FAIL);
    ASSERT_TRUE(eventually([&] { return countOf(preview, eventMessage) > 0; }));
    context->Notify();
    EXPECT_TRUE(context->Previewing());
    EXPECT_TRUE(boxes().empty());
    show(6);
}

TEST_F(VideoInput, ItIsNotRetriedBeyondEightSeconds) {
    ASSERT_EQ(start(1), S_OK);
    fakes.clock.advance(8000);
    script->failNext(E_FAIL);
    ASSERT_TRUE(lostPreview());
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_TRUE(boxes()[0].starts_with(u"ids_captureerror"));
}

TEST_F(VideoInput, EveryCallReturnsWhereTheDeviceHangs) {
    ASSERT_EQ(start(), S_OK);
    script->hang();
    context->SetEsize(4u << 16 | 16u, false);
    context->SetPlayState(playStopped);
    context->SetPlayState(playRunning);
    context.reset();
    EXPECT_FALSE(script->streaming());
}

// --- Dark field

TEST_F(VideoInput, ADarkFieldIsTakenSubtractedAndToldOnTheWay) {
    ASSERT_EQ(start(), S_OK);
    EXPECT_EQ(context->CaptureDfc(2), 1);
    show(10);
    show(20);
    ASSERT_TRUE(eventually([&] { return countOf(owner, dfcMessage) == 2; }));
    const auto told = owner.messages();
    EXPECT_EQ(told[0].wparam, 1u);
    EXPECT_EQ(told[0].lparam, 2);
    EXPECT_EQ(told[1].wparam, 0u);
    EXPECT_EQ(told[1].lparam, 0);
    EXPECT_TRUE(context->FindDfc()->HasDfc());
    show(40);
    EXPECT_EQ(pixel(0, 0), (Pixel{40, 40, 40})) << "it is not switched on";
    context->EnableDfc(1);
    show(40);
    EXPECT_EQ(pixel(0, 0), (Pixel{25, 25, 25}));
    show(12);
    EXPECT_EQ(pixel(7, 3), (Pixel{0, 0, 0}));
}

TEST_F(VideoInput, ADarkFieldOutlivesARebuildOfTheSameSizeAndNoOther) {
    ASSERT_EQ(start(), S_OK);
    EXPECT_EQ(context->CaptureDfc(1), 1);
    show(10);
    ASSERT_TRUE(eventually([&] { return countOf(owner, dfcMessage) == 1; }));
    context->EnableDfc(1);
    ASSERT_EQ(context->PutFormat(2).code(), S_OK);
    show(30);
    EXPECT_EQ(pixel(1, 1), (Pixel{20, 20, 20}));
    ASSERT_EQ(context->PutFormat(1).code(), S_OK);
    show(30);
    EXPECT_EQ(pixel(1, 1), (Pixel{30, 30, 30}));
    EXPECT_FALSE(context->FindDfc()->HasDfc());
    EXPECT_EQ(context->CaptureDfc(1), 1) << "the new size can have a dark field of its own";
    show(5);
    ASSERT_TRUE(eventually([&] { return countOf(owner, dfcMessage) == 2; }));
    EXPECT_TRUE(context->FindDfc()->HasDfc());
}

// --- Stills

TEST_F(VideoInput, ItHasAStillPathWhereTheHostWantsOne) {
    make();
    ASSERT_EQ(context->Start(still.native(), stillMessage, 1, 0, 0).code(), S_OK);
    std::vector<vex_capability> told;
    EXPECT_EQ(context->StillCapabilities(told), 1) << "a still has the format of the preview";
    ASSERT_EQ(context->Start(still.native(), stillMessage, 0, 0, 0).code(), S_OK);
    told.clear();
    EXPECT_EQ(context->StillCapabilities(told), 0);
}

// --- Media files

class MediaFile : public ContextFixture {
protected:
    MediaFile() {
        init();
        fakes.media.files[u"film.avi"] = {
            .info = {.width = 8, .height = 4, .interval = 100'000, .duration = 1'000'000, .seekable = true},
            .pictures = 10};
        context = CaptureContext::CreateForFile(engine, owner.native(), preview.native(), u"film.avi");
    }
    ~MediaFile() override { context.reset(); }
    /// Does the sink show this picture of the file?
    bool shows(uint64_t number) {
        const auto wanted = numberedPicture(8, 4, number);
        std::vector<uint8_t> image(sizeof(vex_bitmap_header) + wanted.size());
        return context->Preview().GetImage(image.data(), int32_t(wanted.size()), 0) >= 0 &&
               std::memcmp(image.data() + sizeof(vex_bitmap_header), wanted.data(), wanted.size()) == 0;
    }
    std::unique_ptr<CaptureContext> context;
};

TEST_F(MediaFile, AnEmptyPathGivesNoContext) {
    EXPECT_EQ(CaptureContext::CreateForFile(engine, nullptr, nullptr, u""), nullptr);
}

TEST_F(MediaFile, ItIsPlayedToItsEndAndRewoundWithoutABox) {
    ASSERT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), S_OK);
    EXPECT_EQ(context->Duration(), 1'000'000);
    EXPECT_EQ(context->SeekCaps(), 47u);
    EXPECT_EQ(preview.messages().front().message, sizeMessage);
    ASSERT_TRUE(eventually([&] {
        if (countOf(preview, eventMessage)) context->Notify();
        return context->PlayState() == playStopped;
    }));
    EXPECT_EQ(countOf(preview, frameMessage), 11u) << "ten pictures, and the first one anew";
    EXPECT_TRUE(shows(0));
    EXPECT_EQ(context->Position(), 0);
    EXPECT_TRUE(boxes().empty());
    preview.clear();
    context->SetPlayState(playRunning);
    ASSERT_TRUE(eventually([&] { return shows(9); })) << "it can be played again";
}

TEST_F(MediaFile, ASeekWhileStoppedShowsThePictureThere) {
    ASSERT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), S_OK);
    context->SetPlayState(playStopped);
    context->SetPosition(700'000);
    ASSERT_TRUE(eventually([&] { return shows(7); }));
    EXPECT_EQ(context->Position(), 700'000);
    EXPECT_EQ(context->PlayState(), playStopped);
}

TEST_F(MediaFile, ASeekWhilePausedShowsThePictureThere) {
    ASSERT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), S_OK);
    context->SetPlayState(playPaused);
    context->SetPosition(300'000);
    ASSERT_TRUE(eventually([&] { return shows(3); }));
    EXPECT_EQ(context->PlayState(), playPaused);
}

TEST_F(MediaFile, ItHasTheSizeThatItHas) {
    ASSERT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), S_OK);
    context->SetEsize(1u << 16 | 1u, false);
    EXPECT_TRUE(context->Previewing());
    ASSERT_TRUE(eventually([&] { return shows(9); }));
}

TEST_F(MediaFile, AFileThatCannotBeOpenedGivesItsCodeAndNoBox) {
    const auto missing = CaptureContext::CreateForFile(engine, owner.native(), preview.native(), u"nothing.avi");
    EXPECT_EQ(missing->Start(nullptr, 0, 0, 0, 0).code(), VEX_E_FILE_NOT_FOUND);
    EXPECT_FALSE(missing->HasSource());
    fakes.media.available = false;
    EXPECT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), VEX_E_NO_MODULE);
    EXPECT_TRUE(boxes().empty());
}

TEST_F(MediaFile, ABrokenFileStopsShowingAndNothingElse) {
    fakes.media.files[u"film.avi"].failAt = 5;
    ASSERT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), S_OK);
    ASSERT_TRUE(eventually([&] { return countOf(preview, eventMessage) > 0; }));
    context->Notify();
    EXPECT_TRUE(boxes().empty());
    EXPECT_TRUE(shows(4));
}

}  // namespace graph_road_test
}  // namespace vexcap
