#include "overlay/watermark.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "overlay/dib_testing.h"
#include "platform/fake/allocations.h"
#include "platform/fake/recording_target.h"

namespace vexcap::test {
namespace watermark_test {

using Kind = TargetCall::Kind;

constexpr int32_t lowest = std::numeric_limits<int32_t>::min(), highest = std::numeric_limits<int32_t>::max();

/// All blends of one alpha: f the frame's byte, w the watermark's.
struct BlendTable {
    explicit BlendTable(int alpha) {
        for (int f = 0; f < 256; ++f)
            for (int w = 0; w < 256; ++w) {
                const int part = int(std::trunc((f - w) * alpha / 100.0));
                entries[f][w] = uint8_t(((w + part) % 256 + 256) % 256);
            }
    }
    uint8_t entries[256][256];
};

/// Rows of a picture as they are seen, top row first, without padding.
struct Seen {
    int32_t width, height;
    Bytes pixels;
    const uint8_t* At(int32_t x, int32_t y) const { return pixels.data() + (size_t(y) * width + x) * 3; }
};

Seen seen(const Bytes& dib) {
    Seen made{widthOf(dib), heightOf(dib), {}};
    for (int32_t y = made.height - 1; y >= 0; --y) {
        const uint8_t* const row = pixelOf(dib, y, 0);
        made.pixels.insert(made.pixels.end(), row, row + made.width * 3);
    }
    return made;
}

/// A bottom-up frame.
struct Frame {
    Frame(int32_t w, int32_t h, uint32_t pixelBytes)
        : width(w), height(h), bytesPerPixel(pixelBytes), bytes(strideOf(w, pixelBytes) * size_t(h)) {
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i * 11 + i / 256);
    }
    uint8_t* At(int32_t x, int32_t y) {
        return bytes.data() + size_t(height - 1 - y) * strideOf(width, bytesPerPixel) + size_t(x) * bytesPerPixel;
    }
    Canvas Drawn() { return canvasOf(bytes.data(), width, height, bytesPerPixel); }
    /// As the watermark would leave it.
    Bytes With(const Seen& mark, int64_t left, int64_t top, int alpha) const {
        Frame wanted = *this;
        const BlendTable table(alpha);
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x) {
                if (x < left || y < top || x >= left + mark.width || y >= top + mark.height) continue;
                const uint8_t* const from = mark.At(int32_t(x - left), int32_t(y - top));
                for (int i = 0; i < 3; ++i) wanted.At(x, y)[i] = table.entries[wanted.At(x, y)[i]][from[i]];
            }
        return wanted.bytes;
    }

    int32_t width, height;
    uint32_t bytesPerPixel;
    Bytes bytes;
};

struct Surface {
    Surface(int32_t width, int32_t height)
        : bytes(size_t(width * 4 + 8) * size_t(height)), surface{bytes.data(), width, height, width * 4 + 8, 96, 96} {
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i * 13 + i / 256);
    }
    Bytes bytes;
    vex_surface surface;
};

TEST(Watermark, BlendsEveryPairOfBytesAsTheTableSays) {
    // A frame and a watermark in which every byte meets every other one.
    Bytes dib = makeDib(256, 256);
    Frame frame(256, 256, 3);
    for (int32_t y = 0; y < 256; ++y)
        for (int32_t x = 0; x < 256; ++x)
            for (int i = 0; i < 3; ++i) {
                dib[size_t(pixelOf(dib, y, x) - dib.data()) + i] = uint8_t(x);
                frame.bytes[size_t(y * 256 + x) * 3 + i] = uint8_t(y);
            }
    for (const int alpha : {0, 1, 37, 50, 99, 100, 101, 150, 255}) {
        Watermark watermark;
        ASSERT_EQ(watermark.Set({uint8_t(alpha), dib.data()}), 1);
        Frame got = frame;
        watermark.Burn(got.Drawn());
        EXPECT_TRUE(got.bytes == frame.With(seen(dib), 0, 0, alpha)) << alpha;
    }
}

