/// Picture files: PNG, TIFF and Windows bitmaps.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "hosts/common/image/file_bytes.h"
#include "hosts/common/image/image.h"
#include "hosts/common/image/image_notes.h"

namespace vexcap::host {

enum class ImageKind { Png, Bmp, Tiff };
/// By the end of the name, letters without case; nothing for another one.
std::optional<ImageKind> imageKindOf(const std::string& path);

/// Of a picture with 8 bits a sample. It has no notes but the size of a pixel.
FileBytes encodeBmp(const Image& image, const ImageNotes& notes);

/// The kind of `path` decides. Failure exitFailure when the encoder refuses the picture.
FileBytes encodeImage(const std::string& path, const Image& image, const ImageNotes& notes);

/// Writes a file that is there as a whole or not at all; one that is replaced goes only when the new one is whole.
/// Failure exitUsage for a file that exists while `overwrite` is not set, exitDiskFull, exitFailure.
void saveFile(const std::string& path, std::span<const uint8_t> bytes, bool overwrite);

}  // namespace vexcap::host
