#include "hosts/cli/commands/play.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "hosts/cli/report/output.h"
#include "hosts/cli/report/play_text.h"
#include "hosts/cli/report/progress_view.h"
#include "hosts/common/failure.h"
#include "hosts/common/session.h"
#include "hosts/common/text/numbers.h"

namespace vexcap::cli {

namespace {

constexpr int roundMilliseconds = 100;
constexpr double unitsPerSecond = 1e7;
constexpr double seekSeconds = 10;  // after which a position that shows no picture is given up

enum State : uint32_t { stateRunning = 1, statePaused = 2, stateStopped = 3 };
constexpr uint32_t canGoToPositions = 1;

void checkReadable(const std::string& path) {
    struct stat found = {};
    if (stat(path.c_str(), &found) != 0 || access(path.c_str(), R_OK) != 0)
        throw Failure(exitFailure, path + ": " + std::strerror(errno));
    if (S_ISDIR(found.st_mode)) throw Failure(exitFailure, path + " is a directory");
}

PlayedFile fileOf(const Session& session, const std::string& path) {
    int64_t duration = 0;
    uint32_t abilities = 0;
    vexcap_get_seek(session.Context(), &duration, &abilities);
    return {.path = path,
            .size = session.PictureSize(),
            .duration = double(duration) / unitsPerSecond,
            .seekable = (abilities & canGoToPositions) != 0};
}

double positionOf(const Session& session) {
    return std::max(double(vexcap_get_pos(session.Context())) / unitsPerSecond, 0.0);
}

bool stopped(const Session& session) { return vexcap_get_state(session.Context()) == stateStopped; }

[[noreturn]] void failBroken(const PlayedFile& file) { throw Failure(exitFailure, file.path + " cannot be played on"); }

/// Goes to a position and waits for the picture there. The file is paused. False when the user wants to end.
bool goTo(Session& session, const PlayedFile& file, double seconds, const Signals& signals) {
    session.Wait(0, signals);  // no frame from before counts
    vexcap_set_pos(session.Context(), std::llround(seconds * unitsPerSecond));
    for (const double start = steadySeconds(); steadySeconds() - start < seekSeconds;) {
        const News news = session.Wait(roundMilliseconds, signals);
        if (news.asked) return false;
        if (news.frame) return true;
        if (news.lost) failBroken(file);
    }
    throw Failure(exitFailure, file.path + " shows no picture at " + formatTime(seconds));
}

void checkSeeks(const PlayedFile& file, const std::vector<double>& seeks) {
    if (!seeks.empty() && !file.seekable)
        throw Failure(exitFailure, file.path + " can be played from its beginning only");
    for (const double seconds : seeks)
        if (file.duration > 0 && seconds > file.duration)
            throw Failure(exitUsage, file.path + " ends after " + formatReal(file.duration) + " seconds");
}

/// Plays on. `frames` becomes the number of frames that were shown.
PlayEnd follow(Session& session, const PlayedFile& file, const Options& options, const Signals& signals,
               uint32_t& frames) {
    ProgressView view(ProgressView::KindFor(options.json, false));
    for (const double start = steadySeconds();;) {
        const News news = session.Wait(roundMilliseconds, signals);
        const FrameRate rate = session.Rate();
        const bool ended = stopped(session);
        // Back at its beginning the file shows its first picture once more.
        frames = ended && news.framesAtEvent ? *news.framesAtEvent : rate.total;
        if (ended) return PlayEnd::File;
        if (news.lost) failBroken(file);
        const double elapsed = steadySeconds() - start;
        view.Show(elapsed, [&](ProgressView::Kind kind, int columns, bool) {
            const PlayProgress progress = {.elapsed = elapsed,
                                           .position = positionOf(session),
                                           .duration = file.duration,
                                           .frames = frames,
                                           .framesPerSecond = rate.perSecond};
            if (kind == ProgressView::Kind::Json) return playJson(progress);
            const std::string line = playLine(progress);
            return kind == ProgressView::Kind::Terminal ? line.substr(0, static_cast<size_t>(columns)) : line;
        });
        if (const std::string failure = outputFailure(); !failure.empty()) throw Failure(exitFailure, failure);
        if (news.asked) return PlayEnd::Asked;
        if (options.seconds > 0 && elapsed >= options.seconds) return PlayEnd::Limit;
    }
}

}  // namespace

ExitCode play(const Options& options, const Signals& signals) {
    const std::string& path = options.files.front();
    checkReadable(path);
    EngineConfig withoutCameras = options.engine;
    withoutCameras.library.clear();
    Engine engine(withoutCameras, Mode::Pictures);
    Session session(engine, MediaFile{path});
    const PlayedFile file = fileOf(session, path);
    checkSeeks(file, options.seeks);
    printLine(options.json ? fileJson(file) : fileLine(file));

    bool goesOn = true;
    if (!options.seeks.empty()) vexcap_set_state(session.Context(), statePaused);
    for (const double seconds : options.seeks) {
        goesOn = goTo(session, file, seconds, signals);
        if (!goesOn) break;
        const double position = positionOf(session);
        printLine(options.json ? seekJson(position) : seekLine(position));
    }
    if (!options.seeks.empty() && goesOn) vexcap_set_state(session.Context(), stateRunning);
    uint32_t frames = session.Rate().total;
    const PlayEnd end = goesOn ? follow(session, file, options, signals, frames) : PlayEnd::Asked;
    if (end == PlayEnd::File && !frames) throw Failure(exitNoVideo, path + " has no picture that can be shown");
    printLine(options.json ? endJson(file, end, frames) : endLine(file, end, frames));
    return exitDone;
}

}  // namespace vexcap::cli
