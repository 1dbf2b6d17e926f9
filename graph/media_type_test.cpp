// Media types: their helpers, and format blocks that are not what they say.
#include "graph/media_type.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>

namespace vexcap {
namespace media_type_test {

MediaType videoType(const vex_guid& formatType, size_t bytes) {
    MediaType type;
    type.major = MEDIATYPE_Video;
    type.formatType = formatType;
    type.format.resize(bytes);
    for (size_t i = 0; i < bytes; ++i) type.format[i] = uint8_t(i + 1);
    return type;
}

TEST(MediaType, TheTypeOf24BitPicturesHasTheBytesOfItsBlock) {
    const MediaType type = rgb24Type(641, 480, 333'333);
    EXPECT_TRUE(type.major == MEDIATYPE_Video);
    EXPECT_TRUE(type.subtype == MEDIASUBTYPE_RGB24);
    EXPECT_TRUE(type.formatType == FORMAT_VideoInfo);
    EXPECT_TRUE(type.fixedSize);
    EXPECT_EQ(type.sampleSize, 1924u * 480u);
    ASSERT_EQ(type.format.size(), 88u);
    const uint8_t* const block = type.format.data();
    const auto at = [&](size_t offset, auto value) {
        std::memcpy(&value, block + offset, sizeof value);
        return value;
    };
    for (size_t i = 0; i < 32; ++i) EXPECT_EQ(block[i], 0) << i;  // both rectangles
    EXPECT_EQ(at(32, uint32_t()), 1924u * 480u * 30u * 8u);
    EXPECT_EQ(at(36, uint32_t()), 0u);
    EXPECT_EQ(at(40, int64_t()), 333'333);
    EXPECT_EQ(at(48, uint32_t()), 40u);
    EXPECT_EQ(at(52, int32_t()), 641);
    EXPECT_EQ(at(56, int32_t()), 480);
    EXPECT_EQ(at(60, uint16_t()), 1);
    EXPECT_EQ(at(62, uint16_t()), 24);
    EXPECT_EQ(at(64, uint32_t()), 0u);
    EXPECT_EQ(at(68, uint32_t()), 1924u * 480u);
}

TEST(MediaType, TopDownPicturesHaveThePositiveImageSize) {
    const MediaType type = rgb24Type(640, -480, 0);
    vex_bitmap_header header;
    ASSERT_TRUE(type.GetBitmapHeader(header));
    EXPECT_EQ(header.biHeight, -480);
    EXPECT_EQ(header.biSizeImage, 921'600u);
    EXPECT_EQ(type.sampleSize, 921'600u);
}

TEST(MediaType, AnEmptyPictureHasNoFixedSize) {
    for (const auto& [width, height] : {std::pair{0, 480}, {640, 0}, {-640, 480}}) {
        const MediaType type = rgb24Type(width, height, 0);
        EXPECT_FALSE(type.fixedSize);
        EXPECT_EQ(type.sampleSize, 0u);
    }
}

TEST(MediaType, TheLargestExtentsDoNotOverflow) {
    constexpr int32_t largest = std::numeric_limits<int32_t>::max(), smallest = std::numeric_limits<int32_t>::min();
    EXPECT_EQ(rgb24Type(100'000, largest, 1).sampleSize, UINT32_MAX);
    EXPECT_EQ(rgb24Type(100'000, smallest, 1).sampleSize, UINT32_MAX);
}

TEST(MediaType, TheBitmapHeaderStandsWhereEachFormatTypePutsIt) {
    const struct {
        vex_guid formatType;
        size_t offset;
    } rows[] = {{FORMAT_VideoInfo, 48}, {FORMAT_MPEGVideo, 48}, {FORMAT_VideoInfo2, 72}, {FORMAT_MPEG2Video, 72}};
    for (const auto& row : rows) {
        const MediaType type = videoType(row.formatType, row.offset + 40);
        vex_bitmap_header header;
        ASSERT_TRUE(type.GetBitmapHeader(header)) << row.offset;
        EXPECT_EQ(std::memcmp(&header, type.format.data() + row.offset, 40), 0) << row.offset;
        int64_t time;
        std::memcpy(&time, type.format.data() + 40, 8);
        EXPECT_EQ(type.AverageTimePerFrame(), time) << row.offset;
    }
}

TEST(MediaType, ABlockThatIsTooShortIsNotReadAtAll) {
    for (const vex_guid& formatType : {FORMAT_VideoInfo, FORMAT_MPEGVideo, FORMAT_VideoInfo2, FORMAT_MPEG2Video}) {
        const size_t whole = formatType == FORMAT_VideoInfo || formatType == FORMAT_MPEGVideo ? 88 : 112;
        for (size_t bytes = 0; bytes < whole; ++bytes) {
            MediaType type = videoType(formatType, bytes);
            type.format.shrink_to_fit();  // a read beyond the end is the sanitizer's to see
            vex_bitmap_header header = {};
            EXPECT_FALSE(type.GetBitmapHeader(header)) << bytes;
            EXPECT_EQ(header.biSize, 0u) << bytes;
            EXPECT_EQ(type.AverageTimePerFrame(), 0) << bytes;
            EXPECT_TRUE(type.ExtraData().empty()) << bytes;
        }
    }
}

TEST(MediaType, AnotherFormatTypeHasNoBitmapHeader) {
    const MediaType type = videoType(MEDIATYPE_Stream, 200);
    vex_bitmap_header header;
    EXPECT_FALSE(type.GetBitmapHeader(header));
    EXPECT_EQ(type.AverageTimePerFrame(), 0);
    EXPECT_TRUE(type.ExtraData().empty());
}

TEST(MediaType, ExtraDataIsWhatStandsBehindTheBitmapHeader) {
    const std::byte extra[] = {std::byte{7}, std::byte{8}, std::byte{9}};
    MediaType type;
    type.SetVideoInfo({}, extra);
    ASSERT_EQ(type.format.size(), 91u);
    ASSERT_EQ(type.ExtraData().size(), 3u);
    EXPECT_EQ(std::memcmp(type.ExtraData().data(), extra, 3), 0);
    type.SetVideoInfo({});
    EXPECT_EQ(type.format.size(), 88u);
    EXPECT_TRUE(type.ExtraData().empty());
}

TEST(MediaType, EqualMeansEveryField) {
    const MediaType type = rgb24Type(640, 480, 333'333);
    EXPECT_EQ(type, rgb24Type(640, 480, 333'333));
    const auto differs = [&](auto change) {
        MediaType other = type;
        change(other);
        return !(other == type);
    };
    EXPECT_TRUE(differs([](MediaType& t) { t.major = MEDIATYPE_Stream; }));
    EXPECT_TRUE(differs([](MediaType& t) { t.subtype = subtypeOf(0x32595559); }));
    EXPECT_TRUE(differs([](MediaType& t) { t.formatType = FORMAT_VideoInfo2; }));
    EXPECT_TRUE(differs([](MediaType& t) { t.fixedSize = false; }));
    EXPECT_TRUE(differs([](MediaType& t) { t.sampleSize -= 1; }));
    EXPECT_TRUE(differs([](MediaType& t) { t.format[87] = 1; }));
    EXPECT_TRUE(differs([](MediaType& t) { t.format.pop_back(); }));
}

TEST(MediaType, TheSizeOfSamplesThatDifferDoesNotCount) {
    MediaType a = rgb24Type(640, 480, 0);
    a.fixedSize = false;
    MediaType b = a;
    b.sampleSize = 1;
    EXPECT_EQ(a, b);
}

TEST(MediaType, ARateComesOfTheTimePerFrame) {
    EXPECT_EQ(rateOfInterval(333'333), 30u);
    EXPECT_EQ(rateOfInterval(10'000'000), 1u);
    EXPECT_EQ(rateOfInterval(1), 10'000'000u);
    EXPECT_EQ(rateOfInterval(0), 30u);
    EXPECT_EQ(rateOfInterval(-1), 30u);
}

TEST(MediaType, ASubtypeOfACodeHasTheCodeInFront) {
    const vex_guid yuy2 = {0x32595559, 0x0000, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
    EXPECT_TRUE(subtypeOf(0x32595559) == yuy2);
}

}  // namespace media_type_test
}  // namespace vexcap
