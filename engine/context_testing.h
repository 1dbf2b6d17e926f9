// What the tests of contexts share: contexts of a scripted camera.
#pragma once

#include <memory>

#include "engine/capture_context.h"
#include "engine/state/engine_testing.h"
#include "platform/fake/patience.h"

namespace vexcap {

using test::eventually;

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
};

}  // namespace vexcap
