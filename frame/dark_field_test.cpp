#include "frame/dark_field.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "base/text.h"
#include "frame/sink_testing.h"
#include "platform/fake/allocations.h"
#include "platform/linux/file.h"

namespace vexcap::test {
namespace dark_field_test {

using Kind = DiskOperation::Kind;

constexpr uint32_t width = 5, height = 4;  // rows of 15 bytes, 16 with their padding
constexpr size_t stride = 16;
const std::u16string path = u"dark.bmp";

/// What a callback was told.
struct Told {
    uint32_t a, b;
    Bytes dark;
    uint32_t c, d;
    friend bool operator==(const Told&, const Told&) = default;
};
using Telling = std::vector<Told>;

void tell(void* telling, uint32_t a, uint32_t b, const uint8_t* dark, uint32_t c, uint32_t d) {
    static_cast<Telling*>(telling)->push_back({a, b, dark ? Bytes(dark, dark + size_t(a) * b * 3) : Bytes{}, c, d});
}

struct DarkField final : IDfcBaseImpl {
    using IDfcBaseImpl::IDfcBaseImpl;
};

/// A frame of one value for each channel, with padding that tells a wrong stride.
Bytes frameOf(uint8_t value, uint32_t w = width, uint32_t h = height, uint32_t bytesPerPixel = 3) {
    const size_t pitch = dibStride(w, bytesPerPixel);
    Bytes made(pitch * h, 0xCC);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            for (uint32_t i = 0; i < 3; ++i) made[y * pitch + x * bytesPerPixel + i] = value;
    return made;
}

/// The rows of a frame of 3 bytes a pixel without their padding.
Bytes packedRows(const Bytes& frame, uint32_t w = width, uint32_t h = height) {
    Bytes rows;
    for (uint32_t y = 0; y < h; ++y) {
        const auto row = frame.begin() + ptrdiff_t(y * dibStride(w, 3));
        rows.insert(rows.end(), row, row + ptrdiff_t(w * 3));
    }
    return rows;
}

std::unique_ptr<uint8_t[]> owned(const Bytes& bytes) {
    std::unique_ptr<uint8_t[]> made(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), made.get());
    return made;
}

struct DarkFieldTest : testing::Test {
    DarkFieldTest() { field.SetDarkSize(width, height); }

    HRESULT accumulate(const Bytes& frame, uint32_t w = width, uint32_t h = height, uint32_t bytesPerPixel = 3) {
        return field.Accumulate(frame.data(), bytesPerPixel, w, h);
    }
    Bytes applied(Bytes frame, uint32_t w = width, uint32_t h = height, uint32_t bytesPerPixel = 3) {
        field.Apply(frame.data(), bytesPerPixel, w, h);
        return frame;
    }
    /// The dark frame, seen by a capture that ends without a frame; empty when there is none.
    Bytes dark() {
        Telling heard;
        field.Capture(1, nullptr, nullptr);
        field.Capture(1, tell, &heard);
        field.SetDarkSize(width + 1, height);  // ends the second one, too
        field.SetDarkSize(width, height);
        return heard.empty() ? Bytes{} : heard.front().dark;
    }
    void setDark(const Bytes& packed) { field.SetDark(owned(packed), int32_t(width), int32_t(height)); }
    /// Every channel dark by one value.
    void setDark(uint8_t value) { setDark(Bytes(width * height * 3, value)); }

