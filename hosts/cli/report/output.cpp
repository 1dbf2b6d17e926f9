#include "hosts/cli/report/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "hosts/cli/host.h"
#include "hosts/common/failure.h"

namespace vexcap::cli {

namespace {

int firstError = 0;

}  // namespace

bool writeLine(const std::string& lines) {
    if (firstError) return false;
    errno = 0;
    const char* const end = lines.ends_with('\n') ? "" : "\n";
    const bool written = std::fputs((lines + end).c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    if (!written) firstError = errno ? errno : EIO;
    return written;
}

void printLine(const std::string& lines) {
    if (!writeLine(lines)) throw Failure(exitFailure, outputFailure());
}

std::string outputFailure() {
    if (!firstError) return {};
    return std::string("the standard output cannot be written: ") + std::strerror(firstError);
}

}  // namespace vexcap::cli
