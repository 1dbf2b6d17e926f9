// Thousands of lives of a context, and devices that go away at any moment: nothing may be left of them.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <thread>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "recording/avi_testing.h"
#include "tests/hostile_library/hostile.h"
#include "tests/support/queue_window.h"
#include "tests/support/recording.h"
#include "tests/support/sanitizer.h"
#include "tests/support/ser_reader.h"
#include "tests/support/temp_dir.h"

namespace vexcap::test {
namespace endurance_test {

// A sanitizer build takes a tenth of the rounds, since each one takes ten times as long.
constexpr int lives = underSanitizer ? 1000 : 10000;
constexpr int losses = 200;

void script(const std::string& text) {
    static void* const library = ::dlopen(SCRIPTED_CAMERAS, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr);
    ASSERT_EQ(reinterpret_cast<decltype(&hostile_script)>(::dlsym(library, "hostile_script"))(text.c_str()), 0);
}

/// Names in a folder of /proc/self: "task" for threads, "fd" for descriptors.
size_t countOf(const char* folder) {
    const auto entries = std::filesystem::directory_iterator(std::string("/proc/self/") + folder);
    return size_t(std::distance(begin(entries), end(entries)));
}

struct Traces {
    size_t threads = countOf("task");
    size_t descriptors = countOf("fd");
};

/// A joined thread may stay in the list for a moment after its join.
Traces settled(const Traces& before) {
    Traces now;
    for (int i = 0; i < 500 && now.threads > before.threads; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        now = Traces();
    }
    return now;
}

void expectNothingLeft(const Traces& before) {
    const Traces now = settled(before);
    EXPECT_EQ(now.threads, before.threads);
    EXPECT_EQ(now.descriptors, before.descriptors);
}

/// A camera is started and stopped once, so that what is made only once is there.
void warmUp() {
    script("interval_us=100");
    QueueWindow window;
    host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
    ASSERT_EQ(context.Start(), S_OK);
    ASSERT_TRUE(window.pumpUntilMessage(host::messageFrame, 10000));
}

TEST(Endurance, ThousandsOfStartsAndStopsLeaveNothingBehind) {
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    warmUp();
    QueueWindow window;
    const Traces before;
    script("interval_us=20");
    for (int life = 0; life < lives; ++life) {
        host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
        ASSERT_EQ(context.Start(), S_OK) << life;
        if (life % 64 == 0) {
            ASSERT_TRUE(window.pumpUntilMessage(host::messageFrame, 10000)) << life;
        }
        if (life % 64 == 1) {
            ASSERT_EQ(context.Start(), S_OK) << life << ": a second start on the same context";
        }
        context.Stop();
        window.pumpFor(0);
        window.forget();
    }
    expectNothingLeft(before);
}

TEST(Endurance, ThousandsOfRecordingsLeaveWholeFilesOrNone) {
    const TempDir directory;
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    warmUp();
    QueueWindow window;
    const Traces before;
    script("interval_us=20");
    host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
    ASSERT_EQ(context.Start(), S_OK);
    const std::string file = directory.file("again.ser");
    int withFrames = 0;
    for (int round = 0; round < lives / 10; ++round) {
        ASSERT_EQ(record(context, file), S_OK) << round;
        if (round % 3 == 1) window.pumpFor(1);
        if (round % 3 == 2) {
            ASSERT_TRUE(window.pumpUntil([&] { return vexcap_dwframecount(context.get()) > 0; }, 10000)) << round;
        }
        vexcap_stop_capture(context.get());
        ASSERT_EQ(vexcap_fcapturing(context.get()), 0u);
        const vex_recording_counts counts = context.Counts();
        const std::optional<SerFile> ser = SerFile::read(file);
        ASSERT_EQ(ser.has_value(), counts.written > 0) << round;
        if (ser) {
            ASSERT_TRUE(ser->whole()) << round;
            ASSERT_EQ(ser->header().frameCount, counts.written) << round;
            std::filesystem::remove(file);
            ++withFrames;
        }
        window.forget();
    }
    context.Stop();
    expectNothingLeft(before);
    EXPECT_GE(withFrames, lives / 30 - 1) << "those that waited for a frame";
}

TEST(Endurance, HundredsOfAviRecordingsLeaveWholeFiles) {
    const TempDir directory;
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    warmUp();
    QueueWindow window;
    const Traces before;
    script("interval_us=20");
    host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
    ASSERT_EQ(context.Start(), S_OK);
    const std::string file = directory.file("again.avi");
    for (int round = 0; round < lives / 20; ++round) {
        ASSERT_EQ(record(context, file), S_OK) << round;
        if (round % 2 == 1) {
            ASSERT_TRUE(window.pumpUntil([&] { return vexcap_dwframecount(context.get()) > 0; }, 10000)) << round;
        }
        vexcap_stop_capture(context.get());
        std::ifstream in(file, std::ios::binary);
        const AviContent avi = readAvi(in);
        ASSERT_TRUE(avi.faults.empty()) << round << ": " << avi.faults.front();
        ASSERT_EQ(avi.frames().size(), context.Counts().written) << round;
        window.forget();
    }
    context.Stop();
    expectNothingLeft(before);
}

TEST(Endurance, DevicesLostAtAnyMomentLeaveNothingBehind) {
    const TempDir directory;
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    warmUp();
    QueueWindow window;
    const Traces before;
    std::minstd_rand random(20240229);
    int recordings = 0;
    for (int loss = 0; loss < losses; ++loss) {
        const int frames = int(random() % 60);
        script("interval_us=50;lost_after=" + std::to_string(frames));
        host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
        ASSERT_EQ(context.Start(), S_OK) << loss;
        const std::string file = directory.file(std::to_string(loss) + ".ser");
        const bool recording = random() % 2 == 0;
        if (recording) {
            ASSERT_EQ(record(context, file), S_OK) << loss;
        }
        switch (random() % 4) {
            case 0:  // the host ends it, whether the loss came or not
                window.pumpFor(int(random() % 4));
                break;
            case 1:  // the host hears of the loss and ends the context
                ASSERT_TRUE(window.pumpUntilMessage(host::messageEvent, 10000)) << loss;
                vexcap_notify(context.get());
                EXPECT_EQ(vexcap_fpreviewing(context.get()), 0u) << loss;
                EXPECT_EQ(vexcap_fcapturing(context.get()), recording ? 1u : 0u) << "a recording stays open";
                break;
            case 2:  // the host ends the recording before it looks at the event
                ASSERT_TRUE(window.pumpUntilMessage(host::messageEvent, 10000)) << loss;
                vexcap_stop_capture(context.get());
                vexcap_notify(context.get());
                break;
            default:  // the device comes back
                ASSERT_TRUE(window.pumpUntilMessage(host::messageEvent, 10000)) << loss;
                vexcap_notify(context.get());
                vexcap_stop_capture(context.get());
                script("interval_us=50");
                ASSERT_EQ(context.Start(), S_OK) << loss;
                ASSERT_TRUE(window.pumpUntilMessage(host::messageFrame, 10000)) << loss;
        }
        context.Stop();
        window.forget();
        if (!std::filesystem::exists(file)) continue;
        ++recordings;
        const std::optional<SerFile> ser = SerFile::read(file);
        ASSERT_TRUE(ser.has_value()) << loss;
        EXPECT_TRUE(ser->whole()) << loss;
        EXPECT_GE(ser->header().frameCount, 1u) << loss;
    }
    EXPECT_GE(recordings, losses / 10) << "too few recordings had a frame to say anything";
    expectNothingLeft(before);
}

}  // namespace endurance_test
}  // namespace vexcap::test
