#include "overlay/text/text_block.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <limits>
#include <utility>

#include "overlay/text/date_line.h"

namespace vexcap {
namespace {

constexpr CivilTime patternMoment = {2006, 11, 27, 12, 45, 56};
constexpr std::u16string_view patternFigure = u"9999.99";
constexpr uint64_t fileTimePerSecond = 10'000'000;
constexpr size_t figureCapacity = 32;  // with a terminator

int32_t saturated(int64_t value) {
    return int32_t(
        std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

Box boxOf(const BlockBox& box, int64_t left, int64_t top) {
    return {saturated(box.left + left), saturated(box.top + top), saturated(box.right + left),
            saturated(box.bottom + top)};
}

vex_rect_f rectangleOf(const BlockBox& box, int64_t left, int64_t top) {
    return {float(box.left + left), float(box.top + top), float(box.right + left), float(box.bottom + top)};
}

/// A number as the C library writes it in the user's locale.
size_t writeFigure(double value, vex_char (&out)[figureCapacity]) {
    char text[figureCapacity];
    const int wanted = std::snprintf(text, sizeof text, "%.1f", value);
    if (wanted < 0) return 0;
    const char* next = text;
    const char* const end = text + std::min(size_t(wanted), sizeof text - 1);
    std::mbstate_t state = {};
    size_t length = 0;
    while (next < end) {
        wchar_t unit = 0;
        const size_t taken = std::mbrtowc(&unit, next, size_t(end - next), &state);
        if (taken == 0 || taken > size_t(end - next)) break;  // a decimal point that was cut through
        out[length++] = vex_char(unit);
        next += taken;
    }
    return length;
}

}  // namespace

void TextBlock::SetTxt(const MarkerTxt& record) {
    const MarkerTxt old = std::exchange(txt, record);
    const auto changed = [&](auto MarkerTxt::*field) { return old.*field != txt.*field; };
    const auto switched = [&](uint32_t MarkerTxt::*field) { return (old.*field != 0) != (txt.*field != 0); };
    const bool font = changed(&MarkerTxt::FontSize) || changed(&MarkerTxt::FontWeight);
    const bool moved = changed(&MarkerTxt::MarkerPos);
    if (font || moved || switched(&MarkerTxt::Scale) || switched(&MarkerTxt::ScaleWithPower) ||
        changed(&MarkerTxt::eBackground) || changed(&MarkerTxt::ScaleSize) || changed(&MarkerTxt::ScaleColor))
        scaleBar.Reset();
    if (font || moved || switched(&MarkerTxt::Contrast) || changed(&MarkerTxt::ContrastColor)) figure.Reset();
    if (font || changed(&MarkerTxt::Date) || changed(&MarkerTxt::DateColor)) date.Reset();
}

void TextBlock::PrepareFigure(vex_camera_clarity clarity, const uint8_t* frame, uint32_t bytesPerPixel,
                              const TextTarget& target) {
    if (txt.Contrast == 0) return;
    if (!frame || target.imageHeight < 3) return figure.SetText({});
    if (!figure.IsFor(target))
        figure.Make(ports.texts, target, overlayFont(txt, target.imageHeight, target), patternFigure);
    if (!figure.Ready()) return;
    const double value =
        clarity ? clarity(frame, bytesPerPixel * 8, uint32_t(target.imageWidth), uint32_t(target.imageHeight)) : 0.0;
    vex_char text[figureCapacity];
    figure.SetText({text, writeFigure(value, text)});
}

void TextBlock::PrepareDate(const TextTarget& target) {
    if (txt.Date == VEX_DATE_NONE) return;
    std::array<vex_char, dateLineCapacity> text;
    const auto write = [&](const CivilTime& moment) {
        return std::u16string_view(text.data(), writeDateLine(ports.dates, moment, txt.Date, text));
    };
    if (!date.IsFor(target))
        date.Make(ports.texts, target, overlayFont(txt, target.imageHeight, target), write(patternMoment));
    if (!date.Ready()) return;
    const uint64_t now = ports.clock.LocalFileTime();
    if (now / fileTimePerSecond == dateSecond && txt.Date == dateFormat) return;
    dateSecond = now / fileTimePerSecond;
    dateFormat = txt.Date;
    const std::u16string_view written = write(civilTime(now));
    if (!written.empty()) date.SetText(written);  // else the last one stays
}

bool TextBlock::ShowsLine(TextLine& line, const TextTarget& target) {
    if (!line.Ready()) return false;
    return target.renderTarget ? !line.Text().empty() : line.Draw(ports.texts);
}

bool TextBlock::Compose(const TextTarget& target, TextBlockLayout& layout) {
    PrepareDate(target);
    if (txt.Date != VEX_DATE_NONE && ShowsLine(date, target)) layout.Show(BlockItem::Date, date.Size());
    if (txt.Contrast != 0 && ShowsLine(figure, target)) layout.Show(BlockItem::Figure, figure.Size());
    if (scaleBar.Prepare(ports.texts, target, txt)) layout.Show(BlockItem::ScaleBar, scaleBar.Size());
    return layout.Place(txt.MarkerPos, target);
}

bool TextBlock::HasPlate() const { return txt.eBackground == 1 || txt.eBackground == 2; }

uint32_t TextBlock::PlateColour() const { return txt.eBackground == 1 ? 0x000000 : 0xFFFFFF; }

void TextBlock::Burn(const Canvas& frame, const TextTarget& target) {
    TextBlockLayout layout;
    if (!Compose(target, layout)) return;
    if (HasPlate()) fillBox(frame, boxOf(layout.Plate(target), 0, 0), PlateColour());
    Canvas aboveLowestRow = frame;
    --aboveLowestRow.height;
    ForEachItem(layout, [&](BlockItem item, const Mask& mask, uint32_t colour) {
        const Box place = boxOf(layout.Box(item), 0, 0);
        paintMask(aboveLowestRow, mask, place.left, place.top, colour);
    });
}

void TextBlock::Paint(const Canvas& surface, int64_t left, int64_t top, const TextTarget& target) {
    TextBlockLayout layout;
    if (!Compose(target, layout)) return;
    if (HasPlate()) fillBox(surface, boxOf(layout.Plate(target), left, top), PlateColour());
    ForEachItem(layout, [&](BlockItem item, const Mask& mask, uint32_t colour) {
        const Box place = boxOf(layout.Box(item), left, top);
        if (place.left >= 1 && place.top >= 1) paintMask(surface, mask, place.left, place.top, colour);
    });
}

template <typename Function>
void TextBlock::ForEachItem(const TextBlockLayout& layout, Function paint) const {
    if (layout.Has(BlockItem::Date)) paint(BlockItem::Date, date.Drawn(), txt.DateColor);
    if (layout.Has(BlockItem::Figure)) paint(BlockItem::Figure, figure.Drawn(), txt.ContrastColor);
    if (layout.Has(BlockItem::ScaleBar)) paint(BlockItem::ScaleBar, scaleBar.Drawn(), txt.ScaleColor);
}

void TextBlock::PaintOnRenderTarget(int64_t left, int64_t top, const TextTarget& target) {
    TextBlockLayout layout;
    if (!Compose(target, layout)) return;
    if (HasPlate()) {
        const vex_rect_f plate = rectangleOf(layout.Plate(target), left, top);
        target.renderTarget->FillRectangle(&plate, PlateColour());
    }
    const auto place = [&](BlockItem item) { return rectangleOf(layout.Box(item), left, top); };
    const bool bar = layout.Has(BlockItem::ScaleBar), both = layout.Has(BlockItem::Figure);
    if (layout.Has(BlockItem::Date)) {
        // With exactly one companion a date is scaled by the picture's height, else by its width.
        const int32_t denominator = bar != both ? target.imageHeight : target.imageWidth;
        PaintLine(target, date, place(BlockItem::Date), denominator, txt.DateColor);
    }
    if (layout.Has(BlockItem::Figure))
        PaintLine(target, figure, place(BlockItem::Figure), target.imageWidth, txt.ContrastColor);
    if (bar) {
        const vex_rect_f corner = place(BlockItem::ScaleBar);
        scaleBar.Paint(ports.texts, target, txt, corner.left, corner.top);
    }
}

void TextBlock::PaintLine(const TextTarget& target, const TextLine& line, const vex_rect_f& place, int32_t denominator,
                          uint32_t colour) const {
    const vex_text_format format = textFormat(overlayFont(txt, denominator, target), VEX_TEXT_CENTRE);
    target.renderTarget->DrawText(&format, line.Text().data(), uint32_t(line.Text().size()), &place, colour);
}

}  // namespace vexcap
