#include "recording/avi_mux.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <thread>

#include "base/dib.h"
#include "graph/testing/graphs.h"
#include "graph/testing/sent_samples.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_media.h"
#include "recording/avi_testing.h"
#include "recording/null_disk_testing.h"

namespace vexcap {
namespace avi_mux_test {

using Kind = DiskOperation::Kind;
using test::Times;

constexpr uint32_t width = 5, height = 4;
constexpr size_t frameBytes = 16 * height;
constexpr int64_t interval = 400'000;  // 25 frames a second
constexpr int64_t second = 10'000'000;
constexpr const char16_t* path = u"out.avi";

std::vector<std::byte> frame(uint64_t number) { return numberedPicture(width, height, number); }

MediaType compressedType(uint32_t code, std::vector<std::byte> extra = {}) {
    VideoInfoHeader header;
    header.averageTimePerFrame = interval;
    header.bitmap.biSize = 40;
    header.bitmap.biWidth = int32_t(width);
    header.bitmap.biHeight = int32_t(height);
    header.bitmap.biPlanes = 1;
    header.bitmap.biBitCount = 24;
    header.bitmap.biCompression = code;
    MediaType type;
    type.major = MEDIATYPE_Video;
    type.subtype = subtypeOf(code);
    type.fixedSize = false;
    type.SetVideoInfo(header, extra);
    return type;
}

/// A source, the multiplexer and the file writer, connected.
struct MuxRig {
    explicit MuxRig(MediaType type = rgb24Type(width, height, interval)) : MuxRig(std::move(type), nullptr) {}
    MuxRig(MediaType type, IFileSystem* other)
        : source(makeRef<test::SentStream>(std::move(type))), writer(makeRef<CFileWriter>(other ? *other : disk)) {
        bare.graph.AddFilter(source, u"source");
        bare.graph.AddFilter(mux, u"mux");
        bare.graph.AddFilter(writer, u"writer");
        EXPECT_EQ(bare.graph.ConnectDirect(source->Output(), mux->Input()), S_OK);
        EXPECT_EQ(bare.graph.ConnectDirect(mux->Output(), writer->Input()), S_OK);
        writer->SetFileName(path);
        writer->SetMode(IFileSinkFilter2::overwrite);
    }
    HRESULT run() { return bare.graph.Run(); }
    HRESULT stop() { return bare.graph.Stop(); }
    void send(uint32_t from, uint32_t to, int64_t distance = 0) {
        for (uint32_t i = from; i < to; ++i) {
            const Times times = distance ? Times({i * distance, (i + 1) * distance}) : Times();
            EXPECT_EQ(source->send(frame(i), times), S_OK) << i;
        }
    }
    std::vector<uint8_t> bytes() const { return disk.bytes(path); }
    test::AviContent content() const {
        const std::vector<uint8_t> file = bytes();
        std::istringstream stream(std::string(file.begin(), file.end()));
        return test::readAvi(stream);
    }
    /// The bytes of the frames, found without index or sizes.
    std::vector<std::vector<std::byte>> frames() const {
        const std::vector<uint8_t> file = bytes();
        std::istringstream stream(std::string(file.begin(), file.end()));
        std::vector<std::vector<std::byte>> all;
        for (const test::AviFrame& each : test::scanAvi(stream).frames) {
            const auto* const data = reinterpret_cast<const std::byte*>(file.data() + each.position);
            all.emplace_back(data, data + each.size);
        }
        return all;
    }

