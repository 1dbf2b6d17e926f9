#include <vexcap/report.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string_view>

#include "hosts/cli/commands/codecs.h"
#include "hosts/cli/commands/dark.h"
#include "hosts/cli/commands/devices.h"
#include "hosts/cli/commands/play.h"
#include "hosts/cli/commands/record.h"
#include "hosts/cli/commands/settings.h"
#include "hosts/cli/commands/snap.h"
#include "hosts/cli/commands/verify_files.h"
#include "hosts/cli/commands/view.h"
#include "hosts/cli/commands/watch.h"
#include "hosts/cli/report/json.h"
#include "hosts/cli/report/output.h"
#include "hosts/common/failure.h"
#include "hosts/common/text/text.h"

using namespace vexcap::cli;

namespace {

ExitCode run(const Options& options) {
    switch (options.command) {
        // Nothing is lost where one of these is broken off: signals do what they always do.
        case Command::Codecs:
            return listCodecs(options);
        case Command::Settings:
            return manageSettings(options);
        case Command::Verify:
            return verifyFiles(options);
        default:
            break;
    }
    const Signals signals;
    switch (options.command) {
        case Command::Dark:
            return manageDark(options, signals);
        case Command::Formats:
            return listFormats(options);
        case Command::Play:
            return play(options, signals);
        case Command::Record:
            return record(options, signals);
        case Command::Snap:
            return snap(options, signals);
        case Command::View:
            return view(options, signals);
        case Command::Watch:
            return watch(options, signals);
        default:
            return listDevices(options);
    }
}

/// A text may hold names that come from outside.
std::string printableLines(std::string_view text) {
    std::string out;
    for (size_t end = 0; end != text.npos; text.remove_prefix(std::min(end + 1, text.size()))) {
        end = text.find('\n');
        out += printable(text.substr(0, end)) + (end == text.npos ? "" : "\n");
    }
    return out;
}

/// Something is missing or cannot be read, and the library goes on without it.
void warn(void*, uint32_t level, const vex_char* line) {
    if (level == VEX_LOG_WARNING) std::fprintf(stderr, "vexcap: warning: %s\n", printable(toUtf8(line)).c_str());
}

ExitCode fail(bool json, ExitCode code, const std::string& text) {
    std::fprintf(stderr, "vexcap: %s\n", printableLines(text).c_str());
    if (json) writeLine(JsonObject().Text("type", "error").Text("text", text).Integer("exit", code).Line());
    return code;
}

/// Of a command line that may be no valid one.
bool wantsJson(int count, char** arguments) {
    return std::any_of(arguments, arguments + count, [](std::string_view word) { return word == "--json"; });
}

ExitCode runCommandLine(int count, char** arguments) {
    const ParsedCommandLine parsed = parseCommandLine(count, arguments);
    if (parsed.options) {
        const ExitCode code = run(*parsed.options);
        if (outputFailure().empty()) return code;
        // A recording went on without its reader: its status is about the file.
        return fail(false, code == exitDone && parsed.options->command != Command::Record ? exitFailure : code,
                    outputFailure());
    }
    if (parsed.code != exitDone) return fail(wantsJson(count, arguments), parsed.code, parsed.text);
    printLine(parsed.text);
    return exitDone;
}

}  // namespace

int main(int count, char** arguments) {
    vexcap_log_hook(warn, nullptr, VEX_LOG_WARNING);
    try {
        return runCommandLine(count, arguments);
    } catch (const Failure& failure) {
        return fail(wantsJson(count, arguments), failure.code, failure.what());
    } catch (const std::exception& error) {
        return fail(wantsJson(count, arguments), exitFailure, error.what());
    }
}
