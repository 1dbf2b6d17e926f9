// The formats of a video input device at its filter.
#include "source/video_capture_testing.h"

namespace vexcap::test {
namespace video_capture_formats_test {

TEST_F(VideoCapture, OpensWithTheDevicesOwnModeAtTheShortestInterval) {
    script->present = script->formats[3];
    open();
    ASSERT_EQ(script->modesSet().size(), 1u);
    EXPECT_EQ(script->modesSet()[0].first.fourcc, fourcc("NV12"));
    EXPECT_EQ(script->modesSet()[0].second, 0);
    MediaType type;
    ASSERT_EQ(capture().GetMediaType(0, &type), S_OK);
    EXPECT_TRUE(type.subtype == subtypeOf(fourcc("NV12")));
    EXPECT_EQ(type.AverageTimePerFrame(), interval);
    EXPECT_EQ(capture().GetMediaType(1, &type), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(capture().GetMediaType(-1, &type), E_INVALIDARG);
    EXPECT_EQ(capture().GetMediaType(0, nullptr), E_POINTER);
}

TEST_F(VideoCapture, OpensWithTheFirstFormatWhereTheModeIsNotKnown) {
    script->present = formatOf("H264", 8, 4);
    open();
    EXPECT_EQ(script->modesSet().at(0).first.fourcc, fourcc("YUY2"));
    script->present.reset();
    open();
    EXPECT_EQ(script->modesSet().at(1).first.fourcc, fourcc("YUY2"));
}

TEST_F(VideoCapture, ADeviceInUseTellsSoWhenItIsOpened) {
    script->setModeResult = VEX_E_BUSY;
    EXPECT_EQ(CVideoCaptureFilter::create(std::make_unique<FakeVideoDevice>(script)).code(), VEX_E_BUSY);
    script->setModeResult = S_OK;
    script->present.reset();
    script->formats.clear();
    EXPECT_EQ(CVideoCaptureFilter::create(std::make_unique<FakeVideoDevice>(script)).code(), E_FAIL);
}

TEST_F(VideoCapture, CapabilitiesAreTheDevicesFormats) {
    script->formats[1].minWidth = 4;
    script->formats[1].maxHeight = 600;
    script->formats.push_back(formatOf("H264", 8, 4));  // not known: left out
    open();
    const auto config = test::as<IAMStreamConfig>(capture());
    int32_t count = 0, size = 0;
    EXPECT_EQ(config->GetNumberOfCapabilities(&count, &size), S_OK);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(size, 128);
    EXPECT_EQ(config->GetNumberOfCapabilities(nullptr, nullptr), S_OK);
    MediaType type;
    VideoStreamConfigCaps caps;
    EXPECT_EQ(config->GetStreamCaps(-1, &type, &caps), E_INVALIDARG);
    EXPECT_EQ(config->GetStreamCaps(4, &type, &caps), S_FALSE);
    EXPECT_EQ(config->GetStreamCaps(0, nullptr, nullptr), S_OK);
    ASSERT_EQ(config->GetStreamCaps(1, &type, &caps), S_OK);
    EXPECT_TRUE(type.subtype == subtypeOf(fourcc("MJPG")));
    EXPECT_TRUE(caps.guid == FORMAT_VideoInfo);
    EXPECT_EQ(caps.inputSize[0], 16);
    EXPECT_EQ(caps.inputSize[1], 8);
    EXPECT_EQ(caps.minOutputSize[0], 4);
    EXPECT_EQ(caps.minOutputSize[1], 8);
    EXPECT_EQ(caps.maxOutputSize[0], 16);
    EXPECT_EQ(caps.maxOutputSize[1], 600);
    EXPECT_EQ(caps.minFrameInterval, interval);
    EXPECT_EQ(caps.maxFrameInterval, 10 * interval);
    ASSERT_EQ(config->GetStreamCaps(0, &type, &caps), S_OK);
    EXPECT_EQ(caps.maxBitsPerSecond, 8 * 2 * 4 * 8 * 25);
    EXPECT_EQ(caps.minBitsPerSecond, 8 * 2 * 4 * 8 * 25 / 10);
    ASSERT_EQ(config->GetStreamCaps(2, &type, &caps), S_OK);
    vex_bitmap_header bitmap = {};
    ASSERT_TRUE(type.GetBitmapHeader(bitmap));
    EXPECT_TRUE(type.subtype == MEDIASUBTYPE_RGB24);
    EXPECT_EQ(bitmap.biHeight, -4);  // the first row comes first
}

TEST_F(VideoCapture, SetFormatSetsTheDevice) {
    open();
    const auto config = test::as<IAMStreamConfig>(capture());
    MediaType type;
    ASSERT_EQ(config->GetStreamCaps(1, &type, nullptr), S_OK);
    EXPECT_EQ(config->SetFormat(&type), S_OK);
    EXPECT_EQ(script->modesSet().at(1).first.fourcc, fourcc("MJPG"));
    EXPECT_EQ(script->modesSet().at(1).second, interval);
    ASSERT_EQ(config->GetFormat(&type), S_OK);
    EXPECT_TRUE(type.subtype == subtypeOf(fourcc("MJPG")));
    EXPECT_EQ(capture().CheckMediaType(&type), S_OK);
}

TEST_F(VideoCapture, SetFormatRefusesWhatTheDeviceDoesNotOffer) {
    open();
    const auto config = test::as<IAMStreamConfig>(capture());
    EXPECT_EQ(config->SetFormat(nullptr), E_POINTER);
    EXPECT_EQ(config->GetFormat(nullptr), E_POINTER);
    const MediaType large = videoType(*videoPicture(fourcc("YUY2"), 80, 4), interval, 0);
    const MediaType other = videoType(*videoPicture(fourcc("Y800"), 8, 4), interval, 0);
    const MediaType none;
    for (const MediaType* refused : {&large, &other, &none}) EXPECT_EQ(config->SetFormat(refused), E_INVALIDARG);
    script->setModeResult = VEX_E_BUSY;
    MediaType fine;
    ASSERT_EQ(config->GetStreamCaps(3, &fine, nullptr), S_OK);
    EXPECT_EQ(config->SetFormat(&fine), VEX_E_BUSY);
    MediaType now;
    ASSERT_EQ(config->GetFormat(&now), S_OK);
    EXPECT_TRUE(now.subtype == subtypeOf(fourcc("YUY2")));  // as before
}

TEST_F(VideoCapture, ASizeWithinTheRangeIsAskedOfTheDevice) {
    script->formats[0].maxWidth = 800;
    open();
    const MediaType wide = videoType(*videoPicture(fourcc("YUY2"), 200, 4), interval, 0);
    EXPECT_EQ(test::as<IAMStreamConfig>(capture())->SetFormat(&wide), S_OK);
    EXPECT_EQ(script->modesSet().back().first.width, 200u);
    EXPECT_EQ(capture().CheckMediaType(&wide), S_OK);
}

TEST_F(VideoCapture, SetFormatWaitsForAStopAndWhatIsConnectedForANewConnection) {
    openAndConnect();
    const auto config = test::as<IAMStreamConfig>(capture());
    MediaType other;
    ASSERT_EQ(config->GetStreamCaps(3, &other, nullptr), S_OK);
    ASSERT_EQ(run(), S_OK);
    EXPECT_EQ(config->SetFormat(&other), VFW_E_NOT_STOPPED);
    stop();
    EXPECT_EQ(config->SetFormat(&other), S_OK);
    EXPECT_EQ(filter->Pause(), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_FALSE(script->streaming());
    test::disconnect(capture());
    EXPECT_EQ(capture().Connect(sink->Input()), S_OK);
    EXPECT_EQ(run(), S_OK);
}

TEST_F(VideoCapture, ThePinsTellTheirCategoriesAndInterfaces) {
    open();
    vex_guid category = {};
    EXPECT_EQ(test::as<IKsPropertySet>(capture())->Get(AMPROPSETID_Pin, 0, &category, 16, nullptr), S_OK);
    EXPECT_TRUE(category == PIN_CATEGORY_CAPTURE);
    EXPECT_EQ(test::as<IKsPropertySet>(still())->Get(AMPROPSETID_Pin, 0, &category, 16, nullptr), S_OK);
    EXPECT_TRUE(category == PIN_CATEGORY_STILL);
    EXPECT_EQ(capture().Name(), u"Capture");
    EXPECT_EQ(still().Name(), u"Still");
    EXPECT_EQ(filter->GetPinCount(), 2u);
    EXPECT_EQ(filter->GetPin(2), nullptr);
    EXPECT_TRUE(queryInterface<IAMStreamControl>(&capture()));
    EXPECT_FALSE(queryInterface<IAMDroppedFrames>(&still()));
    EXPECT_EQ(test::as<IAMFilterMiscFlags>(*filter)->GetMiscFlags(), 2u);
    EXPECT_TRUE(queryInterface<IAMVideoControl>(filter));
    EXPECT_EQ(test::as<IAMDroppedFrames>(capture())->GetNumDropped(nullptr), E_POINTER);
    EXPECT_EQ(test::as<IAMDroppedFrames>(capture())->GetNumNotDropped(nullptr), E_POINTER);
}

}  // namespace video_capture_formats_test
}  // namespace vexcap::test
