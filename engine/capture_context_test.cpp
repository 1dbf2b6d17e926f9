#include "engine/capture_context.h"

#include "engine/context_testing.h"

namespace vexcap {
namespace capture_context_test {

class CaptureContextTest : public ContextFixture {
protected:
    std::unique_ptr<CaptureContext> create(const vex_char* name, const vex_char* display, uint32_t kind) {
        const vex_device device = {name, display, kind, 0};
        return CaptureContext::Create(engine, owner.native(), preview.native(), &device, nullptr, nullptr, nullptr);
    }
    /// One raw frame of the scripted camera.
    void deliverRaw() { camera.deliverRaw(raw.data(), 64, 48, 8); }
    std::vector<uint8_t> raw = std::vector<uint8_t>(64 * 48);
};

TEST_F(CaptureContextTest, ARecordOfKind4GivesNull) { EXPECT_EQ(create(u"a.wmv", u"a", VEX_KIND_FILE), nullptr); }

TEST_F(CaptureContextTest, UnknownKindsGiveNull) {
    for (const uint32_t kind : {0u, 7u, UINT32_MAX}) EXPECT_EQ(create(u"a", u"a", kind), nullptr) << kind;
}

TEST_F(CaptureContextTest, AMissingRecordNameOrDisplayNameGivesNull) {
    EXPECT_EQ(CaptureContext::Create(engine, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(create(nullptr, u"a", VEX_KIND_CAMERA), nullptr);
    EXPECT_EQ(create(u"a", nullptr, VEX_KIND_CAMERA), nullptr);
}

// A network context asks nothing of the camera library, even where a camera would open.
TEST_F(CaptureContextTest, NamesThatBeginTkMakeANetworkContextForKinds1And2) {
    init();
    for (const uint32_t kind : {VEX_KIND_CAMERA, VEX_KIND_NETWORK_LIST}) {
        auto context = create(u"tk123", u"a", kind);
        ASSERT_NE(context, nullptr);
        EXPECT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL);
    }
    EXPECT_TRUE(library.opened.empty());
}

TEST_F(CaptureContextTest, ACapitalTDoesNotMakeANetworkContext) {
    init();
    for (const vex_char* name : {u"Tk123", u"tK123", u"t"}) {
        auto context = create(name, u"a", VEX_KIND_CAMERA);
        EXPECT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
        EXPECT_EQ(library.opened.back(), name);
    }
}

TEST_F(CaptureContextTest, Kind6IsANetworkContextWhateverItsName) {
    init();
    auto context = create(u"front door", u"a", VEX_KIND_NETWORK_CAMERA);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL);
    EXPECT_TRUE(library.opened.empty());
}

TEST_F(CaptureContextTest, AStartOpensBuildsAndRunsInThisOrder) {
    auto context = startedContext();
    EXPECT_EQ(library.opened, std::vector<std::u16string>{u"$camera"});
    EXPECT_EQ(camera.calls, (std::vector<std::string>{"PutOption(17,25)", "StartPull", "Pause(0)"}));
    EXPECT_TRUE(context->HasSource());
    EXPECT_TRUE(context->Previewing());
    ASSERT_EQ(preview.messages().size(), 1u);
    EXPECT_EQ(preview.messages()[0].message, sizeMessage);
    EXPECT_EQ(preview.messages()[0].wparam, 64u);
    EXPECT_EQ(preview.messages()[0].lparam, 48);
}

TEST_F(CaptureContextTest, ACameraThatDoesNotOpenEndsTheStart) {
    library.refuses = true;
    init();
    auto context = makeContext();
    EXPECT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL);
    EXPECT_FALSE(context->HasSource());
}

TEST_F(CaptureContextTest, TheReasonOfACameraThatDoesNotOpenIsKept) {
    library.refuses = true;
    const auto reason = [this] {
        init();
        const auto context = makeContext();
        EXPECT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL);
        return context->LastFailure().code;
    };
    for (const HRESULT why : {VEX_E_BUSY, E_ACCESSDENIED, VEX_E_FILE_NOT_FOUND}) {
        library.openStatus = why;
        EXPECT_EQ(reason(), why);
    }
    library.openStatus = S_OK;
    EXPECT_EQ(reason(), E_FAIL) << "a library that contradicts itself";
    library.openStatus = VEX_E_BUSY;
    scriptCameraLibrary("Test_OpenStatus");
    EXPECT_EQ(reason(), E_FAIL) << "a library that does not say";
}

TEST_F(CaptureContextTest, WithoutACameraLibraryTheStartFails) {
    fakes.loader.hide(u"camera.so");
    init();
    EXPECT_EQ(makeContext()->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL);
}

