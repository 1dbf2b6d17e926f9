#include "hosts/common/image/tiff_file.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "hosts/common/failure.h"
#include "hosts/common/text/numbers.h"
#include "hosts/common/text/version_text.h"

namespace vexcap::host {

namespace {

constexpr size_t stripBytes = 1 << 18;

/// A file in memory.
struct Memory {
    FileBytes bytes;
    size_t position = 0;

    static Memory& Of(thandle_t handle) { return *static_cast<Memory*>(handle); }
};

tmsize_t readMemory(thandle_t handle, void* to, tmsize_t count) {
    Memory& file = Memory::Of(handle);
    const size_t left = file.bytes.size() - std::min(file.position, file.bytes.size());
    const size_t taken = std::min(left, static_cast<size_t>(count));
    std::memcpy(to, file.bytes.data() + file.position, taken);
    file.position += taken;
    return static_cast<tmsize_t>(taken);
}

tmsize_t writeMemory(thandle_t handle, void* from, tmsize_t count) {
    Memory& file = Memory::Of(handle);
    const size_t end = file.position + static_cast<size_t>(count);
    try {
        if (end > file.bytes.size()) file.bytes.resize(end);
    } catch (const std::bad_alloc&) {
        return -1;
    }
    std::memcpy(file.bytes.data() + file.position, from, static_cast<size_t>(count));
    file.position = end;
    return count;
}

toff_t seekMemory(thandle_t handle, toff_t offset, int from) {
    Memory& file = Memory::Of(handle);
    const size_t start = from == SEEK_CUR ? file.position : from == SEEK_END ? file.bytes.size() : 0;
    file.position = start + static_cast<size_t>(offset);
    return file.position;
}

toff_t sizeOfMemory(thandle_t handle) { return Memory::Of(handle).bytes.size(); }

int closeMemory(thandle_t) { return 0; }

std::string localTime(const ImageNotes& notes) {
    tm local = {};
    localtime_r(&notes.taken.tv_sec, &local);
    char text[64];
    strftime(text, sizeof text, "%Y:%m:%d %H:%M:%S", &local);
    return text;
}

std::string descriptionOf(const Image& image, const ImageNotes& notes) {
    std::string text = "Time: " + timeText(notes.taken);
    if (notes.exposure) text += "\nExposure: " + exposureText(*notes.exposure);
    if (notes.gain) text += "\nGain: " + std::to_string(*notes.gain) + " %";
    if (notes.pixelSize) text += "\nPixel size: " + plainNumber(*notes.pixelSize) + " um";
    if (image.depth > 8) text += "\nBits per sample: " + std::to_string(image.depth);
    if (!image.mosaic.empty()) text += "\nMosaic: " + image.mosaic;
    return text;
}

/// Writes the directory of the exposure, and gives its place; 0 when that fails.
uint64_t writeExif(TIFF* tiff, const ImageNotes& notes) {
    if (TIFFCreateEXIFDirectory(tiff)) return 0;
    const std::string time = localTime(notes), exact = timeText(notes.taken);
    TIFFSetField(tiff, EXIFTAG_DATETIMEORIGINAL, time.c_str());
    TIFFSetField(tiff, EXIFTAG_SUBSECTIMEORIGINAL, exact.substr(20, 3).c_str());
    TIFFSetField(tiff, EXIFTAG_OFFSETTIMEORIGINAL, exact.substr(23).c_str());
    if (notes.exposure) TIFFSetField(tiff, EXIFTAG_EXPOSURETIME, *notes.exposure / 1e6);
    uint64_t place = 0;
    const bool written = TIFFWriteCustomDirectory(tiff, &place) != 0;
    TIFFFreeDirectory(tiff);
    TIFFCreateDirectory(tiff);
    return written ? place : 0;
}

void setFields(TIFF* tiff, const Image& image, const ImageNotes& notes) {
    const uint32_t rows = std::max<uint32_t>(1, uint32_t(stripBytes / std::max<size_t>(image.RowBytes(), 1)));
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.size.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.size.height);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, int(image.channels));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, int(image.SampleBytes() * 8));
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, image.channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, compressionLevel);
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
    if (image.depth > 8 && image.depth < 16) TIFFSetField(tiff, TIFFTAG_MAXSAMPLEVALUE, (1 << image.depth) - 1);
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, softwareText().c_str());
    TIFFSetField(tiff, TIFFTAG_DATETIME, localTime(notes).c_str());
    TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, descriptionOf(image, notes).c_str());
    if (!notes.device.empty()) TIFFSetField(tiff, TIFFTAG_MODEL, notes.device.c_str());
    if (!notes.pixelSize) return;
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 1e4 / *notes.pixelSize);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 1e4 / *notes.pixelSize);
}

}  // namespace

FileBytes encodeTiff(const Image& image, const ImageNotes& notes) {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    Memory memory;
    bool done = false;
    {
        const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(
            TIFFClientOpen("picture", "w", &memory, readMemory, writeMemory, seekMemory, closeMemory, sizeOfMemory,
                           nullptr, nullptr),
            TIFFClose);
        const uint64_t exif = tiff ? writeExif(tiff.get(), notes) : 0;
        done = exif != 0;
        if (done) setFields(tiff.get(), image, notes);
        if (done) TIFFSetField(tiff.get(), TIFFTAG_EXIFIFD, exif);
        std::vector<uint8_t> row;  // the predictor works in place
        for (uint32_t y = 0; done && y < image.size.height; ++y) {
            row.assign(image.Row(y).begin(), image.Row(y).end());
            done = TIFFWriteScanline(tiff.get(), row.data(), y, 0) >= 0;
        }
        done = done && TIFFWriteDirectory(tiff.get());
    }
    if (!done) throw Failure(exitFailure, "the picture cannot be made a TIFF file");
    return std::move(memory.bytes);
}

}  // namespace vexcap::host
