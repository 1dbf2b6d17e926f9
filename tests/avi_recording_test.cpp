// AVI recordings through the whole library: what the camera showed is what the file holds.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "recording/avi_testing.h"
#include "tests/hostile_library/hostile.h"
#include "tests/support/queue_window.h"
#include "tests/support/recording.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace avi_recording_test {

constexpr uint32_t width = 64, height = 48;
constexpr size_t stride = width * 3, pictureBytes = stride * height;

/// A finished AVI file with pictures of the scripted camera.
class AviFile {
public:
    explicit AviFile(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        content = readAvi(in);
        places = content.frames();
        in.clear();
        for (const AviFrame& place : places) {
            std::vector<uint8_t>& picture = pictures.emplace_back(place.size);
            in.seekg(std::streamoff(place.position)).read(reinterpret_cast<char*>(picture.data()), place.size);
        }
    }
    bool whole() const { return content.faults.empty(); }
    uint32_t frames() const { return uint32_t(places.size()); }
    double rate() const { return double(content.stream.rate) / content.stream.scale; }
    const std::vector<uint8_t>& picture(uint32_t frame) const { return pictures[frame]; }
    /// Low byte of the sensor frame's number, from the formula of the scripted camera's pictures.
    uint8_t number(uint32_t frame) const { return pictures[frame].at(0); }

private:
    AviContent content;
    std::vector<AviFrame> places;
    std::vector<std::vector<uint8_t>> pictures;
};

class AviRecording : public testing::Test {
protected:
    AviRecording() {
        void* const library = ::dlopen(SCRIPTED_CAMERAS, RTLD_NOW | RTLD_LOCAL);
        script = library ? reinterpret_cast<decltype(script)>(::dlsym(library, "hostile_script")) : nullptr;
        if (script) script("");
    }
    ~AviRecording() override {
        if (script) script("");
    }
    std::unique_ptr<host::Context> started() {
        auto context = std::make_unique<host::Context>(window.get(), host::Device{"Scripted camera", "scripted"});
        EXPECT_EQ(context->Start(), S_OK);
        return context;
    }
    bool waitForWritten(host::Context& context, uint32_t count) {
        return window.pumpUntil([&] { return context.Counts().written >= count; }, 60000);
    }

    decltype(&hostile_script) script = nullptr;
    const TempDir directory;
    QueueWindow window;
};

TEST_F(AviRecording, HoldsEachPictureAsItWasShown) {
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    const auto context = started();
    const std::string path = directory.file("a.avi");
    ASSERT_EQ(record(*context, path, 0, 20), S_OK);
    ASSERT_TRUE(window.pumpUntilMessage(host::messageLimit, 60000));
    const vex_recording_counts counts = context->Counts();
    EXPECT_EQ(counts.written, 20u);
    EXPECT_EQ(counts.lost, 0u);
    EXPECT_EQ(counts.bytes, 20 * pictureBytes);
    const AviFile file(path);
    ASSERT_EQ(file.frames(), 20u);
    EXPECT_TRUE(file.whole());
    // The camera's sample x, y is (3 x + 5 y + number) modulo 256, row 0 at the bottom, and grey.
    for (uint32_t frame = 0; frame < 20; ++frame) {
        ASSERT_EQ(file.picture(frame).size(), pictureBytes);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                for (uint32_t channel = 0; channel < 3; ++channel)
                    ASSERT_EQ(file.picture(frame)[y * stride + x * 3 + channel],
                              uint8_t(3 * x + 5 * y + file.number(frame)))
                        << frame << ' ' << x << ' ' << y;
    }
}

TEST_F(AviRecording, TakesEverySensorFrameWhateverTheDisplayRate) {
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    const auto context = started();
    const std::string path = directory.file("a.avi");
    ASSERT_EQ(record(*context, path, 0, 60), S_OK);
    ASSERT_TRUE(window.pumpUntilMessage(host::messageLimit, 60000));
    const AviFile file(path);
    ASSERT_EQ(file.frames(), 60u);
    for (uint32_t i = 1; i < 60; ++i) EXPECT_EQ(uint8_t(file.number(i) - file.number(i - 1)), 1) << i;
}

