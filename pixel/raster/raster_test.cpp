// Hard-edged shapes: which pixels they have, and that nothing else is touched.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "pixel/kernels_testing.h"
#include "pixel/raster/raster.h"
#include "pixel/raster/raster_testing.h"

namespace vexcap {
namespace raster_test {

void plot(const Paper& paper, int64_t x, int64_t y) {
    if (x < 0 || y < 0 || x >= paper.canvas().width || y >= paper.canvas().height) return;
    uint8_t* const pixel = paper.at(int32_t(x), int32_t(y));
    pixel[0] = 0xF0;
    pixel[1] = 0xE0;
    pixel[2] = 0xD0;
}

TEST(FillBox, WritesBlueFirstAndThreeBytesOfAPixel) {
    for (const uint32_t bytesPerPixel : pixelSizes) {
        const Paper paper(3, 2, bytesPerPixel, RowOrder::BottomUp);
        fillBox(paper.canvas(), {1, 1, 2, 2}, 0xFF112233);
        EXPECT_EQ(paper.at(1, 1)[0], 0x11);
        EXPECT_EQ(paper.at(1, 1)[1], 0x22);
        EXPECT_EQ(paper.at(1, 1)[2], 0x33);
        EXPECT_TRUE(paper.onlyColoursDiffer());
        EXPECT_EQ(paper.at(1, 1)[ptrdiff_t(bytesPerPixel)], Paper::ground(2, 1, 0));
    }
}

/// The definition, pixel by pixel.
void plotLine(const Paper& paper, int64_t fromX, int64_t fromY, int64_t toX, int64_t toY) {
    const int64_t dx = toX - fromX, dy = toY - fromY;
    const int64_t n = std::max(std::abs(dx), std::abs(dy));
    const auto along = [n](int64_t i, int64_t d) { return (d < 0 ? -1 : 1) * ((2 * i * std::abs(d) + n) / (2 * n)); };
    for (int64_t i = 0; i < n; ++i) plot(paper, fromX + along(i, dx), fromY + along(i, dy));
}

TEST(DrawLine, LeavesOutTheEnd) {
    const Paper paper(8, 3, 3);
    drawLine(paper.canvas(), 1, 1, 4, 1, ink);
    for (int32_t x = 0; x < 8; ++x) EXPECT_EQ(paper.colour(x, 1) == ink, x >= 1 && x < 4) << x;
    drawLine(paper.canvas(), 6, 1, 6, 1, ink);
    EXPECT_NE(paper.colour(6, 1), ink);
    drawLine(paper.canvas(), 7, 1, 5, 1, ink);
    EXPECT_NE(paper.colour(5, 1), ink);
    EXPECT_EQ(paper.colour(6, 1), ink);
    EXPECT_EQ(paper.colour(7, 1), ink);
}

TEST(DrawLine, RoundsAHalfAwayFromTheStart) {
    const Paper down(3, 3, 3), up(3, 3, 3);
    drawLine(down.canvas(), 0, 0, 2, 1, ink);
    EXPECT_EQ(down.colour(1, 1), ink);
    drawLine(up.canvas(), 0, 2, 2, 1, ink);
    EXPECT_EQ(up.colour(1, 1), ink);
}

TEST(DrawLine, IsItsDefinitionForLinesThatLiePartlyOutside) {
    std::mt19937 random(1);
    for (int i = 0; i < 4000; ++i) {
        const int32_t reach = i % 4 == 0 ? 5000 : 120;
        const auto any = [&] { return int32_t(random() % uint32_t(2 * reach)) - reach; };
        const int32_t fromX = any(), fromY = any();
        const int32_t toX = i % 7 == 0 ? fromX : any(), toY = i % 11 == 0 ? fromY : any();
        const RowOrder order = rowOrders[i % 2];
        const Paper got(40, 30, pixelSizes[i / 2 % 2], order), want(40, 30, pixelSizes[i / 2 % 2], order);
        drawLine(got.canvas(), fromX, fromY, toX, toY, ink);
        plotLine(want, fromX, fromY, toX, toY);
        ASSERT_TRUE(sameColours(got, want)) << fromX << ", " << fromY << " to " << toX << ", " << toY;
        ASSERT_TRUE(got.onlyColoursDiffer());
    }
}

TEST(DrawLine, IsExactAcrossAllCoordinates) {
    const Paper diagonal(20, 20, 4), across(20, 20, 4), steep(20, 20, 4);
    drawLine(diagonal.canvas(), INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, ink);
    drawLine(across.canvas(), INT32_MAX, 7, INT32_MIN, 7, ink);
    // At half its height it is at half its width.
    drawLine(steep.canvas(), -1000000000, -2000000000, 1000000000, 2000000000, ink);
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 20; ++x) {
            EXPECT_EQ(diagonal.colour(x, y) == ink, x == y);
            EXPECT_EQ(across.colour(x, y) == ink, y == 7);
            EXPECT_EQ(steep.colour(x, y) == ink, x == (y + 1) / 2) << x << ", " << y;
        }
}

TEST(DrawLine, IsClippedOnAllSides) {
    expectClippedAlike([](const Canvas& canvas, int32_t dx, int32_t dy) {
        drawLine(canvas, dx - 30, dy - 20, dx + 90, dy + 35, ink);
        drawLine(canvas, dx + 80, dy + 3, dx - 40, dy + 9, ink);
        drawLine(canvas, dx + 5, dy + 50, dx + 2, dy - 40, ink);
        drawLine(canvas, dx - 10, dy + 2, dx + 30, dy + 2, ink);
        drawLine(canvas, dx, dy - 10, dx, dy + 12, ink);
    });
}

TEST(FillBox, LeavesOutRightAndBottom) {
    for (const uint32_t bytesPerPixel : pixelSizes) {
        const Paper paper(60, 6, bytesPerPixel);
        fillBox(paper.canvas(), {2, 1, 51, 4}, ink);
        for (int32_t y = 0; y < 6; ++y)
            for (int32_t x = 0; x < 60; ++x)
                ASSERT_EQ(paper.colour(x, y) == ink, x >= 2 && x < 51 && y >= 1 && y < 4) << x << ", " << y;
        ASSERT_TRUE(paper.onlyColoursDiffer());
    }
}

TEST(FillBox, WithoutAnInsideDrawsNothing) {
    const Paper paper(9, 9, 3);
    for (const Box box : {Box{3, 3, 3, 5}, Box{3, 3, 5, 3}, Box{5, 3, 3, 5}, Box{3, 5, 5, 3}, Box{9, 0, 20, 9},
                          Box{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN}})
        fillBox(paper.canvas(), box, ink);
    EXPECT_TRUE(paper.isFresh());
}

TEST(FillBox, IsClippedOnAllSides) {
    expectClippedAlike([](const Canvas& canvas, int32_t dx, int32_t dy) {
        fillBox(canvas, {dx - 5, dy - 3, dx + 37, dy + 2}, ink);
        fillBox(canvas, {dx + 3, dy + 4, dx + 100, dy + 60}, ink + 1);
    });
}

/// The definition, step by step.
void plotCircle(const Paper& paper, int64_t centreX, int64_t centreY, int64_t radius) {
    int64_t a = 0, b = radius, decision = 1 - radius, east = 3, southEast = 5 - 2 * radius;
    for (; a <= b; ++a) {
        for (const int64_t x : {-a, a})
            for (const int64_t y : {-b, b}) {
                plot(paper, centreX + x, centreY + y);
                plot(paper, centreX + y, centreY + x);
            }
        if (decision < 0) {
            decision += east;
            southEast += 2;
        } else {
            decision += southEast;
            southEast += 4;
            --b;
        }
        east += 2;
    }
}

TEST(DrawCircle, IsItsDefinition) {
    std::mt19937 random(2);
    for (int32_t radius = 1; radius <= 200; ++radius)
        for (int i = 0; i < 4; ++i) {
            const auto any = [&] { return int32_t(random() % uint32_t(2 * radius + 60)) - radius; };
            const int32_t x = any(), y = any();
            const Paper got(60, 45, pixelSizes[i % 2], rowOrders[i / 2 % 2]), want(60, 45, pixelSizes[i % 2]);
            drawCircle(got.canvas(), x, y, radius, ink);
            plotCircle(want, x, y, radius);
            ASSERT_TRUE(sameColours(got, want)) << "radius " << radius << " at " << x << ", " << y;
            ASSERT_TRUE(got.onlyColoursDiffer());
        }
}

TEST(DrawCircle, IsItsDefinitionWhereItIsLarge) {
    constexpr int32_t radius = 1000000;
    constexpr double diagonal = 0.7071067811865476;
    for (const double share : {0.0, 0.5, diagonal, 1.0})
        for (const int32_t sign : {-1, 1}) {
            const auto x = int32_t(std::lround(share * radius)),
                       y = int32_t(std::lround(std::sqrt(1 - share * share) * radius));
            const Paper got(50, 40, 4), want(50, 40, 4);
            drawCircle(got.canvas(), 25 + sign * x, 20 - sign * y, radius, ink);
            plotCircle(want, 25 + sign * x, 20 - sign * y, radius);
            ASSERT_FALSE(want.isFresh());
            ASSERT_TRUE(sameColours(got, want)) << share << ", " << sign;
        }
}

TEST(DrawCircle, OfTheLargestRadiusIsAsGoodAsALine) {
    const Paper paper(30, 4, 3);
    drawCircle(paper.canvas(), 15, INT32_MAX, INT32_MAX, ink);
    for (int32_t x = 0; x < 30; ++x)
        for (int32_t y = 0; y < 4; ++y) ASSERT_EQ(paper.colour(x, y) == ink, y == 0);
}

TEST(DrawCircle, OfARadiusBelowOneDrawsNothing) {
    const Paper paper(9, 9, 3);
    for (const int32_t radius : {0, -1, INT32_MIN}) drawCircle(paper.canvas(), 4, 4, radius, ink);
    EXPECT_TRUE(paper.isFresh());
}

/// What of a paper an ellipse covers, with one pixel of margin: its ink, and what is connected with the edge around it.
struct Outline {
    int32_t width, height;
    std::vector<char> isInk, isOutside;

