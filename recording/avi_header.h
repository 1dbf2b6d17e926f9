// The 2048 bytes that an AVI file begins with.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexcap {

/// The most that a segment may have: older readers count its bytes in 31 bits.
constexpr uint64_t aviSegmentBytes = uint64_t(1900) << 20;

/// What an AVI file holds.
struct AviFormat {
    uint32_t width = 0;                       ///< Pixels.
    uint32_t height = 0;                      ///< Pixels.
    uint16_t depth = 24;                      ///< Bits a pixel.
    double fps = 25.0;                        ///< Nominal; storeRealRate puts the real one into the finished file.
    uint32_t compressor = 0;                  ///< Four-character code, 0 for plain RGB.
    std::vector<std::byte> extraData = {};    ///< Follows the bitmap header; 1814 bytes at most.
    bool mustUseIndex = false;                ///< Tells readers that frames are found by the index alone.
    uint64_t segmentBytes = aviSegmentBytes;  ///< A new segment begins before the file reaches a multiple of this.
};

/// Where the index of one segment lies, as the index of indexes tells it.
struct AviSegmentIndex {
    uint64_t position = 0;  ///< Of the chunk.
    uint32_t bytes = 0;     ///< Of the chunk's data.
    uint32_t duration = 0;  ///< Its frames less one; all bits set when it has none.
};

/// What changes between the header that a recording starts with and the one of its end.
struct AviHeaderState {
    uint32_t riffBytes = 0;  ///< Size field of the first RIFF.
    uint32_t moviBytes = 0;  ///< Size field of its list of frames.
    bool hasIndex = false;
    uint32_t frames = 0;
    uint32_t maxChunk = 0;  ///< Bytes of the largest frame.
    uint32_t quality = 0;
    std::span<const AviSegmentIndex> indexes = {};  ///< None in a file of one segment.
};

using AviHeaderBlock = std::array<uint8_t, 2048>;

/// Fills the whole block. False when the fields do not fit; the block is then not to be used.
bool fillAviHeader(AviHeaderBlock& block, const AviFormat& format, const AviHeaderState& state);

/// The header of a recording that runs: sizes that readers take as "up to the end of the file".
inline constexpr AviHeaderState runningAvi = {
    .riffBytes = 0xFEFFF003, .moviBytes = 0xFEFFF003, .hasIndex = true, .quality = 0xFFFFFFFF};

}  // namespace vexcap
