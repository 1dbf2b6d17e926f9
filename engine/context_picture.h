// What a host gets of a context's pictures: grabs, stills, paints.
#pragma once

#include <vexcap/drawing.h>
#include <vexcap/vexcap.h>

#include "engine/context_state.h"
#include "engine/road.h"

namespace vexcap {

/// One action. Host's thread. What the actions do is told at the exports. `road` may be null.
class ContextPicture {
public:
    ContextPicture(ContextState& context, Road* way) : state(context), road(way) {}

    /// Layout of the frames to come; false where the source does not report it.
    bool Format(vex_picture_format& format) const;
    HRESULT PutCapture(uint32_t kind) { return road ? road->PutCapture(kind).code() : E_UNEXPECTED; }
    bool Grab(uint8_t* bitmap, int32_t capacity, uint32_t kind, bool still, const OverlayMargins& margins);
    /// Bytes of the picture that a grab would copy now; 0 where there is none.
    uint32_t GrabRoom(uint32_t kind, bool still) const;
    bool CanGrab(uint32_t kind) const { return GrabRoom(kind, false) != 0; }
    /// About the picture of the last grab; false before the first.
    bool LastGrab(vex_grab_info& info) const;
    int32_t GetPixels(const vex_point* points, uint32_t count, uint16_t* rgb, uint32_t* maximum) const;

    uint32_t StillCount() const { return road ? road->StillCount() : 0; }
    bool CanTakeStill() const;
    bool TakeStill(void* value);

    void SetBrightnessNotify(const vex_rect* rectangle, vex_window* window, uint32_t message);

    /// Width and height are what the host was told: the size of the source, or that of the picture itself.
    void DrawGdi(const vex_surface& surface, const vex_rect& rectangle, uint32_t width, uint32_t height);
    void DrawD2d(vex_render_target& target, const vex_rect& rectangle, uint32_t width, uint32_t height);
    void InitD2d(void* device, void* context, vex_render_target* target);

private:
    struct Size {
        uint32_t width;
        uint32_t height;
    };
    CFrameRender* SinkOf(bool still) const;
    Size SizeToDraw(CFrameRender& sink, Size told) const;

    ContextState& state;
    Road* const road;
};

}  // namespace vexcap
