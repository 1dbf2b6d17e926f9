#include "pixel/hot_pixels.h"

#include <algorithm>
#include <array>
#include <new>

namespace vexcap {
namespace {

constexpr uint32_t brightestMean = 64;  // a frame above is no dark frame
constexpr uint32_t hotAboveMean = 16;
constexpr uint32_t coordinateEnd = 65536;

/// floor(value * thousandths / 1000) for every byte.
constexpr std::array<uint8_t, 256> weighted(uint32_t thousandths) {
    std::array<uint8_t, 256> table{};
    for (uint32_t value = 0; value < table.size(); ++value) table[value] = uint8_t(value * thousandths / 1000);
    return table;
}
constexpr std::array<uint8_t, 256> blueShare = weighted(114);
constexpr std::array<uint8_t, 256> greenShare = weighted(587);
constexpr std::array<uint8_t, 256> redShare = weighted(299);

uint32_t luminance(const uint8_t* pixel) {
    return uint32_t(blueShare[pixel[0]]) + greenShare[pixel[1]] + redShare[pixel[2]];
}

}  // namespace

void listHotPixels(std::vector<HotPixel>& list, const uint8_t* dark, uint32_t width, uint32_t height) {
    if (width < 3 || height < 3) return;
    const auto rowOf = [dark, width](uint32_t y) { return dark + size_t(y) * width * 3; };
    uint32_t sum = 0;
    for (uint32_t y = 1; y < height - 1; ++y)
        for (uint32_t x = 1; x < width - 1; ++x) sum += luminance(rowOf(y) + size_t(x) * 3);
    // By all pixels, while the edge was not summed: the smaller a frame, the darker it counts.
    const uint32_t mean = uint32_t(sum / (uint64_t(width) * height));
    if (mean > brightestMean) return;

    const size_t before = list.size();
    try {
        for (uint32_t y = 1; y < std::min(height - 1, coordinateEnd); ++y)
            for (uint32_t x = 1; x < std::min(width - 1, coordinateEnd); ++x)
                if (luminance(rowOf(y) + size_t(x) * 3) > mean + hotAboveMean)
                    list.push_back({uint16_t(x), uint16_t(y)});
    } catch (const std::bad_alloc&) {
        list.resize(before);
    }
}

void mendHotPixels(std::span<const HotPixel> list, uint8_t* frame, size_t stride, uint32_t width, uint32_t height,
                   uint32_t bytesPerPixel) {
    for (const auto [x, y] : list) {
        if (x < 1 || y < 1 || x + 1u >= width || y + 1u >= height) continue;
        uint8_t* const here = frame + y * stride + size_t(x) * bytesPerPixel;
        const uint8_t* const before = here - stride;
        const uint8_t* const after = here + stride;
        for (size_t i = 0; i < 3; ++i)
            here[i] = uint8_t((before[i] + here[i + bytesPerPixel] + *(here + i - bytesPerPixel) + after[i]) >> 2);
    }
}

}  // namespace vexcap
