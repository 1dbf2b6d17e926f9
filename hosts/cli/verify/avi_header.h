/// The list `hdrl` of an AVI file: what the file promises to hold.
#pragma once

#include <vector>

#include "hosts/cli/verify/riff.h"

namespace vexcap::cli {

/// Two digits name a stream.
constexpr size_t mostStreams = 100;

/// The stream that a chunk of frames or samples belongs to: the number before "dc", "db", "wb" and so on.
std::optional<size_t> streamOf(uint32_t name);
/// A chunk that holds a frame of a video stream: "dc" or "db".
bool isFrame(uint32_t name);
/// The index of a stream, "ix00" or "00ix".
bool isIndexOf(uint32_t name, size_t stream);

struct AviStream {
    uint32_t type = 0;   ///< "vids", "auds" and so on.
    uint32_t scale = 0;  ///< Frames a second are rate / scale.
    uint32_t rate = 0;
    uint32_t length = 0;  ///< Frames of a video stream.
    bool formatKnown = false;
    uint32_t width = 0;  ///< Pixels of a video stream.
    uint32_t height = 0;
    uint32_t bits = 0;           ///< Of a pixel.
    uint32_t compression = 0;    ///< 0, or a four-character code.
    std::optional<Chunk> index;  ///< indx
    bool IsVideo() const { return type == fourcc("vids"); }
    /// Bytes that each frame has; 0 where that is not fixed, or not known for certain.
    uint64_t FrameBytes() const;
    std::string Pixels() const;
};

struct AviHeader {
    static constexpr uint32_t hasIndex = 0x10;
    bool found = false;  ///< avih is there.
    uint32_t flags = 0;
    uint32_t frames = 0;                ///< In the file, or in its first segment: both are common.
    std::optional<uint32_t> allFrames;  ///< dmlh: in all segments.
    std::vector<AviStream> streams;     ///< At most mostStreams.
    /// The first stream of pictures, which is the one that a user is told of.
    std::optional<size_t> Video() const;
    /// No count is in it, as before the end of a recording. Those of the streams may be guesses then.
    bool PromisesNothing() const { return frames == 0 && allFrames.value_or(0) == 0; }
};

/// @param list  The list, which lies in the file before `end`.
AviHeader readAviHeader(ByteReader& reader, const Chunk& list, uint64_t end, Problems& problems);

}  // namespace vexcap::cli
