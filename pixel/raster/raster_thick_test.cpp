// Thick lines and ellipses: the pixels whose centres lie within, and that nothing else is touched.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "pixel/raster/raster.h"
#include "pixel/raster/raster_testing.h"

namespace vexcap {
namespace raster_thick_test {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float hostileFloats[] = {notANumber, infinity, -infinity, 3e38f, -3e38f, 1.1e7f, -1.1e7f};

/// Numbers with a fraction that no centre of a pixel meets.
class Somewhere {
public:
    explicit Somewhere(uint32_t seed) : random(seed) {}
    float between(float least, float most) { return least + (most - least) * float(random() % 99991) / 99991.0f; }

private:
    std::mt19937 random;
};

TEST(DrawThickLine, CoversTheCentresInItsRectangle) {
    Somewhere somewhere(1);
    for (int i = 0; i < 1500; ++i) {
        const float reach = i % 3 == 0 ? 900.0f : 40.0f;
        const double fromX = somewhere.between(-reach, 50 + reach), fromY = somewhere.between(-reach, 30 + reach);
        const double toX = somewhere.between(-reach, 50 + reach), toY = somewhere.between(-reach, 30 + reach);
        const double thickness = somewhere.between(0.2f, 12.0f);
        const Paper paper(50, 30, pixelSizes[i % 2], rowOrders[i / 2 % 2]);
        drawThickLine(paper.canvas(), float(fromX), float(fromY), float(toX), float(toY), float(thickness), ink);
        const double length = std::hypot(toX - fromX, toY - fromY);
        for (int32_t y = 0; y < 30; ++y)
            for (int32_t x = 0; x < 50; ++x) {
                const double dx = x + 0.5 - fromX, dy = y + 0.5 - fromY;
                const double along = (dx * (toX - fromX) + dy * (toY - fromY)) / length;
                const double across = (dy * (toX - fromX) - dx * (toY - fromY)) / length;
                const double inside = std::min({along, length - along, thickness / 2 - std::abs(across)});
                if (std::abs(inside) < 1e-6) continue;
                ASSERT_EQ(paper.colour(x, y) == ink, inside > 0) << x << ", " << y << ", line " << i;
            }
        ASSERT_TRUE(paper.onlyColoursDiffer());
    }
}

TEST(DrawThickLine, AlongAnAxisHasItsThicknessInPixels) {
    for (const int32_t thickness : {1, 2, 3, 4})
        for (const float shift : {0.0f, 0.5f}) {
            const Paper across(20, 20, 3), down(20, 20, 3);
            drawThickLine(across.canvas(), 3, 10 + shift, 15, 10 + shift, float(thickness), ink);
            drawThickLine(down.canvas(), 10 + shift, 3, 10 + shift, 15, float(thickness), ink);
            int32_t rows = 0;
            for (int32_t y = 0; y < 20; ++y) {
                rows += across.colour(5, y) == ink;
                for (int32_t x = 0; x < 20; ++x) {
                    ASSERT_EQ(across.colour(x, y) == ink, across.colour(5, y) == ink && x >= 3 && x < 15);
                    ASSERT_EQ(across.colour(x, y) == ink, down.colour(y, x) == ink) << x << ", " << y;
                }
            }
            ASSERT_EQ(rows, thickness);
        }
}

TEST(DrawThickLine, IsTheSameFromEitherEnd) {
    Somewhere somewhere(2);
    for (int i = 0; i < 200; ++i) {
        // Whole coordinates meet centres of pixels.
        const auto whole = [&] { return std::floor(somewhere.between(-10, 50)); };
        const float fromX = whole(), fromY = whole(), toX = i % 5 ? whole() : fromX, toY = i % 7 ? whole() : fromY;
        const Paper there(40, 40, 3), back(40, 40, 3);
        drawThickLine(there.canvas(), fromX, fromY, toX, toY, 3, ink);
        drawThickLine(back.canvas(), toX, toY, fromX, fromY, 3, ink);
        ASSERT_TRUE(sameColours(there, back)) << fromX << ", " << fromY << " to " << toX << ", " << toY;
    }
}

TEST(DrawThickLine, WithoutLengthOrThicknessDrawsNothing) {
    const Paper paper(20, 20, 3);
    drawThickLine(paper.canvas(), 5, 5, 5, 5, 4, ink);
    drawThickLine(paper.canvas(), 5, 5, 9, 9, 0, ink);
    drawThickLine(paper.canvas(), 5, 5, 9, 9, -4, ink);
    EXPECT_TRUE(paper.isFresh());
}

TEST(DrawThickLine, IsClippedOnAllSides) {
    expectClippedAlike([](const Canvas& canvas, int32_t dx, int32_t dy) {
        drawThickLine(canvas, float(dx) - 20, float(dy) - 10, float(dx) + 90.25f, float(dy) + 30.5f, 5.5f, ink);
        drawThickLine(canvas, float(dx) + 7, float(dy) - 50, float(dx) + 7, float(dy) + 50, 3, ink + 1);
    });
}

TEST(DrawThickEllipse, CoversTheCentresBetweenTwoEllipses) {
    Somewhere somewhere(3);
    for (int i = 0; i < 1000; ++i) {
        const double centreX = somewhere.between(-20, 70), centreY = somewhere.between(-20, 50);
        const double radiusX = somewhere.between(0.1f, 60), radiusY = somewhere.between(0.1f, 60);
        const double thickness = somewhere.between(0.2f, 15.0f);
        const Paper paper(50, 30, pixelSizes[i % 2], rowOrders[i / 2 % 2]);
        drawThickEllipse(paper.canvas(), float(centreX), float(centreY), float(radiusX), float(radiusY),
                         float(thickness), ink);
        for (int32_t y = 0; y < 30; ++y)
            for (int32_t x = 0; x < 50; ++x) {
                const auto beyond = [&](double rx, double ry) {
                    if (rx <= 0 || ry <= 0) return 1.0;
                    return std::hypot((x + 0.5 - centreX) / rx, (y + 0.5 - centreY) / ry) - 1;
                };
                const double outer = beyond(radiusX + thickness / 2, radiusY + thickness / 2);
                const double inner = beyond(radiusX - thickness / 2, radiusY - thickness / 2);
                if (std::abs(outer) < 1e-6 || std::abs(inner) < 1e-6) continue;
                ASSERT_EQ(paper.colour(x, y) == ink, outer < 0 && inner > 0) << x << ", " << y << ", ellipse " << i;
            }
        ASSERT_TRUE(paper.onlyColoursDiffer());
    }
}

TEST(DrawThickEllipse, IsSymmetricAlsoWhereItMeetsCentres) {
    for (const float centre : {10.0f, 10.5f})
        for (const float radius : {3.0f, 3.5f, 5.0f}) {
            const Paper paper(21, 21, 3);
            drawThickEllipse(paper.canvas(), centre, centre, radius, radius, 1, ink);
            const auto mirrored = [&](int32_t at) { return int32_t(2 * centre) - 1 - at; };
            EXPECT_FALSE(paper.isFresh());
            for (int32_t y = 0; y < int32_t(2 * centre); ++y)
                for (int32_t x = 0; x < int32_t(2 * centre); ++x) {
                    ASSERT_EQ(paper.colour(x, y) == ink, paper.colour(mirrored(x), y) == ink)
                        << centre << " " << radius;
                    ASSERT_EQ(paper.colour(x, y) == ink, paper.colour(x, mirrored(y)) == ink)
                        << centre << " " << radius;
                    ASSERT_EQ(paper.colour(x, y) == ink, paper.colour(y, x) == ink) << centre << " " << radius;
                }
        }
}

TEST(DrawThickEllipse, ThickerThanItselfIsFilled) {
    const Paper paper(20, 20, 3);
    drawThickEllipse(paper.canvas(), 10, 10, 2, 2, 8, ink);
    EXPECT_EQ(paper.colour(9, 9), ink);
    EXPECT_EQ(paper.colour(10, 10), ink);
}

TEST(DrawThickEllipse, OfNegativeRadiusOrWithoutThicknessDrawsNothing) {
    const Paper paper(20, 20, 3);
    drawThickEllipse(paper.canvas(), 10, 10, -2, 5, 4, ink);
    drawThickEllipse(paper.canvas(), 10, 10, 2, -5, 4, ink);
    drawThickEllipse(paper.canvas(), 10, 10, 2, 5, 0, ink);
    drawThickEllipse(paper.canvas(), 10, 10, 2, 5, -1, ink);
    EXPECT_TRUE(paper.isFresh());
}

TEST(DrawThickEllipse, IsClippedOnAllSides) {
    expectClippedAlike([](const Canvas& canvas, int32_t dx, int32_t dy) {
        drawThickEllipse(canvas, float(dx) + 12.25f, float(dy) + 5.5f, 20, 9, 4, ink);
        drawThickEllipse(canvas, float(dx) + 60, float(dy), 30, 38, 1.5f, ink + 1);
    });
}

TEST(ThickShapes, DrawNothingForNumbersThatAreNoneOrAbsurd) {
    const Paper paper(20, 20, 3);
    for (const float bad : hostileFloats)
        for (int place = 0; place < 5; ++place) {
            float numbers[] = {5, 5, 12, 12, 3};
            numbers[place] = bad;
            drawThickLine(paper.canvas(), numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], ink);
            drawThickEllipse(paper.canvas(), numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], ink);
        }
    EXPECT_TRUE(paper.isFresh());
}

TEST(ThickShapes, OfTheLargestNumbersStayOnTheCanvas) {
    const Paper paper(20, 20, 4);
    for (const float a : {-1e7f, 3.0f, 1e7f})
        for (const float b : {-1e7f, 3.0f, 1e7f})
            for (const float c : {1e-30f, 2.0f, 1e7f})
                for (const float thickness : {1e-30f, 2.0f, 1e7f}) {
                    drawThickLine(paper.canvas(), a, b, c, 2 * c - a / 3, thickness, ink);
                    drawThickEllipse(paper.canvas(), a, b, c, 3, thickness, ink);
                }
    EXPECT_TRUE(paper.onlyColoursDiffer());
    for (const Canvas& empty : {Canvas{}, Canvas{paper.at(0, 0), 85, 0, 20, 4}, Canvas{paper.at(0, 0), 85, 20, 0, 4}}) {
        drawThickLine(empty, 1, 1, 9, 9, 3, ink);
        drawThickEllipse(empty, 5, 5, 3, 3, 3, ink);
    }
}

}  // namespace raster_thick_test
}  // namespace vexcap
