#include "source/video_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "base/dib.h"
#include "source/source_testing.h"
#include "source/video_layout.h"

namespace vexcap {
namespace video_converter_test {

using test::Arrived;
using test::SampleSink;

constexpr const char* fourccs[] = {"YUY2", "UYVY", "NV12", "MJPG", "Y800", "Y10 ", "Y12 ", "Y16 ", "RGGB",
                                   "GRBG", "GBRG", "BGGR", "RG10", "BA10", "GB10", "BG10", "RG12", "BA12",
                                   "GB12", "BG12", "RG16", "GR16", "GB16", "BYR2", "BGR3", "RGB3"};

uint32_t codeOf(const char* name) {
    return uint32_t(name[0]) | uint32_t(name[1]) << 8 | uint32_t(name[2]) << 16 | uint32_t(name[3]) << 24;
}

/// A decoder whose compressed pictures are one byte, which fills the picture; 0xFF is a broken one.
struct ByteDecoder final : IPictureDecoder {
    Status Decode(std::span<const std::byte> compressed, std::span<std::byte> picture) override {
        if (compressed[0] == std::byte(0xFF)) return E_FAIL;
        std::fill(picture.begin(), picture.end(), compressed[0]);
        return S_OK;
    }
};

struct DecoderMedia final : IMedia {
    std::vector<Compressor> Compressors() override { return {}; }
    Result<std::unique_ptr<ICompressor>> OpenCompressor(std::u16string_view, const CompressorSettings&) override {
        return VEX_E_NO_MODULE;
    }
    Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t code, uint32_t w, uint32_t h) override {
        if (result < 0) return result;
        opened.push_back({code, w, h});
        return std::unique_ptr<IPictureDecoder>(std::make_unique<ByteDecoder>());
    }
    Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view) override { return VEX_E_NO_MODULE; }

    HRESULT result = S_OK;
    std::vector<std::array<uint32_t, 3>> opened;
};

/// Gives samples of one type when a test says so.
class TypedSource final : public CBaseFilter {
public:
    explicit TypedSource(MediaType offered) : pin(*this, std::move(offered)) {}
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }
    HRESULT send(std::span<const uint8_t> bytes, int64_t start) {
        const auto sample = pin.GetDeliveryBuffer(0);
        if (!sample.ok()) return sample.code();
        std::copy(bytes.begin(), bytes.end(), sample.value()->GetPointer());
        EXPECT_TRUE(sample.value()->SetActualDataLength(bytes.size()).ok());
        sample.value()->SetTime(start, start + 10);
        sample.value()->SetSyncPoint(true);
        return pin.Deliver(*sample.value());
    }

private:
    ~TypedSource() override = default;
    class Pin final : public CBaseOutputPin {
    public:
        Pin(CBaseFilter& owner, MediaType offered) : CBaseOutputPin(owner, u"Out"), only(std::move(offered)) {}
        HRESULT GetMediaType(int32_t position, MediaType* out) override {
            return position == 0 ? (*out = only, S_OK) : VFW_S_NO_MORE_ITEMS;
        }
        HRESULT CheckMediaType(const MediaType*) override { return S_OK; }

    private:
        HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties&) override {
            return pool.SetProperties({2, std::max<size_t>(only.sampleSize, 4096)}).code();
        }
        const MediaType only;
    };
    Pin pin;
};

