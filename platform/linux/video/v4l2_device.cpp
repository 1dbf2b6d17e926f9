#include "platform/linux/video/v4l2_device.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "platform/linux/errno_status.h"
#include "platform/linux/video/v4l2_controls.h"

namespace vexcap {
namespace {

/// A driver need not wake who waits for a device that goes away, so a long wait looks after it this often.
constexpr int64_t longestWait = 500;  // milliseconds

constexpr int64_t unitsPerMillisecond = 10'000;

struct Size {
    uint32_t width, height;
};
constexpr Size usualSizes[] = {{160, 120},   {320, 240},   {640, 360},   {640, 480},   {720, 576},
                               {800, 600},   {1024, 768},  {1280, 720},  {1280, 960},  {1280, 1024},
                               {1600, 1200}, {1920, 1080}, {2048, 1536}, {2592, 1944}, {3840, 2160}};

uint32_t capabilitiesOf(const v4l2_capability& about) {
    return about.capabilities & V4L2_CAP_DEVICE_CAPS ? about.device_caps : about.capabilities;
}

v4l2_format captureFormat() {
    v4l2_format format = {};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    return format;
}

}  // namespace

Result<std::u16string> v4l2CardName(const V4l2Node& node) {
    v4l2_capability about = {};
    if (const int error = node.Control(VIDIOC_QUERYCAP, &about))
        return error == ENOTTY ? Status(E_NOTIMPL) : v4l2Status(error);
    const uint32_t offered = capabilitiesOf(about);
    constexpr uint32_t needed = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    constexpr uint32_t others = V4L2_CAP_VIDEO_M2M | V4L2_CAP_VIDEO_M2M_MPLANE | V4L2_CAP_TOUCH;
    if ((offered & needed) != needed || (offered & others)) return E_NOTIMPL;
    return v4l2Text(about.card);
}

Result<std::unique_ptr<IVideoDevice>> V4l2Device::open(V4l2Calls& calls, const std::string& path) {
    auto node = V4l2Node::open(calls, path);
    if (!node.ok()) return node.status();
    if (const auto card = v4l2CardName(node.value()); !card.ok()) return card.status();
    UniqueFd wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake) return statusFromErrno(errno);
    return std::unique_ptr<IVideoDevice>(new V4l2Device(std::move(node).value(), std::move(wake)));
}

V4l2Device::~V4l2Device() { Stop(); }

// What the device offers

Result<v4l2_pix_format> V4l2Device::Try(const V4l2Layout& layout, uint32_t width, uint32_t height) {
    v4l2_format format = captureFormat();
    format.fmt.pix.pixelformat = layout.pixelFormat;
    format.fmt.pix.width = width;
    format.fmt.pix.height = height;
    if (const int error = node.Control(VIDIOC_TRY_FMT, &format)) return v4l2Status(error);
    if (format.fmt.pix.pixelformat != layout.pixelFormat) return E_INVALIDARG;
    return format.fmt.pix;
}

V4l2Device::Intervals V4l2Device::IntervalsOf(const V4l2Layout& layout, uint32_t width, uint32_t height) {
    Intervals intervals;
    const auto offer = [&intervals](const v4l2_fract& seconds) {
        if (v4l2Interval(seconds) > 0) intervals.offered.push_back(seconds);
    };
    for (uint32_t index = 0; index < v4l2LongestList; ++index) {
        v4l2_frmivalenum found = {};
        found.index = index;
        found.pixel_format = layout.pixelFormat;
        found.width = width;
        found.height = height;
        if (node.Control(VIDIOC_ENUM_FRAMEINTERVALS, &found)) break;
        if (found.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
            offer(found.discrete);
            continue;
        }
        intervals.range = true;
        offer(found.stepwise.min);
        offer(found.stepwise.max);
        break;
    }
    return intervals;
}

