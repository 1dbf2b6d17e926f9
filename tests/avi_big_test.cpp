// An AVI file of three segments of the real size, more than 4 GB. It is written below $VEXCAP_BIG_DIR, else in the
// working directory, and removed again.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "platform/linux/file.h"
#include "recording/avi_file.h"
#include "recording/avi_testing.h"
#include "tests/support/shell.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace avi_big_test {

constexpr uint32_t width = 1918, height = 1080, frames = 700;
constexpr uint64_t spareBytes = 1'000'000'000;

/// Noise with the frame's number in front.
class Pictures {
public:
    Pictures() : bytes(aviFrameBytes(width, height)) {
        std::mt19937 random(1);
        for (uint8_t& byte : bytes) byte = uint8_t(random());
    }
    const std::vector<uint8_t>& picture(uint32_t number) {
        std::memcpy(bytes.data(), &number, sizeof number);
        return bytes;
    }

private:
    std::vector<uint8_t> bytes;
};

class AviBig : public testing::Test {
protected:
    ~AviBig() override {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    static std::string directory() {
        const char* const told = std::getenv("VEXCAP_BIG_DIR");
        return told && *told ? told : ".";
    }
    const std::string path = directory() + "/vexcap_avi_big_" + std::to_string(::getpid()) + ".avi";
    Pictures pictures;
};

TEST_F(AviBig, ThreeSegmentsOfTheRealSizeAreReadByEveryProgram) {
    const uint64_t frameBytes = aviFrameBytes(width, height);
    if (std::filesystem::space(directory()).available < frames * frameBytes + spareBytes)
        GTEST_SKIP() << "not enough room in " << directory();
    LinuxFileSystem files;
    auto made = AviFile::create(files, wide(path), {.width = width, .height = height});
    ASSERT_TRUE(made.ok());
    for (uint32_t i = 0; i < frames; ++i)
        ASSERT_TRUE(made.value()->writeFrame(std::as_bytes(std::span(pictures.picture(i)))).ok());
    ASSERT_EQ(made.value()->close(), S_OK);
    ASSERT_EQ(storeRealRate(files, wide(path), frames * 20), S_OK);

    std::ifstream in(path, std::ios::binary);
    const AviContent content = readAvi(in);
    EXPECT_EQ(content.faults, std::vector<std::string>());
    ASSERT_EQ(content.segments.size(), 3u);
    for (uint64_t i = 0; i < 2; ++i) {
        EXPECT_LE(content.segments[i].end, (i + 1) * aviSegmentBytes);
        EXPECT_GT(content.segments[i].end + frameBytes + 100'000, (i + 1) * aviSegmentBytes);
    }
    EXPECT_GT(content.segments[2].end, uint64_t(1) << 32);
    const std::vector<AviFrame> places = content.frames();
    ASSERT_EQ(places.size(), frames);
    std::vector<uint8_t> found(frameBytes);
    in.clear();
    for (uint32_t i = 0; i < frames; ++i) {
        in.seekg(std::streamoff(places[i].position))
            .read(reinterpret_cast<char*>(found.data()), std::streamsize(frameBytes));
        ASSERT_TRUE(in && places[i].size == frameBytes && found == pictures.picture(i)) << "frame " << i;
    }

    if (installed("ffprobe")) {
        const ShellOutput output = shell(
            "ffprobe -v error -count_packets -show_entries "
            "stream=width,height,r_frame_rate,nb_frames,nb_read_packets -of compact " +
            path);
        EXPECT_EQ(output.text, "stream|width=1918|height=1080|r_frame_rate=50/1|nb_frames=700|nb_read_packets=700\n");
    }
    if (installed("ffmpeg")) {
        // A frame of the last segment, found by its time. Its number is in the first pixels of the last row.
        const ShellOutput output =
            shell("ffmpeg -v error -nostdin -ss 13.96 -i " + path +
                  " -frames:v 1 -vf crop=2:1:0:1079 -f rawvideo -pix_fmt bgr24 - | od -An -N4 -tu4");
        EXPECT_EQ(std::atoi(output.text.c_str()), 698) << output.text;
    }
    if (installed("mediainfo")) {
        const ShellOutput output =
            shell("mediainfo --Inform='Video;%Width%x%Height% %FrameRate% %FrameCount%' " + path);
        // One less for each segment: it adds the durations that the index of indexes tells.
        EXPECT_EQ(output.text, "1918x1080 50.000 697\n");
    }
    if (installed("gst-launch-1.0")) {
        const TempDir own;  // for its register of plug-ins, so that nothing is left in the user's
        const ShellOutput output =
            shell("GST_REGISTRY=" + own.file("registry") + " gst-launch-1.0 -v filesrc location=" + path +
                  " ! avidemux ! fakesink silent=false sync=false | grep -c 'last-message = chain'");
        EXPECT_EQ(output.text, "700\n");
    }
}

}  // namespace avi_big_test
}  // namespace vexcap::test