TEST_F(AviRecording, KeepsOneFrameInSoManyByTimeLapse) {
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    const auto context = started();
    vexcap_put_timelapse(context->get(), 5);
    const std::string path = directory.file("a.avi");
    ASSERT_EQ(record(*context, path, 0, 10), S_OK);
    ASSERT_TRUE(window.pumpUntilMessage(host::messageLimit, 60000));
    EXPECT_GE(context->Counts().offered, 46u);
    const AviFile file(path);
    ASSERT_EQ(file.frames(), 10u);
    for (uint32_t i = 1; i < 10; ++i) EXPECT_EQ(uint8_t(file.number(i) - file.number(i - 1)), 5) << i;
}

TEST_F(AviRecording, TellsTheRateThatTheFramesCameAt) {
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    const auto context = started();
    const std::string path = directory.file("a.avi");
    ASSERT_EQ(record(*context, path, 2), S_OK);
    ASSERT_TRUE(window.pumpUntilMessage(host::messageLimit, 60000));
    const vex_recording_counts counts = context->Counts();
    const AviFile file(path);
    EXPECT_EQ(file.frames(), counts.written);
    EXPECT_NEAR(file.rate(), counts.written * 1000.0 / counts.elapsed, 0.02 * file.rate());
}

TEST_F(AviRecording, DropsFramesOfASizeThatChangesWhileItRuns) {
    ASSERT_NE(script, nullptr);
    script("size_events=1");
    const host::Engine engine({.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true}, host::Mode::Raw);
    const auto context = started();
    const std::string path = directory.file("a.avi");
    if (record(*context, path) != S_OK) return;  // between two sizes the camera may tell neither
    window.pumpUntil([&] { return context->Counts().lost >= 5; }, 2000);
    vexcap_stop_capture(context->get());
    const vex_recording_counts counts = context->Counts();
    EXPECT_EQ(counts.kept, counts.written);
    EXPECT_EQ(AviFile(path).frames(), counts.written);
}

/// Outside astro mode, with settings of its own.
class QuickRecording : public AviRecording {
protected:
    host::EngineConfig options() const {
        return {.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .settings = directory.file("settings")};
    }
    void put(const vex_char* name, uint32_t number, const std::string& text = {}) {
        EXPECT_EQ(vexcap_put_setting(name, number, wide(text).c_str()), S_OK) << narrow(name);
    }
    static uint32_t number(const vex_char* name) {
        uint32_t value = 0;
        EXPECT_GE(vexcap_get_setting(name, &value, nullptr), 0);
        return value;
    }
};

TEST_F(QuickRecording, NamesItsFileByWhatIsRemembered) {
    const host::Engine engine(options(), host::Mode::Pictures);
    put(u"CapturePath", 0, directory.file("films"));
    put(u"FileNamePrefix", 0, "onion-");
    put(u"FileNameFomat", VEX_NAME_SEQUENCE);
    const auto context = started();
    ASSERT_EQ(vexcap_start_capture_micro(context->get(), 0, 1, nullptr), S_OK);
    vex_char path[260] = {};
    ASSERT_EQ(vexcap_filepath(context->get(), path), 1);
    EXPECT_EQ(narrow(path).substr(0, directory.file("films/onion-").size()), directory.file("films/onion-"));
    ASSERT_TRUE(waitForWritten(*context, 3));
    vexcap_stop_capture(context->get());
    const AviFile file(narrow(path));
    EXPECT_GE(file.frames(), 3u);
    EXPECT_TRUE(file.whole());
}

