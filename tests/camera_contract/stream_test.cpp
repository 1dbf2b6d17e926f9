// Display frames: their order, size and room, and the life of the stream.
#include "tests/camera_contract/fixture.h"

#include <chrono>
#include <cmath>

namespace vexcap::contract {
namespace stream_test {

CAMERA_SUITE(Streaming);

void pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

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

TEST_P(Streaming, DeliversFramesOfTheSizeThatItTells) {
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

TEST_P(Streaming, NumbersItsFramesUpwardsAndItsTimesNeverGoBack) {
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

TEST_P(Streaming, WritesEachRowIntoTheRoomThatItIsGivenAndNothingOutside) {
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

TEST_P(Streaming, ShowsTheSameRowsInDisplayAndRawFrames) {
    Stream stream(camera.get());
    if (stream.watchRaw() < 0) GTEST_SKIP() << "no raw frames";
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(6));
    stream.stop();
    size_t compared = 0;
    for (const Stream::Frame& frame : stream.frames()) {
        if (frame.displayRows.size() < 4) continue;
        const std::vector<double> upsideDown(frame.displayRows.rbegin(), frame.displayRows.rend());
        EXPECT_GT(correlation(frame.displayRows, frame.rawRows), correlation(upsideDown, frame.rawRows));
        ++compared;
    }
    EXPECT_GE(compared, 1u);
}

TEST_P(Streaming, DeliversFromMemoryOfItsOwnWhenThereIsNoRoom) {
    Answers answers;
    answers.display = false;
    Stream stream(camera.get(), answers);
    ASSERT_GE(stream.start(), 0);
    EXPECT_TRUE(stream.waitForFrames(3));
    stream.stop();
    for (const Stream::Frame& frame : stream.frames()) EXPECT_FALSE(frame.inOurRoom);
}

TEST_P(Streaming, FillsRawAndDeepRoomOrGivesNull) {
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

TEST_P(Streaming, CallsOneAtATimeAndOnThreadsOfItsOwn) {
    Stream stream(camera.get());
    stream.watchRaw();
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(8));
    stream.stop();
    EXPECT_FALSE(stream.overlapped());
    EXPECT_FALSE(stream.onOurThread());
}

TEST_P(Streaming, IsSilentOnceStopReturned) {
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

TEST_P(Streaming, WaitsInStopForARunningCallback) {
    Answers answers;
    answers.milliseconds = 80;
    Stream stream(camera.get(), answers);
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    ASSERT_TRUE(stream.waitFor([&] { return stream.running(); }));
    stream.stop();
    EXPECT_FALSE(stream.running());
}

TEST_P(Streaming, StartsAgainAndCountsFromZero) {
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

TEST_P(Streaming, RefusesToStartWithoutAFrameCallback) {
    EXPECT_LT(camera->StartPull(0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0, nullptr, 1), 0);
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    EXPECT_TRUE(stream.waitForFrames(1)) << "it can be started properly afterwards";
}

TEST_P(Streaming, GoesOnWithoutBufferAndEventCallbacks) {
    Answers answers;
    answers.bufferCallback = false;
    Stream stream(camera.get(), answers);
    ASSERT_GE(stream.start(), 0);
    EXPECT_TRUE(stream.waitForFrames(2));
    stream.stop();
    for (const Stream::Frame& frame : stream.frames()) EXPECT_FALSE(frame.inOurRoom);
}

TEST_P(Streaming, SurvivesASecondStart) {
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

TEST_P(Streaming, EndsWithClose) {
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

TEST_P(Streaming, HoldsWhilePaused) {
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

TEST_P(Streaming, StopsWhilePaused) {
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

TEST_P(Streaming, ShowsAtMostAsManyFramesAsTheOptionSaysWhileRawFramesAreNotLimited) {
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

TEST_P(Streaming, ShowsEverySensorFrameWhileTheTriggerIsOn) {
    ASSERT_GE(camera->PutOption(VEX_OPTION_FRAME_RATE, 2), 0);
    Stream stream(camera.get());
    if (stream.watchRaw() < 0) GTEST_SKIP() << "no raw frames to compare with";
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(1));
    ASSERT_GE(camera->Trigger(1), 0);
    pause(30);  // a frame on its way was thinned by the old rule
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

TEST_P(Streaming, CountsItsFrames) {
    Stream stream(camera.get());
    ASSERT_GE(stream.start(), 0);
    ASSERT_TRUE(stream.waitForFrames(3));
    uint32_t frames = 0, milliseconds = 0, total = 0;
    ASSERT_TRUE(
        stream.waitFor([&] { return camera->GetFrameRate(&frames, &milliseconds, &total) >= 0 && total >= 3; }));
    stream.stop();
}

TEST_P(Streaming, BinsBothSides) {
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

TEST_P(Streaming, TurnsDisplayAndRawFrames) {
    const Size upright = frameSize(camera.get());
    for (const int32_t degrees : {90, 180, 270, 0}) {
        if (camera->PutOption(VEX_OPTION_ROTATION, degrees) < 0) {
            EXPECT_NE(degrees, 0);
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
