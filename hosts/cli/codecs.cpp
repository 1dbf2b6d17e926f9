#include "hosts/cli/codecs.h"

#include <vexcap/vexcap.h>

#include <algorithm>
#include <cstdio>

#include "hosts/cli/commands.h"
#include "hosts/cli/failure.h"
#include "hosts/cli/json.h"
#include "hosts/cli/result_text.h"
#include "hosts/cli/session.h"
#include "hosts/cli/text.h"

namespace vexcap::cli {

std::vector<Codec> allCodecs() {
    std::vector<Codec> codecs;
    vex_device* const list = vexcap_enum_codec();
    for (const vex_device* entry = list; entry && entry->name && entry->display; ++entry)
        codecs.push_back({toUtf8(entry->display), toUtf8(entry->name)});
    vexcap_free_dsvi(list);
    if (codecs.empty()) throw Failure(exitNoMedia, "there is no compressor: " + resultText(noModule));
    return codecs;
}

ExitCode listCodecs(const Options& options) {
    Options withoutCameras = options;
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
