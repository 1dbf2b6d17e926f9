#include "overlay/geo_marker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "base/dib.h"
#include "overlay/geo_marker_testing.h"

namespace vexcap::test {
namespace geo_marker_test {

using Bytes = std::vector<uint8_t>;

constexpr int32_t lowest = std::numeric_limits<int32_t>::min(), highest = std::numeric_limits<int32_t>::max();
constexpr uint32_t colour = 0x00AABBCC;
constexpr int32_t angles[] = {0, 1, 90000, 45000, 12345, 359999, 360000};

GeoMarker marker(int32_t style, int32_t x = 100, int32_t y = 100, double tick = 0) {
    return {{style, colour, 1, x, y, 100, 100, 0, 0, 0}, tick};
}

Bytes pattern(size_t bytes) {
    Bytes made(bytes);
    for (size_t i = 0; i < bytes; ++i) made[i] = uint8_t(i * 7 + i / 251);
    return made;
}

/// A bottom-up frame of any size.
struct Frame {
    Frame(int32_t w, int32_t h, uint32_t pixelBytes)
        : width(w), height(h), bytesPerPixel(pixelBytes), bytes(pattern(Stride() * size_t(h))) {}

    size_t Stride() const { return dibStride(uint32_t(width), bytesPerPixel); }
    uint8_t* At(int32_t x, int32_t y) {
        return bytes.data() + size_t(height - 1 - y) * Stride() + size_t(x) * bytesPerPixel;
    }
    void Set(int32_t x, int32_t y) {
        At(x, y)[0] = 0xAA;
        At(x, y)[1] = 0xBB;
        At(x, y)[2] = 0xCC;
    }
    bool IsSet(int32_t x, int32_t y) { return At(x, y)[0] == 0xAA && At(x, y)[1] == 0xBB && At(x, y)[2] == 0xCC; }
    void Burn(const GeoMarker& what) { burnGeoMarker(canvasOf(bytes.data(), width, height, bytesPerPixel), what); }
    /// As the marker would leave it.
    Bytes With(const GeoMarker& what) const {
        Frame wanted = *this;
        const ExpectedMarker expected({.width = width, .height = height, .areaWidth = width, .areaHeight = height},
                                      what);
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                if (expected.isSet(x, y)) wanted.Set(x, y);
        return wanted.bytes;
    }

    int32_t width, height;
    uint32_t bytesPerPixel;
    Bytes bytes;
};

/// A surface with some bytes between its rows.
struct Surface {
    Surface(int32_t width, int32_t height, uint32_t dots = 96)
        : bytes(pattern(size_t(width * 4 + 12) * size_t(height))), surface{bytes.data(),   width, height,
                                                                           width * 4 + 12, dots,  dots} {}

    void Set(int32_t x, int32_t y) {
        uint8_t* const at = bytes.data() + size_t(y) * size_t(surface.stride) + size_t(x) * 4;
        at[0] = 0xAA;
        at[1] = 0xBB;
        at[2] = 0xCC;
    }
    /// As the marker without its circle would leave it.
    Bytes With(const vex_rect& area, const GeoMarker& what) const {
        Surface wanted(surface.width, surface.height);
        const ExpectedMarker expected({.width = surface.width,
                                       .height = surface.height,
                                       .left = area.left,
                                       .top = area.top,
                                       .areaWidth = area.right - area.left,
                                       .areaHeight = area.bottom - area.top,
                                       .dots = double(surface.dpiX),
                                       .frame = false},
                                      what);
        for (int32_t y = 0; y < surface.height; ++y)
            for (int32_t x = 0; x < surface.width; ++x)
                if (expected.isSet(x, y)) wanted.Set(x, y);
        return wanted.bytes;
    }