    Outline(const Paper& paper)
        : width(paper.canvas().width), height(paper.canvas().height), isInk(size_t(width) * height), isOutside(isInk) {
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x) isInk[index(x, y)] = paper.colour(x, y) == ink;
        isOutside = reached(0, 0, false, false);
    }

    size_t index(int32_t x, int32_t y) const { return size_t(y) * width + x; }

    /// What can be reached from a place over ink, or over what is not ink.
    std::vector<char> reached(int32_t fromX, int32_t fromY, bool overInk, bool diagonally) const {
        std::vector<char> seen(isInk.size());
        std::vector<std::pair<int32_t, int32_t>> open = {{fromX, fromY}};
        while (!open.empty()) {
            const auto [x, y] = open.back();
            open.pop_back();
            if (x < 0 || y < 0 || x >= width || y >= height) continue;
            if (seen[index(x, y)] || bool(isInk[index(x, y)]) != overInk) continue;
            seen[index(x, y)] = 1;
            for (int32_t dx = -1; dx <= 1; ++dx)
                for (int32_t dy = -1; dy <= 1; ++dy)
                    if (diagonally || dx == 0 || dy == 0) open.push_back({x + dx, y + dy});
        }
        return seen;
    }
};

class EllipseInABox : public testing::Test {
protected:
    static constexpr int32_t sides[] = {1, 2, 3, 4, 5, 6, 7, 8, 11, 16, 29, 40, 61};

