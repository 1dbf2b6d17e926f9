// Time of a Linux system.
#pragma once

#include "platform/clock.h"

namespace vexcap {

/// Any thread.
struct LinuxClock final : IClock {
    uint64_t Milliseconds() override;
    uint64_t UtcFileTime() override;
    uint64_t LocalFileTime() override;
    void Sleep(uint32_t milliseconds) override;
};

}  // namespace vexcap
