// A disk in memory that does what a test tells it: it fails a chosen write, fills up, refuses to reserve.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "platform/file.h"

namespace vexcap {

/// One thing that was asked of the disk.
struct DiskOperation {
    enum class Kind { Create, Update, Open, Write, Read, Reserve, Resize, Remove, Close };
    Kind kind;
    std::u16string path;
    uint64_t position = 0;
    uint64_t size = 0;  ///< Bytes asked for; the new size of a Resize.
    size_t pieces = 0;  ///< Of a Write.
    HRESULT result = S_OK;
};

/// Behaves as the files of a real disk do (file_testing.h holds both to it), with names as they stand and every
/// directory there. Its files may outlive it. Any thread.
class FakeDisk final : public IFileSystem {
public:
    FakeDisk();
    ~FakeDisk() override;

    Result<std::unique_ptr<IFile>> Create(std::u16string_view path) override;
    Result<std::unique_ptr<IFile>> Update(std::u16string_view path) override;
    Result<std::unique_ptr<IFile>> Open(std::u16string_view path) override;
    Status Remove(std::u16string_view path) override;

    /// The write with this number, counted from 0 over the life of the disk, fails when `kept` of its bytes are down.
    void failWrite(uint64_t number, HRESULT code = VEX_E_DISK_FULL, size_t kept = 0);
    /// From now on every operation of this kind fails with `code` and changes nothing; S_OK ends it.
    void fail(DiskOperation::Kind kind, HRESULT code);
    /// Room for all files together, reserved space included: 1 GiB to begin with. A write that does not fit leaves
    /// what did and fails with VEX_E_DISK_FULL.
    void setCapacity(uint64_t bytes);
    /// A file that is there already.
    void put(std::u16string_view path, std::vector<uint8_t> bytes);

    bool exists(std::u16string_view path) const;
    /// What the file holds; nothing when there is none.
    std::vector<uint8_t> bytes(std::u16string_view path) const;
    /// Space that is reserved behind the end of the file.
    uint64_t reservedBehind(std::u16string_view path) const;
    std::vector<DiskOperation> operations() const;
    size_t count(DiskOperation::Kind kind) const;

    struct State;  ///< Shared with the open files.

private:
    const std::shared_ptr<State> state;
};

}  // namespace vexcap