/// A converter between a source of one type and a sink.
struct Line {
    Line(const char* name, uint32_t w, uint32_t h, IMedia& media) : width(w), height(h) {
        picture = *videoPicture(codeOf(name), w, h);
        const MediaType type = videoType(picture, 400'000, 4096);
        source = makeRef<TypedSource>(type);
        converter = makeVideoConverter(media, type);
        if (!converter) throw std::runtime_error(name);
        EXPECT_EQ(test::outputOf(*source).Connect(static_cast<CBaseInputPin&>(*converter->GetPin(0))), S_OK);
        EXPECT_EQ(test::outputOf(*converter, 1).Connect(sink->Input()), S_OK);
    }
    ~Line() {
        sink->Stop();
        converter->Stop();
        source->Stop();
        test::disconnect(test::outputOf(*source));
        test::disconnect(test::outputOf(*converter, 1));
    }
    HRESULT run() {
        for (CBaseFilter* filter :
             {static_cast<CBaseFilter*>(sink.get()), converter.get(), static_cast<CBaseFilter*>(source.get())})
            if (const HRESULT result = filter->Run(0); result < 0) return result;
        return S_OK;
    }
    /// One picture of the sink, rows first to last, 3 bytes a pixel without padding.
    std::vector<uint8_t> rowsOf(const Arrived& sample) const {
        const size_t stride = dibStride(width, 3);
        EXPECT_EQ(sample.bytes.size(), stride * height);
        std::vector<uint8_t> rows;
        for (uint32_t y = height; y-- > 0;) {
            const uint8_t* const row = sample.bytes.data() + y * stride;
            rows.insert(rows.end(), row, row + size_t(width) * 3);
        }
        return rows;
    }

    const uint32_t width, height;
    VideoPicture picture;
    Ref<TypedSource> source;
    Ref<CBaseFilter> converter;
    Ref<SampleSink> sink = makeRef<SampleSink>();
};

std::vector<uint8_t> noise(size_t count) {
    std::mt19937 numbers(static_cast<uint32_t>(count));
    std::vector<uint8_t> bytes(count);
    for (uint8_t& byte : bytes) byte = uint8_t(numbers());
    return bytes;
}

/// What each layout means, said by the plain loops, rows first to last.
std::vector<uint8_t> meaning(const VideoPicture& p, const std::vector<uint8_t>& from) {
    const auto* const from16 = reinterpret_cast<const uint16_t*>(from.data());
    std::vector<uint8_t> to(size_t(p.width) * 3 * p.height);
    const ptrdiff_t out = ptrdiff_t(p.width) * 3;
    const PixelKernels& k = plainKernels;
    const uint32_t w = p.width, h = p.height;
    const ptrdiff_t pairs = ptrdiff_t(w + 1) / 2;
    const std::string name(reinterpret_cast<const char*>(&p.layout->fourcc), 4);
    const auto mosaicOf = [&](const char* first, const char* second, const char* third) {
        if (name == first) return Mosaic::Rggb;
        return name == second ? Mosaic::Grbg : name == third ? Mosaic::Gbrg : Mosaic::Bggr;
    };
    if (name == "YUY2") k.yuyvToBgr24(to.data(), out, from.data(), pairs * 4, w, h);
    if (name == "UYVY") k.uyvyToBgr24(to.data(), out, from.data(), pairs * 4, w, h);
    if (name == "NV12")
        k.nv12ToBgr24(to.data(), out, from.data(), pairs * 2, from.data() + pairs * 2 * ptrdiff_t(h), pairs * 2, w, h);
    if (name == "Y800") k.mono8ToBgr24(to.data(), out, from.data(), w, w, h);
    if (name == "Y10 ") k.mono16ToBgr24(to.data(), out, from16, 2 * ptrdiff_t(w), w, h, 10);
    if (name == "Y12 ") k.mono16ToBgr24(to.data(), out, from16, 2 * ptrdiff_t(w), w, h, 12);
    if (name == "Y16 ") k.mono16ToBgr24(to.data(), out, from16, 2 * ptrdiff_t(w), w, h, 16);
    if (name == "RGGB" || name == "GRBG" || name == "GBRG" || name == "BGGR")
        k.bayer8ToBgr24(to.data(), out, from.data(), w, w, h, mosaicOf("RGGB", "GRBG", "GBRG"));
    for (const char* ten : {"RG10", "BA10", "GB10", "BG10"})
        if (name == ten)
            k.bayer16ToBgr24(to.data(), out, from16, 2 * ptrdiff_t(w), w, h, mosaicOf("RG10", "BA10", "GB10"), 10);
    for (const char* twelve : {"RG12", "BA12", "GB12", "BG12"})
        if (name == twelve)
            k.bayer16ToBgr24(to.data(), out, from16, 2 * ptrdiff_t(w), w, h, mosaicOf("RG12", "BA12", "GB12"), 12);
    for (const char* sixteen : {"RG16", "GR16", "GB16", "BYR2"})
        if (name == sixteen)
            k.bayer16ToBgr24(to.data(), out, from16, 2 * ptrdiff_t(w), w, h, mosaicOf("RG16", "GR16", "GB16"), 16);
    if (name == "RGB3") k.rgb24ToBgr24(to.data(), out, from.data(), out, w, h);
    if (name == "BGR3")
        for (uint32_t y = 0; y < h; ++y)
            std::copy_n(from.data() + y * dibStride(w, 3), out, to.data() + ptrdiff_t(y) * out);
    return to;
}

TEST(VideoConverter, EveryLayoutArrivesBottomUpAsItsPixelsMean) {
    DecoderMedia media;
    for (const char* name : fourccs) {
        if (name == std::string("MJPG")) continue;
        for (const auto& [w, h] : {std::pair(64u, 6u), {37u, 5u}, {2u, 2u}, {18u, 3u}}) {
            SCOPED_TRACE(std::string(name) + " " + std::to_string(w) + "x" + std::to_string(h));
            Line line(name, w, h, media);
            ASSERT_EQ(line.run(), S_OK);
            std::vector<uint8_t> from = noise(line.picture.Bytes());
            // Some samples of the low-aligned layouts lie beyond their depth on purpose: a device may lie.
            ASSERT_EQ(line.source->send(from, 70), S_OK);
            ASSERT_EQ(line.sink->count(), 1u);
            const Arrived arrived = line.sink->arrived()[0];
            EXPECT_EQ(line.rowsOf(arrived), meaning(line.picture, from));
            EXPECT_EQ(arrived.start, 70);
            EXPECT_EQ(arrived.stop, 80);
            EXPECT_TRUE(arrived.syncPoint);
        }
    }
    EXPECT_TRUE(media.opened.empty());
}

TEST(VideoConverter, ItsTypeIsRgb24BottomUpOfTheSameSizeAndRate) {
    DecoderMedia media;
    Line line("YUY2", 37, 5, media);
    MediaType type;
    ASSERT_EQ(line.converter->GetPin(1)->GetMediaType(0, &type), S_OK);
    vex_bitmap_header bitmap = {};
    ASSERT_TRUE(type.GetBitmapHeader(bitmap));
    EXPECT_TRUE(type.subtype == MEDIASUBTYPE_RGB24);
    EXPECT_EQ(bitmap.biWidth, 37);
    EXPECT_EQ(bitmap.biHeight, 5);
    EXPECT_EQ(bitmap.biSizeImage, 112u * 5);
    EXPECT_EQ(type.AverageTimePerFrame(), 400'000);
    EXPECT_EQ(line.converter->GetPin(1)->GetMediaType(1, &type), VFW_S_NO_MORE_ITEMS);
}

TEST(VideoConverter, CompressedPicturesGoThroughTheDecoder) {
    DecoderMedia media;
    Line line("MJPG", 6, 4, media);
    ASSERT_EQ(line.run(), S_OK);
    ASSERT_EQ(media.opened.size(), 1u);
    EXPECT_EQ(media.opened[0], (std::array<uint32_t, 3>{fourcc("MJPG"), 6, 4}));
    const uint8_t compressed = 0x21;
    ASSERT_EQ(line.source->send({&compressed, 1}, 5), S_OK);
    EXPECT_EQ(line.sink->arrived().at(0).bytes, std::vector<uint8_t>(20 * 4, 0x21));
}

TEST(VideoConverter, ABrokenPictureIsDroppedAndTheNextOneTellsOfIt) {
    DecoderMedia media;
    Line line("MJPG", 6, 4, media);
    ASSERT_EQ(line.run(), S_OK);
    for (const uint8_t compressed : {uint8_t(1), uint8_t(0xFF), uint8_t(2), uint8_t(3)})
        EXPECT_EQ(line.source->send({&compressed, 1}, compressed), S_OK);
    const auto arrived = line.sink->arrived();
    ASSERT_EQ(arrived.size(), 3u);
    EXPECT_EQ(arrived[1].bytes[0], 2);
    EXPECT_FALSE(arrived[0].discontinuity);
    EXPECT_TRUE(arrived[1].discontinuity);
    EXPECT_FALSE(arrived[2].discontinuity);
}

TEST(VideoConverter, ASampleShorterThanAPictureIsDropped) {
    DecoderMedia media;
    for (const char* name : fourccs) {
        if (name == std::string("MJPG")) continue;
        Line line(name, 6, 4, media);
        ASSERT_EQ(line.run(), S_OK);
        const std::vector<uint8_t> whole = noise(line.picture.Bytes());
        EXPECT_EQ(line.source->send(std::span(whole).first(whole.size() - 1), 0), S_OK);
        EXPECT_EQ(line.source->send({}, 0), S_OK);
        EXPECT_EQ(line.sink->count(), 0u) << name;
        EXPECT_EQ(line.source->send(whole, 0), S_OK);
        EXPECT_EQ(line.sink->count(), 1u) << name;
    }
}

TEST(VideoConverter, WithoutADecoderItRefusesToPause) {
    DecoderMedia media;
    media.result = VEX_E_NO_MODULE;
    Line line("MJPG", 6, 4, media);
    EXPECT_EQ(line.converter->Pause(), VEX_E_NO_MODULE);
    media.result = S_OK;
    EXPECT_EQ(line.run(), S_OK);
}

TEST(VideoConverter, AFrameTakesNothingFromTheHeap) {
    DecoderMedia media;
    Line line("YUY2", 64, 48, media);
    line.sink->countOnly();
    ASSERT_EQ(line.run(), S_OK);
    const std::vector<uint8_t> from = noise(line.picture.Bytes());
    ASSERT_EQ(line.source->send(from, 0), S_OK);
    const size_t before = allocations();
    for (int i = 1; i < 1000; ++i) line.source->send(from, i);
    EXPECT_EQ(allocations(), before);
    EXPECT_EQ(line.sink->count(), 1000u);
}

TEST(VideoConverter, ThereIsNoneForOtherTypes) {
    DecoderMedia media;
    EXPECT_FALSE(makeVideoConverter(media, MediaType{}));
    EXPECT_FALSE(makeVideoConverter(media, rgb24Type(6, 4, 0)));  // stands as it is to be
    MediaType other = videoType(*videoPicture(fourcc("YUY2"), 6, 4), 0, 0);
    EXPECT_TRUE(makeVideoConverter(media, other));
    other.major = MEDIATYPE_Stream;
    EXPECT_FALSE(makeVideoConverter(media, other));
    other.major = MEDIATYPE_Video;
    other.subtype = subtypeOf(fourcc("I420"));
    EXPECT_FALSE(makeVideoConverter(media, other));  // subtype and code disagree
    other.subtype = subtypeOf(fourcc("YUY2"));
    other.format.resize(87);
    EXPECT_FALSE(makeVideoConverter(media, other));
}

TEST(VideoConverter, SizesThatNoFrameCouldHaveAreRefused) {
    for (const auto& [w, h] : {std::pair(0u, 4u), {4u, 0u}, {1u << 20, 1u << 20}, {UINT32_MAX, 1u}, {1u, UINT32_MAX}})
        EXPECT_FALSE(videoPicture(fourcc("YUY2"), w, h)) << w << " " << h;
    EXPECT_FALSE(videoPicture(fourcc("RGGB"), 1, 4));  // less than one cell of the mosaic
    EXPECT_FALSE(videoPicture(fourcc("RG16"), 4, 1));
    EXPECT_TRUE(videoPicture(fourcc("Y800"), 1, 1));
    EXPECT_FALSE(videoPicture(fourcc("I420"), 4, 4));
}

TEST(VideoLayout, EveryLayoutIsFoundAgainInItsMediaType) {
    for (const char* name : fourccs) {
        const auto picture = videoPicture(codeOf(name), 37, 5);
        ASSERT_TRUE(picture) << name;
        const MediaType type = videoType(*picture, 333'333, 9999);
        const auto found = pictureOf(type);
        ASSERT_TRUE(found) << name;
        EXPECT_EQ(found->layout, picture->layout);
        EXPECT_EQ(found->width, 37u);
        EXPECT_EQ(found->height, 5u);
        EXPECT_EQ(type.AverageTimePerFrame(), 333'333);
        vex_bitmap_header bitmap = {};
        ASSERT_TRUE(type.GetBitmapHeader(bitmap));
        const bool plain = name == std::string("BGR3"), compressed = name == std::string("MJPG");
        EXPECT_TRUE(type.subtype == (plain ? MEDIASUBTYPE_RGB24 : subtypeOf(codeOf(name)))) << name;
        EXPECT_EQ(bitmap.biCompression, plain ? 0 : codeOf(name));
        EXPECT_EQ(bitmap.biHeight, plain ? -5 : 5);
        EXPECT_EQ(bitmap.biSizeImage, compressed ? 9999u : picture->Bytes()) << name;
        EXPECT_EQ(type.fixedSize, !compressed);
    }
}

TEST(VideoLayout, BytesOfAPicture) {
    const auto bytesOf = [](const char* name) { return videoPicture(codeOf(name), 37, 5)->Bytes(); };
    EXPECT_EQ(bytesOf("YUY2"), 76u * 5);  // the last pair is whole
    EXPECT_EQ(bytesOf("NV12"), 38u * 8);  // five rows of luma, three of colour
    EXPECT_EQ(bytesOf("Y800"), 37u * 5);
    EXPECT_EQ(bytesOf("RG12"), 74u * 5);
    EXPECT_EQ(bytesOf("RGB3"), 111u * 5);
    EXPECT_EQ(bytesOf("BGR3"), 112u * 5);  // at the DIB stride
    EXPECT_EQ(bytesOf("MJPG"), 0u);
}

}  // namespace video_converter_test
}  // namespace vexcap
