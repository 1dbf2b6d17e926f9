#include "hosts/cli/options/parts.h"

#include <arpa/inet.h>

#include <cmath>
#include <sstream>

#include "hosts/common/text/numbers.h"
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

/// Those of IPv4; nothing looks a name up.
std::string checkAddresses(const std::string& list) {
    if (list == noValue || list == "1") return {};
    std::istringstream in(list + ",");
    for (std::string one; std::getline(in, one, ',');) {
        in_addr address = {};
        if (inet_pton(AF_INET, one.c_str(), &address) != 1)
            return "\"" + one + "\" is no address as 192.168.1.20, and no list of them";
    }
    return {};
}

}  // namespace

CLI::Option* addText(CLI::App& command, const char* name, const char* type, const char* help, const std::string& wrong,
                     const std::function<bool(const std::string& text)>& take) {
    const std::string names = name;
    const std::string shown = names.substr(names.find("--"), names.find(',', names.find("--")) - names.find("--"));
    return command
        .add_option_function<std::string>(
            name,
            [shown, wrong, take](const std::string& text) {
                if (!take(text)) throw CLI::ValidationError(shown, text + ": " + wrong);
            },
            help)
        ->type_name(type);
}

CLI::Option* addWhole(CLI::App& command, const char* name, const char* type, const char* help, int32_t least,
                      int32_t most, const std::function<void(int32_t value)>& take) {
    const std::string wrong =
        "a whole number " + (most == mostInt ? "from " + std::to_string(least) + " on"
                                             : "from " + std::to_string(least) + " to " + std::to_string(most));
    return addText(command, name, type, help, wrong, [least, most, take](const std::string& text) {
        const auto number = parseNumber(text);
        if (!number || *number < static_cast<uint32_t>(least) || *number > static_cast<uint32_t>(most)) return false;
        take(static_cast<int32_t>(*number));
        return true;
    });
}

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
    command
        .add_flag("--gige", options.engine.gige,
                  "Look for GigE Vision cameras in the network; --gige=ADDRESS,... asks these addresses only")
        ->check(checkAddresses);
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
    CameraSettings& camera = options.source.camera;
    addText(command, "--exposure", "TIME", "Exposure time in microseconds, or as 20ms, 1.5s",
            "a time in microseconds, or with a unit as 20ms or 1.5s, from 1 microsecond on",
            [&camera](const auto& text) {
                const double microseconds = std::round(parseTime(text, 1e-6).value_or(0) * 1e6);
                if (microseconds < 1 || microseconds > mostInt) return false;
                camera.exposure = static_cast<int32_t>(microseconds);
                return true;
            });
    addWhole(command, "--gain", "PERCENT", "Gain, 100 for none", 1, mostInt, camera.gain);
    addWhole(command, "--depth", "BITS", "Bits of a sample, 8 to 16", 8, 16, camera.depth);
    addWhole(command, "--binning", "N", "Factor by which both sides shrink", 1, 15, camera.binning);
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
    command.add_flag("--grey,--gray", picture.grey, "Take the colours from it");
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
