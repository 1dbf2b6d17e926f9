#include "pixel/hot_pixels.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace vexcap {
namespace hot_pixels_test {

using Bytes = std::vector<uint8_t>;
using List = std::vector<HotPixel>;

/// Luminance as the list takes it: each share cut off on its own.
uint32_t luminance(uint8_t blue, uint8_t green, uint8_t red) {
    return uint32_t(blue * 0.114) + uint32_t(green * 0.587) + uint32_t(red * 0.299);
}

/// The dark frame of one grey, as 3 bytes a pixel.
struct Dark {
    Dark(uint32_t w, uint32_t h, uint8_t grey) : width(w), height(h), pixels(size_t(w) * h * 3, grey) {}
    void set(uint32_t x, uint32_t y, uint8_t blue, uint8_t green, uint8_t red) {
        uint8_t* const pixel = &pixels[(size_t(y) * width + x) * 3];
        pixel[0] = blue;
        pixel[1] = green;
        pixel[2] = red;
    }
    List hot() const {
        List list;
        listHotPixels(list, pixels.data(), width, height);
        return list;
    }
    uint32_t width, height;
    Bytes pixels;
};

TEST(ListHotPixels, ListsWhatIsMoreThanSixteenAboveTheMean) {
    Dark dark(20, 10, 0);
    dark.set(3, 2, 0, 0, 60);  // 17
    dark.set(4, 2, 0, 0, 57);  // 17
    dark.set(5, 2, 0, 0, 56);  // 16: exactly the mean and 16
    dark.set(6, 2, 0, 0, 54);
    ASSERT_EQ(luminance(0, 0, 57), 17u);
    ASSERT_EQ(luminance(0, 0, 56), 16u);
    EXPECT_EQ(dark.hot(), (List{{3, 2}, {4, 2}}));
}

TEST(ListHotPixels, EachColourHasItsWeightCutOffOnItsOwn) {
    Dark dark(20, 10, 0);
    dark.set(1, 1, 157, 0, 0);  // 17.9
    dark.set(2, 1, 149, 0, 0);  // 16.99: cut to 16
    dark.set(3, 1, 0, 29, 0);   // 17.02
    dark.set(4, 1, 0, 28, 0);   // 16.4
    dark.set(5, 1, 8, 28, 0);   // 0.9 and 16.4 are 16, not 17.3
    dark.set(6, 1, 9, 28, 0);   // 1.03
    EXPECT_EQ(dark.hot(), (List{{1, 1}, {3, 1}, {6, 1}}));
}

TEST(ListHotPixels, TheOuterEdgeIsNeverHot) {
    Dark dark(5, 4, 0);
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 5; ++x)
            if (x == 0 || y == 0 || x == 4 || y == 3) dark.set(x, y, 255, 255, 255);
    EXPECT_EQ(dark.hot(), List{});
    dark.set(3, 2, 0, 40, 0);
    EXPECT_EQ(dark.hot(), (List{{3, 2}}));
}

TEST(ListHotPixels, TheMeanIsTheInsideByAllPixels) {
    // The inside alone has luminance 100; by 10 x 10 pixels that is 64.
    Dark dark(10, 10, 255);
    for (uint32_t y = 1; y < 9; ++y)
        for (uint32_t x = 1; x < 9; ++x) dark.set(x, y, 0, 171, 0);
    ASSERT_EQ(luminance(0, 171, 0), 100u);
    EXPECT_EQ(dark.hot().size(), 64u);  // 100 is above 64 + 16
    dark.set(4, 4, 255, 255, 255);      // 6400 + 154 is still 65 by 100
    EXPECT_EQ(dark.hot(), List{});
}

TEST(ListHotPixels, AMeanOf64IsADarkFrameAndOneOf65IsNot) {
    for (const uint32_t mean : {64u, 65u}) {
        Dark dark(100, 100, 0);
        const uint64_t wanted = uint64_t(mean) * 100 * 100;
        uint64_t sum = 0;
        for (uint32_t y = 1; y < 99; ++y)
            for (uint32_t x = 1; x < 99; ++x)
                if (sum < wanted) {
                    dark.set(x, y, 0, 120, 0);  // 70: not hot at a mean of 64
                    sum += luminance(0, 120, 0);
                }
        ASSERT_EQ(sum / 10000, mean);
        dark.set(98, 98, 255, 255, 0);
        EXPECT_EQ(dark.hot(), mean == 64 ? (List{{98, 98}}) : List{});
    }
}

