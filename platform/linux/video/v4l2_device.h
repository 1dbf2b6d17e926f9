// Video devices of the kernel's own interface, V4L2.
#pragma once

#include <vector>

#include "platform/linux/unique_fd.h"
#include "platform/linux/video/v4l2_calls.h"
#include "platform/linux/video/v4l2_format.h"

namespace vexcap {

/// What a node says it is: its card's name. E_NOTIMPL for one that does not stream pictures to a program in one plane:
/// metadata, outputs, converters, touch pads.
Result<std::u16string> v4l2CardName(const V4l2Node& node);

/// Single-planar capture. Whatever a driver answers is checked before it is used, so that a broken one gives an error
/// and never leads outside a buffer. Threads as the port tells; controls may be put while frames stream, too.
class V4l2Device final : public IVideoDevice {
public:
    /// E_NOTIMPL as above; VEX_E_DEVICE_LOST, E_ACCESSDENIED, VEX_E_BUSY, VEX_E_FILE_NOT_FOUND, or the system's code.
    static Result<std::unique_ptr<IVideoDevice>> open(V4l2Calls& calls, const std::string& path);
    ~V4l2Device() override;
    V4l2Device(const V4l2Device&) = delete;
    V4l2Device& operator=(const V4l2Device&) = delete;

    std::vector<VideoFormat> Formats() override;
    /// E_NOTIMPL while the device stands at a layout that VideoFormat does not know.
    Result<VideoMode> Mode() override;
    Result<VideoMode> SetMode(const VideoFormat& format, int64_t interval) override;
    Status Start(uint32_t buffers) override;
    Status StartInto(std::span<const std::span<std::byte>> memory) override;
    Result<VideoFrame> Next(uint32_t milliseconds) override;
    Status GiveBack(uint32_t index) override;
    void Stop() override;
    void Interrupt() override;
    Status Check() override;
    std::vector<VideoControl> Controls() override;
    Status GetControl(uint32_t id, int32_t& value) override;
    Status PutControl(uint32_t id, int32_t value) override;

private:
    /// Times between two frames that a size offers: a list, or the ends of a range.
    struct Intervals {
        std::vector<v4l2_fract> offered;
        bool range = false;
    };
    struct Buffer {
        std::byte* data;
        size_t length;
        bool queued;  ///< The device has it.
    };

    V4l2Device(V4l2Node opened, UniqueFd wakeEvent) : node(std::move(opened)), wake(std::move(wakeEvent)) {}
    void AppendSizes(const V4l2Layout& layout, std::vector<VideoFormat>& out);
    Intervals IntervalsOf(const V4l2Layout& layout, uint32_t width, uint32_t height);
    /// The device's answer to a size that is only asked for.
    Result<v4l2_pix_format> Try(const V4l2Layout& layout, uint32_t width, uint32_t height);
    Result<V4l2FrameShape> PresentShape();
    VideoMode ModeOf(const V4l2FrameShape& shape, int64_t interval);
    int64_t PresentInterval();
    /// Gives the interval that then stands.
    Result<int64_t> PutInterval(const V4l2FrameShape& shape, int64_t wanted);

    Status Begin(uint32_t memoryKind, uint32_t count, std::span<const std::span<std::byte>> memory);
    Status MapBuffers(uint32_t count);
    Status Queue(uint32_t index);
    /// The code of a call that failed while frames stream.
    Status Broken(int error);
    Result<VideoFrame> Take(const v4l2_buffer& filled);
    int64_t TimeOf(const v4l2_buffer& filled);

    const V4l2Node node;
    const UniqueFd wake;  ///< Readable when Next is to return.

    // The stream; memoryKind is 0 while none is set up.
    uint32_t memoryKind = 0;
    bool streaming = false;
    std::vector<Buffer> buffers;
    size_t wholeBytes = 0;
    int64_t lastTime = 0;  ///< Of the last frame, or of the start.
};

}  // namespace vexcap
