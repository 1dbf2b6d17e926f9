// White balance, of the in-process camera with a feature tree that has one for red and blue.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include <unistd.h>

#include "companions/cameras/genicam/fake_camera_testing.h"

namespace vexcap::cameras {
namespace genicam_balance_test {

// A ratio from 0.25 to 4 for each entry of the selector, in memory of the camera that nothing else uses.
constexpr char balanceNodes[] = R"(
<Enumeration Name="BalanceRatioSelector" NameSpace="Standard">
  <EnumEntry Name="Red" NameSpace="Standard"><Value>0</Value></EnumEntry>
  <EnumEntry Name="Blue" NameSpace="Standard"><Value>1</Value></EnumEntry>
  <pValue>BalanceRatioSelectorRegister</pValue>
</Enumeration>
<IntReg Name="BalanceRatioSelectorRegister" NameSpace="Custom">
  <Address>0x8000</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>
</IntReg>
<Float Name="BalanceRatio" NameSpace="Standard">
  <pValue>BalanceRatioRegister</pValue><Min>0.25</Min><Max>4</Max>
</Float>
<FloatReg Name="BalanceRatioRegister" NameSpace="Custom">
  <pAddress>BalanceRatioAddress</pAddress><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  <Endianess>BigEndian</Endianess>
</FloatReg>
<IntSwissKnife Name="BalanceRatioAddress">
  <pVariable Name="SELECTED">BalanceRatioSelectorRegister</pVariable>
  <Formula>0x8010 + SELECTED * 8</Formula>
</IntSwissKnife>
)";

class GenicamBalance : public GenicamCameraTest {
protected:
    void SetUp() override {
        ArvError error;
        const GObjectPtr<ArvCamera> plain(arv_camera_new("Fake_1", error.out()));
        ASSERT_TRUE(plain);
        size_t size = 0;
        const char* const text = arv_device_get_genicam_xml(arv_camera_get_device(plain.get()), &size);
        std::string tree(text, size);
        const size_t end = tree.rfind("</RegisterDescription>");
        ASSERT_NE(end, tree.npos);
        tree.insert(end, balanceNodes);
        std::ofstream(path) << tree;
        arv_set_fake_camera_genicam_filename(path.c_str());
        open();
    }
    void TearDown() override {
        GenicamCameraTest::TearDown();
        arv_set_fake_camera_genicam_filename(nullptr);
        std::remove(path.c_str());
    }

    const std::string path = testing::TempDir() + "balance_" + std::to_string(getpid()) + ".xml";
};

TEST_F(GenicamBalance, IsThatOfTheCamerasRatiosInPercent) {
    int32_t minimum = 0, maximum = 0, standard = 0, value = 0;
    ASSERT_EQ((*controls)->GetRange(VEX_CONTROL_BALANCE_RED, &minimum, &maximum, &standard), S_OK);
    EXPECT_EQ(minimum, 25);
    EXPECT_EQ(maximum, 400);
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_BALANCE_RED, 150), S_OK);
    ASSERT_EQ((*controls)->Put(VEX_CONTROL_BALANCE_BLUE, 75), S_OK);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_BALANCE_BLUE, 401), E_INVALIDARG);
    EXPECT_EQ((*controls)->Get(VEX_CONTROL_BALANCE_RED, &value), S_OK);
    EXPECT_EQ(value, 150);
    EXPECT_EQ((*controls)->Get(VEX_CONTROL_BALANCE_BLUE, &value), S_OK);
    EXPECT_EQ(value, 75);
    ArvError error;
    arv_camera_set_string(inside.get(), "BalanceRatioSelector", "Red", error.out());
    EXPECT_DOUBLE_EQ(arv_camera_get_float(inside.get(), "BalanceRatio", error.out()), 1.5) << "in the camera itself";
    int32_t gains[3] = {};
    EXPECT_EQ(camera->GetWhiteBalanceGains(gains), S_OK);
    EXPECT_EQ(gains[0], 150);
    EXPECT_EQ(gains[1], 100) << "without a ratio of its own";
    EXPECT_EQ(gains[2], 75);
}

TEST_F(GenicamBalance, OfAColourThatTheCameraDoesNotHaveIsNone) {
    int32_t value = 0;
    EXPECT_EQ((*controls)->Get(VEX_CONTROL_BALANCE_GREEN, &value), E_NOTIMPL);
    EXPECT_EQ((*controls)->Put(VEX_CONTROL_BALANCE_GREEN, 100), E_NOTIMPL);
}

TEST_F(GenicamCameraTest, WithoutBalanceSaysSoAndHasSteps) {
    open();
    int32_t value = 0, gains[3] = {};
    EXPECT_EQ((*controls)->Get(VEX_CONTROL_BALANCE_RED, &value), E_NOTIMPL);
    EXPECT_EQ(camera->GetWhiteBalanceGains(gains), E_NOTIMPL);
    const Ask<ICameraSteps> steps(camera, VEX_IID_CAMERA_STEPS);
    ASSERT_TRUE(steps.get());
    int32_t step = 0;
    EXPECT_EQ(steps->GetControlStep(VEX_CONTROL_BALANCE_RED, &step), E_NOTIMPL);
    EXPECT_EQ(steps->GetControlStep(VEX_CONTROL_EXPOSURE, &step), S_OK);
    EXPECT_GE(step, 1);
    uint32_t x = 0, y = 0, width = 0, height = 0;
    ASSERT_EQ(steps->GetRegionStep(&x, &y, &width, &height), S_OK);
    ASSERT_EQ((*controls)->PutRoi(2 * x, 3 * y, 64 / width * width, 64 / height * height), S_OK);
    EXPECT_EQ(feature("OffsetX"), gint64(2 * x));
    EXPECT_EQ(feature("OffsetY"), gint64(3 * y));
}

}  // namespace genicam_balance_test
}  // namespace vexcap::cameras
