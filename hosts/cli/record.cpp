#include <cstdio>

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
    checkOutputFile(options.output, options.overwrite);
    Engine engine(options);
    const Device device = engine.Find(options.device);
    Session session(engine, device);
    applySettings(session, options.camera, signals);

    RecordingResult result;
    result.file = options.output;
    const Size size = session.PictureSize();
    result.width = size.width;
    result.height = size.height;
    result.depth = depthOf(session);
    if (!options.json && !options.quiet) {
        const bool limited = options.seconds || options.frames;
        std::fprintf(stderr, "%s, %ux%u, %u bits, to %s%s\n", device.name.c_str(), size.width, size.height,
                     result.depth, options.output.c_str(), limited ? "" : "; Ctrl-C ends the recording");
    }

    const std::u16string path = toUtf16(options.output);
    if (vexcap_start_capture_astro(session.Context(), path.c_str(), options.seconds, options.frames) < 0)
        throw Failure(exitFailure, "cannot record to " + options.output);
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
