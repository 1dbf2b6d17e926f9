// Every export with arguments that no host should give. The same claims hold before vexcap_init and after it: this
// source makes two programs, and EXPORTS_AFTER_INIT tells which one it is.
#include <gtest/gtest.h>
#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include "hosts/common/engine.h"
#include "tests/support/queue_window.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace exports_test {

#ifdef EXPORTS_AFTER_INIT
constexpr bool initialised = true;
class InitialisedEngine final : public testing::Environment {
    void SetUp() override {
        const host::EngineConfig config = {.library = SCRIPTED_CAMERAS, .prefix = "Hostile", .noSettings = true};
        engine = std::make_unique<host::Engine>(config, host::Mode::Raw);
    }
    void TearDown() override { engine.reset(); }
    std::unique_ptr<host::Engine> engine;
};
const testing::Environment* const environment = testing::AddGlobalTestEnvironment(new InitialisedEngine);
#else
constexpr bool initialised = false;
#endif

const vex_device scripted = {u"$scripted", u"Scripted camera", VEX_KIND_CAMERA, 0};
const vex_device unknown = {u"$no such camera", u"Nothing", VEX_KIND_CAMERA, 0};

TEST(Exports, GiveNothingForANullContext) {
    EXPECT_EQ(vexcap_start(nullptr, nullptr, 0, 0, 0, 0), E_POINTER);
    vexcap_stop(nullptr);
    EXPECT_EQ(vexcap_fsource(nullptr), 0u);
    EXPECT_EQ(vexcap_fpreviewing(nullptr), 0u);
    EXPECT_EQ(vexcap_notify(nullptr), 0);
    EXPECT_EQ(vexcap_get_interface(nullptr, nullptr), nullptr);
    EXPECT_EQ(vexcap_get_interface(nullptr, &VEX_IID_CAMERA_STATUS), nullptr);
    vexcap_stop_capture(nullptr);
    EXPECT_EQ(vexcap_fcapturing(nullptr), 0u);
    EXPECT_EQ(vexcap_lcapstarttime(nullptr), 0u);
    EXPECT_EQ(vexcap_dwframecount(nullptr), 0u);
    EXPECT_EQ(vexcap_dwframelimit(nullptr), 0u);
    EXPECT_EQ(vexcap_dwtimelimit(nullptr), 0u);
    EXPECT_EQ(vexcap_filesize(nullptr), 0u);
    EXPECT_EQ(vexcap_mode(nullptr), 0u) << "no accelerated drawing road was asked for";
}

TEST(Exports, LeaveTheOutsAloneForANullContext) {
    int32_t width = -3, height = -4;
    EXPECT_EQ(vexcap_video_size(nullptr, &width, &height), 0);
    EXPECT_EQ(width, -3);
    EXPECT_EQ(height, -4);
    vex_char count[32] = u"untouched", rate[32] = u"untouched";
    EXPECT_EQ(vexcap_get_property(nullptr, count, rate), 0);
    EXPECT_EQ(std::u16string(count), u"untouched");
    EXPECT_EQ(std::u16string(rate), u"untouched");
    vex_char path[260] = u"untouched";
    EXPECT_EQ(vexcap_filepath(nullptr, path), 0);
    EXPECT_EQ(std::u16string(path), u"untouched");
    vex_recording_counts counts, before;
    std::memset(&counts, 0x5A, sizeof counts);
    before = counts;
    EXPECT_EQ(vexcap_recording(nullptr, &counts), 0);
    vex_picture_format format = {};
    format.size = sizeof format;
    EXPECT_EQ(vexcap_picture_size(nullptr, &format), 0);
    EXPECT_EQ(format.width, 0u);
    EXPECT_EQ(std::memcmp(&counts, &before, sizeof counts), 0);
}

TEST(Exports, GiveNoCapabilitiesForNullArguments) {
    EXPECT_EQ(vexcap_get_capability(nullptr, nullptr), 0);
    EXPECT_EQ(vexcap_get_stillimage_capability(nullptr, nullptr), 0);
    auto* out = reinterpret_cast<vex_capability*>(16);
    EXPECT_EQ(vexcap_get_capability(nullptr, &out), 0);
    EXPECT_EQ(vexcap_get_stillimage_capability(nullptr, &out), 0);
}

