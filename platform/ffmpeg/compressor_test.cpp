#include "platform/ffmpeg/compressor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <ostream>
#include <thread>

#include "platform/ffmpeg/media_testing.h"
#include "platform/linux/file.h"
#include "recording/avi_file.h"

namespace vexcap::ffmpeg {
namespace compressor_test {

using test::Picture;

constexpr std::u16string_view mjpeg = u"@device:sw:{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\MJPEG Compressor";

struct Known {
    std::u16string friendlyName;
    uint32_t code;
    std::string probedName;  // what the other program calls it
    bool lossless;
};
const std::vector<Known> known = {
    {u"MJPEG Compressor", fourcc("MJPG"), "mjpeg", false},
    {u"FFV1 Lossless", fourcc("FFV1"), "ffv1", true},
    {u"HuffYUV Lossless", fourcc("HFYU"), "huffyuv", true},
    {u"FFvHuff Lossless", fourcc("FFVH"), "ffvhuff", true},
    {u"Ut Video Lossless", fourcc("ULRG"), "utvideo", true},
    {u"MagicYUV Lossless", fourcc("M8RG"), "magicyuv", true},
    {u"PNG Lossless", fourcc("MPNG"), "png", true},
    {u"MPEG-4 Video", fourcc("FMP4"), "mpeg4", false},
    {u"Xvid MPEG-4 Video", fourcc("XVID"), "mpeg4", false},
    {u"MS MPEG-4 Video v3", fourcc("MP43"), "msmpeg4v3", false},
    {u"H.264 Video", fourcc("H264"), "h264", false},
};

std::u16string displayNameOf(const Known& codec) {
    return u"@device:sw:{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\" + codec.friendlyName;
}

struct Packet {
    std::vector<std::byte> bytes;
    int64_t order;
    bool keyFrame;
    friend bool operator==(const Packet&, const Packet&) = default;
};
void PrintTo(const Packet& packet, std::ostream* out) {
    *out << packet.order << ": " << packet.bytes.size() << " bytes" << (packet.keyFrame ? ", key" : "");
}

void takeAll(ICompressor& compressor, std::vector<Packet>& packets) {
    CompressedPicture out;
    Status s = S_OK;
    while ((s = compressor.Get(out)) == S_OK)
        packets.push_back({{out.bytes.begin(), out.bytes.end()}, out.order, out.keyFrame});
    EXPECT_EQ(s, S_FALSE);
}

std::vector<Packet> compress(ICompressor& compressor, const std::vector<Picture>& pictures) {
    std::vector<Packet> packets;
    for (size_t i = 0; i < pictures.size(); ++i) {
        Picture lent = pictures[i];
        EXPECT_EQ(compressor.Put(lent.bytes, int64_t(i)), S_OK);
        std::fill(lent.bytes.begin(), lent.bytes.end(), std::byte(0));  // it must not be used any more
        takeAll(compressor, packets);
    }
    EXPECT_EQ(compressor.Finish(), S_OK);
    takeAll(compressor, packets);
    return packets;
}

std::unique_ptr<ICompressor> open(const std::u16string& name, const CompressorSettings& settings) {
    auto made = openCompressor(name, settings);
    EXPECT_TRUE(made.ok()) << toUtf8(name) << " " << settings.width << "x" << settings.height;
    return made.ok() ? std::move(made).value() : nullptr;
}

std::vector<Picture> movingPictures(uint32_t width, uint32_t height, int count) {
    std::vector<Picture> pictures;
    for (int i = 0; i < count; ++i) pictures.push_back(test::movingPicture(width, height, i));
    return pictures;
}

size_t bytesOf(const std::vector<Packet>& packets) {
    size_t bytes = 0;
    for (const Packet& packet : packets) bytes += packet.bytes.size();
    return bytes;
}

TEST(Compressors, ThoseOfThisSystemAreListedWithMotionJpegFirst) {
    const auto found = findCompressors();
    ASSERT_EQ(found.size(), known.size());
    EXPECT_EQ(found[0].displayName, mjpeg);
    for (size_t i = 0; i < known.size(); ++i) {
        EXPECT_EQ(found[i].friendlyName, known[i].friendlyName);
        EXPECT_EQ(found[i].displayName, displayNameOf(known[i]));
    }
}

/// An AVI file of the library's own writer, read by the reader and by another program.
class EveryCompressor : public testing::TestWithParam<Known> {
protected:
    void check(uint32_t width, uint32_t height) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        const auto pictures = movingPictures(width, height, 20);
        const auto compressor =
            open(displayNameOf(GetParam()), {.width = width, .height = height, .interval = 400'000, .quality = 0.9});
        ASSERT_TRUE(compressor);
        EXPECT_EQ(compressor->FourCC(), GetParam().code);
        const auto packets = compress(*compressor, pictures);
        ASSERT_EQ(packets.size(), 20u);
        const auto extra = compressor->ExtraData();
        AviFormat format = {.width = width, .height = height, .compressor = compressor->FourCC()};
        format.extraData.assign(extra.begin(), extra.end());
        LinuxFileSystem files;
        auto file = AviFile::create(files, toUtf16(path().string()), format);
        ASSERT_TRUE(file.ok());
        for (size_t i = 0; i < packets.size(); ++i) {
            EXPECT_EQ(packets[i].order, int64_t(i));
            ASSERT_TRUE(file.value()->writeFrame(packets[i].bytes, packets[i].keyFrame).ok());
        }
        ASSERT_TRUE(file.value()->close().ok());
        EXPECT_TRUE(packets[0].keyFrame);

        const auto reader = test::openFile(path());
        ASSERT_TRUE(reader);
        const auto shots = test::readAll(*reader);
        ASSERT_EQ(shots.size(), 20u);
        const auto elsewhere = test::readElsewhere(path(), width, height);
        ASSERT_EQ(elsewhere.size(), 20u);
        for (size_t i = 0; i < 20; ++i) {
            EXPECT_EQ(shots[i].times.start, int64_t(i) * 400'000);
            EXPECT_EQ(shots[i].times.stop, int64_t(i + 1) * 400'000);
            if (GetParam().lossless) {
                EXPECT_EQ(test::psnr(shots[i].picture, pictures[i]), 99) << i;
                EXPECT_EQ(test::psnr(elsewhere[i], pictures[i]), 99) << i;
            } else {
                EXPECT_GT(test::psnr(shots[i].picture, pictures[i]), 30) << i;
                EXPECT_GT(test::psnr(elsewhere[i], pictures[i]), 30) << i;
            }
        }
    }
    test::fs::path path() const { return directory.root / "made.avi"; }
    const test::TestDirectory directory;
};

TEST_P(EveryCompressor, MakesPicturesThatOthersRead) {
    check(322, 242);
    const auto probe =
        vexcap::test::shell("ffprobe -v error -show_entries stream=codec_name -of csv=p=0 " + test::quoted(path()));
    EXPECT_EQ(probe.text, GetParam().probedName + "\n");
}

TEST_P(EveryCompressor, TakesOddSizesOrRefusesThem) {
    const bool refuses = GetParam().code == fourcc("H264") || GetParam().code == fourcc("XVID");
    for (const auto& [width, height] : {std::pair(67u, 50u), {50u, 33u}}) {
        if (!refuses)
            check(width, height);
        else
            EXPECT_EQ(openCompressor(displayNameOf(GetParam()), {.width = width, .height = height}).code(),
                      E_INVALIDARG);
    }
}

TEST_P(EveryCompressor, NoSizeBringsItDown) {
    for (const uint32_t width : {0u, 1u, 2u, 3u, 15u, 16u, 17u, 8192u, 65500u, 65536u, 1u << 30, 0xFFFFFFFFu})
        for (const uint32_t height : {0u, 1u, 2u, 16u, 65536u, 0xFFFFFFFFu}) {
            auto made = openCompressor(displayNameOf(GetParam()), {.width = width, .height = height});
            if (!made.ok()) {
                EXPECT_EQ(made.code(), E_INVALIDARG) << width << "x" << height;
                continue;
            }
            if (uint64_t(width) * height > 1 << 20) continue;
            const Picture picture(width, height);
            ASSERT_EQ(made.value()->Put(picture.bytes, 0), S_OK) << width << "x" << height;
            ASSERT_EQ(made.value()->Finish(), S_OK);
            std::vector<Packet> packets;
            takeAll(*made.value(), packets);
            EXPECT_EQ(packets.size(), 1u) << width << "x" << height;
        }
}

TEST_P(EveryCompressor, HigherQualityCostsMoreBytesOrNone) {
    const auto pictures = movingPictures(320, 240, 5);
    size_t last = 0;
    for (const double quality : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        const auto compressor =
            open(displayNameOf(GetParam()), {.width = 320, .height = 240, .interval = 400'000, .quality = quality});
        ASSERT_TRUE(compressor);
        const size_t bytes = bytesOf(compress(*compressor, pictures));
        if (GetParam().lossless && last) {
            EXPECT_EQ(bytes, last) << quality;
        } else {
            EXPECT_GT(bytes, last) << quality;
        }
        last = bytes;
    }
}

TEST_P(EveryCompressor, AKeyFrameBeginsAboutEverySecond) {
    const auto compressor = open(displayNameOf(GetParam()), {.width = 64, .height = 48, .interval = 1'000'000});
    ASSERT_TRUE(compressor);
    int sinceKey = 0;
    for (const Packet& packet : compress(*compressor, movingPictures(64, 48, 25))) {
        sinceKey = packet.keyFrame ? 0 : sinceKey + 1;
        EXPECT_LE(sinceKey, 10);
    }
}

TEST_P(EveryCompressor, AnyIntervalWillDo) {
    for (const int64_t interval :
         {int64_t(0), int64_t(-1), int64_t(1), int64_t(333'333), int64_t(36'000'000'000), INT64_MAX, INT64_MIN}) {
        const auto compressor =
            open(displayNameOf(GetParam()), {.width = 64, .height = 48, .interval = interval, .quality = 0.5});
        ASSERT_TRUE(compressor) << interval;
        EXPECT_EQ(compress(*compressor, movingPictures(64, 48, 5)).size(), 5u) << interval;
    }
}

TEST_P(EveryCompressor, GivesBackTheNumbersThatItWasGiven) {
    const auto compressor = open(displayNameOf(GetParam()), {.width = 64, .height = 48, .interval = 400'000});
    ASSERT_TRUE(compressor);
    std::vector<Packet> packets;
    std::vector<int64_t> given, got;
    for (int i = 0; i < 300; ++i) {
        given.push_back(int64_t(i) * i * 1'000'003);
        ASSERT_EQ(compressor->Put(test::movingPicture(64, 48, i).bytes, given.back()), S_OK);
        takeAll(*compressor, packets);
    }
    ASSERT_EQ(compressor->Finish(), S_OK);
    takeAll(*compressor, packets);
    for (const Packet& packet : packets) got.push_back(packet.order);
    EXPECT_EQ(got, given);
}

TEST_P(EveryCompressor, TellsWhatIsOutOfOrder) {
    const auto compressor = open(displayNameOf(GetParam()), {.width = 64, .height = 48, .interval = 400'000});
    ASSERT_TRUE(compressor);
    CompressedPicture out;
    EXPECT_EQ(compressor->Get(out), S_FALSE);
    EXPECT_EQ(compressor->Put(Picture(64, 47).bytes, 0), E_INVALIDARG);
    EXPECT_EQ(compressor->Put({}, 0), E_INVALIDARG);
    EXPECT_EQ(compressor->Put(Picture(64, 48).bytes, 7), S_OK);
    EXPECT_EQ(compressor->Finish(), S_OK);
    EXPECT_EQ(compressor->Finish(), S_OK);
    EXPECT_EQ(compressor->Put(Picture(64, 48).bytes, 8), E_UNEXPECTED);
    std::vector<Packet> packets;
    takeAll(*compressor, packets);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(packets[0].order, 7);
}

TEST_P(EveryCompressor, TwoWorkBesideEachOther) {
    const auto pictures = movingPictures(64, 48, 10);
    std::vector<Packet> made[2];
    std::vector<std::thread> threads;
    for (auto& packets : made)
        threads.emplace_back([&] {
            const auto compressor = open(displayNameOf(GetParam()), {.width = 64, .height = 48, .interval = 400'000});
            if (compressor) packets = compress(*compressor, pictures);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(made[0].size(), 10u);
    EXPECT_EQ(made[0], made[1]);
}

TEST_P(EveryCompressor, WorksOnWhileOthersAreOpened) {
    const auto pictures = movingPictures(64, 48, 10);
    const CompressorSettings settings = {.width = 64, .height = 48, .interval = 400'000};
    const auto compressed = [&] {
        const auto compressor = open(displayNameOf(GetParam()), settings);
        return compressor ? compress(*compressor, pictures) : std::vector<Packet>();
    };
    const auto alone = compressed();
    ASSERT_EQ(alone.size(), 10u);
    std::atomic<bool> enough = false;
    std::thread opening([&] {
        while (!enough) open(displayNameOf(GetParam()), settings);
    });
    for (int i = 0; i < 20; ++i) EXPECT_EQ(compressed(), alone);
    enough = true;
    opening.join();
}

INSTANTIATE_TEST_SUITE_P(OfThisSystem, EveryCompressor, testing::ValuesIn(known), [](const auto& tested) {
    std::string name = toUtf8(tested.param.friendlyName);
    std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return name;
});

TEST(Compressors, EachHasALongestSide) {
    for (const Known& codec : known) {
        const bool mpeg4 = codec.probedName.find("mpeg4") != std::string::npos;
        const uint32_t longest = mpeg4 ? 8190 : codec.probedName == "h264" ? 16384 : codec.lossless ? 65534 : 65500;
        const auto code = [&](uint32_t width, uint32_t height) {
            return openCompressor(displayNameOf(codec), {.width = width, .height = height}).code();
        };
        EXPECT_EQ(code(longest, 16), S_OK) << toUtf8(codec.friendlyName);
        EXPECT_EQ(code(longest + 2, 16), E_INVALIDARG) << toUtf8(codec.friendlyName);
        EXPECT_EQ(code(16, longest + 2), E_INVALIDARG) << toUtf8(codec.friendlyName);
    }
}

TEST(Compressors, OtherNamesAndSettingsAreRefused) {
    const CompressorSettings good = {.width = 64, .height = 48};
    for (const std::u16string_view name :
         {u"", u"MJPEG Compressor", u"@device:sw:{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\", u"None",
          u"@device:sw:{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\mjpeg compressor"})
        EXPECT_EQ(openCompressor(name, good).code(), E_INVALIDARG) << toUtf8(name);
    for (const double quality : {-0.1, 1.1, double(NAN), double(INFINITY)})
        EXPECT_EQ(openCompressor(mjpeg, {.width = 64, .height = 48, .quality = quality}).code(), E_INVALIDARG);
}

}  // namespace compressor_test
}  // namespace vexcap::ffmpeg
