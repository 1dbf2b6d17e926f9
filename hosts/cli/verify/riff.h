/// Chunks: a name of four characters, a size of 32 bits, so many bytes, and a byte more where the size is odd.
#pragma once

#include <algorithm>

#include "hosts/cli/verify/byte_reader.h"
#include "hosts/cli/verify/report.h"

namespace vexcap::cli {

constexpr uint32_t fourcc(const char (&name)[5]) {
    uint32_t code = 0;
    for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<uint8_t>(name[i]);
    return code;
}

constexpr uint64_t chunkHeaderBytes = 8;
/// Name and size of a list, and what kind of list it is.
constexpr uint64_t listHeaderBytes = 12;

struct Chunk {
    uint32_t name = 0;
    uint32_t size = 0;  ///< Of the data.
    uint64_t position = 0;
    uint64_t Data() const { return position + chunkHeaderBytes; }
    uint64_t End() const { return Data() + size; }
    /// Where the next chunk begins.
    uint64_t Next() const { return End() + (size & 1); }
};

/// The chunk at a position; nothing where its header does not lie in the file. Its data may not.
std::optional<Chunk> chunkAt(ByteReader& reader, uint64_t position);

/// What kind of list a LIST or RIFF chunk is, 0 for another chunk.
uint32_t listKind(ByteReader& reader, const Chunk& chunk);

/// True for four characters that can be printed: anything else is no name of a chunk.
bool isName(uint32_t name);

/// The characters, or the number of what is no name.
std::string nameText(uint32_t name);

/// Calls `visit` with each chunk between two positions, and tells one that ends beyond them, which is the last.
template <typename Visit>
void forEachChunk(ByteReader& reader, uint64_t begin, uint64_t end, Problems& problems, Visit visit) {
    for (uint64_t position = begin; position < end && end - position >= chunkHeaderBytes;) {
        const auto chunk = chunkAt(reader, position);
        if (!chunk) return;
        if (!isName(chunk->name)) {
            problems.Add("at " + hexText(position) + " no chunk begins");
            return;
        }
        if (chunk->End() > end) {
            problems.Add("the chunk " + nameText(chunk->name) + " at " + hexText(position) +
                         (end == reader.Size() ? " ends beyond the file" : " ends beyond the list that it lies in"));
            return;
        }
        visit(*chunk);
        position = chunk->Next();
    }
}

}  // namespace vexcap::cli
