#include "overlay/text/scale_bar.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/mul_div.h"
#include "base/text.h"

namespace vexcap {
namespace {

constexpr int32_t longestBar = 1 << 28;        // no target is as wide
constexpr int32_t renderTargetThickness = 12;  // whatever `ScaleSize` says

int32_t baseThickness(int32_t index) {
    constexpr int32_t thicknesses[] = {5, 8, 11, 14, 17, 20, 23};
    return index >= 0 && index < int32_t(std::size(thicknesses)) ? thicknesses[index] : 14;
}

bool equal(const std::optional<std::u16string>& kept, const vex_char* given) {
    return kept.has_value() == (given != nullptr) && (!kept || *kept == textOf(given));
}

std::optional<std::u16string> copyOf(const vex_char* given) {
    return given ? std::optional<std::u16string>(textOf(given)) : std::nullopt;
}

const vex_char* borrowed(const std::optional<std::u16string>& kept) { return kept ? kept->c_str() : nullptr; }

/// Right and bottom are left out; all of it lies within the mask.
void fill(const TextMask& mask, int32_t left, int32_t top, int32_t right, int32_t bottom) {
    for (int32_t y = top; y < bottom; ++y)
        std::memset(mask.pixels + size_t(y) * size_t(mask.width) + left, 255, size_t(right - left));
}

}  // namespace

/// Numbers that both ways of drawing share.
struct ScaleBar::Plan {
    TextFont font;
    std::u16string_view mainText, powerText;
    TextSize main, power;  // of the texts; an absent power text has no size
    int32_t bar;           // length
    int32_t thickness;     // odd
    int32_t half;          // room on either side of the middle of the bar

    int32_t Width() const { return std::max({main.width, power.width, bar}) + 2 * half; }
    int32_t Height() const { return 2 * half + thickness + main.height + power.height; }
    int32_t Middle() const { return half + main.height; }
    int32_t PowerTop() const { return 2 * half + thickness + main.height; }
};

void ScaleBar::Set(const ScaleTexts& scale) {
    if (std::abs(scale.videoLength - videoLength) < std::numeric_limits<double>::epsilon() &&
        scale.stillLength == stillLength && equal(videoText, scale.videoText) && equal(stillText, scale.stillText) &&
        equal(powerText, scale.powerText))
        return;
    Reset();
    videoLength = scale.videoLength;
    stillLength = scale.stillLength;
    videoText = copyOf(scale.videoText);
    stillText = copyOf(scale.stillText);
    powerText = copyOf(scale.powerText);
}

ScaleTexts ScaleBar::Get() const {
    return {videoLength, borrowed(videoText), stillLength, borrowed(stillText), borrowed(powerText)};
}

bool ScaleBar::Complete(FrameMode mode) const { return HasLength(mode) && MainText(mode) && powerText; }

bool ScaleBar::Shown(FrameMode mode, const MarkerTxt& txt) const {
    return txt.Scale != 0 && HasLength(mode) && MainText(mode) && (txt.ScaleWithPower == 0 || powerText);
}

int32_t ScaleBar::BarLength(const TextTarget& target) const {
    // A still's length is cut off, a video's is rounded.
    if (target.mode == FrameMode::Still)
        return int32_t(std::min<int64_t>(int64_t(stillLength) * target.width / target.imageWidth, longestBar));
    return int32_t(std::min(videoLength * target.width / target.imageWidth + 0.5, double(longestBar)));
}

ScaleBar::Plan ScaleBar::MakePlan(ITextRaster& texts, const TextTarget& target, const MarkerTxt& txt,
                                  int32_t base) const {
    Plan plan = {};
    plan.font = overlayFont(txt, target.imageHeight, target);
    plan.mainText = *MainText(target.mode);
    plan.main = measureText(texts, target, plan.font, plan.mainText);
    if (txt.ScaleWithPower != 0) {
        plan.powerText = *powerText;
        plan.power = measureText(texts, target, plan.font, plan.powerText);
    }
    plan.bar = BarLength(target);
    plan.thickness = mulDiv(base, target.AvailableHeight(), 768) / 3 | 1;
    plan.half = plan.thickness < 8 ? 4 : plan.thickness / 2;
    return plan;
}

bool ScaleBar::Prepare(ITextRaster& texts, const TextTarget& target, const MarkerTxt& txt) {
    if (!Shown(target.mode, txt) || BarLength(target) < 1) return false;
    if (bitmap.IsFor(target)) return bitmap.Ready();
    const Plan plan = MakePlan(texts, target, txt, baseThickness(txt.ScaleSize));
    // Caps stand beyond the bar in a picture, and within it on a render target.
    const int32_t caps = target.renderTarget ? 0 : 2 * plan.thickness;
    bitmap.Make(target, {plan.Width() + caps, plan.Height()});
    if (bitmap.Ready() && !target.renderTarget) DrawBitmap(texts, plan);
    return bitmap.Ready();
}

void ScaleBar::DrawBitmap(ITextRaster& texts, const Plan& plan) {
    const TextMask mask = bitmap.Pixels();
    // A text that cannot be drawn leaves the bar without it.
    texts.Draw(plan.font, plan.mainText, mask, (mask.width - plan.main.width) / 2, 0);
    if (plan.power.width > 0)
        texts.Draw(plan.font, plan.powerText, mask, (mask.width - plan.power.width) / 2, plan.PowerTop());

    // As a pen of this thickness draws them: a line at x covers the columns from x - reach to x + reach.
    const int32_t reach = plan.thickness / 2;
    const int32_t middle = plan.Middle(), left = (mask.width - plan.bar) / 2, right = left + plan.bar;
    fill(mask, left, middle - reach, right, middle + reach + 1);
    const int32_t capTop = middle - plan.thickness - 2, capBottom = middle + plan.thickness + 2;
    fill(mask, left - 2 * reach, std::max(capTop, 0), left + 1, std::min(capBottom, mask.height));
    fill(mask, right, std::max(capTop, 0), right + 2 * reach + 1, std::min(capBottom, mask.height));
}

void ScaleBar::Paint(ITextRaster& texts, const TextTarget& target, const MarkerTxt& txt, float left, float top) const {
    vex_render_target& canvas = *target.renderTarget;
    const Plan plan = MakePlan(texts, target, txt, renderTargetThickness);
    const auto drawText = [&](std::u16string_view text, uint32_t flags, int32_t textTop, int32_t height) {
        const vex_text_format format = textFormat(plan.font, flags);
        const vex_rect_f band = {left, top + float(textTop), left + float(plan.Width()),
                                 top + float(textTop) + float(height)};
        canvas.DrawText(&format, text.data(), uint32_t(text.size()), &band, txt.ScaleColor);
    };
    drawText(plan.mainText, VEX_TEXT_CENTRE, 0, plan.main.height);
    if (plan.power.width > 0)
        drawText(plan.powerText, VEX_TEXT_CENTRE | VEX_TEXT_MIDDLE, plan.PowerTop(), plan.power.height);

    const float barLeft = left + float((plan.Width() - plan.bar) / 2), barRight = barLeft + float(plan.bar);
    const float middle = top + float(plan.Middle()), thickness = float(plan.thickness);
    const auto drawLine = [&](vex_point_f from, vex_point_f to) {
        canvas.DrawLine(from, to, txt.ScaleColor, thickness);
    };
    drawLine({barLeft, middle}, {barRight, middle});
    const float inwards = float(plan.thickness / 2), capReach = thickness + 2;
    for (const float x : {barLeft + inwards, barRight - inwards})
        drawLine({x, middle - capReach}, {x, middle + capReach});
}

}  // namespace vexcap
