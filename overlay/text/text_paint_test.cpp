// The text block on surfaces and render targets.
#include <gtest/gtest.h>

#include "overlay/text/text_testing.h"
#include "platform/fake/recording_target.h"

namespace vexcap {
namespace text_paint_test {

using test::Clarity;
using test::Frame;
using test::MarkerRig;
using test::Surface;
using test::TextScene;
using Kind = test::TargetCall::Kind;

/// A rectangle of its size, at 3, 5 of what is painted on; the picture is half as wide and a third as high.
struct PaintRig : MarkerRig {
    static constexpr int32_t width = 600, height = 450;

    PaintRig() {
        scene.width = width;
        scene.height = height;
        scene.imageWidth = 300;
        scene.imageHeight = 150;
        scene.txt.FontSize = 0;
    }
    void choose(uint32_t items) {
        scene.bar = items & 1 ? 120 : 0;
        scene.scaleText = u"10 mm";
        scene.date = items & 2 ? u"1.1.2024 00:01:40" : u"";
        scene.datePattern = u"27.11.2006 12:45:56";
        scene.figure = items & 4 ? u"12.3" : u"";
        MarkerTxt& txt = scene.txt;
        txt.Scale = items & 1;
        txt.Date = items & 2 ? VEX_DATE_SHORT : VEX_DATE_NONE;
        txt.Contrast = items & 4;
        txt.ScaleColor = 0x0A0B0C;
        txt.DateColor = 0;
        txt.ContrastColor = 0xF0E0D0;
        Clarity::value = 12.34;
        marker.SetTxt(txt);
        marker.SetScale({60, u"10 mm", 7, u"never", nullptr});
    }
    void paint(Surface& surface, const vex_rect& at) {
        marker.DrawOverlayGdi(picture.bytes.data(), 3, 300, 150, surface.view(), at);
    }
    void paint(vex_render_target& target, const vex_rect& at) {
        marker.DrawOverlayD2d(picture.bytes.data(), 4, 300, 150, target, at);
    }
    void expectPainted(const vex_rect& at) {
        Surface got(620, 480), expected(620, 480);
        paint(got, at);
        expectOn(expected, at, scene);
        EXPECT_EQ(got.bytes, expected.bytes);
    }