    FakeDisk disk;
    DarkField field{disk};
    Telling telling;
};

// --- capturing

TEST_F(DarkFieldTest, ACaptureOfOneFrameGivesThatFrameWithoutItsRowPadding) {
    const Bytes frame = pattern(stride * height, 1);
    EXPECT_EQ(field.Capture(1, tell, &telling), 1);
    EXPECT_EQ(accumulate(frame), S_OK);
    EXPECT_EQ(telling, (Telling{{width, height, packedRows(frame), width, height}}));
    EXPECT_EQ(field.HasDfc(), 1);
    EXPECT_EQ(accumulate(frame), S_FALSE);
}

TEST_F(DarkFieldTest, ACaptureOfNoFramesEndsWithTheFirstAsWell) {
    const Bytes frame = pattern(stride * height, 2);
    EXPECT_EQ(field.Capture(0, tell, &telling), 1);
    EXPECT_EQ(accumulate(frame), S_OK);
    EXPECT_EQ(telling, (Telling{{width, height, packedRows(frame), width, height}}));
}

TEST_F(DarkFieldTest, ProgressIsToldOfEachFrameAndTheMeanIsCutOff) {
    field.Capture(3, tell, &telling);
    for (const uint8_t value : Bytes{10, 10, 12}) EXPECT_EQ(accumulate(frameOf(value)), S_OK);
    EXPECT_EQ(telling, (Telling{{1, 3, {}, 0, 0},
                                {2, 3, {}, 0, 0},
                                {width, height, Bytes(width * height * 3, 10), width, height}}));  // 32 / 3
}

TEST_F(DarkFieldTest, ACaptureNeedsNoCallback) {
    field.Capture(2, nullptr, nullptr);
    EXPECT_EQ(accumulate(frameOf(7)), S_OK);
    EXPECT_EQ(field.HasDfc(), 0);
    EXPECT_EQ(accumulate(frameOf(9)), S_OK);
    EXPECT_EQ(dark(), Bytes(width * height * 3, 8));
}

TEST_F(DarkFieldTest, TheFourthByteOfAPixelIsNotSummed) {
    Bytes frame = frameOf(6, width, height, 4);
    for (size_t i = 3; i < frame.size(); i += 4) frame[i] = uint8_t(i);
    field.Capture(1, tell, &telling);
    EXPECT_EQ(accumulate(frame, width, height, 4), S_OK);
    EXPECT_EQ(telling.back().dark, Bytes(width * height * 3, 6));
}

TEST_F(DarkFieldTest, AFrameOfAnotherSizeIsNotCounted) {
    field.Capture(1, tell, &telling);
    EXPECT_EQ(accumulate(frameOf(1, width + 1, height), width + 1, height), S_FALSE);
    EXPECT_EQ(accumulate(frameOf(1, width, height - 1), width, height - 1), S_FALSE);
    EXPECT_EQ(accumulate(frameOf(1), height, width), S_FALSE);
    EXPECT_TRUE(telling.empty());
    EXPECT_EQ(accumulate(frameOf(1)), S_OK);
    EXPECT_EQ(telling.size(), 1u);
}

TEST_F(DarkFieldTest, NothingIsTakenWhileNoCaptureRuns) {
    EXPECT_EQ(accumulate(frameOf(1)), S_FALSE);
    EXPECT_EQ(field.HasDfc(), 0);
}

TEST_F(DarkFieldTest, WithoutASizeNoCaptureBegins) {
    DarkField fresh(disk);
    EXPECT_EQ(fresh.Capture(1, tell, &telling), 0);
    for (const auto& [w, h] : {std::pair(0u, 4u), {4u, 0u}, {0x80000000u, 4u}, {4u, 0xFFFFFFFFu}}) {
        fresh.SetDarkSize(w, h);
        EXPECT_EQ(fresh.Capture(1, tell, &telling), 0) << w << " x " << h;
    }
    EXPECT_TRUE(telling.empty());
}

TEST_F(DarkFieldTest, FramesThatNoMemoryHoldsCannotBeCaptured) {
    field.SetDarkSize(0x7FFFFFFF, 0x7FFFFFFF);
    EXPECT_EQ(field.Capture(1, tell, &telling), 0);
    EXPECT_EQ(field.Accumulate(nullptr, 3, 0x7FFFFFFF, 0x7FFFFFFF), S_FALSE);
}

TEST_F(DarkFieldTest, SumsWrapAtSixteenBits) {
    constexpr uint32_t frames = 258;  // 258 * 255 is 65790, 254 more than fit
    field.Capture(frames, nullptr, nullptr);
    for (uint32_t i = 0; i < frames; ++i) ASSERT_EQ(accumulate(frameOf(255)), S_OK);
    EXPECT_EQ(dark(), Bytes(width * height * 3, 254 / 258));
    field.Capture(257, nullptr, nullptr);
    for (uint32_t i = 0; i < 257; ++i) ASSERT_EQ(accumulate(frameOf(255)), S_OK);
    EXPECT_EQ(dark(), Bytes(width * height * 3, 255));
}

TEST_F(DarkFieldTest, TheCountHasSixteenBitsSoThatATargetBeyondNeverEnds) {
    field.SetDarkSize(1, 1);
    const Bytes pixel = {1, 2, 3, 0};
    field.Capture(65536, tell, &telling);
    for (uint32_t i = 0; i < 65537; ++i) ASSERT_EQ(accumulate(pixel, 1, 1), S_OK);
    ASSERT_EQ(telling.size(), 65537u);
    EXPECT_EQ(telling[65534], (Told{65535, 65536, {}, 0, 0}));
    EXPECT_EQ(telling[65535], (Told{0, 65536, {}, 0, 0}));
    EXPECT_EQ(telling[65536], (Told{1, 65536, {}, 0, 0}));
    EXPECT_EQ(field.HasDfc(), 0);

    field.Capture(65535, nullptr, nullptr);
    for (uint32_t i = 0; i < 65535; ++i) ASSERT_EQ(accumulate(pixel, 1, 1), S_OK);
    EXPECT_EQ(accumulate(pixel, 1, 1), S_FALSE);
}

TEST_F(DarkFieldTest, ASecondCaptureEndsTheFirstAndTellsTheNewCallback) {
    Telling first;
    field.Capture(10, tell, &first);
    accumulate(frameOf(4));
    accumulate(frameOf(8));
    first.clear();
    EXPECT_EQ(field.Capture(2, tell, &telling), 1);
    EXPECT_TRUE(first.empty());
    EXPECT_EQ(telling, (Telling{{width, height, Bytes(width * height * 3, 6), width, height}}));
    accumulate(frameOf(1));
    EXPECT_EQ(telling.back(), (Told{1, 2, {}, 0, 0}));
}

TEST_F(DarkFieldTest, ACaptureThatEndsWithoutAFrameLeavesTheDarkFrameAndTellsOfIt) {
    field.Capture(10, nullptr, nullptr);
    field.Capture(10, tell, &telling);
    EXPECT_TRUE(telling.empty());  // there was none
    setDark(5);
    field.Capture(10, tell, &telling);
    EXPECT_EQ(telling, (Telling{{width, height, Bytes(width * height * 3, 5), width, height}}));
}

TEST_F(DarkFieldTest, DuringACaptureTheOldDarkFrameStaysInForce) {
    setDark(5);
    field.Enable(1);
    field.Capture(2, nullptr, nullptr);
    EXPECT_EQ(accumulate(frameOf(20)), S_OK);
    EXPECT_EQ(applied(frameOf(30)), frameOf(25));
    EXPECT_EQ(accumulate(frameOf(20)), S_OK);
    EXPECT_EQ(applied(frameOf(30)), frameOf(10));
}

TEST_F(DarkFieldTest, ACaptureTouchesNeitherTheFrameNorTheSwitch) {
    const Bytes frame = frameOf(20);
    Bytes offered = frame;
    field.Capture(1, nullptr, nullptr);
    field.Accumulate(offered.data(), 3, width, height);
    EXPECT_EQ(offered, frame);
    EXPECT_EQ(field.IsDfc(), 0);
    EXPECT_EQ(applied(frame), frame);
}

TEST_F(DarkFieldTest, TheCallbackRunsUnderTheLock) {
    struct Context {
        DarkField& field;
        std::thread other;
        std::atomic<bool> asked = false, answered = false, sawAnswer = false;
    } context{field, {}, {}, {}, {}};
    field.Capture(
        2,
        [](void* given, uint32_t, uint32_t, const uint8_t* complete, uint32_t, uint32_t) {
            auto& c = *static_cast<Context*>(given);
            if (complete) return;
            c.other = std::thread([&c] {
                c.asked = true;
                c.field.TakeDark(std::make_unique<std::unique_ptr<uint8_t[]>>().get(), nullptr, nullptr);
                c.answered = true;
            });
            while (!c.asked) std::this_thread::yield();
            for (int i = 0; i < 100; ++i) std::this_thread::yield();
            c.sawAnswer = c.answered.load();
        },
        &context);
    accumulate(frameOf(1));
    context.other.join();
    EXPECT_FALSE(context.sawAnswer);
    EXPECT_TRUE(context.answered);
}

TEST_F(DarkFieldTest, ACallbackThatCallsBackAllTheSameFindsWholeState) {
    struct Context {
        DarkField& field;
        int complete = 0;
    } context{field};
    field.Capture(
        1,
        [](void* given, uint32_t, uint32_t, const uint8_t* complete, uint32_t, uint32_t) {
            auto& c = *static_cast<Context*>(given);
            if (!complete) return;
            if (++c.complete == 1) {
                std::unique_ptr<uint8_t[]> taken;
                c.field.TakeDark(&taken, nullptr, nullptr);
                c.field.Capture(1, nullptr, nullptr);
                c.field.SetDarkSize(1, 1);
            }
        },
        &context);
    EXPECT_EQ(accumulate(frameOf(1)), S_OK);
    EXPECT_EQ(context.complete, 1);
    EXPECT_EQ(accumulate(frameOf(1)), S_FALSE);
    EXPECT_EQ(field.HasDfc(), 0);
}

// --- correcting

TEST_F(DarkFieldTest, SubtractionStopsAtZeroAndLeavesThePadding) {
    setDark(12);
    field.Enable(1);
    EXPECT_EQ(applied(frameOf(10)), frameOf(0));
    EXPECT_EQ(applied(frameOf(12)), frameOf(0));
    EXPECT_EQ(applied(frameOf(255)), frameOf(243));
}

TEST_F(DarkFieldTest, EachChannelHasItsOwnDark) {
    Bytes dark = pattern(width * height * 3, 3);
    for (uint8_t& channel : dark) channel %= 16;  // nothing of that is hot
    const Bytes frame = pattern(stride * height, 4);
    setDark(dark);
    field.Enable(1);
    Bytes want = frame;
    for (uint32_t y = 0; y < height; ++y)
        for (size_t i = 0; i < width * 3; ++i) {
            const int difference = frame[y * stride + i] - dark[y * width * 3 + i];
            want[y * stride + i] = uint8_t(std::max(difference, 0));
        }
    EXPECT_EQ(applied(frame), want);
}

TEST_F(DarkFieldTest, TheFourthByteOfAPixelIsLeftAlone) {
    setDark(5);
    field.Enable(1);
    EXPECT_EQ(applied(frameOf(30, width, height, 4), width, height, 4), frameOf(25, width, height, 4));
}

TEST_F(DarkFieldTest, CorrectsOnlyWithADarkFrameWhenEnabledAndFramesOfItsSize) {
    field.Enable(1);
    EXPECT_EQ(field.IsDfc(), 1);
    EXPECT_EQ(applied(frameOf(30)), frameOf(30));
    setDark(5);
    field.Enable(0);
    EXPECT_EQ(field.IsDfc(), 0);
    EXPECT_EQ(applied(frameOf(30)), frameOf(30));
    field.Enable(0x80000000);
    EXPECT_EQ(field.IsDfc(), 1);
    EXPECT_EQ(applied(frameOf(30)), frameOf(25));
    EXPECT_EQ(applied(frameOf(30, width - 1, height), width - 1, height), frameOf(30, width - 1, height));
    EXPECT_EQ(applied(frameOf(30, width, height + 1), width, height + 1), frameOf(30, width, height + 1));
}

/// A dark frame whose pixel (2, 1) is hot.
Bytes withHotPixel() {
    Bytes packed(width * height * 3, 0);
    for (size_t i = 0; i < 3; ++i) packed[(1 * width + 2) * 3 + i] = 200;
    return packed;
}

/// What becomes of `frame` by that dark frame: the pixel is the mean of its neighbours.
Bytes mended(Bytes frame, uint32_t bytesPerPixel) {
    const size_t pitch = dibStride(width, bytesPerPixel);
    for (size_t i = 0; i < 3; ++i) {
        const size_t at = pitch + 2 * bytesPerPixel + i;
        frame[at] = uint8_t(
            (frame[at - pitch] + frame[at + bytesPerPixel] + frame[at - bytesPerPixel] + frame[at + pitch]) / 4);
    }
    return frame;
}

TEST_F(DarkFieldTest, HotPixelsAreListedFromEverySourceOfADarkFrame) {
    const Bytes frame = pattern(stride * height, 5);
    setDark(withHotPixel());
    ASSERT_EQ(field.Export(path.c_str()), S_OK);
    field.Enable(1);
    EXPECT_EQ(applied(frame), mended(frame, 3));

    DarkField other(disk);
    other.SetDarkSize(width, height);
    ASSERT_EQ(other.Import(path.c_str()), S_OK);
    other.Enable(1);
    Bytes shown = frame;
    other.Apply(shown.data(), 3, width, height);
    EXPECT_EQ(shown, mended(frame, 3));

    DarkField third(disk);
    third.SetDarkSize(width, height);
    third.Capture(1, nullptr, nullptr);
    Bytes black(stride * height, 0);
    for (size_t i = 0; i < 3; ++i) black[stride + 2 * 3 + i] = 200;
    third.Accumulate(black.data(), 3, width, height);
    third.Enable(1);
    shown = frame;
    third.Apply(shown.data(), 3, width, height);
    EXPECT_EQ(shown, mended(frame, 3));
}

TEST_F(DarkFieldTest, HotPixelsOfFourBytesAreMendedAtTheirStride) {
    const Bytes frame = pattern(dibStride(width, 4) * height, 6);
    setDark(withHotPixel());
    field.Enable(1);
    EXPECT_EQ(applied(frame, width, height, 4), mended(frame, 4));
}

TEST_F(DarkFieldTest, WhatWasHotStaysListedAndIsMendedOnceForEachTime) {
    setDark(withHotPixel());
    setDark(0);  // an even one: nothing is hot in it
    field.Enable(1);
    Bytes frame = frameOf(0);
    frame[2 * stride + 2 * 3] = 100;  // above the hot pixel, in the buffer's rows
    Bytes want = frame;
    want[1 * stride + 2 * 3] = 25;
    EXPECT_EQ(applied(frame), want);

    // Two neighbours that are hot in turn: the second time the first one is mended from the second's mended value.
    Bytes neighbour(width * height * 3, 0);
    for (size_t i = 0; i < 3; ++i) neighbour[(1 * width + 3) * 3 + i] = 200;
    setDark(neighbour);
    setDark(withHotPixel());
    setDark(0);
    want[1 * stride + 3 * 3] = 25 / 4;
    want[1 * stride + 2 * 3] = (100 + 25 / 4) / 4;
    EXPECT_EQ(applied(frame), want);
}

TEST_F(DarkFieldTest, WhatWasHotInALargerFrameIsLeftOutOfASmallerOne) {
    constexpr uint32_t large = 40;
    field.SetDarkSize(large, large);
    Bytes hot(large * large * 3, 0);
    for (const size_t at : {1 * large + 3, 1 * large + 4, 2 * large + 2, 3 * large + 2, 38 * large + 38})
        hot[at * 3 + 1] = 255;
    field.SetDark(owned(hot), large, large);
    field.SetDarkSize(width, height);
    setDark(0);
    field.Enable(1);
    Bytes frame = frameOf(0);
    frame[1 * stride + 4 * 3] = 80;  // the right edge, beside (3, 1)
    Bytes want = frame;
    want[1 * stride + 3 * 3] = 20;  // (3, 1) is inside; (4, 1), (2, 3) and (38, 38) are not
    frame[3 * stride + 2 * 3] = 40;
    want[3 * stride + 2 * 3] = 40;
    want[2 * stride + 2 * 3] = 10;  // (2, 2) is inside
    EXPECT_EQ(applied(frame), want);
}

TEST_F(DarkFieldTest, AMeanOf64HasHotPixelsAndOneOf65HasNone) {
    // By all 20 x 20 pixels; the 18 x 18 inside is 79 or 80 bright, which is 63.99 or 64.8.
    constexpr uint32_t side = 20;
    const auto mendsAnything = [&](uint8_t inside, uint32_t brighter) {
        DarkField fresh(disk);
        Bytes packed(side * side * 3, 0);
        uint32_t left = brighter;
        for (uint32_t y = 1; y < side - 1; ++y)
            for (uint32_t x = 1; x < side - 1; ++x) {
                packed[(y * side + x) * 3 + 1] = inside;
                if (left > 0 && y == 1 && x < side - 2) packed[(y * side + x) * 3] = 255, --left;  // 29 more
            }
        for (size_t i = 0; i < 3; ++i) packed[(10 * side + 10) * 3 + i] = 255;
        fresh.SetDark(owned(packed), side, side);
        fresh.Enable(1);
        Bytes frame = frameOf(0, side, side);
        frame[11 * dibStride(side, 3) + 30] = 255;
        const Bytes before = frame;
        fresh.Apply(frame.data(), 3, side, side);
        return frame[10 * dibStride(side, 3) + 30] != before[10 * dibStride(side, 3) + 30];
    };
    // 136 * 0.587 is 79: 323 * 79 + 254 = 25771, by 400 it is 64. Eleven times 29 more make it 65.
    EXPECT_TRUE(mendsAnything(136, 0));
    EXPECT_FALSE(mendsAnything(136, 11));
}

// --- sizes, handing over

TEST_F(DarkFieldTest, ANewSizeDiscardsAllButTheListWithoutAWord) {
    setDark(withHotPixel());
    field.Enable(1);
    field.Capture(2, tell, &telling);
    accumulate(frameOf(1));
    telling.clear();
    field.SetDarkSize(width, height);  // the same: nothing happens
    EXPECT_EQ(field.IsDfc(), 1);
    EXPECT_EQ(field.HasDfc(), 1);
    field.SetDarkSize(width, height + 1);
    EXPECT_EQ(field.IsDfc(), 0);
    EXPECT_EQ(field.HasDfc(), 0);
    EXPECT_EQ(accumulate(frameOf(1)), S_FALSE);
    EXPECT_EQ(accumulate(frameOf(1, width, height + 1), width, height + 1), S_FALSE);
    EXPECT_TRUE(telling.empty());
    EXPECT_EQ(field.Capture(1, nullptr, nullptr), 1);
    EXPECT_EQ(accumulate(frameOf(1, width, height + 1), width, height + 1), S_OK);
    EXPECT_TRUE(telling.empty());
    field.Enable(1);
    Bytes frame = frameOf(1, width, height + 1);
    frame[stride + 2 * 3] = 99;  // still listed
    EXPECT_EQ(applied(frame, width, height + 1), frameOf(0, width, height + 1));
}

TEST_F(DarkFieldTest, ADestroyedCaptureSaysNothing) {
    auto* const other = new DarkField(disk);
    other->SetDarkSize(width, height);
    other->SetDark(owned(Bytes(width * height * 3, 1)), width, height);
    other->Capture(2, tell, &telling);
    delete other;
    EXPECT_TRUE(telling.empty());
}

TEST_F(DarkFieldTest, TakeDarkHandsTheFrameOverAndLeavesNone) {
    const Bytes packed = pattern(width * height * 3, 7);
    setDark(packed);
    field.Enable(1);
    std::unique_ptr<uint8_t[]> taken;
    int32_t w = 0, h = 0;
    EXPECT_EQ(field.TakeDark(nullptr, &w, &h), E_POINTER);
    EXPECT_EQ(field.HasDfc(), 1);
    EXPECT_EQ(field.TakeDark(&taken, &w, &h), S_OK);
    EXPECT_EQ(Bytes(taken.get(), taken.get() + packed.size()), packed);
    EXPECT_EQ(w, int32_t(width));
    EXPECT_EQ(h, int32_t(height));
    EXPECT_EQ(field.HasDfc(), 0);
    EXPECT_EQ(field.IsDfc(), 1);
    EXPECT_EQ(applied(frameOf(30)), frameOf(30));
    EXPECT_EQ(field.TakeDark(&taken, nullptr, nullptr), S_OK);
    EXPECT_EQ(taken, nullptr);
}

TEST_F(DarkFieldTest, WhatOneGivesAnotherTakes) {
    const Bytes packed = pattern(width * height * 3, 8);
    setDark(packed);
    std::unique_ptr<uint8_t[]> taken;
    int32_t w = 0, h = 0;
    field.TakeDark(&taken, &w, &h);
    DarkField other(disk);
    EXPECT_EQ(other.SetDark(std::move(taken), w, h), S_OK);  // it had no size before
    EXPECT_EQ(other.HasDfc(), 1);
    EXPECT_EQ(other.Export(u"a.bmp"), S_OK);
    EXPECT_EQ(field.Import(u"a.bmp"), S_OK);
    EXPECT_EQ(dark(), packed);
}

TEST_F(DarkFieldTest, NoFrameAndNoSizeLeaveNoDarkFrameButTheSize) {
    struct {
        bool frame;
        int32_t w, h;
    } const cases[] = {{false, width, height}, {true, 0, height}, {true, width, 0},
                       {true, -1, height},     {true, width, -4}, {true, 0x7FFFFFFF, 0x7FFFFFFF}};
    for (const auto& each : cases) {
        setDark(5);
        EXPECT_EQ(field.SetDark(each.frame ? owned(Bytes(60, 1)) : nullptr, each.w, each.h), S_OK);
        EXPECT_EQ(field.HasDfc(), 0);
        EXPECT_EQ(field.Capture(1, nullptr, nullptr), 1);
        EXPECT_EQ(accumulate(frameOf(1)), S_OK);
    }
}

TEST_F(DarkFieldTest, ADarkFrameOfAnotherSizeEndsACaptureWithoutAWord) {
    field.Capture(1, tell, &telling);
    field.SetDark(owned(Bytes(20 * 20 * 3, 1)), 20, 20);
    EXPECT_EQ(accumulate(frameOf(1, 20, 20), 20, 20), S_FALSE);
    EXPECT_EQ(accumulate(frameOf(1)), S_FALSE);
    EXPECT_TRUE(telling.empty());
    EXPECT_EQ(field.HasDfc(), 1);
}

TEST_F(DarkFieldTest, ADarkFrameOfTheSameSizeLeavesACaptureRunning) {
    field.Capture(2, tell, &telling);
    accumulate(frameOf(10));
    setDark(1);
    accumulate(frameOf(20));
    EXPECT_EQ(telling.back().dark, Bytes(width * height * 3, 15));
}

// --- files

uint32_t number(const Bytes& file, size_t offset, size_t size) {
    uint32_t value = 0;
    for (size_t i = 0; i < size; ++i) value |= uint32_t(file.at(offset + i)) << 8 * i;
    return value;
}

TEST_F(DarkFieldTest, EveryFieldOfTheFileIsAsTheFormatSays) {
    struct {
        uint32_t width, height;
    } const sizes[] = {{3, 2}, {4, 3}, {1, 1}, {5, 4}, {641, 3}};
    for (const auto [w, h] : sizes) {
        const Bytes packed = pattern(size_t(w) * h * 3, w);
        field.SetDark(owned(packed), int32_t(w), int32_t(h));
        ASSERT_EQ(field.Export(path.c_str()), S_OK);
        const Bytes file = disk.bytes(path);
        const uint32_t pitch = (w * 24 + 31) / 32 * 4, imageBytes = pitch * h;
        struct {
            size_t offset, size;
            uint32_t value;
        } const fields[] = {{0, 1, 'B'}, {1, 1, 'M'}, {2, 4, imageBytes + 54},
                            {6, 4, 0},   {10, 4, 54}, {14, 4, 40},
                            {18, 4, w},  {22, 4, h},  {26, 2, 1},
                            {28, 2, 24}, {30, 4, 0},  {34, 4, imageBytes + 40},
                            {38, 4, 0},  {42, 4, 0},  {46, 4, 0},
                            {50, 4, 0}};
        size_t end = 0;
        for (const auto& each : fields) {
            EXPECT_EQ(each.offset, end);
            EXPECT_EQ(number(file, each.offset, each.size), each.value) << "offset " << each.offset;
            end = each.offset + each.size;
        }
        EXPECT_EQ(end, 54u);
        ASSERT_EQ(file.size(), 54u + imageBytes);
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t i = 0; i < pitch; ++i)
                ASSERT_EQ(file[54 + y * pitch + i], i < w * 3 ? packed[y * w * 3 + i] : 0) << y << ' ' << i;
    }
}

