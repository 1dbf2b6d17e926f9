#include "platform/linux/platform.h"

#include "platform/linux/clock.h"
#include "platform/linux/date_text.h"
#include "platform/linux/file.h"
#include "platform/linux/folders.h"
#include "platform/linux/loader.h"
#include "platform/linux/message_box.h"
#include "platform/linux/plugins/media_plugin.h"
#include "platform/linux/plugins/text_plugin.h"
#include "platform/linux/settings/settings.h"
#include "platform/linux/system_info.h"
#include "platform/linux/video/video_devices.h"

namespace vexcap {
namespace {

/// No accelerated target of this system shares textures with a camera library: pictures stay in memory.
struct NoSharedTextures final : ISharedTextures {
    bool Available() override { return false; }
    std::unique_ptr<ISharedTexture> Create(void*, void*, void*, uint32_t, uint32_t) override { return nullptr; }
};

/// Without a user interface every window counts as cancelled.
struct NoDialogs final : IDialogs {
    bool Show(vex_window*, IQuickRename&) override { return false; }
};

/// No encoder is built in.
struct NoEncoders final : IEncoderCatalogue {
    EncoderOffer Discover() override { return {}; }
};

struct LinuxPlatform {
    Log log;
    LinuxLoader loader;
    LinuxClock clock;
    LinuxFileSystem files;
    LinuxFolders folders;
    LinuxSettings settings;
    LinuxSystemInfo system;
    ConsoleMessageBox messageBox;
    NoDialogs dialogs;
    NoEncoders encoders;
    NoSharedTextures textures;
    LinuxVideoDevices videoDevices;
    PluginHost pluginHost{files};
    MediaPlugin media{loader, pluginHost, log};
    TextPlugin texts{loader, pluginHost, log};
    LinuxDateText dates;
    Platform ports = {loader,   clock,    files,        folders, settings, system, messageBox, dialogs,
                      encoders, textures, videoDevices, media,   texts,    dates,  log};
};

}  // namespace

Platform& linuxPlatform() {
    // Never destroyed: a host may call in while the process ends.
    static LinuxPlatform* const adapters = new LinuxPlatform;
    return adapters->ports;
}

}  // namespace vexcap
