#include "hosts/common/engine.h"

#include <stdlib.h>

#include "hosts/common/failure.h"
#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

constexpr char16_t company[] = u"vexcap";  // and the product

/// Null where nothing is remembered.
vex_key* openSettings(const EngineConfig& config) {
    if (config.noSettings) return nullptr;
    return config.settings.empty() ? vex_key_user() : vex_key_directory(config.settings.c_str());
}

}  // namespace

Engine::Engine(const EngineConfig& wanted, Mode mode)
    : config(wanted), settings(openSettings(config)), window(vex_window_queue_new()) {
    if (!window) throw Failure(exitFailure, "out of memory or file descriptors");
    // Still before any other thread that could read the environment.
    if (!config.gige.empty()) setenv("VEXCAP_GIGE", config.gige.c_str(), 1);
    // What is drawn is told by each command line alone: nothing of it is read from the settings or kept there.
    marker_init(nullptr, company, company);
    Start(mode);
}

Engine::~Engine() { vexcap_fini(); }

void Engine::Start(Mode mode) {
    const std::u16string cameras = toUtf16(config.library);
    vexcap_init(settings.get(), company, company, company, cameras.c_str(), config.prefix.c_str(), u"", messageEvent,
                messageSize, messageLimit, messageDarkField, messageFrame, 0, mode == Mode::Raw, nullptr, 0,
                config.direct2d, config.gains);
    problem = config.library.empty() ? std::string() : lastErrorText(nullptr);
}

void Engine::Restart(Mode mode, const std::string& directory) {
    vexcap_fini();
    if (!directory.empty()) settings.reset(vex_key_directory(directory.c_str()));
    Start(mode);
}

void Engine::OpenOverlaySettings() const { marker_init(settings.get(), company, company); }

std::vector<Device> Engine::Devices(const std::string& expression) const {
    const std::u16string filter = toUtf16(expression);
    std::vector<Device> devices;
    vex_device* const list = vexcap_enum_device(expression.empty() ? nullptr : filter.c_str());
    for (const vex_device* entry = list; entry && entry->name && entry->display; ++entry) {
        if (entry->kind == VEX_KIND_CAMERA && entry->name[0])
            devices.push_back({printable(toUtf8(entry->display)), toUtf8(entry->name + 1), entry->kind});
        if (entry->kind == VEX_KIND_VIDEO_INPUT)
            devices.push_back({printable(toUtf8(entry->display)), toUtf8(entry->name), entry->kind});
    }
    vexcap_free_dsvi(list);
    return devices;
}

Device Engine::Find(const std::string& wanted) const {
    const std::vector<Device> devices = Devices();
    if (devices.empty() && !problem.empty()) throw Failure(exitNoDevice, "no device found: " + problem);
    if (!wanted.empty()) return matchDevice(devices, wanted);
    if (devices.size() == 1) return devices.front();
    if (devices.empty()) throw Failure(exitNoDevice, "no device found");
    throw Failure(exitUsage, "several devices are there; --device names one of those that \"vexcap devices\" lists");
}

}  // namespace vexcap::host
