// Drawing, row by row. What is written twice alike may overlap: a row's last vector ends with the row.
//
// No function of the standard library is called here: the linker might keep this file's copy for everybody.
#include "pixel/avx2.h"
#include "pixel/kernels_levels.h"
#include "pixel/picture_row.h"

namespace vexcap {
namespace {

__m256i colourBytes() { return _mm256_set1_epi32(0x00FFFFFF); }

/// The three channels in the order of memory: blue lowest.
uint32_t blueFirst(uint32_t colour) { return (colour >> 16 & 0xFF) | (colour & 0xFF00) | (colour & 0xFF) << 16; }

/// Pixels of 3 bytes of one colour, from byte 16 * part of them on, for part 0 to 2.
__m128i colourPart(uint32_t colour, unsigned part) {
    struct Parts {
        Shuffle of[3];
    };
    static constexpr Parts parts = [] {
        Parts made{};
        for (unsigned i = 0; i < 48; ++i) made.of[i / 16].from[i % 16] = uint8_t(i % 3);
        return made;
    }();
    return shuffled(_mm_cvtsi32_si128(int(blueFirst(colour))), parts.of[part]);
}

constexpr size_t pixelsOf3 = 16;  // in three halves of a vector, at 3 bytes a pixel

/// A byte for each of 16 pixels to three bytes of each, from byte 16 * part of them on.
__m128i thrice(__m128i bytes, unsigned part) {
    struct Parts {
        Shuffle of[3];
    };
    static constexpr Parts parts = [] {
        Parts made{};
        for (unsigned i = 0; i < 48; ++i) made.of[i / 16].from[i % 16] = uint8_t(i / 3);
        return made;
    }();
    return shuffled(bytes, parts.of[part]);
}

/// Calls `step(i)` for every `StepSize` of `count` things and for the last ones. `count` is at least `StepSize`.
template <size_t StepSize, class Step>
void inOverlappingSteps(size_t count, const Step& step) {
    for (size_t i = 0; i + StepSize < count; i += StepSize) step(i);
    step(count - StepSize);
}

/// picture + (there - picture) * alpha / 100 in each byte, for an alpha of `Hundreds` hundreds and `rest`.
template <unsigned Hundreds>
class Blend {
public:
    /// Hundredths in 65536ths, rounded up: for no byte is the product's whole part another one.
    explicit Blend(unsigned rest) : scale(_mm256_set1_epi16(int16_t((rest * 65536 + 99) / 100))) {}

