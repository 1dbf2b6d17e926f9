// Drawing, against memcpy of the bytes that are touched.
#include <vector>

#include "pixel/kernels.h"
#include "pixel/raster/raster.h"
#include "pixel/raster/raster_bench.h"

namespace vexcap {
namespace {

/// Registers a kernel for all levels. `body(kernels)` runs it once.
template <class Body>
void registerLevels(const char* kernel, PictureSize size, size_t touchedBytes, const Body& body) {
    for (const CpuLevel level : {CpuLevel::Plain, CpuLevel::Avx2}) {
        if (level > bestCpuLevel()) continue;
        registerAgainstMemcpy(kernel, level == CpuLevel::Plain ? "plain" : "avx2", size, benchTarget(), touchedBytes,
                              [&pixels = kernelsFor(level), body] { body(pixels); });
    }
}

Canvas view() {
    return {benchTarget(), ptrdiff_t(viewSize.width) * 4, int32_t(viewSize.width), int32_t(viewSize.height), 4};
}
Canvas frame(uint32_t bytesPerPixel) {
    return canvasOf(benchTarget(), int32_t(overlaidSize.width), int32_t(overlaidSize.height), bytesPerPixel);
}

/// floor(i * source / target).
std::vector<uint32_t> indices(uint32_t source, uint32_t target) {
    std::vector<uint32_t> made(target);
    for (uint32_t i = 0; i < target; ++i) made[i] = uint32_t(uint64_t(i) * source / target);
    return made;
}

void registerStretch() {
    for (const PictureSize size : stretchedSizes)
        for (const uint32_t bytesPerPixel : {3u, 4u}) {
            const Picture source = pictureOf(benchSource(), int32_t(size.width), int32_t(size.height), bytesPerPixel);
            const char* const name = bytesPerPixel == 3 ? "stretch24" : "stretch32";
            registerLevels(name, size, viewBytes,
                           [source, columns = indices(size.width, viewSize.width),
                            rows = indices(size.height, viewSize.height)](const PixelKernels& pixels) {
                               const Canvas to = view();
                               pixels.stretch(to.top, to.stride, 4, source.top, source.stride, source.bytesPerPixel,
                                              {columns.data(), viewSize.width, rows.data(), viewSize.height});
                           });
            registerAgainstMemcpy(name, "whole", size, benchTarget(), viewBytes, [source] {
                stretchPicture(view(), {0, 0, int32_t(viewSize.width), int32_t(viewSize.height)}, source);
            });
        }
}

void registerBlend() {
    for (const uint32_t bytesPerPixel : {3u, 4u})
        registerLevels(bytesPerPixel == 3 ? "blend24" : "blend32", blendedSize, blendedPixels * bytesPerPixel,
                       [bytesPerPixel](const PixelKernels& pixels) {
                           const Canvas to = frame(bytesPerPixel);
                           const Picture from =
                               pictureOf(benchSource(), int32_t(blendedSize.width), int32_t(blendedSize.height), 3);
                           for (int32_t y = 0; y < from.height; ++y)
                               pixels.blendRow(to.Row(blendedAt + y) + size_t(blendedAt) * bytesPerPixel, from.Row(y),
                                               blendedSize.width, bytesPerPixel, 30);
                       });
}

void registerMask() {
    for (const uint32_t bytesPerPixel : {3u, 4u})
        registerLevels(bytesPerPixel == 3 ? "mask24" : "mask32", maskSize, maskPixels * bytesPerPixel,
                       [bytesPerPixel](const PixelKernels& pixels) {
                           const Canvas to = frame(bytesPerPixel);
                           for (uint32_t y = 0; y < maskSize.height; ++y)
                               pixels.paintRow(to.Row(int32_t(y)), benchMask() + size_t(y) * maskSize.width,
                                               maskSize.width, bytesPerPixel, 0x00FFFFFF);
                       });
}

void registerLines() {
    for (const uint32_t bytesPerPixel : {3u, 4u})
        registerLineBench("best", bytesPerPixel, [bytesPerPixel](int fromX, int fromY, int toX, int toY) {
            drawLine(frame(bytesPerPixel), fromX, fromY, toX, toY, 0x00FF0000);
        });
}

bool registerRaster() {
    registerStretch();
    registerBlend();
    registerMask();
    registerLines();
    return true;
}

[[maybe_unused]] const bool registered = registerRaster();

}  // namespace

const uint8_t* benchMask() {
    static const std::vector<uint8_t> mask = [] {
        std::vector<uint8_t> made(maskPixels);
        for (size_t i = 0; i < made.size(); ++i) made[i] = benchSource()[i / 3] % 3 == 0 ? 255 : 0;
        return made;
    }();
    return mask.data();
}

void registerLineBench(const char* form, uint32_t bytesPerPixel, const std::function<void(int, int, int, int)>& line) {
    constexpr size_t cacheLine = 64;
    constexpr auto width = int(overlaidSize.width), height = int(overlaidSize.height);
    registerAgainstMemcpy(bytesPerPixel == 3 ? "cross24" : "cross32", form, overlaidSize, benchTarget(),
                          size_t(width) * bytesPerPixel + size_t(height) * cacheLine, [line] {
                              line(0, height / 2, width, height / 2);
                              line(width / 2, 0, width / 2, height);
                          });
    registerAgainstMemcpy(bytesPerPixel == 3 ? "diagonals24" : "diagonals32", form, overlaidSize, benchTarget(),
                          size_t(height) * 2 * cacheLine, [line] {
                              line(0, 0, width, height);
                              line(width, 0, 0, height);
                          });
}

}  // namespace vexcap
