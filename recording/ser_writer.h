// The astronomers' recording: raw frames of the sensor in a SER file.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "platform/file.h"
#include "recording/growing_file.h"

namespace vexcap {

/// What a SER recording holds.
struct SerFormat {
    std::u16string device;      ///< Name of the camera.
    uint32_t fourcc = 0;        ///< The camera's mosaic; any that is not one of the four is mono.
    uint32_t bitDepth = 0;      ///< Bits of a sample, 1 to 16. Samples above 8 bits have two bytes, low byte first.
    uint32_t width = 0;         ///< Pixels.
    uint32_t height = 0;        ///< Pixels.
    bool shiftToMsb = false;    ///< Left-justify samples of 9 to 15 bits.
    uint32_t littleEndian = 0;  ///< The header's field of this name. Non-zero swaps the bytes of 16-bit samples.
};

/// One SER recording: a 178-byte header, then frames back to back, rows last to first, nothing behind them.
/// close() alone writes the header, so a recording that was cut short begins with zeros.
/// Not thread-safe: the owner calls it under captureLock.
class SerWriter final {
public:
    /// Makes the file. The file system must outlive the writer. E_INVALIDARG for a size or depth of 0, a depth above 16
    /// and a frame of 2 GiB or more; the file system's code when the file cannot be made.
    static Result<std::unique_ptr<SerWriter>> create(IFileSystem& files, IClock& clock, std::u16string_view path,
                                                     const SerFormat& format);
    ~SerWriter();
    SerWriter(const SerWriter&) = delete;
    SerWriter& operator=(const SerWriter&) = delete;

    /// Adds a frame whose rows lie without padding, and gives the number of bytes written. A failure loses this frame
    /// alone: it is not counted, and the next one takes its place. E_INVALIDARG for bytes that are not one frame.
    /// Never allocates.
    Result<size_t> writeFrame(Bytes samples);

    /// Writes the header and closes the file; removes it instead when it holds no frame. The first failure is told. A
    /// second call does nothing.
    Status close();

    /// Frames in the file, not frames offered.
    uint32_t frameCount() const { return frames; }

    static constexpr size_t headerBytes = 178;

private:
    SerWriter(IFileSystem& system, std::u16string_view where, const SerFormat& layout, uint32_t sampleBytes);
    Status Start(IClock& clock, const SerFormat& format);
    void FillHeader(IClock& clock, const SerFormat& format);
    Status Write(Bytes samples);

    IFileSystem& files;
    const std::u16string path;
    const size_t rowBytes;
    const size_t rows;
    const size_t frameBytes;
    const uint32_t shift;  // bits that samples move to the left
    const bool swapsBytes;
    const bool gathersRows;

    // One of the two is made at creation, so that writeFrame never allocates.
    std::vector<Bytes> reversedRows;          // when rows are gathered from where the camera left them
    std::unique_ptr<uint16_t[]> frameBuffer;  // when they are rearranged first

    std::array<uint8_t, headerBytes> header = {};
    std::unique_ptr<GrowingFile> file;  // null once closed
    uint32_t frames = 0;
};

}  // namespace vexcap