TEST(ListHotPixels, FramesWithoutAnInsideHaveNone) {
    for (const auto& [width, height] : {std::pair(1u, 1u), {2u, 2u}, {2u, 50u}, {50u, 2u}, {1u, 50u}, {50u, 1u}}) {
        Dark dark(width, height, 255);
        EXPECT_EQ(dark.hot(), List{}) << width << " x " << height;
    }
    Dark least(3, 3, 0);
    least.set(1, 1, 0, 255, 0);  // 149 by nine pixels is 16
    EXPECT_EQ(least.hot(), (List{{1, 1}}));
}

TEST(ListHotPixels, AppendsToTheList) {
    Dark dark(5, 5, 0);
    dark.set(2, 2, 0, 100, 0);
    List list = {{7, 8}};
    listHotPixels(list, dark.pixels.data(), 5, 5);
    listHotPixels(list, dark.pixels.data(), 5, 5);
    EXPECT_EQ(list, (List{{7, 8}, {2, 2}, {2, 2}}));
}

TEST(ListHotPixels, NothingBeyondColumnOrRow65535IsListed) {
    Dark wide(65540, 3, 0);
    for (const uint32_t x : {65534u, 65535u, 65536u, 65537u}) wide.set(x, 1, 0, 255, 0);
    EXPECT_EQ(wide.hot(), (List{{65534, 1}, {65535, 1}}));
    Dark high(3, 65540, 0);
    for (const uint32_t y : {65534u, 65535u, 65536u, 65537u}) high.set(1, y, 0, 255, 0);
    EXPECT_EQ(high.hot(), (List{{1, 65534}, {1, 65535}}));
}

/// A frame whose bytes tell their places, at the given stride.
Bytes frameOf(size_t stride, uint32_t height) {
    Bytes frame(stride * height);
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = uint8_t(i * 37 + i / 5);
    return frame;
}

TEST(MendHotPixels, AChannelIsAQuarterOfItsFourNeighbours) {
    for (const uint32_t bytesPerPixel : {3u, 4u}) {
        constexpr size_t stride = 24;
        const Bytes before = frameOf(stride, 5);
        Bytes want = before;
        for (size_t i = 0; i < 3; ++i) {
            const size_t at = 2 * stride + 3 * bytesPerPixel + i;
            want[at] = uint8_t(
                (before[at - stride] + before[at + bytesPerPixel] + before[at - bytesPerPixel] + before[at + stride]) /
                4);
        }
        Bytes got = before;
        const List list = {{3, 2}};
        mendHotPixels(list, got.data(), stride, 5, 5, bytesPerPixel);
        EXPECT_EQ(got, want);
    }
}

TEST(MendHotPixels, MendedValuesFeedLaterOnes) {
    Bytes frame(12 * 3, 0);  // 4 x 3
    for (size_t i = 0; i < 3; ++i) {
        frame[12 + 3 + i] = 200;  // the left one of two hot neighbours
        frame[12 + 6 + i] = 200;
    }
    Bytes other = frame;
    const List leftFirst = {{1, 1}, {2, 1}}, rightFirst = {{2, 1}, {1, 1}};
    mendHotPixels(leftFirst, frame.data(), 12, 4, 3, 3);
    EXPECT_EQ(frame[12 + 3], 50);
    EXPECT_EQ(frame[12 + 6], 12);
    mendHotPixels(rightFirst, other.data(), 12, 4, 3, 3);
    EXPECT_EQ(other[12 + 3], 12);
    EXPECT_EQ(other[12 + 6], 50);
}

TEST(MendHotPixels, WhatIsNotInsideTheFrameIsLeftOut) {
    const Bytes before = frameOf(12, 4);  // 4 x 4, ends with its last pixel
    Bytes frame = before;
    const List list = {{0, 1}, {1, 0}, {3, 1}, {1, 3}, {4, 1}, {1, 4}, {65535, 65535}, {65535, 1}, {1, 65535}};
    mendHotPixels(list, frame.data(), 12, 4, 4, 3);
    EXPECT_EQ(frame, before);
    const List one = {{2, 2}};
    mendHotPixels(one, frame.data(), 12, 4, 4, 3);
    EXPECT_NE(frame, before);
    frame = before;
    for (const auto& [width, height] : {std::pair(1u, 4u), {4u, 1u}, {2u, 4u}, {4u, 2u}, {0u, 0u}})
        mendHotPixels(std::vector<HotPixel>{{1, 1}}, frame.data(), 12, width, height, 3);
    EXPECT_EQ(frame, before);
}

}  // namespace hot_pixels_test
}  // namespace vexcap
