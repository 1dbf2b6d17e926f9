#include "overlay/rotate_dib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "overlay/dib_testing.h"

namespace vexcap::test {
namespace rotate_dib_test {

struct Free {
    void operator()(uint8_t* memory) const { std::free(memory); }
};

constexpr std::pair<int32_t, int32_t> sizes[] = {{1, 1}, {1, 2}, {2, 1}, {1, 7}, {8, 1},  {2, 2},
                                                 {3, 5}, {6, 4}, {9, 8}, {8, 9}, {17, 12}};

std::pair<int32_t, int32_t> rotatedSize(const Bytes& dib, float angle) {
    std::pair<int32_t, int32_t> size;
    RotatedSize(size.first, size.second, dib.data(), angle);
    return size;
}

/// What RotateDib makes in memory of the test, filled with 0xEE before.
struct Rotated {
    Rotated(const Bytes& dib, float angle, uint32_t bytesPerPixel = 3)
        : bytes(rotatedBytes(dib.data(), angle, bytesPerPixel), 0xEE) {
        EXPECT_EQ(RotateDib(header, bytes.data(), dib.data(), angle, bytesPerPixel), bytes.data());
    }
    const uint8_t* At(int32_t row, int32_t column, uint32_t strideBytes = 3) const {
        return bytes.data() + size_t(row) * strideOf(header.biWidth, strideBytes) + size_t(column) * 3;
    }

    vex_bitmap_header header = {};
    Bytes bytes;
};

/// What a general angle may make of one pixel and channel: places and weights are worked out in double precision, so
/// the single one may come out a little to any side.
struct Sampled {
    Sampled(const Bytes& dib, std::pair<int32_t, int32_t> to, double degrees, int32_t row, int32_t column,
            int channel) {
        const int32_t W = widthOf(dib), H = heightOf(dib);
        const double angle = degrees * 3.14159265358979323846 / 180;
        const double u = column - to.first / 2, v = to.second / 2 - row;
        for (const double slipX : {-1e-4, 0.0, 1e-4})
            for (const double slipY : {-1e-4, 0.0, 1e-4}) {
                const double x = v * std::sin(angle) + u * std::cos(angle) + W / 2 + slipX;
                const double y = u * std::sin(angle) - v * std::cos(angle) + H / 2 + slipY;
                const double value = at(dib, x, y, channel);
                least = std::min(least, value);
                most = std::max(most, value);
            }
    }
    bool allows(uint8_t value) const { return value >= std::floor(least - 0.03) && value <= std::floor(most + 0.03); }

    /// 0 outside of the source.
    static double at(const Bytes& dib, double x, double y, int channel) {
        const int32_t W = widthOf(dib), H = heightOf(dib);
        const double wholeX = std::trunc(x), wholeY = std::trunc(y);
        if (wholeX < 0 || wholeY < 0 || wholeX >= W || wholeY >= H) return 0;
        const auto start = [](double whole, int32_t side) { return std::max(std::min(int32_t(whole), side - 2), 0); };
        const int32_t column = start(wholeX, W), row = start(wholeY, H);
        const auto sample = [&](int32_t down, int32_t right) {
            return double(pixelOf(dib, std::min(row + down, H - 1), std::min(column + right, W - 1))[channel]);
        };
        const double fx = x - wholeX, fy = y - wholeY;
        const double upper = sample(0, 0) + fx * (sample(0, 1) - sample(0, 0));
        const double lower = sample(1, 0) + fx * (sample(1, 1) - sample(1, 0));
        return std::clamp(upper + fy * (lower - upper), 0.0, 255.0);
    }