TEST(Watermark, IsClippedToTheFrameWhereverItLies) {
    const Bytes dib = makeDib(5, 4);
    for (const uint32_t bytesPerPixel : {3u, 4u})
        for (const int32_t x : {lowest, -5, -4, 0, 3, 8, 12, 13, highest})
            for (const int32_t y : {lowest, -4, -2, 0, 2, 5, 6, 7, highest}) {
                Watermark watermark;
                watermark.Set({30, dib.data()});
                watermark.SetOffset(x, y);
                Frame frame(13, 7, bytesPerPixel);
                const Bytes want = frame.With(seen(dib), x, y, 30);
                watermark.Burn(frame.Drawn());
                EXPECT_TRUE(frame.bytes == want) << x << ", " << y << " of " << bytesPerPixel;
            }
}

TEST(Watermark, Alpha100BurnsNothingAndAlpha0ReplacesThePixels) {
    const Bytes dib = makeDib(5, 4);
    Watermark watermark;
    Frame frame(5, 4, 3);
    const Bytes before = frame.bytes;
    watermark.Set({100, dib.data()});
    watermark.Burn(frame.Drawn());
    EXPECT_EQ(frame.bytes, before);
    watermark.Set({0, dib.data()});
    watermark.Burn(frame.Drawn());
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 5; ++x) EXPECT_EQ(std::memcmp(frame.At(x, y), pixelOf(dib, 3 - y, x), 3), 0);
}

TEST(Watermark, AlphaAbove100Wraps) {
    Bytes dib = makeDib(1, 1);
    const uint8_t mark[] = {200, 10, 100};
    std::memcpy(dib.data() + 40, mark, 3);
    Frame frame(1, 1, 3);
    const uint8_t there[] = {10, 250, 110};
    std::memcpy(frame.bytes.data(), there, 3);
    Watermark watermark;
    watermark.Set({150, dib.data()});
    watermark.Burn(frame.Drawn());
    // 200 - 285 = -85, 10 + 360 = 370, 100 + 15.
    EXPECT_EQ(frame.bytes[0], 171);
    EXPECT_EQ(frame.bytes[1], 114);
    EXPECT_EQ(frame.bytes[2], 115);
}

TEST(Watermark, APictureOfOtherThan24BitsIsRefusedAndTheOldOneStays) {
    const Bytes dib = makeDib(5, 4);
    for (const uint16_t bits : std::initializer_list<uint16_t>{8, 0, 16, 32, 65535}) {
        Watermark watermark;
        watermark.Set({0, dib.data()});
        Bytes other = makeDib(5, 4, 99);
        std::memcpy(other.data() + 14, &bits, 2);
        EXPECT_EQ(watermark.Set({50, other.data()}), 0);
        EXPECT_TRUE(watermark.Present());
        Frame frame(5, 4, 3);
        const Bytes want = frame.With(seen(dib), 0, 0, 0);
        watermark.Burn(frame.Drawn());
        EXPECT_EQ(frame.bytes, want);
    }
}

TEST(Watermark, ASizeWithoutPixelsOrBeyondReasonIsRefused) {
    struct Row {
        int32_t width, height;
    };
    constexpr int32_t gigabyte = 1 << 30;
    const Row rows[] = {{0, 4},
                        {-5, 4},
                        {lowest, 4},
                        {5, 0},
                        {5, lowest},
                        {highest, 1},
                        {1, highest},
                        {highest, highest},
                        {gigabyte / 3, -2},
                        {gigabyte / 4 + 1, 1 << 30},
                        {1, 1 - (1 << 29)},
                        {1 << 16, 1 << 16}};
    for (const Row& row : rows) {
        Bytes dib = makeDib(5, 4);
        setSize(dib, row.width, row.height);
        dib.resize(40);  // and not a byte of it is read
        Watermark watermark;
        EXPECT_EQ(watermark.Set({0, dib.data()}), 0) << row.width << " x " << row.height;
        EXPECT_FALSE(watermark.Present());
    }
}

