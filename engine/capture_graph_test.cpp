// Recordings that go through a capture graph.
#include "base/text.h"
#include "engine/media_graph_testing.h"
#include "recording/compressor_filter.h"

namespace vexcap {
namespace capture_graph_test {

constexpr const vex_char* codecName = u"@device:sw:fake";

class DeviceRecording : public DeviceFixture {
protected:
    DeviceRecording() : codec(fakes.media.addCompressor({codecName, u"Fake codec"})) { EXPECT_EQ(start(), S_OK); }

    HRESULT record(std::u16string_view name = u"", int32_t seconds = 0) {
        return startCaptureAvi(engine, context.get(), u"a.avi", name, seconds).code();
    }
    uint32_t written() {
        vex_recording_counts counts = {};
        context->RecordingCounts(counts);
        return counts.written;
    }
    /// Lets the device give frames, each when the one before is in the file.
    void feed(std::initializer_list<uint8_t> fills) {
        for (const uint8_t fill : fills) {
            const uint32_t before = written();
            push({.fill = fill});
            ASSERT_TRUE(eventually([&] { return written() > before; }));
        }
    }

    FakeCodec& codec;
};

TEST_F(DeviceRecording, WithoutACompressorItIsUncompressed) {
    ASSERT_EQ(record(), S_OK);
    EXPECT_EQ(context->recording().captureMode(), captureGraph);
    EXPECT_EQ(context->PlayState(), playRunning);
    feed({11, 22, 33});
    context->StopCapture();
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    const test::AviContent file = fileAt(u"a.avi");
    EXPECT_TRUE(file.faults.empty());
    EXPECT_EQ(file.bitmap.compression, 0u);
    EXPECT_EQ(file.bitmap.width, 8u);
    EXPECT_EQ(file.bitmap.height, 4u);
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{11, 22, 33}));
    EXPECT_TRUE(boxes().empty());
}

TEST_F(DeviceRecording, ThePreviewGoesOnWhileItRunsAndAfterwards) {
    ASSERT_EQ(record(), S_OK);
    show(50);
    EXPECT_EQ(pixel(0, 0), (std::vector<uint16_t>{50, 50, 50}));
    context->StopCapture();
    EXPECT_TRUE(context->Previewing());
    EXPECT_EQ(context->PlayState(), playRunning);
    show(60);
    EXPECT_EQ(pixel(0, 0), (std::vector<uint16_t>{60, 60, 60}));
}

TEST_F(DeviceRecording, ACompressorStandsBetweenThePictureAndTheFile) {
    ASSERT_EQ(record(u"Fake codec"), S_OK);
    feed({1, 2});
    context->StopCapture();
    const test::AviContent file = fileAt(u"a.avi");
    EXPECT_TRUE(file.faults.empty());
    EXPECT_EQ(file.bitmap.compression, fourcc("FAKE"));
    ASSERT_EQ(file.frames().size(), 2u);
    const std::vector<uint8_t> bytes = fakes.files.bytes(u"a.avi");
    EXPECT_EQ(bytes.at(file.frames()[1].position + fakeHeadBytes), 2 ^ 0xA5);
    EXPECT_DOUBLE_EQ(codec.settings.quality, 1.0) << "the setting's standard";
}

TEST_F(DeviceRecording, PicturesThatTheCompressorHoldsBackReachTheFile) {
    codec.delay = 2;
    ASSERT_EQ(record(codecName), S_OK);
    for (uint8_t fill = 1; fill <= 4; ++fill) push({.fill = fill});
    ASSERT_TRUE(eventually([&] { return codec.put == 4; }));
    context->StopCapture();
    EXPECT_EQ(fileAt(u"a.avi").frames().size(), 4u);
}

TEST_F(DeviceRecording, ACompressorThatIsNotThereIsToldAndNothingBegins) {
    EXPECT_EQ(record(u"Another"), E_INVALIDARG);
    codec.mostWidth = 4;
    EXPECT_EQ(record(codecName), E_INVALIDARG);
    EXPECT_EQ(boxes().size(), 2u);
    EXPECT_TRUE(context->Previewing());
    EXPECT_FALSE(fakes.files.exists(u"a.avi"));
    show(4);
}

TEST_F(DeviceRecording, ARememberedCompressorThatRefusesTheSizeGivesWayToNone) {
    codec.mostWidth = 4;
    engine.rootKey->WriteText(u"AviCodec", codecName).ignore();
    engine.rootKey->WriteNumber(u"VideoCaptureAVI", 1).ignore();
    ASSERT_EQ(context->StartCaptureMicro(false, true, nullptr).code(), S_OK);
    feed({7});
    const std::u16string path = context->recording().captureFile();
    context->StopCapture();
    EXPECT_EQ(fileAt(path).bitmap.compression, 0u);
    EXPECT_EQ(framesOf(path), (std::vector<int>{7}));
}

