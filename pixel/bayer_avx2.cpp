// Mosaics two rows at a time. In a pair of rows the first is entered at a pixel that is not green, so that in the
// vectors the even lanes of the first row and the odd lanes of the second are red or blue, the others green.
//
// All five values that a pixel may need are made for every lane, and the storing picks: cheaper than sorting the lanes
// by colour first.
//
// No function of the standard library is called here: the linker might keep this file's copy for everybody.
#include <cassert>

#include "pixel/avx2.h"
#include "pixel/bayer_pixel.h"
#include "pixel/kernels.h"
#include "pixel/kernels_levels.h"

namespace vexcap {
namespace {

#define VEXCAP_INLINE [[gnu::always_inline]] inline

/// Means of bytes and of words, exact in all bits. The instruction for the mean of two rounds up; used twice it can be
/// one too large, and is so if the last step rounded up and one of the first steps too.
struct ByteMeans {
    struct Two {
        __m256i value, odd;
    };
    VEXCAP_INLINE static Two two(__m256i a, __m256i b) { return {_mm256_avg_epu8(a, b), _mm256_xor_si256(a, b)}; }
    VEXCAP_INLINE static __m256i four(Two a, Two b) {
        const __m256i up = _mm256_and_si256(_mm256_or_si256(a.odd, b.odd), _mm256_xor_si256(a.value, b.value));
        return _mm256_sub_epi8(_mm256_avg_epu8(a.value, b.value), _mm256_and_si256(up, _mm256_set1_epi8(1)));
    }
};
struct WordMeans {
    using Two = ByteMeans::Two;
    VEXCAP_INLINE static Two two(__m256i a, __m256i b) { return {_mm256_avg_epu16(a, b), _mm256_xor_si256(a, b)}; }
    VEXCAP_INLINE static __m256i four(Two a, Two b) {
        const __m256i up = _mm256_and_si256(_mm256_or_si256(a.odd, b.odd), _mm256_xor_si256(a.value, b.value));
        return _mm256_sub_epi16(_mm256_avg_epu16(a.value, b.value), _mm256_and_si256(up, _mm256_set1_epi16(1)));
    }
};
/// Sums instead of means, for samples of up to 14 bits that become bytes. A sum that saturates stands for a mean that
/// gives 255 either way.
struct WordSums {
    struct Two {
        __m256i value;
    };
    VEXCAP_INLINE static Two two(__m256i a, __m256i b) { return {_mm256_adds_epu16(a, b)}; }
    VEXCAP_INLINE static __m256i four(Two a, Two b) { return _mm256_adds_epu16(a.value, b.value); }
};

struct Bgr {
    __m256i blue, green, red;
};

/// Constant wherever it is used, so that nothing is left to decide in the loops.
struct RowKind {
    bool red, greenEven;
};

/// What a pixel is made of: itself, the means along its row, across the rows, of these four, and of the corners.
struct Parts {
    __m256i own, along, across, cross, diagonal;

    /// The colours of the even lanes in a row of the given kind; other lanes hold nothing of use.
    VEXCAP_INLINE Bgr even(RowKind row) const { return row.greenEven ? atGreen(row.red) : atOther(row.red); }
    VEXCAP_INLINE Bgr odd(RowKind row) const { return row.greenEven ? atOther(row.red) : atGreen(row.red); }

private:
    VEXCAP_INLINE Bgr atGreen(bool redRow) const { return redRow ? Bgr{across, own, along} : Bgr{along, own, across}; }
    VEXCAP_INLINE Bgr atOther(bool redRow) const {
        return redRow ? Bgr{diagonal, cross, own} : Bgr{own, cross, diagonal};
    }
};

/// What a row gives to itself and to its neighbours, from one column on.
template <class Means>
struct Line {
    __m256i centre;
    typename Means::Two along;

    template <class Sample>
    VEXCAP_INLINE Line(const Sample* row, uint32_t x)
        : centre(load32(row + x)), along(Means::two(load32(row + x - 1), load32(row + x + 1))) {}

