#include "pixel/steps_bench.h"

#include <cstring>
#include <vector>

#include "pixel/kernels.h"

namespace vexcap {
namespace {

#if defined(__x86_64__)
#define WIDEST __attribute__((target("avx2")))
#else
#define WIDEST
#endif

/// The cheapest operation on 32 bytes at a time, without rows.
WIDEST void exclusiveOr(uint8_t* frame, const uint8_t* other, size_t count) {
    using Vector = uint8_t __attribute__((vector_size(32), aligned(1), may_alias));
    for (size_t i = 0; i + 32 <= count; i += 32)
        *reinterpret_cast<Vector*>(frame + i) ^= *reinterpret_cast<const Vector*>(other + i);
}

size_t frameBytes(PictureSize size) { return stepStride(size) * size.height; }

/// Registers a step for all levels and sizes. `body(kernels, stride, width, height)` takes it once.
template <class Body>
void registerStep(const char* step, std::function<void()> (*limit)(PictureSize), const Body& body) {
    for (const PictureSize size : stepSizes)
        for (const CpuLevel level : {CpuLevel::Plain, CpuLevel::Avx2}) {
            if (level > bestCpuLevel()) continue;
            registerAgainst(step, level == CpuLevel::Plain ? "plain" : "avx2", size, limit(size),
                            [&pixels = kernelsFor(level), size, body] {
                                body(pixels, ptrdiff_t(stepStride(size)), size.width, size.height);
                            });
        }
}

bool registerSteps() {
    registerStep("subtractDark", readReadWrite,
                 [](const PixelKernels& pixels, ptrdiff_t stride, uint32_t width, uint32_t height) {
                     pixels.subtractDark(benchTarget(), stride, benchSource(), width, height, 3);
                 });
    registerStep("subtractDark32", readReadWrite,
                 [](const PixelKernels& pixels, ptrdiff_t, uint32_t width, uint32_t height) {
                     pixels.subtractDark(benchTarget(), ptrdiff_t(width * 4), benchSource(), width, height, 4);
                 });
    registerStep("addToSums", copyOfFrame,
                 [](const PixelKernels& pixels, ptrdiff_t stride, uint32_t width, uint32_t height) {
                     static std::vector<uint16_t> sums(size_t(stepSizes[3].width) * stepSizes[3].height * 3);
                     pixels.addToSums(sums.data(), benchTarget(), stride, width, height, 3);
                 });
    registerStep("divideSums", copyOfFrame, [](const PixelKernels& pixels, ptrdiff_t, uint32_t width, uint32_t height) {
        pixels.divideSums(benchTarget(), reinterpret_cast<const uint16_t*>(benchSource()), size_t(width) * height * 3,
                          257);
    });
    registerStep("flipHorizontally", copyOfFrame, [](const PixelKernels& pixels, auto... picture) {
        pixels.flipHorizontally(benchTarget(), picture..., 3);
    });
    registerStep("flipVertically", copyOfFrame, [](const PixelKernels& pixels, auto... picture) {
        pixels.flipVertically(benchTarget(), picture..., 3);
    });
    registerStep("toGrey", copyOfFrame,
                 [](const PixelKernels& pixels, auto... picture) { pixels.toGrey(benchTarget(), picture..., 3); });
    registerStep("toNegative", copyOfFrame,
                 [](const PixelKernels& pixels, auto... picture) { pixels.toNegative(benchTarget(), picture..., 3); });
    registerStep("flipGreyNegative", copyOfFrame, [](const PixelKernels& pixels, auto... picture) {
        pixels.flipHorizontally(benchTarget(), picture..., 3);
        pixels.toGrey(benchTarget(), picture..., 3);
        pixels.toNegative(benchTarget(), picture..., 3);
    });
    return true;
}

[[maybe_unused]] const bool registered = registerSteps();

}  // namespace

std::function<void()> copyOfFrame(PictureSize size) {
    return [size] { std::memcpy(benchTarget(), benchSource(), frameBytes(size)); };
}

std::function<void()> readReadWrite(PictureSize size) {
    return [size] { exclusiveOr(benchTarget(), benchSource(), frameBytes(size)); };
}

}  // namespace vexcap
