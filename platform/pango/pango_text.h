// Texts drawn by Pango and Cairo.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "base/mutex.h"
#include "platform/pango/objects.h"
#include "platform/text_raster.h"

namespace vexcap::pango {

/// Every script that some font of the system has, shaped, each run in its own direction; what no font has is a box.
/// Pixels are set or clear, and are the same wherever the same fonts are. On a system without any font nothing can be
/// drawn. Texts of the characters of figureCharacters, in fonts of up to Figures::largestHeight, take no memory but for
/// the first one in a font.
class PangoText final : public ITextRaster {
public:
    /// Fonts beyond this many are made anew: the one that was not asked for the longest goes.
    static constexpr size_t mostFonts = 16;
    static constexpr int32_t largestHeight = 4096;

    explicit PangoText(const char* fontFamily = "Sans");
    ~PangoText() override;
    TextSize Measure(const TextFont& font, std::u16string_view text) override;
    bool Draw(const TextFont& font, std::u16string_view text, const TextMask& mask, int32_t x, int32_t y) override;

private:
    struct Font;

    Font& Find(const TextFont& font) VEX_REQUIRES(lock);

    // Pango's fonts belong to their map and count their users without a lock, so one lock is around all of them.
    Mutex lock;
    const std::string family;
    const bool haveFonts;
    const Object<PangoFontMap> map;
    const Object<PangoContext> context;
    std::array<std::unique_ptr<Font>, mostFonts> fonts VEX_GUARDED_BY(lock);
    uint64_t uses VEX_GUARDED_BY(lock) = 0;
};

}  // namespace vexcap::pango
