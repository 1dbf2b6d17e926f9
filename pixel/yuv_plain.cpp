// Colour conversion of video input.
#include <algorithm>

#include "pixel/kernels_levels.h"
#include "pixel/picture_row.h"
#include "pixel/yuv_weights.h"

namespace vexcap {
namespace {

/// What the colour of one U V pair adds to each channel of its pixels.
struct Colour {
    int blue, green, red;
    Colour(uint8_t u, uint8_t v)
        : blue(yuvTerm(u, yuv.uToBlue) - yuv.blueOffset),
          green(yuv.greenOffset - yuvTerm(u, yuv.uToGreen) - yuvTerm(v, yuv.vToGreen)),
          red(yuvTerm(v, yuv.vToRed) - yuv.redOffset) {}
    static int yuvTerm(uint8_t value, int weight) { return value * weight >> 8; }
    void write(uint8_t* to, uint8_t luma) const {
        const int light = yuvTerm(luma, yuv.luma);
        to[0] = byteOf(light + blue);
        to[1] = byteOf(light + green);
        to[2] = byteOf(light + red);
    }
    static uint8_t byteOf(int sixtyFourths) { return uint8_t(std::clamp(sixtyFourths >> 6, 0, 255)); }
};

/// Groups of four bytes; the luma of the two pixels, U and V are at these places.
template <int Luma0, int Luma1, int U, int V>
void groupsToBgr24(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                   uint32_t width, uint32_t height) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* to = pictureRow(target, targetStride, y);
        const uint8_t* from = pictureRow(source, sourceStride, y);
        for (uint32_t x = 0; x < width; x += 2, to += 6, from += 4) {
            const Colour colour(from[U], from[V]);
            colour.write(to, from[Luma0]);
            if (x + 1 < width) colour.write(to + 3, from[Luma1]);
        }
    }
}

}  // namespace

void yuyvToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                      uint32_t width, uint32_t height) {
    groupsToBgr24<0, 2, 1, 3>(target, targetStride, source, sourceStride, width, height);
}

void uyvyToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                      uint32_t width, uint32_t height) {
    groupsToBgr24<1, 3, 0, 2>(target, targetStride, source, sourceStride, width, height);
}

void nv12ToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* luma, ptrdiff_t lumaStride,
                      const uint8_t* colour, ptrdiff_t colourStride, uint32_t width, uint32_t height) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* to = pictureRow(target, targetStride, y);
        const uint8_t* light = pictureRow(luma, lumaStride, y);
        const uint8_t* pair = pictureRow(colour, colourStride, y / 2);
        for (uint32_t x = 0; x < width; x += 2, to += 6, pair += 2) {
            const Colour shared(pair[0], pair[1]);
            shared.write(to, light[x]);
            if (x + 1 < width) shared.write(to + 3, light[x + 1]);
        }
    }
}

}  // namespace vexcap
