// What hosts see: the picture on a surface and on a render target, and the overlay over it.
#include "frame/sink_testing.h"
#include "platform/fake/recording_target.h"

namespace vexcap::test {
namespace frame_paint_test {

constexpr uint32_t width = readyWidth, height = readyHeight;

/// A surface with a word of its own in the fourth byte of each pixel, and memory around it that must stay.
struct Paper {
    explicit Paper(int32_t columns, int32_t rows) : surface{nullptr, columns, rows, columns * 4 + 8, 0, 0} {
        memory.assign(size_t(surface.stride) * size_t(rows), 0xA5);
        surface.pixels = memory.data();
    }
    std::array<uint8_t, 4> at(int32_t x, int32_t y) const {
        std::array<uint8_t, 4> pixel;
        std::memcpy(pixel.data(), memory.data() + y * surface.stride + x * 4, 4);
        return pixel;
    }
    bool untouched() const {
        return std::all_of(memory.begin(), memory.end(), [](uint8_t byte) { return byte == 0xA5; });
    }

    Bytes memory;
    vex_surface surface;
};

/// Notes what it is asked, and draws nothing.
struct NotingOverlay final : IPaintOverlay {
    void DrawOverlayGdi(const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
                        const vex_surface& surface, const vex_rect& rectangle) override {
        note("gdi", frame, bytesPerPixel, imageWidth, imageHeight, rectangle);
        pixels = surface.pixels;
    }
    void DrawOverlayD2d(const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
                        vex_render_target&, const vex_rect& rectangle) override {
        note("d2d", frame, bytesPerPixel, imageWidth, imageHeight, rectangle);
    }
    void note(const char* road, const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
              const vex_rect& r) {
        shown = frame;
        calls.push_back(std::string(road) + " " + std::to_string(bytesPerPixel) + " " + std::to_string(imageWidth) +
                        "x" + std::to_string(imageHeight) + " " + std::to_string(r.left) + "," + std::to_string(r.top) +
                        "," + std::to_string(r.right) + "," + std::to_string(r.bottom));
    }
    std::vector<std::string> calls;
    const uint8_t* shown = nullptr;
    const uint8_t* pixels = nullptr;
};

std::array<uint8_t, 4> expected(const Bytes& shown, uint32_t x, uint32_t y) {
    const uint8_t* const pixel = shown.data() + (height - 1 - y) * dibStride(width, 3) + x * 3;
    return {pixel[0], pixel[1], pixel[2], 0xA5};
}

/// Rows as a picture is seen, without padding.
Bytes topRowFirst(const Bytes& bottomUp) {
    Bytes rows;
    for (uint32_t y = height; y-- > 0;) {
        const uint8_t* const row = bottomUp.data() + y * dibStride(width, 3);
        rows.insert(rows.end(), row, row + width * 3);
    }
    return rows;
}

class Paint : public testing::TestWithParam<SinkMode> {
protected:
    ReadyRig rig{GetParam()};
    Paper paper{30, 16};
    NotingOverlay overlay;
    const Bytes shown = picture(width, height, 3);
    vex_rect rectangle = {2, 3, 2 + 2 * int32_t(width), 3 + int32_t(height)};

