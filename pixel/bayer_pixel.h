// What a mosaic means, pixel by pixel: all of it in the plain kernels, the border columns in faster ones.
//
// Files of different processor levels include this, so all functions are in an unnamed namespace: were they shared, the
// linker might keep a copy made for a better processor than the one at hand.
#pragma once

#include "pixel/kernels.h"
#include "pixel/picture_row.h"

namespace vexcap {
namespace {

struct Colours {
    uint32_t blue, green, red;
};

/// Which of the two kinds of rows a row is, and where its green pixels lie.
struct MosaicRow {
    bool red;         // the row holds red and green; otherwise blue and green
    bool greenFirst;  // the pixel of column 0 is green

    constexpr MosaicRow(Mosaic mosaic, uint32_t y)
        : red((mosaic == Mosaic::Rggb || mosaic == Mosaic::Grbg) == (y % 2 == 0)),
          greenFirst((mosaic == Mosaic::Grbg || mosaic == Mosaic::Gbrg) == (y % 2 == 0)) {}

    constexpr bool greenAt(uint32_t x) const { return greenFirst == (x % 2 == 0); }
};

/// A row with its two neighbours; outside the picture, the row inside at the same distance.
template <class Sample>
struct Neighbourhood {
    const Sample* above;
    const Sample* here;
    const Sample* below;

    Neighbourhood(const Sample* first, ptrdiff_t stride, uint32_t y, uint32_t height)
        : above(pictureRow(first, stride, y == 0 ? 1 : y - 1)),
          here(pictureRow(first, stride, y)),
          below(pictureRow(first, stride, y == height - 1 ? y - 1 : y + 1)) {}

    Colours colours(uint32_t x, uint32_t width, MosaicRow row) const {
        const uint32_t left = x == 0 ? 1 : x - 1;
        const uint32_t right = x == width - 1 ? x - 1 : x + 1;
        if (row.greenAt(x)) {
            const uint32_t along = mean(here[left], here[right]);
            const uint32_t across = mean(above[x], below[x]);
            return row.red ? Colours{across, here[x], along} : Colours{along, here[x], across};
        }
        const uint32_t green = mean(here[left], here[right], above[x], below[x]);
        const uint32_t diagonal = mean(above[left], above[right], below[left], below[right]);
        return row.red ? Colours{diagonal, green, here[x]} : Colours{here[x], green, diagonal};
    }

private:
    static uint32_t mean(uint32_t a, uint32_t b) { return (a + b + 1) >> 1; }
    static uint32_t mean(uint32_t a, uint32_t b, uint32_t c, uint32_t d) { return (a + b + c + d + 2) >> 2; }
};

/// A sample, shifted down to 8 bits; what is too large for its depth stays at the top.
inline uint8_t toByte(uint32_t sample, uint32_t shift) {
    const uint32_t value = sample >> shift;
    return uint8_t(value < 255 ? value : 255);
}

/// The two kinds of target pixels.
struct ToBgr24 {
    uint32_t shift;
    void operator()(uint8_t* pixel, Colours colours) const {
        pixel[0] = toByte(colours.blue, shift);
        pixel[1] = toByte(colours.green, shift);
        pixel[2] = toByte(colours.red, shift);
    }
};
struct ToBgr48 {
    void operator()(uint16_t* pixel, Colours colours) const {
        pixel[0] = uint16_t(colours.blue);
        pixel[1] = uint16_t(colours.green);
        pixel[2] = uint16_t(colours.red);
    }
};

/// Columns `from` to `to` - 1 of one row.
template <class Target, class Sample, class Write>
inline void bayerColumns(Target* target, const Neighbourhood<Sample>& rows, MosaicRow row, uint32_t from, uint32_t to,
                         uint32_t width, const Write& write) {
    for (uint32_t x = from; x < to; ++x) write(target + 3 * size_t(x), rows.colours(x, width, row));
}

}  // namespace
}  // namespace vexcap
