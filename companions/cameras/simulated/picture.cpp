#include "companions/cameras/simulated/picture.h"

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <span>
#include <stdexcept>

#include <jpeglib.h>
#include <png.h>

// pictures.S
extern "C" {
extern const unsigned char vexcam_picture_cell[], vexcam_picture_cell_end[];
extern const unsigned char vexcam_picture_hubble[], vexcam_picture_hubble_end[];
extern const unsigned char vexcam_picture_ihc[], vexcam_picture_ihc_end[];
extern const unsigned char vexcam_picture_moon[], vexcam_picture_moon_end[];
}

namespace vexcap::cameras {
namespace {

using FileBytes = std::span<const unsigned char>;

FileBytes fileOf(SceneName name) {
    switch (name) {
        case SceneName::Cell:
            return {vexcam_picture_cell, vexcam_picture_cell_end};
        case SceneName::Hubble:
            return {vexcam_picture_hubble, vexcam_picture_hubble_end};
        case SceneName::Ihc:
            return {vexcam_picture_ihc, vexcam_picture_ihc_end};
        case SceneName::Moon:
            return {vexcam_picture_moon, vexcam_picture_moon_end};
    }
    return {};
}

Picture decodePng(FileBytes file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) throw std::runtime_error(image.message);
    const bool colour = (image.format & PNG_FORMAT_FLAG_COLOR) != 0;
    image.format = colour ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
    Picture picture{image.width, image.height, colour ? 3u : 1u, {}};
    picture.samples.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, picture.samples.data(), 0, nullptr))
        throw std::runtime_error(image.message);
    return picture;
}

// The decoder's own error handler ends the process; this one jumps back.
struct JpegErrors {
    jpeg_error_mgr manager;
    std::jmp_buf back;
};

void leaveDecoder(j_common_ptr decoder) { std::longjmp(reinterpret_cast<JpegErrors*>(decoder->err)->back, 1); }

// Everything with a destructor belongs to the caller, because a jump back runs none.
bool decodeJpegInto(FileBytes file, Picture& picture) {
    jpeg_decompress_struct decoder;
    JpegErrors errors;
    decoder.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = leaveDecoder;
    if (setjmp(errors.back)) {
        jpeg_destroy_decompress(&decoder);
        return false;
    }
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&decoder, TRUE);
    decoder.out_color_space = JCS_RGB;
    jpeg_start_decompress(&decoder);
    picture.width = decoder.output_width;
    picture.height = decoder.output_height;
    picture.channels = 3;
    picture.samples.resize(size_t(picture.width) * picture.height * 3);
    while (decoder.output_scanline < decoder.output_height) {
        JSAMPROW row = picture.samples.data() + size_t(decoder.output_scanline) * picture.width * 3;
        jpeg_read_scanlines(&decoder, &row, 1);
    }
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    return true;
}

}  // namespace

Picture loadPicture(SceneName name) {
    const FileBytes file = fileOf(name);
    if (name != SceneName::Hubble) return decodePng(file);
    Picture picture;
    if (!decodeJpegInto(file, picture)) throw std::runtime_error("a built-in picture cannot be decoded");
    return picture;
}

}  // namespace vexcap::cameras
