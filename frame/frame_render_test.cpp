#include "frame/frame_render.h"

#include <gtest/gtest.h>

#include "frame/sink_testing.h"

namespace vexcap::test {
namespace frame_render_test {

constexpr uint32_t width = readyWidth, height = readyHeight;

// --- the object

TEST(FrameRender, AnswersItsInterfacesAndNoOther) {
    SinkRig rig(SinkMode::Pooled);
    void* out = nullptr;
    EXPECT_EQ(rig.sink.QueryInterface(IID_IFrameInfo, &out), S_OK);
    EXPECT_EQ(out, static_cast<IFrameInfo*>(&rig.sink));
    out = nullptr;
    EXPECT_EQ(rig.sink.QueryInterface(VEX_IID_UNKNOWN, &out), S_OK);
    EXPECT_EQ(out, static_cast<IFrameInfo*>(&rig.sink));
    EXPECT_EQ(rig.sink.QueryInterface(VEX_IID_CAMERA_RAW, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(rig.sink.QueryInterface(IID_IFrameInfo, nullptr), E_POINTER);
}

TEST(FrameRender, ItsIdentifierHasTheAgreedBytes) {
    const uint8_t agreed[16] = {0xEC, 0xDB, 0x7C, 0x58, 0x3D, 0xF0, 0xA5, 0x4D,
                                0x85, 0x2B, 0x8C, 0xF4, 0xC7, 0x8E, 0x31, 0x76};
    EXPECT_EQ(std::memcmp(&IID_IFrameInfo, agreed, 16), 0);
}

TEST(FrameRender, ItsReferencesAreAlwaysTwo) {
    SinkRig rig(SinkMode::Pooled);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rig.sink.AddRef(), 2u);
        EXPECT_EQ(rig.sink.Release(), 2u);
        EXPECT_EQ(rig.sink.Release(), 2u);
    }
}

TEST(FrameRender, PutFlipChangesOneBitAndTheHorizontalOneWhenBothAreMasked) {
    struct {
        uint32_t before, value, mask, after;
    } const table[] = {
        {0, 1, 1, 1}, {0, 3, 1, 1}, {1, 0, 1, 0}, {3, 2, 1, 2},  // bit 0
        {0, 2, 2, 2}, {0, 3, 2, 2}, {2, 0, 2, 0}, {3, 1, 2, 1},  // bit 1
        {0, 3, 3, 1}, {3, 0, 3, 2}, {2, 1, 3, 3},                // both: bit 0 alone
        {1, 2, 0, 1}, {2, 1, 4, 2},                              // neither
    };
    for (const auto& row : table) {
        SinkRig rig(SinkMode::Copying);
        rig.sink.PutFlip(row.before, 1);
        rig.sink.PutFlip(row.before, 2);
        ASSERT_EQ(rig.sink.Steps().flip(), row.before);
        EXPECT_EQ(rig.sink.PutFlip(row.value, row.mask), S_OK);
        EXPECT_EQ(rig.sink.Steps().flip(), row.after) << row.before << " " << row.value << " " << row.mask;
    }
}

TEST(FrameRender, GreyAndNegativeAreKeptAsGiven) {
    SinkRig rig(SinkMode::Copying);
    EXPECT_EQ(rig.sink.Steps().chrome(), 0u);
    EXPECT_EQ(rig.sink.Steps().negative(), 0u);
    EXPECT_EQ(rig.sink.PutChrome(7), S_OK);
    EXPECT_EQ(rig.sink.PutNegative(9), S_OK);
    EXPECT_EQ(rig.sink.Steps().chrome(), 7u);
    EXPECT_EQ(rig.sink.Steps().negative(), 9u);
}

TEST(FrameRender, GetFrameRateWantsTwoPlacesAndCanDoWithoutTheThird) {
    ReadyRig rig(SinkMode::Copying);
    rig.show(picture(width, height, 1));
    rig.clock.advance(500);
    uint32_t frames = 0, milliseconds = 0, total = 0;
    EXPECT_EQ(rig.sink.GetFrameRate(nullptr, &milliseconds, &total), E_POINTER);
    EXPECT_EQ(rig.sink.GetFrameRate(&frames, nullptr, &total), E_POINTER);
    EXPECT_EQ(rig.sink.GetFrameRate(&frames, &milliseconds, nullptr), S_OK);
    EXPECT_EQ(frames, 1u);
    EXPECT_EQ(milliseconds, 500u);
    EXPECT_EQ(rig.sink.GetFrameRate(&frames, &milliseconds, &total), S_OK);
    EXPECT_EQ(total, 1u);
}

// --- a frame's road

TEST(FrameRender, AFrameIsShownToldAndPassedOnInEachMode) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        const Bytes pixels = picture(width, height, 1);
        const void* const frame = rig.show(pixels);
        EXPECT_EQ(imageOf(rig.sink), pixels);
        EXPECT_EQ(rig.messages(), (Messages{{frameMessage, 0, 0}}));
        EXPECT_EQ(rig.window.invalidations(), 1u);
        EXPECT_EQ(rig.calls, (FrameCalls{{frame, width, height, 0}}));
        EXPECT_EQ(rig.totalFrames(), 1u);
    }
}

