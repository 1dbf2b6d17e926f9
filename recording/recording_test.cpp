#include "recording/recording.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "base/text.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_platform.h"
#include "platform/linux/file.h"

namespace vexcap {
namespace {

class RecordingTest : public testing::Test {
protected:
    void start(const RecordingPlan& plan = {.fullPath = u"a.ser"}) {
        recording.Prepare(plan);
        ASSERT_TRUE(recording.OpenSer(u"Camera", 0, 8, 16, 4).ok());
        recording.Begin(captureFrameSink);
    }
    /// One frame; each byte of it is `fill`.
    void offer(uint8_t fill = 0) {
        std::fill(frame.begin(), frame.end(), fill);
        recording.onRawFrame(frame.data(), 16, 4, 8);
    }
    void end() {
        recording.CloseFileWriters();
        recording.Clear();
    }
    vex_recording_counts counts() {
        vex_recording_counts result = {};
        EXPECT_TRUE(recording.Counts(result));
        return result;
    }
    /// First byte of each frame in the file.
    std::vector<int> fills() {
        std::vector<int> result;
        const auto bytes = fakes.files.bytes(u"a.ser");
        for (size_t at = SerWriter::headerBytes; at < bytes.size(); at += frame.size()) result.push_back(bytes[at]);
        return result;
    }

    FakePlatform fakes;
    Platform ports = fakes.ports();
    std::atomic<uint32_t> playState = 1;
    Recording recording{ports, playState};
    std::vector<uint8_t> frame = std::vector<uint8_t>(64);
};

TEST_F(RecordingTest, TimeLapseKeepsTheFirstFrameAndEachOneAfterSoMany) {
    start({.fullPath = u"a.ser", .timeLapse = 5});
    for (int i = 0; i < 12; ++i) offer(uint8_t(i));
    EXPECT_EQ(counts().offered, 12u);
    EXPECT_EQ(counts().kept, 3u);
    end();
    EXPECT_EQ(fills(), (std::vector<int>{0, 5, 10}));
}

TEST_F(RecordingTest, ATimeLapseOfNothingCountsAsOne) {
    start({.fullPath = u"a.ser", .timeLapse = 0});
    for (int i = 0; i < 3; ++i) offer(uint8_t(i));
    end();
    EXPECT_EQ(fills(), (std::vector<int>{0, 1, 2}));
}

TEST_F(RecordingTest, TheFrameLimitCountsKeptFramesAndNotOfferedOnes) {
    start({.fullPath = u"a.ser", .frameLimit = 2, .timeLapse = 3});
    for (int i = 0; i < 20; ++i) offer(uint8_t(i));
    EXPECT_TRUE(recording.LimitReached());
    end();
    EXPECT_EQ(fills(), (std::vector<int>{0, 3}));
}

TEST_F(RecordingTest, AFrameThatTheDiskRefusesStillCountsAndIsTold) {
    fakes.files.failWrite(1, VEX_E_DISK_FULL);
    start();
    for (int i = 0; i < 3; ++i) offer(uint8_t(i));
    const vex_recording_counts now = counts();
    EXPECT_EQ(now.kept, 3u);
    EXPECT_EQ(now.written, 2u);
    EXPECT_EQ(now.lost, 1u);
    EXPECT_EQ(now.lastFailure, VEX_E_DISK_FULL);
    EXPECT_EQ(now.bytes, 128u);
    EXPECT_EQ(recording.frameCount(), 3u);
    end();
    EXPECT_EQ(fills(), (std::vector<int>{0, 2}));
    EXPECT_EQ(fakes.files.bytes(u"a.ser")[38], 2u);
}

TEST_F(RecordingTest, AFullDiskLeavesAFileThatIsWhole) {
    fakes.files.setCapacity(SerWriter::headerBytes + 64 * 3 + 10);
    start();
    for (int i = 0; i < 10; ++i) offer(uint8_t(i));
    end();
    EXPECT_EQ(counts().written, 3u);
    EXPECT_EQ(counts().lost, 7u);
    EXPECT_EQ(fills(), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(fakes.files.bytes(u"a.ser")[38], 3u);
}

TEST_F(RecordingTest, AFailedCloseIsToldInTheCounts) {
    start();
    offer();
    fakes.files.failWrite(1, VEX_E_DISK_FULL);
    end();
    EXPECT_EQ(counts().lastFailure, VEX_E_DISK_FULL);
}

TEST_F(RecordingTest, AFrameAfterTheCloseReachesNothing) {
    start();
    offer();
    recording.CloseFileWriters();
    offer();
    EXPECT_EQ(counts().kept, 1u);
    EXPECT_FALSE(recording.recordsRaw());
}

TEST_F(RecordingTest, ANewRecordingStartsCountingAnew) {
    start();
    offer();
    end();
    start({.fullPath = u"b.ser"});
    EXPECT_EQ(counts().offered, 0u);
    EXPECT_EQ(counts().bytes, 0u);
    EXPECT_EQ(counts().lastFailure, S_OK);
}

TEST_F(RecordingTest, TheStartTickIsTheClocks) {
    fakes.clock.setMilliseconds(uint64_t(7) << 32 | 1234);
    start();
    EXPECT_EQ(recording.captureStartTick(), 1234u);
}

TEST_F(RecordingTest, ATimeLimitHoldsAcrossTheWrapOfTheTick) {
    fakes.clock.setMilliseconds(UINT32_MAX - 500);
    start({.fullPath = u"a.ser", .timeLimit = 1});
    fakes.clock.advance(999);
    EXPECT_FALSE(recording.LimitReached());
    fakes.clock.advance(1);
    EXPECT_TRUE(recording.LimitReached());
}

TEST_F(RecordingTest, TheHookAllocatesNothing) {
    LinuxFileSystem disk;
    Platform onDisk = fakes.portsOn(disk);
    Recording real(onDisk, playState);
    const std::u16string path = toUtf16(testing::TempDir() + "vexcap-hook-" + std::to_string(getpid()) + ".ser");
    real.Prepare({.fullPath = path, .timeLapse = 2});
    ASSERT_TRUE(real.OpenSer(u"Camera", 0, 8, 16, 4).ok());
    real.Begin(captureFrameSink);
    real.onRawFrame(frame.data(), 16, 4, 8);
    const size_t before = allocations();
    for (int i = 0; i < 1000; ++i) {
        real.onRawFrame(frame.data(), 16, 4, 8);
        real.onRawFrame(frame.data(), 32, 4, 8);  // a misfit
    }
    EXPECT_EQ(allocations(), before);
    vex_recording_counts result = {};
    real.Counts(result);
    EXPECT_EQ(result.written, 501u);
    real.CloseFileWriters();
    EXPECT_TRUE(disk.Remove(path).ok());
}

}  // namespace
}  // namespace vexcap
