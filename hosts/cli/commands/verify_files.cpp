#include "hosts/cli/commands/verify_files.h"

#include <algorithm>
#include <cstdio>

#include "hosts/cli/report/json.h"
#include "hosts/cli/report/output.h"
#include "hosts/cli/report/verify_text.h"
#include "hosts/cli/verify/verify.h"
#include "hosts/common/failure.h"

namespace vexcap::cli {

namespace {

FileReport read(const std::string& file) {
    FileSource source(file);
    const auto report = verifyRecording(source);
    if (!report) throw Failure(exitFailure, file + " is neither a SER nor an AVI file");
    return *report;
}

ExitCode verifyFile(const std::string& file, bool json) {
    try {
        const FileReport report = read(file);
        printLine(json ? reportJson(file, report) : reportText(file, report));
        return exitCodeOf(report);
    } catch (const Failure& failure) {
        if (!outputFailure().empty()) throw;
        std::fprintf(stderr, "vexcap: %s\n", failure.what());
        const JsonObject object = JsonObject()
                                      .Text("type", "error")
                                      .Text("file", file)
                                      .Text("text", failure.what())
                                      .Integer("exit", failure.code);
        if (json) writeLine(object.Line());
        return failure.code;
    }
}

}  // namespace

ExitCode verifyFiles(const Options& options) {
    ExitCode worst = exitDone;
    for (const std::string& file : options.files) worst = std::max(worst, verifyFile(file, options.json));
    return worst;
}

}  // namespace vexcap::cli
