// Pictures on pictures: which pixels of theirs are shown, and that nothing else is touched.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "pixel/raster/raster.h"
#include "pixel/raster/raster_testing.h"

namespace vexcap {
namespace raster_picture_test {

/// A picture of noise in memory that ends with its last pixel.
class Noise {
public:
    Noise(int32_t width, int32_t height, uint32_t bytesPerPixel, RowOrder order = RowOrder::TopDown, uint32_t seed = 1)
        : bytes(size_t(width) * size_t(height) * bytesPerPixel) {
        std::mt19937 random(seed);
        for (uint8_t& byte : bytes) byte = uint8_t(random());
        const ptrdiff_t stride = ptrdiff_t(width) * ptrdiff_t(bytesPerPixel);
        shown = order == RowOrder::TopDown
                    ? Picture{bytes.data(), stride, width, height, bytesPerPixel}
                    : Picture{bytes.data() + stride * (height - 1), -stride, width, height, bytesPerPixel};
    }
    Noise(const Noise&) = delete;

    const Picture& picture() const { return shown; }
    const uint8_t* at(int64_t x, int64_t y) const { return shown.Row(int32_t(y)) + x * shown.bytesPerPixel; }

private:
    std::vector<uint8_t> bytes;
    Picture shown;
};

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

TEST(BlendPicture, MixesCanvasAndPictureByHundredths) {
    const uint8_t pixel[] = {100, 200, 50};
    for (const uint32_t bytesPerPixel : pixelSizes) {
        const Paper paper(1, 1, bytesPerPixel);
        const auto blended = [&](uint32_t alpha) {
            fillBox(paper.canvas(), {0, 0, 1, 1}, 0x00C86432);  // 200, 100, 50
            blendPicture(paper.canvas(), {pixel, 3, 1, 1, 3}, 0, 0, alpha);
            return paper.colour(0, 0);
        };
        EXPECT_EQ(blended(0), 0x0064C832u) << "the picture alone";
        EXPECT_EQ(blended(100), 0x00C86432u) << "the canvas alone";
        EXPECT_EQ(blended(33), 0x0085A732u) << "cut off toward the picture on both sides";
        EXPECT_EQ(blended(200), 0x002C0032u) << "wraps";
        EXPECT_TRUE(paper.onlyColoursDiffer());
    }
}

TEST(BlendPicture, IsClippedOnAllSides) {
    const Noise large(90, 31, 3, RowOrder::BottomUp), small(19, 11, 3);
    expectClippedAlike([&](const Canvas& canvas, int32_t dx, int32_t dy) {
        blendPicture(canvas, large.picture(), dx - 13, dy - 9, 40);
        blendPicture(canvas, small.picture(), dx + 3, dy + 2, 77);
    });
}

/// What the box shows of the picture at a pixel of the canvas, or null.
const uint8_t* shownAt(const Noise& noise, const Box& box, int64_t x, int64_t y) {
    if (x < box.left || x >= box.right || y < box.top || y >= box.bottom) return nullptr;
    const int64_t width = int64_t(box.right) - box.left, height = int64_t(box.bottom) - box.top;
    return noise.at((x - box.left) * noise.picture().width / width, (y - box.top) * noise.picture().height / height);
}

/// Boxes at random around a canvas of 60 by 40, some of them huge.
std::vector<Box> someBoxes() {
    std::mt19937 random(5);
    std::vector<Box> boxes = {{0, 0, 60, 40}, {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}, {-3, 39, 2, 41}};
    for (int i = 0; i < 300; ++i) {
        const auto any = [&](int32_t least, int32_t size) { return least + int32_t(random() % uint32_t(size)); };
        const int32_t reach = i % 5 == 0 ? 100000 : 60;
        const int32_t left = any(-reach, reach + 50), top = any(-reach, reach + 30);
        boxes.push_back({left, top, left + any(1, 2 * reach), top + any(1, 2 * reach)});
    }
    return boxes;
}

TEST(StretchPicture, ShowsTheNearestPixelOfTheWholeBox) {
    for (const uint32_t sourceBytes : pixelSizes)
        for (const uint32_t targetBytes : pixelSizes)
            for (const Box& box : someBoxes()) {
                const RowOrder order = rowOrders[size_t(box.left & 1)];
                const Noise noise(1 + (box.right & 127), 1 + (box.bottom & 31), sourceBytes, order);
                const Paper paper(60, 40, targetBytes, order);
                stretchPicture(paper.canvas(), box, noise.picture());
                ASSERT_TRUE(paper.onlyColoursDiffer());
                for (int32_t y = 0; y < 40; ++y)
                    for (int32_t x = 0; x < 60; ++x) {
                        const uint8_t* const want = shownAt(noise, box, x, y);
                        for (uint32_t c = 0; c < 3; ++c)
                            ASSERT_EQ(paper.at(x, y)[c], want ? want[c] : Paper::ground(x, y, c))
                                << x << ", " << y << " of box " << box.left << ", " << box.top;
                    }
            }
}

TEST(StretchPicture, MayBeWiderAndHigherThanItsTables) {
    for (const bool isWide : {true, false}) {
        const Noise noise(isWide ? 700 : 2, isWide ? 2 : 700, 3);
        const Paper paper(isWide ? 5000 : 9, isWide ? 3 : 5000, 4);
        const Box box{0, 0, paper.canvas().width, paper.canvas().height};
        stretchPicture(paper.canvas(), box, noise.picture());
        for (int32_t y = 0; y < box.bottom; ++y)
            for (int32_t x = 0; x < box.right; ++x)
                ASSERT_TRUE(std::equal(paper.at(x, y), paper.at(x, y) + 3, shownAt(noise, box, x, y))) << x << " " << y;
        ASSERT_TRUE(paper.onlyColoursDiffer());
    }
}

TEST(StretchPicture, IsClippedOnAllSides) {
    const Noise large(200, 90, 3), small(19, 11, 4);
    expectClippedAlike([&](const Canvas& canvas, int32_t dx, int32_t dy) {
        stretchPicture(canvas, {dx - 30, dy - 12, dx + 60, dy + 16}, large.picture());
        stretchPicture(canvas, {dx + 3, dy + 2, dx + 100, dy + 40}, small.picture());
    });
}

TEST(StretchBlended, WeighsThePictureAgainstTheCanvas) {
    for (const uint32_t bytesPerPixel : pixelSizes)
        for (const int weight : {0, 1, 127, 128, 254, 255})
            for (const Box box : {Box{-5, -7, 33, 90}, Box{10, 10, 45, 22}, Box{0, 0, 60, 40}}) {
                const Noise noise(23, 17, 7 - bytesPerPixel, RowOrder::BottomUp);
                const Paper paper(60, 40, bytesPerPixel);
                stretchBlended(paper.canvas(), box, noise.picture(), uint8_t(weight));
                ASSERT_TRUE(paper.onlyColoursDiffer());
                for (int32_t y = 0; y < 40; ++y)
                    for (int32_t x = 0; x < 60; ++x)
                        for (uint32_t c = 0; c < 3; ++c) {
                            const uint8_t* const shown = shownAt(noise, box, x, y);
                            const int there = Paper::ground(x, y, c);
                            const int want = shown ? (shown[c] * weight + there * (255 - weight) + 127) / 255 : there;
                            ASSERT_EQ(paper.at(x, y)[c], want) << x << ", " << y << ", weight " << weight;
                        }
            }
}

TEST(StretchBlended, IsClippedOnAllSides) {
    const Noise noise(50, 40, 3);
    expectClippedAlike([&](const Canvas& canvas, int32_t dx, int32_t dy) {
        stretchBlended(canvas, {dx - 30, dy - 12, dx + 60, dy + 16}, noise.picture(), 99);
        stretchBlended(canvas, {dx + 3, dy + 2, dx + 100, dy + 40}, noise.picture(), 200);
    });
}

TEST(StretchLinear, ToItsOwnSizeIsACopy) {
    for (const uint32_t bytesPerPixel : pixelSizes) {
        const Noise noise(20, 10, bytesPerPixel, RowOrder::BottomUp);
        const Paper paper(30, 20, 7 - bytesPerPixel);
        stretchLinear(paper.canvas(), 4, 3, 24, 13, noise.picture(), 1);
        ASSERT_TRUE(paper.onlyColoursDiffer());
        const Box box{4, 3, 24, 13};
        for (int32_t y = 0; y < 20; ++y)
            for (int32_t x = 0; x < 30; ++x)
                for (uint32_t c = 0; c < 3; ++c) {
                    const uint8_t* const want = shownAt(noise, box, x, y);
                    ASSERT_EQ(paper.at(x, y)[c], want ? want[c] : Paper::ground(x, y, c)) << x << ", " << y;
                }
    }
}

TEST(StretchLinear, IsBetweenTheTwoNearestAndTheEdgeBeyondThem) {
    const uint8_t pixels[] = {0, 0, 0, 200, 100, 40};
    const Paper paper(8, 3, 3);
    stretchLinear(paper.canvas(), 0, 1, 8, 2, {pixels, 6, 2, 1, 3}, 1);
    const int blue[] = {0, 0, 25, 75, 125, 175, 200, 200};
    for (int32_t x = 0; x < 8; ++x) {
        EXPECT_EQ(paper.at(x, 1)[0], blue[x]) << x;
        EXPECT_NEAR(paper.at(x, 1)[1], blue[x] / 2.0, 0.5) << x;
        EXPECT_EQ(paper.at(x, 0)[0], Paper::ground(x, 0, 0)) << x;
        EXPECT_EQ(paper.at(x, 2)[0], Paper::ground(x, 2, 0)) << x;
    }
    const Paper turned(3, 8, 3);
    stretchLinear(turned.canvas(), 1, 0, 2, 8, {pixels, 3, 1, 2, 3}, 1);
    for (int32_t y = 0; y < 8; ++y) EXPECT_EQ(turned.colour(1, y), paper.colour(y, 1)) << y;
}

TEST(StretchLinear, CoversThePixelsWhoseCentresLieWithin) {
    const Paper paper(12, 12, 3);
    const uint8_t white[] = {255, 255, 255};
    stretchLinear(paper.canvas(), 1.5f, 2.4f, 9.5f, 7.6f, {white, 3, 1, 1, 3}, 1);
    for (int32_t y = 0; y < 12; ++y)
        for (int32_t x = 0; x < 12; ++x)
            ASSERT_EQ(paper.colour(x, y) == 0x00FFFFFF, x >= 1 && x < 9 && y >= 2 && y < 8) << x << ", " << y;
}

TEST(StretchLinear, MixesByItsOpacity) {
    const uint8_t white[] = {255, 255, 255};
    for (const float opacity : {-1.0f, 0.0f, 0.25f, 0.5f, 1.0f, 7.0f}) {
        const Paper paper(4, 4, 4);
        stretchLinear(paper.canvas(), 0, 0, 4, 4, {white, 3, 1, 1, 3}, opacity);
        const double share = std::clamp(double(opacity), 0.0, 1.0);
        for (int32_t x = 0; x < 4; ++x) {
            const double there = Paper::ground(x, 2, 1);
            EXPECT_NEAR(paper.at(x, 2)[1], there + (255 - there) * share, 0.51) << opacity;
        }
        EXPECT_EQ(paper.isFresh(), share == 0);
        EXPECT_TRUE(paper.onlyColoursDiffer());
    }
}

TEST(StretchLinear, IsClippedOnAllSides) {
    const Noise large(200, 90, 3), small(19, 11, 4);
    expectClippedAlike([&](const Canvas& canvas, int32_t dx, int32_t dy) {
        const auto x = float(dx), y = float(dy);
        stretchLinear(canvas, x - 30.5f, y - 12.25f, x + 60, y + 16, large.picture(), 1);
        stretchLinear(canvas, x + 3, y + 2, x + 100.75f, y + 37, small.picture(), 0.5f);
    });
}

TEST(StretchLinear, DrawsNothingForNumbersThatAreNone) {
    const Noise noise(5, 5, 3);
    const Paper paper(12, 12, 3);
    for (const float bad : {notANumber, infinity, -infinity})
        for (int place = 0; place < 5; ++place) {
            float numbers[] = {1, 1, 9, 9, 1};
            numbers[place] = bad;
            stretchLinear(paper.canvas(), numbers[0], numbers[1], numbers[2], numbers[3], noise.picture(), numbers[4]);
        }
    stretchLinear(paper.canvas(), 9, 1, 1, 9, noise.picture(), 1);
    stretchLinear(paper.canvas(), 1, 9, 9, 1, noise.picture(), 1);
    stretchLinear(paper.canvas(), 5, 1, 5, 9, noise.picture(), 1);
    EXPECT_TRUE(paper.isFresh());
}

TEST(Pictures, AtHostileCoordinatesStayOnTheCanvas) {
    const Noise noise(5, 3, 3);
    const Paper paper(17, 9, 4, RowOrder::BottomUp);
    constexpr float floats[] = {-3e38f, -1e7f, 3, 1e7f, 3e38f};
    for (const int32_t a : hostileCoordinates)
        for (const int32_t b : hostileCoordinates) {
            blendPicture(paper.canvas(), noise.picture(), a, b, UINT32_MAX);
            for (const int32_t c : hostileCoordinates)
                for (const int32_t d : hostileCoordinates) {
                    stretchPicture(paper.canvas(), {a, b, c, d}, noise.picture());
                    stretchBlended(paper.canvas(), {a, b, c, d}, noise.picture(), 100);
                }
        }
    for (const float a : floats)
        for (const float b : floats)
            for (const float c : floats)
                for (const float d : floats) stretchLinear(paper.canvas(), a, b, c, d, noise.picture(), 0.7f);
    EXPECT_TRUE(paper.onlyColoursDiffer());
}

TEST(Pictures, OrCanvasesWithoutPixelsDrawNothing) {
    const Noise noise(5, 3, 3);
    const Paper paper(17, 9, 4);
    const auto drawAll = [](const Canvas& canvas, const Picture& picture) {
        blendPicture(canvas, picture, 0, 0, 50);
        stretchPicture(canvas, {0, 0, 17, 9}, picture);
        stretchBlended(canvas, {0, 0, 17, 9}, picture, 100);
        stretchLinear(canvas, 0, 0, 17, 9, picture, 1);
    };
    for (const Picture& empty : {Picture{}, Picture{noise.at(0, 0), 15, 0, 3, 3}, Picture{noise.at(0, 0), 15, 5, 0, 3},
                                 Picture{noise.at(0, 0), 15, -5, -3, 3}, Picture{nullptr, 15, 5, 3, 3}})
        drawAll(paper.canvas(), empty);
    for (const Canvas& empty : {Canvas{}, Canvas{paper.at(0, 0), 73, 0, 9, 4}, Canvas{paper.at(0, 0), 73, 17, 0, 4},
                                Canvas{paper.at(0, 0), 73, -17, -9, 4}, Canvas{nullptr, 73, 17, 9, 4}})
        drawAll(empty, noise.picture());
    EXPECT_TRUE(paper.isFresh());
}

TEST(CanvasOf, HasItsTopAtTheLastRowOfAFrame) {
    std::vector<uint8_t> frame(2 * 12);
    const Canvas canvas = canvasOf(frame.data(), 3, 2, 3);
    EXPECT_EQ(canvas.Row(0), frame.data() + 12);
    EXPECT_EQ(canvas.Row(1), frame.data());
    const Picture picture = pictureOf(frame.data(), 3, 2, 4);
    EXPECT_EQ(picture.Row(0), frame.data() + 12);
    EXPECT_EQ(picture.Row(1), frame.data());
}

}  // namespace raster_picture_test
}  // namespace vexcap