TEST_F(DeviceRecording, DarkFieldFlipGreyAndNegativeAreInTheFileOnce) {
    EXPECT_EQ(context->CaptureDfc(1), 1);
    show(10);
    ASSERT_TRUE(eventually([&] { return countOf(owner, dfcMessage) == 1; }));
    context->EnableDfc(1);
    context->PutNegative(1);
    ASSERT_EQ(record(), S_OK);
    feed({110});
    // 255 - (110 - 10), also in the preview, which may come later.
    EXPECT_TRUE(eventually([&] { return pixel(0, 0) == std::vector<uint16_t>{155, 155, 155}; }));
    context->PutNegative(0);
    context->EnableDfc(0);
    feed({110});
    context->StopCapture();
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{155, 110}));
}

TEST_F(DeviceRecording, TimeLapseKeepsOneInSoMany) {
    context->PutTimeLapse(3);
    ASSERT_EQ(record(), S_OK);
    for (uint8_t i = 0; i < 7; ++i) show(i);
    ASSERT_TRUE(eventually([&] { return written() == 3; }));
    context->StopCapture();
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{0, 3, 6}));
}

TEST_F(DeviceRecording, ATimeLimitEndsItAndBringsThePreviewBack) {
    ASSERT_EQ(record(u"", 5), S_OK);
    feed({1});
    fakes.clock.advance(4999);
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureGraph);
    fakes.clock.advance(1);
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    EXPECT_EQ(countOf(preview, limitMessage), 1u);
    EXPECT_EQ(owner.timerCount(), 0u);
    EXPECT_TRUE(context->Previewing());
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{1}));
}

TEST_F(DeviceRecording, AFrameLimitAloneNeverEndsIt) {
    ASSERT_EQ(startCaptureAstro(engine, context.get(), u"a.avi", 0, 2).code(), S_OK);
    feed({1, 2, 3});
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureGraph);
    EXPECT_EQ(context->recording().frameCount(), 0u) << "a device's graph does not count";
    context->StopCapture();
}

TEST_F(DeviceRecording, AFullDiskEndsItWithItsCodeAndWhatWasWrittenStays) {
    ASSERT_EQ(record(), S_OK);
    feed({1, 2});
    fakes.files.fail(DiskOperation::Kind::Write, VEX_E_DISK_FULL);
    push({.fill = 3});
    ASSERT_TRUE(eventually([&] { return countOf(preview, eventMessage) > 0; }));
    fakes.files.fail(DiskOperation::Kind::Write, S_OK);
    context->Notify();
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_NE(boxes()[0].find(u"hr = 0x80070070"), std::u16string::npos) << toUtf8(boxes()[0]);
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{1, 2}));
    vex_recording_counts counts = {};
    ASSERT_TRUE(context->RecordingCounts(counts));
    EXPECT_EQ(counts.written, 2u);
    EXPECT_EQ(counts.lost, 1u);
    EXPECT_EQ(counts.lastFailure, VEX_E_DISK_FULL);
}

TEST_F(DeviceRecording, AnUnpluggedDeviceLeavesAWholeFile) {
    ASSERT_EQ(record(), S_OK);
    feed({1, 2});
    script->unplug();
    ASSERT_TRUE(eventually([&] {
        context->Notify();
        return context->recording().captureMode() == captureIdle;
    }));
    EXPECT_TRUE(fileAt(u"a.avi").faults.empty());
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{1, 2}));
    EXPECT_FALSE(context->Previewing());
}

TEST_F(DeviceRecording, AFileThatCannotBeMadeLeavesThePreview) {
    fakes.files.fail(DiskOperation::Kind::Create, VEX_E_PATH_NOT_FOUND);
    EXPECT_EQ(record(), E_FAIL);
    ASSERT_FALSE(boxes().empty());
    EXPECT_TRUE(boxes()[0].starts_with(u"ids_previewfail")) << toUtf8(boxes()[0]);
    EXPECT_TRUE(context->Previewing());
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    show(1);
}

TEST_F(DeviceRecording, AfterOneThatFailedTheNextOneIsWhole) {
    fakes.files.fail(DiskOperation::Kind::Create, VEX_E_PATH_NOT_FOUND);
    EXPECT_EQ(record(), E_FAIL);
    fakes.files.fail(DiskOperation::Kind::Create, S_OK);
    ASSERT_EQ(record(), S_OK);
    feed({5, 6});
    context->StopCapture();
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{5, 6}));
}

