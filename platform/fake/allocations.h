// How often a test asks for memory: the frame path must not.
#pragma once

#include <cstddef>

namespace vexcap {

/// Allocations of the calling thread so far, by whatever function. A test program that calls this counts all of its
/// allocations.
size_t allocations();

}  // namespace vexcap
