#include "hosts/cli/options.h"

#include <gtest/gtest.h>

#include <vector>

namespace vexcap::cli {
namespace {

ParsedCommandLine parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "vexcap");
    return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

Options parsed(const std::vector<const char*>& arguments) {
    const ParsedCommandLine result = parse(arguments);
    EXPECT_TRUE(result.options) << result.text;
    return result.options.value_or(Options{});
}

/// The text of a command line that is refused.
std::string refusal(const std::vector<const char*>& arguments) {
    const ParsedCommandLine result = parse(arguments);
    EXPECT_FALSE(result.options);
    EXPECT_EQ(result.code, exitUsage);
    EXPECT_TRUE(result.text.starts_with("vexcap: ")) << result.text;
    return result.text;
}

TEST(Options, RecordTakesAllItsSettings) {
    const Options options =
        parsed({"record",      "--device",   "1",    "--output",  "a.ser", "--seconds", "10",      "--frames",
                "50",          "--exposure", "5000", "--gain",    "150",   "--depth",   "12",      "--roi",
                "0,2,640,480", "--fps",      "30",   "--binning", "2",     "--json",    "--quiet", "--overwrite"});
    EXPECT_EQ(options.command, Command::Record);
    EXPECT_EQ(options.device, "1");
    EXPECT_EQ(options.output, "a.ser");
    EXPECT_EQ(options.seconds, 10);
    EXPECT_EQ(options.frames, 50);
    EXPECT_EQ(options.camera.exposure, 5000);
    EXPECT_EQ(options.camera.gain, 150);
    EXPECT_EQ(options.camera.depth, 12);
    EXPECT_EQ(options.camera.region, (Region{0, 2, 640, 480}));
    EXPECT_EQ(options.camera.frameRate, 30);
    EXPECT_EQ(options.camera.binning, 2);
    EXPECT_TRUE(options.json && options.quiet && options.overwrite);
}

TEST(Options, WhatIsNotGivenStaysUnset) {
    const Options options = parsed({"record", "-d", "x", "-o", "a.SER"});
    EXPECT_EQ(options.library, "libvexcap-cameras.so.1");
    EXPECT_EQ(options.prefix, "Vexcam");
    EXPECT_EQ(options.gige, "");
    EXPECT_FALSE(options.camera.exposure || options.camera.gain || options.camera.depth || options.camera.region ||
                 options.camera.frameRate || options.camera.binning);
    EXPECT_FALSE(options.json || options.quiet || options.overwrite);
    EXPECT_EQ(options.seconds, 0);
    EXPECT_EQ(options.frames, 0);
}

TEST(Options, GigeTakesAddressesOrStandsAlone) {
    EXPECT_EQ(parsed({"devices", "--gige"}).gige, "1");
    EXPECT_EQ(parsed({"devices", "--gige=10.0.0.2,10.0.0.3"}).gige, "10.0.0.2,10.0.0.3");
    EXPECT_EQ(parsed({"watch", "--gige", "-d", "0"}).gige, "1");
}

TEST(Options, DevicesAndWatchTakeTheirs) {
    const Options devices = parsed({"devices", "--sizes", "--json", "--library", "/x/y.so", "--prefix", "Other"});
    EXPECT_EQ(devices.command, Command::Devices);
    EXPECT_TRUE(devices.sizes && devices.json);
    EXPECT_EQ(devices.library, "/x/y.so");
    EXPECT_EQ(devices.prefix, "Other");
    const Options watch = parsed({"watch", "--device", "planet", "--seconds", "3"});
    EXPECT_EQ(watch.command, Command::Watch);
    EXPECT_EQ(watch.seconds, 3);
}

TEST(Options, MistakesAreUsageErrors) {
    refusal({});
    refusal({"play"});
    refusal({"record"});
    refusal({"record", "-d", "0"});
    refusal({"record", "-o", "a.ser"});
    refusal({"watch"});
    refusal({"devices", "--unknown"});
    refusal({"watch", "-d", "0", "--seconds", "0"});
    for (const char* wrong : {"0", "-1", "abc", "5000000000", "1.5"})
        for (const char* name : {"--seconds", "--frames", "--exposure", "--fps"})
            refusal({"record", "-d", "0", "-o", "a.ser", name, wrong});
    refusal({"record", "-d", "0", "-o", "a.ser", "--depth", "7"});
    refusal({"record", "-d", "0", "-o", "a.ser", "--depth", "17"});
    refusal({"record", "-d", "0", "-o", "a.ser", "--binning", "16"});
}

TEST(Options, OnlySerFilesCanBeRecorded) {
    for (const char* name : {"a.avi", "a", "a.ser.txt", "ser"})
        EXPECT_NE(refusal({"record", "-d", "0", "-o", name}).find("must end in .ser"), std::string::npos) << name;
}

TEST(Options, APathHasAtMost259Units) {
    const std::string fits = std::string(255, 'a') + ".ser", tooLong = "a" + fits;
    parsed({"record", "-d", "0", "-o", fits.c_str()});
    EXPECT_NE(refusal({"record", "-d", "0", "-o", tooLong.c_str()}).find("longer than 259"), std::string::npos);
}

TEST(Options, APathThatIsNoUtf8IsRefused) {
    EXPECT_NE(refusal({"record", "-d", "0", "-o", "a\xFF.ser"}).find("UTF-8"), std::string::npos);
}

TEST(Options, HelpAndVersionBelongToTheStandardOutput) {
    for (const std::vector<const char*>& arguments : std::vector<std::vector<const char*>>{
             {"--help"}, {"--version"}, {"record", "--help"}, {"devices", "-h"}, {"watch", "--help"}}) {
        const ParsedCommandLine result = parse(arguments);
        EXPECT_FALSE(result.options);
        EXPECT_EQ(result.code, exitDone);
        EXPECT_FALSE(result.text.empty());
    }
    EXPECT_EQ(parse({"--version"}).text, "vexcap " VEXCAP_VERSION "\n");
    for (const char* word : {"130  aborted", "5  disk full", "6  recorded"}) {
        EXPECT_NE(parse({"--help"}).text.find(word), std::string::npos) << word;
        EXPECT_NE(parse({"record", "--help"}).text.find(word), std::string::npos) << word;
    }
}

TEST(Region, TakesFourEvenNumbersOnly) {
    EXPECT_EQ(parseRegion("0,0,64,32"), (Region{0, 0, 64, 32}));
    for (const char* wrong : {"", "1,0,64,32", "0,0,64,33", "0,0,64", "0,0,64,32,", "0,0,64,32,2", "0;0;64;32",
                              "0, 0,64,32", "-2,0,64,32", ",,,", "0,0,,32", "0,0,99999999999,32", "0,0,64,32x"})
        EXPECT_FALSE(parseRegion(wrong)) << wrong;
}

}  // namespace
}  // namespace vexcap::cli