    VEXCAP_INLINE Parts parts(const Line& above, const Line& below) const {
        const auto across = Means::two(above.centre, below.centre);
        return {centre, along.value, across.value, Means::four(along, across), Means::four(above.along, below.along)};
    }
};

/// 32 pixels of bytes: the even lanes of one set, the odd lanes of the other. Two pixels are three words (blue and
/// green, red and blue, green and red), and words are what storeThreePlanes() takes.
VEXCAP_INLINE void storeBytes(uint8_t* target, const Bgr& even, const Bgr& odd) {
    constexpr uint8_t none = Shuffle::nothing;
    static constexpr Shuffle low0 = placedInThree(0, 0, none), high0 = placedInThree(0, none, 0);
    static constexpr Shuffle low1 = placedInThree(1, 0, none), high1 = placedInThree(1, none, 1);
    static constexpr Shuffle low2 = placedInThree(2, 1, none), high2 = placedInThree(2, none, 1);
    storeThreePlanes(target, target + 48, _mm256_or_si256(shuffled(even.blue, low0), shuffled(even.green, high0)),
                     _mm256_or_si256(shuffled(even.red, low1), shuffled(odd.blue, high1)),
                     _mm256_or_si256(shuffled(odd.green, low2), shuffled(odd.red, high2)));
}

/// Words: the even lanes of one set, the odd lanes of the other.
VEXCAP_INLINE __m256i alternate(__m256i even, __m256i odd) { return _mm256_blend_epi16(even, odd, 0xAA); }
VEXCAP_INLINE Bgr alternate(const Parts& parts, RowKind row) {
    const Bgr even = parts.even(row), odd = parts.odd(row);
    return {alternate(even.blue, odd.blue), alternate(even.green, odd.green), alternate(even.red, odd.red)};
}

/// 16 pixels of words.
VEXCAP_INLINE void storeWords(uint16_t* target, const Bgr& pixels) {
    static constexpr Shuffle plane0 = placedInThree(0, 0, 1), plane1 = placedInThree(1, 0, 1),
                             plane2 = placedInThree(2, 0, 1);
    uint8_t* bytes = reinterpret_cast<uint8_t*>(target);
    storeThreePlanes(bytes, bytes + 48, shuffled(pixels.blue, plane0), shuffled(pixels.green, plane1),
                     shuffled(pixels.red, plane2));
}

/// Bytes `from` to `from` + 15 of eight pixels whose blue and green lie in one register, eight bytes each, and whose
/// red in the first eight bytes of another. The first says which of the two to place.
constexpr Shuffle placedInPixels(bool red, unsigned from) {
    Shuffle shuffle{};
    for (unsigned i = 0; i < 32; ++i) {
        const unsigned byte = from + i % 16, pixel = byte / 3, colour = byte % 3;
        shuffle.from[i] = red == (colour == 2) ? uint8_t(red ? pixel : 8 * colour + pixel) : Shuffle::nothing;
    }
    return shuffle;
}

/// 16 pixels of words, each at most 32767, as bytes; what is above 255 gives 255.
VEXCAP_INLINE void storeWordsAsBytes(uint8_t* target, const Bgr& pixels) {
    static constexpr Shuffle other0 = placedInPixels(false, 0), red0 = placedInPixels(true, 0);
    static constexpr Shuffle other8 = placedInPixels(false, 8), red8 = placedInPixels(true, 8);
    const __m256i blueGreen = _mm256_packus_epi16(pixels.blue, pixels.green);
    const __m256i red = _mm256_packus_epi16(pixels.red, pixels.red);
    storeHalves(target, target + 24, _mm256_or_si256(shuffled(blueGreen, other0), shuffled(red, red0)));
    storeHalves(target + 8, target + 32, _mm256_or_si256(shuffled(blueGreen, other8), shuffled(red, red8)));
}

/// A block is what is done at a time: `columns` pixels of two rows.
struct Block8To24 {
    using Target = uint8_t;
    using Sample = uint8_t;
    using Means = ByteMeans;
    static constexpr uint32_t columns = 32;

    VEXCAP_INLINE void store(Target* target, const Parts& parts, RowKind row) const {
        storeBytes(target, parts.even(row), parts.odd(row));
    }
};

struct Block16To48 {
    using Target = uint16_t;
    using Sample = uint16_t;
    using Means = WordMeans;
    static constexpr uint32_t columns = 16;

    VEXCAP_INLINE void store(Target* target, const Parts& parts, RowKind row) const {
        storeWords(target, alternate(parts, row));
    }
};

/// 15 and 16 bits, whose sums do not fit into words.
struct BlockDeepTo24 {
    using Target = uint8_t;
    using Sample = uint16_t;
    using Means = WordMeans;
    static constexpr uint32_t columns = 16;

    explicit BlockDeepTo24(uint32_t depth) : scale(depthScale(depth)) {}

    VEXCAP_INLINE void store(Target* target, const Parts& parts, RowKind row) const {
        const Bgr mean = alternate(parts, row);
        storeWordsAsBytes(target, {_mm256_mulhi_epu16(mean.blue, scale), _mm256_mulhi_epu16(mean.green, scale),
                                   _mm256_mulhi_epu16(mean.red, scale)});
    }

private:
    const __m256i scale;
};

/// 9 to 14 bits. Each part still lacks its rounding and its division, by four, two or one; both are done together with
/// the shift to eight bits once the parts are in their places, with constants put into their places the same way.
struct BlockShallowTo24 {
    using Target = uint8_t;
    using Sample = uint16_t;
    using Means = WordSums;
    static constexpr uint32_t columns = 16;

    explicit BlockShallowTo24(uint32_t depth)
        : roundings(likeParts(0, 1, 2)),
          scales(likeParts(1u << (24 - depth), 1u << (23 - depth), 1u << (22 - depth))) {}

