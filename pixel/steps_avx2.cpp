// The steps on a picture. They change it in place, so a row's last vector, which overlaps the one before, is made
// before anything is written; what is shorter than a vector is left to the plain loop.
//
// No function of the standard library is called here: the linker might keep this file's copy for everybody.
#include "pixel/avx2.h"
#include "pixel/kernels_levels.h"
#include "pixel/picture_row.h"

namespace vexcap {
namespace {

/// Rows without padding are one long row.
struct Rows {
    size_t pixels;
    uint32_t count;

    Rows(ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) : pixels(width), count(height) {
        if (stride != ptrdiff_t(pixels * bytesPerPixel)) return;
        pixels *= height;
        count = 1;
    }
};

void subtractDark3(uint8_t* row, const uint8_t* dark, size_t pixels) {
    const size_t bytes = 3 * pixels;
    if (bytes < vectorBytes) return subtractDarkPlain(row, 0, dark, uint32_t(pixels), 1, 3);
    inAlignedSteps<vectorBytes>(row, bytes, [row, dark](size_t i) {
        return [to = row + i, value = _mm256_subs_epu8(load32(row + i), load32(dark + i))] { store32(to, value); };
    });
}

void subtractDark4(uint8_t* row, const uint8_t* dark, size_t pixels) {
    size_t x = 0;
    for (; x + pixelsOf4 + 2 <= pixels; x += pixelsOf4)  // the dark pixels are read four bytes further
        store32(row + 4 * x, _mm256_subs_epu8(load32(row + 4 * x), withFourth(dark + 3 * x)));
    subtractDarkPlain(row + 4 * x, 0, dark + 3 * x, uint32_t(pixels - x), 1, 4);
}

void addToSums3(uint16_t* sums, const uint8_t* row, size_t pixels) {
    constexpr size_t step = 16;
    const size_t channels = 3 * pixels;
    if (channels < step) return addToSumsPlain(sums, row, 0, uint32_t(pixels), 1, 3);
    inAlignedSteps<step>(sums, channels, [sums, row](size_t i) {
        const __m256i sum = _mm256_add_epi16(load32(sums + i), _mm256_cvtepu8_epi16(load16(row + i)));
        return [to = sums + i, sum] { store32(to, sum); };
    });
}

void addToSums4(uint16_t* sums, const uint8_t* row, size_t pixels) {
    size_t x = 0;
    for (; x + pixelsOf4 <= pixels; x += pixelsOf4) {
        uint16_t* const to = sums + 3 * x;
        const __m256i channels = withoutFourth(load32(row + 4 * x));
        const __m256i first = _mm256_cvtepu8_epi16(_mm256_castsi256_si128(channels));
        const __m128i rest = _mm_cvtepu8_epi16(_mm256_extracti128_si256(channels, 1));
        store32(to, _mm256_add_epi16(load32(to), first));
        store16(to + 16, _mm_add_epi16(load16(to + 16), rest));
    }
    addToSumsPlain(sums + 3 * x, row + 4 * x, 0, uint32_t(pixels - x), 1, 4);
}

/// Byte i of the 48 that 16 pixels have when they stand in reverse, as far as it comes from part `from` of three.
constexpr Shuffle reversed(unsigned part, unsigned from) {
    Shuffle shuffle{};
    for (unsigned i = 0; i < 32; ++i) {
        const unsigned byte = 16 * part + i % 16;
        const unsigned source = 3 * (15 - byte / 3) + byte % 3;
        shuffle.from[i] = source / 16 == from ? uint8_t(source % 16) : Shuffle::nothing;
    }
    return shuffle;
}

/// Exchanges the 16 pixels at `left` with those at `right`, each in reverse. They may overlap: both are read first.
void exchange16(uint8_t* left, uint8_t* right) {
    static constexpr Shuffle firstFromSecond = reversed(0, 1), firstFromThird = reversed(0, 2);
    static constexpr Shuffle secondFromFirst = reversed(1, 0), secondFromSecond = reversed(1, 1),
                             secondFromThird = reversed(1, 2);
    static constexpr Shuffle thirdFromFirst = reversed(2, 0), thirdFromSecond = reversed(2, 1);
    const __m256i first = loadHalves(left, right);
    const __m256i second = loadHalves(left + 16, right + 16);
    const __m256i third = loadHalves(left + 32, right + 32);
    storeHalves(right, left, _mm256_or_si256(shuffled(second, firstFromSecond), shuffled(third, firstFromThird)));
    storeHalves(right + 16, left + 16,
                _mm256_or_si256(shuffled(second, secondFromSecond),
                                _mm256_or_si256(shuffled(first, secondFromFirst), shuffled(third, secondFromThird))));
    storeHalves(right + 32, left + 32,
                _mm256_or_si256(shuffled(first, thirdFromFirst), shuffled(second, thirdFromSecond)));
}

/// The same for 8 pixels of 4 bytes. The fourth ones stay where they are.
void exchange8(uint8_t* left, uint8_t* right) {
    const __m256i backwards = _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0);
    const __m256i first = load32(left), second = load32(right);
    const __m256i toLeft = _mm256_blendv_epi8(_mm256_permutevar8x32_epi32(second, backwards), first, fourthBytes());
    const __m256i toRight = _mm256_blendv_epi8(_mm256_permutevar8x32_epi32(first, backwards), second, fourthBytes());
    store32(left, toLeft);
    store32(right, toRight);
}

template <uint32_t BytesPerPixel, size_t StepSize, class Exchange>
void flipRow(uint8_t* row, uint32_t width, const Exchange& exchange) {
    size_t left = 0, right = width;
    for (; left + StepSize <= right; left += StepSize, right -= StepSize)
        exchange(row + BytesPerPixel * left, row + BytesPerPixel * (right - StepSize));
    if (left < right) flipHorizontallyPlain(row + BytesPerPixel * left, 0, uint32_t(right - left), 1, BytesPerPixel);
}

/// Weights of blue and green side by side, as one word.
constexpr int16_t blueGreen(int blue, int green) { return int16_t(green << 8 | blue); }
// A share is a whole multiple and a part of 65536, rounded up: with each of the 256 values that is the table's number.
constexpr int wholeBlue = 14, wholeGreen = 75, wholeRed = 38;
constexpr uint16_t partBlue = 38798, partGreen = 8913, partRed = 17826;

/// Grey of 8 pixels in each half, as words. The pixels are the first 24 bytes of 32: at `low`, and at `high`.
__m256i greyWords(const uint8_t* low, const uint8_t* high) {
    struct Places {
        Shuffle blueGreen, red;
    };
    // A second load 8 bytes on reaches the pixels that the first one does not.
    constexpr auto places = [](unsigned firstPixel, unsigned endPixel, unsigned offset) {
        Places made{};
        for (unsigned i = 0; i < 32; ++i) {
            const unsigned pixel = i % 16 / 2;
            const bool here = pixel >= firstPixel && pixel < endPixel;
            made.blueGreen.from[i] = here ? uint8_t(3 * pixel + i % 2 - offset) : Shuffle::nothing;
            made.red.from[i] = here && i % 2 == 0 ? uint8_t(3 * pixel + 2 - offset) : Shuffle::nothing;
        }
        return made;
    };
    static constexpr Places begin = places(0, 5, 0), end = places(5, 8, 8);
    const __m256i first = loadHalves(low, high), second = loadHalves(low + 8, high + 8);
    const __m256i pairs = _mm256_or_si256(shuffled(first, begin.blueGreen), shuffled(second, end.blueGreen));
    const __m256i red = _mm256_or_si256(shuffled(first, begin.red), shuffled(second, end.red));
    const __m256i blue = _mm256_and_si256(pairs, _mm256_set1_epi16(0xFF));
    const __m256i green = _mm256_srli_epi16(pairs, 8);
    const __m256i whole =
        _mm256_add_epi16(_mm256_maddubs_epi16(pairs, _mm256_set1_epi16(blueGreen(wholeBlue, wholeGreen))),
                         _mm256_mullo_epi16(red, _mm256_set1_epi16(wholeRed)));
    const __m256i parts =
        _mm256_add_epi16(_mm256_add_epi16(_mm256_mulhi_epu16(blue, _mm256_set1_epi16(int16_t(partBlue))),
                                          _mm256_mulhi_epu16(green, _mm256_set1_epi16(int16_t(partGreen)))),
                         _mm256_mulhi_epu16(red, _mm256_set1_epi16(int16_t(partRed))));
    return _mm256_srli_epi16(_mm256_add_epi16(whole, parts), 7);
}

/// Byte i of the 48 that 16 grey pixels have, in part `part` of three.
constexpr Shuffle greyThrice(unsigned part) {
    Shuffle shuffle{};
    for (unsigned i = 0; i < 32; ++i) shuffle.from[i] = uint8_t((16 * part + i % 16) / 3);
    return shuffle;
}

void toGrey3(uint8_t* row, size_t pixels) {
    constexpr size_t step = 32;
    if (pixels < step) return toGreyPlain(row, 0, uint32_t(pixels), 1, 3);
    inSteps<step>(pixels, [row](size_t x) {
        uint8_t* const to = row + 3 * x;
        const __m256i grey = _mm256_packus_epi16(greyWords(to, to + 48), greyWords(to + 24, to + 72));
        return [to, grey] {
            static constexpr Shuffle first = greyThrice(0), second = greyThrice(1), third = greyThrice(2);
            storeHalves(to, to + 48, shuffled(grey, first));
            storeHalves(to + 16, to + 64, shuffled(grey, second));
            storeHalves(to + 32, to + 80, shuffled(grey, third));
        };
    });
}

void toGrey4(uint8_t* row, size_t pixels) {
    static constexpr Shuffle thrice = [] {
        Shuffle shuffle{};
        for (unsigned i = 0; i < 32; ++i) shuffle.from[i] = i % 4 < 3 ? uint8_t(i % 16 / 4 * 4) : Shuffle::nothing;
        return shuffle;
    }();
    const __m256i whole = _mm256_set1_epi32(wholeRed << 16 | wholeGreen << 8 | wholeBlue);
    const __m256i blueRedPart = _mm256_set1_epi32(int(uint32_t(partRed) << 16 | partBlue));
    const __m256i greenPart = _mm256_set1_epi32(partGreen);
    const __m256i blueRedMask = _mm256_set1_epi32(0x00FF00FF);
    const auto greyOf = [&](__m256i value) {
        const __m256i blueRed = _mm256_mulhi_epu16(_mm256_and_si256(value, blueRedMask), blueRedPart);
        const __m256i green = _mm256_mulhi_epu16(_mm256_srli_epi16(value, 8), greenPart);
        // Blue and green in the lower word of a pixel, red in the upper one.
        const __m256i shares = _mm256_add_epi16(_mm256_add_epi16(blueRed, green), _mm256_maddubs_epi16(value, whole));
        const __m256i grey = _mm256_srli_epi32(_mm256_madd_epi16(shares, _mm256_set1_epi16(1)), 7);
        return _mm256_or_si256(shuffled(grey, thrice), _mm256_and_si256(value, fourthBytes()));
    };
    if (pixels < pixelsOf4) return toGreyPlain(row, 0, uint32_t(pixels), 1, 4);
    inSteps<pixelsOf4>(pixels, [&](size_t x) {
        return [to = row + 4 * x, value = greyOf(load32(row + 4 * x))] { store32(to, value); };
    });
}

/// `Size` is that of a pixel, or 1 where they are all bytes alike.
template <size_t Size>
void exclusiveOr(uint8_t* row, size_t bytes, __m256i mask) {
    inAlignedSteps<vectorBytes / Size>(row, bytes / Size, [row, mask](size_t i) {
        return [to = row + Size * i, value = _mm256_xor_si256(load32(row + Size * i), mask)] { store32(to, value); };
    });
}

}  // namespace

