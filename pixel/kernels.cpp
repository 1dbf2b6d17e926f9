#include "pixel/kernels.h"

#include "pixel/kernels_levels.h"

namespace vexcap {

#ifdef VEXCAP_PIXEL_AVX2

CpuLevel bestCpuLevel() {
    // True only where the operating system saves the wide registers too.
    static const CpuLevel level = __builtin_cpu_supports("avx2") ? CpuLevel::Avx2 : CpuLevel::Plain;
    return level;
}

const PixelKernels& kernelsFor(CpuLevel level) {
    return level == CpuLevel::Avx2 && bestCpuLevel() == CpuLevel::Avx2 ? avx2Kernels : plainKernels;
}

#else

CpuLevel bestCpuLevel() { return CpuLevel::Plain; }

const PixelKernels& kernelsFor(CpuLevel) { return plainKernels; }

#endif

}  // namespace vexcap
