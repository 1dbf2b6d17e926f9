#include "hosts/cli/commands/watch.h"

#include <cstdio>

#include "hosts/cli/report/json.h"
#include "hosts/cli/report/output.h"
#include "hosts/cli/report/progress.h"
#include "hosts/common/failure.h"
#include "hosts/common/prepare.h"
#include "hosts/common/session.h"
#include "hosts/common/text/numbers.h"

namespace vexcap::cli {

namespace {

constexpr int roundMilliseconds = 50;

void printSecond(const Session& session, double elapsed, bool json) {
    const FrameRate rate = session.Rate();
    const Size size = session.PictureSize();
    const uint32_t dropped = session.LostFrames();
    if (json) {
        printLine(JsonObject()
                      .Text("type", "watch")
                      .Real("seconds", elapsed)
                      .Real("framesPerSecond", rate.perSecond)
                      .Integer("frames", rate.total)
                      .Integer("dropped", dropped)
                      .Integer("width", size.width)
                      .Integer("height", size.height)
                      .Line());
        return;
    }
    printLine(formatTime(elapsed) + "  " + formatReal(rate.perSecond) + " fps, " + std::to_string(rate.total) +
              " frames, " + std::to_string(dropped) + " dropped, " + sizeText(size));
}

}  // namespace

ExitCode watch(const Options& options, const Signals& signals) {
    Engine engine(options.engine, Mode::Pictures);
    const Device device = engine.Find(options.device);
    if (device.IsCamera()) engine.Restart(Mode::Raw);
    Session session(engine, device);
    if (!device.IsCamera()) {
        session.WaitForFreshFrame(signals);
        const std::string note = applyKeptDark(session, device);
        if (!note.empty()) std::fprintf(stderr, "%s\n", note.c_str());
    }
    const std::string what = std::string("the ") + kindWord(device) + " \"" + device.name + "\"";
    StallWatch stall(session.StallSeconds());
    const double start = steadySeconds();
    for (int second = 1;;) {
        const News news = session.Wait(roundMilliseconds, signals);
        const double elapsed = steadySeconds() - start;
        if (news.lost) throw Failure(exitDeviceLost, what + " is gone");
        if (stall.Stalled(session.Rate().total, steadySeconds()))
            throw Failure(exitDeviceLost, what + " sends no frames any more");
        if (elapsed >= second) {
            printSecond(session, elapsed, options.json);
            while (second <= elapsed) ++second;
        }
        if (news.asked || (options.seconds > 0 && elapsed >= options.seconds)) return exitDone;
    }
}

}  // namespace vexcap::cli
