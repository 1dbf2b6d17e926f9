#include "hosts/cli/report/summary.h"

#include "hosts/cli/host.h"
#include "hosts/cli/report/json.h"
#include "hosts/cli/report/progress.h"
#include "hosts/common/text/numbers.h"

namespace vexcap::cli {

namespace {

const char* wordOf(Ending ending) {
    switch (ending) {
        case Ending::Limit:
            return "limit";
        case Ending::Asked:
            return "asked";
        case Ending::DeviceLost:
            return "device-lost";
        case Ending::Stalled:
            return "stalled";
        case Ending::DiskFull:
            return "disk-full";
    }
    return "";
}

const char* sentenceOf(Ending ending) {
    switch (ending) {
        case Ending::DeviceLost:
            return "The camera is gone; what it sent before is in the file.\n";
        case Ending::Stalled:
            return "The camera sends no frames any more; what it sent before is in the file.\n";
        case Ending::DiskFull:
            return "The disk is full; what fitted is in the file.\n";
        case Ending::Limit:
        case Ending::Asked:
            break;
    }
    return "";
}

double perSecond(double amount, const vex_recording_counts& counts) {
    return counts.elapsed ? amount * 1000 / counts.elapsed : 0;
}

/// For a shell; a name of plain characters stays as it is.
std::string shellWord(const std::string& text) {
    const bool harmless =
        text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./-+=:,@%") ==
        std::string::npos;
    if (harmless) return text;
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

/// Programs that open the file, as a user types them.
std::string openText(const std::string& path) {
    const std::string file = shellWord(path);
    const char* const player = containerOf(path) == Container::Avi ? "vlc " : "ser-player ";
    return "siril " + file + ", " + player + file + " or ffprobe " + file;
}

}  // namespace

std::string depthText(const RecordingResult& result) {
    if (!result.codec.empty()) return result.codec;
    return std::to_string(result.depth) + (containerOf(result.file) == Container::Avi ? " bits a pixel" : " bits");
}

ExitCode exitCodeOf(const RecordingResult& result) {
    switch (result.ending) {
        case Ending::DeviceLost:
        case Ending::Stalled:
            return exitDeviceLost;
        case Ending::DiskFull:
            return exitDiskFull;
        case Ending::Limit:
        case Ending::Asked:
            break;
    }
    if (result.counts.lost || result.cameraLost) return exitFramesLost;
    return result.counts.written ? exitDone : exitFailure;
}

std::string summaryText(const RecordingResult& result) {
    const vex_recording_counts& counts = result.counts;
    const double bytes = double(counts.bytes);
    std::string text = sentenceOf(result.ending);
    const Container container = containerOf(result.file);
    if (!counts.written) {
        if (container == Container::Avi) return text + "No frame was recorded; " + result.file + " is empty.\n";
        return text + "No frame was recorded, so there is no file " + result.file + ".\n";
    }
    text += "Recorded " + result.file + "\n";
    text += "  picture  " + std::to_string(result.width) + "x" + std::to_string(result.height) + ", " +
            depthText(result) + "\n";
    text += "  frames   " + std::to_string(counts.offered) + " offered, " + std::to_string(counts.kept) + " kept, " +
            std::to_string(counts.written) + " written, " + std::to_string(counts.lost) + " lost; the camera lost " +
            std::to_string(result.cameraLost) + "\n";
    text += "  time     " + formatReal(counts.elapsed / 1000.0) + " s, " +
            formatReal(perSecond(counts.written, counts)) + " frames a second\n";
    text += "  size     " + formatBytes(bytes) + ", " + formatBytes(perSecond(bytes, counts)) + "/s\n";
    text += "  open     " + openText(result.file) + "\n";
    if (counts.lost) {
        const char* const reason = counts.lastFailure < 0
                                       ? "the disk did not take them.\n"
                                       : "the device or this machine was too slow, or their size was another one.\n";
        text += std::to_string(counts.lost) + " frames are not in the file: " + reason;
    }
    if (result.cameraLost)
        text += std::to_string(result.cameraLost) +
                " frames were lost before they reached the "
                "recording: the camera or the way from it is too slow.\n";
    return text;
}

std::string summaryJson(const RecordingResult& result) {
    const vex_recording_counts& counts = result.counts;
    JsonObject object;
    object.Text("type", "recording")
        .Text("file", result.file)
        .Text("container", containerOf(result.file) == Container::Avi ? "avi" : "ser");
    if (!result.codec.empty()) object.Text("codec", result.codec);
    return object.Text("end", wordOf(result.ending))
        .Integer("width", result.width)
        .Integer("height", result.height)
        .Integer("depth", result.depth)
        .Integer("offered", counts.offered)
        .Integer("kept", counts.kept)
        .Integer("written", counts.written)
        .Integer("lost", counts.lost)
        .Integer("cameraLost", result.cameraLost)
        .Integer("bytes", static_cast<int64_t>(counts.bytes))
        .Real("seconds", counts.elapsed / 1000.0)
        .Real("framesPerSecond", perSecond(counts.written, counts))
        .Integer("exit", exitCodeOf(result))
        .Line();
}

}  // namespace vexcap::cli
