// Port: codecs and media files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/status.h"
#include "platform/plugin_abi.h"

namespace vexcap {

/// What a media file holds. Pictures are always given with 3 bytes a pixel, blue first, rows bottom-up at the DIB
/// stride.
struct MediaFileInfo {
    uint32_t width = 0;    ///< Pixels.
    uint32_t height = 0;   ///< Pixels.
    int64_t interval = 0;  ///< Mean time from frame to frame, 100-nanosecond units; 0 when unknown.
    int64_t duration = 0;  ///< 100-nanosecond units; 0 when unknown.
    bool seekable = false;
};

/// Times of a picture in its file, 100-nanosecond units from the file's beginning.
struct MediaTimes {
    int64_t start = 0;
    int64_t stop = 0;
};

/// An open media file. One thread at a time.
struct IMediaReader {
    virtual ~IMediaReader() = default;
    virtual const MediaFileInfo& Info() const = 0;
    /// Decodes the next picture into `picture`, which has room for one. S_FALSE at the end of the file. A damaged
    /// picture is skipped; a failure is the file's.
    virtual Status Read(std::span<std::byte> picture, MediaTimes& times) = 0;
    /// The next Read gives the picture that is shown at `position` (its times hold it), or the first one behind it.
    virtual Status Seek(int64_t position) = 0;
};

/// Turns compressed pictures into plain ones. One thread at a time.
struct IPictureDecoder {
    virtual ~IPictureDecoder() = default;
    /// `picture` has room for a picture of the size that the decoder was made for. E_FAIL for one that is damaged or
    /// has another size; the next one may be good again.
    virtual Status Decode(std::span<const std::byte> compressed, std::span<std::byte> picture) = 0;
};

/// One compressor for frames in an AVI file.
struct Compressor {
    std::u16string displayName;   ///< Identifies it, also in the settings.
    std::u16string friendlyName;  ///< What a user sees.
};

/// How a compressor is to work.
struct CompressorSettings {
    uint32_t width = 0;
    uint32_t height = 0;
    int64_t interval = 0;  ///< Time from frame to frame, 100-nanosecond units.
    double quality = 1.0;  ///< 0 to 1; what a lossless one makes of it is its own matter.
};

/// A compressed picture. Good until the next call to its compressor.
struct CompressedPicture {
    std::span<const std::byte> bytes;
    int64_t order = 0;  ///< Number of the picture that it shows, as it was given.
    bool keyFrame = false;
};

/// Frames in, compressed pictures out, in the order in which a file wants them. One thread at a time.
struct ICompressor {
    virtual ~ICompressor() = default;
    /// The code that stands for it in a file's header.
    virtual uint32_t FourCC() const = 0;
    /// What a file's format block holds behind its bitmap header, often nothing.
    virtual std::span<const std::byte> ExtraData() const = 0;
    /// Takes a picture: 3 bytes a pixel, blue first, rows bottom-up at the DIB stride. It is not used after the call.
    virtual Status Put(std::span<const std::byte> picture, int64_t order) = 0;
    /// Gives the next compressed picture; S_FALSE when there is none yet. Called until it says so after each Put.
    virtual Status Get(CompressedPicture& out) = 0;
    /// No picture comes any more; what is still inside comes by Get.
    virtual Status Finish() = 0;
};

/// Any thread; what it makes has one owner.
struct IMedia {
    static constexpr PluginAbi plugin = {"vexcap-media", "vexcap_media", 1};
    virtual ~IMedia() = default;
    /// The compressors for AVI files, in the order in which a user sees them.
    virtual std::vector<Compressor> Compressors() = 0;
    /// By the display name of Compressors(). E_INVALIDARG for another one, and for a size that it cannot take.
    virtual Result<std::unique_ptr<ICompressor>> OpenCompressor(std::u16string_view displayName,
                                                                const CompressorSettings& settings) = 0;
    /// A decoder for single pictures, as a device sends them: fourcc("MJPG"). E_INVALIDARG for another code.
    virtual Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t fourcc, uint32_t width, uint32_t height) = 0;
    /// VEX_E_FILE_NOT_FOUND, the system's code, or E_FAIL for a file without video that could be decoded.
    virtual Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view path) = 0;
};

}  // namespace vexcap
