#include "hosts/cli/commands/record.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

#include "hosts/cli/commands/abilities.h"
#include "hosts/cli/report/output.h"
#include "hosts/cli/report/progress.h"
#include "hosts/cli/report/progress_view.h"
#include "hosts/cli/report/summary.h"
#include "hosts/common/codecs.h"
#include "hosts/common/draw_overlay.h"
#include "hosts/common/failure.h"
#include "hosts/common/files/auto_name.h"
#include "hosts/common/files/output_file.h"
#include "hosts/common/files/temporary_settings.h"
#include "hosts/common/prepare.h"
#include "hosts/common/session.h"
#include "hosts/common/settings.h"
#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

namespace {

constexpr int roundMilliseconds = 100;
constexpr int mostRounds = 15;     // in which a name that is made of the time becomes another one
constexpr uint32_t aviDepth = 24;  // bits of a pixel in every AVI file of the library

vex_recording_counts countsOf(const Session& session) {
    vex_recording_counts counts = {};
    vexcap_recording(session.Context(), &counts);
    return counts;
}

/// Where frames go to the file as they come, beside the preview: those of a camera that nobody compresses. Any other
/// recording has the place of the preview, and no limit of frames.
bool recordsBesidePreview(const Device& device, const Options& options) {
    return device.IsCamera() && options.codec.empty();
}

/// Throws where the device cannot be recorded to what was named.
void checkContainer(const Device& device, const Options& options) {
    const std::string& named = options.autoNamed ? options.autoName.extension : options.output;
    if (!device.IsCamera() && !named.empty() && containerOf(named) == Container::Ser)
        throw Failure(exitUsage, "\"" + device.name +
                                     "\" is a video input device, which is recorded to .avi files; a .ser file takes "
                                     "the raw frames of a camera");
    if (!device.IsCamera() && !options.overlay.watermark.file.empty())
        throw Failure(exitUsage,
                      "the recording of a video input device has no watermark; \"" + device.name + "\" is one");
}

/// Lets the engine run with a copy of the settings in which the quality is another one.
void useQuality(Engine& engine, TemporarySettings& place, uint32_t quality) {
    const std::vector<StoredSetting> remembered = storedSettings();
    place.Make();
    engine.Restart(Mode::Pictures, place.Directory());
    for (const StoredSetting& stored : remembered) storeSetting(*stored.setting, stored.value);
    storeSetting(findSetting("CaptureQuality"), quality);
}

/// Where the recording goes.
std::string fileOf(const Options& options, const Device& device) {
    if (!options.autoNamed) return options.output;
    AutoName rules = options.autoName;
    if (rules.extension.empty()) rules.extension = device.IsCamera() ? ".ser" : ".avi";
    const auto taken = [&](const std::string& path) { return !options.overwrite && isTaken(path); };
    int rounds = mostRounds;
    const auto wait = [&rounds] {
        std::this_thread::sleep_for(std::chrono::milliseconds(roundMilliseconds));
        return --rounds > 0;
    };
    const std::string path = firstFree([&] { return autoPath(rules); }, taken, wait);
    checkOutputFile(path, options.overwrite);
    return path;
}

/// The limit of the library, which counts whole seconds; 0 where the program has to end the recording.
int32_t wholeSeconds(const Options& options) {
    return options.seconds == std::floor(options.seconds) ? static_cast<int32_t>(options.seconds) : 0;
}

void begin(const Session& session, const Options& options, bool besidePreview, const Codec& codec,
           const std::string& file) {
    vexcap_put_timelapse(session.Context(), static_cast<uint32_t>(options.timeLapse));
    const std::u16string path = toUtf16(file), compressor = toUtf16(codec.name);
    const int32_t seconds = wholeSeconds(options);
    const HRESULT result = besidePreview
                               ? vexcap_start_capture_astro(session.Context(), path.c_str(), seconds, options.frames)
                               : vexcap_start_capture_avi(session.Context(), path.c_str(),
                                                          compressor.empty() ? nullptr : compressor.c_str(), seconds);
    if (result == E_INVALIDARG && !compressor.empty())
        throw Failure(exitUsage, codec.display + " cannot compress pictures of " + sizeText(session.PictureSize()));
    if (result >= 0) return;
    const std::string reason = lastErrorText(session.Context());
    throw Failure(exitFailure, "cannot record to " + file + ": " + (reason.empty() ? resultText(result) : reason));
}

/// True when the device of a running recording is gone.
bool isLost(const Session& session, const News& news, bool besidePreview) {
    if (besidePreview) return news.lost;
    // A recording in the preview's place ends with its video input device; that of a camera goes on without frames.
    return news.lost && (!vexcap_fcapturing(session.Context()) || session.CameraFailed());
}

/// Runs the recording to its end and tells what ended it. It is not stopped yet.
Ending follow(Session& session, const Options& options, bool besidePreview, const Signals& signals) {
    ProgressView view(ProgressView::KindFor(options.json, options.quiet));
    RateMeter meter;
    StallWatch stall(session.StallSeconds());
    const double ownLimit = wholeSeconds(options) ? 0 : options.seconds;
    for (;;) {
        vex_recording_counts counts = countsOf(session);
        const double left = ownLimit > 0 ? ownLimit * 1000 - counts.elapsed : roundMilliseconds;
        const News news = session.Wait(static_cast<int>(std::clamp<double>(left, 1, roundMilliseconds)), signals);
        counts = countsOf(session);
        Progress progress = {.elapsed = counts.elapsed / 1000.0,
                             .frames = counts.kept,
                             .lost = counts.lost,
                             .bytes = counts.bytes,
                             .frameLimit = options.frames,
                             .timeLimit = options.seconds};
        meter.Measure(progress);
        view.Show(progress);
        if (counts.lastFailure == VEX_E_DISK_FULL) return Ending::DiskFull;
        if (news.limit || (ownLimit > 0 && counts.elapsed >= ownLimit * 1000)) return Ending::Limit;
        if (isLost(session, news, besidePreview)) return Ending::DeviceLost;
        if (!vexcap_fcapturing(session.Context())) return Ending::Limit;
        // The library looks at this limit beside the preview only.
        const bool enough = options.frames && counts.kept >= static_cast<uint32_t>(options.frames);
        if (!besidePreview && enough) return Ending::Limit;
        if (news.asked) return Ending::Asked;
        if (stall.Stalled(counts.offered, steadySeconds())) return Ending::Stalled;
    }
}

}  // namespace