void V4l2Device::AppendSizes(const V4l2Layout& layout, std::vector<VideoFormat>& out) {
    const size_t before = out.size();
    const auto add = [&](Size size, Size least, Size most) {
        const auto same = [&](const VideoFormat& f) { return f.width == size.width && f.height == size.height; };
        if (!size.width || !size.height || std::any_of(out.begin() + before, out.end(), same)) return;
        VideoFormat format = {layout.fourcc, size.width, size.height, least.width,
                              least.height,  most.width, most.height};
        const Intervals intervals = IntervalsOf(layout, size.width, size.height);
        for (const v4l2_fract& seconds : intervals.offered) {
            const int64_t interval = v4l2Interval(seconds);
            if (!format.minInterval || interval < format.minInterval) format.minInterval = interval;
            format.maxInterval = std::max(format.maxInterval, interval);
        }
        out.push_back(format);
    };

    Size least = {}, most = {};
    bool listed = false;
    for (uint32_t index = 0; index < v4l2LongestList; ++index) {
        v4l2_frmsizeenum found = {};
        found.index = index;
        found.pixel_format = layout.pixelFormat;
        if (node.Control(VIDIOC_ENUM_FRAMESIZES, &found)) break;
        listed = true;
        if (found.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
            const Size size = {found.discrete.width, found.discrete.height};
            add(size, size, size);
            continue;
        }
        least = {found.stepwise.min_width, found.stepwise.min_height};
        most = {found.stepwise.max_width, found.stepwise.max_height};
        break;
    }
    if (!listed) {
        // A device that lists no sizes, as those with a television input: what it makes of impossible ones are its
        // limits.
        const auto smallest = Try(layout, 1, 1), largest = Try(layout, UINT16_MAX, UINT16_MAX);
        if (!smallest.ok() || !largest.ok()) return;
        least = {smallest.value().width, smallest.value().height};
        most = {largest.value().width, largest.value().height};
    }
    if (!most.width || least.width > most.width || least.height > most.height) return;

    add(least, least, most);
    for (const Size size : usualSizes) {
        if (size.width < least.width || size.width > most.width || size.height < least.height ||
            size.height > most.height)
            continue;
        // The device itself tells best which sizes lie on its steps.
        const auto kept = Try(layout, size.width, size.height);
        if (kept.ok() && kept.value().width == size.width && kept.value().height == size.height) add(size, least, most);
    }
    add(most, least, most);
}

std::vector<VideoFormat> V4l2Device::Formats() {
    std::vector<VideoFormat> formats;
    std::vector<const V4l2Layout*> seen;
    for (uint32_t index = 0; index < v4l2LongestList; ++index) {
        v4l2_fmtdesc found = {};
        found.index = index;
        found.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (node.Control(VIDIOC_ENUM_FMT, &found)) break;
        const V4l2Layout* const layout = v4l2LayoutOf(found.pixelformat);
        if (!layout || std::ranges::find(seen, layout) != seen.end()) continue;
        seen.push_back(layout);
        AppendSizes(*layout, formats);
    }
    return formats;
}

// What is set

Result<V4l2FrameShape> V4l2Device::PresentShape() {
    v4l2_format format = captureFormat();
    if (const int error = node.Control(VIDIOC_G_FMT, &format)) return v4l2Status(error);
    return v4l2FrameShape(format.fmt.pix);
}

int64_t V4l2Device::PresentInterval() {
    v4l2_streamparm parameters = {};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (node.Control(VIDIOC_G_PARM, &parameters)) return 0;
    return v4l2Interval(parameters.parm.capture.timeperframe);
}

VideoMode V4l2Device::ModeOf(const V4l2FrameShape& shape, int64_t interval) {
    VideoMode mode;
    mode.interval = interval;
    mode.stride = shape.stride;
    mode.frameBytes = shape.frameBytes;
    std::vector<VideoFormat> sizes;
    AppendSizes(*shape.layout, sizes);
    const auto listed = std::ranges::find_if(
        sizes, [&](const VideoFormat& f) { return f.width == shape.width && f.height == shape.height; });
    if (listed != sizes.end()) {
        mode.format = *listed;
        return mode;
    }
    mode.format = {shape.layout->fourcc, shape.width, shape.height, shape.width,
                   shape.height,         shape.width, shape.height};
    // A size between those that a range is shown by has its limits.
    for (const VideoFormat& f : sizes) {
        if (shape.width < f.minWidth || shape.width > f.maxWidth || shape.height < f.minHeight ||
            shape.height > f.maxHeight)
            continue;
        mode.format = f;
        mode.format.width = shape.width;
        mode.format.height = shape.height;
        break;
    }
    return mode;
}

