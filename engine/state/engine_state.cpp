#include "engine/state/engine_state.h"

#include <vexcap/version.h>

#include <algorithm>
#include <clocale>
#include <string>

#include "base/text.h"
#include "engine/state/bind_name.h"
#include "engine/state/report.h"

namespace vexcap {
namespace {

/// Called by the network library when its list has changed, on any thread, from Init on.
void onDeviceListChanged(int32_t code) {
    const EngineState& engine = engineState();
    if (code == 1 && engine.deviceWindow) engine.deviceWindow->post(engine.deviceWindow, engine.deviceMessage, 0, 0);
}

/// Called by the camera library when its list has changed, on a thread of the library's.
void onCameraListChanged(void*) {
    const EngineState& engine = engineState();
    if (engine.deviceWindow) engine.deviceWindow->post(engine.deviceWindow, engine.deviceMessage, 1, 0);
}

}  // namespace

EngineState& engineState() {
    static EngineState state;
    return state;
}

HRESULT EngineState::Init(const EngineArguments& arguments) {
    Log& log = platform->log;
    std::setlocale(LC_ALL, "");
    factoryMode = 0;
    failure = {};
    productName = textOf(arguments.product);
    softwareName = textOf(arguments.software);
    eventMessage = arguments.eventMessage;
    sizeMessage = arguments.sizeMessage;
    limitMessage = arguments.limitMessage;
    dfcMessage = arguments.dfcMessage;
    frameMessage = arguments.frameMessage;
    astroMode = arguments.astroMode;
    log.Write(VEX_LOG_INFO, u"vexcap %d.%d.%d starts%s", VEXCAP_VERSION_MAJOR, VEXCAP_VERSION_MINOR,
              VEXCAP_VERSION_PATCH, astroMode ? u" in astro mode" : u"");
    networkEnabled = astroMode ? 0 : arguments.networkEnabled;
    deviceWindow = arguments.deviceWindow;
    deviceMessage = arguments.deviceMessage;
    gainBalance = arguments.gainBalance;
    frameRateCap = 32;
    frameRatePercent = 100;
    d2dAvailable = 0;
    totalMemoryMB = uint32_t(std::min<uint64_t>(platform->system.TotalMemory() >> 20, UINT32_MAX));

    BindCameraLibrary(textOf(arguments.cameraLibrary), arguments.prefix ? arguments.prefix : "");
    BindNetworkLibrary(textOf(arguments.networkLibrary));
    libraries.Bind(platform->loader, platform->system);
    BindTexts();

    const std::u16string path = formatText(u"SOFTWARE\\%s\\%s\\vexcap", {std::u16string(textOf(arguments.company)),
                                                                         std::u16string(textOf(arguments.product))});
    auto key = platform->settings.CreateKey(arguments.root, path);
    if (!key.ok() && arguments.root)
        failure.Keep(log, key.code(), textFrom(u"Settings cannot be kept: %s.", ResultText(*this, key.code())));
    rootKey = key.ok() ? std::move(key).value() : nullptr;
    if (rootKey) ReportUnreadSettings(*this, rootKey->Problem());

    if (network.PriFlag) network.PriFlag(networkEnabled ? 2 : 0, 2);
    const HRESULT status = network.Init ? network.Init(onDeviceListChanged, nullptr) : S_OK;
    if (arguments.direct2d) BindDrawing();
    if (camera.Watch && deviceWindow) camera.Watch(onCameraListChanged, nullptr);
    return status;
}

void* EngineState::LoadNamed(std::u16string_view what, std::u16string_view path) {
    std::u16string problem;
    void* const library = platform->loader.Load(path, problem);
    if (library)
        platform->log.Write(VEX_LOG_INFO, u"The %s library %s is loaded", what, path);
    else if (!path.empty())
        failure.Keep(platform->log, VEX_E_NO_MODULE,
                     textFrom(u"The %s library %s cannot be loaded: %s.", what, path, problem));
    return library;
}

void EngineState::BindTexts() {
    constexpr std::u16string_view name = u"libvexcap-i18n.so.1";
    std::u16string problem;
    void* const library = platform->loader.Load(name, problem);
    if (!library) platform->log.Write(VEX_LOG_WARNING, u"The texts of %s cannot be loaded: %s", name, problem);
    bindName(platform->loader, library, "i18n_string", i18n_string);
}

void EngineState::BindCameraLibrary(std::u16string_view path, const char* prefix) {
    ILoader& loader = platform->loader;
    void* const library = LoadNamed(u"camera", path);
    const std::string start = std::string(prefix) + "_";
    bindName(loader, library, start + "EnumV2", camera.EnumV2);
    bindName(loader, library, start + "Open", camera.Open);
    bindName(loader, library, start + "OpenStatus", camera.OpenStatus);
    bindName(loader, library, start + "Watch", camera.Watch);
    bindName(loader, library, start + "calc_ClarityFactor", camera.calc_ClarityFactor);
    bindName(loader, library, start + "InitOcl", camera.InitOcl);
    if (library && !(camera.EnumV2 && camera.Open))
        failure.Keep(platform->log, VEX_E_NO_MODULE,
                     textFrom(u"The camera library %s does not export %s%s.", path, toUtf16(start),
                              camera.EnumV2 ? u"Open" : u"EnumV2"));
}

void EngineState::BindNetworkLibrary(std::u16string_view path) {
    ILoader& loader = platform->loader;
    void* const library = LoadNamed(u"network", path);
    bindName(loader, library, "Zornam_Close", network.Close);
    bindName(loader, library, "Zornam_Enum", network.Enum);
    bindName(loader, library, "Zornam_Init", network.Init);
    bindName(loader, library, "Zornam_Fini", network.Fini);
    bindName(loader, library, "Zornam_Open", network.Open);
    bindName(loader, library, "Zornam_Pause", network.Pause);
    bindName(loader, library, "Zornam_PriFlag", network.PriFlag);
    bindName(loader, library, "Zornam_Record", network.Record);
    bindName(loader, library, "Zornam_Seek", network.Seek);
    bindName(loader, library, "Zornam_Stop", network.Stop);
    bindName(loader, library, "Zornam_get_Duration", network.get_Duration);
    bindName(loader, library, "Zornam_get_FourCC", network.get_FourCC);
    bindName(loader, library, "Zornam_get_Inst", network.get_Inst);
    bindName(loader, library, "Zornam_get_Pos", network.get_Pos);
    bindName(loader, library, "Zornam_get_Size", network.get_Size);
    bindName(loader, library, "Zornam_OpenVideo", network.OpenVideo);
    bindName(loader, library, "Zornam_CloseVideo", network.CloseVideo);
    bindName(loader, library, "Zornam_WriteVideo", network.WriteVideo);
}

void EngineState::BindDrawing() {
    if (!camera.InitOcl || camera.InitOcl() != 0) return;
    // Without targets that share textures the picture stays in memory, whatever the camera library could do.
    d2dAvailable = platform->textures.Available();
    libraries.BindDrawing(platform->loader);
}

HRESULT EngineState::Fini() {
    if (camera.Watch) camera.Watch(nullptr, nullptr);
    libraries.Release();
    return network.Fini ? network.Fini() : 0;
}

void EngineState::SetFrameRate(uint32_t cap, uint32_t percent) {
    frameRateCap = std::min(cap, 63u);
    frameRatePercent = std::clamp(percent, 10u, 200u);
}

std::u16string EngineState::Text(const char* key) const {
    const vex_char* const text = i18n_string ? i18n_string(key) : nullptr;
    return text ? std::u16string(text) : toUtf16(key);
}

SettingsPorts EngineState::Settings() const {
    return {.key = rootKey.get(),
            .clock = platform->clock,
            .folders = platform->folders,
            .encoders = platform->encoders,
            .media = platform->media,
            .productName = productName,
            .astroMode = astroMode != 0,
            .remembersEncoder = libraries.HasSinkWriter()};
}

}  // namespace vexcap
