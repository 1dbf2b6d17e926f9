// Stills of a video input device.
#include "source/video_capture_testing.h"

namespace vexcap::test {
namespace video_capture_stills_test {

TEST_F(VideoCapture, AStillIsACopyOfTheNextFrameAndNothingElseFlowsThere) {
    openAndConnect();
    connectStill();
    ASSERT_EQ(run(), S_OK);
    push(1);
    sink->waitFor(1);
    ASSERT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    push(2);
    sink->waitFor(2);
    stillSink->waitFor(1);
    push(3);
    sink->waitFor(3);
    script->waitUntilDrained();
    EXPECT_EQ(stillSink->count(), 1u);
    EXPECT_EQ(stillSink->arrived()[0].bytes, sink->arrived()[1].bytes);
    EXPECT_EQ(stillSink->arrived()[0].start, sink->arrived()[1].start);
}

TEST_F(VideoCapture, AStillWaitsForAFrameThatIsWholeAndForARoomOfItsOwn) {
    openAndConnect();
    connectStill();
    stillSink->hold(true);
    ASSERT_EQ(run(), S_OK);
    ASSERT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    script->push({.fill = 1, .time = now(), .damaged = true});
    push(2);
    stillSink->waitFor(1);
    EXPECT_EQ(stillSink->arrived()[0].bytes[0], 2);
    ASSERT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    push(3);
    sink->waitFor(2);
    script->waitUntilDrained();
    EXPECT_EQ(stillSink->count(), 1u);  // the one buffer is out
    stillSink->hold(false);
    push(4);
    stillSink->waitFor(2);
    EXPECT_EQ(stillSink->arrived()[1].bytes[0], 4);
}

TEST_F(VideoCapture, AStillThatNobodyTakesIsNoMatterOfTheStream) {
    openAndConnect();
    connectStill();
    stillSink->answer(E_FAIL);
    ASSERT_EQ(run(), S_OK);
    ASSERT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    push(1);
    push(2);
    sink->waitFor(2);
    EXPECT_EQ(stillSink->count(), 1u);
}

TEST_F(VideoCapture, OnlyTheStillPinOfARunningFilterIsTriggered) {
    openAndConnect();
    EXPECT_EQ(filter->SetMode(&capture(), IAMVideoControl::trigger), E_INVALIDARG);
    EXPECT_EQ(filter->SetMode(nullptr, IAMVideoControl::trigger), E_INVALIDARG);
    EXPECT_EQ(filter->SetMode(&still(), 0), E_INVALIDARG);
    EXPECT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), VFW_E_NOT_CONNECTED);
    connectStill();
    EXPECT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), VFW_E_WRONG_STATE);
    ASSERT_EQ(run(), S_OK);
    EXPECT_EQ(filter->SetMode(&still(), IAMVideoControl::trigger), S_OK);
    stop();
    ASSERT_EQ(run(), S_OK);  // what was asked for in the last run is forgotten
    push(1);
    sink->waitFor(1);
    script->waitUntilDrained();
    EXPECT_EQ(stillSink->count(), 0u);
}

TEST_F(VideoCapture, TheStillPinHasTheFormatOfTheCapturePinAlone) {
    open();
    const auto config = test::as<IAMStreamConfig>(still());
    int32_t count = 0;
    EXPECT_EQ(config->GetNumberOfCapabilities(&count, nullptr), S_OK);
    EXPECT_EQ(count, 1);
    MediaType type, captures;
    EXPECT_EQ(config->GetStreamCaps(0, &type, nullptr), S_OK);
    EXPECT_EQ(config->GetStreamCaps(1, &type, nullptr), S_FALSE);
    EXPECT_EQ(config->GetStreamCaps(-1, &type, nullptr), E_INVALIDARG);
    EXPECT_EQ(config->SetFormat(&type), S_OK);
    EXPECT_EQ(config->GetFormat(&type), S_OK);
    EXPECT_EQ(test::as<IAMStreamConfig>(capture())->GetFormat(&captures), S_OK);
    EXPECT_TRUE(type == captures);
    const MediaType other = videoType(*videoPicture(fourcc("NV12"), 8, 4), interval, 0);
    EXPECT_EQ(config->SetFormat(&other), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(config->SetFormat(nullptr), E_POINTER);
}

}  // namespace video_capture_stills_test
}  // namespace vexcap::test
