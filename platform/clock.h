// Port: time.
#pragma once

#include <cstdint>

namespace vexcap {

struct IClock {
    virtual ~IClock() = default;
    /// Milliseconds of a steady clock. The 32-bit tick that the library counts with is its low half.
    virtual uint64_t Milliseconds() = 0;
    uint32_t Tick() { return uint32_t(Milliseconds()); }
    /// Universal time in 100-nanosecond units since the year 1601, to the millisecond.
    virtual uint64_t UtcFileTime() = 0;
    /// Local time of the same moment, as if it were universal time.
    virtual uint64_t LocalFileTime() = 0;
    virtual void Sleep(uint32_t milliseconds) = 0;
};

}  // namespace vexcap
