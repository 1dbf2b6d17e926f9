#include "overlay/marker_filter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "base/dib.h"
#include "graph/testing/graphs.h"
#include "graph/testing/kept_samples.h"
#include "graph/testing/sent_samples.h"
#include "platform/fake/allocations.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_date_text.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_text_raster.h"

namespace vexcap {
namespace marker_filter_test {

using test::Times;
using Picture = std::vector<std::byte>;

constexpr uint32_t width = 5, height = 3;  // rows with a byte of padding
constexpr size_t stride = 16;
static_assert(dibStride(width, 3) == stride);

uint8_t& at(Picture& picture, uint32_t x, uint32_t y, uint32_t channel) {
    return reinterpret_cast<uint8_t&>(picture[y * stride + x * 3 + channel]);
}

/// Every byte is another one, that of the padding, too.
Picture picture(uint32_t seed = 0) {
    Picture made(stride * height);
    for (size_t i = 0; i < made.size(); ++i) made[i] = std::byte(uint8_t(i * 5 + seed));
    return made;
}

/// Each pixel as `channelOf` makes its channels.
template <typename Function>
Picture drawn(Picture from, Function channelOf) {
    const Picture before = from;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            for (uint32_t c = 0; c < 3; ++c) {
                Picture copy = before;
                at(from, x, y, c) = channelOf(copy, x, y, c);
            }
    return from;
}
Picture mirrored(const Picture& from) {
    return drawn(from, [](Picture& p, uint32_t x, uint32_t y, uint32_t c) { return at(p, width - 1 - x, y, c); });
}
Picture turnedOver(const Picture& from) {
    return drawn(from, [](Picture& p, uint32_t x, uint32_t y, uint32_t c) { return at(p, x, height - 1 - y, c); });
}
Picture grey(const Picture& from) {
    return drawn(from, [](Picture& p, uint32_t x, uint32_t y, uint32_t) {
        const auto part = [&](uint32_t c, double weight) { return uint32_t(at(p, x, y, c) * weight); };
        return uint8_t((part(0, 14.592) + part(1, 75.136) + part(2, 38.272)) >> 7);
    });
}
Picture complemented(const Picture& from) {
    return drawn(from, [](Picture& p, uint32_t x, uint32_t y, uint32_t c) { return uint8_t(~at(p, x, y, c)); });
}
/// The pixels alone: what lies between two rows is nobody's.
Picture pixelsOf(const Picture& from) {
    Picture made;
    for (uint32_t y = 0; y < height; ++y)
        made.insert(made.end(), from.begin() + ptrdiff_t(y * stride), from.begin() + ptrdiff_t(y * stride + width * 3));
    return made;
}

/// What a filter needs of the system.
struct Ports {
    operator OverlayPorts() { return {texts, dates, clock, disk}; }
    FakeTextRaster texts;
    FakeDateText dates;
    FakeClock clock;
    FakeDisk disk;
};

struct FilterRig {
    explicit FilterRig(uint32_t bytesPerPixel = 3) : filter(makeRef<CMarkerFilter>(bytesPerPixel, ports)) {
        bare.graph.AddFilter(source, u"source");
        bare.graph.AddFilter(filter, u"CaptureMarkerFilter");
        bare.graph.AddFilter(kept, u"kept");
        EXPECT_EQ(bare.graph.ConnectDirect(source->Output(), filter->Input()), S_OK);
        EXPECT_EQ(bare.graph.ConnectDirect(filter->Output(), kept->Input()), S_OK);
        EXPECT_EQ(bare.graph.Run(), S_OK);
    }
    /// What became of a picture.
    Picture passed(const Picture& sent) {
        EXPECT_EQ(source->send(sent), S_OK);
        const auto samples = kept->samples();
        return samples.empty() ? Picture() : pixelsOf(samples.back().bytes);
    }

