/// One context of the library.
#pragma once

#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <string>

#include "hosts/common/device_match.h"

namespace vexcap::host {

/// A media file as a source.
struct MediaFile {
    std::string path;  ///< UTF-8.
};

/// vexcap_device or vexcap_file to vexcap_stop. Used on the host's thread. The engine and the window outlive it.
class Context final {
public:
    /// @param mode  VEX_OPEN_...; of cameras alone.
    Context(vex_window* window, const Device& device, vex_char mode = VEX_OPEN_ASTRO);
    Context(vex_window* window, const MediaFile& file);
    ~Context() { Stop(); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    /// Null when the library made none, and after Stop.
    vexcap_context* get() const { return context; }
    /// Opens and starts the source, without stills.
    HRESULT Start() const { return vexcap_start(context, nullptr, 0, 0, 0, 0); }
    /// Frees the context; a second call does nothing.
    void Stop();
    /// Why the last start failed, in sentences, UTF-8; empty when it did not.
    std::string LastError() const;
    /// What became of the frames of the present recording, or of the last one.
    vex_recording_counts Counts() const;

private:
    vexcap_context* context;
};

}  // namespace vexcap::host
