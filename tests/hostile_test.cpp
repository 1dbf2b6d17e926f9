// Cameras that break their contract. Whatever a camera library answers, an export gives a code and the process lives;
// and a good camera works as ever afterwards. The sanitizer builds run the same and see every stray access.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "tests/hostile_library/hostile.h"
#include "tests/support/queue_window.h"
#include "tests/support/recording.h"
#include "tests/support/ser_reader.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace hostile_test {

/// The scripted library, as the engine loads it: the same path gives the same instance.
class Scripted final {
public:
    explicit Scripted(const char* path) : library(::dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (library == nullptr) throw std::runtime_error(::dlerror());
    }
    bool script(const std::string& text) const {
        return reinterpret_cast<decltype(&hostile_script)>(::dlsym(library, "hostile_script"))(text.c_str()) == 0;
    }
    void settle() const { reinterpret_cast<decltype(&hostile_settle)>(::dlsym(library, "hostile_settle"))(); }
    int cameras() const { return reinterpret_cast<decltype(&hostile_cameras)>(::dlsym(library, "hostile_cameras"))(); }

private:
    void* library;
};

const Scripted& library() {
    static const Scripted only(SCRIPTED_CAMERAS);
    return only;
}

/// What a host does with a camera, from the list to the end, with every export that looks at it.
struct Drive {
    HRESULT started = E_UNEXPECTED;
    HRESULT recorded = E_UNEXPECTED;
    uint32_t devices = 0;
    vex_recording_counts counts{};

    void lookAround(vexcap_context* context) {
        vex_char count[32], rate[32], path[260];
        int32_t width = 0, height = 0;
        vexcap_get_property(context, count, rate);
        vexcap_video_size(context, &width, &height);
        vexcap_filepath(context, path);
        vexcap_mode(context);
        vexcap_filesize(context);
        vexcap_lcapstarttime(context);
        vexcap_fsource(context);
        vexcap_recording(context, &counts);
        vex_capability* sizes = nullptr;
        vexcap_get_capability(context, &sizes);
        vexcap_free_capability(sizes);
        sizes = nullptr;
        vexcap_get_stillimage_capability(context, &sizes);
        vexcap_free_capability(sizes);
    }

    void answerEvents(QueueWindow& window, vexcap_context* context) {
        for (const vex_message& message : window.messages())
            if (message.message == host::messageEvent) {
                EXPECT_EQ(vexcap_notify(context), 0);
                break;
            }
        window.forget();
    }

    /// `file` is where it records to.
    void run(const std::string& file, int milliseconds) {
        if (vex_device* const list = vexcap_enum_device(nullptr)) {
            for (const vex_device* one = list; one->name != nullptr || one->display != nullptr; ++one) {
                ++devices;
                EXPECT_LE(std::u16string(one->name).size(), 65u);
                EXPECT_LE(std::u16string(one->display).size(), 64u);
            }
            vexcap_free_dsvi(list);
        }
        QueueWindow window;
        host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
        started = vexcap_start(context.get(), window.get(), host::messageStill, 1, 0, 0);
        window.pumpFor(milliseconds / 2);
        lookAround(context.get());
        recorded = record(context, file, 60, 1000000);
        window.pumpFor(milliseconds);
        lookAround(context.get());
        answerEvents(window, context.get());
        vexcap_stop_capture(context.get());
        window.pumpFor(milliseconds / 2);
        answerEvents(window, context.get());
        vexcap_start(context.get(), nullptr, 0, 0, 0, 1);
        window.pumpFor(milliseconds / 2);
        lookAround(context.get());
        record(context, file, 0, 3);
        window.pumpFor(milliseconds / 2);
        context.Stop();
    }
};

/// A good camera previews and records; nothing of what came before is left.
void expectGoodCamera(const std::string& file) {
    ASSERT_TRUE(library().script("interval_us=300"));
    QueueWindow window;
    host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
    ASSERT_EQ(context.Start(), S_OK);
    EXPECT_TRUE(window.pumpUntilMessage(host::messageFrame, 10000));
    ASSERT_EQ(record(context, file, 0, 5), S_OK);
    EXPECT_TRUE(window.pumpUntilMessage(host::messageLimit, 10000));
    context.Stop();
    const std::optional<SerFile> ser = SerFile::read(file);
    ASSERT_TRUE(ser.has_value());
    EXPECT_TRUE(ser->whole());
    EXPECT_EQ(ser->header().frameCount, 5u);
    EXPECT_EQ(ser->header().width, 64u);
    EXPECT_EQ(ser->header().height, 48u);
}

