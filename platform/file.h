// Port: files that grow while a recording runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "base/status.h"

namespace vexcap {

using Bytes = std::span<const std::byte>;

/// An open file. One owner, one thread at a time. The destructor closes it.
struct IFile {
    virtual ~IFile() = default;
    /// Writes all of `bytes` at `position`. After a failure, what lies before `position` is untouched
    /// and the rest is undefined: the caller may simply write there again.
    virtual Status WriteAt(uint64_t position, Bytes bytes) = 0;
    /// The same for pieces that lie one behind another in the file, in as few system calls as the system allows.
    /// Never allocates.
    virtual Status WriteGathered(uint64_t position, std::span<const Bytes> pieces) = 0;
    /// Reads up to `bytes.size()`; the count is smaller only at the end of the file.
    virtual Result<size_t> ReadAt(uint64_t position, std::span<std::byte> bytes) = 0;
    /// Takes disk space for `length` bytes from `position` on without changing the file's size. A failure changes
    /// nothing; E_NOTIMPL where this would cost more than it saves (file systems in memory).
    virtual Status Reserve(uint64_t position, uint64_t length) = 0;
    /// Cuts or extends to `size`, and gives reserved space behind it back.
    virtual Status Resize(uint64_t size) = 0;
    virtual Result<uint64_t> Size() = 0;
};

struct IFileSystem {
    virtual ~IFileSystem() = default;
    /// Makes a file for writing, or empties the one that is there. No other writer of this library gets it meanwhile.
    virtual Result<std::unique_ptr<IFile>> Create(std::u16string_view path) = 0;
    /// Opens an existing file for writing and leaves what is in it. No other writer of this library gets it meanwhile.
    virtual Result<std::unique_ptr<IFile>> Update(std::u16string_view path) = 0;
    /// Opens an existing file for reading.
    virtual Result<std::unique_ptr<IFile>> Open(std::u16string_view path) = 0;
    virtual Status Remove(std::u16string_view path) = 0;
};

}  // namespace vexcap