Result<VideoMode> V4l2Device::Mode() {
    const auto shape = PresentShape();
    if (!shape.ok()) return shape.status();
    return ModeOf(shape.value(), PresentInterval());
}

Result<int64_t> V4l2Device::PutInterval(const V4l2FrameShape& shape, int64_t wanted) {
    const Intervals intervals = IntervalsOf(*shape.layout, shape.width, shape.height);
    const auto distance = [wanted](const v4l2_fract& seconds) {
        const int64_t away = v4l2Interval(seconds) - std::max<int64_t>(wanted, 0);
        return away < 0 ? -away : away;  // none wanted: the shortest is the nearest to 0
    };
    v4l2_streamparm parameters = {};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    v4l2_fract& chosen = parameters.parm.capture.timeperframe;
    const v4l2_fract asked = {uint32_t(std::clamp<int64_t>(wanted, 0, UINT32_MAX)), 10'000'000};
    if (!intervals.offered.empty()) {
        chosen = *std::ranges::min_element(intervals.offered, {}, distance);
        const auto [least, most] = std::ranges::minmax_element(intervals.offered, {}, v4l2Interval);
        if (intervals.range && wanted > v4l2Interval(*least) && wanted < v4l2Interval(*most)) chosen = asked;
    } else if (wanted > 0) {
        chosen = asked;  // the device lists none, but may take it all the same
    } else {
        return PresentInterval();
    }
    const int error = node.Control(VIDIOC_S_PARM, &parameters);
    if (error == ENODEV || error == EBUSY) return v4l2Status(error);
    // A device that cannot be told sends as fast as it will.
    return error ? PresentInterval() : v4l2Interval(chosen);
}

Result<VideoMode> V4l2Device::SetMode(const VideoFormat& format, int64_t interval) {
    const V4l2Layout* const layout = v4l2LayoutOfFourcc(format.fourcc);
    if (!layout || !format.width || !format.height) return E_INVALIDARG;
    if (memoryKind) return VEX_E_BUSY;
    const auto isWanted = [&](const v4l2_pix_format& answer) {
        return answer.pixelformat == layout->pixelFormat && answer.width == format.width &&
               answer.height == format.height;
    };
    // Asked first, so that what it does not take leaves the device as it was.
    const auto answer = Try(*layout, format.width, format.height);
    if (!answer.ok()) return answer.status();
    if (!isWanted(answer.value())) return E_INVALIDARG;
    if (const auto shape = v4l2FrameShape(answer.value()); !shape.ok()) return shape.status();

    v4l2_format set = captureFormat();
    set.fmt.pix.pixelformat = layout->pixelFormat;
    set.fmt.pix.width = format.width;
    set.fmt.pix.height = format.height;
    if (const int error = node.Control(VIDIOC_S_FMT, &set)) return v4l2Status(error);
    if (!isWanted(set.fmt.pix)) return E_INVALIDARG;
    const auto shape = v4l2FrameShape(set.fmt.pix);
    if (!shape.ok()) return shape.status();
    const auto put = PutInterval(shape.value(), interval);
    if (!put.ok()) return put.status();
    return ModeOf(shape.value(), put.value());
}

// The stream

Status V4l2Device::Start(uint32_t count) {
    if (!count) return E_INVALIDARG;
    return Begin(V4L2_MEMORY_MMAP, count, {});
}

Status V4l2Device::StartInto(std::span<const std::span<std::byte>> memory) {
    if (memory.empty() || memory.size() > UINT32_MAX) return E_INVALIDARG;
    return Begin(V4L2_MEMORY_USERPTR, uint32_t(memory.size()), memory);
}