    Ports ports;
    Ref<test::SentStream> source = makeRef<test::SentStream>(rgb24Type(width, height, 400'000));
    Ref<CMarkerFilter> filter;
    Ref<test::KeptStream> kept = makeRef<test::KeptStream>();
    test::BareGraph bare;
};

TEST(MarkerFilter, AnswersForItsInterfacesAndNoOther) {
    FilterRig rig;
    const vex_guid markerConfig = {0x54DBE4AE, 0xA494, 0x4717, {0x8C, 0x4C, 0x61, 0xCF, 0x40, 0x90, 0xED, 0x80}};
    const vex_guid dfc = {0xD6A10F20, 0x1587, 0x4C36, {0xA1, 0x46, 0x7F, 0x0F, 0xE6, 0xFD, 0x5E, 0x75}};
    const vex_guid classId = {0xEF01A0C1, 0x720B, 0x4D56, {0xA5, 0x90, 0x22, 0x90, 0x8A, 0xA4, 0x2D, 0x93}};
    EXPECT_TRUE(CMarkerFilter::classId == classId);
    void* out = nullptr;
    ASSERT_EQ(rig.filter->QueryInterface(markerConfig, &out), S_OK);
    EXPECT_EQ(out, static_cast<IMarkerConfig*>(rig.filter.get()));
    rig.filter->Release();
    ASSERT_EQ(rig.filter->QueryInterface(dfc, &out), S_OK);
    EXPECT_EQ(out, static_cast<IDfc*>(rig.filter.get()));
    rig.filter->Release();
    EXPECT_EQ(rig.filter->QueryInterface(IAMFilterMiscFlags::iid, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST(MarkerFilter, AReferenceThroughAnyInterfaceKeepsItAlive) {
    Ports ports;
    auto filter = makeRef<CMarkerFilter>(3, ports);
    auto config = queryInterface<IMarkerConfig>(filter);
    filter = nullptr;
    EXPECT_EQ(config->SetChrome(1), S_OK);
    EXPECT_EQ(config->AddRef(), 2u);
    EXPECT_EQ(config->Release(), 1u);
}

TEST(MarkerFilter, TellsByItsCodeWhyATypeIsRefused) {
    Ports ports;
    const auto filter = makeRef<CMarkerFilter>(3, ports);
    const auto verdict = [&](auto change) {
        MediaType type = rgb24Type(width, height, 0);
        change(type);
        return filter->Input().CheckMediaType(&type);
    };
    EXPECT_EQ(filter->Input().CheckMediaType(nullptr), E_POINTER);
    EXPECT_EQ(verdict([](MediaType&) {}), S_OK);
    EXPECT_EQ(verdict([](MediaType& t) { t.major = MEDIATYPE_Stream; }), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict([](MediaType& t) { t.subtype = subtypeOf(fourcc("YUY2")); }), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict([](MediaType& t) { t.formatType = FORMAT_VideoInfo2; }), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(verdict([](MediaType& t) { t.format.clear(); }), E_UNEXPECTED);
    EXPECT_EQ(verdict([](MediaType& t) { t.format.resize(t.format.size() - 1); }), E_UNEXPECTED);
    constexpr size_t bits = offsetof(VideoInfoHeader, bitmap) + offsetof(vex_bitmap_header, biBitCount);
    EXPECT_EQ(verdict([](MediaType& t) { t.format[bits] = 32; }), VFW_E_TYPE_NOT_ACCEPTED);
}

TEST(MarkerFilter, AnInputOf32BitsIsRefusedAtConnection) {
    Ports ports;
    MediaType type = rgb24Type(width, height, 0);
    type.format[offsetof(VideoInfoHeader, bitmap) + offsetof(vex_bitmap_header, biBitCount)] = 32;
    const auto source = makeRef<test::SentStream>(type);
    const auto filter = makeRef<CMarkerFilter>(3, ports);
    EXPECT_EQ(source->Output().Connect(filter->Input()), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_FALSE(filter->Input().IsConnected());
}

TEST(MarkerFilter, AFrameThatNothingIsSetForPassesAsItCame) {
    FilterRig rig;
    ASSERT_EQ(rig.source->send(picture(), Times({3, 7})), S_OK);
    const auto samples = rig.kept->samples();
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_EQ(samples[0].bytes, picture());
    EXPECT_EQ(samples[0].times, Times({3, 7}));
}

TEST(MarkerFilter, ADividerKeepsOneFrameInSoManyAndTheFirstAlways) {
    for (const uint32_t divider : {1u, 2u, 3u, 7u}) {
        FilterRig rig;
        EXPECT_EQ(rig.filter->SetFrameDivider(divider), S_OK);
        for (uint32_t i = 0; i < 9; ++i) EXPECT_EQ(rig.source->send(picture(i)), S_OK);
        const auto samples = rig.kept->samples();
        ASSERT_EQ(samples.size(), (9 + divider - 1) / divider);
        for (uint32_t i = 0; i < samples.size(); ++i) EXPECT_EQ(samples[i].bytes, picture(i * divider));
    }
}

TEST(MarkerFilter, ADividerOfNothingKeepsEachFrame) {
    FilterRig rig;
    EXPECT_EQ(rig.filter->SetFrameDivider(0), S_OK);
    for (uint32_t i = 0; i < 4; ++i) ASSERT_EQ(rig.source->send(picture(i), Times({100, 200})), S_OK);
    ASSERT_EQ(rig.kept->samples().size(), 4u);
    EXPECT_EQ(rig.kept->samples()[3].times, Times({100, 200}));
}

TEST(MarkerFilter, TimesOfKeptFramesAreDividedAndCutOff) {
    FilterRig rig;
    rig.filter->SetFrameDivider(3);
    const Times times[] = {Times({100, 200}),          {}, {}, Times({-100, -1}), {}, {}, {}, {}, {},
                           Times({2, 300'000'000'001})};
    for (const Times& each : times) ASSERT_EQ(rig.source->send(picture(), each), S_OK);
    const auto samples = rig.kept->samples();
    ASSERT_EQ(samples.size(), 4u);
    EXPECT_EQ(samples[0].times, Times({33, 66}));
    EXPECT_EQ(samples[1].times, Times({-33, 0}));
    EXPECT_EQ(samples[2].times, Times()) << "a frame without times gets none";
    EXPECT_EQ(samples[3].times, Times({0, 100'000'000'000}));
}

TEST(MarkerFilter, FramesAreCountedOverItsWholeLife) {
    FilterRig rig;
    rig.filter->SetFrameDivider(3);
    rig.source->send(picture(0));
    ASSERT_EQ(rig.bare.graph.Stop(), S_OK);
    ASSERT_EQ(rig.bare.graph.Run(), S_OK);
    for (uint32_t i = 1; i < 4; ++i) rig.source->send(picture(i));
    const auto samples = rig.kept->samples();
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_EQ(samples[1].bytes, picture(3));
}

TEST(MarkerFilter, AFlipOfBothBitsChangesTheFirstAlone) {
    struct Call {
        uint32_t value, mask;
        bool mirrored, turned;
    };
    FilterRig rig;
    for (const Call& call : {Call{3, 3, true, false}, Call{3, 0, true, false}, Call{2, 2, true, true},
                             Call{0, 3, false, true}, Call{1, 2, false, false}, Call{1, 1, true, false},
                             Call{2, 1, false, false}, Call{0xFF, 0xFE, false, true}, Call{0, 4, false, true}}) {
        EXPECT_EQ(rig.filter->SetFlip(call.value, call.mask), S_OK);
        Picture expected = picture();
        if (call.mirrored) expected = mirrored(expected);
        if (call.turned) expected = turnedOver(expected);
        EXPECT_EQ(rig.passed(picture()), pixelsOf(expected)) << call.value << ", " << call.mask;
    }
}

TEST(MarkerFilter, GreyAndNegativeChangeEveryPixel) {
    FilterRig rig;
    EXPECT_EQ(rig.filter->SetChrome(7), S_OK);
    EXPECT_EQ(rig.passed(picture()), pixelsOf(grey(picture())));
    EXPECT_EQ(rig.filter->SetNegative(2), S_OK);
    EXPECT_EQ(rig.passed(picture()), pixelsOf(complemented(grey(picture()))));
    EXPECT_EQ(rig.filter->SetChrome(0), S_OK);
    EXPECT_EQ(rig.passed(picture()), pixelsOf(complemented(picture())));
    EXPECT_EQ(rig.filter->SetNegative(0), S_OK);
    EXPECT_EQ(rig.passed(picture()), pixelsOf(picture()));
}

TEST(MarkerFilter, TheDarkFieldComesFirst) {
    FilterRig rig;
    auto dark = std::make_unique<uint8_t[]>(width * height * 3);
    for (uint32_t i = 0; i < width * height * 3; ++i) dark[i] = uint8_t(i % 13);  // nothing in it is hot
    const Picture sent = picture(60);
    const std::vector<uint8_t> darkBytes(dark.get(), dark.get() + width * height * 3);
    const Picture corrected = drawn(sent, [&](Picture& p, uint32_t x, uint32_t y, uint32_t c) {
        return uint8_t(std::max(0, at(p, x, y, c) - darkBytes[(y * width + x) * 3 + c]));
    });
    IDfc& field = *rig.filter;
    ASSERT_EQ(field.SetDark(std::move(dark), width, height), S_OK);
    EXPECT_EQ(rig.passed(sent), pixelsOf(sent)) << "not enabled yet";
    ASSERT_EQ(field.Enable(1), S_OK);
    EXPECT_EQ(rig.passed(sent), pixelsOf(corrected));
    rig.filter->SetFlip(1, 1);
    rig.filter->SetFlip(2, 2);
    rig.filter->SetChrome(1);
    rig.filter->SetNegative(1);
    EXPECT_EQ(rig.passed(sent), pixelsOf(complemented(grey(turnedOver(mirrored(corrected))))));
}

TEST(MarkerFilter, TheRateIsThatOfAllFramesThatCame) {
    FilterRig rig;
    rig.filter->SetFrameDivider(5);
    rig.ports.clock.setMilliseconds(50'000);
    EXPECT_EQ(rig.filter->GetFrameRate(), 0u) << "no frame yet";
    rig.source->send(picture());
    EXPECT_EQ(rig.filter->GetFrameRate(), 0u) << "no time yet";
    rig.ports.clock.advance(1);
    EXPECT_EQ(rig.filter->GetFrameRate(), 1000u);
    for (int i = 0; i < 99; ++i) rig.source->send(picture());
    rig.ports.clock.advance(2999);
    EXPECT_EQ(rig.filter->GetFrameRate(), 33u);
}

TEST(MarkerFilter, TheRateOutlivesTheTurnOfTheTick) {
    FilterRig rig;
    rig.ports.clock.setMilliseconds(0xFFFFFF00u);
    for (int i = 0; i < 20; ++i) rig.source->send(picture());
    rig.ports.clock.setMilliseconds(0x1'0000'0000u + 0x100);
    EXPECT_EQ(rig.filter->GetFrameRate(), 20u * 1000 / 0x200);
}

TEST(MarkerFilter, AFirstFrameAtATickOfNothingLeavesTheNextOneToBeTheFirst) {
    FilterRig rig;
    rig.ports.clock.setMilliseconds(0);
    rig.source->send(picture());
    rig.ports.clock.setMilliseconds(500);
    EXPECT_EQ(rig.filter->GetFrameRate(), 0u);
    rig.source->send(picture());
    rig.ports.clock.setMilliseconds(1500);
    EXPECT_EQ(rig.filter->GetFrameRate(), 2u);
}

TEST(MarkerFilter, ASampleThatHoldsLessThanAPicturePassesAsItCame) {
    for (const uint32_t bytesPerPixel : {3u, 4u}) {
        FilterRig rig(bytesPerPixel);
        rig.filter->SetNegative(1);
        Picture sent = picture();
        if (bytesPerPixel == 3) sent.pop_back();
        ASSERT_EQ(rig.source->send(sent), S_OK);
        EXPECT_EQ(rig.kept->samples().back().bytes, sent);
    }
}

TEST(MarkerFilter, APictureFromTheTopDownPassesAsItCame) {
    Ports ports;
    const auto source = makeRef<test::SentStream>(rgb24Type(width, -int32_t(height), 0));
    const auto filter = makeRef<CMarkerFilter>(3, ports);
    const auto kept = makeRef<test::KeptStream>();
    test::BareGraph bare;
    bare.graph.AddFilter(source, u"source");
    bare.graph.AddFilter(filter, u"filter");
    bare.graph.AddFilter(kept, u"kept");
    ASSERT_EQ(bare.graph.ConnectDirect(source->Output(), filter->Input()), S_OK);
    ASSERT_EQ(bare.graph.ConnectDirect(filter->Output(), kept->Input()), S_OK);
    ASSERT_EQ(bare.graph.Run(), S_OK);
    filter->SetNegative(1);
    ASSERT_EQ(source->send(picture()), S_OK);
    EXPECT_EQ(kept->samples().back().bytes, picture());
}

/// Takes samples and lets them go.
class Drain final : public CBaseFilter {
public:
    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override { return index == 0 ? &pin : nullptr; }
    CBaseInputPin& Input() { return pin; }
    const uint8_t* last = nullptr;

private:
    class Pin final : public CBaseInputPin {
    public:
        explicit Pin(Drain& owner) : CBaseInputPin(owner, u"In"), drain(owner) {}
        HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
        HRESULT Receive(CMediaSample& sample) override {
            drain.last = sample.GetPointer();
            return S_OK;
        }

    private:
        Drain& drain;
    };
    Pin pin{*this};
};

TEST(MarkerFilter, AFrameIsChangedInPlaceAndTakesNothingFromTheHeap) {
    Ports ports;
    const auto source = makeRef<test::SentStream>(rgb24Type(width, height, 0), 1);
    const auto filter = makeRef<CMarkerFilter>(3, ports);
    const auto drain = makeRef<Drain>();
    test::BareGraph bare;
    bare.graph.AddFilter(source, u"source");
    bare.graph.AddFilter(filter, u"filter");
    bare.graph.AddFilter(drain, u"drain");
    ASSERT_EQ(bare.graph.ConnectDirect(source->Output(), filter->Input()), S_OK);
    ASSERT_EQ(bare.graph.ConnectDirect(filter->Output(), drain->Input()), S_OK);
    ASSERT_EQ(bare.graph.Run(), S_OK);
    filter->SetFlip(1, 1);
    filter->SetFlip(2, 2);
    filter->SetChrome(1);
    filter->SetNegative(1);
    filter->SetFrameDivider(2);
    auto dark = std::make_unique<uint8_t[]>(width * height * 3);
    static_cast<IDfc&>(*filter).SetDark(std::move(dark), width, height);
    static_cast<IDfc&>(*filter).Enable(1);
    const Picture sent = picture();
    ASSERT_EQ(source->send(sent), S_OK);
    const uint8_t* own = nullptr;
    {
        const auto sample = source->Output().GetDeliveryBuffer(AM_GBF_NOWAIT);  // of a pool of one
        ASSERT_TRUE(sample.ok());
        own = sample.value()->GetPointer();
    }
    EXPECT_EQ(drain->last, own) << "the sample of the source went through";
    const size_t before = allocations();
    for (int i = 0; i < 1000; ++i) source->send(sent, Times({i, i + 1}));
    EXPECT_EQ(allocations(), before);
}

TEST(MarkerFilter, SettingsMayChangeWhileFramesPass) {
    FilterRig rig;
    std::thread host([&] {
        for (uint32_t i = 0; i < 500; ++i) {
            rig.filter->SetFlip(i, 1 + i % 2);
            rig.filter->SetChrome(i & 1);
            rig.filter->SetNegative(i & 2);
            rig.filter->SetFrameDivider(i % 3);
            rig.filter->GetFrameRate();
            static_cast<IDfc&>(*rig.filter).Enable(i & 1);
        }
    });
    for (int i = 0; i < 500; ++i) EXPECT_EQ(rig.source->send(picture()), S_OK);
    host.join();
    EXPECT_GE(rig.kept->samples().size(), 166u);
}

}  // namespace marker_filter_test
}  // namespace vexcap