TEST(Exports, GiveStandardRecordsWhateverIsRemembered) {
    MarkerGeo geo;
    MarkerTxt txt;
    std::memset(&geo, 0x5A, sizeof geo);
    std::memset(&txt, 0x5A, sizeof txt);
    vexcap_standard_records(&geo, nullptr);
    vexcap_standard_records(nullptr, &txt);
    vexcap_standard_records(nullptr, nullptr);
    const MarkerGeo wantedGeo = {VEX_MARKER_NONE, 0x0000FF, 1, 100, 100, 100, 100, 0, 0, 0};
    const MarkerTxt wantedTxt = {VEX_CORNER_BOTTOM_RIGHT, 3,        1, 0,       3, 0, 0, 0x00FFFF,
                                 VEX_DATE_NONE,           0x00FFFF, 0, 0xFF0000};
    EXPECT_EQ(std::memcmp(&geo, &wantedGeo, sizeof geo), 0);
    EXPECT_EQ(std::memcmp(&txt, &wantedTxt, sizeof txt), 0);
}

TEST(Exports, ConvertTextWhateverTheLocale) {
    char narrow[8];
    vex_char wide[8];
    EXPECT_EQ(vexcap_utf8_from_utf16(u"50 µm", narrow, sizeof narrow), 6u);
    EXPECT_STREQ(narrow, "50 µm");
    EXPECT_EQ(vexcap_utf16_from_utf8(narrow, wide, 8), 5u);
    EXPECT_EQ(std::u16string(wide), u"50 µm");
    EXPECT_EQ(vexcap_utf8_from_utf16(u"50 µm", narrow, 5), 6u);
    EXPECT_STREQ(narrow, "50 ") << "the sign for micro has two bytes";
    EXPECT_EQ(vexcap_utf8_from_utf16(nullptr, nullptr, 99), 0u);
    EXPECT_EQ(vexcap_utf16_from_utf8(nullptr, nullptr, 99), 0u);
}

TEST(Exports, FreeNullWithoutHarm) {
    vexcap_free_dsvi(nullptr);
    vexcap_free_capability(nullptr);
    vexcap_target_free(nullptr);
    vex_window_queue_free(nullptr);
    vex_key_free(nullptr);
}

/// What pictures, dark fields and playback answer where there is none of them.
void expectNoPictureToChange(vexcap_context* context) {
    vexcap_set_esize(context, 0xFFFFFFFF, 0);
    vexcap_set_esize(context, 0, 1);
    EXPECT_EQ(vexcap_put_format(context, 0), E_INVALIDARG);
    EXPECT_EQ(vexcap_put_format(context, 0xFFFFFFFF), E_INVALIDARG);
    vexcap_put_flip(context, 0xFFFFFFFF, 0xFFFFFFFF);
    vexcap_put_chrome(context, 1);
    vexcap_put_negative(context, 1);
    EXPECT_EQ(vexcap_get_flip(context), 0u);
    EXPECT_EQ(vexcap_get_chrome(context), 0u);
    EXPECT_EQ(vexcap_get_negative(context), 0u);
    EXPECT_EQ(vexcap_is_dfc(context), 0);
    EXPECT_EQ(vexcap_has_dfc(context), 0);
    vexcap_dfc_enable(context, 1);
    EXPECT_EQ(vexcap_dfc_capture(context, 3), E_INVALIDARG);
    EXPECT_EQ(vexcap_dfc_import(context, u"/dev/null"), E_INVALIDARG);
    EXPECT_EQ(vexcap_dfc_export(context, nullptr), E_INVALIDARG);
    EXPECT_EQ(vexcap_get_state(context), 0u);
    for (const uint32_t state : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu}) vexcap_set_state(context, state);
    EXPECT_EQ(vexcap_get_state(context), 0u);
    vexcap_set_pos(context, INT64_MIN);
    EXPECT_EQ(vexcap_get_pos(context), -1);
    EXPECT_EQ(vexcap_get_seek(context, nullptr, nullptr), context ? 1 : 0);
    EXPECT_LT(vexcap_start_capture_avi(context, u"/tmp/never.avi", nullptr, 0), 0);
    EXPECT_LT(vexcap_start_capture_avi(context, nullptr, u"nothing like this", -1), 0);
}