    FakeDisk disk;
    Ref<test::SentStream> source;
    Ref<CAviMux> mux = makeRef<CAviMux>();
    Ref<CFileWriter> writer;
    test::BareGraph bare;
};

TEST(AviMux, WritesTheBytesOfAPlainAviFile) {
    MuxRig rig;
    ASSERT_EQ(rig.run(), S_OK);
    rig.send(0, 3);
    ASSERT_EQ(rig.stop(), S_OK);

    auto file = AviFile::create(rig.disk, u"plain.avi", {.width = width, .height = height, .fps = 25}).value();
    for (uint32_t i = 0; i < 3; ++i) ASSERT_TRUE(file->writeFrame(frame(i)).ok());
    ASSERT_TRUE(file->close().ok());
    EXPECT_EQ(rig.bytes(), rig.disk.bytes(u"plain.avi"));
}

TEST(AviMux, TakesPlainBottomUpPicturesAndThoseThatHaveACode) {
    const auto mux = makeRef<CAviMux>();
    const auto verdict = [&](const MediaType& type) { return mux->Input().CheckMediaType(&type); };
    const auto altered = [](auto change, MediaType type = rgb24Type(width, height, interval)) {
        VideoInfoHeader header;
        std::memcpy(&header, type.format.data(), sizeof header);
        change(type, header);
        std::memcpy(type.format.data(), &header, sizeof header);
        return type;
    };
    EXPECT_EQ(mux->Input().CheckMediaType(nullptr), E_POINTER);
    EXPECT_EQ(verdict(rgb24Type(width, height, interval)), S_OK);
    EXPECT_EQ(verdict(rgb24Type(width, height, 0)), S_OK);
    EXPECT_EQ(verdict(compressedType(fourcc("HFYU"))), S_OK);
    EXPECT_EQ(verdict(compressedType(fourcc("HFYU"), std::vector<std::byte>(1814))), S_OK);
    EXPECT_EQ(verdict(compressedType(fourcc("HFYU"), std::vector<std::byte>(1815))), VFW_E_TYPE_NOT_ACCEPTED)
        << "no room in the header";

    EXPECT_EQ(verdict(MediaType{}), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(rgb24Type(width, -int32_t(height), interval)), VFW_E_TYPE_NOT_ACCEPTED) << "top-down";
    EXPECT_EQ(verdict(rgb24Type(0, height, interval)), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(rgb24Type(width, 0, interval)), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(rgb24Type(0x8000, 0x8000, interval)), VFW_E_TYPE_NOT_ACCEPTED) << "more than a frame may have";
    using Header = VideoInfoHeader;
    EXPECT_EQ(verdict(altered([](MediaType&, Header& h) { h.bitmap.biBitCount = 32; })), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(altered([](MediaType&, Header& h) { h.bitmap.biCompression = 3; })), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(altered([](MediaType& t, Header&) { t.major = MEDIATYPE_Stream; })), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(altered([](MediaType& t, Header&) { t.subtype = subtypeOf(fourcc("HFYU")); })),
              VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(altered([](MediaType& t, Header&) { t.formatType = FORMAT_VideoInfo2; })),
              VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(altered([](MediaType&, Header& h) { h.bitmap.biCompression = fourcc("XVID"); },
                              compressedType(fourcc("HFYU")))),
              VFW_E_TYPE_NOT_ACCEPTED)
        << "the two places disagree";
    MediaType cut = rgb24Type(width, height, interval);
    cut.format.resize(sizeof(VideoInfoHeader) - 1);
    EXPECT_EQ(verdict(cut), VFW_E_TYPE_NOT_ACCEPTED);
}

TEST(AviMux, ACompressedStreamKeepsItsCodeItsExtraDataAndItsKeyFrames) {
    const std::vector<std::byte> extra = {std::byte(9), std::byte(8), std::byte(7)};
    MuxRig rig(compressedType(fourcc("FAKE"), extra));
    ASSERT_EQ(rig.run(), S_OK);
    const size_t sizes[] = {11, 4, 301};
    for (size_t i = 0; i < 3; ++i)
        ASSERT_EQ(rig.source->send(std::vector<std::byte>(sizes[i], std::byte(uint8_t(i + 1))), {}, i != 1), S_OK);
    ASSERT_EQ(rig.stop(), S_OK);

    const test::AviContent content = rig.content();
    EXPECT_EQ(content.faults, std::vector<std::string>());
    EXPECT_EQ(content.stream.handler, fourcc("FAKE"));
    EXPECT_EQ(content.bitmap.compression, fourcc("FAKE"));
    EXPECT_EQ(content.bitmap.extraData, (std::vector<uint8_t>{9, 8, 7}));
    EXPECT_EQ(content.bitmap.bitCount, 24u);
    EXPECT_EQ(content.stream.suggestedBufferSize, 301u);
    const auto frames = content.frames();
    ASSERT_EQ(frames.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(frames[i].size, sizes[i]);
        EXPECT_EQ(frames[i].keyFrame, i != 1);
        EXPECT_EQ(rig.frames()[i], std::vector<std::byte>(sizes[i], std::byte(uint8_t(i + 1))));
    }
}

TEST(AviMux, PlainFramesAreKeyFramesWhateverTheirSamplesSay) {
    MuxRig rig;
    ASSERT_EQ(rig.run(), S_OK);
    ASSERT_EQ(rig.source->send(frame(0), {}, false), S_OK);
    ASSERT_EQ(rig.stop(), S_OK);
    ASSERT_EQ(rig.content().frames().size(), 1u);
    EXPECT_TRUE(rig.content().frames()[0].keyFrame);
}

TEST(AviMux, TheFileHasTheRateThatTheTimesOfItsFramesTell) {
    MuxRig rig;  // 25 a second by its type
    ASSERT_EQ(rig.run(), S_OK);
    rig.send(0, 30, second / 10);
    ASSERT_EQ(rig.stop(), S_OK);
    const test::AviContent content = rig.content();
    EXPECT_EQ(content.faults, std::vector<std::string>());
    EXPECT_EQ(content.stream.scale, 1000u);
    EXPECT_EQ(content.stream.rate, 10'000u);
    EXPECT_EQ(content.main.microSecPerFrame, 40'000u) << "the nominal value stays here";
    EXPECT_EQ(content.frames().size(), 30u);
}

TEST(AviMux, FramesThatWereThinnedOutPlayAtTheRateOfTheSource) {
    MuxRig rig;
    ASSERT_EQ(rig.run(), S_OK);
    constexpr uint32_t divider = 5;
    constexpr int64_t distance = second / 8;
    for (uint32_t i = 0; i < 100; i += divider)
        ASSERT_EQ(rig.source->send(frame(i), Times({i * distance / divider, (i + 1) * distance / divider})), S_OK);
    ASSERT_EQ(rig.stop(), S_OK);
    EXPECT_EQ(rig.content().stream.scale, 1000u);
    EXPECT_EQ(rig.content().stream.rate, 8000u);
}

TEST(AviMux, AFirstFrameThatLastedLongerDoesNotSpoilTheRate) {
    MuxRig rig;  // each frame lasts from the one before to its own arrival, the first one from nowhere
    ASSERT_EQ(rig.run(), S_OK);
    int64_t time = 0;
    for (uint32_t i = 0; i < 30; ++i) {
        const int64_t stop = time + (i == 0 ? 3 * second / 2 : second / 20);
        ASSERT_EQ(rig.source->send(frame(i), Times({time, stop})), S_OK);
        time = stop;
    }
    ASSERT_EQ(rig.stop(), S_OK);
    EXPECT_EQ(rig.content().stream.rate, 20'000u);
}

TEST(AviMux, WithoutTimesAndWithinASecondTheRateIsTheNominalOne) {
    struct Case {
        int64_t distance;
        uint32_t frames;
        bool real;
    };
    for (const Case& each :
         {Case{0, 40, false}, Case{second / 10, 10, false}, Case{second / 10, 11, true}, Case{3 * second, 1, false}}) {
        MuxRig rig;
        ASSERT_EQ(rig.run(), S_OK);
        rig.send(0, each.frames, each.distance);
        ASSERT_EQ(rig.stop(), S_OK);
        const test::AviContent content = rig.content();
        EXPECT_EQ(content.stream.scale, each.real ? 1000u : 1'000'000u) << each.distance << " * " << each.frames;
        EXPECT_EQ(content.stream.rate, each.real ? 10'000u : 25'000'000u) << each.distance << " * " << each.frames;
        EXPECT_EQ(content.faults, std::vector<std::string>());
    }
}

TEST(AviMux, AStreamWithoutARateHasThirtyFramesASecond) {
    MuxRig rig(rgb24Type(width, height, 0));
    ASSERT_EQ(rig.run(), S_OK);
    ASSERT_EQ(rig.stop(), S_OK);
    EXPECT_EQ(rig.content().stream.rate, 30'000'000u);
}

TEST(AviMux, TimesOutOfOrderGiveTheSameRate) {
    MuxRig rig(compressedType(fourcc("FAKE")));
    ASSERT_EQ(rig.run(), S_OK);
    for (uint32_t i = 0; i < 40; ++i) {
        const uint32_t shown = i == 0 ? 0 : i % 2 ? i + 1 : i - 1;
        ASSERT_EQ(rig.source->send(std::vector<std::byte>(9), Times({shown * second / 10, (shown + 1) * second / 10})),
                  S_OK);
    }
    ASSERT_EQ(rig.stop(), S_OK);
    // The last pair is cut apart, so that its time is one frame further on.
    EXPECT_NEAR(rig.content().stream.rate, 10'000.0 * 39 / 40, 1.0);
}

TEST(AviMux, ARecordingWithoutAFrameIsAWholeFile) {
    MuxRig rig;
    ASSERT_EQ(rig.run(), S_OK);
    ASSERT_EQ(rig.stop(), S_OK);
    const test::AviContent content = rig.content();
    EXPECT_EQ(content.faults, std::vector<std::string>());
    EXPECT_TRUE(content.hasFrameIndex);
    EXPECT_TRUE(content.frames().empty());
    EXPECT_EQ(content.main.width, width);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>());
}

TEST(AviMux, AFileThatCannotBeMadeStopsTheGraphFromBeginning) {
    MuxRig rig;
    rig.disk.failWrite(0, VEX_E_DISK_FULL);
    EXPECT_EQ(rig.run(), VEX_E_DISK_FULL);
    EXPECT_TRUE(rig.mux->IsStopped());
    rig.disk.fail(Kind::Update, E_ACCESSDENIED);
    EXPECT_EQ(rig.run(), E_ACCESSDENIED);
    rig.disk.fail(Kind::Update, S_OK);
    EXPECT_EQ(rig.run(), S_OK);
}

TEST(AviMux, EachFailedWriteLosesOneFrameAtMostAndIsToldOnce) {
    constexpr uint32_t frames = 12;
    // Header, frames, index, final header, real rate.
    for (uint32_t failing = 1; failing < frames + 4; ++failing) {
        MuxRig rig;
        rig.disk.failWrite(failing, VEX_E_DISK_FULL, 3);
        ASSERT_EQ(rig.run(), S_OK);
        rig.send(0, frames, second / 10);
        ASSERT_EQ(rig.stop(), S_OK) << failing;
        EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>{VEX_E_DISK_FULL}) << failing;

        std::vector<std::vector<std::byte>> expected;
        for (uint32_t i = 0; i < frames; ++i)
            if (i + 1 != failing) expected.push_back(frame(i));
        EXPECT_EQ(rig.frames(), expected) << failing;
        if (failing == frames + 2) continue;  // the header still says that the recording runs
        EXPECT_EQ(rig.content().faults, std::vector<std::string>()) << failing;
        EXPECT_EQ(rig.content().frames().size(), expected.size()) << failing;
    }
}

TEST(AviMux, ADiskThatStaysFullIsToldOnceAndKeepsWhatItHas) {
    MuxRig rig;
    ASSERT_EQ(rig.run(), S_OK);
    rig.send(0, 3);
    rig.disk.fail(Kind::Write, VEX_E_DISK_FULL);
    rig.send(3, 20);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>{VEX_E_DISK_FULL});
    rig.disk.fail(Kind::Write, S_OK);
    rig.send(20, 21);
    ASSERT_EQ(rig.stop(), S_OK);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>());
    EXPECT_EQ(rig.content().faults, std::vector<std::string>());
    EXPECT_EQ(rig.frames(), (std::vector{frame(0), frame(1), frame(2), frame(20)}));
}

TEST(AviMux, CountsWhatBecameOfEachFrame) {
    MuxRig rig;
    const auto expect = [&](uint32_t written, uint32_t failures, HRESULT code) {
        const AviMuxCounts counts = rig.mux->Counts();
        EXPECT_EQ(counts.written, written);
        EXPECT_EQ(counts.failures, failures);
        EXPECT_EQ(counts.bytes, written * frameBytes);
        EXPECT_EQ(counts.lastFailure, code);
    };
    expect(0, 0, S_OK);
    ASSERT_EQ(rig.run(), S_OK);
    rig.disk.failWrite(2, VEX_E_DISK_FULL);
    rig.send(0, 4);
    expect(3, 1, VEX_E_DISK_FULL);
    rig.disk.fail(Kind::Write, E_ACCESSDENIED);
    ASSERT_EQ(rig.stop(), S_OK);
    expect(3, 1, E_ACCESSDENIED);  // the header alone
    rig.disk.fail(Kind::Write, S_OK);
    ASSERT_EQ(rig.run(), S_OK);
    expect(0, 0, S_OK);
}

TEST(AviMux, ASampleThatHoldsLessThanAFrameIsLostAlone) {
    MuxRig rig;
    ASSERT_EQ(rig.run(), S_OK);
    std::vector<std::byte> cut = frame(0);
    cut.pop_back();
    EXPECT_EQ(rig.source->send(cut), S_OK);
    rig.send(1, 2);
    std::vector<std::byte> longer = frame(2);
    longer.resize(frameBytes + 10);
    EXPECT_EQ(rig.source->send(longer), S_OK);
    ASSERT_EQ(rig.stop(), S_OK);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>{E_INVALIDARG});
    EXPECT_EQ(rig.frames(), (std::vector{frame(1), frame(2)}));
}

TEST(AviMux, TheEndOfTheStreamFinishesTheFileAndIsTold) {
    MuxRig rig;
    ASSERT_EQ(rig.run(), S_OK);
    rig.send(0, 2);
    EXPECT_EQ(rig.source->end(), S_OK);
    EXPECT_EQ(rig.bare.events(EC_COMPLETE), std::vector<HRESULT>{S_OK});
    EXPECT_EQ(rig.content().faults, std::vector<std::string>());
    const std::vector<uint8_t> finished = rig.bytes();
    EXPECT_EQ(rig.source->send(frame(2)), S_FALSE);
    ASSERT_EQ(rig.stop(), S_OK);
    EXPECT_EQ(rig.bytes(), finished);
}

TEST(AviMux, EachRunIsARecordingOfItsOwn) {
    MuxRig rig;
    ASSERT_EQ(rig.run(), S_OK);
    rig.send(0, 4, second);
    ASSERT_EQ(rig.stop(), S_OK);
    const std::vector<uint8_t> first = rig.bytes();
    ASSERT_EQ(rig.writer->SetFileName(u"second.avi"), S_OK);
    ASSERT_EQ(rig.run(), S_OK);
    ASSERT_EQ(rig.bare.graph.Pause(), S_OK);
    rig.send(0, 1);
    ASSERT_EQ(rig.run(), S_OK);
    rig.send(1, 2);
    ASSERT_EQ(rig.stop(), S_OK);
    EXPECT_EQ(rig.bytes(), first);
    const std::vector<uint8_t> file = rig.disk.bytes(u"second.avi");
    std::istringstream stream(std::string(file.begin(), file.end()));
    const test::AviContent content = test::readAvi(stream);
    EXPECT_EQ(content.faults, std::vector<std::string>());
    EXPECT_EQ(content.frames().size(), 2u);
    EXPECT_EQ(content.stream.scale, 1'000'000u) << "the times of the first recording are not those of the second";
}

TEST(AviMux, AnInputThatLeadsNowhereStopsTheGraphFromBeginning) {
    const auto source = makeRef<test::SentStream>(rgb24Type(width, height, interval));
    const auto mux = makeRef<CAviMux>();
    test::BareGraph bare;
    bare.graph.AddFilter(source, u"source");
    bare.graph.AddFilter(mux, u"mux");
    EXPECT_EQ(bare.graph.Run(), S_OK) << "not in use";
    EXPECT_EQ(bare.graph.Stop(), S_OK);
    ASSERT_EQ(bare.graph.ConnectDirect(source->Output(), mux->Input()), S_OK);
    EXPECT_EQ(bare.graph.Run(), VFW_E_NOT_CONNECTED);
}

TEST(AviMux, AFrameIsOneWriteAndTakesNothingFromTheHeap) {
    MuxRig counted;
    ASSERT_EQ(counted.run(), S_OK);
    const size_t before = counted.disk.count(Kind::Write);
    counted.send(0, 100);
    EXPECT_EQ(counted.disk.count(Kind::Write), before + 100);

    NullDisk nowhere;
    MuxRig rig(rgb24Type(width, height, interval), &nowhere);
    ASSERT_EQ(rig.run(), S_OK);
    const std::vector<std::byte> picture = frame(0);
    rig.source->send(picture, Times({0, 1}));
    const size_t allocated = allocations();
    for (int64_t i = 1; i < 1000; ++i) rig.source->send(picture, Times({i, i + 1}));
    EXPECT_EQ(allocations(), allocated);
}

TEST(AviMux, AStopAmongFramesLeavesAWholeFileWithAllThatWereTaken) {
    for (int round = 0; round < 20; ++round) {
        MuxRig rig;
        ASSERT_EQ(rig.run(), S_OK);
        std::atomic<uint32_t> taken = 0;
        std::thread sender([&] {
            for (uint32_t i = 0; rig.source->send(frame(i)) == S_OK; ++i) ++taken;
        });
        while (taken < 5) std::this_thread::yield();
        EXPECT_EQ(rig.stop(), S_OK);
        sender.join();
        const test::AviContent content = rig.content();
        EXPECT_EQ(content.faults, std::vector<std::string>());
        EXPECT_EQ(content.frames().size(), taken);
        EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>());
    }
}

}  // namespace avi_mux_test
}  // namespace vexcap