TEST_F(DarkFieldTest, ARowOfThreePixelsHasTwelveBytesThreeOfThemZero) {
    field.SetDark(owned(Bytes(18, 7)), 3, 2);
    ASSERT_EQ(field.Export(path.c_str()), S_OK);
    EXPECT_EQ(disk.bytes(path).size(), 54u + 24);
    const Bytes row = {7, 7, 7, 7, 7, 7, 7, 7, 7, 0, 0, 0};
    const Bytes file = disk.bytes(path);
    EXPECT_EQ(Bytes(file.begin() + 54, file.begin() + 66), row);
    EXPECT_EQ(Bytes(file.begin() + 66, file.end()), row);
}

TEST_F(DarkFieldTest, ExportNeedsADarkFrameAndTouchesNoFileWithoutOne) {
    disk.put(path, {1, 2, 3});
    EXPECT_EQ(field.Export(path.c_str()), E_UNEXPECTED);
    EXPECT_EQ(disk.bytes(path), (Bytes{1, 2, 3}));
    EXPECT_EQ(field.Export(nullptr), E_UNEXPECTED);
    setDark(1);
    EXPECT_EQ(field.Export(nullptr), E_FAIL);
}

TEST_F(DarkFieldTest, AnyFailureOfExportIsOneCodeAndTheFileIsClosed) {
    setDark(1);
    disk.fail(Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(field.Export(path.c_str()), E_FAIL);
    disk.fail(Kind::Create, S_OK);
    for (const size_t kept : {size_t(0), size_t(10), size_t(14), size_t(54), size_t(60), stride * height + 53}) {
        disk.failWrite(disk.count(Kind::Write), VEX_E_DISK_FULL, kept);
        EXPECT_EQ(field.Export(path.c_str()), E_FAIL);
        EXPECT_EQ(disk.bytes(path).size(), kept);
        EXPECT_EQ(field.Import(path.c_str()), E_FAIL);  // what is left is no dark frame
        EXPECT_EQ(field.HasDfc(), 1);
    }
    disk.setCapacity(60);
    EXPECT_EQ(field.Export(path.c_str()), E_FAIL);
    disk.setCapacity(1000);
    EXPECT_EQ(disk.count(Kind::Close) + 1, disk.count(Kind::Create) + disk.count(Kind::Open));
    EXPECT_EQ(field.Export(path.c_str()), S_OK);
    EXPECT_EQ(field.Import(path.c_str()), S_OK);
}

/// A bitmap file of the field's size, as Export makes it.
Bytes fileOf(const Bytes& packed, uint32_t w = width, uint32_t h = height) {
    FakeDisk own;
    DarkField field(own);
    field.SetDark(owned(packed), int32_t(w), int32_t(h));
    field.Export(u"a");
    return own.bytes(u"a");
}

TEST_F(DarkFieldTest, ImportTakesWhatExportWrote) {
    const Bytes packed = pattern(width * height * 3, 9);
    disk.put(path, fileOf(packed));
    EXPECT_EQ(field.Import(path.c_str()), S_OK);
    EXPECT_EQ(field.HasDfc(), 1);
    EXPECT_EQ(field.IsDfc(), 0);
    EXPECT_EQ(dark(), packed);
}

TEST_F(DarkFieldTest, ImportWorksWhereRowsHaveNoPadding) {
    field.SetDarkSize(4, 3);
    const Bytes packed = pattern(4 * 3 * 3, 10);
    disk.put(path, fileOf(packed, 4, 3));
    EXPECT_EQ(field.Import(path.c_str()), S_OK);
    ASSERT_EQ(field.Export(u"again"), S_OK);
    EXPECT_EQ(disk.bytes(u"again"), disk.bytes(path));
}

TEST_F(DarkFieldTest, ImportOfAnotherSizeKeepsTheDarkFrame) {
    setDark(5);
    for (const auto& [w, h] : {std::pair(width + 1, height), {width, height + 1}, {height, width}}) {
        disk.put(path, fileOf(Bytes(size_t(w) * h * 3, 1), w, h));
        EXPECT_EQ(field.Import(path.c_str()), E_INVALIDARG);
    }
    EXPECT_EQ(dark(), Bytes(width * height * 3, 5));
}

TEST_F(DarkFieldTest, ImportWithoutAFrameSizeIsRefused) {
    DarkField fresh(disk);
    disk.put(path, fileOf(Bytes(width * height * 3, 1)));
    EXPECT_EQ(fresh.Import(path.c_str()), E_INVALIDARG);
}

TEST_F(DarkFieldTest, EveryHeaderFieldThatMattersIsChecked) {
    const Bytes good = fileOf(Bytes(width * height * 3, 1));
    setDark(5);
    struct {
        size_t offset;
        std::vector<uint8_t> bytes;
        HRESULT result;
    } const cases[] = {
        {0, {'b'}, E_FAIL},                                              // type
        {1, {'m'}, E_FAIL},                                              //
        {2, {9, 9, 9, 9}, S_OK},                                         // file size: not read
        {6, {9, 9, 9, 9}, S_OK},                                         // reserved
        {10, {99, 9, 9, 9}, S_OK},                                       // pixel offset: not read
        {14, {41}, E_FAIL},                                              // header size
        {14, {124}, E_FAIL},                                             // a longer header
        {14, {40, 0, 0, 1}, E_FAIL},                                     //
        {18, {0, 0, 0, 0}, E_FAIL},                                      // width 0
        {18, {0xFB, 0xFF, 0xFF, 0xFF}, E_FAIL},                          // -5
        {18, {0xFF, 0xFF, 0xFF, 0x7F}, E_FAIL},                          // more than the file holds
        {18, {4}, E_INVALIDARG},                                         // another size
        {22, {0, 0, 0, 0}, E_FAIL},                                      // height 0
        {22, {0xFC, 0xFF, 0xFF, 0xFF}, E_FAIL},                          // -4: rows from the top
        {22, {5}, E_FAIL},                                               // a row more than there is
        {22, {3}, E_INVALIDARG},                                         //
        {18, {0xFF, 0xFF, 0xFF, 0x7F, 0xFF, 0xFF, 0xFF, 0x7F}, E_FAIL},  // products that no number holds
        {18, {0, 0, 0, 0x40, 0, 0, 0, 0x40}, E_FAIL},                    //
        {18, {0x56, 0x55, 0x55, 0x55, 1, 0, 0, 0}, E_FAIL},              // three times that is 2 in 32 bits
        {26, {9, 9}, S_OK},                                              // planes: not read
        {28, {32}, E_FAIL},                                              // bit count
        {28, {24, 1}, E_FAIL},                                           //
        {30, {1}, E_FAIL},                                               // compression
        {30, {0, 0, 0, 1}, E_FAIL},                                      //
        {34, {9, 9, 9, 9}, S_OK},                                        // image size: not read
        {38, std::vector<uint8_t>(16, 9), S_OK},                         // resolution and colours: not read
    };
    for (const auto& each : cases) {
        Bytes file = good;
        std::copy(each.bytes.begin(), each.bytes.end(), file.begin() + ptrdiff_t(each.offset));
        disk.put(path, file);
        EXPECT_EQ(field.Import(path.c_str()), each.result) << "offset " << each.offset;
        EXPECT_EQ(field.HasDfc(), 1);
    }
}

TEST_F(DarkFieldTest, AFileThatEndsAnywhereTooEarlyIsRefused) {
    const Bytes good = fileOf(Bytes(width * height * 3, 1));
    for (size_t size = 0; size < good.size(); ++size) {
        disk.put(path, Bytes(good.begin(), good.begin() + ptrdiff_t(size)));
        ASSERT_EQ(field.Import(path.c_str()), E_FAIL) << size;
    }
    Bytes longer = good;
    longer.resize(good.size() + 100, 7);
    disk.put(path, longer);
    EXPECT_EQ(field.Import(path.c_str()), S_OK);
}

TEST_F(DarkFieldTest, AGapBeforeThePixelsIsReadAsPixels) {
    Bytes file = fileOf(Bytes(width * height * 3, 1));
    file[10] = 54 + 4;
    const Bytes gap = {50, 51, 52, 53};
    file.insert(file.begin() + 54, gap.begin(), gap.end());
    disk.put(path, file);
    ASSERT_EQ(field.Import(path.c_str()), S_OK);
    const Bytes got = dark();
    EXPECT_EQ(Bytes(got.begin(), got.begin() + 4), gap);
    EXPECT_EQ(got[4], 1);
}

/// A disk whose reads fail from one of them on, as a drive that is pulled out.
struct FailingReads final : IFileSystem {
    struct File final : IFile {
        File(std::unique_ptr<IFile> opened, FailingReads& owner) : inner(std::move(opened)), disk(owner) {}
        Status WriteAt(uint64_t, std::span<const std::byte>) override { return E_NOTIMPL; }
        Status WriteGathered(uint64_t, std::span<const std::span<const std::byte>>) override { return E_NOTIMPL; }
        Result<size_t> ReadAt(uint64_t position, std::span<std::byte> bytes) override {
            if (disk.operations++ == disk.failing) return Status(E_ACCESSDENIED);
            return inner->ReadAt(position, bytes);
        }
        Status Reserve(uint64_t, uint64_t) override { return E_NOTIMPL; }
        Status Resize(uint64_t) override { return E_NOTIMPL; }
        Result<uint64_t> Size() override {
            if (disk.operations++ == disk.failing) return Status(E_ACCESSDENIED);
            return inner->Size();
        }
        std::unique_ptr<IFile> inner;
        FailingReads& disk;
    };
    explicit FailingReads(FakeDisk& real) : files(real) {}
    Result<std::unique_ptr<IFile>> Create(std::u16string_view) override { return E_NOTIMPL; }
    Result<std::unique_ptr<IFile>> Update(std::u16string_view) override { return E_NOTIMPL; }
    Result<std::unique_ptr<IFile>> Open(std::u16string_view name) override {
        if (operations++ == failing) return E_ACCESSDENIED;
        Result<std::unique_ptr<IFile>> opened = files.Open(name);
        if (!opened.ok()) return opened.status();
        return std::unique_ptr<IFile>(std::make_unique<File>(std::move(opened).value(), *this));
    }
    Status Remove(std::u16string_view) override { return E_NOTIMPL; }
    FakeDisk& files;
    int failing = -1, operations = 0;
};

TEST_F(DarkFieldTest, AFailureAtAnyStepOfImportIsOneCodeAndKeepsTheDarkFrame) {
    disk.put(path, fileOf(Bytes(width * height * 3, 1)));
    FailingReads failing(disk);
    DarkField other(failing);
    other.SetDark(owned(Bytes(width * height * 3, 5)), width, height);
    ASSERT_EQ(other.Import(path.c_str()), S_OK);
    const int steps = failing.operations;
    EXPECT_EQ(steps, 5);  // open, two headers, the size of the file, pixels
    for (int step = 0; step < steps; ++step) {
        failing.operations = 0;
        failing.failing = step;
        EXPECT_EQ(other.Import(path.c_str()), E_FAIL) << step;
        EXPECT_EQ(other.HasDfc(), 1);
    }
    EXPECT_EQ(disk.count(Kind::Close), disk.count(Kind::Open));
    EXPECT_EQ(field.Import(u"nowhere"), E_FAIL);
    EXPECT_EQ(field.Import(u""), E_FAIL);
    EXPECT_EQ(field.Import(nullptr), E_FAIL);
}

// --- files in the hands of a program that others wrote

/// Standard output and error of a command, and whether it succeeded.
std::pair<bool, std::string> shell(const std::string& command) {
    std::string text;
    FILE* const pipe = ::popen(("{ " + command + "; } 2>&1").c_str(), "r");
    if (!pipe) return {false, text};
    char buffer[256];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, n);
    return {::pclose(pipe) == 0, text};
}

