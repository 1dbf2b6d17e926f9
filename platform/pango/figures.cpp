#include "platform/pango/figures.h"

#include <algorithm>
#include <string>

namespace vexcap::pango {
namespace {

constexpr uint8_t noFigure = 255;

/// The place of each ASCII character in figureCharacters.
constexpr auto places = [] {
    std::array<uint8_t, 128> table{};
    table.fill(noFigure);
    for (size_t i = 0; i < figureCharacters.size(); ++i) table[figureCharacters[i]] = uint8_t(i);
    return table;
}();

/// What a line draws, and where its mask begins.
struct Drawing {
    explicit Drawing(const LineBox& whole)
        : box(whole), size(whole.Size()), pixels(size_t(size.width) * size_t(size.height)) {}
    TextMask Mask() { return {pixels.data(), size.width, size.height}; }
    const LineBox box;
    const TextSize size;
    std::vector<uint8_t> pixels;
};

}  // namespace

bool isFigures(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char16_t unit) { return unit < places.size() && places[unit] != noFigure; });
}

Figures::Figures(Line& line) {
    for (size_t i = 0; i < figures.size(); ++i) figures[i] = Drawn(line, figureCharacters.substr(i, 1));
    usable = AgreeWith(line);
}

Figures::Figure Figures::Drawn(Line& line, std::u16string_view character) {
    Figure figure;
    figure.box = line.Box(character);
    // Ink may stand out of its place on the right, too, so the box alone does not tell where the next one begins.
    figure.advance = line.Box(std::u16string(character) + std::u16string(character)).right - figure.box.right;
    Drawing drawing(figure.box);
    if (!line.Draw(character, drawing.Mask(), 0, 0)) return figure;
    for (int32_t row = 0; row < drawing.size.height; ++row)
        forEachRun(
            std::span(drawing.pixels).subspan(size_t(row) * size_t(drawing.size.width), size_t(drawing.size.width)),
            row + figure.box.top, [&](const Run& run) {
                figure.runs.push_back({run.row, run.left + figure.box.left, run.right + figure.box.left});
            });
    return figure;
}

const Figures::Figure& Figures::Of(char16_t unit) const { return figures[places[unit]]; }

LineBox Figures::Box(std::u16string_view text) const {
    LineBox whole = text.empty() ? LineBox() : Of(text[0]).box;
    int32_t place = 0;
    for (const char16_t unit : text) {
        LineBox box = Of(unit).box;
        box.left += place;
        box.right += place;
        whole.Add(box);
        place += Of(unit).advance;
    }
    return whole;
}

void Figures::Draw(std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) const {
    const LineBox box = Box(text);
    const int64_t end = int64_t(x) + box.Size().width;
    int64_t place = int64_t(x) - box.left;
    for (const char16_t unit : text) {
        for (const Run& run : Of(unit).runs) setRun(mask, run, place, int64_t(y) - box.top, end);
        place += Of(unit).advance;
    }
}

/// Each figure stands beside each other one, on both sides.
bool Figures::AgreeWith(Line& line) const {
    for (size_t first = 0; first < figureCharacters.size(); ++first) {
        std::u16string text;
        for (const char16_t second : figureCharacters.substr(first)) text += {figureCharacters[first], second};
        const LineBox box = line.Box(text);
        if (Box(text) != box) return false;
        Drawing want(box), got(box);
        if (!line.Draw(text, want.Mask(), 0, 0)) return false;
        Draw(text, got.Mask(), 0, 0);
        if (got.pixels != want.pixels) return false;
    }
    return true;
}

}  // namespace vexcap::pango