void subtractDarkAvx2(uint8_t* frame, ptrdiff_t stride, const uint8_t* dark, uint32_t width, uint32_t height,
                      uint32_t bytesPerPixel) {
    const Rows rows(stride, width, height, bytesPerPixel);
    const auto row = bytesPerPixel == 4 ? subtractDark4 : subtractDark3;
    for (uint32_t y = 0; y < rows.count; ++y)
        row(pictureRow(frame, stride, y), dark + 3 * rows.pixels * y, rows.pixels);
}

void addToSumsAvx2(uint16_t* sums, const uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height,
                   uint32_t bytesPerPixel) {
    const Rows rows(stride, width, height, bytesPerPixel);
    const auto row = bytesPerPixel == 4 ? addToSums4 : addToSums3;
    for (uint32_t y = 0; y < rows.count; ++y)
        row(sums + 3 * rows.pixels * y, pictureRow(frame, stride, y), rows.pixels);
}

void divideSumsAvx2(uint8_t* target, const uint16_t* sums, size_t count, uint16_t divisor) {
    // A quotient of two numbers of 16 bits is at least 1/65536 below the next whole number: single precision never
    // rounds it up to that.
    const __m256 by = _mm256_set1_ps(float(divisor));
    const auto eight = [by](const uint16_t* from) {
        const __m256 sum = _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(load16(from)));
        return _mm256_and_si256(_mm256_cvttps_epi32(_mm256_div_ps(sum, by)), _mm256_set1_epi32(0xFF));
    };
    size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(eight(sums + i), eight(sums + i + 8)),
                                                       _MM_SHUFFLE(3, 1, 2, 0));
        store16(target + i, _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1)));
    }
    divideSumsPlain(target + i, sums + i, count - i, divisor);
}

