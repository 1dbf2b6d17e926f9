#include "recording/compressor_filter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <thread>

#include "graph/testing/graphs.h"
#include "graph/testing/kept_samples.h"
#include "graph/testing/sent_samples.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_media.h"
#include "recording/avi_mux.h"
#include "recording/avi_testing.h"
#include "recording/null_disk_testing.h"

namespace vexcap {
namespace compressor_filter_test {

using test::Times;

constexpr uint32_t width = 6, height = 4;
constexpr int64_t interval = 400'000;
constexpr const char16_t* codecName = u"fake";
constexpr const char16_t* path = u"out.avi";

std::vector<std::byte> frame(uint64_t number) { return numberedPicture(width, height, number); }
std::vector<std::byte> compressed(uint32_t number) { return fakeCompressed(frame(number), number); }
Times timesOf(int64_t number) { return Times({number * interval, (number + 1) * interval}); }

/// Numbers 0 to `count` - 1 without those of `lost`, compressed.
std::vector<std::vector<std::byte>> compressedBut(uint32_t count, const std::vector<uint32_t>& lost = {}) {
    std::vector<std::vector<std::byte>> all;
    for (uint32_t i = 0; i < count; ++i)
        if (std::find(lost.begin(), lost.end(), i) == lost.end()) all.push_back(compressed(i));
    return all;
}

/// A source and the compressor, connected or not; what comes behind is each test's own.
struct CompressorRig {
    CompressorRig() : codec(media.addCompressor({codecName, u"Fake codec"})) {
        bare.graph.AddFilter(source, u"source");
        bare.graph.AddFilter(filter, u"compressor");
    }
    HRESULT connectInput() { return bare.graph.ConnectDirect(source->Output(), filter->Input()); }
    Ref<IAMVideoCompression> compression() { return queryInterface<IAMVideoCompression>(&filter->Output()); }
    HRESULT send(uint32_t number) { return source->send(frame(number), timesOf(number)); }