TEST(Exports, ChangeNoPictureWithoutAContextOrBeforeItsStart) {
    QueueWindow window;
    expectNoPictureToChange(nullptr);
    vexcap_context* const context = vexcap_device(window.get(), window.get(), &scripted, nullptr, nullptr, nullptr);
    ASSERT_NE(context, nullptr);
    expectNoPictureToChange(context);
    vexcap_stop(context);
}

/// What grabs, stills, paints and overlays answer where nothing is shown.
void expectNothingToSee(vexcap_context* context) {
    uint8_t bitmap[40 + 64] = {};
    const vex_rect rectangle = {0, 0, 4, 4};
    const vex_point point = {0, 0};
    uint16_t rgb[3] = {7, 7, 7};
    EXPECT_EQ(vexcap_put_capture(context, VEX_GRAB_RAW), E_UNEXPECTED);
    EXPECT_EQ(vexcap_grabber(context, nullptr, 64, 0, 0, 0, 0, 0, 0), 0);
    for (const int32_t still : {0, 1}) EXPECT_EQ(vexcap_grabber(context, bitmap, 64, 0, still, 0, 0, 0, 0), 0);
    EXPECT_EQ(vexcap_grabber(context, bitmap, INT32_MIN, -1, 0, INT32_MIN, INT32_MAX, -1, 1), 0);
    for (const uint32_t kind : {0u, 1u, 2u, 0xFFFFFFFFu}) EXPECT_EQ(vexcap_can_grabber(context, kind), 0);
    vex_picture_format format = {};
    format.size = sizeof format;
    EXPECT_EQ(vexcap_picture_size(context, &format), 0);
    EXPECT_EQ(vexcap_picture_size(context, nullptr), 0);
    for (const int32_t still : {0, 1})
        for (const uint32_t kind : {0u, 1u, 2u, 0xFFFFFFFFu}) EXPECT_EQ(vexcap_grab_room(context, kind, still), 0);
    vex_grab_info info = {};
    info.size = sizeof info;
    EXPECT_EQ(vexcap_grab_info(context, &info), 0);
    EXPECT_EQ(vexcap_grab_info(context, nullptr), 0);
    EXPECT_LE(vexcap_get_pixel(context, &point, 1, rgb, nullptr), 0);
    EXPECT_EQ(rgb[0], 7);
    EXPECT_EQ(vexcap_has_stillimage(context), 0u);
    EXPECT_EQ(vexcap_can_grabber_stillimage(context), 0);
    EXPECT_EQ(vexcap_grabber_stillimage(context, nullptr), 0);
    vexcap_set_greycalibration(context, &rectangle, nullptr, 1);
    uint8_t pixels[64] = {};
    vex_surface surface = {pixels, 4, 4, 16, 0, 0}, nothing = {};
    vexcap_draw_gdi(context, &surface, &rectangle, 4, 4);
    vexcap_draw_gdi(context, &nothing, &rectangle, 4, 4);
    vexcap_draw_gdi(context, nullptr, &rectangle, 4, 4);
    vexcap_draw_gdi(context, &surface, nullptr, 4, 4);
    vex_render_target* const target = vexcap_target_new(&surface);
    ASSERT_NE(target, nullptr);
    vexcap_draw_d2d(context, target, &rectangle, 4, 4);
    vexcap_draw_d2d(context, target, nullptr, 4, 4);
    vexcap_draw_d2d(context, nullptr, &rectangle, 4, 4);
    vexcap_target_free(target);
    EXPECT_EQ(std::count(pixels, pixels + 64, 0), 64);
    vexcap_init_d2d(context, pixels, pixels, nullptr);
    EXPECT_EQ(vexcap_water_can(context), 0);
    EXPECT_EQ(vexcap_water_move(context, 3, 4), 0u);
    EXPECT_EQ(vexcap_water_rotate(context, 5), 0);
    EXPECT_EQ(vexcap_markergeo_can(context), 0);
    vexcap_set_water(context, nullptr);
    EXPECT_EQ(vexcap_get_markergeo(context, nullptr), 0);
    EXPECT_EQ(vexcap_set_markergeo(context, nullptr), 0);
    EXPECT_EQ(vexcap_set_markertxt(context, nullptr), 0);
    vexcap_set_scale(context, NAN, nullptr, 0xFFFFFFFF, nullptr, nullptr);
    vexcap_set_tick(context, -INFINITY);
}