    __m256i operator()(__m256i there, __m256i picture) const {
        const __m256i less = _mm256_subs_epu8(picture, there);
        const __m256i difference = _mm256_or_si256(_mm256_subs_epu8(there, picture), less);
        const __m256i zero = _mm256_setzero_si256();
        __m256i share = _mm256_packus_epi16(_mm256_mulhi_epu16(_mm256_unpacklo_epi8(difference, zero), scale),
                                            _mm256_mulhi_epu16(_mm256_unpackhi_epi8(difference, zero), scale));
        for (unsigned i = 0; i < Hundreds; ++i) share = _mm256_add_epi8(share, difference);
        // Where the picture is not brighter the share is added, else subtracted.
        const __m256i isAdded = _mm256_cmpeq_epi8(less, zero);
        return _mm256_blendv_epi8(_mm256_sub_epi8(picture, share), _mm256_add_epi8(picture, share), isAdded);
    }

private:
    __m256i scale;
};

/// withFourth(), reading 4 bytes before the pixels and none behind.
__m256i withFourthAtEnd(const uint8_t* pixels) {
    static constexpr Shuffle spread = [] {
        Shuffle shuffle{};
        for (unsigned i = 0; i < 32; ++i)
            shuffle.from[i] = i % 4 < 3 ? uint8_t(i % 16 / 4 * 3 + i % 4 + 4) : Shuffle::nothing;
        return shuffle;
    }();
    return shuffled(loadHalves(pixels - 4, pixels + 8), spread);
}

void storeColours(uint8_t* to, __m256i pixels) {
    store32(to, _mm256_or_si256(pixels, _mm256_and_si256(load32(to), fourthBytes())));
}

template <class BlendBytes>
void blendRow(uint8_t* row, const uint8_t* picture, size_t pixels, uint32_t bytesPerPixel, const BlendBytes& blend) {
    if (bytesPerPixel == 4) {
        inSteps<pixelsOf4>(pixels, [&](size_t x) {
            uint8_t* const to = row + 4 * x;
            const uint8_t* const from = picture + 3 * x;
            const __m256i there = load32(to);
            const __m256i mixed = blend(there, x + pixelsOf4 + 2 <= pixels ? withFourth(from) : withFourthAtEnd(from));
            return [to, value = _mm256_blendv_epi8(mixed, there, fourthBytes())] { store32(to, value); };
        });
    } else {
        inAlignedSteps<vectorBytes>(row, 3 * pixels, [&](size_t i) {
            return [to = row + i, value = blend(load32(row + i), load32(picture + i))] { store32(to, value); };
        });
    }
}

// Stretching: eight pixels at a time, by loads that reach one to eight of them

/// Where the loads for eight pixels begin in a source row, and which of the loaded bytes make the pixels. Where a load
/// reaches two pixels, one register has the even pairs and a second one the odd pairs.
template <unsigned PixelsPerLoad>
struct Eight {
    Shuffle shuffles[PixelsPerLoad == 2 ? 2 : 1];
    size_t offsets[pixelsOf4 / PixelsPerLoad];
};

template <unsigned PixelsPerLoad>
constexpr size_t loadBytes = PixelsPerLoad == 1 ? 4 : 16;

__m256i pixelsOf(const Eight<8>& eight, const uint8_t* row) {
    return shuffled(loadTwice(row + eight.offsets[0]), eight.shuffles[0]);
}

__m256i pixelsOf(const Eight<4>& eight, const uint8_t* row) {
    return shuffled(loadHalves(row + eight.offsets[0], row + eight.offsets[1]), eight.shuffles[0]);
}

__m256i pixelsOf(const Eight<2>& eight, const uint8_t* row) {
    const __m256i even = loadHalves(row + eight.offsets[0], row + eight.offsets[2]);
    const __m256i odd = loadHalves(row + eight.offsets[1], row + eight.offsets[3]);
    return _mm256_or_si256(shuffled(even, eight.shuffles[0]), shuffled(odd, eight.shuffles[1]));
}

__m256i pixelsOf(const Eight<1>& eight, const uint8_t* row) {
    const auto pixel = [&](unsigned i) {
        int value;
        __builtin_memcpy(&value, row + eight.offsets[i], sizeof value);
        return value;
    };
    const __m256i all =
        _mm256_setr_epi32(pixel(0), pixel(1), pixel(2), pixel(3), pixel(4), pixel(5), pixel(6), pixel(7));
    return shuffled(all, eight.shuffles[0]);
}

/// Makes `eight` for the columns. No load reaches beyond the first `end` bytes of a row.
template <unsigned PixelsPerLoad>
void plan(Eight<PixelsPerLoad>& eight, const uint32_t* columns, size_t bytesPerPixel, size_t end) {
    constexpr uint32_t nowhere = Shuffle::nothing * 0x01010101u;
    for (unsigned i = 0; i < pixelsOf4; ++i) {
        const unsigned load = i / PixelsPerLoad;
        const size_t first = columns[load * PixelsPerLoad] * bytesPerPixel, last = end - loadBytes<PixelsPerLoad>;
        const size_t offset = first < last ? first : last;
        eight.offsets[load] = offset;
        const auto byte = uint32_t(columns[i] * bytesPerPixel - offset + (PixelsPerLoad == 1 ? i % 4 * 4 : 0));
        const uint32_t from = byte * 0x010101 + 0x80020100;
        uint8_t* const to = eight.shuffles[0].from + 4 * i;
        if constexpr (PixelsPerLoad == 2) {
            const bool isOdd = load % 2 == 1;
            __builtin_memcpy(to, isOdd ? &nowhere : &from, 4);
            __builtin_memcpy(eight.shuffles[1].from + 4 * i, isOdd ? &from : &nowhere, 4);
        } else {
            __builtin_memcpy(to, &from, 4);
        }
    }
}

/// Calls `step(x)` for every eight of `count` pixels of 4 bytes at `row`; they lie on their own boundaries but for the
/// first and the last ones. `count` is at least 8.
template <class Step>
void inAlignedEights(const uint8_t* row, size_t count, const Step& step) {
    const size_t last = count - pixelsOf4;
    step(0);
    for (size_t x = pixelsOf4 - reinterpret_cast<uintptr_t>(row) / 4 % pixelsOf4; x < last; x += pixelsOf4) step(x);
    if (last > 0) step(last);
}

/// Rows of 8 to stretchAtMost pixels of 4 bytes.
template <unsigned PixelsPerLoad>
void stretchRows(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                 size_t bytesPerPixel, const StretchIndices& indices) {
    Eight<PixelsPerLoad> eights[stretchAtMost / pixelsOf4 + 2];
    const size_t end = (indices.columns[indices.width - 1] + size_t(1)) * bytesPerPixel;
    size_t count = 0;
    inAlignedEights(target, indices.width,
                    [&](size_t x) { plan(eights[count++], indices.columns + x, bytesPerPixel, end); });

    for (uint32_t y = 0; y < indices.height; ++y) {
        uint8_t* const to = pictureRow(target, targetStride, y);
        if (y > 0 && indices.rows[y] == indices.rows[y - 1]) {
            const uint8_t* const made = pictureRow(target, targetStride, y - 1);
            inAlignedEights(target, indices.width, [&](size_t x) {
                storeColours(to + 4 * x, _mm256_and_si256(load32(made + 4 * x), colourBytes()));
            });
            continue;
        }
        const uint8_t* const from = pictureRow(source, sourceStride, indices.rows[y]);
        const uint8_t* const next = pictureRow(source, sourceStride, indices.rows[y + 1 < indices.height ? y + 1 : y]);
        const Eight<PixelsPerLoad>* eight = eights;
        inAlignedEights(target, indices.width, [&](size_t x) {
            // Where rows are left out, the processor does not foresee which one is next.
            if (PixelsPerLoad < 8) _mm_prefetch(next + eight->offsets[0], _MM_HINT_T1);
            if (PixelsPerLoad < 4) _mm_prefetch(next + eight->offsets[4 / PixelsPerLoad], _MM_HINT_T1);
            storeColours(to + 4 * x, pixelsOf(*eight++, from));
        });
    }
}

/// True if a load of 16 bytes reaches every `group` pixels that follow one another from a multiple of it on, also from
/// the end.
bool reaches(const uint8_t* target, const StretchIndices& indices, size_t group, size_t bytesPerPixel) {
    bool all = true;
    inAlignedEights(target, indices.width, [&](size_t x) {
        for (size_t i = x; i < x + pixelsOf4; i += group)
            all &= (indices.columns[i + group - 1] - size_t(indices.columns[i]) + 1) * bytesPerPixel <= 16;
    });
    return all;
}

}  // namespace

void fillRowAvx2(uint8_t* row, size_t pixels, uint32_t bytesPerPixel, uint32_t colour) {
    if (bytesPerPixel == 4 && pixels >= pixelsOf4) {
        const __m256i value = _mm256_set1_epi32(int(blueFirst(colour)));
        inOverlappingSteps<pixelsOf4>(pixels, [=](size_t x) { storeColours(row + 4 * x, value); });
    } else if (bytesPerPixel == 3 && pixels >= pixelsOf3) {
        const __m128i parts[] = {colourPart(colour, 0), colourPart(colour, 1), colourPart(colour, 2)};
        inOverlappingSteps<pixelsOf3>(pixels, [&](size_t x) {
            for (unsigned part = 0; part < 3; ++part) store16(row + 3 * x + 16 * part, parts[part]);
        });
    } else {
        fillRowPlain(row, pixels, bytesPerPixel, colour);
    }
}

void paintRowAvx2(uint8_t* row, const uint8_t* mask, size_t pixels, uint32_t bytesPerPixel, uint32_t colour) {
    if (bytesPerPixel == 4 && pixels >= pixelsOf4) {
        const __m256i value = _mm256_set1_epi32(int(blueFirst(colour)));
        inOverlappingSteps<pixelsOf4>(pixels, [=](size_t x) {
            const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(mask + x));
            const __m256i isSet = _mm256_and_si256(_mm256_cvtepi8_epi32(bytes), colourBytes());
            store32(row + 4 * x, _mm256_blendv_epi8(load32(row + 4 * x), value, isSet));
        });
    } else if (bytesPerPixel == 3 && pixels >= pixelsOf3) {
        const __m128i parts[] = {colourPart(colour, 0), colourPart(colour, 1), colourPart(colour, 2)};
        inOverlappingSteps<pixelsOf3>(pixels, [&](size_t x) {
            const __m128i bytes = load16(mask + x);
            if (_mm_movemask_epi8(bytes) == 0) return;
            for (unsigned part = 0; part < 3; ++part) {
                uint8_t* const to = row + 3 * x + 16 * part;
                store16(to, _mm_blendv_epi8(load16(to), parts[part], thrice(bytes, part)));
            }
        });
    } else {
        paintRowPlain(row, mask, pixels, bytesPerPixel, colour);
    }
}

