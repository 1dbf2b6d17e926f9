// How a dark frame is taken.
#include <gtest/gtest.h>

#include <thread>

#include "frame/dark/dark_field_testing.h"

namespace vexcap::test {
namespace dark_field_capture_test {

TEST_F(DarkFieldTest, ACaptureOfOneFrameGivesThatFrameWithoutItsRowPadding) {
    const Bytes frame = pattern(stride * height, 1);
    EXPECT_EQ(field.Capture(1, tell, &telling), 1);
    EXPECT_EQ(accumulate(frame), S_OK);
    EXPECT_EQ(telling, (Telling{{width, height, packedRows(frame), width, height}}));
    EXPECT_EQ(field.HasDfc(), 1);
    EXPECT_EQ(accumulate(frame), S_FALSE);
}

TEST_F(DarkFieldTest, ACaptureOfNoFramesEndsWithTheFirstAsWell) {
    const Bytes frame = pattern(stride * height, 2);
    EXPECT_EQ(field.Capture(0, tell, &telling), 1);
    EXPECT_EQ(accumulate(frame), S_OK);
    EXPECT_EQ(telling, (Telling{{width, height, packedRows(frame), width, height}}));
}

TEST_F(DarkFieldTest, ProgressIsToldOfEachFrameAndTheMeanIsCutOff) {
    field.Capture(3, tell, &telling);
    for (const uint8_t value : Bytes{10, 10, 12}) EXPECT_EQ(accumulate(frameOf(value)), S_OK);
    EXPECT_EQ(telling, (Telling{{1, 3, {}, 0, 0},
                                {2, 3, {}, 0, 0},
                                {width, height, Bytes(width * height * 3, 10), width, height}}));  // 32 / 3
}

TEST_F(DarkFieldTest, ACaptureNeedsNoCallback) {
    field.Capture(2, nullptr, nullptr);
    EXPECT_EQ(accumulate(frameOf(7)), S_OK);
    EXPECT_EQ(field.HasDfc(), 0);
    EXPECT_EQ(accumulate(frameOf(9)), S_OK);
    EXPECT_EQ(dark(), Bytes(width * height * 3, 8));
}

TEST_F(DarkFieldTest, TheFourthByteOfAPixelIsNotSummed) {
    Bytes frame = frameOf(6, width, height, 4);
    for (size_t i = 3; i < frame.size(); i += 4) frame[i] = uint8_t(i);
    field.Capture(1, tell, &telling);
    EXPECT_EQ(accumulate(frame, width, height, 4), S_OK);
    EXPECT_EQ(telling.back().dark, Bytes(width * height * 3, 6));
}

TEST_F(DarkFieldTest, AFrameOfAnotherSizeIsNotCounted) {
    field.Capture(1, tell, &telling);
    EXPECT_EQ(accumulate(frameOf(1, width + 1, height), width + 1, height), S_FALSE);
    EXPECT_EQ(accumulate(frameOf(1, width, height - 1), width, height - 1), S_FALSE);
    EXPECT_EQ(accumulate(frameOf(1), height, width), S_FALSE);
    EXPECT_TRUE(telling.empty());
    EXPECT_EQ(accumulate(frameOf(1)), S_OK);
    EXPECT_EQ(telling.size(), 1u);
}

TEST_F(DarkFieldTest, NothingIsTakenWhileNoCaptureRuns) {
    EXPECT_EQ(accumulate(frameOf(1)), S_FALSE);
    EXPECT_EQ(field.HasDfc(), 0);
}

TEST_F(DarkFieldTest, WithoutASizeNoCaptureBegins) {
    DarkField fresh(disk);
    EXPECT_EQ(fresh.Capture(1, tell, &telling), 0);
    for (const auto& [w, h] : {std::pair(0u, 4u), {4u, 0u}, {0x80000000u, 4u}, {4u, 0xFFFFFFFFu}}) {
        fresh.SetDarkSize(w, h);
        EXPECT_EQ(fresh.Capture(1, tell, &telling), 0) << w << " x " << h;
    }
    EXPECT_TRUE(telling.empty());
}

TEST_F(DarkFieldTest, FramesThatNoMemoryHoldsCannotBeCaptured) {
    field.SetDarkSize(0x7FFFFFFF, 0x7FFFFFFF);
    EXPECT_EQ(field.Capture(1, tell, &telling), 0);
    EXPECT_EQ(field.Accumulate(nullptr, 3, 0x7FFFFFFF, 0x7FFFFFFF), S_FALSE);
}

TEST_F(DarkFieldTest, SumsWrapAtSixteenBits) {
    constexpr uint32_t frames = 258;  // 258 * 255 is 65790, 254 more than fit
    field.Capture(frames, nullptr, nullptr);
    for (uint32_t i = 0; i < frames; ++i) ASSERT_EQ(accumulate(frameOf(255)), S_OK);
    EXPECT_EQ(dark(), Bytes(width * height * 3, 254 / 258));
    field.Capture(257, nullptr, nullptr);
    for (uint32_t i = 0; i < 257; ++i) ASSERT_EQ(accumulate(frameOf(255)), S_OK);
    EXPECT_EQ(dark(), Bytes(width * height * 3, 255));
}

TEST_F(DarkFieldTest, TheCountHasSixteenBitsSoThatATargetBeyondNeverEnds) {
    field.SetDarkSize(1, 1);
    const Bytes pixel = {1, 2, 3, 0};
    field.Capture(65536, tell, &telling);
    for (uint32_t i = 0; i < 65537; ++i) ASSERT_EQ(accumulate(pixel, 1, 1), S_OK);
    ASSERT_EQ(telling.size(), 65537u);
    EXPECT_EQ(telling[65534], (Told{65535, 65536, {}, 0, 0}));
    EXPECT_EQ(telling[65535], (Told{0, 65536, {}, 0, 0}));
    EXPECT_EQ(telling[65536], (Told{1, 65536, {}, 0, 0}));
    EXPECT_EQ(field.HasDfc(), 0);

    field.Capture(65535, nullptr, nullptr);
    for (uint32_t i = 0; i < 65535; ++i) ASSERT_EQ(accumulate(pixel, 1, 1), S_OK);
    EXPECT_EQ(accumulate(pixel, 1, 1), S_FALSE);
}

TEST_F(DarkFieldTest, ASecondCaptureEndsTheFirstAndTellsTheNewCallback) {
    Telling first;
    field.Capture(10, tell, &first);
    accumulate(frameOf(4));
    accumulate(frameOf(8));
    first.clear();
    EXPECT_EQ(field.Capture(2, tell, &telling), 1);
    EXPECT_TRUE(first.empty());
    EXPECT_EQ(telling, (Telling{{width, height, Bytes(width * height * 3, 6), width, height}}));
    accumulate(frameOf(1));
    EXPECT_EQ(telling.back(), (Told{1, 2, {}, 0, 0}));
}

TEST_F(DarkFieldTest, ACaptureThatEndsWithoutAFrameLeavesTheDarkFrameAndTellsOfIt) {
    field.Capture(10, nullptr, nullptr);
    field.Capture(10, tell, &telling);
    EXPECT_TRUE(telling.empty());  // there was none
    setDark(5);
    field.Capture(10, tell, &telling);
    EXPECT_EQ(telling, (Telling{{width, height, Bytes(width * height * 3, 5), width, height}}));
}

TEST_F(DarkFieldTest, DuringACaptureTheOldDarkFrameStaysInForce) {
    setDark(5);
    field.Enable(1);
    field.Capture(2, nullptr, nullptr);
    EXPECT_EQ(accumulate(frameOf(20)), S_OK);
    EXPECT_EQ(applied(frameOf(30)), frameOf(25));
    EXPECT_EQ(accumulate(frameOf(20)), S_OK);
    EXPECT_EQ(applied(frameOf(30)), frameOf(10));
}

TEST_F(DarkFieldTest, ACaptureTouchesNeitherTheFrameNorTheSwitch) {
    const Bytes frame = frameOf(20);
    Bytes offered = frame;
    field.Capture(1, nullptr, nullptr);
    field.Accumulate(offered.data(), 3, width, height);
    EXPECT_EQ(offered, frame);
    EXPECT_EQ(field.IsDfc(), 0);
    EXPECT_EQ(applied(frame), frame);
}

TEST_F(DarkFieldTest, TheCallbackRunsUnderTheLock) {
    struct Context {
        DarkField& field;
        std::thread other;
        std::atomic<bool> asked = false, answered = false, sawAnswer = false;
    } context{field, {}, {}, {}, {}};
    field.Capture(
        2,
        [](void* given, uint32_t, uint32_t, const uint8_t* complete, uint32_t, uint32_t) {
            auto& c = *static_cast<Context*>(given);
            if (complete) return;
            c.other = std::thread([&c] {
                c.asked = true;
                c.field.TakeDark(std::make_unique<std::unique_ptr<uint8_t[]>>().get(), nullptr, nullptr);
                c.answered = true;
            });
            while (!c.asked) std::this_thread::yield();
            for (int i = 0; i < 100; ++i) std::this_thread::yield();
            c.sawAnswer = c.answered.load();
        },
        &context);
    accumulate(frameOf(1));
    context.other.join();
    EXPECT_FALSE(context.sawAnswer);
    EXPECT_TRUE(context.answered);
}

TEST_F(DarkFieldTest, ACallbackThatCallsBackAllTheSameFindsWholeState) {
    struct Context {
        DarkField& field;
        int complete = 0;
    } context{field};
    field.Capture(
        1,
        [](void* given, uint32_t, uint32_t, const uint8_t* complete, uint32_t, uint32_t) {
            auto& c = *static_cast<Context*>(given);
            if (!complete) return;
            if (++c.complete == 1) {
                std::unique_ptr<uint8_t[]> taken;
                c.field.TakeDark(&taken, nullptr, nullptr);
                c.field.Capture(1, nullptr, nullptr);
                c.field.SetDarkSize(1, 1);
            }
        },
        &context);
    EXPECT_EQ(accumulate(frameOf(1)), S_OK);
    EXPECT_EQ(context.complete, 1);
    EXPECT_EQ(accumulate(frameOf(1)), S_FALSE);
    EXPECT_EQ(field.HasDfc(), 0);
}

}  // namespace dark_field_capture_test
}  // namespace vexcap::test
