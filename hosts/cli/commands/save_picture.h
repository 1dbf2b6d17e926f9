/// A picture of a session as a file.
#pragma once

#include "hosts/cli/options/options.h"
#include "hosts/common/image/image.h"
#include "hosts/common/image/image_notes.h"
#include "hosts/common/session.h"

namespace vexcap::cli {

/// What is known of the session's present picture.
ImageNotes notesOf(const Session& session, const Device& device, const Overlay& overlay);

/// Writes the picture to the file that the options name, and tells of it as they say.
void savePicture(const Image& image, const ImageNotes& notes, const Options& options);

}  // namespace vexcap::cli
