// Painting a context's preview.
#include "engine/context_picture.h"
#include "engine/media_graph_testing.h"
#include "platform/fake/recording_target.h"
#include "settings/marker_settings.h"

namespace vexcap {
namespace context_paint_test {

/// A surface of white pixels.
struct Paper {
    explicit Paper(int32_t columns, int32_t rows)
        : memory(size_t(columns) * size_t(rows) * 4, 255), surface{memory.data(), columns, rows, columns * 4, 0, 0} {}
    int blue(int32_t x, int32_t y) const { return memory[size_t(y) * size_t(surface.stride) + size_t(x) * 4]; }
    bool white() const {
        return std::all_of(memory.begin(), memory.end(), [](uint8_t byte) { return byte == 255; });
    }
    std::vector<uint8_t> memory;
    vex_surface surface;
};

constexpr MarkerGeo cross = {
    .eMarkerGeo = VEX_MARKER_CROSS, .eMarkerGeoColor = 0x440000, .eMarkerGeox = 100, .eMarkerGeoy = 100};

class PaintOfCamera : public ContextFixture {
protected:
    PaintOfCamera() { markerSettings() = MarkerSettings(); }

    void paint(uint32_t width = 64, uint32_t height = 48) {
        context->Picture().DrawGdi(paper.surface, {0, 0, 32, 24}, width, height);
    }
    std::unique_ptr<CaptureContext> context = startedContext();
    Paper paper{32, 24};
};

TEST_F(PaintOfCamera, ShowsThePictureWithItsOverlay) {
    paint();
    EXPECT_TRUE(paper.white());
    camera.deliver(7, 64, 48);
    context->Overlay().SetGeo(cross);
    paint();
    EXPECT_EQ(paper.blue(3, 3), 7);
    EXPECT_EQ(paper.blue(3, 12), 0x44);
    EXPECT_EQ(paper.blue(16, 3), 0x44);
}

// The host knows the size of the sensor, and the frames are cut out of it.
TEST_F(PaintOfCamera, TakesTheSizeOfTheSourceForThatOfThePicture) {
    camera.deliver(7, 16, 8);
    paint(64, 48);
    EXPECT_EQ(paper.blue(3, 3), 7);
    paint(16, 8);
    EXPECT_EQ(paper.blue(3, 3), 7);
    paper = Paper(32, 24);
    paint(16, 9);
    EXPECT_TRUE(paper.white());
    paint(16, 8);
    EXPECT_TRUE(paper.white()) << "the picture was forgotten";
    camera.deliver(8, 16, 8);
    paint(16, 8);
    EXPECT_EQ(paper.blue(3, 3), 8);
}

TEST_F(PaintOfCamera, ARenderTargetGetsPictureAndOverlay) {
    camera.deliver(7, 64, 48);
    context->Overlay().SetGeo(cross);
    test::RecordingTarget target;
    context->Picture().DrawD2d(target, {0, 0, 32, 24}, 64, 48);
    using Kind = test::TargetCall::Kind;
    ASSERT_EQ(target.calls.size(), 3u);
    EXPECT_EQ(target.calls[0].kind, Kind::Bitmap);
    EXPECT_EQ(target.calls[1].kind, Kind::Line);
    EXPECT_EQ(target.calls[2].kind, Kind::Line);
}

TEST_F(PaintOfCamera, NothingIsBufferedWithoutAnOverlay) {
    EXPECT_FALSE(context->Overlay().PaintsSomething());
    for (const MarkerTxt& text : {MarkerTxt{.Scale = 1}, MarkerTxt{.Date = 1}, MarkerTxt{.Contrast = 1}}) {
        context->Overlay().SetTxt(text);
        EXPECT_TRUE(context->Overlay().PaintsSomething());
    }
    context->Overlay().SetTxt({});
    EXPECT_FALSE(context->Overlay().PaintsSomething());
    context->Overlay().SetGeo(cross);
    EXPECT_TRUE(context->Overlay().PaintsSomething());
}

TEST_F(PaintOfCamera, ANullDeviceContextOnOneThatNeverHadAnyStopsNothing) {
    camera.calls.clear();
    int device = 0;
    context->Picture().InitD2d(&device, nullptr, nullptr);
    EXPECT_TRUE(camera.calls.empty());
}

class PaintOfTexture : public ContextFixture {
protected:
    PaintOfTexture() {
        fakes.textures.available = true;
        arguments.direct2d = 1;
        camera.textureAccepted = true;
        context = startedContext();
    }
    std::unique_ptr<CaptureContext> context;
    int device = 0, deviceContext = 0;
};

TEST_F(PaintOfTexture, AGraphicsDeviceIsGivenToARunningCameraByANewStart) {
    EXPECT_FALSE(context->UsesTexture());
    camera.calls.clear();
    test::RecordingTarget target;
    context->Picture().InitD2d(&device, &deviceContext, &target);
    EXPECT_TRUE(context->UsesTexture());
    EXPECT_EQ(camera.calls, (std::vector<std::string>{"Stop", "StartPull", "Pause(0)"}));
    EXPECT_TRUE(camera.textureOffered);
    ASSERT_NE(fakes.textures.last, nullptr);
    EXPECT_EQ(fakes.textures.last->renderTarget, &target);
    EXPECT_EQ(context->PlayState(), playRunning);
}

TEST_F(PaintOfTexture, APausedCameraComesBackRunning) {
    context->SetPlayState(playPaused);
    context->Picture().InitD2d(&device, &deviceContext, nullptr);
    EXPECT_EQ(context->PlayState(), playRunning);
}

TEST_F(PaintOfTexture, ACameraThatWillNotStartAgainIsStopped) {
    camera.startResult = E_FAIL;
    context->Picture().InitD2d(&device, &deviceContext, nullptr);
    EXPECT_EQ(context->PlayState(), playStopped);
}

TEST_F(PaintOfTexture, NullsTakeTheDeviceAwayAgain) {
    context->Picture().InitD2d(&device, &deviceContext, nullptr);
    ASSERT_TRUE(context->UsesTexture());
    context->Picture().InitD2d(nullptr, nullptr, nullptr);
    EXPECT_FALSE(context->UsesTexture());
    camera.calls.clear();
    context->Picture().InitD2d(nullptr, nullptr, nullptr);
    EXPECT_TRUE(camera.calls.empty());
}

class PaintOfDevice : public DeviceFixture {
protected:
    PaintOfDevice() { EXPECT_EQ(start(), S_OK); }
    Paper paper{8, 4};
};

TEST_F(PaintOfDevice, ASurfaceShowsTheRendererOfTheGraph) {
    show(9);
    context->Picture().DrawGdi(paper.surface, {0, 0, 8, 4}, 8, 4);
    EXPECT_EQ(paper.blue(0, 0), 9);
}

TEST_F(PaintOfDevice, ARenderTargetShowsNothing) {
    show(9);
    test::RecordingTarget target;
    context->Picture().DrawD2d(target, {0, 0, 8, 4}, 8, 4);
    EXPECT_TRUE(target.calls.empty());
}

TEST_F(PaintOfDevice, AGraphicsDeviceStopsNothing) {
    int device = 0;
    context->Picture().InitD2d(&device, &device, nullptr);
    EXPECT_TRUE(context->Previewing());
    EXPECT_EQ(context->PlayState(), playRunning);
}

}  // namespace context_paint_test
}  // namespace vexcap