TEST_F(CaptureContextTest, ABitDepthOf7EndsTheStartAndTheCameraIsClosedByTheEnd) {
    camera.bitDepth = 7;
    init();
    auto context = makeContext();
    EXPECT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL);
    EXPECT_TRUE(context->HasSource());
    EXPECT_FALSE(camera.closed);
    context.reset();
    EXPECT_TRUE(camera.closed);
}

TEST_F(CaptureContextTest, ACameraLeftOpenByAFailedStartIsClosedByTheNextOne) {
    camera.bitDepth = 7;
    init();
    auto context = makeContext();
    ASSERT_FALSE(context->Start(nullptr, 0, 0, 0, 0).ok());
    camera.bitDepth = 8;
    camera.calls.clear();
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    EXPECT_EQ(camera.calls.front(), "Close");
    EXPECT_EQ(library.opened.size(), 2u);
}

TEST_F(CaptureContextTest, ACameraThatDoesNotStartFailsAndLetsNoCallbackIn) {
    camera.startResult = VEX_E_BUSY;
    init();
    auto context = makeContext();
    EXPECT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL);
    EXPECT_FALSE(context->Previewing());
    preview.clear();
    camera.deliverEvent(5);
    EXPECT_TRUE(preview.messages().empty());
}

TEST_F(CaptureContextTest, ASecondStartEndsTheOldPreviewBeforeItBuildsTheNewOne) {
    auto context = startedContext();
    camera.calls.clear();
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    EXPECT_EQ(camera.calls, (std::vector<std::string>{"Stop", "Close", "PutOption(17,25)", "StartPull", "Pause(0)"}));
    EXPECT_TRUE(context->Previewing());
}

TEST_F(CaptureContextTest, NothingPendingNotifyDoesNothing) {
    auto context = startedContext();
    context->Notify();
    EXPECT_TRUE(context->Previewing());
    EXPECT_TRUE(boxes().empty());
}

TEST_F(CaptureContextTest, ALostStreamStopsThePreviewAndTellsTheUserOnce) {
    auto context = startedContext();
    camera.deliverLoss();
    context->Notify();
    EXPECT_FALSE(context->Previewing());
    EXPECT_TRUE(camera.wasCalled("Stop"));
    EXPECT_EQ(boxes(), std::vector<std::u16string>{u"ids_captureerror"});
}

TEST_F(CaptureContextTest, ARemovedCameraIsCalledRemoved) {
    auto context = startedContext();
    camera.state = VEX_CAMERA_STATE_REMOVED;
    camera.deliverLoss();
    context->Notify();
    EXPECT_EQ(boxes(), std::vector<std::u16string>{u"ids_surpriseremoval"});
}

TEST_F(CaptureContextTest, StatesOtherThanRemovedAreAnyFailure) {
    for (const uint32_t state : {1u, 2u, 99u}) {
        auto context = startedContext();
        fakes.messageBox.shown.clear();
        camera.state = state;
        camera.deliverLoss();
        context->Notify();
        EXPECT_EQ(boxes(), std::vector<std::u16string>{u"ids_captureerror"}) << state;
    }
}

TEST_F(CaptureContextTest, AFailureOnACameraWithRetryStartShowsTheBoxAtOnce) {
    init();
    auto context = makeContext();
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 1).ok());
    camera.deliverLoss();
    context->Notify();
    EXPECT_FALSE(context->Previewing());
    EXPECT_EQ(boxes().size(), 1u);
}

TEST_F(CaptureContextTest, AFrameWithoutInfoCountsAsLost) {
    auto context = startedContext();
    uint8_t pixel = 0;
    camera.frameCallback(&pixel, nullptr, 0, nullptr, nullptr, 0, 0, 0, camera.context);
    context->Notify();
    EXPECT_FALSE(context->Previewing());
}

TEST_F(CaptureContextTest, AStartAfterALossRunsAgain) {
    auto context = startedContext();
    camera.deliverLoss();
    context->Notify();
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    context->Notify();
    EXPECT_TRUE(context->Previewing());
}

TEST_F(CaptureContextTest, FramesArePostedWhileThePreviewRuns) {
    auto context = startedContext();
    camera.deliver(1, 64, 48);
    camera.deliver(2, 64, 48);
    EXPECT_EQ(countOf(preview, frameMessage), 2u);
}

TEST_F(CaptureContextTest, TheAccessorsReadNothingWhileIdle) {
    auto context = startedContext();
    const Recording& recording = context->recording();
    EXPECT_EQ(recording.captureMode(), captureIdle);
    EXPECT_EQ(recording.frameCount(), 0u);
    vex_recording_counts counts = {};
    EXPECT_FALSE(recording.Counts(counts));
}

