// What a GenICam camera is set to, and how cameras are listed and opened.
#include <cstdlib>
#include <iterator>

#include "base/dib.h"
#include "base/text.h"
#include "companions/cameras/genicam/fake_camera_testing.h"
#include "companions/cameras/provider.h"

namespace vexcap::cameras {
namespace genicam_camera_test {

struct FormatRow {
    ArvPixelFormat format;
    uint32_t depth;
    uint32_t fourccEven;  // height 20
    Mosaic mosaic;
};

TEST_F(GenicamCameraTest, EveryFormatArrivesBottomUpWithItsMosaic) {
    const FormatRow rows[] = {
        {ARV_PIXEL_FORMAT_MONO_8, 8, 0, Mosaic::Rggb},
        {ARV_PIXEL_FORMAT_MONO_16, 16, 0, Mosaic::Rggb},
        {ARV_PIXEL_FORMAT_BAYER_RG_8, 8, fourcc("GBRG"), Mosaic::Rggb},
        {ARV_PIXEL_FORMAT_BAYER_GR_8, 8, fourcc("BGGR"), Mosaic::Grbg},
        {ARV_PIXEL_FORMAT_BAYER_GB_8, 8, fourcc("RGGB"), Mosaic::Gbrg},
        {ARV_PIXEL_FORMAT_BAYER_BG_8, 8, fourcc("GRBG"), Mosaic::Bggr},
    };
    const uint32_t width = 30;
    const uint32_t height = 20;
    for (const FormatRow& row : rows) {
        SCOPED_TRACE(row.format);
        host.forget();
        open(row.format);
        ASSERT_EQ((*controls)->Put(VEX_CONTROL_BIT_DEPTH, int32_t(row.depth)), S_OK);
        uint32_t name = 1;
        uint32_t depth = 0;
        ASSERT_EQ((*controls)->PutRoi(0, 0, width, height), S_OK);
        ASSERT_EQ((*raw)->GetRawFormat(&name, &depth), S_OK);
        EXPECT_EQ(name, row.fourccEven);
        EXPECT_EQ(depth, row.depth);
        start();
        ASSERT_TRUE(host.waitForRaw(3));
        ASSERT_TRUE(host.waitFor(20s, [&] { return host.displayCount() > 0; }));
        ASSERT_EQ(camera->Stop(), S_OK);

        const KeptFrame kept = host.lastRaw();
        EXPECT_EQ(kept.fourcc, row.fourccEven);
        EXPECT_EQ(kept.depth, row.depth);
        EXPECT_EQ(kept.info.width, width);
        EXPECT_EQ(kept.info.height, height);
        EXPECT_NE(kept.info.timestamp, 0u);
        std::vector<uint8_t> sensor;
        std::vector<uint8_t> expected;
        for (uint32_t row8 = 0; row8 < height; ++row8)
            for (uint32_t x = 0; x < width; ++x) {
                const uint32_t y = height - 1 - row8;
                if (row.depth == 8) {
                    expected.push_back(shade8(x, y));
                } else {
                    expected.push_back(uint8_t(shade16(x, y)));
                    expected.push_back(uint8_t(shade16(x, y) >> 8));
                }
            }
        EXPECT_EQ(kept.bytes, expected);

        const size_t stride = dibStride(width, 3);
        std::vector<uint8_t> picture(stride * height);
        uint8_t* const top = picture.data() + stride * (height - 1);
        sensor.resize(size_t(width) * height);
        std::vector<uint16_t> deepSensor(sensor.size());
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                sensor[y * width + x] = shade8(x, y);
                deepSensor[y * width + x] = shade16(x, y);
            }
        if (row.fourccEven != 0)
            plainKernels.bayer8ToBgr24(top, -ptrdiff_t(stride), sensor.data(), width, width, height, row.mosaic);
        else if (row.depth == 8)
            plainKernels.mono8ToBgr24(top, -ptrdiff_t(stride), sensor.data(), width, width, height);
        else
            plainKernels.mono16ToBgr24(top, -ptrdiff_t(stride), deepSensor.data(), width * 2, width, height, 16);
        KeptFrame shown = host.lastDisplay();
        ASSERT_EQ(shown.bytes.size(), picture.size());
        for (uint32_t y = 0; y < height; ++y)  // row padding is anybody's
            std::fill_n(shown.bytes.begin() + ptrdiff_t(y * stride + width * 3), stride - width * 3, uint8_t(0));
        EXPECT_EQ(shown.bytes, picture);
        EXPECT_EQ(shown.fourcc, row.fourccEven);
        EXPECT_EQ(shown.depthFlag != 0, row.depth > 8);
        EXPECT_EQ(lost(), 0u);
        close();
    }
}

TEST_F(GenicamCameraTest, OffersTheDeepestFormatAndOnlyThoseOfItsKind) {
    open();
    EXPECT_EQ(camera->GetBitDepth(), 16u);
    int32_t minimum = 0;
    int32_t maximum = 0;
    int32_t standard = 0;
    ASSERT_EQ((*controls)->GetRange(VEX_CONTROL_BIT_DEPTH, &minimum, &maximum, &standard), S_OK);
    EXPECT_EQ(std::make_tuple(minimum, maximum, standard), std::make_tuple(8, 16, 16));
    int32_t value = 0;
    ASSERT_EQ((*controls)->Get(VEX_CONTROL_BIT_DEPTH, &value), S_OK);
    EXPECT_EQ(value, 16);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_BIT_DEPTH, 12), E_INVALIDARG);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_BIT_DEPTH, 0), E_INVALIDARG);
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    start();
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_BIT_DEPTH, 8), S_OK) << "during a stream";
    ASSERT_EQ((*controls)->Get(VEX_CONTROL_BIT_DEPTH, &value), S_OK);
    EXPECT_EQ(value, 8);
    close();
    open(ARV_PIXEL_FORMAT_BAYER_RG_8);
    EXPECT_EQ(camera->GetBitDepth(), 8u);
}

