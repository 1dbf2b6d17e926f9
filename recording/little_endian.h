// Numbers as they lie in recorded files: low byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vexcap {

inline void put16(std::span<uint8_t> to, size_t offset, uint16_t value) {
    for (size_t i = 0; i < 2; ++i) to[offset + i] = uint8_t(value >> (8 * i));
}

inline void put32(std::span<uint8_t> to, size_t offset, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) to[offset + i] = uint8_t(value >> (8 * i));
}

inline void put64(std::span<uint8_t> to, size_t offset, uint64_t value) {
    for (size_t i = 0; i < 8; ++i) to[offset + i] = uint8_t(value >> (8 * i));
}

inline uint32_t get32(std::span<const uint8_t> from, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value |= uint32_t(from[offset + i]) << (8 * i);
    return value;
}

}  // namespace vexcap