    double least = 255, most = 0;
};

TEST(RotatedSize, StaysOrChangesPlacesWithinAHundredthOfARightAngle) {
    const Bytes dib = makeDib(200, 100);
    using Size = std::pair<int32_t, int32_t>;
    struct Row {
        float angle;
        Size size;
    };
    const Row rows[] = {
        {0, {200, 100}},   {0.005f, {200, 100}},   {-0.005f, {200, 100}}, {89.995f, {100, 200}},  {90.005f, {100, 200}},
        {180, {200, 100}}, {179.995f, {200, 100}}, {270, {100, 200}},     {270.005f, {100, 200}}, {45, {212, 212}},
        {30, {223, 187}},  {-30, {223, 187}},      {-90, {100, 200}},     {360, {200, 100}},      {120, {187, 223}},
        {1, {202, 103}},   {359.999f, {200, 100}},
    };
    for (const Row& row : rows) EXPECT_EQ(rotatedSize(dib, row.angle), row.size) << row.angle;
}

TEST(RotatedSize, IsTheGreaterDiagonalReachRoundedAtEveryAngle) {
    for (const auto& [width, height] : sizes)
        for (int32_t angle = -359; angle < 360; ++angle) {
            if (angle == 0 || angle == 90 || angle == 180 || angle == 270) continue;
            const double c = std::abs(std::cos(angle * 3.14159265358979323846 / 180));
            const double s = std::abs(std::sin(angle * 3.14159265358979323846 / 180));
            const auto size = rotatedSize(makeDib(width, height), float(angle));
            // A half may be rounded either way in single precision.
            EXPECT_NEAR(size.first, width * c + height * s, 0.5001) << angle;
            EXPECT_NEAR(size.second, width * s + height * c, 0.5001) << angle;
        }
}

TEST(RotateDib, RightAnglesMovePixelsWithoutChangingThem) {
    for (const auto& [width, height] : sizes) {
        const Bytes dib = makeDib(width, height);
        const int32_t W = width, H = height;
        for (const float off : {-0.005f, 0.0f, 0.005f}) {
            const Rotated none(dib, 0 + off), quarter(dib, 90 + off), half(dib, 180 + off), rest(dib, 270 + off);
            for (int32_t row = 0; row < H; ++row)
                for (int32_t column = 0; column < W; ++column) {
                    // Every pixel of the source, and where it went.
                    const uint8_t* const from = pixelOf(dib, row, column);
                    ASSERT_EQ(std::memcmp(none.At(row, column), from, 3), 0);
                    ASSERT_EQ(std::memcmp(quarter.At(W - 1 - column, row), from, 3), 0);
                    ASSERT_EQ(std::memcmp(half.At(H - 1 - row, W - 1 - column), from, 3), 0);
                    ASSERT_EQ(std::memcmp(rest.At(column, H - 1 - row), from, 3), 0);
                }
        }
    }
}

TEST(RotateDib, TheHeaderTellsTheSizeAndElseNothing) {
    const Bytes dib = makeDib(5, 3);
    for (const uint32_t bytesPerPixel : {3u, 4u}) {
        vex_bitmap_header header;
        std::memset(&header, 0xEE, sizeof header);
        const std::unique_ptr<uint8_t, Free> made(RotateDib(header, nullptr, dib.data(), 90, bytesPerPixel));
        ASSERT_TRUE(made);
        vex_bitmap_header want = {};
        want.biSize = 40;
        want.biWidth = 3;
        want.biHeight = 5;
        want.biPlanes = 1;
        want.biBitCount = uint16_t(bytesPerPixel * 8);
        EXPECT_EQ(std::memcmp(&header, &want, sizeof header), 0);
    }
}

TEST(RotateDib, OtherAnglesSampleFourNeighbours) {
    for (const auto& [width, height] : sizes) {
        const Bytes dib = makeDib(width, height);
        for (const float angle :
             {0.02f, 1.0f, 30.0f, 45.0f, 89.98f, 123.456f, 200.0f, 300.5f, 359.999f, 360.0f, -45.0f}) {
            const Rotated got(dib, angle);
            const auto size = rotatedSize(dib, angle);
            for (int32_t row = 0; row < size.second; ++row)
                for (int32_t column = 0; column < size.first; ++column)
                    for (int channel = 0; channel < 3; ++channel) {
                        const Sampled want(dib, size, double(angle), row, column, channel);
                        ASSERT_TRUE(want.allows(got.At(row, column)[channel]))
                            << width << " x " << height << " by " << angle << " at " << row << ", " << column << ": "
                            << int(got.At(row, column)[channel]) << ", not " << want.least << " to " << want.most;
                    }
        }
    }
}

TEST(RotateDib, AnAngleJustBesideARightOneIsSampled) {
    const Bytes dib = makeDib(9, 8);
    EXPECT_EQ(Rotated(dib, 89.995f).bytes, Rotated(dib, 90).bytes);
    EXPECT_NE(Rotated(dib, 89.98f).bytes, Rotated(dib, 90).bytes);
    EXPECT_NE(Rotated(dib, 360).bytes, Rotated(dib, 0).bytes);
}

TEST(RotateDib, CornersOutsideTheSourceAreBlackWithTheRestOfTheirRows) {
    const Bytes dib = makeDib(9, 8, 200);
    const Rotated got(dib, 45);
    const auto [width, height] = rotatedSize(dib, 45);
    for (const int32_t row : {0, height - 1})
        for (const int32_t column : {0, width - 1})
            for (int channel = 0; channel < 3; ++channel) EXPECT_EQ(got.At(row, column)[channel], 0);
    for (int32_t row = 0; row < height; ++row)
        for (size_t i = size_t(width) * 3; i < strideOf(width, 3); ++i) EXPECT_EQ(got.At(row, 0)[i], 0);
    EXPECT_GT(got.At(height / 2, width / 2)[0], 0);
}

TEST(RotateDib, RowsForFourBytesHoldPixelsThreeBytesApartAtRightAngles) {
    const Bytes dib = makeDib(5, 3);
    for (const float angle : {0.0f, 90.0f, 180.0f, 270.0f}) {
        const Rotated narrow(dib, angle), wide(dib, angle, 4);
        const int32_t width = wide.header.biWidth, height = wide.header.biHeight;
        ASSERT_EQ(wide.bytes.size(), size_t(width) * 4 * size_t(height));
        for (int32_t row = 0; row < height; ++row) {
            for (int32_t column = 0; column < width; ++column)
                EXPECT_EQ(std::memcmp(wide.At(row, column, 4), narrow.At(row, column), 3), 0);
            for (int32_t i = width * 3; i < width * 4; ++i) EXPECT_EQ(wide.At(row, 0, 4)[i], 0xEE) << "not its own";
        }
    }
}

TEST(RotateDib, RowsForFourBytesLieAsCloseAsThoseOfThreeAtOtherAngles) {
    const Bytes dib = makeDib(5, 3);
    const Rotated narrow(dib, 30), wide(dib, 30, 4);
    ASSERT_GT(wide.bytes.size(), narrow.bytes.size());
    EXPECT_TRUE(std::equal(narrow.bytes.begin(), narrow.bytes.end(), wide.bytes.begin()));
    EXPECT_TRUE(std::all_of(wide.bytes.begin() + ptrdiff_t(narrow.bytes.size()), wide.bytes.end(),
                            [](uint8_t byte) { return byte == 0; }));
}

TEST(RotateDib, MemoryOfItsOwnIsZeroWherePixelsAreNotWritten) {
    const Bytes dib = makeDib(5, 3);
    for (const uint32_t bytesPerPixel : {3u, 4u}) {
        vex_bitmap_header header;
        const std::unique_ptr<uint8_t, Free> made(RotateDib(header, nullptr, dib.data(), 0, bytesPerPixel));
        ASSERT_TRUE(made);
        const size_t stride = strideOf(5, bytesPerPixel);
        for (size_t row = 0; row < 3; ++row) {
            EXPECT_EQ(std::memcmp(made.get() + row * stride, pixelOf(dib, int32_t(row), 0), 15), 0);
            for (size_t i = 15; i < stride; ++i) EXPECT_EQ(made.get()[row * stride + i], 0);
        }
    }
}

TEST(RotateDib, GivesNullForNoPictureAndForOneBeyondMemory) {
    vex_bitmap_header header = {};
    EXPECT_EQ(RotateDib(header, nullptr, nullptr, 0, 3), nullptr);
    // Upright it would be a line of 64 MB; turned it is a square of a side of 15 million.
    const Bytes line = makeDib(21 << 20, 1);
    EXPECT_EQ(rotatedBytes(line.data(), 45, 3), 0u);
    EXPECT_EQ(RotateDib(header, nullptr, line.data(), 45, 3), nullptr);
    EXPECT_EQ(header.biSize, 0u);
    EXPECT_EQ(rotatedBytes(line.data(), 0, 3), line.size() - 40);
}

TEST(RotateDib, SizesAndAnglesBeyondAllReasonGiveNothing) {
    constexpr int32_t highest = std::numeric_limits<int32_t>::max();
    Bytes dib = makeDib(2, 2);
    for (const float angle : {std::nanf(""), std::numeric_limits<float>::infinity()})
        EXPECT_EQ(rotatedBytes(dib.data(), angle, 3), 0u);
    EXPECT_NE(rotatedBytes(dib.data(), 1e30f, 3), 0u);
    setSize(dib, highest, highest);
    for (const float angle : {0.0f, 45.0f, 90.0f}) EXPECT_EQ(rotatedBytes(dib.data(), angle, 4), 0u);
    EXPECT_EQ(rotatedSize(dib, 45), std::pair(highest, highest));
    setSize(dib, highest, 1);
    for (const float angle : {0.0f, 45.0f, 90.0f}) EXPECT_EQ(rotatedBytes(dib.data(), angle, 4), 0u);
}

}  // namespace rotate_dib_test
}  // namespace vexcap::test
