// The parts of GenICam cameras that need no camera: names, searches, formats, regions, frame ids, gains.
#include <arv.h>
#include <gtest/gtest.h>

#include "companions/cameras/genicam/controls.h"
#include "companions/cameras/genicam/discovery.h"
#include "companions/cameras/genicam/format.h"
#include "companions/cameras/genicam/frame_ids.h"
#include "companions/cameras/genicam/geometry.h"
#include "companions/cameras/genicam/provider.h"

namespace vexcap::cameras {
namespace genicam_parts_test {

TEST(GenicamNames, AnIdentifierThatFitsIsTheIdItself) {
    EXPECT_EQ(genicamIdentifier("Aravis-Fake-GV01"), u"genicam:Aravis-Fake-GV01");
    const std::string longest(55, 'x');
    EXPECT_EQ(genicamIdentifier(longest), u"genicam:" + std::u16string(55, u'x'));
}

TEST(GenicamNames, LongIdsThatDifferOnlyAtTheirEndHaveDifferentIdentifiers) {
    const std::string start(70, 'x');
    const std::u16string first = genicamIdentifier(start + "1");
    const std::u16string second = genicamIdentifier(start + "2");
    EXPECT_EQ(first.size(), 63u);
    EXPECT_EQ(second.size(), 63u);
    EXPECT_NE(first, second);
    EXPECT_EQ(first, genicamIdentifier(start + "1"));
}

TEST(GenicamNames, ALongIdIsNotCutInsideACharacter) {
    for (size_t ascii = 0; ascii < 2; ++ascii) {
        std::string id(ascii, 'a');
        for (int i = 0; i < 40; ++i) id += "\xF0\x9F\x93\xB7";  // a pair of units each
        const std::u16string identifier = genicamIdentifier(id);
        ASSERT_LE(identifier.size(), 63u);
        EXPECT_GE(identifier.size(), 62u);
        const std::u16string kept = identifier.substr(8, identifier.size() - 8 - 9);
        EXPECT_EQ((kept.size() - ascii) % 2, 0u) << ascii;
    }
}

TEST(GenicamNames, ADisplayNameLeavesOutWhatIsEmpty) {
    EXPECT_EQ(genicamDisplayName("Aravis", "Fake", "GV01"), u"Aravis Fake (GV01)");
    EXPECT_EQ(genicamDisplayName("", "Fake", ""), u"Fake");
    EXPECT_EQ(genicamDisplayName("", "", "7"), u"(7)");
    EXPECT_EQ(genicamDisplayName("A\xFF", "", ""), u"A\xFFFD") << "cameras say anything";
}

TEST(GigeSearch, IsOffUnlessAskedFor) {
    EXPECT_FALSE(gigeSearchOf(nullptr).allowed());
    EXPECT_FALSE(gigeSearchOf("").allowed());
    EXPECT_FALSE(gigeSearchOf("0").allowed());
    EXPECT_FALSE(gigeSearchOf("off").allowed());
    EXPECT_FALSE(gigeSearchOf("camera.example,,").allowed());
}

TEST(GigeSearch, WordsMeanEverywhereAndAddressesOnlyThese) {
    for (const char* const word : {"1", "on", "yes"}) {
        EXPECT_TRUE(gigeSearchOf(word).everywhere) << word;
        EXPECT_TRUE(gigeSearchOf(word).addresses.empty()) << word;
    }
    const GigeSearch search = gigeSearchOf(" 192.168.1.7, 10.0.0.300,10.0.0.3 ,::1,");
    EXPECT_FALSE(search.everywhere);
    EXPECT_EQ(search.addresses, (std::vector<std::string>{"192.168.1.7", "10.0.0.3"}));
}

TEST(GenicamFormat, EveryKnownFormatHasItsDepthAndMosaic) {
    struct Row {
        uint32_t code;
        uint32_t depth;
        bool colour;
        Mosaic mosaic;
    };
    const Row rows[] = {
        {ARV_PIXEL_FORMAT_MONO_8, 8, false, Mosaic::Rggb},      {ARV_PIXEL_FORMAT_MONO_10, 10, false, Mosaic::Rggb},
        {ARV_PIXEL_FORMAT_MONO_12, 12, false, Mosaic::Rggb},    {ARV_PIXEL_FORMAT_MONO_16, 16, false, Mosaic::Rggb},
        {ARV_PIXEL_FORMAT_BAYER_RG_8, 8, true, Mosaic::Rggb},   {ARV_PIXEL_FORMAT_BAYER_RG_10, 10, true, Mosaic::Rggb},
        {ARV_PIXEL_FORMAT_BAYER_RG_12, 12, true, Mosaic::Rggb}, {ARV_PIXEL_FORMAT_BAYER_RG_16, 16, true, Mosaic::Rggb},
        {ARV_PIXEL_FORMAT_BAYER_GR_8, 8, true, Mosaic::Grbg},   {ARV_PIXEL_FORMAT_BAYER_GR_10, 10, true, Mosaic::Grbg},
        {ARV_PIXEL_FORMAT_BAYER_GR_12, 12, true, Mosaic::Grbg}, {ARV_PIXEL_FORMAT_BAYER_GR_16, 16, true, Mosaic::Grbg},
        {ARV_PIXEL_FORMAT_BAYER_GB_8, 8, true, Mosaic::Gbrg},   {ARV_PIXEL_FORMAT_BAYER_GB_10, 10, true, Mosaic::Gbrg},
        {ARV_PIXEL_FORMAT_BAYER_GB_12, 12, true, Mosaic::Gbrg}, {ARV_PIXEL_FORMAT_BAYER_GB_16, 16, true, Mosaic::Gbrg},
        {ARV_PIXEL_FORMAT_BAYER_BG_8, 8, true, Mosaic::Bggr},   {ARV_PIXEL_FORMAT_BAYER_BG_10, 10, true, Mosaic::Bggr},
        {ARV_PIXEL_FORMAT_BAYER_BG_12, 12, true, Mosaic::Bggr}, {ARV_PIXEL_FORMAT_BAYER_BG_16, 16, true, Mosaic::Bggr},
    };
    for (const Row& row : rows) {
        const SensorFormat* const format = sensorFormatOf(row.code);
        ASSERT_NE(format, nullptr) << std::hex << row.code;
        EXPECT_EQ(format->depth, row.depth) << std::hex << row.code;
        EXPECT_EQ(format->colour, row.colour) << std::hex << row.code;
        EXPECT_EQ(format->mosaic, row.mosaic) << std::hex << row.code;
        // Bits 16 to 23 of the number are the bits that a pixel takes.
        EXPECT_EQ(format->sampleBytes() * 8, row.code >> 16 & 0xFF) << std::hex << row.code;
    }
}

TEST(GenicamFormat, PackedAndColourPixelsAreUnknown) {
    for (const uint32_t code : {ARV_PIXEL_FORMAT_MONO_12_PACKED, ARV_PIXEL_FORMAT_RGB_8_PACKED,
                                ARV_PIXEL_FORMAT_YUV_422_PACKED, ARV_PIXEL_FORMAT_BAYER_RG_12_PACKED, 0u})
        EXPECT_EQ(sensorFormatOf(code), nullptr) << std::hex << code;
}

std::vector<uint32_t> codesOf(const std::vector<SensorFormat>& formats) {
    std::vector<uint32_t> codes;
    for (const SensorFormat& format : formats) codes.push_back(format.code);
    return codes;
}

TEST(GenicamFormat, AColourSensorIsReadThroughItsMosaicHoweverItWasLeft) {
    const int64_t offered[] = {ARV_PIXEL_FORMAT_MONO_8,         ARV_PIXEL_FORMAT_MONO_12,
                               ARV_PIXEL_FORMAT_BAYER_GB_12,    ARV_PIXEL_FORMAT_BAYER_GB_8,
                               ARV_PIXEL_FORMAT_MONO_12_PACKED, ARV_PIXEL_FORMAT_RGB_8_PACKED};
    for (const uint32_t present : {ARV_PIXEL_FORMAT_MONO_8, ARV_PIXEL_FORMAT_RGB_8_PACKED, ARV_PIXEL_FORMAT_BAYER_GB_8})
        EXPECT_EQ(codesOf(chooseFormats(offered, present)),
                  (std::vector<uint32_t>{ARV_PIXEL_FORMAT_BAYER_GB_8, ARV_PIXEL_FORMAT_BAYER_GB_12}))
            << std::hex << present;
}

TEST(GenicamFormat, ACameraOfSeveralMosaicsIsTakenAsItStands) {
    const int64_t offered[] = {ARV_PIXEL_FORMAT_BAYER_RG_8, ARV_PIXEL_FORMAT_BAYER_BG_8, ARV_PIXEL_FORMAT_MONO_16,
                               ARV_PIXEL_FORMAT_MONO_8};
    EXPECT_EQ(codesOf(chooseFormats(offered, ARV_PIXEL_FORMAT_MONO_8)),
              (std::vector<uint32_t>{ARV_PIXEL_FORMAT_MONO_8, ARV_PIXEL_FORMAT_MONO_16}));
    EXPECT_EQ(codesOf(chooseFormats(offered, ARV_PIXEL_FORMAT_BAYER_BG_8)),
              (std::vector<uint32_t>{ARV_PIXEL_FORMAT_BAYER_BG_8}));
    EXPECT_EQ(codesOf(chooseFormats(offered, ARV_PIXEL_FORMAT_RGB_8_PACKED)),
              (std::vector<uint32_t>{ARV_PIXEL_FORMAT_BAYER_RG_8}));
}

TEST(GenicamFormat, NothingUsableIsNothing) {
    const int64_t offered[] = {ARV_PIXEL_FORMAT_RGB_8_PACKED};
    EXPECT_TRUE(chooseFormats(offered, ARV_PIXEL_FORMAT_RGB_8_PACKED).empty());
    EXPECT_TRUE(chooseFormats({}, 0).empty());
}

TEST(GenicamGeometry, AStretchIsCutToStepsAndToEvenNumbers) {
    const AxisLimits fine{1, 2048, 1, 1};
    EXPECT_EQ(fitAxis(fine, 2048, 1, {0, 0}), (AxisSpan{0, 2048}));
    EXPECT_EQ(fitAxis(fine, 2048, 1, {6, 100}), (AxisSpan{6, 100}));
    const AxisLimits coarse{16, 1920, 8, 4};
    EXPECT_EQ(fitAxis(coarse, 1920, 1, {6, 102}), (AxisSpan{4, 96}));
    const AxisLimits odd{3, 999, 3, 5};
    EXPECT_EQ(fitAxis(odd, 996, 1, {12, 100}), (AxisSpan{10, 96}));
}

TEST(GenicamGeometry, BinningShrinksTheStretch) {
    const AxisLimits binned{1, 512, 2, 2};
    EXPECT_EQ(fitAxis(binned, 1024, 2, {0, 0}), (AxisSpan{0, 512}));
    EXPECT_EQ(fitAxis(binned, 1024, 2, {100, 202}), (AxisSpan{50, 100}));
    const AxisLimits third{1, 341, 1, 1};
    EXPECT_EQ(fitAxis(third, 1024, 3, {0, 0}), (AxisSpan{0, 340}));
    EXPECT_EQ(fitAxis(third, 1024, 3, {0, 1024}), (AxisSpan{0, 340}));
}

TEST(GenicamGeometry, WhatDoesNotFitIsRefused) {
    const AxisLimits limits{64, 1000, 1, 1};
    EXPECT_FALSE(fitAxis(limits, 1000, 1, {1, 100}));
    EXPECT_FALSE(fitAxis(limits, 1000, 1, {0, 101}));
    EXPECT_FALSE(fitAxis(limits, 1000, 1, {0, 1002}));
    EXPECT_FALSE(fitAxis(limits, 1000, 1, {902, 100}));
    EXPECT_FALSE(fitAxis(limits, 1000, 1, {0, 62}));
    EXPECT_FALSE(fitAxis(limits, 1000, 1, {0xFFFFFFFE, 4}));
    EXPECT_FALSE(fitAxis(limits, 1000, 8, {0, 100}));
    EXPECT_TRUE(fitAxis(limits, 1000, 1, {900, 100}));
}

TEST(FrameIds, AShortIdGoesFrom65535To1WithoutALoss) {
    FrameIds ids;
    uint32_t expected = 0;
    for (const uint64_t id : {65533, 65534, 65535, 1, 2}) {
        const auto place = ids.next(id);
        EXPECT_EQ(place.sequence, expected++) << id;
        EXPECT_EQ(place.missing, 0u) << id;
    }
}

TEST(FrameIds, AGapIsCountedAlsoOverTheWrap) {
    FrameIds ids;
    ids.next(10);
    auto place = ids.next(14);
    EXPECT_EQ(place.missing, 3u);
    EXPECT_EQ(place.sequence, 4u);
    ids.restart();
    place = ids.next(65534);
    EXPECT_EQ(place.missing, 0u);
    EXPECT_EQ(place.sequence, 5u);
    place = ids.next(2);  // 65535 and 1 are missing
    EXPECT_EQ(place.missing, 2u);
    EXPECT_EQ(place.sequence, 8u);
}

TEST(FrameIds, LongIdsPassTheShortLimit) {
    FrameIds ids;
    ids.next(65535);
    EXPECT_EQ(ids.next(65536).missing, 0u);
    EXPECT_EQ(ids.next(65540).missing, 3u);
    EXPECT_EQ(ids.next(0xFFFFFFFF00000000).missing, 0u) << "too long to believe";
    EXPECT_EQ(ids.next(0xFFFFFFFF00000002).missing, 1u);
}

TEST(FrameIds, ACameraThatCountsAnewOrNotAtAllHasLostNothing) {
    FrameIds ids;
    ids.next(50'000);
    EXPECT_EQ(ids.next(1).missing, 15'535u) << "a short wrap";
    ids.next(1'000'000);
    EXPECT_EQ(ids.next(1).missing, 0u);
    FrameIds none;
    for (uint32_t i = 0; i < 5; ++i) {
        const auto place = none.next(0);
        EXPECT_EQ(place.missing, 0u);
        EXPECT_EQ(place.sequence, i);
    }
    FrameIds repeated;
    repeated.next(7);
    EXPECT_EQ(repeated.next(7).missing, 0u);
}

TEST(FrameIds, USBVisionBeginsAtZero) {
    FrameIds ids;
    EXPECT_EQ(ids.next(0).missing, 0u);
    EXPECT_EQ(ids.next(1).missing, 0u);
    EXPECT_EQ(ids.next(3).missing, 1u);
}

TEST(GainMap, DecibelsAreAnAmplification) {
    const GainMap map{true, -6, 0.1};
    EXPECT_DOUBLE_EQ(map.toPercent(0), 100);
    EXPECT_DOUBLE_EQ(map.toPercent(20), 1000);
    EXPECT_NEAR(map.toPercent(6.0206), 200, 0.01);
    EXPECT_NEAR(map.toPercent(-6.0206), 50, 0.01);
    for (double gain = -6; gain <= 48; gain += 1.7) EXPECT_NEAR(map.fromPercent(map.toPercent(gain)), gain, 1e-9);
}

TEST(GainMap, OtherGainsCountTheirSteps) {
    const GainMap raw{false, 33, 1};
    EXPECT_DOUBLE_EQ(raw.toPercent(33), 100);
    EXPECT_DOUBLE_EQ(raw.toPercent(63), 130);
    EXPECT_DOUBLE_EQ(raw.fromPercent(101), 34);
    const GainMap real{false, 1, 0.1};
    EXPECT_DOUBLE_EQ(real.toPercent(1), 100);
    EXPECT_DOUBLE_EQ(real.toPercent(16), 250);
    EXPECT_DOUBLE_EQ(real.fromPercent(105), 1.5);
}

}  // namespace genicam_parts_test
}  // namespace vexcap::cameras
