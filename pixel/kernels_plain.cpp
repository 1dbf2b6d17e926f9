#include <array>
#include <cassert>
#include <cmath>
#include <cstring>

#include "pixel/bayer_pixel.h"
#include "pixel/kernels.h"
#include "pixel/kernels_levels.h"
#include "pixel/picture_row.h"

namespace vexcap {

void copyRowsReversedPlain(uint8_t* target, const uint8_t* source, size_t rowBytes, size_t rows) {
    for (size_t y = 0; y < rows; ++y) std::memcpy(target + y * rowBytes, source + (rows - 1 - y) * rowBytes, rowBytes);
}

namespace {

constexpr std::array<double, 256> timesEveryByte(double weight) {
    std::array<double, 256> table{};
    for (size_t value = 0; value < table.size(); ++value) table[value] = double(value) * weight;
    return table;
}
constexpr std::array<double, 256> redLuminance = timesEveryByte(0.299);
constexpr std::array<double, 256> greenLuminance = timesEveryByte(0.587);
constexpr std::array<double, 256> blueLuminance = timesEveryByte(0.114);

}  // namespace

double addLuminancePlain(double sum, const uint8_t* row, uint32_t pixels, uint32_t bytesPerPixel) {
    for (uint32_t x = 0; x < pixels; ++x, row += bytesPerPixel)
        sum += greenLuminance[row[1]] + redLuminance[row[2]] + blueLuminance[row[0]];
    return sum;
}

namespace {

void swapBytes16Plain(uint16_t* target, const uint16_t* source, size_t count) {
    for (size_t i = 0; i < count; ++i) target[i] = uint16_t(source[i] << 8 | source[i] >> 8);
}

void shiftLeft16Plain(uint16_t* target, const uint16_t* source, size_t count, uint32_t shift) {
    for (size_t i = 0; i < count; ++i) target[i] = uint16_t(source[i] << shift);
}

template <class Target, class Sample, class Write>
void bayer(Target* target, ptrdiff_t targetStride, const Sample* source, ptrdiff_t sourceStride, uint32_t width,
           uint32_t height, Mosaic mosaic, const Write& write) {
    assert(width >= 2 && height >= 2);
    for (uint32_t y = 0; y < height; ++y)
        bayerColumns(pictureRow(target, targetStride, y), Neighbourhood<Sample>(source, sourceStride, y, height),
                     MosaicRow(mosaic, y), 0, width, width, write);
}

void bayer8ToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height, Mosaic mosaic) {
    bayer(target, targetStride, source, sourceStride, width, height, mosaic, ToBgr24{0});
}

void bayer16ToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                         uint32_t width, uint32_t height, Mosaic mosaic, uint32_t depth) {
    bayer(target, targetStride, source, sourceStride, width, height, mosaic, ToBgr24{depth - 8});
}

void bayer16ToBgr48Plain(uint16_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                         uint32_t width, uint32_t height, Mosaic mosaic) {
    bayer(target, targetStride, source, sourceStride, width, height, mosaic, ToBgr48{});
}

/// Calls `pixel(target pixel, source pixel)` for every pixel; the sizes are in samples.
template <size_t TargetSize, size_t SourceSize, class Target, class Sample, class Pixel>
void everyPixel(Target* target, ptrdiff_t targetStride, const Sample* source, ptrdiff_t sourceStride, uint32_t width,
                uint32_t height, const Pixel& pixel) {
    for (uint32_t y = 0; y < height; ++y) {
        Target* to = pictureRow(target, targetStride, y);
        const Sample* from = pictureRow(source, sourceStride, y);
        for (uint32_t x = 0; x < width; ++x, to += TargetSize, from += SourceSize) pixel(to, from);
    }
}

void mono8ToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                       uint32_t width, uint32_t height) {
    everyPixel<3, 1>(target, targetStride, source, sourceStride, width, height,
                     [](uint8_t* to, const uint8_t* from) { to[0] = to[1] = to[2] = *from; });
}

void mono16ToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height, uint32_t depth) {
    everyPixel<3, 1>(
        target, targetStride, source, sourceStride, width, height,
        [shift = depth - 8](uint8_t* to, const uint16_t* from) { to[0] = to[1] = to[2] = toByte(*from, shift); });
}

void mono16ToBgr48Plain(uint16_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height) {
    everyPixel<3, 1>(target, targetStride, source, sourceStride, width, height,
                     [](uint16_t* to, const uint16_t* from) { to[0] = to[1] = to[2] = *from; });
}

void rgb24ToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                       uint32_t width, uint32_t height) {
    everyPixel<3, 3>(target, targetStride, source, sourceStride, width, height, [](uint8_t* to, const uint8_t* from) {
        to[0] = from[2];
        to[1] = from[1];
        to[2] = from[0];
    });
}

void copyThree(uint8_t* to, const uint8_t* from) {
    to[0] = from[0];
    to[1] = from[1];
    to[2] = from[2];
}

void bgrx32ToBgr24Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height) {
    everyPixel<3, 4>(target, targetStride, source, sourceStride, width, height, copyThree);
}

void bgr24ToBgrx32Plain(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height) {
    everyPixel<4, 3>(target, targetStride, source, sourceStride, width, height, copyThree);
}

void exposeRowPlain(uint16_t* target, const float* light, const float* noise, size_t count, float exposure,
                    float readVariance, float gain, float black, float maximum) {
    for (size_t i = 0; i < count; ++i) {
        const float signal = light[i] * exposure;
        const float value = black + gain * (signal + noise[i] * std::sqrt(signal + readVariance));
        const float low = value > 0 ? value : 0;  // 0 for a value that is not a number, too
        target[i] = uint16_t(std::lrint(low < maximum ? low : maximum));
    }
}

void narrow16To8Plain(uint8_t* target, const uint16_t* source, size_t count) {
    for (size_t i = 0; i < count; ++i) target[i] = uint8_t(source[i]);
}

}  // namespace

constinit const PixelKernels plainKernels = {
    .copyRowsReversed = copyRowsReversedPlain,
    .swapBytes16 = swapBytes16Plain,
    .shiftLeft16 = shiftLeft16Plain,
    .bayer8ToBgr24 = bayer8ToBgr24Plain,
    .bayer16ToBgr24 = bayer16ToBgr24Plain,
    .bayer16ToBgr48 = bayer16ToBgr48Plain,
    .mono8ToBgr24 = mono8ToBgr24Plain,
    .mono16ToBgr24 = mono16ToBgr24Plain,
    .mono16ToBgr48 = mono16ToBgr48Plain,
    .rgb24ToBgr24 = rgb24ToBgr24Plain,
    .bgrx32ToBgr24 = bgrx32ToBgr24Plain,
    .bgr24ToBgrx32 = bgr24ToBgrx32Plain,
    .yuyvToBgr24 = yuyvToBgr24Plain,
    .uyvyToBgr24 = uyvyToBgr24Plain,
    .nv12ToBgr24 = nv12ToBgr24Plain,
    .subtractDark = subtractDarkPlain,
    .addToSums = addToSumsPlain,
    .divideSums = divideSumsPlain,
    .flipHorizontally = flipHorizontallyPlain,
    .flipVertically = flipVerticallyPlain,
    .toGrey = toGreyPlain,
    .toNegative = toNegativePlain,
    .fillRow = fillRowPlain,
    .paintRow = paintRowPlain,
    .blendRow = blendRowPlain,
    .stretch = stretchPlain,
    .addLuminance = addLuminancePlain,
    .exposeRow = exposeRowPlain,
    .narrow16To8 = narrow16To8Plain,
};

}  // namespace vexcap
