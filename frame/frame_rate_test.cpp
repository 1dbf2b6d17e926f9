#include "frame/frame_rate.h"

#include <gtest/gtest.h>

#include <vector>

namespace vexcap {
namespace frame_rate_test {

constexpr uint32_t start = 1'000'000;  // milliseconds; any tick but 0

struct Rate {
    uint32_t frames = 0, milliseconds = 0, total = 0;
    friend bool operator==(const Rate&, const Rate&) = default;
};

Rate rateOf(CFrameRate& statistics, uint32_t now) {
    Rate rate;
    statistics.GetFrameRate(now, rate.frames, rate.milliseconds, rate.total);
    return rate;
}

/// Slots of 10 ms, from a first repaint at slot 0, in which a frame in every slot repaints.
std::vector<uint32_t> repaintSlots(uint32_t targetRate, uint32_t slots) {
    CFrameRate throttle(targetRate);
    std::vector<uint32_t> repaints;
    for (uint32_t slot = 0; slot < slots; ++slot)
        if (throttle.CountFrame(start + slot * 10)) repaints.push_back(slot);
    return repaints;
}

TEST(FrameRate, AFrameEveryTenMillisecondsAtATargetOf25RepaintsAtEveryThirdFrame) {
    EXPECT_EQ(repaintSlots(25, 13), (std::vector<uint32_t>{0, 3, 6, 9, 12}));
}

TEST(FrameRate, EveryTargetHasItsOwnSpacingWhenEverySlotHoldsAFrame) {
    struct {
        uint32_t targetRate, spacing;
    } const table[] = {
        {1, 36},   // period 100; the mask's count is taken modulo 64
        {2, 50},   // period 50; the early frame is refused, as its mask has 97 modulo 64 bits
        {10, 9},   // period 10
        {20, 4},   // period 5
        {25, 3},   // period 4
        {33, 2},   // period 3
        {40, 1},   // period 2
        {50, 2},   // period 2; the mask for the early frame has one bit
        {51, 1},   // period 1
        {100, 1},  // period 1
        {101, 1},  // period 0
    };
    for (const auto& row : table) {
        std::vector<uint32_t> expected;
        for (uint32_t slot = 0; slot < 200; slot += row.spacing) expected.push_back(slot);
        EXPECT_EQ(repaintSlots(row.targetRate, 200), expected) << "target " << row.targetRate;
    }
}

TEST(FrameRate, AGapOf640MillisecondsAlwaysRepaints) {
    for (const uint32_t targetRate : {1u, 2u, 25u, 100u}) {
        CFrameRate throttle(targetRate);
        uint32_t tick = start;
        EXPECT_TRUE(throttle.CountFrame(tick));
        for (int i = 0; i < 5; ++i) EXPECT_TRUE(throttle.CountFrame(tick += 640)) << "target " << targetRate;
    }
}

TEST(FrameRate, AGapForgetsTheRepaintsBeforeIt) {
    CFrameRate throttle(25);
    EXPECT_TRUE(throttle.CountFrame(start));
    EXPECT_TRUE(throttle.CountFrame(start + 640));
    EXPECT_FALSE(throttle.CountFrame(start + 650));
    EXPECT_FALSE(throttle.CountFrame(start + 660));
    EXPECT_TRUE(throttle.CountFrame(start + 670));
}

TEST(FrameRate, AFrameInTheSlotOfARepaintIsRefused) {
    CFrameRate throttle(25);
    EXPECT_TRUE(throttle.CountFrame(start));
    EXPECT_FALSE(throttle.CountFrame(start));
    EXPECT_FALSE(throttle.CountFrame(start + 9));
}

TEST(FrameRate, ALoneEarlyFrameInASlotPassesAtATargetOf100AndASecondOneDoesNot) {
    CFrameRate throttle(100);
    EXPECT_TRUE(throttle.CountFrame(start));
    EXPECT_TRUE(throttle.CountFrame(start + 1));    // the only repaint among the last 63 slots
    EXPECT_TRUE(throttle.CountFrame(start + 10));   // another slot
    EXPECT_FALSE(throttle.CountFrame(start + 11));  // two of them by now
}

TEST(FrameRate, AtATargetOf60AnEarlyFrameNeverPasses) {
    CFrameRate throttle(60);  // the mask for it has no bit
    EXPECT_TRUE(throttle.CountFrame(start));
    EXPECT_FALSE(throttle.CountFrame(start + 1));
    EXPECT_TRUE(throttle.CountFrame(start + 10));
}

TEST(FrameRate, AFrameOneSlotEarlyPassesAndOneTwoSlotsEarlyDoesNot) {
    CFrameRate throttle(20);  // period 5
    EXPECT_TRUE(throttle.CountFrame(start));
    EXPECT_FALSE(throttle.CountFrame(start + 30));
    EXPECT_TRUE(throttle.CountFrame(start + 40));
}

TEST(FrameRate, AboveATargetOf100EveryFrameRepaints) {
    CFrameRate throttle(101);
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(throttle.CountFrame(start));
}

TEST(FrameRate, WithoutATargetEveryFrameRepaints) {
    CFrameRate throttle(0);
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(throttle.CountFrame(start));
}

TEST(FrameRate, WithTheThrottleOffEveryFrameRepaintsAndNoneIsNoted) {
    CFrameRate throttle(25);
    throttle.PutThrottleOff(true);
    for (uint32_t i = 0; i < 5; ++i) EXPECT_TRUE(throttle.CountFrame(start));
    throttle.PutThrottleOff(false);
    EXPECT_TRUE(throttle.CountFrame(start));
    EXPECT_FALSE(throttle.CountFrame(start));
}

TEST(FrameRate, AFirstFrameSoonAfterTheTickBeganRepaints) {
    CFrameRate throttle(25);
    EXPECT_TRUE(throttle.CountFrame(1));
    EXPECT_FALSE(throttle.CountFrame(11));
}

TEST(FrameRate, TheTickMayWrap) {
    CFrameRate statistics(25);
    const uint32_t nearEnd = UINT32_MAX - 1000;
    EXPECT_TRUE(statistics.CountFrame(nearEnd));
    EXPECT_TRUE(statistics.CountFrame(nearEnd + 3001));  // wrapped; the slots jump, which counts as a gap
    EXPECT_EQ(rateOf(statistics, 0), (Rate{1, 3001, 2}));
}

TEST(FrameRate, RefusedRepaintsAreCountedAsFrames) {
    CFrameRate statistics(1);
    for (uint32_t i = 0; i < 10; ++i) statistics.CountFrame(start + i * 10);
    EXPECT_EQ(rateOf(statistics, start).total, 10u);
}

TEST(FrameRate, WithoutAFrameTheRateIsNoFrameSinceTickZero) {
    CFrameRate statistics(0);
    EXPECT_EQ(rateOf(statistics, 5000), (Rate{0, 5000, 0}));
}

TEST(FrameRate, WithOneSampleTheRateIsAllFramesSinceTheFirst) {
    CFrameRate statistics(0);
    for (uint32_t i = 0; i < 8; ++i) statistics.CountFrame(start + i * 100);
    EXPECT_EQ(rateOf(statistics, start + 1234), (Rate{8, 1234, 8}));
}

TEST(FrameRate, AFirstTickOfZeroIsTakenFromTheNextFrame) {
    CFrameRate statistics(0);
    statistics.CountFrame(0);
    statistics.CountFrame(100);
    EXPECT_EQ(rateOf(statistics, 1100), (Rate{2, 1000, 2}));
}

TEST(FrameRate, AfterThreeSecondsTheRateComesFromTwoSamplesAlone) {
    CFrameRate statistics(0);
    for (uint32_t i = 0; i <= 300; ++i) statistics.CountFrame(start + i * 10);
    EXPECT_EQ(rateOf(statistics, start + 3005), (Rate{301, 3005, 301}));  // 3000 ms are not yet a second sample
    statistics.CountFrame(start + 3010);
    EXPECT_EQ(rateOf(statistics, start + 9999), (Rate{301, 3010, 302}));
    statistics.CountFrame(start + 3020);  // between two samples the rate stands still
    EXPECT_EQ(rateOf(statistics, start + 9999), (Rate{301, 3010, 303}));
}

TEST(FrameRate, After33SecondsTheOldestSampleIsGoneAndTheWindowStaysAtAboutHalfAMinute) {
    CFrameRate statistics(0);
    constexpr uint32_t sampleEvery = 3010;  // frames come every 10 ms, samples more than 3000 ms apart
    for (uint32_t i = 0; i <= 9 * sampleEvery / 10; ++i) statistics.CountFrame(start + i * 10);
    EXPECT_EQ(rateOf(statistics, 0).milliseconds, 9 * sampleEvery);  // ten samples
    for (uint32_t i = 9 * sampleEvery / 10 + 1; i <= 6000; ++i) {
        statistics.CountFrame(start + i * 10);
        const Rate rate = rateOf(statistics, 0);
        ASSERT_EQ(rate.milliseconds, 9 * sampleEvery);
        ASSERT_EQ(rate.frames, 9 * sampleEvery / 10);
        ASSERT_EQ(rate.total, i + 1);
    }
}

TEST(FrameRate, AResetBeginsTheStatisticsAnew) {
    CFrameRate statistics(0);
    for (uint32_t i = 0; i < 25; ++i) statistics.CountFrame(start + i * 3001);  // the ring has gone round
    statistics.Reset();
    EXPECT_EQ(rateOf(statistics, 77), (Rate{0, 77, 0}));
    const uint32_t again = start + 100'000;
    statistics.CountFrame(again);
    EXPECT_EQ(rateOf(statistics, again + 50), (Rate{1, 50, 1}));
    for (uint32_t i = 1; i <= 12; ++i) statistics.CountFrame(again + i * 3001);
    EXPECT_EQ(rateOf(statistics, 0), (Rate{9, 9 * 3001, 13}));
}

TEST(FrameRate, AResetOfAHalfFilledRingBeginsAnewToo) {
    CFrameRate statistics(0);
    for (uint32_t i = 0; i < 3; ++i) statistics.CountFrame(start + i * 3001);
    statistics.Reset();
    statistics.CountFrame(start + 50'000);
    statistics.CountFrame(start + 54'000);
    EXPECT_EQ(rateOf(statistics, 0), (Rate{1, 4000, 2}));
}

TEST(FrameRate, AResetKeepsTheMemoryOfRepaints) {
    CFrameRate throttle(25);
    EXPECT_TRUE(throttle.CountFrame(start));
    throttle.Reset();
    EXPECT_FALSE(throttle.CountFrame(start + 10));
}

}  // namespace frame_rate_test
}  // namespace vexcap