void blendRowAvx2(uint8_t* row, const uint8_t* picture, size_t pixels, uint32_t bytesPerPixel, uint8_t alpha) {
    const unsigned rest = alpha % 100u;
    // In 4 bytes a pixel, something must lie before or behind each vector of the picture.
    if (pixels < (bytesPerPixel == 4 ? pixelsOf4 + 2 : pixelsOf3)) {
        blendRowPlain(row, picture, pixels, bytesPerPixel, alpha);
    } else if (alpha < 100) {
        blendRow(row, picture, pixels, bytesPerPixel, Blend<0>(rest));
    } else if (alpha < 200) {
        blendRow(row, picture, pixels, bytesPerPixel, Blend<1>(rest));
    } else {
        blendRow(row, picture, pixels, bytesPerPixel, Blend<2>(rest));
    }
}

void stretchAvx2(uint8_t* target, ptrdiff_t targetStride, uint32_t targetBytesPerPixel, const uint8_t* source,
                 ptrdiff_t sourceStride, uint32_t sourceBytesPerPixel, const StretchIndices& indices) {
    // Nothing is loaded behind the last pixel.
    const size_t sourceBytes = (indices.columns[indices.width - 1] + size_t(1)) * sourceBytesPerPixel;
    if (targetBytesPerPixel != 4 || indices.width < pixelsOf4 || sourceBytes < 16)
        return stretchPlain(target, targetStride, targetBytesPerPixel, source, sourceStride, sourceBytesPerPixel,
                            indices);
    const auto rows = reaches(target, indices, 8, sourceBytesPerPixel)   ? stretchRows<8>
                      : reaches(target, indices, 4, sourceBytesPerPixel) ? stretchRows<4>
                      : reaches(target, indices, 2, sourceBytesPerPixel) ? stretchRows<2>
                                                                         : stretchRows<1>;
    rows(target, targetStride, source, sourceStride, sourceBytesPerPixel, indices);
}

}  // namespace vexcap
