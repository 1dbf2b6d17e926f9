// Drawing on pictures in memory: lines, masks, plates, stretched and blended pictures. Hard edges, everything clipped.
//
// Coordinates are pixels from the top left, y downward, whatever the order of rows in memory. Any coordinate may be
// given: what lies outside is not touched, and costs no time by its distance. Colours are 0x00BBGGRR. Only the three
// colour bytes of a pixel are written. Nothing allocates.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/dib.h"

namespace vexcap {

/// A picture that is drawn on, blue first.
struct Canvas {
    uint8_t* top = nullptr;  ///< First byte of the top row.
    ptrdiff_t stride = 0;    ///< Bytes from a row to the one below it; negative where rows are bottom-up.
    int32_t width = 0;
    int32_t height = 0;
    uint32_t bytesPerPixel = 3;  ///< 3 or 4.

    uint8_t* Row(int32_t y) const { return top + y * stride; }
};

/// A picture that is drawn from.
struct Picture {
    const uint8_t* top = nullptr;
    ptrdiff_t stride = 0;
    int32_t width = 0;
    int32_t height = 0;
    uint32_t bytesPerPixel = 3;

    const uint8_t* Row(int32_t y) const { return top + y * stride; }
};

/// A bottom-up frame at the DIB stride as something to draw on, or from. Both sides are at least 1.
inline Canvas canvasOf(uint8_t* frame, int32_t width, int32_t height, uint32_t bytesPerPixel) {
    const ptrdiff_t stride = ptrdiff_t(dibStride(uint32_t(width), bytesPerPixel));
    return {frame + (height - 1) * stride, -stride, width, height, bytesPerPixel};
}
inline Picture pictureOf(const uint8_t* frame, int32_t width, int32_t height, uint32_t bytesPerPixel) {
    const ptrdiff_t stride = ptrdiff_t(dibStride(uint32_t(width), bytesPerPixel));
    return {frame + (height - 1) * stride, -stride, width, height, bytesPerPixel};
}

/// Bytes that are 255 where a pixel is to be set and 0 elsewhere; rows `width` bytes long, top row first.
struct Mask {
    const uint8_t* pixels = nullptr;
    int32_t width = 0;
    int32_t height = 0;
};

/// A rectangle in pixels; right and bottom lie outside it. One without an inside draws nothing.
struct Box {
    int32_t left = 0, top = 0, right = 0, bottom = 0;
};

/// n = max(|dx|, |dy|) pixels: number i of 0 to n - 1 lies i / n along the way, its smaller coordinate rounded to the
/// nearest, a half away from the start. The end is left out.
void drawLine(const Canvas& canvas, int32_t fromX, int32_t fromY, int32_t toX, int32_t toY, uint32_t colour);

void fillBox(const Canvas& canvas, const Box& box, uint32_t colour);

/// Midpoint circle, in eight-way symmetry. a = 0, b = radius, decision 1 - radius, east step 3, south-east step
/// 5 - 2 * radius; while a <= b plots (±a, ±b) and (±b, ±a); a decision below 0 adds the east step, else the south-east
/// step, with 2 added to the east step either way, 2 or 4 to the south-east step, and b made less by 1 in the second
/// case. A radius below 1 draws nothing.
void drawCircle(const Canvas& canvas, int32_t centreX, int32_t centreY, int32_t radius, uint32_t colour);

/// The outline, one pixel wide, of the largest ellipse whose pixels lie in the box: it touches all four sides. In a box
/// of equal odd sides it is drawCircle()'s.
void drawEllipse(const Canvas& canvas, const Box& box, uint32_t colour);

/// Sets the pixels of the mask, its top left at x, y.
void paintMask(const Canvas& canvas, const Mask& mask, int32_t x, int32_t y, uint32_t colour);

/// A line with flat ends: the pixels whose centres lie in the rectangle that is `thickness` wide and has the line as
/// its middle. Coordinates count from the corner of the top left pixel.
void drawThickLine(const Canvas& canvas, float fromX, float fromY, float toX, float toY, float thickness,
                   uint32_t colour);

/// The pixels whose centres lie on or between the ellipses that are half of `thickness` within and outside of this one.
/// No radius is below 0.
void drawThickEllipse(const Canvas& canvas, float centreX, float centreY, float radiusX, float radiusY, float thickness,
                      uint32_t colour);

/// Blends a picture of 3 bytes a pixel over the canvas, its top left at x, y. Each channel becomes the low 8 bits of
/// w + (f - w) * alpha / 100, the division truncating toward zero: f the canvas's, w the picture's. alpha: 0 to 255.
void blendPicture(const Canvas& canvas, const Picture& picture, int32_t x, int32_t y, uint32_t alpha);

/// Fills the box with the whole picture, nearest pixel: column i of the box shows column floor(i * picture.width /
/// width of the box), rows alike. The whole box counts, also where it is clipped. A source of 4 bytes gives its three
/// colour bytes.
void stretchPicture(const Canvas& canvas, const Box& box, const Picture& picture);

/// The same, mixed with what is there: each channel becomes (source * weight + there * (255 - weight) + 127) / 255.
void stretchBlended(const Canvas& canvas, const Box& box, const Picture& picture, uint8_t weight);

/// Fills the rectangle with the whole picture, filtered linearly, over the pixels whose centres lie in it; opacity 0 to
/// 1 mixes it with what is there.
void stretchLinear(const Canvas& canvas, float left, float top, float right, float bottom, const Picture& picture,
                   float opacity);

}  // namespace vexcap
