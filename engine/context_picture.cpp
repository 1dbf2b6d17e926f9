#include "engine/context_picture.h"

#include <cstring>

#include "settings/marker_settings.h"

namespace vexcap {
namespace {

constexpr uint32_t displayBytesPerPixel = 3;

}  // namespace

CFrameRender* ContextPicture::SinkOf(bool still) const {
    if (!still) return state.PreviewSink();
    return state.stillSink ? state.stillSink.get() : state.graph.stillRender.get();
}

bool ContextPicture::Format(vex_picture_format& format) const {
    uint32_t width = 0, height = 0;
    if (!road || !road->HasSource() || !road->FinalSize(width, height).ok()) return false;
    const uint64_t display = pictureBytes(width, height, displayBytesPerPixel);
    if (display == 0 || display == unholdable) return false;
    format = {.size = sizeof format,
              .width = width,
              .height = height,
              .displayBits = 8 * displayBytesPerPixel,
              .displayPitch = uint32_t(dibStride(width, displayBytesPerPixel)),
              .displayBytes = uint32_t(display)};
    if (!state.cameraSource) return true;
    uint32_t fourcc = 0, depth = 0;
    const bool hasRaw = road->RawFormat(fourcc, depth).ok() && depth != 0;
    const uint32_t sampleBytes = depth > 8 ? 2 : 1;
    if (const uint64_t raw = packedBytes(width, height, sampleBytes); hasRaw && raw != unholdable) {
        format.rawFourcc = fourcc;
        format.rawBits = depth;
        format.rawPitch = width * sampleBytes;
        format.rawBytes = uint32_t(raw);
    }
    const bool hasDeep = state.bitDepth > 8;
    if (const uint64_t deep = pictureBytes(width, height, deepBytesPerPixel); hasDeep && deep != unholdable) {
        format.deepBits = state.bitDepth;
        format.deepBytes = uint32_t(deep);
    }
    return true;
}

bool ContextPicture::Grab(uint8_t* bitmap, int32_t capacity, uint32_t kind, bool still, const OverlayMargins& margins) {
    CFrameRender* const sink = SinkOf(still);
    if (!sink || sink->GrabImage(bitmap, capacity, kind, state.lastGrab.stamp) < 0) return false;
    state.lastGrab.any = true;
    state.lastGrab.still = still;
    vex_bitmap_header header;
    std::memcpy(&header, bitmap, sizeof header);
    if (kind == VEX_GRAB_DISPLAY && header.biBitCount == 24 && state.marker && markerSettings().CaptureAfter())
        state.marker->BurnOverlay(bitmap + sizeof header, header.biWidth, header.biHeight, still, margins, 3);
    return true;
}

uint32_t ContextPicture::GrabRoom(uint32_t kind, bool still) const {
    CFrameRender* const sink = SinkOf(still);
    return sink ? uint32_t(sink->ImageBytes(kind)) : 0;
}

bool ContextPicture::LastGrab(vex_grab_info& info) const {
    const auto& [any, isStill, stamp] = state.lastGrab;
    if (!any) return false;
    info = {.size = sizeof info,
            .still = isStill,
            .age = state.engine.platform->clock.Tick() - stamp.tick,
            .numbered = stamp.numbered,
            .number = stamp.number,
            .timestamp = stamp.timestamp};
    return true;
}

int32_t ContextPicture::GetPixels(const vex_point* points, uint32_t count, uint16_t* rgb, uint32_t* maximum) const {
    CFrameRender* const sink = state.PreviewSink();
    return sink ? sink->GetPixels(points, count, rgb, maximum) : E_UNEXPECTED;
}

bool ContextPicture::CanTakeStill() const {
    const bool camera = state.kind == VEX_KIND_CAMERA;
    const bool device = state.kind == VEX_KIND_VIDEO_INPUT && state.previewing;
    return (camera || device) && state.playState == playRunning && StillCount() != 0;
}

bool ContextPicture::TakeStill(void* value) { return CanTakeStill() && road->TakeStill(value).ok(); }

void ContextPicture::SetBrightnessNotify(const vex_rect* rectangle, vex_window* window, uint32_t message) {
    if (CFrameRender* const sink = state.PreviewSink()) sink->SetBrightnessNotify(rectangle, window, message);
}

/// A camera's frames may be cut, binned or turned, and the host knows the size of the whole.
ContextPicture::Size ContextPicture::SizeToDraw(CFrameRender& sink, Size told) const {
    Size picture = {};
    sink.GetVideoSize(&picture.width, &picture.height);
    return told.width == state.width && told.height == state.height ? picture : told;
}

void ContextPicture::DrawGdi(const vex_surface& surface, const vex_rect& rectangle, uint32_t width, uint32_t height) {
    CFrameRender* const sink = state.PreviewSink();
    if (!sink) return;
    const Size size = SizeToDraw(*sink, {width, height});
    sink->DrawGdi(surface, rectangle, size.width, size.height, state.marker.get());
}

void ContextPicture::DrawD2d(vex_render_target& target, const vex_rect& rectangle, uint32_t width, uint32_t height) {
    CFrameRender* const sink = state.previewSink.get();
    if (!sink) return;
    const Size size = SizeToDraw(*sink, {width, height});
    sink->DrawD2d(target, rectangle, size.width, size.height, state.marker.get());
}

void ContextPicture::InitD2d(void* device, void* context, vex_render_target* target) {
    CFrameRender* const sink = state.previewSink.get();
    if (!sink || !road || !(context || state.d3dContext)) return;
    state.d3dDevice = device;
    state.d3dContext = context;
    state.renderTarget = target;
    road->Halt().ignore();
    state.playState = playStopped;
    sink->InitD2d(device, context, target);
    if (road->Run().ok()) state.playState = playRunning;
}

}  // namespace vexcap
