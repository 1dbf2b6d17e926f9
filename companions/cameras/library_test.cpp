// The built library, as a host meets it: by path and by the names of its functions.
#include <vexcap/camera_library.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>

namespace library_test {

struct Closer {
    void operator()(void* library) const { dlclose(library); }
};

class CameraLibrary : public testing::Test {
protected:
    void SetUp() override {
        // No network in this test: the simulated cameras stand for all.
        ASSERT_EQ(unsetenv("VEXCAP_GIGE"), 0);
        library.reset(dlopen(VEXCAP_CAMERAS_PATH, RTLD_NOW | RTLD_LOCAL));
        ASSERT_NE(library, nullptr) << dlerror();
        list = reinterpret_cast<vex_camera_enum>(dlsym(library.get(), "Vexcam_EnumV2"));
        open = reinterpret_cast<vex_camera_open>(dlsym(library.get(), "Vexcam_Open"));
        clarity = reinterpret_cast<vex_camera_clarity>(dlsym(library.get(), "Vexcam_calc_ClarityFactor"));
        initOcl = reinterpret_cast<vex_camera_init_ocl>(dlsym(library.get(), "Vexcam_InitOcl"));
        status = reinterpret_cast<vex_camera_open_status>(dlsym(library.get(), "Vexcam_OpenStatus"));
        ASSERT_TRUE(list && open && clarity && initOcl && status);
    }

    std::unique_ptr<void, Closer> library;
    vex_camera_enum list = nullptr;
    vex_camera_open open = nullptr;
    vex_camera_clarity clarity = nullptr;
    vex_camera_init_ocl initOcl = nullptr;
    vex_camera_open_status status = nullptr;
};

TEST_F(CameraLibrary, EveryListedSimulatedCameraOpensInEveryMode) {
    std::vector<vex_camera_entry> entries(VEX_CAMERA_ENTRIES);
    const uint32_t count = list(entries.data());
    ASSERT_GE(count, 4u);
    ASSERT_LE(count, uint32_t(VEX_CAMERA_ENTRIES));
    for (uint32_t i = count - 4; i < count; ++i)  // the simulated ones stand last
        for (const char16_t mode : {u'$', u'&', u'!'}) {
            std::u16string name(1, mode);
            name += entries[i].identifier;
            ICamera* const camera = open(name.c_str());
            ASSERT_NE(camera, nullptr);
            EXPECT_GE(camera->GetBitDepth(), 8u);
            camera->Close();
        }
}

TEST_F(CameraLibrary, TheSimulatedCamerasCanBeSwitchedOff) {
    std::vector<vex_camera_entry> entries(VEX_CAMERA_ENTRIES);
    const uint32_t with = list(entries.data());
    ASSERT_EQ(setenv("VEXCAP_SIMULATED", "off", 1), 0);
    EXPECT_EQ(list(entries.data()), with - 4);
    EXPECT_EQ(open(u"$sim-fast"), nullptr);
    ASSERT_EQ(unsetenv("VEXCAP_SIMULATED"), 0);
}

TEST_F(CameraLibrary, NullAndUnknownArgumentsAreSurvived) {
    EXPECT_EQ(list(nullptr), 0u);
    EXPECT_EQ(open(nullptr), nullptr);
    EXPECT_EQ(open(u""), nullptr);
    EXPECT_EQ(open(u"$"), nullptr);
    EXPECT_EQ(open(u"$sim-fast;bogus"), nullptr);
    EXPECT_EQ(clarity(nullptr, 24, 100, 100), 0);
    EXPECT_EQ(initOcl(), E_NOTIMPL);
}

TEST_F(CameraLibrary, ItSaysWhyACameraDoesNotOpen) {
    ICamera* const camera = open(u"$sim-fast");
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(status(), S_OK);
    camera->Close();
    const struct {
        const vex_char* name;
        HRESULT why;
    } cases[] = {{nullptr, E_INVALIDARG},
                 {u"$", VEX_E_FILE_NOT_FOUND},
                 {u"$another", VEX_E_FILE_NOT_FOUND},
                 {u"$genicam:no such camera", VEX_E_FILE_NOT_FOUND},
                 {u"$genicam:127.0.0.1", E_ACCESSDENIED},  // no leave to use the network
                 {u"$sim-fast;bogus", E_INVALIDARG},
                 {u"$sim-fast;refuse", E_FAIL},
                 {u"$sim-fast;busy", VEX_E_BUSY}};
    for (const auto& one : cases) {
        EXPECT_EQ(open(one.name), nullptr);
        EXPECT_EQ(status(), one.why) << &one - cases;
    }
    std::thread([&] { EXPECT_EQ(open(u"$sim-fast;refuse"), nullptr); }).join();
    EXPECT_EQ(status(), VEX_E_BUSY) << "each thread has its own";
}

TEST_F(CameraLibrary, ItsListCanBeWatched) {
    const auto watch = reinterpret_cast<vex_camera_watch>(dlsym(library.get(), "Vexcam_Watch"));
    ASSERT_NE(watch, nullptr);
    EXPECT_EQ(watch(nullptr, nullptr), S_OK) << "none to end";
    ASSERT_EQ(watch([](void*) {}, nullptr), S_OK);
    ASSERT_EQ(watch([](void*) {}, nullptr), S_OK) << "the newest alone";
    std::vector<vex_camera_entry> entries(VEX_CAMERA_ENTRIES);
    EXPECT_GE(list(entries.data()), 4u) << "beside the watch";
    EXPECT_EQ(watch(nullptr, nullptr), S_OK);
}

TEST_F(CameraLibrary, ItCanBeClosedAndOpenedAgain) {
    std::vector<vex_camera_entry> entries(VEX_CAMERA_ENTRIES);
    for (int round = 0; round < 3; ++round) {
        EXPECT_GE(list(entries.data()), 4u);
        library.reset();
        SetUp();
    }
}

TEST_F(CameraLibrary, LongIdentifiersAreRead) {
    ICamera* const camera =
        open(u"$sim-fast;seed=12345678901234567;drop-after=100000;stall-after=200000;deterministic");
    ASSERT_NE(camera, nullptr);
    camera->Close();
}

TEST_F(CameraLibrary, NothingElseIsExported) {
    for (const char* const name :
         {"png_read_image", "vexcam_picture_moon", "_ZN6vexcap7cameras17simulatedProviderEv"}) {
        void* const symbol = dlsym(library.get(), name);
        Dl_info info{};
        const bool own = symbol && dladdr(symbol, &info) && std::strstr(info.dli_fname, "vexcap-cameras");
        EXPECT_FALSE(own) << name;
    }
}

}  // namespace library_test
