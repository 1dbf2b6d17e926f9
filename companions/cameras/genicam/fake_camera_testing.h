// A camera of Aravis' own interface inside the process: a real feature tree, real streams and threads, and our pixels.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

#include "companions/cameras/genicam/camera.h"
#include "companions/cameras/genicam/gige_testing.h"

namespace vexcap::cameras {

using namespace std::chrono_literals;

inline uint8_t shade8(uint32_t x, uint32_t y) { return uint8_t(x * 3 + y * 7 + x * y); }
inline uint16_t shade16(uint32_t x, uint32_t y) { return uint16_t(x * 259 + y * 517 + x * y); }

/// What the camera's picture is made of, and what it is made with.
struct Pattern {
    std::atomic<uint32_t> exposure{0};
    std::atomic<uint32_t> gain{0};
    std::atomic<int> holdMilliseconds{0};

    static void fill(ArvBuffer* buffer, void* self, guint32 exposure, guint32 gain, ArvPixelFormat format) {
        auto& pattern = *static_cast<Pattern*>(self);
        pattern.exposure = exposure;
        pattern.gain = gain;
        if (const int hold = pattern.holdMilliseconds) std::this_thread::sleep_for(std::chrono::milliseconds(hold));
        const auto width = uint32_t(arv_buffer_get_image_width(buffer));
        const auto height = uint32_t(arv_buffer_get_image_height(buffer));
        auto* const data = static_cast<uint8_t*>(const_cast<void*>(arv_buffer_get_data(buffer, nullptr)));
        const bool deep = format == ARV_PIXEL_FORMAT_MONO_16;
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const size_t at = size_t(y) * width + x;
                if (deep) {
                    data[2 * at] = uint8_t(shade16(x, y));
                    data[2 * at + 1] = uint8_t(shade16(x, y) >> 8);
                } else {
                    data[at] = shade8(x, y);
                }
            }
    }
};

/// One camera of the interface, opened as `format`, small and quick, with a host.
class GenicamCameraTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        arv_disable_interface("GigEVision");
        arv_enable_interface("Fake");
    }

    void open(ArvPixelFormat format = ARV_PIXEL_FORMAT_MONO_8, std::chrono::milliseconds patience = 3000ms) {
        ArvError error;
        GObjectPtr<ArvCamera> opened(arv_camera_new("Fake_1", error.out()));
        ASSERT_TRUE(opened);
        arv_camera_set_pixel_format(opened.get(), format, error.out());
        arv_fake_camera_set_fill_pattern(
            arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(arv_camera_get_device(opened.get()))), &Pattern::fill,
            &pattern);
        inside.reset(static_cast<ArvCamera*>(g_object_ref(opened.get())));
        const auto made = GenicamCamera::create(std::move(opened), patience);
        ASSERT_TRUE(made.ok());
        camera = made.value();
        controls.emplace(camera, VEX_IID_CAMERA_CONTROLS);
        status.emplace(camera, VEX_IID_CAMERA_STATUS);
        raw.emplace(camera, VEX_IID_CAMERA_RAW);
        ASSERT_TRUE(controls->get() && status->get() && raw->get());
    }
    void start() {
        ASSERT_EQ((*controls)->Put(VEX_CONTROL_FRAME_RATE, 100), S_OK);
        ASSERT_EQ(host.start(camera, raw->get()), S_OK);
    }
    void close() {
        raw.reset();
        status.reset();
        controls.reset();
        if (camera) camera->Close();
        camera = nullptr;
    }
    void TearDown() override { close(); }

    gint64 feature(const char* name) {
        ArvError error;
        return arv_camera_get_integer(inside.get(), name, error.out());
    }
    uint32_t lost() {
        uint32_t count = 0;
        EXPECT_EQ((*status)->GetLostFrames(&count), S_OK);
        return count;
    }
    uint32_t state() {
        uint32_t value = 99;
        EXPECT_EQ((*status)->GetState(&value), S_OK);
        return value;
    }

    Pattern pattern;
    FakeHost host;
    GObjectPtr<ArvCamera> inside;  // the same camera, past our code
    ICamera* camera = nullptr;
    std::optional<Ask<ICameraControls>> controls;
    std::optional<Ask<ICameraStatus>> status;
    std::optional<Ask<ICameraRaw>> raw;
};

}  // namespace vexcap::cameras
