// What the tests of contexts share: contexts of a scripted camera.
#pragma once

#include <chrono>
#include <memory>
#include <thread>

#include "engine/capture_context.h"
#include "engine/state/engine_testing.h"

namespace vexcap {

class ContextFixture : public EngineFixture {
protected:
    std::unique_ptr<CaptureContext> makeContext(const vex_char* name = u"$camera", uint32_t kind = VEX_KIND_CAMERA) {
        const vex_device device = {name, u"A camera", kind, 0};
        return CaptureContext::Create(engine, owner.native(), preview.native(), &device, nullptr, nullptr, nullptr);
    }

    /// A context of the scripted camera whose preview runs.
    std::unique_ptr<CaptureContext> startedContext() {
        init();
        auto context = makeContext();
        EXPECT_EQ(context->Start(nullptr, 0, 0, 0, 0).code(), S_OK);
        return context;
    }

    /// Waits for something that another thread brings about.
    template <typename Condition>
    [[nodiscard]] static bool eventually(Condition holds) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!holds()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }
};

}  // namespace vexcap
