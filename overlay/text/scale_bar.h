// The scale bar with its texts.
#pragma once

#include <vexcap/overlay.h>

#include <cstdint>
#include <optional>
#include <string>

#include "overlay/text/text_bitmap.h"

namespace vexcap {

/// Lengths and texts of the scale bar as a host gives them; null texts are none.
struct ScaleTexts {
    double videoLength = 0;
    const vex_char* videoText = nullptr;
    uint32_t stillLength = 0;
    const vex_char* stillText = nullptr;
    const vex_char* powerText = nullptr;
};

/// From top to bottom: the main text, the bar with its two caps, the power text. Surfaces and frames get a picture that
/// is made once; a render target is drawn on anew each time, by an arithmetic of its own.
class ScaleBar final {
public:
    /// The texts are copied. Equal values change nothing and keep the picture.
    void Set(const ScaleTexts& scale);
    /// What Set was given; it borrows the texts.
    ScaleTexts Get() const;
    /// Length, main text and power text are there.
    bool Complete(FrameMode mode) const;

    void Reset() { bitmap.Reset(); }
    /// False: it is off, something of it is missing, its length here is below one pixel, or it has no room.
    bool Prepare(ITextRaster& texts, const TextTarget& target, const MarkerTxt& txt);
    /// Of what Prepare made.
    TextSize Size() const { return bitmap.Size(); }
    Mask Drawn() const { return bitmap.Drawn(); }
    /// On the target's render target, its top left at left, top.
    void Paint(ITextRaster& texts, const TextTarget& target, const MarkerTxt& txt, float left, float top) const;

private:
    struct Plan;
    using Text = std::optional<std::u16string>;

    const Text& MainText(FrameMode mode) const { return mode == FrameMode::Still ? stillText : videoText; }
    bool HasLength(FrameMode mode) const { return mode == FrameMode::Still ? stillLength > 0 : videoLength > 0; }
    bool Shown(FrameMode mode, const MarkerTxt& txt) const;
    int32_t BarLength(const TextTarget& target) const;
    Plan MakePlan(ITextRaster& texts, const TextTarget& target, const MarkerTxt& txt, int32_t baseThickness) const;
    void DrawBitmap(ITextRaster& texts, const Plan& plan);

    TextBitmap bitmap;
    double videoLength = 0;    // pixels of the picture
    uint32_t stillLength = 0;  // pixels of the still
    Text videoText, stillText, powerText;
};

}  // namespace vexcap
