#include "hosts/common/overlay.h"

#include <charconv>
#include <cmath>

#include "hosts/common/failure.h"
#include "hosts/common/text/numbers.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

struct NamedColour {
    const char* name;
    uint32_t colour;  // 0x00BBGGRR
};

constexpr NamedColour colours[] = {
    {"black", 0x000000},   {"blue", 0xFF0000},   {"cyan", 0xFFFF00}, {"green", 0x00FF00}, {"grey", 0x808080},
    {"magenta", 0xFF00FF}, {"orange", 0x00A5FF}, {"red", 0x0000FF},  {"white", 0xFFFFFF}, {"yellow", 0x00FFFF}};

constexpr uint32_t roomBeside = 32;  // pixels of the picture that are left free beside a scale bar

/// The text without `end`, where it ends like this.
bool dropEnd(std::string_view& text, std::string_view end) {
    if (!text.ends_with(end)) return false;
    text.remove_suffix(end.size());
    return true;
}

}  // namespace

double Overlay::TickPixels(double scale) const {
    if (!ticks.micrometres) return ticks.value;
    return pixelSize ? ticks.value / *pixelSize * scale : 0;
}

std::optional<uint32_t> parseColour(std::string_view text) {
    const std::string wanted = lowerCase(text);
    for (const NamedColour& known : colours)
        if (wanted == known.name) return known.colour;
    if (text.starts_with('#')) text.remove_prefix(1);
    uint32_t value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (failure != std::errc() || end != text.data() + text.size() || text.size() != 6) return {};
    return (value & 0xFF) << 16 | (value & 0xFF00) | value >> 16;
}

std::string colourNames() {
    std::string text;
    for (const NamedColour& known : colours) text += (text.empty() ? "" : ", ") + std::string(known.name);
    return text;
}

std::optional<Length> parseLength(std::string_view text) {
    const bool micrometres = dropEnd(text, "um") || dropEnd(text, "\u00B5m") || dropEnd(text, "\u03BCm");
    if (!micrometres) dropEnd(text, "px");
    const auto value = parseReal(text);
    if (!value || *value <= 0) return {};
    return Length{*value, micrometres};
}

std::string barText(double micrometres) {
    if (micrometres >= 1000) return plainNumber(micrometres / 1000) + " mm";
    if (micrometres < 1) return plainNumber(micrometres * 1000) + " nm";
    return plainNumber(micrometres) + " \u00B5m";
}

void checkFits(const Overlay& overlay, const Size& picture) {
    if (!overlay.txt.Scale) return;
    const double pixels = overlay.BarPixels();
    if (pixels < 1) throw Failure(exitUsage, "the scale bar is shorter than a pixel of the picture");
    if (pixels + roomBeside > picture.width)
        throw Failure(exitUsage, "the scale bar of " + plainNumber(std::round(pixels)) +
                                     " pixels has no room in a picture that is " + std::to_string(picture.width) +
                                     " pixels wide");
}

}  // namespace vexcap::host
