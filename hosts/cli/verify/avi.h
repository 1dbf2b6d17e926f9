/// AVI files: a RIFF segment with a header, a list of frames and an index, and further segments as OpenDML has them.
#pragma once

#include "hosts/cli/verify/report.h"
#include "hosts/cli/verify/source.h"

namespace vexcap::cli {

bool isAvi(Source& source);
FileReport verifyAvi(Source& source);

}  // namespace vexcap::cli