TEST(FrameRender, AFrameOfNoSizeKeepsTheStoredOneAndIsShownUnderIt) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        rig.show(picture(16, 8, 1), 16, 8);
        const Bytes second = picture(16, 8, 2);
        rig.show(second, 0, 0);
        EXPECT_EQ(rig.size(), std::pair(16u, 8u));
        EXPECT_EQ(imageOf(rig.sink), second);
        EXPECT_EQ(rig.messages().size(), 2u);
        ASSERT_EQ(rig.calls.size(), 2u);
        EXPECT_EQ(rig.calls[1].width, 0u);  // the callback hears what came
        EXPECT_EQ(rig.calls[1].height, 0u);
    }
}

TEST(FrameRender, ASizeOfOneZeroCountsAsNone) {
    ReadyRig rig(SinkMode::Copying);
    const Bytes pixels = picture(width, height, 1);
    rig.show(pixels, 0, 3);
    rig.show(pixels, 3, 0);
    EXPECT_EQ(rig.size(), std::pair(width, height));
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

TEST(FrameRender, AForgottenSizeIsHealedFromTheLastSetVideoSize) {
    ReadyRig rig(SinkMode::Pooled);
    rig.show(picture(16, 8, 1), 16, 8);
    rig.sink.Reset();
    EXPECT_EQ(rig.size(), std::pair(0u, 0u));
    const Bytes pixels = picture(width, height, 2);
    rig.show(pixels, 0, 0);
    EXPECT_EQ(rig.size(), std::pair(width, height));
    EXPECT_EQ(imageOf(rig.sink), pixels);
}

TEST(FrameRender, AFrameOfNoKnownSizeIsNotShownButPassedOn) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        rig.setVideoSize(0, 0);
        rig.sink.PutMaxSize(width, height);
        rig.show(picture(width, height, 1), 0, 0);
        EXPECT_TRUE(rig.messages().empty());
        EXPECT_EQ(rig.calls.size(), 1u);
        EXPECT_EQ(rig.size(), std::pair(0u, 0u));
    }
}

TEST(FrameRender, NullIsNoFrame) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        rig.receive(nullptr, width, height);
        EXPECT_EQ(rig.totalFrames(), 0u);
        EXPECT_TRUE(rig.calls.empty());
        EXPECT_TRUE(rig.messages().empty());
    }
}

TEST(FrameRender, TheFrameValueOneWithoutATextureDoesNothingAtAll) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        FrameCalls hooked;
        rig.sink.SetStitched(recordHook, &hooked);
        rig.sink.SetLiveStack(recordHook, &hooked, nullptr);
        rig.receive(reinterpret_cast<const void*>(1), width, height);
        EXPECT_EQ(rig.totalFrames(), 0u);
        EXPECT_TRUE(rig.messages().empty());
        EXPECT_TRUE(rig.calls.empty());
        EXPECT_TRUE(hooked.empty());
        EXPECT_TRUE(imageOf(rig.sink).empty() || mode == SinkMode::Owned);
    }
}

