#include <gtest/gtest.h>

#include "frame/frame_render.h"
#include "frame/sink_testing.h"

namespace vexcap::test {
namespace frame_texture_test {

constexpr uint32_t width = readyWidth, height = readyHeight;

struct TextureRig : SinkRig {
    TextureRig() : SinkRig(SinkMode::Pooled, 0, 3, true) {}
    int device = 0, context = 0, target = 0;
};

TEST(SharedTexture, IsMadeOnTheDeviceOfTheHostAndOfferedToTheCamera) {
    TextureRig rig;
    EXPECT_FALSE(rig.sink.GpuPath());
    EXPECT_EQ(rig.sink.TextureTarget().texture, nullptr);
    rig.sink.SetVideoSize(width, height, &rig.device, &rig.context, &rig.target);
    EXPECT_TRUE(rig.sink.GpuPath());
    ASSERT_NE(rig.textures.last, nullptr);
    EXPECT_EQ(rig.textures.last->device, &rig.device);
    EXPECT_EQ(rig.textures.last->context, &rig.context);
    EXPECT_EQ(rig.textures.last->renderTarget, &rig.target);
    EXPECT_EQ(rig.textures.last->width, width);
    EXPECT_EQ(rig.textures.last->height, height);
    const vex_texture_target offered = rig.sink.TextureTarget();
    EXPECT_EQ(offered.device, &rig.device);
    EXPECT_EQ(offered.context, &rig.context);
    EXPECT_EQ(offered.texture, rig.textures.last.get());
}

TEST(SharedTexture, LeavesNoDisplayBufferButRawOnes) {
    TextureRig rig;
    rig.setVideoSize(width, height);
    ASSERT_NE(rig.deliver(picture(width, height, 1), width, height), nullptr);
    rig.sink.SetVideoSize(width, height, &rig.device, &rig.context, &rig.target);
    rig.sink.PutCapture(1);
    const Buffers lent = rig.next();
    EXPECT_EQ(lent.display, nullptr);
    EXPECT_NE(lent.raw, nullptr);
}

TEST(SharedTexture, IsOnlyMadeByAPooledSinkWithADeviceWhereTexturesCanBeHad) {
    int device = 0;
    for (const SinkMode mode : everyMode)
        for (const bool available : {false, true})
            for (const bool given : {false, true}) {
                SinkRig rig(mode, 0, 3, available);
                rig.sink.SetVideoSize(width, height, given ? &device : nullptr, nullptr, nullptr);
                const bool expected = mode == SinkMode::Pooled && available && given;
                EXPECT_EQ(rig.sink.GpuPath(), expected);
                EXPECT_EQ(rig.textures.made, expected ? 1u : 0u);
                rig.sink.InitD2d(given ? &device : nullptr, nullptr, nullptr);
                EXPECT_EQ(rig.sink.GpuPath(), expected);
                EXPECT_EQ(rig.textures.alive, expected ? 1u : 0u);
            }
}

TEST(SharedTexture, ThatCannotBeMadeLeavesThePictureInMemory) {
    TextureRig rig;
    rig.textures.failCreate = true;
    rig.sink.SetVideoSize(width, height, &rig.device, &rig.context, &rig.target);
    EXPECT_FALSE(rig.sink.GpuPath());
    EXPECT_EQ(rig.sink.TextureTarget().device, nullptr);
    const Bytes pixels = picture(width, height, 1);
    ASSERT_NE(rig.deliver(pixels, width, height), nullptr);
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

TEST(SharedTexture, ThatTheCameraRefusesGivesWayToMemory) {
    TextureRig rig;
    rig.sink.SetVideoSize(width, height, &rig.device, &rig.context, &rig.target);
    EXPECT_EQ(rig.sink.InitD2d(nullptr, nullptr, nullptr), S_OK);
    EXPECT_FALSE(rig.sink.GpuPath());
    EXPECT_EQ(rig.textures.alive, 0u);
    EXPECT_EQ(rig.sink.TextureTarget().device, nullptr);
    const Bytes pixels = picture(width, height, 1);
    ASSERT_NE(rig.deliver(pixels, width, height), nullptr);
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

TEST(SharedTexture, StaysThroughASizeThatComesWithoutADeviceAndIsReplacedByOneWith) {
    TextureRig rig;
    rig.sink.SetVideoSize(width, height, &rig.device, &rig.context, &rig.target);
    rig.setVideoSize(8, 4);
    EXPECT_TRUE(rig.sink.GpuPath());
    EXPECT_EQ(rig.textures.made, 1u);
    rig.sink.SetVideoSize(8, 4, &rig.device, &rig.context, &rig.target);
    EXPECT_EQ(rig.textures.made, 2u);
    EXPECT_EQ(rig.textures.alive, 1u);
    EXPECT_EQ(rig.textures.last->width, 8u);
}

TEST(SharedTexture, IsReleasedWithTheSink) {
    FakeClock clock;
    FakeTextures textures;
    FakeDisk disk;
    int device = 0;
    {
        CFrameRender sink(SinkMode::Pooled, 0, 3, clock, textures, disk, true);
        sink.SetVideoSize(width, height, &device, nullptr, nullptr);
        EXPECT_EQ(textures.alive, 1u);
    }
    EXPECT_EQ(textures.alive, 0u);
}

}  // namespace frame_texture_test
}  // namespace vexcap::test
