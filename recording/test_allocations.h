// How often this test program asked for memory.
#pragma once

#include <cstddef>

namespace vexcap::test {

/// Allocations of the calling thread so far.
size_t allocations();

}  // namespace vexcap::test
