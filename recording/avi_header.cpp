#include "recording/avi_header.h"

#include <algorithm>
#include <utility>

#include "base/dib.h"
#include "recording/little_endian.h"

namespace vexcap {
namespace {

constexpr size_t extraDataOffset = 212;
constexpr size_t moviListOffset = 2036;  // its frames begin where the block ends
constexpr size_t chunkHeaderBytes = 8;
constexpr size_t superIndexBytes = 24;  // before its entries
constexpr size_t superIndexEntryBytes = 16;
constexpr size_t odmlListBytes = 24;

constexpr uint32_t flagHasIndex = 0x10, flagMustUseIndex = 0x20, flagIsInterleaved = 0x100;

constexpr uint32_t rateScale = 1'000'000;

constexpr size_t evenSize(size_t size) { return size + size % 2; }

/// Rounded to nearest; as large as a field can be when it is larger still.
uint32_t rounded(double value) { return uint32_t(std::min(value + 0.5, double(UINT32_MAX))); }

uint32_t flagsOf(const AviFormat& format, bool hasIndex) {
    if (!hasIndex) return flagIsInterleaved;
    return flagIsInterleaved | flagHasIndex | (format.mustUseIndex ? flagMustUseIndex : 0);
}

/// Where the fields end and the padding begins.
size_t fieldsEnd(const AviFormat& format, const AviHeaderState& state) {
    size_t end = extraDataOffset + evenSize(format.extraData.size());
    if (!state.indexes.empty())
        end += chunkHeaderBytes + superIndexBytes + superIndexEntryBytes * state.indexes.size() + odmlListBytes;
    return end;
}

/// Puts fields one behind another.
class Fields {
public:
    explicit Fields(AviHeaderBlock& header) : block(header) {}

    void name(const char (&fourCharacters)[5]) { u32(fourcc(fourCharacters)); }
    void u16(uint16_t value) { put16(block, std::exchange(at, at + 2), value); }
    void u32(uint32_t value) { put32(block, std::exchange(at, at + 4), value); }
    void u64(uint64_t value) { put64(block, std::exchange(at, at + 8), value); }
    void zeros(size_t count) { at += count; }
    void bytes(std::span<const std::byte> data) {
        for (const std::byte b : data) block[at++] = uint8_t(b);
    }
    /// A list whose size is known when endList gets what this gives.
    size_t beginList(const char (&kind)[5]) {
        name("LIST");
        u32(0);
        const size_t start = at;
        name(kind);
        return start;
    }
    void endList(size_t start) { put32(block, start - 4, uint32_t(at - start)); }
    size_t position() const { return at; }

private:
    AviHeaderBlock& block;
    size_t at = 0;
};

void putMainHeader(Fields& fields, const AviFormat& format, const AviHeaderState& state, bool hasRate) {
    fields.name("avih");
    fields.u32(56);
    fields.u32(hasRate ? rounded(1'000'000 / format.fps) : 0);  // dwMicroSecPerFrame
    fields.u32(0);                                              // dwMaxBytesPerSec
    fields.u32(0);                                              // dwPaddingGranularity
    fields.u32(flagsOf(format, state.hasIndex));
    fields.u32(state.frames);  // dwTotalFrames
    fields.u32(0);             // dwInitialFrames
    fields.u32(1);             // dwStreams
    fields.u32(0);             // dwSuggestedBufferSize
    fields.u32(format.width);
    fields.u32(format.height);
    fields.zeros(16);
}

void putStreamHeader(Fields& fields, const AviFormat& format, const AviHeaderState& state, bool hasRate) {
    fields.name("strh");
    fields.u32(56);
    fields.name("vids");
    fields.u32(format.compressor);
    fields.zeros(8);  // dwFlags, wPriority, wLanguage
    fields.u32(0);    // dwInitialFrames
    fields.u32(rateScale);
    fields.u32(hasRate ? rounded(format.fps * rateScale) : 0);
    fields.u32(0);  // dwStart
    fields.u32(state.frames);
    fields.u32(state.maxChunk);
    fields.u32(state.quality);
    fields.u32(0);    // dwSampleSize
    fields.zeros(8);  // rcFrame
}

void putStreamFormat(Fields& fields, const AviFormat& format) {
    const uint32_t formatBytes = uint32_t(40 + format.extraData.size());
    fields.name("strf");
    fields.u32(formatBytes);
    fields.u32(format.compressor == fourcc("HFYU") ? formatBytes : 40);  // its decoders look for their tables there
    fields.u32(format.width);
    fields.u32(format.height);
    fields.u16(1);  // biPlanes
    fields.u16(format.depth);
    fields.u32(format.compressor);
    fields.u32(format.depth / 8u * format.width * format.height);
    fields.zeros(16);  // resolution, colours
    fields.bytes(format.extraData);
    fields.zeros(format.extraData.size() % 2);
}

void putSuperIndex(Fields& fields, std::span<const AviSegmentIndex> indexes) {
    fields.name("indx");
    fields.u32(uint32_t(superIndexBytes + superIndexEntryBytes * indexes.size()));
    fields.u16(4);  // wLongsPerEntry
    fields.u16(0);  // an index of indexes
    fields.u32(uint32_t(indexes.size()));
    fields.name("ix00");
    fields.zeros(12);
    for (const AviSegmentIndex& index : indexes) {
        fields.u64(index.position);
        fields.u32(index.bytes);
        fields.u32(index.duration);
    }
}

}  // namespace

bool fillAviHeader(AviHeaderBlock& block, const AviFormat& format, const AviHeaderState& state) {
    // The padding is a chunk of its own, of a byte at least.
    if (fieldsEnd(format, state) + chunkHeaderBytes >= moviListOffset) return false;
    const bool hasRate = format.fps >= 0.001;  // false for what is no number, too

    block.fill(0);
    Fields fields(block);
    fields.name("RIFF");
    fields.u32(state.riffBytes);
    fields.name("AVI ");
    const size_t headerList = fields.beginList("hdrl");
    putMainHeader(fields, format, state, hasRate);
    const size_t streamList = fields.beginList("strl");
    putStreamHeader(fields, format, state, hasRate);
    putStreamFormat(fields, format);
    if (!state.indexes.empty()) putSuperIndex(fields, state.indexes);
    fields.endList(streamList);
    if (!state.indexes.empty()) {
        const size_t openDmlList = fields.beginList("odml");
        fields.name("dmlh");
        fields.u32(4);
        fields.u32(state.frames);
        fields.endList(openDmlList);
    }
    fields.endList(headerList);

    const size_t padding = moviListOffset - chunkHeaderBytes - fields.position();
    fields.name("JUNK");
    fields.u32(uint32_t(padding));
    fields.zeros(padding);
    fields.name("LIST");
    fields.u32(state.moviBytes);
    fields.name("movi");
    return true;
}

}  // namespace vexcap
