// Reads a SER file by its layout alone, without any code of the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vexcap::test {

constexpr size_t serHeaderSize = 178;

/// The fields of a SER header, little-endian in the file at the offsets told.
struct SerHeader {
    std::string fileId;         // 0, 14 bytes
    uint32_t luId = 0;          // 14
    uint32_t colorId = 0;       // 18
    uint32_t littleEndian = 0;  // 22
    uint32_t width = 0;         // 26
    uint32_t height = 0;        // 30
    uint32_t depth = 0;         // 34
    uint32_t frameCount = 0;    // 38
    std::string observer;       // 42, 40 bytes, to its first zero
    std::string instrument;     // 82
    std::string telescope;      // 122
    uint64_t dateTime = 0;      // 162
    uint64_t dateTimeUtc = 0;   // 170

    uint32_t bytesPerSample() const { return depth <= 8 ? 1 : 2; }
    uint64_t rowBytes() const { return uint64_t(width) * bytesPerSample(); }
    uint64_t frameBytes() const { return rowBytes() * height; }
};

class SerFile final {
public:
    /// Nothing for a file that cannot be read or is shorter than a header.
    static std::optional<SerFile> read(const std::filesystem::path& path);

    const SerHeader& header() const { return head; }
    uint64_t fileSize() const { return bytes.size(); }
    /// Header, the frames it promises, and not a byte more.
    bool whole() const { return bytes.size() == serHeaderSize + head.frameCount * head.frameBytes(); }
    /// Frame `index` as it lies in the file; it must lie in the file whole.
    std::span<const uint8_t> frame(uint32_t index) const;
    /// Sample x, y of a frame, y counted from the first row in the file.
    uint32_t sample(uint32_t index, uint32_t x, uint32_t y) const;

private:
    std::vector<uint8_t> bytes;
    SerHeader head;
};

/// FNV-1a, 64 bits: tells frames apart.
uint64_t hashOf(std::span<const uint8_t> bytes);

/// The 100-nanosecond ticks since the year 1 that a SER time holds, without its two kind bits.
constexpr uint64_t serTicks(uint64_t value) { return value & 0x3FFFFFFFFFFFFFFFu; }
/// 1 for UTC, 2 for local time.
constexpr unsigned serTimeKind(uint64_t value) { return unsigned(value >> 62); }

}  // namespace vexcap::test
