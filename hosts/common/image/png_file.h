/// PNG files.
#pragma once

#include "hosts/common/image/file_bytes.h"
#include "hosts/common/image/image.h"
#include "hosts/common/image/image_notes.h"

namespace vexcap::host {

/// The bytes of a file. Failure exitFailure when the encoder refuses the picture.
FileBytes encodePng(const Image& image, const ImageNotes& notes);

/// A PNG picture of at most 64 million pixels as red, green, blue of 8 bits; transparent parts become white. Failure
/// exitFailure for a file that cannot be read or is none, exitUsage for a larger one.
Image readPng(const std::string& path);

}  // namespace vexcap::host
