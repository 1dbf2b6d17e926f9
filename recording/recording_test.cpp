#include "recording/recording.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/text.h"
#include "overlay/marker.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_platform.h"
#include "platform/linux/file.h"
#include "recording/avi_testing.h"

namespace vexcap {
namespace recording_test {

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

/// A disk whose files take a step of the test's when they are closed.
class SteppingDisk final : public IFileSystem {
public:
    SteppingDisk(IFileSystem& disk, std::function<void()> stepAtClose) : below(disk), step(std::move(stepAtClose)) {}

    Result<std::unique_ptr<IFile>> Create(std::u16string_view path) override {
        auto file = below.Create(path);
        if (!file.ok()) return file.status();
        return std::unique_ptr<IFile>(std::make_unique<File>(std::move(file).value(), step));
    }
    Result<std::unique_ptr<IFile>> Update(std::u16string_view path) override { return below.Update(path); }
    Result<std::unique_ptr<IFile>> Open(std::u16string_view path) override { return below.Open(path); }
    Status Remove(std::u16string_view path) override { return below.Remove(path); }

private:
    struct File final : IFile {
        File(std::unique_ptr<IFile> opened, const std::function<void()>& stepAtClose)
            : file(std::move(opened)), step(stepAtClose) {}
        ~File() override { step(); }
        Status WriteAt(uint64_t position, Bytes bytes) override { return file->WriteAt(position, bytes); }
        Status WriteGathered(uint64_t position, std::span<const Bytes> pieces) override {
            return file->WriteGathered(position, pieces);
        }
        Result<size_t> ReadAt(uint64_t position, std::span<std::byte> bytes) override {
            return file->ReadAt(position, bytes);
        }
        Status Reserve(uint64_t position, uint64_t length) override { return file->Reserve(position, length); }
        Status Resize(uint64_t size) override { return file->Resize(size); }
        Result<uint64_t> Size() override { return file->Size(); }

        const std::unique_ptr<IFile> file;
        const std::function<void()>& step;
    };

