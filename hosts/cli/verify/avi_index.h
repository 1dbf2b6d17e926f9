/// The indexes of an AVI file. Each entry is compared with the chunk that it points at.
#pragma once

#include "hosts/cli/verify/avi_header.h"

namespace vexcap::cli {

/// How many chunks there are of each stream, found in the lists or named by an index.
using StreamCounts = std::array<uint64_t, mostStreams>;

class AviIndexReader final {
public:
    /// `found` gets the problems; both outlive the reader.
    AviIndexReader(Source& source, Problems& found) : indexReader(source), chunkReader(source), problems(found) {}

    /// Reads idx1, the index of the first segment, as far as it lies in the file.
    /// @param movi  Where the kind of the first list of frames stands.
    /// @return How many entries each stream has.
    StreamCounts ReadFirst(const Chunk& chunk, uint64_t movi);

    /// Reads the OpenDML indexes of a stream, of all segments.
    /// @return How many entries they have together.
    uint64_t ReadOpenDml(const Chunk& chunk, size_t stream);

private:
    uint64_t ReadParts(const Chunk& chunk, uint32_t count, size_t stream);
    uint64_t ReadPart(const Chunk& chunk, size_t stream);
    uint64_t BaseOfFirst(const Chunk& chunk, uint64_t movi);
    bool IsAt(uint64_t position, uint32_t name, uint32_t size);

    ByteReader indexReader;  // Each stays near its place: entries here, the chunks that they name there.
    ByteReader chunkReader;
    Problems& problems;
};

}  // namespace vexcap::cli
