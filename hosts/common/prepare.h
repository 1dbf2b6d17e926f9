/// What a device does with its pictures before they are watched or recorded.
#pragma once

#include "hosts/common/dark_folder.h"
#include "hosts/common/session.h"
#include "hosts/common/source_settings.h"

namespace vexcap::host {

/// Throws Failure exitUsage for a device that takes no dark frame.
void checkTakesDark(const Device& device);

/// Mirrors the picture and takes its colours, as wished. For a video input device.
void applyPicture(const Session& session, const PictureSettings& wished);

/// Applies a bitmap as dark frame. Throws Failure: exitUsage for one of another size, exitFailure for a file that is
/// none.
void applyDarkFile(const Session& session, const std::string& path);

/// Applies the dark frame that the user keeps for this device, where it is on and has the picture's size. Gives a
/// sentence for the user; empty when nothing is kept. One that cannot be read is no reason not to go on: that is told.
std::string applyKeptDark(const Session& session, const Device& device);

/// Makes the pictures of a session as wished. Gives a sentence for the user, or nothing.
std::string preparePicture(Session& session, const Device& device, const SourceSettings& wished,
                           const StopRequest& stop);

/// Takes the mean of so many frames; Failure exitAborted when the user wants to end, exitDeviceLost when no frame
/// comes. `told` hears how many there are.
void captureDark(Session& session, const std::string& name, uint32_t frames, const StopRequest& stop,
                 const std::function<void(uint32_t taken)>& told);

}  // namespace vexcap::host
