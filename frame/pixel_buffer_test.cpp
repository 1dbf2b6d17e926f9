#include "frame/pixel_buffer.h"

#include <gtest/gtest.h>

#include <utility>

namespace vexcap {
namespace pixel_buffer_test {

using Fill = PixelBuffer::Fill;

TEST(PictureBytes, AreTheDibStrideTimesTheHeight) {
    EXPECT_EQ(pictureBytes(1, 1, 3), 4u);
    EXPECT_EQ(pictureBytes(4, 3, 3), 36u);
    EXPECT_EQ(pictureBytes(5, 3, 3), 48u);
    EXPECT_EQ(pictureBytes(5, 3, 4), 60u);
    EXPECT_EQ(pictureBytes(3, 2, 6), 40u);
    EXPECT_EQ(pictureBytes(4144, 2822, 3), 4144u * 3 * 2822);
}

TEST(PictureBytes, AreNoneWithoutAPixel) {
    EXPECT_EQ(pictureBytes(0, 5, 3), 0u);
    EXPECT_EQ(pictureBytes(5, 0, 3), 0u);
    EXPECT_EQ(pictureBytes(UINT32_MAX, 0, 3), 0u);
    EXPECT_EQ(packedBytes(0, UINT32_MAX, 2), 0u);
}

TEST(PictureBytes, OfHostileSizesAreUnholdableAndNeverWrapToALittle) {
    const std::pair<uint32_t, uint32_t> hostile[] = {
        {UINT32_MAX, UINT32_MAX}, {UINT32_MAX, 1}, {1, UINT32_MAX},       {0x10000000, 4},
        {0x0AAAAAAB, 1},          {0x80000000, 2}, {0x00010000, 0x10000}, {0x20000000, 8},
        {0x15555555, 3},          {0x40000000, 4}, {0x55555556, 1},       {0x7FFFFFFF, 0x7FFFFFFF},
    };
    for (const auto& [width, height] : hostile)
        for (const uint32_t bytesPerPixel : {3u, 4u, 6u})
            EXPECT_EQ(pictureBytes(width, height, bytesPerPixel), unholdable) << width << " x " << height;
    EXPECT_EQ(packedBytes(UINT32_MAX, UINT32_MAX, 1), unholdable);
    EXPECT_EQ(packedBytes(UINT32_MAX, UINT32_MAX, 2), unholdable);
    EXPECT_EQ(packedBytes(0x10000, 0x8000, 1), unholdable);
    EXPECT_EQ(packedBytes(0x10000, 0x4000, 2), unholdable);
}

TEST(PictureBytes, GoUpToTheLimitAndNoFurther) {
    EXPECT_EQ(packedBytes(INT32_MAX, 1, 1), uint64_t(INT32_MAX));
    EXPECT_EQ(packedBytes(INT32_MAX / 2 + 1, 1, 2), unholdable);
    EXPECT_EQ(pictureBytes(1, 0x1FFFFFFF, 3), 0x7FFFFFFCu);
    EXPECT_EQ(pictureBytes(1, 0x20000000, 3), unholdable);
    EXPECT_EQ(pictureBytes(uint32_t(maxRowBytes / 4), 4, 4), maxRowBytes * 4);
    EXPECT_EQ(pictureBytes(uint32_t(maxRowBytes / 4) + 1, 1, 4), unholdable);
}

TEST(PixelBuffer, IsAlignedToACacheLine) {
    for (uint64_t bytes = 1; bytes < 300; bytes += 7)
        EXPECT_EQ(reinterpret_cast<uintptr_t>(PixelBuffer(bytes, Fill::None).data()) % 64, 0u);
}

TEST(PixelBuffer, HoldsWhatFitsAndNoPictureOfNoBytes) {
    const PixelBuffer buffer(100, Fill::Zero);
    EXPECT_TRUE(buffer.holds(100));
    EXPECT_TRUE(buffer.holds(1));
    EXPECT_FALSE(buffer.holds(101));
    EXPECT_FALSE(buffer.holds(0));
    EXPECT_FALSE(buffer.holds(unholdable));
    for (int i = 0; i < 100; ++i) EXPECT_EQ(buffer.data()[i], 0);
}

TEST(PixelBuffer, OfNothingOrOfTooMuchIsEmpty) {
    for (const uint64_t bytes : {uint64_t(0), maxPictureBytes + 1, unholdable}) {
        const PixelBuffer buffer(bytes, Fill::None);
        EXPECT_EQ(buffer.data(), nullptr);
        EXPECT_FALSE(buffer.holds(1));
        EXPECT_FALSE(buffer.holds(unholdable));
    }
}

TEST(PixelBuffer, LivesAsLongAsItsLastCopy) {
    PixelBuffer buffer(64, Fill::Zero);
    const PixelBuffer copy = buffer;
    buffer = PixelBuffer(64, Fill::Zero);
    EXPECT_NE(buffer.data(), copy.data());
    copy.data()[63] = 7;  // a freed buffer would be noticed by the sanitizer
    EXPECT_EQ(copy.data()[63], 7);
}

TEST(BufferPair, GivesTheBufferThatIsNotShown) {
    BufferPair pair;
    EXPECT_EQ(pair.other(nullptr).data(), nullptr);
    pair.allocate(10, Fill::Zero);
    uint8_t* const first = pair.other(nullptr).data();
    uint8_t* const second = pair.other(first).data();
    uint8_t foreign = 0;
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(pair.other(second).data(), first);
    EXPECT_EQ(pair.other(&foreign).data(), first);
    EXPECT_EQ(pair.shown(first).data(), first);
    EXPECT_EQ(pair.shown(second).data(), second);
}

TEST(BufferPair, KnowsItsMembersByTheirFirstByteAlone) {
    BufferPair pair;
    EXPECT_EQ(pair.member(nullptr), nullptr);
    pair.allocate(10, Fill::Zero);
    uint8_t* const first = pair.other(nullptr).data();
    EXPECT_EQ(pair.member(first), first);
    EXPECT_EQ(pair.member(first + 1), nullptr);
    EXPECT_EQ(pair.member(nullptr), nullptr);
}

TEST(BufferPair, HasBothBuffersOrNone) {
    BufferPair pair;
    pair.allocate(10, Fill::Zero);
    EXPECT_TRUE(pair.holds(10));
    pair.allocate(unholdable, Fill::Zero);
    EXPECT_FALSE(pair.holds(1));
    EXPECT_EQ(pair.other(nullptr).data(), nullptr);
    pair.allocate(20, Fill::Zero);
    EXPECT_TRUE(pair.holds(20));
    pair.free();
    EXPECT_FALSE(pair.holds(1));
}

}  // namespace pixel_buffer_test
}  // namespace vexcap
