#include "hosts/cli/verify/byte_reader.h"

#include <algorithm>

namespace vexcap::cli {

bool ByteReader::Read(uint64_t position, std::span<uint8_t> bytes) {
    if (position > size || size - position < bytes.size()) return false;
    while (!bytes.empty()) {
        if (position < windowStart || position - windowStart >= windowBytes) {
            windowStart = position / window.size() * window.size();
            windowBytes = source.ReadAt(windowStart, window);
            // A file that became shorter meanwhile.
            if (position - windowStart >= windowBytes) return false;
        }
        const size_t offset = static_cast<size_t>(position - windowStart);
        const size_t count = std::min(bytes.size(), windowBytes - offset);
        std::memcpy(bytes.data(), window.data() + offset, count);
        bytes = bytes.subspan(count);
        position += count;
    }
    return true;
}

}  // namespace vexcap::cli