Status V4l2Device::Begin(uint32_t kind, uint32_t count, std::span<const std::span<std::byte>> memory) {
    if (memoryKind) return E_UNEXPECTED;
    const auto shape = PresentShape();
    if (!shape.ok()) return shape.status();
    const auto pageBytes = uintptr_t(::sysconf(_SC_PAGESIZE));
    for (const std::span<std::byte> piece : memory)
        if (piece.size() < shape.value().frameBytes || piece.size() > UINT32_MAX ||
            reinterpret_cast<uintptr_t>(piece.data()) % pageBytes)
            return E_INVALIDARG;

    v4l2_requestbuffers request = {};
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = kind;
    request.count = count;
    if (const int error = node.Control(VIDIOC_REQBUFS, &request)) {
        // For the caller's memory this is how a driver says that it only knows its own.
        return error == EINVAL && kind == V4L2_MEMORY_USERPTR ? Status(E_NOTIMPL) : v4l2Status(error);
    }
    memoryKind = kind;
    wholeBytes = shape.value().wholeBytes;

    const Status begun = [&]() -> Status {
        if (!request.count) return E_OUTOFMEMORY;
        if (kind == V4L2_MEMORY_MMAP) {
            if (const Status s = MapBuffers(request.count); !s.ok()) return s;
        } else {
            // A driver that needs more than there are would never send anything.
            if (request.count > memory.size()) return E_INVALIDARG;
            for (uint32_t i = 0; i < request.count; ++i) buffers.push_back({memory[i].data(), memory[i].size(), false});
        }
        for (uint32_t i = 0; i < buffers.size(); ++i)
            if (const Status s = Queue(i); !s.ok())
                // Memory in scattered pages is not for every device, which is told only now.
                return kind == V4L2_MEMORY_USERPTR && s != VEX_E_DEVICE_LOST ? Status(E_NOTIMPL) : s;
        eventfd_t forgotten = 0;
        ::eventfd_read(wake.get(), &forgotten);
        lastTime = node.system().Now();
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (const int error = node.Control(VIDIOC_STREAMON, &type)) return v4l2Status(error);
        streaming = true;
        return S_OK;
    }();
    if (!begun.ok()) Stop();
    return begun;
}

Status V4l2Device::MapBuffers(uint32_t count) {
    buffers.reserve(std::min(count, v4l2LongestList));
    for (uint32_t i = 0; i < std::min(count, v4l2LongestList); ++i) {
        v4l2_buffer about = {};
        about.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        about.memory = V4L2_MEMORY_MMAP;
        about.index = i;
        if (const int error = node.Control(VIDIOC_QUERYBUF, &about)) return v4l2Status(error);
        if (about.length < wholeBytes) return E_FAIL;
        void* mapped = nullptr;
        int error = EINTR;
        while (error == EINTR)
            error = node.system().Map(node.descriptor(), about.length, off_t(about.m.offset), mapped);
        if (error) return v4l2Status(error);
        buffers.push_back({static_cast<std::byte*>(mapped), about.length, false});
    }
    return S_OK;
}

Status V4l2Device::Queue(uint32_t index) {
    v4l2_buffer buffer = {};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = memoryKind;
    buffer.index = index;
    if (memoryKind == V4L2_MEMORY_USERPTR) {
        buffer.m.userptr = reinterpret_cast<unsigned long>(buffers[index].data);
        buffer.length = uint32_t(buffers[index].length);
    }
    if (const int error = node.Control(VIDIOC_QBUF, &buffer)) return v4l2Status(error);
    buffers[index].queued = true;
    return S_OK;
}

Status V4l2Device::Broken(int error) {
    // A device that goes away fails in its own way first.
    if (const Status s = Check(); !s.ok()) return s;
    return v4l2Status(error);
}

