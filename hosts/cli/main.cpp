#include <cstdio>
#include <exception>

#include "hosts/cli/commands.h"
#include "hosts/cli/failure.h"
#include "hosts/cli/json.h"

using namespace vexcap::cli;

namespace {

ExitCode run(const Options& options) {
    switch (options.command) {
        // Nothing is lost where one of these two is broken off: signals do what they always do.
        case Command::Settings:
            return manageSettings(options);
        case Command::Verify:
            return verifyFiles(options);
        case Command::Devices:
        case Command::Record:
        case Command::Watch:
            break;
    }
    const Signals signals;
    if (options.command == Command::Record) return record(options, signals);
    if (options.command == Command::Watch) return watch(options, signals);
    return listDevices(options);
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
