#include <cstdio>

#include "hosts/cli/commands.h"
#include "hosts/cli/failure.h"
#include "hosts/cli/json.h"
#include "hosts/cli/session.h"

namespace vexcap::cli {

namespace {

/// Sizes that the camera offers; none when it cannot be opened now.
std::vector<Size> sizesOf(Engine& engine, const Device& device) {
    std::vector<Size> sizes;
    try {
        const Session session(engine, device);
        vex_capability* list = nullptr;
        const int32_t count = vexcap_get_capability(session.Context(), &list);
        for (int32_t i = 0; list && i < count; ++i)
            sizes.push_back(
                {static_cast<uint32_t>(list[i].header.biWidth), static_cast<uint32_t>(list[i].header.biHeight)});
        vexcap_free_capability(list);
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
    Engine engine(options);
    const std::vector<Device> devices = engine.Devices();
    if (devices.empty()) throw Failure(exitNoDevice, "no camera found by " + options.library);
    for (size_t i = 0; i < devices.size(); ++i) {
        const Device& device = devices[i];
        std::vector<Size> sizes;
        if (options.sizes) sizes = sizesOf(engine, device);
        if (options.json) {
            JsonObject object;
            object.Text("type", "device")
                .Integer("index", static_cast<int64_t>(i))
                .Text("name", device.name)
                .Text("identifier", device.identifier);
            if (options.sizes) object.Raw("sizes", "[" + joined(sizes, "[", ",", "]", ",") + "]");
            std::printf("%s\n", object.Line().c_str());
        } else {
            std::printf("%2zu  %-32s  %s", i, device.name.c_str(), device.identifier.c_str());
            if (options.sizes) std::printf("  %s", joined(sizes, "", "x", "", " ").c_str());
            std::printf("\n");
        }
    }
    return exitDone;
}

}  // namespace vexcap::cli
