#include "hosts/cli/options/options_testing.h"

namespace vexcap::cli {
namespace snap_options_test {

TEST(SnapOptions, APictureOfADeviceGoesToAFile) {
    const Options options = parsed({"snap", "-d", "cam", "-o", "a.PNG"});
    EXPECT_EQ(options.command, Command::Snap);
    EXPECT_EQ(options.device, "cam");
    EXPECT_EQ(options.output, "a.PNG");
    EXPECT_EQ(options.grab, uint32_t{VEX_GRAB_DISPLAY});
    EXPECT_FALSE(options.still || options.overwrite || options.quiet || options.json);
    for (const char* name : {"a.png", "a.bmp", "a.tif", "a.TIFF"})
        EXPECT_EQ(parsed({"snap", "-d", "0", "-o", name}).output, name);
    for (const char* name : {"a", "a.jpg", "a.png.txt", "png", "", "a\xFF.png"})
        refusal({"snap", "-d", "0", "-o", name});
    EXPECT_NE(refusal({"snap", "-d", "0", "-o", "a.jpg"}).find("must end in .png"), std::string::npos);
    refusal({"snap", "-d", "0"});
    refusal({"snap", "-o", "a.png"});
}

TEST(SnapOptions, TakeTheSettingsOfTheDevice) {
    const Options options =
        parsed({"snap",    "-d",     "0",          "-o",     "a.png", "--exposure",  "5000",     "--gain", "150",
                "--depth", "12",     "--binning",  "2",      "--roi", "0,2,64,32",   "--format", "1",      "--flip",
                "both",    "--grey", "--negative", "--dark", "d.bmp", "--overwrite", "--json",   "--quiet"});
    EXPECT_EQ(options.source.camera.exposure, 5000);
    EXPECT_EQ(options.source.camera.gain, 150);
    EXPECT_EQ(options.source.camera.depth, 12);
    EXPECT_EQ(options.source.camera.binning, 2);
    EXPECT_EQ(options.source.camera.region, (Region{0, 2, 64, 32}));
    EXPECT_EQ(options.source.format->index, 1u);
    EXPECT_TRUE(options.source.picture.mirrored && options.source.picture.grey && options.source.picture.negative);
    EXPECT_EQ(options.source.picture.dark, "d.bmp");
    EXPECT_TRUE(options.overwrite && options.json && options.quiet);
    refusal({"snap", "-d", "0", "-o", "a.png", "--fps", "5"});
    refusal({"snap", "-d", "0", "-o", "a.png", "--seconds", "5"});
}

TEST(SnapOptions, AStillHasANumber) {
    EXPECT_EQ(parsed({"snap", "-d", "0", "-o", "a.png", "--still", "0"}).still, 0u);
    EXPECT_EQ(parsed({"snap", "-d", "0", "-o", "a.png", "--still", "2", "--raw"}).still, 2u);
    for (const char* wrong : {"-1", "x", "", "4294967296"})
        refusal({"snap", "-d", "0", "-o", "a.png", "--still", wrong});
}

TEST(SnapOptions, SamplesAreRawOrDeepAndHaveNothingDrawnOverThem) {
    EXPECT_EQ(parsed({"snap", "-d", "0", "-o", "a.tif", "--raw"}).grab, uint32_t{VEX_GRAB_RAW});
    EXPECT_EQ(parsed({"snap", "-d", "0", "-o", "a.png", "--deep"}).grab, uint32_t{VEX_GRAB_DEEP});
    refusal({"snap", "-d", "0", "-o", "a.png", "--deep", "--raw"});
    for (const char* kind : {"--raw", "--deep"}) {
        const std::string text = refusal({"snap", "-d", "0", "-o", "a.png", kind, "--date"});
        EXPECT_NE(text.find("--date: nothing is drawn over the samples that " + std::string(kind)), std::string::npos)
            << text;
        EXPECT_NE(refusal({"snap", "-d", "0", "-o", "a.bmp", kind}).find("PNG and TIFF"), std::string::npos);
        EXPECT_EQ(parsed({"snap", "-d", "0", "-o", "a.png", kind, "--pixel-size", "2"}).overlay.pixelSize, 2);
    }
}

TEST(SnapOptions, DeepPicturesHaveMoreThanEightBits) {
    EXPECT_NE(refusal({"snap", "-d", "0", "-o", "a.png", "--deep", "--depth", "8"}).find("more than 8 bits"),
              std::string::npos);
    EXPECT_EQ(parsed({"snap", "-d", "0", "-o", "a.png", "--deep", "--depth", "12"}).source.camera.depth, 12);
    EXPECT_EQ(parsed({"snap", "-d", "0", "-o", "a.png", "--raw", "--depth", "8"}).source.camera.depth, 8);
}

TEST(ViewOptions, APaintOfThePreviewGoesToAFile) {
    const Options options = parsed({"view", "-d", "0", "--snapshot", "a.png", "--size", "800x600", "--exposure", "9"});
    EXPECT_EQ(options.command, Command::View);
    EXPECT_EQ(options.output, "a.png");
    EXPECT_EQ(options.viewSize, (Size{800, 600}));
    EXPECT_EQ(options.source.camera.exposure, 9);
    EXPECT_FALSE(parsed({"view", "-d", "0", "--snapshot", "a.png"}).viewSize);
    for (const char* wrong : {"0x5", "800", "16385x1", "1x16385", "x", ""})
        refusal({"view", "-d", "0", "--snapshot", "a.png", "--size", wrong});
    refusal({"view", "-d", "0"});
    refusal({"view", "-d", "0", "--snapshot", "a.avi"});
    refusal({"view", "-d", "0", "--snapshot", "a.png", "--raw"});
    refusal({"view", "-d", "0", "--snapshot", "a.png", "--still", "1"});
}

}  // namespace snap_options_test
}  // namespace vexcap::cli