TEST(Exports, ShowNothingWithoutAContextOrBeforeItsStart) {
    QueueWindow window;
    expectNothingToSee(nullptr);
    int32_t size = -3;
    EXPECT_EQ(vexcap_stillimage_size(nullptr, &size, &size), 0);
    EXPECT_EQ(size, -3);
    const MarkerGeo geo = {};
    const MarkerTxt txt = {};
    const WaterInfo water = {};
    EXPECT_EQ(vexcap_set_markergeo(nullptr, &geo), 0);
    EXPECT_EQ(vexcap_set_markertxt(nullptr, &txt), 0);
    vexcap_set_water(nullptr, &water);
    EXPECT_EQ(vexcap_draw_buffered(nullptr), 0u);
    vexcap_context* const context = vexcap_device(window.get(), window.get(), &scripted, nullptr, nullptr, nullptr);
    ASSERT_NE(context, nullptr);
    expectNothingToSee(context);
    EXPECT_EQ(vexcap_stillimage_size(context, &size, nullptr), 1);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(vexcap_draw_buffered(context), 0u);
    vexcap_stop(context);
}

TEST(Exports, KeepTheOverlaySettingsOfTheProcessAsTheyAreGiven) {
    EXPECT_EQ(marker_get_markergeo(nullptr), nullptr);
    EXPECT_EQ(marker_get_markertxt(nullptr), nullptr);
    marker_set_markergeo(nullptr);
    marker_set_markertxt(nullptr);
    EXPECT_EQ(marker_get_captureafter(), 1u);
    const MarkerGeo wild = {77, 0xFFFFFFFF, 6, INT32_MIN, INT32_MAX, 0, -1, 99, -99, -5};
    marker_set_markergeo(&wild);
    MarkerGeo geo = {};
    EXPECT_EQ(marker_get_markergeo(&geo), &geo);
    EXPECT_EQ(std::memcmp(&geo, &wild, sizeof geo), 0);
    EXPECT_EQ(vexcap_get_markergeo(nullptr, &geo), 1);
    EXPECT_EQ(vexcap_markergeo_move(nullptr, 1, -1), uint64_t(uint32_t(-100)) << 32 | 100u) << "told, not stored";
    EXPECT_EQ(marker_get_markergeo(&geo)->eMarkerxPos, 99);
    marker_set_wateroffset(0x80000000'7FFFFFFF);
    EXPECT_EQ(marker_get_wateroffset(), 0x80000000'7FFFFFFF);
    marker_set_waterrotate(INT32_MIN);
    EXPECT_EQ(marker_get_waterrotate(), INT32_MIN);
    marker_set_captureafter(0);
    EXPECT_EQ(marker_get_captureafter(), 0u);
    EXPECT_LT(marker_init(nullptr, nullptr, nullptr), 0) << "no root";
    EXPECT_EQ(marker_get_captureafter(), 1u);
    EXPECT_EQ(marker_get_markergeo(&geo)->eMarkerGeox, 100);
    marker_fini();
}

TEST(Exports, OpenNoFileWithoutAPathAndNoDeviceThatIsNotThere) {
    QueueWindow window;
    EXPECT_EQ(vexcap_file(window.get(), window.get(), nullptr), nullptr);
    EXPECT_EQ(vexcap_file(window.get(), window.get(), u""), nullptr);
    for (const vex_char* path : {u"/nowhere/film.avi", u"/dev/null", u"/", u"\xD800"}) {
        vexcap_context* const film = vexcap_file(nullptr, nullptr, path);
        ASSERT_NE(film, nullptr);
        EXPECT_LT(vexcap_start(film, nullptr, 0, 0, 0, 1), 0);
        expectNoPictureToChange(film);
        vexcap_stop(film);
    }
    const vex_device missing{u"@device:v4l2:pci#none#0", u"None", VEX_KIND_VIDEO_INPUT, 0};
    vexcap_context* const device = vexcap_device(nullptr, nullptr, &missing, nullptr, nullptr, nullptr);
    EXPECT_LT(vexcap_start(device, nullptr, 0, 0, 0, 1), 0);
    EXPECT_EQ(vexcap_fsource(device), 0u);
    vexcap_stop(device);
}

TEST(Exports, FailToRecordANullContext) {
    EXPECT_EQ(vexcap_start_capture_astro(nullptr, u"/tmp/never.ser", 0, 0), E_FAIL);
    EXPECT_EQ(vexcap_start_capture_astro(nullptr, nullptr, -1, -1), E_FAIL);
    uint8_t flag = 1;
    EXPECT_EQ(vexcap_start_capture_micro(nullptr, 1, 1, &flag), E_FAIL);
    EXPECT_EQ(flag, 1);
    vexcap_put_timelapse(nullptr, 5);
}

TEST(Exports, MakeNoContextWithoutARecordOrItsTexts) {
    QueueWindow window;
    EXPECT_EQ(vexcap_device(window.get(), window.get(), nullptr, nullptr, nullptr, nullptr), nullptr);
    for (const vex_device& device :
         {vex_device{nullptr, u"display", VEX_KIND_CAMERA, 0}, vex_device{u"$name", nullptr, VEX_KIND_CAMERA, 0},
          vex_device{nullptr, nullptr, VEX_KIND_CAMERA, 0}, vex_device{nullptr, nullptr, 0, 0}})
        EXPECT_EQ(vexcap_device(window.get(), window.get(), &device, nullptr, nullptr, nullptr), nullptr);
}

TEST(Exports, MakeNoContextForKindsThatAreNotThere) {
    QueueWindow window;
    for (const uint32_t kind : {0u, uint32_t(VEX_KIND_FILE), 7u, 0x80000001u, 0xFFFFFFFFu}) {
        const vex_device device{u"$scripted", u"Scripted camera", kind, 0};
        EXPECT_EQ(vexcap_device(window.get(), window.get(), &device, nullptr, nullptr, nullptr), nullptr) << kind;
    }
}

TEST(Exports, StopAContextOfAnyKindThatWasNeverStarted) {
    QueueWindow window;
    for (uint32_t kind = VEX_KIND_CAMERA; kind <= VEX_KIND_NETWORK_CAMERA; ++kind)
        for (const vex_char* name : {u"$scripted", u"", u"tk-camera", u"t", u"\xD800", u"/dev/null"}) {
            const vex_device device{name, u"A device", kind, 0};
            vexcap_context* const context =
                vexcap_device(window.get(), window.get(), &device, nullptr, nullptr, nullptr);
            EXPECT_EQ(vexcap_fsource(context), 0u);
            EXPECT_EQ(vexcap_fpreviewing(context), 0u);
            EXPECT_EQ(vexcap_notify(context), 0);
            vexcap_stop(context);
        }
}

TEST(Exports, WorkOnAContextThatWasNeverStarted) {
    QueueWindow window;
    vexcap_context* const context = vexcap_device(window.get(), window.get(), &scripted, nullptr, nullptr, nullptr);
    ASSERT_NE(context, nullptr);
    vex_capability* capabilities = reinterpret_cast<vex_capability*>(16);
    EXPECT_EQ(vexcap_get_capability(context, &capabilities), 0);
    EXPECT_EQ(capabilities, nullptr) << "set to null first";
    EXPECT_EQ(vexcap_get_capability(context, nullptr), 0);
    EXPECT_EQ(vexcap_get_stillimage_capability(context, nullptr), 0);
    capabilities = reinterpret_cast<vex_capability*>(16);
    EXPECT_EQ(vexcap_get_stillimage_capability(context, &capabilities), 0);
    EXPECT_EQ(capabilities, nullptr);
    EXPECT_EQ(vexcap_get_interface(context, nullptr), nullptr);
    EXPECT_EQ(vexcap_get_property(context, nullptr, nullptr), 0);
    EXPECT_EQ(vexcap_video_size(context, nullptr, nullptr), 1);
    int32_t width = -1, height = -1;
    EXPECT_EQ(vexcap_video_size(context, &width, &height), 1);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
    EXPECT_EQ(vexcap_fcapturing(context), 0u);
    EXPECT_EQ(vexcap_recording(context, nullptr), 0);
    vex_recording_counts counts;
    EXPECT_EQ(vexcap_recording(context, &counts), 0) << "nothing was recorded yet";
    vex_char path[260] = u"untouched";
    EXPECT_EQ(vexcap_filepath(context, path), 0);
    EXPECT_EQ(vexcap_filepath(context, nullptr), 0);
    vexcap_stop_capture(context);
    const TempDir directory;
    EXPECT_LT(vexcap_start_capture_astro(context, wide(directory.file("never.ser")).c_str(), 0, 0), 0);
    EXPECT_EQ(vexcap_fcapturing(context), 0u);
    EXPECT_TRUE(directory.files().empty());
    vexcap_stop(context);
}

TEST(Exports, FailToStartACameraThatIsNotThere) {
    QueueWindow window;
    for (const vex_device* device : {&unknown, initialised ? &unknown : &scripted}) {
        vexcap_context* const context = vexcap_device(window.get(), window.get(), device, nullptr, nullptr, nullptr);
        ASSERT_NE(context, nullptr);
        EXPECT_EQ(vexcap_start(context, nullptr, 0, 0, 0, 0), E_FAIL);
        EXPECT_EQ(vexcap_start(context, window.get(), 0xFFFFFFFF, 1, 1, 0), E_FAIL);
        EXPECT_EQ(vexcap_fsource(context), 0u);
        EXPECT_EQ(vexcap_fpreviewing(context), 0u);
        vexcap_stop(context);
    }
}

TEST(Exports, WorkWithoutAnyWindow) {
    vexcap_context* const context = vexcap_device(nullptr, nullptr, &scripted, nullptr, nullptr, nullptr);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(vexcap_start(context, nullptr, 0, 0, 0, 0), initialised ? S_OK : E_FAIL);
    EXPECT_EQ(vexcap_fpreviewing(context), initialised ? 1u : 0u);
    EXPECT_EQ(vexcap_notify(context), 0);
    vexcap_stop(context);
}

TEST(Exports, RefusePathsThatNoFileCanHave) {
    QueueWindow window;
    vexcap_context* const context = vexcap_device(window.get(), window.get(), &scripted, nullptr, nullptr, nullptr);
    ASSERT_NE(context, nullptr);
    vexcap_start(context, nullptr, 0, 0, 0, 0);
    const std::u16string tooLong = u"/tmp/" + std::u16string(300, u'x') + u".ser";
    for (const vex_char* path : {static_cast<const vex_char*>(nullptr), u"", u"/", u"/no/such/folder/a.ser",
                                 u"/proc/version/a.ser", tooLong.c_str()}) {
        EXPECT_LT(vexcap_start_capture_astro(context, path, 0, 0), 0);
        EXPECT_EQ(vexcap_fcapturing(context), 0u);
    }
    vexcap_stop(context);
}

TEST(Exports, ListDevicesForAnyFilter) {
    const std::u16string nested = std::u16string(30'000, u'(') + std::u16string(30'000, u')');
    for (const vex_char* filter :
         {static_cast<const vex_char*>(nullptr), u"", u"(", u"[z-a]", u"\xD800", nested.c_str()}) {
        vex_device* const devices = vexcap_enum_device(filter);
        if (!initialised) {
            EXPECT_EQ(devices, nullptr) << "nothing can be opened yet";
            continue;
        }
        ASSERT_NE(devices, nullptr);
        EXPECT_EQ(std::u16string(devices[0].name), u"$scripted");
        EXPECT_EQ(std::u16string(devices[0].display), u"Scripted camera");
        EXPECT_EQ(devices[0].kind, uint32_t(VEX_KIND_CAMERA));
        EXPECT_EQ(devices[1].name, nullptr);
        EXPECT_EQ(devices[1].display, nullptr);
        EXPECT_EQ(devices[1].kind, 0u);
        vexcap_free_dsvi(devices);
    }
}

TEST(Exports, KeepTheFrameRateInsideOfItsBounds) {
    uint32_t cap = 99, percent = 99;
    vexcap_get_framerate(&cap, &percent);
    EXPECT_EQ(cap, initialised ? 32u : 0u);
    EXPECT_EQ(percent, initialised ? 100u : 0u);
    vexcap_get_framerate(nullptr, nullptr);
    vexcap_set_framerate(100, 5);
    vexcap_get_framerate(&cap, nullptr);
    vexcap_get_framerate(nullptr, &percent);
    EXPECT_EQ(cap, 63u);
    EXPECT_EQ(percent, 10u);
    vexcap_set_framerate(0xFFFFFFFF, 0xFFFFFFFF);
    vexcap_get_framerate(&cap, &percent);
    EXPECT_EQ(cap, 63u);
    EXPECT_EQ(percent, 200u);
    vexcap_set_framerate(32, 100);
    vexcap_factorymode(0xFFFFFFFF);
    vexcap_factorymode(0);
}

TEST(Exports, AnswerNullQueueWindows) {
    vex_message message;
    EXPECT_EQ(vex_window_queue_fd(nullptr), -1);
    EXPECT_EQ(vex_window_queue_next(nullptr, &message), 0);
    EXPECT_EQ(vex_window_queue_next(nullptr, nullptr), 0);
    EXPECT_EQ(vex_window_queue_wait(nullptr, 0), -1);
}

TEST(Exports, MakeNoSettingsRootFromNothing) {
    EXPECT_EQ(vex_key_directory(nullptr), nullptr);
    EXPECT_EQ(vex_key_directory(""), nullptr);
}

#ifndef EXPORTS_AFTER_INIT
TEST(Exports, EndAnEngineThatWasNeverStarted) { EXPECT_EQ(vexcap_fini(), 0); }
#else
TEST(Exports, StartTheEngineWithNothingAtAll) {
    vexcap_init(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0, 0, 0, 0, 1, 0, nullptr, 0, 1, 0);
    EXPECT_EQ(vexcap_enum_device(nullptr), nullptr);
    vexcap_fini();
    vexcap_init(nullptr, u"", u"", u"", u"/no/such/library.so", "", u"/no/such/library.so", 0, 0, 0, 0, 0, 1, 1,
                nullptr, 0, 1, 1);
    EXPECT_EQ(vexcap_enum_device(nullptr), nullptr);
    vexcap_fini();
    const std::string longPrefix(10000, 'p');
    const std::u16string longName(10000, u'n');
    const TempDir directory;
    vex_key* const root = vex_key_directory(directory.path().c_str());
    vexcap_init(root, longName.c_str(), u"../..", u"", longName.c_str(), longPrefix.c_str(), longName.c_str(), 0, 0, 0,
                0, 0, 0, 1, nullptr, 0, 0, 0);
    EXPECT_EQ(vexcap_enum_device(nullptr), nullptr);
    vexcap_fini();
    vex_key_free(root);
    // As the environment made it, which also ends it.
    vexcap_init(nullptr, u"Tests", u"Tests", u"Tests", wide(SCRIPTED_CAMERAS).c_str(), "Hostile", u"", 0, 0, 0, 0, 0, 0,
                1, nullptr, 0, 0, 0);
}
#endif

}  // namespace exports_test
}  // namespace vexcap::test
