/// Reads a recording back. Whatever the bytes are, little memory is used and every loop ends.
#pragma once

#include <optional>

#include "hosts/cli/verify/report.h"
#include "hosts/cli/verify/source.h"

namespace vexcap::cli {

/// Nothing for a file that is neither a SER nor an AVI file. Reads headers and indexes and skips the pictures, so a
/// large file takes little longer than a small one. Throws Failure exitFailure when the bytes cannot be read.
std::optional<FileReport> verifyRecording(Source& source);

}  // namespace vexcap::cli