TEST_F(CaptureContextTest, APathWithoutExtensionYieldsASerFile) {
    auto context = startedContext();
    ASSERT_EQ(context->StartCaptureAstro(u"jupiter", 0, 0).code(), S_OK);
    deliverRaw();
    context->StopCapture();
    ASSERT_EQ(fakes.files.bytes(u"jupiter").size(), 178u + 64 * 48);
    EXPECT_EQ(std::memcmp(fakes.files.bytes(u"jupiter").data(), "LUCAM-RECORDER", 14), 0);
}

TEST_F(CaptureContextTest, LimitsOfZeroOrBelowMeanUnlimitedAndStartNoTimer) {
    auto context = startedContext();
    for (const int32_t limit : {0, -1, INT32_MIN}) {
        ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", limit, limit).ok());
        EXPECT_EQ(context->recording().timeLimit(), 0u);
        EXPECT_EQ(context->recording().frameLimit(), 0u);
        EXPECT_EQ(owner.timerCount(), 0u);
        context->StopCapture();
    }
}

TEST_F(CaptureContextTest, AFrameLimitKeepsExactlyThatManyAndTheTimerEndsTheRecording) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 3).ok());
    ASSERT_EQ(owner.timerCount(), 1u);
    for (int i = 0; i < 2; ++i) deliverRaw();
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureFrameSink);
    for (int i = 0; i < 5; ++i) deliverRaw();
    EXPECT_EQ(context->recording().frameCount(), 3u);
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    EXPECT_EQ(owner.timerCount(), 0u);
    EXPECT_EQ(fakes.files.bytes(u"a.ser").size(), 178u + 3 * 64 * 48);
    ASSERT_EQ(countOf(preview, limitMessage), 1u);
    EXPECT_EQ(preview.messages().back().wparam, 1u);
    EXPECT_EQ(preview.messages().back().lparam, 0);
}

TEST_F(CaptureContextTest, ATimeLimitEndsTheRecordingAfterWholeSeconds) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 2, 0).ok());
    deliverRaw();
    fakes.clock.advance(1999);
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureFrameSink);
    fakes.clock.advance(1);
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    EXPECT_EQ(countOf(preview, limitMessage), 1u);
}

TEST_F(CaptureContextTest, TheCountsOfAnEndedRecordingStayReadable) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 2).ok());
    for (int i = 0; i < 4; ++i) deliverRaw();
    fakes.clock.advance(250);
    owner.fireTimers();
    vex_recording_counts counts = {};
    ASSERT_TRUE(context->recording().Counts(counts));
    EXPECT_EQ(counts.offered, 2u);
    EXPECT_EQ(counts.kept, 2u);
    EXPECT_EQ(counts.written, 2u);
    EXPECT_EQ(counts.lost, 0u);
    EXPECT_EQ(counts.bytes, 2u * 64 * 48);
    EXPECT_EQ(counts.elapsed, 250u);
    EXPECT_EQ(counts.lastFailure, S_OK);
}

TEST_F(CaptureContextTest, ARecordingWithoutFramesLeavesNoFile) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    EXPECT_TRUE(fakes.files.exists(u"a.ser"));
    context->StopCapture();
    EXPECT_FALSE(fakes.files.exists(u"a.ser"));
}

TEST_F(CaptureContextTest, TheEndOfTheContextMakesTheFileWhole) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 10, 0).ok());
    deliverRaw();
    context.reset();
    EXPECT_EQ(owner.timerCount(), 0u);
    const auto file = fakes.files.bytes(u"a.ser");
    ASSERT_EQ(file.size(), 178u + 64 * 48);
    EXPECT_EQ(file[38], 1u);
}

TEST_F(CaptureContextTest, ADeviceLossLeavesTheRecordingForTheHostToEnd) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    deliverRaw();
    camera.deliverLoss();
    context->Notify();
    EXPECT_EQ(context->recording().captureMode(), captureFrameSink);
    context->StopCapture();
    EXPECT_EQ(fakes.files.bytes(u"a.ser").size(), 178u + 64 * 48);
}

TEST_F(CaptureContextTest, AStartWhileRecordingIsRefusedAndLosesNoFrameOfTheFile) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    deliverRaw();
    const size_t calls = camera.calls.size();
    EXPECT_EQ(context->Start(still.native(), stillMessage, 1, 0, 0).code(), E_FAIL);
    EXPECT_EQ(camera.calls.size(), calls) << "the camera is not touched";
    EXPECT_TRUE(context->Previewing());
    deliverRaw();
    context->StopCapture();
    EXPECT_EQ(fakes.files.bytes(u"a.ser").size(), 178u + 2 * 64 * 48);
    EXPECT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
}

TEST_F(CaptureContextTest, ASecondRecordingFinishesTheFirst) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    deliverRaw();
    ASSERT_TRUE(context->StartCaptureAstro(u"b.ser", 0, 0).ok());
    deliverRaw();
    deliverRaw();
    context->StopCapture();
    EXPECT_EQ(fakes.files.bytes(u"a.ser")[38], 1u);
    EXPECT_EQ(fakes.files.bytes(u"b.ser")[38], 2u);
}

