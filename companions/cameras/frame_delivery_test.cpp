#include "companions/cameras/frame_delivery.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/dib.h"
#include "platform/fake/allocations.h"

namespace vexcap::cameras {
namespace frame_delivery_test {

// One callback as it came.
struct Call {
    char kind = 0;  // r raw, b buffer, f frame, e event
    const void* picture = nullptr;
    vex_frame_info info{};
    bool hasInfo = false;
    uint32_t still = 0;
    const void* raw = nullptr;
    const void* deep = nullptr;
    uint32_t depthFlag = 0;
    uint32_t tag = 0;
    uint32_t depth = 0;
    uint64_t frameTag = 99;
    uint32_t event = 0;
};

// An engine that keeps what it is told and gives the rooms that it is set up with.
struct Engine {
    std::vector<Call> calls;
    std::vector<uint8_t> rawSeen;  // the last raw frame
    void* displayRoom = nullptr;
    void* rawRoom = nullptr;
    void* deepRoom = nullptr;

    Engine() { calls.reserve(4096); }
    std::string Order() const {
        std::string order;
        for (const Call& call : calls) order += call.kind;
        return order;
    }
    const Call& Last(char kind) const {
        for (size_t i = calls.size(); i-- > 0;)
            if (calls[i].kind == kind) return calls[i];
        static const Call none;
        ADD_FAILURE() << "no call " << kind;
        return none;
    }
    StreamCallbacks Callbacks() { return {Frame, Buffer, this, Event, this}; }

    static void Frame(const void* frame, const vex_frame_info* info, uint32_t still, const void* raw, const void* deep,
                      uint32_t depthFlag, uint32_t tag, uint64_t frameTag, void* context) {
        Call call;
        call.kind = 'f';
        call.picture = frame;
        call.hasInfo = info != nullptr;
        if (info) call.info = *info;
        call.still = still;
        call.raw = raw;
        call.deep = deep;
        call.depthFlag = depthFlag;
        call.tag = tag;
        call.frameTag = frameTag;
        static_cast<Engine*>(context)->calls.push_back(call);
    }
    static void Buffer(uint32_t still, void** display, void** raw, void** deep, void* context) {
        auto* const engine = static_cast<Engine*>(context);
        Call call;
        call.kind = 'b';
        call.still = still;
        engine->calls.push_back(call);
        *display = engine->displayRoom;
        *raw = engine->rawRoom;
        *deep = engine->deepRoom;
    }
    static void Event(uint32_t event, void* context) {
        Call call;
        call.kind = 'e';
        call.event = event;
        static_cast<Engine*>(context)->calls.push_back(call);
    }
    static void Raw(const void* raw, const vex_frame_info* info, uint32_t tag, uint32_t depth, void* context) {
        auto* const engine = static_cast<Engine*>(context);
        Call call;
        call.kind = 'r';
        call.picture = raw;
        call.info = *info;
        call.tag = tag;
        call.depth = depth;
        engine->calls.push_back(call);
        const auto* const bytes = static_cast<const uint8_t*>(raw);
        const size_t size = size_t(info->width) * info->height * (depth > 8 ? 2 : 1);
        if (engine->rawSeen.capacity() >= size) engine->rawSeen.assign(bytes, bytes + size);
    }
};

// A picture whose sample at (x, y) from the top left is known, stored in either direction with padding behind rows.
struct TestFrame {
    SensorFrame frame;
    std::vector<uint8_t> memory;

    static uint32_t Value(uint32_t x, uint32_t y, uint32_t depth) {
        return (y * 37 + x * 11 + 5) & ((1u << depth) - 1);
    }

