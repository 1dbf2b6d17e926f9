/// The library for as long as a host uses it.
#pragma once

#include <vexcap/vexcap.h>

#include <memory>
#include <string>
#include <vector>

#include "hosts/common/device_match.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

/// How the library is started.
struct EngineConfig {
    std::string library = toUtf8(VEXCAP_CAMERA_LIBRARY);  ///< Camera library, UTF-8; empty for none.
    std::string prefix = VEXCAP_CAMERA_PREFIX;            ///< Of its exported names.
    std::string gige;         ///< Value for the variable VEXCAP_GIGE, empty to leave it as it is.
    std::string settings;     ///< Root of the settings, UTF-8; empty for the user's.
    bool noSettings = false;  ///< Nothing is remembered: every setting has its standard value.
    bool gains = false;       ///< The library sets the channel gains of cameras.
    bool direct2d = false;    ///< Pictures are shared with render targets.
};

/// Messages of the library to a host's window.
enum Message : uint32_t { messageEvent = 1, messageSize, messageLimit, messageDarkField, messageFrame, messageStill };

struct WindowDeleter {
    void operator()(vex_window* window) const { vex_window_queue_free(window); }
};
struct KeyDeleter {
    void operator()(vex_key* key) const { vex_key_free(key); }
};

/// What the library is there for; one thing at a time.
enum class Mode {
    Raw,      ///< Cameras alone, whose raw frames can be recorded.
    Pictures  ///< Cameras and video input devices, compressors and media files.
};

/// vexcap_init to vexcap_fini. One at a time. Throws Failure when the library cannot start.
class Engine final {
public:
    Engine(const EngineConfig& config, Mode mode);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Ends the library and starts it anew. No session may exist.
    /// @param directory  Settings are kept there from now on; empty: where they were.
    void Restart(Mode mode, const std::string& directory = {});

    /// From now on the settings of the overlay are the remembered ones, not the standard ones.
    void OpenOverlaySettings() const;

    /// @param expression  For the identifiers of video input devices; empty for all.
    std::vector<Device> Devices(const std::string& expression = {}) const;
    /// The device that a user means, see matchDevice; for an empty text the only one that there is.
    Device Find(const std::string& wanted) const;
    /// What the library named as missing when it started, in sentences, UTF-8; empty for nothing.
    const std::string& Problem() const { return problem; }
    vex_window* Window() const { return window.get(); }

private:
    void Start(Mode mode);
    const EngineConfig config;
    std::string problem;
    std::unique_ptr<vex_key, KeyDeleter> settings;
    const std::unique_ptr<vex_window, WindowDeleter> window;
};

}  // namespace vexcap::host
