// Display frames: their order, size and room, and the life of the stream.
#include "tests/camera_contract/fixture.h"

#include <chrono>
#include <cmath>

namespace vexcap::contract {
namespace stream_test {

CAMERA_SUITE(Streaming);

void pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

// A picture whose rows correlate so much with their reverse does not show which way up it is.
constexpr double mostAlike = 0.99;

// Correlation of two rows of means, -1 to 1.
double correlation(const std::vector<double>& a, const std::vector<double>& b) {
    double meanA = 0, meanB = 0, ab = 0, aa = 0, bb = 0;
    for (size_t i = 0; i < a.size(); ++i) meanA += a[i] / double(a.size()), meanB += b[i] / double(a.size());
    for (size_t i = 0; i < a.size(); ++i) {
        ab += (a[i] - meanA) * (b[i] - meanB);
        aa += (a[i] - meanA) * (a[i] - meanA);
        bb += (b[i] - meanB) * (b[i] - meanB);
    }
    return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0;
}

CAMERA_CHECK(Streaming, DeliversFramesOfTheSizeThatItTells,
             "the region's or else the resolution's size, divided by binning, rounded down to even sides, turned.") {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    EXPECT_EQ(camera->TextureAccepted(), 0u) << "none was offered";
    ASSERT_TRUE(stream.waitForFrames(5));
    EXPECT_EQ(stream.stop(), S_OK);
    const Size want = frameSize(camera.get());
    for (const Stream::Frame& frame : stream.frames()) {
        EXPECT_EQ(Size({frame.info.width, frame.info.height}), want);
        EXPECT_EQ(frame.info.reserved, 0u);
        EXPECT_EQ(frame.still, 0u);
        EXPECT_FALSE(frame.rawGiven);
        EXPECT_FALSE(frame.deepGiven);
    }
}

CAMERA_CHECK(Streaming, NumbersItsFramesUpwardsAndItsTimesNeverGoBack,
             "Numbers rise, and a gap means frames that were lost on the way.") {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(8));
    stream.stop();
    const std::vector<Stream::Frame> frames = stream.frames();
    for (size_t i = 1; i < frames.size(); ++i) {
        EXPECT_GT(frames[i].info.sequence, frames[i - 1].info.sequence);
        if (frames[i].info.timestamp != 0) {
            EXPECT_GE(frames[i].info.timestamp, frames[i - 1].info.timestamp);
        }
    }
}

CAMERA_CHECK(
    Streaming, WritesEachRowIntoTheRoomThatItIsGivenAndNothingOutside,
    "A display frame has 3 bytes a pixel, blue first, and a row stride of ((width * 24 + 31) / 32) * 4 bytes.") {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(6));
    stream.stop();
    const std::vector<Stream::Frame> frames = stream.frames();
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_TRUE(frames[i].inOurRoom) << i;
        EXPECT_TRUE(frames[i].roomKept) << i;
        EXPECT_TRUE(frames[i].eachRowWritten) << i;
    }
}

CAMERA_CHECK(Streaming, ShowsTheSameRowsInDisplayAndRawFrames, "Rows run from the bottom to the top.") {
    Stream stream(camera.get());
    if (stream.watchRaw() < 0) GTEST_SKIP() << "no raw frames";
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(6));
    stream.stop();
    size_t compared = 0;
    for (const Stream::Frame& frame : stream.frames()) {
        if (frame.displayRows.size() < 4) continue;
        const std::vector<double> upsideDown(frame.displayRows.rbegin(), frame.displayRows.rend());
        const bool flat = correlation(frame.displayRows, frame.displayRows) == 0;
        if (flat || correlation(frame.displayRows, upsideDown) > mostAlike) continue;
        EXPECT_GT(correlation(frame.displayRows, frame.rawRows), correlation(upsideDown, frame.rawRows));
        ++compared;
    }
    if (compared == 0) GTEST_SKIP() << "the picture is the same upside down, so the order of its rows cannot be seen";
}