    TestFrame(uint32_t width, uint32_t height, uint32_t depth, bool topDown, size_t padding = 0) {
        const size_t bytes = depth > 8 ? 2 : 1;
        frame.rowBytes = width * bytes + padding;
        memory.assign(frame.rowBytes * height, 0xEE);
        for (uint32_t y = 0; y < height; ++y) {
            uint8_t* const row = memory.data() + (topDown ? y : height - 1 - y) * frame.rowBytes;
            for (uint32_t x = 0; x < width; ++x) {
                const auto value = uint16_t(Value(x, y, depth));
                std::memcpy(row + x * bytes, &value, bytes);
            }
        }
        frame.samples = memory.data();
        frame.topDown = topDown;
        frame.width = width;
        frame.height = height;
        frame.depth = depth;
        frame.sequence = 17;
        frame.timestamp = 0x123456789A;
    }
    std::vector<uint8_t> TightBottomUp() const {
        return TestFrame(frame.width, frame.height, frame.depth, false).memory;
    }
};

uint64_t testTime = 0;
uint64_t testClock() { return testTime; }
constexpr uint64_t millisecond = 1'000'000;

TEST(BottomUpFourcc, NamesTheMosaicFromTheFirstRowInMemory) {
    const auto rggb = fourcc("RGGB"), grbg = fourcc("GRBG"), gbrg = fourcc("GBRG"), bggr = fourcc("BGGR");
    EXPECT_EQ(rggb, 0x42474752u);
    const struct {
        Mosaic topLeft;
        uint32_t odd, even;
    } table[] = {
        {Mosaic::Rggb, rggb, gbrg}, {Mosaic::Grbg, grbg, bggr}, {Mosaic::Gbrg, gbrg, rggb}, {Mosaic::Bggr, bggr, grbg}};
    for (const auto& line : table) {
        EXPECT_EQ(bottomUpFourcc(line.topLeft, 1), line.odd);
        EXPECT_EQ(bottomUpFourcc(line.topLeft, 7), line.odd);
        EXPECT_EQ(bottomUpFourcc(line.topLeft, 2), line.even);
        EXPECT_EQ(bottomUpFourcc(line.topLeft, 1096), line.even);
    }
}

TEST(FrameDelivery, TellsEveryArgumentOfARawAndADisplayFrame) {
    for (const uint32_t depth : {8u, 12u}) {
        TestFrame picture(6, 4, depth, false);
        picture.frame.colour = true;
        picture.frame.mosaic = Mosaic::Grbg;
        Engine engine;
        FrameDelivery delivery;
        delivery.SetRawCallback(Engine::Raw, &engine);
        delivery.Start(engine.Callbacks());
        delivery.Deliver(picture.frame);
        EXPECT_EQ(engine.Order(), "rbf") << "raw first, then the question for rooms, then the display frame";
        for (const char kind : {'r', 'f'}) {
            const Call& call = engine.Last(kind);
            EXPECT_EQ(call.info.sequence, 17u);
            EXPECT_EQ(call.info.width, 6u);
            EXPECT_EQ(call.info.height, 4u);
            EXPECT_EQ(call.info.reserved, 0u);
            EXPECT_EQ(call.info.timestamp, 0x123456789Au);
            EXPECT_EQ(call.tag, fourcc("BGGR"));
        }
        EXPECT_EQ(engine.Last('r').depth, depth);
        EXPECT_EQ(engine.Last('r').picture, picture.memory.data()) << "tight and bottom-up: no copy";
        const Call& frame = engine.Last('f');
        EXPECT_NE(frame.picture, nullptr);
        EXPECT_EQ(frame.still, 0u);
        EXPECT_EQ(frame.raw, nullptr);
        EXPECT_EQ(frame.deep, nullptr);
        EXPECT_EQ(frame.depthFlag != 0, depth > 8);
        EXPECT_EQ(frame.frameTag, 0u);
    }
}

TEST(FrameDelivery, AMonoFrameHasNoTag) {
    TestFrame picture(6, 4, 8, false);
    Engine engine;
    FrameDelivery delivery;
    delivery.SetRawCallback(Engine::Raw, &engine);
    delivery.Start(engine.Callbacks());
    delivery.Deliver(picture.frame);
    EXPECT_EQ(engine.Last('r').tag, 0u);
    EXPECT_EQ(engine.Last('f').tag, 0u);
}

TEST(FrameDelivery, RawFramesComeBottomUpAndTightFromEveryLayout) {
    for (const uint32_t depth : {8u, 10u})
        for (const bool topDown : {false, true})
            for (const size_t padding : {size_t(0), size_t(6)}) {
                TestFrame picture(5, 3, depth, topDown, padding);
                Engine engine;
                engine.rawSeen.reserve(1024);
                std::vector<uint8_t> room(5 * 3 * 2 + 8, 0xAA);
                engine.rawRoom = room.data();
                FrameDelivery delivery;
                delivery.Start(engine.Callbacks());
                delivery.Deliver(picture.frame);  // into the engine's room alone
                const auto wanted = picture.TightBottomUp();
                EXPECT_EQ(engine.Last('f').raw, room.data());
                EXPECT_EQ(std::memcmp(room.data(), wanted.data(), wanted.size()), 0);
                EXPECT_EQ(room[wanted.size()], 0xAA);
                std::fill(room.begin(), room.end(), uint8_t(0xAA));
                delivery.SetRawCallback(Engine::Raw, &engine);
                delivery.Deliver(picture.frame);  // to both
                EXPECT_EQ(engine.rawSeen, wanted) << depth << topDown << padding;
                EXPECT_EQ(std::memcmp(room.data(), wanted.data(), wanted.size()), 0);
                EXPECT_EQ(room[wanted.size()], 0xAA);
            }
}

TEST(FrameDelivery, DisplayAndDeepPicturesLieBottomUpInTheEnginesRooms) {
    for (const bool topDown : {false, true}) {
        TestFrame picture(5, 3, 12, topDown, 4);
        std::vector<uint8_t> display(dibStride(5, 3) * 3 + 4, 0xAA);
        std::vector<uint16_t> deep(dibStride(5, 6) / 2 * 3 + 4, 0xAAAA);
        Engine engine;
        engine.displayRoom = display.data();
        engine.deepRoom = deep.data();
        FrameDelivery delivery;
        delivery.Start(engine.Callbacks());
        delivery.Deliver(picture.frame);
        EXPECT_EQ(engine.Last('f').picture, display.data());
        EXPECT_EQ(engine.Last('f').deep, deep.data());
        for (uint32_t y = 0; y < 3; ++y)
            for (uint32_t x = 0; x < 5; ++x)
                for (uint32_t c = 0; c < 3; ++c) {
                    const uint32_t value = TestFrame::Value(x, y, 12);
                    EXPECT_EQ(display[(2 - y) * dibStride(5, 3) + x * 3 + c], value >> 4);
                    EXPECT_EQ(deep[(2 - y) * dibStride(5, 6) / 2 + x * 3 + c], value);
                }
        EXPECT_EQ(display[dibStride(5, 3) * 3], 0xAA);
        EXPECT_EQ(deep[dibStride(5, 6) / 2 * 3], 0xAAAA);
    }
}

TEST(FrameDelivery, MosaicPicturesAreTheSameFromBothDirections) {
    for (const uint32_t depth : {8u, 12u})
        for (const Mosaic mosaic : {Mosaic::Rggb, Mosaic::Grbg, Mosaic::Gbrg, Mosaic::Bggr})
            for (const uint32_t height : {4u, 5u}) {
                std::vector<uint8_t> shown[2];
                std::vector<uint8_t> deep[2];
                for (const bool topDown : {false, true}) {
                    TestFrame picture(6, height, depth, topDown);
                    picture.frame.colour = true;
                    picture.frame.mosaic = mosaic;
                    shown[topDown].assign(dibStride(6, 3) * height, 0);
                    deep[topDown].assign(dibStride(6, 6) * height, 0);
                    Engine engine;
                    engine.displayRoom = shown[topDown].data();
                    engine.deepRoom = deep[topDown].data();
                    FrameDelivery delivery;
                    delivery.Start(engine.Callbacks());
                    delivery.Deliver(picture.frame);
                    EXPECT_EQ(engine.Last('f').deep != nullptr, depth > 8) << "8 bits have no deep picture";
                }
                EXPECT_EQ(shown[0], shown[1]);
                EXPECT_EQ(deep[0], deep[1]);
                // The corner pixel keeps its own colour: channel 2 is red, 0 is blue.
                const size_t channel = mosaic == Mosaic::Rggb ? 2 : mosaic == Mosaic::Bggr ? 0 : 1;
                const size_t corner = dibStride(6, 3) * (height - 1) + channel;
                EXPECT_EQ(shown[0][corner], TestFrame::Value(0, 0, depth) >> (depth - 8));
            }
}

TEST(FrameDelivery, StillFramesAreAlwaysDueAndHaveNoRawCallback) {
    testTime = 1000 * millisecond;
    TestFrame picture(4, 4, 8, false);
    Engine engine;
    FrameDelivery delivery(testClock);
    delivery.SetFrameRate(1);
    delivery.SetRawCallback(Engine::Raw, &engine);
    delivery.Start(engine.Callbacks());
    delivery.Deliver(picture.frame);
    engine.calls.clear();
    delivery.Deliver(picture.frame, true);
    EXPECT_EQ(engine.Order(), "bf");
    EXPECT_EQ(engine.Last('b').still, 1u);
    EXPECT_EQ(engine.Last('f').still, 1u);
    uint32_t total = 0;
    delivery.GetFrameRate(nullptr, nullptr, &total);
    EXPECT_EQ(total, 1u) << "a still is no frame of the stream";
}

// Delivers at `sensorRate` for ten seconds and gives the times of display frames in milliseconds.
std::vector<uint64_t> displayTimes(FrameDelivery& delivery, Engine& engine, uint32_t sensorRate) {
    TestFrame picture(2, 2, 8, false);
    std::vector<uint64_t> times;
    for (uint32_t i = 0; i < sensorRate * 10; ++i) {
        testTime = (1000 + uint64_t(i) * 1000 / sensorRate) * millisecond + (i % 3) * 100'000;  // with some jitter
        engine.calls.clear();
        delivery.Deliver(picture.frame);
        if (!engine.calls.empty()) times.push_back(testTime / millisecond);
    }
    return times;
}

TEST(FrameDelivery, TheFrameRateOptionSpacesDisplayFramesSteadilyWithoutDrift) {
    for (const uint32_t sensorRate : {30u, 100u, 170u, 500u}) {
        testTime = 1000 * millisecond;
        Engine engine;
        FrameDelivery delivery(testClock);
        delivery.SetFrameRate(30);
        EXPECT_EQ(delivery.FrameRate(), 30);
        delivery.Start(engine.Callbacks());
        const auto times = displayTimes(delivery, engine, sensorRate);
        EXPECT_NEAR(double(times.size()), 300, 2) << sensorRate;
        for (size_t i = 1; i < times.size(); ++i) {
            EXPECT_GE(times[i] - times[i - 1], 25u) << sensorRate;
            EXPECT_LE(times[i] - times[i - 1], 45u) << sensorRate;
        }
    }
}

TEST(FrameDelivery, DeliverAllLiftsTheLimitAndZeroMeansNone) {
    Engine engine;
    FrameDelivery delivery(testClock);
    delivery.SetFrameRate(10);
    delivery.SetDeliverAll(true);
    delivery.Start(engine.Callbacks());
    EXPECT_EQ(displayTimes(delivery, engine, 100).size(), 1000u);
    delivery.SetDeliverAll(false);
    EXPECT_NEAR(double(displayTimes(delivery, engine, 100).size()), 100, 2);
    delivery.SetFrameRate(0);
    EXPECT_EQ(displayTimes(delivery, engine, 100).size(), 1000u);
}

TEST(FrameDelivery, NoBurstFollowsAPause) {
    TestFrame picture(2, 2, 8, false);
    Engine engine;
    FrameDelivery delivery(testClock);
    delivery.SetFrameRate(10);
    testTime = 1000 * millisecond;
    delivery.Start(engine.Callbacks());
    delivery.Deliver(picture.frame);
    testTime += 5000 * millisecond;
    engine.calls.clear();
    for (int i = 0; i < 10; ++i, testTime += millisecond) delivery.Deliver(picture.frame);
    EXPECT_EQ(engine.Order(), "bf");
}

TEST(FrameDelivery, WhereNobodyTakesDisplayFramesNoneIsAskedFor) {
    TestFrame picture(4, 4, 8, false);
    Engine engine;
    FrameDelivery delivery;
    delivery.SetRawCallback(Engine::Raw, &engine);
    StreamCallbacks callbacks = engine.Callbacks();
    callbacks.frame = nullptr;
    delivery.Start(callbacks);
    delivery.Deliver(picture.frame);
    EXPECT_EQ(engine.Order(), "r");
}

TEST(FrameDelivery, SurvivesAnEngineWithoutCallbacks) {
    TestFrame picture(4, 4, 8, true);
    FrameDelivery delivery;
    delivery.Start({});
    delivery.Deliver(picture.frame);
    delivery.Deliver(picture.frame, true);
    delivery.DeliverEvent(1);
    delivery.DeliverLoss();
    Engine engine;
    delivery.Start({Engine::Frame, nullptr, &engine, nullptr, nullptr});
    delivery.Deliver(picture.frame);
    delivery.DeliverEvent(1);
    EXPECT_EQ(engine.Order(), "f");
    delivery.Deliver(SensorFrame{});
    EXPECT_EQ(engine.Order(), "f") << "a frame without samples is none";
}

TEST(FrameDelivery, ALossIsToldOnceAndNoFrameComesAfterIt) {
    TestFrame picture(4, 4, 8, false);
    Engine engine;
    FrameDelivery delivery;
    delivery.SetRawCallback(Engine::Raw, &engine);
    delivery.Start(engine.Callbacks());
    delivery.DeliverEvent(VEX_CAMERA_EVENT_STATE);
    delivery.DeliverLoss();
    EXPECT_EQ(engine.Order(), "ef");
    EXPECT_EQ(engine.Last('e').event, uint32_t(VEX_CAMERA_EVENT_STATE));
    EXPECT_EQ(engine.Last('f').picture, nullptr);
    EXPECT_FALSE(engine.Last('f').hasInfo);
    delivery.DeliverLoss();
    delivery.Deliver(picture.frame);
    delivery.DeliverEvent(VEX_CAMERA_EVENT_STATE);
    EXPECT_EQ(engine.Order(), "efe") << "an event may still come";
    delivery.Start(engine.Callbacks());
    delivery.Deliver(picture.frame);
    EXPECT_EQ(engine.Order(), "eferbf") << "a new stream is not lost, and keeps its raw callback";
}

TEST(FrameDelivery, NothingComesBeforeStartAndAfterStop) {
    TestFrame picture(4, 4, 8, false);
    Engine engine;
    FrameDelivery delivery;
    delivery.SetRawCallback(Engine::Raw, &engine);
    delivery.Deliver(picture.frame);
    delivery.Start(engine.Callbacks());
    delivery.Stop();
    delivery.Stop();
    delivery.Deliver(picture.frame);
    delivery.DeliverEvent(1);
    delivery.DeliverLoss();
    EXPECT_EQ(engine.Order(), "");
}

TEST(FrameDelivery, NothingIsAllocatedAfterTheFirstFrame) {
    TestFrame picture(64, 48, 12, true, 8);
    picture.frame.colour = true;
    Engine engine;
    engine.rawSeen.reserve(64 * 48 * 2);
    FrameDelivery delivery;
    delivery.SetRawCallback(Engine::Raw, &engine);
    delivery.Start(engine.Callbacks());
    delivery.Deliver(picture.frame);
    const uint64_t before = allocations();
    for (int i = 0; i < 100; ++i) delivery.Deliver(picture.frame, i % 10 == 0);
    TestFrame smaller(32, 24, 8, true);
    const uint64_t between = allocations();
    delivery.Deliver(smaller.frame);
    EXPECT_EQ(allocations(), between);
    EXPECT_EQ(between - before, 1u) << "the smaller picture's own memory";
}

TEST(FrameDelivery, CountsFramesOfTheLastStretch) {
    TestFrame picture(2, 2, 8, false);
    Engine engine;
    testTime = 5000 * millisecond;
    FrameDelivery delivery(testClock);
    delivery.Start(engine.Callbacks());
    uint32_t frames = 1, milliseconds = 1, total = 1;
    delivery.GetFrameRate(&frames, &milliseconds, &total);
    EXPECT_EQ(frames, 0u);
    EXPECT_EQ(milliseconds, 0u);
    EXPECT_EQ(total, 0u);
    for (int i = 1; i <= 1000; ++i) {
        testTime += 10 * millisecond;
        delivery.Deliver(picture.frame);
        delivery.GetFrameRate(&frames, &milliseconds, &total);
        EXPECT_EQ(total, uint32_t(i));
        EXPECT_LE(milliseconds, 2000u);
        EXPECT_NEAR(frames, milliseconds / 10, 1) << i;
    }
    EXPECT_GE(milliseconds, 1500u);
    testTime += 10'000 * millisecond;  // the stream stalls
    delivery.GetFrameRate(&frames, &milliseconds, &total);
    EXPECT_EQ(frames, 0u);
    EXPECT_GE(milliseconds, 1500u);
    EXPECT_EQ(total, 1000u);
    delivery.GetFrameRate(nullptr, nullptr, nullptr);
    delivery.Start(engine.Callbacks());
    delivery.GetFrameRate(&frames, &milliseconds, &total);
    EXPECT_EQ(total, 0u);
}

}  // namespace frame_delivery_test
}  // namespace vexcap::cameras
