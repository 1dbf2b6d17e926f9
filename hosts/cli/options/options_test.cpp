#include <vexcap/settings.h>

#include "hosts/cli/options/options_testing.h"

namespace vexcap::cli {
namespace options_test {

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
    EXPECT_EQ(options.source.camera.exposure, 5000);
    EXPECT_EQ(options.source.camera.gain, 150);
    EXPECT_EQ(options.source.camera.depth, 12);
    EXPECT_EQ(options.source.camera.region, (Region{0, 2, 640, 480}));
    EXPECT_EQ(options.source.camera.frameRate, 30);
    EXPECT_EQ(options.source.camera.binning, 2);
    EXPECT_TRUE(options.json && options.quiet && options.overwrite);
}

TEST(Options, WhatIsNotGivenStaysUnset) {
    const Options options = parsed({"record", "-d", "x", "-o", "a.SER"});
    EXPECT_EQ(options.engine.library, "libvexcap-cameras.so.1");
    EXPECT_EQ(options.engine.prefix, "Vexcam");
    EXPECT_EQ(options.engine.gige, "");
    EXPECT_FALSE(options.source.camera.exposure || options.source.camera.gain || options.source.camera.depth ||
                 options.source.camera.region || options.source.camera.frameRate || options.source.camera.binning);
    EXPECT_FALSE(options.json || options.quiet || options.overwrite);
    EXPECT_EQ(options.seconds, 0);
    EXPECT_EQ(options.frames, 0);
}

TEST(Options, GigeTakesAddressesOrStandsAlone) {
    EXPECT_EQ(parsed({"devices", "--gige"}).engine.gige, "1");
    EXPECT_EQ(parsed({"devices", "--gige=10.0.0.2,10.0.0.3"}).engine.gige, "10.0.0.2,10.0.0.3");
    EXPECT_EQ(parsed({"watch", "--gige", "-d", "0"}).engine.gige, "1");
}

TEST(Options, DevicesAndWatchTakeTheirs) {
    const Options devices =
        parsed({"devices", "--sizes", "--json", "--library", "/x/y.so", "--library-prefix", "Other"});
    EXPECT_EQ(devices.command, Command::Devices);
    EXPECT_TRUE(devices.sizes && devices.json);
    EXPECT_EQ(devices.engine.library, "/x/y.so");
    EXPECT_EQ(devices.engine.prefix, "Other");
    const Options watch = parsed({"watch", "--device", "planet", "--seconds", "3"});
    EXPECT_EQ(watch.command, Command::Watch);
    EXPECT_EQ(watch.seconds, 3);
}

TEST(Options, MistakesAreUsageErrors) {
    refusal({});
    refusal({"stroll"});
    refusal({"play"});
    refusal({"record"});
    refusal({"record", "-d", "0"});
    refusal({"record", "-o", "a.ser"});
    refusal({"watch"});
    refusal({"devices", "--unknown"});
    refusal({"watch", "-d", "0", "--seconds", "0"});
    refusal({"watch", "-d", ""});
    for (const char* name : {"--frames", "--fps"}) refusal({"record", "-d", "0", "-o", "a.ser", name, "1.5"});
    for (const char* wrong : {"0", "-1", "abc", "5000000000"})
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
    EXPECT_FALSE(parsed({"record", "-d", "0", "-o", "a.ser"}).autoNamed);
    EXPECT_TRUE(parsed({"record", "-d", "0", "--auto-name"}).autoNamed);
    EXPECT_EQ(parsed({"record", "-d", "0", "--auto-name"}).autoName.extension, "");
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

TEST(Options, ARecordingTakesACompressor) {
    const Options options = parsed({"record", "-d", "0", "-o", "a.AVI", "--codec", "MJPEG", "--quality", "80"});
    EXPECT_EQ(options.codec, "MJPEG");
    EXPECT_EQ(options.quality, 80u);
    EXPECT_FALSE(parsed({"record", "-d", "0", "-o", "a.avi", "--codec", "x"}).quality);
    for (const char* wrong : {"0", "101", "-1", "x", "50%"})
        refusal({"record", "-d", "0", "-o", "a.avi", "--codec", "x", "--quality", wrong});
    refusal({"record", "-d", "0", "-o", "a.avi", "--codec", ""});
    EXPECT_NE(refusal({"record", "-d", "0", "-o", "a.avi", "--quality", "80"}).find("requires --codec"),
              std::string::npos);
}

TEST(Options, OnlyAviFilesAreCompressed) {
    EXPECT_NE(refusal({"record", "-d", "0", "-o", "a.ser", "--codec", "x"}).find("only AVI files are compressed"),
              std::string::npos);
    refusal({"record", "-d", "0", "--auto-name=ser", "--codec", "x"});
    EXPECT_EQ(parsed({"record", "-d", "0", "--auto-name", "--codec", "x"}).autoName.extension, ".avi");
    EXPECT_EQ(parsed({"record", "-d", "0", "--auto-name=avi", "--codec", "x"}).autoName.extension, ".avi");
}

TEST(Options, TheFormatIsANumberOrASize) {
    const auto format = [](const char* text) {
        return parsed({"record", "-d", "0", "-o", "a.avi", "--format", text}).source.format;
    };
    EXPECT_EQ(format("3")->index, 3u);
    EXPECT_EQ(format("MJPG:640x480"), (FormatChoice{.index = {}, .layout = "MJPG", .size = {640, 480}}));
    EXPECT_FALSE(parsed({"record", "-d", "0", "-o", "a.avi"}).source.format);
    for (const char* wrong : {"", "640x", "MJPG"})
        EXPECT_NE(refusal({"record", "-d", "0", "-o", "a.avi", "--format", wrong}).find("a format is N"),
                  std::string::npos)
            << wrong;
}

TEST(Options, APictureIsFlippedThreeWays) {
    const auto picture = [](const char* way) {
        return parsed({"record", "-d", "0", "-o", "a.avi", "--flip", way}).source.picture;
    };
    EXPECT_TRUE(picture("horizontal").mirrored && !picture("horizontal").upsideDown);
    EXPECT_TRUE(!picture("vertical").mirrored && picture("vertical").upsideDown);
    EXPECT_TRUE(picture("both").mirrored && picture("both").upsideDown);
    refusal({"record", "-d", "0", "-o", "a.avi", "--flip", "left"});
    const PictureSettings plain = parsed({"record", "-d", "0", "-o", "a.avi"}).source.picture;
    EXPECT_FALSE(plain.mirrored || plain.upsideDown || plain.grey || plain.negative);
    const PictureSettings all =
        parsed({"record", "-d", "0", "-o", "a.avi", "--grey", "--negative", "--dark", "d.bmp"}).source.picture;
    EXPECT_TRUE(all.grey && all.negative);
    EXPECT_EQ(all.dark, "d.bmp");
}

TEST(Options, DevicesAreMatchedByARegularExpression) {
    EXPECT_EQ(parsed({"devices"}).match, "");
    EXPECT_EQ(parsed({"devices", "--match", "vid_046d.*#1"}).match, "vid_046d.*#1");
    for (const char* wrong : {"(", "[a", "*", "a{2", "\\"})
        EXPECT_NE(refusal({"devices", "--match", wrong}).find("no regular expression"), std::string::npos) << wrong;
    EXPECT_NE(refusal({"devices", "--match", "a\xFF"}).find("UTF-8"), std::string::npos);
    EXPECT_NE(refusal({"devices", "--match", std::string(1001, 'a').c_str()}).find("longer than"), std::string::npos);
}

TEST(Options, FormatsAndCodecsTakeTheirs) {
    EXPECT_EQ(parsed({"formats"}).command, Command::Formats);
    EXPECT_EQ(parsed({"formats"}).device, "");
    EXPECT_EQ(parsed({"formats", "-d", "cam", "--json"}).device, "cam");
    EXPECT_FALSE(parsed({"formats"}).stills);
    EXPECT_TRUE(parsed({"formats", "--stills"}).stills);
    EXPECT_EQ(parsed({"codecs"}).command, Command::Codecs);
    EXPECT_TRUE(parsed({"codecs", "--json"}).json);
    refusal({"codecs", "--device", "0"});
}

TEST(Options, ADarkFrameHasItsActions) {
    const std::pair<const char*, DarkAction> plain[] = {
        {"capture", DarkAction::Capture}, {"on", DarkAction::On}, {"off", DarkAction::Off}, {"show", DarkAction::Show}};
    for (const auto& [word, action] : plain) {
        const Options options = parsed({"dark", word, "-d", "cam", "--json"});
        EXPECT_EQ(options.command, Command::Dark);
        EXPECT_EQ(options.darkAction, action);
        EXPECT_EQ(options.device, "cam");
        EXPECT_TRUE(options.json);
        EXPECT_EQ(parsed({"dark", word}).device, "");
    }
    refusal({"dark"});
    refusal({"dark", "wipe"});
    refusal({"dark", "on", "off"});
}

TEST(Options, ADarkFrameIsTheMeanOfAsManyFramesAsTheirSumHasRoomFor) {
    EXPECT_EQ(parsed({"dark", "capture", "--frames", "256"}).frames, 256);
    EXPECT_EQ(parsed({"dark", "capture", "--format", "640x480"}).source.format->size, (Size{640, 480}));
    for (const char* wrong : {"0", "257", "x"}) refusal({"dark", "capture", "--frames", wrong});
}

TEST(Options, ADarkFrameComesFromAFileAndGoesToOne) {
    const Options in = parsed({"dark", "import", "a.bmp", "--format", "2"});
    EXPECT_EQ(in.darkAction, DarkAction::Import);
    EXPECT_EQ(in.files, (std::vector<std::string>{"a.bmp"}));
    EXPECT_EQ(in.source.format->index, 2u);
    const Options out = parsed({"dark", "export", "b.bmp", "--size", "640x480", "--overwrite"});
    EXPECT_EQ(out.darkAction, DarkAction::Export);
    EXPECT_EQ(out.files, (std::vector<std::string>{"b.bmp"}));
    EXPECT_EQ(out.darkSize, (Size{640, 480}));
    EXPECT_TRUE(out.overwrite);
    for (const char* word : {"import", "export"}) {
        refusal({"dark", word});
        refusal({"dark", word, "a.bmp", "b.bmp"});
        refusal({"dark", word, "a\xFF.bmp"});
    }
    refusal({"dark", "export", "a.bmp", "--size", "640"});
    refusal({"dark", "capture", "a.bmp"});
}

TEST(Options, PlayTakesAFileAndPositions) {
    const Options options = parsed({"play", "a.avi", "--seek", "1.5", "--seek", "0", "--seconds", "3", "--json"});
    EXPECT_EQ(options.command, Command::Play);
    EXPECT_EQ(options.files, (std::vector<std::string>{"a.avi"}));
    EXPECT_EQ(options.seeks, (std::vector<double>{1.5, 0}));
    EXPECT_EQ(options.seconds, 3);
    EXPECT_TRUE(options.json);
    EXPECT_EQ(parsed({"play", "--seek", "2", "a.avi"}).files, (std::vector<std::string>{"a.avi"}));
    EXPECT_TRUE(parsed({"play", "a.avi"}).seeks.empty());
    for (const char* wrong : {"-1", "x", "1e300", "nan", "inf", ""}) refusal({"play", "a.avi", "--seek", wrong});
    refusal({"play", "a.avi", "b.avi"});
    refusal({"play", "a\xFF.avi"});
}

TEST(Options, SettingsAreTheUsersOrLieInADirectoryOrAreNone) {
    EXPECT_EQ(parsed({"devices"}).engine.settings, "");
    EXPECT_FALSE(parsed({"devices"}).engine.noSettings);
    EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser", "--settings", "/x"}).engine.settings, "/x");
    EXPECT_TRUE(parsed({"watch", "-d", "0", "--no-settings"}).engine.noSettings);
    refusal({"devices", "--settings", "/x", "--no-settings"});
    refusal({"settings", "--no-settings"});
    refusal({"devices", "--settings", "a\xFF"});
}

TEST(Options, SettingsAndVerifyTakeTheirs) {
    const Options settings = parsed({"settings", "A", "B=1 2", "--json", "--settings", "/x"});
    EXPECT_EQ(settings.command, Command::Settings);
    EXPECT_EQ(settings.settings, (std::vector<std::string>{"A", "B=1 2"}));
    EXPECT_EQ(settings.engine.settings, "/x");
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
    for (const std::vector<const char*>& arguments :
         std::vector<std::vector<const char*>>{{"--help"},
                                               {"--version"},
                                               {"record", "--help"},
                                               {"devices", "-h"},
                                               {"watch", "--help"},
                                               {"settings", "--help"},
                                               {"formats", "--help"},
                                               {"codecs", "--help"},
                                               {"dark", "--help"},
                                               {"dark", "capture", "--help"},
                                               {"play", "--help"},
                                               {"snap", "--help"},
                                               {"view", "--help"},
                                               {"verify", "--help"}}) {
        const ParsedCommandLine result = parse(arguments);
        EXPECT_FALSE(result.options);
        EXPECT_EQ(result.code, exitDone);
        EXPECT_FALSE(result.text.empty());
    }
    for (const char* option : {"-v", "--version"}) {
        const std::string version = parse({option}).text;
        EXPECT_TRUE(version.starts_with("vexcap " VEXCAP_VERSION "\n")) << version;
        EXPECT_NE(version.find("\nlibpng "), std::string::npos);
    }
    for (const char* word : {"130  aborted", "5  disk full", "6  recorded", "7  a verified file is damaged",
                             "8  no video", "9  what compresses"}) {
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

TEST(Options, AWrongCommandIsNamedAndTheOneThatWasMeantProposed) {
    EXPECT_EQ(refusal({"recrod", "-d", "0"}),
              "there is no command recrod; did you mean record?\nSee \"vexcap --help\".");
    EXPECT_EQ(refusal({"dark", "exprot"}), "there is no command exprot; did you mean export?\nSee \"vexcap --help\".");
    EXPECT_EQ(refusal({"stroll"}), "there is no command stroll\nSee \"vexcap --help\".");
}

TEST(Options, HelpIsACommandToo) {
    EXPECT_EQ(parse({"help"}).text, parse({"--help"}).text);
    EXPECT_EQ(parse({"help", "record"}).text, parse({"record", "--help"}).text);
    EXPECT_EQ(parse({"help", "dark", "capture"}).text, parse({"dark", "capture", "--help"}).text);
}

TEST(Options, ARefusalNamesTheHelpOfItsCommand) {
    EXPECT_NE(refusal({"watch"}).find("\nSee \"vexcap watch --help\"."), std::string::npos);
    EXPECT_NE(refusal({"dark", "import"}).find("\nSee \"vexcap dark import --help\"."), std::string::npos);
}

TEST(Options, TimesHaveFractionsAndUnits) {
    const std::pair<const char*, double> seconds[] = {
        {"1.5", 1.5}, {"010", 10}, {"500ms", 0.5}, {"2min", 120}, {"1h", 3600}};
    for (const auto& [text, value] : seconds) {
        EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser", "--seconds", text}).seconds, value) << text;
        EXPECT_EQ(parsed({"watch", "-d", "0", "--seconds", text}).seconds, value) << text;
        EXPECT_EQ(parsed({"play", "a.avi", "--seconds", text}).seconds, value) << text;
    }
    const std::pair<const char*, int32_t> exposures[] = {{"5000", 5000},    {"0100", 100}, {"5ms", 5000},
                                                         {"0.02s", 20'000}, {"32us", 32},  {"2min", 120'000'000}};
    for (const auto& [text, value] : exposures)
        EXPECT_EQ(parsed({"snap", "-d", "0", "-o", "a.png", "--exposure", text}).source.camera.exposure, value) << text;
    for (const char* wrong : {"0", "0.4us", "1h", "x", "5m", "-1ms", ""})
        refusal({"snap", "-d", "0", "-o", "a.png", "--exposure", wrong});
}

TEST(Options, WholeNumbersAreDecimal) {
    EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser", "--frames", "010"}).frames, 10);
    EXPECT_EQ(parsed({"record", "-d", "0", "-o", "a.ser", "--gain", "0100"}).source.camera.gain, 100);
    EXPECT_NE(
        refusal({"record", "-d", "0", "-o", "a.ser", "--fps", "29.97"}).find("--fps: 29.97: a whole number from 1 on"),
        std::string::npos);
    EXPECT_NE(refusal({"record", "-d", "0", "-o", "a.ser", "--depth", "17"}).find("a whole number from 8 to 16"),
              std::string::npos);
    for (const char* wrong : {"0x10", "1e2", "+5", " 5", "5 ", ""})
        refusal({"record", "-d", "0", "-o", "a.ser", "--frames", wrong});
}

TEST(Options, ColoursAndGreyAreSpelledBothWays) {
    EXPECT_TRUE(parsed({"record", "-d", "0", "-o", "a.avi", "--gray"}).source.picture.grey);
    const Options drawn = parsed(
        {"snap", "-d", "0", "-o", "a.png", "--text-color", "gray", "--marker", "cross", "--marker-color", "00ff00"});
    EXPECT_EQ(drawn.overlay.txt.DateColor, 0x808080u);
    EXPECT_EQ(drawn.overlay.geo.eMarkerGeoColor, 0x00FF00u);
}

TEST(Options, NetworkCamerasAreLookedForAtAddresses) {
    EXPECT_EQ(parsed({"devices", "--gige"}).engine.gige, "1");
    EXPECT_EQ(parsed({"devices", "--gige=192.168.1.20,10.0.0.1"}).engine.gige, "192.168.1.20,10.0.0.1");
    for (const char* wrong : {"--gige=999.1.1.1", "--gige=localhost", "--gige=10.0.0.1,", "--gige=,"})
        EXPECT_NE(refusal({"devices", wrong}).find("is no address"), std::string::npos) << wrong;
}

TEST(Options, SettingsBecomeStandardAgain) {
    EXPECT_EQ(parsed({"settings", "--default", "TimeLimit", "--default", "DirSub"}).defaults,
              (std::vector<std::string>{"TimeLimit", "DirSub"}));
}

}  // namespace options_test
}  // namespace vexcap::cli