CAMERA_CHECK(Streaming, DeliversFromMemoryOfItsOwnWhenThereIsNoRoom,
             "A buffer callback that returns null for the display picture gets it in memory of the camera's own") {
    Answers answers;
    answers.display = false;
    Stream stream(camera.get(), answers);
    ASSERT_GE(stream.start(), 0);
    EXPECT_TRUE(stream.waitForFrames(3));
    stream.stop();
    for (const Stream::Frame& frame : stream.frames()) EXPECT_FALSE(frame.inOurRoom);
}

CAMERA_CHECK(Streaming, FillsRawAndDeepRoomOrGivesNull,
             "`raw` and `deep` are the room of the buffer callback when they were filled, and else null.") {
    Answers answers;
    answers.raw = answers.deep = true;
    Stream stream(camera.get(), answers);
    const bool hasRaw = stream.watchRaw() >= 0;
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(6));
    stream.stop();
    for (const Stream::Frame& frame : stream.frames()) {
        EXPECT_EQ(frame.rawGiven, frame.rawInOurRoom) << "raw memory other than the room that was given";
        EXPECT_EQ(frame.deepGiven, frame.deepInOurRoom) << "deep memory other than the room that was given";
        EXPECT_TRUE(frame.rawMatches);
    }
    if (!hasRaw) return;
    for (const Stream::Frame& frame : stream.frames()) EXPECT_EQ(frame.tag, stream.raws().front().fourcc);
}

CAMERA_CHECK(Streaming, CallsOneAtATimeAndOnThreadsOfItsOwn,
             "Frames, buffers, raw frames and events come on threads of the library, one frame at a time.") {
    Stream stream(camera.get());
    stream.watchRaw();
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(8));
    stream.stop();
    EXPECT_FALSE(stream.overlapped());
    EXPECT_FALSE(stream.onOurThread());
}

CAMERA_CHECK(Streaming, IsSilentOnceStopReturned, "No callback runs or comes once it returned.") {
    Stream stream(camera.get());
    stream.watchRaw();
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(2));
    EXPECT_EQ(stream.stop(), S_OK);
    EXPECT_FALSE(stream.running());
    const size_t calls = stream.calls();
    EXPECT_EQ(stream.stop(), S_OK) << "a second time";
    pause(150);
    EXPECT_EQ(stream.calls(), calls);
}

CAMERA_CHECK(Streaming, WaitsInStopForARunningCallback, "Stop and Close wait for a running callback to return.") {
    Answers answers;
    answers.milliseconds = 80;
    Stream stream(camera.get(), answers);
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    ASSERT_TRUE(stream.waitFor([&] { return stream.running(); }));
    stream.stop();
    EXPECT_FALSE(stream.running());
}

CAMERA_CHECK(Streaming, StartsAgainAndCountsFromZero, "Starts the stream, numbers and counters at 0.") {
    for (int round = 0; round < 3; ++round) {
        Stream stream(camera.get());
        ASSERT_GE(stream.start(), 0) << round;
        ASSERT_TRUE(stream.waitForFrames(2)) << round;
        const Held<ICameraStatus> status(camera.get(), VEX_IID_CAMERA_STATUS);
        uint32_t state = 99;
        if (status) {
            EXPECT_GE(status->GetState(&state), 0);
            EXPECT_EQ(state, uint32_t(VEX_CAMERA_STATE_OK));
        }
        EXPECT_EQ(stream.stop(), S_OK);
        EXPECT_LE(stream.frames().front().info.sequence, 60u) << round;
    }
}

CAMERA_CHECK(Streaming, RefusesToStartWithoutAFrameCallback, "E_POINTER without a frame callback") {
    EXPECT_LT(camera->StartPull(0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0, nullptr, 1), 0);
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    EXPECT_TRUE(stream.waitForFrames(1)) << "it can be started properly afterwards";
}

CAMERA_CHECK(Streaming, GoesOnWithoutBufferAndEventCallbacks, "`buffer` and `event` are optional.") {
    Answers answers;
    answers.callbacks = false;
    Stream stream(camera.get(), answers);
    ASSERT_GE(stream.start(), 0);
    EXPECT_TRUE(stream.waitForFrames(2));
    stream.stop();
    for (const Stream::Frame& frame : stream.frames()) EXPECT_FALSE(frame.inOurRoom);
}

