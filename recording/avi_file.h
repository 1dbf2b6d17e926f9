// An AVI file of one video stream, with OpenDML segments beyond its first 1900 MiB.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/file.h"
#include "recording/avi_header.h"
#include "recording/avi_index.h"
#include "recording/growing_file.h"

namespace vexcap {

/// Bytes of a frame of 24 bits a pixel, rows padded to four bytes. 0 for what is no frame: a side of 0, a frame of
/// 2 GiB or a row of half a GiB and more.
uint64_t aviFrameBytes(uint32_t width, uint32_t height);

/// One AVI recording: a header of 2048 bytes, frames in `00dc` chunks, and indexes. The file is readable without them
/// while it grows; close() writes the true header. Not thread-safe: the owner calls it under captureLock.
class AviFile final {
public:
    /// Makes the file, or takes over the one that is there: what it holds beyond the new end is cut off by close().
    /// The file system must outlive the writer. E_INVALIDARG for a size of 0, a wrong segment size and a format whose
    /// header does not fit; the file system's code when the file cannot be made or written.
    static Result<std::unique_ptr<AviFile>> create(IFileSystem& files, std::u16string_view path,
                                                   const AviFormat& format);
    ~AviFile();
    AviFile(const AviFile&) = delete;
    AviFile& operator=(const AviFile&) = delete;

    /// Adds a frame, bytes as they are to lie in the file, and gives its length. `keyFrame`: it needs no other one to
    /// be shown, which is so of all that are not compressed. A failure loses this frame alone: nothing of it is counted
    /// or indexed, and the next one takes its place. E_INVALIDARG for an empty frame and one of 2 GiB and more;
    /// VEX_E_DISK_FULL also when mostSegments are full. Allocates only where an index grows, every 4096 frames.
    Result<size_t> writeFrame(Bytes frame, bool keyFrame = true);

    /// Writes the indexes and the final header, and closes the file. The first failure is told; whatever fails, the
    /// frames that were written can be read. A second call does nothing.
    Status close();

    /// Frames in the file, not frames offered.
    uint32_t videoFrames() const { return frames; }

    static constexpr size_t headerBytes = sizeof(AviHeaderBlock);
    static constexpr uint32_t mostSegments = 32;

private:
    explicit AviFile(const AviFormat& layout);
    void ReserveIndexes();
    uint64_t ExpectedEnd(uint64_t frameBytes) const;
    void BeginGathering();
    void Gather(Bytes piece);
    void Gather(const AviIndex& index);
    Status WriteLastIndex();
    Status WriteSizes(uint64_t moviEnd, bool hasIndex);

    const AviFormat format;
    std::unique_ptr<GrowingFile> file;  // null once closed

    uint32_t frames = 0;
    uint32_t maxChunk = 0;  // bytes of the largest frame
    uint32_t segments = 1;
    std::array<uint64_t, mostSegments + 1> segmentStart = {};  // the last one counted is the end of the closed file
    std::vector<AviSegmentIndex> segmentIndexes;               // of the segments that are finished
    AviIndex frameIndex;                                       // idx1: the frames of the first segment
    AviIndex segmentIndex;                                     // ix00: those of the present one
    std::vector<Bytes> pieces;                                 // of one append; has room for all index blocks
    uint64_t gatheredEnd = 0;                                  // where the append will end
};

/// Puts the real frame rate of a finished AVI file into its header: the frames that it holds over `elapsed`
/// milliseconds. A file whose first 256 bytes are not those of an AVI file with a video stream stays as it is, and so
/// does one without frames or with a rate that no header can hold (S_FALSE).
Status storeRealRate(IFileSystem& files, std::u16string_view path, uint32_t elapsed);

}  // namespace vexcap
