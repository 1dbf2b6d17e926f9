#include "hosts/cli/report/play_text.h"

#include "hosts/cli/host.h"
#include "hosts/cli/report/json.h"
#include "hosts/cli/report/progress.h"
#include "hosts/common/text/numbers.h"

namespace vexcap::cli {

namespace {

const char* wordOf(PlayEnd end) {
    switch (end) {
        case PlayEnd::File:
            return "file";
        case PlayEnd::Limit:
            return "limit";
        case PlayEnd::Asked:
            return "asked";
    }
    return "";
}

}  // namespace

std::string fileLine(const PlayedFile& file) {
    return file.path + ", " + sizeText(file.size) + ", " +
           (file.duration > 0 ? formatTime(file.duration) : std::string("of unknown length"));
}

std::string fileJson(const PlayedFile& file) {
    JsonObject object;
    object.Text("type", "media")
        .Text("file", file.path)
        .Integer("width", file.size.width)
        .Integer("height", file.size.height);
    if (file.duration > 0) object.Real("duration", file.duration);
    return object.Flag("seekable", file.seekable).Line();
}

std::string playLine(const PlayProgress& progress) {
    std::string line = formatTime(progress.position);
    if (progress.duration > 0) line += " of " + formatTime(progress.duration);
    return line + "  " + std::to_string(progress.frames) + " frames, " + formatReal(progress.framesPerSecond) + " fps";
}

std::string playJson(const PlayProgress& progress) {
    return JsonObject()
        .Text("type", "play")
        .Real("seconds", progress.elapsed)
        .Real("position", progress.position)
        .Integer("frames", progress.frames)
        .Real("framesPerSecond", progress.framesPerSecond)
        .Line();
}

std::string seekLine(double position) { return "at " + formatReal(position) + " seconds"; }

std::string seekJson(double position) { return JsonObject().Text("type", "seek").Real("position", position).Line(); }

std::string endLine(const PlayedFile& file, PlayEnd end, uint32_t frames) {
    return "Played " + std::to_string(frames) + " frames of " + file.path +
           (end == PlayEnd::File ? ", to its end" : ", not to its end");
}

std::string endJson(const PlayedFile& file, PlayEnd end, uint32_t frames) {
    return JsonObject()
        .Text("type", "played")
        .Text("file", file.path)
        .Text("end", wordOf(end))
        .Integer("frames", frames)
        .Line();
}

}  // namespace vexcap::cli
