// What a host sets on the marker filter of a recording.
#include <gtest/gtest.h>

#include <cstring>

#include "graph/testing/graphs.h"
#include "graph/testing/kept_samples.h"
#include "graph/testing/sent_samples.h"
#include "overlay/marker_filter.h"
#include "overlay/text/text_testing.h"
#include "platform/fake/fake_settings.h"
#include "settings/marker_settings.h"

namespace vexcap {
namespace marker_filter_config_test {

using test::Frame;

constexpr int32_t width = 201, height = 100;  // rows with a byte of padding
constexpr MarkerGeo cross = {VEX_MARKER_CROSS, 0x0000FF, 0, 50, 50, 100, 100, 0, 0, 0};

struct ConfigRig : test::MarkerRig {
    ConfigRig() {
        bare.graph.AddFilter(source, u"source");
        bare.graph.AddFilter(filter, u"CaptureMarkerFilter");
        bare.graph.AddFilter(kept, u"kept");
        EXPECT_EQ(bare.graph.ConnectDirect(source->Output(), filter->Input()), S_OK);
        EXPECT_EQ(bare.graph.ConnectDirect(filter->Output(), kept->Input()), S_OK);
        EXPECT_EQ(bare.graph.Run(), S_OK);
    }
    /// What a frame of one colour becomes.
    Frame recorded() {
        Frame frame(width, height);
        EXPECT_EQ(source->send(std::as_bytes(std::span(frame.bytes))), S_OK);
        const auto samples = kept->samples();
        EXPECT_EQ(samples.back().bytes.size(), frame.bytes.size());
        std::memcpy(frame.bytes.data(), samples.back().bytes.data(), frame.bytes.size());
        return frame;
    }

    Ref<test::SentStream> source = makeRef<test::SentStream>(rgb24Type(width, height, 400'000));
    Ref<CMarkerFilter> filter = makeRef<CMarkerFilter>(3u, ports());
    Ref<IMarkerConfig> config = queryInterface<IMarkerConfig>(filter);
    Ref<test::KeptStream> kept = makeRef<test::KeptStream>();
    test::BareGraph bare;
};

/// Which entry of the table of operations a call goes through.
template <typename Operation>
size_t slotOf(Operation operation) {
    uintptr_t words[2] = {};
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
    return (words[0] - 1) / sizeof(void*);  // how every C++ compiler of this platform writes it
}

TEST(MarkerConfig, OperationsStandInTheirOrder) {
    EXPECT_EQ(slotOf(&IMarkerConfig::QueryInterface), 0u);
    EXPECT_EQ(slotOf(&IMarkerConfig::Release), 2u);
    EXPECT_EQ(slotOf(&IMarkerConfig::CopyFrom), 3u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetGeo), 4u);
    EXPECT_EQ(slotOf(&IMarkerConfig::GetGeo), 5u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetTxt), 6u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetWater), 7u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetWaterOffset), 8u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetWaterRotate), 9u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetScale), 10u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetTick), 11u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetFrameDivider), 12u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetFlip), 13u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetChrome), 14u);
    EXPECT_EQ(slotOf(&IMarkerConfig::GetFrameRate), 15u);
    EXPECT_EQ(slotOf(&IMarkerConfig::SetNegative), 16u);
}

TEST(MarkerConfig, NullRecordsFailAndANullSourceDoesNothing) {
    ConfigRig rig;
    EXPECT_EQ(rig.config->CopyFrom(nullptr), S_OK);
    EXPECT_EQ(rig.config->SetGeo(nullptr), E_FAIL);
    EXPECT_EQ(rig.config->GetGeo(nullptr), E_FAIL);
    EXPECT_EQ(rig.config->SetTxt(nullptr), E_FAIL);
    EXPECT_EQ(rig.config->SetWater(nullptr), E_FAIL);
    EXPECT_EQ(rig.recorded(), Frame(width, height));
}

TEST(MarkerConfig, ARecordedFrameHasTheMarkerWithItsTicks) {
    ConfigRig rig;
    MarkerGeo ticks = cross;
    ticks.eMarkerGeoFlag = 1;
    ticks.eMarkerGeox = 0;  // clamped
    EXPECT_EQ(rig.config->SetGeo(&ticks), S_OK);
    EXPECT_EQ(rig.config->SetTick(10), S_OK);
    MarkerGeo got = {};
    EXPECT_EQ(rig.config->GetGeo(&got), S_OK);
    ticks.eMarkerGeox = 1;
    EXPECT_EQ(std::memcmp(&got, &ticks, sizeof got), 0);
    Frame expected(width, height), recorded = rig.recorded();
    burnGeoMarker(canvasOf(expected.bytes.data(), width, height, 3), {ticks, 10});
    EXPECT_SAME_FRAME(recorded, expected);
    EXPECT_FALSE(expected == Frame(width, height));
}

