#include "frame/vexcap_render.h"

#include <gtest/gtest.h>

#include "frame/sink_testing.h"
#include "graph/testing/graphs.h"
#include "graph/testing/sent_samples.h"
#include "platform/fake/allocations.h"

namespace vexcap::test {
namespace vexcap_render_test {

constexpr uint32_t width = 7, height = 4;
constexpr uint32_t stride = 24;

std::span<const std::byte> spanOf(const Bytes& bytes) { return std::as_bytes(std::span(bytes)); }

uint8_t& at(Bytes& bytes, uint32_t x, uint32_t y, uint32_t channel) { return bytes[y * stride + x * 3 + channel]; }

template <typename Function>
Bytes drawn(const Bytes& from, Function channelOf) {
    Bytes made = from, source = from;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            for (uint32_t c = 0; c < 3; ++c) at(made, x, y, c) = channelOf(source, x, y, c);
    return made;
}
Bytes mirrored(const Bytes& from) {
    return drawn(from, [](Bytes& p, uint32_t x, uint32_t y, uint32_t c) { return at(p, width - 1 - x, y, c); });
}
Bytes turnedOver(const Bytes& from) {
    return drawn(from, [](Bytes& p, uint32_t x, uint32_t y, uint32_t c) { return at(p, x, height - 1 - y, c); });
}
Bytes grey(const Bytes& from) {
    return drawn(from, [](Bytes& p, uint32_t x, uint32_t y, uint32_t) {
        const auto part = [&](uint32_t c, double weight) { return uint32_t(at(p, x, y, c) * weight); };
        return uint8_t((part(0, 14.592) + part(1, 75.136) + part(2, 38.272)) >> 7);
    });
}
Bytes complemented(const Bytes& from) {
    return drawn(from, [](Bytes& p, uint32_t x, uint32_t y, uint32_t c) { return uint8_t(~at(p, x, y, c)); });
}
Bytes without(const Bytes& from, const Bytes& dark) {
    return drawn(from, [&](Bytes& p, uint32_t x, uint32_t y, uint32_t c) {
        return uint8_t(std::max(0, at(p, x, y, c) - dark[(y * width + x) * 3 + c]));
    });
}
/// Zero between the rows, so that pictures can be compared whole.
Bytes clean(Bytes bytes) {
    for (uint32_t y = 0; y < height; ++y)
        std::fill_n(bytes.begin() + ptrdiff_t(y * stride + width * 3), stride - width * 3, uint8_t(0));
    return bytes;
}

MediaType videoInfo2Type(int32_t w, int32_t h) {
    const MediaType one = rgb24Type(w, h, 0);
    MediaType two = one;
    two.formatType = FORMAT_VideoInfo2;
    two.format.assign(72 + sizeof(vex_bitmap_header), 0);
    std::memcpy(two.format.data() + 72, one.format.data() + 48, sizeof(vex_bitmap_header));
    return two;
}

struct RenderRig {
    explicit RenderRig(bool running = true) {
        bare.graph.AddFilter(source, u"source");
        bare.graph.AddFilter(render, u"VexcapRender");
        if (!running) return;
        EXPECT_EQ(bare.graph.ConnectDirect(source->Output(), Input()), S_OK);
        EXPECT_EQ(bare.graph.Run(), S_OK);
    }
    CBaseInputPin& Input() { return static_cast<CBaseInputPin&>(*render->GetPin(0)); }
    /// What is shown of a picture.
    Bytes shown(const Bytes& pixels) {
        EXPECT_EQ(source->send(spanOf(pixels)), S_OK);
        return clean(imageOf(*render));
    }
    std::pair<uint32_t, uint32_t> size() {
        uint32_t w = 77, h = 77;
        render->GetVideoSize(&w, &h);
        return {w, h};
    }