    Bytes bytes;
    vex_surface surface;
};

/// Markers of every style, angle, spacing and place that the tests of all pixels go through.
template <typename Try>
void forEachMarker(Try attempt) {
    struct Place {
        int32_t x, y, x2, y2, xPos, yPos;
    };
    const Place places[] = {{100, 100, 100, 100, 0, 0},
                            {50, 31, 20, 70, 0, 0},
                            {50, 31, 20, 70, 50, -50},
                            {67, 40, 33, 90, -13, 7},
                            {1, 33, 9, 1, -13, 7}};
    for (int32_t style = 1; style <= 5; ++style)
        for (const int32_t angle : angles)
            for (const Place& at : places)
                for (const double tick : {0.0, 0.4, 3.0, 7.3}) {
                    SCOPED_TRACE(testing::Message() << "style " << style << " angle " << angle << " size " << at.x
                                                    << " offset " << at.xPos << " tick " << tick);
                    attempt(GeoMarker{{style, colour, 1, at.x, at.y, at.x2, at.y2, at.xPos, at.yPos, angle}, tick});
                    if (testing::Test::HasFailure()) return;
                }
}

TEST(GeoMarkerInFrame, EveryPixelOfEveryShapeIsTheExpectedOne) {
    struct Row {
        int32_t width, height;
        uint32_t bytesPerPixel;
    };
    for (const Row& row : {Row{1, 1, 3}, Row{2, 3, 4}, Row{64, 48, 3}, Row{65, 49, 4}, Row{81, 64, 3}})
        forEachMarker([&](const GeoMarker& what) {
            Frame frame(row.width, row.height, row.bytesPerPixel);
            const Bytes want = frame.With(what);
            frame.Burn(what);
            EXPECT_TRUE(frame.bytes == want) << row.width << " x " << row.height << " x " << row.bytesPerPixel;
        });
}

TEST(GeoMarkerOnSurface, EveryLineAndTickIsTheExpectedOne) {
    struct Row {
        vex_rect area;
        uint32_t dots;
    };
    const Row rows[] = {{{0, 0, 60, 50}, 96}, {{7, 5, 52, 44}, 144}, {{-20, 20, 51, 81}, 48}, {{30, -30, 91, 18}, 96}};
    for (const Row& row : rows)
        forEachMarker([&](const GeoMarker& what) {
            if (what.geo.eMarkerGeo == 3 || what.geo.eMarkerGeo == 5) return;
            Surface surface(60, 50, row.dots);
            const Bytes want = surface.With(row.area, what);
            paintGeoMarker(surface.surface, row.area, what);
            EXPECT_TRUE(surface.bytes == want) << row.area.left << ", " << row.area.top << " dots " << row.dots;
        });
}

TEST(GeoMarkerOnSurface, ACircleIsTheEllipseInTheBoxAroundTheCentre) {
    struct Row {
        vex_rect area;
        int32_t percent, xPos, yPos;
        Box box;
    };
    const Row rows[] = {
        {{0, 0, 60, 40}, 20, 0, 0, {18, 8, 42, 32}},         {{0, 0, 61, 41}, 20, 0, 0, {18, 8, 42, 32}},
        {{10, 5, 70, 45}, 20, 0, 0, {28, 13, 52, 37}},       {{10, 5, 70, 45}, 20, 10, -10, {34, 9, 58, 33}},
        {{-30, -30, 30, 10}, 100, 0, 0, {-60, -70, 60, 50}},
    };
    for (const Row& row : rows)
        for (const int32_t style : {3, 5}) {
            GeoMarker what = marker(style, style == 3 ? row.percent : 0);
            what.geo.eMarkerGeox2 = row.percent;
            what.geo.eMarkerxPos = row.xPos;
            what.geo.eMarkeryPos = row.yPos;
            Surface got(80, 60), want(80, 60);
            paintGeoMarker(got.surface, row.area, what);
            drawEllipse({want.bytes.data(), want.surface.stride, 80, 60, 4}, row.box, colour);
            EXPECT_TRUE(got.bytes == want.bytes) << row.area.left << " " << row.percent << " style " << style;
        }
}

TEST(GeoMarkerOnSurface, TheFourthByteAndTheBytesBetweenRowsStay) {
    Surface surface(40, 30);
    const Bytes before = surface.bytes;
    paintGeoMarker(surface.surface, {0, 0, 40, 30}, marker(4, 50, 50, 3));
    for (int32_t y = 0; y < 30; ++y) {
        const size_t row = size_t(y) * size_t(surface.surface.stride);
        for (size_t x = 0; x < 40; ++x) ASSERT_EQ(surface.bytes[row + x * 4 + 3], before[row + x * 4 + 3]);
        ASSERT_TRUE(std::equal(surface.bytes.begin() + ptrdiff_t(row + 160),
                               surface.bytes.begin() + ptrdiff_t(row + 172), before.begin() + ptrdiff_t(row + 160)));
    }
    EXPECT_NE(surface.bytes, before);
}

TEST(GeoMarkerOnSurface, ASurfaceFromTheBottomUpShowsTheSamePicture) {
    Surface down(40, 30), up(40, 30);
    const size_t stride = size_t(down.surface.stride);
    for (size_t y = 0; y < 30; ++y)
        std::copy_n(down.bytes.begin() + ptrdiff_t(y * stride), stride,
                    up.bytes.begin() + ptrdiff_t((29 - y) * stride));
    up.surface.pixels = up.bytes.data() + 29 * stride;
    up.surface.stride = -down.surface.stride;
    GeoMarker what = marker(4, 80, 60, 4);
    what.geo.eMarkerGeoAngle = 12345;
    paintGeoMarker(down.surface, {0, 0, 40, 30}, what);
    paintGeoMarker(up.surface, {0, 0, 40, 30}, what);
    for (size_t y = 0; y < 30; ++y)
        EXPECT_TRUE(std::equal(down.bytes.begin() + ptrdiff_t(y * stride),
                               down.bytes.begin() + ptrdiff_t((y + 1) * stride),
                               up.bytes.begin() + ptrdiff_t((29 - y) * stride)));
}

TEST(GeoMarkerInFrame, ACircleLiesOneRowAboveTheCrossWhereTheHeightIsEven) {
    for (const int32_t height : {40, 41}) {
        Frame frame(60, height, 3);
        frame.Burn(marker(3, 10));  // radius 6
        const int32_t middle = height == 40 ? 19 : 20;
        EXPECT_TRUE(frame.IsSet(30, middle - 6));
        EXPECT_TRUE(frame.IsSet(30, middle + 6));
        EXPECT_TRUE(frame.IsSet(24, middle));
        EXPECT_TRUE(frame.IsSet(36, middle));
        Frame cross(60, height, 3);
        cross.Burn(marker(1));
        EXPECT_TRUE(cross.IsSet(5, 20));
    }
}

TEST(GeoMarkerInFrame, ACircleMovesDownWithTheOffset) {
    Frame frame(60, 40, 3);
    GeoMarker what = marker(3, 10);
    what.geo.eMarkerxPos = 20;
    what.geo.eMarkeryPos = 10;
    frame.Burn(what);
    EXPECT_TRUE(frame.IsSet(42, 23 + 6));
    EXPECT_TRUE(frame.IsSet(42, 23 - 6));
    EXPECT_TRUE(frame.IsSet(42 + 6, 23));
}

TEST(GeoMarker, OtherStylesLeaveTheTargetUntouched) {
    for (const int32_t style : {0, -1, 6, lowest, highest}) {
        Frame frame(40, 30, 3);
        Surface surface(40, 30);
        const Bytes framed = frame.bytes, painted = surface.bytes;
        frame.Burn(marker(style, 50, 50, 3));
        paintGeoMarker(surface.surface, {0, 0, 40, 30}, marker(style, 50, 50, 3));
        EXPECT_EQ(frame.bytes, framed);
        EXPECT_EQ(surface.bytes, painted);
    }
}

TEST(GeoMarker, AnOffsetOfHalfAnOddWidthStopsAtHalfOfItRoundedDown) {
    Frame frame(1001, 8, 3);
    GeoMarker what = marker(1);
    what.geo.eMarkerxPos = 50;
    frame.Burn(what);
    for (int32_t y = 0; y < 8; ++y) EXPECT_TRUE(frame.IsSet(1000, y));
    EXPECT_FALSE(frame.IsSet(999, 0));
}

TEST(GeoMarker, ACrossTurnedByARightAngleBeginsWhereItsRoundedProductsSay) {
    Frame frame(64, 64, 3);
    GeoMarker what = marker(1, 50, 25);  // 32 and 16 pixels
    what.geo.eMarkerGeoAngle = 90000;
    frame.Burn(what);
    // The arm of 32 is upright now and goes from below the centre to one pixel short of its other end.
    EXPECT_TRUE(frame.IsSet(32, 48));
    EXPECT_FALSE(frame.IsSet(32, 49));
    EXPECT_TRUE(frame.IsSet(32, 17));
    EXPECT_FALSE(frame.IsSet(32, 16));
    EXPECT_TRUE(frame.IsSet(40, 32));
    EXPECT_TRUE(frame.IsSet(25, 32));
    EXPECT_FALSE(frame.IsSet(24, 32));
}

TEST(GeoMarker, ProductsBelowZeroAreTruncatedTowardZero) {
    Frame frame(64, 64, 3);
    GeoMarker what = marker(2, 50, 50);
    what.geo.eMarkerGeoAngle = 180000;
    frame.Burn(what);
    // 16 stays 16, and -16 becomes -15.
    EXPECT_TRUE(frame.IsSet(17, 17));
    EXPECT_TRUE(frame.IsSet(48, 48));
    EXPECT_TRUE(frame.IsSet(48, 17));
    EXPECT_FALSE(frame.IsSet(16, 16));
}

TEST(GeoMarker, TicksWiderApartThanHalfAnArmAreNotDrawnAndTheCrossIs) {
    for (const int32_t angle : {0, 12345}) {
        Frame without(80, 60, 3), with(80, 60, 3);
        GeoMarker what = marker(1, 50, 50);
        what.geo.eMarkerGeoAngle = angle;
        const Bytes untouched = with.bytes;
        without.Burn(what);
        what.tick = 20.5;
        with.Burn(what);
        EXPECT_EQ(with.bytes, without.bytes);
        EXPECT_NE(with.bytes, untouched);
    }
}

/// Pixels of a tick above the middle row in a column.
int32_t tickHeight(Frame& frame, int32_t x, int32_t middle) {
    int32_t pixels = 0;
    while (frame.IsSet(x, middle - pixels)) ++pixels;
    return pixels;
}

TEST(GeoMarker, TheTenthTickIsTwentyLongAndTheEleventhFive) {
    Frame frame(400, 100, 3);
    frame.Burn(marker(1, 100, 100, 10));
    for (const int32_t side : {1, -1}) {
        EXPECT_EQ(tickHeight(frame, 200 + side * 90, 50), 5);
        EXPECT_EQ(tickHeight(frame, 200 + side * 100, 50), 20);
        EXPECT_EQ(tickHeight(frame, 200 + side * 110, 50), 5);
        EXPECT_EQ(tickHeight(frame, 200 + side * 105, 50), 1);
    }
}

TEST(GeoMarker, TicksCloserThanAPixelAreAllThere) {
    for (const double tick : {0.01, 0.05, 0.13, 0.999})
        for (const int32_t angle : {0, 12345, 90000}) {
            Frame frame(40, 31, 3);
            GeoMarker what = marker(4, 70, 70, tick);
            what.geo.eMarkerGeox2 = what.geo.eMarkerGeoy2 = 40;
            what.geo.eMarkerGeoAngle = angle;
            const Bytes want = frame.With(what);
            frame.Burn(what);
            EXPECT_EQ(frame.bytes, want) << tick << " angle " << angle;
        }
}

TEST(GeoMarker, TicksAreDrawnForBitZeroOfTheFlagAlone) {
    for (const uint32_t flag : {0u, 2u, 6u, 0xFFFFFFFEu}) {
        Frame without(80, 60, 3), with(80, 60, 3);
        without.Burn(marker(4, 50, 50));
        GeoMarker what = marker(4, 50, 50, 4);
        what.geo.eMarkerGeoFlag = flag;
        with.Burn(what);
        EXPECT_EQ(with.bytes, without.bytes);
    }
}

TEST(GeoMarker, ASpacingThatIsNoneDrawsNoTicks) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double tick : {0.0, 0.009, -1.0, -1e300, 1e300, infinity, -infinity, std::nan("")})
        for (const int32_t angle : {0, 12345}) {
            Frame without(80, 60, 3), with(80, 60, 3);
            GeoMarker what = marker(4, 50, 50);
            what.geo.eMarkerGeoAngle = angle;
            without.Burn(what);
            what.tick = tick;
            with.Burn(what);
            EXPECT_EQ(with.bytes, without.bytes) << tick;
        }
}

