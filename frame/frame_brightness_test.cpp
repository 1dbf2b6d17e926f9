#include <gtest/gtest.h>

#include <optional>

#include "frame/frame_render.h"
#include "frame/sink_testing.h"

namespace vexcap::test {
namespace frame_brightness_test {

constexpr uint32_t width = readyWidth, height = readyHeight;

/// The brightness that a window was told for a picture.
std::optional<uint64_t> brightnessOf(const Bytes& pixels, uint32_t w, uint32_t h, const vex_rect* rectangle) {
    SinkRig rig(SinkMode::Copying);
    rig.sink.SetBrightnessNotify(rectangle, rig.window.native(), brightnessMessage);
    rig.receive(pixels.data(), w, h);
    const Messages all = rig.messages();
    if (all.empty()) return std::nullopt;
    EXPECT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].message, brightnessMessage);
    EXPECT_EQ(all[0].lparam, 0);
    return all[0].wparam;
}

/// The same by the definition: pixels with left <= x < right and top <= y < bottom, counted from the top.
uint64_t expectedBrightness(const Bytes& pixels, uint32_t w, uint32_t h, const vex_rect& r) {
    double sum = 0;
    for (int32_t y = r.top; y < r.bottom; ++y)
        for (int32_t x = r.left; x < r.right; ++x) {
            const uint8_t* const p = &pixels[(h - uint32_t(y) - 1) * dibStride(w, 3) + uint32_t(x) * 3];
            sum += 0.587 * p[1] + 0.299 * p[2] + 0.114 * p[0];
        }
    return uint64_t(sum / (r.right - r.left) / (r.bottom - r.top) * 10.0);
}

TEST(FrameBrightness, IsTenTimesTheMeanOfTheRectangle) {
    const Bytes pixels = picture(width, height, 5);
    for (const vex_rect& rectangle : {vex_rect{2, 2, 18, 8}, {3, 4, 4, 5}, {5, 2, 11, 7}, {17, 7, 18, 8}})
        EXPECT_EQ(brightnessOf(pixels, width, height, &rectangle),
                  expectedBrightness(pixels, width, height, rectangle));
}

TEST(FrameBrightness, WeighsTheChannelsAndCutsTheRestOff) {
    const vex_rect whole = {0, 0, 20, 10};
    struct {
        uint8_t blue, green, red;
        uint64_t tenfold;
    } const table[] = {{255, 0, 0, 290}, {0, 255, 0, 1496}, {0, 0, 255, 762}, {10, 20, 30, 218}};
    for (const auto& row : table) {
        Bytes pixels(picture(width, height, 0).size());
        for (size_t i = 0; i + 3 <= pixels.size(); i += 3) {
            pixels[i] = row.blue;
            pixels[i + 1] = row.green;
            pixels[i + 2] = row.red;
        }
        EXPECT_EQ(brightnessOf(pixels, width, height, &whole), row.tenfold);
    }
}

TEST(FrameBrightness, ARectangleIsPutInOrderAndKeptTwoPixelsInside) {
    const Bytes pixels = picture(width, height, 6);
    const uint64_t inner = expectedBrightness(pixels, width, height, {2, 2, 18, 8});
    for (const vex_rect& rectangle : {vex_rect{0, 0, 20, 10},
                                      {-1000, -1000, 1000, 1000},
                                      {20, 10, 0, 0},
                                      {1000, -5, -1000, 99},
                                      {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}})
        EXPECT_EQ(brightnessOf(pixels, width, height, &rectangle), inner);
}

TEST(FrameBrightness, ARectangleInsideTheMarginSendsNoMessageWhileTheFrameMessageIsSent) {
    for (const vex_rect& rectangle : {vex_rect{0, 0, 2, 10},
                                      {18, 0, 20, 10},
                                      {0, 0, 20, 2},
                                      {0, 8, 20, 10},
                                      {7, 7, 7, 8},
                                      {-9, -9, -1, -1},
                                      {0, 0, 0, 0}}) {
        ReadyRig rig(SinkMode::Copying);
        rig.sink.SetBrightnessNotify(&rectangle, rig.window.native(), brightnessMessage);
        rig.show(picture(width, height, 1));
        EXPECT_EQ(rig.messages(), (Messages{{frameMessage, 0, 0}}));
    }
}

TEST(FrameBrightness, NullEmptiesTheRectangle) {
    ReadyRig rig(SinkMode::Copying);
    const vex_rect rectangle = {2, 2, 8, 8};
    rig.sink.SetBrightnessNotify(&rectangle, rig.window.native(), brightnessMessage);
    rig.sink.SetBrightnessNotify(nullptr, rig.window.native(), brightnessMessage);
    rig.show(picture(width, height, 1));
    EXPECT_EQ(rig.messages(), (Messages{{frameMessage, 0, 0}}));
}

TEST(FrameBrightness, APictureWithASideBelowFivePixelsHasNone) {
    const vex_rect rectangle = {0, 0, 100, 100};
    for (uint32_t w = 1; w < 8; ++w)
        for (uint32_t h = 1; h < 8; ++h) {
            const Bytes pixels = picture(w, h, 1);
            const auto told = brightnessOf(pixels, w, h, &rectangle);
            EXPECT_EQ(told.has_value(), w >= 5 && h >= 5) << w << " x " << h;
            if (told) {
                EXPECT_EQ(*told, expectedBrightness(pixels, w, h, {2, 2, int32_t(w) - 2, int32_t(h) - 2}));
            }
        }
}

TEST(FrameBrightness, OfFourBytesAPixelLeavesTheFourthOut) {
    ReadyRig rig(SinkMode::Owned, 0, 4);
    const vex_rect whole = {0, 0, width, height};
    rig.sink.SetBrightnessNotify(&whole, rig.window.native(), brightnessMessage);
    Bytes pixels(dibStride(width, 4) * height, 100);
    for (size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 255;
    rig.show(pixels);
    EXPECT_EQ(rig.messages()[0], (Posted{brightnessMessage, 1000, 0}));
}

}  // namespace frame_brightness_test
}  // namespace vexcap::test
