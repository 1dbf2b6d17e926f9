// Reads an AVI file by its layout alone, without any code of its writer: for tests.
#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace vexcap::test {

/// A frame in the file: where its bytes lie, behind the header of the chunk.
struct AviFrame {
    uint64_t position = 0;
    uint32_t size = 0;
    bool keyFrame = true;  ///< As the indexes tell it; true without one.
    bool operator==(const AviFrame&) const = default;
};

/// `avih`.
struct AviMainHeader {
    uint32_t microSecPerFrame = 0, maxBytesPerSec = 0, paddingGranularity = 0, flags = 0, totalFrames = 0;
    uint32_t initialFrames = 0, streams = 0, suggestedBufferSize = 0, width = 0, height = 0;
};

/// `strh`.
struct AviStreamHeader {
    std::string type;
    uint32_t handler = 0, flags = 0, priorityAndLanguage = 0, initialFrames = 0, scale = 0, rate = 0, start = 0;
    uint32_t length = 0, suggestedBufferSize = 0, quality = 0, sampleSize = 0;
};

/// `strf`.
struct AviBitmapHeader {
    uint32_t size = 0, width = 0, height = 0;
    uint16_t planes = 0, bitCount = 0;
    uint32_t compression = 0, sizeImage = 0;
    std::vector<uint8_t> extraData;  ///< What follows the first 40 bytes in the chunk.
};

/// One entry of `indx`.
struct AviIndexPlace {
    uint64_t position = 0;  ///< Of the header of an `ix00` chunk.
    uint32_t size = 0;
    uint32_t duration = 0;
};

/// One RIFF chunk of the file.
struct AviSegment {
    uint64_t start = 0;
    uint64_t end = 0;
    std::vector<AviFrame> frames = {};  ///< Of its list, in their order.
    bool hasIndex = false;              ///< It ends with an `ix00` chunk, which tells the same frames.
};

struct AviContent {
    AviMainHeader main;
    AviStreamHeader stream;
    AviBitmapHeader bitmap;
    std::vector<AviIndexPlace> superIndex;  ///< Empty without `indx`.
    std::optional<uint32_t> openDmlFrames;  ///< `dmlh`.
    bool hasFrameIndex = false;             ///< `idx1` follows the first list, and tells the frames of it.
    std::vector<AviSegment> segments;
    /// Where the file does not agree with itself or with the layout; nothing when all is well.
    std::vector<std::string> faults;

    std::vector<AviFrame> frames() const;
};

/// Reads a finished file: each size is taken at its word, each index is compared with the frames that it tells of.
AviContent readAvi(std::istream& file);

/// Reads a file whose sizes and indexes are not to be trusted, from chunk to chunk behind the first 2048 bytes.
/// `fault` tells why it ended before the end of the file.
struct AviScan {
    std::vector<AviFrame> frames;
    std::string fault;
};
AviScan scanAvi(std::istream& file);

}  // namespace vexcap::test
