// The text block as it is expected, worked out a second time: pixel by pixel, rows counted from the bottom.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "overlay/marker_testing.h"

namespace vexcap::test {

/// What is to be drawn, told in full.
struct TextScene {
    MarkerTxt txt = plainTxt();
    int32_t width = 640, height = 480;            // of the target
    int32_t imageWidth = 640, imageHeight = 480;  // of the picture
    OverlayMargins margins = {};
    std::u16string date, datePattern;  // none: empty
    std::u16string figure;
    double bar = 0;  // pixels on the target, before it is made whole; 0 for none
    std::u16string scaleText, powerText;
};

struct ExpectedItem {
    int32_t width = 0, height = 0;
    uint32_t colour = 0;
    std::function<bool(int32_t column, int32_t row)> isSet;  // from the left, from the bottom
    int32_t x = 0, y = 0;
};

struct ExpectedBlock {
    std::optional<ExpectedItem> scale, date, figure;
    struct {
        int32_t left, bottom, right, top;
    } plate = {};  // grown, and clipped
};

inline TextFont expectedFont(const TextScene& scene) {
    const std::vector<double> heights = {12, 15, 18, 21, 24, 27, 30};
    const auto index = size_t(scene.txt.FontSize);
    const double base = index < heights.size() ? heights[index] : 21;
    double available = scene.height - double(scene.margins.top) - scene.margins.bottom;
    if (available < 1 || available > scene.height) available = scene.height;
    const int32_t weight = scene.txt.FontWeight == 0 ? 400 : scene.txt.FontWeight == 2 ? 900 : 700;
    return {std::max(12, int32_t(std::lround(base * available / scene.imageHeight))), weight};
}

/// Does the text cover this pixel? Columns from its left, rows from its top.
inline bool covers(const TextFont& font, const std::u16string& text, int32_t column, int32_t row) {
    const int32_t cell = FakeTextRaster::cellWidth(font);
    if (column < 0 || column >= cell * int32_t(text.size()) || row < 1 || row > font.height - 2) return false;
    const int32_t within = column % cell;
    return within >= 1 && within <= cell - 2 && FakeTextRaster::isSet(text[size_t(column / cell)], within, row);
}

inline ExpectedItem expectedLine(const TextFont& font, const std::u16string& pattern, const std::u16string& text,
                                 uint32_t colour) {
    const int32_t cell = FakeTextRaster::cellWidth(font), width = cell * int32_t(pattern.size());
    const int32_t start = (width - cell * int32_t(text.size())) / 2;
    return {width, font.height, colour,
            [=](int32_t column, int32_t row) { return covers(font, text, column - start, font.height - 1 - row); }};
}

/// As two pens of thickness T draw it: a line that passes through (x0, y0) to (x1, y1), without round ends.
inline ExpectedItem expectedScale(const TextScene& scene, const TextFont& font) {
    const std::vector<double> bases = {5, 8, 11, 14, 17, 20, 23};
    const auto index = size_t(scene.txt.ScaleSize);
    double available = scene.height - double(scene.margins.top) - scene.margins.bottom;
    if (available < 1 || available > scene.height) available = scene.height;
    int32_t T = int32_t(std::lround((index < bases.size() ? bases[index] : 14) * available / 768)) / 3;
    if (T % 2 == 0) ++T;
    const int32_t C = T < 8 ? 4 : T / 2, cell = FakeTextRaster::cellWidth(font);
    const std::u16string main = scene.scaleText, power = scene.txt.ScaleWithPower ? scene.powerText : u"";
    const int32_t mainWidth = cell * int32_t(main.size()), mainHeight = main.empty() ? 0 : font.height;
    const int32_t powerWidth = cell * int32_t(power.size()), powerHeight = power.empty() ? 0 : font.height;
    const int32_t bar = int32_t(scene.bar);
    const int32_t width = std::max(std::max(mainWidth, powerWidth), bar) + 2 * (C + T);
    const int32_t height = 2 * C + T + mainHeight + powerHeight;
    const int32_t y = C + mainHeight, x = (width - bar) / 2;
    const auto isSet = [=](int32_t column, int32_t upward) {
        const int32_t row = height - 1 - upward;
        if (covers(font, main, column - (width - mainWidth) / 2, row)) return true;
        if (covers(font, power, column - (width - powerWidth) / 2, row - (2 * C + T + mainHeight))) return true;
        if (column >= x && column <= x + bar - 1 && std::abs(row - y) <= T / 2) return true;
        const bool nearCap = std::abs(column - (x - T / 2)) <= T / 2 || std::abs(column - (x + bar + T / 2)) <= T / 2;
        return nearCap && row >= y - T - 2 && row < y + T + 2;
    };
    return {width, height, scene.txt.ScaleColor, isSet};
}

inline bool roomFor(const TextScene& scene, const ExpectedItem& item) {
    return item.width + 32 <= scene.width && item.height + 32 <= scene.height;
}

/// Places the items from a table of what stands where: x for the whole block, then each y on its own.
inline void placeExpected(const TextScene& scene, ExpectedBlock& block) {
    const OverlayMargins& m = scene.margins;
    const int32_t H = scene.height, W = scene.width, corner = scene.txt.MarkerPos;
    const auto heightOf = [](const std::optional<ExpectedItem>& item) { return item ? item->height : 0; };
    const int32_t hs = heightOf(block.scale), hd = heightOf(block.date), hf = heightOf(block.figure);
    int32_t widest = 0;
    for (const auto* item : {&block.scale, &block.date, &block.figure})
        if (*item) widest = std::max(widest, (*item)->width);
    int32_t x = corner % 2 == 1 ? m.left + 16 : W - widest - m.right - 16;
    if (corner == 4 && block.figure && !block.date && !block.scale) x += 2 * m.right;
    int32_t ys = 0, yd = 0, yf = 0;
    if (corner <= 2) {
        ys = H - hs - m.top - 16;
        yd = H - hs - hd - m.top - 16;
        if (block.date && block.figure && !block.scale) yd = H - hf - m.top - 16;
        yf = (block.date ? yd : block.scale ? ys : H - m.top - 16) - hf;
    } else {
        yf = m.bottom + 16;
        yd = yf + hf;
        ys = yd + hd;
    }
    int32_t left = 1 << 20, right = -left, bottom = left, top = -left;
    const auto put = [&](std::optional<ExpectedItem>& item, int32_t y) {
        if (!item) return;
        item->x = x + (widest - item->width) / 2;
        item->y = y;
        left = std::min(left, item->x);
        right = std::max(right, item->x + item->width);
        bottom = std::min(bottom, y);
        top = std::max(top, y + item->height);
    };
    put(block.scale, ys);
    put(block.date, yd);
    put(block.figure, yf);
    block.plate = {std::max(left - 2, 0), std::max(bottom - 2, 0), std::min(right + 2, W), std::min(top + 2, H)};
}

inline ExpectedBlock expectedBlock(const TextScene& scene) {
    const TextFont font = expectedFont(scene);
    ExpectedBlock block;
    if (scene.bar >= 1) block.scale = expectedScale(scene, font);
    if (!scene.date.empty()) block.date = expectedLine(font, scene.datePattern, scene.date, scene.txt.DateColor);
    if (!scene.figure.empty()) block.figure = expectedLine(font, u"9999.99", scene.figure, scene.txt.ContrastColor);
    for (auto* item : {&block.scale, &block.date, &block.figure})
        if (*item && !roomFor(scene, **item)) item->reset();
    placeExpected(scene, block);
    return block;
}

inline bool isEmpty(const ExpectedBlock& block) { return !block.scale && !block.date && !block.figure; }

/// Into a frame: its lowest row gets no text.
inline void expectOn(Frame& frame, const TextScene& scene) {
    const ExpectedBlock block = expectedBlock(scene);
    const int32_t plate = scene.txt.eBackground;
    if (isEmpty(block) || scene.txt.MarkerPos < 1 || scene.txt.MarkerPos > 4) return;
    if (plate == 1 || plate == 2)
        for (int32_t row = block.plate.bottom; row < block.plate.top; ++row)
            for (int32_t x = block.plate.left; x < block.plate.right; ++x) frame.set(x, row, plate == 1 ? 0 : 0xFFFFFF);
    for (const auto* item : {&block.date, &block.figure, &block.scale}) {
        if (!*item) continue;
        for (int32_t row = 0; row < (*item)->height; ++row)
            for (int32_t column = 0; column < (*item)->width; ++column) {
                const int32_t x = (*item)->x + column, y = (*item)->y + row;
                if (y >= 1 && y < frame.height && x >= 0 && x < frame.width && (*item)->isSet(column, row))
                    frame.set(x, y, (*item)->colour);
            }
    }
}

/// On a surface, in a rectangle of the scene's size. What would begin at 0 or before is not there.
inline void expectOn(Surface& surface, const vex_rect& rectangle, const TextScene& scene) {
    const ExpectedBlock block = expectedBlock(scene);
    const int32_t plate = scene.txt.eBackground;
    if (isEmpty(block)) return;
    if (plate == 1 || plate == 2)
        for (int32_t row = block.plate.bottom; row < block.plate.top; ++row)
            for (int32_t x = block.plate.left; x < block.plate.right; ++x)
                surface.set(rectangle.left + x, rectangle.bottom - 1 - row, plate == 1 ? 0 : 0xFFFFFF);
    for (const auto* item : {&block.date, &block.figure, &block.scale}) {
        if (!*item || rectangle.left + (*item)->x < 1 || rectangle.bottom - (*item)->height - (*item)->y < 1) continue;
        for (int32_t row = 0; row < (*item)->height; ++row)
            for (int32_t column = 0; column < (*item)->width; ++column)
                if ((*item)->isSet(column, row))
                    surface.set(rectangle.left + (*item)->x + column, rectangle.bottom - 1 - ((*item)->y + row),
                                (*item)->colour);
    }
}

}  // namespace vexcap::test
