#include "overlay/rotate_dib.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>

#include "base/dib.h"

namespace vexcap {
namespace {

/// More than any picture of a camera needs, and less than the strides of this library can tell.
constexpr uint64_t mostBytes = uint64_t(1) << 32;

/// Which way a picture is turned. The four exact ones move pixels, the general one samples them.
enum class Turn { None, Quarter, Half, ThreeQuarters, General };

Turn turnOf(float degrees) {
    constexpr float tolerance = 0.01f;
    const auto near = [degrees](float exact) { return std::fabs(degrees - exact) < tolerance; };
    if (near(0)) return Turn::None;
    if (near(90)) return Turn::Quarter;
    if (near(180)) return Turn::Half;
    if (near(270)) return Turn::ThreeQuarters;
    return Turn::General;
}

float radiansOf(float degrees) { return degrees / 180 * std::numbers::pi_v<float>; }

/// 0 for what is not a number, the largest number for what is beyond it.
int32_t rounded(float size) {
    if (!(size >= 0)) return 0;
    return size < 2147483648.0f ? int32_t(size + 0.5f) : INT32_MAX;
}

/// The picture that is turned.
struct Source {
    explicit Source(const Dib* dib) : pixels(dib + sizeof(vex_bitmap_header)) {
        vex_bitmap_header header;
        std::memcpy(&header, dib, sizeof header);
        width = header.biWidth;
        height = header.biHeight;
        stride = ptrdiff_t(dibStride(uint32_t(width), 3));
    }

    /// Rows are counted from the first in memory, here as everywhere below.
    const uint8_t* At(int32_t row, int32_t column) const { return pixels + row * stride + ptrdiff_t(column) * 3; }

    const uint8_t* pixels;
    int32_t width, height;
    ptrdiff_t stride;
};

/// The picture that comes out. Its pixels are 3 bytes apart, also where its rows have room for 4.
struct Destination {
    uint8_t* pixels;
    int32_t width, height;
    uint32_t bytesPerPixel;
    ptrdiff_t stride = ptrdiff_t(dibStride(uint32_t(width), bytesPerPixel));

    uint64_t Bytes() const { return uint64_t(stride) * uint64_t(height); }

    /// Calls `pixel` with row, column and address of each pixel.
    template <typename Pixel>
    void Each(Pixel pixel) const {
        for (int32_t row = 0; row < height; ++row) {
            uint8_t* at = pixels + row * stride;
            for (int32_t column = 0; column < width; ++column, at += 3) pixel(row, column, at);
        }
    }
    /// Copies each pixel from where `from` finds the one for a row and column.
    template <typename From>
    void Copy(From from) const {
        Each([&](int32_t row, int32_t column, uint8_t* at) { std::memcpy(at, from(row, column), 3); });
    }
};

/// A picture turned by any angle. Single precision, and halves of sizes in whole numbers: both decide which pixels come
/// out.
class Sampler {
public:
    Sampler(const Source& from, const Destination& to, float degrees)
        : source(from), destination(to), cosine(std::cos(radiansOf(degrees))), sine(std::sin(radiansOf(degrees))) {}

    /// One pixel. What lies outside of the source is left as it is.
    void SampleBilinear(int32_t row, int32_t column, uint8_t* out) const {
        const float u = float(column - destination.width / 2), v = float(destination.height / 2 - row);
        const float x = v * sine + u * cosine + float(source.width / 2);
        const float y = -(v * cosine - u * sine) + float(source.height / 2);
        // Truncation: what lies less than one pixel before the first one still counts as the first, with weights beyond
        // 0 to 1.
        if (!(x > -1 && y > -1 && x < float(source.width) && y < float(source.height))) return;
        const int32_t wholeX = int32_t(x), wholeY = int32_t(y);
        if (wholeX >= source.width || wholeY >= source.height) return;
        Blend(wholeX, wholeY, x - float(wholeX), y - float(wholeY), out);
    }

private:
    /// First of the two samples along a side: at its end the last two, where there are two.
    static int32_t blockStart(int32_t at, int32_t side) { return at + 1 < side - 1 ? at : std::max(side - 2, 0); }

