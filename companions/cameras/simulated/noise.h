// Random numbers that depend on nothing but their keys, so that a frame can be made again.
#pragma once

#include <cstdint>
#include <span>

namespace vexcap::cameras {

/// A well-stirred number of two keys.
constexpr uint64_t stir(uint64_t key, uint64_t other) {
    uint64_t z = key + 0x9E3779B97F4A7C15u * (other + 1);
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
    z = (z ^ z >> 27) * 0x94D049BB133111EBu;
    return z ^ z >> 31;
}

/// The same as a number from 0 up to, not including, 1.
constexpr double stirUnit(uint64_t key, uint64_t other) { return double(stir(key, other) >> 11) * 0x1p-53; }

/// Places in the table of noise at which a row may begin.
constexpr uint32_t noisePlaces = 1u << 16;
/// Longest row that can be taken from any of them.
constexpr uint32_t longestNoiseRow = 8192;

/// noisePlaces + longestNoiseRow numbers of unit normal distribution, always the same ones. Made at the first call.
std::span<const float> noiseTable();

}  // namespace vexcap::cameras
