#include "hosts/cli/report/format_text.h"

#include "hosts/cli/report/json.h"

namespace vexcap::cli {

std::string formatJson(size_t index, const Format& format) {
    JsonObject object;
    object.Text("type", "format").Integer("index", static_cast<int64_t>(index));
    if (!format.layout.empty()) object.Text("layout", format.layout);
    object.Integer("width", format.size.width).Integer("height", format.size.height);
    if (format.HasSizeRange())
        object.Integer("leastWidth", format.least.width)
            .Integer("leastHeight", format.least.height)
            .Integer("mostWidth", format.most.width)
            .Integer("mostHeight", format.most.height);
    if (format.slowest > 0) object.Real("slowestFramesPerSecond", format.slowest);
    if (format.fastest > 0) object.Real("fastestFramesPerSecond", format.fastest);
    return object.Line();
}

}  // namespace vexcap::cli
