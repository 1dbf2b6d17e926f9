// Compressors and media files through the whole library, with the real plug-in, read back by other programs.
#include <gtest/gtest.h>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "tests/support/queue_window.h"
#include "tests/support/shell.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace media_test {

class Media : public testing::Test {
protected:
    const TempDir directory;
    QueueWindow window;
};

struct Codecs {
    Codecs() : list(vexcap_enum_codec()) {}
    ~Codecs() { vexcap_free_dsvi(list); }
    vex_device* const list;
};

TEST_F(Media, ACameraIsRecordedThroughEveryCompressorAndOtherProgramsReadIt) {
    if (!installed("ffprobe")) GTEST_SKIP() << "ffprobe is not installed";
    const host::Engine engine({.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Pictures);
    const Codecs codecs;
    ASSERT_NE(codecs.list, nullptr);
    for (const vex_device* codec = codecs.list; codec->name; ++codec) {
        const std::string name = narrow(codec->display), path = directory.file("a.avi");
        host::Context context(window.get(), host::Device{"Simulated", "sim-fast"}, VEX_OPEN_TEMPTINT);
        ASSERT_EQ(context.Start(), S_OK);
        ASSERT_EQ(vexcap_start_capture_avi(context.get(), wide(path).c_str(), codec->name, 0), S_OK) << name;
        ASSERT_TRUE(window.pumpUntil([&] { return context.Counts().written >= 5; }, 120000)) << name;
        vexcap_stop_capture(context.get());
        const uint32_t written = context.Counts().written;
        const ShellOutput probe = shell(
            "ffprobe -v error -count_frames -select_streams v -show_entries stream=width,height,nb_read_frames "
            "-of csv=p=0 " +
            path);
        EXPECT_EQ(probe.text, "640,480," + std::to_string(written) + "\n") << name;
        EXPECT_EQ(vexcap_fpreviewing(context.get()), 1u);
    }
}

TEST_F(Media, WhatWasRecordedIsPlayedAndSoughtIn) {
    const host::Engine engine({.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Pictures);
    const std::string path = directory.file("a.avi");
    {
        host::Context camera(window.get(), host::Device{"Simulated", "sim-fast;fps=50"}, VEX_OPEN_TEMPTINT);
        ASSERT_EQ(camera.Start(), S_OK);
        const Codecs codecs;
        ASSERT_NE(codecs.list, nullptr);
        ASSERT_EQ(vexcap_start_capture_avi(camera.get(), wide(path).c_str(), codecs.list[0].name, 0), S_OK);
        ASSERT_TRUE(window.pumpUntil([&] { return camera.Counts().written >= 20; }, 120000));
        vexcap_stop_capture(camera.get());
    }
    vexcap_context* const film = vexcap_file(window.get(), window.get(), wide(path).c_str());
    ASSERT_NE(film, nullptr);
    window.forget();
    ASSERT_EQ(vexcap_start(film, nullptr, 0, 0, 0, 0), S_OK);
    int64_t duration = 0;
    uint32_t caps = 0;
    EXPECT_EQ(vexcap_get_seek(film, &duration, &caps), 1);
    EXPECT_GT(duration, 0);
    EXPECT_EQ(caps, 47u);
    // Its end is an event that the host answers; then it stands at its beginning.
    EXPECT_TRUE(window.pumpUntil(
        [&] {
            if (window.count(host::messageEvent)) vexcap_notify(film);
            return vexcap_get_state(film) == 3;
        },
        120000));
    EXPECT_GE(window.count(host::messageFrame), 20u);
    EXPECT_EQ(vexcap_get_pos(film), 0);
    window.forget();
    vexcap_set_pos(film, duration / 2);
    EXPECT_TRUE(window.pumpUntil([&] { return window.count(host::messageFrame) > 0; }, 60000))
        << "the picture there is shown";
    EXPECT_NEAR(double(vexcap_get_pos(film)), double(duration) / 2, double(duration) / 4);
    vexcap_stop(film);
}

TEST_F(Media, WhatIsNoFilmIsRefused) {
    const host::Engine engine({.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Pictures);
    const std::string text = directory.file("notes.txt");
    ASSERT_EQ(shell("echo no film > " + text).status, 0);
    for (const std::string& path : {text, directory.file("missing.avi"), std::string("http://127.0.0.1:1/film.avi")}) {
        vexcap_context* const film = vexcap_file(window.get(), window.get(), wide(path).c_str());
        ASSERT_NE(film, nullptr);
        EXPECT_LT(vexcap_start(film, nullptr, 0, 0, 0, 0), 0) << path;
        EXPECT_EQ(vexcap_fsource(film), 0u);
        vexcap_stop(film);
    }
}

}  // namespace media_test
}  // namespace vexcap::test
