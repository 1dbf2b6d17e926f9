#include "hosts/common/image/png_file.h"

#include <png.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include "hosts/common/failure.h"
#include "hosts/common/text/numbers.h"
#include "hosts/common/text/version_text.h"

namespace vexcap::host {

namespace {

constexpr uint64_t mostPixels = 64'000'000;

struct Text {
    const char* key;
    std::string value;
};

/// What libpng writes to. An error jumps back over libpng alone: nothing in between has a destructor.
struct Encoder {
    FileBytes bytes;
    std::string error;
    std::vector<png_text> texts;
    std::vector<png_bytep> rows;
};

void onError(png_structp png, png_const_charp text) {
    static_cast<Encoder*>(png_get_error_ptr(png))->error = text;
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onWrite(png_structp png, png_bytep bytes, size_t count) {
    auto& out = *static_cast<Encoder*>(png_get_io_ptr(png));
    bool full = false;
    try {
        out.bytes.insert(out.bytes.end(), bytes, bytes + count);
    } catch (const std::bad_alloc&) {
        full = true;
    }
    if (full) png_error(png, "out of memory");
}

std::vector<Text> textsOf(const Image& image, const ImageNotes& notes) {
    std::vector<Text> texts = {{"Creation Time", timeText(notes.taken)}, {"Software", softwareText()}};
    if (!notes.device.empty()) texts.push_back({"Source", notes.device});
    if (notes.exposure) texts.push_back({"Exposure", exposureText(*notes.exposure)});
    if (notes.gain) texts.push_back({"Gain", std::to_string(*notes.gain) + " %"});
    if (notes.pixelSize) texts.push_back({"Pixel Size", plainNumber(*notes.pixelSize) + " um"});
    // No sBIT chunk: it is for samples that were shifted to the left, and readers shift them back.
    if (image.depth > 8) texts.push_back({"Bits per Sample", std::to_string(image.depth)});
    if (!image.mosaic.empty()) texts.push_back({"Mosaic", image.mosaic});
    return texts;
}

png_text pngText(const Text& text) {
    png_text out = {};
    const bool plain = text.value.find_first_not_of(
                           " !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
                           "abcdefghijklmnopqrstuvwxyz{|}~") == std::string::npos;
    out.compression = plain ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
    out.key = const_cast<char*>(text.key);
    out.text = const_cast<char*>(text.value.c_str());
    out.text_length = plain ? text.value.size() : 0;
    out.itxt_length = plain ? 0 : text.value.size();
    return out;
}

/// False when libpng gave up.
bool encode(png_structp png, png_infop info, Encoder& encoder, const Image& image, const ImageNotes& notes) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_IHDR(png, info, image.size.width, image.size.height, int(image.SampleBytes() * 8),
                 image.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, compressionLevel);
    png_time time = {};
    png_convert_from_time_t(&time, notes.taken.tv_sec);
    png_set_tIME(png, info, &time);
    if (notes.pixelSize) {
        const auto perMetre = static_cast<png_uint_32>(std::lround(1e6 / *notes.pixelSize));
        png_set_pHYs(png, info, perMetre, perMetre, PNG_RESOLUTION_METER);
    }
    png_set_text(png, info, encoder.texts.data(), int(encoder.texts.size()));
    png_set_rows(png, info, encoder.rows.data());
    png_write_png(png, info, image.SampleBytes() == 2 ? PNG_TRANSFORM_SWAP_ENDIAN : PNG_TRANSFORM_IDENTITY, nullptr);
    return true;
}

}  // namespace

FileBytes encodePng(const Image& image, const ImageNotes& notes) {
    Encoder encoder;
    const std::vector<Text> texts = textsOf(image, notes);
    for (const Text& text : texts) encoder.texts.push_back(pngText(text));
    for (uint32_t y = 0; y < image.size.height; ++y) encoder.rows.push_back(const_cast<png_bytep>(image.Row(y).data()));
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &encoder, onError, onWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    bool done = false;
    if (info) {
        png_set_write_fn(png, &encoder, onWrite, nullptr);
        done = encode(png, info, encoder, image, notes);
    }
    png_destroy_write_struct(&png, &info);
    if (!done) throw Failure(exitFailure, "the picture cannot be made a PNG file: " + encoder.error);
    return std::move(encoder.bytes);
}

Image readPng(const std::string& path) {
    // Opening a pipe would wait for its other end.
    struct stat found = {};
    if (stat(path.c_str(), &found) != 0) throw Failure(exitFailure, path + ": " + std::strerror(errno));
    if (!S_ISREG(found.st_mode)) throw Failure(exitFailure, path + " is no regular file");
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) throw Failure(exitFailure, path + ": " + std::strerror(errno));
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    const std::unique_ptr<png_image, void (*)(png_image*)> owner(&png, png_image_free);
    const auto check = [&](int done) {
        if (!done) throw Failure(exitFailure, path + " is no PNG picture that can be read: " + png.message);
    };
    check(png_image_begin_read_from_stdio(&png, file.get()));
    if (uint64_t(png.width) * png.height > mostPixels)
        throw Failure(exitUsage, path + " has more than 64 million pixels");
    png.format = PNG_FORMAT_RGB;
    Image image{.size = {png.width, png.height}, .mosaic = {}, .samples = std::vector<uint8_t>(PNG_IMAGE_SIZE(png))};
    const png_color white = {255, 255, 255};
    check(png_image_finish_read(&png, &white, image.samples.data(), 0, nullptr));
    return image;
}

}  // namespace vexcap::host
