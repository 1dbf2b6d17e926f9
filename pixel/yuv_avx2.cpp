// Colour conversion of video input, 32 pixels at a time; the plain loop does the rest of a row.
//
// No function of the standard library is called here: the linker might keep this file's copy for everybody.
#include "pixel/avx2.h"
#include "pixel/kernels_levels.h"
#include "pixel/picture_row.h"
#include "pixel/yuv_weights.h"

namespace vexcap {
namespace {

constexpr uint32_t step = 32;

/// 32 pixels as words with the value in the upper byte: luma of the 16 even and of the 16 odd ones, and what each two
/// of them share. Pixels 0 to 15 in the low half, 16 to 31 in the high one.
struct Pixels {
    __m256i even, odd, u, v;
};

__m256i term(__m256i values, int weight) { return _mm256_mulhi_epu16(values, _mm256_set1_epi16(int16_t(weight))); }
__m256i plus(__m256i a, __m256i b) { return _mm256_adds_epu16(a, b); }
/// Stops at 0, as a channel does.
__m256i minus(__m256i a, __m256i b) { return _mm256_subs_epu16(a, b); }

/// Byte i of the lower eight and byte i of the upper eight, as the words of a plane of three.
constexpr Shuffle pairsInThree(unsigned plane) {
    Shuffle shuffle{};
    for (unsigned half = 0; half < 2; ++half)
        for (unsigned word = 0; word < 8; ++word) {
            uint8_t* to = shuffle.from + 16 * half + 2 * ((3 * word + plane) % 8);
            to[0] = uint8_t(word);
            to[1] = uint8_t(8 + word);
        }
    return shuffle;
}

void store32Pixels(uint8_t* target, const Pixels& pixels) {
    const __m256i blueOffset = _mm256_set1_epi16(int16_t(yuv.blueOffset));
    const __m256i greenOffset = _mm256_set1_epi16(int16_t(yuv.greenOffset));
    const __m256i redOffset = _mm256_set1_epi16(int16_t(yuv.redOffset));
    const __m256i toBlue = term(pixels.u, yuv.uToBlue);
    const __m256i fromGreen = plus(term(pixels.u, yuv.uToGreen), term(pixels.v, yuv.vToGreen));
    const __m256i toRed = term(pixels.v, yuv.vToRed);
    const __m256i even = term(pixels.even, yuv.luma), odd = term(pixels.odd, yuv.luma);
    const auto blue = [&](__m256i light) { return _mm256_srli_epi16(minus(plus(light, toBlue), blueOffset), 6); };
    const auto green = [&](__m256i light) { return _mm256_srli_epi16(minus(plus(light, greenOffset), fromGreen), 6); };
    const auto red = [&](__m256i light) { return _mm256_srli_epi16(minus(plus(light, toRed), redOffset), 6); };
    // Two pixels are six bytes, three words: blue and green, red and the next blue, green and red.
    static constexpr Shuffle first = pairsInThree(0), second = pairsInThree(1), third = pairsInThree(2);
    storeThreePlanes(target, target + 48, shuffled(_mm256_packus_epi16(blue(even), green(even)), first),
                     shuffled(_mm256_packus_epi16(red(even), blue(odd)), second),
                     shuffled(_mm256_packus_epi16(green(odd), red(odd)), third));
}

/// 32 pixels in groups of four bytes; the luma of the two pixels, U and V are at these places.
template <unsigned Luma0, unsigned Luma1, unsigned U, unsigned V>
Pixels fromGroups(const uint8_t* from) {
    static constexpr Shuffle apart = [] {
        constexpr unsigned order[] = {Luma0, U, Luma1, V};
        Shuffle shuffle{};
        for (unsigned i = 0; i < 32; ++i) shuffle.from[i] = uint8_t(i % 4 * 4 + order[i % 16 / 4]);
        return shuffle;
    }();
    const __m256i begin = shuffled(loadHalves(from, from + 32), apart);
    const __m256i end = shuffled(loadHalves(from + 16, from + 48), apart);
    const __m256i evenU = _mm256_unpacklo_epi32(begin, end);
    const __m256i oddV = _mm256_unpackhi_epi32(begin, end);
    const __m256i zero = _mm256_setzero_si256();
    return {_mm256_unpacklo_epi8(zero, evenU), _mm256_unpacklo_epi8(zero, oddV), _mm256_unpackhi_epi8(zero, evenU),
            _mm256_unpackhi_epi8(zero, oddV)};
}

Pixels fromPlanes(const uint8_t* luma, const uint8_t* colour) {
    const __m256i light = load32(luma), pairs = load32(colour), upper = _mm256_set1_epi16(int16_t(0xFF00));
    return {_mm256_slli_epi16(light, 8), _mm256_and_si256(light, upper), _mm256_slli_epi16(pairs, 8),
            _mm256_and_si256(pairs, upper)};
}

/// Calls `convert(x)` for all of a row that is at least `step` wide, and gives where the rest begins, less than two
/// pixels. The last time overlaps the one before: sources are read again, and targets written again alike.
template <class Convert>
uint32_t inSteps(uint32_t width, const Convert& convert) {
    if (width < step) return 0;
    const uint32_t last = (width - step) & ~1u;
    for (uint32_t x = 0; x < last; x += step) convert(x);
    convert(last);
    return last + step;
}

template <unsigned Luma0, unsigned Luma1, unsigned U, unsigned V, class Plain>
void groupsToBgr24(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                   uint32_t width, uint32_t height, const Plain& plain) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* const to = pictureRow(target, targetStride, y);
        const uint8_t* const from = pictureRow(source, sourceStride, y);
        const uint32_t done = inSteps(width, [to, from](uint32_t x) {
            store32Pixels(to + 3 * size_t(x), fromGroups<Luma0, Luma1, U, V>(from + 2 * size_t(x)));
        });
        plain(to + 3 * size_t(done), 0, from + 2 * size_t(done), 0, width - done, 1);
    }
}

}  // namespace

void yuyvToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                     uint32_t width, uint32_t height) {
    groupsToBgr24<0, 2, 1, 3>(target, targetStride, source, sourceStride, width, height, yuyvToBgr24Plain);
}

void uyvyToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                     uint32_t width, uint32_t height) {
    groupsToBgr24<1, 3, 0, 2>(target, targetStride, source, sourceStride, width, height, uyvyToBgr24Plain);
}

void nv12ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* luma, ptrdiff_t lumaStride,
                     const uint8_t* colour, ptrdiff_t colourStride, uint32_t width, uint32_t height) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* const to = pictureRow(target, targetStride, y);
        const uint8_t* const light = pictureRow(luma, lumaStride, y);
        const uint8_t* const pairs = pictureRow(colour, colourStride, y / 2);
        const uint32_t done = inSteps(width, [to, light, pairs](uint32_t x) {
            store32Pixels(to + 3 * size_t(x), fromPlanes(light + x, pairs + x));
        });
        nv12ToBgr24Plain(to + 3 * size_t(done), 0, light + done, 0, pairs + done, 0, width - done, 1);
    }
}

}  // namespace vexcap
