#include "recording/growing_file.h"

#include <algorithm>
#include <utility>

namespace vexcap {

GrowingFile::GrowingFile(std::unique_ptr<IFile> target, uint64_t start)
    : file(std::move(target)), endPosition(start), reservedEnd(start) {}

GrowingFile::~GrowingFile() { close().ignore(); }  // nobody is left to hear of it

/// Makes sure, where it can, that the next `size` bytes have their space.
void GrowingFile::Reserve(uint64_t size) {
    if (!mayReserve || size <= reservedEnd - endPosition) return;
    const uint64_t length = std::max(reservedAhead, size - (reservedEnd - endPosition));
    mayReserve = file->Reserve(reservedEnd, length).ok();
    if (mayReserve) reservedEnd += length;
}

Status GrowingFile::append(Bytes bytes) { return append({&bytes, 1}); }

Status GrowingFile::append(std::span<const Bytes> pieces) {
    if (!file) return E_UNEXPECTED;
    uint64_t size = 0;
    for (const Bytes piece : pieces) size += piece.size();
    Reserve(size);
    if (const Status s = file->WriteGathered(endPosition, pieces); !s.ok()) return s;
    endPosition += size;  // last, so that a failure leaves nothing to undo
    return S_OK;
}

Status GrowingFile::writeAt(uint64_t position, Bytes bytes) {
    if (!file) return E_UNEXPECTED;
    if (position > endPosition || bytes.size() > endPosition - position) return E_INVALIDARG;
    return file->WriteAt(position, bytes);
}

Status GrowingFile::close() {
    if (!file) return S_OK;
    const Status s = file->Resize(endPosition);
    file.reset();
    return s;
}

}  // namespace vexcap