TEST(FrameRender, TheFrameValueOneWithATextureIsToldAndGoesToNoHook) {
    SinkRig rig(SinkMode::Pooled, 0, 3, true);
    int device = 0;
    rig.sink.SetVideoSize(width, height, &device, nullptr, nullptr);
    FrameCalls calls, hooked;
    rig.sink.SetNotify(rig.window.native(), frameMessage, recordFrame, &calls);
    rig.sink.SetStitched(recordHook, &hooked);
    rig.sink.SetLiveStack(recordHook, &hooked, nullptr);
    rig.receive(reinterpret_cast<const void*>(1), width, height);
    EXPECT_EQ(rig.messages(), (Messages{{frameMessage, 1, 0}}));
    EXPECT_EQ(rig.window.invalidations(), 0u);
    EXPECT_EQ(rig.totalFrames(), 0u);
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(hooked.empty());
    rig.window.clear();
    rig.sink.SetNotify(rig.window.native(), 0, nullptr, nullptr);
    rig.receive(reinterpret_cast<const void*>(1), width, height);
    rig.sink.SetNotify(nullptr, frameMessage, nullptr, nullptr);
    rig.receive(reinterpret_cast<const void*>(1), width, height);
    EXPECT_TRUE(rig.messages().empty());
}

TEST(FrameRender, AnOrdinaryFrameWhileThePictureIsATextureIsPassedOnAndNotShown) {
    SinkRig rig(SinkMode::Pooled, 0, 3, true);
    int device = 0;
    rig.sink.SetVideoSize(width, height, &device, nullptr, nullptr);
    FrameCalls calls;
    rig.sink.SetNotify(rig.window.native(), frameMessage, recordFrame, &calls);
    const Bytes pixels = picture(width, height, 1);
    rig.receive(pixels.data(), width, height);
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_EQ(calls.size(), 1u);
}

TEST(FrameRender, ATriggerWithCountZeroDropsEveryFrameBeforeItIsCounted) {
    for (const SinkMode mode : everyMode) {
        ReadyRig rig(mode);
        FrameCalls hooked;
        rig.sink.SetStitched(recordHook, &hooked);
        rig.sink.PutTrigger(1, 0);
        rig.show(picture(width, height, 1));
        EXPECT_EQ(rig.totalFrames(), 0u);
        EXPECT_TRUE(rig.messages().empty());
        EXPECT_TRUE(rig.calls.empty());
        EXPECT_TRUE(hooked.empty());
        rig.sink.PutTrigger(1, 1);
        rig.show(picture(width, height, 2));
        EXPECT_EQ(rig.totalFrames(), 1u);
        EXPECT_EQ(rig.calls.size(), 1u);
        rig.sink.PutTrigger(0, 0);
        rig.show(picture(width, height, 3));
        EXPECT_EQ(rig.calls.size(), 2u);
    }
}

TEST(FrameRender, TheSameTriggerOfCountOneResetsTheStatisticsOnlyOnce) {
    ReadyRig rig(SinkMode::Copying);
    const Bytes pixels = picture(width, height, 1);
    rig.show(pixels);
    rig.sink.PutTrigger(1, 1);
    EXPECT_EQ(rig.totalFrames(), 0u);
    EXPECT_EQ(rig.sink.TriggerOn(), 1);
    EXPECT_EQ(rig.sink.TriggerCount(), 1u);
    rig.show(pixels);
    rig.sink.PutTrigger(1, 1);
    EXPECT_EQ(rig.totalFrames(), 1u);
    rig.sink.PutTrigger(0, 1);  // not the same
    EXPECT_EQ(rig.totalFrames(), 0u);
    rig.sink.PutTrigger(1, 1);
    rig.show(pixels);
    rig.sink.PutTrigger(1, 2);
    rig.show(pixels);
    rig.sink.PutTrigger(1, 2);  // the same, but not of count 1
    EXPECT_EQ(rig.totalFrames(), 0u);
    EXPECT_EQ(rig.sink.TriggerCount(), 2u);
}

TEST(FrameRender, TheThrottleLimitsRepaintsAndNothingElse) {
    ReadyRig rig(SinkMode::Copying, 25);
    const Bytes pixels = picture(width, height, 1);
    for (int i = 0; i < 13; ++i) {
        rig.show(pixels);
        rig.clock.advance(10);
    }
    EXPECT_EQ(rig.window.invalidations(), 5u);
    EXPECT_EQ(rig.messages().size(), 13u);
    EXPECT_EQ(rig.calls.size(), 13u);
    EXPECT_EQ(rig.totalFrames(), 13u);
    rig.sink.PutThrottleOff(true);
    for (int i = 0; i < 4; ++i) rig.show(pixels);
    EXPECT_EQ(rig.window.invalidations(), 9u);
    rig.sink.PutThrottleOff(false);
    rig.clock.advance(640);
    for (int i = 0; i < 4; ++i) rig.show(pixels);
    EXPECT_EQ(rig.window.invalidations(), 10u);
}