Result<VideoFrame> V4l2Device::Next(uint32_t milliseconds) {
    if (!streaming) return E_UNEXPECTED;
    const int64_t end = node.system().Now() + milliseconds * unitsPerMillisecond;
    for (;;) {
        const int64_t left = std::max<int64_t>(end - node.system().Now(), 0);
        const int64_t wait = std::min((left + unitsPerMillisecond - 1) / unitsPerMillisecond, longestWait);
        pollfd watched[] = {{node.descriptor(), POLLIN, 0}, {wake.get(), POLLIN, 0}};
        if (const int error = node.system().Poll(watched, int(wait))) {
            if (error == EINTR) continue;
            return Broken(error);
        }
        if (watched[1].revents) {
            eventfd_t seen = 0;
            ::eventfd_read(wake.get(), &seen);
            return VEX_E_INTERRUPTED;
        }
        if (watched[0].revents) {
            v4l2_buffer filled = {};
            filled.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
            filled.memory = memoryKind;
            const int error = node.Control(VIDIOC_DQBUF, &filled);
            if (!error) return Take(filled);
            if (error != EAGAIN) return Broken(error);
            // Nothing there to take, and nothing will come.
            if (watched[0].revents & (POLLERR | POLLHUP | POLLNVAL)) return Broken(EIO);
        } else if (const Status s = Check(); !s.ok()) {
            return s;
        }
        if (node.system().Now() >= end) return VEX_E_TIMEOUT;
    }
}

Result<VideoFrame> V4l2Device::Take(const v4l2_buffer& filled) {
    if (filled.index >= buffers.size() || !buffers[filled.index].queued) return E_FAIL;
    Buffer& buffer = buffers[filled.index];
    buffer.queued = false;

    VideoFrame frame;
    frame.data = buffer.data;
    frame.bytes = std::min<size_t>(filled.bytesused, buffer.length);
    frame.index = filled.index;
    frame.sequence = filled.sequence;
    frame.time = TimeOf(filled);
    frame.damaged =
        (filled.flags & V4L2_BUF_FLAG_ERROR) || filled.bytesused > buffer.length || frame.bytes < wholeBytes;
    return frame;
}

int64_t V4l2Device::TimeOf(const v4l2_buffer& filled) {
    const int64_t now = node.system().Now();
    const bool steady = (filled.flags & V4L2_BUF_FLAG_TIMESTAMP_MASK) == V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    const int64_t seconds = filled.timestamp.tv_sec, microseconds = filled.timestamp.tv_usec;
    const bool sane = seconds >= 0 && seconds <= now / 10'000'000 && microseconds >= 0 && microseconds < 1'000'000;
    const int64_t stamp = sane ? seconds * 10'000'000 + microseconds * 10 : -1;
    // A stamp that lies before the frame ahead of it, or has not come yet, was not made by this clock.
    lastTime = steady && stamp >= lastTime && stamp <= now ? stamp : std::max(now, lastTime);
    return lastTime;
}

Status V4l2Device::GiveBack(uint32_t index) {
    if (index >= buffers.size() || buffers[index].queued) return E_INVALIDARG;
    return Queue(index);
}

void V4l2Device::Stop() {
    if (!memoryKind) return;
    // What fails here is a device that went away: then everything goes with the node.
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    node.Control(VIDIOC_STREAMOFF, &type);
    streaming = false;
    if (memoryKind == V4L2_MEMORY_MMAP)
        for (const Buffer& buffer : buffers) node.system().Unmap(buffer.data, buffer.length);
    buffers.clear();
    v4l2_requestbuffers request = {};
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = memoryKind;
    node.Control(VIDIOC_REQBUFS, &request);
    memoryKind = 0;
}

void V4l2Device::Interrupt() { ::eventfd_write(wake.get(), 1); }

Status V4l2Device::Check() {
    v4l2_capability about = {};
    const int error = node.Control(VIDIOC_QUERYCAP, &about);
    return error ? v4l2Status(error) : Status(S_OK);
}

std::vector<VideoControl> V4l2Device::Controls() { return v4l2Controls(node); }
Status V4l2Device::GetControl(uint32_t id, int32_t& value) { return v4l2GetControl(node, id, value); }
Status V4l2Device::PutControl(uint32_t id, int32_t value) { return v4l2PutControl(node, id, value); }

}  // namespace vexcap
