#include "companions/cameras/clarity.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "base/dib.h"

namespace vexcap::cameras {
namespace clarity_test {

TEST(ClarityFactor, ASharpPictureHasMoreThanAFlatOne) {
    const uint32_t width = 6, height = 4;
    for (const uint32_t bits : {24u, 32u}) {
        const size_t stride = dibStride(width, bits / 8);
        std::vector<uint8_t> flat(stride * height, 128), soft = flat, sharp = flat;
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                std::memset(&soft[y * stride + x * bits / 8], int(x * 20), 3);
                std::memset(&sharp[y * stride + x * bits / 8], x % 2 ? 255 : 0, 3);
            }
        EXPECT_EQ(clarityFactor(flat.data(), bits, width, height), 0);
        // 5 of a row's pairs differ by 20, no pair of a column does: 20 * 20 * 20 over 38 pairs.
        EXPECT_NEAR(clarityFactor(soft.data(), bits, width, height), 8000.0 / 38, 1e-9);
        EXPECT_GT(clarityFactor(sharp.data(), bits, width, height), clarityFactor(soft.data(), bits, width, height));
    }
    EXPECT_EQ(clarityFactor(nullptr, 24, 4, 4), 0);
    const uint8_t some[64] = {};
    EXPECT_EQ(clarityFactor(some, 24, 1, 4), 0);
    EXPECT_EQ(clarityFactor(some, 24, 4, 1), 0);
    EXPECT_EQ(clarityFactor(some, 16, 4, 4), 0);
}

}  // namespace clarity_test
}  // namespace vexcap::cameras
