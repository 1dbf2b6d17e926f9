#include "hosts/cli/options/options.h"

#include <algorithm>
#include <array>
#include <regex>
#include <span>
#include <sstream>

#include "hosts/cli/options/overlay_options.h"
#include "hosts/cli/options/parts.h"
#include "hosts/cli/options/snap_options.h"
#include "hosts/common/files/output_file.h"
#include "hosts/common/text/numbers.h"
#include "hosts/common/text/text.h"
#include "hosts/common/text/version_text.h"

namespace vexcap::cli {

namespace {

constexpr size_t longestExpression = 1000;
constexpr double mostSeconds = 9e11;     // of a position in units of 100 nanoseconds
constexpr int32_t mostDarkFrames = 256;  // so many of the brightest samples have room in their sum

constexpr char exitCodes[] =
    "Exit status:\n"
    "    0  done\n"
    "    1  failure\n"
    "    2  usage\n"
    "    3  no such device, or it cannot be opened\n"
    "    4  device lost; the file is whole\n"
    "    5  disk full; a recording is whole, a picture is not written\n"
    "    6  recorded to the end, but frames are missing\n"
    "    7  a verified file is damaged or cut short\n"
    "    8  no video in the file that could be played\n"
    "    9  what compresses and plays video, or draws texts, is not installed\n"
    "  130  aborted";

/// Words that stand for VEX_NAME_... and VEX_FOLDERS_..., which count from 0.
constexpr std::array nameFormats = {"yymmddHHMMSS", "yyyymmddHHMMSS", "yy-mm-dd-HH-MM-SS", "yyyy-mm-dd-HH-MM-SS",
                                    "nnnn"};
constexpr std::array subfolders = {"none", "date", "year-month-day"};

std::string checkOutput(const std::string& path) {
    if (containerOf(path) != Container::Avi && !lowerCase(path).ends_with(".ser"))
        return path + ": the name must end in .ser or .avi";
    return checkPath(path);
}

std::string checkPrefix(const std::string& text) {
    if (!isPartOfFileName(text)) return text + ": a name cannot have any of " + std::string(forbiddenInFileNames);
    return checkPath(text);
}

std::string checkKind(const std::string& kind) {
    return kind == noValue || kind == "ser" || kind == "avi" ? std::string() : kind + ": ser or avi";
}

/// The library takes the same grammar, and would list no video input device for an expression that it cannot read.
std::string checkExpression(const std::string& text) {
    if (!isUtf8(text)) return "the expression is not valid UTF-8";
    if (text.size() > longestExpression) return "the expression is longer than 1000 characters";
    try {
        std::wstring wide;
        for (size_t position = 0; position < text.size();)
            wide.push_back(static_cast<wchar_t>(nextCodePoint(text, position)));
        const std::wregex compiled(wide);
    } catch (const std::regex_error& error) {
        return text + ": no regular expression: " + error.what();
    }
    return {};
}

CLI::Option* addFilePath(CLI::App& command, Options& options, const char* help) {
    return command.add_option("file", options.files, help)
        ->type_name("FILE")
        ->required()
        ->expected(1)
        ->check([](const std::string& path) { return isUtf8(path) ? "" : "the name is not valid UTF-8"; });
}

void addSeconds(CLI::App& command, Options& options) {
    addText(command, "-s,--seconds", "TIME", "End after this time, in seconds or as 500ms, 10min",
            "a time in seconds, or with a unit as 500ms or 10min, above 0", [&options](const std::string& text) {
                const double seconds = parseTime(text, 1).value_or(0);
                options.seconds = seconds;
                return seconds > 0 && seconds <= mostInt;
            });
}

/// What belongs to AVI files alone makes one of a file that names itself.
void checkAviOptions(const CLI::App& command, Options& options) {
    finishOverlay(command, options.overlay);
    AutoName& name = options.autoName;
    const std::string drawn = overlayOptionOf(command);
    if (options.codec.empty() && drawn.empty()) return;
    if (options.autoNamed && name.extension.empty()) name.extension = ".avi";
    if (containerOf(options.autoNamed ? name.extension : options.output) != Container::Avi)
        throw drawn.empty() ? CLI::ValidationError("--codec", "only AVI files are compressed")
                            : CLI::ValidationError(drawn,
                                                   "nothing is drawn over the raw frames of a SER file; an AVI "
                                                   "file has it");
    if (!options.codec.empty() && !options.overlay.watermark.file.empty())
        throw CLI::ValidationError("--watermark", "a compressed recording has no watermark");
}

/// The file: one that is named, or one that gets its name by itself.
void addFile(CLI::App& command, Options& options) {
    AutoName& rules = options.autoName;
    CLI::Option* const named = command.add_option("-o,--output", options.output, "File to write, .ser or .avi")
                                   ->type_name("FILE")
                                   ->check(checkOutput);
    CLI::Option* const byItself =
        command.add_flag("--auto-name", rules.extension, "Name the file by itself; --auto-name=avi for AVI")
            ->check(checkKind)
            ->excludes(named);
    const auto choice = [&](const char* name, std::optional<int32_t>& value, Words words, const char* help) {
        command
            .add_option_function<std::string>(
                name, [&value, words](const std::string& text) { value = parseChoice(words, text); }, help)
            ->type_name(listed(words))
            ->needs(byItself)
            ->check([words](const std::string& text) {
                return parseChoice(words, text) ? std::string() : text + ": one of " + listed(words);
            });
    };
    command.add_option("--directory", rules.directory, "Folder for it")
        ->type_name("DIR")
        ->needs(byItself)
        ->check(checkPath);
    choice("--subfolders", rules.subfolders, subfolders, "Folders below that one");
    command.add_option("--prefix", rules.prefix, "What its name begins with")
        ->type_name("TEXT")
        ->needs(byItself)
        ->check(checkPrefix);
    choice("--name-format", rules.format, nameFormats, "What its name goes on with");
    addOverwrite(command, options);
    command.callback([named, byItself, &command, &options] {
        if (!*named && !*byItself) throw CLI::RequiredError("--output or --auto-name");
        AutoName& name = options.autoName;
        options.autoNamed = byItself->count() > 0;
        name.extension = !options.autoNamed || name.extension == noValue ? "" : "." + name.extension;
        checkAviOptions(command, options);
    });
}

void addRecord(CLI::App& command, Options& options) {
    addDevice(command, options);
    addFile(command, options);
    addSeconds(command, options);
    addWhole(command, "-n,--frames", "N", "End after this many frames", 1, mostInt, options.frames);
    addWhole(command, "--time-lapse", "N", "Keep one frame in so many", 1, mostInt, options.timeLapse);
    CLI::Option* const codec =
        command.add_option("--codec", options.codec, "Compressor for an AVI file, see \"vexcap codecs\"")
            ->type_name("NAME")
            ->check([](const std::string& name) { return name.empty() ? "no name" : checkPath(name); });
    addWhole(command, "--quality", "PERCENT", "Quality of the compressor, 1 to 100, instead of the remembered one", 1,
             100, options.quality)
        ->needs(codec);
    addFormat(command, options);
    addCamera(command, options);
    addWhole(command, "--fps", "N", "Frames a second at most", 1, mostInt, options.source.camera.frameRate);
    addPicture(command, options);
    command.add_flag("-q,--quiet", options.quiet, "No progress, and a summary only when something went wrong");
    addOverlay(command, options.overlay);
}

/// Its actions are commands of their own.
void addDark(CLI::App& command, Options& options) {
    command.require_subcommand(1);
    const auto action = [&](const char* name, const char* help, DarkAction value) -> CLI::App& {
        CLI::App& added = *command.add_subcommand(name, help);
        added.callback([&options, value] { options.darkAction = value; });
        addOptionalDevice(added, options);
        return added;
    };
    const auto size = [&](CLI::App& to) {
        to.add_option_function<std::string>(
              "--size", [&options](const std::string& text) { options.darkSize = parseSize(text); },
              "The frame of this size, where several are kept")
            ->type_name("WxH")
            ->check(checkSize);
    };
    CLI::App& capture = action("capture", "Take the mean of dark frames, and keep it", DarkAction::Capture);
    addFormat(capture, options);
    addWhole(capture, "-n,--frames", "N", "Frames of which the mean is taken, 50 if not given", 1, mostDarkFrames,
             options.frames);
    CLI::App& import = action("import", "Keep a bitmap as dark frame", DarkAction::Import);
    addFilePath(import, options, "Windows bitmap of 24 bits a pixel, as large as the picture");
    addFormat(import, options);
    CLI::App& exported = action("export", "Copy the dark frame that is kept to a bitmap", DarkAction::Export);
    addFilePath(exported, options, "File to write");
    size(exported);
    addOverwrite(exported, options);
    CLI::App& on = action("on", "Let record and watch apply it", DarkAction::On);
    CLI::App& off = action("off", "Let them leave it", DarkAction::Off);
    CLI::App& show = action("show", "List the dark frames that are kept", DarkAction::Show);
    for (CLI::App* const each : {&capture, &import, &exported, &on, &off, &show}) {
        addCommon(*each, options);
        each->footer(exitCodes);
    }
}

void addPlay(CLI::App& command, Options& options) {
    addFilePath(command, options, "File to play");
    command
        .add_option_function<std::vector<std::string>>(
            "--seek",
            [&options](const std::vector<std::string>& positions) {
                for (const std::string& text : positions) {
                    const auto seconds = parseTime(text, 1);
                    if (!seconds || *seconds > mostSeconds)
                        throw CLI::ValidationError("--seek", text + ": a position is a number of seconds");
                    options.seeks.push_back(*seconds);
                }
            },
            "Go to this second and show its picture first; may be given repeatedly")
        ->type_name("SECONDS")
        ->take_all()
        ->expected(1);
    addSeconds(command, options);
    addJson(command, options);
    command.footer(exitCodes);
}

/// "vexcap dark show": the command that was read when a mistake was found.
std::string commandOf(const CLI::App& app) {
    const std::vector<CLI::App*> read = app.get_subcommands();
    return read.empty() ? app.get_name() : app.get_name() + " " + commandOf(*read.front());
}

/// Refuses a word that stands where a command has to, and is none; proposes the one that was meant.
void checkCommand(const CLI::App& app, std::span<const std::string> words) {
    if (words.empty() || words.front().starts_with('-')) return;
    std::vector<std::string> commands;
    for (const CLI::App* const command : app.get_subcommands({})) {
        if (command->get_name() == words.front()) {
            if (command->get_require_subcommand_min()) checkCommand(*command, words.subspan(1));
            return;
        }
        commands.push_back(command->get_name());
    }
    const std::string meant = closest(commands, words.front());
    throw CLI::ParseError(
        "there is no command " + words.front() + (meant.empty() ? "" : "; did you mean " + meant + "?"), exitUsage);
}

}  // namespace

ParsedCommandLine parseCommandLine(int count, const char* const* arguments) {
    Options options;
    CLI::App app("Recording and preview of telescope and microscope cameras, and of video input devices.", "vexcap");
    app.set_version_flag("-v,--version", [] { return versionText(); });
    app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
        return std::string(error.what()) + "\nSee \"" + commandOf(*failed) + " --help\".\n";
    });
    app.require_subcommand(1);
    app.footer(exitCodes);

    CLI::App& devices = *app.add_subcommand("devices", "List the cameras and video input devices that can be opened");
    devices.add_flag("--sizes", options.sizes, "Open each one and list its sizes");
    devices.add_option("--match", options.match, "List no video input device but those whose identifier this matches")
        ->type_name("REGEX")
        ->check(checkExpression);
    addCommon(devices, options);
    CLI::App& formats = *app.add_subcommand("formats", "List the formats that a device offers");
    addOptionalDevice(formats, options);
    formats.add_flag("--stills", options.stills, "List the sizes of its stills instead");
    addCommon(formats, options);
    CLI::App& codecs = *app.add_subcommand("codecs", "List the compressors for AVI files");
    codecs.add_flag("--long", options.longNames, "With the names that the library and the setting AviCodec know");
    addJson(codecs, options);
    codecs.footer(exitCodes);
    CLI::App& record = *app.add_subcommand("record", "Record a camera's raw frames as SER, or pictures as AVI");
    addRecord(record, options);
    addCommon(record, options);
    record.footer(
        "Without a limit the recording goes on until Ctrl-C, which leaves a whole file; a second Ctrl-C "
        "aborts.\n" +
        std::string(exitCodes));
    CLI::App& snap = *app.add_subcommand("snap", "Take one picture, and write it as PNG, TIFF or Windows bitmap");
    addSnap(snap, options);
    addCommon(snap, options);
    CLI::App& view = *app.add_subcommand("view", "Paint the preview once into a picture");
    addView(view, options);
    addCommon(view, options);
    CLI::App& watch = *app.add_subcommand("watch", "Watch a device's frame rate without recording");
    addDevice(watch, options);
    addSeconds(watch, options);
    addCommon(watch, options);
    CLI::App& dark = *app.add_subcommand("dark", "Take, keep and switch the dark frame of a video input device");
    addDark(dark, options);
    CLI::App& play = *app.add_subcommand("play", "Play a media file without showing it");
    addPlay(play, options);
    CLI::App& verify = *app.add_subcommand("verify", "Tell what SER and AVI files hold, and whether they are whole");
    verify.add_option("files", options.files, "Files to read")->type_name("FILE")->required();
    addJson(verify, options);
    verify.footer(exitCodes);
    CLI::App& settings = *app.add_subcommand("settings", "List, read and store the settings that are remembered");
    settings.add_option("settings", options.settings, "Prints a setting, or stores its value; NAME= empties a text")
        ->type_name("NAME[=VALUE]");
    settings.add_option("--default", options.defaults, "Gives a setting its standard value again")
        ->type_name("NAME")
        ->take_all()
        ->expected(1);
    addSettingsDirectory(settings, options);
    addJson(settings, options);

    try {
        std::vector<std::string> words(arguments + std::min(count, 1), arguments + count);
        // "help record" is "record --help".
        if (!words.empty() && words.front() == "help") {
            std::rotate(words.begin(), words.begin() + 1, words.end());
            words.back() = "--help";
        }
        checkCommand(app, words);
        std::reverse(words.begin(), words.end());  // as CLI11 takes them
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        std::ostringstream out, err;
        const bool asked = app.exit(error, out, err) == 0;
        std::string text = asked ? out.str() : err.str();
        text.erase(text.find_last_not_of('\n') + 1);
        return {std::nullopt, text, asked ? exitDone : exitUsage};
    }
    if (options.engine.gige == noValue) options.engine.gige = "1";
    const std::pair<const CLI::App*, Command> commands[] = {
        {&codecs, Command::Codecs},     {&dark, Command::Dark},  {&devices, Command::Devices},
        {&formats, Command::Formats},   {&play, Command::Play},  {&record, Command::Record},
        {&settings, Command::Settings}, {&snap, Command::Snap},  {&verify, Command::Verify},
        {&view, Command::View},         {&watch, Command::Watch}};
    for (const auto& [subcommand, command] : commands)
        if (subcommand->parsed()) options.command = command;
    return {options, {}, exitDone};
}

}  // namespace vexcap::cli