    IFileSystem& below;
    const std::function<void()> step;
};

/// The letter with which the system describes what a thread of this process does: 'S' while it waits.
char stateOf(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t end = line.rfind(')');
    return end + 2 < line.size() ? line[end + 2] : '?';
}

TEST_F(RecordingTest, AFrameThatWaitsWhileTheFileIsClosedIsNotOffered) {
    std::atomic<pid_t> waiting = 0;
    std::thread source;
    Recording* late = nullptr;
    SteppingDisk disk(fakes.files, [&] {
        source = std::thread([&] {
            waiting = gettid();
            late->onRawFrame(frame.data(), 16, 4, 8);
        });
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while ((!waiting || stateOf(waiting) != 'S') && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        EXPECT_EQ(stateOf(waiting), 'S');
    });
    Platform platform = fakes.portsOn(disk);
    Recording ended{platform, playState};
    late = &ended;
    ended.Prepare({.fullPath = u"a.ser"});
    ASSERT_TRUE(ended.OpenSer(u"Camera", 0, 8, 16, 4).ok());
    ended.Begin(captureFrameSink);
    ended.onRawFrame(frame.data(), 16, 4, 8);
    ended.CloseFileWriters();
    source.join();
    vex_recording_counts counts = {};
    ASSERT_TRUE(ended.Counts(counts));
    EXPECT_EQ(counts.kept, 1u);
    EXPECT_EQ(counts.lost, 0u);
    EXPECT_EQ(counts.offered, 1u);
}

TEST_F(RecordingTest, OfferedFramesAreKeptOrSkippedOrOfAnotherSize) {
    start({.fullPath = u"a.ser", .timeLapse = 3});
    for (int i = 0; i < 7; ++i) offer();
    recording.onRawFrame(frame.data(), 8, 4, 8);
    EXPECT_EQ(counts().kept, 3u);
    EXPECT_EQ(counts().lost, 1u);
    EXPECT_EQ(counts().offered, 3u + 4u + 1u);
    end();
    EXPECT_EQ(counts().offered, 8u);
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

TEST_F(RecordingTest, TheHooksAllocateNothing) {
    LinuxFileSystem disk;
    Platform onDisk = fakes.portsOn(disk);
    const std::u16string stem = toUtf16(testing::TempDir() + "vexcap-hook-" + std::to_string(getpid()));
    Recording real(onDisk, playState);
    CMarker marker({fakes.texts, fakes.dates, fakes.clock, fakes.files}, nullptr);
    marker.SetGeo({.eMarkerGeo = VEX_MARKER_CROSS, .eMarkerGeox = 100, .eMarkerGeoy = 100});
    real.PutMarker(&marker);
    frame.resize(192);  // a picture needs more than a raw frame
    const auto offerAll = [&](const std::u16string& path) {
        real.Begin(captureFrameSink);
        const auto offerBoth = [&](uint32_t width) {
            real.onRawFrame(frame.data(), width, 4, 8);
            real.onRgbFrame(frame.data(), width, 4);
        };
        offerBoth(16);
        const size_t before = allocations();
        for (int i = 0; i < 1000; ++i) {
            offerBoth(16);
            offerBoth(32);  // a misfit
        }
        EXPECT_EQ(allocations(), before);
        vex_recording_counts result = {};
        real.Counts(result);
        EXPECT_EQ(result.written, 501u);
        real.CloseFileWriters();
        EXPECT_TRUE(disk.Remove(path).ok());
    };
    real.Prepare({.fullPath = stem + u".ser", .timeLapse = 2});
    ASSERT_TRUE(real.OpenSer(u"Camera", 0, 8, 16, 4).ok());
    offerAll(stem + u".ser");
    real.Prepare({.fullPath = stem + u".avi", .timeLapse = 2});
    ASSERT_TRUE(real.OpenAvi(16, 4).ok());
    offerAll(stem + u".avi");
}

/// The same recording, of display pictures in an AVI file. 16x4 pixels are 192 bytes.
class AviRecordingTest : public RecordingTest {
protected:
    void start(const RecordingPlan& plan = {.fullPath = path}) {
        recording.Prepare(plan);
        ASSERT_TRUE(recording.OpenAvi(16, 4).ok());
        recording.Begin(captureFrameSink);
    }
    void offer(uint8_t fill = 0) {
        std::fill(picture.begin(), picture.end(), fill);
        recording.onRgbFrame(picture.data(), 16, 4);
    }
    void end() {
        recording.CloseFileWriters();
        recording.StoreRealRate();
        recording.Clear();
    }
    uint32_t field(size_t offset) const {
        const auto bytes = fakes.files.bytes(path);
        return bytes.at(offset) | uint32_t(bytes.at(offset + 1)) << 8 | uint32_t(bytes.at(offset + 2)) << 16 |
               uint32_t(bytes.at(offset + 3)) << 24;
    }
    /// First byte of each frame in the file.
    std::vector<int> fills() const {
        std::vector<int> result;
        const auto bytes = fakes.files.bytes(path);
        for (uint32_t i = 0; i < field(lengthOffset); ++i)
            result.push_back(bytes.at(AviFile::headerBytes + i * (8 + picture.size()) + 8));
        return result;
    }

    static constexpr char16_t path[] = u"a.AVI";
    static constexpr size_t scaleOffset = 128, rateOffset = 132, lengthOffset = 140;
    std::vector<uint8_t> picture = std::vector<uint8_t>(192);
};

TEST_F(AviRecordingTest, AFrameLimitKeepsExactlySoManyFrames) {
    start({.fullPath = path, .frameLimit = 3});
    for (int i = 0; i < 10; ++i) offer(uint8_t(i));
    EXPECT_TRUE(recording.LimitReached());
    EXPECT_EQ(recording.frameCount(), 3u);
    end();
    EXPECT_EQ(fills(), (std::vector<int>{0, 1, 2}));
}

TEST_F(AviRecordingTest, TimeLapseKeepsTheFirstFrameAndEachOneAfterSoMany) {
    start({.fullPath = path, .timeLapse = 5});
    for (int i = 0; i < 12; ++i) offer(uint8_t(i));
    EXPECT_EQ(counts().kept, 3u);
    end();
    EXPECT_EQ(fills(), (std::vector<int>{0, 5, 10}));
}

TEST_F(AviRecordingTest, FramesOfAnotherSizeAreDroppedAndToldAsLost) {
    start();
    offer(1);
    recording.onRgbFrame(picture.data(), 0, 0);
    recording.onRgbFrame(picture.data(), 16, 5);
    recording.onRgbFrame(picture.data(), 4, 16);  // as many pixels in another shape
    offer(2);
    EXPECT_EQ(counts().kept, 2u);
    EXPECT_EQ(counts().lost, 3u);
    EXPECT_EQ(counts().bytes, 2 * picture.size());
    end();
    EXPECT_EQ(fills(), (std::vector<int>{1, 2}));
}

TEST_F(AviRecordingTest, APausedContextDropsFramesWithoutCountingThem) {
    start();
    playState = 2;
    offer(1);
    EXPECT_EQ(counts().offered, 0u);
    playState = 1;
    offer(2);
    end();
    EXPECT_EQ(fills(), std::vector<int>{2});
}

TEST_F(AviRecordingTest, EachHookFeedsItsOwnFileOnly) {
    start();
    RecordingTest::offer(1);  // a raw frame
    EXPECT_EQ(counts().offered, 0u);
    end();
    RecordingTest::start();
    offer(1);  // a picture
    EXPECT_EQ(counts().offered, 0u);
    end();
}

TEST_F(AviRecordingTest, AFrameThatCannotBeWrittenCountsAsKeptAndAsLost) {
    start();
    offer(1);
    fakes.files.failWrite(2);  // after the header and the first frame
    offer(2);
    offer(3);
    EXPECT_EQ(counts().kept, 3u);
    EXPECT_EQ(counts().written, 2u);
    EXPECT_EQ(counts().lost, 1u);
    EXPECT_EQ(counts().lastFailure, VEX_E_DISK_FULL);
    end();
    EXPECT_EQ(fills(), (std::vector<int>{1, 3}));
}

TEST_F(AviRecordingTest, MoreThanASecondGivesTheFileItsRealRate) {
    start();
    for (int i = 0; i < 30; ++i) {
        offer();
        fakes.clock.advance(50);
    }
    end();
    EXPECT_EQ(field(scaleOffset), 1000u);
    EXPECT_EQ(field(rateOffset), 20'000u) << "30 frames in 1500 milliseconds";
    EXPECT_EQ(field(lengthOffset), 30u);
    EXPECT_EQ(field(32), 40'000u) << "the nominal rate of the main header stays";
}

TEST_F(AviRecordingTest, ASecondOrLessLeavesTheRateAtItsWrittenValue) {
    start();
    offer();
    fakes.clock.advance(1000);
    end();
    EXPECT_EQ(field(scaleOffset), 1'000'000u);
    EXPECT_EQ(field(rateOffset), 25'000'000u);
}

TEST_F(AviRecordingTest, NoFrameLeavesTheRateAtItsWrittenValue) {
    start();
    fakes.clock.advance(5000);
    end();
    EXPECT_EQ(field(scaleOffset), 1'000'000u);
    EXPECT_EQ(field(rateOffset), 25'000'000u);
    EXPECT_EQ(field(lengthOffset), 0u);
}

TEST_F(AviRecordingTest, ARateThatCannotBeStoredIsToldAndHarmsNothing) {
    start();
    offer(1);
    fakes.clock.advance(2000);
    fakes.files.fail(DiskOperation::Kind::Update, E_ACCESSDENIED);
    end();
    EXPECT_EQ(counts().lastFailure, E_ACCESSDENIED);
    EXPECT_EQ(fills(), std::vector<int>{1});
}

TEST_F(AviRecordingTest, AFileThatCannotBeMadeIsAFailure) {
    fakes.files.fail(DiskOperation::Kind::Create, E_ACCESSDENIED);
    recording.Prepare({.fullPath = path});
    EXPECT_EQ(recording.OpenAvi(16, 4), E_ACCESSDENIED);
    recording.Begin(captureFrameSink);
    offer();
    EXPECT_EQ(counts().offered, 0u);
}

/// Pictures of 16x4 pixels into an AVI file.
class OverlayOfRecording : public RecordingTest {
protected:
    OverlayOfRecording() { recording.PutMarker(&marker); }
    void startAvi() {
        recording.Prepare({.fullPath = u"a.avi"});
        ASSERT_TRUE(recording.OpenAvi(16, 4).ok());
        recording.Begin(captureFrameSink);
    }
    void offerPicture() { recording.onRgbFrame(picture.data(), 16, 4); }
    /// The bytes of a frame in the file.
    std::vector<uint8_t> recorded(size_t number) {
        const std::vector<uint8_t> bytes = fakes.files.bytes(u"a.avi");
        std::istringstream stream(std::string(bytes.begin(), bytes.end()));
        const test::AviFrame entry = test::readAvi(stream).frames().at(number);
        return {bytes.begin() + ptrdiff_t(entry.position), bytes.begin() + ptrdiff_t(entry.position + entry.size)};
    }

    CMarker marker{{fakes.texts, fakes.dates, fakes.clock, fakes.files}, nullptr};
    const std::vector<uint8_t> picture = std::vector<uint8_t>(16 * 4 * 3, 7);
    static constexpr MarkerGeo cross = {
        .eMarkerGeo = VEX_MARKER_CROSS, .eMarkerGeoColor = 0x445566, .eMarkerGeox = 100, .eMarkerGeoy = 100};
};

TEST_F(OverlayOfRecording, IsDrawnIntoACopyAndTheFrameOfTheSourceStays) {
    startAvi();
    offerPicture();
    marker.SetGeo(cross);
    offerPicture();
    marker.SetGeo({});
    offerPicture();
    EXPECT_EQ(picture, std::vector<uint8_t>(picture.size(), 7));
    end();
    EXPECT_EQ(recorded(0), picture);
    EXPECT_EQ(recorded(2), picture);
    std::vector<uint8_t> want = picture;
    marker.SetGeo(cross);
    marker.BurnOverlay(want.data(), 16, 4, false, {}, 3);
    EXPECT_EQ(recorded(1), want);
    EXPECT_NE(recorded(1), picture);
}

}  // namespace recording_test
}  // namespace vexcap
