#include "hosts/cli/verify/verify.h"

#include "hosts/cli/verify/avi.h"
#include "hosts/cli/verify/ser.h"

namespace vexcap::cli {

std::optional<FileReport> verifyRecording(Source& source) {
    if (isAvi(source)) return verifyAvi(source);
    if (isSer(source)) return verifySer(source);
    return {};
}

}  // namespace vexcap::cli