TEST_F(GenicamCameraTest, ARegionReachesTheCameraAndIsToldBack) {
    open();
    ASSERT_EQ((*controls)->PutRoi(100, 60, 640, 480), S_OK);
    EXPECT_EQ(feature("OffsetX"), 100);
    EXPECT_EQ(feature("OffsetY"), 60);
    EXPECT_EQ(feature("Width"), 640);
    EXPECT_EQ(feature("Height"), 480);
    uint32_t x = 0, y = 0, width = 0, height = 0;
    ASSERT_EQ(camera->GetRoi(&x, &y, &width, &height), S_OK);
    EXPECT_EQ(std::make_tuple(x, y, width, height), std::make_tuple(100u, 60u, 640u, 480u));
    ASSERT_EQ(camera->GetRoi(nullptr, nullptr, &width, &height), S_OK);
    int32_t full = 0;
    int32_t high = 0;
    ASSERT_EQ(camera->GetSize(&full, &high), S_OK);
    EXPECT_EQ(full, 2048) << "the region does not change the resolution";

    for (const auto& [left, top, wide, tall] : {std::array{1u, 0u, 64u, 64u},
                                                {0u, 3u, 64u, 64u},
                                                {0u, 0u, 63u, 64u},
                                                {0u, 0u, 64u, 65u},
                                                {0u, 0u, 2050u, 64u},
                                                {2000u, 0u, 64u, 64u},
                                                {0u, 0u, 64u, 0u},
                                                {0u, 0u, 0u, 64u},
                                                {0xFFFFFFFEu, 0u, 4u, 4u}})
        EXPECT_EQ((*controls)->PutRoi(left, top, wide, tall), E_INVALIDARG) << left << ' ' << top << ' ' << wide;
    EXPECT_EQ(feature("Width"), 640) << "nothing changed";
    ASSERT_EQ((*controls)->PutRoi(0, 0, 0, 0), S_OK);
    EXPECT_EQ(feature("Width"), 2048);
    EXPECT_EQ(feature("OffsetX"), 0);
}

TEST_F(GenicamCameraTest, ARegionDuringAStreamIsFollowedByASizeEventAndNoGap) {
    open();
    ASSERT_EQ((*controls)->PutRoi(0, 0, 64, 48), S_OK);
    start();
    ASSERT_TRUE(host.waitForRaw(3));
    ASSERT_EQ((*controls)->PutRoi(8, 8, 31, 16), E_INVALIDARG);
    EXPECT_TRUE(host.events().empty());
    ASSERT_EQ((*controls)->PutRoi(8, 8, 32, 16), S_OK);
    ASSERT_TRUE(host.waitFor(20s, [&] { return host.rawCount() > 3 && host.lastRaw().info.width == 32; }));
    EXPECT_EQ(host.lastRaw().info.height, 16u);
    EXPECT_EQ(host.events(), std::vector<uint32_t>{VEX_CAMERA_EVENT_SIZE});
    ASSERT_EQ(camera->Stop(), S_OK);
    const auto sequences = host.sequences();
    for (size_t i = 0; i < sequences.size(); ++i) EXPECT_EQ(sequences[i], i);
    EXPECT_EQ(lost(), 0u);
}

