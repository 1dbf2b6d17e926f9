#include "companions/cameras/genicam/format.h"

#include <arv.h>

#include <algorithm>
#include <optional>

namespace vexcap::cameras {
namespace {

constexpr SensorFormat mono(uint32_t code, uint32_t depth) { return {code, depth, false, Mosaic::Rggb}; }
constexpr SensorFormat bayer(uint32_t code, uint32_t depth, Mosaic mosaic) { return {code, depth, true, mosaic}; }

constexpr SensorFormat knownFormats[] = {
    mono(ARV_PIXEL_FORMAT_MONO_8, 8),
    mono(ARV_PIXEL_FORMAT_MONO_10, 10),
    mono(ARV_PIXEL_FORMAT_MONO_12, 12),
    mono(ARV_PIXEL_FORMAT_MONO_16, 16),
    bayer(ARV_PIXEL_FORMAT_BAYER_RG_8, 8, Mosaic::Rggb),
    bayer(ARV_PIXEL_FORMAT_BAYER_RG_10, 10, Mosaic::Rggb),
    bayer(ARV_PIXEL_FORMAT_BAYER_RG_12, 12, Mosaic::Rggb),
    bayer(ARV_PIXEL_FORMAT_BAYER_RG_16, 16, Mosaic::Rggb),
    bayer(ARV_PIXEL_FORMAT_BAYER_GR_8, 8, Mosaic::Grbg),
    bayer(ARV_PIXEL_FORMAT_BAYER_GR_10, 10, Mosaic::Grbg),
    bayer(ARV_PIXEL_FORMAT_BAYER_GR_12, 12, Mosaic::Grbg),
    bayer(ARV_PIXEL_FORMAT_BAYER_GR_16, 16, Mosaic::Grbg),
    bayer(ARV_PIXEL_FORMAT_BAYER_GB_8, 8, Mosaic::Gbrg),
    bayer(ARV_PIXEL_FORMAT_BAYER_GB_10, 10, Mosaic::Gbrg),
    bayer(ARV_PIXEL_FORMAT_BAYER_GB_12, 12, Mosaic::Gbrg),
    bayer(ARV_PIXEL_FORMAT_BAYER_GB_16, 16, Mosaic::Gbrg),
    bayer(ARV_PIXEL_FORMAT_BAYER_BG_8, 8, Mosaic::Bggr),
    bayer(ARV_PIXEL_FORMAT_BAYER_BG_10, 10, Mosaic::Bggr),
    bayer(ARV_PIXEL_FORMAT_BAYER_BG_12, 12, Mosaic::Bggr),
    bayer(ARV_PIXEL_FORMAT_BAYER_BG_16, 16, Mosaic::Bggr),
};

/// The mosaic that all colour formats of `formats` share; nothing when there is none or more than one.
std::optional<Mosaic> onlyMosaic(const std::vector<SensorFormat>& formats) {
    std::optional<Mosaic> found;
    for (const SensorFormat& format : formats) {
        if (!format.colour) continue;
        if (found && *found != format.mosaic) return std::nullopt;
        found = format.mosaic;
    }
    return found;
}

}  // namespace

const SensorFormat* sensorFormatOf(uint32_t code) {
    const auto* const found = std::ranges::find(knownFormats, code, &SensorFormat::code);
    return found == std::end(knownFormats) ? nullptr : found;
}

std::vector<SensorFormat> chooseFormats(std::span<const int64_t> offered, uint32_t present) {
    std::vector<SensorFormat> formats;
    for (const int64_t code : offered)
        if (const SensorFormat* const format = sensorFormatOf(uint32_t(code))) formats.push_back(*format);
    if (formats.empty()) return formats;

    SensorFormat family = formats.front();
    if (const SensorFormat* const now = sensorFormatOf(present)) family = *now;
    if (const auto mosaic = onlyMosaic(formats)) {
        family.colour = true;
        family.mosaic = *mosaic;
    }
    std::erase_if(formats, [&family](const SensorFormat& format) {
        return format.colour != family.colour || (format.colour && format.mosaic != family.mosaic);
    });
    const auto shallower = [](const SensorFormat& a, const SensorFormat& b) { return a.depth < b.depth; };
    const auto sameDepth = [](const SensorFormat& a, const SensorFormat& b) { return a.depth == b.depth; };
    std::sort(formats.begin(), formats.end(), shallower);
    formats.erase(std::unique(formats.begin(), formats.end(), sameDepth), formats.end());
    return formats;
}

}  // namespace vexcap::cameras
