// libswscale, which rounds in its own way: times are compared, pixels are not.
extern "C" {
#include <libswscale/swscale.h>
}

#include <memory>

#include "pixel/kernels_bench.h"

namespace vexcap {
namespace {

void registerConversion(const char* kernel, PictureSize size, AVPixelFormat format, int lumaStride) {
    const int width = int(size.width), height = int(size.height);
    const std::shared_ptr<SwsContext> context(
        sws_getContext(width, height, format, width, height, AV_PIX_FMT_BGR24, SWS_POINT, nullptr, nullptr, nullptr),
        sws_freeContext);
    if (!context) return;
    registerAgainstMemcpy(kernel, "swscale", size, benchTarget(), size_t(width) * size_t(height) * 3, [=] {
        const uint8_t* const planes[] = {benchSource(), benchSource() + size_t(width) * size_t(height)};
        const int strides[] = {lumaStride, width};
        uint8_t* const targets[] = {benchTarget() + size_t(width) * 3 * size_t(height - 1)};
        const int targetStrides[] = {-width * 3};
        sws_scale(context.get(), planes, strides, 0, height, targets, targetStrides);
    });
}

bool registerPeer() {
    for (const PictureSize size : benchSizes) {
        registerConversion("yuyvToBgr24", size, AV_PIX_FMT_YUYV422, int(size.width) * 2);
        registerConversion("uyvyToBgr24", size, AV_PIX_FMT_UYVY422, int(size.width) * 2);
        registerConversion("nv12ToBgr24", size, AV_PIX_FMT_NV12, int(size.width));
    }
    return true;
}

[[maybe_unused]] const bool registered = registerPeer();

}  // namespace
}  // namespace vexcap
