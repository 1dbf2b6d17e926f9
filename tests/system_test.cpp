// Recordings through the whole library, from the simulated sensor to the bytes of the file.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vexcap/vexcap.h>

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "tests/hostile_library/hostile.h"
#include "tests/support/queue_window.h"
#include "tests/support/recording.h"
#include "tests/support/ser_reader.h"
#include "tests/support/temp_dir.h"

namespace vexcap::test {
namespace system_test {

constexpr Region planetRegion{800, 400, 320, 240};
constexpr Region deepSkyRegion{2000, 1200, 320, 240};
const Take planet{"sim-planet;seed=5;deterministic", "Simulated planetary camera", planetRegion, 0, 20};
const Take deepSky{"sim-deepsky;seed=9;deterministic", "Simulated deep-sky camera", deepSkyRegion, 0, 8};

// Ticks of 100 ns since the year 1; the Unix epoch lies 719162 days after its beginning.
uint64_t ticksNow() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    const auto ticks = std::chrono::duration_cast<std::chrono::duration<int64_t, std::ratio<1, 10000000>>>(since);
    return uint64_t(719162) * 86400 * 10000000 + uint64_t(ticks.count());
}

std::vector<uint64_t> hashesOf(const SerFile& file) {
    std::vector<uint64_t> hashes;
    for (uint32_t i = 0; i < file.header().frameCount; ++i) hashes.push_back(hashOf(file.frame(i)));
    return hashes;
}

class Recording : public testing::Test {
protected:
    SerFile take(const Take& what, const std::string& name = "take.ser") {
        EXPECT_TRUE(record(what, directory.file(name), &counts));
        std::optional<SerFile> file = SerFile::read(directory.file(name));
        if (!file) throw std::runtime_error("no file was recorded");
        return std::move(*file);
    }
    const TempDir directory;
    const host::Engine engine{{.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Raw};
    vex_recording_counts counts{};
};

TEST_F(Recording, OfAMonoCameraHasEveryFieldOfItsHeader) {
    const uint64_t before = ticksNow();
    const SerFile file = take(planet);
    const uint64_t after = ticksNow();
    const SerHeader& head = file.header();
    EXPECT_EQ(head.fileId, "LUCAM-RECORDER");
    EXPECT_EQ(head.luId, 0u);
    EXPECT_EQ(head.colorId, 0u);
    EXPECT_EQ(head.littleEndian, 0u);
    EXPECT_EQ(head.width, 320u);
    EXPECT_EQ(head.height, 240u);
    EXPECT_EQ(head.depth, 8u);
    EXPECT_EQ(head.frameCount, 20u);
    EXPECT_EQ(head.observer, "");
    EXPECT_EQ(head.instrument, "Simulated planetary camera");
    EXPECT_EQ(head.telescope, "");
    EXPECT_EQ(serTimeKind(head.dateTime), 2u) << "local";
    EXPECT_EQ(serTimeKind(head.dateTimeUtc), 1u) << "UTC";
    // Times are cut to milliseconds.
    EXPECT_GE(serTicks(head.dateTimeUtc) + 10000, before);
    EXPECT_LE(serTicks(head.dateTimeUtc), after);
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    const int64_t offset = int64_t(serTicks(head.dateTime)) - int64_t(serTicks(head.dateTimeUtc));
    EXPECT_NEAR(double(offset) / 1e7, double(local.tm_gmtoff), 1.0);
    EXPECT_TRUE(file.whole());
    EXPECT_EQ(file.fileSize(), 178u + 20u * 320u * 240u);
}

TEST_F(Recording, OfABayerCameraHasItsDepthAndThePatternOfTheReversedRows) {
    const SerFile file = take(deepSky);
    EXPECT_EQ(file.header().colorId, 8u) << "RGGB from the top row on, which the file holds first";
    EXPECT_EQ(file.header().depth, 14u);
    EXPECT_EQ(file.header().width, 320u);
    EXPECT_EQ(file.header().height, 240u);
    EXPECT_EQ(file.header().frameCount, 8u);
    EXPECT_EQ(file.header().instrument, "Simulated deep-sky camera");
    EXPECT_TRUE(file.whole());
    EXPECT_EQ(file.fileSize(), 178u + 8u * 320u * 240u * 2u);
    uint32_t largest = 0;
    for (uint32_t y = 0; y < 240; ++y)
        for (uint32_t x = 0; x < 320; ++x) largest = std::max(largest, file.sample(0, x, y));
    EXPECT_LT(largest, 1u << 14) << "low-aligned, low byte first";
    EXPECT_GT(largest, 255u) << "more than the low byte is used";
}

TEST_F(Recording, HoldsTheFramesOfTheSensorWithTheirRowsReversedAndInOrder) {
    for (const Take& what : {planet, deepSky}) {
        const SerFile file = take(what);
        const RawFrames direct(SIMULATED_CAMERAS, "$" + what.camera, what.region, hashesOf(file));
        int64_t last = -1;
        for (uint32_t i = 0; i < file.header().frameCount; ++i) {
            const int64_t number = direct.find(hashOf(file.frame(i)));
            ASSERT_GE(number, 0) << what.camera << ", frame " << i << " is none of the sensor's";
            EXPECT_GT(number, last) << what.camera << ", frame " << i;
            last = number;
        }
    }
}

TEST_F(Recording, OfTheSameSeedHasTheSameFrames) {
    const SerFile first = take(planet, "first.ser");
    const SerFile second = take(planet, "second.ser");
    std::vector<uint64_t> wanted = hashesOf(first);
    for (const uint64_t hash : hashesOf(second)) wanted.push_back(hash);
    const RawFrames sensor(SIMULATED_CAMERAS, "$" + planet.camera, planet.region, wanted);
    for (const SerFile* file : {&first, &second})
        for (const uint64_t hash : hashesOf(*file)) EXPECT_GE(sensor.find(hash), 0);
    Take other = planet;
    other.camera = "sim-planet;seed=6;deterministic";
    const SerFile third = take(other, "third.ser");
    EXPECT_EQ(sensor.find(hashOf(third.frame(0))), -1) << "another seed gives other frames";
}

TEST_F(Recording, WithAFrameLimitKeepsExactlyThatManyFrames) {
    for (const int32_t limit : {1, 2, 33}) {
        Take what = planet;
        what.frames = limit;
        const SerFile file = take(what);
        EXPECT_EQ(file.header().frameCount, uint32_t(limit));
        EXPECT_TRUE(file.whole());
        EXPECT_EQ(counts.kept, uint32_t(limit));
        EXPECT_EQ(counts.written, uint32_t(limit));
        EXPECT_EQ(counts.lost, 0u);
        EXPECT_EQ(counts.bytes, uint64_t(limit) * 320 * 240);
        EXPECT_EQ(counts.lastFailure, S_OK);
    }
}

TEST_F(Recording, EndsByItsTimeLimitAndTellsTheHost) {
    QueueWindow window;
    host::Context context(window.get(), host::Device{"Simulated fast camera", "sim-fast;seed=1"});
    ASSERT_EQ(context.Start(), S_OK);
    const std::string path = directory.file("second.ser");
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(record(context, path, 1), S_OK);
    EXPECT_EQ(vexcap_dwtimelimit(context.get()), 1u);
    EXPECT_EQ(vexcap_dwframelimit(context.get()), 0u);
    EXPECT_EQ(vexcap_fcapturing(context.get()), 1u);
    EXPECT_NE(vexcap_lcapstarttime(context.get()), 0u);
    vex_char told[260];
    EXPECT_EQ(vexcap_filepath(context.get(), told), 1);
    ASSERT_TRUE(window.pumpUntilMessage(host::messageLimit, 20000));
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, std::chrono::milliseconds(990));
    for (const vex_message& message : window.messages())
        if (message.message == host::messageLimit) {
            EXPECT_EQ(message.wparam, 1u);
            EXPECT_EQ(message.lparam, 0);
        }
    EXPECT_EQ(window.count(host::messageLimit), 1u);
    EXPECT_EQ(vexcap_fcapturing(context.get()), 0u);
    EXPECT_EQ(vexcap_dwframecount(context.get()), 0u);
    EXPECT_EQ(vexcap_filesize(context.get()), 0u);
    EXPECT_EQ(vexcap_filepath(context.get(), told), 0);
    EXPECT_EQ(vexcap_fpreviewing(context.get()), 1u) << "the preview goes on";
    const std::optional<SerFile> file = SerFile::read(path);
    ASSERT_TRUE(file.has_value());
    EXPECT_TRUE(file->whole());
    EXPECT_EQ(file->header().frameCount, context.Counts().written);
    window.pumpFor(200);
    EXPECT_EQ(window.count(host::messageLimit), 1u) << "the timer is gone";
}

TEST_F(Recording, GrowsWhileItRuns) {
    QueueWindow window;
    host::Context context(window.get(), host::Device{"Simulated fast camera", "sim-fast;seed=1"});
    ASSERT_EQ(context.Start(), S_OK);
    ASSERT_EQ(record(context, directory.file("a.ser")), S_OK);
    ASSERT_TRUE(window.pumpUntil([&] { return vexcap_dwframecount(context.get()) >= 10; }, 20000));
    ASSERT_TRUE(window.pumpUntil([&] { return vexcap_filesize(context.get()) >= 10 * 300; }, 20000));
    vexcap_stop_capture(context.get());
    EXPECT_GE(context.Counts().written, 10u);
    EXPECT_EQ(window.count(host::messageLimit), 0u) << "the host ended it";
}

TEST_F(Recording, IsAskedForByAnyNameThatIsNoAvi) {
    for (const char* name : {"noextension", "two.parts.SER", "a b.dat"}) {
        Take what = planet;
        what.frames = 1;
        EXPECT_EQ(take(what, name).header().fileId, "LUCAM-RECORDER");
    }
}

TEST_F(Recording, ReplacesAnExistingFile) {
    Take what = planet;
    what.frames = 9;
    take(what);
    what.frames = 2;
    EXPECT_TRUE(take(what).whole());
}

TEST_F(Recording, OfADeviceThatGoesAwayKeepsItsFrames) {
    QueueWindow window;
    host::Context context(window.get(), host::Device{"Simulated fast camera", "sim-fast;seed=1;drop-after=40"});
    ASSERT_EQ(context.Start(), S_OK);
    const std::string path = directory.file("lost.ser");
    ASSERT_EQ(record(context, path), S_OK);
    ASSERT_TRUE(window.pumpUntil(
        [&] {
            for (const vex_message& message : window.messages())
                if (message.message == host::messageEvent && message.wparam == 0x8002) return true;
            return false;
        },
        20000));
    vexcap_notify(context.get());
    EXPECT_EQ(vexcap_fpreviewing(context.get()), 0u);
    EXPECT_EQ(vexcap_fcapturing(context.get()), 1u) << "it stays open until the host ends it";
    vexcap_stop_capture(context.get());
    const std::optional<SerFile> file = SerFile::read(path);
    ASSERT_TRUE(file.has_value());
    EXPECT_TRUE(file->whole());
    EXPECT_GE(file->header().frameCount, 1u);
    EXPECT_LE(file->header().frameCount, 40u);
}

TEST(RecordingOfAScriptedCamera, NamesEachMosaicByItsReversedRows) {
    const TempDir directory;
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    void* const library = ::dlopen(SCRIPTED_CAMERAS, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr);
    const auto script = reinterpret_cast<decltype(&hostile_script)>(::dlsym(library, "hostile_script"));
    const struct {
        const char* fourcc;
        uint32_t colorId;
    } cases[] = {{"0x42474752", 10}, {"0x47425247", 11}, {"0x47524247", 8}, {"0x52474742", 9}, {"0", 0}, {"0x59", 0}};
    for (const auto& one : cases) {
        ASSERT_EQ(script((std::string("depth=12;raw_fourcc=") + one.fourcc).c_str()), 0);
        const std::string path = directory.file("mosaic.ser");
        ASSERT_TRUE(record({.camera = "scripted", .display = "Scripted", .frames = 2}, path));
        const std::optional<SerFile> file = SerFile::read(path);
        ASSERT_TRUE(file.has_value());
        EXPECT_EQ(file->header().colorId, one.colorId) << one.fourcc;
        EXPECT_EQ(file->header().depth, 12u);
        // The camera's sample x, y is (3 x + 5 y + number) modulo 4096, row 0 at the bottom.
        const uint32_t number = file->sample(0, 0, 47);
        for (uint32_t y = 0; y < 48; ++y)
            for (uint32_t x = 0; x < 64; ++x)
                ASSERT_EQ(file->sample(0, x, 47 - y), (3 * x + 5 * y + number) % 4096) << x << ' ' << y;
    }
    script("");
}

}  // namespace system_test
}  // namespace vexcap::test
