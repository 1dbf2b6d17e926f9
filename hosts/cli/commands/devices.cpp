#include "hosts/cli/commands/devices.h"

#include <algorithm>
#include <cstdio>

#include "hosts/cli/report/format_text.h"
#include "hosts/cli/report/json.h"
#include "hosts/cli/report/output.h"
#include "hosts/common/failure.h"
#include "hosts/common/session.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

namespace {

constexpr size_t kindWidth = 11, nameWidth = 32;

/// Sizes that the device offers, each once; none when it cannot be opened now.
std::vector<Size> sizesOf(Engine& engine, const Device& device) {
    std::vector<Size> sizes;
    try {
        for (const Format& format : Session(engine, device).Formats())
            if (std::find(sizes.begin(), sizes.end(), format.size) == sizes.end()) sizes.push_back(format.size);
    } catch (const Failure& failure) {
        std::fprintf(stderr, "vexcap: %s\n", failure.what());
    }
    return sizes;
}

std::string joined(const std::vector<Size>& sizes, const char* open, const char* between, const char* close,
                   const char* separator) {
    std::string text;
    for (const Size& size : sizes) {
        if (!text.empty()) text += separator;
        text += open + std::to_string(size.width) + between + std::to_string(size.height) + close;
    }
    return text;
}

}  // namespace

ExitCode listDevices(const Options& options) {
    Engine engine(options.engine, Mode::Pictures);
    // The index is that of the whole list, by which other commands know a device.
    const std::vector<Device> devices = engine.Devices();
    const std::vector<Device> listed = options.match.empty() ? devices : engine.Devices(options.match);
    if (listed.empty())
        throw Failure(exitNoDevice, "no camera found by " + options.engine.library + ", and no video input device" +
                                        (options.match.empty() ? "" : " that matches " + options.match) +
                                        (engine.Problem().empty() ? "" : ": " + engine.Problem()));
    if (!engine.Problem().empty()) std::fprintf(stderr, "vexcap: %s\n", engine.Problem().c_str());
    for (size_t i = 0; i < devices.size(); ++i) {
        const Device& device = devices[i];
        if (std::find(listed.begin(), listed.end(), device) == listed.end()) continue;
        std::vector<Size> sizes;
        if (options.sizes) sizes = sizesOf(engine, device);
        if (options.json) {
            JsonObject object;
            object.Text("type", "device")
                .Integer("index", static_cast<int64_t>(i))
                .Text("kind", kindWord(device))
                .Text("name", device.name)
                .Text("identifier", device.identifier)
                .Flag("simulated", device.IsSimulated());
            if (options.sizes) object.Raw("sizes", "[" + joined(sizes, "[", ",", "]", ",") + "]");
            printLine(object.Line());
        } else {
            const std::string index = std::to_string(i);
            const std::string kind = device.IsSimulated() ? "simulated" : kindWord(device);
            std::string line = std::string(index.size() < 2, ' ') + index + "  " + padded(kind, kindWidth) + "  " +
                               padded(device.name, nameWidth) + "  " + printable(device.identifier);
            if (options.sizes) line += "  " + joined(sizes, "", "x", "", " ");
            printLine(line);
        }
    }
    return exitDone;
}

ExitCode listFormats(const Options& options) {
    Engine engine(options.engine, Mode::Pictures);
    const Session session(engine, engine.Find(options.device), options.stills);
    const std::vector<Format> formats = options.stills ? session.StillFormats() : session.Formats();
    for (size_t i = 0; i < formats.size(); ++i)
        printLine(options.json ? formatJson(i, formats[i]) : formatLine(i, formats[i]));
    return exitDone;
}

}  // namespace vexcap::cli
