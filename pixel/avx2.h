// Names for the AVX2 instructions that the kernels share. Included by files of that level alone.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace vexcap {
namespace {

constexpr size_t vectorBytes = 32;
constexpr size_t pixelsOf4 = vectorBytes / 4;  // in a vector, at 4 bytes a pixel

inline __m256i load32(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
inline void store32(void* to, __m256i value) { _mm256_storeu_si256(static_cast<__m256i*>(to), value); }
inline __m128i load16(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
inline void store16(void* to, __m128i value) { _mm_storeu_si128(static_cast<__m128i*>(to), value); }

/// The same 16 bytes in both halves.
inline __m256i loadTwice(const void* from) { return _mm256_broadcastsi128_si256(load16(from)); }
/// 16 bytes for the low half, 16 for the high one.
inline __m256i loadHalves(const void* low, const void* high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load16(low)), load16(high), 1);
}
inline void storeHalves(void* low, void* high, __m256i value) {
    store16(low, _mm256_castsi256_si128(value));
    store16(high, _mm256_extracti128_si256(value, 1));
}

/// Where each byte of a register comes from, within its half; `nothing` gives 0.
struct alignas(32) Shuffle {
    static constexpr uint8_t nothing = 0x80;
    uint8_t from[32];
};
inline __m256i shuffled(__m256i value, const Shuffle& shuffle) {
    return _mm256_shuffle_epi8(value, _mm256_load_si256(reinterpret_cast<const __m256i*>(shuffle.from)));
}
inline __m128i shuffled(__m128i value, const Shuffle& shuffle) {
    return _mm_shuffle_epi8(value, _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle.from)));
}

/// 24 bytes of 8 pixels, and 4 bytes behind them, to 8 pixels of 4 bytes. The fourth is 0.
inline __m256i withFourth(const uint8_t* pixels) {
    static constexpr Shuffle spread = [] {
        Shuffle shuffle{};
        for (unsigned i = 0; i < 32; ++i)
            shuffle.from[i] = i % 4 < 3 ? uint8_t(i % 16 / 4 * 3 + i % 4) : Shuffle::nothing;
        return shuffle;
    }();
    return shuffled(loadHalves(pixels, pixels + 12), spread);
}

/// 8 pixels of 4 bytes to 24 bytes, in order; the 8 bytes behind them are 0.
inline __m256i withoutFourth(__m256i pixels) {
    static constexpr Shuffle closed = [] {
        Shuffle shuffle{};
        for (unsigned i = 0; i < 32; ++i)
            shuffle.from[i] = i % 16 < 12 ? uint8_t(i % 16 / 3 * 4 + i % 16 % 3) : Shuffle::nothing;
        return shuffle;
    }();
    return _mm256_permutevar8x32_epi32(shuffled(pixels, closed), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
}

/// Set in the fourth byte of pixels of 4.
inline __m256i fourthBytes() { return _mm256_set1_epi32(int(0xFF000000u)); }

/// Calls `step(i)` for every `stepSize` of `count` things, the last time for the last `stepSize` of them. It gives a
/// function that writes what was made. `count` is at least `stepSize`.
template <size_t StepSize, class Step>
inline void inSteps(size_t count, const Step& step) {
    const size_t last = count - StepSize;
    const auto writeLast = step(last);
    for (size_t i = 0; i < last; i += StepSize) step(i)();
    writeLast();
}

/// The same for vectors of `StepSize` things at `row`, which lie on their own boundaries but for the first and the last
/// one: a store across two cache lines costs two. Things that do not lie on a boundary of their size keep together.
template <size_t StepSize, class Step>
inline void inAlignedSteps(const void* row, size_t count, const Step& step) {
    const size_t last = count - StepSize;
    const size_t boundary = StepSize - reinterpret_cast<uintptr_t>(row) % vectorBytes / (vectorBytes / StepSize);
    const auto writeFirst = step(size_t(0));
    const auto writeLast = step(last);
    for (size_t i = boundary; i < last; i += StepSize) step(i)();
    writeFirst();
    writeLast();
}

/// Words shifted right by depth - 8 when multiplied by this: one instruction that needs no shift count.
inline __m256i depthScale(uint32_t depth) { return _mm256_set1_epi16(int16_t(1u << (24 - depth))); }

/// Eight words of each plane in each half, as 24 words in turn: 48 bytes to `low`, 48 to `high`. The words of plane p
/// must lie where placedInThree() puts them, so that no two planes want the same place of the same output.
inline void storeThreePlanes(uint8_t* low, uint8_t* high, __m256i plane0, __m256i plane1, __m256i plane2) {
    constexpr int places036 = 0x49, places147 = 0x92, places25 = 0x24;
    storeHalves(low, high, _mm256_blend_epi16(_mm256_blend_epi16(plane0, plane1, places147), plane2, places25));
    storeHalves(low + 16, high + 16,
                _mm256_blend_epi16(_mm256_blend_epi16(plane0, plane1, places25), plane2, places036));
    storeHalves(low + 32, high + 32,
                _mm256_blend_epi16(_mm256_blend_epi16(plane0, plane1, places036), plane2, places147));
}

/// Brings words to the place that storeThreePlanes() wants. `low` and `high` say which byte of a word (0 or 1) goes to
/// the low and the high byte of its target, or Shuffle::nothing.
constexpr Shuffle placedInThree(unsigned plane, uint8_t low, uint8_t high) {
    Shuffle shuffle{};
    for (unsigned half = 0; half < 2; ++half)
        for (unsigned word = 0; word < 8; ++word) {
            uint8_t* to = shuffle.from + 16 * half + 2 * ((3 * word + plane) % 8);
            to[0] = low == Shuffle::nothing ? low : uint8_t(2 * word + low);
            to[1] = high == Shuffle::nothing ? high : uint8_t(2 * word + high);
        }
    return shuffle;
}

}  // namespace
}  // namespace vexcap