struct Case {
    const char* name;
    const char* script;
    std::optional<HRESULT> start = std::nullopt;   ///< What vexcap_start answers, where it is certain.
    std::optional<HRESULT> record = std::nullopt;  ///< What the start of a recording answers, where it is certain.
};

// A camera that tells a size or depth of 0 when a recording starts records nothing, and that is a success.
const Case cases[] = {
    {"Well_behaved", "", S_OK, S_OK},
    // The list, and opening.
    {"Count_of_all_bits", "count=0xFFFFFFFF", S_OK, S_OK},
    {"Count_of_seventeen", "count=17", S_OK, S_OK},
    {"Count_negative", "count=-5", S_OK, S_OK},
    {"Count_zero", "count=0", S_OK, S_OK},
    {"Texts_without_end", "unterminated=1;count=16", S_OK, S_OK},
    {"Texts_without_end_and_wild_count", "unterminated=1;count=0x7FFFFFFF", S_OK, S_OK},
    {"Open_gives_null", "open=0", E_FAIL, E_FAIL},
    {"Init_ocl_fails", "init_ocl=-1", S_OK, S_OK},
    // Sizes.
    {"Size_of_nothing", "width=0;height=0", E_FAIL, S_OK},
    {"Size_without_width", "width=0", E_FAIL, S_OK},
    {"Size_negative", "width=-64;height=-48", E_FAIL, E_FAIL},
    {"Size_smallest_number", "width=-2147483648;height=-2147483648", E_FAIL, E_FAIL},
    {"Size_largest_number", "width=2147483647;height=2147483647;raw_width=64;raw_height=48"},
    {"Size_huge_square", "width=65536;height=65536;raw_width=64;raw_height=48"},
    {"Size_very_wide", "width=2147483647;height=1;raw_width=64;raw_height=48"},
    {"Size_very_high", "width=1;height=2147483647;raw_width=64;raw_height=48"},
    {"Size_of_one_pixel", "width=1;height=1"},
    {"Size_odd", "width=63;height=47"},
    {"Size_fails", "size_result=-2147467259", E_FAIL},
    {"Size_and_region_fail", "size_result=-2147467259;roi_result=-2147467259", E_FAIL},
    {"Region_fails", "roi_result=-2147467259", S_OK, S_OK},
    {"Region_wild", "roi_width=0xFFFFFFFF;roi_height=0xFFFFFFFF"},
    {"Region_larger_than_the_size", "roi_width=4096;roi_height=4096"},
    {"Region_of_one_pixel", "roi_width=1;roi_height=1"},
    {"Resolutions_negative", "resolutions=-1", S_OK, S_OK},
    {"Resolutions_many", "resolutions=0x7FFFFFFF", S_OK, S_OK},
    {"Resolutions_fail", "resolutions=5;resolution_result=-1", S_OK, S_OK},
    {"Binning_zero", "binning=0", S_OK, S_OK},
    {"Binning_fifteen", "binning=15"},
    {"Binning_wild", "binning=0x7FFFFFF2"},
    {"Rotation_odd", "rotation=45"},
    {"Rotation_negative", "rotation=-90"},
    {"Rotation_quarter", "rotation=90"},
    {"Options_fail", "option_result=-2147467263", S_OK, S_OK},
    // Depth.
    {"Depth_zero", "depth=0", E_FAIL, S_OK},
    {"Depth_seven", "depth=7", E_FAIL},
    {"Depth_wild", "depth=255"},
    {"Depth_of_all_bits", "depth=0xFFFFFFFF"},
    {"Depth_sixteen", "depth=16", S_OK, S_OK},
    // The object.
    {"Query_gives_null_and_success", "query=1", S_OK},
    {"Query_fails", "query=2", S_OK},
    {"References_of_nonsense", "references=1", S_OK, S_OK},
    {"Rate_of_nothing", "rate_frames=0;rate_milliseconds=0", S_OK, S_OK},
    {"Rate_in_no_time", "rate_frames=0xFFFFFFFF;rate_milliseconds=0", S_OK, S_OK},
    {"Exposure_zero", "exposure=0", S_OK, S_OK},
    // The stream.
    {"Start_fails", "start_result=-2147467259", E_FAIL},
    {"Start_fails_after_frames", "start_result=-2147467259;sync_start=5", E_FAIL},
    {"Stop_fails", "stop_result=-2147467259", S_OK, S_OK},
    {"Pause_fails", "pause_result=-2147467259"},
    {"Texture_taken_that_was_not_offered", "texture=1", S_OK, S_OK},
    {"Frames_at_once", "interval_us=0", S_OK, S_OK},
    {"Frames_inside_of_start", "sync_start=10", S_OK, S_OK},
    {"Frames_inside_of_stop", "sync_stop=10", S_OK, S_OK},
    {"Frames_inside_of_registering", "sync_raw=10", S_OK, S_OK},
    {"Frames_after_the_end", "after_stop=100", S_OK, S_OK},
    {"Frames_inside_and_after_the_end", "sync_start=3;sync_stop=3;after_stop=50;interval_us=100", S_OK, S_OK},
    {"Frames_on_four_threads", "threads=4;interval_us=200", S_OK, S_OK},
    {"Frames_on_four_threads_after_the_end", "threads=4;interval_us=200;after_stop=100", S_OK, S_OK},
    {"Frames_never", "threads=0", S_OK, S_OK},
    {"Frame_of_another_size", "info_width=32;info_height=24", S_OK, S_OK},
    {"Frame_of_a_larger_size", "info_width=640;info_height=480", S_OK, S_OK},
    {"Frame_of_no_size", "info_width=0x100000000;info_height=0x100000000", S_OK, S_OK},
    {"Frame_of_a_wild_size", "info_width=0xFFFFFFFF;info_height=0xFFFFFFFF", S_OK, S_OK},
    {"Frame_of_a_size_that_wraps", "info_width=65536;info_height=65536", S_OK, S_OK},
    {"Frame_of_a_sign", "info_width=0x80000000;info_height=0x80000000", S_OK, S_OK},
    {"Frame_wild_with_raw_and_deep", "ask_all=1;info_width=0x40000000;info_height=3", S_OK, S_OK},
    {"Frame_with_raw_and_deep", "ask_all=1", S_OK, S_OK},
    {"Frame_with_raw_and_deep_of_twelve_bits", "ask_all=1;depth=12", S_OK, S_OK},
    {"Frame_value_one", "frame_one=1", S_OK, S_OK},
    {"Frame_without_info", "null_info=1", S_OK},
    {"Stills_unasked_for", "still_frames=1", S_OK, S_OK},
    {"Events_in_a_storm", "event_storm=64", S_OK, S_OK},
    {"Events_from_four_threads", "event_storm=16;threads=4", S_OK, S_OK},
    {"Sizes_that_change", "size_events=1;interval_us=200", S_OK},
    {"Sizes_of_nonsense_that_change", "size_events=2;interval_us=500;raw_width=64;raw_height=48", S_OK},
    {"Sizes_that_change_after_the_end", "size_events=1;after_stop=100", S_OK},
    {"Lost_at_once", "lost_after=0", S_OK},
    {"Lost_soon", "lost_after=20", S_OK},
    {"Lost_inside_of_start", "lost_after=2;sync_start=5", S_OK},
    {"Lost_on_four_threads", "lost_after=50;threads=4;interval_us=100", S_OK},
    // Stills.
    {"Still_count_negative", "still_count=-1", S_OK, S_OK},
    {"Still_count_wild", "still_count=0x7FFFFFFF", S_OK, S_OK},
    {"Still_sizes_fail", "still_count=3;still_result=-1", S_OK, S_OK},
    {"Still_size_of_nothing", "still_count=1;still_width=0;still_height=0", S_OK, S_OK},
    {"Still_size_wild", "still_count=1;still_width=0xFFFFFFFF;still_height=0xFFFFFFFF;still_frames=1", S_OK, S_OK},
    {"Still_size_huge", "still_count=2;still_width=65536;still_height=65536", S_OK, S_OK},
    {"Still_frames_of_another_size", "still_count=1;still_width=32;still_height=24;still_frames=1", S_OK, S_OK},
    {"Still_frames", "still_count=2;still_frames=1", S_OK, S_OK},
    // Raw frames.
    {"Raw_missing", "raw=0", S_OK},
    {"Raw_format_fails", "raw_result=-2147467259", S_OK, E_FAIL},
    {"Raw_format_is_busy", "raw_result=-2147024726", S_OK, VEX_E_BUSY},
    {"Raw_depth_zero", "raw_depth=-1", S_OK, S_OK},
    {"Raw_depth_seven", "raw_depth=7"},
    {"Raw_depth_sixty_four", "raw_depth=64"},
    {"Raw_depth_of_all_bits", "raw_depth=0xFFFFFFFF"},
    {"Raw_fourcc_odd", "raw_fourcc=0x12345678", S_OK, S_OK},
    {"Raw_fourcc_of_all_bits", "raw_fourcc=0xFFFFFFFF", S_OK, S_OK},
    {"Raw_frames_deeper_than_told", "raw_depth=8;raw_frame_depth=16", S_OK},
    {"Raw_frames_flatter_than_told", "raw_depth=16;raw_frame_depth=8", S_OK},
    {"Raw_frames_without_depth", "raw_frame_depth=1000", S_OK},
    {"Raw_frames_smaller", "raw_width=16;raw_height=8", S_OK, S_OK},
    {"Raw_frames_larger", "raw_width=128;raw_height=96", S_OK, S_OK},
    {"Raw_frames_turned", "raw_width=48;raw_height=64", S_OK, S_OK},
    {"Raw_frames_wild", "raw_width=0xFFFFFFFF;raw_height=0xFFFFFFFF", S_OK, S_OK},
    {"Raw_frames_of_a_size_that_wraps", "raw_width=0x10040;raw_height=0x10030", S_OK, S_OK},
    {"Raw_frames_without_memory", "raw_null=1", S_OK, S_OK},
    {"Raw_frames_without_info", "raw_null=2", S_OK, S_OK},
    {"Raw_callback_refused", "callback_result=-2147467259", S_OK},
    // Status.
    {"Status_missing_and_lost", "status=0;lost_after=5", S_OK},
    {"Status_fails_and_lost", "status_result=-1;lost_after=5", S_OK},
    {"Status_wild_and_lost", "state=0xFFFFFFFF;lost_after=5", S_OK},
};

