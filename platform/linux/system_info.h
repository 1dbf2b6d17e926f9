// Facts about this machine.
#pragma once

#include "platform/system_info.h"

namespace vexcap {

struct LinuxSystemInfo final : ISystemInfo {
    /// What this platform's components correspond to: 10.0.
    SystemVersion Version() override { return {10, 0}; }
    uint64_t TotalMemory() override;
};

}  // namespace vexcap