TEST(Watermark, ATopDownPictureComesOutUpsideDown) {
    const Bytes dib = makeDib(5, 4);
    Bytes topDown = dib;
    setSize(topDown, 5, -4);
    Watermark watermark;
    ASSERT_EQ(watermark.Set({0, topDown.data()}), 1);
    Frame frame(5, 4, 3);
    const Bytes want = frame.With(seen(dib), 0, 0, 0);
    watermark.Burn(frame.Drawn());
    EXPECT_EQ(frame.bytes, want);
}

TEST(Watermark, TheHostsMemoryIsNotNeededAfterTheCall) {
    auto dib = std::make_unique<Bytes>(makeDib(5, 4));
    Frame frame(5, 4, 3);
    const Bytes want = frame.With(seen(*dib), 0, 0, 25);
    Watermark watermark;
    watermark.Set({25, dib->data()});
    dib->assign(dib->size(), 0);
    dib.reset();
    watermark.Burn(frame.Drawn());
    EXPECT_EQ(frame.bytes, want);
}

TEST(Watermark, ThePictureMayLieAtAnyAddress) {
    const Bytes dib = makeDib(5, 4);
    Bytes odd(dib.size() + 1);
    std::copy(dib.begin(), dib.end(), odd.begin() + 1);
    Watermark watermark;
    EXPECT_EQ(watermark.Set({0, odd.data() + 1}), 1);
    Frame frame(5, 4, 3);
    const Bytes want = frame.With(seen(dib), 0, 0, 0);
    watermark.Burn(frame.Drawn());
    EXPECT_EQ(frame.bytes, want);
}

TEST(Watermark, TakenAwayItIsNotThereAndDrawsNothing) {
    const Bytes dib = makeDib(5, 4);
    Watermark watermark;
    EXPECT_FALSE(watermark.Present());
    watermark.Set({0, dib.data()});
    EXPECT_TRUE(watermark.Present());
    Frame frame(5, 4, 3);
    Surface surface(5, 4);
    RecordingTarget target;
    watermark.Burn(frame.Drawn());
    frame = Frame(5, 4, 3);
    EXPECT_EQ(watermark.Set({150, nullptr}), 1);
    EXPECT_FALSE(watermark.Present());
    watermark.Burn(frame.Drawn());
    watermark.Paint(surface.surface, {0, 0, 5, 4}, 5, 4);
    watermark.Paint(target, {0, 0, 5, 4}, 5, 4);
    EXPECT_EQ(frame.bytes, Frame(5, 4, 3).bytes);
    EXPECT_EQ(surface.bytes, Surface(5, 4).bytes);
    EXPECT_TRUE(target.calls.empty());
}

/// The watermark as it lies in frames, turned.
Seen turned(const Bytes& dib, float degrees) {
    vex_bitmap_header header;
    const std::unique_ptr<uint8_t, void (*)(void*)> made(RotateDib(header, nullptr, dib.data(), degrees, 3),
                                                         &std::free);
    Bytes with(40);
    setSize(with, header.biWidth, header.biHeight);
    with.insert(with.end(), made.get(), made.get() + strideOf(header.biWidth, 3) * size_t(header.biHeight));
    return seen(with);
}

TEST(Watermark, IsTurnedByItsAngleAndBlendsItsBlackCornersToo) {
    const Bytes dib = makeDib(6, 3);
    for (const int32_t angle : {0, 90000, 180000, 270000, 45000, 89995, 89980, 123456, -45000, -1000, 359999}) {
        Watermark watermark;
        watermark.Set({40, dib.data()});
        watermark.SetOffset(2, 1);
        watermark.SetRotate(angle);
        Frame frame(12, 11, 3);
        const Bytes want = frame.With(turned(dib, float(angle) / 1000), 2, 1, 40);
        watermark.Burn(frame.Drawn());
        EXPECT_TRUE(frame.bytes == want) << angle;
    }
}

