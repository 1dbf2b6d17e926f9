#include "overlay/text/scale_bar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "overlay/marker_testing.h"
#include "platform/fake/recording_target.h"

namespace vexcap {
namespace scale_bar_test {

using Kind = test::TargetCall::Kind;

/// A bar of 100 pixels with two texts, in a video of 1000 x 768; the font is 21 pixels high on a cell of 10.
struct BarRig {
    BarRig() {
        txt.Scale = 1;
        bar.Set({100, u"main", 200, u"still", u"power"});
    }
    bool prepare() { return bar.Prepare(texts, target, txt); }
    int32_t height() { return prepare() ? bar.Size().height : -1; }
    int32_t width() { return prepare() ? bar.Size().width : -1; }

    MarkerTxt txt = test::plainTxt();
    test::LoggingRaster texts;
    TextTarget target = {FrameMode::Video, 1000, 768, 1000, 768, {}};
    ScaleBar bar;
};

TEST(ScaleBar, IsShownWithALengthAndTheTextsThatItShows) {
    struct Case {
        ScaleTexts scale;
        uint32_t on, power;
        FrameMode mode;
        bool shown, complete;
    };
    constexpr FrameMode video = FrameMode::Video, window = FrameMode::Window, still = FrameMode::Still;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Case& c : {
             Case{{10, u"a", 10, u"b", u"p"}, 1, 1, video, true, true},
             Case{{10, u"a", 0, nullptr, u"p"}, 1, 0, window, true, true},
             Case{{0, nullptr, 10, u"b", u"p"}, 1, 0, still, true, true},
             Case{{10, u"a", 10, u"b", u"p"}, 0, 1, video, false, true},
             Case{{0, u"a", 10, u"b", u"p"}, 1, 0, video, false, false},
             Case{{-3, u"a", 10, u"b", u"p"}, 1, 0, window, false, false},
             Case{{nan, u"a", 10, u"b", u"p"}, 1, 0, window, false, false},
             Case{{10, u"a", 0, u"b", u"p"}, 1, 0, still, false, false},
             Case{{10, nullptr, 10, u"b", u"p"}, 1, 0, video, false, false},
             Case{{10, u"a", 10, nullptr, u"p"}, 1, 0, still, false, false},
             Case{{10, u"a", 10, u"b", nullptr}, 1, 0, video, true, false},
             Case{{10, u"a", 10, u"b", nullptr}, 1, 1, video, false, false},
             Case{{10, u"a", 10, u"b", nullptr}, 1, 1, still, false, false},
             Case{{10, u"", 10, u"b", u""}, 1, 1, video, true, true},
         }) {
        BarRig rig;
        rig.bar.Set(c.scale);
        rig.txt.Scale = c.on;
        rig.txt.ScaleWithPower = c.power;
        rig.target.mode = c.mode;
        EXPECT_EQ(rig.prepare(), c.shown);
        EXPECT_EQ(rig.bar.Complete(c.mode), c.complete);
    }
}

TEST(ScaleBar, AVideosLengthIsRoundedAndAStillsCutOff) {
    BarRig rig;
    rig.target.imageWidth = 400;
    // The width shows the bar once it is longer than the texts: 500 and more.
    const auto lengthOf = [&](double video, uint32_t still, FrameMode mode) {
        rig.bar.Set({video, u"", still, u"", nullptr});
        rig.target.mode = mode;
        return rig.width() - 2 * (4 + 5);
    };
    EXPECT_EQ(lengthOf(200.2, 201, FrameMode::Video), 501);    // 500.5
    EXPECT_EQ(lengthOf(200.19, 201, FrameMode::Window), 500);  // 500.475
    EXPECT_EQ(lengthOf(200.2, 201, FrameMode::Still), 502);    // 502.5
    EXPECT_EQ(lengthOf(200.2, 203, FrameMode::Still), 507);    // 507.5
}

TEST(ScaleBar, ALengthBelowOnePixelShowsNothingAndAnEndlessOneHasNoRoom) {
    BarRig rig;
    rig.bar.Set({0.49, u"a", 1, u"b", nullptr});
    EXPECT_FALSE(rig.prepare());
    rig.bar.Set({0.5, u"a", 1, u"b", nullptr});
    EXPECT_TRUE(rig.prepare());
    rig.target.mode = FrameMode::Still;
    rig.target.imageWidth = 1001;
    EXPECT_FALSE(rig.prepare());
    rig.target.imageWidth = 1000;
    EXPECT_TRUE(rig.prepare());
    for (const double length : {1e9, 1e300, std::numeric_limits<double>::infinity()}) {
        rig.bar.Set({length, u"a", UINT32_MAX, u"b", nullptr});
        EXPECT_FALSE(rig.prepare());
        rig.target.mode = FrameMode::Video;
        EXPECT_FALSE(rig.prepare());
        rig.target.mode = FrameMode::Still;
    }
}

TEST(ScaleBar, ABarThatBecameTooShortIsGoneAlthoughItsPictureWasMade) {
    BarRig rig;
    ASSERT_TRUE(rig.prepare());
    rig.target.imageWidth = 1'000'000;
    EXPECT_FALSE(rig.prepare());
}

TEST(ScaleBar, ThicknessFollowsItsIndexAndTheAvailableHeight) {
    const auto thickness = [](int32_t index, int32_t height, int32_t top) {
        BarRig rig;
        rig.txt.ScaleSize = index;
        rig.target.height = rig.target.imageHeight = height;
        rig.target.margins.top = top;
        rig.bar.Set({100, u"", 0, nullptr, nullptr});
        const int32_t rows = rig.height();  // 2 * half + thickness
        return rows - 8 < 8 ? rows - 8 : (rows + 1) / 2;
    };
    const int32_t expected[] = {1, 3, 3, 5, 5, 7, 7};  // a third of 5 to 23, made odd
    for (int32_t index = 0; index < 7; ++index) EXPECT_EQ(thickness(index, 768, 0), expected[index]) << index;
    for (const int32_t index : {-1, 7, INT32_MAX}) EXPECT_EQ(thickness(index, 768, 0), 5) << index;
    EXPECT_EQ(thickness(3, 1536, 0), 9);   // 28 / 3
    EXPECT_EQ(thickness(6, 3072, 0), 31);  // 92 / 3 = 30
    EXPECT_EQ(thickness(6, 1536, 768), 7) << "by the available height";
    EXPECT_EQ(thickness(0, 60, 0), 1) << "never nothing";
}

TEST(ScaleBar, SizesAreThoseOfTextsBarAndCaps) {
    BarRig rig;  // thickness 5, half-height 4
    EXPECT_EQ(rig.width(), 100 + 18);
    EXPECT_EQ(rig.height(), 8 + 5 + 21);
    rig.bar.Reset();
    rig.txt.ScaleWithPower = 1;
    EXPECT_EQ(rig.height(), 8 + 5 + 42);
    rig.bar.Set({100, u"twelve units", 0, nullptr, u"a power of 19 units"});
    EXPECT_EQ(rig.width(), 190 + 18);
    rig.txt.ScaleWithPower = 0;
    rig.bar.Reset();
    EXPECT_EQ(rig.width(), 120 + 18);
}

TEST(ScaleBar, ThePictureIsTextBarCapsAndPowerText) {
    BarRig rig;
    rig.txt.ScaleWithPower = 1;
    rig.bar.Set({40, u"", 0, nullptr, u""});
    ASSERT_TRUE(rig.prepare());
    // Without texts: 58 x 13. The bar's rows are 2 to 6 around 4, its columns 9 to 48. The caps' columns are 5 to 9 and
    // 49 to 53, their rows would be -3 to 10.
    ASSERT_EQ(rig.bar.Size(), (TextSize{58, 13}));
    for (int32_t y = 0; y < 13; ++y)
        for (int32_t x = 0; x < 58; ++x) {
            const bool bar = y >= 2 && y <= 6 && x >= 9 && x <= 48;
            const bool caps = y <= 10 && ((x >= 5 && x <= 9) || (x >= 49 && x <= 53));
            ASSERT_EQ(rig.bar.Drawn().pixels[y * 58 + x], bar || caps ? 255 : 0) << x << ", " << y;
        }
    EXPECT_EQ(rig.texts.drawn, (std::vector<std::u16string>{u""})) << "a power text without width is not drawn";
}

TEST(ScaleBar, ThePictureIsMadeOncePerTarget) {
    BarRig rig;
    rig.prepare();
    rig.prepare();
    EXPECT_EQ(rig.texts.measured, (std::vector<std::u16string>{u"main"}));
    EXPECT_EQ(rig.texts.drawn, (std::vector<std::u16string>{u"main"}));
    rig.target.mode = FrameMode::Still;
    rig.prepare();
    EXPECT_EQ(rig.texts.drawn, (std::vector<std::u16string>{u"main", u"still"}));
    rig.txt.ScaleWithPower = 1;
    ++rig.target.width;
    rig.prepare();
    EXPECT_EQ(rig.texts.drawn, (std::vector<std::u16string>{u"main", u"still", u"still", u"power"}));
}

TEST(ScaleBar, EqualValuesKeepThePictureAndOthersDropIt) {
    BarRig rig;
    rig.prepare();
    const std::u16string main = u"main", still = u"still", power = u"power";  // equal by content
    const auto drops = [&](const ScaleTexts& scale) {
        rig.texts.forget();
        rig.bar.Set(scale);
        rig.prepare();
        const bool dropped = !rig.texts.drawn.empty();
        rig.bar.Set({100, u"main", 200, u"still", u"power"});
        rig.prepare();
        return dropped;
    };
    EXPECT_FALSE(drops({100, main.c_str(), 200, still.c_str(), power.c_str()}));
    EXPECT_FALSE(drops({100, main.c_str(), 200, still.c_str(), power.c_str()}));
    EXPECT_TRUE(drops({std::nextafter(100, 101), u"main", 200, u"still", u"power"}));
    EXPECT_TRUE(drops({100, u"Main", 200, u"still", u"power"}));
    EXPECT_TRUE(drops({100, u"main", 201, u"still", u"power"}));
    EXPECT_TRUE(drops({100, u"main", 200, nullptr, u"power"}));
    EXPECT_TRUE(drops({100, u"main", 200, u"", u"power"}));
    EXPECT_TRUE(drops({100, u"main", 200, u"still", nullptr}));
}

TEST(ScaleBar, NullEqualsOnlyNullAndTinyDifferencesCountForNothing) {
    BarRig rig;
    rig.bar.Set({1e-3, u"a", 1, nullptr, nullptr});
    rig.target.imageWidth = 1;
    ASSERT_TRUE(rig.prepare());
    rig.texts.forget();
    rig.bar.Set({1e-3 + 1e-16, u"a", 1, nullptr, nullptr});
    rig.prepare();
    EXPECT_TRUE(rig.texts.drawn.empty());
    EXPECT_EQ(rig.bar.Get().videoLength, 1e-3);
    rig.bar.Set({1e-3, u"a", 1, nullptr, u""});
    rig.prepare();
    EXPECT_FALSE(rig.texts.drawn.empty());
}

TEST(ScaleBar, TheTextsAreCopied) {
    ScaleBar bar;
    {
        const std::u16string gone = u"a text that is longer than any string's own room";
        bar.Set({1, gone.c_str(), 2, gone.c_str(), gone.c_str()});
    }
    const ScaleTexts kept = bar.Get();
    EXPECT_EQ(std::u16string(kept.videoText), u"a text that is longer than any string's own room");
    EXPECT_EQ(std::u16string(kept.stillText), std::u16string(kept.powerText));
    bar.Set({});
    EXPECT_EQ(bar.Get().videoText, nullptr);
    EXPECT_EQ(bar.Get().powerText, nullptr);
}

TEST(ScaleBar, ARenderTargetHasNoRoomForCapsBesideTheBar) {
    BarRig rig;
    test::RecordingTarget target;
    rig.target.renderTarget = &target;
    rig.target.mode = FrameMode::Window;
    rig.txt.ScaleWithPower = 1;
    EXPECT_EQ(rig.width(), 100 + 8);
    EXPECT_EQ(rig.height(), 8 + 5 + 42);
    EXPECT_EQ(rig.bar.Drawn().pixels, nullptr);
    EXPECT_TRUE(rig.texts.measured.empty());
    EXPECT_TRUE(target.calls.empty());
}

TEST(ScaleBar, OnARenderTargetItIsDrawnByAnArithmeticOfItsOwn) {
    BarRig rig;
    test::RecordingTarget target;
    rig.target = {FrameMode::Window, 2000, 2304, 1000, 768, {}, &target};
    rig.txt.ScaleSize = 6;  // counts for the size, not for the drawing
    rig.txt.ScaleWithPower = 1;
    rig.txt.ScaleColor = 0x123456;
    ASSERT_TRUE(rig.prepare());
    EXPECT_EQ(rig.bar.Size().height, 22 + 23 + 126) << "69 / 3 = 23, half of it 11";
    rig.bar.Paint(rig.texts, rig.target, rig.txt, 300, 400);
    // Font 63, thickness 36 / 3 = 12, made 13, half 6; the bar of 200 is wider than "power" with 155.
    const auto texts = target.Of(Kind::Text), lines = target.Of(Kind::Line);
    ASSERT_EQ(texts.size(), 2u);
    const auto place = [](const test::TargetCall& call) { return std::vector<float>{call.a, call.b, call.c, call.d}; };
    EXPECT_EQ(texts[0].text, u"main");
    EXPECT_EQ(place(texts[0]), (std::vector<float>{300, 400, 512, 463}));
    EXPECT_EQ(texts[0].format.flags, uint32_t(VEX_TEXT_CENTRE));
    EXPECT_EQ(texts[1].text, u"power");
    EXPECT_EQ(place(texts[1]), (std::vector<float>{300, 400 + 12 + 13 + 63, 512, 400 + 12 + 13 + 126}));
    EXPECT_EQ(texts[1].format.flags, uint32_t(VEX_TEXT_CENTRE | VEX_TEXT_MIDDLE));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(place(lines[0]), (std::vector<float>{306, 469, 506, 469}));
    EXPECT_EQ(place(lines[1]), (std::vector<float>{312, 469 - 15, 312, 469 + 15})) << "within the bar's left end";
    EXPECT_EQ(place(lines[2]), (std::vector<float>{500, 469 - 15, 500, 469 + 15}));
    for (const auto& line : lines) EXPECT_EQ(line.width, 13);
    for (const auto& call : target.calls) EXPECT_EQ(call.colour, 0x123456u);
    for (const auto& text : texts) {
        EXPECT_EQ(text.format.height, 63);
        EXPECT_EQ(text.format.weight, 400);
    }
}

TEST(ScaleBar, OnARenderTargetAPowerTextThatIsOffIsNotDrawn) {
    BarRig rig;
    test::RecordingTarget target;
    rig.target = {FrameMode::Window, 1000, 768, 1000, 768, {}, &target};
    ASSERT_TRUE(rig.prepare());
    rig.bar.Paint(rig.texts, rig.target, rig.txt, 0, 0);
    EXPECT_EQ(target.Of(Kind::Text).size(), 1u);
    EXPECT_EQ(target.Of(Kind::Line).size(), 3u);
    EXPECT_EQ(target.Of(Kind::Line)[0].width, 5) << "12 / 3, made odd";
}

}  // namespace scale_bar_test
}  // namespace vexcap
