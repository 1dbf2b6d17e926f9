// The interface of a frame sink: what its owner tells it, and what a host asks of the present picture.
#pragma once

#include <vexcap/camera_library.h>
#include <vexcap/drawing.h>
#include <vexcap/window.h>

#include <cstdint>

#include "frame/paint_overlay.h"

namespace vexcap {

/// Called after each frame on the thread that delivered it, with no lock held. The frame is good until it returns.
/// `width` and `height` are those that came with the frame, and may be 0.
using FrameCallback = void (*)(void* context, const void* frame, uint32_t width, uint32_t height);

/// Sees a frame before it is shown, on the thread that delivered it, with no lock held. `eight` is always 8.
using FrameHook = void (*)(void* context, const void* frame, uint32_t width, uint32_t height, uint32_t eight);

/// The way back from a live-stack hook to the display: feed(sink, width, height, ignored, pixels). The pixels have
/// three bytes each, blue first, rows bottom-up without padding, in the size of the source. Called from inside the
/// hook; from another thread the next frames of the source may overwrite what the frame callback is just given.
struct StackFeedEntry {
    void (*feed)(void* sink, uint32_t width, uint32_t height, uint32_t ignored, const uint8_t* pixels);
    void* sink;
};

/// {587CDBEC-F03D-4DA5-852B-8CF4C78E3176}
inline constexpr vex_guid IID_IFrameInfo = {
    0x587CDBEC, 0xF03D, 0x4DA5, {0x85, 0x2B, 0x8C, 0xF4, 0xC7, 0x8E, 0x31, 0x76}};

/// A sink of frames. All operations may be called on any thread.
struct IFrameInfo : IVexUnknown {
    /// Where new frames are told, and who gets each frame. A null window or the message 0 is told nothing.
    virtual HRESULT SetNotify(vex_window* window, uint32_t message, FrameCallback callback, void* context) = 0;
    /// The caller divides: frames * 1000 / milliseconds is the rate, smoothed over half a minute. `total` counts the
    /// frames since the last reset and may be null. E_POINTER when one of the others is null.
    virtual HRESULT GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) = 0;
    /// Size of the present picture in pixels; either may be null.
    virtual HRESULT GetVideoSize(uint32_t* width, uint32_t* height) = 0;
    /// Writes a vex_bitmap_header and the pixels behind it. `kind`: 0 display picture, 24 bits a pixel; 1 raw frame;
    /// 2 frame of three 16-bit samples a pixel. `capacity` counts the bytes behind the header. E_FAIL without such a
    /// picture, VEX_E_INSUFFICIENT_BUFFER when it does not fit: nothing is written then. With a null bitmap S_FALSE
    /// says that there is a picture of this kind and E_POINTER that there is none.
    virtual HRESULT GetImage(void* bitmap, int32_t capacity, uint32_t kind) = 0;
    /// Writes red, green, blue of each point that lies in the picture, in the order of the points and without gaps, and
    /// gives how many it wrote. `maximum` becomes the largest value of a sample where that is known, and may be null.
    virtual int32_t GetPixels(const vex_point* points, uint32_t count, uint16_t* values, uint32_t* maximum) = 0;
    /// Stretches the picture into a rectangle of a surface, nearest pixel, and draws the overlay, which may be null,
    /// over it. Another size than the picture's makes the sink forget it until the next frame comes. Always S_OK. The
    /// source waits no longer than this call takes.
    virtual HRESULT DrawGdi(const vex_surface& surface, const vex_rect& rectangle, uint32_t pictureWidth,
                            uint32_t pictureHeight, IPaintOverlay* overlay) = 0;
    /// Posts the size of each shown frame: wparam (height << 16) | width, lparam the frame's tag.
    virtual HRESULT SetSizeNotify(vex_window* window, uint32_t message) = 0;
    /// Posts ten times the mean brightness of a rectangle with each shown frame. Null for the rectangle empties it.
    virtual HRESULT SetBrightnessNotify(const vex_rect* rectangle, vex_window* window, uint32_t message) = 0;
    /// Bit 0 mirrors left and right, bit 1 top and bottom. Mask bit 0 takes bit 0 of `value`, else mask bit 1 takes
    /// bit 1: one bit in one call.
    virtual HRESULT PutFlip(uint32_t value, uint32_t mask) = 0;
    /// Non-zero shows grey.
    virtual HRESULT PutChrome(uint32_t on) = 0;
    /// Non-zero shows the negative.
    virtual HRESULT PutNegative(uint32_t on) = 0;
    /// Trigger mode: on with a count of 0 lets no frame pass. Resets the rate statistics, but not when (on, 1) comes
    /// again.
    virtual HRESULT PutTrigger(uint8_t on, uint32_t count) = 0;
    /// What is wanted besides the display picture: 0 nothing, 1 raw frames, 2 deep frames. E_NOTIMPL for kind 2 on a
    /// device of 8 bits.
    virtual HRESULT PutCapture(uint32_t kind) = 0;
    /// True: every frame may repaint the window.
    virtual HRESULT PutThrottleOff(bool off) = 0;
    /// A hook that takes the frames away from the display, and where its results go; null ends it. `feed` may be null.
    virtual HRESULT SetLiveStack(FrameHook hook, void* context, StackFeedEntry* feed) = 0;
    /// The same on a render target, filtered linearly: from the shared texture where there is one, else from memory.
    /// Another size makes the sink forget the size alone. Without a picture nothing is drawn.
    virtual HRESULT DrawD2d(vex_render_target& target, const vex_rect& rectangle, uint32_t pictureWidth,
                            uint32_t pictureHeight, IPaintOverlay* overlay) = 0;
    /// Offers the host's graphics device. A null device goes back to pictures in memory.
    virtual HRESULT InitD2d(void* device, void* context, void* renderTarget) = 0;
    /// Forgets the picture of a pooled sink. Nothing happens to the others.
    virtual HRESULT Reset() = 0;
    /// A hook that sees each frame, while the display goes on; null ends it.
    virtual HRESULT SetStitched(FrameHook hook, void* context) = 0;

protected:
    ~IFrameInfo() = default;
};

}  // namespace vexcap
