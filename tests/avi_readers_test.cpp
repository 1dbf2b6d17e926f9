// AVI files of the writer in the hands of programs that others wrote.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <random>

#include "platform/linux/file.h"
#include "recording/avi_file.h"
#include "recording/avi_testing.h"
#include "tests/support/shell.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace avi_readers_test {

struct Movie {
    const char* name;
    uint32_t width, height, frames;
    uint64_t segmentBytes;
    bool closed = true;    // else it ends as when the power fails
    uint32_t elapsed = 0;  // milliseconds, for the real rate
    double rate() const { return elapsed ? std::round(frames * 1e6 / elapsed) / 1000 : 25; }
    uint32_t stride() const { return (width * 3 + 3) / 4 * 4; }
    std::string size(const char* between) const { return std::to_string(width) + between + std::to_string(height); }
};

const Movie movies[] = {
    {.name = "plain", .width = 64, .height = 48, .frames = 40, .segmentBytes = aviSegmentBytes},
    {.name = "odd", .width = 67, .height = 45, .frames = 37, .segmentBytes = aviSegmentBytes, .elapsed = 3100},
    {.name = "segments", .width = 64, .height = 48, .frames = 40, .segmentBytes = 100'000, .elapsed = 1001},
    {.name = "odd_segments", .width = 65, .height = 3, .frames = 400, .segmentBytes = 20'000},
    {.name = "one_frame", .width = 1, .height = 1, .frames = 1, .segmentBytes = aviSegmentBytes},
    {.name = "cut_short", .width = 66, .height = 47, .frames = 40, .segmentBytes = aviSegmentBytes, .closed = false},
    {.name = "cut_short_segments", .width = 66, .height = 47, .frames = 40, .segmentBytes = 100'000, .closed = false},
};

std::vector<uint8_t> contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class AviReaders : public testing::TestWithParam<Movie> {
protected:
    AviReaders() { record(); }

    /// Noise, with noise in the padding of the rows, too.
    void record() {
        LinuxFileSystem files;
        auto made = AviFile::create(files, wide(path),
                                    {.width = movie.width, .height = movie.height, .segmentBytes = movie.segmentBytes});
        if (!made.ok()) throw std::runtime_error("no file was made");
        std::mt19937 random(1);
        std::vector<uint8_t> frame(aviFrameBytes(movie.width, movie.height));
        for (uint32_t i = 0; i < movie.frames; ++i) {
            for (uint8_t& byte : frame) byte = uint8_t(random());
            EXPECT_TRUE(made.value()->writeFrame(std::as_bytes(std::span(frame))).ok());
            for (uint32_t y = movie.height; y-- > 0;)
                pictures.insert(pictures.end(), frame.begin() + y * movie.stride(),
                                frame.begin() + y * movie.stride() + movie.width * 3);
        }
        if (!movie.closed) std::filesystem::copy_file(path, path + ".copy");
        EXPECT_TRUE(made.value()->close().ok());
        if (!movie.closed) std::filesystem::rename(path + ".copy", path);
        EXPECT_EQ(storeRealRate(files, wide(path), movie.elapsed), movie.elapsed ? S_OK : S_FALSE);
    }
    /// Segments of a closed file.
    size_t segments() const {
        std::ifstream in(path, std::ios::binary);
        const AviContent content = readAvi(in);
        EXPECT_TRUE(content.faults.empty());
        return content.segments.size();
    }

    const Movie movie = GetParam();
    const TempDir directory;
    const std::string path = directory.file("movie.avi");
    std::vector<uint8_t> pictures;  // what was recorded, first row first, without padding
};

TEST_P(AviReaders, FfmpegFindsFramesSizeRateAndEveryPixel) {
    if (!installed("ffprobe") || !installed("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed";
    const ShellOutput probe = shell(
        "ffprobe -v error -count_frames -show_entries "
        "stream=codec_name,pix_fmt,width,height,r_frame_rate,nb_frames,nb_read_frames -of default=noprint_wrappers=1 " +
        path);
    ASSERT_EQ(probe.status, 0) << probe.text;
    const auto expect = [&](const std::string& line) {
        EXPECT_NE(probe.text.find(line + "\n"), std::string::npos) << "no " << line << " in\n" << probe.text;
    };
    const std::string frames = std::to_string(movie.frames);
    expect("codec_name=rawvideo");
    expect("pix_fmt=bgr24");
    expect("width=" + std::to_string(movie.width));
    expect("height=" + std::to_string(movie.height));
    expect("nb_frames=" + (movie.closed ? frames : "N/A"));
    expect("nb_read_frames=" + frames);
    double numerator = 0, denominator = 0;
    const size_t rate = probe.text.find("r_frame_rate=");
    ASSERT_NE(rate, std::string::npos) << probe.text;
    ASSERT_EQ(std::sscanf(probe.text.c_str() + rate, "r_frame_rate=%lf/%lf", &numerator, &denominator), 2);
    EXPECT_NEAR(numerator / denominator, movie.rate(), 0.0005);

    const std::string raw = directory.file("movie.raw");
    const ShellOutput decoded = shell("ffmpeg -v error -nostdin -i " + path + " -f rawvideo -pix_fmt bgr24 " + raw);
    EXPECT_EQ(decoded.status, 0);
    EXPECT_EQ(decoded.text, "");
    EXPECT_TRUE(contentOf(raw) == pictures);
}

TEST_P(AviReaders, MediainfoFindsFramesSizeAndRate) {
    if (!installed("mediainfo")) GTEST_SKIP() << "mediainfo is not installed";
    const ShellOutput output =
        shell("mediainfo --Inform='Video;%Format% %CodecID% %Width%x%Height% %FrameRate% %FrameCount%' " + path);
    ASSERT_EQ(output.status, 0) << output.text;
    char rate[32];
    std::snprintf(rate, sizeof rate, "%.3f", movie.rate());
    // It adds the durations that the index of indexes tells, and each of them is one less than the frames of a segment.
    const size_t several = movie.closed && segments() > 1 ? segments() : 0;
    const std::string frames = movie.closed ? std::to_string(movie.frames - several) : "";
    EXPECT_EQ(output.text, "RGB 0x00000000 " + movie.size("x") + " " + rate + " " + frames + "\n");

    const ShellOutput profile = shell("mediainfo --Inform='General;%Format% %Format_Profile%' " + path);
    EXPECT_EQ(profile.text, several ? "AVI OpenDML\n" : "AVI \n");
}

TEST_P(AviReaders, GstreamerFindsFramesSizeRateAndEveryPixel) {
    // A register of its own, so that nothing is left in the user's.
    const std::string own = "GST_REGISTRY=" + directory.file("registry") + " ";
    if (!installed("gst-launch-1.0") || shell(own + "gst-inspect-1.0 --exists avidemux").status != 0)
        GTEST_SKIP() << "gst-launch-1.0 or its avidemux is not installed";
    const ShellOutput output =
        shell(own + "gst-launch-1.0 -v filesrc location=" + path + " ! avidemux ! fakesink silent=false sync=false");
    ASSERT_EQ(output.status, 0) << output.text;
    uint32_t frames = 0;
    for (size_t at = 0; (at = output.text.find("last-message = chain", at)) != std::string::npos; ++at) ++frames;
    EXPECT_EQ(frames, movie.frames);
    EXPECT_NE(output.text.find("format=(string)BGR"), std::string::npos) << output.text;
    EXPECT_NE(output.text.find("width=(int)" + movie.size(", height=(int)")), std::string::npos) << output.text;
    double numerator = 0, denominator = 0;
    const size_t rate = output.text.find("framerate=");
    ASSERT_NE(rate, std::string::npos) << output.text;
    ASSERT_EQ(std::sscanf(output.text.c_str() + rate, "framerate=(fraction)%lf/%lf", &numerator, &denominator), 2);
    EXPECT_NEAR(numerator / denominator, movie.rate(), 0.0005);

    const std::string raw = directory.file("movie.raw");
    ASSERT_EQ(
        shell(own + "gst-launch-1.0 -q filesrc location=" + path + " ! avidemux ! filesink location=" + raw).status, 0);
    const std::vector<uint8_t> padded = contentOf(raw);  // first row first, with the padding of the rows
    ASSERT_EQ(padded.size(), size_t(movie.stride()) * movie.height * movie.frames);
    std::vector<uint8_t> found;
    for (size_t row = 0; row < padded.size(); row += movie.stride())
        found.insert(found.end(), padded.begin() + ptrdiff_t(row), padded.begin() + ptrdiff_t(row + movie.width * 3));
    EXPECT_TRUE(found == pictures);
}

INSTANTIATE_TEST_SUITE_P(Of, AviReaders, testing::ValuesIn(movies), [](const auto& test) { return test.param.name; });

}  // namespace avi_readers_test
}  // namespace vexcap::test
