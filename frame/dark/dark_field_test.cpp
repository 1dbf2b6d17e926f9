// What a dark frame does to frames, and how it changes hands.
#include <gtest/gtest.h>

#include "frame/dark/dark_field_testing.h"

namespace vexcap::test {
namespace dark_field_test {

TEST_F(DarkFieldTest, SubtractionStopsAtZeroAndLeavesThePadding) {
    setDark(12);
    field.Enable(1);
    EXPECT_EQ(applied(frameOf(10)), frameOf(0));
    EXPECT_EQ(applied(frameOf(12)), frameOf(0));
    EXPECT_EQ(applied(frameOf(255)), frameOf(243));
}

TEST_F(DarkFieldTest, EachChannelHasItsOwnDark) {
    Bytes dark = pattern(width * height * 3, 3);
    for (uint8_t& channel : dark) channel %= 16;  // nothing of that is hot
    const Bytes frame = pattern(stride * height, 4);
    setDark(dark);
    field.Enable(1);
    Bytes want = frame;
    for (uint32_t y = 0; y < height; ++y)
        for (size_t i = 0; i < width * 3; ++i) {
            const int difference = frame[y * stride + i] - dark[y * width * 3 + i];
            want[y * stride + i] = uint8_t(std::max(difference, 0));
        }
    EXPECT_EQ(applied(frame), want);
}

TEST_F(DarkFieldTest, TheFourthByteOfAPixelIsLeftAlone) {
    setDark(5);
    field.Enable(1);
    EXPECT_EQ(applied(frameOf(30, width, height, 4), width, height, 4), frameOf(25, width, height, 4));
}

TEST_F(DarkFieldTest, CorrectsOnlyWithADarkFrameWhenEnabledAndFramesOfItsSize) {
    field.Enable(1);
    EXPECT_EQ(field.IsDfc(), 1);
    EXPECT_EQ(applied(frameOf(30)), frameOf(30));
    setDark(5);
    field.Enable(0);
    EXPECT_EQ(field.IsDfc(), 0);
    EXPECT_EQ(applied(frameOf(30)), frameOf(30));
    field.Enable(0x80000000);
    EXPECT_EQ(field.IsDfc(), 1);
    EXPECT_EQ(applied(frameOf(30)), frameOf(25));
    EXPECT_EQ(applied(frameOf(30, width - 1, height), width - 1, height), frameOf(30, width - 1, height));
    EXPECT_EQ(applied(frameOf(30, width, height + 1), width, height + 1), frameOf(30, width, height + 1));
}

/// What becomes of `frame` by that dark frame: the pixel is the mean of its neighbours.
Bytes mended(Bytes frame, uint32_t bytesPerPixel) {
    const size_t pitch = dibStride(width, bytesPerPixel);
    for (size_t i = 0; i < 3; ++i) {
        const size_t at = pitch + 2 * bytesPerPixel + i;
        frame[at] = uint8_t(
            (frame[at - pitch] + frame[at + bytesPerPixel] + frame[at - bytesPerPixel] + frame[at + pitch]) / 4);
    }
    return frame;
}

TEST_F(DarkFieldTest, HotPixelsAreListedFromEverySourceOfADarkFrame) {
    const Bytes frame = pattern(stride * height, 5);
    setDark(withHotPixel());
    ASSERT_EQ(field.Export(path.c_str()), S_OK);
    field.Enable(1);
    EXPECT_EQ(applied(frame), mended(frame, 3));

    DarkField other(disk);
    other.SetDarkSize(width, height);
    ASSERT_EQ(other.Import(path.c_str()), S_OK);
    other.Enable(1);
    Bytes shown = frame;
    other.Apply(shown.data(), 3, width, height);
    EXPECT_EQ(shown, mended(frame, 3));

    DarkField third(disk);
    third.SetDarkSize(width, height);
    third.Capture(1, nullptr, nullptr);
    Bytes black(stride * height, 0);
    for (size_t i = 0; i < 3; ++i) black[stride + 2 * 3 + i] = 200;
    third.Accumulate(black.data(), 3, width, height);
    third.Enable(1);
    shown = frame;
    third.Apply(shown.data(), 3, width, height);
    EXPECT_EQ(shown, mended(frame, 3));
}

TEST_F(DarkFieldTest, HotPixelsOfFourBytesAreMendedAtTheirStride) {
    const Bytes frame = pattern(dibStride(width, 4) * height, 6);
    setDark(withHotPixel());
    field.Enable(1);
    EXPECT_EQ(applied(frame, width, height, 4), mended(frame, 4));
}

TEST_F(DarkFieldTest, WhatWasHotStaysListedAndIsMendedOnceForEachTime) {
    setDark(withHotPixel());
    setDark(0);  // an even one: nothing is hot in it
    field.Enable(1);
    Bytes frame = frameOf(0);
    frame[2 * stride + 2 * 3] = 100;  // above the hot pixel, in the buffer's rows
    Bytes want = frame;
    want[1 * stride + 2 * 3] = 25;
    EXPECT_EQ(applied(frame), want);

    // Two neighbours that are hot in turn: the second time the first one is mended from the second's mended value.
    Bytes neighbour(width * height * 3, 0);
    for (size_t i = 0; i < 3; ++i) neighbour[(1 * width + 3) * 3 + i] = 200;
    setDark(neighbour);
    setDark(withHotPixel());
    setDark(0);
    want[1 * stride + 3 * 3] = 25 / 4;
    want[1 * stride + 2 * 3] = (100 + 25 / 4) / 4;
    EXPECT_EQ(applied(frame), want);
}

TEST_F(DarkFieldTest, WhatWasHotInALargerFrameIsLeftOutOfASmallerOne) {
    constexpr uint32_t large = 40;
    field.SetDarkSize(large, large);
    Bytes hot(large * large * 3, 0);
    for (const size_t at : {1 * large + 3, 1 * large + 4, 2 * large + 2, 3 * large + 2, 38 * large + 38})
        hot[at * 3 + 1] = 255;
    field.SetDark(owned(hot), large, large);
    field.SetDarkSize(width, height);
    setDark(0);
    field.Enable(1);
    Bytes frame = frameOf(0);
    frame[1 * stride + 4 * 3] = 80;  // the right edge, beside (3, 1)
    Bytes want = frame;
    want[1 * stride + 3 * 3] = 20;  // (3, 1) is inside; (4, 1), (2, 3) and (38, 38) are not
    frame[3 * stride + 2 * 3] = 40;
    want[3 * stride + 2 * 3] = 40;
    want[2 * stride + 2 * 3] = 10;  // (2, 2) is inside
    EXPECT_EQ(applied(frame), want);
}

TEST_F(DarkFieldTest, AMeanOf64HasHotPixelsAndOneOf65HasNone) {
    // By all 20 x 20 pixels; the 18 x 18 inside is 79 or 80 bright, which is 63.99 or 64.8.
    constexpr uint32_t side = 20;
    const auto mendsAnything = [&](uint8_t inside, uint32_t brighter) {
        DarkField fresh(disk);
        Bytes packed(side * side * 3, 0);
        uint32_t left = brighter;
        for (uint32_t y = 1; y < side - 1; ++y)
            for (uint32_t x = 1; x < side - 1; ++x) {
                packed[(y * side + x) * 3 + 1] = inside;
                if (left > 0 && y == 1 && x < side - 2) packed[(y * side + x) * 3] = 255, --left;  // 29 more
            }
        for (size_t i = 0; i < 3; ++i) packed[(10 * side + 10) * 3 + i] = 255;
        fresh.SetDark(owned(packed), side, side);
        fresh.Enable(1);
        Bytes frame = frameOf(0, side, side);
        frame[11 * dibStride(side, 3) + 30] = 255;
        const Bytes before = frame;
        fresh.Apply(frame.data(), 3, side, side);
        return frame[10 * dibStride(side, 3) + 30] != before[10 * dibStride(side, 3) + 30];
    };
    // 136 * 0.587 is 79: 323 * 79 + 254 = 25771, by 400 it is 64. Eleven times 29 more make it 65.
    EXPECT_TRUE(mendsAnything(136, 0));
    EXPECT_FALSE(mendsAnything(136, 11));
}

TEST_F(DarkFieldTest, ANewSizeDiscardsAllButTheListWithoutAWord) {
    setDark(withHotPixel());
    field.Enable(1);
    field.Capture(2, tell, &telling);
    accumulate(frameOf(1));
    telling.clear();
    field.SetDarkSize(width, height);  // the same: nothing happens
    EXPECT_EQ(field.IsDfc(), 1);
    EXPECT_EQ(field.HasDfc(), 1);
    field.SetDarkSize(width, height + 1);
    EXPECT_EQ(field.IsDfc(), 0);
    EXPECT_EQ(field.HasDfc(), 0);
    EXPECT_EQ(accumulate(frameOf(1)), S_FALSE);
    EXPECT_EQ(accumulate(frameOf(1, width, height + 1), width, height + 1), S_FALSE);
    EXPECT_TRUE(telling.empty());
    EXPECT_EQ(field.Capture(1, nullptr, nullptr), 1);
    EXPECT_EQ(accumulate(frameOf(1, width, height + 1), width, height + 1), S_OK);
    EXPECT_TRUE(telling.empty());
    field.Enable(1);
    Bytes frame = frameOf(1, width, height + 1);
    frame[stride + 2 * 3] = 99;  // still listed
    EXPECT_EQ(applied(frame, width, height + 1), frameOf(0, width, height + 1));
}

TEST_F(DarkFieldTest, ADestroyedCaptureSaysNothing) {
    auto* const other = new DarkField(disk);
    other->SetDarkSize(width, height);
    other->SetDark(owned(Bytes(width * height * 3, 1)), width, height);
    other->Capture(2, tell, &telling);
    delete other;
    EXPECT_TRUE(telling.empty());
}

TEST_F(DarkFieldTest, TakeDarkHandsTheFrameOverAndLeavesNone) {
    const Bytes packed = pattern(width * height * 3, 7);
    setDark(packed);
    field.Enable(1);
    std::unique_ptr<uint8_t[]> taken;
    int32_t w = 0, h = 0;
    EXPECT_EQ(field.TakeDark(nullptr, &w, &h), E_POINTER);
    EXPECT_EQ(field.HasDfc(), 1);
    EXPECT_EQ(field.TakeDark(&taken, &w, &h), S_OK);
    EXPECT_EQ(Bytes(taken.get(), taken.get() + packed.size()), packed);
    EXPECT_EQ(w, int32_t(width));
    EXPECT_EQ(h, int32_t(height));
    EXPECT_EQ(field.HasDfc(), 0);
    EXPECT_EQ(field.IsDfc(), 1);
    EXPECT_EQ(applied(frameOf(30)), frameOf(30));
    EXPECT_EQ(field.TakeDark(&taken, nullptr, nullptr), S_OK);
    EXPECT_EQ(taken, nullptr);
}

TEST_F(DarkFieldTest, WhatOneGivesAnotherTakes) {
    const Bytes packed = pattern(width * height * 3, 8);
    setDark(packed);
    std::unique_ptr<uint8_t[]> taken;
    int32_t w = 0, h = 0;
    field.TakeDark(&taken, &w, &h);
    DarkField other(disk);
    EXPECT_EQ(other.SetDark(std::move(taken), w, h), S_OK);  // it had no size before
    EXPECT_EQ(other.HasDfc(), 1);
    EXPECT_EQ(other.Export(u"a.bmp"), S_OK);
    EXPECT_EQ(field.Import(u"a.bmp"), S_OK);
    EXPECT_EQ(dark(), packed);
}

TEST_F(DarkFieldTest, NoFrameAndNoSizeLeaveNoDarkFrameButTheSize) {
    struct {
        bool frame;
        int32_t w, h;
    } const cases[] = {{false, width, height}, {true, 0, height}, {true, width, 0},
                       {true, -1, height},     {true, width, -4}, {true, 0x7FFFFFFF, 0x7FFFFFFF}};
    for (const auto& each : cases) {
        setDark(5);
        EXPECT_EQ(field.SetDark(each.frame ? owned(Bytes(60, 1)) : nullptr, each.w, each.h), S_OK);
        EXPECT_EQ(field.HasDfc(), 0);
        EXPECT_EQ(field.Capture(1, nullptr, nullptr), 1);
        EXPECT_EQ(accumulate(frameOf(1)), S_OK);
    }
}

TEST_F(DarkFieldTest, ADarkFrameOfAnotherSizeEndsACaptureWithoutAWord) {
    field.Capture(1, tell, &telling);
    field.SetDark(owned(Bytes(20 * 20 * 3, 1)), 20, 20);
    EXPECT_EQ(accumulate(frameOf(1, 20, 20), 20, 20), S_FALSE);
    EXPECT_EQ(accumulate(frameOf(1)), S_FALSE);
    EXPECT_TRUE(telling.empty());
    EXPECT_EQ(field.HasDfc(), 1);
}

TEST_F(DarkFieldTest, ADarkFrameOfTheSameSizeLeavesACaptureRunning) {
    field.Capture(2, tell, &telling);
    accumulate(frameOf(10));
    setDark(1);
    accumulate(frameOf(20));
    EXPECT_EQ(telling.back().dark, Bytes(width * height * 3, 15));
}

}  // namespace dark_field_test
}  // namespace vexcap::test
