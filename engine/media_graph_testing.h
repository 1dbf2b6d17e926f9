// What the tests of the graph roads share: contexts of a scripted video input device.
#pragma once

#include <chrono>
#include <memory>
#include <sstream>

#include "base/dib.h"
#include "engine/context_testing.h"
#include "recording/avi_testing.h"

namespace vexcap {

/// Grey frames of 8x4 or 16x4 pixels, and colour ones of 8x4.
class DeviceFixture : public ContextFixture {
protected:
    static constexpr const vex_char* deviceName = u"@device:v4l2:usb#vid_046d&pid_0825#1#video0";
    static constexpr uint32_t grey = fourcc("Y800"), mosaic = fourcc("RGGB");

    DeviceFixture() {
        arguments.astroMode = 0;
        script = &fakes.videoDevices.add(deviceName, u"A webcam");
        script->formats = {format(grey, 8, 4), format(grey, 16, 4), format(mosaic, 8, 4)};
        script->present = script->formats[0];
        script->strideOf = [](const VideoFormat& f) { return f.width; };
        init();
    }
    ~DeviceFixture() override { context.reset(); }

    static VideoFormat format(uint32_t code, uint32_t width, uint32_t height) {
        return {code, width, height, width, height, width, height, 100'000, 2'000'000};
    }

    void make() {
        const vex_device device = {deviceName, u"A webcam", VEX_KIND_VIDEO_INPUT, 0};
        context = CaptureContext::Create(engine, owner.native(), preview.native(), &device, nullptr, nullptr, nullptr);
        ASSERT_TRUE(context);
    }
    HRESULT start(uint32_t retryStart = 0) {
        if (!context) make();
        return context->Start(nullptr, 0, 0, 0, retryStart).code();
    }

    /// Lets the device give a frame once its thread waits for one.
    void push(FakeVideoFrame frame) {
        using Units = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
        script->waitUntilDrained();
        frame.time = std::chrono::duration_cast<Units>(std::chrono::steady_clock::now().time_since_epoch()).count();
        script->push(frame);
    }
    /// Lets the device give a frame whose bytes are all `fill`, and waits until it is shown.
    void show(uint8_t fill) {
        const size_t before = countOf(preview, frameMessage);
        push({.fill = fill});
        ASSERT_TRUE(eventually([&] { return countOf(preview, frameMessage) > before; }));
    }
    /// Blue, green and red of a pixel of the picture, counted from the top left.
    std::vector<uint16_t> pixel(int32_t x, int32_t y) {
        std::vector<uint16_t> rgb(3);
        const vex_point point = {x, y};
        uint32_t maximum = 0;
        if (context->Preview().GetPixels(&point, 1, rgb.data(), &maximum) != 1) rgb.clear();
        return rgb;
    }
    /// Answers events until the preview has stopped.
    [[nodiscard]] bool lostPreview() {
        return eventually([&] {
            if (countOf(preview, eventMessage)) context->Notify();
            return !context->Previewing();
        });
    }

    test::AviContent fileAt(std::u16string_view path) {
        const std::vector<uint8_t> bytes = fakes.files.bytes(path);
        std::istringstream stream(std::string(bytes.begin(), bytes.end()));
        return test::readAvi(stream);
    }
    /// First byte of each frame in the file.
    std::vector<int> framesOf(std::u16string_view path) {
        const std::vector<uint8_t> bytes = fakes.files.bytes(path);
        std::vector<int> first;
        for (const test::AviFrame& frame : fileAt(path).frames()) first.push_back(bytes.at(frame.position));
        return first;
    }

    FakeVideoScript* script = nullptr;
    std::unique_ptr<CaptureContext> context;
};

}  // namespace vexcap
