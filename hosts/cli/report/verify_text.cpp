#include "hosts/cli/report/verify_text.h"

#include <chrono>
#include <cinttypes>
#include <cstdio>

#include "hosts/cli/host.h"
#include "hosts/cli/report/json.h"
#include "hosts/cli/report/progress.h"
#include "hosts/common/text/numbers.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

namespace {

const char* nameOf(FileReport::Container container) { return container == FileReport::Container::Avi ? "AVI" : "SER"; }

std::string line(const std::string& label, const std::string& value) {
    std::string text = "  " + label;
    text.resize(12, ' ');
    return text + value + "\n";
}

std::string pictureText(const FileReport& report) {
    const bool avi = report.container == FileReport::Container::Avi;
    std::string text = std::to_string(report.width) + "x" + std::to_string(report.height) + ", " +
                       std::to_string(report.bits) + (avi ? " bits a pixel" : " bits");
    if (!report.pixels.empty()) text += ", " + report.pixels;
    return text;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

/// The sentences of what is wrong; those that were only counted are the last one.
std::vector<std::string> problemsOf(const FileReport& report) {
    std::vector<std::string> lines = report.problems.Lines();
    if (const uint64_t untold = report.problems.Untold()) lines.push_back(std::to_string(untold) + " further problems");
    return lines;
}

}  // namespace

ExitCode exitCodeOf(const FileReport& report) { return report.Whole() ? exitDone : exitDamaged; }

std::string reportText(const std::string& file, const FileReport& report) {
    std::string text = file + "\n" + line("kind", nameOf(report.container));
    if (report.width) {
        text += line("picture", pictureText(report));
        text += line("frames", std::to_string(report.frames));
    }
    if (report.framesPerSecond) text += line("rate", formatReal(*report.framesPerSecond) + " frames a second");
    if (report.seconds) text += line("duration", formatReal(*report.seconds) + " s");
    if (report.start) text += line("start", timeText(*report.start));
    if (report.segments) text += line("segments", std::to_string(report.segments));
    if (!report.otherStreams.empty()) text += line("also", joined(report.otherStreams));
    text += line("size", std::to_string(report.bytes) + " bytes, " + formatBytes(double(report.bytes)));
    for (const std::string& problem : problemsOf(report)) text += line("damaged", problem);
    if (report.Whole()) text += "  whole\n";
    return text;
}

std::string reportJson(const std::string& file, const FileReport& report) {
    JsonObject object;
    object.Text("type", "file").Text("file", file).Text("container", lowerCase(nameOf(report.container)));
    if (report.width)
        object.Integer("width", report.width)
            .Integer("height", report.height)
            .Integer("depth", report.bits)
            .Text("pixels", report.pixels)
            .Integer("frames", static_cast<int64_t>(report.frames));
    if (report.framesPerSecond) object.Real("framesPerSecond", *report.framesPerSecond);
    if (report.seconds) object.Real("seconds", *report.seconds);
    if (report.start) object.Text("start", timeText(*report.start));
    if (report.segments) object.Integer("segments", report.segments);
    std::string problems, streams;
    for (const std::string& stream : report.otherStreams) streams += (streams.empty() ? "" : ",") + jsonString(stream);
    for (const std::string& problem : problemsOf(report))
        problems += (problems.empty() ? "" : ",") + jsonString(problem);
    if (!streams.empty()) object.Raw("otherStreams", "[" + streams + "]");
    return object.Integer("bytes", static_cast<int64_t>(report.bytes))
        .Flag("whole", report.Whole())
        .Raw("problems", "[" + problems + "]")
        .Integer("exit", exitCodeOf(report))
        .Line();
}

std::string timeText(int64_t millisecondsSince1970) {
    using namespace std::chrono;
    const milliseconds all(millisecondsSince1970);
    const auto day = floor<days>(all);
    const year_month_day date{sys_days(day)};
    const hh_mm_ss time(all - day);
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d.%03d UTC", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    return text;
}

}  // namespace vexcap::cli
