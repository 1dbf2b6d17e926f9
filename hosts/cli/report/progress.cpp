#include "hosts/cli/report/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "hosts/cli/host.h"
#include "hosts/cli/report/json.h"
#include "hosts/common/text/numbers.h"

namespace vexcap::cli {

namespace {

constexpr char green[] = "\033[32m";
constexpr char red[] = "\033[31m";
constexpr char plain[] = "\033[0m";

std::string timeText(const Progress& progress) {
    const auto left = secondsLeft(progress);
    return left ? formatTime(std::ceil(*left)) + " left" : formatTime(progress.elapsed);
}

std::string bar(double share, int width) {
    const int filled = static_cast<int>(share * width);
    std::string text(static_cast<size_t>(width), ' ');
    std::fill_n(text.begin(), filled, '=');
    if (filled < width) text[static_cast<size_t>(filled)] = '>';
    return text;
}

}  // namespace

std::optional<double> doneShare(const Progress& progress) {
    if (progress.frameLimit <= 0 && progress.timeLimit <= 0) return {};
    double share = 0;
    if (progress.frameLimit > 0) share = double(progress.frames) / progress.frameLimit;
    if (progress.timeLimit > 0) share = std::max(share, progress.elapsed / progress.timeLimit);
    return std::clamp(share, 0.0, 1.0);
}

std::optional<double> secondsLeft(const Progress& progress) {
    std::optional<double> left;
    if (progress.timeLimit > 0) left = progress.timeLimit - progress.elapsed;
    if (progress.frameLimit > 0 && progress.framesPerSecond > 0) {
        const double needed = (double(progress.frameLimit) - progress.frames) / progress.framesPerSecond;
        left = left ? std::min(*left, needed) : needed;
    }
    return left ? std::optional(std::max(*left, 0.0)) : std::nullopt;
}

std::string plainLine(const Progress& progress) {
    std::string line = formatTime(progress.elapsed) + "  " + std::to_string(progress.frames) + " frames, " +
                       formatReal(progress.framesPerSecond) + " fps, " + formatBytes(progress.bytesPerSecond) + "/s, " +
                       formatBytes(double(progress.bytes)) + ", " + std::to_string(progress.lost) + " lost";
    if (secondsLeft(progress)) line += ", " + timeText(progress);
    return line;
}

std::string terminalLine(const Progress& progress, int columns, bool colour) {
    struct Field {
        int rank;  ///< The lowest stays longest.
        std::string text;
        const char* tint;
    };
    const auto share = doneShare(progress);
    std::vector<Field> fields;
    if (share) fields.push_back({4, std::to_string(static_cast<int>(*share * 100)) + "%", nullptr});
    fields.push_back({0, std::to_string(progress.frames) + " frames", nullptr});
    if (progress.lost) fields.push_back({1, std::to_string(progress.lost) + " lost", red});
    fields.push_back({3, formatReal(progress.framesPerSecond) + " fps", nullptr});
    fields.push_back({5, formatBytes(progress.bytesPerSecond) + "/s", nullptr});
    fields.push_back({6, formatBytes(double(progress.bytes)), nullptr});
    fields.push_back({2, timeText(progress), nullptr});

    constexpr int gap = 2;
    const auto widthOf = [&] {
        int width = -gap;
        for (const Field& field : fields) width += gap + static_cast<int>(field.text.size());
        return width;
    };
    while (fields.size() > 1 && widthOf() > columns)
        fields.erase(std::max_element(fields.begin(), fields.end(),
                                      [](const Field& a, const Field& b) { return a.rank < b.rank; }));
    if (widthOf() > columns) return fields.front().text.substr(0, static_cast<size_t>(std::max(columns, 0)));

    constexpr int shortestBar = 8, longestBar = 30, brackets = 2;
    const int room = std::min(columns - widthOf() - gap - brackets, longestBar);
    std::string line;
    if (share && room >= shortestBar)
        line = "[" + (colour ? green + bar(*share, room) + plain : bar(*share, room)) + "]";
    for (const Field& field : fields) {
        if (!line.empty()) line.append(gap, ' ');
        line += colour && field.tint ? field.tint + field.text + plain : field.text;
    }
    return line;
}

std::string jsonLine(const Progress& progress) {
    JsonObject object;
    object.Text("type", "progress")
        .Real("seconds", progress.elapsed)
        .Integer("frames", progress.frames)
        .Integer("lost", progress.lost)
        .Integer("bytes", static_cast<int64_t>(progress.bytes))
        .Real("framesPerSecond", progress.framesPerSecond)
        .Real("bytesPerSecond", progress.bytesPerSecond);
    if (const auto left = secondsLeft(progress)) object.Real("secondsLeft", *left);
    return object.Line();
}

void RateMeter::Measure(Progress& progress) {
    constexpr double window = 2;
    samples.push_back({progress.elapsed, progress.frames, progress.bytes});
    while (samples.size() > 2 && samples.back().time - samples[1].time >= window) samples.pop_front();
    const Sample& first = samples.front();
    const double time = progress.elapsed - first.time;
    progress.framesPerSecond = time > 0 ? (progress.frames - first.frames) / time : 0;
    progress.bytesPerSecond = time > 0 ? double(progress.bytes - first.bytes) / time : 0;
}

}  // namespace vexcap::cli
