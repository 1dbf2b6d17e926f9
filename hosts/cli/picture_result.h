/// What is told about a picture once its file is there.
#pragma once

#include <string>

#include "hosts/cli/image.h"
#include "hosts/cli/image_notes.h"
#include "hosts/cli/options.h"
#include "hosts/cli/session.h"

namespace vexcap::cli {

/// What is known of the session's present picture.
ImageNotes notesOf(const Session& session, const Device& device, const Overlay& overlay);

/// "a.png: 1936x1096, 24 bits a pixel", "a.tif: 2592x1944, 12 bits, GRBG".
std::string pictureLine(const std::string& file, const Image& image);
/// One JSON object.
std::string pictureJson(const std::string& file, const Image& image, const ImageNotes& notes);

/// Writes the picture to the file that the options name, and tells of it as they say.
void savePicture(const Image& image, const ImageNotes& notes, const Options& options);

}  // namespace vexcap::cli
