#include "recording/ser_writer.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstring>
#include <new>

#include "base/dib.h"
#include "base/text.h"
#include "pixel/kernels.h"
#include "recording/little_endian.h"

namespace vexcap {
namespace {

// The header: offsets of its fields. All numbers are little-endian.
constexpr size_t fileIdOffset = 0;
constexpr size_t colorIdOffset = 18;
constexpr size_t littleEndianOffset = 22;
constexpr size_t widthOffset = 26;
constexpr size_t heightOffset = 30;
constexpr size_t depthOffset = 34;
constexpr size_t frameCountOffset = 38;
constexpr size_t instrumentOffset = 82;
constexpr size_t dateTimeOffset = 162;
constexpr size_t dateTimeUtcOffset = 170;
constexpr std::string_view fileId = "LUCAM-RECORDER";

constexpr uint32_t serMono = 0, serRggb = 8, serGrbg = 9, serGbrg = 10, serBggr = 11;

struct MosaicName {
    uint32_t camera;
    uint32_t file;
};
// The camera names its mosaic from the first row, the file holds the last row first. Over an even height that turns
// RGGB into GBRG, so the two names in each pair differ on purpose.
constexpr MosaicName mosaics[] = {
    {fourcc("RGGB"), serGbrg},
    {fourcc("GRBG"), serBggr},
    {fourcc("GBRG"), serRggb},
    {fourcc("BGGR"), serGrbg},
};

uint32_t colorIdOf(uint32_t camera) {
    for (const MosaicName& mosaic : mosaics)
        if (mosaic.camera == camera) return mosaic.file;
    return serMono;
}

constexpr uint64_t ticksBefore1601 = 0x0701CE1722770000;  // 100 ns each, from the year 1
constexpr uint64_t kindLocal = 0x8000000000000000;
constexpr uint64_t kindUtc = 0x4000000000000000;

/// Readers count in signed 32 bits.
constexpr uint64_t largestFrame = INT32_MAX;

/// Rows of this many bytes and more are handed to the system where they lie: to walk a list of them then costs less
/// than to copy them. Shorter ones are copied into one buffer.
constexpr size_t gatheredRowBytes = 1536;

constexpr uint32_t sampleBytesOf(uint32_t depth) { return depth <= 8 ? 1 : 2; }

/// A size that a frame can have: not empty, and every product of it in bounds.
bool fits(const SerFormat& format) {
    if (!format.width || !format.height || !format.bitDepth || format.bitDepth > 16) return false;
    const uint64_t row = uint64_t(format.width) * sampleBytesOf(format.bitDepth);
    return row <= largestFrame && format.height <= largestFrame / row;
}

}  // namespace

Result<std::unique_ptr<SerWriter>> SerWriter::create(IFileSystem& files, IClock& clock, std::u16string_view path,
                                                     const SerFormat& format) try {
    if (!fits(format)) return E_INVALIDARG;
    std::unique_ptr<SerWriter> writer(new SerWriter(files, path, format, sampleBytesOf(format.bitDepth)));
    if (const Status s = writer->Start(clock, format); !s.ok()) return s;
    return writer;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

SerWriter::SerWriter(IFileSystem& system, std::u16string_view where, const SerFormat& layout, uint32_t sampleBytes)
    : files(system),
      path(where),
      rowBytes(size_t(layout.width) * sampleBytes),
      rows(layout.height),
      frameBytes(rowBytes * rows),
      shift(layout.shiftToMsb && layout.bitDepth > 8 && layout.bitDepth < 16 ? 16 - layout.bitDepth : 0),
      swapsBytes(layout.littleEndian && layout.bitDepth > 8),
      gathersRows(!shift && !swapsBytes && rowBytes >= gatheredRowBytes) {
    // Before the file is made, so that no file stays behind where memory is short. The buffer is cleared, which brings
    // its pages in: no frame pays for them.
    if (gathersRows)
        reversedRows.resize(rows);
    else
        frameBuffer = std::make_unique<uint16_t[]>((frameBytes + 1) / 2);
}

SerWriter::~SerWriter() { close().ignore(); }  // nobody is left to hear of it

Status SerWriter::Start(IClock& clock, const SerFormat& format) {
    auto made = files.Create(path);
    if (!made.ok()) return made.status();
    file = std::make_unique<GrowingFile>(std::move(made).value(), headerBytes);
    FillHeader(clock, format);
    return S_OK;
}

void SerWriter::FillHeader(IClock& clock, const SerFormat& format) {
    std::copy(fileId.begin(), fileId.end(), header.begin() + fileIdOffset);
    put32(header, colorIdOffset, colorIdOf(format.fourcc));
    // Readers disagree on what this field says; 0 in all recordings, although samples lie low byte first.
    put32(header, littleEndianOffset, format.littleEndian);
    put32(header, widthOffset, format.width);
    put32(header, heightOffset, format.height);
    put32(header, depthOffset, format.bitDepth);
    // A long name runs on through the field behind it, up to the end of the header; the times are stored over it.
    const std::string name = toUtf8(format.device);
    std::copy_n(name.begin(), std::min(name.size(), headerBytes - instrumentOffset), header.begin() + instrumentOffset);
    put64(header, dateTimeOffset, (clock.LocalFileTime() + ticksBefore1601) | kindLocal);
    put64(header, dateTimeUtcOffset, (clock.UtcFileTime() + ticksBefore1601) | kindUtc);
}

Result<size_t> SerWriter::writeFrame(Bytes samples) {
    if (!file) return E_UNEXPECTED;
    if (samples.size() != frameBytes) return E_INVALIDARG;
    if (frames == UINT32_MAX) return VEX_E_DISK_FULL;  // the header cannot promise more
    if (const Status s = Write(samples); !s.ok()) return s;
    ++frames;  // last, so that a failure leaves nothing to undo
    return frameBytes;
}

Status SerWriter::Write(Bytes samples) {
    if (gathersRows) {
        for (size_t y = 0; y < rows; ++y) reversedRows[rows - 1 - y] = samples.subspan(y * rowBytes, rowBytes);
        return file->append(reversedRows);
    }
    const PixelKernels& pixel = kernels();
    auto* const target = reinterpret_cast<uint8_t*>(frameBuffer.get());
    pixel.copyRowsReversed(target, reinterpret_cast<const uint8_t*>(samples.data()), rowBytes, rows);
    // In place, where samples lie aligned; those of the camera may not.
    if (shift) pixel.shiftLeft16(frameBuffer.get(), frameBuffer.get(), frameBytes / 2, shift);
    if (swapsBytes) pixel.swapBytes16(frameBuffer.get(), frameBuffer.get(), frameBytes / 2);
    return file->append(std::as_bytes(std::span(target, frameBytes)));
}

Status SerWriter::close() {
    if (!file) return S_OK;
    Status result = S_OK;
    if (frames) {
        put32(header, frameCountOffset, frames);
        result = file->writeAt(0, std::as_bytes(std::span(header)));
        if (const Status s = file->close(); result.ok()) result = s;
    } else {
        // While it is still ours: once it is closed, another recording may have taken the name.
        result = files.Remove(path);
    }
    file.reset();
    frameBuffer.reset();
    reversedRows = {};
    return result;
}

}  // namespace vexcap
