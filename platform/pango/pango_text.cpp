#include "platform/pango/pango_text.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <optional>

#include "platform/pango/figures.h"
#include "platform/pango/line.h"

namespace vexcap::pango {
namespace {

/// One bit a pixel, on whole pixels, so that the picture depends on nothing but the fonts.
Object<PangoContext> contextOf(PangoFontMap* map) {
    pango_cairo_font_map_set_resolution(PANGO_CAIRO_FONT_MAP(map), 96);
    Object<PangoContext> context(pango_font_map_create_context(map));
    const FontOptions options(cairo_font_options_create());
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_NONE);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_FULL);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_ON);
    pango_cairo_context_set_font_options(context.get(), options.get());
    pango_context_set_round_glyph_positions(context.get(), TRUE);
    return context;
}

/// Pango would draw boxes of a size that nobody has told it.
bool systemHasFonts() {
    FcInit();
    return std::ranges::any_of(std::array{FcSetSystem, FcSetApplication}, [](FcSetName set) {
        const FcFontSet* const found = FcConfigGetFonts(nullptr, set);
        return found && found->nfont > 0;
    });
}

/// A font that Pango can take.
TextFont usable(const TextFont& font) {
    return {std::clamp(font.height, 1, PangoText::largestHeight), std::clamp(font.weight, 100, 1000)};
}

}  // namespace

struct PangoText::Font {
    Font(PangoContext* context, const std::string& family, const TextFont& font)
        : key(font), line(context, family.c_str(), font) {}

    /// Null where this text has to go through Pango.
    const Figures* FiguresFor(std::u16string_view text) {
        if (key.height > Figures::largestHeight || !isFigures(text)) return nullptr;
        if (!figures) figures.emplace(line);
        return figures->Usable() ? &*figures : nullptr;
    }

    const TextFont key;
    uint64_t used = 0;  ///< When it was last asked for.
    Line line;

private:
    std::optional<Figures> figures;
};

PangoText::PangoText(const char* fontFamily)
    : family(fontFamily), haveFonts(systemHasFonts()), map(pango_cairo_font_map_new()), context(contextOf(map.get())) {}

PangoText::~PangoText() = default;

PangoText::Font& PangoText::Find(const TextFont& font) {
    auto found = std::find_if(fonts.begin(), fonts.end(), [&](const auto& each) { return each && each->key == font; });
    if (found == fonts.end()) {
        found = std::min_element(fonts.begin(), fonts.end(),
                                 [](const auto& a, const auto& b) { return (a ? a->used : 0) < (b ? b->used : 0); });
        *found = std::make_unique<Font>(context.get(), family, font);
    }
    (*found)->used = ++uses;
    return **found;
}

TextSize PangoText::Measure(const TextFont& font, std::u16string_view text) {
    if (!haveFonts || text.empty()) return {};
    const TextFont key = usable(font);
    const std::u16string_view part = cutText(text, key.height);
    MutexGuard guard(lock);
    Font& entry = Find(key);
    const Figures* const figures = entry.FiguresFor(part);
    return (figures ? figures->Box(part) : entry.line.Box(part)).Size();
}

bool PangoText::Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) {
    if (!haveFonts || text.empty()) return false;
    const TextFont key = usable(font);
    const std::u16string_view part = cutText(text, key.height);
    MutexGuard guard(lock);
    Font& entry = Find(key);
    const Figures* const figures = entry.FiguresFor(part);
    if (!figures) return entry.line.Draw(part, mask, x, y);
    figures->Draw(part, mask, x, y);
    return true;
}

}  // namespace vexcap::pango
