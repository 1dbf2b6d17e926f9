#include "hosts/cli/report/progress_view.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "hosts/cli/report/output.h"

namespace vexcap::cli {

namespace {

constexpr double redrawSeconds = 0.2;
constexpr double lineSeconds = 1;

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value && *value;
}

/// Asked for each line, as the user may change the size at any time. The last column stays free: some terminals begin
/// a new line behind it.
int columnsOfTerminal() {
    winsize size = {};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return known ? size.ws_col - 1 : 79;
}

}  // namespace

ProgressView::Kind ProgressView::KindFor(bool json, bool quiet) {
    if (quiet) return Kind::None;
    if (json) return Kind::Json;
    const char* const terminal = std::getenv("TERM");
    const bool dumb = !terminal || std::string_view(terminal) == "dumb";
    return isatty(STDERR_FILENO) && !dumb ? Kind::Terminal : Kind::Lines;
}

void ProgressView::Show(const Progress& progress) {
    Show(progress.elapsed, [&](Kind shown, int columns, bool colour) {
        if (shown == Kind::Terminal) return terminalLine(progress, columns, colour);
        return shown == Kind::Json ? jsonLine(progress) : plainLine(progress);
    });
}

void ProgressView::Show(double elapsed, const LineMaker& makeLine) {
    if (kind == Kind::None || elapsed < nextTime) return;
    if (kind == Kind::Terminal) {
        nextTime = elapsed + redrawSeconds;
        const std::string line = makeLine(kind, columnsOfTerminal(), !isSet("NO_COLOR"));
        std::fprintf(stderr, "\r%s\033[K", line.c_str());
        std::fflush(stderr);
        drawn = true;
        return;
    }
    // On the second: a late round does not shift those behind it.
    while (nextTime <= elapsed) nextTime += lineSeconds;
    if (elapsed < lineSeconds) return;  // Nothing to tell yet.
    const std::string line = makeLine(kind, 0, false);
    // What is shown goes on without its reader; outputFailure says so at the end.
    if (kind == Kind::Json)
        writeLine(line);
    else
        std::fprintf(stderr, "%s\n", line.c_str());
}

void ProgressView::Clear() {
    if (drawn) std::fputs("\r\033[K", stderr);
    drawn = false;
}

}  // namespace vexcap::cli
