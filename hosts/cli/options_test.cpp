#include "hosts/cli/options.h"

#include <gtest/gtest.h>
#include <vexcap/settings.h>

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
        parsed({"record",   "--device", "1",           "--output",     "a.ser",  "--seconds", "10",
                "--frames", "50",       "--exposure",  "5000",         "--gain", "150",       "--depth",
                "12",       "--roi",    "0,2,640,480", "--fps",        "30",     "--binning", "2",
                "--json",   "--quiet",  "--overwrite", "--time-lapse", "5"});
    EXPECT_EQ(options.command, Command::Record);
    EXPECT_EQ(options.device, "1");
    EXPECT_EQ(options.output, "a.ser");
    EXPECT_EQ(options.seconds, 10);
    EXPECT_EQ(options.frames, 50);
    EXPECT_EQ(options.timeLapse, 5);
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
    const Options devices =
        parsed({"devices", "--sizes", "--json", "--library", "/x/y.so", "--library-prefix", "Other"});
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

TEST(Options, OnlySerAndAviFilesCanBeRecorded) {
    for (const char* name : {"a.mp4", "a", "a.ser.txt", "ser", "avi", ""})
        EXPECT_NE(refusal({"record", "-d", "0", "-o", name}).find("must end in .ser or .avi"), std::string::npos)
            << name;
    for (const char* name : {"a.ser", "a.SER", "a.avi", "a.Avi"})
        EXPECT_EQ(parsed({"record", "-d", "0", "-o", name}).output, name);
}

TEST(Options, ARecordingIsNamedOrNamesItself) {
    EXPECT_NE(refusal({"record", "-d", "0"}).find("--output or --auto-name is required"), std::string::npos);
    refusal({"record", "-d", "0", "-o", "a.ser", "--auto-name"});
    EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser"}).autoName.extension, "");
    EXPECT_EQ(parsed({"record", "-d", "0", "--auto-name"}).autoName.extension, ".ser");
    EXPECT_EQ(parsed({"record", "-d", "0", "--auto-name=ser"}).autoName.extension, ".ser");
    EXPECT_EQ(parsed({"record", "-d", "0", "--auto-name=avi"}).autoName.extension, ".avi");
    for (const char* wrong : {"--auto-name=mp4", "--auto-name=.ser", "--auto-name=AVI"})
        EXPECT_NE(refusal({"record", "-d", "0", wrong}).find("ser or avi"), std::string::npos) << wrong;
}

TEST(Options, ANameThatIsNotToldIsAsRemembered) {
    const AutoName rules = parsed({"record", "-d", "0", "--auto-name"}).autoName;
    EXPECT_FALSE(rules.directory || rules.prefix || rules.format || rules.subfolders);
}

TEST(Options, ANameThatComesByItselfTakesItsRules) {
    const AutoName rules = parsed({"record", "-d", "0", "--auto-name", "--directory", "/a", "--prefix", "M 31 ",
                                   "--name-format", "nnnn", "--subfolders", "date"})
                               .autoName;
    EXPECT_EQ(rules.directory, "/a");
    EXPECT_EQ(rules.prefix, "M 31 ");
    EXPECT_EQ(rules.format, VEX_NAME_SEQUENCE);
    EXPECT_EQ(rules.subfolders, VEX_FOLDERS_DATE);
    EXPECT_EQ(parsed({"record", "-d", "0", "--auto-name", "--prefix", ""}).autoName.prefix, "");
}

TEST(Options, FormatsAndSubfoldersAreWordsOrNumbers) {
    const std::pair<const char*, int> formats[] = {{"yymmddHHMMSS", VEX_NAME_SHORT_STAMP},
                                                   {"yyyymmddHHMMSS", VEX_NAME_LONG_STAMP},
                                                   {"yy-mm-dd-HH-MM-SS", VEX_NAME_SHORT_DASHES},
                                                   {"yyyy-mm-dd-HH-MM-SS", VEX_NAME_LONG_DASHES},
                                                   {"nnnn", VEX_NAME_SEQUENCE}};
    const std::pair<const char*, int> folders[] = {
        {"none", VEX_FOLDERS_NONE}, {"date", VEX_FOLDERS_DATE}, {"year-month-day", VEX_FOLDERS_YEAR_MONTH_DAY}};
    const auto rules = [](const char* option, const std::string& value) {
        return parsed({"record", "-d", "0", "--auto-name", option, value.c_str()}).autoName;
    };
    for (const auto& [word, number] : formats) {
        EXPECT_EQ(rules("--name-format", word).format, number);
        EXPECT_EQ(rules("--name-format", std::to_string(number)).format, number);
    }
    for (const auto& [word, number] : folders) {
        EXPECT_EQ(rules("--subfolders", word).subfolders, number);
        EXPECT_EQ(rules("--subfolders", std::to_string(number)).subfolders, number);
    }
    for (const char* wrong : {"5", "-1", "", "NNNN", "yymmdd", "04"})
        EXPECT_NE(refusal({"record", "-d", "0", "--auto-name", "--name-format", wrong}).find("one of yymmdd"),
                  std::string::npos)
            << wrong;
    for (const char* wrong : {"3", "-1", "Date", "month"})
        EXPECT_NE(refusal({"record", "-d", "0", "--auto-name", "--subfolders", wrong}).find("one of none|date"),
                  std::string::npos)
            << wrong;
}