TEST(GeoMarker, ACircleOfAHundredPercentIsClippedToTheFrame) {
    Frame frame(48, 40, 3);
    const Bytes before = frame.bytes;
    frame.Burn(marker(3));
    EXPECT_EQ(frame.bytes, before);  // all of it lies outside
    GeoMarker moved = marker(3);
    moved.geo.eMarkerxPos = 50;
    const Bytes want = frame.With(moved);
    frame.Burn(moved);
    EXPECT_EQ(frame.bytes, want);
    EXPECT_TRUE(frame.IsSet(0, 19));
}

TEST(GeoMarker, TheSecondHeightMeansNothingToACircle) {
    Frame want(80, 60, 3);
    GeoMarker what = marker(5, 50, 50);
    what.geo.eMarkerGeox2 = 20;
    want.Burn(what);
    for (const int32_t height : {1, 0, -5, lowest, highest}) {
        Frame got(80, 60, 3);
        what.geo.eMarkerGeoy2 = height;
        got.Burn(what);
        EXPECT_EQ(got.bytes, want.bytes);
    }
}

TEST(GeoMarker, AnAngleMeansNothingToACircle) {
    Frame want(80, 60, 3);
    want.Burn(marker(3, 20));
    for (const int32_t angle : angles) {
        Frame got(80, 60, 3);
        GeoMarker what = marker(3, 20);
        what.geo.eMarkerGeoAngle = angle;
        got.Burn(what);
        EXPECT_EQ(got.bytes, want.bytes);
    }
}

