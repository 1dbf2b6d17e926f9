#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "overlay/geo_marker.h"
#include "overlay/geo_marker_testing.h"
#include "platform/fake/recording_target.h"

namespace vexcap::test {
namespace geo_marker_target_test {

using Kind = TargetCall::Kind;

constexpr int32_t lowest = std::numeric_limits<int32_t>::min(), highest = std::numeric_limits<int32_t>::max();
constexpr uint32_t colour = 0x00AABBCC;

GeoMarker marker(int32_t style, int32_t x = 100, int32_t y = 100, double tick = 0) {
    return {{style, colour, 1, x, y, 40, 30, 0, 0, 0}, tick};
}

bool near(float got, double want) { return std::abs(got - want) < 1e-3; }
bool matches(const TargetCall& got, const ExpectedLine& want) {
    return near(got.a, want.x1) && near(got.b, want.y1) && near(got.c, want.x2) && near(got.d, want.y2);
}

/// Each expected line is there once, and no other one.
void expectLines(std::vector<TargetCall> got, const std::vector<ExpectedLine>& wanted) {
    EXPECT_EQ(got.size(), wanted.size());
    for (const ExpectedLine& want : wanted) {
        const auto found =
            std::find_if(got.begin(), got.end(), [&](const TargetCall& call) { return matches(call, want); });
        if (found == got.end()) {
            ADD_FAILURE() << "no line " << want.x1 << ", " << want.y1 << " to " << want.x2 << ", " << want.y2;
        } else {
            EXPECT_EQ(found->colour, colour);
            EXPECT_EQ(found->width, 1);
            got.erase(found);
        }
    }
}

TEST(GeoMarkerOnTarget, EveryLineAndTickIsTheExpectedOneWithoutRounding) {
    constexpr vex_rect areas[] = {{0, 0, 90, 70}, {7, -5, 72, 54}, {-20, 30, 81, 110}};
    constexpr int32_t offsets[][2] = {{0, 0}, {50, -50}, {-13, 7}};
    for (const int32_t style : {1, 2, 4, 5})
        for (const int32_t angle : {0, 1, 90000, 45000, 12345, 359999, 360000})
            for (const vex_rect& area : areas)
                for (const auto& offset : offsets)
                    for (const double tick : {0.0, 1.7, 9.3}) {
                        GeoMarker what = marker(style, 71, 33, tick);
                        what.geo.eMarkerxPos = offset[0];
                        what.geo.eMarkeryPos = offset[1];
                        what.geo.eMarkerGeoAngle = angle;
                        RecordingTarget target(192);
                        paintGeoMarker(target, area, what);
                        const ExpectedLines expected(area.left, area.top, area.right - area.left,
                                                     area.bottom - area.top, 2, what);
                        SCOPED_TRACE(testing::Message() << style << " angle " << angle << " left " << area.left
                                                        << " offset " << offset[0] << " tick " << tick);
                        expectLines(target.Of(Kind::Line), expected.lines);
                        if (HasFailure()) return;
                    }
}

TEST(GeoMarkerOnTarget, ACircleHasItsCentreAndRadiusInFractionsOfPixels) {
    for (const int32_t style : {3, 5}) {
        GeoMarker what = marker(style, 33);
        what.geo.eMarkerGeox2 = 33;
        what.geo.eMarkerxPos = 10;
        what.geo.eMarkeryPos = -10;
        RecordingTarget target;
        paintGeoMarker(target, {3, 4, 68, 53}, what);
        const auto circles = target.Of(Kind::Ellipse);
        ASSERT_EQ(circles.size(), 1u);
        // The offset is whole: 7 of 65 pixels, 5 of 49.
        EXPECT_EQ(circles[0].a, 3 + 32.5f + 7);
        EXPECT_EQ(circles[0].b, 4 + 24.5f - 5);
        EXPECT_FLOAT_EQ(circles[0].c, 65 * 0.33f);
        EXPECT_EQ(circles[0].c, circles[0].d);
        EXPECT_EQ(circles[0].colour, colour);
        EXPECT_EQ(circles[0].width, 1);
        EXPECT_EQ(target.calls.size(), style == 3 ? 1u : 3u);
    }
}

TEST(GeoMarkerOnTarget, ACircleOfLessThanAPixelIsNotDrawn) {
    for (const int32_t percent : {1, 0, -50, lowest}) {
        RecordingTarget target;
        paintGeoMarker(target, {0, 0, 99, 50}, marker(3, percent));
        EXPECT_TRUE(target.calls.empty());
    }
}

// The two slips that are kept: one picture each, in numbers worked out by hand.

TEST(GeoMarkerOnTarget, TicksOfARectangleStandOnOneWhoseSidesAreItsPercentages) {
    RecordingTarget target;
    paintGeoMarker(target, {0, 0, 400, 200}, marker(2, 50, 40, 25));
    const std::vector<ExpectedLine> wanted = {
        {100, 60, 300, 60},   {300, 60, 300, 140},  {300, 140, 100, 140}, {100, 140, 100, 60},  // 200 by 80
        {200, 80, 200, 75},   {200, 120, 200, 125},  // 50 wide: one tick at 25
        {175, 105, 170, 105}, {225, 105, 230, 105},  // 40 high
    };
    auto got = target.Of(Kind::Line);
    ASSERT_EQ(got.size(), wanted.size());
    for (const ExpectedLine& want : wanted)
        EXPECT_TRUE(std::any_of(got.begin(), got.end(),
                                [&](const TargetCall& call) {
                                    return matches(call, want) || matches(call, {want.x2, want.y2, want.x1, want.y1});
                                }))
            << want.x1 << ", " << want.y1;
}

TEST(GeoMarkerOnTarget, ATurnedRectangleHasTheDiagonalOfItsPercentages) {
    GeoMarker what = marker(2, 50, 50);
    what.geo.eMarkerGeoAngle = 360000;
    RecordingTarget target;
    paintGeoMarker(target, {0, 0, 400, 300}, what);
    // 200 by 150 has a diagonal of 250, which lies at 45 degrees here.
    const double half = 125 / std::sqrt(2.0);
    const auto got = target.Of(Kind::Line);
    ASSERT_EQ(got.size(), 4u);
    EXPECT_TRUE(matches(got[0], {200 + half, 150 + half, 200 + half, 150 - half}));
    EXPECT_TRUE(matches(got[2], {200 - half, 150 - half, 200 - half, 150 + half}));
}

TEST(GeoMarkerOnTarget, TicksGrowWithTheDotsAnInch) {
    struct Row {
        uint32_t dots;
        float shorter, longer;
    };
    for (const Row& row : {Row{0, 5, 20}, Row{96, 5, 20}, Row{120, 6, 25}, Row{144, 8, 30}, Row{48, 3, 10}}) {
        RecordingTarget target(row.dots);
        paintGeoMarker(target, {0, 0, 400, 2}, marker(1, 100, 100, 15));
        const auto lines = target.Of(Kind::Line);
        ASSERT_EQ(lines.size(), 2u + 2 * 13);
        for (size_t i = 2; i < lines.size(); ++i) {
            const bool tenth = std::abs(lines[i].a - 200) == 150;
            EXPECT_EQ(std::abs(lines[i].d - lines[i].b), tenth ? row.longer : row.shorter) << row.dots;
        }
    }
}

TEST(GeoMarkerOnTarget, OtherStylesDrawNothing) {
    for (const int32_t style : {0, -1, 6, lowest, highest}) {
        RecordingTarget target;
        paintGeoMarker(target, {0, 0, 400, 300}, marker(style, 50, 50, 10));
        EXPECT_TRUE(target.calls.empty());
    }
}

TEST(GeoMarkerOnTarget, ARectangleWithoutAnInsideOrBeyondAllWindowsDrawsNothing) {
    const vex_rect areas[] = {{0, 0, 0, 30},
                              {0, 0, 40, 0},
                              {40, 0, 0, 30},
                              {lowest, 0, highest, 30},
                              {highest, 0, lowest, 30},
                              {0, 0, (1 << 20) + 1, 30}};
    for (const vex_rect& area : areas) {
        RecordingTarget target;
        paintGeoMarker(target, area, marker(4, 50, 50, 3));
        EXPECT_TRUE(target.calls.empty());
    }
}

TEST(GeoMarkerOnTarget, NoRecordGivesNumbersThatAreNotFinite) {
    constexpr int32_t numbers[] = {lowest, -101, 0, 100, 101, highest};
    const vex_rect areas[] = {{-3, -3, 9, 9}, {highest - 9, lowest, highest, lowest + 9}};
    for (int32_t style = 1; style <= 5; ++style)
        for (const int32_t size : numbers)
            for (const int32_t position : numbers)
                for (const int32_t angle : {lowest, 0, 77777, highest})
                    for (const vex_rect& area : areas) {
                        RecordingTarget target(0xFFFFFFFF);
                        paintGeoMarker(target, area,
                                       {{style, colour, 1, size, 7, 7, size, position, -1 - position, angle}, 0.5});
                        ASSERT_LT(target.calls.size(), 2000u);
                        for (const TargetCall& call : target.calls)
                            ASSERT_TRUE(std::isfinite(call.a + call.b + call.c + call.d));
                    }
}

}  // namespace geo_marker_target_test
}  // namespace vexcap::test
