#include "hosts/cli/options/overlay_options.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "hosts/cli/options/parts.h"
#include "hosts/common/overlay.h"
#include "hosts/common/text/numbers.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

namespace {

constexpr char group[] = "Overlay";
constexpr char percents[] = "percents from 1 to 100, W or W,H";
constexpr double leastPixelSize = 0.001, mostPixelSize = 1e6;  // micrometres
constexpr double leastBar = 0.001, mostBar = 1e8;              // micrometres
constexpr double mostTicks = 1e6;                              // pixels or micrometres
constexpr size_t longestPower = 100;                           // characters
constexpr int32_t farthest = 1'000'000;                        // pixels that a watermark is moved

std::string noColour() { return "a colour is RRGGBB in hexadecimal digits, or one of " + colourNames(); }

constexpr std::array dates = {"none", "short", "long", "numeric"};
constexpr std::array markers = {"none", "cross", "rectangle", "circle", "cross+rectangle", "cross+circle"};
constexpr std::array corners = {"none", "top-left", "top-right", "bottom-left", "bottom-right"};
constexpr std::array weights = {"normal", "bold", "heavy"};
constexpr std::array plates = {"none", "black", "white"};

using Take = std::function<bool(const std::string& text)>;

CLI::Option* addDrawn(CLI::App& command, const char* name, const char* type, const char* help, const std::string& wrong,
                      const Take& take) {
    return addText(command, name, type, help, wrong, take)->group(group);
}

CLI::Option* addWord(CLI::App& command, const char* name, Words words, int32_t first, int32_t& value,
                     const char* help) {
    const Words offered = words.subspan(static_cast<size_t>(first));
    const std::string wrong = "one of " + listed(offered);
    return command
        .add_option_function<std::string>(
            name,
            [name, offered, first, wrong, &value](const std::string& text) {
                for (size_t i = 0; i < offered.size(); ++i) {
                    if (text != offered[i]) continue;
                    value = first + static_cast<int32_t>(i);
                    return;
                }
                throw CLI::ValidationError(name, text + ": " + wrong);
            },
            help)
        ->type_name(listed(offered))
        ->group(group);
}

void addNumber(CLI::App& command, const char* name, int32_t& value, int32_t most, const char* help) {
    addWhole(command, name, ("0-" + std::to_string(most)).c_str(), help, 0, most, value)->group(group);
}

bool takeReal(const std::string& text, double least, double most, double& value) {
    const auto number = parseReal(text);
    if (!number || *number < least || *number > most) return false;
    value = *number;
    return true;
}

/// "W" or "W,H", each 1 to 100.
bool takeShape(const std::string& text, int32_t& width, int32_t& height) {
    const auto both = parsePair(text.find(',') == text.npos ? text + "," + text : text);
    if (!both || std::min(both->first, both->second) < 1 || std::max(both->first, both->second) > 100) return false;
    width = both->first;
    height = both->second;
    return true;
}

bool takeAngle(const std::string& text, int32_t& thousandths) {
    double degrees = 0;
    if (!takeReal(text, 0, 360, degrees)) return false;
    thousandths = static_cast<int32_t>(std::lround(degrees * 1000));
    return true;
}

bool takePlace(const std::string& text, int32_t most, int32_t& x, int32_t& y) {
    const auto both = parsePair(text);
    if (!both || std::max(both->first, both->second) > most || std::min(both->first, both->second) < -most)
        return false;
    x = both->first;
    y = both->second;
    return true;
}

void addDate(CLI::App& command, Overlay& overlay) {
    const auto take = [&overlay](const std::string& text) {
        const auto number = parseChoice(dates, text.empty() ? dates[VEX_DATE_NUMERIC] : text);
        overlay.txt.Date = number.value_or(VEX_DATE_NONE);
        return overlay.txt.Date != VEX_DATE_NONE;
    };
    addDrawn(command, "--date", "[numeric|short|long]", "Date and time, in numbers or as the user's locale writes it",
             "one of numeric|short|long", take)
        ->expected(0, 1);
}

void addTexts(CLI::App& command, Overlay& overlay) {
    MarkerTxt& txt = overlay.txt;
    command
        .add_flag_function(
            "--contrast", [&txt](int64_t) { txt.Contrast = 1; }, "Figure that tells how sharp the picture is")
        ->group(group);
    addWord(command, "--corner", corners, VEX_CORNER_TOP_LEFT, txt.MarkerPos, "Corner of the texts");
    addNumber(command, "--font-size", txt.FontSize, 6, "Size of the texts");
    addWord(command, "--font-weight", weights, 0, txt.FontWeight, "Weight of the texts");
    addWord(command, "--plate", plates, 0, txt.eBackground, "Plate behind the texts");
    addNumber(command, "--bar-size", txt.ScaleSize, 6, "Thickness of the scale bar");
    addDrawn(command, "--text-colour,--text-color", "COLOUR", "Colour of texts and scale bar", noColour(),
             [&txt](const auto& text) {
                 const auto colour = parseColour(text);
                 if (colour) txt.ScaleColor = txt.DateColor = txt.ContrastColor = *colour;
                 return colour.has_value();
             });
}

void addBar(CLI::App& command, Overlay& overlay) {
    CLI::Option* const pixelSize =
        addDrawn(command, "--pixel-size", "UM", "Micrometres that a pixel of the picture shows",
                 "a number of micrometres from 0.001 to 1000000", [&overlay](const auto& text) {
                     double value = 0;
                     if (!takeReal(text, leastPixelSize, mostPixelSize, value)) return false;
                     overlay.pixelSize = value;
                     return true;
                 });
    // Without anything to draw it is told in the picture's file.
    pixelSize->group("Options");
    CLI::Option* const bar = addDrawn(command, "--scale-bar", "UM", "Scale bar of so many micrometres",
                                      "a number of micrometres from 0.001 to 100000000", [&overlay](const auto& text) {
                                          overlay.txt.Scale = 1;
                                          return takeReal(text, leastBar, mostBar, overlay.barLength);
                                      });
    bar->needs(pixelSize);
    addDrawn(command, "--power", "TEXT", "Text below the scale bar", "one line of at most 100 characters",
             [&overlay](const std::string& text) {
                 overlay.txt.ScaleWithPower = 1;
                 overlay.power = text;
                 const bool oneLine = text.find_first_of("\r\n\t") == text.npos;
                 return isUtf8(text) && oneLine && toUtf16(text).size() <= longestPower;
             })
        ->needs(bar);
}

void addMarker(CLI::App& command, Overlay& overlay) {
    MarkerGeo& geo = overlay.geo;
    CLI::Option* const marker =
        addWord(command, "--marker", markers, VEX_MARKER_CROSS, geo.eMarkerGeo, "Geometric marker");
    const auto add = [&](const char* name, const char* type, const char* help, const std::string& wrong,
                         const Take& take) { addDrawn(command, name, type, help, wrong, take)->needs(marker); };
    add("--marker-size", "W[,H]", "Its size in percent of the picture's; radius of a circle", percents,
        [&geo](const auto& text) { return takeShape(text, geo.eMarkerGeox, geo.eMarkerGeoy); });
    add("--marker-size2", "W[,H]", "The same for the shape around a cross", percents,
        [&geo](const auto& text) { return takeShape(text, geo.eMarkerGeox2, geo.eMarkerGeoy2); });
    add("--marker-angle", "DEGREES", "Turns it clockwise", "degrees from 0 to 360",
        [&geo](const auto& text) { return takeAngle(text, geo.eMarkerGeoAngle); });
    add("--marker-offset", "X,Y", "Moves it from the centre, in percent of the picture's size",
        "two whole percents from -50 to 50",
        [&geo](const auto& text) { return takePlace(text, 50, geo.eMarkerxPos, geo.eMarkeryPos); });
    add("--marker-colour,--marker-color", "COLOUR", "Its colour", noColour(), [&geo](const auto& text) {
        const auto colour = parseColour(text);
        geo.eMarkerGeoColor = colour.value_or(0);
        return colour.has_value();
    });
    add("--ticks", "N|Num", "Tick marks every so many pixels, or micrometres as in 50um",
        "a number of pixels, or of micrometres as in 50um", [&overlay](const auto& text) {
            const auto length = parseLength(text);
            overlay.ticks = length.value_or(Length{});
            return length && length->value <= mostTicks;
        });
}

void addWatermark(CLI::App& command, Overlay& overlay) {
    Watermark& mark = overlay.watermark;
    CLI::Option* const file = addDrawn(command, "--watermark", "FILE.png", "Lays a picture over it", "no path",
                                       [&mark](const std::string& path) {
                                           mark.file = path;
                                           return !path.empty() && checkPath(path).empty();
                                       });
    addWhole(command, "--alpha", "PERCENT", "Its transparency; 0 shows it alone, which is the usual one", 0, 100,
             mark.transparency)
        ->needs(file)
        ->group(group);
    addDrawn(command, "--offset", "X,Y", "Moves it from the top left, in pixels", "two whole numbers of pixels",
             [&mark](const auto& text) { return takePlace(text, farthest, mark.x, mark.y); })
        ->needs(file);
    addDrawn(command, "--rotate", "DEGREES", "Turns it clockwise", "degrees from 0 to 360", [&mark](const auto& text) {
        return takeAngle(text, mark.angle);
    })->needs(file);
}

}  // namespace