    FakeMedia media;
    FakeCodec& codec;
    Ref<test::SentStream> source = makeRef<test::SentStream>(rgb24Type(width, height, interval));
    Ref<CCompressorFilter> filter = makeRef<CCompressorFilter>(media, codecName);
    test::BareGraph bare;
};

/// What comes out is kept.
struct KeptRig : CompressorRig {
    KeptRig() { bare.graph.AddFilter(kept, u"kept"); }
    void connect() {
        ASSERT_EQ(connectInput(), S_OK);
        ASSERT_EQ(bare.graph.ConnectDirect(filter->Output(), kept->Input()), S_OK);
    }
    void run() {
        connect();
        ASSERT_EQ(bare.graph.Run(), S_OK);
    }
    std::vector<std::vector<std::byte>> bytes() {
        std::vector<std::vector<std::byte>> all;
        for (const test::KeptSample& each : kept->samples()) all.push_back(each.bytes);
        return all;
    }
    Ref<test::KeptStream> kept = makeRef<test::KeptStream>();
};

/// What comes out is recorded.
struct FileRig : CompressorRig {
    FileRig() {
        bare.graph.AddFilter(mux, u"mux");
        bare.graph.AddFilter(writer, u"writer");
        EXPECT_EQ(bare.graph.ConnectDirect(mux->Output(), writer->Input()), S_OK);
        writer->SetFileName(path);
    }
    void run() {
        ASSERT_EQ(connectInput(), S_OK);
        ASSERT_EQ(bare.graph.ConnectDirect(filter->Output(), mux->Input()), S_OK);
        ASSERT_EQ(bare.graph.Run(), S_OK);
    }
    test::AviContent content() const {
        const std::vector<uint8_t> file = disk.bytes(path);
        std::istringstream stream(std::string(file.begin(), file.end()));
        return test::readAvi(stream);
    }
    std::vector<std::vector<std::byte>> frames() const {
        const std::vector<uint8_t> file = disk.bytes(path);
        std::vector<std::vector<std::byte>> all;
        for (const test::AviFrame& each : content().frames()) {
            const auto* const data = reinterpret_cast<const std::byte*>(file.data() + each.position);
            all.emplace_back(data, data + each.size);
        }
        return all;
    }
    FakeDisk disk;
    Ref<CAviMux> mux = makeRef<CAviMux>();
    Ref<CFileWriter> writer = makeRef<CFileWriter>(disk);
};

TEST(CompressorFilter, ItsStreamHasTheCodeAndTheExtraDataOfTheCompressor) {
    KeptRig rig;
    rig.codec.extraData = {std::byte(1), std::byte(2), std::byte(3)};
    rig.connect();
    const MediaType& type = rig.filter->Output().CurrentMediaType();
    EXPECT_TRUE(type.major == MEDIATYPE_Video);
    EXPECT_TRUE(type.subtype == subtypeOf(fourcc("FAKE")));
    EXPECT_FALSE(type.fixedSize);
    EXPECT_EQ(type.AverageTimePerFrame(), interval);
    vex_bitmap_header bitmap;
    ASSERT_TRUE(type.GetBitmapHeader(bitmap));
    EXPECT_EQ(bitmap.biSize, 40u);
    EXPECT_EQ(bitmap.biWidth, int32_t(width));
    EXPECT_EQ(bitmap.biHeight, int32_t(height));
    EXPECT_EQ(bitmap.biPlanes, 1u);
    EXPECT_EQ(bitmap.biBitCount, 24u);
    EXPECT_EQ(bitmap.biCompression, fourcc("FAKE"));
    const auto extra = type.ExtraData();
    EXPECT_EQ(std::vector<std::byte>(extra.begin(), extra.end()), rig.codec.extraData);
    EXPECT_EQ(rig.codec.settings.width, width);
    EXPECT_EQ(rig.codec.settings.height, height);
    EXPECT_EQ(rig.codec.settings.interval, interval);
    EXPECT_EQ(rig.codec.settings.quality, 1.0);
}

TEST(CompressorFilter, TakesPlainBottomUpPicturesAlone) {
    CompressorRig rig;
    const auto verdict = [&](const MediaType& type) { return rig.filter->Input().CheckMediaType(&type); };
    EXPECT_EQ(rig.filter->Input().CheckMediaType(nullptr), E_POINTER);
    EXPECT_EQ(verdict(rgb24Type(width, height, 0)), S_OK);
    EXPECT_EQ(verdict(rgb24Type(width, -int32_t(height), 0)), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(rgb24Type(0, height, 0)), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(rgb24Type(width, 0, 0)), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(rgb24Type(0x8000, 0x8000, 0)), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict(MediaType{}), VFW_E_TYPE_NOT_ACCEPTED);
    for (const size_t offset : {offsetof(VideoInfoHeader, bitmap) + offsetof(vex_bitmap_header, biBitCount),
                                offsetof(VideoInfoHeader, bitmap) + offsetof(vex_bitmap_header, biCompression)}) {
        MediaType type = rgb24Type(width, height, 0);
        type.format[offset] = 16;
        EXPECT_EQ(verdict(type), VFW_E_TYPE_NOT_ACCEPTED) << offset;
    }
    MediaType other = rgb24Type(width, height, 0);
    other.subtype = subtypeOf(fourcc("YUY2"));
    EXPECT_EQ(verdict(other), VFW_E_TYPE_NOT_ACCEPTED);
    other = rgb24Type(width, height, 0);
    other.formatType = FORMAT_VideoInfo2;
    EXPECT_EQ(verdict(other), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(rig.codec.opened, 0u) << "asking opens nothing";
}

TEST(CompressorFilter, ASizeThatTheCompressorRefusesMakesTheConnectionFailAndLeavesTheWayFree) {
    FileRig rig;
    rig.codec.mostWidth = width - 1;
    EXPECT_EQ(rig.connectInput(), E_INVALIDARG);
    EXPECT_FALSE(rig.source->Output().IsConnected());
    EXPECT_FALSE(rig.filter->Input().IsConnected());
    EXPECT_EQ(rig.bare.graph.RemoveFilter(*rig.filter), S_OK);
    ASSERT_EQ(rig.bare.graph.ConnectDirect(rig.source->Output(), rig.mux->Input()), S_OK);
    ASSERT_EQ(rig.bare.graph.Run(), S_OK);
    EXPECT_EQ(rig.send(0), S_OK);
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);
    EXPECT_EQ(rig.frames(), (std::vector<std::vector<std::byte>>{frame(0)}));
}

TEST(CompressorFilter, AMissingCompressorMakesTheConnectionFailWithItsCode) {
    CompressorRig rig;
    rig.media.available = false;
    EXPECT_EQ(rig.connectInput(), VEX_E_NO_MODULE);
    rig.media.available = true;
    rig.media.codecs.clear();
    EXPECT_EQ(rig.connectInput(), E_INVALIDARG);
}

TEST(CompressorFilter, EachPictureComesOutWithItsTimesAndKeyFramesAreSyncPoints) {
    KeptRig rig;
    rig.codec.keyDistance = 3;
    rig.run();
    for (uint32_t i = 0; i < 7; ++i) ASSERT_EQ(rig.send(i), S_OK);
    ASSERT_EQ(rig.source->send(frame(7)), S_OK);  // has no times
    const auto samples = rig.kept->samples();
    ASSERT_EQ(samples.size(), 8u);
    for (uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(samples[i].bytes, compressed(i));
        EXPECT_EQ(samples[i].times, i < 7 ? timesOf(i) : Times());
        EXPECT_EQ(samples[i].syncPoint, i % 3 == 0);
    }
}

TEST(CompressorFilter, PicturesThatAreHeldBackKeepTheirTimesAndComeOutAtTheEndOfTheStream) {
    for (const bool swaps : {false, true}) {
        KeptRig rig;
        rig.codec.delay = 3;
        rig.codec.swapsPairs = swaps;
        rig.run();
        for (uint32_t i = 0; i < 8; ++i) {
            ASSERT_EQ(rig.send(i), S_OK);
            EXPECT_EQ(rig.kept->samples().size(), i < 3 ? 0 : i - 2);
        }
        EXPECT_EQ(rig.source->end(), S_OK);
        EXPECT_TRUE(rig.kept->ended());
        EXPECT_EQ(rig.bare.events(EC_COMPLETE), std::vector<HRESULT>{S_OK});
        const uint32_t plain[] = {0, 1, 2, 3, 4, 5, 6, 7}, swapped[] = {0, 2, 1, 4, 3, 6, 5, 7};
        const auto samples = rig.kept->samples();
        ASSERT_EQ(samples.size(), 8u);
        for (size_t i = 0; i < 8; ++i) {
            const uint32_t number = swaps ? swapped[i] : plain[i];
            EXPECT_EQ(samples[i].bytes, compressed(number));
            EXPECT_EQ(samples[i].times, timesOf(number));
        }
        EXPECT_EQ(rig.send(8), S_FALSE) << "nothing comes behind the end";
    }
}

TEST(CompressorFilter, AGraphThatStopsLosesNoPictureInsideOfTheCompressor) {
    FileRig rig;
    rig.codec.delay = 5;
    rig.codec.keyDistance = 4;
    rig.codec.extraData = {std::byte(1), std::byte(2)};
    rig.run();
    for (uint32_t i = 0; i < 40; ++i) ASSERT_EQ(rig.send(i), S_OK);
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);
    EXPECT_EQ(rig.codec.finished, 1u);
    EXPECT_EQ(rig.frames(), compressedBut(40));
    const test::AviContent content = rig.content();
    EXPECT_EQ(content.faults, std::vector<std::string>());
    for (uint32_t i = 0; i < 40; ++i) EXPECT_EQ(content.frames()[i].keyFrame, i % 4 == 0) << i;
    EXPECT_EQ(content.bitmap.extraData, (std::vector<uint8_t>{1, 2}));
    EXPECT_EQ(content.stream.scale, 1000u);
    EXPECT_EQ(content.stream.rate, 25'000u);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>());
}

TEST(CompressorFilter, InWhateverOrderTheFiltersStopNoPictureIsLost) {
    for (const bool muxFirst : {false, true}) {
        FileRig rig;
        rig.codec.delay = 2;
        rig.run();
        for (uint32_t i = 0; i < 3; ++i) ASSERT_EQ(rig.send(i), S_OK);
        CBaseFilter& first = muxFirst ? static_cast<CBaseFilter&>(*rig.mux) : *rig.filter;
        EXPECT_EQ(first.Stop(), S_OK);
        EXPECT_NE(rig.send(3), S_OK) << "what comes behind the stop is refused, and not lost unheard";
        EXPECT_EQ(rig.bare.graph.Stop(), S_OK);
        EXPECT_EQ(rig.frames(), compressedBut(3)) << muxFirst;
    }
}

TEST(CompressorFilter, ARunBehindAnotherOneBeginsWithAFreshCompressor) {
    FileRig rig;
    rig.codec.delay = 2;
    rig.run();
    EXPECT_EQ(rig.codec.opened, 1u) << "the one of the connection";
    ASSERT_EQ(rig.send(0), S_OK);
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);
    rig.writer->SetFileName(u"second.avi");
    ASSERT_EQ(rig.bare.graph.Run(), S_OK);
    EXPECT_EQ(rig.codec.opened, 2u);
    ASSERT_EQ(rig.send(1), S_OK);
    ASSERT_EQ(rig.source->end(), S_OK);
    const std::vector<uint8_t> file = rig.disk.bytes(u"second.avi");
    std::istringstream stream(std::string(file.begin(), file.end()));
    EXPECT_EQ(test::readAvi(stream).frames().size(), 1u);
    EXPECT_EQ(rig.frames(), compressedBut(1)) << "the first file is as it was";
}

TEST(CompressorFilter, APictureThatCannotBeCompressedIsLostAloneAndToldOnce) {
    FileRig rig;
    rig.codec.delay = 2;
    rig.codec.failPut = {2, 9};
    rig.codec.failGet = {4, 11};
    rig.codec.failure = E_UNEXPECTED;
    rig.run();
    for (uint32_t i = 0; i < 12; ++i) EXPECT_EQ(rig.send(i), S_OK) << i;
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>{E_UNEXPECTED});
    EXPECT_EQ(rig.frames(), compressedBut(12, {2, 4, 9, 11}));
}

