// Rows of a picture that are a stride apart.
//
// Files of different processor levels include this, so the functions are in an unnamed namespace: were they shared, the
// linker might keep a copy made for a better processor than the one at hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vexcap {
namespace {

/// Row y of a picture whose row 0 is at `first`, `stride` bytes apart.
template <class Sample>
inline Sample* pictureRow(Sample* first, ptrdiff_t stride, uint32_t y) {
    using Byte = typename std::conditional<std::is_const<Sample>::value, const uint8_t, uint8_t>::type;
    return reinterpret_cast<Sample*>(reinterpret_cast<Byte*>(first) + ptrdiff_t(y) * stride);
}

}  // namespace
}  // namespace vexcap
