#include "hosts/cli/session.h"

#include <poll.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>

#include "hosts/cli/failure.h"
#include "hosts/cli/text.h"

namespace vexcap::cli {

namespace {

enum Message : uint32_t { messageEvent = 1, messageSize, messageLimit, messageDarkField, messageFrame, messageDevice };

constexpr char16_t openMode = VEX_OPEN_ASTRO;

/// Null where nothing is remembered.
vex_key* openSettings(const Options& options) {
    if (options.noSettings) return nullptr;
    return options.settingsDirectory.empty() ? vex_key_user() : vex_key_directory(options.settingsDirectory.c_str());
}

}  // namespace

Engine::Engine(const Options& options) : settings(openSettings(options)), window(vex_window_queue_new()) {
    if (!window) throw Failure(exitFailure, "out of memory or file descriptors");
    // Still before any other thread that could read the environment.
    if (!options.gige.empty()) setenv("VEXCAP_GIGE", options.gige.c_str(), 1);
    const std::u16string library = toUtf16(options.library);
    vexcap_init(settings.get(), u"vexcap", u"vexcap", u"vexcap", library.c_str(), options.prefix.c_str(), u"",
                messageEvent, messageSize, messageLimit, messageDarkField, messageFrame, 0, 1, window.get(),
                messageDevice, 0, 0);
}

Engine::~Engine() { vexcap_fini(); }

std::vector<Device> Engine::Devices() const {
    std::vector<Device> devices;
    vex_device* const list = vexcap_enum_device(nullptr);
    for (const vex_device* entry = list; entry && entry->name && entry->display; ++entry)
        if (entry->kind == VEX_KIND_CAMERA && entry->name[0])
            devices.push_back({toUtf8(entry->display), toUtf8(entry->name + 1)});
    vexcap_free_dsvi(list);
    return devices;
}

Device Engine::Find(const std::string& wanted) const { return matchDevice(Devices(), wanted); }

Session::Session(Engine& engine, const Device& device) : window(engine.Window()), name(device.name) {
    const std::u16string opened = openMode + toUtf16(device.identifier);
    const std::u16string display = toUtf16(device.name);
    const vex_device record = {opened.c_str(), display.c_str(), VEX_KIND_CAMERA, 0};
    context = vexcap_device(window, window, &record, nullptr, nullptr, nullptr);
    if (!context) throw Failure(exitNoDevice, "no such camera: " + name);
    if (vexcap_start(context, nullptr, 0, 0, 0, 0) < 0) {
        vexcap_stop(context);
        throw Failure(exitNoDevice, "cannot open the camera \"" + name + "\"; \"vexcap devices\" lists what is there");
    }
}

Session::~Session() { vexcap_stop(context); }

News Session::Wait(int milliseconds, const Signals& signals) {
    pollfd sources[2] = {{vex_window_queue_fd(window), POLLIN, 0}, {signals.Descriptor(), POLLIN, 0}};
    poll(sources, 2, milliseconds);
    News news;
    vex_message message;
    while (vex_window_queue_next(window, &message)) {
        if (message.message == messageEvent) vexcap_notify(context);
        if (message.message == messageLimit) news.limit = true;
    }
    news.asked = signals.Asked();
    news.lost = !vexcap_fpreviewing(context);
    return news;
}

void Session::WaitForFreshFrame(const Signals& signals) {
    const uint32_t first = Rate().total;
    StallWatch stall(StallSeconds());
    for (;;) {
        const News news = Wait(10, signals);
        if (news.asked) throw Failure(exitAborted, "ended before the recording began");
        const uint32_t total = Rate().total;
        if (news.lost || stall.Stalled(total, steadySeconds()))
            throw Failure(exitDeviceLost, "the camera \"" + name + "\" sends no frames");
        if (total - first >= 2) return;
    }
}

ICamera& Session::Camera() const {
    if (void* const camera = vexcap_get_interface(context, nullptr)) return *static_cast<ICamera*>(camera);
    throw Failure(exitDeviceLost, "the camera \"" + name + "\" is gone");
}

FrameRate Session::Rate() const {
    uint32_t frames = 0, milliseconds = 0, total = 0;
    if (Camera().GetFrameRate(&frames, &milliseconds, &total) < 0) return {};
    return {milliseconds ? frames * 1000.0 / milliseconds : 0, total};
}

Size Session::PictureSize() const {
    ICamera& camera = Camera();
    uint32_t width = 0, height = 0;
    int32_t fullWidth = 0, fullHeight = 0, binning = 0, rotation = 0;
    if (camera.GetRoi(nullptr, nullptr, &width, &height) < 0 || !width || !height) {
        camera.GetSize(&fullWidth, &fullHeight);
        width = static_cast<uint32_t>(fullWidth);
        height = static_cast<uint32_t>(fullHeight);
    }
    camera.GetOption(VEX_OPTION_BINNING, &binning);
    const uint32_t factor = std::max(static_cast<uint32_t>(binning) & 15u, 1u);
    width = width / factor & ~1u;
    height = height / factor & ~1u;
    const bool turned = camera.GetOption(VEX_OPTION_ROTATION, &rotation) >= 0 && (rotation == 90 || rotation == 270);
    return turned ? Size{height, width} : Size{width, height};
}

uint32_t Session::LostFrames() const {
    uint32_t lost = 0;
    const auto status = Query<ICameraStatus>(VEX_IID_CAMERA_STATUS);
    return status && status->GetLostFrames(&lost) >= 0 ? lost : 0;
}

double Session::StallSeconds() const {
    constexpr double patience = 10;
    uint32_t microseconds = 0;
    return Camera().GetExposureTime(&microseconds) >= 0 ? patience + microseconds / 1e6 : patience;
}

bool StallWatch::Stalled(uint32_t total, double now) {
    if (!started || total != seen) {
        started = true;
        seen = total;
        since = now;
    }
    return now - since > longest;
}

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace vexcap::cli
