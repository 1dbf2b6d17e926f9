// The overlay of a context as a host sets it. It is in two places: the context's own marker, for preview, stills and
// recordings without a graph, and the one in the marker filter while a recording runs on a capture graph.
#pragma once

#include <vexcap/overlay.h>

#include "engine/context_state.h"
#include "settings/marker_settings.h"

namespace vexcap {

/// Two numbers as one answer: the first in the low 32 bits.
constexpr uint64_t packed(int32_t low, int32_t high) { return uint64_t(uint32_t(high)) << 32 | uint32_t(low); }
constexpr int32_t lowOf(uint64_t pair) { return int32_t(uint32_t(pair)); }
constexpr int32_t highOf(uint64_t pair) { return int32_t(uint32_t(pair >> 32)); }

/// One action on a context's overlay. Host's thread. What the actions do is told at the exports of vexcap/overlay.h.
class ContextOverlay {
public:
    explicit ContextOverlay(ContextState& context) : state(context) {}

    bool GetGeo(MarkerGeo& out) const;
    int32_t SetGeo(const MarkerGeo& record);
    int32_t SetTxt(const MarkerTxt& record);
    void SetScale(const ScaleTexts& scale);
    void SetTick(double spacing);
    bool CanMoveGeo() const;
    uint64_t MoveGeo(int32_t dx, int32_t dy);
    void SetWater(const WaterInfo& info);
    bool CanMoveWater() const;
    uint64_t MoveWater(int32_t dx, int32_t dy);
    int32_t RotateWater(int32_t delta);
    bool PaintsSomething() const;

private:
    CMarkerFilter* Filter() const { return state.graph.markerFilter.get(); }
    bool HasWater() const { return state.marker && state.marker->HasWater(); }

    ContextState& state;
};

/// The offsets of the record, moved: x low. Numbers beyond 32 bits wrap. 0, with the record as it was, for style 0.
uint64_t moveGeo(MarkerGeo& record, int32_t dx, int32_t dy);

}  // namespace vexcap
