#include "platform/ffmpeg/picture_decoder.h"

#include <gtest/gtest.h>

#include "platform/ffmpeg/av.h"
#include "platform/ffmpeg/compressor.h"
#include "platform/ffmpeg/media_testing.h"

namespace vexcap::ffmpeg {
namespace picture_decoder_test {

using test::Picture;
using Jpeg = std::vector<std::byte>;

/// One picture as JPEG, with the tables of the standard.
Jpeg jpegOf(const Picture& picture, double quality = 0.9) {
    auto made = openCompressor(findCompressors().at(0).displayName,
                               {.width = picture.width, .height = picture.height, .quality = quality});
    EXPECT_TRUE(made.ok());
    auto& compressor = *made.value();
    EXPECT_EQ(compressor.Put(picture.bytes, 0), S_OK);
    EXPECT_EQ(compressor.Finish(), S_OK);
    CompressedPicture out;
    EXPECT_EQ(compressor.Get(out), S_OK);
    return {out.bytes.begin(), out.bytes.end()};
}

std::unique_ptr<IPictureDecoder> decoderFor(uint32_t width, uint32_t height) {
    auto made = openPictureDecoder(fourcc("MJPG"), width, height);
    EXPECT_TRUE(made.ok());
    return std::move(made).value();
}

size_t findMarker(const Jpeg& jpeg, uint8_t marker) {
    for (size_t i = 0; i + 1 < jpeg.size(); ++i)
        if (jpeg[i] == std::byte(0xFF) && jpeg[i + 1] == std::byte(marker)) return i;
    ADD_FAILURE() << "no marker " << int(marker);
    return 0;
}

TEST(PictureDecoder, GivesThePicture) {
    for (const auto& [width, height] : {std::pair(640u, 480u), {61u, 47u}, {1u, 1u}, {1920u, 17u}}) {
        const Picture picture = test::movingPicture(width, height, 0);
        Picture got(width, height);
        ASSERT_EQ(decoderFor(width, height)->Decode(jpegOf(picture), got.bytes), S_OK);
        EXPECT_GT(test::psnr(picture, got), 35) << width << "x" << height;
    }
}

TEST(PictureDecoder, TheHuffmanTablesMayBeMissing) {
    const Picture picture = test::movingPicture(64, 48, 0);
    Jpeg jpeg = jpegOf(picture);
    Picture want(64, 48), got(64, 48);
    ASSERT_EQ(decoderFor(64, 48)->Decode(jpeg, want.bytes), S_OK);
    const size_t tables = findMarker(jpeg, 0xC4);
    const size_t length = size_t(jpeg[tables + 2]) << 8 | size_t(jpeg[tables + 3]);
    jpeg.erase(jpeg.begin() + ptrdiff_t(tables), jpeg.begin() + ptrdiff_t(tables + 2 + length));
    ASSERT_EQ(decoderFor(64, 48)->Decode(jpeg, got.bytes), S_OK);
    EXPECT_EQ(got.bytes, want.bytes);
}

TEST(PictureDecoder, PaddingBehindThePictureIsNoDamage) {
    const Picture picture = test::movingPicture(64, 48, 0);
    Jpeg jpeg = jpegOf(picture);
    jpeg.resize(jpeg.size() + 4096);
    Picture got(64, 48);
    ASSERT_EQ(decoderFor(64, 48)->Decode(jpeg, got.bytes), S_OK);
    EXPECT_GT(test::psnr(picture, got), 35);
}

TEST(PictureDecoder, APictureThatWasCutShortIsAFailureAndTheNextOneIsGood) {
    const Picture picture = test::movingPicture(320, 240, 0);
    const Jpeg jpeg = jpegOf(picture);
    const auto decoder = decoderFor(320, 240);
    for (size_t length = 0; length < jpeg.size() - 64; length += jpeg.size() / 40) {
        Picture got(320, 240);
        EXPECT_EQ(decoder->Decode(std::span(jpeg).first(length), got.bytes), E_FAIL) << length << "/" << jpeg.size();
        ASSERT_EQ(decoder->Decode(jpeg, got.bytes), S_OK);
        EXPECT_GT(test::psnr(picture, got), 35);
    }
}

TEST(PictureDecoder, DamagedBytesDoNoHarm) {
    const Picture picture = test::movingPicture(160, 120, 0);
    const Jpeg jpeg = jpegOf(picture);
    const auto decoder = decoderFor(160, 120);
    uint32_t random = 1;
    const auto next = [&random] { return random = random * 1664525 + 1013904223, random >> 8; };
    int failures = 0;
    Picture got(160, 120);
    for (int round = 0; round < 500; ++round) {
        Jpeg damaged = jpeg;
        for (int i = 0; i < 1 + round % 8; ++i) damaged[next() % damaged.size()] = std::byte(next());
        failures += decoder->Decode(damaged, got.bytes) == E_FAIL;
    }
    EXPECT_GT(failures, 20);
    ASSERT_EQ(decoder->Decode(jpeg, got.bytes), S_OK);
    EXPECT_GT(test::psnr(picture, got), 35);
}

TEST(PictureDecoder, APictureOfAnotherSizeIsAFailureAndTheNextOneIsGood) {
    const auto decoder = decoderFor(64, 48);
    Picture got(64, 48);
    const std::pair<uint32_t, uint32_t> others[] = {{64, 49},   {64, 47}, {48, 64}, {32, 24},
                                                    {640, 480}, {64, 24}, {1, 1}};
    for (const auto& [width, height] : others) {
        EXPECT_EQ(decoder->Decode(jpegOf(test::movingPicture(width, height, 0)), got.bytes), E_FAIL)
            << width << "x" << height;
        EXPECT_EQ(decoder->Decode(jpegOf(test::movingPicture(64, 48, 0)), got.bytes), S_OK);
    }
}

TEST(PictureDecoder, AHugeSizeInTheHeaderTakesNoMemory) {
    Jpeg jpeg = jpegOf(test::movingPicture(64, 48, 0));
    const size_t header = findMarker(jpeg, 0xC0);
    for (size_t i = 5; i < 9; ++i) jpeg[header + i] = std::byte(0xFF);
    // 12 GB: more than the default limit lets through.
    av_max_alloc(64 << 20);
    Picture got(64, 48);
    EXPECT_EQ(decoderFor(64, 48)->Decode(jpeg, got.bytes), E_FAIL);
    // 65535 x 4 still has fewer pixels than 2000 x 2000, which is no reason to make a frame for it.
    jpeg[header + 5] = jpeg[header + 7] = std::byte(0);
    Picture large(2000, 2000);
    EXPECT_EQ(decoderFor(2000, 2000)->Decode(jpeg, large.bytes), E_FAIL);
    av_max_alloc(INT_MAX);
}

TEST(PictureDecoder, WhatIsNoJpegIsAFailure) {
    const auto decoder = decoderFor(64, 48);
    Picture got(64, 48);
    EXPECT_EQ(decoder->Decode({}, got.bytes), E_FAIL);
    EXPECT_EQ(decoder->Decode(Jpeg(1), got.bytes), E_FAIL);
    EXPECT_EQ(decoder->Decode(Jpeg(100000, std::byte(0xFF)), got.bytes), E_FAIL);
}

TEST(PictureDecoder, TakesTheRangeAndFormatOfThePicture) {
    const test::TestDirectory directory;
    for (const auto* const format : {"yuvj420p", "yuvj422p", "yuvj444p", "gray"}) {
        const auto jpegFile = directory.root / (std::string(format) + ".jpg");
        const auto run = vexcap::test::shell("ffmpeg -v error -f lavfi -i color=white:s=96x64 -frames:v 1 -pix_fmt " +
                                             std::string(format) + " -q:v 2 " + test::quoted(jpegFile));
        ASSERT_EQ(run.status, 0) << run.text;
        const std::string bytes = test::get(jpegFile);
        Picture got(96, 64);
        ASSERT_EQ(decoderFor(96, 64)->Decode(std::as_bytes(std::span(bytes)), got.bytes), S_OK) << format;
        EXPECT_NEAR(int(*got.at(50, 30)), 255, 2) << format;
    }
}

TEST(PictureDecoder, RefusesOtherCodesAndSizes) {
    EXPECT_EQ(openPictureDecoder(fourcc("H264"), 64, 48).code(), E_INVALIDARG);
    EXPECT_EQ(openPictureDecoder(0, 64, 48).code(), E_INVALIDARG);
    for (const auto& [width, height] : {std::pair(0u, 48u), {64u, 0u}, {40000u, 40000u}, {0xFFFFFFFFu, 0xFFFFFFFFu}})
        EXPECT_EQ(openPictureDecoder(fourcc("MJPG"), width, height).code(), E_INVALIDARG);
}

}  // namespace picture_decoder_test
}  // namespace vexcap::ffmpeg
