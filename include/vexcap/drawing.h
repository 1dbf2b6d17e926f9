/// Painting the preview: what the library draws on, and the calls that draw.
///
/// The library never paints by itself. A frame's arrival asks the host's window for a repaint (vexcap/window.h); the
/// host then calls vexcap_draw_gdi with a surface in memory, or vexcap_draw_d2d with a render target of its own.
#ifndef VEXCAP_DRAWING_H
#define VEXCAP_DRAWING_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

typedef struct vexcap_context vexcap_context;

/// Memory that is painted on: 4 bytes a pixel, blue first, top row first; the fourth byte is left alone. The host owns
/// the pixels; a QImage, a Cairo image surface or a shared buffer is wrapped without a copy.
typedef struct vex_surface {
    uint8_t* pixels;  ///< Top left pixel. Null: nothing is drawn.
    int32_t width;    ///< Pixels.
    int32_t height;   ///< Pixels.
    int32_t stride;   ///< Bytes from a row to the one below it; negative when that lies before it in memory.
    uint32_t dpiX;    ///< Dots an inch of what it is shown on, 0 for 96: tick marks are made longer by it.
    uint32_t dpiY;    ///< 0 for 96.
} vex_surface;

/// A rectangle with fractions of pixels.
typedef struct vex_rect_f {
    float left, top, right, bottom;
} vex_rect_f;

/// A point with fractions of pixels: 0, 0 is the corner of the top left pixel.
typedef struct vex_point_f {
    float x, y;
} vex_point_f;

/// A picture that a render target is given to draw. It stays the caller's.
typedef struct vex_picture {
    const uint8_t* pixels;   ///< Top left pixel, blue first; null when the picture is in a texture.
    void* texture;           ///< The shared texture, as the camera library was given it; or null.
    int32_t width;           ///< Pixels.
    int32_t height;          ///< Pixels.
    int32_t stride;          ///< Bytes from a row to the one below it, often negative.
    uint32_t bytesPerPixel;  ///< 3 or 4.
} vex_picture;

/// How a text looks on a render target.
typedef struct vex_text_format {
    float height;    ///< Pixels.
    int32_t weight;  ///< 400, 700 or 900.
    uint32_t flags;  ///< VEX_TEXT_...
} vex_text_format;

enum {
    VEX_TEXT_CENTRE = 1,  ///< In the middle of the rectangle from left to right, else at its left.
    VEX_TEXT_MIDDLE = 2   ///< In the middle of the rectangle from top to bottom, else at its top.
};

#ifdef __cplusplus
}  // extern "C"

/// A target of the accelerated drawing road. A host with a graphics processor implements it: in C++ as a class, in C as
/// a struct whose first member points to a table (below); both are the same in memory (Itanium C++ ABI). Its calls come
/// on the thread that calls vexcap_draw_d2d, between the host's own begin and end of drawing; what they are given is
/// good until they return. Colours are 0x00BBGGRR.
struct vex_render_target {
    /// Dots an inch; 96, 96 where nothing is known.
    virtual void GetDpi(uint32_t* x, uint32_t* y) = 0;
    /// Fills `target` with the whole picture, filtered linearly. `opacity` is 0 to 1.
    virtual void DrawBitmap(const vex_picture* picture, const vex_rect_f* target, float opacity) = 0;
    /// From end to end, `width` pixels thick, with flat ends.
    virtual void DrawLine(vex_point_f from, vex_point_f to, uint32_t colour, float width) = 0;
    /// The outline of an ellipse.
    virtual void DrawEllipse(vex_point_f centre, float radiusX, float radiusY, uint32_t colour, float width) = 0;
    virtual void FillRectangle(const vex_rect_f* rectangle, uint32_t colour) = 0;
    /// Size of one line of text in whole pixels; 0, 0 when it cannot be drawn.
    virtual void MeasureText(const vex_text_format* format, const vex_char* text, uint32_t length, int32_t* width,
                             int32_t* height) = 0;
    /// One line of text in a rectangle, and beyond it where it is longer.
    virtual void DrawText(const vex_text_format* format, const vex_char* text, uint32_t length,
                          const vex_rect_f* rectangle, uint32_t colour) = 0;

protected:
    ~vex_render_target() = default;
};

extern "C" {
#else
typedef struct vex_render_target vex_render_target;

/// The operations of a render target for C, in the order of the class and with its meanings. Each takes the target
/// first; none may be null.
typedef struct vex_render_target_table {
    void (*GetDpi)(vex_render_target* self, uint32_t* x, uint32_t* y);
    void (*DrawBitmap)(vex_render_target* self, const vex_picture* picture, const vex_rect_f* target, float opacity);
    void (*DrawLine)(vex_render_target* self, vex_point_f from, vex_point_f to, uint32_t colour, float width);
    void (*DrawEllipse)(vex_render_target* self, vex_point_f centre, float radiusX, float radiusY, uint32_t colour,
                        float width);
    void (*FillRectangle)(vex_render_target* self, const vex_rect_f* rectangle, uint32_t colour);
    void (*MeasureText)(vex_render_target* self, const vex_text_format* format, const vex_char* text, uint32_t length,
                        int32_t* width, int32_t* height);
    void (*DrawText)(vex_render_target* self, const vex_text_format* format, const vex_char* text, uint32_t length,
                     const vex_rect_f* rectangle, uint32_t colour);
} vex_render_target_table;

/// A host's own struct begins with this member and goes on as it likes.
struct vex_render_target {
    const vex_render_target_table* table;
};
#endif

/// A render target that paints on a surface with the processor, hard edges without smoothing. The surface is copied,
/// its pixels are borrowed. It goes back to vexcap_target_free. Null for null, for a surface without pixels, or no
/// memory.
VEXCAP_API vex_render_target* vexcap_target_new(const vex_surface* surface);

/// Frees a target of vexcap_target_new. Null is allowed.
VEXCAP_API void vexcap_target_free(vex_render_target* target);

/// Draws the present picture into a rectangle of a surface, stretched to fill it exactly, without smoothing, and the
/// overlay over it. What lies outside the surface is clipped; a rectangle without an inside draws nothing, and one with
/// a side of more than 1048576 pixels gets no overlay. Nothing else of the surface is touched.
/// Take a surface of about the picture's size, or let the host's toolkit scale: pixels are left out or repeated.
/// @param width, height  Size of the picture as vexcap_video_size or vexcap_picture_size reports it. With any other one
///                       the picture is forgotten until the next frame comes.
VEXCAP_API void vexcap_draw_gdi(vexcap_context* context, vex_surface* surface, const vex_rect* rectangle,
                                uint32_t width, uint32_t height);

/// The same on a render target, with linear filtering; for a context whose frames come from a camera library.
VEXCAP_API void vexcap_draw_d2d(vexcap_context* context, vex_render_target* target, const vex_rect* rectangle,
                                uint32_t width, uint32_t height);

/// Non-zero when a paint would draw an overlay over the picture.
VEXCAP_API uint32_t vexcap_draw_buffered(vexcap_context* context);

/// Sets or changes the surface of the accelerated road, as after the host lost its render target. The source is
/// stopped meanwhile; one that was paused comes back running, and a file stays stopped. Nothing happens without a
/// started camera, or when neither this call nor an earlier one gave a device context.
VEXCAP_API void vexcap_init_d2d(vexcap_context* context, void* d3dDevice, void* d3dContext,
                                vex_render_target* renderTarget);

VEXCAP_EXTERN_C_END
#endif
