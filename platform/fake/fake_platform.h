// All fakes together, as one platform.
#pragma once

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_loader.h"
#include "platform/fake/fake_message_box.h"
#include "platform/fake/fake_settings.h"
#include "platform/fake/fake_system_info.h"
#include "platform/fake/fake_texture.h"
#include "platform/platform.h"

namespace vexcap {

struct FakePlatform {
    FakeLoader loader;
    FakeClock clock;
    FakeDisk files;
    FakeSettings settings;
    FakeSystemInfo system;
    FakeMessageBox messageBox;
    FakeTextures textures;

    /// Refers to the fakes above, which must outlive it.
    Platform ports() { return {loader, clock, files, settings, system, messageBox, textures}; }
};

}  // namespace vexcap
