// A kernel with one video device that answers as a test tells it to.
#pragma once

#include <linux/videodev2.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

#include "platform/linux/video/v4l2_calls.h"
#include "platform/linux/video/v4l2_format.h"

namespace vexcap::test {

/// A well-behaved camera until it is told otherwise. What it handed out is counted.
class ScriptedV4l2 final : public V4l2Calls {
public:
    struct Frame {
        uint32_t bytes = 0;
        uint32_t sequence = 0;
        uint32_t flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
        int64_t seconds = 0, microseconds = 0;
    };

    ScriptedV4l2() {
        about.capabilities = V4L2_CAP_DEVICE_CAPS | V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
        about.device_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
        std::strcpy(reinterpret_cast<char*>(about.card), "Scripted camera");
        present = shapeOf(V4L2_PIX_FMT_YUYV, 64, 48);
        setDiscreteSizes({{64, 48}, {32, 24}});
        setDiscreteIntervals({{1, 30}, {1, 60}, {1, 5}});
    }

    // The device
    std::string path = "/dev/video0";
    v4l2_capability about = {};
    std::vector<uint32_t> layouts = {V4L2_PIX_FMT_YUYV, V4L2_PIX_FMT_GREY, V4L2_PIX_FMT_MJPEG};
    std::vector<v4l2_frmsizeenum> sizes;      ///< Of every layout; empty: not listed.
    std::vector<v4l2_frmivalenum> intervals;  ///< Of every size.
    v4l2_pix_format present = {};             ///< The mode that stands.
    v4l2_fract presentInterval = {1, 5};
    bool takesIntervals = true;
    std::vector<v4l2_queryctrl> controls;
    std::map<uint32_t, int32_t> values;
    uint32_t leastBuffers = 1, mostBuffers = 32;
    uint32_t bufferBytes = 0;  ///< Of each buffer; 0: as many as the mode wants.
    bool takesUserMemory = true;
    bool gone = false;      ///< Unplugged: every call fails, and nobody is woken.
    bool tellsLoss = true;  ///< Unless this: then who waits is woken.
    bool busy = false;
    std::vector<Frame> frames;  ///< To be filled one after the other while buffers are there.
    size_t nextFrame = 0;
    short oddEvents = 0;  ///< Told by Poll beside what is so.
    bool waits = false;   ///< Poll really waits for its other descriptor.
    int64_t clock = 1'000'000'000;

    // The script
    int callNumber = 0;    ///< Counts all calls but Close, Unmap and Now.
    int failingCall = -1;  ///< This one fails,
    int failure = 0;       ///< with this.
    bool failingFromThere = false;
    /// Asked first: gives a result in the device's place, or -1.
    std::function<int(unsigned long request, void* argument)> answer;

    // What is handed out
    int openNodes = 0, mappings = 0;
    uint32_t requested = 0;
    bool streaming = false;
    std::vector<v4l2_buffer> queue;
    std::vector<v4l2_streamparm> parametersPut;

    void setDiscreteSizes(std::vector<std::pair<uint32_t, uint32_t>> list) {
        sizes.clear();
        for (const auto& [width, height] : list) {
            v4l2_frmsizeenum size = {};
            size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
            size.discrete = {width, height};
            sizes.push_back(size);
        }
    }
    void setSizeRange(uint32_t type, v4l2_frmsize_stepwise range) {
        v4l2_frmsizeenum size = {};
        size.type = type;
        size.stepwise = range;
        sizes = {size};
    }
    void setDiscreteIntervals(std::vector<v4l2_fract> list) {
        intervals.clear();
        for (const v4l2_fract& seconds : list) {
            v4l2_frmivalenum interval = {};
            interval.type = V4L2_FRMIVAL_TYPE_DISCRETE;
            interval.discrete = seconds;
            intervals.push_back(interval);
        }
    }
    void setIntervalRange(uint32_t type, v4l2_fract least, v4l2_fract most) {
        v4l2_frmivalenum interval = {};
        interval.type = type;
        interval.stepwise = {least, most, {1, 1}};
        intervals = {interval};
    }
    void addControl(uint32_t id, uint32_t type, const char* name, int32_t least, int32_t most, uint32_t flags = 0) {
        v4l2_queryctrl control = {};
        control.id = id;
        control.type = type;
        std::memcpy(control.name, name, std::min(std::strlen(name), sizeof control.name));
        control.minimum = least;
        control.maximum = most;
        control.step = 1;
        control.default_value = least;
        control.flags = flags;
        controls.push_back(control);
        values[id] = least;
    }
    /// A whole frame that is taken now.
    void addFrame(uint32_t sequence) { addFrame(sequence, present.sizeimage); }
    void addFrame(uint32_t sequence, uint32_t bytes, uint32_t flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC) {
        frames.push_back({bytes, sequence, flags, clock / 10'000'000, clock % 10'000'000 / 10});
    }
    static v4l2_pix_format shapeOf(uint32_t pixelFormat, uint32_t width, uint32_t height) {
        v4l2_pix_format shape = {};
        shape.pixelformat = pixelFormat;
        shape.width = width;
        shape.height = height;
        shape.field = V4L2_FIELD_NONE;
        const V4l2Layout* const layout = v4l2LayoutOf(pixelFormat);
        shape.bytesperline = layout ? width * layout->bits / 8 : 0;
        const uint32_t rows = layout && layout->halfPlane ? height + height / 2 : height;
        shape.sizeimage = shape.bytesperline ? shape.bytesperline * rows : width * height;
        return shape;
    }