    FakeClock clock;
    FakeTextures textures;
    FakeDisk disk;
    Ref<SentStream> source = makeRef<SentStream>(rgb24Type(width, height, 400'000));
    Ref<CVexcapRender> render = makeRef<CVexcapRender>(clock, textures, disk);
    BareGraph bare;
};

TEST(VexcapRender, AnswersForItsInterfacesAndNoOther) {
    RenderRig rig(false);
    const vex_guid classId = {0xF40C5C1F, 0x26AF, 0x4051, {0xBD, 0x42, 0x13, 0x1F, 0x68, 0x5B, 0x3B, 0xE5}};
    EXPECT_TRUE(CVexcapRender::classId == classId);
    struct Known {
        vex_guid iid;
        void* expected;
    };
    CVexcapRender* const render = rig.render.get();
    for (const Known& each :
         {Known{IID_IFrameInfo, static_cast<IFrameInfo*>(render)}, Known{IID_IDfc, static_cast<IDfc*>(render)},
          Known{IAMFilterMiscFlags::iid, static_cast<IAMFilterMiscFlags*>(render)},
          Known{IMediaSeeking::iid, static_cast<IMediaSeeking*>(render)}}) {
        void* out = nullptr;
        ASSERT_EQ(render->QueryInterface(each.iid, &out), S_OK);
        EXPECT_EQ(out, each.expected);
        render->Release();
    }
    void* out = render;
    EXPECT_EQ(render->QueryInterface(IAMDroppedFrames::iid, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(render->QueryInterface(IID_IDfc, nullptr), E_POINTER);
    EXPECT_EQ(static_cast<IAMFilterMiscFlags*>(render)->GetMiscFlags(), 1u);
}

TEST(VexcapRender, LivesByItsReferencesWhicheverInterfaceTakesThem) {
    FakeClock clock;
    FakeTextures textures;
    FakeDisk disk;
    auto render = makeRef<CVexcapRender>(clock, textures, disk);
    IFrameInfo* const info = render.get();
    IDfc* const dfc = render.get();
    EXPECT_EQ(info->AddRef(), 2u);
    EXPECT_EQ(dfc->AddRef(), 3u);
    EXPECT_EQ(static_cast<IVexUnknown*>(dfc)->Release(), 2u);
    render = nullptr;
    EXPECT_EQ(info->PutChrome(1), S_OK);
    EXPECT_EQ(info->Release(), 0u);
}

TEST(VexcapRender, TakesPlainPicturesOf24BitsInEitherFormatBlock) {
    RenderRig rig(false);
    for (const MediaType& type : {rgb24Type(width, height, 0), videoInfo2Type(width + 1, height + 1)}) {
        vex_bitmap_header bitmap;
        ASSERT_TRUE(type.GetBitmapHeader(bitmap));
        EXPECT_EQ(rig.Input().CheckMediaType(&type), S_OK);
        EXPECT_EQ(rig.size(), std::pair(uint32_t(bitmap.biWidth), uint32_t(bitmap.biHeight)))
            << "what is accepted sets the size";
    }
    const MediaType smallest = rgb24Type(1, 1, 0);
    EXPECT_EQ(rig.Input().CheckMediaType(&smallest), S_OK);
}

TEST(VexcapRender, ATypeThatIsRefusedLeavesTheSizeUntouched) {
    RenderRig rig(false);
    const MediaType good = rgb24Type(width, height, 0);
    ASSERT_EQ(rig.Input().CheckMediaType(&good), S_OK);
    const auto refuse = [&](const char* what, auto change, MediaType type = rgb24Type(100, 50, 0)) {
        change(type);
        EXPECT_EQ(rig.Input().CheckMediaType(&type), E_INVALIDARG) << what;
        EXPECT_EQ(rig.size(), std::pair(width, height)) << what;
    };
    constexpr size_t bitmapAt = offsetof(VideoInfoHeader, bitmap);
    EXPECT_EQ(rig.Input().CheckMediaType(nullptr), E_INVALIDARG);
    refuse("major type", [](MediaType& t) { t.major = MEDIATYPE_Stream; });
    refuse("no format block", [](MediaType& t) { t.format.clear(); });
    refuse("short format block", [](MediaType& t) { t.format.pop_back(); });
    refuse(
        "short second format block", [](MediaType& t) { t.format.pop_back(); }, videoInfo2Type(100, 50));
    refuse("another format type", [](MediaType& t) { t.formatType = FORMAT_MPEGVideo; });
    refuse("no format type", [](MediaType& t) { t.formatType = {}; });
    refuse("32 bits", [](MediaType& t) { t.format[bitmapAt + offsetof(vex_bitmap_header, biBitCount)] = 32; });
    refuse("compression", [](MediaType& t) { t.format[bitmapAt + offsetof(vex_bitmap_header, biCompression)] = 3; });
    refuse("top-down", [](MediaType& t) { t = rgb24Type(100, -50, 0); });
    refuse("no width", [](MediaType& t) { t = rgb24Type(0, 50, 0); });
    refuse("negative width", [](MediaType& t) { t = rgb24Type(-1, 50, 0); });
    refuse("no height", [](MediaType& t) { t = rgb24Type(100, 0, 0); });
}

TEST(VexcapRender, ShowsASampleAndHandsItOnAsItCame) {
    RenderRig rig;
    FakeWindow window;
    FrameCalls calls;
    rig.render->SetNotify(window.native(), frameMessage, recordFrame, &calls);
    rig.render->SetSizeNotify(window.native(), sizeMessage);
    EXPECT_EQ(rig.shown(picture(width, height, 1)), clean(picture(width, height, 1)));
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].width, width);
    EXPECT_EQ(calls[0].height, height);
    const auto messages = window.messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].message, frameMessage);
    EXPECT_EQ(messages[1].message, sizeMessage);
    EXPECT_EQ(messages[1].wparam, (height << 16) | width);
    EXPECT_EQ(messages[1].lparam, 0);
    uint32_t frames = 0, milliseconds = 0, total = 0;
    EXPECT_EQ(rig.render->GetFrameRate(&frames, &milliseconds, &total), S_OK);
    EXPECT_EQ(total, 1u);
}

TEST(VexcapRender, EachStepChangesThePictureThatIsShownAndHandedOn) {
    RenderRig rig;
    Bytes handed;
    rig.render->SetNotify(
        nullptr, 0,
        [](void* context, const void* frame, uint32_t, uint32_t) {
            const auto* const bytes = static_cast<const uint8_t*>(frame);
            static_cast<Bytes*>(context)->assign(bytes, bytes + stride * height);
        },
        &handed);
    const Bytes sent = picture(width, height, 2);
    const auto expect = [&](const Bytes& expected, const char* what) {
        EXPECT_EQ(rig.shown(sent), clean(expected)) << what;
        EXPECT_EQ(clean(handed), clean(expected)) << what;
    };
    rig.render->PutFlip(1, 1);
    expect(mirrored(sent), "mirrored");
    rig.render->PutFlip(2, 2);
    expect(turnedOver(mirrored(sent)), "both");
    rig.render->PutFlip(0, 1);
    expect(turnedOver(sent), "turned over");
    rig.render->PutFlip(0, 2);
    rig.render->PutChrome(1);
    expect(grey(sent), "grey");
    rig.render->PutNegative(1);
    expect(complemented(grey(sent)), "grey negative");
    rig.render->PutChrome(0);
    expect(complemented(sent), "negative");
}

TEST(VexcapRender, TheDarkFieldComesBeforeTheOtherSteps) {
    RenderRig rig;
    Bytes dark = pattern(width * height * 3, 9);
    for (uint8_t& each : dark) each &= 0x0F;  // nothing in it is hot
    auto buffer = std::make_unique<uint8_t[]>(dark.size());
    std::copy(dark.begin(), dark.end(), buffer.get());
    IDfc& field = *rig.render;
    ASSERT_EQ(field.SetDark(std::move(buffer), width, height), S_OK);
    ASSERT_EQ(field.Enable(1), S_OK);
    rig.render->PutFlip(1, 1);
    rig.render->PutFlip(2, 2);
    rig.render->PutChrome(1);
    rig.render->PutNegative(1);
    const Bytes sent = picture(width, height, 3);
    EXPECT_EQ(rig.shown(sent), clean(complemented(grey(turnedOver(mirrored(without(sent, dark)))))));
}

TEST(VexcapRender, FramesOfADarkFieldAreShownUncorrectedAndTakenBeforeTheOtherSteps) {
    RenderRig rig;
    IDfc& field = *rig.render;
    ASSERT_EQ(field.Enable(1), S_OK);
    const Bytes first = picture(width, height, 4);
    ASSERT_EQ(field.Capture(1, nullptr, nullptr), 1);
    EXPECT_EQ(rig.shown(first), clean(first));
    ASSERT_EQ(field.HasDfc(), 1);
    rig.render->PutNegative(1);
    ASSERT_EQ(field.Capture(1, nullptr, nullptr), 1);
    EXPECT_EQ(rig.shown(first), clean(complemented(first))) << "the old dark frame is not applied to a new one";
    std::unique_ptr<uint8_t[]> dark;
    int32_t w = 0, h = 0;
    ASSERT_EQ(field.TakeDark(&dark, &w, &h), S_OK);
    ASSERT_TRUE(dark);
    EXPECT_EQ(w, int32_t(width));
    EXPECT_EQ(h, int32_t(height));
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width * 3; ++x) EXPECT_EQ(dark[y * width * 3 + x], first[y * stride + x]);
}

TEST(VexcapRender, ASampleThatHoldsLessThanAPictureShowsNothing) {
    RenderRig rig;
    FrameCalls calls;
    rig.render->SetNotify(nullptr, 0, recordFrame, &calls);
    const Bytes sent = picture(width, height, 5);
    EXPECT_EQ(rig.source->send(spanOf(sent).first(sent.size() - 1)), S_OK);
    EXPECT_EQ(rig.source->send({}), S_OK);
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(imageOf(*rig.render).empty());
    EXPECT_EQ(rig.shown(sent), clean(sent));
    EXPECT_EQ(calls.size(), 1u);
}

TEST(VexcapRender, TheSizeOfAFrameIsThatOfTheTypeWhateverBecameOfThePicture) {
    RenderRig rig;
    FrameCalls calls;
    rig.render->SetNotify(nullptr, 0, recordFrame, &calls);
    // A frame from elsewhere changes the size of the picture.
    const Bytes other = picture(2, 2, 6);
    rig.render->ReceiveFrame(other.data(), nullptr, nullptr, 0, 0, 2, 2, 0);
    EXPECT_EQ(rig.size(), std::pair(2u, 2u));
    const Bytes sent = picture(width, height, 7);
    EXPECT_EQ(rig.shown(sent), clean(sent));
    EXPECT_EQ(rig.size(), std::pair(width, height));
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].width, width);
}

