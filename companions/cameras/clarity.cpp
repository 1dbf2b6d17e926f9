#include "companions/cameras/clarity.h"

#include <utility>
#include <vector>

#include "base/dib.h"

namespace vexcap::cameras {
namespace {

// Luminance in 1/1000 of a grey level.
int32_t luminance(const uint8_t* pixel) { return 114 * pixel[0] + 587 * pixel[1] + 299 * pixel[2]; }

}  // namespace

double clarityFactor(const void* frame, uint32_t bitsPerPixel, uint32_t width, uint32_t height) {
    if (!frame || width < 2 || height < 2 || (bitsPerPixel != 24 && bitsPerPixel != 32)) return 0;
    const size_t pixelBytes = bitsPerPixel / 8;
    const size_t stride = dibStride(width, uint32_t(pixelBytes));
    const auto* row = static_cast<const uint8_t*>(frame);
    std::vector<int32_t> above(width);
    std::vector<int32_t> here(width);
    double sum = 0;
    for (uint32_t y = 0; y < height; ++y, row += stride) {
        for (uint32_t x = 0; x < width; ++x) here[x] = luminance(row + x * pixelBytes);
        for (uint32_t x = 1; x < width; ++x) sum += double(here[x] - here[x - 1]) * double(here[x] - here[x - 1]);
        for (uint32_t x = 0; y > 0 && x < width; ++x) sum += double(here[x] - above[x]) * double(here[x] - above[x]);
        std::swap(here, above);
    }
    const double pairs = double(width - 1) * height + double(width) * (height - 1);
    return sum / pairs / 1e6;
}

}  // namespace vexcap::cameras
