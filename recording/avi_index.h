// Entries of an AVI index while a recording runs.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/file.h"

namespace vexcap {

/// Entries as they are to lie in the file. They live in blocks that stay where they are, so that a growth costs the
/// same however long the recording is.
class AviIndex final {
public:
    explicit AviIndex(size_t bytesOfAnEntry) : entryBytes(bytesOfAnEntry) {}

    /// Makes room for one more entry. Throws std::bad_alloc, and then leaves all as it was.
    void Reserve() {
        if (entries < blocks.size() * entriesPerBlock) return;
        blocks.push_back(std::make_unique_for_overwrite<uint8_t[]>(entriesPerBlock * entryBytes));
    }
    /// Needs the room of a Reserve.
    void Add(std::span<const uint8_t> entry) {
        assert(entry.size() == entryBytes && entries < blocks.size() * entriesPerBlock);
        std::memcpy(&blocks[entries / entriesPerBlock][entries % entriesPerBlock * entryBytes], entry.data(),
                    entryBytes);
        ++entries;
    }
    /// Keeps the room.
    void Clear() { entries = 0; }

    size_t count() const { return entries; }
    uint64_t bytes() const { return uint64_t(entries) * entryBytes; }
    size_t blockCount() const { return blocks.size(); }
    size_t usedBlocks() const { return (entries + entriesPerBlock - 1) / entriesPerBlock; }
    /// What the used block `number` holds.
    Bytes block(size_t number) const {
        const size_t used = std::min(entries - number * entriesPerBlock, entriesPerBlock);
        return std::as_bytes(std::span(blocks[number].get(), used * entryBytes));
    }

    static constexpr size_t entriesPerBlock = 4096;

private:
    const size_t entryBytes;
    std::vector<std::unique_ptr<uint8_t[]>> blocks;
    size_t entries = 0;
};

}  // namespace vexcap