    HRESULT paint(uint32_t w = width, uint32_t h = height) {
        return rig.sink.DrawGdi(paper.surface, rectangle, w, h, &overlay);
    }
};
INSTANTIATE_TEST_SUITE_P(EveryMode, Paint, testing::ValuesIn(everyMode));

TEST_P(Paint, BeforeTheFirstFrameDrawsNothingAndDoesNotFail) {
    EXPECT_EQ(paint(), S_OK);
    EXPECT_TRUE(paper.untouched());
    EXPECT_TRUE(overlay.calls.empty());
}

TEST_P(Paint, StretchesThePictureIntoTheRectangleClippedToTheSurface) {
    rig.show(shown);
    EXPECT_EQ(paint(), S_OK);
    for (int32_t y = 0; y < 16; ++y)
        for (int32_t x = 0; x < 30; ++x) {
            const bool inside = x >= rectangle.left && y >= rectangle.top && y < rectangle.bottom;
            const auto want = inside ? expected(shown, uint32_t(x - 2) / 2, uint32_t(y - 3))
                                     : std::array<uint8_t, 4>{0xA5, 0xA5, 0xA5, 0xA5};
            ASSERT_EQ(paper.at(x, y), want) << x << ", " << y;
        }
}

TEST_P(Paint, AnOverlayIsDrawnBehindThePictureWithWhatIsShown) {
    const void* const frame = rig.show(shown);
    paint();
    EXPECT_EQ(overlay.calls, std::vector<std::string>{"gdi 3 20x10 2,3,42,13"});
    EXPECT_EQ(overlay.pixels, paper.surface.pixels);
    EXPECT_EQ(Bytes(overlay.shown, overlay.shown + shown.size()), shown);
    if (GetParam() == SinkMode::Pooled) {
        EXPECT_EQ(overlay.shown, frame);
    }
}

TEST_P(Paint, WithoutAnOverlayThePictureAloneIsDrawn) {
    rig.show(shown);
    EXPECT_EQ(rig.sink.DrawGdi(paper.surface, rectangle, width, height, nullptr), S_OK);
    EXPECT_EQ(paper.at(2, 3), expected(shown, 0, 0));
}

TEST_P(Paint, AWrongWidthForgetsThePictureTheNextFrameBringsItBackAndThePaintAfterThatDrawsIt) {
    rig.show(shown);
    EXPECT_EQ(paint(width + 1), S_OK);
    EXPECT_TRUE(paper.untouched());
    EXPECT_EQ(rig.size(), std::pair(0u, 0u));
    EXPECT_EQ(rig.sink.GetImage(nullptr, 0, 0), E_POINTER);
    EXPECT_EQ(paint(), S_OK);
    EXPECT_TRUE(paper.untouched());
    EXPECT_TRUE(overlay.calls.empty());
    rig.show(shown);
    EXPECT_EQ(paint(), S_OK);
    EXPECT_EQ(paper.at(2, 3), expected(shown, 0, 0));
}

TEST_P(Paint, AForgottenPictureComesBackWithAFrameThatTellsNoSize) {
    rig.show(shown);
    paint(width, height + 1);
    rig.show(shown, 0, 0);
    EXPECT_EQ(rig.size(), std::pair(width, height));
    paint();
    EXPECT_EQ(paper.at(2, 3), expected(shown, 0, 0));
}

TEST_P(Paint, ARectangleOfZeroSizeGoesToTheOverlayUnchangedAndDrawsNoPicture) {
    rig.show(shown);
    rectangle = {5, 5, 5, 5};
    EXPECT_EQ(paint(), S_OK);
    EXPECT_TRUE(paper.untouched());
    EXPECT_EQ(overlay.calls, std::vector<std::string>{"gdi 3 20x10 5,5,5,5"});
}

TEST_P(Paint, ARenderTargetGetsThePictureOfMemoryAndThenTheOverlay) {
    rig.show(shown);
    RecordingTarget target;
    EXPECT_EQ(rig.sink.DrawD2d(target, rectangle, width, height, &overlay), S_OK);
    ASSERT_EQ(target.calls.size(), 1u);
    const TargetCall& drawn = target.calls.front();
    EXPECT_EQ(drawn.kind, TargetCall::Kind::Bitmap);
    EXPECT_EQ(drawn.picture.texture, nullptr);
    EXPECT_EQ(drawn.picture.width, int32_t(width));
    EXPECT_EQ(drawn.picture.height, int32_t(height));
    EXPECT_EQ(drawn.picture.stride, -int32_t(dibStride(width, 3)));
    EXPECT_EQ(drawn.picture.bytesPerPixel, 3u);
    EXPECT_EQ(drawn.rows, topRowFirst(shown));
    EXPECT_EQ(drawn.a, 2.0F);
    EXPECT_EQ(drawn.d, 3.0F + height);
    EXPECT_EQ(drawn.opacity, 1.0F);
    EXPECT_EQ(overlay.calls, std::vector<std::string>{"d2d 3 20x10 2,3,42,13"});
}

TEST_P(Paint, AWrongSizeOnARenderTargetForgetsTheSizeAloneAndDrawsNothing) {
    rig.show(shown);
    RecordingTarget target;
    EXPECT_EQ(rig.sink.DrawD2d(target, rectangle, width, height + 1, &overlay), S_OK);
    EXPECT_EQ(rig.size(), std::pair(0u, 0u));
    EXPECT_EQ(rig.sink.DrawD2d(target, rectangle, 0, 0, &overlay), S_OK);
    EXPECT_TRUE(target.calls.empty());
    EXPECT_TRUE(overlay.calls.empty());
    rig.show(shown);
    EXPECT_EQ(rig.sink.DrawD2d(target, rectangle, width, height, &overlay), S_OK);
    EXPECT_EQ(target.calls.size(), 1u);
}

TEST_P(Paint, ARenderTargetWithoutAPictureDrawsNothing) {
    RecordingTarget target;
    EXPECT_EQ(rig.sink.DrawD2d(target, rectangle, width, height, &overlay), S_OK);
    EXPECT_TRUE(target.calls.empty());
    EXPECT_TRUE(overlay.calls.empty());
}

TEST(PaintTexture, ARenderTargetGetsTheTextureAndTheOverlayNoFrame) {
    SinkRig rig(SinkMode::Pooled, 0, 3, true);
    int device = 0, context = 0;
    rig.sink.SetVideoSize(width, height, &device, &context, nullptr);
    RecordingTarget target;
    NotingOverlay overlay;
    const vex_rect rectangle = {0, 0, 40, 20};
    EXPECT_EQ(rig.sink.DrawD2d(target, rectangle, width, height, &overlay), S_OK);
    ASSERT_EQ(target.calls.size(), 1u);
    EXPECT_EQ(target.calls.front().picture.texture, rig.textures.last.get());
    EXPECT_EQ(target.calls.front().picture.pixels, nullptr);
    EXPECT_EQ(overlay.calls, std::vector<std::string>{"d2d 4 20x10 0,0,40,20"});
    EXPECT_EQ(overlay.shown, nullptr);
}

TEST(PaintTexture, ASurfaceHasNoPictureOfATexture) {
    SinkRig rig(SinkMode::Pooled, 0, 3, true);
    int device = 0;
    rig.sink.SetVideoSize(width, height, &device, nullptr, nullptr);
    Paper paper(8, 8);
    EXPECT_EQ(rig.sink.DrawGdi(paper.surface, {0, 0, 8, 8}, width, height, nullptr), S_OK);
    EXPECT_TRUE(paper.untouched());
}

}  // namespace frame_paint_test
}  // namespace vexcap::test
