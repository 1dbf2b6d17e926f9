// What texts are made ready for, and how large they are there.
#pragma once

#include <vexcap/drawing.h>
#include <vexcap/overlay.h>

#include <cstdint>
#include <string_view>

#include "platform/text_raster.h"

namespace vexcap {

/// What is drawn on.
enum class FrameMode : int32_t {
    Window = 0,  ///< A surface or render target.
    Video = 1,   ///< A frame of a video.
    Still = 2    ///< A still; it has a scale bar of its own.
};

/// Part of a picture that a host has covered, pixels from each side.
struct OverlayMargins {
    int32_t left = 0, top = 0, right = 0, bottom = 0;
};

struct TextTarget {
    FrameMode mode = FrameMode::Window;
    int32_t width = 0, height = 0;            ///< Of what is drawn on, at least 1.
    int32_t imageWidth = 0, imageHeight = 0;  ///< Of the picture that is shown there, at least 1.
    OverlayMargins margins = {};
    vex_render_target* renderTarget = nullptr;  ///< Measures and draws texts by itself.

    /// Rows that are not covered; all of them where the margins leave none, or more than there are.
    int32_t AvailableHeight() const;
    /// May something of this size be shown? It stays away from the edges.
    bool HasRoom(TextSize size) const {
        return int64_t(size.width) + 32 <= width && int64_t(size.height) + 32 <= height;
    }
};

/// Pixels of the font of a `MarkerTxt.FontSize`, scaled as the available height is to `denominator`, the height of the
/// picture; 12 at least.
int32_t overlayFontHeight(int32_t index, int32_t denominator, int32_t availableHeight);

/// The font of a record, scaled as above.
TextFont overlayFont(const MarkerTxt& txt, int32_t denominator, const TextTarget& target);

/// Size of a text where it will be drawn. Sides are 0 to 2^28.
TextSize measureText(ITextRaster& texts, const TextTarget& target, const TextFont& font, std::u16string_view text);

/// A font as render targets have it, with VEX_TEXT_... flags.
vex_text_format textFormat(const TextFont& font, uint32_t flags);

}  // namespace vexcap