CAMERA_CHECK(Streaming, SurvivesASecondStart, "A second call during a stream is refused, and the stream goes on.") {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    stream.start();
    const size_t before = stream.frames().size();
    EXPECT_TRUE(stream.waitForFrames(before + 2));
    EXPECT_EQ(stream.stop(), S_OK);
    const size_t calls = stream.calls();
    pause(100);
    EXPECT_EQ(stream.calls(), calls) << "one Stop ends it, however often it was started";
}

CAMERA_CHECK(Streaming, EndsWithClose,
             "Close ends the stream, so that no callback runs or comes any more once it returned") {
    Stream stream(camera.get());
    stream.watchRaw();
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(2));
    stream.abandon();
    camera.close();
    EXPECT_FALSE(stream.running());
    const size_t calls = stream.calls();
    pause(150);
    EXPECT_EQ(stream.calls(), calls);
}

CAMERA_CHECK(Streaming, HoldsWhilePaused,
             "1: the stream holds, and no frame comes but one that was on its way. 0: it goes on.") {
    Stream stream(camera.get());
    stream.watchRaw();
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(2));
    EXPECT_GE(camera->Pause(1), 0);
    // A frame on its way may still arrive, after which there is silence.
    size_t calls = 0;
    EXPECT_TRUE(stream.waitFor([&] {
        calls = stream.calls();
        pause(300);
        return stream.calls() == calls;
    }));
    const size_t frames = stream.frames().size();
    pause(300);
    EXPECT_EQ(stream.calls(), calls);
    EXPECT_GE(camera->Pause(0), 0);
    EXPECT_TRUE(stream.waitForFrames(frames + 2));
}

CAMERA_CHECK(Streaming, GoesOnCountingBehindAPause,
             "Frames that a pause held back are not counted: the first frame after a pause continues the numbers.") {
    const Held<ICameraStatus> status(camera.get(), VEX_IID_CAMERA_STATUS);
    Stream stream(camera.get());
    if (!status || stream.watchRaw() < 0) GTEST_SKIP() << "no raw frames, or losses are not counted";
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForRaws(2));
    ASSERT_GE(camera->Pause(1), 0);
    pause(400);
    ASSERT_GE(camera->Pause(0), 0);
    ASSERT_TRUE(stream.waitForRaws(stream.raws().size() + 2));
    stream.stop();
    uint32_t lost = 0;
    ASSERT_GE(status->GetLostFrames(&lost), 0);
    const std::vector<Stream::Raw> raws = stream.raws();
    EXPECT_LE(raws.back().info.sequence - raws.front().info.sequence + 1 - uint32_t(raws.size()), lost);
}

CAMERA_CHECK(Streaming, GoesOnWhenItsCameraIsOpenedAgain,
             "A second Open of an open camera returns null, or another object with settings and a stream of its own. "
             "Either way the first one goes on undisturbed.") {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    {
        const Camera second(GetParam(), char(VEX_OPEN_ASTRO));
        EXPECT_NE(second.get(), camera.get());
    }
    EXPECT_TRUE(stream.waitForFrames(stream.frames().size() + 3));
    EXPECT_GE(stream.stop(), 0);
}

CAMERA_CHECK(Streaming, StopsWhilePaused, "Stop ends a held stream too, and the next one does not hold.") {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    EXPECT_GE(camera->Pause(1), 0);
    EXPECT_EQ(stream.stop(), S_OK);
    Stream again(camera.get());
    ASSERT_GE(again.start(), 0);
    EXPECT_GE(camera->Pause(0), 0);
    EXPECT_TRUE(again.waitForFrames(1));
}

CAMERA_CHECK(Streaming, ShowsAtMostAsManyFramesAsTheOptionSaysWhileRawFramesAreNotLimited,
             "Display frames a second at most; raw frames are not limited by it.") {
    ASSERT_GE(camera->PutOption(VEX_OPTION_FRAME_RATE, 4), 0);
    Stream stream(camera.get());
    const bool hasRaw = stream.watchRaw() >= 0;
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    const size_t first = stream.frames().size();
    const auto begin = std::chrono::steady_clock::now();
    pause(1500);
    stream.stop();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(double(stream.frames().size() - first), 4 * seconds.count() + 2);
    if (hasRaw) {
        EXPECT_GE(stream.raws().size(), stream.frames().size());
    }
}

