// The kernels other than mosaics. Vectors go from left to right as far as they fit, the plain loop does the rest of the
// row: a tail done twice would be wrong in place.
//
// No function of the standard library is called here: the linker might keep this file's copy for everybody.
#include "pixel/avx2.h"
#include "pixel/kernels.h"
#include "pixel/kernels_levels.h"

namespace vexcap {
namespace {

void swapBytes16Avx2(uint16_t* target, const uint16_t* source, size_t count) {
    static constexpr Shuffle exchanged = [] {
        Shuffle shuffle{};
        for (unsigned i = 0; i < 32; ++i) shuffle.from[i] = uint8_t(i % 16 ^ 1);
        return shuffle;
    }();
    size_t i = 0;
    for (; i + 16 <= count; i += 16) store32(target + i, shuffled(load32(source + i), exchanged));
    plainKernels.swapBytes16(target + i, source + i, count - i);
}

void shiftLeft16Avx2(uint16_t* target, const uint16_t* source, size_t count, uint32_t shift) {
    const __m128i by = _mm_cvtsi32_si128(int(shift));
    size_t i = 0;
    for (; i + 16 <= count; i += 16) store32(target + i, _mm256_sll_epi16(load32(source + i), by));
    plainKernels.shiftLeft16(target + i, source + i, count - i, shift);
}

/// Words to bytes, in order: the low half of all words, then the high half. Words above 255 give 255.
__m256i packed(__m256i low, __m256i high) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), _MM_SHUFFLE(3, 1, 2, 0));
}

void narrow16To8Avx2(uint8_t* target, const uint16_t* source, size_t count) {
    const __m256i low = _mm256_set1_epi16(0xFF);
    size_t i = 0;
    for (; i + 32 <= count; i += 32)
        store32(target + i,
                packed(_mm256_and_si256(load32(source + i), low), _mm256_and_si256(load32(source + i + 16), low)));
    plainKernels.narrow16To8(target + i, source + i, count - i);
}

/// Calls `vectors(target row, source row)`, which gives the number of pixels it did, and `plain` for the rest.
template <size_t TargetSize, size_t SourceSize, class Target, class Sample, class Vectors, class Plain>
void everyRow(Target* target, ptrdiff_t targetStride, const Sample* source, ptrdiff_t sourceStride, uint32_t width,
              uint32_t height, const Vectors& vectors, const Plain& plain) {
    for (uint32_t y = 0; y < height; ++y) {
        Target* to = reinterpret_cast<Target*>(reinterpret_cast<uint8_t*>(target) + ptrdiff_t(y) * targetStride);
        const Sample* from =
            reinterpret_cast<const Sample*>(reinterpret_cast<const uint8_t*>(source) + ptrdiff_t(y) * sourceStride);
        const uint32_t done = vectors(to, from);
        plain(to + TargetSize * done, from + SourceSize * done, width - done);
    }
}

/// Every element of `size` bytes three times: bytes 16 * `part` and on for the low half, the next 16 for the high one,
/// of the 48 that 16 make.
constexpr Shuffle tripled(unsigned size, unsigned lowPart, unsigned highPart) {
    Shuffle shuffle{};
    for (unsigned i = 0; i < 32; ++i) {
        const unsigned byte = 16 * (i < 16 ? lowPart : highPart) + i % 16;
        shuffle.from[i] = uint8_t(byte / (3 * size) * size + byte % size);
    }
    return shuffle;
}

/// 96 bytes from 32, given as the low half twice, as they are, and as the high half twice.
template <unsigned Size>
void storeTripled(void* target, __m256i low, __m256i both, __m256i high) {
    static constexpr Shuffle first = tripled(Size, 0, 1), second = tripled(Size, 2, 0), third = tripled(Size, 1, 2);
    uint8_t* bytes = static_cast<uint8_t*>(target);
    store32(bytes, shuffled(low, first));
    store32(bytes + 32, shuffled(both, second));
    store32(bytes + 64, shuffled(high, third));
}