TEST(MarkerConfig, AScaleTakesEffectAlthoughItReportsFailure) {
    ConfigRig rig;
    test::TextScene scene;
    scene.width = scene.imageWidth = width;
    scene.height = scene.imageHeight = height;
    scene.txt.Scale = 1;
    scene.bar = 33;
    scene.scaleText = u"3 mm";
    scene.powerText = u"4x";
    EXPECT_EQ(rig.config->SetTxt(&scene.txt), S_OK);
    EXPECT_EQ(rig.config->SetScale(33, u"3 mm", 500, u"never", u"4x"), E_FAIL);
    Frame expected(width, height), recorded = rig.recorded();
    expectOn(expected, scene);
    EXPECT_SAME_FRAME(recorded, expected);
    EXPECT_EQ(rig.config->SetScale(33, u"3 mm", 500, u"never", u"4x"), E_FAIL) << "also where nothing changes";
}

TEST(MarkerConfig, AWatermarkIsTakenMovedAndRefused) {
    ConfigRig rig;
    std::vector<uint8_t> dib(40 + 2 * 8, 99);
    vex_bitmap_header header = {40, 2, 2, 1, 24, 0, 0, 0, 0, 0, 0};
    std::memcpy(dib.data(), &header, sizeof header);
    WaterInfo info = {0, dib.data()};
    EXPECT_EQ(rig.config->SetWater(&info), S_OK);
    EXPECT_EQ(rig.config->SetWaterOffset(10, 20), S_OK);
    Frame expected(width, height);
    for (const int32_t x : {10, 11})
        for (const int32_t y : {20, 21}) expected.set(x, height - 1 - y, 0x636363);
    Frame recorded = rig.recorded();
    EXPECT_SAME_FRAME(recorded, expected);
    EXPECT_EQ(rig.config->SetWaterRotate(360'000), S_OK);
    header.biBitCount = 32;
    std::memcpy(dib.data(), &header, sizeof header);
    EXPECT_EQ(rig.config->SetWater(&info), E_FAIL);
    EXPECT_TRUE(rig.filter->Marker().HasWater()) << "the old one stays";
    info.dib = nullptr;
    EXPECT_EQ(rig.config->SetWater(&info), S_OK);
    EXPECT_FALSE(rig.filter->Marker().HasWater());
}

TEST(MarkerConfig, ACopyOfAMarkerIsRecordedWithoutItsWatermarkAndPictureSteps) {
    ConfigRig rig;
    test::TextScene scene;
    scene.width = scene.imageWidth = width;
    scene.height = scene.imageHeight = height;
    scene.txt.Contrast = 1;
    scene.figure = u"8.5";
    test::Clarity::value = 8.5;
    rig.marker.SetTxt(scene.txt);
    rig.marker.SetGeo(cross);
    rig.marker.SetNegative(1);
    const std::vector<uint8_t> dib(40 + 8, 99);
    rig.marker.SetWater({0, dib.data()});
    EXPECT_EQ(rig.config->CopyFrom(&rig.marker), S_OK);
    Frame expected(width, height), recorded = rig.recorded();
    burnGeoMarker(canvasOf(expected.bytes.data(), width, height, 3), {cross, 0});
    expectOn(expected, scene);
    EXPECT_SAME_FRAME(recorded, expected);
}

TEST(MarkerConfig, TheEndOfAFilterSavesTheSettingsOfTheProcess) {
    FakeSettings store;
    MarkerSettings& settings = markerSettings();
    ASSERT_TRUE(settings.Init(store, store.root(), u"a", u"b").ok());
    {
        ConfigRig rig;
        rig.config->SetGeo(&cross);
        EXPECT_TRUE(store.written.empty());
    }
    EXPECT_EQ(store.written.size(), 22u);
    EXPECT_EQ(std::get<uint32_t>(store.values.at(u"eMarkerGeo")), 0u) << "not those of the filter";
    settings = {};
}

}  // namespace marker_filter_config_test
}  // namespace vexcap