TEST_F(QuickRecording, NeverReplacesAFileThatNobodyWasAskedAbout) {
    const host::Engine engine(options(), host::Mode::Pictures);
    put(u"CapturePath", 0, directory.file("films"));
    put(u"FileNameFomat", VEX_NAME_SEQUENCE);
    std::filesystem::create_directories(directory.file("films"));
    const auto context = started();
    // The number of the next name is not known here, so all that it can be are taken.
    for (int i = 1; i < 40; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "films/%04d.avi", i);
        std::ofstream(directory.file(name)) << "mine";
    }
    EXPECT_EQ(vexcap_start_capture_micro(context->get(), 0, 1, nullptr), VEX_E_CANCELLED);
    EXPECT_EQ(vexcap_fcapturing(context->get()), 0u);
    for (int i = 1; i < 40; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "films/%04d.avi", i);
        EXPECT_EQ(std::filesystem::file_size(directory.file(name)), 4u);
    }
}

TEST_F(QuickRecording, RemembersFromOneProgramToTheNext) {
    {
        const host::Engine engine(options(), host::Mode::Pictures);
        EXPECT_EQ(number(u"TimeLimit"), 60u);
        put(u"TimeLimit", 1);
        put(u"UseTimeLimit", 1);
        put(u"CapturePath", 0, directory.file("films"));
    }
    const host::Engine engine(options(), host::Mode::Pictures);
    EXPECT_EQ(number(u"timelimit"), 1u) << "names compare without case";
    const auto context = started();
    ASSERT_EQ(vexcap_start_capture_micro(context->get(), 0, 1, nullptr), S_OK);
    EXPECT_EQ(vexcap_dwtimelimit(context->get()), 1u);
    ASSERT_TRUE(window.pumpUntilMessage(host::messageLimit, 60000));
    EXPECT_GE(context->Counts().elapsed, 1000u);
}

