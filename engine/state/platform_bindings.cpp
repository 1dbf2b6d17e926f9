#include "engine/state/platform_bindings.h"

#include "engine/state/bind_name.h"

namespace vexcap {
namespace {

void releaseAndNull(IVexUnknown*& object) {
    if (object) object->Release();
    object = nullptr;
}

constexpr vex_guid iidD2dFactory = {0x06152247, 0x6F50, 0x465A, {0x92, 0x45, 0x11, 0x8B, 0xFD, 0x3B, 0x60, 0x07}};
constexpr vex_guid iidDwriteFactory = {0xB859EE5A, 0xD838, 0x4B5B, {0xA2, 0xE8, 0x1A, 0xDC, 0x7D, 0x93, 0xDB, 0x48}};
constexpr uint32_t singleThreadedFactory = 0;
constexpr uint32_t sharedFactory = 0;
using D2D1CreateFactory = HRESULT (*)(uint32_t type, const vex_guid* iid, const void* options, void** factory);
using DWriteCreateFactory = HRESULT (*)(uint32_t type, const vex_guid* iid, IVexUnknown** factory);

}  // namespace

void PlatformBindings::Bind(ILoader& loader, ISystemInfo& system) {
    ReadSystemVersion(loader);
    BindReaderAndWriter(loader);
    BindMediaFoundation(loader, system);
}

void PlatformBindings::ReadSystemVersion(ILoader& loader) {
    windows10 = 0;
    int32_t (*RtlGetVersion)(VersionRecord*) = nullptr;
    bindName(loader, loader.Load(u"ntdll.dll"), "RtlGetVersion", RtlGetVersion);
    VersionRecord version = {};
    version.size = sizeof version;
    if (RtlGetVersion && RtlGetVersion(&version) == 0) windows10 = version.major >= 10;
}

void PlatformBindings::BindReaderAndWriter(ILoader& loader) {
    void* const library = loader.Load(u"wmvcore.dll");
    bindName(loader, library, "WMCreateProfileManager", WMCreateProfileManager);
    bindName(loader, library, "WMCreateWriter", WMCreateWriter);
    bindName(loader, library, "WMCreateWriterNetworkSink", WMCreateWriterNetworkSink);
    bindName(loader, library, "WMCreateWriterFileSink", WMCreateWriterFileSink);
    bindName(loader, library, "WMCreateReader", WMCreateReader);
}

void PlatformBindings::BindMediaFoundation(ILoader& loader, ISystemInfo& system) {
    void* foundation = nullptr;
    void* sinks = nullptr;
    bindName(loader, loader.Load(u"Kernel32.dll"), "GetTickCount64", GetTickCount64);
    // Two version tests on purpose: this one asks what the platform offers to this program, not what it really is.
    const SystemVersion version = system.Version();
    const bool offered = version.major > 6 || (version.major == 6 && version.minor >= 2);
    if (GetTickCount64 && offered) foundation = loader.Load(u"Mfplat.dll");
    bindName(loader, foundation, "MFStartup", MFStartup);
    void* const rest = MFStartup ? foundation : nullptr;
    bindName(loader, rest, "MFCreateMediaType", MFCreateMediaType);
    bindName(loader, rest, "MFCreateMemoryBuffer", MFCreateMemoryBuffer);
    bindName(loader, rest, "MFCreateSample", MFCreateSample);
    bindName(loader, rest, "MFCreateAttributes", MFCreateAttributes);
    bindName(loader, rest, "MFTEnumEx", MFTEnumEx);
    bindName(loader, rest, "MFTEnum2", MFTEnum2);
    bindName(loader, rest, "MFCreateDXGIDeviceManager", MFCreateDXGIDeviceManager);
    if (rest) sinks = loader.Load(u"Mfreadwrite.dll");
    bindName(loader, sinks, "MFCreateSinkWriterFromURL", MFCreateSinkWriterFromURL);
    if (foundation && !MFCreateSinkWriterFromURL) {
        // A sink writer is the whole reason for the others.
        MFStartup = MFCreateMediaType = MFCreateMemoryBuffer = MFCreateSample = nullptr;
        MFCreateAttributes = MFTEnumEx = MFTEnum2 = MFCreateDXGIDeviceManager = nullptr;
        loader.Free(foundation);
    }
    void* const graphics = MFCreateDXGIDeviceManager ? loader.Load(u"dxgi.dll") : nullptr;
    bindName(loader, graphics, "CreateDXGIFactory1", CreateDXGIFactory1);
    void* const devices = CreateDXGIFactory1 ? loader.Load(u"d3d11.dll") : nullptr;
    bindName(loader, devices, "D3D11CreateDevice", D3D11CreateDevice);
}

void PlatformBindings::BindDrawing(ILoader& loader) {
    bindName(loader, loader.Load(u"Kernel32.dll"), "GetUserDefaultLocaleName", userLocaleName);
    if (!userLocaleName) return;
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

void PlatformBindings::Release() {
    releaseAndNull(dwriteFactory);
    releaseAndNull(d2dFactory);
}

}  // namespace vexcap
