#include "hosts/common/overlay.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include "hosts/common/failure.h"
#include "hosts/common/text/numbers.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

struct NamedColour {
    const char* name;
    uint32_t colour;  // 0x00BBGGRR
};

constexpr NamedColour colours[] = {{"black", 0x000000},   {"blue", 0xFF0000},   {"cyan", 0xFFFF00},
                                   {"gray", 0x808080},    {"green", 0x00FF00},  {"grey", 0x808080},
                                   {"magenta", 0xFF00FF}, {"orange", 0x00A5FF}, {"red", 0x0000FF},
                                   {"white", 0xFFFFFF},   {"yellow", 0x00FFFF}};

constexpr uint32_t roomBeside = 32;  // pixels of the picture that are left free beside a scale bar

/// The text without `end`, where it ends like this.
bool dropEnd(std::string_view& text, std::string_view end) {
    if (!text.ends_with(end)) return false;
    text.remove_suffix(end.size());
    return true;
}

}  // namespace

MarkerGeo standardGeo() {
    MarkerGeo geo = {};
    vexcap_standard_records(&geo, nullptr);
    return geo;
}

MarkerTxt standardTxt() {
    MarkerTxt txt = {};
    vexcap_standard_records(nullptr, &txt);
    return txt;
}

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

namespace {

/// Of the circle that a marker has, and half of the diagonal beyond which nothing of it is in the picture.
void checkCircle(const MarkerGeo& geo, const Size& picture) {
    const bool alone = geo.eMarkerGeo == VEX_MARKER_CIRCLE;
    if (!alone && geo.eMarkerGeo != VEX_MARKER_CROSS_CIRCLE) return;
    const double radius = picture.width * (alone ? geo.eMarkerGeox : geo.eMarkerGeox2) / 100.0;
    const double right = picture.width * (50 + std::abs(geo.eMarkerxPos)) / 100.0;
    const double down = picture.height * (50 + std::abs(geo.eMarkeryPos)) / 100.0;
    if (radius > std::hypot(right, down))
        throw Failure(exitUsage, "the circle has no room in the picture: its radius of " +
                                     plainNumber(std::round(radius)) + " pixels lies outside of all of it");
}

}  // namespace

void checkFits(const Overlay& overlay, const Size& picture) {
    checkCircle(overlay.geo, picture);
    if (!overlay.txt.Scale) return;
    const double pixels = overlay.BarPixels();
    if (pixels < 1) throw Failure(exitUsage, "the scale bar is shorter than a pixel of the picture");
    if (pixels + roomBeside > picture.width)
        throw Failure(exitUsage, "a scale bar of " + barText(overlay.barLength) + " has no room in a picture that is " +
                                     std::to_string(picture.width) + " pixels wide, which shows " +
                                     barText(picture.width * *overlay.pixelSize));
}

std::string textsWithoutRoom(const Overlay& overlay, const Size& picture) {
    constexpr uint32_t sizes[] = {12, 15, 18, 21, 24, 27, 30};  // pixels of a line of text
    constexpr size_t usual = 3;
    constexpr double perLetter = 0.5;  // width of a letter in heights of its line, at least
    constexpr size_t dateLetters = 19, contrastLetters = 4;
    const MarkerTxt& txt = overlay.txt;
    size_t longest = 0, lines = 0;
    const auto add = [&](size_t letters) {
        longest = std::max(longest, letters);
        ++lines;
    };
    if (txt.Date) add(dateLetters);
    if (txt.Contrast) add(contrastLetters);
    if (txt.Scale) add(toUtf16(barText(overlay.barLength)).size());
    if (!overlay.power.empty()) add(toUtf16(overlay.power).size());
    const size_t choice = static_cast<size_t>(txt.FontSize);
    const double line = sizes[choice < std::size(sizes) ? choice : usual];
    if (double(longest) * line * perLetter <= picture.width && double(lines) * line <= picture.height) return {};
    return "the texts have no room in a picture of " + sizeText(picture) +
           " and are cut; --font-size makes them smaller";
}

}  // namespace vexcap::host
