#include "overlay/software_target.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "overlay/geo_marker.h"
#include "pixel/raster/raster.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_text_raster.h"

namespace vexcap::test {
namespace software_target_test {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t colour = 0x00AABBCC;
constexpr int32_t width = 60, height = 40, stride = width * 4 + 8;
constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();

struct Surface {
    Surface() : bytes(size_t(stride * height)), surface{bytes.data(), width, height, stride, 0, 0} {
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i * 13 + i / 256);
    }
    Surface(const Surface&) = delete;
    Canvas Drawn() { return {bytes.data(), stride, width, height, 4}; }

    Bytes bytes;
    vex_surface surface;
};

/// A target, and what is expected of it.
class SoftwareTargets : public testing::Test {
protected:
    bool Untouched() const { return got.bytes == Surface().bytes; }

    Surface got, want;
    FakeTextRaster texts;
    SoftwareTarget target{got.surface, texts};
    const std::u16string text = u"Scale 12";
    const uint32_t length = uint32_t(text.size());
};

TEST_F(SoftwareTargets, TellTheDotsOfTheirSurface) {
    uint32_t x = 0, y = 0;
    target.GetDpi(&x, &y);
    EXPECT_EQ(x, 96u);
    EXPECT_EQ(y, 96u);
    got.surface.dpiX = 120;
    got.surface.dpiY = 144;
    SoftwareTarget(got.surface, texts).GetDpi(&x, &y);
    EXPECT_EQ(x, 120u);
    EXPECT_EQ(y, 144u);
}

TEST_F(SoftwareTargets, FillPixelsWhoseCentresLieInTheRectangle) {
    struct Row {
        vex_rect_f rectangle;
        Box box;
    };
    const Row rows[] = {
        {{3, 4, 10, 12}, {3, 4, 10, 12}},
        {{3.5f, 4.5f, 9.5f, 11.5f}, {3, 4, 9, 11}},  // a centre on the right edge is outside
        {{3.6f, 4.4f, 9.6f, 11.4f}, {4, 4, 10, 11}},
        {{-1e30f, -5, 2, 1e30f}, {0, 0, 2, height}},
        {{5, 5, 5.4f, 9}, {}},
        {{9, 9, 3, 3}, {}},
    };
    for (const Row& row : rows) {
        Surface mine, expected;
        SoftwareTarget(mine.surface, texts).FillRectangle(&row.rectangle, colour);
        for (int32_t y = row.box.top; y < row.box.bottom; ++y)
            for (int32_t x = row.box.left; x < row.box.right; ++x) {
                expected.Drawn().Row(y)[x * 4] = 0xAA;
                expected.Drawn().Row(y)[x * 4 + 1] = 0xBB;
                expected.Drawn().Row(y)[x * 4 + 2] = 0xCC;
            }
        EXPECT_TRUE(mine.bytes == expected.bytes) << row.rectangle.left;
    }
}

TEST_F(SoftwareTargets, DrawThickLinesAndEllipses) {
    target.DrawLine({3, 4.5f}, {50.25f, 30}, colour, 3);
    drawThickLine(want.Drawn(), 3, 4.5f, 50.25f, 30, 3, colour);
    EXPECT_EQ(got.bytes, want.bytes);
    target.DrawEllipse({20.5f, 18}, 14, 9.5f, colour, 1);
    drawThickEllipse(want.Drawn(), 20.5f, 18, 14, 9.5f, 1, colour);
    EXPECT_EQ(got.bytes, want.bytes);
    EXPECT_FALSE(Untouched());
}

TEST_F(SoftwareTargets, DrawPicturesFilteredLinearly) {
    Bytes pixels(7 * 5 * 4);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = uint8_t(i * 37);
    for (const uint32_t bytesPerPixel : {3u, 4u})
        for (const float opacity : {0.0f, 0.4f, 1.0f}) {
            const vex_picture picture = {pixels.data() + 4 * 28, nullptr, 7, 5, -28, bytesPerPixel};
            const vex_rect_f place = {-3.5f, 2.25f, 30, 41};
            target.DrawBitmap(&picture, &place, opacity);
            stretchLinear(want.Drawn(), place.left, place.top, place.right, place.bottom,
                          {picture.pixels, -28, 7, 5, bytesPerPixel}, opacity);
            EXPECT_EQ(got.bytes, want.bytes);
        }
    EXPECT_FALSE(Untouched());
}

TEST_F(SoftwareTargets, MeasureTextsAsTheRasterDoes) {
    const vex_text_format format = {15.6f, 700, 0};
    int32_t w = -1, h = -1;
    target.MeasureText(&format, text.data(), length, &w, &h);
    EXPECT_EQ((TextSize{w, h}), texts.Measure({16, 700}, text));
    texts.missing = true;
    target.MeasureText(&format, text.data(), length, &w, &h);
    EXPECT_EQ((TextSize{w, h}), TextSize{});
}

TEST_F(SoftwareTargets, PlaceTextsInTheirRectangle) {
    struct Row {
        uint32_t flags;
        int32_t x, y;
    };
    // 5 cells of 6 by 12 pixels in a rectangle of 41 by 20.
    const Row rows[] = {
        {0, 3, 4}, {VEX_TEXT_CENTRE, 9, 4}, {VEX_TEXT_MIDDLE, 3, 8}, {VEX_TEXT_CENTRE | VEX_TEXT_MIDDLE, 9, 8}};
    for (const Row& row : rows) {
        Surface mine, expected;
        const vex_text_format format = {12, 400, row.flags};
        const vex_rect_f rectangle = {3, 4, 44, 24};
        SoftwareTarget(mine.surface, texts).DrawText(&format, u"AbcdE", 5, &rectangle, colour);
        Bytes mask(30 * 12);
        texts.Draw({12, 400}, u"AbcdE", {mask.data(), 30, 12}, 0, 0);
        paintMask(expected.Drawn(), {mask.data(), 30, 12}, row.x, row.y, colour);
        EXPECT_TRUE(mine.bytes == expected.bytes) << row.flags;
    }
}

TEST_F(SoftwareTargets, PlaceTextsAtTheNearestPixel) {
    const vex_text_format format = {12, 400, 0};
    const vex_rect_f between = {2.6f, 3.5f, 44, 24}, whole = {3, 4, 44, 24};
    target.DrawText(&format, text.data(), length, &between, colour);
    SoftwareTarget(want.surface, texts).DrawText(&format, text.data(), length, &whole, colour);
    EXPECT_EQ(got.bytes, want.bytes);
}

TEST_F(SoftwareTargets, NothingOfATextIsLeftInTheNextOne) {
    const vex_text_format format = {12, 400, 0};
    const vex_rect_f first = {3, 4, 44, 14}, second = {3, 24, 44, 34};
    target.DrawText(&format, text.data(), length, &first, colour);
    target.DrawText(&format, u"a b c", 5, &second, colour);
    SoftwareTarget(want.surface, texts).DrawText(&format, u"a b c", 5, &second, colour);
    SoftwareTarget(want.surface, texts).DrawText(&format, text.data(), length, &first, colour);
    EXPECT_EQ(got.bytes, want.bytes);
}

TEST_F(SoftwareTargets, CutTextsOffAtTheSurface) {
    const vex_text_format format = {12, 400, 0};
    for (const float left : {-1000.0f, -48.0f, -20.0f, 0.0f, 40.0f, 59.0f, 60.0f, 1e30f})
        for (const float top : {-12.0f, -7.0f, 0.0f, 33.0f, 39.0f, 40.0f, -1e30f}) {
            Surface mine, expected;
            const vex_rect_f rectangle = {left, top, left, top};
            SoftwareTarget(mine.surface, texts).DrawText(&format, text.data(), length, &rectangle, colour);
            if (std::abs(left) <= 1000 && std::abs(top) <= 1000) {
                Bytes mask(48 * 12);
                texts.Draw({12, 400}, text, {mask.data(), 48, 12}, 0, 0);
                paintMask(expected.Drawn(), {mask.data(), 48, 12}, int32_t(left), int32_t(top), colour);
            }
            EXPECT_TRUE(mine.bytes == expected.bytes) << left << ", " << top;
        }
}

TEST_F(SoftwareTargets, DrawATextLongerThanItsRectangleInFull) {
    const vex_text_format format = {12, 400, VEX_TEXT_CENTRE};
    const vex_rect_f narrow = {29, 4, 31, 6};  // its middle is 30
    target.DrawText(&format, text.data(), length, &narrow, colour);
    const vex_rect_f wide = {6, 4, 54, 16};
    SoftwareTarget(want.surface, texts).DrawText(&format, text.data(), length, &wide, colour);
    EXPECT_EQ(got.bytes, want.bytes);
    EXPECT_FALSE(Untouched());
}

TEST_F(SoftwareTargets, ATextThatCannotBeDrawnLeavesTheSurface) {
    const vex_text_format format = {12, 400, 0};
    const vex_rect_f rectangle = {3, 4, 44, 24};
    texts.missing = true;
    target.DrawText(&format, text.data(), length, &rectangle, colour);
    texts.missing = false;
    target.DrawText(&format, text.data(), 0, &rectangle, colour);
    EXPECT_TRUE(Untouched());
}

TEST_F(SoftwareTargets, ATextOfAnyLengthMakesNoMaskBeyondTheSurface) {
    const std::u16string endless(1 << 16, u'w');
    const vex_text_format format = {4096, 400, VEX_TEXT_CENTRE};
    const vex_rect_f rectangle = {0, 0, 60, 40};
    // The fake draws each pixel of each cell, seen or not: a few of them will do for the pixels.
    target.DrawText(&format, endless.data(), 3, &rectangle, colour);
    EXPECT_FALSE(Untouched());
    const vex_text_format small = {12, 400, VEX_TEXT_CENTRE};
    target.DrawText(&small, endless.data(), uint32_t(endless.size()), &rectangle, colour);
    const vex_text_format tall = {3e9f, 400, 0};
    target.DrawText(&tall, endless.data(), uint32_t(endless.size()), &rectangle, colour);
    int32_t w = -1, h = -1;
    target.MeasureText(&tall, endless.data(), 3, &w, &h);
    EXPECT_EQ((TextSize{w, h}), TextSize{});
}

TEST_F(SoftwareTargets, NumbersThatAreNotFiniteDrawNothing) {
    const uint8_t pixels[4] = {1, 2, 3, 4};
    const vex_picture picture = {pixels, nullptr, 1, 1, 4, 4};
    const vex_rect_f whole = {0, 0, 60, 40};
    const vex_text_format good = {12, 400, 0};
    for (const float bad : {nan, infinity, -infinity}) {
        for (const vex_rect_f& place : {vex_rect_f{bad, 0, 60, 40}, vex_rect_f{0, bad, 60, 40},
                                        vex_rect_f{0, 0, bad, 40}, vex_rect_f{0, 0, 60, bad}}) {
            target.DrawBitmap(&picture, &place, 1);
            target.FillRectangle(&place, colour);
            target.DrawText(&good, text.data(), length, &place, colour);
            target.DrawLine({place.left, place.top}, {place.right, place.bottom}, colour, 1);
            target.DrawEllipse({place.left, place.top}, place.right, place.bottom, colour, 1);
        }
        target.DrawBitmap(&picture, &whole, bad);
        target.DrawLine({0, 0}, {60, 40}, colour, bad);
        target.DrawEllipse({30, 20}, 10, 10, colour, bad);
        const vex_text_format format = {bad, 400, 0};
        target.DrawText(&format, text.data(), length, &whole, colour);
    }
    EXPECT_TRUE(Untouched());
}

TEST_F(SoftwareTargets, WildNumbersStayOnTheSurface) {
    const uint8_t pixels[4] = {1, 2, 3, 4};
    const vex_picture picture = {pixels, nullptr, 1, 1, 4, 4};
    for (const float wild : {-3e38f, -1e10f, -2147483648.0f, -0.0f, 1e-40f, 2147483648.0f, 1e10f, 3e38f})
        for (const float other : {-3e38f, 0.0f, 20.0f, 3e38f}) {
            const vex_rect_f place = {wild, other, other, wild};
            target.DrawBitmap(&picture, &place, wild);
            target.FillRectangle(&place, colour);
            target.DrawLine({wild, other}, {other, wild}, colour, wild);
            target.DrawLine({wild, other}, {other, wild}, colour, 1);
            target.DrawEllipse({wild, other}, other, wild, colour, other);
            target.DrawEllipse({20, 20}, wild, other, colour, 1);
            const vex_text_format format = {12, 400, VEX_TEXT_CENTRE | VEX_TEXT_MIDDLE};
            target.DrawText(&format, text.data(), length, &place, colour);
        }
    const Bytes before = Surface().bytes;
    for (int32_t y = 0; y < height; ++y)
        for (int32_t i = width * 4; i < stride; ++i)
            EXPECT_EQ(got.bytes[size_t(y * stride + i)], before[size_t(y * stride + i)]);
}

TEST_F(SoftwareTargets, WhatIsMissingDrawsNothing) {
    const uint8_t pixels[4] = {1, 2, 3, 4};
    int texture = 0;
    const vex_rect_f whole = {0, 0, 60, 40};
    const vex_text_format format = {12, 400, 0};
    const vex_picture good = {pixels, nullptr, 1, 1, 4, 4};
    const vex_picture bad[] = {{nullptr, &texture, 1, 1, 4, 4},
                               {pixels, nullptr, 0, 1, 4, 4},
                               {pixels, nullptr, 1, -1, 4, 4},
                               {pixels, nullptr, 1, 1, 4, 2},
                               {pixels, nullptr, 1, 1, 4, 0}};
    for (const vex_picture& picture : bad) target.DrawBitmap(&picture, &whole, 1);
    target.DrawBitmap(nullptr, &whole, 1);
    target.DrawBitmap(&good, nullptr, 1);
    target.FillRectangle(nullptr, colour);
    target.DrawText(nullptr, text.data(), length, &whole, colour);
    target.DrawText(&format, nullptr, length, &whole, colour);
    target.DrawText(&format, text.data(), length, nullptr, colour);
    int32_t w = -1, h = -1;
    target.MeasureText(nullptr, text.data(), length, &w, &h);
    EXPECT_EQ((TextSize{w, h}), TextSize{});
    w = h = -1;
    target.MeasureText(&format, nullptr, length, &w, &h);
    EXPECT_EQ((TextSize{w, h}), TextSize{});
    target.MeasureText(&format, text.data(), length, nullptr, nullptr);
    target.GetDpi(nullptr, nullptr);
    EXPECT_TRUE(Untouched());
}

TEST_F(SoftwareTargets, ASurfaceWithoutPixelsIsLeftAlone) {
    const uint8_t pixels[4] = {1, 2, 3, 4};
    const vex_picture picture = {pixels, nullptr, 1, 1, 4, 4};
    const vex_rect_f whole = {0, 0, 60, 40};
    const vex_text_format format = {12, 400, 0};
    const vex_surface bad[] = {{nullptr, width, height, stride, 96, 96},
                               {got.bytes.data(), 0, height, stride, 96, 96},
                               {got.bytes.data(), width, -1, stride, 96, 96},
                               {got.bytes.data(), std::numeric_limits<int32_t>::min(), height, stride, 96, 96}};
    for (const vex_surface& surface : bad) {
        SoftwareTarget none(surface, texts);
        none.DrawBitmap(&picture, &whole, 1);
        none.DrawLine({0, 0}, {60, 40}, colour, 3);
        none.DrawEllipse({30, 20}, 10, 10, colour, 3);
        none.FillRectangle(&whole, colour);
        none.DrawText(&format, text.data(), length, &whole, colour);
    }
    EXPECT_TRUE(Untouched());
}

TEST_F(SoftwareTargets, TheSameTextsAllocateOnce) {
    const vex_text_format format = {12, 400, VEX_TEXT_CENTRE};
    const vex_rect_f rectangle = {3, 4, 44, 24};
    target.DrawText(&format, text.data(), length, &rectangle, colour);
    const size_t warm = allocations();
    for (int i = 0; i < 100; ++i) {
        target.DrawText(&format, text.data(), length, &rectangle, colour);
        target.DrawText(&format, text.data(), 3, &rectangle, colour);
    }
    EXPECT_EQ(allocations(), warm);
}

TEST_F(SoftwareTargets, ShowAMarkerWhereASurfaceShowsIt) {
    // One pixel wide about a line between two rows: the same row as in whole numbers, or the one above it.
    const GeoMarker cross = {{1, colour, 0, 50, 50, 0, 0, 0, 0, 0}, 0};
    paintGeoMarker(target, {0, 0, width, height}, cross);
    EXPECT_FALSE(Untouched());
    for (int32_t x = 0; x < width; ++x) {
        int32_t set = 0;
        for (const int32_t y : {19, 20})
            set += got.bytes[size_t(y * stride + x * 4)] == 0xAA && got.bytes[size_t(y * stride + x * 4 + 1)] == 0xBB;
        EXPECT_EQ(set > 0, x >= 15 && x < 45) << x;
    }
}

}  // namespace software_target_test
}  // namespace vexcap::test
