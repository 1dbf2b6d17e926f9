// PNG pictures of tests: blue, green, red of each pixel, top row first, without padding.
#pragma once

#include <png.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vexcap::test {

struct PngPicture {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> bgr;
    bool operator==(const PngPicture&) const = default;
};

/// Empty when the file is no picture.
inline PngPicture readPng(const std::string& path) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    PngPicture picture;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return picture;
    image.format = PNG_FORMAT_BGR;
    picture.bgr.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, picture.bgr.data(), 0, nullptr)) return {};
    picture.width = int32_t(image.width);
    picture.height = int32_t(image.height);
    return picture;
}

inline bool writePng(const std::string& path, const PngPicture& picture) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.format = PNG_FORMAT_BGR;
    image.width = uint32_t(picture.width);
    image.height = uint32_t(picture.height);
    return png_image_write_to_file(&image, path.c_str(), 0, picture.bgr.data(), 0, nullptr);
}

}  // namespace vexcap::test
