#include "hosts/cli/commands/codecs.h"

#include <algorithm>
#include <cstdio>

#include "hosts/cli/report/json.h"
#include "hosts/common/codecs.h"
#include "hosts/common/engine.h"

namespace vexcap::cli {

ExitCode listCodecs(const Options& options) {
    EngineConfig withoutCameras = options.engine;
    withoutCameras.library.clear();
    const Engine engine(withoutCameras, Mode::Pictures);
    const std::vector<Codec> codecs = allCodecs();
    size_t width = 0;
    for (const Codec& codec : codecs) width = std::max(width, codec.display.size());
    for (const Codec& codec : codecs) {
        if (options.json) {
            const std::string line =
                JsonObject().Text("type", "codec").Text("display", codec.display).Text("name", codec.name).Line();
            std::printf("%s\n", line.c_str());
        } else {
            std::printf("%-*s  %s\n", static_cast<int>(width), codec.display.c_str(), codec.name.c_str());
        }
    }
    return exitDone;
}

}  // namespace vexcap::cli
