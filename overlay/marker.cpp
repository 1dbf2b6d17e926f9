#include "overlay/marker.h"

#include <algorithm>

#include "overlay/paint_area.h"

namespace vexcap {
namespace {

MarkerGeo clamped(MarkerGeo record) {
    for (int32_t* const size : {&record.eMarkerGeox, &record.eMarkerGeoy, &record.eMarkerGeox2, &record.eMarkerGeoy2})
        *size = std::clamp(*size, 1, 100);
    for (int32_t* const offset : {&record.eMarkerxPos, &record.eMarkeryPos}) *offset = std::clamp(*offset, -50, 50);
    record.eMarkerGeoAngle = std::clamp(record.eMarkerGeoAngle, 0, 360'000);
    return record;
}

}  // namespace

CMarker::CMarker(const OverlayPorts& ports, vex_camera_clarity clarity)
    : IDfcBaseImpl(ports.files), kernelsOfSteps(kernels()), clarityOf(clarity), textBlock(ports) {}

int32_t CMarker::SetGeo(const MarkerGeo& record) {
    const MarkerGeo taken = clamped(record);
    const RecursiveMutexGuard lock(markerLock);
    geoMarker.geo = taken;
    return 1;
}

MarkerGeo CMarker::GetGeo() {
    const RecursiveMutexGuard lock(markerLock);
    return geoMarker.geo;
}

int32_t CMarker::SetTxt(const MarkerTxt& record) {
    const RecursiveMutexGuard lock(markerLock);
    textBlock.SetTxt(record);
    return 1;
}

MarkerTxt CMarker::GetTxt() {
    const RecursiveMutexGuard lock(markerLock);
    return textBlock.Txt();
}

int32_t CMarker::SetScale(const ScaleTexts& scale) {
    const RecursiveMutexGuard lock(markerLock);
    textBlock.Scale().Set(scale);
    return 1;
}

int32_t CMarker::SetTick(double spacing) {
    const RecursiveMutexGuard lock(markerLock);
    geoMarker.tick = spacing;
    return 1;
}

int32_t CMarker::SetWater(const WaterInfo& info) {
    const RecursiveMutexGuard lock(markerLock);
    return watermark.Set(info);
}

int32_t CMarker::SetWaterOffset(int32_t x, int32_t y) {
    const RecursiveMutexGuard lock(markerLock);
    watermark.SetOffset(x, y);
    return 1;
}

int32_t CMarker::SetWaterRotate(int32_t angle) {
    const RecursiveMutexGuard lock(markerLock);
    watermark.SetRotate(angle);
    return 1;
}

void CMarker::CopyFrom(CMarker& source) {
    MarkerGeo geo;
    MarkerTxt txt;
    {
        const RecursiveMutexGuard theirs(source.markerLock);
        geo = source.geoMarker.geo;
        txt = source.textBlock.Txt();
    }
    SetGeo(geo);
    SetTxt(txt);
    const RecursiveMutexGuard own(markerLock);
    const RecursiveMutexGuard theirs(source.markerLock);
    geoMarker.tick = source.geoMarker.tick;
    textBlock.Scale().Set(source.textBlock.Scale().Get());
    clarityOf = source.clarityOf;
}

bool CMarker::HasWorkIn(FrameMode mode) const {
    const MarkerTxt& txt = textBlock.Txt();
    return steps.any() || HasDfc() || geoMarker.geo.eMarkerGeo || txt.Date || txt.Contrast ||
           (txt.Scale && textBlock.Scale().Complete(mode)) || watermark.Present();
}

bool CMarker::HasWork(FrameMode mode) {
    const RecursiveMutexGuard lock(markerLock);
    return HasWorkIn(mode);
}

bool CMarker::HasWater() {
    const RecursiveMutexGuard lock(markerLock);
    return watermark.Present();
}

bool CMarker::HasPaint() {
    const RecursiveMutexGuard lock(markerLock);
    const MarkerTxt& txt = textBlock.Txt();
    return watermark.Present() || geoMarker.geo.eMarkerGeo || txt.Scale || txt.Date || txt.Contrast;
}

void CMarker::BurnOverlay(uint8_t* frame, int32_t width, int32_t height, bool still, const OverlayMargins& margins,
                          uint32_t bytesPerPixel) {
    if (!frame || width < 1 || height < 1) return;
    const FrameMode mode = still ? FrameMode::Still : FrameMode::Video;
    const RecursiveMutexGuard lock(markerLock);
    if (!HasWorkIn(mode)) return;
    Apply(frame, bytesPerPixel, uint32_t(width), uint32_t(height));
    steps.apply(kernelsOfSteps, frame, bytesPerPixel, uint32_t(width), uint32_t(height));
    const TextTarget target = {mode, width, height, width, height, margins};
    textBlock.PrepareFigure(clarityOf, frame, bytesPerPixel, target);
    const Canvas canvas = canvasOf(frame, width, height, bytesPerPixel);
    watermark.Burn(canvas);
    burnGeoMarker(canvas, geoMarker);
    textBlock.Burn(canvas, target);
}

void CMarker::DrawOverlayGdi(const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
                             const vex_surface& surface, const vex_rect& rectangle) {
    const PaintArea area(rectangle);
    if (!area.Paintable() || imageWidth < 1 || imageHeight < 1) return;
    const TextTarget target = {FrameMode::Window, int32_t(area.width), int32_t(area.height), imageWidth, imageHeight};
    const RecursiveMutexGuard lock(markerLock);
    watermark.Paint(surface, rectangle, imageWidth, imageHeight);
    paintGeoMarker(surface, rectangle, geoMarker);
    textBlock.PrepareFigure(clarityOf, frame, bytesPerPixel, target);
    textBlock.Paint(canvasOf(surface), area.left, area.top, target);
}

void CMarker::DrawOverlayD2d(const uint8_t* frame, uint32_t bytesPerPixel, int32_t imageWidth, int32_t imageHeight,
                             vex_render_target& renderTarget, const vex_rect& rectangle) {
    const PaintArea area(rectangle);
    if (!area.Paintable() || imageWidth < 1 || imageHeight < 1) return;
    const TextTarget target = {
        FrameMode::Window, int32_t(area.width), int32_t(area.height), imageWidth, imageHeight, {}, &renderTarget};
    const RecursiveMutexGuard lock(markerLock);
    watermark.Paint(renderTarget, rectangle, imageWidth, imageHeight);
    paintGeoMarker(renderTarget, rectangle, geoMarker);
    textBlock.PrepareFigure(clarityOf, frame, bytesPerPixel, target);
    textBlock.PaintOnRenderTarget(area.left, area.top, target);
}

}  // namespace vexcap
