#include "engine/camera_road.h"

#include "engine/context_testing.h"

namespace vexcap {
namespace camera_road_test {

TEST(BaseFrameRate, FollowsTheTableOfTelescopeCameras) {
    const struct {
        uint64_t pixels;
        uint32_t rate;
    } rows[] = {{18095808, 5}, {18095807, 6}, {16295888, 6}, {16295887, 7}, {13459456, 7}, {13459455, 8},
                {12000000, 8}, {11999999, 9}, {9841664, 9},  {9841663, 10}, {8479744, 10}, {8479743, 12},
                {4920320, 12}, {4920319, 20}, {3141632, 20}, {3141631, 25}, {0, 25},       {1ull << 40, 5}};
    for (const auto& row : rows) EXPECT_EQ(baseFrameRate(row.pixels, true), row.rate) << row.pixels;
}

TEST(BaseFrameRate, FollowsTheTableOfMicroscopeCameras) {
    const struct {
        uint64_t pixels;
        uint32_t rate;
    } rows[] = {{15200000, 15}, {15199999, 25}, {12000000, 25}, {11999999, 35}, {4920320, 35}, {4920319, 50}, {0, 50}};
    for (const auto& row : rows) EXPECT_EQ(baseFrameRate(row.pixels, false), row.rate) << row.pixels;
}

TEST(FrameRateValue, TenPercentOfFiveIsRaisedToTwo) { EXPECT_EQ(frameRateValue(5, 10, 32), 2u); }
TEST(FrameRateValue, IsCutToTheCap) { EXPECT_EQ(frameRateValue(50, 100, 32), 32u); }
TEST(FrameRateValue, WithoutACapNoBoundApplies) { EXPECT_EQ(frameRateValue(50, 200, 0), 100u); }
TEST(FrameRateValue, TruncatesThePercentage) { EXPECT_EQ(frameRateValue(25, 99, 0), 24u); }
TEST(FrameRateValue, ACapOfOneStillGivesTwo) { EXPECT_EQ(frameRateValue(25, 100, 1), 2u); }

class CameraRoadTest : public ContextFixture {
protected:
    /// Size that the preview sink has after a start, read off a frame that it takes without copying.
    std::pair<uint32_t, uint32_t> sinkSize() {
        init();
        ContextState state(engine);
        CameraRoad road(state);
        EXPECT_TRUE(road.OpenSource().ok());
        EXPECT_TRUE(road.CreatePreviewSink().ok());
        EXPECT_TRUE(road.ConnectPreviewSink().ok());
        uint32_t width = 0, height = 0;
        state.previewSink->GetVideoSize(&width, &height);
        contextSize = {state.width, state.height};
        return {width, height};
    }
    std::pair<uint32_t, uint32_t> contextSize;
    using Size = std::pair<uint32_t, uint32_t>;
};

class LargestFrameRate : public ContextFixture {
protected:
    uint32_t rate() {
        init();
        ContextState state(engine);
        CameraRoad road(state);
        EXPECT_TRUE(road.OpenSource().ok());
        return road.LargestFrameRate();
    }
};

TEST_F(LargestFrameRate, IsThatOfThePresentResolution) {
    camera.resolution = 2;
    camera.largestRates = {{0, 15}, {1, 30}, {2, 60}};
    EXPECT_EQ(rate(), 60u);
}

TEST_F(LargestFrameRate, Is30WhereTheCameraTellsNoneOrAnImpossibleOne) {
    for (const uint32_t told : {0u, 1024u, UINT32_MAX}) {
        camera.largestRates = {{0, told}};
        EXPECT_EQ(rate(), 30u) << told;
    }
    camera.largestRates = {};
    EXPECT_EQ(rate(), 30u);
    camera.offersStatus = false;
    EXPECT_EQ(rate(), 30u);
}

TEST_F(LargestFrameRate, GoesFrom1To1023) {
    for (const uint32_t told : {1u, 1023u}) {
        camera.largestRates = {{0, told}};
        EXPECT_EQ(rate(), told);
    }
}

TEST_F(LargestFrameRate, IsCappedByTheExposureAndNeverBelow1) {
    camera.largestRates = {{0, 100}};
    const struct {
        uint32_t microseconds, rate;
    } rows[] = {{0, 100},     {1, 100},     {10'000, 100},  {10'001, 99},
                {40'000, 25}, {999'999, 1}, {1'000'000, 1}, {60'000'000, 1}};
    for (const auto& row : rows) {
        camera.exposure = row.microseconds;
        EXPECT_EQ(rate(), row.rate) << row.microseconds;
    }
}

TEST_F(CameraRoadTest, TheSinkTakesTheRegionAndTheContextTheSensorSize) {
    camera.roiResult = S_OK;
    camera.roiWidth = 32;
    camera.roiHeight = 20;
    EXPECT_EQ(sinkSize(), Size(32, 20));
    EXPECT_EQ(contextSize, Size(64, 48));
}

TEST_F(CameraRoadTest, ARegionWithoutExtentMeansTheWholeFrame) {
    camera.roiResult = S_OK;
    camera.roiWidth = 0;
    camera.roiHeight = 20;
    EXPECT_EQ(sinkSize(), Size(64, 48));
}

TEST_F(CameraRoadTest, BinningDividesBothSidesAndMakesThemEven) {
    camera.width = 63;
    camera.height = 45;
    camera.options[VEX_OPTION_BINNING] = 0x83;  // only the low four bits are the factor
    EXPECT_EQ(sinkSize(), Size(20, 14));
}

TEST_F(CameraRoadTest, ABinningOfZeroCountsAsNone) {
    camera.options[VEX_OPTION_BINNING] = 0;
    EXPECT_EQ(sinkSize(), Size(64, 48));
}

TEST_F(CameraRoadTest, AQuarterTurnSwapsTheSides) {
    for (const int32_t degrees : {90, 270}) {
        camera.options[VEX_OPTION_ROTATION] = degrees;
        EXPECT_EQ(sinkSize(), Size(48, 64)) << degrees;
    }
    camera.options[VEX_OPTION_ROTATION] = 180;
    EXPECT_EQ(sinkSize(), Size(64, 48));
}

TEST_F(CameraRoadTest, AFinalSizeOfNothingFallsBackToTheSensorSize) {
    camera.width = camera.height = 10;
    camera.options[VEX_OPTION_BINNING] = 15;
    EXPECT_EQ(sinkSize(), Size(10, 10));
}

TEST_F(CameraRoadTest, ImpossibleSizesDoNotStart) {
    for (const auto& [width, height] :
         {std::pair{0, 48}, {64, 0}, {-64, 48}, {64, -48}, {INT32_MAX, INT32_MAX}, {65536, 65536}, {INT32_MIN, 48}}) {
        camera.width = width;
        camera.height = height;
        init();
        EXPECT_EQ(makeContext()->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL) << width << "x" << height;
    }
}

TEST_F(CameraRoadTest, ASizeThatCannotBeReadEndsTheStart) {
    camera.sizeResult = E_NOTIMPL;
    init();
    EXPECT_EQ(makeContext()->Start(nullptr, 0, 0, 0, 0).code(), E_FAIL);
}

TEST_F(CameraRoadTest, TheFrameRateOptionFollowsSizeAndHost) {
    init();
    engine.SetFrameRate(20, 50);
    auto context = makeContext();
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    EXPECT_TRUE(camera.wasCalled("PutOption(17,12)"));  // half of 25
}

TEST_F(CameraRoadTest, ASizeEventResizesTheSinkAndTellsTheHost) {
    auto context = startedContext();
    preview.clear();
    camera.width = 32;
    camera.height = 16;
    camera.deliverEvent(VEX_CAMERA_EVENT_SIZE);
    int32_t width = 0, height = 0;
    context->VideoSize(&width, &height);
    EXPECT_EQ(width, 32);
    EXPECT_EQ(height, 16);
    ASSERT_EQ(preview.messages().size(), 1u);
    EXPECT_EQ(preview.messages()[0].message, eventMessage);
    EXPECT_EQ(preview.messages()[0].wparam, uintptr_t(VEX_CAMERA_EVENT_SIZE));
}

TEST_F(CameraRoadTest, ASizeEventWithAnImpossibleSizeKeepsTheOldOne) {
    auto context = startedContext();
    camera.width = -1;
    camera.deliverEvent(VEX_CAMERA_EVENT_SIZE);
    int32_t width = 0;
    context->VideoSize(&width, nullptr);
    EXPECT_EQ(width, 64);
}

TEST_F(CameraRoadTest, AnyOtherEventIsOnlyPassedOn) {
    auto context = startedContext();
    preview.clear();
    camera.width = 32;
    camera.deliverEvent(77);
    int32_t width = 0;
    context->VideoSize(&width, nullptr);
    EXPECT_EQ(width, 64);
    ASSERT_EQ(preview.messages().size(), 1u);
    EXPECT_EQ(preview.messages()[0].wparam, 77u);
}

TEST_F(CameraRoadTest, StillFramesGoToTheStillSinkAndAreToldWithSizeAndTag) {
    camera.offersStill = true;
    init();
    auto context = makeContext();
    ASSERT_TRUE(context->Start(still.native(), stillMessage, 1, 0, 0).ok());
    preview.clear();
    camera.deliver(9, 128, 96, 1);
    ASSERT_EQ(still.messages().size(), 1u);
    EXPECT_EQ(still.messages()[0].message, stillMessage);
    EXPECT_EQ(still.messages()[0].wparam, uintptr_t(96 << 16 | 128));
    EXPECT_EQ(still.messages()[0].lparam, 7);
    EXPECT_EQ(countOf(preview, frameMessage), 0u);
}

TEST_F(CameraRoadTest, WithoutAStillSinkAStillFrameIsSkippedAndItsBuffersAreNull) {
    auto context = startedContext();
    void *display = &context, *raw = &context, *deep = &context;
    camera.bufferCallback(1, &display, &raw, &deep, camera.context);
    EXPECT_EQ(display, nullptr);
    EXPECT_EQ(raw, nullptr);
    EXPECT_EQ(deep, nullptr);
    camera.deliver(9, 128, 96, 1);
}

TEST_F(CameraRoadTest, AStillCountOfNothingMakesNoStillPath) {
    camera.offersStill = true;
    for (const int32_t count : {0, -1}) {
        camera.stillCount = count;
        init();
        auto context = makeContext();
        ASSERT_TRUE(context->Start(still.native(), stillMessage, 1, 0, 0).ok());
        void* display = nullptr;
        camera.bufferCallback(1, &display, nullptr, nullptr, camera.context);
        EXPECT_EQ(display, nullptr);
    }
}

TEST_F(CameraRoadTest, ATextureIsOfferedAndARefusalFallsBackToMemoryForGood) {
    fakes.textures.available = true;
    arguments.direct2d = 1;
    init();
    ASSERT_EQ(engine.d2dAvailable, 1u);
    const vex_device device = {u"$camera", u"A camera", VEX_KIND_CAMERA, 0};
    int d3dDevice = 0, d3dContext = 0, target = 0;
    auto context =
        CaptureContext::Create(engine, owner.native(), preview.native(), &device, &d3dDevice, &d3dContext, &target);
    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    EXPECT_TRUE(camera.textureOffered);
    EXPECT_EQ(camera.texture.device, &d3dDevice);
    EXPECT_EQ(camera.texture.context, &d3dContext);
    EXPECT_NE(camera.texture.texture, nullptr);
    EXPECT_FALSE(context->UsesTexture());  // the camera said no

    ASSERT_TRUE(context->Start(nullptr, 0, 0, 0, 0).ok());
    EXPECT_FALSE(camera.textureOffered);

    camera.textureAccepted = true;
    auto second =
        CaptureContext::Create(engine, owner.native(), preview.native(), &device, &d3dDevice, &d3dContext, &target);
    ASSERT_TRUE(second->Start(nullptr, 0, 0, 0, 0).ok());
    EXPECT_TRUE(second->UsesTexture());
}

TEST_F(CameraRoadTest, RawRecordingHalvesTheDisplayRateAndTheEndRestoresIt) {
    auto context = startedContext();
    camera.calls.clear();
    ASSERT_EQ(context->StartCaptureAstro(u"a.ser", 0, 0).code(), S_OK);
    EXPECT_EQ(camera.calls,
              (std::vector<std::string>{"SetRawCallback", "PutOption(1,0)", "PutOption(17,12)", "Trigger(0)"}));
    camera.calls.clear();
    context->StopCapture();
    EXPECT_EQ(camera.calls,
              (std::vector<std::string>{"SetRawCallback(null)", "PutOption(17,25)", "Trigger(0)", "PutOption(1,1)"}));
}

TEST_F(CameraRoadTest, OutsideAstroModeTheSinkOptionsAreLeftAlone) {
    arguments.astroMode = 0;
    auto context = startedContext();
    camera.calls.clear();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    EXPECT_EQ(camera.calls, (std::vector<std::string>{"PutOption(1,0)"}));
}

TEST_F(CameraRoadTest, EveryInterfaceReferenceIsGivenBack) {
    camera.offersStill = true;
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    camera.deliverEvent(VEX_CAMERA_EVENT_SIZE);
    camera.deliverLoss();
    context->Notify();
    context.reset();
    EXPECT_EQ(camera.references, 0);
    EXPECT_TRUE(camera.closed);
}

TEST_F(CameraRoadTest, CallbacksAfterTheEndOfTheContextReachNothing) {
    auto context = startedContext();
    ASSERT_TRUE(context->StartCaptureAstro(u"a.ser", 0, 0).ok());
    context.reset();
    preview.clear();
    const uint8_t row[64 * 48] = {};
    camera.deliver(1, 64, 48);
    camera.deliverRaw(row, 64, 48, 8);
    camera.deliverEvent(VEX_CAMERA_EVENT_SIZE);
    camera.deliverLoss();
    EXPECT_TRUE(preview.messages().empty());
}

TEST_F(CameraRoadTest, CapabilitiesCarryOnlyTheSizes) {
    auto context = startedContext();
    camera.resolutionCount = 2;
    std::vector<vex_capability> found;
    ASSERT_EQ(context->Capabilities(found), 2);
    EXPECT_EQ(found[0].header.biWidth, 64);
    EXPECT_EQ(found[0].header.biHeight, 48);
    EXPECT_EQ(found[1].header.biWidth, 32);
    vex_capability zero = {};
    zero.header.biWidth = 32;
    zero.header.biHeight = 24;
    EXPECT_EQ(std::memcmp(&found[1], &zero, sizeof zero), 0);
}

TEST_F(CameraRoadTest, ANegativeCountPassesThroughAndAnAbsurdOneIsNothing) {
    auto context = startedContext();
    std::vector<vex_capability> found;
    camera.resolutionCount = -5;
    EXPECT_EQ(context->Capabilities(found), -5);
    camera.resolutionCount = INT32_MAX;
    EXPECT_EQ(context->Capabilities(found), 0);
    EXPECT_TRUE(found.empty());
}

TEST_F(CameraRoadTest, StillCapabilitiesComeFromTheStillInterface) {
    auto context = startedContext();
    std::vector<vex_capability> found;
    EXPECT_EQ(context->StillCapabilities(found), 0);
    camera.offersStill = true;
    ASSERT_EQ(context->StillCapabilities(found), 2);
    EXPECT_EQ(found[1].header.biWidth, 64);
}

}  // namespace camera_road_test
}  // namespace vexcap