    int Open(const std::string& wanted, int& fd) override {
        if (const int error = scripted()) return error;
        if (wanted != path) return ENOENT;
        ++openNodes;
        fd = nodeNumber;
        return 0;
    }
    void Close(int) override {
        --openNodes;
        requested = 0;
        streaming = false;
    }
    int Map(int, size_t length, off_t offset, void*& memory) override {
        if (const int error = scripted()) return error;
        if (offset % 4096 || !length) return EINVAL;
        memory = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        // Its first byte tells which buffer it is.
        *static_cast<uint8_t*>(memory) = uint8_t(offset / 4096);
        ++mappings;
        return 0;
    }
    void Unmap(void* memory, size_t length) override {
        ::munmap(memory, length);
        --mappings;
    }
    int Poll(std::span<pollfd> watched, int milliseconds) override {
        if (const int error = scripted(false)) return error;
        pollfd& device = watched[0];
        device.revents = oddEvents;
        if (gone && tellsLoss) device.revents |= POLLERR | POLLHUP;
        if (!gone && streaming && nextFrame < frames.size() && !queue.empty()) device.revents |= POLLIN;
        const int wait = waits && !device.revents ? milliseconds : 0;
        if (::poll(watched.data() + 1, watched.size() - 1, wait) == 0 && !device.revents)
            clock += milliseconds * 10'000;
        return 0;
    }
    int64_t Now() override { return clock; }
    int Control(int, unsigned long request, void* argument) override {
        if (const int error = scripted()) return error;
        if (answer)
            if (const int error = answer(request, argument); error >= 0) return error;
        return Answer(request, argument);
    }
    /// The device's own answer.
    int Answer(unsigned long request, void* argument) {
        switch (request) {
            case VIDIOC_QUERYCAP:
                *static_cast<v4l2_capability*>(argument) = about;
                return 0;
            case VIDIOC_ENUM_FMT:
                return listed(argument, layouts, &v4l2_fmtdesc::pixelformat);
            case VIDIOC_ENUM_FRAMESIZES:
                return sizes.empty() ? ENOTTY : listed<v4l2_frmsizeenum>(argument, sizes);
            case VIDIOC_ENUM_FRAMEINTERVALS:
                return intervals.empty() ? ENOTTY : listed<v4l2_frmivalenum>(argument, intervals);
            case VIDIOC_G_FMT:
                static_cast<v4l2_format*>(argument)->fmt.pix = present;
                return 0;
            case VIDIOC_TRY_FMT:
                adjust(static_cast<v4l2_format*>(argument)->fmt.pix);
                return 0;
            case VIDIOC_S_FMT:
                if (busy || requested) return EBUSY;
                adjust(static_cast<v4l2_format*>(argument)->fmt.pix);
                present = static_cast<v4l2_format*>(argument)->fmt.pix;
                return 0;
            case VIDIOC_G_PARM:
                if (!takesIntervals) return ENOTTY;
                static_cast<v4l2_streamparm*>(argument)->parm.capture.timeperframe = presentInterval;
                return 0;
            case VIDIOC_S_PARM:
                if (!takesIntervals) return ENOTTY;
                parametersPut.push_back(*static_cast<v4l2_streamparm*>(argument));
                presentInterval = parametersPut.back().parm.capture.timeperframe;
                return 0;
            case VIDIOC_REQBUFS:
                return grant(*static_cast<v4l2_requestbuffers*>(argument));
            case VIDIOC_QUERYBUF: {
                auto& buffer = *static_cast<v4l2_buffer*>(argument);
                if (buffer.index >= requested) return EINVAL;
                buffer.length = bufferBytes ? bufferBytes : present.sizeimage;
                buffer.m.offset = buffer.index * 4096;
                return 0;
            }
            case VIDIOC_QBUF:
                if (static_cast<v4l2_buffer*>(argument)->index >= requested) return EINVAL;
                queue.push_back(*static_cast<v4l2_buffer*>(argument));
                return 0;
            case VIDIOC_DQBUF:
                return take(*static_cast<v4l2_buffer*>(argument));
            case VIDIOC_STREAMON:
                streaming = true;
                return 0;
            case VIDIOC_STREAMOFF:
                streaming = false;
                queue.clear();
                return 0;
            case VIDIOC_QUERYCTRL:
                return control(*static_cast<v4l2_queryctrl*>(argument));
            case VIDIOC_G_CTRL: {
                auto& asked = *static_cast<v4l2_control*>(argument);
                if (!values.contains(asked.id)) return EINVAL;
                asked.value = values[asked.id];
                return 0;
            }
            case VIDIOC_S_CTRL: {
                const auto& put = *static_cast<v4l2_control*>(argument);
                for (const v4l2_queryctrl& c : controls) {
                    if (c.id != put.id) continue;
                    if (c.flags & V4L2_CTRL_FLAG_READ_ONLY) return EACCES;
                    if (put.value < c.minimum || put.value > c.maximum) return ERANGE;
                    values[put.id] = put.value;
                    return 0;
                }
                return EINVAL;
            }
        }
        return ENOTTY;
    }

private:
    static constexpr int nodeNumber = 1000;