class HostileCamera : public testing::TestWithParam<Case> {};

TEST_P(HostileCamera, DoesNoHarm) {
    const Case& one = GetParam();
    const TempDir directory;
    Drive drive;
    {
        const host::Engine engine(
            {.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true, .direct2d = true}, host::Mode::Raw);
        ASSERT_TRUE(library().script(one.script));
        drive.run(directory.file("hostile.ser"), 16);
        if (one.start) {
            EXPECT_EQ(drive.started, *one.start);
        }
        if (one.record) {
            EXPECT_EQ(drive.recorded, *one.record);
        }
        EXPECT_LE(drive.devices, 16u);
        expectGoodCamera(directory.file("good.ser"));
    }
    library().settle();
    EXPECT_EQ(library().cameras(), 0) << "every camera was closed and released";
    for (const auto& file : directory.files()) {
        const std::optional<SerFile> ser = SerFile::read(file);
        ASSERT_TRUE(ser.has_value()) << file;
        EXPECT_TRUE(ser->whole()) << file;
    }
}

INSTANTIATE_TEST_SUITE_P(Each, HostileCamera, testing::ValuesIn(cases),
                         [](const testing::TestParamInfo<Case>& one) { return std::string(one.param.name); });

TEST(HostileCameras, WildCountsAreCutToSixteen) {
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    for (const char* script : {"unterminated=1;count=17", "unterminated=1;count=0xFFFFFFFF"}) {
        ASSERT_TRUE(library().script(script));
        vex_device* const list = vexcap_enum_device(nullptr);
        ASSERT_NE(list, nullptr);
        uint32_t count = 0;
        for (; list[count].name != nullptr; ++count) {
            EXPECT_EQ(std::u16string(list[count].name), u"$" + std::u16string(64, char16_t('A' + count)));
            EXPECT_EQ(std::u16string(list[count].display), std::u16string(64, char16_t('A' + count)));
        }
        EXPECT_EQ(count, 16u);
        vexcap_free_dsvi(list);
    }
}

