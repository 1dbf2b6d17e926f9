// Port: video input devices: the webcams, frame grabbers and microscope cameras that the system's own video stack knows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/codes.h"
#include "base/status.h"

namespace vexcap {

struct VideoDeviceEntry {
    std::u16string displayName;   ///< Opens the device. Begins with "@device:".
    std::u16string friendlyName;  ///< What a user sees.
};

/// One kind of frame that a device offers. Rows lie from the first row of the picture to the last.
struct VideoFormat {
    /// Layout of a frame: fourcc("YUY2"), "UYVY", "NV12", "MJPG", "Y800" (8-bit grey), "Y10 ", "Y12 ", "Y16 " (grey,
    /// low-aligned in 16 bits, little-endian), "RGGB", "GRBG", "GBRG", "BGGR" (8-bit mosaics), "RG10", "BA10", "GB10",
    /// "BG10", "RG12", "BA12", "GB12", "BG12", "RG16", "GR16", "GB16", "BYR2" (mosaics in 16 bits, low-aligned, in the
    /// same four orders), "BGR3" and "RGB3" (3 bytes a pixel).
    uint32_t fourcc = 0;
    uint32_t width = 0;   ///< Pixels.
    uint32_t height = 0;  ///< Pixels.
    /// Smallest and largest size that the device offers in this layout; the same as the size for a single one.
    uint32_t minWidth = 0, minHeight = 0, maxWidth = 0, maxHeight = 0;
    int64_t minInterval = 0;  ///< Shortest time between two frames, in 100-nanosecond units; 0 when unknown.
    int64_t maxInterval = 0;  ///< Longest time.
};

/// A format that is set.
struct VideoMode {
    VideoFormat format;
    int64_t interval = 0;  ///< Time between two frames that the device promised, 100-nanosecond units; 0 when unknown.
    uint32_t stride = 0;   ///< Bytes from one row to the next; 0 for compressed frames.
    uint32_t frameBytes = 0;  ///< Most bytes of a frame.
};

/// One frame in memory of the device, or in memory that was given to it. Good until it goes back.
struct VideoFrame {
    const std::byte* data = nullptr;
    size_t bytes = 0;       ///< Bytes that are filled.
    uint32_t index = 0;     ///< Goes back under this number.
    uint32_t sequence = 0;  ///< Counts the frames of the device, those that were dropped too; wraps at 32 bits.
    int64_t time = 0;       ///< When the frame was taken: steady clock, 100-nanosecond units.
    bool damaged = false;   ///< The device says that its content is not whole.
};

/// A number that a device lets be set.
struct VideoControl {
    uint32_t id = 0;  ///< The system's number.
    std::u16string name;
    int32_t least = 0, most = 0, step = 1, standard = 0;
    bool readOnly = false;
    bool inactive = false;  ///< Another control has the say now, as an automatic one has.
};

/// An open device. Next and GiveBack come from one thread, the streaming one; Interrupt and Check from any; the rest
/// from the host's, and not while frames stream.
struct IVideoDevice {
    virtual ~IVideoDevice() = default;

    /// What the device offers, in its own order; layouts that are not in VideoFormat are left out. Ranges of sizes are
    /// given as their smallest and largest size and the usual ones in between.
    virtual std::vector<VideoFormat> Formats() = 0;
    virtual Result<VideoMode> Mode() = 0;
    /// Sets layout and size of one of Formats(), and the interval that comes closest to the one wanted (0: the shortest).
    /// Gives what was set. E_INVALIDARG for a layout or size that the device does not take; VEX_E_BUSY while somebody
    /// streams.
    virtual Result<VideoMode> SetMode(const VideoFormat& format, int64_t interval) = 0;

    /// Begins to stream into `buffers` buffers of the device's own memory.
    virtual Status Start(uint32_t buffers) = 0;
    /// The same into memory of the caller: each piece has room for a frame (VideoMode::frameBytes) and begins at a
    /// page's start; it stays there until Stop. E_NOTIMPL for a device that cannot.
    virtual Status StartInto(std::span<const std::span<std::byte>> memory) = 0;
    /// Waits for a frame: VEX_E_TIMEOUT, VEX_E_INTERRUPTED, VEX_E_DEVICE_LOST, or the system's code. After any of them
    /// but the first two the stream is broken and wants Stop.
    virtual Result<VideoFrame> Next(uint32_t milliseconds) = 0;
    /// The device may fill this frame's memory again.
    virtual Status GiveBack(uint32_t index) = 0;
    /// Ends the stream; all memory is free. Nothing happens when none runs. Streaming thread is gone or waiting elsewhere.
    virtual void Stop() = 0;
    /// Lets a Next that waits, or the next one, return VEX_E_INTERRUPTED. Start forgets it.
    virtual void Interrupt() = 0;

    /// Is the device still there? VEX_E_DEVICE_LOST when not.
    virtual Status Check() = 0;

    virtual std::vector<VideoControl> Controls() = 0;
    virtual Status GetControl(uint32_t id, int32_t& value) = 0;
    virtual Status PutControl(uint32_t id, int32_t value) = 0;
};

/// Host's thread.
struct IVideoDevices {
    virtual ~IVideoDevices() = default;
    /// All capture devices, asked anew in each call. One whose name cannot be told is left out.
    virtual std::vector<VideoDeviceEntry> List() = 0;
    /// Opens by display name. E_INVALIDARG for a name that no device of this system could have; VEX_E_FILE_NOT_FOUND when
    /// there is none of this name now; E_ACCESSDENIED, VEX_E_BUSY, or the system's code.
    virtual Result<std::unique_ptr<IVideoDevice>> Open(std::u16string_view displayName) = 0;
    /// True for a name that a device of this system could have.
    virtual bool Parse(std::u16string_view displayName) = 0;
};

}  // namespace vexcap