ExitCode record(const Options& options, const Signals& signals) {
    if (!options.output.empty()) checkOutputFile(options.output, options.overwrite);
    TemporarySettings temporary;  // lives longer than the engine that uses it
    Engine engine(options.engine, Mode::Pictures);
    const Device device = engine.Find(options.device);
    checkAbilities(device, options);
    checkContainer(device, options);
    const bool besidePreview = recordsBesidePreview(device, options);
    Codec codec;
    if (!options.codec.empty()) codec = matchCodec(allCodecs(), options.codec);
    if (besidePreview) engine.Restart(Mode::Raw);
    if (options.quality) useQuality(engine, temporary, *options.quality);
    Session session(engine, device);
    const std::string note = preparePicture(session, device, options.source, signals);
    applyOverlay(session, options.overlay, session.PictureSize());
    if (const std::string cut = textsWithoutRoom(options.overlay, session.PictureSize()); !cut.empty())
        std::fprintf(stderr, "vexcap: %s\n", cut.c_str());

    RecordingResult result;
    result.file = fileOf(options, device);
    const Size size = session.PictureSize();
    result.width = size.width;
    result.height = size.height;
    result.depth = containerOf(result.file) == Container::Avi ? aviDepth : session.RawDepth();
    result.codec = codec.display;
    if (!options.quiet && !note.empty()) std::fprintf(stderr, "%s\n", note.c_str());
    if (!options.json && !options.quiet) {
        const bool limited = options.seconds > 0 || options.frames;
        const std::string limit = !limited ? "; Ctrl-C ends the recording"
                                  : !besidePreview && options.frames
                                      ? "; at least " + std::to_string(options.frames) + " frames"
                                      : "";
        std::fprintf(stderr, "%s, %ux%u, %s, to %s%s\n", device.name.c_str(), size.width, size.height,
                     depthText(result).c_str(), result.file.c_str(), limit.c_str());
    }

    begin(session, options, besidePreview, codec, result.file);
    // What the camera loses while files are made or closed is no part of the recording.
    const uint32_t lostBefore = session.LostFrames();
    result.ending = follow(session, options, besidePreview, signals);
    result.cameraLost = session.LostFrames() - lostBefore;
    vexcap_stop_capture(session.Context());
    result.counts = countsOf(session);

    if (options.json) {
        writeLine(summaryJson(result));
    } else if (!options.quiet) {
        writeLine(summaryText(result));
    } else if (exitCodeOf(result) != exitDone) {
        std::fprintf(stderr, "%s", summaryText(result).c_str());
    }
    return exitCodeOf(result);
}

}  // namespace vexcap::cli
