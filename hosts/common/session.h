/// One running source.
#pragma once

#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hosts/common/context.h"
#include "hosts/common/engine.h"
#include "hosts/common/formats.h"
#include "hosts/common/stop_request.h"

namespace vexcap::host {

struct InterfaceDeleter {
    void operator()(IVexUnknown* object) const { object->Release(); }
};
/// An interface of the camera, given back when it goes out of scope; keep it no longer than one function.
template <typename Interface>
using CameraInterface = std::unique_ptr<Interface, InterfaceDeleter>;

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

/// An open source: a camera, a video input device, or a file that is played. The engine outlives it.
class Session final {
public:
    /// Opens and starts it; Failure exitNoDevice when that fails.
    /// @param stills  A video input device is started so that it takes stills where it can; a camera always is.
    Session(Engine& engine, const Device& device, bool stills = false);
    /// Opens the file and plays it. Failure exitNoMedia when nothing that plays is installed, exitNoVideo when the file
    /// has no video, exitFailure when it cannot be read.
    Session(Engine& engine, const MediaFile& file);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Waits until something comes in, at most so long, and takes all that came.
    News Wait(int milliseconds, const StopRequest& stop);
    /// Waits for the frame behind the next one, which is the first that surely has settings made before this call.
    /// Failure exitAborted when the user wants to end, exitDeviceLost when no frame comes.
    void WaitForFreshFrame(const StopRequest& stop);
    /// Waits for a picture that came after this call. Fails as WaitForFreshFrame does.
    void WaitForPicture(const StopRequest& stop);
    /// Waits for the still that was asked for. Fails as WaitForFreshFrame does.
    void WaitForStill(const StopRequest& stop);

    vexcap_context* Context() const { return context.get(); }
    /// The camera of a session with one; Failure exitDeviceLost when it is gone.
    ICamera& Camera() const;
    /// Null when the camera does not have it, or is gone, and for every other source.
    template <typename Interface>
    CameraInterface<Interface> Query(const vex_guid& identifier) const {
        void* out = nullptr;
        if (void* const camera = vexcap_get_interface(context.get(), nullptr))
            static_cast<ICamera*>(camera)->QueryInterface(identifier, &out);
        return CameraInterface<Interface>(static_cast<Interface*>(out));
    }

    FrameRate Rate() const;
    /// Size of the frames that come: after region of interest, binning and rotation. Failure exitDeviceLost when the
    /// source is gone.
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
    void SetFormat(const FormatChoice& choice, const StopRequest& stop);

private:
    using Capability = int32_t (*)(vexcap_context* context, vex_capability** out);
    std::vector<Format> FormatsOf(Capability list) const;
    void WaitFor(bool News::*what, const char* missing, const StopRequest& stop);
    vex_window* const window;
    const std::string name;
    const bool isCamera;
    const host::Context context;
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

}  // namespace vexcap::host
