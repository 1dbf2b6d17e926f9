// Weights of BT.601 in limited range (luma 16..235, colour 16..240 around 128).
//
// A weight is 64 * 256 times the factor: value * weight >> 8 is the term in sixty-fourths. All terms and all partial
// sums that the offsets leave above zero fit 16 bits without a sign, so that faster forms need no more. The offsets
// take the 16 and the 128 away, and half a step is in them, so that a result is rounded to nearest.
#pragma once

namespace vexcap {
namespace {

struct YuvWeights {
    int luma = 19077;      // 255 / 219
    int vToRed = 26149;    // 1.402 * 255 / 224
    int uToGreen = 6419;   // 0.344136 * 255 / 224
    int vToGreen = 13320;  // 0.714136 * 255 / 224
    int uToBlue = 33050;   // 1.772 * 255 / 224
    int redOffset = 14234;
    int greenOffset = 8708;
    int blueOffset = 17685;
};
constexpr YuvWeights yuv;

}  // namespace
}  // namespace vexcap