TEST(Options, RulesOfANameNeedANameThatComesByItself) {
    for (const std::vector<const char*>& rule : std::vector<std::vector<const char*>>{
             {"--directory", "/a"}, {"--prefix", "a"}, {"--name-format", "nnnn"}, {"--subfolders", "none"}}) {
        std::vector<const char*> arguments = {"record", "-d", "0", "-o", "a.ser"};
        arguments.insert(arguments.end(), rule.begin(), rule.end());
        EXPECT_NE(refusal(arguments).find("requires --auto-name"), std::string::npos) << rule[0];
    }
}

TEST(Options, APrefixIsAPartOfAFileName) {
    for (const char* wrong : {"a/b", "a:", "\\", "\"", "?", "*", "<", ">", "|", "a\xFF"})
        refusal({"record", "-d", "0", "--auto-name", "--prefix", wrong});
}

TEST(Options, TimeLapseIsOneFrameInSoMany) {
    EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser"}).timeLapse, 1);
    EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser", "--time-lapse", "2147483647"}).timeLapse, 2147483647);
    for (const char* wrong : {"0", "-1", "2147483648", "1.5", "x"})
        refusal({"record", "-d", "0", "-o", "a.ser", "--time-lapse", wrong});
}

TEST(Options, SettingsAreTheUsersOrLieInADirectoryOrAreNone) {
    EXPECT_EQ(parsed({"devices"}).settingsDirectory, "");
    EXPECT_FALSE(parsed({"devices"}).noSettings);
    EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser", "--settings", "/x"}).settingsDirectory, "/x");
    EXPECT_TRUE(parsed({"watch", "-d", "0", "--no-settings"}).noSettings);
    refusal({"devices", "--settings", "/x", "--no-settings"});
    refusal({"settings", "--no-settings"});
    refusal({"devices", "--settings", "a\xFF"});
}

TEST(Options, SettingsAndVerifyTakeTheirs) {
    const Options settings = parsed({"settings", "A", "B=1 2", "--json", "--settings", "/x"});
    EXPECT_EQ(settings.command, Command::Settings);
    EXPECT_EQ(settings.settings, (std::vector<std::string>{"A", "B=1 2"}));
    EXPECT_EQ(settings.settingsDirectory, "/x");
    EXPECT_TRUE(settings.json);
    EXPECT_TRUE(parsed({"settings"}).settings.empty());
    const Options verify = parsed({"verify", "a.ser", "b", "--json"});
    EXPECT_EQ(verify.command, Command::Verify);
    EXPECT_EQ(verify.files, (std::vector<std::string>{"a.ser", "b"}));
    refusal({"verify"});
    refusal({"verify", "--device", "0", "a.ser"});
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
    for (const std::vector<const char*>& arguments : std::vector<std::vector<const char*>>{{"--help"},
                                                                                           {"--version"},
                                                                                           {"record", "--help"},
                                                                                           {"devices", "-h"},
                                                                                           {"watch", "--help"},
                                                                                           {"settings", "--help"},
                                                                                           {"verify", "--help"}}) {
        const ParsedCommandLine result = parse(arguments);
        EXPECT_FALSE(result.options);
        EXPECT_EQ(result.code, exitDone);
        EXPECT_FALSE(result.text.empty());
    }
    EXPECT_EQ(parse({"--version"}).text, "vexcap " VEXCAP_VERSION "\n");
    for (const char* word : {"130  aborted", "5  disk full", "6  recorded", "7  a verified file is damaged"}) {
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
