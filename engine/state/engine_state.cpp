#include "engine/state/engine_state.h"

#include <algorithm>
#include <clocale>
#include <string>

#include "base/text.h"

namespace vexcap {
namespace {

template <typename Function>
void bindName(ILoader& loader, void* library, const std::string& name, Function& target) {
    target = library ? reinterpret_cast<Function>(loader.Symbol(library, name.c_str())) : nullptr;
}

void releaseAndNull(IVexUnknown*& object) {
    if (object) object->Release();
    object = nullptr;
}

/// The network library's word that its list changed. It may come from any thread, from Init on.
void onDeviceListChanged(int32_t code) {
    const EngineState& engine = engineState();
    if (code == 1 && engine.deviceWindow) engine.deviceWindow->post(engine.deviceWindow, engine.deviceMessage, 0, 0);
}

constexpr vex_guid iidD2dFactory = {0x06152247, 0x6F50, 0x465A, {0x92, 0x45, 0x11, 0x8B, 0xFD, 0x3B, 0x60, 0x07}};
constexpr vex_guid iidDwriteFactory = {0xB859EE5A, 0xD838, 0x4B5B, {0xA2, 0xE8, 0x1A, 0xDC, 0x7D, 0x93, 0xDB, 0x48}};
constexpr uint32_t singleThreadedFactory = 0;
constexpr uint32_t sharedFactory = 0;
using D2D1CreateFactory = HRESULT (*)(uint32_t type, const vex_guid* iid, const void* options, void** factory);
using DWriteCreateFactory = HRESULT (*)(uint32_t type, const vex_guid* iid, IVexUnknown** factory);

}  // namespace

EngineState& engineState() {
    static EngineState state;
    return state;
}

HRESULT EngineState::Init(const EngineArguments& arguments) {
    std::setlocale(LC_ALL, "");
    factoryMode = 0;
    productName = arguments.product;
    softwareName = arguments.software;
    eventMessage = arguments.eventMessage;
    sizeMessage = arguments.sizeMessage;
    limitMessage = arguments.limitMessage;
    dfcMessage = arguments.dfcMessage;
    frameMessage = arguments.frameMessage;
    astroMode = arguments.astroMode;
    networkEnabled = astroMode ? 0 : arguments.networkEnabled;
    deviceWindow = arguments.deviceWindow;
    deviceMessage = arguments.deviceMessage;
    gainBalance = arguments.gainBalance;
    frameRateCap = 32;
    frameRatePercent = 100;
    d2dAvailable = 0;
    windows10 = 0;
    totalMemoryMB = uint32_t(std::min<uint64_t>(platform->system.TotalMemory() >> 20, UINT32_MAX));

    BindCameraLibrary(textOf(arguments.cameraLibrary), arguments.prefix ? arguments.prefix : "");
    BindNetworkLibrary(textOf(arguments.networkLibrary));
    ReadSystemVersion();
    BindReaderAndWriter();
    BindMediaFoundation();
    bindName(platform->loader, platform->loader.Load(u"libvexcap-i18n.so.1"), "i18n_string", i18n_string);

    const std::u16string path = formatText(u"SOFTWARE\\%s\\%s\\vexcap", {std::u16string(textOf(arguments.company)),
                                                                         std::u16string(textOf(arguments.product))});
    auto key = platform->settings.CreateKey(arguments.root, path);
    rootKey = key.ok() ? std::move(key).value() : nullptr;

    if (network.PriFlag) network.PriFlag(networkEnabled ? 2 : 0, 2);
    const HRESULT status = network.Init ? network.Init(onDeviceListChanged, nullptr) : S_OK;
    if (arguments.direct2d) BindDrawing();
    return status;
}

void EngineState::BindCameraLibrary(std::u16string_view path, const char* prefix) {
    ILoader& loader = platform->loader;
    void* const library = loader.Load(path);
    const std::string start = std::string(prefix) + "_";
    bindName(loader, library, start + "EnumV2", camera.EnumV2);
    bindName(loader, library, start + "Open", camera.Open);
    bindName(loader, library, start + "calc_ClarityFactor", camera.calc_ClarityFactor);
    bindName(loader, library, start + "InitOcl", camera.InitOcl);
}

void EngineState::BindNetworkLibrary(std::u16string_view path) {
    ILoader& loader = platform->loader;
    void* const library = loader.Load(path);
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

void EngineState::ReadSystemVersion() {
    int32_t (*RtlGetVersion)(VersionRecord*) = nullptr;
    bindName(platform->loader, platform->loader.Load(u"ntdll.dll"), "RtlGetVersion", RtlGetVersion);
    VersionRecord version = {};
    version.size = sizeof version;
    if (RtlGetVersion && RtlGetVersion(&version) == 0) windows10 = version.major >= 10;
}

void EngineState::BindReaderAndWriter() {
    ILoader& loader = platform->loader;
    void* const library = loader.Load(u"wmvcore.dll");
    bindName(loader, library, "WMCreateProfileManager", libraries.WMCreateProfileManager);
    bindName(loader, library, "WMCreateWriter", libraries.WMCreateWriter);
    bindName(loader, library, "WMCreateWriterNetworkSink", libraries.WMCreateWriterNetworkSink);
    bindName(loader, library, "WMCreateWriterFileSink", libraries.WMCreateWriterFileSink);
    bindName(loader, library, "WMCreateReader", libraries.WMCreateReader);
}

void EngineState::BindMediaFoundation() {
    ILoader& loader = platform->loader;
    PlatformLibraries& bound = libraries;
    void* foundation = nullptr;
    void* sinks = nullptr;
    bindName(loader, loader.Load(u"Kernel32.dll"), "GetTickCount64", bound.GetTickCount64);
    // Two version tests on purpose: this one asks what the platform offers to this program, not what it really is.
    const SystemVersion version = platform->system.Version();
    const bool offered = version.major > 6 || (version.major == 6 && version.minor >= 2);
    if (bound.GetTickCount64 && offered) foundation = loader.Load(u"Mfplat.dll");
    bindName(loader, foundation, "MFStartup", bound.MFStartup);
    void* const rest = bound.MFStartup ? foundation : nullptr;
    bindName(loader, rest, "MFCreateMediaType", bound.MFCreateMediaType);
    bindName(loader, rest, "MFCreateMemoryBuffer", bound.MFCreateMemoryBuffer);
    bindName(loader, rest, "MFCreateSample", bound.MFCreateSample);
    bindName(loader, rest, "MFCreateAttributes", bound.MFCreateAttributes);
    bindName(loader, rest, "MFTEnumEx", bound.MFTEnumEx);
    bindName(loader, rest, "MFTEnum2", bound.MFTEnum2);
    bindName(loader, rest, "MFCreateDXGIDeviceManager", bound.MFCreateDXGIDeviceManager);
    if (rest) sinks = loader.Load(u"Mfreadwrite.dll");
    bindName(loader, sinks, "MFCreateSinkWriterFromURL", bound.MFCreateSinkWriterFromURL);
    if (foundation && !bound.MFCreateSinkWriterFromURL) {
        // A sink writer is the whole reason for the others.
        bound.MFStartup = bound.MFCreateMediaType = bound.MFCreateMemoryBuffer = bound.MFCreateSample = nullptr;
        bound.MFCreateAttributes = bound.MFTEnumEx = bound.MFTEnum2 = bound.MFCreateDXGIDeviceManager = nullptr;
        loader.Free(foundation);
    }
    void* const graphics = bound.MFCreateDXGIDeviceManager ? loader.Load(u"dxgi.dll") : nullptr;
    bindName(loader, graphics, "CreateDXGIFactory1", bound.CreateDXGIFactory1);
    void* const devices = bound.CreateDXGIFactory1 ? loader.Load(u"d3d11.dll") : nullptr;
    bindName(loader, devices, "D3D11CreateDevice", bound.D3D11CreateDevice);
}

void EngineState::BindDrawing() {
    ILoader& loader = platform->loader;
    if (!camera.InitOcl || camera.InitOcl() != 0) return;
    // Without targets that share textures the picture stays in memory, whatever the camera library could do.
    d2dAvailable = platform->textures.Available();
    bindName(loader, loader.Load(u"Kernel32.dll"), "GetUserDefaultLocaleName", libraries.userLocaleName);
    if (!libraries.userLocaleName) return;
    D2D1CreateFactory createDrawing = nullptr;
    bindName(loader, loader.Load(u"d2d1.dll"), "D2D1CreateFactory", createDrawing);
    if (!createDrawing) return;
    void* drawing = nullptr;
    createDrawing(singleThreadedFactory, &iidD2dFactory, nullptr, &drawing);
    d2dFactory = static_cast<IVexUnknown*>(drawing);
    if (!d2dFactory) return;
    DWriteCreateFactory createText = nullptr;
    bindName(loader, loader.Load(u"dwrite.dll"), "DWriteCreateFactory", createText);
    if (createText) createText(sharedFactory, &iidDwriteFactory, &dwriteFactory);
    // Left unreleased on purpose: the process keeps the drawing factory to its end.
    if (!dwriteFactory) d2dFactory = nullptr;
}

HRESULT EngineState::Fini() {
    releaseAndNull(dwriteFactory);
    releaseAndNull(d2dFactory);
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
            .productName = textOf(productName),
            .astroMode = astroMode != 0,
            .remembersEncoder = libraries.MFCreateSinkWriterFromURL != nullptr};
}

}  // namespace vexcap