TEST(GeoMarker, AShapeWithoutAPercentageIsNotDrawnAndTheOtherOneIs) {
    for (const int32_t none : {0, -1, lowest}) {
        Frame got(80, 60, 3), want(80, 60, 3);
        GeoMarker what = marker(4, 50, none, 3);
        what.geo.eMarkerGeox2 = what.geo.eMarkerGeoy2 = 40;
        got.Burn(what);
        want.Burn(marker(2, 40, 40, 3));
        EXPECT_EQ(got.bytes, want.bytes);
        Frame cross(80, 60, 3);
        what = marker(4, 50, 50, 3);
        what.geo.eMarkerGeox2 = none;
        cross.Burn(what);
        want = Frame(80, 60, 3);
        want.Burn(marker(1, 50, 50, 3));
        EXPECT_EQ(cross.bytes, want.bytes);
    }
}

TEST(GeoMarker, SidesAboveAHundredPercentEndAtTheTargetsSide) {
    for (const int32_t style : {1, 2}) {
        Frame got(80, 60, 3), want(80, 60, 3);
        got.Burn(marker(style, 250, 101, 3));
        want.Burn(marker(style, 100, 100, 3));
        EXPECT_EQ(got.bytes, want.bytes);
    }
}

/// Calls `attempt` with records of the most unlikely numbers.
template <typename Try>
void forEachHostileMarker(Try attempt) {
    constexpr int32_t numbers[] = {lowest, -101, 0, 100, 101, highest};
    for (int32_t style = 1; style <= 5; ++style)
        for (const int32_t size : numbers)
            for (const int32_t other : numbers)
                for (const int32_t position : numbers)
                    for (const int32_t angle : {lowest, 0, 77777, highest})
                        for (const double tick : {0.01, 1e300})
                            attempt(GeoMarker{
                                {style, colour, 0xFFFFFFFF, size, other, other, size, position, -1 - position, angle},
                                tick});
}

