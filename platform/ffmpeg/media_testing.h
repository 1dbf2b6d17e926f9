// Pictures that tests can tell apart after a codec, and the other program that reads and writes files.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "base/dib.h"
#include "base/text.h"
#include "platform/ffmpeg/ffmpeg_media.h"
#include "platform/linux/file.h"
#include "platform/linux/system_testing.h"
#include "tests/support/shell.h"

namespace vexcap::ffmpeg::test {

using vexcap::test::get;
using vexcap::test::put;
using vexcap::test::shell;
using vexcap::test::TestDirectory;
namespace fs = std::filesystem;

inline LinuxFileSystem files;
/// Silences FFmpeg, too.
inline FfmpegMedia media(files);

/// 3 bytes a pixel, rows bottom-up at the DIB stride; the bytes between the rows are 0.
struct Picture {
    Picture(uint32_t w, uint32_t h) : width(w), height(h), stride(dibStride(w, 3)), bytes(stride * h) {}
    /// From the top left.
    std::byte* at(uint32_t x, uint32_t y) { return bytes.data() + stride * (height - 1 - y) + size_t(x) * 3; }
    const std::byte* at(uint32_t x, uint32_t y) const { return const_cast<Picture*>(this)->at(x, y); }
    void set(uint32_t x, uint32_t y, int blue, int green, int red) {
        at(x, y)[0] = std::byte(blue), at(x, y)[1] = std::byte(green), at(x, y)[2] = std::byte(red);
    }

    uint32_t width;
    uint32_t height;
    size_t stride;
    std::vector<std::byte> bytes;
};

/// Soft colours that wander from picture to picture.
inline Picture movingPicture(uint32_t width, uint32_t height, int number) {
    Picture picture(width, height);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            const double a = 0.05 * (x + 3 * number), b = 0.07 * (y + number);
            picture.set(x, y, int(128 + 100 * std::sin(a)), int(128 + 90 * std::cos(b)),
                        int(128 + 80 * std::sin(a + b)));
        }
    return picture;
}

inline constexpr uint32_t numberedWidth = 128;
inline constexpr uint32_t numberedHeight = 64;

/// Eight blocks, white for each set bit of the number, which any codec keeps apart.
inline Picture numberedPicture(int number, uint32_t width = numberedWidth, uint32_t height = numberedHeight) {
    Picture picture(width, height);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            const int level = number >> (x * 8 / width) & 1 ? 220 : 30;
            picture.set(x, y, level, level, level);
        }
    return picture;
}

inline int numberOf(const Picture& picture) {
    int number = 0;
    for (uint32_t bit = 0; bit < 8; ++bit) {
        const uint32_t x = picture.width * (2 * bit + 1) / 16;
        if (int(*picture.at(x, picture.height / 2)) > 125) number |= 1 << bit;
    }
    return number;
}

/// Peak signal to noise of the pixels, in dB; 99 when they are equal.
inline double psnr(const Picture& a, const Picture& b) {
    if (a.width != b.width || a.height != b.height) return 0;
    double sum = 0;
    for (uint32_t y = 0; y < a.height; ++y)
        for (uint32_t i = 0; i < a.width * 3; ++i) {
            const double d = double(a.at(0, y)[i]) - double(b.at(0, y)[i]);
            sum += d * d;
        }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * 3 * a.width * a.height / sum);
}

struct Shot {
    Picture picture;
    MediaTimes times;
};

inline std::unique_ptr<IMediaReader> openFile(const fs::path& path) {
    auto reader = media.OpenFile(toUtf16(path.string()));
    EXPECT_TRUE(reader.ok()) << path << std::hex << " " << uint32_t(reader.code());
    return reader.ok() ? std::move(reader).value() : nullptr;
}

/// The next picture, nothing at the end of the file.
inline std::optional<Shot> readNext(IMediaReader& reader) {
    Shot shot = {Picture(reader.Info().width, reader.Info().height), {}};
    const Status s = reader.Read(shot.picture.bytes, shot.times);
    EXPECT_TRUE(s.ok()) << std::hex << uint32_t(s.code());
    if (s != S_OK) return std::nullopt;
    return shot;
}

inline std::vector<Shot> readAll(IMediaReader& reader) {
    std::vector<Shot> shots;
    while (auto shot = readNext(reader)) shots.push_back(std::move(*shot));
    return shots;
}

/// Pixels without row padding, rows from the top: what the other program calls bgr24.
inline std::string packed(const std::vector<Picture>& pictures) {
    std::string bytes;
    for (const Picture& picture : pictures)
        for (uint32_t y = 0; y < picture.height; ++y)
            bytes.append(reinterpret_cast<const char*>(picture.at(0, y)), size_t(picture.width) * 3);
    return bytes;
}

inline std::vector<Picture> unpacked(const std::string& bytes, uint32_t width, uint32_t height) {
    std::vector<Picture> pictures;
    const size_t row = size_t(width) * 3;
    for (size_t from = 0; from + row * height <= bytes.size(); from += row * height) {
        Picture& picture = pictures.emplace_back(width, height);
        for (uint32_t y = 0; y < height; ++y) std::memcpy(picture.at(0, y), bytes.data() + from + row * y, row);
    }
    return pictures;
}

inline std::string quoted(const fs::path& path) { return "'" + path.string() + "'"; }

/// All pictures of a file as another program reads them.
inline std::vector<Picture> readElsewhere(const fs::path& path, uint32_t width, uint32_t height) {
    const fs::path raw = path.string() + ".raw";
    const auto run = shell("ffmpeg -v error -y -i " + quoted(path) +
                           " -fps_mode passthrough -f rawvideo -pix_fmt bgr24 " + quoted(raw));
    EXPECT_EQ(run.status, 0) << run.text;
    return unpacked(get(raw), width, height);
}

/// Has another program write numbered pictures, 25 a second, and gives the file.
inline fs::path writeNumbered(const fs::path& path, int count, const std::string& options,
                              const std::string& inputOptions = "") {
    std::vector<Picture> pictures;
    for (int i = 0; i < count; ++i) pictures.push_back(numberedPicture(i));
    const fs::path raw = path.string() + ".in";
    put(raw, packed(pictures));
    const auto run = shell("ffmpeg -v error -y -f rawvideo -pix_fmt bgr24 -s 128x64 -r 25 " + inputOptions + " -i " +
                           quoted(raw) + " " + options + " " + quoted(path));
    EXPECT_EQ(run.status, 0) << run.text;
    fs::remove(raw);
    return path;
}

}  // namespace vexcap::ffmpeg::test
