#include "hosts/cli/options/snap_options.h"

#include "hosts/cli/options/overlay_options.h"
#include "hosts/cli/options/parts.h"
#include "hosts/common/image/image_file.h"

namespace vexcap::cli {

namespace {

std::string checkPicture(const std::string& path) {
    if (!imageKindOf(path)) return path + ": the name must end in .png, .bmp, .tif or .tiff";
    return checkPath(path);
}

/// What both commands have: one picture of one device.
void addPictureCommand(CLI::App& command, Options& options, const char* output) {
    addDevice(command, options);
    command.add_option(output, options.output, "File to write, .png, .bmp, .tif or .tiff")
        ->type_name("FILE")
        ->required()
        ->check(checkPicture);
    addOverwrite(command, options);
    addFormat(command, options);
    addCamera(command, options);
    addPicture(command, options);
    command.add_flag("-q,--quiet", options.quiet, "Print nothing but what went wrong");
    addOverlay(command, options.overlay);
}

void checkSnap(const CLI::App& command, Options& options) {
    finishOverlay(command, options.overlay);
    if (options.grab == VEX_GRAB_DISPLAY) return;
    const char* const name = options.grab == VEX_GRAB_RAW ? "--raw" : "--deep";
    if (const std::string drawn = overlayOptionOf(command); !drawn.empty())
        throw CLI::ValidationError(drawn, "nothing is drawn over the samples that " + std::string(name) + " asks for");
    if (imageKindOf(options.output) == ImageKind::Bmp)
        throw CLI::ValidationError(name, "a Windows bitmap has no room for such samples; PNG and TIFF have");
    if (options.grab == VEX_GRAB_DEEP && options.source.camera.depth == 8)
        throw CLI::ValidationError(name, "it is for samples of more than 8 bits");
}

}  // namespace

void addSnap(CLI::App& command, Options& options) {
    addPictureCommand(command, options, "-o,--output");
    addWhole(command, "--still", "N", "Take a still of this size, see \"vexcap formats --stills\"", 0, mostInt,
             options.still);
    CLI::Option* const raw = command.add_flag_function(
        "--raw", [&options](int64_t) { options.grab = VEX_GRAB_RAW; }, "The samples as the sensor gives them");
    command
        .add_flag_function(
            "--deep", [&options](int64_t) { options.grab = VEX_GRAB_DEEP; }, "Colours of more than 8 bits a channel")
        ->excludes(raw);
    command.callback([&command, &options] { checkSnap(command, options); });
}

void addView(CLI::App& command, Options& options) {
    addPictureCommand(command, options, "--snapshot");
    command
        .add_option_function<std::string>(
            "--size", [&options](const std::string& text) { options.viewSize = parseSize(text); },
            "Size of what is painted, that of the picture if not given")
        ->type_name("WxH")
        ->check([](const std::string& text) {
            constexpr uint32_t most = 16384;
            const auto size = parseSize(text);
            return size && size->width <= most && size->height <= most
                       ? std::string()
                       : text + ": a size is WIDTHxHEIGHT, each at most 16384";
        });
    command.callback([&command, &options] { finishOverlay(command, options.overlay); });
}

}  // namespace vexcap::cli
