// Our files in the hands of programs that others wrote.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "hosts/common/engine.h"
#include "tests/support/recording.h"
#include "tests/support/ser_reader.h"
#include "tests/support/shell.h"
#include "tests/support/temp_dir.h"

namespace vexcap::test {
namespace readers_test {

/// Mean, smallest and largest sample of one frame.
struct Statistics {
    double mean = 0;
    uint32_t smallest = ~0u, largest = 0;
};

Statistics statisticsOf(const SerFile& file, uint32_t frame) {
    Statistics result;
    const uint32_t width = file.header().width, height = file.header().height;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t sample = file.sample(frame, x, y);
            result.mean += double(sample) / width / height;
            result.smallest = std::min(result.smallest, sample);
            result.largest = std::max(result.largest, sample);
        }
    return result;
}

class Readers : public testing::Test {
protected:
    SerFile take(const std::string& camera, const std::string& name, int32_t frames) {
        EXPECT_TRUE(record({.camera = camera, .display = "A camera", .frames = frames}, directory.file(name)));
        std::optional<SerFile> file = SerFile::read(directory.file(name));
        if (!file) throw std::runtime_error("no file was recorded");
        return std::move(*file);
    }
    /// Runs commands in the reader's own language; its home is the directory of the files.
    ShellOutput siril(const std::string& commands) {
        std::filesystem::create_directories(directory.path() / ".config");
        std::ofstream(directory.file("script.ssf")) << "requires 1.0.0\n" << commands << "close\n";
        return shell("HOME=" + directory.path().string() + " siril-cli -d " + directory.path().string() + " -s " +
                     directory.file("script.ssf"));
    }
    const TempDir directory;
    const host::Engine engine{{.library = SIMULATED_CAMERAS, .noSettings = true}, host::Mode::Raw};
};

TEST_F(Readers, SirilFindsTheSameNumbersInAMonoFile) {
    if (!installed("siril-cli")) GTEST_SKIP() << "siril-cli is not installed";
    const SerFile file = take("sim-fast;seed=3;deterministic", "mono.ser", 6);
    const ShellOutput output = siril("seqstat mono stats.csv main\n");
    ASSERT_EQ(output.status, 0) << output.text;
    EXPECT_NE(output.text.find("640 x 480 (8 bits)"), std::string::npos) << output.text;
    EXPECT_NE(output.text.find("sensor type: MONO"), std::string::npos) << output.text;
    EXPECT_NE(output.text.find("frame count: 6"), std::string::npos) << output.text;
    EXPECT_NE(output.text.find("instrument: A camera"), std::string::npos) << output.text;

    std::ifstream csv(directory.file("stats.csv"));
    std::string line;
    ASSERT_TRUE(std::getline(csv, line));
    std::vector<std::string> names;
    for (std::stringstream cells(line); std::getline(cells, line, '\t');) names.push_back(line);
    const auto column = [&](const char* name) {
        return size_t(std::find(names.begin(), names.end(), name) - names.begin());
    };
    ASSERT_LT(column("mean"), names.size()) << "no column of means";
    constexpr double whole = 65535;  // what it divides every sample by
    uint32_t frame = 0;
    for (; std::getline(csv, line); ++frame) {
        std::vector<double> cells;
        for (std::stringstream row(line); std::getline(row, line, '\t');) cells.push_back(std::atof(line.c_str()));
        ASSERT_LT(frame, 6u);
        ASSERT_LT(column("mean"), cells.size());
        const Statistics own = statisticsOf(file, frame);
        EXPECT_NEAR(cells[column("mean")] * whole, own.mean, 0.001) << frame;
        EXPECT_NEAR(cells[column("min")] * whole, own.smallest, 0.001) << frame;
        EXPECT_NEAR(cells[column("max")] * whole, own.largest, 0.001) << frame;
    }
    EXPECT_EQ(frame, 6u);
}

TEST_F(Readers, SirilFindsTheMosaicOfABayerFile) {
    if (!installed("siril-cli")) GTEST_SKIP() << "siril-cli is not installed";
    const SerFile file = take("sim-microscope;seed=3;deterministic", "bayer.ser", 3);
    ASSERT_EQ(file.header().colorId, 9u) << "GRBG";
    const ShellOutput output = siril("seqstat bayer stats.csv main\n");
    ASSERT_EQ(output.status, 0) << output.text;
    EXPECT_NE(output.text.find("2592 x 1944 (8 bits)"), std::string::npos) << output.text;
    EXPECT_NE(output.text.find("sensor type: GRBG"), std::string::npos) << output.text;
    EXPECT_NE(output.text.find("frame count: 3"), std::string::npos) << output.text;
}

TEST_F(Readers, FfprobeFindsTheFormatOfAMonoFile) {
    if (!installed("ffprobe")) GTEST_SKIP() << "ffprobe is not installed";
    take("sim-fast;seed=3;deterministic", "mono.ser", 6);
    const ShellOutput output = shell(
        "ffprobe -v error -count_frames -show_entries "
        "stream=codec_name,pix_fmt,width,height,nb_read_frames -of compact " +
        directory.file("mono.ser"));
    ASSERT_EQ(output.status, 0) << output.text;
    EXPECT_EQ(output.text, "stream|codec_name=rawvideo|width=640|height=480|pix_fmt=gray|nb_read_frames=6\n");
}

TEST_F(Readers, FfprobeFindsTheFormatOfABayerFile) {
    if (!installed("ffprobe")) GTEST_SKIP() << "ffprobe is not installed";
    take("sim-microscope;seed=3;deterministic", "bayer.ser", 3);
    const ShellOutput output = shell(
        "ffprobe -v error -count_frames -show_entries "
        "stream=pix_fmt,width,height,nb_read_frames -of compact " +
        directory.file("bayer.ser"));
    ASSERT_EQ(output.status, 0) << output.text;
    EXPECT_EQ(output.text, "stream|width=2592|height=1944|pix_fmt=bayer_grbg8|nb_read_frames=3\n");
}

}  // namespace readers_test
}  // namespace vexcap::test
