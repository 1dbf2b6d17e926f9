// What another system's media and drawing components offer where they exist. On a system without them the loader
// answers their names, or does not: a name that is missing switches off what needs it.
#pragma once

#include <vexcap/camera_library.h>

#include <cstdint>

#include "platform/loader.h"
#include "platform/system_info.h"

namespace vexcap {

/// Functions by name, null when missing. Their callers know their types.
struct PlatformBindings {
    // Writing and reading WMV, and serving it on the network.
    void* WMCreateProfileManager = nullptr;
    void* WMCreateWriter = nullptr;
    void* WMCreateWriterNetworkSink = nullptr;
    void* WMCreateWriterFileSink = nullptr;
    void* WMCreateReader = nullptr;
    uint64_t (*GetTickCount64)() = nullptr;
    // Encoding to MP4. The first eight are there only together with the sink writer.
    void* MFStartup = nullptr;
    void* MFCreateMediaType = nullptr;
    void* MFCreateMemoryBuffer = nullptr;
    void* MFCreateSample = nullptr;
    void* MFCreateAttributes = nullptr;
    void* MFTEnumEx = nullptr;
    void* MFTEnum2 = nullptr;
    void* MFCreateDXGIDeviceManager = nullptr;
    void* MFCreateSinkWriterFromURL = nullptr;
    // Graphics processors that encode.
    void* CreateDXGIFactory1 = nullptr;
    void* D3D11CreateDevice = nullptr;
    // Text on accelerated render targets.
    int32_t (*userLocaleName)(vex_char* buffer, int32_t room) = nullptr;
    IVexUnknown* d2dFactory = nullptr;     ///< Owned; there only together with dwriteFactory.
    IVexUnknown* dwriteFactory = nullptr;  ///< Owned.

    uint32_t windows10 = 0;  ///< The system's true major version is 10 or more: for the choice of an encoder.

    /// Binds all but text.
    void Bind(ILoader& loader, ISystemInfo& system);
    /// Binds text and makes its two factories.
    void BindDrawing(ILoader& loader);
    /// Releases the factories.
    void Release();

    bool MayWriteWmv() const { return WMCreateProfileManager != nullptr; }
    bool HasSinkWriter() const { return MFCreateSinkWriterFromURL != nullptr; }

private:
    void ReadSystemVersion(ILoader& loader);
    void BindReaderAndWriter(ILoader& loader);
    void BindMediaFoundation(ILoader& loader, ISystemInfo& system);
};

}  // namespace vexcap
