#include "hosts/cli/verify/avi_index.h"

namespace vexcap::cli {

namespace {

constexpr size_t firstEntryBytes = 16;  // of idx1
constexpr size_t partEntryBytes = 16;   // of an index of indexes
constexpr size_t openDmlHeaderBytes = 24;
constexpr uint8_t indexOfIndexes = 0, indexOfChunks = 1;
constexpr uint32_t sizeBits = 0x7FFFFFFF;  // The highest bit tells a frame that needs others.

std::string wrongEntry(uint64_t entry, const std::string& index, uint64_t position, uint32_t size) {
    return "entry " + std::to_string(entry + 1) + " of " + index + " points at " + hexText(position) +
           ", where no frame of " + std::to_string(size) + " bytes begins";
}

std::string indexAt(uint64_t position) { return "the index at " + hexText(position); }

}  // namespace

StreamCounts AviIndexReader::ReadFirst(const Chunk& chunk, uint64_t movi) {
    StreamCounts counts = {};
    const uint64_t base = BaseOfFirst(chunk, movi);
    const uint64_t entries = chunk.size / firstEntryBytes;
    Repeated wrong;
    for (uint64_t i = 0; i < entries; ++i) {
        const auto entry = indexReader.Record<firstEntryBytes>(chunk.Data() + i * firstEntryBytes);
        if (!entry) break;
        const uint32_t name = le32(*entry, 0), size = le32(*entry, 12);
        const uint64_t position = base + le32(*entry, 8);
        const auto stream = streamOf(name);
        if (stream) ++counts[*stream];
        // Lists of chunks that belong together may have an entry, too.
        if (!IsAt(position, stream ? name : fourcc("LIST"), size))
            wrong.Note([&] { return wrongEntry(i, "idx1", position, size); });
    }
    wrong.TellTo(problems);
    return counts;
}

/// Offsets count from the list of frames with most programs, and from the beginning of the file with others.
uint64_t AviIndexReader::BaseOfFirst(const Chunk& chunk, uint64_t movi) {
    constexpr uint64_t tried = 16;  // One wrong entry does not decide it.
    for (uint64_t i = 0; i < std::min<uint64_t>(chunk.size / firstEntryBytes, tried); ++i) {
        const auto entry = indexReader.Record<firstEntryBytes>(chunk.Data() + i * firstEntryBytes);
        if (!entry) break;
        for (const uint64_t base : {movi, uint64_t{0}})
            if (streamOf(le32(*entry, 0)) && IsAt(base + le32(*entry, 8), le32(*entry, 0), le32(*entry, 12)))
                return base;
    }
    return movi;
}

uint64_t AviIndexReader::ReadOpenDml(const Chunk& chunk, size_t stream) {
    const auto header = indexReader.Record<openDmlHeaderBytes>(chunk.Data());
    if (!header || chunk.size < openDmlHeaderBytes) {
        problems.Add(indexAt(chunk.position) + " ends within its header");
        return 0;
    }
    switch ((*header)[3]) {
        case indexOfIndexes:
            return ReadParts(chunk, le32(*header, 4), stream);
        case indexOfChunks:
            return ReadPart(chunk, stream);
        default:
            problems.Add(indexAt(chunk.position) + " is of the unknown kind " + std::to_string((*header)[3]));
            return 0;
    }
}

uint64_t AviIndexReader::ReadParts(const Chunk& chunk, uint32_t count, size_t stream) {
    const uint64_t room = (chunk.size - openDmlHeaderBytes) / partEntryBytes;
    if (count > room)
        problems.Add(indexAt(chunk.position) + " promises " + std::to_string(count) + " parts and has room for " +
                     std::to_string(room));
    Repeated wrong;
    uint64_t entries = 0, end = 0;
    for (uint64_t i = 0; i < std::min<uint64_t>(count, room); ++i) {
        const auto entry = indexReader.Record<partEntryBytes>(chunk.Data() + openDmlHeaderBytes + i * partEntryBytes);
        if (!entry) break;
        const uint64_t position = le64(*entry, 0);
        const auto part = chunkAt(chunkReader, position);
        // Parts lie one behind the other; each byte of the file is so read once, however often an index names it.
        if (!part || !isIndexOf(part->name, stream) || part->End() > chunkReader.Size() || position < end) {
            wrong.Note([&] {
                return "part " + std::to_string(i + 1) + " of " + indexAt(chunk.position) + " should lie at " +
                       hexText(position) + ", where no index begins";
            });
            continue;
        }
        end = part->End();
        entries += ReadPart(*part, stream);
    }
    wrong.TellTo(problems);
    return entries;
}

uint64_t AviIndexReader::ReadPart(const Chunk& chunk, size_t stream) {
    const auto header = indexReader.Record<openDmlHeaderBytes>(chunk.Data());
    // An entry is an offset and a size; where both fields of a picture are told it has one number more.
    const size_t entryBytes = header ? le16(*header, 0) * 4u : 0;
    if (!header || chunk.size < openDmlHeaderBytes || (*header)[3] != indexOfChunks || entryBytes < 8) {
        problems.Add(indexAt(chunk.position) + " has no header that can be read");
        return 0;
    }
    const uint64_t promised = le32(*header, 4), room = (chunk.size - openDmlHeaderBytes) / entryBytes;
    const uint64_t base = le64(*header, 12);
    if (promised > room)
        problems.Add(indexAt(chunk.position) + " promises " + std::to_string(promised) + " entries and has room for " +
                     std::to_string(room));
    Repeated wrong;
    const uint64_t entries = std::min(promised, room);
    for (uint64_t i = 0; i < entries; ++i) {
        const auto entry = indexReader.Record<8>(chunk.Data() + openDmlHeaderBytes + i * entryBytes);
        if (!entry) break;
        // An offset leads to the data, behind the chunk's name and size.
        const uint64_t position = base + le32(*entry, 0) - chunkHeaderBytes;
        const uint32_t size = le32(*entry, 4) & sizeBits;
        const auto found = chunkAt(chunkReader, position);
        if (!found || streamOf(found->name) != stream || found->size != size)
            wrong.Note([&] { return wrongEntry(i, indexAt(chunk.position), position, size); });
    }
    wrong.TellTo(problems);
    return entries;
}

bool AviIndexReader::IsAt(uint64_t position, uint32_t name, uint32_t size) {
    const auto found = chunkAt(chunkReader, position);
    return found && found->name == name && found->size == size;
}

}  // namespace vexcap::cli
