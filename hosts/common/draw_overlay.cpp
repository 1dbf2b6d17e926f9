#include "hosts/common/draw_overlay.h"

#include <cmath>

#include "hosts/common/failure.h"
#include "hosts/common/image/png_file.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

void setScale(vexcap_context* context, const Overlay& overlay) {
    const double pixels = overlay.BarPixels();
    const std::u16string text = toUtf16(barText(overlay.barLength)), power = toUtf16(overlay.power);
    // The library draws a bar that stands alone only where there is a text for below it, even an empty one.
    vexcap_set_scale(context, pixels, text.c_str(), static_cast<uint32_t>(std::lround(pixels)), text.c_str(),
                     power.c_str());
}

void setWatermark(vexcap_context* context, const Watermark& wanted) {
    const std::vector<uint8_t> bitmap = bitmapOf(readPng(wanted.file));
    const WaterInfo info = {.alpha = static_cast<uint8_t>(wanted.transparency), .dib = bitmap.data()};
    vexcap_set_water(context, &info);
    vexcap_water_move(context, wanted.x, wanted.y);
    vexcap_water_rotate(context, wanted.angle);
}

}  // namespace

void applyOverlay(const Session& session, const Overlay& overlay, const Size& picture, double scale) {
    if (!overlay.Draws()) return;
    checkFits(overlay, picture);
    if (overlay.HasTexts() && !vexcap_can_draw_texts())
        throw Failure(exitNoMedia, "texts cannot be drawn: libvexcap-text.so.1 or every font is missing");
    vexcap_context* const context = session.Context();
    vexcap_set_tick(context, overlay.TickPixels(scale));
    vexcap_set_markergeo(context, &overlay.geo);
    vexcap_set_markertxt(context, &overlay.txt);
    if (overlay.txt.Scale) setScale(context, overlay);
    if (!overlay.watermark.file.empty()) setWatermark(context, overlay.watermark);
}

}  // namespace vexcap::host