    /// Calls `look(outline, width, height)` for many boxes; the box begins at 1, 1.
    template <class Look>
    void everyBox(const Look& look) {
        for (const int32_t width : sides)
            for (const int32_t height : sides) {
                const Paper paper(width + 2, height + 2, 3);
                drawEllipse(paper.canvas(), {1, 1, width + 1, height + 1}, ink);
                look(Outline(paper), width, height);
            }
    }
};

TEST_F(EllipseInABox, IsSymmetricInBothAxes) {
    everyBox([](const Outline& outline, int32_t width, int32_t height) {
        for (int32_t y = 1; y <= height; ++y)
            for (int32_t x = 1; x <= width; ++x) {
                const char here = outline.isInk[outline.index(x, y)];
                ASSERT_EQ(here, outline.isInk[outline.index(width + 1 - x, y)]) << width << " x " << height;
                ASSERT_EQ(here, outline.isInk[outline.index(x, height + 1 - y)]) << width << " x " << height;
            }
    });
}

TEST_F(EllipseInABox, TouchesItsFourSidesAndNoMore) {
    everyBox([](const Outline& outline, int32_t width, int32_t height) {
        int32_t left = width + 2, top = height + 2, right = 0, bottom = 0;
        for (int32_t y = 0; y < height + 2; ++y)
            for (int32_t x = 0; x < width + 2; ++x) {
                if (!outline.isInk[outline.index(x, y)]) continue;
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        ASSERT_EQ(left, 1) << width << " x " << height;
        ASSERT_EQ(top, 1) << width << " x " << height;
        ASSERT_EQ(right, width) << width << " x " << height;
        ASSERT_EQ(bottom, height) << width << " x " << height;
    });
}

TEST_F(EllipseInABox, IsOneClosedLineOfOnePixel) {
    everyBox([](const Outline& outline, int32_t width, int32_t height) {
        int32_t firstInk = 1;
        while (!outline.isInk[outline.index(firstInk, 1)]) ++firstInk;
        ASSERT_EQ(outline.reached(firstInk, 1, true, true), outline.isInk) << "parts, " << width << " x " << height;
        for (int32_t y = 1; y <= height; ++y)
            for (int32_t x = 1; x <= width; ++x) {
                if (!outline.isInk[outline.index(x, y)]) continue;
                const bool atOutside =
                    outline.isOutside[outline.index(x - 1, y)] || outline.isOutside[outline.index(x + 1, y)] ||
                    outline.isOutside[outline.index(x, y - 1)] || outline.isOutside[outline.index(x, y + 1)];
                ASSERT_TRUE(atOutside) << x << ", " << y << " of " << width << " x " << height;
            }
        const bool hasInside = width > 4 && height > 4;
        const char middle = outline.isOutside[outline.index((width + 1) / 2, (height + 1) / 2)];
        ASSERT_FALSE(hasInside && middle) << "a gap, " << width << " x " << height;
    });
}

TEST_F(EllipseInABox, OfEqualOddSidesIsTheCircle) {
    for (int32_t radius = 1; radius <= 200; ++radius) {
        const Paper ellipse(60, 45, 3), circle(60, 45, 3);
        const int32_t x = 30 + radius * 2 / 3, y = 20 - radius * 2 / 3;
        drawEllipse(ellipse.canvas(), {x - radius, y - radius, x + radius + 1, y + radius + 1}, ink);
        drawCircle(circle.canvas(), x, y, radius, ink);
        ASSERT_TRUE(sameColours(ellipse, circle)) << radius;
    }
}

TEST_F(EllipseInABox, OfEqualEvenSidesIsTheSameInBothDirections) {
    for (int32_t side = 2; side <= 60; side += 2) {
        const Paper paper(side, side, 3);
        drawEllipse(paper.canvas(), {0, 0, side, side}, ink);
        for (int32_t y = 0; y < side; ++y)
            for (int32_t x = 0; x < side; ++x) ASSERT_EQ(paper.colour(x, y) == ink, paper.colour(y, x) == ink) << side;
    }
}

TEST_F(EllipseInABox, IsClippedOnAllSides) {
    expectClippedAlike([](const Canvas& canvas, int32_t dx, int32_t dy) {
        drawEllipse(canvas, {dx - 12, dy - 7, dx + 33, dy + 16}, ink);
        drawEllipse(canvas, {dx + 4, dy - 30, dx + 100, dy + 40}, ink + 1);
        drawCircle(canvas, dx + 20, dy + 5, 17, ink + 2);
    });
}

TEST_F(EllipseInABox, MayBeFarLargerThanTheCanvas) {
    constexpr int32_t side = 1 << 21;
    const Paper paper(40, 30, 4);
    drawEllipse(paper.canvas(), {20 - side / 2, 10, 20 + side / 2, 10 + side}, ink);
    // Its topmost row is more than the canvas wide.
    for (int32_t x = 0; x < 40; ++x)
        for (int32_t y = 0; y < 30; ++y) ASSERT_EQ(paper.colour(x, y) == ink, y == 10);
}

TEST(PaintMask, SetsWhatTheMaskSays) {
    const std::vector<uint8_t> mask = {255, 0, 255, 0, 255, 0};
    for (const uint32_t bytesPerPixel : pixelSizes) {
        const Paper paper(5, 4, bytesPerPixel);
        paintMask(paper.canvas(), {mask.data(), 3, 2}, 1, 1, ink);
        for (int32_t y = 0; y < 4; ++y)
            for (int32_t x = 0; x < 5; ++x) {
                const bool isIn = x >= 1 && x < 4 && y >= 1 && y < 3;
                ASSERT_EQ(paper.colour(x, y) == ink, isIn && mask[size_t((y - 1) * 3 + x - 1)] == 255);
            }
    }
}

TEST(PaintMask, IsClippedOnAllSides) {
    const std::vector<uint8_t> noise = hostileSamples<uint8_t>(90 * 31, 3);
    std::vector<uint8_t> mask;
    for (const uint8_t byte : noise) mask.push_back(byte & 1 ? 255 : 0);
    expectClippedAlike([&](const Canvas& canvas, int32_t dx, int32_t dy) {
        paintMask(canvas, {mask.data(), 90, 31}, dx - 13, dy - 9, ink);
        paintMask(canvas, {mask.data(), 19, 11}, dx + 3, dy + 2, ink + 1);
    });
}

TEST(Shapes, OfHostileCoordinatesStayOnTheCanvas) {
    const std::vector<uint8_t> mask(12, 255);
    for (const uint32_t bytesPerPixel : pixelSizes) {
        const Paper paper(17, 9, bytesPerPixel, RowOrder::BottomUp);
        for (const int32_t a : hostileCoordinates)
            for (const int32_t b : hostileCoordinates) {
                paintMask(paper.canvas(), {mask.data(), 4, 3}, a, b, ink);
                for (const int32_t c : hostileCoordinates) {
                    drawCircle(paper.canvas(), a, b, c, ink);
                    for (const int32_t d : hostileCoordinates) {
                        drawLine(paper.canvas(), a, b, c, d, ink);
                        drawEllipse(paper.canvas(), {a, b, c, d}, ink);
                        fillBox(paper.canvas(), {a, b, c, d}, ink);
                    }
                }
            }
        EXPECT_TRUE(paper.onlyColoursDiffer());
    }
}

TEST(Shapes, DrawNothingOnACanvasWithoutPixelsOrWithAMaskWithoutAny) {
    const Paper paper(4, 4, 3);
    const uint8_t mask = 255;
    for (Canvas canvas : {Canvas{}, Canvas{paper.at(0, 0), 17, 0, 4, 3}, Canvas{paper.at(0, 0), 17, 4, 0, 3},
                          Canvas{paper.at(0, 0), 17, -4, -4, 4}, Canvas{nullptr, 17, 4, 4, 4}}) {
        drawLine(canvas, 0, 0, 4, 4, ink);
        drawLine(canvas, 0, 0, 4, 0, ink);
        fillBox(canvas, {0, 0, 4, 4}, ink);
        drawCircle(canvas, 0, 0, 2, ink);
        drawEllipse(canvas, {0, 0, 4, 4}, ink);
        paintMask(canvas, {&mask, 1, 1}, 0, 0, ink);
    }
    for (const Mask empty : {Mask{}, Mask{&mask, 0, 1}, Mask{&mask, 1, 0}, Mask{&mask, -1, -1}})
        paintMask(paper.canvas(), empty, 0, 0, ink);
    EXPECT_TRUE(paper.isFresh());
}

}  // namespace raster_test
}  // namespace vexcap
