#include "overlay/marker.h"

#include <gtest/gtest.h>

#include <cstring>

#include "overlay/text/text_testing.h"
#include "platform/fake/allocations.h"

namespace vexcap {
namespace marker_test {

using test::Bytes;
using test::Clarity;
using test::Frame;
using test::MarkerRig;
using test::Surface;

constexpr MarkerGeo cross = {VEX_MARKER_CROSS, 0x0000FF, 0, 100, 100, 100, 100, 0, 0, 0};

Bytes bytesOf(const auto& record) {
    Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

/// A picture of one colour as a host hands it in.
struct Dib {
    explicit Dib(int32_t width = 4, int32_t height = 3, uint8_t fill = 200)
        : bytes(sizeof(vex_bitmap_header) + dibStride(uint32_t(width), 3) * size_t(height), fill) {
        vex_bitmap_header header = {};
        header.biSize = sizeof header;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = 24;
        std::memcpy(bytes.data(), &header, sizeof header);
    }
    WaterInfo info(uint8_t alpha = 0) const { return {alpha, bytes.data()}; }
    Bytes bytes;
};

void setDark(CMarker& marker, int32_t width, int32_t height, uint8_t value) {
    const size_t count = size_t(width) * size_t(height) * 3;
    auto dark = std::make_unique<uint8_t[]>(count);
    std::memset(dark.get(), value, count);
    marker.SetDark(std::move(dark), width, height);
}

TEST(Marker, GeoIsClampedButForItsStyleAndFlag) {
    MarkerRig rig;
    EXPECT_EQ(rig.marker.SetGeo({99, 0xFFFFFFFF, 0xFFFFFFFF, 0, -1, 101, INT32_MAX, -51, 51, -1}), 1);
    EXPECT_EQ(bytesOf(rig.marker.GetGeo()), bytesOf(MarkerGeo{99, 0xFFFFFFFF, 0xFFFFFFFF, 1, 1, 100, 100, -50, 50, 0}));
    EXPECT_EQ(rig.marker.SetGeo({-7, 1, 2, 1, 100, 50, INT32_MIN, INT32_MIN, INT32_MAX, 360'001}), 1);
    EXPECT_EQ(bytesOf(rig.marker.GetGeo()), bytesOf(MarkerGeo{-7, 1, 2, 1, 100, 50, 1, -50, 50, 360'000}));
}

TEST(Marker, TxtIsTakenAsItComes) {
    MarkerRig rig;
    const MarkerTxt txt = {9, -1, INT32_MIN, 77, 100, 2, 3, 0xFFFFFFFF, 8, 9, 10, 11};
    EXPECT_EQ(rig.marker.SetTxt(txt), 1);
    EXPECT_EQ(bytesOf(rig.marker.GetTxt()), bytesOf(txt));
}

TEST(Marker, EverySetterGivesOneAndAWatermarkItsAnswer) {
    MarkerRig rig;
    EXPECT_EQ(rig.marker.SetScale({}), 1);
    EXPECT_EQ(rig.marker.SetTick(3), 1);
    EXPECT_EQ(rig.marker.SetWaterOffset(1, 2), 1);
    EXPECT_EQ(rig.marker.SetWaterRotate(3), 1);
    Dib dib;
    EXPECT_EQ(rig.marker.SetWater(dib.info()), 1);
    dib.bytes[14] = 32;  // bits a pixel
    EXPECT_EQ(rig.marker.SetWater(dib.info()), 0);
    EXPECT_TRUE(rig.marker.HasWater());
    EXPECT_EQ(rig.marker.SetWater({0, nullptr}), 1);
    EXPECT_FALSE(rig.marker.HasWater());
}

TEST(Marker, HasWorkWhenAnythingOfAPictureWouldChange) {
    const auto work = [](const std::function<void(CMarker&)>& set) {
        MarkerRig rig;
        set(rig.marker);
        return std::pair(rig.marker.HasWork(FrameMode::Video), rig.marker.HasWork(FrameMode::Still));
    };
    const auto with = [](auto change) {
        return [change](CMarker& marker) {
            MarkerTxt txt = test::plainTxt();
            change(txt);
            marker.SetTxt(txt);
        };
    };
    const std::pair both(true, true), none(false, false), videoAlone(true, false), stillAlone(false, true);
    EXPECT_EQ(work([](CMarker&) {}), none);
    EXPECT_EQ(work([](CMarker& m) { m.SetFlip(1, 1); }), both);
    EXPECT_EQ(work([](CMarker& m) { m.SetFlip(2, 2); }), both);
    EXPECT_EQ(work([](CMarker& m) { m.SetChrome(4); }), both);
    EXPECT_EQ(work([](CMarker& m) { m.SetNegative(4); }), both);
    EXPECT_EQ(work([](CMarker& m) { setDark(m, 2, 2, 1); }), both) << "enabled or not";
    EXPECT_EQ(work([](CMarker& m) { m.Enable(1); }), none) << "without data";
    EXPECT_EQ(work([](CMarker& m) { m.SetGeo(cross); }), both);
    EXPECT_EQ(work([](CMarker& m) { m.SetWater(Dib().info()); }), both);
    EXPECT_EQ(work(with([](MarkerTxt& t) { t.Date = 3; })), both);
    EXPECT_EQ(work(with([](MarkerTxt& t) { t.Contrast = 9; })), both);
    EXPECT_EQ(work(with([](MarkerTxt& t) { t.Scale = 1; })), none) << "without lengths and texts";
    const auto scale = [](const ScaleTexts& texts, uint32_t on = 1) {
        return [=](CMarker& marker) {
            MarkerTxt txt = test::plainTxt();
            txt.Scale = on;
            marker.SetTxt(txt);
            marker.SetScale(texts);
        };
    };
    EXPECT_EQ(work(scale({1, u"a", 1, u"b", u"p"})), both);
    EXPECT_EQ(work(scale({1, u"a", 1, u"b", u"p"}, 0)), none);
    EXPECT_EQ(work(scale({1, u"a", 0, u"b", u"p"})), videoAlone);
    EXPECT_EQ(work(scale({1, u"a", 1, nullptr, u"p"})), videoAlone);
    EXPECT_EQ(work(scale({0, u"a", 1, u"b", u"p"})), stillAlone);
    EXPECT_EQ(work(scale({1, nullptr, 1, u"b", u"p"})), stillAlone);
    EXPECT_EQ(work(scale({1, u"a", 1, u"b", nullptr})), none) << "the power text is asked for even where it is off";
}

TEST(Marker, WithoutAPowerTextAScaleBarAloneIsNotBurntButPainted) {
    MarkerRig rig;
    test::TextScene scene;
    scene.txt.Scale = 1;
    scene.bar = 100;
    scene.scaleText = u"1 mm";
    rig.marker.SetTxt(scene.txt);
    rig.marker.SetScale({100, u"1 mm", 100, u"1 mm", nullptr});
    EXPECT_EQ(burnt(rig.marker, Frame(640, 480)), Frame(640, 480));
    EXPECT_EQ(burnt(rig.marker, Frame(640, 480), true), Frame(640, 480));
    Surface got(640, 480), expected(640, 480);
    rig.marker.DrawOverlayGdi(nullptr, 4, 640, 480, got.view(), {0, 0, 640, 480});
    expectOn(expected, {0, 0, 640, 480}, scene);
    EXPECT_EQ(got.bytes, expected.bytes);
    EXPECT_FALSE(got.untouched());
    rig.marker.SetNegative(1);  // with other work it is burnt
    Frame frame = burnt(rig.marker, Frame(640, 480)), inverted(640, 480, 3, uint8_t(~40));
    expectOn(inverted, scene);
    EXPECT_SAME_FRAME(frame, inverted);
}

TEST(Marker, HasPaintWhenAnythingIsSwitchedOn) {
    MarkerRig rig;
    EXPECT_FALSE(rig.marker.HasPaint());
    rig.marker.SetFlip(1, 1);
    rig.marker.SetNegative(1);
    setDark(rig.marker, 2, 2, 1);
    EXPECT_FALSE(rig.marker.HasPaint()) << "a paint does none of these";
    for (uint32_t MarkerTxt::*field : {&MarkerTxt::Scale, &MarkerTxt::Contrast}) {
        MarkerTxt txt = test::plainTxt();
        txt.*field = 1;
        rig.marker.SetTxt(txt);
        EXPECT_TRUE(rig.marker.HasPaint());
    }
    MarkerTxt txt = test::plainTxt();
    rig.marker.SetTxt(txt);
    EXPECT_FALSE(rig.marker.HasPaint());
    txt.Date = -1;
    rig.marker.SetTxt(txt);
    EXPECT_TRUE(rig.marker.HasPaint());
    rig.marker.SetTxt(test::plainTxt());
    rig.marker.SetGeo(cross);
    EXPECT_TRUE(rig.marker.HasPaint());
    rig.marker.SetGeo({});
    rig.marker.SetWater(Dib().info());
    EXPECT_TRUE(rig.marker.HasPaint());
}

TEST(Marker, AFlipOfBothBitsChangesTheFirstAlone) {
    Frame original(5, 3);
    for (size_t i = 0; i < original.bytes.size(); ++i) original.bytes[i] = uint8_t(i * 7);
    const auto flipped = [&](bool mirrored, bool turned) {
        Frame made = original;
        for (int32_t y = 0; y < 3; ++y)
            for (int32_t x = 0; x < 5; ++x)
                std::memcpy(made.at(x, y), original.at(mirrored ? 4 - x : x, turned ? 2 - y : y), 3);
        return made;
    };
    struct Call {
        uint32_t value, mask;
        bool mirrored, turned;
    };
    MarkerRig rig;
    for (const Call& call :
         {Call{3, 3, true, false}, Call{3, 0, true, false}, Call{2, 2, true, true}, Call{0, 3, false, true},
          Call{1, 2, false, false}, Call{1, 1, true, false}, Call{2, 1, false, false}, Call{0xFF, 0xFE, false, true}}) {
        rig.marker.SetFlip(call.value, call.mask);
        Frame got = burnt(rig.marker, original), expected = flipped(call.mirrored, call.turned);
        for (int32_t y = 0; y < 3; ++y)
            EXPECT_EQ(std::memcmp(got.at(0, y), expected.at(0, y), 15), 0) << call.value << ", " << call.mask;
    }
}

TEST(Marker, AFrameGoesThroughDarkFieldStepsFigureWatermarkMarkerAndTexts) {
    MarkerRig rig;
    test::TextScene scene;
    scene.width = scene.imageWidth = 101;
    scene.height = scene.imageHeight = 81;
    scene.txt.FontSize = 0;
    scene.txt.Contrast = 1;
    scene.txt.eBackground = 1;
    scene.figure = u"5.0";
    Clarity::value = 5;
    setDark(rig.marker, 101, 81, 10);
    rig.marker.Enable(1);
    rig.marker.SetNegative(1);
    rig.marker.SetWater(Dib(101, 81, 77).info());  // covers all of it
    rig.marker.SetGeo(cross);
    rig.marker.SetTxt(scene.txt);
    Frame got = burnt(rig.marker, Frame(101, 81));
    EXPECT_EQ(Clarity::calls, 1);
    EXPECT_EQ(Clarity::last.firstByte, 255 - 30) << "before anything was drawn";

    Frame expected(101, 81, 3, 77);
    burnGeoMarker(canvasOf(expected.bytes.data(), 101, 81, 3), {cross, 0});
    expectOn(expected, scene);
    for (int32_t y = 0; y < 81; ++y) ASSERT_EQ(std::memcmp(got.at(0, y), expected.at(0, y), 303), 0) << y;
}

TEST(Marker, NoFrameAndNoSizeDoNothing) {
    MarkerRig rig;
    rig.marker.SetNegative(1);
    uint8_t pixel[4] = {1, 2, 3, 4};
    rig.marker.BurnOverlay(nullptr, 1, 1, false, {}, 3);
    rig.marker.BurnOverlay(pixel, 0, 1, false, {}, 3);
    rig.marker.BurnOverlay(pixel, 1, 0, false, {}, 3);
    rig.marker.BurnOverlay(pixel, INT32_MIN, INT32_MIN, false, {}, 3);
    EXPECT_EQ(pixel[0], 1);
    rig.marker.BurnOverlay(pixel, 1, 1, false, {}, 3);
    EXPECT_EQ(pixel[0], 254);
    EXPECT_EQ(pixel[3], 4);
}

TEST(Marker, ACopyHasSettingsTickScaleAndMeasureAndNothingElse) {
    MarkerRig rig;
    test::TextScene scene;
    scene.txt.Scale = scene.txt.Contrast = 1;
    scene.txt.ScaleWithPower = 1;
    scene.bar = 100;
    scene.scaleText = u"1 mm";
    scene.powerText = u"4x";
    scene.figure = u"6.5";
    Clarity::value = 6.5;
    MarkerGeo ticks = cross;
    ticks.eMarkerGeoFlag = 1;
    rig.marker.SetGeo(ticks);
    rig.marker.SetTick(10);
    rig.marker.SetTxt(scene.txt);
    rig.marker.SetScale({100, u"1 mm", 100, u"1 mm", u"4x"});
    rig.marker.SetWater(Dib().info());
    rig.marker.SetNegative(1);
    setDark(rig.marker, 640, 480, 10);
    rig.marker.Enable(1);

    CMarker copy(rig.ports(), nullptr);
    copy.CopyFrom(rig.marker);
    EXPECT_FALSE(copy.HasWater());
    EXPECT_FALSE(copy.HasDfc());
    Frame expected(640, 480);
    burnGeoMarker(canvasOf(expected.bytes.data(), 640, 480, 3), {ticks, 10});
    expectOn(expected, scene);
    Frame got = burnt(copy, Frame(640, 480));
    EXPECT_SAME_FRAME(got, expected);
    copy.CopyFrom(copy);
    got = burnt(copy, Frame(640, 480));
    EXPECT_SAME_FRAME(got, expected);
}

TEST(Marker, BurnsAndPaintsTakeNothingFromTheHeap) {
    FakeTextRaster texts;
    FakeDateText dates;
    struct Numbers final : IDateText {  // the other one allocates
        size_t ShortDate(const CivilTime& date, std::span<vex_char> out) override {
            out[0] = vex_char(u'0' + date.second % 10);
            return 1;
        }
        size_t LongDate(const CivilTime&, std::span<vex_char>) override { return 0; }
    } numbers;
    FakeClock clock;
    FakeDisk disk;
    CMarker marker({texts, numbers, clock, disk}, &Clarity::measure);
    MarkerTxt txt = test::plainTxt();
    txt.Date = VEX_DATE_SHORT;
    txt.Contrast = txt.Scale = txt.ScaleWithPower = 1;
    txt.eBackground = 1;
    marker.SetTxt(txt);
    marker.SetScale({100, u"1 mm", 100, u"1 mm", u"4x"});
    marker.SetGeo({VEX_MARKER_CROSS_CIRCLE, 255, 1, 50, 50, 20, 20, 5, 5, 30'000});
    marker.SetTick(10);
    marker.SetWater(Dib().info(50));
    marker.SetNegative(1);
    setDark(marker, 320, 240, 1);
    marker.Enable(1);
    Frame frame(320, 240);
    Surface surface(320, 240);
    const auto burn = [&](double value) {
        Clarity::value = value;
        marker.BurnOverlay(frame.bytes.data(), 320, 240, false, {}, 3);
    };
    const auto paint = [&](double value) {
        Clarity::value = value;
        marker.DrawOverlayGdi(frame.bytes.data(), 3, 320, 240, surface.view(), {0, 0, 320, 240});
    };
    for (const auto& work : {std::function<void(double)>(burn), std::function<void(double)>(paint)}) {
        work(1);
        const uint32_t drawnBefore = texts.drawn;
        const size_t before = allocations();
        for (int i = 0; i < 50; ++i) {
            clock.advance(1000);
            work(i);
        }
        EXPECT_EQ(allocations(), before);
        EXPECT_GE(texts.drawn, drawnBefore + 90u) << "date and figure changed all the while";
    }
}

TEST(Marker, PaintsOnARenderTargetTakeNothingFromTheHeap) {
    struct Quiet final : vex_render_target {
        void GetDpi(uint32_t* x, uint32_t* y) override { *x = *y = 96; }
        void DrawBitmap(const vex_picture*, const vex_rect_f*, float) override { ++calls; }
        void DrawLine(vex_point_f, vex_point_f, uint32_t, float) override { ++calls; }
        void DrawEllipse(vex_point_f, float, float, uint32_t, float) override { ++calls; }
        void FillRectangle(const vex_rect_f*, uint32_t) override { ++calls; }
        void MeasureText(const vex_text_format*, const vex_char*, uint32_t length, int32_t* width,
                         int32_t* height) override {
            *width = int32_t(length) * 5;
            *height = 12;
        }
        void DrawText(const vex_text_format*, const vex_char*, uint32_t, const vex_rect_f*, uint32_t) override {
            ++calls;
        }
        int calls = 0;
    } target;
    MarkerRig rig;
    MarkerTxt txt = test::plainTxt();
    txt.Date = VEX_DATE_NUMERIC;
    txt.Contrast = txt.Scale = txt.ScaleWithPower = 1;
    txt.eBackground = 1;
    rig.marker.SetTxt(txt);
    rig.marker.SetScale({100, u"1 mm", 100, u"1 mm", u"4x"});
    rig.marker.SetGeo({VEX_MARKER_CROSS_CIRCLE, 255, 1, 50, 50, 20, 20, 5, 5, 30'000});
    rig.marker.SetWater(Dib().info(50));
    Frame frame(320, 240, 4);
    const auto paint = [&] {
        rig.clock.advance(1000);
        ++Clarity::value;
        rig.marker.DrawOverlayD2d(frame.bytes.data(), 4, 320, 240, target, {0, 0, 320, 240});
    };
    paint();
    const int calls = target.calls;
    const size_t before = allocations();
    for (int i = 0; i < 10; ++i) paint();
    EXPECT_EQ(allocations(), before);
    EXPECT_EQ(target.calls, 11 * calls);
}

}  // namespace marker_test
}  // namespace vexcap