TEST(CompressorFilter, ASampleThatHoldsLessThanAPictureIsLostAlone) {
    FileRig rig;
    rig.run();
    ASSERT_EQ(rig.send(0), S_OK);
    std::vector<std::byte> cut = frame(1);
    cut.pop_back();
    EXPECT_EQ(rig.source->send(cut), S_OK);
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>{E_INVALIDARG});
    EXPECT_EQ(rig.frames(), compressedBut(1));
}

TEST(CompressorFilter, ADiskThatFailsBehindItIsToldByTheMultiplexerAndStopsNothing) {
    FileRig rig;
    rig.disk.failWrite(2, VEX_E_DISK_FULL);  // behind the header and the first frame
    rig.run();
    for (uint32_t i = 0; i < 4; ++i) EXPECT_EQ(rig.send(i), S_OK);
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>{VEX_E_DISK_FULL});
    EXPECT_EQ(rig.frames(), compressedBut(4, {1}));
}

TEST(CompressorFilter, APictureThatGrowsUnderCompressionIsKept) {
    FileRig rig;
    rig.run();
    ASSERT_EQ(rig.send(0), S_OK);
    rig.codec.extraBytes = 100'000;
    ASSERT_EQ(rig.send(1), S_OK);
    rig.codec.extraBytes = 0;
    ASSERT_EQ(rig.send(2), S_OK);
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);
    std::vector<std::vector<std::byte>> expected = compressedBut(3);
    expected[1].resize(expected[1].size() + 100'000);
    EXPECT_EQ(rig.frames(), expected);
    EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>());
    ASSERT_EQ(rig.bare.graph.Disconnect(rig.filter->Output()), S_OK);
    EXPECT_EQ(rig.bare.graph.ConnectDirect(rig.filter->Output(), rig.mux->Input()), S_OK) << "with a pool as at first";
}

