/// What a user wants to be drawn over the picture.
#pragma once

#include <vexcap/overlay.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hosts/common/size.h"

namespace vexcap::host {

/// A length in pixels of the picture, or in micrometres of what it shows.
struct Length {
    double value = 0;
    bool micrometres = false;
    bool operator==(const Length&) const = default;
};

struct Watermark {
    std::string file;           ///< PNG picture, UTF-8; empty for none.
    uint32_t transparency = 0;  ///< Percent.
    int32_t x = 0;              ///< Pixels of the picture.
    int32_t y = 0;
    int32_t angle = 0;  ///< Thousandths of a degree, clockwise.
    bool operator==(const Watermark&) const = default;
};

/// The library's standard values.
MarkerGeo standardGeo();
MarkerTxt standardTxt();

/// The records begin with the library's standard values, whatever is remembered: a command line means the same
/// everywhere.
struct Overlay {
    MarkerGeo geo = standardGeo();
    MarkerTxt txt = standardTxt();
    double barLength = 0;             ///< Micrometres.
    std::optional<double> pixelSize;  ///< Micrometres that a pixel of the picture shows.
    std::string power;                ///< Below the bar, UTF-8.
    Length ticks;
    Watermark watermark;

    /// True when anything is to be drawn.
    bool Draws() const { return geo.eMarkerGeo || txt.Scale || txt.Date || txt.Contrast || !watermark.file.empty(); }
    /// True when letters or digits are to be drawn.
    bool HasTexts() const { return txt.Scale || txt.Date || txt.Contrast; }
    /// Length of the scale bar in pixels of the picture.
    double BarPixels() const { return pixelSize ? barLength / *pixelSize : 0; }
    /// Spacing of the tick marks on a target that is so many times as wide as the picture. Those in pixels are pixels
    /// of the target.
    double TickPixels(double scale = 1) const;
};

/// "RRGGBB" with or without "#", or a name, as 0x00BBGGRR.
std::optional<uint32_t> parseColour(std::string_view text);
/// The names that parseColour knows, with commas between.
std::string colourNames();

/// "12.5", "12.5px", "50um" or with the sign for micro, above 0.
std::optional<Length> parseLength(std::string_view text);

/// What stands at a scale bar: "100 µm", "1.5 mm", "250 nm". UTF-8.
std::string barText(double micrometres);

/// Throws Failure exitUsage for a scale bar or a circle that has no room in a picture of this size.
void checkFits(const Overlay& overlay, const Size& picture);
/// A sentence for the user when the texts are surely larger than a picture of this size, else nothing.
std::string textsWithoutRoom(const Overlay& overlay, const Size& picture);

}  // namespace vexcap::host
