// What the tests of the engine and of the folders above its state share: an engine over fakes, a host's windows, and a
// scripted camera library.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "engine/state/engine_state.h"
#include "platform/fake/fake_camera.h"
#include "platform/fake/fake_platform.h"
#include "platform/fake/fake_window.h"

namespace vexcap {

enum : uint32_t {
    eventMessage = 0x400,
    sizeMessage = 0x401,
    limitMessage = 0x402,
    dfcMessage = 0x403,
    frameMessage = 0x404,
    deviceMessage = 0x405,
    stillMessage = 0x406,
};

class EngineFixture : public testing::Test {
protected:
    EngineFixture() : ports(fakes.ports()) {
        engine.platform = &ports;
        scriptCameraLibrary();
    }

    /// The scripted camera library, less one of its names.
    void scriptCameraLibrary(const std::string& without = {}) {
        std::map<std::string, void*> names = {
            {"Test_EnumV2", symbolOf(&FakeCameraLibrary::EnumV2)},
            {"Test_Open", symbolOf(&FakeCameraLibrary::Open)},
            {"Test_OpenStatus", symbolOf(&FakeCameraLibrary::OpenStatus)},
            {"Test_Watch", symbolOf(&FakeCameraLibrary::Watch)},
            {"Test_calc_ClarityFactor", symbolOf(&FakeCameraLibrary::calc_ClarityFactor)},
            {"Test_InitOcl", symbolOf(&FakeCameraLibrary::InitOcl)},
        };
        names.erase(without);
        fakes.loader.add(u"camera.so", names);
    }

    HRESULT init() { return engine.Init(arguments); }

    /// Texts of the boxes that were shown.
    std::vector<std::u16string> boxes() const {
        std::vector<std::u16string> texts;
        for (const FakeMessageBox::Shown& box : fakes.messageBox.shown) texts.push_back(box.text);
        return texts;
    }

    size_t countOf(FakeWindow& window, uint32_t message) {
        size_t count = 0;
        for (const auto& m : window.messages()) count += m.message == message;
        return count;
    }

    FakePlatform fakes;
    Platform ports;
    FakeCameraLibrary library;
    FakeCamera& camera = library.camera;
    FakeWindow owner, preview, deviceWindow, still;
    EngineArguments arguments = {.root = fakes.settings.root(),
                                 .company = u"Company",
                                 .product = u"Product",
                                 .software = u"Software",
                                 .cameraLibrary = u"camera.so",
                                 .prefix = "Test",
                                 .networkLibrary = u"network.so",
                                 .eventMessage = eventMessage,
                                 .sizeMessage = sizeMessage,
                                 .limitMessage = limitMessage,
                                 .dfcMessage = dfcMessage,
                                 .frameMessage = frameMessage,
                                 .networkEnabled = 0,
                                 .astroMode = 1,
                                 .deviceWindow = deviceWindow.native(),
                                 .deviceMessage = deviceMessage,
                                 .direct2d = 0,
                                 .gainBalance = 0};
    EngineState& engine = engineState();
};

}  // namespace vexcap
