// What the tests of the frame sink share: a sink over fakes, pictures, and a source that fills its buffers.
#pragma once

#include <gtest/gtest.h>

#include <vexcap/records.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/dib.h"
#include "frame/frame_render.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_texture.h"
#include "platform/fake/fake_window.h"

namespace vexcap::test {

enum : uint32_t { frameMessage = 0x400, sizeMessage = 0x401, brightnessMessage = 0x402 };

using Bytes = std::vector<uint8_t>;

/// Bytes that tell their place and the picture that they belong to.
inline Bytes pattern(uint64_t bytes, uint32_t seed) {
    Bytes made(bytes);
    uint32_t state = seed * 2654435761u + 1;
    for (uint8_t& each : made) each = uint8_t((state = state * 1664525u + 1013904223u) >> 24);
    return made;
}

/// A display picture of 3 bytes a pixel.
inline Bytes picture(uint32_t width, uint32_t height, uint32_t seed) {
    return pattern(dibStride(width, 3) * height, seed);
}

struct Grab {
    HRESULT result;
    vex_bitmap_header header;
    Bytes pixels;
};

/// GetImage into memory that is exactly as large as told, so that a sanitizer sees each byte too much.
inline Grab grab(CFrameRender& sink, uint32_t kind, int32_t capacity) {
    Bytes bitmap(40 + size_t(capacity), 0xEE);
    Grab made{sink.GetImage(bitmap.data(), capacity, kind), {}, {}};
    std::memcpy(&made.header, bitmap.data(), 40);
    made.pixels.assign(bitmap.begin() + 40, bitmap.end());
    return made;
}

/// The picture of a kind; empty when there is none.
inline Bytes imageOf(CFrameRender& sink, uint32_t kind = 0) {
    constexpr int32_t room = 1 << 18;
    Grab made = grab(sink, kind, room);
    if (made.result != S_OK) return {};
    made.pixels.resize(made.header.biSizeImage);
    return made.pixels;
}

/// One call of a frame callback or hook.
struct FrameCall {
    const void* frame;
    uint32_t width, height, last;
    friend bool operator==(const FrameCall&, const FrameCall&) = default;
};
using FrameCalls = std::vector<FrameCall>;
inline void recordFrame(void* calls, const void* frame, uint32_t width, uint32_t height) {
    static_cast<FrameCalls*>(calls)->push_back({frame, width, height, 0});
}
inline void recordHook(void* calls, const void* frame, uint32_t width, uint32_t height, uint32_t last) {
    static_cast<FrameCalls*>(calls)->push_back({frame, width, height, last});
}

struct Buffers {
    void* display = nullptr;
    void* raw = nullptr;
    void* deep = nullptr;
};

/// A message that a window was sent.
struct Posted {
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
    friend bool operator==(const Posted&, const Posted&) = default;
};
using Messages = std::vector<Posted>;

struct SinkRig {
    explicit SinkRig(SinkMode mode, uint32_t targetRate = 0, uint32_t bytesPerPixel = 3, bool d2dAvailable = false)
        : sink(mode, targetRate, bytesPerPixel, clock, textures, disk, d2dAvailable) {}

    Buffers next() {
        Buffers made;
        sink.NextBuffers(&made.display, &made.raw, &made.deep);
        return made;
    }
    void receive(const void* frame, uint32_t width, uint32_t height) {
        sink.ReceiveFrame(frame, nullptr, nullptr, 0, 0, width, height, 0);
    }
    /// Writes a picture where the sink wants it, and hands it over. Gives the buffer.
    uint8_t* deliver(const Bytes& pixels, uint32_t width, uint32_t height) {
        void* display = nullptr;
        sink.NextBuffers(&display, nullptr, nullptr);
        if (!display) return nullptr;
        std::memcpy(display, pixels.data(), pixels.size());
        receive(display, width, height);
        return static_cast<uint8_t*>(display);
    }
    void setVideoSize(uint32_t width, uint32_t height) { sink.SetVideoSize(width, height, nullptr, nullptr, nullptr); }
    std::pair<uint32_t, uint32_t> size() {
        uint32_t width = 77, height = 77;
        sink.GetVideoSize(&width, &height);
        return {width, height};
    }
    Messages messages() {
        Messages all;
        for (const vex_message& each : window.messages()) all.push_back({each.message, each.wparam, each.lparam});
        return all;
    }
    uint32_t totalFrames() {
        uint32_t frames = 0, milliseconds = 0, total = 0;
        sink.GetFrameRate(&frames, &milliseconds, &total);
        return total;
    }

    FakeClock clock;
    FakeTextures textures;
    FakeDisk disk;
    FakeWindow window;
    CFrameRender sink;
};

inline constexpr uint32_t readyWidth = 20, readyHeight = 10;
inline constexpr SinkMode everyMode[] = {SinkMode::Pooled, SinkMode::Owned, SinkMode::Copying};

/// A sink of any mode that knows its size and tells the window of frames.
struct ReadyRig : SinkRig {
    explicit ReadyRig(SinkMode mode, uint32_t targetRate = 0, uint32_t bytesPerPixel = 3)
        : SinkRig(mode, targetRate, bytesPerPixel) {
        setVideoSize(readyWidth, readyHeight);
        sink.SetNotify(window.native(), frameMessage, recordFrame, &calls);
    }
    /// A frame as the mode has it come: in the sink's buffer, or in memory of the source's own.
    const void* show(const Bytes& pixels, uint32_t w = readyWidth, uint32_t h = readyHeight) {
        if (uint8_t* const buffer = deliver(pixels, w, h)) return buffer;
        receive(pixels.data(), w, h);
        return pixels.data();
    }
    FrameCalls calls;
};

}  // namespace vexcap::test