TEST(HostileCameras, FramesOfAnotherSizeAreCountedAsLostAndNeverWritten) {
    const TempDir directory;
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    for (const char* script : {"raw_width=16;raw_height=8", "raw_width=0xFFFFFFFF;raw_height=0xFFFFFFFF",
                               "raw_width=0x10040;raw_height=0x10030"}) {
        ASSERT_TRUE(library().script(script));
        QueueWindow window;
        host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
        ASSERT_EQ(context.Start(), S_OK);
        ASSERT_EQ(record(context, directory.file("none.ser")), S_OK);
        EXPECT_TRUE(window.pumpUntil([&] { return context.Counts().lost >= 5; }, 10000)) << script;
        vexcap_stop_capture(context.get());
        const vex_recording_counts counts = context.Counts();
        EXPECT_EQ(counts.written, 0u);
        EXPECT_EQ(counts.bytes, 0u);
        EXPECT_GE(counts.offered, counts.lost);
        context.Stop();
        EXPECT_TRUE(directory.files().empty()) << "a recording without a frame leaves no file";
    }
}

TEST(HostileCameras, ARemovedDeviceStopsThePreviewAtTheNextNotify) {
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    ASSERT_TRUE(library().script("lost_after=10"));
    QueueWindow window;
    host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
    ASSERT_EQ(context.Start(), S_OK);
    ASSERT_TRUE(window.pumpUntil(
        [&] {
            for (const vex_message& message : window.messages())
                if (message.message == host::messageEvent && message.wparam == VEX_CAMERA_EVENT_STATE) return true;
            return false;
        },
        10000));
    EXPECT_EQ(vexcap_fpreviewing(context.get()), 1u);
    EXPECT_EQ(vexcap_notify(context.get()), 0);
    EXPECT_EQ(vexcap_fpreviewing(context.get()), 0u);
    EXPECT_EQ(vexcap_fsource(context.get()), 1u) << "the source itself is kept";
    ASSERT_TRUE(library().script(""));
    EXPECT_EQ(context.Start(), S_OK) << "it may be started again";
}

