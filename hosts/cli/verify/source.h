/// The bytes that are looked at: a file, or memory in tests.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace vexcap::cli {

struct Source {
    virtual ~Source() = default;
    /// Does not change any more.
    virtual uint64_t Size() const = 0;
    /// Reads up to `bytes.size()`; the count is smaller only at the end. Throws Failure exitFailure when the bytes
    /// cannot be read.
    virtual size_t ReadAt(uint64_t position, std::span<uint8_t> bytes) = 0;
};

/// A file on a disk, of any size.
class FileSource final : public Source {
public:
    /// Throws Failure exitFailure for what cannot be opened, and for a directory, a pipe and the like.
    explicit FileSource(const std::string& path);
    ~FileSource() override;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    uint64_t Size() const override { return size; }
    size_t ReadAt(uint64_t position, std::span<uint8_t> bytes) override;

private:
    const std::string path;
    int descriptor = -1;
    uint64_t size = 0;
};

/// Bytes in memory, which outlive it.
class MemorySource final : public Source {
public:
    explicit MemorySource(std::span<const uint8_t> held) : content(held) {}
    uint64_t Size() const override { return content.size(); }
    size_t ReadAt(uint64_t position, std::span<uint8_t> bytes) override;

private:
    const std::span<const uint8_t> content;
};

}  // namespace vexcap::cli
