// A file that a recording appends to.
#pragma once

#include <memory>

#include "platform/file.h"

namespace vexcap {

/// Keeps the end of the recording itself: a failed append leaves it where it was, so the next one goes to the same
/// place. Takes disk space ahead where the file system has an advantage of it, which saves it from looking for space
/// in every append. Not thread-safe.
class GrowingFile final {
public:
    /// Appends begin at `start`; what lies before it is written by writeAt.
    explicit GrowingFile(std::unique_ptr<IFile> target, uint64_t start = 0);
    ~GrowingFile();
    GrowingFile(const GrowingFile&) = delete;
    GrowingFile& operator=(const GrowingFile&) = delete;

    /// Never allocate. E_UNEXPECTED once closed.
    Status append(Bytes bytes);
    Status append(std::span<const Bytes> pieces);

    /// Writes over what lies before the end. E_INVALIDARG when it would reach beyond; E_UNEXPECTED once closed.
    Status writeAt(uint64_t position, Bytes bytes);

    /// Where the next append goes: the size of the finished file.
    uint64_t end() const { return endPosition; }

    /// Cuts at the end what was reserved or half written behind it, and closes. A second call does nothing.
    Status close();

    /// How much is reserved at a time.
    static constexpr uint64_t reservedAhead = uint64_t(64) << 20;

private:
    void Reserve(uint64_t size);

    std::unique_ptr<IFile> file;  // null once closed
    uint64_t endPosition;
    uint64_t reservedEnd;
    bool mayReserve = true;  // until the file system refuses once
};

}  // namespace vexcap
