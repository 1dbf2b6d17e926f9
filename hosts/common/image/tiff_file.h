/// TIFF files.
#pragma once

#include "hosts/common/image/file_bytes.h"
#include "hosts/common/image/image.h"
#include "hosts/common/image/image_notes.h"

namespace vexcap::host {

/// The bytes of a file. Failure exitFailure when the encoder refuses the picture.
FileBytes encodeTiff(const Image& image, const ImageNotes& notes);

}  // namespace vexcap::host
