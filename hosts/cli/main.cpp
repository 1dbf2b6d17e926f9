#include <cstdio>
#include <exception>

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
#include "hosts/common/failure.h"

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

ExitCode fail(const Options& options, ExitCode code, const char* text) {
    std::fprintf(stderr, "vexcap: %s\n", text);
    if (options.json)
        std::printf("%s\n", JsonObject().Text("type", "error").Text("text", text).Integer("exit", code).Line().c_str());
    return code;
}

}  // namespace

int main(int count, char** arguments) {
    const ParsedCommandLine parsed = parseCommandLine(count, arguments);
    if (!parsed.options) {
        std::fputs(parsed.text.c_str(), parsed.code == exitDone ? stdout : stderr);
        return parsed.code;
    }
    try {
        return run(*parsed.options);
    } catch (const Failure& failure) {
        return fail(*parsed.options, failure.code, failure.what());
    } catch (const std::exception& error) {
        return fail(*parsed.options, exitFailure, error.what());
    }
}
