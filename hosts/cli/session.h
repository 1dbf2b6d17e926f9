/// The library as this program uses it: the engine for the length of a command, and one running source.
#pragma once

#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <memory>
#include <optional>
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

/// What the library is there for; one thing at a time.
enum class Mode {
    Raw,      ///< Cameras alone, whose raw frames can be recorded.
    Pictures  ///< Cameras and video input devices, compressors and media files.
};

/// One at a time, with the settings that the options choose. Throws Failure when the library cannot start.
class Engine final {
public:
    Engine(const Options& options, Mode mode);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Ends the library and starts it anew. No session may exist.
    /// @param directory  Settings are kept there from now on; empty: where they were.
    void Restart(Mode mode, const std::string& directory = {});

    /// @param expression  For the identifiers of video input devices; empty for all.
    std::vector<Device> Devices(const std::string& expression = {}) const;
    /// The device that a user means, see matchDevice; for an empty text the only one that there is.
    Device Find(const std::string& wanted) const;
    vex_window* Window() const { return window.get(); }

private:
    void Start(Mode mode);
    const std::string library, prefix;
    std::unique_ptr<vex_key, KeyDeleter> settings;
    const std::unique_ptr<vex_window, WindowDeleter> window;
};

/// How far the taking of a dark frame is.
struct DarkProgress {
    uint32_t taken = 0;
    bool done = false;
};

/// What came in while a session waited.
struct News {
    bool asked = false;  ///< The user wants to end.
    bool lost = false;   ///< The preview does not run any more: the device is gone, or a recording has its place.
    bool frame = false;  ///< There is a new frame.
    bool still = false;  ///< There is a new still.
    /// Frames since the start when the source told something; its end may show one more.
    std::optional<uint32_t> framesAtEvent;
    bool limit = false;  ///< The recording ended at its limit.
    std::optional<DarkProgress> dark;
};

struct FrameRate {
    double perSecond = 0;
    uint32_t total = 0;  ///< Frames since the source was started.
};

/// A media file as a source.
struct MediaFile {
    std::string path;  ///< UTF-8.
};

/// An open source: a camera, a video input device, or a file that is played. The engine outlives it.
class Session final {
public:
    /// Opens and starts it; Failure exitNoDevice when that fails.
    /// @param stills  A video input device is started so that it takes stills where it can; a camera always is.
    Session(Engine& engine, const Device& device, bool stills = false);
    /// Opens the file and plays it. Failure exitNoMedia when nothing that plays is installed, exitNoVideo when the file
    /// has no video, exitFailure when it cannot be read.
    Session(Engine& engine, const MediaFile& file);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Waits until something comes in, at most so long, and takes all that came.
    News Wait(int milliseconds, const Signals& signals);
    /// Waits for the frame behind the next one, which is the first that surely has settings made before this call.
    /// Failure exitAborted when the user wants to end, exitDeviceLost when no frame comes.
    void WaitForFreshFrame(const Signals& signals);
    /// Waits for a picture that came after this call. Fails as WaitForFreshFrame does.
    void WaitForPicture(const Signals& signals);
    /// Waits for the still that was asked for. Fails as WaitForFreshFrame does.
    void WaitForStill(const Signals& signals);

    vexcap_context* Context() const { return context; }
    /// The camera of a session with one; Failure exitDeviceLost when it is gone.
    ICamera& Camera() const;
    /// Null when the camera does not have it, or is gone, and for every other source.
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
    /// Bits of a camera's raw sample; 0 when it cannot tell, and for every other source.
    uint32_t RawDepth() const;
    /// Frames that the camera lost since it was started; 0 when it cannot tell, and for every other source.
    uint32_t LostFrames() const;
    /// The camera's own word that it is gone or broken; false when it cannot tell, and for every other source.
    bool CameraFailed() const;
    /// After this time without a frame the device counts as stalled.
    double StallSeconds() const;

    /// What the device offers, in the order of the library. Failure exitFailure when it cannot tell.
    std::vector<Format> Formats() const;
    /// The same for stills; empty where there are none.
    std::vector<Format> StillFormats() const;
    /// Sets one of them; returns when frames have it. Failure exitUsage when it is not offered, exitFailure when the
    /// device does not take it.
    void SetFormat(const FormatChoice& choice, const Signals& signals);

private:
    using Capability = int32_t (*)(vexcap_context* context, vex_capability** out);
    std::vector<Format> FormatsOf(Capability list) const;
    void WaitFor(bool News::*what, const char* missing, const Signals& signals);
    Size CameraPictureSize() const;
    vex_window* const window;
    const std::string name;
    const bool isCamera;
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
