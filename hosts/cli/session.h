/// The library as this program uses it: the engine for the length of a command, and one running camera.
#pragma once

#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <memory>
#include <string>
#include <vector>

#include "hosts/cli/device_match.h"
#include "hosts/cli/options.h"
#include "hosts/cli/signals.h"

namespace vexcap::cli {

struct WindowDeleter {
    void operator()(vex_window* window) const { vex_window_queue_free(window); }
};
struct InterfaceDeleter {
    void operator()(IVexUnknown* object) const { object->Release(); }
};
struct KeyDeleter {
    void operator()(vex_key* key) const { vex_key_free(key); }
};
/// An interface of the camera, given back when it goes out of scope; keep it no longer than one function.
template <typename Interface>
using CameraInterface = std::unique_ptr<Interface, InterfaceDeleter>;

/// One at a time, with the settings that the options choose. Throws Failure when the library cannot start.
class Engine final {
public:
    explicit Engine(const Options& options);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    std::vector<Device> Devices() const;
    /// The camera that a user means, see matchDevice.
    Device Find(const std::string& wanted) const;
    vex_window* Window() const { return window.get(); }

private:
    const std::unique_ptr<vex_key, KeyDeleter> settings;
    const std::unique_ptr<vex_window, WindowDeleter> window;
};

/// What came in while a session waited.
struct News {
    bool asked = false;  ///< The user wants to end.
    bool lost = false;   ///< The camera is gone.
    bool limit = false;  ///< The recording ended at its limit.
};

struct FrameRate {
    double perSecond = 0;
    uint32_t total = 0;  ///< Frames since the camera was started.
};

struct Size {
    uint32_t width = 0;
    uint32_t height = 0;
};

/// An open camera. The engine outlives it.
class Session final {
public:
    /// Opens and starts it; Failure exitNoDevice when that fails.
    Session(Engine& engine, const Device& device);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Waits until something comes in, at most so long, and takes all that came.
    News Wait(int milliseconds, const Signals& signals);
    /// Waits for the frame behind the next one, which is the first that surely has settings made before this call.
    /// Failure exitAborted when the user wants to end, exitDeviceLost when no frame comes.
    void WaitForFreshFrame(const Signals& signals);

    vexcap_context* Context() const { return context; }
    /// The camera; Failure exitDeviceLost when there is none any more.
    ICamera& Camera() const;
    /// Null when the camera does not have it, or is gone.
    template <typename Interface>
    CameraInterface<Interface> Query(const vex_guid& identifier) const {
        void* out = nullptr;
        if (void* const camera = vexcap_get_interface(context, nullptr))
            static_cast<ICamera*>(camera)->QueryInterface(identifier, &out);
        return CameraInterface<Interface>(static_cast<Interface*>(out));
    }

    FrameRate Rate() const;
    /// Size of the frames that come: after region of interest, binning and rotation.
    Size PictureSize() const;
    /// Frames that the camera lost since it was started; 0 when it cannot tell.
    uint32_t LostFrames() const;
    /// After this time without a frame the camera counts as stalled.
    double StallSeconds() const;

private:
    vex_window* const window;
    const std::string name;
    vexcap_context* context = nullptr;
};

/// Notices that no frame comes any more.
class StallWatch final {
public:
    explicit StallWatch(double longestSeconds) : longest(longestSeconds) {}
    /// @param total  Frames so far.
    /// @param now    Seconds of a steady clock.
    bool Stalled(uint32_t total, double now);

private:
    const double longest;
    bool started = false;
    uint32_t seen = 0;
    double since = 0;
};

/// Seconds of a steady clock.
double steadySeconds();

}  // namespace vexcap::cli
