// The camera as an object: references, identity, interfaces; and what it tells while it does not stream.
#include "tests/camera_contract/fixture.h"

namespace vexcap::contract {
namespace object_test {

CAMERA_SUITE(Object);

constexpr vex_guid unknownInterface = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};
const vex_guid allInterfaces[] = {VEX_IID_CAMERA_STATUS, VEX_IID_CAMERA_STILL,    VEX_IID_CAMERA_PREVIEW_SIZE,
                                  VEX_IID_CAMERA_RAW,    VEX_IID_CAMERA_CONTROLS, VEX_IID_CAMERA_STEPS};

CAMERA_CHECK(Object, OpensInEachModeOrAnswersNull, "The engine refuses a camera with less than 8.") {
    camera.close();
    for (const char mode : {char(VEX_OPEN_ASTRO), char(VEX_OPEN_GAINS), char(VEX_OPEN_TEMPTINT)}) {
        const Camera other(GetParam(), mode);
        if (other) {
            EXPECT_GE(other->GetBitDepth(), 8u) << mode;
        }
    }
}

CAMERA_CHECK(Object, BeginsWithOneReference, "Open returns a camera with one reference") {
    EXPECT_EQ(camera->AddRef(), 2u);
    EXPECT_EQ(camera->Release(), 1u);
}

CAMERA_CHECK(Object, IsTheSameObjectUnderEveryTable,
             "VEX_IID_UNKNOWN is answered with the same pointer under every table.") {
    const Held<IVexUnknown> identity(camera.get(), VEX_IID_UNKNOWN);
    ASSERT_TRUE(bool(identity));
    for (const vex_guid& iid : allInterfaces) {
        const Held<IVexUnknown> one(camera.get(), iid);
        if (!one) continue;
        const Held<IVexUnknown> back(one.get(), VEX_IID_UNKNOWN);
        EXPECT_EQ(back.get(), identity.get());
        for (const vex_guid& other : allInterfaces) {
            const Held<IVexUnknown> fromCamera(camera.get(), other);
            const Held<IVexUnknown> fromInterface(one.get(), other);
            EXPECT_EQ(fromCamera.get(), fromInterface.get());
        }
    }
    EXPECT_EQ(camera->AddRef(), 3u) << "the reference of the identity, and no other is left";
    camera->Release();
}

CAMERA_CHECK(Object, CountsTheReferencesOfItsInterfaces,
             "An interface from QueryInterface is the same camera under another table; it holds a reference until its "
             "Release.") {
    for (const vex_guid& iid : allInterfaces) {
        Held<IVexUnknown> held(camera.get(), iid);
        if (!held) continue;
        EXPECT_EQ(held->AddRef(), 3u);
        EXPECT_EQ(camera->Release(), 2u);
        EXPECT_EQ(held.release(), 1u);
    }
}

CAMERA_CHECK(Object, AnswersAnUnknownInterfaceWithNull,
             "Sets `out` to the object under another table, with a reference; else to null, with E_NOINTERFACE.") {
    void* out = this;
    EXPECT_EQ(camera->QueryInterface(unknownInterface, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(camera->QueryInterface(VEX_IID_UNKNOWN, nullptr), E_POINTER);
    EXPECT_EQ(camera->AddRef(), 2u);
    EXPECT_EQ(camera->Release(), 1u);
}

CAMERA_CHECK(Object, OutlivesItsCloseWhileAnInterfaceIsHeld,
             "An interface from QueryInterface is the same camera under another table; it holds a reference until its "
             "Release.") {
    camera.close();  // a camera may have one opener at a time
    for (const vex_guid& iid : allInterfaces) {
        Camera other(GetParam());
        ASSERT_TRUE(bool(other));
        Held<IVexUnknown> held(other.get(), iid);
        if (!held) continue;
        other.close();
        EXPECT_EQ(held.release(), 0u);
    }
}

CAMERA_CHECK(Object, CanBeOpenedAgainAfterItsClose, "A camera that was closed can be opened again at once.") {
    camera.close();
    for (int i = 0; i < 3; ++i) {
        const Camera again(GetParam());
        EXPECT_TRUE(bool(again));
    }
}

CAMERA_CHECK(Object, HasASizeThatIsTheOneOfItsResolution,
             "Size of a frame of the present resolution before region, binning and rotation, in pixels.") {
    int32_t width = 0, height = 0;
    ASSERT_GE(camera->GetSize(&width, &height), 0);
    EXPECT_GE(width, 1);
    EXPECT_GE(height, 1);
    const int32_t count = camera->GetResolutionCount();
    if (count < 1) return;
    uint32_t index = ~0u;
    ASSERT_GE(camera->GetEsize(&index), 0);
    ASSERT_LT(index, uint32_t(count));
    int32_t resolutionWidth = 0, resolutionHeight = 0;
    ASSERT_GE(camera->GetResolution(index, &resolutionWidth, &resolutionHeight), 0);
    EXPECT_EQ(width, resolutionWidth);
    EXPECT_EQ(height, resolutionHeight);
}

CAMERA_CHECK(Object, TellsEachResolutionAndRefusesOneThatIsNotThere,
             "A resolution, in pixels; an index that is not there is refused.") {
    const int32_t count = camera->GetResolutionCount();
    for (int32_t i = 0; i < count; ++i) {
        int32_t width = 0, height = 0;
        EXPECT_GE(camera->GetResolution(uint32_t(i), &width, &height), 0) << i;
        EXPECT_GE(width, 1) << i;
        EXPECT_GE(height, 1) << i;
    }
    int32_t width = -7, height = -9;
    EXPECT_LT(camera->GetResolution(uint32_t(std::max(count, 0)), &width, &height), 0);
    EXPECT_LT(camera->GetResolution(0xFFFFFFFFu, &width, &height), 0);
    EXPECT_EQ(width, -7);
    EXPECT_EQ(height, -9);
}

CAMERA_CHECK(Object, HasEightToSixteenBits, "Largest number of bits of a sample, 8 to 16.") {
    EXPECT_GE(camera->GetBitDepth(), 8u);
    EXPECT_LE(camera->GetBitDepth(), 16u);
}

CAMERA_CHECK(Object, TellsARegionInsideOfItsSize,
             "Region of interest in pixels of the present resolution; x and y are optional.") {
    uint32_t x = 0, y = 0, width = 0, height = 0;
    if (camera->GetRoi(&x, &y, &width, &height) < 0) GTEST_SKIP() << "no region of interest";
    int32_t fullWidth = 0, fullHeight = 0;
    ASSERT_GE(camera->GetSize(&fullWidth, &fullHeight), 0);
    EXPECT_LE(x + width, uint32_t(fullWidth));
    EXPECT_LE(y + height, uint32_t(fullHeight));
    uint32_t again = 0, high = 0;
    EXPECT_GE(camera->GetRoi(nullptr, nullptr, &again, &high), 0) << "x and y may be null";
    EXPECT_EQ(again, width);
    EXPECT_EQ(high, height);
}

CAMERA_CHECK(Object, TellsItsExposureAndRate, "sensor frames since StartPull, 0 before it.") {
    uint32_t exposure = 0, frames = 0, milliseconds = 0, total = 7;
    EXPECT_GE(camera->GetExposureTime(&exposure), 0);
    EXPECT_GE(exposure, 1u);
    EXPECT_GE(camera->GetFrameRate(&frames, &milliseconds, &total), 0);
    EXPECT_EQ(total, 0u) << "frames since StartPull, before any";
}

CAMERA_CHECK(Object, TellsAWhiteBalanceOrThatItHasNone,
             "White balance as red, green, blue gains; E_NOTIMPL without one.") {
    int32_t gains[3] = {0, 0, 0}, temperature = 0, tint = 0;
    const HRESULT asGains = camera->GetWhiteBalanceGains(gains);
    if (asGains >= 0) {
        for (const int32_t gain : gains) EXPECT_NE(gain, 0);
    } else {
        EXPECT_EQ(asGains, E_NOTIMPL);
    }
    const HRESULT asTemperature = camera->GetTempTint(&temperature, &tint);
    if (asTemperature >= 0) {
        EXPECT_GT(temperature, 0);
    } else {
        EXPECT_EQ(asTemperature, E_NOTIMPL);
    }
}

CAMERA_CHECK(Object, KeepsTheValueOfEachOptionThatItTakes, "Reads an option: the value that was set last.") {
    const struct {
        uint32_t number;
        int32_t value;
    } cases[] = {{VEX_OPTION_RECORDING, 1},   {VEX_OPTION_RECORDING, 0},  {VEX_OPTION_FRAME_RATE, 0},
                 {VEX_OPTION_FRAME_RATE, 20}, {VEX_OPTION_FRAME_RATE, 2}, {VEX_OPTION_BINNING, 2},
                 {VEX_OPTION_BINNING, 1},     {VEX_OPTION_ROTATION, 90},  {VEX_OPTION_ROTATION, 180},
                 {VEX_OPTION_ROTATION, 270},  {VEX_OPTION_ROTATION, 0}};
    for (const auto& one : cases) {
        int32_t before = 0, after = 0;
        const bool readable = camera->GetOption(one.number, &before) >= 0;
        const bool taken = camera->PutOption(one.number, one.value) >= 0;
        if (!readable) continue;
        ASSERT_GE(camera->GetOption(one.number, &after), 0);
        const int32_t mask = one.number == VEX_OPTION_BINNING ? 15 : -1;
        EXPECT_EQ(after & mask, taken ? one.value : before & mask) << "option " << one.number << ", " << one.value;
    }
}

CAMERA_CHECK(Object, TakesTheFrameRateOption, "Every camera has the first two") {
    EXPECT_GE(camera->PutOption(VEX_OPTION_FRAME_RATE, 25), 0);
    EXPECT_GE(camera->PutOption(VEX_OPTION_RECORDING, 1), 0);
}

CAMERA_CHECK(Object, RefusesValuesThatNoOptionHas, "A value that the option does not have is refused.") {
    const struct {
        uint32_t number;
        int32_t value;
    } cases[] = {{VEX_OPTION_ROTATION, 45},
                 {VEX_OPTION_ROTATION, -90},
                 {VEX_OPTION_ROTATION, 360},
                 {VEX_OPTION_ROTATION, 1 << 30},
                 {VEX_OPTION_FRAME_RATE, -1}};
    for (const auto& one : cases) {
        int32_t before = 0, after = 0;
        const bool readable = camera->GetOption(one.number, &before) >= 0;
        EXPECT_LT(camera->PutOption(one.number, one.value), 0) << "option " << one.number << ", " << one.value;
        if (readable && camera->GetOption(one.number, &after) >= 0) {
            EXPECT_EQ(after, before);
        }
    }
    int32_t factor = 0;
    camera->PutOption(VEX_OPTION_BINNING, 0);
    if (camera->GetOption(VEX_OPTION_BINNING, &factor) >= 0) {
        EXPECT_GE(factor & 15, 1) << "1 for none";
    }
}

CAMERA_CHECK(Object, AnswersAnUnknownOptionWithNotImplemented, "An unknown number fails with E_NOTIMPL.") {
    for (const uint32_t number : {0u, 2u, 4711u, 0xFFFFFFFFu}) {
        int32_t value = 0;
        EXPECT_EQ(camera->GetOption(number, &value), E_NOTIMPL) << number;
        EXPECT_EQ(camera->PutOption(number, 1), E_NOTIMPL) << number;
    }
}

CAMERA_CHECK(Object, RefusesNullOuts,
             "A null out fails with E_POINTER, but for those that an operation calls optional.") {
    int32_t value = 0;
    EXPECT_LT(camera->GetSize(nullptr, nullptr), 0);
    EXPECT_LT(camera->GetSize(&value, nullptr), 0);
    EXPECT_LT(camera->GetEsize(nullptr), 0);
    EXPECT_LT(camera->GetExposureTime(nullptr), 0);
    EXPECT_LT(camera->GetResolution(0, nullptr, nullptr), 0);
    EXPECT_LT(camera->GetRoi(nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_LT(camera->GetOption(VEX_OPTION_FRAME_RATE, nullptr), 0);
    EXPECT_LT(camera->GetWhiteBalanceGains(nullptr), 0);
    EXPECT_LT(camera->GetTempTint(nullptr, nullptr), 0);
}

CAMERA_CHECK(Object, StopsWithoutAStream, "No callback runs or comes once it returned. Without a stream: S_OK.") {
    EXPECT_EQ(camera->Stop(), S_OK);
    EXPECT_EQ(camera->Stop(), S_OK);
}

CAMERA_CHECK(Object, ChangesItsResolutionThroughThePreviewSizes,
             "Chooses the resolution; between two streams. The region of interest becomes the whole frame.") {
    const Held<ICameraPreviewSize> sizes(camera.get(), VEX_IID_CAMERA_PREVIEW_SIZE);
    if (!sizes) GTEST_SKIP() << "no preview size interface";
    const int32_t count = camera->GetResolutionCount();
    ASSERT_GE(count, 1);
    for (int32_t i = 0; i < count; ++i) {
        ASSERT_GE(sizes->SetPreviewIndex(uint32_t(i)), 0) << i;
        uint32_t index = ~0u, esize = ~0u;
        int32_t width = 0, height = 0, told = 0, high = 0, full = 0, tall = 0;
        EXPECT_GE(sizes->GetPreviewIndex(&index), 0);
        EXPECT_GE(camera->GetEsize(&esize), 0);
        EXPECT_EQ(index, uint32_t(i));
        EXPECT_EQ(esize, uint32_t(i));
        EXPECT_GE(sizes->GetPreviewSize(&width, &height), 0);
        EXPECT_GE(camera->GetSize(&told, &high), 0);
        EXPECT_GE(camera->GetResolution(uint32_t(i), &full, &tall), 0);
        EXPECT_EQ(Size({width, height}), Size({full, tall})) << i;
        EXPECT_EQ(Size({told, high}), Size({full, tall})) << i;
        uint32_t roiWidth = 0, roiHeight = 0;
        if (camera->GetRoi(nullptr, nullptr, &roiWidth, &roiHeight) >= 0) {
            EXPECT_LE(roiWidth, uint32_t(full)) << "the region is one of the present resolution";
            EXPECT_LE(roiHeight, uint32_t(tall));
        }
    }
    EXPECT_LT(sizes->SetPreviewIndex(uint32_t(count)), 0);
    uint32_t index = ~0u;
    EXPECT_GE(sizes->GetPreviewIndex(&index), 0);
    EXPECT_EQ(index, uint32_t(count - 1));
}

}  // namespace object_test
}  // namespace vexcap::contract
