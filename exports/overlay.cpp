// The exported functions of vexcap/overlay.h.
#include "base/text.h"
#include "engine/state/report.h"
#include "exports/exports.h"
#include "settings/marker_settings.h"

using namespace vexcap;

void vexcap_standard_records(MarkerGeo* geo, MarkerTxt* txt) {
    if (geo) *geo = standardGeo();
    if (txt) *txt = standardTxt();
}

int32_t vexcap_can_draw_texts(void) {
    return guarded<int32_t>(0, [] { return engineState().platform->texts.Measure({}, u"0").width > 0; });
}

int32_t marker_init(vex_key* root, const vex_char* name1, const vex_char* name2) {
    return guarded<int32_t>(E_OUTOFMEMORY, [&] {
        const Status opened =
            markerSettings().Init(engineState().platform->settings, root, textOf(name1), textOf(name2));
        ReportUnreadSettings(engineState(), markerSettings().Problem());
        return opened.code();
    });
}

void marker_fini(void) {}

MarkerGeo* marker_get_markergeo(MarkerGeo* out) {
    if (out) *out = markerSettings().Geo();
    return out;
}

void marker_set_markergeo(const MarkerGeo* geo) {
    if (geo) markerSettings().SetGeo(*geo);
}

MarkerTxt* marker_get_markertxt(MarkerTxt* out) {
    if (out) *out = markerSettings().Txt();
    return out;
}

void marker_set_markertxt(const MarkerTxt* txt) {
    if (txt) markerSettings().SetTxt(*txt);
}

uint32_t marker_get_captureafter(void) { return markerSettings().CaptureAfter(); }

void marker_set_captureafter(uint32_t on) { markerSettings().SetCaptureAfter(on); }

uint64_t marker_get_wateroffset(void) { return packed(markerSettings().waterOffsetX, markerSettings().waterOffsetY); }

void marker_set_wateroffset(uint64_t offset) {
    markerSettings().waterOffsetX = lowOf(offset);
    markerSettings().waterOffsetY = highOf(offset);
}

int32_t marker_get_waterrotate(void) { return markerSettings().waterRotate; }

void marker_set_waterrotate(int32_t angle) { markerSettings().waterRotate = angle; }

int32_t vexcap_get_markergeo(vexcap_context* context, MarkerGeo* out) {
    if (!out) return 0;
    if (context) return contextOf(context)->Overlay().GetGeo(*out);
    *out = markerSettings().Geo();
    return 1;
}

int32_t vexcap_set_markergeo(vexcap_context* context, const MarkerGeo* geo) {
    return geo ? ask(context, 0, [&](CaptureContext& c) { return c.Overlay().SetGeo(*geo); }) : 0;
}

int32_t vexcap_set_markertxt(vexcap_context* context, const MarkerTxt* txt) {
    return txt ? ask(context, 0, [&](CaptureContext& c) { return c.Overlay().SetTxt(*txt); }) : 0;
}

void vexcap_set_scale(vexcap_context* context, double videoLength, const vex_char* videoText, uint32_t stillLength,
                      const vex_char* stillText, const vex_char* powerText) {
    act(context, [&](CaptureContext& c) {
        c.Overlay().SetScale({videoLength, videoText, stillLength, stillText, powerText});
    });
}

void vexcap_set_tick(vexcap_context* context, double spacing) {
    act(context, [&](CaptureContext& c) { c.Overlay().SetTick(spacing); });
}

int32_t vexcap_markergeo_can(vexcap_context* context) { return context && contextOf(context)->Overlay().CanMoveGeo(); }

uint64_t vexcap_markergeo_move(vexcap_context* context, int32_t dx, int32_t dy) {
    if (context) return ask(context, uint64_t(0), [&](CaptureContext& c) { return c.Overlay().MoveGeo(dx, dy); });
    MarkerGeo record = markerSettings().Geo();
    return moveGeo(record, dx, dy);
}

void vexcap_set_water(vexcap_context* context, const WaterInfo* info) {
    if (!info) return;
    act(context, [&](CaptureContext& c) { c.Overlay().SetWater(*info); });
}

int32_t vexcap_water_can(vexcap_context* context) { return context && contextOf(context)->Overlay().CanMoveWater(); }

uint64_t vexcap_water_move(vexcap_context* context, int32_t dx, int32_t dy) {
    return ask(context, uint64_t(0), [&](CaptureContext& c) { return c.Overlay().MoveWater(dx, dy); });
}

int32_t vexcap_water_rotate(vexcap_context* context, int32_t delta) {
    return ask(context, 0, [&](CaptureContext& c) { return c.Overlay().RotateWater(delta); });
}