TEST(VexcapRender, ATypeThatWasOnlyAskedForStandsAsTheSizeOfTheFrames) {
    RenderRig rig;
    const MediaType larger = rgb24Type(width * 2, height, 0);
    ASSERT_EQ(rig.Input().CheckMediaType(&larger), S_OK);
    EXPECT_EQ(rig.source->send(spanOf(picture(width, height, 8))), S_OK);
    EXPECT_TRUE(imageOf(*rig.render).empty()) << "a frame of the old size is too short";
}

TEST(VexcapRender, ANewSizeDiscardsTheDarkField) {
    RenderRig rig;
    IDfc& field = *rig.render;
    ASSERT_EQ(field.SetDark(std::make_unique<uint8_t[]>(width * height * 3), width, height), S_OK);
    field.Enable(1);
    const MediaType same = rgb24Type(width, height, 0);
    ASSERT_EQ(rig.Input().CheckMediaType(&same), S_OK);
    EXPECT_EQ(field.HasDfc(), 1);
    const MediaType larger = rgb24Type(width + 1, height, 0);
    ASSERT_EQ(rig.Input().CheckMediaType(&larger), S_OK);
    EXPECT_EQ(field.HasDfc(), 0);
    EXPECT_EQ(field.IsDfc(), 0);
}

TEST(VexcapRender, AFrameTakesNothingFromTheHeap) {
    RenderRig rig;
    IDfc& field = *rig.render;
    ASSERT_EQ(field.SetDark(std::make_unique<uint8_t[]>(width * height * 3), width, height), S_OK);
    field.Enable(1);
    rig.render->PutFlip(1, 1);
    rig.render->PutFlip(2, 2);
    rig.render->PutChrome(1);
    rig.render->PutNegative(1);
    const Bytes sent = picture(width, height, 9);
    ASSERT_EQ(rig.source->send(spanOf(sent)), S_OK);  // the picture's buffer is made
    const size_t before = allocations();
    for (int i = 0; i < 1000; ++i) rig.source->send(spanOf(sent));
    EXPECT_EQ(allocations(), before);
}

}  // namespace vexcap_render_test
}  // namespace vexcap::test
