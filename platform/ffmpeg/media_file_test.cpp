#include "platform/ffmpeg/media_file.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>

#include "platform/fake/fake_clock.h"
#include "platform/ffmpeg/media_testing.h"
#include "platform/linux/file.h"
#include "platform/linux/unique_fd.h"
#include "recording/ser_writer.h"

namespace vexcap::ffmpeg {
namespace media_file_test {

using test::Picture;
using vexcap::test::shell;

constexpr int64_t frame25 = 400'000;
constexpr int64_t oneSecond = 10'000'000;

std::vector<int> numbersOf(const std::vector<test::Shot>& shots) {
    std::vector<int> numbers;
    for (const test::Shot& shot : shots) numbers.push_back(test::numberOf(shot.picture));
    return numbers;
}

std::vector<int> upTo(int count) {
    std::vector<int> numbers(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) numbers[size_t(i)] = i;
    return numbers;
}

/// The number of the picture that Read gives after a Seek, -1 at the end.
int numberAt(IMediaReader& reader, int64_t position) {
    EXPECT_EQ(reader.Seek(position), S_OK) << position;
    const auto shot = test::readNext(reader);
    return shot ? test::numberOf(shot->picture) : -1;
}

HRESULT openCode(const test::fs::path& path) { return test::media.OpenFile(toUtf16(path.string())).code(); }

struct MediaFile : testing::Test {
    test::fs::path file(const std::string& name) const { return directory.root / name; }
    const test::TestDirectory directory;
};

/// One container with one codec, 60 pictures in it.
struct Kind {
    std::string name;
    std::string options;
    int64_t tolerance = 0;  // of its times
};

const std::vector<Kind> kinds = {
    {"raw.avi", "-c:v rawvideo -pix_fmt bgr24"},
    {"mjpeg.avi", "-c:v mjpeg -q:v 3"},
    {"mpeg4.avi", "-c:v mpeg4 -q:v 3 -g 12"},
    {"h264.mp4", "-c:v libx264 -g 25 -pix_fmt yuv420p"},
    {"open_gop.mp4", "-c:v libx264 -g 10 -bf 3 -x264-params open-gop=1:b-adapt=0 -pix_fmt yuv420p"},
    {"h264.mkv", "-c:v libx264 -g 25 -bf 2 -pix_fmt yuv420p"},
    {"h264.h264", "-c:v libx264 -g 10 -bf 0 -pix_fmt yuv420p"},
    {"ffv1.mkv", "-c:v ffv1 -pix_fmt bgr0"},
    {"wmv2.wmv", "-c:v wmv2 -q:v 3 -g 12", 10'000},
    {"mpeg2.mpg", "-c:v mpeg2video -q:v 3 -g 12 -bf 2"},
    {"h264.ts", "-c:v libx264 -g 10 -bf 2 -pix_fmt yuv420p"},
    {"mpeg2.ts", "-c:v mpeg2video -q:v 3 -g 12 -bf 2"},
    {"vp8.webm", "-c:v libvpx -g 12 -b:v 1M -deadline realtime"},
    {"gif.gif", "-c:v gif"},
    {"mjpeg.mov", "-c:v mjpeg -q:v 3"},
};

class EveryKind : public testing::TestWithParam<Kind> {
protected:
    /// Written once, for all tests of the kind.
    static test::fs::path file() {
        const auto path = files->root / GetParam().name;
        return test::fs::exists(path) ? path : test::writeNumbered(path, 60, GetParam().options);
    }
    static void SetUpTestSuite() { files = std::make_unique<test::TestDirectory>(); }
    static void TearDownTestSuite() { files.reset(); }
    static std::unique_ptr<test::TestDirectory> files;
};
std::unique_ptr<test::TestDirectory> EveryKind::files;

TEST_P(EveryKind, GivesEachPictureWithItsTimes) {
    const auto reader = test::openFile(file());
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->Info().width, 128u);
    EXPECT_EQ(reader->Info().height, 64u);
    EXPECT_EQ(reader->Info().interval, frame25);
    EXPECT_TRUE(reader->Info().seekable);
    const auto shots = test::readAll(*reader);
    ASSERT_EQ(numbersOf(shots), upTo(60));
    for (int i = 0; i < 60; ++i) {
        EXPECT_NEAR(double(shots[size_t(i)].times.start), double(i * frame25), double(GetParam().tolerance)) << i;
        EXPECT_NEAR(double(shots[size_t(i)].times.stop), double((i + 1) * frame25), double(GetParam().tolerance)) << i;
    }
    Picture picture(128, 64);
    MediaTimes times;
    EXPECT_EQ(reader->Read(picture.bytes, times), S_FALSE);
}

TEST_P(EveryKind, SeeksToTheExactPicture) {
    const auto reader = test::openFile(file());
    ASSERT_TRUE(reader);
    // Backwards, forwards, and between; in the middle of each picture's time.
    for (const int number : {59, 0, 1, 30, 29, 31, 12, 11, 13, 10, 9, 24, 25, 26, 58, 59, 5})
        EXPECT_EQ(numberAt(*reader, number * frame25 + frame25 / 2), number);
    if (!GetParam().tolerance)
        for (const int number : {0, 20, 40}) {
            EXPECT_EQ(numberAt(*reader, number * frame25), number);
            EXPECT_EQ(numberAt(*reader, number * frame25 + frame25 - 1), number);
        }
    // What follows the one that was sought is what follows it in the file.
    EXPECT_EQ(numberAt(*reader, 33 * frame25 + 100'000), 33);
    for (int number = 34; number < 60; ++number) {
        const auto shot = test::readNext(*reader);
        ASSERT_TRUE(shot);
        EXPECT_EQ(test::numberOf(shot->picture), number);
        EXPECT_NEAR(double(shot->times.start), double(number * frame25), double(GetParam().tolerance));
    }
    EXPECT_FALSE(test::readNext(*reader));
    EXPECT_EQ(numberAt(*reader, -5 * oneSecond), 0);
    EXPECT_EQ(numberAt(*reader, INT64_MIN), 0);
    EXPECT_EQ(numberAt(*reader, 61 * frame25), -1);
    EXPECT_EQ(numberAt(*reader, INT64_MAX), -1);
    EXPECT_EQ(numberAt(*reader, 30 * frame25 + 100'000), 30);
}

TEST_P(EveryKind, TruncatedAndDamagedFilesDoNoHarm) {
    const auto whole = test::get(file());
    const auto path = files->root / ("damaged-" + GetParam().name);
    const auto visit = [&](const std::string& bytes) {
        test::put(path, bytes);
        auto opened = test::media.OpenFile(toUtf16(path.string()));
        if (!opened.ok()) {
            EXPECT_EQ(opened.code(), E_FAIL);
            return;
        }
        IMediaReader& reader = *opened.value();
        Picture picture(reader.Info().width, reader.Info().height);
        MediaTimes times;
        Status s = S_OK;
        int count = 0;
        while ((s = reader.Read(picture.bytes, times)) == S_OK) ++count;
        EXPECT_LT(count, 200);
        EXPECT_TRUE(s == S_FALSE || s == E_FAIL);
        if (const Status sought = reader.Seek(oneSecond); sought.ok()) (void)reader.Read(picture.bytes, times).ok();
    };
    for (size_t eighth = 0; eighth < 8; ++eighth) visit(whole.substr(0, whole.size() * eighth / 8));
    uint32_t random = 1;
    const auto next = [&random] { return random = random * 1664525 + 1013904223, random >> 8; };
    for (int round = 0; round < 12; ++round) {
        std::string damaged = whole;
        for (int i = 0; i < 1 << round % 6; ++i) damaged[next() % damaged.size()] = char(next());
        visit(damaged);
    }
}

INSTANTIATE_TEST_SUITE_P(OfFile, EveryKind, testing::ValuesIn(kinds), [](const auto& tested) {
    std::string name = tested.param.name;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
});

TEST_F(MediaFile, PicturesWithoutLossAreThoseOfTheFile) {
    for (const auto* const name : {"raw.avi", "ffv1.mkv", "gif.gif"}) {
        const bool raw = std::string(name) == "raw.avi";
        const auto path = test::writeNumbered(file(name), 3, raw ? "-c:v rawvideo -pix_fmt bgr24" : "");
        const auto shots = test::readAll(*test::openFile(path));
        const auto elsewhere = test::readElsewhere(path, 128, 64);
        ASSERT_EQ(shots.size(), 3u);
        for (size_t i = 0; i < 3; ++i) EXPECT_GT(test::psnr(shots[i].picture, elsewhere[i]), raw ? 98 : 40) << name;
    }
}

TEST_F(MediaFile, TimesCountFromTheFilesBeginning) {
    for (const auto* const name : {"late.mkv", "late.ts", "late.mp4"}) {
        const auto path =
            test::writeNumbered(file(name), 30, "-c:v libx264 -g 10 -pix_fmt yuv420p -output_ts_offset 7.3");
        const auto reader = test::openFile(path);
        ASSERT_TRUE(reader) << name;
        EXPECT_NEAR(double(reader->Info().duration), 30.0 * frame25, frame25) << name;
        const auto shots = test::readAll(*reader);
        ASSERT_EQ(numbersOf(shots), upTo(30)) << name;
        // A time in MP4 that the file leaves empty at its beginning belongs to it.
        const int64_t first = shots[0].times.start;
        EXPECT_TRUE(first == 0 || std::string(name) == "late.mp4") << name << " " << first;
        EXPECT_NEAR(double(shots[29].times.start - first), 29.0 * frame25, 20'000) << name;
        EXPECT_EQ(numberAt(*reader, first + 17 * frame25 + frame25 / 2), 17) << name;
    }
}

TEST_F(MediaFile, VideoThatBeginsAfterTheSoundDoesSo) {
    for (const auto* const name : {"late.mkv", "late.mov"}) {
        const auto path =
            test::writeNumbered(file(name), 30,
                                "-f lavfi -i sine=d=2 -map 0:v -map 1:a -vf setpts=PTS+0.52/TB -fps_mode passthrough "
                                "-c:v mpeg4 -q:v 3 -g 10 -c:a pcm_s16le");
        const auto reader = test::openFile(path);
        ASSERT_TRUE(reader) << name;
        const auto shots = test::readAll(*reader);
        ASSERT_EQ(numbersOf(shots), upTo(30)) << name;
        for (int i = 0; i < 30; ++i)
            EXPECT_NEAR(double(shots[size_t(i)].times.start), 5'200'000.0 + i * frame25, 10'000) << name << " " << i;
        EXPECT_EQ(numberAt(*reader, 0), 0) << name;
        EXPECT_EQ(numberAt(*reader, 5'200'000 + 21 * frame25 + frame25 / 2), 21) << name;
        EXPECT_NEAR(double(reader->Info().duration), 2.0 * oneSecond, 500'000) << name;
    }
}

TEST_F(MediaFile, PicturesOfUnevenLength) {
    // Every third picture is left out: 0, 40, 120, 160, 240 ms ...
    const auto path = test::writeNumbered(file("uneven.mkv"), 60,
                                          "-vf \"select='not(eq(mod(n,3),2))'\" -fps_mode vfr -c:v libx264 -bf 2 -g 20 "
                                          "-pix_fmt yuv420p");
    const auto reader = test::openFile(path);
    ASSERT_TRUE(reader);
    const auto shots = test::readAll(*reader);
    ASSERT_EQ(shots.size(), 40u);
    for (const test::Shot& shot : shots) {
        const int number = test::numberOf(shot.picture);
        EXPECT_EQ(shot.times.start, number * frame25);
        EXPECT_EQ(numberAt(*reader, shot.times.start), number);
        EXPECT_EQ(numberAt(*reader, shot.times.start + frame25 / 2), number);
    }
    // Where nothing is shown any more the one behind comes.
    for (const test::Shot& shot : shots) {
        const int number = test::numberOf(shot.picture);
        if (number % 3 != 1 || number > 57 || shot.times.stop > shot.times.start + frame25) continue;
        EXPECT_EQ(numberAt(*reader, shot.times.start + frame25 + frame25 / 2), number + 2);
    }
}

TEST_F(MediaFile, OddSizesAndOtherFormatsOfPixels) {
    for (const auto* const format : {"yuv420p", "yuv422p", "yuv444p", "yuvj420p", "yuv420p10le", "gray"})
        for (const auto* const size : {"67:49", "64:48"}) {
            const auto path = test::writeNumbered(
                file("odd.nut"), 2, "-vf scale=" + std::string(size) + " -c:v rawvideo -pix_fmt " + format);
            const auto reader = test::openFile(path);
            ASSERT_TRUE(reader) << format << " " << size;
            const auto& info = reader->Info();
            const auto shots = test::readAll(*reader);
            const auto elsewhere = test::readElsewhere(path, info.width, info.height);
            ASSERT_EQ(shots.size(), 2u);
            ASSERT_EQ(elsewhere.size(), 2u);
            EXPECT_GT(test::psnr(shots[1].picture, elsewhere[1]), 35) << format << " " << size;
        }
}

TEST_F(MediaFile, APictureOfAnotherSizeIsScaledToTheFirst) {
    const auto small = test::writeNumbered(file("small.mjpeg"), 3, "-c:v mjpeg -q:v 2");
    const auto large = test::writeNumbered(file("large.mjpeg"), 3, "-c:v mjpeg -q:v 2 -s 256x128");
    test::put(file("both.mjpeg"), test::get(small) + test::get(large));
    const auto reader = test::openFile(file("both.mjpeg"));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->Info().width, 128u);
    EXPECT_EQ(numbersOf(test::readAll(*reader)), (std::vector<int>{0, 1, 2, 0, 1, 2}));
}

TEST_F(MediaFile, ReadsTheAstronomersRecordings) {
    LinuxFileSystem files;
    FakeClock clock;
    for (const uint32_t depth : {8u, 16u}) {
        const auto path = file("mono" + std::to_string(depth) + ".ser");
        auto writer = SerWriter::create(files, clock, toUtf16(path.string()),
                                        {.device = u"camera", .bitDepth = depth, .width = 40, .height = 16});
        ASSERT_TRUE(writer.ok());
        const size_t samples = 40 * 16;
        for (int i = 0; i < 5; ++i) {
            std::vector<std::byte> frame(samples * depth / 8);
            for (size_t s = 0; s < samples; ++s) frame[(s + 1) * (depth / 8) - 1] = std::byte(s / 40 * 10 + size_t(i));
            ASSERT_TRUE(writer.value()->writeFrame(frame).ok());
        }
        ASSERT_TRUE(writer.value()->close().ok());
        const auto shots = test::readAll(*test::openFile(path));
        ASSERT_EQ(shots.size(), 5u);
        const auto elsewhere = test::readElsewhere(path, 40, 16);
        for (size_t i = 0; i < 5; ++i) {
            // Of 16 bits the other program takes the bytes the other way round.
            if (depth == 8) {
                EXPECT_GT(test::psnr(shots[i].picture, elsewhere[i]), 45);
            }
            EXPECT_EQ(int(*shots[i].picture.at(3, 0)), 150 + int(i));  // the writer stores the last row first
        }
    }
}

TEST_F(MediaFile, FilesWithoutVideoAreAFailure) {
    test::put(file("empty.avi"), "");
    test::put(file("text.avi"), std::string(5000, 'x') + "\nnothing to see here\n");
    test::put(file("zeros.mp4"), std::string(100'000, '\0'));
    const auto run =
        shell("ffmpeg -v error -f lavfi -i sine=d=1 " + test::quoted(file("sound.wav")) +
              " && ffmpeg -v error -f lavfi -i sine=d=1 -f lavfi -i color=red:s=64x64:d=1:r=1 -map 0 -map 1 "
              "-frames:v 1 -c:v mjpeg -disposition:v attached_pic " +
              test::quoted(file("cover.mp3")));
    ASSERT_EQ(run.status, 0) << run.text;
    for (const auto* const name : {"empty.avi", "text.avi", "zeros.mp4", "sound.wav", "cover.mp3"})
        EXPECT_EQ(openCode(file(name)), E_FAIL) << name;
}

TEST_F(MediaFile, WhatCannotBeOpenedTellsWhy) {
    EXPECT_EQ(openCode(file("missing.avi")), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(openCode(file("missing/file.avi")), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(openCode(directory.root), E_ACCESSDENIED);
    ASSERT_EQ(::mkfifo(file("pipe.avi").c_str(), 0600), 0);
    EXPECT_EQ(openCode(file("pipe.avi")), E_ACCESSDENIED);
    EXPECT_EQ(test::media.OpenFile(std::u16string_view(u"a\0b", 3)).code(), E_INVALIDARG);
    EXPECT_EQ(openCode(""), VEX_E_FILE_NOT_FOUND);
}

TEST_F(MediaFile, ANameIsANameAndNothingElse) {
    const auto before = test::fs::current_path();
    test::fs::current_path(directory.root);
    const auto made = test::writeNumbered(file("plain.avi"), 2, "-c:v mjpeg -q:v 3");
    for (const auto* const name : {"concat:x.avi", "-i.avi", "http:x.avi", "frame%03d.avi", "pipe:", "no extension",
                                   "\xC3\xA4\xE6\x98\x9F\xF0\x9F\x98\x80.avi"}) {
        test::fs::copy_file(made, file(name));
        auto reader = test::media.OpenFile(toUtf16(name));
        ASSERT_TRUE(reader.ok()) << name;
        EXPECT_EQ(test::readAll(*reader.value()).size(), 2u) << name;
    }
    EXPECT_EQ(openCode("http://127.0.0.1/x.avi"), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(openCode("pipe:0"), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(openCode("rtsp://127.0.0.1/x"), VEX_E_FILE_NOT_FOUND);
    test::fs::current_path(before);
}

TEST_F(MediaFile, FilesThatReferToOthersAskNobody) {
    // Whoever connected would wait in the queue of this listener.
    const UniqueFd listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), length), 0);
    ASSERT_EQ(::listen(listener.get(), 8), 0);
    ASSERT_EQ(::getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
    const std::string host = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    const auto other = test::writeNumbered(file("other.ts"), 5, "-c:v mpeg2video");

    const std::pair<const char*, std::string> lists[] = {
        {"net.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\nhttp://" + host + "/x.ts\n#EXT-X-ENDLIST\n"},
        {"local.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\n" + other.string() + "\n#EXT-X-ENDLIST\n"},
        {"net.ffconcat", "ffconcat version 1.0\nfile 'http://" + host + "/x.ts'\n"},
        {"local.ffconcat", "ffconcat version 1.0\nfile other.ts\n"},
        {"net.sdp",
         "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP 96\n"
         "a=rtpmap:96 H264/90000\n"},
        {"net.ram", "rtsp://" + host + "/x\n"},
        {"net.asx", "<asx><entry><ref href=\"http://" + host + "/x\"/></entry></asx>\n"},
        {"net.mpd",
         "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\"><Period><AdaptationSet>"
         "<Representation id=\"1\"><BaseURL>http://" +
             host +
             "/x.mp4</BaseURL></Representation>"
             "</AdaptationSet></Period></MPD>"},
    };
    for (const auto& [name, text] : lists) {
        test::put(file(name), text);
        EXPECT_EQ(openCode(file(name)), E_FAIL) << name;
    }
    pollfd knock = {listener.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&knock, 1, 0), 0);
}

TEST_F(MediaFile, AnImageIsAFileOfOnePicture) {
    const auto path = test::writeNumbered(file("one.png"), 1, "-frames:v 1 -update 1");
    test::fs::copy_file(path, file("one001.png"));
    test::fs::copy_file(path, file("one002.png"));
    const auto shots = test::readAll(*test::openFile(file("one001.png")));
    EXPECT_EQ(shots.size(), 1u);
}

/// A file whose disk fails from a position on.
struct FailingFile final : IFile {
    FailingFile(std::unique_ptr<IFile> good, const uint64_t& limit) : file(std::move(good)), failsFrom(limit) {}
    Status WriteAt(uint64_t, Bytes) override { return E_ACCESSDENIED; }
    Status WriteGathered(uint64_t, std::span<const Bytes>) override { return E_ACCESSDENIED; }
    Result<size_t> ReadAt(uint64_t position, std::span<std::byte> bytes) override {
        if (position + bytes.size() > failsFrom) return VEX_RESULT(0x8007045Du);
        return file->ReadAt(position, bytes);
    }
    Status Reserve(uint64_t, uint64_t) override { return E_ACCESSDENIED; }
    Status Resize(uint64_t) override { return E_ACCESSDENIED; }
    Result<uint64_t> Size() override { return file->Size(); }
    const std::unique_ptr<IFile> file;
    const uint64_t& failsFrom;
};

TEST_F(MediaFile, ADiskThatFailsIsToldAndWhatCameBeforeIsGiven) {
    const auto path = test::writeNumbered(file("long.avi"), 200, "-c:v rawvideo -pix_fmt bgr24");
    uint64_t failsFrom = UINT64_MAX;
    const auto failing = [&] {
        return openMediaFile(
            std::make_unique<FailingFile>(LinuxFileSystem().Open(toUtf16(path.string())).value(), failsFrom));
    };
    auto reader = failing();
    ASSERT_TRUE(reader.ok());
    failsFrom = 3'000'000;
    Picture picture(128, 64);
    MediaTimes times;
    int count = 0;
    Status s = S_OK;
    while ((s = reader.value()->Read(picture.bytes, times)) == S_OK) EXPECT_EQ(test::numberOf(picture), count++);
    EXPECT_EQ(s.code(), VEX_RESULT(0x8007045Du));
    EXPECT_GT(count, 50);
    failsFrom = 0;
    EXPECT_EQ(failing().code(), VEX_RESULT(0x8007045Du));
}

TEST_F(MediaFile, AfterASeekThatFailedAnotherOneMayGoWell) {
    // Without times in it the file is read again from its beginning.
    const auto path = test::writeNumbered(file("m.h264"), 20, "-c:v libx264 -bf 0 -pix_fmt yuv420p");
    uint64_t failsFrom = UINT64_MAX;
    auto reader =
        openMediaFile(std::make_unique<FailingFile>(LinuxFileSystem().Open(toUtf16(path.string())).value(), failsFrom));
    ASSERT_TRUE(reader.ok());
    failsFrom = 0;
    EXPECT_EQ(reader.value()->Seek(5 * frame25).code(), VEX_RESULT(0x8007045Du));
    Picture picture(128, 64);
    MediaTimes times;
    EXPECT_EQ(reader.value()->Read(picture.bytes, times).code(), E_FAIL);
    failsFrom = UINT64_MAX;
    EXPECT_EQ(numberAt(*reader.value(), 5 * frame25 + 1), 5);
}

TEST_F(MediaFile, ADamagedPictureIsLeftOut) {
    const auto path = test::writeNumbered(file("m.avi"), 20, "-c:v mjpeg -q:v 3");
    std::string bytes = test::get(path);
    // The eleventh picture loses its middle.
    size_t at = bytes.find("movi");
    for (int i = 0; i < 11; ++i) at = bytes.find("00dc", at + 4);
    const size_t size = uint8_t(bytes[at + 4]) | size_t(uint8_t(bytes[at + 5])) << 8;
    std::fill(bytes.begin() + ptrdiff_t(at + 8 + size / 2), bytes.begin() + ptrdiff_t(at + 8 + size), '\0');
    test::put(path, bytes);
    auto want = upTo(20);
    want.erase(want.begin() + 10);
    const auto reader = test::openFile(path);
    EXPECT_EQ(numbersOf(test::readAll(*reader)), want);
    EXPECT_EQ(numberAt(*reader, 10 * frame25), 11);
}

TEST_F(MediaFile, AShortBufferLosesNoPicture) {
    const auto reader = test::openFile(test::writeNumbered(file("m.avi"), 3, "-c:v mjpeg -q:v 3"));
    Picture picture(128, 64);
    MediaTimes times;
    EXPECT_EQ(reader->Read(std::span(picture.bytes).first(100), times), E_INVALIDARG);
    EXPECT_EQ(numbersOf(test::readAll(*reader)), upTo(3));
}

}  // namespace media_file_test
}  // namespace vexcap::ffmpeg