TEST(GeoMarkerInFrame, NoRecordReachesBeyondTheFrame) {
    Frame frame(7, 5, 3);
    const Bytes before = frame.bytes;
    forEachHostileMarker([&](const GeoMarker& what) { frame.Burn(what); });
    for (size_t row = 0; row < 5; ++row)  // three bytes of padding each
        for (size_t i = row * 24 + 21; i < row * 24 + 24; ++i) EXPECT_EQ(frame.bytes[i], before[i]);
    burnGeoMarker({}, marker(4, 50, 50, 3));
    burnGeoMarker({frame.bytes.data(), 24, -7, lowest, 3}, marker(4, 50, 50, 3));
}

TEST(GeoMarkerOnSurface, NoRecordOrRectangleReachesBeyondTheSurface) {
    Surface surface(7, 5, 0xFFFFFFFF);
    const Bytes before = surface.bytes;
    const vex_rect areas[] = {
        {-3, -3, 9, 9}, {highest - 9, highest - 9, highest, highest}, {lowest, lowest, lowest + 9, lowest + 9}};
    for (const vex_rect& area : areas)
        forEachHostileMarker([&](const GeoMarker& what) { paintGeoMarker(surface.surface, area, what); });
    for (size_t row = 0; row < 5; ++row)
        for (size_t i = row * 40 + 28; i < row * 40 + 40; ++i) EXPECT_EQ(surface.bytes[i], before[i]);
}