TEST_F(GenicamCameraTest, BinningShrinksTheFrameAndTheResolutionsAreBinned) {
    open();
    ASSERT_EQ(camera->GetResolutionCount(), 3);
    for (uint32_t i = 0; i < 3; ++i) {
        int32_t width = 0;
        int32_t height = 0;
        ASSERT_EQ(camera->GetResolution(i, &width, &height), S_OK);
        EXPECT_EQ(width, 2048 >> i);
        EXPECT_EQ(height, 2048 >> i);
    }
    int32_t side = 0;
    EXPECT_EQ(camera->GetResolution(3, &side, &side), E_INVALIDARG);
    ASSERT_EQ((*controls)->PutRoi(0, 0, 64, 32), S_OK);
    ASSERT_EQ(camera->PutOption(VEX_OPTION_BINNING, 2), S_OK);
    EXPECT_EQ(feature("BinningHorizontal"), 2);
    EXPECT_EQ(feature("BinningVertical"), 2);
    EXPECT_EQ(feature("Width"), 32);
    uint32_t width = 0;
    uint32_t height = 0;
    ASSERT_EQ(camera->GetRoi(nullptr, nullptr, &width, &height), S_OK);
    EXPECT_EQ(width, 64u) << "told in pixels of the resolution";
    int32_t value = 0;
    ASSERT_EQ(camera->GetOption(VEX_OPTION_BINNING, &value), S_OK);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(camera->PutOption(VEX_OPTION_BINNING, 0), E_INVALIDARG);
    start();
    ASSERT_TRUE(host.waitForRaw(2));
    EXPECT_EQ(host.lastRaw().info.width, 32u);

    Ask<ICameraPreviewSize> preview(camera, VEX_IID_CAMERA_PREVIEW_SIZE);
    ASSERT_TRUE(preview.get());
    EXPECT_EQ(preview->SetPreviewIndex(1), E_UNEXPECTED) << "during a stream";
    camera->Stop();
    ASSERT_EQ(camera->PutOption(VEX_OPTION_BINNING, 5), S_OK);
    EXPECT_EQ(preview->SetPreviewIndex(2), E_INVALIDARG) << "a binning of 20 is not offered";
    EXPECT_EQ(feature("BinningHorizontal"), 5);
    ASSERT_EQ(camera->PutOption(VEX_OPTION_BINNING, 1), S_OK);
    EXPECT_EQ(preview->SetPreviewIndex(3), E_INVALIDARG);
    ASSERT_EQ(preview->SetPreviewIndex(2), S_OK);
    EXPECT_EQ(feature("BinningHorizontal"), 4);
    EXPECT_EQ(feature("Width"), 512);
    uint32_t index = 0;
    ASSERT_EQ(preview->GetPreviewIndex(&index), S_OK);
    EXPECT_EQ(index, 2u);
    int32_t tall = 0;
    ASSERT_EQ(preview->GetPreviewSize(&side, &tall), S_OK);
    EXPECT_EQ(side, 512);
    EXPECT_EQ(tall, 512);
}

