/// Picture files: PNG, TIFF and Windows bitmaps.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hosts/cli/image.h"
#include "hosts/cli/image_notes.h"

namespace vexcap::cli {

enum class ImageKind { Png, Bmp, Tiff };
/// By the end of the name, letters without case; nothing for another one.
std::optional<ImageKind> imageKindOf(const std::string& path);

/// Of PNG and TIFF files: the noise of a sensor takes eight times as long at the usual level and saves a tenth.
constexpr int compressionLevel = 2;

using FileBytes = std::vector<uint8_t>;

/// The bytes of a file. Failure exitFailure when the encoder refuses the picture.
FileBytes encodePng(const Image& image, const ImageNotes& notes);
FileBytes encodeTiff(const Image& image, const ImageNotes& notes);
/// Of a picture with 8 bits a sample. It has no notes but the size of a pixel.
FileBytes encodeBmp(const Image& image, const ImageNotes& notes);

/// The kind of `path` decides.
FileBytes encodeImage(const std::string& path, const Image& image, const ImageNotes& notes);

/// Writes a file that is there as a whole or not at all; one that is replaced goes only when the new one is whole.
/// Failure exitUsage for a file that exists while `overwrite` is not set, exitDiskFull, exitFailure.
void saveFile(const std::string& path, std::span<const uint8_t> bytes, bool overwrite);

/// A PNG picture of at most 64 million pixels as red, green, blue of 8 bits; transparent parts become white. Failure
/// exitFailure for a file that cannot be read or is none, exitUsage for a larger one.
Image readPng(const std::string& path);

}  // namespace vexcap::cli