TEST(Watermark, AnAngleIsKeptAsItsRemainderWithItsSign) {
    const Bytes dib = makeDib(6, 3);
    struct Row {
        int32_t given, kept;
    };
    for (const Row& row : {Row{360000, 0}, Row{361000, 1000}, Row{-361000, -1000}, Row{highest, 83647},
                           Row{lowest, -83648}, Row{450000, 90000}}) {
        Watermark watermark;
        watermark.Set({40, dib.data()});
        watermark.SetRotate(row.given);
        Frame frame(12, 11, 3);
        const Bytes want = frame.With(turned(dib, float(row.kept) / 1000), 0, 0, 40);
        watermark.Burn(frame.Drawn());
        EXPECT_TRUE(frame.bytes == want) << row.given;
    }
}

TEST(Watermark, WhatWasTurnedIsKeptUntilTheNextAngle) {
    const Bytes first = makeDib(6, 3), second = makeDib(5, 4);
    Watermark watermark;
    watermark.Set({40, first.data()});
    Frame frame(12, 11, 3), untouched = frame;
    watermark.Burn(frame.Drawn());
    watermark.Set({60, second.data()});
    frame = untouched;
    watermark.Burn(frame.Drawn());
    EXPECT_EQ(frame.bytes, untouched.With(seen(first), 0, 0, 60));  // the old picture, the new transparency
    watermark.SetRotate(0);
    frame = untouched;
    watermark.Burn(frame.Drawn());
    EXPECT_EQ(frame.bytes, untouched.With(seen(second), 0, 0, 60));
}

TEST(Watermark, OneThatCannotBeTurnedIsShownAgainAtTheNextAngle) {
    Bytes line = makeDib(1 << 20, 1);
    Watermark watermark;
    ASSERT_EQ(watermark.Set({0, line.data()}), 1);
    watermark.SetRotate(45000);
    Frame frame(12, 11, 3), untouched = frame;
    for (int i = 0; i < 2; ++i) {
        watermark.Burn(frame.Drawn());
        EXPECT_EQ(frame.bytes, untouched.bytes);
    }
    const Bytes dib = makeDib(6, 3);
    watermark.Set({0, dib.data()});
    watermark.Burn(frame.Drawn());
    EXPECT_EQ(frame.bytes, untouched.bytes);  // it is not tried again
    watermark.SetRotate(45000);
    watermark.Burn(frame.Drawn());
    EXPECT_EQ(frame.bytes, untouched.With(turned(dib, 45), 0, 0, 0));
}

TEST(WatermarkOnSurface, IsStretchedInProportionWithoutTheRectanglesPlace) {
    const Bytes dib = makeDib(6, 3);
    struct Row {
        vex_rect area;
        int32_t imageWidth, imageHeight, x, y;
        Box box;
    };
    const Row rows[] = {
        {{0, 0, 40, 30}, 40, 30, 3, 2, {3, 2, 9, 5}},            // as it is
        {{7, 9, 47, 39}, 40, 30, 3, 2, {3, 2, 9, 5}},            // wherever the rectangle lies
        {{0, 0, 40, 30}, 20, 15, 3, 2, {6, 4, 18, 10}},          // twice as large
        {{0, 0, 20, 30}, 40, 20, 3, -1, {2, -2, 5, 3}},          // 1.5 and 4.5 are rounded up, -1.5 down
        {{0, 0, 1, 1}, 40, 30, 3, 2, {0, 0, 0, 0}},              // too small for a pixel
        {{-50, -50, -10, -20}, 40, 30, -2, -1, {-2, -1, 4, 2}},  // and clipped
    };
    for (const Row& row : rows)
        for (const int alpha : {0, 37, 100, 150, 255}) {
            Watermark watermark;
            watermark.Set({uint8_t(alpha), dib.data()});
            watermark.SetOffset(row.x, row.y);
            Surface got(40, 30);
            watermark.Paint(got.surface, row.area, row.imageWidth, row.imageHeight);
            Bytes want = Surface(40, 30).bytes;
            const int weight = (100 - alpha) * 255 / 100 & 255;
            const int32_t width = row.box.right - row.box.left, height = row.box.bottom - row.box.top;
            for (int32_t y = std::max(row.box.top, 0); y < row.box.bottom; ++y)
                for (int32_t x = std::max(row.box.left, 0); x < row.box.right; ++x)
                    for (int i = 0; i < 3; ++i) {
                        uint8_t& there = want[size_t(y) * 168 + size_t(x) * 4 + i];
                        const Seen mark = seen(dib);
                        const int from = mark.At((x - row.box.left) * 6 / width, (y - row.box.top) * 3 / height)[i];
                        there = uint8_t((from * weight + there * (255 - weight) + 127) / 255);
                    }
            EXPECT_TRUE(got.bytes == want) << row.area.left << ", " << row.x << " alpha " << alpha;
        }
}

