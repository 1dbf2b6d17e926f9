#include "recording/avi_file.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

#include "base/dib.h"
#include "recording/little_endian.h"

namespace vexcap {
namespace {

constexpr size_t chunkHeaderBytes = 8;
constexpr size_t indexHeaderBytes = 24;  // of an ix00 chunk, before its entries
constexpr size_t frameIndexEntryBytes = 16;
constexpr size_t segmentIndexEntryBytes = 8;
constexpr size_t moviStart = 2044;  // what the size of the first list of frames counts from

/// The entry of a segment's index has 31 bits for the size of a frame.
constexpr size_t largestFrame = INT32_MAX;

constexpr uint32_t flagKeyFrame = 0x10;                 // of an entry in idx1
constexpr uint32_t flagNoKeyFrame = uint32_t(1) << 31;  // beside the size in an entry of a segment's index

using ChunkHeader = std::array<uint8_t, chunkHeaderBytes>;
using SegmentIndexHeader = std::array<uint8_t, chunkHeaderBytes + indexHeaderBytes>;
using SegmentHeader = std::array<uint8_t, 24>;

ChunkHeader chunkHeader(const char (&name)[5], uint64_t size) {
    ChunkHeader header;
    put32(header, 0, fourcc(name));
    put32(header, 4, uint32_t(size));
    return header;
}

/// Chunk header and own header of a segment's index; the entries follow.
SegmentIndexHeader segmentIndexHeader(const AviIndex& index, uint64_t base) {
    SegmentIndexHeader header = {};
    put32(header, 0, fourcc("ix00"));
    put32(header, 4, uint32_t(indexHeaderBytes + index.bytes()));
    put16(header, 8, 2);        // wLongsPerEntry
    put16(header, 10, 1 << 8);  // bIndexSubType 0, bIndexType 1: an index of chunks
    put32(header, 12, uint32_t(index.count()));
    put32(header, 16, fourcc("00dc"));
    put64(header, 20, base);
    return header;
}

AviSegmentIndex placeOf(const AviIndex& index, uint64_t position) {
    return {position, uint32_t(indexHeaderBytes + index.bytes()), uint32_t(index.count() - 1)};
}

/// What a segment beyond the first begins with, up to its first chunk. While the segment grows, these 24 bytes are a
/// chunk of 16 bytes to a reader that goes from chunk to chunk.
constexpr uint32_t unfinishedRiffBytes = 16, unfinishedMoviBytes = 0;

SegmentHeader segmentHeader(uint32_t riffBytes, uint32_t moviBytes) {
    SegmentHeader header;
    put32(header, 0, fourcc("RIFF"));
    put32(header, 4, riffBytes);
    put32(header, 8, fourcc("AVIX"));
    put32(header, 12, fourcc("LIST"));
    put32(header, 16, moviBytes);
    put32(header, 20, fourcc("movi"));
    return header;
}

std::array<uint8_t, frameIndexEntryBytes> frameIndexEntry(uint64_t chunk, size_t frameBytes, bool keyFrame) {
    std::array<uint8_t, frameIndexEntryBytes> entry;
    put32(entry, 0, fourcc("00dc"));
    put32(entry, 4, keyFrame ? flagKeyFrame : 0);
    put32(entry, 8, uint32_t(chunk));
    put32(entry, 12, uint32_t(frameBytes));
    return entry;
}

/// `chunk` is counted from the start of the segment; the entry points behind its header.
std::array<uint8_t, segmentIndexEntryBytes> segmentIndexEntry(uint64_t chunk, size_t frameBytes, bool keyFrame) {
    std::array<uint8_t, segmentIndexEntryBytes> entry;
    put32(entry, 0, uint32_t(chunk + chunkHeaderBytes));
    put32(entry, 4, uint32_t(frameBytes) | (keyFrame ? 0 : flagNoKeyFrame));
    return entry;
}

Bytes bytesOf(std::span<const uint8_t> bytes) { return std::as_bytes(bytes); }

}  // namespace

uint64_t aviFrameBytes(uint32_t width, uint32_t height) {
    const uint64_t row = dibStride(width, 3);
    if (!height || row < uint64_t(width) * 3 || !row) return 0;
    return height <= largestFrame / row ? row * height : 0;
}

Result<std::unique_ptr<AviFile>> AviFile::create(IFileSystem& files, std::u16string_view path,
                                                 const AviFormat& format) try {
    AviHeaderBlock header;
    if (!format.width || !format.height || !format.segmentBytes || format.segmentBytes > aviSegmentBytes ||
        !fillAviHeader(header, format, runningAvi))
        return E_INVALIDARG;
    // Before the file is made, so that no file stays behind where memory is short.
    std::unique_ptr<AviFile> made(new AviFile(format));
    auto opened = files.Update(path);
    if (opened.code() == VEX_E_FILE_NOT_FOUND) opened = files.Create(path);
    if (!opened.ok()) return opened.status();
    // Not through the growing file yet: when this fails, the file that was there keeps its length.
    if (const Status s = opened.value()->WriteAt(0, bytesOf(header)); !s.ok()) return s;
    made->file = std::make_unique<GrowingFile>(std::move(opened).value(), header.size());
    return made;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

AviFile::AviFile(const AviFormat& layout)
    : format(layout), frameIndex(frameIndexEntryBytes), segmentIndex(segmentIndexEntryBytes) {
    segmentIndexes.reserve(mostSegments);
    ReserveIndexes();
}

AviFile::~AviFile() { close().ignore(); }  // nobody is left to hear of it

/// Makes sure that nothing has to be allocated once the next frame is in the file.
void AviFile::ReserveIndexes() {
    constexpr size_t otherPieces = 6;  // headers of both indexes, of the segment and of the chunk; frame and padding
    if (segments == 1) frameIndex.Reserve();
    segmentIndex.Reserve();
    pieces.reserve(frameIndex.blockCount() + segmentIndex.blockCount() + otherPieces);
}

/// Where the segment would end with one more frame of this size and the indexes that belong to it.
uint64_t AviFile::ExpectedEnd(uint64_t frameBytes) const {
    const uint64_t end = file->end() + chunkHeaderBytes + frameBytes + frameBytes % 2 + segmentIndex.bytes() + 32;
    if (segments > 1) return end;
    return end + frameIndex.bytes() + frameIndexEntryBytes + chunkHeaderBytes + 2048;
}

void AviFile::BeginGathering() {
    pieces.clear();
    gatheredEnd = file->end();
}

void AviFile::Gather(Bytes piece) {
    pieces.push_back(piece);
    gatheredEnd += piece.size();
}

void AviFile::Gather(const AviIndex& index) {
    for (size_t i = 0; i < index.usedBlocks(); ++i) Gather(index.block(i));
}

Result<size_t> AviFile::writeFrame(Bytes frame, bool keyFrame) try {
    if (!file) return E_UNEXPECTED;
    if (frame.empty() || frame.size() > largestFrame) return E_INVALIDARG;
    ReserveIndexes();
    const bool opensSegment = ExpectedEnd(frame.size()) > segments * format.segmentBytes;
    if (opensSegment && segments == mostSegments) return VEX_E_DISK_FULL;

    // The end of the present segment and the start of the next one go out with the frame: all of it, or nothing.
    SegmentIndexHeader indexHeader;
    ChunkHeader frameIndexHeader;
    SegmentHeader nextHeader;
    uint64_t segment = segmentStart[segments - 1];
    BeginGathering();
    if (opensSegment) {
        indexHeader = segmentIndexHeader(segmentIndex, segment);
        Gather(bytesOf(indexHeader));
        Gather(segmentIndex);
        if (segments == 1) {
            frameIndexHeader = chunkHeader("idx1", frameIndex.bytes());
            Gather(bytesOf(frameIndexHeader));
            Gather(frameIndex);
        }
        segment = gatheredEnd;
        nextHeader = segmentHeader(unfinishedRiffBytes, unfinishedMoviBytes);
        Gather(bytesOf(nextHeader));
    }
    const uint64_t chunk = gatheredEnd;
    const ChunkHeader header = chunkHeader("00dc", frame.size());
    constexpr std::byte padding = {};
    Gather(bytesOf(header));
    Gather(frame);
    if (frame.size() % 2) Gather({&padding, 1});
    const AviSegmentIndex finished = placeOf(segmentIndex, file->end());
    if (const Status s = file->append(pieces); !s.ok()) return s;

    // From here on nothing fails, so that the indexes hold what the file holds.
    if (opensSegment) {
        segmentIndexes.push_back(finished);
        segmentStart[segments++] = segment;
        segmentIndex.Clear();
    }
    if (segments == 1) frameIndex.Add(frameIndexEntry(chunk, frame.size(), keyFrame));
    segmentIndex.Add(segmentIndexEntry(chunk - segment, frame.size(), keyFrame));
    maxChunk = std::max(maxChunk, uint32_t(frame.size()));
    ++frames;
    return frame.size();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

Status AviFile::close() {
    if (!file) return S_OK;
    const uint64_t moviEnd = segments == 1 ? file->end() : segmentStart[1] - chunkHeaderBytes - frameIndex.bytes();
    Status result = WriteLastIndex();
    const bool hasIndex = segments > 1 || result.ok();  // idx1 went out with the second segment, or just now
    segmentStart[segments] = file->end();
    if (const Status s = WriteSizes(moviEnd, hasIndex); result.ok()) result = s;
    if (const Status s = file->close(); result.ok()) result = s;
    file.reset();
    return result;
}

/// A file of one segment ends with the index of its frames; each of several segments with its own.
Status AviFile::WriteLastIndex() {
    BeginGathering();
    if (segments == 1) {
        const ChunkHeader header = chunkHeader("idx1", frameIndex.bytes());
        Gather(bytesOf(header));
        Gather(frameIndex);
        return file->append(pieces);
    }
    const SegmentIndexHeader header = segmentIndexHeader(segmentIndex, segmentStart[segments - 1]);
    const AviSegmentIndex finished = placeOf(segmentIndex, file->end());
    Gather(bytesOf(header));
    Gather(segmentIndex);
    if (const Status s = file->append(pieces); !s.ok()) return s;
    segmentIndexes.push_back(finished);
    return S_OK;
}

/// The final header, then the sizes of the further segments. Without the one the others stay as they are, too: a file
/// whose header says "unfinished" is read from chunk to chunk, and such a segment begins with what looks like one.
Status AviFile::WriteSizes(uint64_t moviEnd, bool hasIndex) {
    AviHeaderBlock header;
    const AviHeaderState state = {.riffBytes = uint32_t(segmentStart[1] - chunkHeaderBytes),
                                  .moviBytes = uint32_t(moviEnd - moviStart),
                                  .hasIndex = hasIndex,
                                  .frames = frames,
                                  .maxChunk = maxChunk,
                                  .indexes = segmentIndexes};
    // The list of segments may leave no room beside long extra data. That costs the header, and no frame.
    if (!fillAviHeader(header, format, state)) return S_OK;
    if (const Status s = file->writeAt(0, bytesOf(header)); !s.ok()) return s;

    Status result = S_OK;
    for (uint32_t i = 1; i < segments; ++i) {
        const uint64_t riffBytes = segmentStart[i + 1] - segmentStart[i] - chunkHeaderBytes;
        const SegmentHeader finished = segmentHeader(uint32_t(riffBytes), uint32_t(riffBytes - 12));
        if (const Status s = file->writeAt(segmentStart[i], bytesOf(finished)); result.ok()) result = s;
    }
    return result;
}

Status storeRealRate(IFileSystem& files, std::u16string_view path, uint32_t elapsed) {
    constexpr size_t streamKind = 108, scale = 128, rate = 132, length = 140;
    auto opened = files.Update(path);
    if (!opened.ok()) return opened.status();
    std::array<uint8_t, 256> header;
    const auto read = opened.value()->ReadAt(0, std::as_writable_bytes(std::span(header)));
    if (!read.ok()) return read.status();
    if (read.value() < header.size() || get32(header, streamKind) != fourcc("vids") || !elapsed) return S_FALSE;
    const uint64_t frames = get32(header, length);
    const uint64_t framesPer1000Seconds = (frames * 1'000'000 + elapsed / 2) / elapsed;
    if (!framesPer1000Seconds || framesPer1000Seconds > INT32_MAX) return S_FALSE;
    put32(header, scale, 1000);
    put32(header, rate, uint32_t(framesPer1000Seconds));
    return opened.value()->WriteAt(0, bytesOf(header));
}

}  // namespace vexcap