TEST_F(CaptureContextTest, APausedContextDropsFramesWithoutCountingThem) {
    std::atomic<uint32_t> playState = playPaused;
    Recording recording(ports, playState);
    recording.Prepare({.fullPath = u"p.ser"});
    ASSERT_TRUE(recording.OpenSer(u"A", 0, 8, 64, 48).ok());
    recording.Begin(captureFrameSink);
    recording.onRawFrame(raw.data(), 64, 48, 8);
    EXPECT_EQ(recording.frameCount(), 0u);
    playState = playRunning;
    recording.onRawFrame(raw.data(), 64, 48, 8);
    EXPECT_EQ(recording.frameCount(), 1u);
}

TEST_F(CaptureContextTest, OutsideAstroModeNoRawFrameIsWritten) {
    arguments.astroMode = 0;
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    deliverRaw();
    context->StopCapture();
    EXPECT_FALSE(fakes.files.exists(u"a.ser"));
}

TEST_F(CaptureContextTest, ARawFormatThatCannotBeReadIsTheAnswer) {
    auto context = startedContext();
    camera.rawFormatResult = E_UNEXPECTED;
    EXPECT_EQ(context->StartCaptureAstro(u"a.ser", 0, 0).code(), E_UNEXPECTED);
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    EXPECT_FALSE(fakes.files.exists(u"a.ser"));
}

TEST_F(CaptureContextTest, ARawDepthOfZeroStartsNothingAndIsASuccess) {
    auto context = startedContext();
    camera.rawDepth = 0;
    EXPECT_EQ(context->StartCaptureAstro(u"a.ser", 0, 0).code(), S_OK);
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
}

TEST_F(CaptureContextTest, ACameraWithoutRawFramesSaysSo) {
    auto context = startedContext();
    camera.offersRaw = false;
    EXPECT_EQ(context->StartCaptureAstro(u"a.ser", 0, 0).code(), E_NOINTERFACE);
}

TEST_F(CaptureContextTest, AFileThatCannotBeMadeIsShownAsAFailedRecording) {
    auto context = startedContext();
    fakes.files.fail(DiskOperation::Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(startCaptureAstro(engine, context.get(), u"a.ser", 0, 0).code(), E_FAIL);
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_TRUE(boxes()[0].starts_with(u"ids_recordfail1\r\nhr = 0x80004005 ("));
}

TEST_F(CaptureContextTest, AnAstroStartWithoutAContextIsShownToo) {
    init();
    EXPECT_EQ(startCaptureAstro(engine, nullptr, u"a.ser", 0, 0).code(), E_FAIL);
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_TRUE(boxes()[0].starts_with(u"ids_recordfail1\r\n"));
}

TEST_F(CaptureContextTest, PathsThatNoFieldHoldsAreRefused) {
    auto context = startedContext();
    EXPECT_EQ(context->StartCaptureAstro(u"", 0, 0).code(), E_FAIL);
    EXPECT_EQ(context->StartCaptureAstro(std::u16string(260, u'a'), 0, 0).code(), E_FAIL);
    EXPECT_TRUE(context->StartCaptureAstro(std::u16string(259, u'a'), 0, 0).ok());
}

TEST_F(CaptureContextTest, ARecordingBeforeTheStartFails) {
    init();
    EXPECT_EQ(makeContext()->StartCaptureAstro(u"a.ser", 0, 0).code(), E_FAIL);
}

TEST_F(CaptureContextTest, FramesOfAnotherSizeAreNotWrittenAndCountAsLost) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    deliverRaw();
    camera.deliverRaw(raw.data(), 32, 48, 8);
    camera.deliverRaw(raw.data(), 0, 0, 8);
    camera.deliverRaw(raw.data(), UINT32_MAX, UINT32_MAX, 8);
    camera.deliverRaw(raw.data(), 64, 48, 16);
    context->StopCapture();
    vex_recording_counts counts = {};
    ASSERT_TRUE(context->recording().Counts(counts));
    EXPECT_EQ(counts.written, 1u);
    EXPECT_EQ(counts.offered, 5u);
    EXPECT_EQ(counts.lost, 4u);
    EXPECT_EQ(fakes.files.bytes(u"a.ser").size(), 178u + 64 * 48);
}

TEST_F(CaptureContextTest, TheTimerIgnoresACallThatComesWhileItIsOpen) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 1).ok());
    deliverRaw();
    owner.fireTimers();
    owner.fireTimers();
    EXPECT_EQ(countOf(preview, limitMessage), 1u);
}

}  // namespace capture_context_test
}  // namespace vexcap
