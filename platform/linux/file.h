// Files of a Linux file system.
#pragma once

#include "platform/file.h"
#include "platform/linux/unique_fd.h"

namespace vexcap {

/// A regular file. The lock that Create and Update take goes with the descriptor.
class LinuxFile final : public IFile {
public:
    enum class Access { Read, Write };
    LinuxFile(UniqueFd file, Access access);

    Status WriteAt(uint64_t position, Bytes bytes) override;
    Status WriteGathered(uint64_t position, std::span<const Bytes> pieces) override;
    Result<size_t> ReadAt(uint64_t position, std::span<std::byte> bytes) override;
    Status Reserve(uint64_t position, uint64_t length) override;
    Status Resize(uint64_t size) override;
    Result<uint64_t> Size() override;

private:
    /// Whether this file may be changed from `position` on for `length` bytes.
    Status CheckChange(uint64_t position, uint64_t length) const;

    const UniqueFd fd;
    const Access mode;
    const bool inMemory;  ///< Its file system keeps files in memory.
};

/// Names are UTF-8. Any thread.
class LinuxFileSystem final : public IFileSystem {
public:
    Result<std::unique_ptr<IFile>> Create(std::u16string_view path) override;
    Result<std::unique_ptr<IFile>> Update(std::u16string_view path) override;
    Result<std::unique_ptr<IFile>> Open(std::u16string_view path) override;
    Status Remove(std::u16string_view path) override;
};

}  // namespace vexcap
