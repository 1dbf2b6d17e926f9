#include <cstdio>

#include "hosts/cli/auto_name.h"
#include "hosts/cli/commands.h"
#include "hosts/cli/controls.h"
#include "hosts/cli/failure.h"
#include "hosts/cli/output_file.h"
#include "hosts/cli/progress.h"
#include "hosts/cli/session.h"
#include "hosts/cli/summary.h"
#include "hosts/cli/text.h"

namespace vexcap::cli {

namespace {

constexpr int roundMilliseconds = 100;
constexpr uint32_t aviDepth = 24;  // bits of a pixel in every AVI file of the library

uint32_t depthOf(const Session& session) {
    uint32_t fourcc = 0, depth = 0;
    const auto raw = session.Query<ICameraRaw>(VEX_IID_CAMERA_RAW);
    return raw && raw->GetRawFormat(&fourcc, &depth) >= 0 ? depth : 0;
}

vex_recording_counts countsOf(const Session& session) {
    vex_recording_counts counts = {};
    vexcap_recording(session.Context(), &counts);
    return counts;
}

/// Where the recording goes.
std::string fileOf(const Options& options) {
    if (!options.output.empty()) return options.output;
    const auto taken = [&](const std::string& path) { return !options.overwrite && isTaken(path); };
    const std::string path = firstFree([&] { return autoPath(options.autoName); }, taken);
    checkOutputFile(path, options.overwrite);
    return path;
}

/// Runs the recording to its end and tells what ended it. It is not stopped yet.
Ending follow(Session& session, const Options& options, const Signals& signals) {
    ProgressView view(ProgressView::KindFor(options.json, options.quiet));
    RateMeter meter;
    StallWatch stall(session.StallSeconds());
    for (;;) {
        const News news = session.Wait(roundMilliseconds, signals);
        const vex_recording_counts counts = countsOf(session);
        Progress progress = {.elapsed = counts.elapsed / 1000.0,
                             .frames = counts.kept,
                             .lost = counts.lost,
                             .bytes = counts.bytes,
                             .frameLimit = options.frames,
                             .timeLimit = options.seconds};
        meter.Measure(progress);
        view.Show(progress);
        if (counts.lastFailure == VEX_E_DISK_FULL) return Ending::DiskFull;
        if (news.limit || !vexcap_fcapturing(session.Context())) return Ending::Limit;
        if (news.lost) return Ending::DeviceLost;
        if (news.asked) return Ending::Asked;
        if (stall.Stalled(counts.offered, steadySeconds())) return Ending::Stalled;
    }
}

}  // namespace

ExitCode record(const Options& options, const Signals& signals) {
    if (!options.output.empty()) checkOutputFile(options.output, options.overwrite);
    Engine engine(options);
    const Device device = engine.Find(options.device);
    Session session(engine, device);
    applySettings(session, options.camera, signals);

    RecordingResult result;
    result.file = fileOf(options);
    const Container container = containerOf(result.file);
    const Size size = session.PictureSize();
    result.width = size.width;
    result.height = size.height;
    result.depth = container == Container::Avi ? aviDepth : depthOf(session);
    if (!options.json && !options.quiet) {
        const bool limited = options.seconds || options.frames;
        std::fprintf(stderr, "%s, %ux%u, %s, to %s%s\n", device.name.c_str(), size.width, size.height,
                     depthText(result.depth, container).c_str(), result.file.c_str(),
                     limited ? "" : "; Ctrl-C ends the recording");
    }

    vexcap_put_timelapse(session.Context(), static_cast<uint32_t>(options.timeLapse));
    const std::u16string path = toUtf16(result.file);
    if (vexcap_start_capture_astro(session.Context(), path.c_str(), options.seconds, options.frames) < 0)
        throw Failure(exitFailure, "cannot record to " + result.file);
    // What the camera loses while files are made or closed is no part of the recording.
    const uint32_t lostBefore = session.LostFrames();
    result.ending = follow(session, options, signals);
    result.cameraLost = session.LostFrames() - lostBefore;
    vexcap_stop_capture(session.Context());
    result.counts = countsOf(session);

    if (options.json) {
        std::printf("%s\n", summaryJson(result).c_str());
    } else if (!options.quiet) {
        std::printf("%s", summaryText(result).c_str());
    } else if (exitCodeOf(result) != exitDone) {
        std::fprintf(stderr, "%s", summaryText(result).c_str());
    }
    return exitCodeOf(result);
}

}  // namespace vexcap::cli
