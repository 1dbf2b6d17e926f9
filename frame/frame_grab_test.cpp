#include <gtest/gtest.h>

#include "frame/frame_render.h"
#include "frame/sink_testing.h"

namespace vexcap::test {
namespace frame_grab_test {

constexpr uint32_t width = 5, height = 3;  // rows of 15 bytes in 16, of 30 in 32

/// A pooled sink of 12 bits with a display picture, a raw frame and a deep frame.
struct FullRig : SinkRig {
    explicit FullRig(uint32_t depth = 12, uint32_t depthFlag = 1) : SinkRig(SinkMode::Pooled) {
        sink.RaiseSensorDepth(depth);
        setVideoSize(width, height);
        sink.PutCapture(2);
        void* const deepBuffer = next().deep;
        sink.PutCapture(1);
        const Buffers lent = next();
        std::memcpy(lent.display, display.data(), display.size());
        std::memcpy(lent.raw, raw.data(), width * height * (depth < 9 ? 1 : 2));
        if (deepBuffer) std::memcpy(deepBuffer, deep.data(), deep.size());
        sink.ReceiveFrame(lent.display, lent.raw, deepBuffer, depthFlag, fourcc("RGGB"), width, height, 0);
    }
    const Bytes display = picture(width, height, 1);
    const Bytes raw = pattern(width * height * 2, 2);
    const Bytes deep = pattern(dibStride(width, 6) * height, 3);
};

/// The header as it lies in memory.
Bytes headerBytes(uint32_t bits, uint32_t tag, uint32_t bytes) {
    Bytes made(40);
    const auto put = [&](size_t at, uint32_t value) { std::memcpy(&made[at], &value, 4); };
    put(0, 40);
    put(4, width);
    put(8, height);
    put(12, 1 | bits << 16);
    put(16, tag);
    put(20, bytes);
    return made;
}

struct Expected {
    uint32_t kind;
    Bytes header, pixels;
};

std::vector<Expected> expectedOf(const FullRig& rig) {
    return {{0, headerBytes(24, 0, 48), rig.display},
            {1, headerBytes(12, fourcc("RGGB"), 30), rig.raw},
            {2, headerBytes(36, 0, 96), rig.deep}};
}

TEST(GetImage, WritesHeaderAndPixelsOfEachKindAndNothingBehind) {
    FullRig rig;
    for (const Expected& expected : expectedOf(rig)) {
        Bytes bitmap(40 + expected.pixels.size() + 3, 0xEE);
        ASSERT_EQ(rig.sink.GetImage(bitmap.data(), int32_t(expected.pixels.size()), expected.kind), S_OK);
        Bytes all = expected.header;
        all.insert(all.end(), expected.pixels.begin(), expected.pixels.end());
        all.insert(all.end(), 3, 0xEE);
        EXPECT_EQ(bitmap, all) << "kind " << expected.kind;
    }
}

TEST(GetImage, ACapacityOneByteTooSmallIsRefusedAndNothingIsWritten) {
    FullRig rig;
    for (const Expected& expected : expectedOf(rig))
        for (const int32_t capacity : {int32_t(expected.pixels.size()) - 1, 0, -1, INT32_MIN}) {
            Bytes bitmap(40 + expected.pixels.size(), 0xEE);
            EXPECT_EQ(rig.sink.GetImage(bitmap.data(), capacity, expected.kind), HRESULT(0x8007007A));
            EXPECT_EQ(bitmap, Bytes(bitmap.size(), 0xEE));
        }
}

TEST(GetImage, TheBitmapMayLieAtAnyAddress) {
    FullRig rig;
    Bytes bitmap(41 + 48);
    ASSERT_EQ(rig.sink.GetImage(bitmap.data() + 1, 48, 0), S_OK);
    EXPECT_EQ(Bytes(bitmap.begin() + 1, bitmap.begin() + 41), headerBytes(24, 0, 48));
}

TEST(GetImage, WithoutAPictureEachKindFails) {
    for (const SinkMode mode : {SinkMode::Pooled, SinkMode::Owned, SinkMode::Copying}) {
        SinkRig rig(mode);
        rig.setVideoSize(width, height);
        for (const uint32_t kind : {0u, 1u, 2u, 3u, UINT32_MAX}) {
            EXPECT_EQ(grab(rig.sink, kind, 1000).result, E_FAIL);
            EXPECT_EQ(rig.sink.GetImage(nullptr, 0, kind), E_POINTER);
        }
    }
}

TEST(GetImage, AnyOtherKindFails) {
    FullRig rig;
    EXPECT_EQ(grab(rig.sink, 3, 1000).result, E_FAIL);
    EXPECT_EQ(grab(rig.sink, UINT32_MAX, 1000).result, E_FAIL);
}

TEST(GetImage, AQuestionIsAnsweredByWhatIsThere) {
    FullRig all;
    for (const uint32_t kind : {0u, 1u, 2u}) EXPECT_EQ(all.sink.GetImage(nullptr, 0, kind), S_FALSE);
    EXPECT_EQ(all.sink.GetImage(nullptr, 0, 3), E_POINTER);
    SinkRig displayOnly(SinkMode::Pooled);
    displayOnly.setVideoSize(width, height);
    displayOnly.deliver(picture(width, height, 1), width, height);
    EXPECT_EQ(displayOnly.sink.GetImage(nullptr, 0, 0), S_FALSE);
    EXPECT_EQ(displayOnly.sink.GetImage(nullptr, 0, 1), E_POINTER);
    EXPECT_EQ(displayOnly.sink.GetImage(nullptr, 0, 2), E_POINTER);
}

TEST(GetImage, ItsBytesAreKnownBefore) {
    FullRig rig;
    for (const Expected& expected : expectedOf(rig))
        EXPECT_EQ(rig.sink.ImageBytes(expected.kind), expected.pixels.size()) << expected.kind;
    EXPECT_EQ(rig.sink.ImageBytes(3), 0u);
    SinkRig empty(SinkMode::Pooled);
    empty.setVideoSize(width, height);
    for (const uint32_t kind : {0u, 1u, 2u}) EXPECT_EQ(empty.sink.ImageBytes(kind), 0u) << kind;
}

TEST(GetImage, TheStampIsThatOfThePictureInEachMode) {
    for (const SinkMode mode : {SinkMode::Pooled, SinkMode::Owned, SinkMode::Copying}) {
        SinkRig rig(mode);
        rig.setVideoSize(width, height);
        const Bytes cells = picture(width, height, 1);
        void* display = nullptr;
        rig.sink.NextBuffers(&display, nullptr, nullptr);
        const void* const frame = display ? display : cells.data();
        rig.clock.setMilliseconds(1234);
        rig.sink.ReceiveFrame(frame, nullptr, nullptr, 0, 0, width, height, 0,
                              {.numbered = true, .number = 17, .timestamp = 99});
        rig.clock.advance(50);
        Bytes bitmap(40 + 48);
        FrameStamp stamp;
        EXPECT_EQ(rig.sink.GrabImage(bitmap.data(), 47, 0, stamp), VEX_E_INSUFFICIENT_BUFFER);
        EXPECT_FALSE(stamp.numbered) << "no picture, no stamp";
        ASSERT_EQ(rig.sink.GrabImage(bitmap.data(), 48, 0, stamp), S_OK);
        EXPECT_EQ(stamp.tick, 1234u);
        EXPECT_TRUE(stamp.numbered);
        EXPECT_EQ(stamp.number, 17u);
        EXPECT_EQ(stamp.timestamp, 99u);
    }
}

TEST(GetImage, FourBytesAPixelArePackedToThree) {
    SinkRig rig(SinkMode::Owned, 0, 4);
    rig.setVideoSize(width, height);
    const Bytes cells = pattern(dibStride(width, 4) * height, 4);
    rig.deliver(cells, width, height);
    const Grab made = grab(rig.sink, 0, 48);
    ASSERT_EQ(made.result, S_OK);
    EXPECT_EQ(made.header.biBitCount, 24);
    EXPECT_EQ(made.header.biSizeImage, 48u);
    for (size_t y = 0; y < height; ++y)
        for (size_t x = 0; x < width; ++x)
            EXPECT_EQ(std::memcmp(&made.pixels[y * 16 + x * 3], &cells[y * 20 + x * 4], 3), 0);
    EXPECT_EQ(grab(rig.sink, 0, 47).result, VEX_E_INSUFFICIENT_BUFFER);
}

TEST(GetImage, ARawFrameWithoutTheDepthFlagHasEightBits) {
    FullRig rig(12, 0);
    const Grab made = grab(rig.sink, 1, width * height);
    ASSERT_EQ(made.result, S_OK);
    EXPECT_EQ(made.header.biBitCount, 8);
    EXPECT_EQ(made.header.biSizeImage, width * height);
    EXPECT_EQ(made.pixels, Bytes(rig.raw.begin(), rig.raw.begin() + width * height));
}

TEST(GetImage, ARawFrameOfAnEightBitDeviceHasOneByteASample) {
    FullRig rig(8);
    const Grab made = grab(rig.sink, 1, width * height);
    ASSERT_EQ(made.result, S_OK);
    EXPECT_EQ(made.header.biBitCount, 8);
}

TEST(GetImage, ARawFrameThatIsLargerThanItsBufferIsNotRead) {
    SinkRig rig(SinkMode::Pooled);
    rig.setVideoSize(width, height);
    rig.sink.PutCapture(1);
    const Buffers lent = rig.next();  // one byte a sample
    rig.sink.RaiseSensorDepth(12);
    rig.sink.ReceiveFrame(lent.display, lent.raw, nullptr, 1, 0, width, height, 0);
    EXPECT_EQ(grab(rig.sink, 1, 1000).result, E_FAIL);
    EXPECT_EQ(rig.sink.GetImage(nullptr, 0, 1), E_POINTER);
}

TEST(GetImage, ADeepFrameThatIsLargerThanItsBufferIsNotRead) {
    SinkRig rig(SinkMode::Pooled);
    rig.sink.RaiseSensorDepth(12);
    rig.setVideoSize(2, 10);  // display buffers of 10 rows of 8 bytes, deep ones of 10 rows of 12
    rig.sink.PutCapture(2);
    const Buffers lent = rig.next();
    rig.sink.ReceiveFrame(lent.display, nullptr, lent.deep, 1, 0, 1, 20, 0);  // 20 rows of 4, and of 8
    EXPECT_EQ(grab(rig.sink, 0, 80).result, S_OK);
    EXPECT_EQ(grab(rig.sink, 2, 1000).result, E_FAIL);
    const vex_point origin = {0, 0};
    uint16_t values[3];
    uint32_t maximum = 0;
    EXPECT_EQ(rig.sink.GetPixels(&origin, 1, values, &maximum), 1);
    EXPECT_EQ(maximum, 255u);  // of the display picture
}

// --- pixels

TEST(GetPixels, GivesRedGreenBlueFromTheTopLeft) {
    SinkRig rig(SinkMode::Copying);
    const Bytes pixels = picture(width, height, 1);
    rig.receive(pixels.data(), width, height);
    const vex_point points[] = {{0, 0}, {4, 2}, {3, 1}};
    uint16_t values[9];
    uint32_t maximum = 0;
    ASSERT_EQ(rig.sink.GetPixels(points, 3, values, &maximum), 3);
    EXPECT_EQ(maximum, 255u);
    for (size_t i = 0; i < 3; ++i) {
        const uint8_t* const p = &pixels[(height - size_t(points[i].y) - 1) * 16 + size_t(points[i].x) * 3];
        EXPECT_EQ(values[i * 3], p[2]);
        EXPECT_EQ(values[i * 3 + 1], p[1]);
        EXPECT_EQ(values[i * 3 + 2], p[0]);
    }
}

TEST(GetPixels, PointsOutsideAreSkippedWithoutAGap) {
    SinkRig rig(SinkMode::Copying);
    const Bytes pixels = picture(width, height, 1);
    rig.receive(pixels.data(), width, height);
    const vex_point points[] = {{-1, 0}, {1, 1}, {5, 0}, {0, 3}, {0, -1}, {INT32_MIN, INT32_MAX}, {2, 2}};
    uint16_t values[21];
    std::fill(std::begin(values), std::end(values), uint16_t(0xEEEE));
    ASSERT_EQ(rig.sink.GetPixels(points, 7, values, nullptr), 2);
    EXPECT_EQ(values[0], pixels[1 * 16 + 1 * 3 + 2]);
    EXPECT_EQ(values[3], pixels[0 * 16 + 2 * 3 + 2]);
    for (size_t i = 6; i < 21; ++i) EXPECT_EQ(values[i], 0xEEEE);
}

TEST(GetPixels, WithAllPointsOutsideNothingIsWrittenButTheMaximumIsSet) {
    SinkRig rig(SinkMode::Copying);
    const Bytes pixels = picture(width, height, 1);
    rig.receive(pixels.data(), width, height);
    const vex_point points[] = {{-1, 0}, {0, 99}};
    uint16_t values[6] = {7, 7, 7, 7, 7, 7};
    uint32_t maximum = 0;
    EXPECT_EQ(rig.sink.GetPixels(points, 2, values, &maximum), 0);
    EXPECT_EQ(maximum, 255u);
    for (const uint16_t value : values) EXPECT_EQ(value, 7);
}

TEST(GetPixels, WithoutAPictureNothingIsWrittenAndTheMaximumIsLeftAlone) {
    SinkRig rig(SinkMode::Copying);
    rig.setVideoSize(width, height);
    const vex_point point = {0, 0};
    uint16_t values[3] = {7, 7, 7};
    uint32_t maximum = 42;
    EXPECT_EQ(rig.sink.GetPixels(&point, 1, values, &maximum), 0);
    EXPECT_EQ(maximum, 42u);
    EXPECT_EQ(values[0], 7);
}

TEST(GetPixels, NullPointsOrValuesGiveNone) {
    FullRig rig;
    const vex_point point = {0, 0};
    uint16_t values[3];
    EXPECT_EQ(rig.sink.GetPixels(nullptr, 1, values, nullptr), 0);
    EXPECT_EQ(rig.sink.GetPixels(&point, 1, nullptr, nullptr), 0);
}

TEST(GetPixels, ADeepFrameIsReadBeforeTheDisplay) {
    FullRig rig;
    const vex_point points[] = {{0, 0}, {4, 1}};
    uint16_t values[6];
    ASSERT_EQ(rig.sink.GetPixels(points, 2, values, nullptr), 2);
    for (size_t i = 0; i < 2; ++i) {
        uint16_t pixel[3];
        std::memcpy(pixel, &rig.deep[(height - size_t(points[i].y) - 1) * 32 + size_t(points[i].x) * 6], 6);
        EXPECT_EQ(values[i * 3], pixel[2]);
        EXPECT_EQ(values[i * 3 + 1], pixel[1]);
        EXPECT_EQ(values[i * 3 + 2], pixel[0]);
    }
}

TEST(GetPixels, TheMaximumOfADeepFrameFollowsItsDepth) {
    struct {
        uint32_t depth, maximum;
    } const table[] = {{9, 42}, {10, 1023}, {11, 42}, {12, 4095}, {13, 42}, {14, 16383}, {15, 42}, {16, 65535}};
    for (const auto& row : table) {
        FullRig rig(row.depth);
        const vex_point point = {0, 0};
        uint16_t values[3];
        uint32_t maximum = 42;
        EXPECT_EQ(rig.sink.GetPixels(&point, 1, values, &maximum), 1);
        EXPECT_EQ(maximum, row.maximum) << "depth " << row.depth;
    }
}

TEST(GetPixels, FourBytesAPixelAreReadAtTheirStride) {
    SinkRig rig(SinkMode::Owned, 0, 4);
    rig.setVideoSize(width, height);
    const Bytes cells = pattern(dibStride(width, 4) * height, 4);
    rig.deliver(cells, width, height);
    const vex_point point = {3, 0};
    uint16_t values[3];
    ASSERT_EQ(rig.sink.GetPixels(&point, 1, values, nullptr), 1);
    EXPECT_EQ(values[0], cells[2 * 20 + 3 * 4 + 2]);
    EXPECT_EQ(values[2], cells[2 * 20 + 3 * 4]);
}

// --- textures

struct TextureRig : SinkRig {
    explicit TextureRig(size_t padding) : SinkRig(SinkMode::Pooled, 0, 3, true) {
        textures.rowPadding = padding;
        sink.SetVideoSize(width, height, &device, nullptr, nullptr);
        textures.last->pixels = pattern(textures.last->pixels.size(), 9);
    }
    const uint8_t* cell(size_t x, size_t row) const {
        return &textures.last->pixels[row * textures.last->rowPitch + x * 4];
    }
    int device = 0;
};

TEST(ReadBack, PacksTheRowsOfATextureAtTheirPitch) {
    for (const size_t padding : {0u, 12u, 64u})
        for (const uint32_t kind : {0u, 1u, 2u}) {  // the texture is all there is
            TextureRig rig(padding);
            EXPECT_EQ(rig.sink.GetImage(nullptr, 0, 0), S_FALSE);
            const Grab made = grab(rig.sink, kind, 48);
            ASSERT_EQ(made.result, S_OK);
            const Bytes header = headerBytes(24, 0, 48);
            EXPECT_EQ(std::memcmp(&made.header, header.data(), 40), 0);
            for (size_t y = 0; y < height; ++y)
                for (size_t x = 0; x < width; ++x)
                    EXPECT_EQ(std::memcmp(&made.pixels[y * 16 + x * 3], rig.cell(x, y), 3), 0);
        }
}

TEST(ReadBack, ACapacityOneByteTooSmallIsRefusedAndNothingIsWritten) {
    TextureRig rig(0);
    for (const int32_t capacity : {47, 0, -1}) {
        Bytes bitmap(40 + 48, 0xEE);
        EXPECT_EQ(rig.sink.GetImage(bitmap.data(), capacity, 0), VEX_E_INSUFFICIENT_BUFFER);
        EXPECT_EQ(bitmap, Bytes(bitmap.size(), 0xEE));
    }
}

TEST(ReadBack, AFailureGivesUnexpectedAndWritesNothing) {
    for (const int failure : {0, 1, 2, 3}) {
        TextureRig rig(0);
        if (failure == 0) rig.textures.failReadBack = true;
        if (failure == 1) rig.textures.hidePixels = true;
        if (failure == 2) rig.textures.last->rowPitch = width * 4 - 1;
        if (failure == 3) rig.setVideoSize(width + 1, height);  // larger than the texture
        Bytes bitmap(1000, 0xEE);
        EXPECT_EQ(rig.sink.GetImage(bitmap.data(), 900, 0), E_UNEXPECTED);
        EXPECT_EQ(bitmap, Bytes(1000, 0xEE));
        const vex_point point = {0, 0};
        uint16_t values[3] = {7, 7, 7};
        EXPECT_EQ(rig.sink.GetPixels(&point, 1, values, nullptr), E_UNEXPECTED);
        EXPECT_EQ(values[0], 7);
    }
}

TEST(ReadBack, AForgottenSizeGivesUnexpected) {
    TextureRig rig(0);
    rig.sink.Reset();
    EXPECT_EQ(grab(rig.sink, 0, 100).result, E_UNEXPECTED);
}

TEST(ReadBack, PixelsComeFromTheTextureAndTheMaximumIsLeftAlone) {
    for (const size_t padding : {0u, 12u}) {
        TextureRig rig(padding);
        const vex_point points[] = {{4, 0}, {9, 9}, {0, 2}};
        uint16_t values[9];
        uint32_t maximum = 42;
        ASSERT_EQ(rig.sink.GetPixels(points, 3, values, &maximum), 2);
        EXPECT_EQ(maximum, 42u);
        EXPECT_EQ(values[0], rig.cell(4, 2)[2]);
        EXPECT_EQ(values[1], rig.cell(4, 2)[1]);
        EXPECT_EQ(values[2], rig.cell(4, 2)[0]);
        EXPECT_EQ(values[3], rig.cell(0, 0)[2]);
    }
}

}  // namespace frame_grab_test
}  // namespace vexcap::test