    VEXCAP_INLINE void store(Target* target, const Parts& parts, RowKind row) const {
        const Bgr sum = alternate(parts, row), rounding = alternate(roundings, row), scale = alternate(scales, row);
        storeWordsAsBytes(target,
                          {mean(sum.blue, rounding.blue, scale.blue), mean(sum.green, rounding.green, scale.green),
                           mean(sum.red, rounding.red, scale.red)});
    }

private:
    static Parts likeParts(uint32_t ofOne, uint32_t ofTwo, uint32_t ofFour) {
        const __m256i one = _mm256_set1_epi16(int16_t(ofOne)), two = _mm256_set1_epi16(int16_t(ofTwo)),
                      four = _mm256_set1_epi16(int16_t(ofFour));
        return {one, two, two, four, four};
    }
    VEXCAP_INLINE static __m256i mean(__m256i sum, __m256i rounding, __m256i scale) {
        return _mm256_mulhi_epu16(_mm256_adds_epu16(sum, rounding), scale);
    }

    const Parts roundings, scales;
};

/// One block. The first row is stored before the last line is read: registers are scarce.
template <bool RedFirst, class Block>
VEXCAP_INLINE void runBlock(const Block& block, const typename Block::Sample* const (&rows)[4], uint32_t x,
                            typename Block::Target* firstTarget, typename Block::Target* secondTarget) {
    using BlockLine = Line<typename Block::Means>;
    const BlockLine above(rows[0], x), first(rows[1], x), second(rows[2], x);
    block.store(firstTarget + 3 * size_t(x), first.parts(above, second), RowKind{RedFirst, false});
    const BlockLine below(rows[3], x);
    block.store(secondTarget + 3 * size_t(x), second.parts(first, below), RowKind{!RedFirst, true});
}

/// One pair of rows from column `from` on, to a column before the last; gives the first column not done.
template <bool RedFirst, class Block>
VEXCAP_INLINE uint32_t runBlocks(const Block& block, const typename Block::Sample* const (&rows)[4],
                                 typename Block::Target* first, typename Block::Target* second, uint32_t from,
                                 uint32_t width) {
    const uint32_t last = (width - 1 - Block::columns - from) / 2 * 2 + from;
    for (uint32_t x = from; x < last; x += Block::columns) runBlock<RedFirst>(block, rows, x, first, second);
    // Some columns a second time rather than one by one.
    runBlock<RedFirst>(block, rows, last, first, second);
    return last + Block::columns;
}

template <class Block, class Write>
void bayer(typename Block::Target* target, ptrdiff_t targetStride, const typename Block::Sample* source,
           ptrdiff_t sourceStride, uint32_t width, uint32_t height, Mosaic mosaic, const Block& block,
           const Write& write) {
    assert(width >= 2 && height >= 2);
    using Sample = typename Block::Sample;
    for (uint32_t y = 0; y < height; y += 2) {
        // A last row without a partner is done with the row above it, once more.
        const uint32_t y0 = y + 1 < height ? y : y - 1;
        const Neighbourhood<Sample> first(source, sourceStride, y0, height);
        const Neighbourhood<Sample> second(source, sourceStride, y0 + 1, height);
        const MosaicRow firstRow(mosaic, y0), secondRow(mosaic, y0 + 1);
        auto* const firstTarget = pictureRow(target, targetStride, y0);
        auto* const secondTarget = pictureRow(target, targetStride, y0 + 1);

        uint32_t from = width, to = width;
        if (width >= Block::columns + 4) {
            const Sample* const rows[4] = {first.above, first.here, second.here, second.below};
            from = firstRow.greenFirst ? 1 : 2;
            to = firstRow.red ? runBlocks<true>(block, rows, firstTarget, secondTarget, from, width)
                              : runBlocks<false>(block, rows, firstTarget, secondTarget, from, width);
        }
        bayerColumns(firstTarget, first, firstRow, 0, from, width, write);
        bayerColumns(firstTarget, first, firstRow, to, width, width, write);
        bayerColumns(secondTarget, second, secondRow, 0, from, width, write);
        bayerColumns(secondTarget, second, secondRow, to, width, width, write);
    }
}

}  // namespace

void bayer8ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint8_t* source, ptrdiff_t sourceStride,
                       uint32_t width, uint32_t height, Mosaic mosaic) {
    bayer(target, targetStride, source, sourceStride, width, height, mosaic, Block8To24{}, ToBgr24{0});
}

void bayer16ToBgr24Avx2(uint8_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height, Mosaic mosaic, uint32_t depth) {
    if (depth <= 14)
        bayer(target, targetStride, source, sourceStride, width, height, mosaic, BlockShallowTo24(depth),
              ToBgr24{depth - 8});
    else
        bayer(target, targetStride, source, sourceStride, width, height, mosaic, BlockDeepTo24(depth),
              ToBgr24{depth - 8});
}

void bayer16ToBgr48Avx2(uint16_t* target, ptrdiff_t targetStride, const uint16_t* source, ptrdiff_t sourceStride,
                        uint32_t width, uint32_t height, Mosaic mosaic) {
    bayer(target, targetStride, source, sourceStride, width, height, mosaic, Block16To48{}, ToBgr48{});
}

}  // namespace vexcap