TEST(CompressorFilter, TheQualityIsThatOfThePinAndStandsWhileTheGraphRuns) {
    FileRig rig;
    const auto compression = rig.compression();
    ASSERT_TRUE(compression);
    double quality = 0;
    EXPECT_EQ(compression->GetQuality(&quality), S_OK);
    EXPECT_EQ(quality, 1.0);
    EXPECT_EQ(compression->GetQuality(nullptr), E_POINTER);
    for (const double wrong : {-0.01, 1.01, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(compression->PutQuality(wrong), E_INVALIDARG) << wrong;
    EXPECT_EQ(compression->PutQuality(0.25), S_OK);
    EXPECT_EQ(compression->GetQuality(&quality), S_OK);
    EXPECT_EQ(quality, 0.25);
    rig.run();
    EXPECT_EQ(rig.codec.settings.quality, 0.25);
    EXPECT_EQ(rig.codec.opened, 1u);
    EXPECT_EQ(compression->PutQuality(0.5), VFW_E_NOT_STOPPED);
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);

    rig.writer->SetMode(IFileSinkFilter2::overwrite);
    EXPECT_EQ(compression->PutQuality(0.75), S_OK) << "also between connection and run";
    ASSERT_EQ(rig.bare.graph.Run(), S_OK);
    EXPECT_EQ(rig.codec.settings.quality, 0.75);
    EXPECT_EQ(rig.send(0), S_OK);
}

TEST(CompressorFilter, AQualityThatChangesWhatTheHeaderTellsDoesNotRun) {
    FileRig rig;
    ASSERT_EQ(rig.connectInput(), S_OK);
    ASSERT_EQ(rig.bare.graph.ConnectDirect(rig.filter->Output(), rig.mux->Input()), S_OK);
    ASSERT_EQ(rig.compression()->PutQuality(0.5), S_OK);
    rig.codec.extraData = {std::byte(1)};
    EXPECT_EQ(rig.bare.graph.Run(), VFW_E_TYPE_NOT_ACCEPTED);
    rig.codec.extraData = {};
    rig.codec.fourcc = fourcc("OTHR");
    rig.writer->SetMode(IFileSinkFilter2::overwrite);
    EXPECT_EQ(rig.bare.graph.Run(), VFW_E_TYPE_NOT_ACCEPTED);
    rig.codec.refusal = VEX_E_BUSY;
    EXPECT_EQ(rig.bare.graph.Run(), VEX_E_BUSY);
}

TEST(CompressorFilter, AnInputThatIsConnectedAnewKeepsTheSizeOfTheOutput) {
    KeptRig rig;
    rig.connect();
    ASSERT_EQ(rig.bare.graph.Disconnect(rig.filter->Input()), S_OK);
    EXPECT_TRUE(rig.filter->Output().IsConnected());
    const auto other = makeRef<test::SentStream>(rgb24Type(width, height + 1, interval));
    rig.bare.graph.AddFilter(other, u"other");
    EXPECT_EQ(rig.bare.graph.ConnectDirect(other->Output(), rig.filter->Input()), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(rig.connectInput(), S_OK);
    ASSERT_EQ(rig.bare.graph.Run(), S_OK);
    EXPECT_EQ(rig.send(0), S_OK);
    EXPECT_EQ(rig.bytes(), compressedBut(1));
}

/// Gives each picture at once, and takes nothing from the heap.
struct SteadyMedia final : IMedia {
    struct Compressing final : ICompressor {
        uint32_t FourCC() const override { return fourcc("FAKE"); }
        std::span<const std::byte> ExtraData() const override { return {}; }
        Status Put(std::span<const std::byte>, int64_t order) override {
            given = order;
            waits = true;
            return S_OK;
        }
        Status Get(CompressedPicture& out) override {
            if (!std::exchange(waits, false)) return S_FALSE;
            out = {std::as_bytes(std::span(&given, 1)), given, true};
            return S_OK;
        }
        Status Finish() override { return S_OK; }
        int64_t given = 0;
        bool waits = false;
    };
    std::vector<Compressor> Compressors() override { return {}; }
    Result<std::unique_ptr<ICompressor>> OpenCompressor(std::u16string_view, const CompressorSettings&) override {
        return std::unique_ptr<ICompressor>(std::make_unique<Compressing>());
    }
    Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t, uint32_t, uint32_t) override { return E_NOTIMPL; }
    Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view) override { return E_NOTIMPL; }
};

