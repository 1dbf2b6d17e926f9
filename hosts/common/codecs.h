/// The compressors of the library.
#pragma once

#include <vector>

#include "hosts/common/device_match.h"

namespace vexcap::host {

/// In the order of the library; the engine must have been started in Mode::Pictures. Throws Failure exitNoMedia when
/// there is none.
std::vector<Codec> allCodecs();

}  // namespace vexcap::host
