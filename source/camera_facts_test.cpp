#include "source/camera_facts.h"

#include <gtest/gtest.h>

#include "platform/fake/fake_camera.h"

namespace vexcap {
namespace camera_facts_test {

std::pair<uint32_t, uint32_t> sizeOf(FakeCamera& camera) {
    uint32_t width = 0, height = 0;
    EXPECT_TRUE(finalSize(&camera, width, height).ok());
    return {width, height};
}
using Size = std::pair<uint32_t, uint32_t>;

TEST(FinalSize, IsTheSensorsWithoutARegion) {
    FakeCamera camera;
    EXPECT_EQ(sizeOf(camera), Size(64, 48));
}

TEST(FinalSize, IsTheRegionsWhereThereIsOne) {
    FakeCamera camera;
    camera.roiResult = S_OK;
    camera.roiWidth = 40;
    camera.roiHeight = 20;
    EXPECT_EQ(sizeOf(camera), Size(40, 20));
    camera.roiHeight = 0;  // an empty one is none
    EXPECT_EQ(sizeOf(camera), Size(64, 48));
}

TEST(FinalSize, IsDividedByTheBinningAndMadeEvenOnBothSides) {
    FakeCamera camera;
    camera.width = 66;
    camera.height = 51;
    EXPECT_EQ(sizeOf(camera), Size(66, 50));
    camera.options[VEX_OPTION_BINNING] = 2;
    EXPECT_EQ(sizeOf(camera), Size(32, 24));
    camera.options[VEX_OPTION_BINNING] = 0x43;  // the low four bits are the factor
    EXPECT_EQ(sizeOf(camera), Size(22, 16));
    camera.options[VEX_OPTION_BINNING] = 0x40;
    EXPECT_EQ(sizeOf(camera), Size(66, 50));
}

TEST(FinalSize, IsTurnedWithThePicture) {
    FakeCamera camera;
    for (const int32_t degrees : {90, 270}) {
        camera.options[VEX_OPTION_ROTATION] = degrees;
        EXPECT_EQ(sizeOf(camera), Size(48, 64)) << degrees;
    }
    camera.options[VEX_OPTION_ROTATION] = 180;
    EXPECT_EQ(sizeOf(camera), Size(64, 48));
}

TEST(FinalSize, ASizeBelowZeroIsZero) {
    FakeCamera camera;
    camera.width = -64;
    EXPECT_EQ(sizeOf(camera), Size(0, 48));
}

TEST(FinalSize, FailsWithTheCamera) {
    FakeCamera camera;
    camera.sizeResult = E_ACCESSDENIED;
    uint32_t width = 0, height = 0;
    EXPECT_EQ(finalSize(&camera, width, height), E_ACCESSDENIED);
    EXPECT_EQ(finalSize(nullptr, width, height), E_INVALIDARG);
}

TEST(MaxFrameRate, IsThatOfThePresentResolution) {
    FakeCamera camera;
    camera.resolution = 2;
    camera.largestRates = {{0, 10}, {2, 75}};
    EXPECT_EQ(maxFrameRate(&camera), 75u);
    EXPECT_EQ(camera.references, 1);
}

TEST(MaxFrameRate, IsThirtyOutsideOneTo1023) {
    FakeCamera camera;
    for (const auto& [told, expected] : {Size(0, 30), {1, 1}, {1023, 1023}, {1024, 30}, {2000, 30}, {UINT32_MAX, 30}}) {
        camera.largestRates = {{0, told}};
        EXPECT_EQ(maxFrameRate(&camera), expected) << told;
    }
}

TEST(MaxFrameRate, IsThirtyWhereNobodyTellsIt) {
    FakeCamera camera;
    camera.largestRates.clear();
    EXPECT_EQ(maxFrameRate(&camera), 30u);
    camera.largestRates = {{0, 75}};
    camera.offersStatus = false;
    EXPECT_EQ(maxFrameRate(&camera), 30u);
    EXPECT_EQ(maxFrameRate(nullptr), 30u);
}

TEST(MaxFrameRate, TakesNoNoticeOfTheExposure) {
    FakeCamera camera;
    camera.exposure = 1'000'000;
    EXPECT_EQ(maxFrameRate(&camera), 30u);
}

}  // namespace camera_facts_test
}  // namespace vexcap