void mono8ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                      uint32_t width, uint32_t height) {
    everyRow<3, 1>(
        target, targetStride, source, sourceStride, width, height,
        [width](uint8_t* to, const uint8_t* from) {
            uint32_t x = 0;
            for (; x + 32 <= width; x += 32)
                storeTripled<1>(to + 3 * size_t(x), loadTwice(from + x), load32(from + x), loadTwice(from + x + 16));
            return x;
        },
        [](uint8_t* to, const uint8_t* from, uint32_t rest) { plainKernels.mono8ToBgr24(to, 0, from, 0, rest, 1); });
}

void mono16ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                       uint32_t width, uint32_t height, uint32_t depth) {
    const __m256i scale = depthScale(depth);
    everyRow<3, 1>(
        target, targetStride, source, sourceStride, width, height,
        [width, scale](uint8_t* to, const uint16_t* from) {
            uint32_t x = 0;
            for (; x + 32 <= width; x += 32) {
                const __m256i grey = packed(_mm256_mulhi_epu16(load32(from + x), scale),
                                            _mm256_mulhi_epu16(load32(from + x + 16), scale));
                storeTripled<1>(to + 3 * size_t(x), _mm256_permute2x128_si256(grey, grey, 0x00), grey,
                                _mm256_permute2x128_si256(grey, grey, 0x11));
            }
            return x;
        },
        [depth](uint8_t* to, const uint16_t* from, uint32_t rest) {
            plainKernels.mono16ToBgr24(to, 0, from, 0, rest, 1, depth);
        });
}

void mono16ToBgr48Avx2(uint16_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                       uint32_t width, uint32_t height) {
    everyRow<3, 1>(
        target, targetStride, source, sourceStride, width, height,
        [width](uint16_t* to, const uint16_t* from) {
            uint32_t x = 0;
            for (; x + 16 <= width; x += 16)
                storeTripled<2>(to + 3 * size_t(x), loadTwice(from + x), load32(from + x), loadTwice(from + x + 8));
            return x;
        },
        [](uint16_t* to, const uint16_t* from, uint32_t rest) { plainKernels.mono16ToBgr48(to, 0, from, 0, rest, 1); });
}

void rgb24ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                      uint32_t width, uint32_t height) {
    // Five pixels and a byte of the sixth, which the next step or the plain loop writes again.
    static constexpr Shuffle exchanged = [] {
        Shuffle shuffle{};
        for (unsigned i = 0; i < 15; ++i) shuffle.from[i] = shuffle.from[16 + i] = uint8_t(i / 3 * 3 + 2 - i % 3);
        return shuffle;
    }();
    everyRow<3, 3>(
        target, targetStride, source, sourceStride, width, height,
        [width](uint8_t* to, const uint8_t* from) {
            uint32_t x = 0;
            for (; x + 6 <= width; x += 5)
                store16(to + 3 * size_t(x), shuffled(load16(from + 3 * size_t(x)), exchanged));
            return x;
        },
        [](uint8_t* to, const uint8_t* from, uint32_t rest) { plainKernels.rgb24ToBgr24(to, 0, from, 0, rest, 1); });
}

void bgrx32ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                       uint32_t width, uint32_t height) {
    everyRow<3, 4>(
        target, targetStride, source, sourceStride, width, height,
        [width](uint8_t* to, const uint8_t* from) {
            // Eight pixels and eight bytes more, which the next step or the plain loop writes again.
            uint32_t x = 0;
            for (; x + 11 <= width; x += 8) store32(to + 3 * size_t(x), withoutFourth(load32(from + 4 * size_t(x))));
            return x;
        },
        [](uint8_t* to, const uint8_t* from, uint32_t rest) { plainKernels.bgrx32ToBgr24(to, 0, from, 0, rest, 1); });
}