TEST(GeoMarkerOnSurface, ARectangleWithoutAnInsideOrBeyondAllWindowsDrawsNothing) {
    const vex_rect areas[] = {{0, 0, 0, 30},
                              {0, 0, 40, 0},
                              {40, 0, 0, 30},
                              {0, 0, 40, -30},
                              {lowest, 0, highest, 30},
                              {highest, 0, lowest, 30},
                              {0, 0, (1 << 20) + 1, 30}};
    for (const vex_rect& area : areas) {
        Surface surface(40, 30);
        const Bytes before = surface.bytes;
        paintGeoMarker(surface.surface, area, marker(4, 50, 50, 3));
        EXPECT_EQ(surface.bytes, before);
    }
    Surface surface(40, 30);
    const Bytes before = surface.bytes;
    paintGeoMarker(surface.surface, {-(1 << 19), 0, 1 << 19, 30}, marker(1));
    EXPECT_NE(surface.bytes, before);
}

TEST(GeoMarkerOnSurface, ASurfaceWithoutPixelsIsLeftAlone) {
    Surface surface(40, 30);
    const Bytes before = surface.bytes;
    vex_surface none = surface.surface;
    none.pixels = nullptr;
    paintGeoMarker(none, {0, 0, 40, 30}, marker(4, 50, 50, 3));
    for (const int32_t side : {0, -1, lowest}) {
        none = surface.surface;
        none.width = side;
        paintGeoMarker(none, {0, 0, 40, 30}, marker(4, 50, 50, 3));
        none = surface.surface;
        none.height = side;
        paintGeoMarker(none, {0, 0, 40, 30}, marker(4, 50, 50, 3));
    }
    EXPECT_EQ(surface.bytes, before);
}

}  // namespace geo_marker_test
}  // namespace vexcap::test
