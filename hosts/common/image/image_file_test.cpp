#include "hosts/common/image/image_file.h"

#include <gtest/gtest.h>
#include <png.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <tiffio.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include "hosts/common/failure.h"
#include "hosts/common/image/png_file.h"
#include "hosts/common/image/tiff_file.h"
#include "hosts/common/text/version_text.h"

namespace vexcap::host {
namespace image_file_test {

namespace fs = std::filesystem;

Image patterned(uint32_t channels, uint32_t depth, const char* mosaic = "") {
    Image image;
    image.size = {5, 3};
    image.channels = channels;
    image.depth = depth;
    image.mosaic = mosaic;
    for (uint32_t i = 0; i < 5 * 3 * channels; ++i) {
        const uint32_t value = (i * 37 + 11) & ((1u << depth) - 1);
        image.samples.push_back(uint8_t(value));
        if (depth > 8) image.samples.push_back(uint8_t((value * 5 & ((1u << depth) - 1)) >> 8));
    }
    return image;
}

const ImageNotes allNotes = {
    .taken = {1'795'287'785, 123'456'789}, .device = "M\u00FCnchen 7", .exposure = 5000, .gain = 150, .pixelSize = 0.5};
const ImageNotes fewNotes = {.taken = {1'795'287'785, 0}, .device = "plain"};

class ImageFile : public testing::Test {
protected:
    ImageFile() {
        std::string pattern = (fs::temp_directory_path() / "vexcap-cli-XXXXXX").string();
        directory = mkdtemp(pattern.data());
    }
    ~ImageFile() override { fs::remove_all(directory); }

    std::string Path(const char* name) const { return (directory / name).string(); }
    std::string Write(const char* name, const FileBytes& bytes) const {
        std::ofstream(directory / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return Path(name);
    }
    std::string Read(const char* name) const {
        std::ifstream in(directory / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    size_t Entries() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
    }
    /// Exit code of a failed action; exitDone for none.
    template <typename Action>
    static ExitCode CodeOf(Action action) {
        try {
            action();
        } catch (const Failure& failure) {
            return failure.code;
        }
        return exitDone;
    }
    fs::path directory;
};

/// A PNG file as libpng reads it, samples low byte first.
struct DecodedPng {
    Image image;
    std::map<std::string, std::string> texts;
    png_time time = {};
    png_uint_32 perMetre = 0;
    bool significantBits = false;
};

DecodedPng decodePng(const std::string& path) {
    DecodedPng out;
    FILE* const file = fopen(path.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_png(png, info, PNG_TRANSFORM_SWAP_ENDIAN, nullptr);
    out.image.size = {png_get_image_width(png, info), png_get_image_height(png, info)};
    out.image.channels = png_get_channels(png, info);
    out.image.depth = png_get_bit_depth(png, info);
    for (uint32_t y = 0; y < out.image.size.height; ++y) {
        const png_bytep row = png_get_rows(png, info)[y];
        out.image.samples.insert(out.image.samples.end(), row, row + png_get_rowbytes(png, info));
    }
    png_textp texts = nullptr;
    int count = 0;
    png_get_text(png, info, &texts, &count);
    for (int i = 0; i < count; ++i) out.texts[texts[i].key] = texts[i].text;
    png_timep time = nullptr;
    if (png_get_tIME(png, info, &time)) out.time = *time;
    out.perMetre = png_get_pixels_per_meter(png, info);
    out.significantBits = png_get_valid(png, info, PNG_INFO_sBIT) != 0;
    png_destroy_read_struct(&png, &info, nullptr);
    fclose(file);
    return out;
}

TEST_F(ImageFile, APngFileHasTheSamplesThatItWasMadeOf) {
    for (const uint32_t channels : {1u, 3u})
        for (const uint32_t depth : {8u, 10u, 12u, 14u, 16u}) {
            const Image image = patterned(channels, depth);
            const DecodedPng read = decodePng(Write("a.png", encodePng(image, fewNotes)));
            EXPECT_EQ(read.image.size, image.size);
            EXPECT_EQ(read.image.channels, channels);
            EXPECT_EQ(read.image.depth, depth > 8 ? 16u : 8u);
            EXPECT_EQ(read.image.samples, image.samples) << channels << " channels, " << depth << " bits";
        }
}

TEST_F(ImageFile, APngFileTellsWhatIsKnown) {
    const DecodedPng read = decodePng(Write("a.png", encodePng(patterned(1, 12, "GRBG"), allNotes)));
    const std::map<std::string, std::string> wanted = {{"Creation Time", timeText(allNotes.taken)},
                                                       {"Software", softwareText()},
                                                       {"Source", allNotes.device},
                                                       {"Exposure", "0.005 s"},
                                                       {"Gain", "150 %"},
                                                       {"Pixel Size", "0.5 um"},
                                                       {"Bits per Sample", "12"},
                                                       {"Mosaic", "GRBG"}};
    EXPECT_EQ(read.texts, wanted);
    EXPECT_EQ(read.perMetre, 2'000'000u);
    // 2026-11-21 19:03:05 UTC.
    EXPECT_EQ(read.time.year, 2026);
    EXPECT_EQ(read.time.month, 11);
    EXPECT_EQ(read.time.day, 21);
    EXPECT_EQ(read.time.hour, 19);
    EXPECT_EQ(read.time.minute, 3);
    EXPECT_EQ(read.time.second, 5);
}

TEST_F(ImageFile, APngFileDoesNotTellWhatIsUnknown) {
    const DecodedPng read = decodePng(Write("a.png", encodePng(patterned(3, 8), fewNotes)));
    const std::map<std::string, std::string> wanted = {
        {"Creation Time", timeText(fewNotes.taken)}, {"Software", softwareText()}, {"Source", "plain"}};
    EXPECT_EQ(read.texts, wanted);
    EXPECT_EQ(read.perMetre, 0u);
}

// Readers shift samples back by what this chunk says, and would lose the lowest bits of unshifted ones.
TEST_F(ImageFile, APngFileClaimsNoShiftedSamples) {
    EXPECT_FALSE(decodePng(Write("a.png", encodePng(patterned(1, 12), fewNotes))).significantBits);
}

TEST_F(ImageFile, ATiffFileHasTheSamplesThatItWasMadeOf) {
    for (const uint32_t channels : {1u, 3u})
        for (const uint32_t depth : {8u, 12u, 16u}) {
            const Image image = patterned(channels, depth);
            const std::string path = Write("a.tif", encodeTiff(image, fewNotes));
            TIFF* const tiff = TIFFOpen(path.c_str(), "r");
            ASSERT_TRUE(tiff);
            uint32_t width = 0, height = 0;
            uint16_t bits = 0, samples = 0;
            TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
            TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
            TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
            TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
            EXPECT_EQ((Size{width, height}), image.size);
            EXPECT_EQ(bits, depth > 8 ? 16 : 8);
            EXPECT_EQ(samples, channels);
            FileBytes read(image.samples.size());
            for (uint32_t y = 0; y < height; ++y)
                EXPECT_EQ(TIFFReadScanline(tiff, read.data() + y * image.RowBytes(), y, 0), 1);
            EXPECT_EQ(read, image.samples) << channels << " channels, " << depth << " bits";
            EXPECT_TRUE(TIFFLastDirectory(tiff));
            TIFFClose(tiff);
        }
}

TEST_F(ImageFile, ATiffFileTellsWhatIsKnown) {
    const std::string path = Write("a.tif", encodeTiff(patterned(1, 12, "GRBG"), allNotes));
    TIFF* const tiff = TIFFOpen(path.c_str(), "r");
    ASSERT_TRUE(tiff);
    const auto text = [tiff](uint32_t tag) {
        const char* value = nullptr;
        return TIFFGetField(tiff, tag, &value) ? std::string(value) : std::string();
    };
    EXPECT_EQ(text(TIFFTAG_MODEL), allNotes.device);
    EXPECT_EQ(text(TIFFTAG_SOFTWARE), softwareText());
    EXPECT_EQ(text(TIFFTAG_IMAGEDESCRIPTION), "Time: " + timeText(allNotes.taken) +
                                                  "\nExposure: 0.005 s\nGain: 150 %\nPixel size: 0.5 um\n"
                                                  "Bits per sample: 12\nMosaic: GRBG");
    EXPECT_EQ(text(TIFFTAG_DATETIME).substr(0, 8), "2026:11:");
    uint16_t unit = 0, most = 0;
    float x = 0, y = 0;
    TIFFGetField(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &x);
    TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &y);
    TIFFGetField(tiff, TIFFTAG_MAXSAMPLEVALUE, &most);
    EXPECT_EQ(unit, RESUNIT_CENTIMETER);
    EXPECT_EQ(x, 20000);
    EXPECT_EQ(y, 20000);
    EXPECT_EQ(most, 4095);
    const std::string date = text(TIFFTAG_DATETIME);
    uint64_t exif = 0;
    ASSERT_TRUE(TIFFGetField(tiff, TIFFTAG_EXIFIFD, &exif));
    ASSERT_TRUE(TIFFReadEXIFDirectory(tiff, exif));
    float seconds = 0;
    EXPECT_TRUE(TIFFGetField(tiff, EXIFTAG_EXPOSURETIME, &seconds));
    EXPECT_FLOAT_EQ(seconds, 0.005f);
    EXPECT_EQ(text(EXIFTAG_DATETIMEORIGINAL), date);
    EXPECT_EQ(text(EXIFTAG_SUBSECTIMEORIGINAL), "123");
    EXPECT_EQ(text(EXIFTAG_OFFSETTIMEORIGINAL), timeText(allNotes.taken).substr(23));
    TIFFClose(tiff);
}

TEST_F(ImageFile, ABitmapFileHasItsHeadersAndPaddedRowsFromTheBottom) {
    Image image;
    image.size = {1, 2};
    image.samples = {1, 2, 3, 4, 5, 6};
    const FileBytes wanted = {'B', 'M', 62, 0, 0,    0,    0,    0, 0,    0,    54,   0, 0, 0,  // file header
                              40,  0,   0,  0, 1,    0,    0,    0, 2,    0,    0,    0, 1, 0, 24, 0,
                              0,   0,   0,  0,                                            // size, sides, bits
                              8,   0,   0,  0, 0x80, 0x84, 0x1E, 0, 0x80, 0x84, 0x1E, 0,  // 2000000 pixels a metre
                              0,   0,   0,  0, 0,    0,    0,    0, 6,    5,    4,    0, 3, 2, 1,  0};
    EXPECT_EQ(encodeBmp(image, allNotes), wanted);
    FileBytes unknown = wanted;
    std::fill_n(unknown.begin() + 38, 8, uint8_t{0});
    EXPECT_EQ(encodeBmp(image, fewNotes), unknown);
}

TEST_F(ImageFile, TheEndOfTheNameTellsTheKind) {
    EXPECT_EQ(imageKindOf("a.png"), ImageKind::Png);
    EXPECT_EQ(imageKindOf("a.b.PNG"), ImageKind::Png);
    EXPECT_EQ(imageKindOf("a.Bmp"), ImageKind::Bmp);
    EXPECT_EQ(imageKindOf("a.tif"), ImageKind::Tiff);
    EXPECT_EQ(imageKindOf("a.TIFF"), ImageKind::Tiff);
    EXPECT_FALSE(imageKindOf("a.png.txt"));
    EXPECT_FALSE(imageKindOf(""));
    const Image image = patterned(3, 8);
    EXPECT_EQ(encodeImage("a.bmp", image, fewNotes), encodeBmp(image, fewNotes));
    EXPECT_EQ(encodeImage("a.tif", image, fewNotes), encodeTiff(image, fewNotes));
    EXPECT_EQ(encodeImage("a.png", image, fewNotes), encodePng(image, fewNotes));
}

TEST_F(ImageFile, AnEmptyPictureIsAFailure) {
    EXPECT_EQ(CodeOf([] { encodePng(Image(), fewNotes); }), exitFailure);
}

const FileBytes fresh = {'n', 'e', 'w'};

TEST_F(ImageFile, ASavedFileStandsAlone) {
    saveFile(Path("a.png"), fresh, false);
    EXPECT_EQ(Read("a.png"), "new");
    EXPECT_EQ(Entries(), 1u);
}

TEST_F(ImageFile, WhatExistsIsReplacedOnlyOnWish) {
    Write("a.png", {'o', 'l', 'd'});
    EXPECT_EQ(CodeOf([this] { saveFile(Path("a.png"), fresh, false); }), exitUsage);
    EXPECT_EQ(Read("a.png"), "old");
    EXPECT_EQ(Entries(), 1u);
    saveFile(Path("a.png"), fresh, true);
    EXPECT_EQ(Read("a.png"), "new");
    EXPECT_EQ(Entries(), 1u);
}

TEST_F(ImageFile, WhatALinkLeadsToIsReplacedAndNotTheLink) {
    Write("a.png", {'o', 'l', 'd'});
    fs::create_symlink("a.png", directory / "link.png");
    saveFile(Path("link.png"), fresh, true);
    EXPECT_TRUE(fs::is_symlink(directory / "link.png"));
    EXPECT_EQ(Read("a.png"), "new");
}

TEST_F(ImageFile, ADirectoryThatIsNotThereIsAFailure) {
    EXPECT_EQ(CodeOf([this] { saveFile(Path("missing/a.png"), fresh, false); }), exitFailure);
    EXPECT_EQ(Entries(), 0u);
}

TEST_F(ImageFile, ADirectoryIsNeverReplacedAndNothingIsLeftBeside) {
    fs::create_directory(directory / "b.png");
    EXPECT_EQ(CodeOf([this] { saveFile(Path("b.png"), fresh, true); }), exitFailure);
    EXPECT_EQ(Entries(), 1u);
}

/// A PNG file of four channels, made by hand-picked rows.
FileBytes withAlpha(const std::vector<uint8_t>& rgba, uint32_t width, uint32_t height) {
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    png.width = width;
    png.height = height;
    png.format = PNG_FORMAT_RGBA;
    FileBytes bytes(PNG_IMAGE_PNG_SIZE_MAX(png));
    png_alloc_size_t size = bytes.size();
    EXPECT_TRUE(png_image_write_to_memory(&png, bytes.data(), &size, 0, rgba.data(), 0, nullptr)) << png.message;
    bytes.resize(size);
    return bytes;
}

TEST_F(ImageFile, AWatermarkIsReadAsItsColours) {
    const Image image = patterned(3, 8);
    const Image read = readPng(Write("a.png", encodePng(image, fewNotes)));
    EXPECT_EQ(read.size, image.size);
    EXPECT_EQ(read.samples, image.samples);
}

TEST_F(ImageFile, GreyAndWideWatermarksBecomeColoursOfEightBits) {
    Image grey = patterned(1, 8);
    const Image read = readPng(Write("a.png", encodePng(grey, fewNotes)));
    for (size_t i = 0; i < grey.samples.size(); ++i)
        for (size_t channel = 0; channel < 3; ++channel) EXPECT_EQ(read.samples[3 * i + channel], grey.samples[i]);
    EXPECT_EQ(readPng(Write("b.png", encodePng(patterned(3, 16), fewNotes))).samples.size(), 45u);
}

TEST_F(ImageFile, TransparentPartsOfAWatermarkBecomeWhite) {
    const Image read = readPng(Write("a.png", withAlpha({9, 8, 7, 255, 1, 2, 3, 0}, 2, 1)));
    EXPECT_EQ(read.samples, (std::vector<uint8_t>{9, 8, 7, 255, 255, 255}));
}

TEST_F(ImageFile, AWatermarkThatIsNoneIsAFailure) {
    EXPECT_EQ(CodeOf([this] { readPng(Path("missing.png")); }), exitFailure);
    EXPECT_EQ(CodeOf([this] { readPng(Write("a.png", {'n', 'o'})); }), exitFailure);
    FileBytes cut = encodePng(patterned(3, 8), fewNotes);
    cut.resize(cut.size() / 2);
    EXPECT_EQ(CodeOf([&] { readPng(Write("b.png", cut)); }), exitFailure);
    EXPECT_EQ(CodeOf([this] { readPng(directory.string()); }), exitFailure);
}

TEST_F(ImageFile, AWatermarkOfTooManyPixelsIsRefused) {
    FileBytes bytes = withAlpha({9, 8, 7, 255}, 1, 1);
    // The sides stand behind the signature and the head of the first part, whose sum of checks follows its 13 bytes.
    const uint8_t sides[] = {0, 0, 0x20, 0, 0, 0, 0x20, 0};
    std::copy_n(sides, sizeof sides, bytes.begin() + 16);
    uint32_t sum = ~0u;
    for (size_t i = 12; i < 29; ++i) {
        sum ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320u : 0);
    }
    for (size_t i = 0; i < 4; ++i) bytes[29 + i] = uint8_t(~sum >> (24 - 8 * i));
    EXPECT_EQ(CodeOf([&] { readPng(Write("a.png", bytes)); }), exitUsage);
}

TEST(ImageNotes, TimesHaveMillisecondsAndTheirZone) {
    const std::string text = timeText({1'795'287'785, 987'654'321});
    ASSERT_EQ(text.size(), 29u) << text;
    EXPECT_EQ(text.substr(0, 8), "2026-11-");
    EXPECT_EQ(text.substr(16, 7), ":05.987");
    EXPECT_TRUE(text[23] == '+' || text[23] == '-');
}

TEST(ImageNotes, ExposuresAreSecondsWithoutZerosAtTheEnd) {
    EXPECT_EQ(exposureText(5000), "0.005 s");
    EXPECT_EQ(exposureText(1), "0.000001 s");
    EXPECT_EQ(exposureText(10'000'000), "10 s");
    EXPECT_EQ(exposureText(1'500'000), "1.5 s");
    EXPECT_EQ(exposureText(0), "0 s");
}

TEST_F(ImageFile, APipeIsNotWaitedFor) {
    const std::string pipe = Path("pipe.png");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THROW(readPng(pipe), Failure);
}

}  // namespace image_file_test
}  // namespace vexcap::host
