// The adapters of this system together.
#pragma once

#include "platform/platform.h"

namespace vexcap {

/// One set per process; it lives to the process's end.
Platform& linuxPlatform();

}  // namespace vexcap
