#include "hosts/cli/options/parts.h"

#include <limits>
#include <sstream>

#include "hosts/common/text/text.h"

namespace vexcap::cli {

namespace {

constexpr size_t longestPath = 259;  // UTF-16 units that the library takes

std::string checkFormat(const std::string& text) {
    return parseFormatChoice(text) ? std::string() : text + ": a format is N, WIDTHxHEIGHT or LAYOUT:WIDTHxHEIGHT";
}

std::string checkRegion(const std::string& text) {
    return parseRegion(text) ? std::string() : text + ": a region is X,Y,WIDTH,HEIGHT in even numbers of pixels";
}

}  // namespace

CLI::Validator between(int32_t least, int32_t most) { return CLI::Range(least, most).description(""); }

std::string checkPath(const std::string& path) {
    if (!isUtf8(path)) return "the name is not valid UTF-8";
    if (toUtf16(path).size() > longestPath) return "the path is longer than 259 characters";
    return {};
}

std::string checkSize(const std::string& text) {
    return parseSize(text) ? std::string() : text + ": a size is WIDTHxHEIGHT";
}

std::string listed(Words words) {
    std::string text;
    for (const char* const word : words) text += (text.empty() ? "" : "|") + std::string(word);
    return text;
}

std::optional<int32_t> parseChoice(Words words, const std::string& text) {
    for (size_t i = 0; i < words.size(); ++i)
        if (text == words[i] || text == std::to_string(i)) return static_cast<int32_t>(i);
    return {};
}

void addJson(CLI::App& command, Options& options) {
    command.add_flag("--json", options.json, "Print one JSON object a line");
}

void addSettingsDirectory(CLI::App& command, Options& options) {
    command.add_option("--settings", options.engine.settings, "Where settings are kept, instead of the user's")
        ->type_name("DIR")
        ->check(checkPath);
}

void addCommon(CLI::App& command, Options& options) {
    command.add_flag("--gige", options.engine.gige,
                     "Look for GigE Vision cameras in the network; --gige=ADDRESS,... asks these addresses only");
    command.add_option("--library", options.engine.library, "Camera library")->type_name("PATH")->capture_default_str();
    command.add_option("--library-prefix", options.engine.prefix, "Prefix of its exported names")
        ->type_name("NAME")
        ->capture_default_str();
    addSettingsDirectory(command, options);
    command.add_flag("--no-settings", options.engine.noSettings, "Standard values for all settings")
        ->excludes("--settings");
    addJson(command, options);
}

CLI::Option* addOptionalDevice(CLI::App& command, Options& options) {
    return command
        .add_option("-d,--device", options.device, "Index, name or identifier of the device, see \"vexcap devices\"")
        ->type_name("NAME|INDEX")
        ->check([](const std::string& name) { return name.empty() ? "no device is named" : ""; });
}

void addDevice(CLI::App& command, Options& options) { addOptionalDevice(command, options)->required(); }

void addFormat(CLI::App& command, Options& options) {
    command
        .add_option_function<std::string>(
            "--format", [&options](const std::string& text) { options.source.format = parseFormatChoice(text); },
            "Format of the frames, see \"vexcap formats\"")
        ->type_name("N|WxH|LAYOUT:WxH")
        ->check(checkFormat);
}

void addOverwrite(CLI::App& command, Options& options) {
    command.add_flag("--overwrite", options.overwrite, "Replace the file if it exists");
}

void addCamera(CLI::App& command, Options& options) {
    const auto setting = [&command](const char* name, std::optional<int32_t>& value, const char* type, int32_t least,
                                    int32_t most, const char* help) {
        command.add_option(name, value, help)->type_name(type)->check(between(least, most));
    };
    setting("--exposure", options.source.camera.exposure, "MICROSECONDS", 1, mostInt, "Exposure time");
    setting("--gain", options.source.camera.gain, "PERCENT", 1, mostInt, "Gain, 100 for none");
    setting("--depth", options.source.camera.depth, "BITS", 8, 16, "Bits of a sample, 8 to 16");
    setting("--binning", options.source.camera.binning, "N", 1, 15, "Factor by which both sides shrink");
    command
        .add_option_function<std::string>(
            "--roi", [&options](const std::string& text) { options.source.camera.region = parseRegion(text); },
            "Region of interest, even numbers of pixels")
        ->type_name("X,Y,W,H")
        ->check(checkRegion);
}

void addPicture(CLI::App& command, Options& options) {
    PictureSettings& picture = options.source.picture;
    command
        .add_option_function<std::string>(
            "--flip",
            [&picture](const std::string& way) {
                picture.mirrored = way != "vertical";
                picture.upsideDown = way != "horizontal";
            },
            "Mirror the picture of a video input device")
        ->type_name("horizontal|vertical|both")
        ->check(CLI::IsMember({"horizontal", "vertical", "both"}).description(""));
    command.add_flag("--grey", picture.grey, "Take the colours from it");
    command.add_flag("--negative", picture.negative, "Turn its brightness round");
    command.add_option("--dark", picture.dark, "Dark frame for it, instead of the one that is kept")
        ->type_name("FILE.bmp")
        ->check(checkPath);
}

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

}  // namespace vexcap::cli
