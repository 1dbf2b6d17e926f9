#include "engine/context_overlay.h"

namespace vexcap {
namespace {

constexpr int32_t wholeTurn = 360'000;  // thousandths of a degree

int32_t wrappedSum(int32_t a, int32_t b) { return int32_t(uint32_t(a) + uint32_t(b)); }

}  // namespace

uint64_t moveGeo(MarkerGeo& record, int32_t dx, int32_t dy) {
    if (!record.eMarkerGeo) return 0;
    record.eMarkerxPos = wrappedSum(record.eMarkerxPos, dx);
    record.eMarkeryPos = wrappedSum(record.eMarkeryPos, dy);
    return packed(record.eMarkerxPos, record.eMarkeryPos);
}

bool ContextOverlay::GetGeo(MarkerGeo& out) const {
    if (!state.marker) return false;
    out = state.marker->GetGeo();
    return true;
}

int32_t ContextOverlay::SetGeo(const MarkerGeo& record) {
    int32_t result = state.marker ? state.marker->SetGeo(record) : 0;
    // Hosts get the answer of whoever was told last, and the filter's word for success is 0.
    if (CMarkerFilter* const filter = Filter()) result = filter->SetGeo(&record);
    return result;
}

int32_t ContextOverlay::SetTxt(const MarkerTxt& record) {
    int32_t result = state.marker ? state.marker->SetTxt(record) : 0;
    if (CMarkerFilter* const filter = Filter()) result = filter->SetTxt(&record);
    return result;
}

void ContextOverlay::SetScale(const ScaleTexts& scale) {
    if (state.marker) state.marker->SetScale(scale);
    if (CMarkerFilter* const filter = Filter())
        filter->SetScale(scale.videoLength, scale.videoText, scale.stillLength, scale.stillText, scale.powerText);
}

void ContextOverlay::SetTick(double spacing) {
    if (state.marker) state.marker->SetTick(spacing);
    if (CMarkerFilter* const filter = Filter()) filter->SetTick(spacing);
}

bool ContextOverlay::CanMoveGeo() const {
    return (state.previewing || state.playState != playNeverStarted) && state.marker &&
           state.marker->GetGeo().eMarkerGeo != 0;
}

uint64_t ContextOverlay::MoveGeo(int32_t dx, int32_t dy) {
    if (!state.marker) return 0;
    MarkerGeo record = state.marker->GetGeo();
    const uint64_t moved = moveGeo(record, dx, dy);
    if (record.eMarkerGeo && (dx || dy)) SetGeo(record);
    return moved;
}

void ContextOverlay::SetWater(const WaterInfo& info) {
    if (!state.marker) return;
    MarkerSettings& settings = markerSettings();
    settings.waterRotate = settings.waterOffsetX = settings.waterOffsetY = 0;
    state.marker->SetWaterRotate(0);
    state.marker->SetWaterOffset(0, 0);
    state.marker->SetWater(info);
}

bool ContextOverlay::CanMoveWater() const { return HasWater() && state.previewing; }

uint64_t ContextOverlay::MoveWater(int32_t dx, int32_t dy) {
    if (!HasWater()) return 0;
    MarkerSettings& settings = markerSettings();
    int32_t &x = settings.waterOffsetX, &y = settings.waterOffsetY;
    if (dx || dy) {
        x = wrappedSum(x, dx);
        y = wrappedSum(y, dy);
        state.marker->SetWaterOffset(x, y);
        if (CMarkerFilter* const filter = Filter()) filter->SetWaterOffset(x, y);
    }
    return packed(x, y);
}

int32_t ContextOverlay::RotateWater(int32_t delta) {
    if (!HasWater()) return 0;
    int32_t& angle = markerSettings().waterRotate;
    if (delta) {
        angle = int32_t((int64_t(angle) + delta) % wholeTurn);
        state.marker->SetWaterRotate(angle);
        if (CMarkerFilter* const filter = Filter()) filter->SetWaterRotate(angle);
    }
    return angle;
}

bool ContextOverlay::PaintsSomething() const { return state.marker && state.marker->HasPaint(); }

}  // namespace vexcap
