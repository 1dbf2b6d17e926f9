// How recordings start: what is asked of the source, the settings and the user, and where the frames go then.
#include <initializer_list>

#include "base/dib.h"
#include "base/text.h"
#include "engine/context_testing.h"

namespace vexcap {
namespace capture_start_test {

constexpr size_t pictureBytes = 64 * 48 * 3;

uint32_t le32(const std::vector<uint8_t>& bytes, size_t offset) {
    return bytes.at(offset) | uint32_t(bytes.at(offset + 1)) << 8 | uint32_t(bytes.at(offset + 2)) << 16 |
           uint32_t(bytes.at(offset + 3)) << 24;
}

/// First byte of each picture in an AVI file of 64x48 pixels.
std::vector<int> picturesOf(const std::vector<uint8_t>& avi) {
    std::vector<int> result;
    for (uint32_t i = 0; i < le32(avi, 48); ++i)
        result.push_back(avi.at(AviFile::headerBytes + i * (8 + pictureBytes) + 8));
    return result;
}

class AstroStart : public ContextFixture {
protected:
    AstroStart() { context = startedContext(); }
    ~AstroStart() override { context.reset(); }
    HRESULT start(std::u16string_view path, int32_t seconds = 0, int32_t frames = 0) {
        return startCaptureAstro(engine, context.get(), path, seconds, frames).code();
    }
    std::unique_ptr<CaptureContext> context;
};

TEST_F(AstroStart, AnAviPathGetsTheDisplayPictures) {
    ASSERT_EQ(start(u"a.avi"), S_OK);
    for (const uint8_t fill : std::initializer_list<uint8_t>{11, 22, 33}) camera.deliver(fill, 64, 48);
    EXPECT_EQ(context->recording().frameCount(), 3u);
    EXPECT_EQ(context->recording().bytesWritten(), 3 * pictureBytes);
    context->StopCapture();
    EXPECT_EQ(picturesOf(fakes.files.bytes(u"a.avi")), (std::vector<int>{11, 22, 33}));
}

TEST_F(AstroStart, TheExtensionCountsWithoutCaseAndAtTheEndOnly) {
    ASSERT_EQ(start(u"OUT.AVI"), S_OK);
    context->StopCapture();
    EXPECT_EQ(le32(fakes.files.bytes(u"OUT.AVI"), 0), fourcc("RIFF"));
    ASSERT_EQ(start(u"a.avi.x"), S_OK);
    const std::vector<uint8_t> raw(64 * 48);
    camera.deliverRaw(raw.data(), 64, 48, 8);
    context->StopCapture();
    EXPECT_EQ(le32(fakes.files.bytes(u"a.avi.x"), 0), fourcc("LUCA"));
}

TEST_F(AstroStart, ForAnAviEachSensorFrameBecomesADisplayPicture) {
    camera.calls.clear();
    ASSERT_EQ(start(u"a.avi"), S_OK);
    EXPECT_TRUE(camera.wasCalled("Trigger(1)"));
    EXPECT_FALSE(camera.wasCalled("SetRawCallback"));
    camera.calls.clear();
    context->StopCapture();
    EXPECT_TRUE(camera.wasCalled("Trigger(0)"));
}

TEST_F(AstroStart, NoSettingIsReadOrWritten) {
    ASSERT_EQ(start(u"a.avi"), S_OK);
    context->StopCapture();
    ASSERT_EQ(start(u"a.ser"), S_OK);
    context->StopCapture();
    EXPECT_TRUE(fakes.settings.read.empty());
    EXPECT_TRUE(fakes.settings.written.empty());
}

TEST_F(AstroStart, NoFolderIsMade) {
    for (const auto* name : {u"a.avi", u"a.ser"}) {
        ASSERT_EQ(start(name), S_OK);
        context->StopCapture();
    }
    EXPECT_TRUE(fakes.folders.created.empty());
}

TEST_F(AstroStart, TheHostsTimeLapseHoldsForTheRecordingsThatBeginAfterIt) {
    ASSERT_EQ(start(u"a.avi"), S_OK);
    context->PutTimeLapse(5);
    for (uint8_t i = 0; i < 7; ++i) camera.deliver(i, 64, 48);
    context->StopCapture();
    EXPECT_EQ(picturesOf(fakes.files.bytes(u"a.avi")).size(), 7u);
    ASSERT_EQ(start(u"b.avi"), S_OK);
    for (uint8_t i = 0; i < 12; ++i) camera.deliver(i, 64, 48);
    context->StopCapture();
    EXPECT_EQ(picturesOf(fakes.files.bytes(u"b.avi")), (std::vector<int>{0, 5, 10}));
    context->PutTimeLapse(0);
    ASSERT_EQ(start(u"c.avi"), S_OK);
    for (uint8_t i = 0; i < 3; ++i) camera.deliver(i, 64, 48);
    context->StopCapture();
    EXPECT_EQ(picturesOf(fakes.files.bytes(u"c.avi")).size(), 3u);
}

TEST_F(AstroStart, TheLimitTimerEndsAnAviWithItsRealRate) {
    ASSERT_EQ(start(u"a.avi", 2), S_OK);
    for (uint8_t i = 0; i < 20; ++i) {
        camera.deliver(i, 64, 48);
        fakes.clock.advance(100);
    }
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    EXPECT_EQ(countOf(preview, limitMessage), 1u);
    const auto avi = fakes.files.bytes(u"a.avi");
    EXPECT_EQ(le32(avi, 128), 1000u);
    EXPECT_EQ(le32(avi, 132), 10'000u) << "20 frames in 2000 milliseconds";
}

TEST_F(AstroStart, TheEndOfTheContextMakesAnAviWhole) {
    ASSERT_EQ(start(u"a.avi"), S_OK);
    for (uint8_t i = 0; i < 4; ++i) {
        camera.deliver(i, 64, 48);
        fakes.clock.advance(500);
    }
    context.reset();
    const auto avi = fakes.files.bytes(u"a.avi");
    EXPECT_EQ(picturesOf(avi), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(le32(avi, 132), 2000u) << "4 frames in 2000 milliseconds";
}

TEST_F(AstroStart, AnExistingAviIsReplacedWithoutAQuestion) {
    fakes.files.put(u"a.avi", std::vector<uint8_t>(100'000, 7));
    fakes.folders.files.insert(u"a.avi");
    ASSERT_EQ(start(u"a.avi"), S_OK);
    camera.deliver(1, 64, 48);
    context->StopCapture();
    EXPECT_TRUE(fakes.messageBox.asked.empty());
    EXPECT_EQ(picturesOf(fakes.files.bytes(u"a.avi")), std::vector<int>{1});
    EXPECT_LT(fakes.files.bytes(u"a.avi").size(), 100'000u);
}

TEST_F(AstroStart, ASizeOfZeroStartsNothingAndIsASuccess) {
    camera.roiResult = S_OK;
    camera.roiWidth = camera.roiHeight = 1;  // even numbers of pixels: none
    EXPECT_EQ(start(u"a.avi"), S_OK);
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    EXPECT_FALSE(fakes.files.exists(u"a.avi"));
}

class MicroStart : public ContextFixture {
protected:
    MicroStart() {
        arguments.astroMode = 0;
        fakes.clock.setWallTime(0, sixthOfMay);
        context = startedContext();
        fakes.settings.read.clear();
    }
    ~MicroStart() override { context.reset(); }
    HRESULT start(uint8_t* promptFlag = nullptr) {
        return startCaptureMicro(engine, *context, false, true, promptFlag).code();
    }
    void remember(const char16_t* name, FakeSettings::Value value) { fakes.settings.values[name] = std::move(value); }
    bool wasSaved(std::u16string_view name) const {
        const auto& written = fakes.settings.written;
        return std::find(written.begin(), written.end(), name) != written.end();
    }

    static constexpr uint64_t sixthOfMay = 133'594'528'890'000'000;  // of 2024, 7:08:09
    static constexpr char16_t named[] = u"/home/user/Documents/Product/240506070809.avi";
    std::unique_ptr<CaptureContext> context;
};

TEST_F(MicroStart, AQuickStartNamesTheFileByTheClock) {
    ASSERT_EQ(start(), S_OK);
    EXPECT_EQ(context->recording().captureFile(), named);
    camera.deliver(9, 64, 48);
    context->StopCapture();
    EXPECT_EQ(picturesOf(fakes.files.bytes(named)), std::vector<int>{9});
    EXPECT_TRUE(boxes().empty());
}

TEST_F(MicroStart, TheNameFollowsTheRememberedRules) {
    remember(u"FileNamePrefix", u"cell-");
    remember(u"FileNameFomat", 3u);
    remember(u"DirSub", 2u);
    remember(u"CapturePath", u"/data/");
    ASSERT_EQ(start(), S_OK);
    EXPECT_EQ(context->recording().captureFile(), u"/data/2024/05/06/cell-2024-05-06-07-08-09.avi");
    EXPECT_TRUE(fakes.folders.IsFolder(u"/data/2024/05/06"));
}

TEST_F(MicroStart, WhatIsRememberedLimitsTheRecording) {
    remember(u"UseTimeLimit", 1u);
    remember(u"TimeLimit", 2u);
    ASSERT_EQ(start(), S_OK);
    EXPECT_EQ(context->recording().timeLimit(), 2u);
    EXPECT_EQ(context->recording().frameLimit(), 0u);
    fakes.clock.advance(2000);
    owner.fireTimers();
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
}

TEST_F(MicroStart, AStartThatWorkedIsSaved) {
    ASSERT_EQ(start(), S_OK);
    for (const char16_t* name : {u"VideoCaptureAVI", u"AviCodec", u"SecPerKey", u"BitRateScale", u"CaptureQuality",
                                 u"UseTimeLimit", u"TimeLimit", u"Hardware"})
        EXPECT_TRUE(wasSaved(name)) << toUtf8(name);
}

TEST_F(MicroStart, WithoutAQuickNameTheWizardHasNoWindowAndCountsAsCancelled) {
    EXPECT_EQ(startCaptureMicro(engine, *context, false, false, nullptr).code(), VEX_E_CANCELLED);
    EXPECT_TRUE(boxes().empty());
    EXPECT_TRUE(fakes.settings.written.empty());
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
}

TEST_F(MicroStart, ThePromptFlagAsksForANameAndOkTakesIt) {
    uint8_t flag = 1;
    fakes.dialogs.quickRename = [](IQuickRename& dialog) {
        EXPECT_EQ(dialog.Name(), u"240506070809");
        return dialog.Ok(u"  onion  ", true);
    };
    ASSERT_EQ(start(&flag), S_OK);
    EXPECT_EQ(context->recording().captureFile(), u"/home/user/Documents/Product/onion.avi");
    EXPECT_EQ(fakes.dialogs.owners, std::vector<vex_window*>{owner.native()});
    EXPECT_EQ(flag, 0) << "the box was ticked";
}

TEST_F(MicroStart, ACancelledNameEndsTheStartWithoutAWordAndSavesNothing) {
    uint8_t flag = 1;
    EXPECT_EQ(start(&flag), VEX_E_CANCELLED);
    EXPECT_EQ(flag, 1);
    EXPECT_TRUE(boxes().empty());
    EXPECT_TRUE(fakes.settings.written.empty());
}

TEST_F(MicroStart, WithoutTheFlagNoNameIsAsked) {
    uint8_t flag = 0;
    ASSERT_EQ(start(&flag), S_OK);
    context->StopCapture();
    ASSERT_EQ(start(nullptr), S_OK);
    EXPECT_TRUE(fakes.dialogs.owners.empty());
}

TEST_F(MicroStart, AnExistingFileIsReplacedOnlyWhenTheUserSaysYes) {
    fakes.folders.files.insert(named);
    fakes.files.put(named, {1, 2, 3});
    EXPECT_EQ(start(), VEX_E_CANCELLED);
    ASSERT_EQ(fakes.messageBox.asked.size(), 1u);
    EXPECT_EQ(fakes.messageBox.asked[0].owner, owner.native());
    EXPECT_EQ(fakes.files.bytes(named), (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_TRUE(wasSaved(u"VideoCaptureAVI")) << "the settings are kept all the same";
    EXPECT_TRUE(boxes().empty());
    fakes.messageBox.answer = true;
    EXPECT_EQ(start(), S_OK);
    context->StopCapture();
    EXPECT_EQ(le32(fakes.files.bytes(named), 0), fourcc("RIFF"));
}

TEST_F(MicroStart, AFormatThatNothingEncodesIsToldWithoutACode) {
    engine.libraries.WMCreateProfileManager = this;  // WMV is there in name
    EXPECT_EQ(start(), VEX_E_NO_ENCODER);
    EXPECT_EQ(boxes(), std::vector<std::u16string>{u"ids_recordfail2"});
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    engine.libraries.WMCreateProfileManager = nullptr;
}

TEST_F(MicroStart, ARefusedFormatLeavesTheRunningRecordingAlone) {
    ASSERT_EQ(start(), S_OK);
    camera.deliver(1, 64, 48);
    fakes.clock.advance(1000);  // another name
    remember(u"VideoCaptureAVI", 0u);
    engine.libraries.WMCreateProfileManager = this;
    EXPECT_EQ(start(), VEX_E_NO_ENCODER);
    engine.libraries.WMCreateProfileManager = nullptr;
    camera.deliver(2, 64, 48);
    context->StopCapture();
    EXPECT_EQ(picturesOf(fakes.files.bytes(named)), (std::vector<int>{1, 2}));
}

TEST_F(MicroStart, ACameraThatCannotTellItsFormatIsTheAnswerWithItsCode) {
    camera.rawFormatResult = E_ACCESSDENIED;
    EXPECT_EQ(start(), E_ACCESSDENIED);
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_TRUE(boxes()[0].starts_with(u"ids_recordfail1\r\nhr = 0x80070005 ("));
    EXPECT_TRUE(fakes.settings.read.empty()) << "the settings are not even read";
}

TEST_F(MicroStart, APathThatIsTooLongIsAFailureAndNoOtherFile) {
    remember(u"CapturePath", u"/" + std::u16string(255, u'd'));
    EXPECT_EQ(start(), E_FAIL);
    EXPECT_EQ(context->recording().captureMode(), captureIdle);
    EXPECT_EQ(fakes.files.count(DiskOperation::Kind::Create), 0u);
}

TEST_F(MicroStart, ARecordingBeforeTheStartOfTheSourceFails) {
    context = makeContext();
    EXPECT_EQ(start(), E_FAIL);
    EXPECT_EQ(boxes().size(), 1u);
}

}  // namespace capture_start_test
}  // namespace vexcap