void flipHorizontallyAvx2(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* const row = pictureRow(frame, stride, y);
        if (bytesPerPixel == 4) {
            flipRow<4, pixelsOf4>(row, width, exchange8);
        } else {
            flipRow<3, 16>(row, width, exchange16);
        }
    }
}

void flipVerticallyAvx2(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    const size_t bytes = size_t(width) * bytesPerPixel;
    if (bytes < vectorBytes) return flipVerticallyPlain(frame, stride, width, height, bytesPerPixel);
    for (uint32_t y = 0; y < height / 2; ++y) {
        uint8_t* const first = pictureRow(frame, stride, y);
        uint8_t* const second = pictureRow(frame, stride, height - 1 - y);
        inAlignedSteps<vectorBytes>(first, bytes, [first, second](size_t i) {
            return [first, second, i, toSecond = load32(first + i), toFirst = load32(second + i)] {
                store32(first + i, toFirst);
                store32(second + i, toSecond);
            };
        });
    }
}

void toGreyAvx2(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    const Rows rows(stride, width, height, bytesPerPixel);
    const auto row = bytesPerPixel == 4 ? toGrey4 : toGrey3;
    for (uint32_t y = 0; y < rows.count; ++y) row(pictureRow(frame, stride, y), rows.pixels);
}

void toNegativeAvx2(uint8_t* frame, ptrdiff_t stride, uint32_t width, uint32_t height, uint32_t bytesPerPixel) {
    const Rows rows(stride, width, height, bytesPerPixel);
    const size_t bytes = rows.pixels * bytesPerPixel;
    if (bytes < vectorBytes) return toNegativePlain(frame, stride, width, height, bytesPerPixel);
    for (uint32_t y = 0; y < rows.count; ++y) {
        uint8_t* const row = pictureRow(frame, stride, y);
        if (bytesPerPixel == 4) {
            exclusiveOr<4>(row, bytes, _mm256_set1_epi32(0x00FFFFFF));
        } else {
            exclusiveOr<1>(row, bytes, _mm256_set1_epi32(-1));
        }
    }
}

}  // namespace vexcap
