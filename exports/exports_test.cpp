#include <vexcap/vexcap.h>

#include <cstring>

#include "engine/state/engine_testing.h"

namespace vexcap {
namespace exports_test {

class Exports : public EngineFixture {
protected:
    ~Exports() override { vexcap_stop(context); }

    void start() {
        init();
        const vex_device device = {u"$camera", u"A camera", VEX_KIND_CAMERA, 0};
        context = vexcap_device(owner.native(), preview.native(), &device, nullptr, nullptr, nullptr);
        ASSERT_EQ(vexcap_start(context, nullptr, 0, 0, 0, 0), S_OK);
    }
    /// Records `frames` raw frames of 64x48 and leaves the recording open.
    void record(int frames) {
        start();
        ASSERT_EQ(vexcap_start_capture_astro(context, u"a.ser", 0, 0), S_OK);
        const std::vector<uint8_t> raw(64 * 48);
        for (int i = 0; i < frames; ++i) camera.deliverRaw(raw.data(), 64, 48, 8);
    }

    vexcap_context* context = nullptr;
};

TEST_F(Exports, TextsCanBeDrawnWhereThereIsAFont) {
    EXPECT_EQ(vexcap_can_draw_texts(), 1);
    fakes.texts.missing = true;
    EXPECT_EQ(vexcap_can_draw_texts(), 0);
}

TEST_F(Exports, ThePictureFormatIsWrittenAsFarAsTheHostKnowsIt) {
    start();
    struct {
        vex_picture_format format;
        uint8_t later[16];
    } record;
    const auto ask = [&](uint32_t size) {
        std::memset(&record, 0x5A, sizeof record);
        record.format.size = size;
        return vexcap_picture_size(context, &record.format);
    };
    for (const uint32_t size : {0u, 4u, 47u}) {
        EXPECT_EQ(ask(size), 0) << size;
        EXPECT_EQ(record.format.width, 0x5A5A5A5Au) << size;
    }
    for (const uint32_t size : {48u, 64u, UINT32_MAX}) {
        ASSERT_EQ(ask(size), 1) << size;
        EXPECT_EQ(record.format.size, 48u) << "what this version knows";
        EXPECT_EQ(record.format.width, 64u);
        EXPECT_EQ(record.format.height, 48u);
        EXPECT_EQ(record.format.deepBytes, 384u * 48);
        for (const uint8_t byte : record.later) EXPECT_EQ(byte, 0x5A);
    }
    EXPECT_EQ(vexcap_picture_size(context, nullptr), 0);
    EXPECT_EQ(vexcap_picture_size(nullptr, &record.format), 0);
}

TEST_F(Exports, ThePropertyTextsAreTheTotalAndTheRateWithOneDecimal) {
    start();
    camera.rateFrames = 61;
    camera.rateMilliseconds = 2000;
    camera.rateTotal = 4'000'000'000;
    vex_char count[32], rate[32];
    ASSERT_EQ(vexcap_get_property(context, count, rate), 1);
    EXPECT_EQ(std::u16string(count), u"4000000000");
    EXPECT_EQ(std::u16string(rate), u"30.5");
}

TEST_F(Exports, ARateOverNoTimeReadsZero) {
    start();
    camera.rateFrames = 61;
    vex_char rate[32];
    ASSERT_EQ(vexcap_get_property(context, nullptr, rate), 1);
    EXPECT_EQ(std::u16string(rate), u"0.0");
}

TEST_F(Exports, ASourceThatCannotTellItsRateGivesNoProperty) {
    start();
    camera.rateResult = E_UNEXPECTED;
    vex_char count[32] = {u'x'};
    EXPECT_EQ(vexcap_get_property(context, count, nullptr), 0);
    EXPECT_EQ(count[0], u'x');
}

TEST_F(Exports, ANullIdentifierGivesTheCamera) {
    start();
    EXPECT_EQ(vexcap_get_interface(context, nullptr), static_cast<ICamera*>(&camera));
    EXPECT_EQ(vexcap_get_interface(context, &VEX_IID_CAMERA_STATUS), nullptr);
}

TEST_F(Exports, CapabilitiesAreHandedOutAndGivenBack) {
    start();
    camera.resolutionCount = 2;
    vex_capability* found = nullptr;
    ASSERT_EQ(vexcap_get_capability(context, &found), 2);
    EXPECT_EQ(found[1].header.biWidth, 32);
    vexcap_free_capability(found);
    camera.resolutionCount = -3;
    EXPECT_EQ(vexcap_get_capability(context, &found), -3);
    EXPECT_EQ(found, nullptr);
    found = reinterpret_cast<vex_capability*>(this);
    EXPECT_EQ(vexcap_get_stillimage_capability(context, &found), 0);
    EXPECT_EQ(found, nullptr);
}

TEST_F(Exports, TheFileSizeIsToldInKibibytesWhileRecording) {
    record(5);
    EXPECT_EQ(vexcap_filesize(context), 5u * 64 * 48 / 1024);
    EXPECT_EQ(vexcap_fcapturing(context), 1u);
    EXPECT_EQ(vexcap_dwframecount(context), 5u);
    vexcap_stop_capture(context);
    EXPECT_EQ(vexcap_filesize(context), 0u);
    EXPECT_EQ(vexcap_fcapturing(context), 0u);
    EXPECT_EQ(vexcap_dwframecount(context), 0u);
}

TEST_F(Exports, OutsideAstroModeTheFileSizeIsNotTold) {
    arguments.astroMode = 0;
    record(5);
    EXPECT_EQ(vexcap_filesize(context), 0u);
}

TEST_F(Exports, TheVideoSizeNeedsNoOuts) {
    start();
    EXPECT_EQ(vexcap_video_size(context, nullptr, nullptr), 1);
    EXPECT_EQ(vexcap_video_size(nullptr, nullptr, nullptr), 0);
}

TEST_F(Exports, TheModeOfAContextIsItsSinksAndElseTheEngines) {
    fakes.textures.available = true;
    arguments.direct2d = 1;
    start();
    EXPECT_EQ(vexcap_mode(nullptr), 1u);
    EXPECT_EQ(vexcap_mode(context), 0u) << "it was given no device";
}

TEST_F(Exports, AFailedRecordingIsShownWithTheOwnersBox) {
    start();
    fakes.files.fail(DiskOperation::Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(vexcap_start_capture_astro(context, u"a.ser", 0, 0), E_FAIL);
    ASSERT_EQ(fakes.messageBox.shown.size(), 1u);
    EXPECT_EQ(fakes.messageBox.shown[0].owner, owner.native());
}

}  // namespace exports_test
}  // namespace vexcap
