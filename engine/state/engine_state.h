// The state of the process: what the host asked for at vexcap_init, and the libraries that are bound at run time.
#pragma once

#include <vexcap/camera_library.h>
#include <vexcap/window.h>

#include <atomic>
#include <memory>
#include <string_view>

#include "engine/state/failure.h"
#include "engine/state/network_library.h"
#include "engine/state/platform_bindings.h"
#include "platform/platform.h"
#include "settings/settings_ports.h"

namespace vexcap {

/// The arguments of vexcap_init, in their order.
struct EngineArguments {
    vex_key* root;
    const vex_char* company;
    const vex_char* product;
    const vex_char* software;
    const vex_char* cameraLibrary;
    const char* prefix;
    const vex_char* networkLibrary;
    uint32_t eventMessage;
    uint32_t sizeMessage;
    uint32_t limitMessage;
    uint32_t dfcMessage;
    uint32_t frameMessage;
    uint32_t networkEnabled;
    uint32_t astroMode;
    vex_window* deviceWindow;
    uint32_t deviceMessage;
    int32_t direct2d;
    uint32_t gainBalance;
};

struct CameraLibrary {
    vex_camera_enum EnumV2 = nullptr;
    vex_camera_open Open = nullptr;
    vex_camera_open_status OpenStatus = nullptr;
    vex_camera_watch Watch = nullptr;
    vex_camera_clarity calc_ClarityFactor = nullptr;
    vex_camera_init_ocl InitOcl = nullptr;
};

/// One per process. Written by Init, Fini, SetFrameRate and `factoryMode` alone; read by every thread without a lock.
struct EngineState {
    Platform* platform = nullptr;  ///< Handed in by the composition root, or by a test.

    std::unique_ptr<ISettingsKey> rootKey;  ///< Null when settings cannot be kept.
    std::u16string productName;
    std::u16string softwareName;
    Failure failure;  ///< Of the last Init, or of the last context that was asked for.
    uint32_t eventMessage = 0;
    uint32_t sizeMessage = 0;
    uint32_t limitMessage = 0;
    uint32_t dfcMessage = 0;
    uint32_t frameMessage = 0;
    uint32_t networkEnabled = 0;
    uint32_t astroMode = 0;
    vex_window* deviceWindow = nullptr;
    uint32_t deviceMessage = 0;
    uint32_t gainBalance = 0;
    std::atomic<uint32_t> factoryMode = 0;       ///< For the Diagnose rows.
    std::atomic<uint32_t> frameRateCap = 0;      ///< Bound of the display frame rate; 0: none.
    std::atomic<uint32_t> frameRatePercent = 0;  ///< Share of the rate that suits the frame size.
    uint32_t totalMemoryMB = 0;  ///< For the Diagnose rows, and for broadcasts, which need memory to spare.
    uint32_t d2dAvailable = 0;

    CameraLibrary camera;
    NetworkLibrary network;
    PlatformBindings libraries;
    const vex_char* (*i18n_string)(const char* key) = nullptr;  ///< Texts by key, owned by the library.

    /// Binds everything and opens the settings. No context exists.
    HRESULT Init(const EngineArguments& arguments);
    HRESULT Fini();
    void SetFrameRate(uint32_t cap, uint32_t percent);
    /// The text of a key, or the key itself where no string library knows it.
    std::u16string Text(const char* key) const;
    /// What settings need of the process as it is now.
    SettingsPorts Settings() const;

private:
    /// Loads a library that the host named; null, with a reason kept, when it cannot be loaded.
    void* LoadNamed(std::u16string_view what, std::u16string_view path);
    void BindCameraLibrary(std::u16string_view path, const char* prefix);
    void BindNetworkLibrary(std::u16string_view path);
    void BindTexts();
    void BindDrawing();
};

EngineState& engineState();

}  // namespace vexcap
