// Port: facts about the machine.
#pragma once

#include <vexcap/types.h>

#include <cstdint>

namespace vexcap {

struct SystemVersion {
    uint32_t major;
    uint32_t minor;
};

/// What RtlGetVersion of "ntdll.dll" fills; `size` says how large the caller knows it to be.
struct VersionRecord {
    uint32_t size;
    uint32_t major;
    uint32_t minor;
    uint32_t build;
    uint32_t platform;
    vex_char servicePack[128];
};
static_assert(sizeof(VersionRecord) == 276);

struct ISystemInfo {
    virtual ~ISystemInfo() = default;
    /// The version that the platform's own components are chosen by.
    virtual SystemVersion Version() = 0;
    /// Physical memory in bytes.
    virtual uint64_t TotalMemory() = 0;
};

}  // namespace vexcap