// --- windows

TEST(FrameRender, AWindowWithoutAMessageIsRepaintedAndAMessageWithoutAWindowIsDropped) {
    ReadyRig rig(SinkMode::Copying);
    rig.sink.SetNotify(rig.window.native(), 0, nullptr, nullptr);
    rig.show(picture(width, height, 1));
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_EQ(rig.window.invalidations(), 1u);
    rig.sink.SetNotify(nullptr, frameMessage, nullptr, nullptr);
    rig.sink.SetSizeNotify(nullptr, sizeMessage);
    const vex_rect rectangle = {2, 2, 8, 8};
    rig.sink.SetBrightnessNotify(&rectangle, nullptr, brightnessMessage);
    rig.show(picture(width, height, 2));
    EXPECT_TRUE(rig.messages().empty());
    EXPECT_EQ(rig.window.invalidations(), 1u);
}

TEST(FrameRender, TheSizeMessageCarriesHeightWidthAndTheTag) {
    ReadyRig rig(SinkMode::Owned);
    rig.sink.SetNotify(nullptr, 0, nullptr, nullptr);
    rig.sink.SetSizeNotify(rig.window.native(), sizeMessage);
    void* const buffer = rig.next().display;
    ASSERT_NE(buffer, nullptr);
    rig.sink.ReceiveFrame(buffer, nullptr, nullptr, 0, 0, 16, 8, 0xFEDC'BA98'7654'3210u);
    EXPECT_EQ(rig.messages(), (Messages{{sizeMessage, 8u << 16 | 16u, intptr_t(0xFEDC'BA98'7654'3210u)}}));
}

TEST(FrameRender, ASizeMessageOfAHugeHeightIsSignExtended) {
    SinkRig rig(SinkMode::Copying);
    rig.sink.SetSizeNotify(rig.window.native(), sizeMessage);
    const Bytes pixels = picture(1, 0x8000, 1);
    rig.receive(pixels.data(), 1, 0x8000);
    EXPECT_EQ(rig.messages(), (Messages{{sizeMessage, uintptr_t(intptr_t(INT32_MIN + 1)), 0}}));
}

TEST(FrameRender, MessagesComeInTheOrderBrightnessFrameSize) {
    ReadyRig rig(SinkMode::Copying);
    const vex_rect rectangle = {0, 0, width, height};
    rig.sink.SetBrightnessNotify(&rectangle, rig.window.native(), brightnessMessage);
    rig.sink.SetSizeNotify(rig.window.native(), sizeMessage);
    const Bytes grey(picture(width, height, 1).size(), 100);
    rig.show(grey);
    const Messages all = rig.messages();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].message, brightnessMessage);
    EXPECT_EQ(all[1].message, frameMessage);
    EXPECT_EQ(all[2].message, sizeMessage);
}

/// A window that asks the sink from inside of a post, as a host may that handles messages at once.
struct AskingWindow {
    static AskingWindow& of(vex_window* window) { return *static_cast<AskingWindow*>(window->user); }
    static void post(vex_window* window, uint32_t, uintptr_t, intptr_t) {
        AskingWindow& self = of(window);
        self.seen = imageOf(self.sink);
        self.sink.SetSizeNotify(nullptr, 0);
    }
    CFrameRender& sink;
    Bytes seen;
    vex_window window = {&post, [](vex_window*) {}, nullptr, nullptr, this};
};

TEST(FrameRender, AWindowMayAskTheSinkFromInsideOfAPost) {
    ReadyRig rig(SinkMode::Copying);
    AskingWindow asking{rig.sink, {}};
    rig.sink.SetNotify(&asking.window, frameMessage, nullptr, nullptr);
    const Bytes pixels = picture(width, height, 1);
    rig.show(pixels);
    EXPECT_EQ(asking.seen, pixels);
}

}  // namespace frame_render_test
}  // namespace vexcap::test