    void Blend(int32_t x, int32_t y, float partX, float partY, uint8_t* out) const {
        const int32_t column = blockStart(x, source.width), row = blockStart(y, source.height);
        const uint8_t* const first = source.At(row, column);
        const ptrdiff_t nextColumn = source.width > 1 ? 3 : 0, nextRow = source.height > 1 ? source.stride : 0;
        const float weights[] = {(1 - partX) * (1 - partY), partX * (1 - partY), (1 - partX) * partY, partX * partY};
        for (int channel = 0; channel < 3; ++channel) {
            const uint8_t* const at = first + channel;
            const float value = float(at[0]) * weights[0] + float(at[nextColumn]) * weights[1] +
                                float(at[nextRow]) * weights[2] + float(at[nextColumn + nextRow]) * weights[3];
            out[channel] = uint8_t(std::clamp(value, 0.0f, 255.0f));
        }
    }

    const Source& source;
    const Destination& destination;
    const float cosine, sine;
};

void turn(const Source& from, const Destination& to, float degrees) {
    const int32_t lastRow = from.height - 1, lastColumn = from.width - 1;
    switch (turnOf(degrees)) {
        case Turn::None:
            return to.Copy([&](int32_t row, int32_t column) { return from.At(row, column); });
        case Turn::Quarter:
            return to.Copy([&](int32_t row, int32_t column) { return from.At(column, lastColumn - row); });
        case Turn::Half:
            return to.Copy([&](int32_t row, int32_t column) { return from.At(lastRow - row, lastColumn - column); });
        case Turn::ThreeQuarters:
            return to.Copy([&](int32_t row, int32_t column) { return from.At(lastRow - column, row); });
        case Turn::General:
            break;
    }
    std::memset(to.pixels, 0, to.Bytes());
    const Sampler sampler(from, to, degrees);
    // The rows of this case lie as close as those of 3 bytes a pixel, too: what is left of the memory stays black.
    Destination{to.pixels, to.width, to.height, 3}.Each(
        [&](int32_t row, int32_t column, uint8_t* at) { sampler.SampleBilinear(row, column, at); });
}

/// The header of a picture without compression, all else 0.
vex_bitmap_header headerOf(int32_t width, int32_t height, uint32_t bytesPerPixel) {
    vex_bitmap_header header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = uint16_t(bytesPerPixel * 8);
    return header;
}

}  // namespace

void RotatedSize(int32_t& outWidth, int32_t& outHeight, const Dib* dib, float angleDegrees) {
    const Source source(dib);
    outWidth = source.width;
    outHeight = source.height;
    const Turn turned = turnOf(angleDegrees);
    if (turned == Turn::Quarter || turned == Turn::ThreeQuarters) std::swap(outWidth, outHeight);
    if (turned != Turn::General) return;
    const float width = float(source.width), height = float(source.height);
    const float c = std::cos(radiansOf(angleDegrees)), s = std::sin(radiansOf(angleDegrees));
    outWidth = rounded(std::max(std::fabs(width * c + height * s), std::fabs(width * c - height * s)));
    outHeight = rounded(std::max(std::fabs(width * s + height * c), std::fabs(height * c - width * s)));
}

uint64_t rotatedBytes(const Dib* dib, float angleDegrees, uint32_t bytesPerPixel) {
    int32_t width = 0, height = 0;
    RotatedSize(width, height, dib, angleDegrees);
    if (width < 1 || height < 1) return 0;
    const uint64_t row = uint64_t(width) * bytesPerPixel + 3;
    if (row * uint64_t(height) > mostBytes || row > (uint64_t(1) << 28)) return 0;
    return Destination{nullptr, width, height, bytesPerPixel}.Bytes();
}

uint8_t* RotateDib(vex_bitmap_header& outHeader, uint8_t* destination, const Dib* dib, float angleDegrees,
                   uint32_t bytesPerPixel) {
    const uint64_t bytes = dib ? rotatedBytes(dib, angleDegrees, bytesPerPixel) : 0;
    if (bytes == 0) return nullptr;
    // Zeroed: rows have bytes that no pixel is written to.
    if (!destination) destination = static_cast<uint8_t*>(std::calloc(size_t(bytes), 1));
    if (!destination) return nullptr;
    int32_t width = 0, height = 0;
    RotatedSize(width, height, dib, angleDegrees);
    turn(Source(dib), {destination, width, height, bytesPerPixel}, angleDegrees);
    outHeader = headerOf(width, height, bytesPerPixel);
    return destination;
}

}  // namespace vexcap
