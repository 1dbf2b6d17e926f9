/// What is told about a picture once its file is there.
#pragma once

#include <string>

#include "hosts/cli/host.h"
#include "hosts/common/image/image.h"
#include "hosts/common/image/image_notes.h"

namespace vexcap::cli {

/// "a.png: 1936x1096, 24 bits a pixel", "a.tif: 2592x1944, 12 bits, GRBG".
std::string pictureLine(const std::string& file, const Image& image);
/// One JSON object.
std::string pictureJson(const std::string& file, const Image& image, const ImageNotes& notes);

}  // namespace vexcap::cli
