#include "platform/linux/video/v4l2_device.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <thread>

#include "base/dib.h"
#include "platform/fake/allocations.h"
#include "platform/linux/video/v4l2_testing.h"

namespace vexcap {
namespace v4l2_device_test {

using test::ScriptedV4l2;

constexpr VideoFormat yuy2 = {fourcc("YUY2"), 64, 48, 64, 48, 64, 48, 0, 0};

/// A scripted kernel with its device open, which leaves nothing behind.
class V4l2DeviceTest : public testing::Test {
protected:
    V4l2DeviceTest() { Open(); }
    ~V4l2DeviceTest() override {
        device.reset();
        EXPECT_EQ(kernel.openNodes, 0);
        EXPECT_EQ(kernel.mappings, 0);
    }
    void Open() {
        auto opened = V4l2Device::open(kernel, kernel.path);
        ASSERT_TRUE(opened.ok());
        device = std::move(opened).value();
    }
    VideoFrame next() {
        auto frame = device->Next(1000);
        EXPECT_TRUE(frame.ok()) << std::hex << frame.code();
        return frame.ok() ? frame.value() : VideoFrame();
    }
    ScriptedV4l2 kernel;
    std::unique_ptr<IVideoDevice> device;
};

struct PageFree {
    void operator()(std::byte* memory) const { std::free(memory); }
};
using Page = std::unique_ptr<std::byte, PageFree>;
Page page(size_t pages = 2) { return Page(static_cast<std::byte*>(std::aligned_alloc(4096, pages * 4096))); }

// Formats

TEST_F(V4l2DeviceTest, EveryDiscreteSizeOfEveryKnownLayoutIsOffered) {
    kernel.layouts = {V4L2_PIX_FMT_H264, V4L2_PIX_FMT_SGRBG12, V4L2_PIX_FMT_MJPEG, V4L2_PIX_FMT_Y16_BE,
                      V4L2_PIX_FMT_SGRBG12};
    kernel.setDiscreteSizes({{64, 48}, {0, 48}, {32, 0}, {32, 24}, {64, 48}});
    const auto formats = device->Formats();
    ASSERT_EQ(formats.size(), 4u);
    for (size_t i = 0; i < formats.size(); ++i) {
        const VideoFormat& f = formats[i];
        EXPECT_EQ(f.fourcc, i < 2 ? fourcc("BA12") : fourcc("MJPG"));
        EXPECT_EQ(f.width, i % 2 ? 32u : 64u);
        EXPECT_EQ(f.height, i % 2 ? 24u : 48u);
        EXPECT_EQ(f.minWidth, f.width);
        EXPECT_EQ(f.maxWidth, f.width);
        EXPECT_EQ(f.minHeight, f.height);
        EXPECT_EQ(f.maxHeight, f.height);
        EXPECT_EQ(f.minInterval, 166'667);
        EXPECT_EQ(f.maxInterval, 2'000'000);
    }
}

TEST_F(V4l2DeviceTest, ARangeOfSizesIsGivenAsItsEndsAndTheUsualOnesBetween) {
    kernel.layouts = {V4L2_PIX_FMT_GREY};
    for (const uint32_t type : {V4L2_FRMSIZE_TYPE_STEPWISE, V4L2_FRMSIZE_TYPE_CONTINUOUS}) {
        kernel.setSizeRange(type, {32, 1000, 1, 16, 700, 1});
        std::vector<std::pair<uint32_t, uint32_t>> sizes;
        for (const VideoFormat& f : device->Formats()) {
            sizes.emplace_back(f.width, f.height);
            EXPECT_EQ(f.minWidth, 32u);
            EXPECT_EQ(f.minHeight, 16u);
            EXPECT_EQ(f.maxWidth, 1000u);
            EXPECT_EQ(f.maxHeight, 700u);
        }
        const std::vector<std::pair<uint32_t, uint32_t>> wanted = {{32, 16},   {160, 120}, {320, 240}, {640, 360},
                                                                   {640, 480}, {720, 576}, {800, 600}, {1000, 700}};
        EXPECT_EQ(sizes, wanted);
    }
    // 720 is not a multiple of 32, nor is 360 of 16, and the end lies between two steps.
    kernel.setSizeRange(V4L2_FRMSIZE_TYPE_STEPWISE, {32, 800, 32, 16, 600, 16});
    std::vector<uint32_t> widths;
    for (const VideoFormat& f : device->Formats()) widths.push_back(f.width);
    EXPECT_EQ(widths, (std::vector<uint32_t>{32, 320, 640, 800}));
}

TEST_F(V4l2DeviceTest, ADeviceThatListsNoSizesIsAskedForItsLimits) {
    kernel.layouts = {V4L2_PIX_FMT_GREY};
    kernel.sizes.clear();
    const auto formats = device->Formats();
    ASSERT_FALSE(formats.empty());
    EXPECT_EQ(formats.front().width, 16u);
    EXPECT_EQ(formats.back().width, 4000u);
    EXPECT_EQ(formats.back().height, 3000u);
    EXPECT_EQ(formats.back().minHeight, 16u);
}

TEST_F(V4l2DeviceTest, RangesThatCannotBeAreLeftOut) {
    for (const v4l2_frmsize_stepwise range :
         {v4l2_frmsize_stepwise{64, 32, 1, 16, 32, 1}, {16, 32, 1, 64, 32, 1}, {}}) {
        kernel.setSizeRange(V4L2_FRMSIZE_TYPE_STEPWISE, range);
        EXPECT_TRUE(device->Formats().empty());
    }
    kernel.setSizeRange(V4L2_FRMSIZE_TYPE_STEPWISE, {16, 32, 0, 16, 32, 0});  // steps of nothing
    EXPECT_EQ(device->Formats().size(), 2 * kernel.layouts.size());
}

TEST_F(V4l2DeviceTest, IntervalsOfEveryKindAreTold) {
    struct {
        uint32_t type;
        v4l2_fract least, most;
        int64_t minInterval, maxInterval;
    } const rows[] = {
        {V4L2_FRMIVAL_TYPE_STEPWISE, {1, 100}, {1, 1}, 100'000, 10'000'000},
        {V4L2_FRMIVAL_TYPE_CONTINUOUS, {1, 1}, {1, 100}, 100'000, 10'000'000},  // the wrong way round
        {V4L2_FRMIVAL_TYPE_CONTINUOUS, {0, 0}, {1, 100}, 100'000, 100'000},
        {V4L2_FRMIVAL_TYPE_CONTINUOUS, {0, 1}, {1, 0}, 0, 0},
    };
    for (const auto& row : rows) {
        kernel.setIntervalRange(row.type, row.least, row.most);
        EXPECT_EQ(device->Formats()[0].minInterval, row.minInterval);
        EXPECT_EQ(device->Formats()[0].maxInterval, row.maxInterval);
    }
    kernel.intervals.clear();
    EXPECT_EQ(device->Formats()[0].minInterval, 0);
    EXPECT_EQ(device->Formats()[0].maxInterval, 0);
}

TEST_F(V4l2DeviceTest, ListsWithoutAnEndComeToAnEnd) {
    kernel.addControl(1, V4L2_CTRL_TYPE_INTEGER, "x", 0, 1);
    kernel.answer = [](unsigned long request, void* argument) {
        if (request == VIDIOC_ENUM_FMT) static_cast<v4l2_fmtdesc*>(argument)->pixelformat = V4L2_PIX_FMT_GREY;
        if (request == VIDIOC_ENUM_FRAMESIZES) {
            auto& size = *static_cast<v4l2_frmsizeenum*>(argument);
            size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
            size.discrete = {size.index + 1, 1};
        }
        if (request == VIDIOC_ENUM_FRAMEINTERVALS) {
            auto& interval = *static_cast<v4l2_frmivalenum*>(argument);
            interval.type = V4L2_FRMIVAL_TYPE_DISCRETE;
            interval.discrete = {1, 30};
        }
        if (request == VIDIOC_QUERYCTRL)
            ++static_cast<v4l2_queryctrl*>(argument)->id &= ~uint32_t(V4L2_CTRL_FLAG_NEXT_CTRL);
        return 0;
    };
    EXPECT_GE(device->Formats().size(), 100u);
    EXPECT_LE(device->Formats().size(), 1000u);
    EXPECT_LE(device->Controls().size(), 1000u);
}

// Modes

TEST_F(V4l2DeviceTest, TheModeThatStandsIsTold) {
    const auto mode = device->Mode();
    ASSERT_TRUE(mode.ok());
    EXPECT_EQ(mode.value().format.fourcc, fourcc("YUY2"));
    EXPECT_EQ(mode.value().format.width, 64u);
    EXPECT_EQ(mode.value().format.minInterval, 166'667);
    EXPECT_EQ(mode.value().interval, 2'000'000);
    EXPECT_EQ(mode.value().stride, 128u);
    EXPECT_EQ(mode.value().frameBytes, 128u * 48);

    // A size between those that a range is shown by.
    kernel.setSizeRange(V4L2_FRMSIZE_TYPE_CONTINUOUS, {16, 128, 1, 16, 96, 1});
    EXPECT_EQ(device->Mode().value().format.width, 64u);
    EXPECT_EQ(device->Mode().value().format.maxWidth, 128u);
    EXPECT_EQ(device->Mode().value().format.minHeight, 16u);

    kernel.takesIntervals = false;
    EXPECT_EQ(device->Mode().value().interval, 0);
    kernel.present.bytesperline = 200;  // padded rows
    kernel.present.sizeimage = 200 * 48;
    EXPECT_EQ(device->Mode().value().stride, 200u);
    kernel.present.bytesperline = 127;
    EXPECT_EQ(device->Mode().code(), E_FAIL);
    EXPECT_EQ(device->Start(4).code(), E_FAIL);
    kernel.present = ScriptedV4l2::shapeOf(V4L2_PIX_FMT_H264, 64, 48);
    EXPECT_EQ(device->Mode().code(), E_NOTIMPL);
}

TEST_F(V4l2DeviceTest, SetModeChoosesTheIntervalThatComesClosest) {
    struct {
        int64_t wanted;
        v4l2_fract put;
        int64_t given;
    } const rows[] = {
        {0, {1, 60}, 166'667},
        {1, {1, 60}, 166'667},
        {240'000, {1, 60}, 166'667},
        {260'000, {1, 30}, 333'333},
        {-5, {1, 60}, 166'667},
        {1'999'999, {1, 5}, 2'000'000},
        {INT64_MAX / 4, {1, 5}, 2'000'000},
    };
    for (const auto& row : rows) {
        const auto mode = device->SetMode(yuy2, row.wanted);
        ASSERT_TRUE(mode.ok());
        EXPECT_EQ(mode.value().interval, row.given);
        const v4l2_fract& put = kernel.parametersPut.back().parm.capture.timeperframe;
        EXPECT_EQ(put.numerator, row.put.numerator);
        EXPECT_EQ(put.denominator, row.put.denominator);
    }
    for (const uint32_t type : {V4L2_FRMIVAL_TYPE_STEPWISE, V4L2_FRMIVAL_TYPE_CONTINUOUS}) {
        kernel.setIntervalRange(type, {1, 100}, {1, 1});
        EXPECT_EQ(device->SetMode(yuy2, 0).value().interval, 100'000);
        EXPECT_EQ(device->SetMode(yuy2, 50).value().interval, 100'000);
        EXPECT_EQ(device->SetMode(yuy2, 123'456).value().interval, 123'456);
        EXPECT_EQ(device->SetMode(yuy2, 20'000'000).value().interval, 10'000'000);
    }
    kernel.intervals.clear();
    EXPECT_EQ(device->SetMode(yuy2, 500'000).value().interval, 500'000);
    const size_t before = kernel.parametersPut.size();
    EXPECT_EQ(device->SetMode(yuy2, 0).value().interval, 500'000);  // nobody knows the shortest
    EXPECT_EQ(kernel.parametersPut.size(), before);
    kernel.takesIntervals = false;
    EXPECT_EQ(device->SetMode(yuy2, 500'000).value().interval, 0);
}

TEST_F(V4l2DeviceTest, WhatTheDeviceDoesNotTakeIsRefusedAndLeavesItAsItWas) {
    for (const VideoFormat& format :
         {VideoFormat{fourcc("YUY2"), 65, 48}, VideoFormat{fourcc("YUY2"), 0, 48}, VideoFormat{fourcc("YUY2"), 64, 0},
          VideoFormat{fourcc("NV12"), 64, 48}, VideoFormat{fourcc("H264"), 64, 48}, VideoFormat{0, 64, 48}}) {
        EXPECT_EQ(device->SetMode(format, 0).code(), E_INVALIDARG);
        EXPECT_EQ(kernel.present.pixelformat, V4L2_PIX_FMT_YUYV);
        EXPECT_EQ(kernel.present.width, 64u);
    }
    EXPECT_TRUE(kernel.parametersPut.empty());
    // A device that tries well and sets badly.
    kernel.answer = [&](unsigned long request, void* argument) {
        if (request != VIDIOC_S_FMT) return -1;
        static_cast<v4l2_format*>(argument)->fmt.pix = ScriptedV4l2::shapeOf(V4L2_PIX_FMT_YUYV, 32, 24);
        return 0;
    };
    EXPECT_EQ(device->SetMode(yuy2, 0).code(), E_INVALIDARG);
    kernel.answer = [&](unsigned long request, void* argument) {
        if (request == VIDIOC_TRY_FMT || request == VIDIOC_S_FMT) {
            static_cast<v4l2_format*>(argument)->fmt.pix = ScriptedV4l2::shapeOf(V4L2_PIX_FMT_YUYV, 64, 48);
            static_cast<v4l2_format*>(argument)->fmt.pix.sizeimage = 100;
            return 0;
        }
        return -1;
    };
    EXPECT_EQ(device->SetMode(yuy2, 0).code(), E_FAIL);
}

TEST_F(V4l2DeviceTest, SetModeIsRefusedWhileSomebodyStreams) {
    kernel.busy = true;
    EXPECT_EQ(device->SetMode(yuy2, 0).code(), VEX_E_BUSY);
    EXPECT_EQ(device->Start(4).code(), VEX_E_BUSY);
    kernel.busy = false;
    ASSERT_TRUE(device->Start(4).ok());
    EXPECT_EQ(device->SetMode(yuy2, 0).code(), VEX_E_BUSY);
    EXPECT_EQ(device->Start(4).code(), E_UNEXPECTED);
    device->Stop();
    EXPECT_TRUE(device->SetMode(yuy2, 0).ok());
    kernel.answer = [](unsigned long request, void*) { return request == VIDIOC_S_PARM ? EBUSY : -1; };
    EXPECT_EQ(device->SetMode(yuy2, 0).code(), VEX_E_BUSY);
}

// The stream

TEST_F(V4l2DeviceTest, FramesComeInTheDevicesMemoryAndGoBack) {
    ASSERT_TRUE(device->Start(3).ok());
    EXPECT_EQ(kernel.mappings, 3);
    for (uint32_t i = 0; i < 7; ++i) {
        kernel.addFrame(10 * i);
        const VideoFrame frame = next();
        EXPECT_EQ(frame.index, i % 3);
        EXPECT_EQ(uint8_t(*frame.data), frame.index);
        EXPECT_EQ(frame.bytes, 128u * 48);
        EXPECT_EQ(frame.sequence, 10 * i);
        EXPECT_FALSE(frame.damaged);
        EXPECT_TRUE(device->GiveBack(frame.index).ok());
    }
    device->Stop();
    EXPECT_EQ(kernel.mappings, 0);
    EXPECT_EQ(kernel.requested, 0u);
    EXPECT_FALSE(kernel.streaming);
    device->Stop();
    EXPECT_TRUE(device->Start(3).ok());
}

TEST_F(V4l2DeviceTest, FramesComeInTheCallersMemory) {
    const Page first = page(), second = page();
    const std::span<std::byte> memory[] = {{first.get(), 6144}, {second.get(), 8192}};
    ASSERT_TRUE(device->StartInto(memory).ok());
    EXPECT_EQ(kernel.mappings, 0);
    for (uint32_t i = 0; i < 4; ++i) {
        kernel.addFrame(i);
        EXPECT_EQ(kernel.queue.front().m.userptr, reinterpret_cast<unsigned long>(memory[i % 2].data()));
        EXPECT_EQ(kernel.queue.front().length, memory[i % 2].size());
        EXPECT_EQ(kernel.queue.front().memory, uint32_t(V4L2_MEMORY_USERPTR));
        const VideoFrame frame = next();
        EXPECT_EQ(frame.data, memory[i % 2].data());
        EXPECT_TRUE(device->GiveBack(frame.index).ok());
    }
    device->Stop();
    EXPECT_EQ(kernel.requested, 0u);
}

TEST_F(V4l2DeviceTest, MemoryThatDoesNotFitIsRefused) {
    const Page one = page(), two = page();
    std::byte* const start = one.get();
    EXPECT_EQ(device->StartInto({}).code(), E_INVALIDARG);
    for (const std::span<std::byte> piece : {std::span(start, 6143), std::span(start + 16, 6144), std::span(start, 0)})
        EXPECT_EQ(device->StartInto(std::vector{piece}).code(), E_INVALIDARG);
    const std::span<std::byte> memory[] = {{start, 6144}, {two.get(), 6144}};
    kernel.leastBuffers = 3;  // more than there are
    EXPECT_EQ(device->StartInto(memory).code(), E_INVALIDARG);
    EXPECT_EQ(kernel.requested, 0u);
    kernel.leastBuffers = 1;
    kernel.mostBuffers = 1;  // fewer than there are
    EXPECT_TRUE(device->StartInto(memory).ok());
    device->Stop();
    kernel.takesUserMemory = false;
    EXPECT_EQ(device->StartInto(memory).code(), E_NOTIMPL);
    kernel.takesUserMemory = true;
    // Some devices take no memory whose pages lie here and there.
    kernel.answer = [](unsigned long request, void*) { return request == VIDIOC_QBUF ? EFAULT : -1; };
    EXPECT_EQ(device->StartInto(memory).code(), E_NOTIMPL);
    EXPECT_EQ(kernel.requested, 0u);
    EXPECT_EQ(device->Start(2).code(), E_FAIL);
}

TEST_F(V4l2DeviceTest, TheDeviceSaysHowManyBuffersThereAre) {
    EXPECT_EQ(device->Start(0).code(), E_INVALIDARG);
    kernel.mostBuffers = 0;
    EXPECT_EQ(device->Start(4).code(), E_OUTOFMEMORY);
    kernel.mostBuffers = 2;
    ASSERT_TRUE(device->Start(4).ok());
    EXPECT_EQ(kernel.mappings, 2);
    device->Stop();
    kernel.mostBuffers = 32;
    kernel.leastBuffers = 6;
    ASSERT_TRUE(device->Start(4).ok());
    EXPECT_EQ(kernel.mappings, 6);
    device->Stop();
    kernel.bufferBytes = 6143;  // too small for a frame
    EXPECT_EQ(device->Start(4).code(), E_FAIL);
    EXPECT_EQ(kernel.requested, 0u);
}

TEST_F(V4l2DeviceTest, WhatADriverTellsOfAFrameIsCheckedAgainstItsBuffer) {
    ASSERT_TRUE(device->Start(2).ok());
    struct {
        const char* what;
        uint32_t bytes, flags;
        size_t given;
        bool damaged;
    } const rows[] = {
        {"whole", 6144, 0, 6144, false},
        {"the driver's own doubt", 6144, V4L2_BUF_FLAG_ERROR, 6144, true},
        {"short", 6143, 0, 6143, true},
        {"empty", 0, 0, 0, true},
        {"longer than its buffer", 6145, 0, 6144, true},
        {"longer than anything", UINT32_MAX, 0, 6144, true},
        {"whole again", 6144, 0, 6144, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        kernel.addFrame(0, row.bytes, row.flags);
        const VideoFrame frame = next();
        EXPECT_EQ(frame.bytes, row.given);
        EXPECT_EQ(frame.damaged, row.damaged);
        EXPECT_TRUE(device->GiveBack(frame.index).ok());
    }
    device->Stop();
    ASSERT_TRUE(device->SetMode({fourcc("MJPG"), 64, 48}, 0).ok());
    EXPECT_EQ(device->Mode().value().stride, 0u);
    ASSERT_TRUE(device->Start(2).ok());
    kernel.addFrame(0, 17);
    EXPECT_FALSE(next().damaged);
    kernel.addFrame(0, 0);
    EXPECT_TRUE(next().damaged);
}

TEST_F(V4l2DeviceTest, ABufferThatTheDeviceDoesNotHaveBreaksTheStream) {
    for (const uint32_t index : {0u, 2u, UINT32_MAX}) {
        ASSERT_TRUE(device->Start(2).ok());
        kernel.addFrame(0);
        EXPECT_EQ(next().index, 0u);  // not given back
        kernel.addFrame(1);
        kernel.answer = [&](unsigned long request, void* argument) {
            if (request != VIDIOC_DQBUF) return -1;
            const int error = kernel.Answer(request, argument);
            static_cast<v4l2_buffer*>(argument)->index = index;
            return error;
        };
        EXPECT_EQ(device->Next(1000).code(), E_FAIL);
        kernel.answer = nullptr;
        device->Stop();
    }
}

TEST_F(V4l2DeviceTest, OnlyAFrameThatWasTakenGoesBack) {
    EXPECT_EQ(device->GiveBack(0).code(), E_INVALIDARG);
    ASSERT_TRUE(device->Start(2).ok());
    EXPECT_EQ(device->GiveBack(0).code(), E_INVALIDARG);
    kernel.addFrame(0);
    EXPECT_EQ(next().index, 0u);
    EXPECT_EQ(device->GiveBack(1).code(), E_INVALIDARG);
    EXPECT_EQ(device->GiveBack(2).code(), E_INVALIDARG);
    EXPECT_TRUE(device->GiveBack(0).ok());
    EXPECT_EQ(device->GiveBack(0).code(), E_INVALIDARG);
    device->Stop();
    EXPECT_EQ(device->GiveBack(0).code(), E_INVALIDARG);
}

TEST_F(V4l2DeviceTest, TimesAreTheDevicesOwnWhereItsClockIsTheSteadyOne) {
    kernel.clock = 10'000'000'000;  // 1000 s
    ASSERT_TRUE(device->Start(2).ok());
    constexpr uint32_t steady = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    struct {
        const char* what;
        uint32_t flags;
        int64_t seconds, microseconds, now, time;
    } const rows[] = {
        {"stamped", steady, 1000, 250'000, 10'005'000'000, 10'002'500'000},
        {"stamped at its end", steady | V4L2_BUF_FLAG_TSTAMP_SRC_SOE, 1000, 300'000, 10'005'000'000, 10'003'000'000},
        {"another clock", V4L2_BUF_FLAG_TIMESTAMP_UNKNOWN, 1000, 400'000, 10'006'000'000, 10'006'000'000},
        {"copied", V4L2_BUF_FLAG_TIMESTAMP_COPY, 1000, 650'000, 10'007'000'000, 10'007'000'000},
        {"behind the frame ahead", steady, 1000, 650'000, 10'008'000'000, 10'008'000'000},
        {"not yet", steady, 1001, 0, 10'009'000'000, 10'009'000'000},
        {"none", steady, 0, 0, 10'009'100'000, 10'009'100'000},
        {"negative", steady, -1, 0, 10'009'200'000, 10'009'200'000},
        {"too many seconds", steady, INT64_MAX, 0, 10'009'300'000, 10'009'300'000},
        {"too many microseconds", steady, 1000, INT64_MAX, 10'009'400'000, 10'009'400'000},
        {"few microseconds", steady, 1000, INT64_MIN, 10'009'500'000, 10'009'500'000},
        {"stamped again", steady, 1000, 955'000, 10'009'600'000, 10'009'550'000},
    };
    for (const auto& row : rows) {
        kernel.clock = row.now;
        kernel.frames.push_back({6144, 0, row.flags, row.seconds, row.microseconds});
        const VideoFrame frame = next();
        EXPECT_EQ(frame.time, row.time) << row.what;
        EXPECT_TRUE(device->GiveBack(frame.index).ok());
    }
}

TEST_F(V4l2DeviceTest, NextWaitsAsLongAsItIsTold) {
    ASSERT_TRUE(device->Start(2).ok());
    for (const uint32_t milliseconds : {0u, 1u, 499u, 500u, 501u, 100'000u}) {
        const int64_t begin = kernel.clock;
        EXPECT_EQ(device->Next(milliseconds).code(), VEX_E_TIMEOUT);
        EXPECT_EQ(kernel.clock - begin, int64_t(milliseconds) * 10'000);
    }
    device->Stop();
    EXPECT_EQ(device->Next(1000).code(), E_UNEXPECTED);
}

TEST_F(V4l2DeviceTest, ASignalOrAFrameThatIsNotThereIsNoError) {
    ASSERT_TRUE(device->Start(2).ok());
    int times = 3;
    kernel.answer = [&](unsigned long request, void*) {
        return request == VIDIOC_DQBUF && times-- > 0 ? times == 1 ? EINTR : EAGAIN : -1;
    };
    kernel.addFrame(5);
    EXPECT_EQ(next().sequence, 5u);
    // Told forever of a frame that does not come: the time passes all the same.
    kernel.oddEvents = POLLIN;
    kernel.answer = [&](unsigned long request, void*) {
        if (request != VIDIOC_DQBUF) return -1;
        kernel.clock += 10'000;
        return EAGAIN;
    };
    EXPECT_EQ(device->Next(1000).code(), VEX_E_TIMEOUT);
}

TEST_F(V4l2DeviceTest, ABrokenStreamSaysSo) {
    ASSERT_TRUE(device->Start(2).ok());
    kernel.oddEvents = POLLERR;
    EXPECT_EQ(device->Next(1000).code(), v4l2Status(EIO).code());
    kernel.oddEvents = 0;
    kernel.addFrame(0);
    for (const int error : {EIO, EINVAL, EPIPE, ENOMEM}) {
        kernel.answer = [error](unsigned long request, void*) { return request == VIDIOC_DQBUF ? error : -1; };
        EXPECT_EQ(device->Next(1000).code(), v4l2Status(error).code());
    }
    EXPECT_TRUE(device->Check().ok());
}

TEST_F(V4l2DeviceTest, AnInterruptEndsOneWait) {
    ASSERT_TRUE(device->Start(2).ok());
    kernel.addFrame(1);
    device->Interrupt();
    device->Interrupt();
    EXPECT_EQ(device->Next(1000).code(), VEX_E_INTERRUPTED);
    EXPECT_EQ(next().sequence, 1u);
    EXPECT_EQ(device->Next(0).code(), VEX_E_TIMEOUT);

    kernel.waits = true;
    std::thread other([&] { device->Interrupt(); });
    EXPECT_EQ(device->Next(UINT32_MAX).code(), VEX_E_INTERRUPTED);
    other.join();

    device->Stop();
    device->Interrupt();
    kernel.waits = false;
    ASSERT_TRUE(device->Start(2).ok());
    EXPECT_EQ(device->Next(0).code(), VEX_E_TIMEOUT);  // forgotten
}

TEST_F(V4l2DeviceTest, ALossIsToldWithinASecondEvenWhereNobodyIsWoken) {
    for (const bool tells : {true, false}) {
        kernel.tellsLoss = tells;
        kernel.gone = false;
        ASSERT_TRUE(device->Start(2).ok());
        EXPECT_EQ(device->Next(10).code(), VEX_E_TIMEOUT);
        kernel.gone = true;
        const int64_t begin = kernel.clock;
        EXPECT_EQ(device->Next(UINT32_MAX).code(), VEX_E_DEVICE_LOST);
        EXPECT_LE(kernel.clock - begin, 10'000'000);
        device->Stop();
        EXPECT_EQ(kernel.mappings, 0);
    }
}

TEST_F(V4l2DeviceTest, EveryCallOfALostDeviceReturns) {
    ASSERT_TRUE(device->Start(2).ok());
    kernel.addFrame(0);
    const VideoFrame frame = next();
    kernel.gone = true;
    EXPECT_EQ(device->GiveBack(frame.index).code(), VEX_E_DEVICE_LOST);
    device->Stop();
    const Page memory = page();
    const std::span<std::byte> pieces[] = {{memory.get(), 8192}};
    int32_t value = 0;
    EXPECT_EQ(device->Check().code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device->Mode().code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device->SetMode(yuy2, 0).code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device->Start(2).code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device->StartInto(pieces).code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device->GetControl(1, value).code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device->PutControl(1, 1).code(), VEX_E_DEVICE_LOST);
    EXPECT_TRUE(device->Formats().empty());
    EXPECT_TRUE(device->Controls().empty());
    device->Interrupt();
}

TEST_F(V4l2DeviceTest, ADeviceThatIsClosedWhileItStreamsLeavesNothing) {
    ASSERT_TRUE(device->Start(4).ok());
    kernel.addFrame(0);
    next();
    device.reset();
    EXPECT_EQ(kernel.openNodes, 0);
    EXPECT_EQ(kernel.mappings, 0);
}

TEST_F(V4l2DeviceTest, AFrameCostsNoAllocation) {
    ASSERT_TRUE(device->Start(4).ok());
    constexpr uint32_t frames = 100;
    for (uint32_t i = 0; i < frames; ++i) kernel.addFrame(i);
    const size_t before = allocations();
    for (uint32_t i = 0; i < frames; ++i) {
        const auto frame = device->Next(1000);
        if (!frame.ok() || !device->GiveBack(frame.value().index).ok()) break;
    }
    EXPECT_EQ(allocations(), before);
    EXPECT_EQ(kernel.nextFrame, frames);
}

/// A session from opening to closing. Gives the code of the first call that did not do what it should, and the bytes of
/// the frames that came.
struct Session {
    HRESULT code = S_OK;
    size_t bytes = 0;
    bool complete = false;
};
Session runSession(ScriptedV4l2& kernel, bool intoMemory) {
    Session session;
    const auto failed = [&session](Status s) {
        if (s.ok()) return false;
        session.code = s.code();
        return true;
    };
    auto opened = V4l2Device::open(kernel, kernel.path);
    if (failed(opened.status())) return session;
    IVideoDevice& device = *opened.value();
    if (failed(device.SetMode(yuy2, 0).status())) return session;
    if (failed(device.Mode().status())) return session;
    const Page first = page(), second = page();
    const std::span<std::byte> memory[] = {{first.get(), 8192}, {second.get(), 8192}};
    if (failed(intoMemory ? device.StartInto(memory) : device.Start(2))) return session;
    for (uint32_t i = 0; i < 3; ++i) {
        kernel.addFrame(i);
        const auto frame = device.Next(1000);
        if (failed(frame.status())) return session;
        session.bytes += frame.value().bytes;
        if (failed(device.GiveBack(frame.value().index))) return session;
    }
    device.Stop();
    EXPECT_EQ(kernel.mappings, 0);
    if (failed(device.Check())) return session;
    session.complete = true;
    return session;
}

TEST(V4l2Sessions, EachFailingCallInTurnLeavesNothingOpenOrMapped) {
    for (const bool intoMemory : {false, true}) {
        ScriptedV4l2 whole;
        ASSERT_TRUE(runSession(whole, intoMemory).complete);
        const int calls = whole.callNumber;
        ASSERT_GT(calls, 20);
        for (const int error : {EINTR, EIO, ENODEV, EINVAL, EBUSY, ENOMEM, ENOTTY, EAGAIN, EPERM})
            for (int failing = 0; failing < calls; ++failing) {
                SCOPED_TRACE("call " + std::to_string(failing) + ", error " + std::to_string(error));
                ScriptedV4l2 kernel;
                kernel.failingCall = failing;
                kernel.failure = error;
                const Session session = runSession(kernel, intoMemory);
                EXPECT_EQ(kernel.openNodes, 0);
                EXPECT_EQ(kernel.mappings, 0);
                EXPECT_EQ(kernel.requested, 0u);
                EXPECT_FALSE(kernel.streaming);
                EXPECT_EQ(session.complete, session.code == S_OK);
                if (error == EINTR) {
                    EXPECT_TRUE(session.complete);
                    EXPECT_EQ(session.bytes, 3u * 6144);
                }
            }
    }
}

TEST(V4l2Sessions, ADeviceThatGoesAwayAtAnyCallIsLostAndLeavesNothing) {
    for (const bool intoMemory : {false, true}) {
        ScriptedV4l2 whole;
        ASSERT_TRUE(runSession(whole, intoMemory).complete);
        for (int failing = 0; failing < whole.callNumber; ++failing) {
            SCOPED_TRACE(failing);
            ScriptedV4l2 kernel;
            kernel.failingCall = failing;
            kernel.failingFromThere = true;
            kernel.failure = ENODEV;
            EXPECT_EQ(runSession(kernel, intoMemory).code, VEX_E_DEVICE_LOST);
            EXPECT_EQ(kernel.openNodes, 0);
            EXPECT_EQ(kernel.mappings, 0);
        }
    }
}

TEST(V4l2Sessions, ANodeThatCannotBeOpenedTellsWhy) {
    struct {
        int error;
        HRESULT code;
    } const rows[] = {{ENOENT, VEX_E_FILE_NOT_FOUND},
                      {EACCES, E_ACCESSDENIED},
                      {EBUSY, VEX_E_BUSY},
                      {ENODEV, VEX_E_DEVICE_LOST},
                      {EMFILE, v4l2Status(EMFILE).code()}};
    for (const auto& row : rows) {
        ScriptedV4l2 kernel;
        kernel.failingCall = 0;
        kernel.failure = row.error;
        EXPECT_EQ(V4l2Device::open(kernel, kernel.path).code(), row.code);
    }
    ScriptedV4l2 noVideo;
    noVideo.answer = [](unsigned long, void*) { return ENOTTY; };
    EXPECT_EQ(V4l2Device::open(noVideo, noVideo.path).code(), E_NOTIMPL);
    EXPECT_EQ(noVideo.openNodes, 0);
}

// Controls

TEST_F(V4l2DeviceTest, ControlsThatAreNumbersAreListedWithTheirLimits) {
    kernel.addControl(V4L2_CID_USER_CLASS, V4L2_CTRL_TYPE_CTRL_CLASS, "User Controls", 0, 0);
    kernel.addControl(V4L2_CID_BRIGHTNESS, V4L2_CTRL_TYPE_INTEGER, "Brightness", -10, 10);
    kernel.addControl(V4L2_CID_AUTOGAIN, V4L2_CTRL_TYPE_BOOLEAN, "Gain, Automatic", 0, 1);
    kernel.addControl(V4L2_CID_GAIN, V4L2_CTRL_TYPE_INTEGER, "Gain", 0, 100, V4L2_CTRL_FLAG_INACTIVE);
    kernel.addControl(V4L2_CID_DO_WHITE_BALANCE, V4L2_CTRL_TYPE_BUTTON, "Do", 0, 0, V4L2_CTRL_FLAG_WRITE_ONLY);
    kernel.addControl(V4L2_CID_HUE, V4L2_CTRL_TYPE_INTEGER, "Off", 0, 1, V4L2_CTRL_FLAG_DISABLED);
    kernel.addControl(V4L2_CID_LASTP1, V4L2_CTRL_TYPE_INTEGER64, "Long", 0, 1);
    kernel.addControl(V4L2_CID_EXPOSURE_AUTO, V4L2_CTRL_TYPE_MENU, "Auto", 0, 3);
    kernel.addControl(V4L2_CID_EXPOSURE_ABSOLUTE, V4L2_CTRL_TYPE_INTEGER, "Exposure", 1, 5, V4L2_CTRL_FLAG_READ_ONLY);
    kernel.addControl(V4L2_CID_LINK_FREQ, V4L2_CTRL_TYPE_INTEGER_MENU, "A name without an end, of 32 bytes", 0, 3);
    std::ranges::sort(kernel.controls, {}, &v4l2_queryctrl::id);
    kernel.controls[1].step = 0;
    const auto controls = device->Controls();
    std::vector<uint32_t> ids;
    for (const VideoControl& c : controls) ids.push_back(c.id);
    EXPECT_EQ(ids, (std::vector<uint32_t>{V4L2_CID_BRIGHTNESS, V4L2_CID_AUTOGAIN, V4L2_CID_GAIN, V4L2_CID_EXPOSURE_AUTO,
                                          V4L2_CID_EXPOSURE_ABSOLUTE, V4L2_CID_LINK_FREQ}));
    EXPECT_EQ(controls[0].name, u"Brightness");
    EXPECT_EQ(controls[0].least, -10);
    EXPECT_EQ(controls[0].most, 10);
    EXPECT_EQ(controls[0].standard, -10);
    EXPECT_EQ(controls[0].step, 1);
    EXPECT_FALSE(controls[0].readOnly || controls[0].inactive);
    EXPECT_TRUE(controls[2].inactive);
    EXPECT_TRUE(controls[4].readOnly);
    EXPECT_EQ(controls[5].name, u"A name without an end, of 32 byt");
}

TEST_F(V4l2DeviceTest, ControlsArePutAndRead) {
    kernel.addControl(V4L2_CID_BRIGHTNESS, V4L2_CTRL_TYPE_INTEGER, "Brightness", -10, 10);
    kernel.addControl(V4L2_CID_GAIN, V4L2_CTRL_TYPE_INTEGER, "Gain", 0, 100, V4L2_CTRL_FLAG_READ_ONLY);
    EXPECT_TRUE(device->PutControl(V4L2_CID_BRIGHTNESS, -7).ok());
    int32_t value = 0;
    EXPECT_TRUE(device->GetControl(V4L2_CID_BRIGHTNESS, value).ok());
    EXPECT_EQ(value, -7);
    EXPECT_EQ(device->PutControl(V4L2_CID_BRIGHTNESS, 11).code(), E_INVALIDARG);
    EXPECT_EQ(device->PutControl(V4L2_CID_GAIN, 1).code(), E_ACCESSDENIED);
    EXPECT_EQ(device->PutControl(1, 1).code(), E_INVALIDARG);
    EXPECT_EQ(device->GetControl(1, value).code(), E_INVALIDARG);
    EXPECT_EQ(value, -7);
    kernel.answer = [](unsigned long request, void*) { return request == VIDIOC_S_CTRL ? EBUSY : -1; };
    EXPECT_EQ(device->PutControl(V4L2_CID_BRIGHTNESS, 1).code(), VEX_E_BUSY);
}

}  // namespace v4l2_device_test
}  // namespace vexcap