struct DarkFieldFiles : testing::Test {
    void SetUp() override {
        if (!shell("identify -version && convert -version").first) GTEST_SKIP() << "ImageMagick is not installed";
        std::string pattern = (std::filesystem::temp_directory_path() / "vexcap-dark-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        directory = pattern;
    }
    void TearDown() override {
        if (!directory.empty()) std::filesystem::remove_all(directory);
    }
    std::string name(const char* file) const { return (directory / file).string(); }
    Bytes read(const char* file) const {
        std::ifstream in(name(file), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::filesystem::path directory;
    LinuxFileSystem files;
    DarkField field{files};
};

/// Packed blue-green-red rows, bottom-up, as red-green-blue rows from the top.
Bytes fromTheTop(const Bytes& packed, uint32_t w, uint32_t h) {
    Bytes made;
    for (uint32_t y = h; y-- > 0;)
        for (uint32_t x = 0; x < w; ++x)
            for (size_t i = 3; i-- > 0;) made.push_back(packed[(size_t(y) * w + x) * 3 + i]);
    return made;
}

TEST_F(DarkFieldFiles, AnotherProgramReadsWhatExportWrote) {
    constexpr uint32_t w = 37, h = 21;
    const Bytes packed = pattern(w * h * 3, 11);
    field.SetDark(owned(packed), w, h);
    ASSERT_EQ(field.Export(toUtf16(name("dark.bmp")).c_str()), S_OK);
    const auto [known, told] = shell("identify -format '%m %w %h %z' " + name("dark.bmp"));
    EXPECT_TRUE(known) << told;
    EXPECT_EQ(told, "BMP3 37 21 8");
    const auto [converted, said] = shell("convert " + name("dark.bmp") + " -depth 8 rgb:" + name("dark.rgb"));
    ASSERT_TRUE(converted) << said;
    EXPECT_EQ(said, "");
    EXPECT_EQ(read("dark.rgb"), fromTheTop(packed, w, h));
}

TEST_F(DarkFieldFiles, ImportTakesABitmapThatAnotherProgramWrote) {
    constexpr uint32_t w = 38, h = 11;
    const Bytes packed = pattern(w * h * 3, 12), rows = fromTheTop(packed, w, h);
    std::ofstream(name("in.rgb"), std::ios::binary)
        .write(reinterpret_cast<const char*>(rows.data()), std::streamsize(rows.size()));
    const auto [converted, said] =
        shell("convert -size 38x11 -depth 8 rgb:" + name("in.rgb") + " -type truecolor BMP3:" + name("in.bmp"));
    ASSERT_TRUE(converted) << said;
    field.SetDarkSize(w, h);
    ASSERT_EQ(field.Import(toUtf16(name("in.bmp")).c_str()), S_OK);
    std::unique_ptr<uint8_t[]> taken;
    field.TakeDark(&taken, nullptr, nullptr);
    EXPECT_EQ(Bytes(taken.get(), taken.get() + packed.size()), packed);
}

// --- what a frame costs, and what may happen at once

TEST_F(DarkFieldTest, FramesTakeNothingFromTheHeap) {
    Bytes frame = frameOf(9);
    setDark(withHotPixel());
    field.Enable(1);
    field.Capture(
        2000, [](void*, uint32_t, uint32_t, const uint8_t*, uint32_t, uint32_t) {}, nullptr);
    const size_t before = allocations();
    for (int i = 0; i < 1000; ++i) {
        field.Accumulate(frame.data(), 3, width, height);
        field.Apply(frame.data(), 3, width, height);
        field.Apply(frame.data(), 3, width - 1, height);
    }
    EXPECT_EQ(allocations() - before, 0u);
    EXPECT_EQ(frame[0], 9);
}

TEST_F(DarkFieldTest, AnIdleFrameTakesNoLock) {
    // Another thread holds the lock, in a callback that waits for the frames below.
    DarkField other(disk);
    other.SetDarkSize(width, height);
    other.SetDark(owned(Bytes(width * height * 3, 1)), width, height);
    struct Context {
        DarkField& field;
        std::atomic<bool> inside = false, over = false;
    } context{other, {}, {}};
    std::thread holder([&context] {
        context.field.Capture(0, nullptr, nullptr);
        context.field.Capture(
            0,
            [](void* given, uint32_t, uint32_t, const uint8_t*, uint32_t, uint32_t) {
                auto& c = *static_cast<Context*>(given);
                c.inside = true;
                while (!c.over) std::this_thread::yield();
            },
            &context);
    });
    while (!context.inside) std::this_thread::yield();
    Bytes frame = frameOf(9);
    EXPECT_EQ(other.Accumulate(frame.data(), 3, width, height), S_FALSE);  // the first capture is over
    other.Apply(frame.data(), 3, width, height);                           // there is a dark frame, but not enabled
    EXPECT_EQ(frame, frameOf(9));
    context.over = true;
    holder.join();
}

TEST_F(DarkFieldTest, FramesAndTheHostMeetWithoutARace) {
    disk.put(path, fileOf(Bytes(width * height * 3, 2)));
    std::atomic<bool> over = false;
    std::atomic<int> rounds = 0, completed = 0;
    std::thread source([&] {
        const Bytes clean = frameOf(50);
        for (int i = 0; i < 200 || (rounds < 400 && i < 1'000'000); ++i) {
            Bytes frame = clean;
            if (field.Accumulate(frame.data(), 3, width, height) != S_OK) field.Apply(frame.data(), 3, width, height);
            // Every channel alike, whatever dark frame was in force: 2 from the file, 50 captured, 7 handed over.
            ASSERT_TRUE(frame == frameOf(50) || frame == frameOf(48) || frame == frameOf(0) || frame == frameOf(43));
        }
        over = true;
    });
    std::thread host([&] {
        for (uint32_t i = 0; !over; ++i, ++rounds) {
            field.Enable(i % 3);
            field.Capture(
                i % 4,
                [](void* count, uint32_t, uint32_t, const uint8_t* complete, uint32_t, uint32_t) {
                    if (complete) ++*static_cast<std::atomic<int>*>(count);
                },
                &completed);
            EXPECT_EQ(field.Import(path.c_str()), S_OK);
            std::unique_ptr<uint8_t[]> taken;
            if (i % 2) field.TakeDark(&taken, nullptr, nullptr);
            if (i % 5 == 0) setDark(7);
            field.IsDfc();
            field.HasDfc();
        }
    });
    std::thread writer([&] {
        while (!over) {
            const HRESULT result = field.Export(u"out.bmp");
            EXPECT_TRUE(result == S_OK || result == E_UNEXPECTED);
            std::this_thread::yield();
        }
    });
    source.join();
    host.join();
    writer.join();
    EXPECT_GT(completed, 0);
}

TEST_F(DarkFieldTest, ChangesOfSizeMeetFramesWithoutARace) {
    std::atomic<bool> over = false;
    std::atomic<int> rounds = 0;
    std::thread source([&] {
        for (int i = 0; i < 200 || (rounds < 200 && i < 1'000'000); ++i) {
            const uint32_t w = width + uint32_t(i % 2) * 30;
            Bytes frame = frameOf(50, w, height);
            field.Accumulate(frame.data(), 3, w, height);
            field.Apply(frame.data(), 3, w, height);
        }
        over = true;
    });
    std::thread owner([&] {
        for (uint32_t i = 0; !over; ++i, ++rounds) {
            field.SetDarkSize(width + i % 2 * 30, height);
            field.Enable(1);
            field.Capture(1, nullptr, nullptr);
            if (i % 3 == 0) field.SetDark(owned(Bytes(width * height * 3, 1)), width, height);
        }
    });
    source.join();
    owner.join();
}

// --- as a part of a sink

TEST(SinkDarkField, ASinkAnswersForItsDarkField) {
    SinkRig rig(SinkMode::Copying);
    void* asked = nullptr;
    ASSERT_EQ(rig.sink.QueryInterface(IID_IDfc, &asked), S_OK);
    IDfc* const dark = static_cast<IDfc*>(asked);
    EXPECT_EQ(dark, static_cast<IDfc*>(&rig.sink));
    EXPECT_EQ(dark->AddRef(), 2u);
    EXPECT_EQ(dark->Release(), 2u);
    void* back = nullptr;
    ASSERT_EQ(dark->QueryInterface(IID_IFrameInfo, &back), S_OK);
    EXPECT_EQ(back, static_cast<IFrameInfo*>(&rig.sink));
}

TEST(SinkDarkField, EveryOperationOfTheInterfaceReachesIt) {
    SinkRig rig(SinkMode::Copying);
    rig.setVideoSize(width, height);
    IDfc& dark = rig.sink;
    Telling heard;
    EXPECT_EQ(dark.IsDfc(), 0);
    EXPECT_EQ(dark.HasDfc(), 0);
    EXPECT_EQ(dark.Enable(1), S_OK);
    EXPECT_EQ(dark.IsDfc(), 1);
    EXPECT_EQ(dark.Capture(1, tell, &heard), 1);
    EXPECT_EQ(rig.sink.Accumulate(frameOf(3).data(), 3, width, height), S_OK);
    EXPECT_EQ(heard.size(), 1u);
    EXPECT_EQ(dark.HasDfc(), 1);
    EXPECT_EQ(dark.Export(path.c_str()), S_OK);
    EXPECT_EQ(rig.disk.bytes(path), fileOf(Bytes(width * height * 3, 3)));
    std::unique_ptr<uint8_t[]> taken;
    int32_t w = 0, h = 0;
    EXPECT_EQ(dark.TakeDark(&taken, &w, &h), S_OK);
    EXPECT_EQ(dark.HasDfc(), 0);
    EXPECT_EQ(dark.SetDark(std::move(taken), w, h), S_OK);
    EXPECT_EQ(dark.HasDfc(), 1);
    EXPECT_EQ(dark.Import(path.c_str()), S_OK);
    Bytes frame = frameOf(10);
    rig.sink.Apply(frame.data(), 3, width, height);
    EXPECT_EQ(frame, frameOf(7));
}

TEST(SinkDarkField, ItsSizeIsThatOfTheVideo) {
    for (const SinkMode mode : everyMode) {
        SinkRig rig(mode);
        IDfc& dark = rig.sink;
        EXPECT_EQ(dark.Capture(1, nullptr, nullptr), 0);
        rig.setVideoSize(width, height);
        EXPECT_EQ(dark.Capture(1, nullptr, nullptr), 1);
        EXPECT_EQ(rig.sink.Accumulate(frameOf(3).data(), 3, width, height), S_OK);
        dark.Enable(1);
        rig.setVideoSize(width, height);
        EXPECT_EQ(dark.HasDfc(), 1);
        EXPECT_EQ(dark.IsDfc(), 1);
        rig.setVideoSize(width, height + 2);
        EXPECT_EQ(dark.HasDfc(), 0);
        EXPECT_EQ(dark.IsDfc(), 0);
    }
}

TEST(SinkDarkField, AnUncorrectedFrameIsShownAsItCame) {
    ReadyRig rig(SinkMode::Copying);
    rig.sink.SetDark(owned(Bytes(readyWidth * readyHeight * 3, 9)), readyWidth, readyHeight);
    rig.sink.Enable(1);
    const Bytes shown = picture(readyWidth, readyHeight, 1);
    rig.show(shown);
    EXPECT_EQ(imageOf(rig.sink), shown);
}

}  // namespace dark_field_test
}  // namespace vexcap::test