void addOverlay(CLI::App& command, Overlay& overlay) {
    addDate(command, overlay);
    addBar(command, overlay);
    addMarker(command, overlay);
    addWatermark(command, overlay);
    addTexts(command, overlay);
}

std::string overlayOptionOf(const CLI::App& command) {
    for (const CLI::Option* const option : command.get_options())
        if (option->get_group() == group && option->count()) return option->get_name();
    return {};
}

void finishOverlay(const CLI::App& command, Overlay& overlay) {
    const MarkerGeo& geo = overlay.geo;
    const auto given = [&command](const char* name) { return command.get_option(name)->count() > 0; };
    const auto refuse = [](const char* name, const char* why) { throw CLI::ValidationError(name, why); };
    const bool alone = geo.eMarkerGeo == VEX_MARKER_CIRCLE, around = geo.eMarkerGeo == VEX_MARKER_CROSS_CIRCLE;
    const bool two = around || geo.eMarkerGeo == VEX_MARKER_CROSS_RECTANGLE;
    // A circle of the standard radius lies outside of every picture.
    if (alone && !given("--marker-size")) refuse("--marker", "a circle needs --marker-size, its radius");
    if (around && !given("--marker-size2")) refuse("--marker", "the circle needs --marker-size2, its radius");
    if (given("--marker-size2") && !two) refuse("--marker-size2", "this marker has one shape");
    if (given("--ticks") && alone) refuse("--ticks", "a circle has no tick marks");
    if (overlay.ticks.micrometres && !overlay.pixelSize) refuse("--ticks", "micrometres need --pixel-size");
}

}  // namespace vexcap::cli
