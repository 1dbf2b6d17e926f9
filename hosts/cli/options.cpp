#include "hosts/cli/options.h"

#include <CLI/CLI.hpp>

#include <array>
#include <limits>
#include <span>
#include <sstream>

#include "hosts/cli/output_file.h"
#include "hosts/cli/text.h"

namespace vexcap::cli {

namespace {

constexpr int32_t mostInt = std::numeric_limits<int32_t>::max();
constexpr size_t longestPath = 259;  // UTF-16 units that the library takes

constexpr std::string_view noValue = "true";  // what CLI11 gives for a flag without a value

constexpr char exitCodes[] =
    "Exit status:\n"
    "    0  done\n"
    "    1  failure\n"
    "    2  usage\n"
    "    3  no such camera, or it cannot be opened\n"
    "    4  camera lost; the file is whole\n"
    "    5  disk full; the file is whole\n"
    "    6  recorded to the end, but frames are missing\n"
    "    7  a verified file is damaged or cut short\n"
    "  130  aborted";

using Words = std::span<const char* const>;

/// Words that stand for VEX_NAME_... and VEX_FOLDERS_..., which count from 0.
constexpr std::array nameFormats = {"yymmddHHMMSS", "yyyymmddHHMMSS", "yy-mm-dd-HH-MM-SS", "yyyy-mm-dd-HH-MM-SS",
                                    "nnnn"};
constexpr std::array subfolders = {"none", "date", "year-month-day"};

/// Without its own text in the help, where a type and two large numbers tell less than the option's name.
CLI::Validator between(int32_t least, int32_t most) { return CLI::Range(least, most).description(""); }

std::string checkPath(const std::string& path) {
    if (!isUtf8(path)) return "the name is not valid UTF-8";
    if (toUtf16(path).size() > longestPath) return "the path is longer than 259 characters";
    return {};
}

std::string checkOutput(const std::string& path) {
    if (containerOf(path) != Container::Avi && !lowerCase(path).ends_with(".ser"))
        return path + ": the name must end in .ser or .avi";
    return checkPath(path);
}

std::string checkPrefix(const std::string& text) {
    if (!isPartOfFileName(text)) return text + ": a name cannot have any of " + std::string(forbiddenInFileNames);
    return checkPath(text);
}

/// The kind of a file becomes what its name ends in.
std::string toExtension(std::string& kind) {
    if (kind == noValue) kind = "ser";
    if (kind != "ser" && kind != "avi") return kind + ": ser or avi";
    kind.insert(0, ".");
    return {};
}

std::string checkRegion(const std::string& text) {
    return parseRegion(text) ? std::string() : text + ": a region is X,Y,WIDTH,HEIGHT in even numbers of pixels";
}

std::string listed(Words words) {
    std::string text;
    for (const char* const word : words) text += (text.empty() ? "" : "|") + std::string(word);
    return text;
}

/// The number of a word, or the number itself.
std::optional<int32_t> parseChoice(Words words, const std::string& text) {
    for (size_t i = 0; i < words.size(); ++i)
        if (text == words[i] || text == std::to_string(i)) return static_cast<int32_t>(i);
    return {};
}

void addJson(CLI::App& command, Options& options) {
    command.add_flag("--json", options.json, "Print one JSON object a line");
}

void addSettingsDirectory(CLI::App& command, Options& options) {
    command.add_option("--settings", options.settingsDirectory, "Where settings are kept, instead of the user's")
        ->type_name("DIR")
        ->check(checkPath);
}

void addCommon(CLI::App& command, Options& options) {
    command.add_flag("--gige", options.gige,
                     "Look for GigE Vision cameras in the network; --gige=ADDRESS,... asks these addresses only");
    command.add_option("--library", options.library, "Camera library")->type_name("PATH")->capture_default_str();
    command.add_option("--library-prefix", options.prefix, "Prefix of its exported names")
        ->type_name("NAME")
        ->capture_default_str();
    addSettingsDirectory(command, options);
    command.add_flag("--no-settings", options.noSettings, "Standard values for all settings")->excludes("--settings");
    addJson(command, options);
}

void addDevice(CLI::App& command, Options& options) {
    command
        .add_option("-d,--device", options.device, "Index, name or identifier of the camera, see \"vexcap devices\"")
        ->type_name("NAME|INDEX")
        ->required();
}

void addSeconds(CLI::App& command, Options& options) {
    command.add_option("-s,--seconds", options.seconds, "End after this time")
        ->type_name("N")
        ->check(between(1, mostInt));
}

/// The file: one that is named, or one that gets its name by itself.
void addFile(CLI::App& command, Options& options) {
    AutoName& rules = options.autoName;
    CLI::Option* const named = command.add_option("-o,--output", options.output, "File to write, .ser or .avi")
                                   ->type_name("FILE")
                                   ->check(checkOutput);
    CLI::Option* const byItself =
        command.add_flag("--auto-name", rules.extension, "Name the file by itself; --auto-name=avi for AVI")
            ->transform(CLI::Validator(toExtension, ""))
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
    command.add_flag("--overwrite", options.overwrite, "Replace the file if it exists");
    command.callback([named, byItself] {
        if (!*named && !*byItself) throw CLI::RequiredError("--output or --auto-name");
    });
}

void addRecord(CLI::App& command, Options& options) {
    const auto setting = [&command](const char* name, std::optional<int32_t>& value, const char* type, int32_t least,
                                    int32_t most, const char* help) {
        command.add_option(name, value, help)->type_name(type)->check(between(least, most));
    };
    addDevice(command, options);
    addFile(command, options);
    addSeconds(command, options);
    command.add_option("-n,--frames", options.frames, "End after this many frames")
        ->type_name("N")
        ->check(between(1, mostInt));
    command.add_option("--time-lapse", options.timeLapse, "Keep one frame in so many")
        ->type_name("N")
        ->check(between(1, mostInt));
    setting("--exposure", options.camera.exposure, "MICROSECONDS", 1, mostInt, "Exposure time");
    setting("--gain", options.camera.gain, "PERCENT", 1, mostInt, "Gain, 100 for none");
    setting("--depth", options.camera.depth, "BITS", 8, 16, "Bits of a sample, 8 to 16");
    setting("--fps", options.camera.frameRate, "N", 1, mostInt, "Frames a second at most");
    setting("--binning", options.camera.binning, "N", 1, 15, "Factor by which both sides shrink");
    command
        .add_option_function<std::string>(
            "--roi", [&options](const std::string& text) { options.camera.region = parseRegion(text); },
            "Region of interest, even numbers of pixels")
        ->type_name("X,Y,W,H")
        ->check(checkRegion);
    command.add_flag("-q,--quiet", options.quiet, "No progress, and a summary only when something went wrong");
}

}  // namespace

std::optional<Region> parseRegion(const std::string& text) {
    Region region;
    char comma[3] = {};
    std::istringstream in(text);
    if (text.empty() || text.find_first_not_of("0123456789,") != std::string::npos) return {};
    in >> region.x >> comma[0] >> region.y >> comma[1] >> region.width >> comma[2] >> region.height;
    if (in.fail() || !in.eof() || comma[0] != ',' || comma[1] != ',' || comma[2] != ',') return {};
    if ((region.x | region.y | region.width | region.height) & 1) return {};
    return region;
}

ParsedCommandLine parseCommandLine(int count, const char* const* arguments) {
    Options options;
    CLI::App app("Recording and preview of telescope and microscope cameras.", "vexcap");
    app.set_version_flag("--version", "vexcap " VEXCAP_VERSION);
    app.require_subcommand(1);
    app.footer(exitCodes);

    CLI::App& devices = *app.add_subcommand("devices", "List the cameras that can be opened");
    devices.add_flag("--sizes", options.sizes, "Open each camera and list its sizes");
    addCommon(devices, options);
    CLI::App& record = *app.add_subcommand("record", "Record a camera's raw frames as SER, or its pictures as AVI");
    addRecord(record, options);
    addCommon(record, options);
    record.footer(
        "Without a limit the recording goes on until Ctrl-C, which leaves a whole file; a second Ctrl-C "
        "aborts.\n" +
        std::string(exitCodes));
    CLI::App& watch = *app.add_subcommand("watch", "Watch a camera's frame rate without recording");
    addDevice(watch, options);
    addSeconds(watch, options);
    addCommon(watch, options);
    CLI::App& verify = *app.add_subcommand("verify", "Tell what SER and AVI files hold, and whether they are whole");
    verify.add_option("files", options.files, "Files to read")->type_name("FILE")->required();
    addJson(verify, options);
    verify.footer(exitCodes);
    CLI::App& settings = *app.add_subcommand("settings", "List, read and store the settings that are remembered");
    settings.add_option("settings", options.settings, "Prints a setting, or stores its value")
        ->type_name("NAME[=VALUE]");
    addSettingsDirectory(settings, options);
    addJson(settings, options);

    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        std::ostringstream out, err;
        if (app.exit(error, out, err) == 0) return {std::nullopt, out.str(), exitDone};
        return {std::nullopt, "vexcap: " + err.str(), exitUsage};
    }
    if (options.gige == noValue) options.gige = "1";
    const std::pair<const CLI::App*, Command> commands[] = {{&devices, Command::Devices},
                                                            {&record, Command::Record},
                                                            {&settings, Command::Settings},
                                                            {&verify, Command::Verify},
                                                            {&watch, Command::Watch}};
    for (const auto& [subcommand, command] : commands)
        if (subcommand->parsed()) options.command = command;
    return {options, {}, exitDone};
}

}  // namespace vexcap::cli