TEST_F(GenicamCameraTest, ExposureGainAndRateReachTheCamera) {
    open();
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    int32_t minimum = 0;
    int32_t maximum = 0;
    int32_t standard = 0;
    ASSERT_EQ((*controls)->GetRange(VEX_CONTROL_EXPOSURE, &minimum, &maximum, &standard), S_OK);
    EXPECT_EQ(std::make_tuple(minimum, maximum, standard), std::make_tuple(10, 10'000'000, 10'000));
    ASSERT_EQ((*controls)->GetRange(VEX_CONTROL_GAIN, &minimum, &maximum, &standard), S_OK);
    EXPECT_EQ(std::make_tuple(minimum, maximum, standard), std::make_tuple(100, 110, 100));
    ASSERT_EQ((*controls)->GetRange(VEX_CONTROL_FRAME_RATE, &minimum, &maximum, &standard), S_OK);
    EXPECT_EQ(std::make_tuple(minimum, maximum, standard), std::make_tuple(0, 1000, 25));
    uint32_t highest = 0;
    ASSERT_EQ((*status)->GetMaxFrameRate(0, &highest), S_OK);
    EXPECT_EQ(highest, 1000u);
    EXPECT_EQ((*status)->GetMaxFrameRate(9, &highest), E_INVALIDARG);

    start();
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_EXPOSURE, 123), S_OK);
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_GAIN, 107), S_OK);
    ASSERT_TRUE(host.waitFor(20s, [&] { return pattern.exposure == 123 && pattern.gain == 7; }));
    uint32_t microseconds = 0;
    ASSERT_EQ(camera->GetExposureTime(&microseconds), S_OK);
    EXPECT_EQ(microseconds, 123u);
    int32_t value = 0;
    ASSERT_EQ((*controls)->Get(VEX_CONTROL_GAIN, &value), S_OK);
    EXPECT_EQ(value, 107);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_EXPOSURE, 9), E_INVALIDARG);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_EXPOSURE, 10'000'001), E_INVALIDARG);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_GAIN, 99), E_INVALIDARG);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_GAIN, 111), E_INVALIDARG);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_FRAME_RATE, -1), E_INVALIDARG);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_FRAME_RATE, 1001), E_INVALIDARG);
    EXPECT_EQ(feature("GainRaw"), 7);

    ArvError error;
    EXPECT_DOUBLE_EQ(arv_camera_get_frame_rate(inside.get(), error.out()), 100);
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_FRAME_RATE, 0), S_OK);
    EXPECT_DOUBLE_EQ(arv_camera_get_frame_rate(inside.get(), error.out()), 1000) << "as fast as it can";
    ASSERT_EQ((*controls)->Get(VEX_CONTROL_FRAME_RATE, &value), S_OK);
    EXPECT_EQ(value, 0);
}

TEST_F(GenicamCameraTest, FramesComeAtTheRateThatWasSet) {
    open();
    ASSERT_EQ((*controls)->PutRoi(0, 0, 16, 16), S_OK);
    start();
    ASSERT_TRUE(host.waitForRaw(1));
    const uint64_t first = host.lastRaw().info.timestamp;
    ASSERT_TRUE(host.waitForRaw(31));
    const KeptFrame last = host.lastRaw();
    const double period = double(last.info.timestamp - first) / 1e4 / last.info.sequence;
    EXPECT_GT(period, 5.0) << "milliseconds";
    EXPECT_LT(period, 100.0);
    uint32_t frames = 0, milliseconds = 0, total = 0;
    ASSERT_EQ(camera->GetFrameRate(&frames, &milliseconds, &total), S_OK);
    EXPECT_GE(total, 30u);
}

TEST_F(GenicamCameraTest, WhatItDoesNotHaveIsToldAsSuch) {
    open();
    int32_t value = 0;
    EXPECT_EQ((*controls)->GetRange(VEX_CONTROL_BLACK_LEVEL, &value, &value, &value), E_NOTIMPL);
    EXPECT_EQ((*controls)->Get(VEX_CONTROL_BLACK_LEVEL, &value), E_NOTIMPL);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_BLACK_LEVEL, 1), E_NOTIMPL);
    EXPECT_EQ((*controls)->Get(VEX_CONTROL_FIRE, &value), E_NOTIMPL) << "write only";
    EXPECT_EQ((*controls)->Get(0, &value), E_NOTIMPL);
    EXPECT_EQ((*controls)->Put(99, 1), E_NOTIMPL);
    EXPECT_EQ((*controls)->GetRange(99, &value, &value, &value), E_NOTIMPL);
    EXPECT_EQ(camera->Snap(0, 1, nullptr), E_NOTIMPL);
    int32_t gains[3];
    EXPECT_EQ(camera->GetWhiteBalanceGains(gains), E_NOTIMPL);
    EXPECT_EQ(camera->GetTempTint(&value, &value), E_NOTIMPL);
    EXPECT_EQ(camera->PipelineOcl(nullptr, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(camera->TextureAccepted(), 0u);
    EXPECT_EQ(camera->PutOption(VEX_OPTION_ROTATION, 90), E_NOTIMPL);
    EXPECT_EQ(camera->PutOption(VEX_OPTION_ROTATION, 0), S_OK);
    EXPECT_EQ(camera->PutOption(1234, 1), E_NOTIMPL);
    EXPECT_EQ(camera->GetOption(1234, &value), E_NOTIMPL);
    EXPECT_EQ(camera->PutOption(VEX_OPTION_FRAME_RATE, 12), S_OK);
    ASSERT_EQ(camera->GetOption(VEX_OPTION_FRAME_RATE, &value), S_OK);
    EXPECT_EQ(value, 12);
    void* out = camera;
    EXPECT_EQ(camera->QueryInterface(VEX_IID_CAMERA_STILL, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(camera->QueryInterface(VEX_IID_UNKNOWN, nullptr), E_POINTER);
    EXPECT_EQ(camera->GetSize(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(camera->GetExposureTime(nullptr), E_POINTER);
    EXPECT_EQ((*controls)->Get(VEX_CONTROL_GAIN, nullptr), E_POINTER);
}

TEST_F(GenicamCameraTest, TriggersAreFiredOnlyInATriggeredStream) {
    open();
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_FIRE, 1), E_UNEXPECTED);
    int32_t minimum = 0, maximum = 0, standard = 0;
    ASSERT_EQ((*controls)->GetRange(VEX_CONTROL_TRIGGER_MODE, &minimum, &maximum, &standard), S_OK);
    EXPECT_EQ(std::make_tuple(minimum, maximum, standard), std::make_tuple(0, 2, 0));
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_TRIGGER_MODE, 3), E_INVALIDARG);
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_TRIGGER_MODE, 2), S_OK);
    ArvError error;
    EXPECT_STREQ(arv_camera_get_string(inside.get(), "TriggerMode", error.out()), "On");
    EXPECT_STREQ(arv_camera_get_string(inside.get(), "TriggerSource", error.out()), "Line0");
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_FRAME_RATE, 50), S_OK);
    EXPECT_STREQ(arv_camera_get_string(inside.get(), "TriggerMode", error.out()), "On") << "a rate leaves it alone";
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_FIRE, 1), E_UNEXPECTED);
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_TRIGGER_MODE, 0), S_OK);
    EXPECT_STREQ(arv_camera_get_string(inside.get(), "TriggerMode", error.out()), "Off");
    EXPECT_DOUBLE_EQ(arv_camera_get_frame_rate(inside.get(), error.out()), 50) << "the rate that waited";
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_FIRE, 0), E_INVALIDARG);
}

