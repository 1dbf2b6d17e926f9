/// Small pieces of a large file.
#pragma once

#include <array>
#include <cstring>
#include <optional>

#include "hosts/cli/verify/source.h"

namespace vexcap::cli {

/// Reads through a window of one page: neighbours cost one read, and pieces far apart cost no more than a page each.
class ByteReader final {
public:
    explicit ByteReader(Source& read) : source(read), size(read.Size()) {}
    uint64_t Size() const { return size; }

    /// Fills `bytes`; false when the file ends before, and then they are undefined.
    bool Read(uint64_t position, std::span<uint8_t> bytes);

    /// The same for a record of fixed size.
    template <size_t count>
    std::optional<std::array<uint8_t, count>> Record(uint64_t position) {
        std::array<uint8_t, count> bytes;
        return Read(position, bytes) ? std::optional(bytes) : std::nullopt;
    }

private:
    Source& source;
    const uint64_t size;
    std::array<uint8_t, 4096> window;
    uint64_t windowStart = 0;
    size_t windowBytes = 0;
};

/// A little-endian number; it lies in `bytes` whole.
template <typename Number>
Number littleEndian(std::span<const uint8_t> bytes, size_t offset) {
    Number number = 0;
    for (size_t i = sizeof number; i-- > 0;) number = static_cast<Number>(uint64_t{number} << 8 | bytes[offset + i]);
    return number;
}

inline uint16_t le16(std::span<const uint8_t> bytes, size_t offset) { return littleEndian<uint16_t>(bytes, offset); }
inline uint32_t le32(std::span<const uint8_t> bytes, size_t offset) { return littleEndian<uint32_t>(bytes, offset); }
inline uint64_t le64(std::span<const uint8_t> bytes, size_t offset) { return littleEndian<uint64_t>(bytes, offset); }

}  // namespace vexcap::cli
