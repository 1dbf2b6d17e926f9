#include "pixel/kernels_bench.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "pixel/kernels.h"

namespace vexcap {
namespace {

constexpr size_t bytesPerPixelAtMost = 6;

std::vector<uint8_t> pictureOfNoise() {
    std::mt19937 random(1);
    std::vector<uint8_t> bytes(size_t(benchSizes[1].width) * benchSizes[1].height * bytesPerPixelAtMost);
    for (uint8_t& byte : bytes) byte = uint8_t(random());
    return bytes;
}

double secondsOf(const std::function<void()>& body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double>& values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

const uint8_t* benchSource() {
    static const std::vector<uint8_t> bytes = pictureOfNoise();
    return bytes.data();
}

uint8_t* benchTarget() {
    static std::vector<uint8_t> bytes(size_t(benchSizes[1].width) * benchSizes[1].height * bytesPerPixelAtMost, 1);
    return bytes.data();
}

void registerAgainst(const char* kernel, const char* form, PictureSize size, std::function<void()> limit,
                     std::function<void()> body) {
    const std::string name =
        std::string(kernel) + '/' + form + '/' + std::to_string(size.width) + 'x' + std::to_string(size.height);
    const auto measure = [limit = std::move(limit), body = std::move(body)](benchmark::State& state) {
        std::vector<double> ratios;
        // One run of the limit a round, before and after in turn: with two, a busy machine would hit the limit twice as
        // often as the kernel, and the kernel would look the better for it.
        bool limitFirst = true;
        for ([[maybe_unused]] auto round : state) {
            double least = limitFirst ? secondsOf(limit) : 0;
            const double own = secondsOf(body);
            if (!limitFirst) least = secondsOf(limit);
            limitFirst = !limitFirst;
            state.SetIterationTime(own);
            ratios.push_back(least / own);
        }
        state.counters["ratio"] = median(ratios);
    };
    benchmark::RegisterBenchmark(name.c_str(), measure)->UseManualTime()->Unit(benchmark::kMillisecond);
}

void registerAgainstMemcpy(const char* kernel, const char* form, PictureSize size, uint8_t* target, size_t outputBytes,
                           std::function<void()> body) {
    registerAgainst(
        kernel, form, size, [target, outputBytes] { std::memcpy(target, benchSource(), outputBytes); },
        std::move(body));
}

namespace {

/// Registers one kernel for all levels and sizes. `body(kernels, size)` runs it once, bottom row first.
template <class Body>
void registerKernel(const char* kernel, size_t targetBytesPerPixel, const Body& body) {
    for (const PictureSize size : benchSizes)
        for (const CpuLevel level : {CpuLevel::Plain, CpuLevel::Avx2}) {
            if (level > bestCpuLevel()) continue;
            registerAgainstMemcpy(kernel, level == CpuLevel::Plain ? "plain" : "avx2", size, benchTarget(),
                                  size_t(size.width) * size.height * targetBytesPerPixel,
                                  [&pixels = kernelsFor(level), size, body] { body(pixels, size); });
        }
}

ptrdiff_t rowBytes(PictureSize size, size_t bytesPerPixel) { return ptrdiff_t(size.width * bytesPerPixel); }

/// The last row of a target that is written bottom-up.
uint8_t* lastRow(PictureSize size, size_t bytesPerPixel) {
    return benchTarget() + rowBytes(size, bytesPerPixel) * (size.height - 1);
}

const uint16_t* words() { return reinterpret_cast<const uint16_t*>(benchSource()); }
uint16_t* asWords(uint8_t* bytes) { return reinterpret_cast<uint16_t*>(bytes); }

bool registerAll() {
    const auto count = [](PictureSize size) { return size_t(size.width) * size.height; };

    registerKernel("bayer8ToBgr24", 3, [](const PixelKernels& pixels, PictureSize size) {
        pixels.bayer8ToBgr24(lastRow(size, 3), -rowBytes(size, 3), benchSource(), rowBytes(size, 1), size.width,
                             size.height, Mosaic::Rggb);
    });
    for (const uint32_t depth : {12u, 16u})
        registerKernel(depth == 12 ? "bayer12ToBgr24" : "bayer16ToBgr24", 3,
                       [depth](const PixelKernels& pixels, PictureSize size) {
                           pixels.bayer16ToBgr24(lastRow(size, 3), -rowBytes(size, 3), words(), rowBytes(size, 2),
                                                 size.width, size.height, Mosaic::Rggb, depth);
                       });
    registerKernel("bayer16ToBgr48", 6, [](const PixelKernels& pixels, PictureSize size) {
        pixels.bayer16ToBgr48(asWords(lastRow(size, 6)), -rowBytes(size, 6), words(), rowBytes(size, 2), size.width,
                              size.height, Mosaic::Rggb);
    });
    registerKernel("mono8ToBgr24", 3, [](const PixelKernels& pixels, PictureSize size) {
        pixels.mono8ToBgr24(lastRow(size, 3), -rowBytes(size, 3), benchSource(), rowBytes(size, 1), size.width,
                            size.height);
    });
    registerKernel("mono12ToBgr24", 3, [](const PixelKernels& pixels, PictureSize size) {
        pixels.mono16ToBgr24(lastRow(size, 3), -rowBytes(size, 3), words(), rowBytes(size, 2), size.width, size.height,
                             12);
    });
    registerKernel("mono16ToBgr48", 6, [](const PixelKernels& pixels, PictureSize size) {
        pixels.mono16ToBgr48(asWords(lastRow(size, 6)), -rowBytes(size, 6), words(), rowBytes(size, 2), size.width,
                             size.height);
    });
    registerKernel("rgb24ToBgr24", 3, [](const PixelKernels& pixels, PictureSize size) {
        pixels.rgb24ToBgr24(lastRow(size, 3), -rowBytes(size, 3), benchSource(), rowBytes(size, 3), size.width,
                            size.height);
    });
    registerKernel("bgrx32ToBgr24", 3, [](const PixelKernels& pixels, PictureSize size) {
        pixels.bgrx32ToBgr24(lastRow(size, 3), -rowBytes(size, 3), benchSource(), rowBytes(size, 4), size.width,
                             size.height);
    });
    registerKernel("bgr24ToBgrx32", 4, [](const PixelKernels& pixels, PictureSize size) {
        pixels.bgr24ToBgrx32(lastRow(size, 4), -rowBytes(size, 4), benchSource(), rowBytes(size, 3), size.width,
                             size.height);
    });
    registerKernel("yuyvToBgr24", 3, [](const PixelKernels& pixels, PictureSize size) {
        pixels.yuyvToBgr24(lastRow(size, 3), -rowBytes(size, 3), benchSource(), rowBytes(size, 2), size.width,
                           size.height);
    });
    registerKernel("uyvyToBgr24", 3, [](const PixelKernels& pixels, PictureSize size) {
        pixels.uyvyToBgr24(lastRow(size, 3), -rowBytes(size, 3), benchSource(), rowBytes(size, 2), size.width,
                           size.height);
    });
    registerKernel("nv12ToBgr24", 3, [count](const PixelKernels& pixels, PictureSize size) {
        pixels.nv12ToBgr24(lastRow(size, 3), -rowBytes(size, 3), benchSource(), rowBytes(size, 1),
                           benchSource() + count(size), rowBytes(size, 1), size.width, size.height);
    });
    registerKernel("copyRowsReversed", 2, [](const PixelKernels& pixels, PictureSize size) {
        pixels.copyRowsReversed(benchTarget(), benchSource(), size_t(size.width) * 2, size.height);
    });
    registerKernel("swapBytes16", 2, [count](const PixelKernels& pixels, PictureSize size) {
        pixels.swapBytes16(asWords(benchTarget()), words(), count(size));
    });
    registerKernel("shiftLeft16", 2, [count](const PixelKernels& pixels, PictureSize size) {
        pixels.shiftLeft16(asWords(benchTarget()), words(), count(size), 4);
    });
    registerKernel("narrow16To8", 1, [count](const PixelKernels& pixels, PictureSize size) {
        pixels.narrow16To8(benchTarget(), words(), count(size));
    });
    registerKernel("exposeRow", 2, [count](const PixelKernels& pixels, PictureSize size) {
        static const std::vector<float> light(count(benchSizes[1]), 0.5f);
        pixels.exposeRow(asWords(benchTarget()), light.data(), light.data(), count(size), 1000.0f, 4.0f, 2.0f, 16.0f,
                         4095.0f);
    });
    registerKernel("addLuminance", 3, [count](const PixelKernels& pixels, PictureSize size) {
        benchmark::DoNotOptimize(pixels.addLuminance(0.0, benchSource(), uint32_t(count(size)), 3));
    });
    return true;
}

[[maybe_unused]] const bool registered = registerAll();

}  // namespace
}  // namespace vexcap
