// What the tests of the video capture filter share: a filter over a scripted device, with a sink at each of its pins.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <utility>
#include <vector>

#include "base/dib.h"
#include "graph/filter_graph.h"
#include "platform/fake/fake_video_devices.h"
#include "source/source_testing.h"
#include "source/video_capture_filter.h"

namespace vexcap::test {

inline constexpr int64_t interval = 400'000;

inline VideoFormat formatOf(const char (&code)[5], uint32_t width, uint32_t height) {
    return {fourcc(code), width, height, width, height, width, height, interval, 10 * interval};
}

inline int64_t now() { return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(100); }

class VideoCapture : public testing::Test {
protected:
    VideoCapture() {
        script->formats = {formatOf("YUY2", 8, 4), formatOf("MJPG", 16, 8), formatOf("BGR3", 6, 4),
                           formatOf("NV12", 8, 4)};
        script->present = script->formats[0];
    }
    ~VideoCapture() override { close(); }
    void close() {
        if (!filter) return;
        stop();
        EXPECT_EQ(filter->JoinFilterGraph(nullptr, {}), S_OK);
        test::disconnect(capture());
        test::disconnect(still());
        filter = nullptr;
    }
    void open() {
        close();
        auto made = CVideoCaptureFilter::create(std::make_unique<FakeVideoDevice>(script));
        ASSERT_TRUE(made.ok()) << std::hex << made.code();
        filter = std::move(made).value();
    }
    void openAndConnect() {
        open();
        ASSERT_EQ(capture().Connect(sink->Input()), S_OK);
    }
    void connectStill() { ASSERT_EQ(still().Connect(stillSink->Input()), S_OK); }
    HRESULT pause() {
        for (CBaseFilter* one : all())
            if (const HRESULT result = one->Pause(); result < 0) return result;
        return S_OK;
    }
    HRESULT run() {
        start = now();
        return run(start);
    }
    HRESULT run(int64_t from) {
        for (CBaseFilter* one : all())
            if (const HRESULT result = one->Run(from); result < 0) return result;
        return S_OK;
    }
    void stop() {
        for (CBaseFilter* one : all()) EXPECT_GE(one->Stop(), 0);
    }
    std::vector<CBaseFilter*> all() { return {sink.get(), stillSink.get(), filter.get()}; }
    CBaseOutputPin& capture() { return test::outputOf(*filter, 0); }
    CBaseOutputPin& still() { return test::outputOf(*filter, 1); }
    uint32_t dropped() {
        uint32_t count = 0;
        EXPECT_EQ(test::as<IAMDroppedFrames>(capture())->GetNumDropped(&count), S_OK);
        return count;
    }
    uint32_t notDropped() {
        uint32_t count = 0;
        EXPECT_EQ(test::as<IAMDroppedFrames>(capture())->GetNumNotDropped(&count), S_OK);
        return count;
    }
    /// A frame of this moment.
    void push(uint8_t fill, uint32_t lostBefore = 0) {
        script->push({.fill = fill, .lostBefore = lostBefore, .time = now()});
    }
    GraphEvent lost() {
        return {EC_DEVICE_LOST, reinterpret_cast<intptr_t>(static_cast<CBaseFilter*>(filter.get())), 0};
    }
    static GraphEvent aborted(HRESULT code) { return {EC_ERRORABORT, code, 0}; }

    std::shared_ptr<FakeVideoScript> script = std::make_shared<FakeVideoScript>();
    EventLog ear;
    Ref<SampleSink> sink = makeRef<SampleSink>();
    Ref<SampleSink> stillSink = makeRef<SampleSink>();
    Ref<CVideoCaptureFilter> filter;
    int64_t start = 0;
};

}  // namespace vexcap::test