    Frame picture{300, 150, 4};
    TextScene scene;
    vex_rect rectangle = {3, 5, 3 + width, 5 + height};
};

TEST(TextPaint, EveryCombinationInEveryCornerOfASurface) {
    for (uint32_t items = 1; items < 8; ++items)
        for (int32_t corner = 1; corner <= 4; ++corner) {
            SCOPED_TRACE(testing::Message() << items << " at " << corner);
            PaintRig rig;
            rig.scene.txt.MarkerPos = corner;
            rig.scene.txt.eBackground = int32_t(items) % 3;
            rig.choose(items);
            rig.expectPainted(rig.rectangle);
        }
}

TEST(TextPaint, TextsAreScaledByTheTargetsHeightAndTheBarByItsWidth) {
    PaintRig rig;
    rig.choose(3);
    EXPECT_EQ(test::expectedFont(rig.scene).height, 36) << "three times 12";
    EXPECT_EQ(test::expectedBlock(rig.scene).scale->height, 8 + 3 + 36);
    rig.expectPainted(rig.rectangle);
    rig.scene.height = 50;
    EXPECT_EQ(test::expectedFont(rig.scene).height, 12) << "and not 4";
    rig.expectPainted({3, 5, 603, 55});
}

TEST(TextPaint, AnItemThatBeginsAtTheEdgeOrBeforeIsNotDrawn) {
    for (const int32_t items : {1, 2, 4, 7})
        for (int32_t corner = 1; corner <= 4; ++corner) {
            PaintRig rig;
            rig.scene.txt.MarkerPos = corner;
            rig.scene.txt.eBackground = 1;
            rig.choose(uint32_t(items));
            for (const int32_t shift : {-15, -16, -17, -30}) {
                SCOPED_TRACE(testing::Message() << items << " at " << corner << ", " << shift);
                rig.expectPainted({shift, 5, shift + 600, 455});
                rig.expectPainted({3, shift, 603, shift + 450});
            }
        }
}

TEST(TextPaint, WhatLiesBeyondTheSurfaceIsCutOff) {
    PaintRig rig;
    rig.scene.txt.eBackground = 2;
    for (int32_t corner = 1; corner <= 4; ++corner) {
        rig.scene.txt.MarkerPos = corner;
        rig.choose(7);
        rig.expectPainted({130, 90, 730, 540});
        rig.expectPainted({5000, 90, 5600, 540});
    }
}

TEST(TextPaint, RectanglesWithoutAnInsideOrTooLargeAndNoPictureDrawNothing) {
    PaintRig rig;
    rig.choose(7);
    rig.marker.SetGeo({1, 255, 1, 100, 100, 100, 100, 0, 0, 0});
    for (const vex_rect& at :
         {vex_rect{0, 0, 0, 450}, vex_rect{0, 0, 600, 0}, vex_rect{600, 0, 0, 450}, vex_rect{0, 0, 1048577, 450},
          vex_rect{0, 0, 600, 1048577}, vex_rect{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX},
          vex_rect{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN}}) {
        Surface surface(620, 480);
        test::RecordingTarget target;
        rig.paint(surface, at);
        rig.paint(target, at);
        EXPECT_TRUE(surface.untouched());
        EXPECT_TRUE(target.calls.empty());
    }
    Surface surface(620, 480);
    test::RecordingTarget target;
    for (const auto& [width, height] : {std::pair{0, 150}, std::pair{300, 0}, std::pair{-1, INT32_MIN}}) {
        rig.marker.DrawOverlayGdi(rig.picture.bytes.data(), 4, width, height, surface.view(), rig.rectangle);
        rig.marker.DrawOverlayD2d(rig.picture.bytes.data(), 4, width, height, target, rig.rectangle);
    }
    EXPECT_TRUE(surface.untouched());
    EXPECT_TRUE(target.calls.empty());
    EXPECT_EQ(Clarity::calls, 0);
    vex_surface none = surface.view();
    none.pixels = nullptr;
    rig.marker.DrawOverlayGdi(rig.picture.bytes.data(), 4, 300, 150, none, rig.rectangle);
}

TEST(TextPaint, ARectangleOfTheLargestSizeIsPainted) {
    PaintRig rig;
    rig.choose(7);
    test::RecordingTarget target;
    rig.marker.DrawOverlayD2d(rig.picture.bytes.data(), 4, 1 << 20, 1 << 20, target, {0, 0, 1 << 20, 1 << 20});
    EXPECT_EQ(target.Of(Kind::Text).size(), 3u);
}

TEST(TextPaint, WithoutAPictureThereIsNoFigure) {
    PaintRig rig;
    rig.choose(7);
    rig.expectPainted(rig.rectangle);
    Surface got(620, 480), expected(620, 480);
    rig.marker.DrawOverlayGdi(nullptr, 0, 300, 150, got.view(), rig.rectangle);
    rig.scene.figure = u"";
    expectOn(expected, rig.rectangle, rig.scene);
    EXPECT_EQ(got.bytes, expected.bytes);
    EXPECT_EQ(Clarity::calls, 1);
    test::RecordingTarget target;
    rig.marker.DrawOverlayD2d(nullptr, 0, 300, 150, target, rig.rectangle);
    EXPECT_EQ(target.Of(Kind::Text).size(), 2u) << "date and scale bar";
}

/// Counts texts; all are of one size, however high the font.
struct SmallTexts final : vex_render_target {
    void GetDpi(uint32_t* x, uint32_t* y) override { *x = *y = 96; }
    void DrawBitmap(const vex_picture*, const vex_rect_f*, float) override {}
    void DrawLine(vex_point_f, vex_point_f, uint32_t, float) override {}
    void DrawEllipse(vex_point_f, float, float, uint32_t, float) override {}
    void FillRectangle(const vex_rect_f*, uint32_t) override {}
    void MeasureText(const vex_text_format*, const vex_char*, uint32_t, int32_t* width, int32_t* height) override {
        *width = *height = 10;
    }
    void DrawText(const vex_text_format*, const vex_char*, uint32_t, const vex_rect_f*, uint32_t) override { ++texts; }
    int texts = 0;
};

TEST(TextPaint, APictureOfFewerThanThreeRowsHasNoFigure) {
    PaintRig rig;
    rig.choose(4);
    SmallTexts target;
    const auto paint = [&](int32_t rows) {
        rig.marker.DrawOverlayD2d(rig.picture.bytes.data(), 4, 300, rows, target, rig.rectangle);
    };
    paint(3);
    EXPECT_EQ(target.texts, 1);
    EXPECT_EQ(Clarity::calls, 1);
    paint(2);
    EXPECT_EQ(target.texts, 1) << "nor that of another picture";
    EXPECT_EQ(Clarity::calls, 1);
}

TEST(TextPaint, OnARenderTargetEachTextHasItsPlaceAndItsDenominator) {
    struct Case {
        uint32_t items;
        float dateHeight, figureHeight;  // 12 * 450 over 300, the picture's width, or 150, its height
    };
    for (const Case& c : {Case{2, 18, 0}, Case{4, 0, 18}, Case{3, 36, 0}, Case{6, 36, 18}, Case{5, 0, 18},
                          Case{7, 18, 18}, Case{1, 0, 0}})
        for (int32_t corner = 1; corner <= 4; ++corner) {
            SCOPED_TRACE(testing::Message() << c.items << " at " << corner);
            PaintRig rig;
            rig.scene.txt.MarkerPos = corner;
            rig.scene.txt.FontWeight = 2;
            rig.choose(c.items);
            test::RecordingTarget target;
            rig.paint(target, rig.rectangle);
            const auto texts = target.Of(Kind::Text);
            size_t next = 0;
            test::ExpectedBlock block = test::expectedBlock(rig.scene);
            if (block.scale) {  // a render target's has no room for caps, and puts the block elsewhere
                block.scale->width -= 2 * 3;
                test::placeExpected(rig.scene, block);
            }
            const auto expectText = [&](const test::ExpectedItem& item, const std::u16string& text, float height,
                                        uint32_t colour) {
                ASSERT_LT(next, texts.size());
                const test::TargetCall& call = texts[next++];
                EXPECT_EQ(call.text, text);
                EXPECT_EQ(call.format.height, height);
                EXPECT_EQ(call.format.weight, 900);
                EXPECT_EQ(call.format.flags, uint32_t(VEX_TEXT_CENTRE));
                EXPECT_EQ(call.colour, colour);
                EXPECT_EQ(call.a, float(3 + item.x));
                EXPECT_EQ(call.b, float(455 - item.height - item.y));
                EXPECT_EQ(call.c - call.a, float(item.width));
                EXPECT_EQ(call.d - call.b, float(item.height));
            };
            if (block.date) expectText(*block.date, u"1.1.2024 00:01:40", c.dateHeight, 0);
            if (block.figure) expectText(*block.figure, u"12.3", c.figureHeight, 0xF0E0D0);
            ASSERT_EQ(texts.size(), next + (block.scale ? 1 : 0));
            if (!block.scale) continue;
            EXPECT_EQ(texts[next].text, u"10 mm");
            EXPECT_EQ(texts[next].format.height, 36);
            EXPECT_EQ(texts[next].a, float(3 + block.scale->x));
            EXPECT_EQ(texts[next].b, float(455 - block.scale->height - block.scale->y));
        }
}

TEST(TextPaint, ARenderTargetDrawsItemsBeyondItsEdges) {
    PaintRig rig;
    rig.scene.txt.MarkerPos = VEX_CORNER_TOP_LEFT;
    rig.choose(2);
    test::RecordingTarget target;
    rig.paint(target, {-100, -100, 500, 350});
    ASSERT_EQ(target.calls.size(), 1u);
    EXPECT_EQ(target.calls[0].a, -84);
    EXPECT_EQ(target.calls[0].b, -84);
}

TEST(TextPaint, OnARenderTargetThePlateIsTwoPixelsLargerAndBehindTheTexts) {
    for (const int32_t background : {0, 1, 2, 3}) {
        PaintRig rig;
        rig.scene.txt.MarkerPos = VEX_CORNER_TOP_LEFT;
        rig.scene.txt.eBackground = background;
        rig.choose(2);
        test::RecordingTarget target;
        rig.paint(target, rig.rectangle);
        ASSERT_EQ(target.calls.size(), background == 1 || background == 2 ? 2u : 1u);
        if (target.calls.size() == 1) continue;
        const test::TargetCall& plate = target.calls[0];
        EXPECT_EQ(plate.kind, Kind::Rectangle);
        EXPECT_EQ(plate.colour, background == 1 ? 0u : 0xFFFFFFu);
        EXPECT_EQ((std::vector<float>{plate.a, plate.b, plate.c, plate.d}),
                  (std::vector<float>{3 + 14, 5 + 14, 3 + 16 + 19 * 18 + 2, 5 + 16 + 36 + 2}));
    }
}

TEST(TextPaint, SurfaceAndRenderTargetOfOneSizeMayTakeTurns) {
    PaintRig rig;
    rig.choose(7);
    test::RecordingTarget first;
    rig.paint(first, rig.rectangle);
    rig.expectPainted(rig.rectangle);
    test::RecordingTarget second;
    rig.paint(second, rig.rectangle);
    EXPECT_EQ(second.calls.size(), first.calls.size());
}

TEST(TextPaint, AnEmptyFigureOrDateOfTheRenderTargetIsNotAskedFor) {
    PaintRig rig;
    rig.choose(2);
    rig.dates.missing = true;
    test::RecordingTarget target;
    rig.paint(target, rig.rectangle);
    EXPECT_TRUE(target.calls.empty());
}

}  // namespace text_paint_test
}  // namespace vexcap