TEST(WatermarkOnTarget, IsPlacedInTheRectangleWithTheOpacityTheOtherWayRound) {
    const Bytes dib = makeDib(6, 3);
    struct Row {
        uint8_t alpha;
        float opacity;
    };
    for (const Row& row : {Row{0, 0}, Row{37, 0.37f}, Row{100, 1}, Row{150, 1}, Row{255, 1}}) {
        Watermark watermark;
        watermark.Set({row.alpha, dib.data()});
        watermark.SetOffset(3, -2);
        RecordingTarget target;
        watermark.Paint(target, {10, 20, 90, 50}, 40, 30);
        ASSERT_EQ(target.calls.size(), 1u);
        const TargetCall& call = target.calls[0];
        EXPECT_EQ(call.kind, Kind::Bitmap);
        EXPECT_EQ(call.opacity, row.opacity);
        EXPECT_EQ(call.a, 16);
        EXPECT_EQ(call.b, 18);
        EXPECT_EQ(call.c, 28);
        EXPECT_EQ(call.d, 21);
    }
}

TEST(WatermarkOnTarget, ThePictureIsPixelsThreeBytesApartToldAsFourFromTheLastRowDown) {
    const Bytes dib = makeDib(6, 3);
    Watermark watermark;
    watermark.Set({50, dib.data()});
    RecordingTarget target;
    watermark.Paint(target, {0, 0, 40, 30}, 40, 30);
    ASSERT_EQ(target.calls.size(), 1u);
    const TargetCall& call = target.calls[0];
    EXPECT_EQ(call.picture.texture, nullptr);
    EXPECT_EQ(call.picture.width, 6);
    EXPECT_EQ(call.picture.height, 3);
    EXPECT_EQ(call.picture.stride, 24);
    EXPECT_EQ(call.picture.bytesPerPixel, 4u);
    Bytes want(24 * 3);
    for (int32_t row = 0; row < 3; ++row) std::memcpy(want.data() + row * 24, pixelOf(dib, row, 0), 18);
    EXPECT_EQ(call.rows, want);
}

TEST(WatermarkOnTarget, IsTurnedWithTheAngle) {
    const Bytes dib = makeDib(6, 3);
    Watermark watermark;
    watermark.Set({50, dib.data()});
    RecordingTarget target;
    watermark.Paint(target, {0, 0, 40, 30}, 40, 30);
    watermark.SetRotate(90000);
    watermark.Paint(target, {0, 0, 40, 30}, 40, 30);
    ASSERT_EQ(target.calls.size(), 2u);
    const TargetCall& call = target.calls[1];
    EXPECT_EQ(call.picture.width, 3);
    EXPECT_EQ(call.picture.height, 6);
    EXPECT_EQ(call.c, 3);
    EXPECT_EQ(call.d, 6);
    EXPECT_EQ(std::memcmp(call.rows.data(), pixelOf(dib, 0, 5), 3), 0);
}