    int scripted(bool fails = true) {
        const int number = callNumber++;
        if (failingCall >= 0 && (number == failingCall || (failingFromThere && number > failingCall))) return failure;
        return gone && fails ? ENODEV : 0;
    }
    template <typename Entry>
    static int listed(void* argument, const std::vector<Entry>& list) {
        auto& out = *static_cast<Entry*>(argument);
        const uint32_t index = out.index, layout = out.pixel_format;
        if (index >= list.size()) return EINVAL;
        out = list[index];
        out.index = index;
        out.pixel_format = layout;
        return 0;
    }
    template <typename Entry>
    static int listed(void* argument, const std::vector<uint32_t>& list, uint32_t Entry::*field) {
        auto& out = *static_cast<Entry*>(argument);
        if (out.index >= list.size()) return EINVAL;
        out.*field = list[out.index];
        return 0;
    }
    void adjust(v4l2_pix_format& asked) {
        if (std::ranges::find(layouts, asked.pixelformat) == layouts.end()) asked.pixelformat = layouts.front();
        uint32_t width = std::clamp(asked.width, 16u, 4000u), height = std::clamp(asked.height, 16u, 3000u);
        if (!sizes.empty() && sizes[0].type != V4L2_FRMSIZE_TYPE_DISCRETE) {
            const v4l2_frmsize_stepwise& s = sizes[0].stepwise;
            width = std::max(std::min(asked.width, s.max_width), s.min_width);
            height = std::max(std::min(asked.height, s.max_height), s.min_height);
            if (s.step_width) width -= (width - s.min_width) % s.step_width;
            if (s.step_height) height -= (height - s.min_height) % s.step_height;
        } else if (!sizes.empty()) {
            const auto match = std::ranges::find_if(sizes, [&](const v4l2_frmsizeenum& s) {
                return s.discrete.width == asked.width && s.discrete.height == asked.height;
            });
            const v4l2_frmsize_discrete& s = match == sizes.end() ? sizes[0].discrete : match->discrete;
            width = s.width;
            height = s.height;
        }
        asked = shapeOf(asked.pixelformat, width, height);
    }
    int grant(v4l2_requestbuffers& asked) {
        if (busy) return EBUSY;
        if (asked.memory == V4L2_MEMORY_USERPTR && !takesUserMemory) return EINVAL;
        if (asked.count) asked.count = std::clamp(asked.count, leastBuffers, std::max(leastBuffers, mostBuffers));
        if (mostBuffers == 0) asked.count = 0;
        requested = asked.count;
        queue.clear();
        queue.reserve(requested);
        return 0;
    }
    int take(v4l2_buffer& out) {
        if (!streaming) return EINVAL;
        if (nextFrame >= frames.size() || queue.empty()) return EAGAIN;
        const Frame& frame = frames[nextFrame++];
        const v4l2_buffer first = queue.front();
        queue.erase(queue.begin());
        out.index = first.index;
        out.m = first.m;
        out.length = bufferBytes ? bufferBytes : present.sizeimage;
        out.bytesused = frame.bytes;
        out.sequence = frame.sequence;
        out.flags = frame.flags;
        out.timestamp.tv_sec = frame.seconds;
        out.timestamp.tv_usec = frame.microseconds;
        return 0;
    }
    int control(v4l2_queryctrl& out) {
        const uint32_t last = out.id & ~uint32_t(V4L2_CTRL_FLAG_NEXT_CTRL);
        for (const v4l2_queryctrl& c : controls) {
            if (c.id <= last) continue;
            out = c;
            return 0;
        }
        return EINVAL;
    }
};

}  // namespace vexcap::test