void bgr24ToBgrx32Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                       uint32_t width, uint32_t height) {
    const __m256i fourth = _mm256_set1_epi32(int(0xFF000000u));
    everyRow<4, 3>(
        target, targetStride, source, sourceStride, width, height,
        [width, fourth](uint8_t* to, const uint8_t* from) {
            // The second load ends four bytes behind the eighth pixel.
            uint32_t x = 0;
            for (; x + 10 <= width; x += 8) {
                uint8_t* eight = to + 4 * size_t(x);
                store32(eight,
                        _mm256_or_si256(withFourth(from + 3 * size_t(x)), _mm256_and_si256(load32(eight), fourth)));
            }
            return x;
        },
        [](uint8_t* to, const uint8_t* from, uint32_t rest) { plainKernels.bgr24ToBgrx32(to, 0, from, 0, rest, 1); });
}

void exposeRowAvx2(uint16_t* target, const float* light, const float* noise, size_t count, float exposure,
                   float readVariance, float gain, float black, float maximum) {
    const __m256 exposures = _mm256_set1_ps(exposure), readVariances = _mm256_set1_ps(readVariance);
    const __m256 gains = _mm256_set1_ps(gain), blacks = _mm256_set1_ps(black), maxima = _mm256_set1_ps(maximum);
    // Every rounding of the plain loop, in its order. The greatest and the least are the second of the two where
    // either is not a number, as there.
    const auto eight = [&](size_t i) {
        const __m256 signal = _mm256_mul_ps(_mm256_loadu_ps(light + i), exposures);
        const __m256 deviation = _mm256_sqrt_ps(_mm256_add_ps(signal, readVariances));
        const __m256 electrons = _mm256_add_ps(signal, _mm256_mul_ps(_mm256_loadu_ps(noise + i), deviation));
        const __m256 value = _mm256_add_ps(blacks, _mm256_mul_ps(gains, electrons));
        return _mm256_cvtps_epi32(_mm256_min_ps(_mm256_max_ps(value, _mm256_setzero_ps()), maxima));
    };
    size_t i = 0;
    for (; i + 16 <= count; i += 16)
        store32(target + i,
                _mm256_permute4x64_epi64(_mm256_packus_epi32(eight(i), eight(i + 8)), _MM_SHUFFLE(3, 1, 2, 0)));
    plainKernels.exposeRow(target + i, light + i, noise + i, count - i, exposure, readVariance, gain, black, maximum);
}

}  // namespace

constinit const PixelKernels avx2Kernels = {
    .copyRowsReversed = copyRowsReversedPlain,
    .swapBytes16 = swapBytes16Avx2,
    .shiftLeft16 = shiftLeft16Avx2,
    .bayer8ToBgr24 = bayer8ToBgr24Avx2,
    .bayer16ToBgr24 = bayer16ToBgr24Avx2,
    .bayer16ToBgr48 = bayer16ToBgr48Avx2,
    .mono8ToBgr24 = mono8ToBgr24Avx2,
    .mono16ToBgr24 = mono16ToBgr24Avx2,
    .mono16ToBgr48 = mono16ToBgr48Avx2,
    .rgb24ToBgr24 = rgb24ToBgr24Avx2,
    .bgrx32ToBgr24 = bgrx32ToBgr24Avx2,
    .bgr24ToBgrx32 = bgr24ToBgrx32Avx2,
    .yuyvToBgr24 = yuyvToBgr24Avx2,
    .uyvyToBgr24 = uyvyToBgr24Avx2,
    .nv12ToBgr24 = nv12ToBgr24Avx2,
    .subtractDark = subtractDarkAvx2,
    .addToSums = addToSumsAvx2,
    .divideSums = divideSumsAvx2,
    .flipHorizontally = flipHorizontallyAvx2,
    .flipVertically = flipVerticallyAvx2,
    .toGrey = toGreyAvx2,
    .toNegative = toNegativeAvx2,
    .fillRow = fillRowAvx2,
    .paintRow = paintRowAvx2,
    .blendRow = blendRowAvx2,
    .stretch = stretchAvx2,
    .addLuminance = addLuminancePlain,
    .exposeRow = exposeRowAvx2,
    .narrow16To8 = narrow16To8Avx2,
};

}  // namespace vexcap