TEST(Watermark, APaintWithoutSizesDrawsNothing) {
    const Bytes dib = makeDib(6, 3);
    Watermark watermark;
    watermark.Set({50, dib.data()});
    Surface surface(40, 30);
    RecordingTarget target;
    const auto paint = [&](const vex_rect& area, int32_t width, int32_t height) {
        watermark.Paint(surface.surface, area, width, height);
        watermark.Paint(target, area, width, height);
    };
    for (const int32_t none : {0, -1, lowest}) {
        paint({0, 0, 40, 30}, none, 30);
        paint({0, 0, 40, 30}, 40, none);
        paint({0, 0, none, 30}, 40, 30);
        paint({0, 0, 40, none}, 40, 30);
    }
    paint({lowest, lowest, highest, highest}, 40, 30);
    vex_surface empty = surface.surface;
    empty.pixels = nullptr;
    watermark.Paint(empty, {0, 0, 40, 30}, 40, 30);
    EXPECT_EQ(surface.bytes, Surface(40, 30).bytes);
    EXPECT_TRUE(target.calls.empty());
}

TEST(Watermark, NoOffsetOrSizeReachesBeyondTheSurface) {
    const Bytes dib = makeDib(6, 3);
    Watermark watermark;
    watermark.Set({0, dib.data()});
    Surface surface(7, 5);
    RecordingTarget target;
    for (const int32_t x : {lowest, -100, 0, 100, highest})
        for (const int32_t y : {lowest, -100, 0, 100, highest})
            for (const int32_t image : {1, 100, highest})
                for (const int32_t side : {1, 9, 1 << 20}) {
                    watermark.SetOffset(x, y);
                    watermark.Paint(surface.surface, {0, 0, side, side}, image, image);
                    watermark.Paint(target, {highest - side, lowest, highest, lowest + side}, image, image);
                }
    const Bytes before = Surface(7, 5).bytes;
    for (size_t row = 0; row < 5; ++row)
        for (size_t i = row * 36 + 28; i < row * 36 + 36; ++i) EXPECT_EQ(surface.bytes[i], before[i]);
    for (const TargetCall& call : target.calls) EXPECT_TRUE(std::isfinite(call.a + call.b + call.c + call.d));
}

/// Keeps nothing, so that it allocates nothing itself.
class CountingTarget final : public vex_render_target {
public:
    void GetDpi(uint32_t* x, uint32_t* y) override { *x = *y = 96; }
    void DrawBitmap(const vex_picture*, const vex_rect_f*, float) override { ++pictures; }
    void DrawLine(vex_point_f, vex_point_f, uint32_t, float) override {}
    void DrawEllipse(vex_point_f, float, float, uint32_t, float) override {}
    void FillRectangle(const vex_rect_f*, uint32_t) override {}
    void MeasureText(const vex_text_format*, const vex_char*, uint32_t, int32_t*, int32_t*) override {}
    void DrawText(const vex_text_format*, const vex_char*, uint32_t, const vex_rect_f*, uint32_t) override {}
    int pictures = 0;
};

TEST(Watermark, AllocatesNothingOnceItWasDrawn) {
    const Bytes dib = makeDib(60, 30);
    Watermark watermark;
    watermark.Set({50, dib.data()});
    watermark.SetRotate(12345);
    Frame frame(64, 48, 3);
    Surface surface(64, 48);
    CountingTarget target;
    const auto draw = [&](int32_t move) {
        watermark.SetOffset(move, -move);
        watermark.Burn(frame.Drawn());
        watermark.Paint(surface.surface, {0, 0, 64, 48}, 64, 48);
        watermark.Paint(target, {0, 0, 64, 48}, 64, 48);
    };
    const size_t cold = allocations();
    draw(0);
    const size_t warm = allocations();
    EXPECT_GT(warm, cold);
    for (int32_t i = 1; i <= 100; ++i) draw(i);
    EXPECT_EQ(allocations(), warm);
    EXPECT_EQ(target.pictures, 101);
}

}  // namespace watermark_test
}  // namespace vexcap::test
