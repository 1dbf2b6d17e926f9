#include "platform/linux/platform.h"

#include "platform/linux/clock.h"
#include "platform/linux/file.h"
#include "platform/linux/loader.h"
#include "platform/linux/message_box.h"
#include "platform/linux/settings.h"
#include "platform/linux/system_info.h"

namespace vexcap {
namespace {

/// No accelerated target of this system shares textures with a camera library: pictures stay in memory.
struct NoSharedTextures final : ISharedTextures {
    bool Available() override { return false; }
    std::unique_ptr<ISharedTexture> Create(void*, void*, void*, uint32_t, uint32_t) override { return nullptr; }
};

struct LinuxPlatform {
    LinuxLoader loader;
    LinuxClock clock;
    LinuxFileSystem files;
    LinuxSettings settings;
    LinuxSystemInfo system;
    ConsoleMessageBox messageBox;
    NoSharedTextures textures;
    Platform ports = {loader, clock, files, settings, system, messageBox, textures};
};

}  // namespace

Platform& linuxPlatform() {
    // Never destroyed: a host may call in while the process ends.
    static LinuxPlatform* const adapters = new LinuxPlatform;
    return adapters->ports;
}

}  // namespace vexcap
