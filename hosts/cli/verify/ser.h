/// SER files, version 3: a header of 178 bytes, frames back to back, and a list of their times that may be missing.
#pragma once

#include "hosts/cli/verify/report.h"
#include "hosts/cli/verify/source.h"

namespace vexcap::cli {

/// Also for a header of zeros, which a recording has that was cut short.
bool isSer(Source& source);
FileReport verifySer(Source& source);

}  // namespace vexcap::cli