CAMERA_CHECK(Streaming, ShowsEverySensorFrameWhileTheTriggerIsOn,
             "1: every sensor frame is delivered as a display frame; the frame-rate option rests.") {
    ASSERT_GE(camera->PutOption(VEX_OPTION_FRAME_RATE, 2), 0);
    Stream stream(camera.get());
    if (stream.watchRaw() < 0) GTEST_SKIP() << "no raw frames to compare with";
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    ASSERT_GE(camera->Trigger(1), 0);
    // A frame on its way was thinned by the old rule.
    ASSERT_TRUE(stream.waitForFrames(stream.frames().size() + 2));
    const size_t begin = stream.frames().size();
    ASSERT_TRUE(stream.waitForFrames(begin + 12));
    EXPECT_GE(camera->Trigger(0), 0);
    stream.stop();
    const std::vector<Stream::Frame> frames = stream.frames();
    const std::vector<Stream::Raw> raws = stream.raws();
    for (size_t i = begin + 1; i < begin + 12; ++i) {
        size_t between = 0;
        for (const Stream::Raw& raw : raws)
            between += raw.info.sequence > frames[i - 1].info.sequence && raw.info.sequence < frames[i].info.sequence;
        EXPECT_EQ(between, 0u) << "sensor frames that were not shown before frame " << i;
    }
}

CAMERA_CHECK(Streaming, CountsItsFrames, "sensor frames since StartPull, 0 before it.") {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(3));
    uint32_t frames = 0, milliseconds = 0, total = 0;
    ASSERT_TRUE(
        stream.waitFor([&] { return camera->GetFrameRate(&frames, &milliseconds, &total) >= 0 && total >= 3; }));
    stream.stop();
}

CAMERA_CHECK(Streaming, BinsBothSides, "Low four bits: the factor that both sides are divided by, 1 for none.") {
    if (camera->PutOption(VEX_OPTION_BINNING, 2) < 0) GTEST_SKIP() << "no binning";
    const Size want = frameSize(camera.get());
    Stream stream(camera.get());
    stream.watchRaw();
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(3));
    stream.stop();
    for (const Stream::Frame& frame : stream.frames()) {
        EXPECT_EQ(Size({frame.info.width, frame.info.height}), want);
        EXPECT_TRUE(frame.roomKept);
    }
    for (const Stream::Raw& raw : stream.raws()) EXPECT_EQ(Size({raw.info.width, raw.info.height}), want);
    int32_t width = 0, height = 0;
    ASSERT_GE(camera->GetSize(&width, &height), 0);
    EXPECT_GE(width, int32_t(want.width) * 2) << "GetSize tells the size before binning";
}

CAMERA_CHECK(Streaming, TurnsDisplayAndRawFrames,
             "Degrees clockwise: 0, 90, 180, 270. Raw frames and their mosaic turn too.") {
    const Size upright = frameSize(camera.get());
    for (const int32_t degrees : {90, 180, 270, 0}) {
        if (camera->PutOption(VEX_OPTION_ROTATION, degrees) < 0) {
            continue;
        }
        const Size want = degrees % 180 == 90 ? Size{upright.height, upright.width} : upright;
        EXPECT_EQ(frameSize(camera.get()), want);
        Stream stream(camera.get());
        stream.watchRaw();
        ASSERT_GE(stream.start(), 0);
        ASSERT_TRUE(stream.waitForFrames(2)) << degrees;
        stream.stop();
        for (const Stream::Frame& frame : stream.frames()) {
            EXPECT_EQ(Size({frame.info.width, frame.info.height}), want) << degrees;
            EXPECT_TRUE(frame.inOurRoom && frame.roomKept && frame.eachRowWritten) << degrees;
        }
        for (const Stream::Raw& raw : stream.raws())
            EXPECT_EQ(Size({raw.info.width, raw.info.height}), want) << degrees;
    }
}

}  // namespace stream_test
}  // namespace vexcap::contract
