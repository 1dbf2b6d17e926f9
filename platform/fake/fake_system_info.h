// A machine as a test describes it.
#pragma once

#include "platform/system_info.h"

namespace vexcap {

struct FakeSystemInfo final : ISystemInfo {
    SystemVersion Version() override { return version; }
    uint64_t TotalMemory() override { return totalMemory; }

    SystemVersion version = {10, 0};
    uint64_t totalMemory = uint64_t(16) << 30;
};

}  // namespace vexcap