TEST(CompressorFilter, AFrameTakesNothingFromTheHeap) {
    SteadyMedia media;
    NullDisk nowhere;
    const auto source = makeRef<test::SentStream>(rgb24Type(width, height, interval));
    const auto filter = makeRef<CCompressorFilter>(media, u"steady");
    const auto mux = makeRef<CAviMux>();
    const auto writer = makeRef<CFileWriter>(nowhere);
    test::BareGraph bare;
    bare.graph.AddFilter(source, u"source");
    bare.graph.AddFilter(filter, u"compressor");
    bare.graph.AddFilter(mux, u"mux");
    bare.graph.AddFilter(writer, u"writer");
    ASSERT_EQ(bare.graph.ConnectDirect(source->Output(), filter->Input()), S_OK);
    ASSERT_EQ(bare.graph.ConnectDirect(filter->Output(), mux->Input()), S_OK);
    ASSERT_EQ(bare.graph.ConnectDirect(mux->Output(), writer->Input()), S_OK);
    writer->SetFileName(path);
    writer->SetMode(IFileSinkFilter2::overwrite);
    ASSERT_EQ(bare.graph.Run(), S_OK);
    const std::vector<std::byte> picture = frame(0);
    ASSERT_EQ(source->send(picture, timesOf(0)), S_OK);
    const size_t before = allocations();
    for (int64_t i = 1; i < 1000; ++i) source->send(picture, timesOf(i));
    EXPECT_EQ(allocations(), before);
}

TEST(CompressorFilter, AStopAmongFramesLeavesAWholeFileWithAllThatWereTaken) {
    for (int round = 0; round < 20; ++round) {
        FileRig rig;
        rig.codec.delay = 3;
        rig.run();
        std::atomic<uint32_t> taken = 0;
        std::thread sender([&] {
            while (rig.send(taken) == S_OK) ++taken;
        });
        while (taken < 5) std::this_thread::yield();
        EXPECT_EQ(rig.bare.graph.Stop(), S_OK);
        sender.join();
        EXPECT_EQ(rig.frames(), compressedBut(taken));
        EXPECT_EQ(rig.content().faults, std::vector<std::string>());
        EXPECT_EQ(rig.bare.events(EC_ERRORABORT), std::vector<HRESULT>());
    }
}

}  // namespace compressor_filter_test
}  // namespace vexcap
