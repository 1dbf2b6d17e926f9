// The whole library in front of a video device of the kernel: runs inside the virtual machine of v4l2_vm.sh.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <memory>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "recording/avi_testing.h"
#include "tests/support/queue_window.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace {

constexpr int slow = 60'000;  // milliseconds; the machine is an emulated one

/// Presses a button of the driver, at its first capture node: that of the device that is listed first.
void press(uint32_t button) {
    for (int number = 0; number < 10; ++number) {
        const int node = ::open(("/dev/video" + std::to_string(number)).c_str(), O_RDWR | O_CLOEXEC);
        if (node < 0) continue;
        v4l2_capability told = {};
        const bool captures =
            ::ioctl(node, VIDIOC_QUERYCAP, &told) == 0 && (told.device_caps & V4L2_CAP_VIDEO_CAPTURE) != 0;
        v4l2_control wanted = {button, 1};
        if (captures) {
            EXPECT_EQ(::ioctl(node, VIDIOC_S_CTRL, &wanted), 0) << std::strerror(errno);
        }
        ::close(node);
        if (captures) return;
    }
    ADD_FAILURE() << "no capture node";
}
constexpr uint32_t disconnectButton = 0x00f0f041;

class VideoInput : public testing::Test {
protected:
    VideoInput()
        : engine({.library = "no-such-camera-library.so", .noSettings = true}, host::Mode::Pictures),
          devices(vexcap_enum_device(u"vivid")) {}
    ~VideoInput() override {
        context.reset();
        vexcap_free_dsvi(devices);
    }
    void start() {
        ASSERT_NE(devices, nullptr);
        context = std::make_unique<host::Context>(
            window.get(), host::Device{narrow(devices[0].display), narrow(devices[0].name), VEX_KIND_VIDEO_INPUT});
        ASSERT_EQ(context->Start(), S_OK);
    }
    /// Chooses a format by its layout and size.
    HRESULT choose(uint32_t layout, int32_t width, int32_t height) {
        vex_capability* list = nullptr;
        const int32_t count = vexcap_get_capability(context->get(), &list);
        HRESULT result = E_INVALIDARG;
        for (int32_t i = 0; i < count; ++i) {
            const vex_bitmap_header& header = list[i].header;
            if (header.biCompression != layout || header.biWidth != width || std::abs(header.biHeight) != height)
                continue;
            result = vexcap_put_format(context->get(), uint32_t(i));
            break;
        }
        vexcap_free_capability(list);
        return result;
    }
    bool frames(size_t count) {
        window.forget();
        return window.pumpUntil([&] { return window.count(host::messageFrame) >= count; }, slow);
    }

    host::Engine engine;
    QueueWindow window;
    vex_device* const devices;
    std::unique_ptr<host::Context> context;
};

constexpr uint32_t code(const char (&name)[5]) {
    return uint32_t(name[0]) | uint32_t(name[1]) << 8 | uint32_t(name[2]) << 16 | uint32_t(name[3]) << 24;
}

TEST_F(VideoInput, IsListedByTheFilterAndShown) {
    ASSERT_NE(devices, nullptr);
    EXPECT_EQ(devices[0].kind, uint32_t(VEX_KIND_VIDEO_INPUT));
    EXPECT_EQ(narrow(devices[0].display), "vivid");
    vex_device* const none = vexcap_enum_device(u"nothing like this");
    EXPECT_EQ(none, nullptr);
    start();
    EXPECT_TRUE(frames(3));
}

TEST_F(VideoInput, IsRecordedInEveryLayoutAndTheFileIsWhole) {
    start();
    const uint32_t layouts[] = {code("YUY2"), code("UYVY"), code("NV12"), code("Y800"),
                                code("Y16 "), code("RGGB"), code("RG12"), 0,
                                code("RGB3")};
    for (const uint32_t layout : layouts) {
        ASSERT_EQ(choose(layout, 320, 180), S_OK) << std::hex << layout;
        const std::string path = "/run/film.avi";
        ASSERT_EQ(vexcap_start_capture_avi(context->get(), wide(path).c_str(), nullptr, 0), S_OK);
        ASSERT_TRUE(window.pumpUntil([&] { return context->Counts().written >= 3; }, slow)) << std::hex << layout;
        vexcap_stop_capture(context->get());
        std::ifstream in(path, std::ios::binary);
        const AviContent film = readAvi(in);
        EXPECT_TRUE(film.faults.empty());
        EXPECT_EQ(film.bitmap.width, 320u);
        EXPECT_GE(film.frames().size(), 3u);
        EXPECT_TRUE(vexcap_fpreviewing(context->get()));
    }
}

TEST_F(VideoInput, ADarkFieldTakesTheStandingPictureAway) {
    start();
    ASSERT_EQ(choose(code("YUY2"), 320, 180), S_OK);
    ASSERT_TRUE(frames(1));
    ASSERT_EQ(vexcap_dfc_capture(context->get(), 2), 1);
    ASSERT_TRUE(window.pumpUntil([&] { return vexcap_has_dfc(context->get()) == 1; }, slow));
    vexcap_dfc_enable(context->get(), 1);
    ASSERT_EQ(vexcap_dfc_export(context->get(), u"/run/dark.bmp"), S_OK);
    EXPECT_EQ(vexcap_dfc_import(context->get(), u"/run/dark.bmp"), S_OK);
    const std::string path = "/run/dark.avi";
    ASSERT_EQ(vexcap_start_capture_avi(context->get(), wide(path).c_str(), nullptr, 0), S_OK);
    ASSERT_TRUE(window.pumpUntil([&] { return context->Counts().written >= 2; }, slow));
    vexcap_stop_capture(context->get());
    // The colour bars stand still, so a corner of them is black now.
    std::ifstream in(path, std::ios::binary);
    const AviContent film = readAvi(in);
    ASSERT_GE(film.frames().size(), 1u);
    in.clear();
    in.seekg(std::streamoff(film.frames()[0].position));
    char corner[30];
    in.read(corner, sizeof corner);
    for (const char byte : corner) EXPECT_LE(uint8_t(byte), 3);
}

TEST_F(VideoInput, APulledPlugIsToldAndEveryCallReturns) {
    start();
    ASSERT_TRUE(frames(1));
    const std::string path = "/run/cut.avi";
    ASSERT_EQ(vexcap_start_capture_avi(context->get(), wide(path).c_str(), nullptr, 0), S_OK);
    ASSERT_TRUE(window.pumpUntil([&] { return context->Counts().written >= 2; }, slow));
    press(disconnectButton);
    ASSERT_TRUE(window.pumpUntil(
        [&] {
            if (window.count(host::messageEvent)) vexcap_notify(context->get());
            return !vexcap_fcapturing(context->get());
        },
        slow));
    EXPECT_EQ(vexcap_fpreviewing(context->get()), 0u);
    std::ifstream in(path, std::ios::binary);
    const AviContent film = readAvi(in);
    EXPECT_TRUE(film.faults.empty());
    EXPECT_GE(film.frames().size(), 2u);
}

}  // namespace
}  // namespace vexcap::test
