// Single JPEG pictures, as cameras and video devices send them.
#pragma once

#include <memory>

#include "platform/media.h"

namespace vexcap::ffmpeg {

/// For fourcc("MJPG"), E_INVALIDARG for any other code and for a size of 0 or of 2 GiB and more. Pictures may lack the
/// Huffman tables, as in AVI files, and may be followed by padding. Memory is taken for pictures of the size told and
/// for no other, whatever their headers say.
Result<std::unique_ptr<IPictureDecoder>> openPictureDecoder(uint32_t code, uint32_t width, uint32_t height);

}  // namespace vexcap::ffmpeg