TEST(Settings, WithoutAPlaceToKeepThemAreTheStandardOnes) {
    const host::Engine engine({.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Raw);
    uint32_t count = 0, value = 0;
    const vex_setting* const all = vexcap_settings(&count);
    ASSERT_GT(count, 0u);
    for (uint32_t i = 0; i < count; ++i) {
        vex_char text[260] = u"x";
        EXPECT_EQ(vexcap_get_setting(all[i].name, &value, text), S_FALSE) << narrow(all[i].name);
        EXPECT_EQ(value, all[i].kind == VEX_SETTING_TEXT ? 0 : all[i].standard) << narrow(all[i].name);
        EXPECT_EQ(vexcap_put_setting(all[i].name, all[i].least, nullptr), E_UNEXPECTED) << narrow(all[i].name);
    }
}

TEST(Settings, TakeTheirLimitsAndRefuseWhatLiesBeyond) {
    const TempDir directory;
    const host::Engine engine({.library = SIMULATED_CAMERAS, .settings = directory.file("settings")}, host::Mode::Raw);
    vex_key* const root = vex_key_directory(directory.file("settings").c_str());
    ASSERT_EQ(marker_init(root, u"Tests", u"vexcap tests"), 0);
    vex_key_free(root);
    uint32_t count = 0;
    const vex_setting* const all = vexcap_settings(&count);
    for (uint32_t i = 0; i < count; ++i) {
        const vex_setting& one = all[i];
        uint32_t value = 77;
        if (one.kind == VEX_SETTING_TEXT) {
            const std::u16string longest(one.most, u'a'), tooLong(one.most + 1, u'a');
            vex_char text[260];
            EXPECT_EQ(vexcap_put_setting(one.name, 0, tooLong.c_str()), E_INVALIDARG) << narrow(one.name);
            ASSERT_EQ(vexcap_put_setting(one.name, 0, longest.c_str()), S_OK) << narrow(one.name);
            EXPECT_EQ(vexcap_get_setting(one.name, &value, text), S_OK);
            EXPECT_EQ(text, longest) << narrow(one.name);
            EXPECT_EQ(value, one.most);
            continue;
        }
        for (const uint32_t limit : {one.least, one.most}) {
            ASSERT_EQ(vexcap_put_setting(one.name, limit, nullptr), S_OK) << narrow(one.name);
            EXPECT_EQ(vexcap_get_setting(one.name, &value, nullptr), S_OK);
            EXPECT_EQ(value, limit) << narrow(one.name);
        }
        for (const uint32_t beyond : {one.most + 1, one.least - 1}) {
            if (beyond >= one.least && beyond <= one.most) continue;  // limits at the ends of the numbers
            EXPECT_EQ(vexcap_put_setting(one.name, beyond, nullptr), E_INVALIDARG) << narrow(one.name);
        }
    }
    EXPECT_EQ(vexcap_put_setting(u"FileNamePrefix", 0, u"a/b"), E_INVALIDARG) << "no part of a file name";
    EXPECT_EQ(vexcap_put_setting(u"Unknown", 0, u""), E_INVALIDARG);
    EXPECT_EQ(vexcap_get_setting(u"Unknown", nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(vexcap_get_setting(nullptr, nullptr, nullptr), E_INVALIDARG);
}

TEST(AutoPath, FollowsTheRulesOfTheCallAndMakesTheFolder) {
    const TempDir directory;
    const host::Engine engine({.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Raw);
    const std::u16string base = wide(directory.file("base"));
    const vex_name_rules rules = {u"m31-", base.c_str(), VEX_NAME_LONG_DASHES, VEX_FOLDERS_DATE};
    vex_char path[260];
    ASSERT_EQ(vexcap_auto_path(&rules, u".ser", path), S_OK);
    const std::string made = narrow(path);
    // base/20240101/m31-2024-01-01-12-00-00.ser
    ASSERT_EQ(made.size(), directory.file("base").size() + std::strlen("/yyyymmdd/m31-yyyy-mm-dd-HH-MM-SS.ser"));
    EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(made).parent_path()));
    EXPECT_EQ(std::filesystem::path(made).extension(), ".ser");
}

TEST(AutoPath, RefusesWhatNoFileCanBeCalled) {
    const TempDir directory;
    const host::Engine engine({.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Raw);
    const std::u16string base = wide(directory.file("base")), tooLong(260, u'x');
    vex_char path[260];
    EXPECT_EQ(vexcap_auto_path(nullptr, nullptr, path), E_INVALIDARG);
    EXPECT_EQ(vexcap_auto_path(nullptr, u".ser", nullptr), E_INVALIDARG);
    const struct {
        vex_name_rules rules;
        const vex_char* extension;
        HRESULT result;
    } rows[] = {{{u"a/b", base.c_str(), 0, 0}, u".ser", E_INVALIDARG},
                {{u"a", base.c_str(), 5, 0}, u".ser", E_INVALIDARG},
                {{u"a", base.c_str(), -2, 0}, u".ser", E_INVALIDARG},
                {{u"a", base.c_str(), 0, 3}, u".ser", E_INVALIDARG},
                {{u"a", base.c_str(), 0, 0}, u"ser", E_INVALIDARG},
                {{u"a", base.c_str(), 0, 0}, u"./../x", E_INVALIDARG},
                {{tooLong.c_str(), base.c_str(), 0, 0}, u".ser", VEX_E_INSUFFICIENT_BUFFER}};
    for (const auto& row : rows) {
        path[0] = u'x';
        EXPECT_EQ(vexcap_auto_path(&row.rules, row.extension, path), row.result);
        EXPECT_EQ(path[0], 0);
    }
    std::ofstream(directory.file("file")) << "in the way";
    const std::u16string blocked = wide(directory.file("file/sub"));
    const vex_name_rules rules = {u"a", blocked.c_str(), 0, 0};
    EXPECT_LT(vexcap_auto_path(&rules, u".ser", path), 0);
}

}  // namespace avi_recording_test
}  // namespace vexcap::test
