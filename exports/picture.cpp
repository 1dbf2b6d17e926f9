// The exported functions for picture steps, dark field, grabs, stills and painting.
#include "exports/exports.h"

#include <algorithm>
#include <cstring>

#include "overlay/software_target.h"

using namespace vexcap;

namespace {

IDfc* dfcOf(vexcap_context* context) { return context ? contextOf(context)->FindDfc() : nullptr; }

// Of the first versions of records that may grow.
constexpr uint32_t leastFormatSize = 48;
constexpr uint32_t leastGrabInfoSize = 32;

/// Writes the part of a record that the host knows, too, and how many bytes that is.
template <typename Record>
void fillRecord(Record* target, Record source) {
    source.size = std::min<uint32_t>(target->size, sizeof source);
    std::memcpy(target, &source, source.size);
}

}  // namespace

void vexcap_put_flip(vexcap_context* context, uint32_t value, uint32_t mask) {
    act(context, [&](CaptureContext& c) { c.PutFlip(value, mask); });
}

uint32_t vexcap_get_flip(vexcap_context* context) { return context ? contextOf(context)->Flip() : 0; }

void vexcap_put_chrome(vexcap_context* context, uint32_t on) {
    act(context, [&](CaptureContext& c) { c.PutChrome(on); });
}

uint32_t vexcap_get_chrome(vexcap_context* context) { return context ? contextOf(context)->Chrome() : 0; }

void vexcap_put_negative(vexcap_context* context, uint32_t on) {
    act(context, [&](CaptureContext& c) { c.PutNegative(on); });
}

uint32_t vexcap_get_negative(vexcap_context* context) { return context ? contextOf(context)->Negative() : 0; }

int32_t vexcap_is_dfc(vexcap_context* context) {
    IDfc* const dfc = dfcOf(context);
    return dfc ? dfc->IsDfc() : 0;
}

int32_t vexcap_has_dfc(vexcap_context* context) {
    IDfc* const dfc = dfcOf(context);
    return dfc ? dfc->HasDfc() : 0;
}

void vexcap_dfc_enable(vexcap_context* context, uint32_t on) {
    act(context, [&](CaptureContext& c) { c.EnableDfc(on); });
}

HRESULT vexcap_dfc_capture(vexcap_context* context, uint32_t count) {
    if (!context) return E_INVALIDARG;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] { return contextOf(context)->CaptureDfc(count); });
}

HRESULT vexcap_dfc_import(vexcap_context* context, const vex_char* path) {
    IDfc* const dfc = dfcOf(context);
    if (!dfc || !path) return E_INVALIDARG;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] { return dfc->Import(path); });
}

HRESULT vexcap_dfc_export(vexcap_context* context, const vex_char* path) {
    IDfc* const dfc = dfcOf(context);
    if (!dfc || !path) return E_INVALIDARG;
    return guarded<HRESULT>(E_OUTOFMEMORY, [&] { return dfc->Export(path); });
}

int32_t vexcap_picture_size(vexcap_context* context, vex_picture_format* format) {
    if (!format || format->size < leastFormatSize) return 0;
    return ask(context, 0, [&](CaptureContext& c) -> int32_t {
        vex_picture_format known;
        if (!c.Picture().Format(known)) return 0;
        fillRecord(format, known);
        return 1;
    });
}

HRESULT vexcap_put_capture(vexcap_context* context, uint32_t kind) {
    return ask<HRESULT>(context, E_UNEXPECTED, [&](CaptureContext& c) { return c.Picture().PutCapture(kind); });
}

int32_t vexcap_grabber(vexcap_context* context, void* bitmap, int32_t capacity, int32_t kind, int32_t still,
                       int32_t left, int32_t top, int32_t right, int32_t bottom) {
    if (!bitmap) return 0;
    return ask(context, 0, [&](CaptureContext& c) -> int32_t {
        return c.Picture().Grab(static_cast<uint8_t*>(bitmap), capacity, uint32_t(kind), still,
                                {left, top, right, bottom});
    });
}

int32_t vexcap_can_grabber(vexcap_context* context, uint32_t kind) {
    return context && contextOf(context)->Picture().CanGrab(kind);
}

int32_t vexcap_grab_room(vexcap_context* context, uint32_t kind, int32_t still) {
    return context ? int32_t(contextOf(context)->Picture().GrabRoom(kind, still)) : 0;
}

int32_t vexcap_grab_info(vexcap_context* context, vex_grab_info* info) {
    if (!context || !info || info->size < leastGrabInfoSize) return 0;
    vex_grab_info known;
    if (!contextOf(context)->Picture().LastGrab(known)) return 0;
    fillRecord(info, known);
    return 1;
}

int32_t vexcap_get_pixel(vexcap_context* context, const vex_point* points, uint32_t count, uint16_t* rgb,
                         uint32_t* maximum) {
    return context ? contextOf(context)->Picture().GetPixels(points, count, rgb, maximum) : 0;
}

int32_t vexcap_stillimage_size(vexcap_context* context, int32_t* width, int32_t* height) {
    if (!context) return 0;
    contextOf(context)->StillSize(width, height);
    return 1;
}

uint32_t vexcap_has_stillimage(vexcap_context* context) {
    return context ? contextOf(context)->Picture().StillCount() : 0;
}

int32_t vexcap_can_grabber_stillimage(vexcap_context* context) {
    return context && contextOf(context)->Picture().CanTakeStill();
}

int32_t vexcap_grabber_stillimage(vexcap_context* context, void* value) {
    return ask(context, 0, [&](CaptureContext& c) -> int32_t { return c.Picture().TakeStill(value); });
}

void vexcap_set_greycalibration(vexcap_context* context, const vex_rect* rectangle, vex_window* window,
                                uint32_t message) {
    act(context, [&](CaptureContext& c) { c.Picture().SetBrightnessNotify(rectangle, window, message); });
}

vex_render_target* vexcap_target_new(const vex_surface* surface) {
    if (!surface || !surface->pixels) return nullptr;
    return guarded<vex_render_target*>(nullptr,
                                       [&] { return new SoftwareTarget(*surface, engineState().platform->texts); });
}

void vexcap_target_free(vex_render_target* target) { delete static_cast<SoftwareTarget*>(target); }

void vexcap_draw_gdi(vexcap_context* context, vex_surface* surface, const vex_rect* rectangle, uint32_t width,
                     uint32_t height) {
    if (!surface || !surface->pixels || !rectangle) return;
    act(context, [&](CaptureContext& c) { c.Picture().DrawGdi(*surface, *rectangle, width, height); });
}

void vexcap_draw_d2d(vexcap_context* context, vex_render_target* target, const vex_rect* rectangle, uint32_t width,
                     uint32_t height) {
    if (!target || !rectangle) return;
    act(context, [&](CaptureContext& c) { c.Picture().DrawD2d(*target, *rectangle, width, height); });
}

uint32_t vexcap_draw_buffered(vexcap_context* context) {
    return context && contextOf(context)->Overlay().PaintsSomething();
}

void vexcap_init_d2d(vexcap_context* context, void* d3dDevice, void* d3dContext, vex_render_target* renderTarget) {
    act(context, [&](CaptureContext& c) { c.Picture().InitD2d(d3dDevice, d3dContext, renderTarget); });
}
