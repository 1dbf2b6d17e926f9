#include "hosts/cli/commands/codecs.h"

#include <algorithm>

#include "hosts/cli/report/json.h"
#include "hosts/cli/report/output.h"
#include "hosts/common/codecs.h"
#include "hosts/common/engine.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

ExitCode listCodecs(const Options& options) {
    EngineConfig withoutCameras = options.engine;
    withoutCameras.library.clear();
    const Engine engine(withoutCameras, Mode::Pictures);
    const std::vector<Codec> codecs = allCodecs();
    std::vector<std::string> words;
    size_t wordWidth = 0, width = 0;
    for (const Codec& codec : codecs) {
        words.push_back(codecWord(codecs, codec));
        wordWidth = std::max(wordWidth, words.back().size());
        width = std::max(width, codec.display.size());
    }
    for (size_t i = 0; i < codecs.size(); ++i) {
        const Codec& codec = codecs[i];
        if (options.json) {
            printLine(JsonObject()
                          .Text("type", "codec")
                          .Text("word", words[i])
                          .Text("display", codec.display)
                          .Text("name", codec.name)
                          .Line());
            continue;
        }
        std::string line = padded(words[i], wordWidth) + "  ";
        line += options.longNames ? padded(codec.display, width) + "  " + codec.name : codec.display;
        printLine(line);
    }
    return exitDone;
}

}  // namespace vexcap::cli