class GenicamProviderTest : public testing::Test {
protected:
    void TearDown() override {
        unsetenv("VEXCAP_GENICAM_FAKE");
        unsetenv("VEXCAP_GIGE");
    }
    static bool listed(std::u16string_view identifier, std::u16string_view display) {
        std::vector<vex_camera_entry> entries;
        genicamProvider().List(entries);
        for (const vex_camera_entry& entry : entries)
            if (textOfField(entry.identifier, std::size(entry.identifier)) == identifier &&
                textOfField(entry.display, std::size(entry.display)) == display)
                return true;
        return false;
    }
};

TEST_F(GenicamProviderTest, ListsAndOpensWhatItIsAllowedTo) {
    EXPECT_FALSE(listed(u"genicam:Fake_1", u"Aravis Fake (1)"));
    EXPECT_EQ(genicamProvider().Open(u"genicam:Fake_1").code(), VEX_E_FILE_NOT_FOUND);
    setenv("VEXCAP_GENICAM_FAKE", "1", 1);
    EXPECT_TRUE(listed(u"genicam:Fake_1", u"Aravis Fake (1)"));
    ICamera* const camera = genicamProvider().Open(u"genicam:Fake_1").value();
    ASSERT_NE(camera, nullptr);
    camera->Close();
}

TEST_F(GenicamProviderTest, WhatIsNotItsOwnIsNull) {
    setenv("VEXCAP_GENICAM_FAKE", "1", 1);
    for (const char16_t* const name : {u"", u"genicam", u"genicam:", u"Fake_1", u"genicam:Fake_2", u"simulated:1",
                                       u"genicam:127.0.0.1", u"genicam:\xD800", u"GENICAM:Fake_1"})
        EXPECT_FALSE(genicamProvider().Open(name).ok()) << toUtf8(name);
}

TEST_F(GenicamProviderTest, ClosedCamerasAnswerThroughWhatIsStillHeld) {
    setenv("VEXCAP_GENICAM_FAKE", "1", 1);
    ICamera* const camera = genicamProvider().Open(u"genicam:Fake_1").value();
    ASSERT_NE(camera, nullptr);
    void* out = nullptr;
    ASSERT_EQ(camera->QueryInterface(VEX_IID_CAMERA_CONTROLS, &out), S_OK);
    auto* const controls = static_cast<ICameraControls*>(out);
    camera->Close();
    int32_t value = 0;
    EXPECT_EQ(controls->Get(VEX_CONTROL_EXPOSURE, &value), E_UNEXPECTED);
    EXPECT_EQ(controls->PutRoi(0, 0, 0, 0), E_UNEXPECTED);
    EXPECT_EQ(controls->Release(), 0u);
}

}  // namespace genicam_camera_test
}  // namespace vexcap::cameras