TEST_F(DeviceRecording, StoppingTheContextLeavesAWholeFile) {
    ASSERT_EQ(record(), S_OK);
    feed({1, 2, 3});
    context.reset();
    EXPECT_TRUE(fileAt(u"a.avi").faults.empty());
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{1, 2, 3}));
}

TEST_F(DeviceRecording, GoesOnWhenANewStartIsRefused) {
    ASSERT_EQ(record(), S_OK);
    feed({1});
    EXPECT_EQ(start(), E_FAIL);
    feed({2});
    context->StopCapture();
    EXPECT_EQ(framesOf(u"a.avi"), (std::vector<int>{1, 2}));
    EXPECT_EQ(start(), S_OK);
}

TEST_F(DeviceRecording, FramesThatTheDeviceLostAreCounted) {
    ASSERT_EQ(record(), S_OK);
    feed({1});
    push({.fill = 2, .lostBefore = 3});
    ASSERT_TRUE(eventually([&] { return written() == 2; }));
    vex_recording_counts counts = {};
    context->RecordingCounts(counts);
    EXPECT_EQ(counts.lost, 3u);
    context->StopCapture();
    ASSERT_TRUE(context->RecordingCounts(counts));
    EXPECT_EQ(counts.lost, 3u);
    EXPECT_EQ(counts.written, 2u);
}

// --- A camera's frames through a compressor

class CameraRecording : public ContextFixture {
protected:
    CameraRecording() : codec(fakes.media.addCompressor({codecName, u"Fake codec"})) {
        arguments.astroMode = 0;
        context = startedContext();
    }
    ~CameraRecording() override { context.reset(); }
    FakeCodec& codec;
    std::unique_ptr<CaptureContext> context;
};

TEST_F(CameraRecording, ItsFramesGoThroughTheCompressorAndAreCounted) {
    ASSERT_EQ(startCaptureAvi(engine, context.get(), u"a.avi", codecName, 0).code(), S_OK);
    EXPECT_EQ(context->recording().captureMode(), captureGraph);
    EXPECT_TRUE(camera.wasCalled("PutOption(1,0)"));
    for (uint32_t i = 0; i < 3; ++i) {
        camera.deliver(uint8_t(10 * i), 64, 48);
        ASSERT_TRUE(eventually([&] { return codec.put == i + 1; }));
    }
    EXPECT_EQ(context->recording().frameCount(), 3u);
    context->StopCapture();
    EXPECT_TRUE(camera.wasCalled("PutOption(1,1)"));
    const std::vector<uint8_t> bytes = fakes.files.bytes(u"a.avi");
    std::istringstream stream(std::string(bytes.begin(), bytes.end()));
    const test::AviContent file = test::readAvi(stream);
    EXPECT_TRUE(file.faults.empty());
    EXPECT_EQ(file.bitmap.compression, fourcc("FAKE"));
    ASSERT_EQ(file.frames().size(), 3u);
    EXPECT_EQ(bytes.at(file.frames()[2].position + fakeHeadBytes), 20 ^ 0xA5);
    EXPECT_TRUE(context->Previewing());
    camera.deliver(1, 64, 48);
    EXPECT_EQ(codec.put, 3u) << "the recording is over";
}

TEST_F(CameraRecording, WithoutACompressorItNeedsNoGraph) {
    ASSERT_EQ(startCaptureAvi(engine, context.get(), u"a.avi", u"", 0).code(), S_OK);
    EXPECT_EQ(context->recording().captureMode(), captureFrameSink);
    context->StopCapture();
}

TEST_F(CameraRecording, ACameraThatWillNotStartAgainEndsInAnErrorAndWithoutAFile) {
    camera.startResult = E_FAIL;
    EXPECT_EQ(startCaptureAvi(engine, context.get(), u"a.avi", codecName, 0).code(), E_FAIL);
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    EXPECT_FALSE(context->Previewing());
}

TEST_F(CameraRecording, ALostCameraKeepsTheFileOpenUntilTheHostStops) {
    ASSERT_EQ(startCaptureAvi(engine, context.get(), u"a.avi", codecName, 0).code(), S_OK);
    camera.deliver(1, 64, 48);
    ASSERT_TRUE(eventually([&] { return codec.put == 1; }));
    camera.deliverLoss();
    context->Notify();
    EXPECT_EQ(boxes().size(), 1u);
    EXPECT_EQ(context->recording().captureMode(), captureGraph);
    context->StopCapture();
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
}

}  // namespace capture_graph_test
}  // namespace vexcap