TEST(HostileCameras, OneExportMissingIsOneThingThatCannotBeDone) {
    const TempDir directory;
    const struct {
        const char* path;
        bool listed, opens;
    } libraries[] = {{SCRIPTED_WITHOUT_ENUM, false, true},
                     {SCRIPTED_WITHOUT_OPEN, true, false},
                     {SCRIPTED_WITHOUT_CLARITY, true, true},
                     {SCRIPTED_WITHOUT_OCL, true, true}};
    for (const auto& one : libraries) {
        const host::Engine engine({.library = one.path, .prefix = "Hostile", .noSettings = true, .direct2d = true},
                                  host::Mode::Raw);
        EXPECT_EQ(vexcap_mode(nullptr), 0u);
        Drive drive;
        drive.run(directory.file("a.ser"), 20);
        EXPECT_EQ(drive.devices, one.listed ? 1u : 0u) << one.path;
        EXPECT_EQ(drive.started, one.opens ? S_OK : E_FAIL) << one.path;
        EXPECT_EQ(drive.recorded, one.opens ? S_OK : E_FAIL) << one.path;
    }
}

TEST(HostileCameras, AWrongPrefixIsALibraryWithoutExports) {
    const TempDir directory;
    for (const char* prefix : {"Vexcam", "", "hostile", "%s%s%s%n"}) {
        const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = prefix, .noSettings = true, .direct2d = true},
                                  host::Mode::Raw);
        Drive drive;
        drive.run(directory.file("a.ser"), 4);
        EXPECT_EQ(drive.devices, 0u);
        EXPECT_EQ(drive.started, E_FAIL);
    }
}

TEST(HostileCameras, FilesThatAreNoLibrariesAreNoCameras) {
    const TempDir directory;
    for (const char* path : {"/etc/passwd", "/", "/dev/null", "/proc/self/mem", "libm.so.6"}) {
        const host::Engine engine({.library = path, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
        EXPECT_EQ(vexcap_enum_device(nullptr), nullptr) << path;
        QueueWindow window;
        host::Context context(window.get(), host::Device{"Scripted camera", "scripted"});
        EXPECT_EQ(context.Start(), E_FAIL) << path;
    }
}

}  // namespace hostile_test
}  // namespace vexcap::test
