// Port: facts about the machine.
#pragma once

#include <cstdint>

namespace vexcap {

struct SystemVersion {
    uint32_t major;
    uint32_t minor;
};

struct ISystemInfo {
    virtual ~ISystemInfo() = default;
    /// The version that the platform's own components are chosen by.
    virtual SystemVersion Version() = 0;
    /// Physical memory in bytes.
    virtual uint64_t TotalMemory() = 0;
};

}  // namespace vexcap
